#include "patching/rim_curvature.h"

#include <cmath>

#include "patching/bending_system.h"

namespace cavity {
namespace {

// Rows of the region beyond the ring whose curvature counts.
constexpr int curvature_rows = 2;
// Passes of (1/4, 1/2, 1/4) along the ring that calm the curvature of a noisy region.
constexpr int curvature_passes = 8;

// Length of the Laplacian along the normal, integrated, and the area it was integrated over. Noise
// in the Laplacian of neighbouring vertices cancels in the sum.
struct Curvature {
  double integral = 0.0;
  double area = 0.0;
  void add(const Curvature& other, double weight) {
    integral += weight * other.integral;
    area += weight * other.area;
  }
  double mean() const { return area > 0.0 ? integral / area : 0.0; }
};

std::vector<Curvature> vertex_curvature(const JoinedSurface& region, const Neighbourhoods& near) {
  Laplacian laplacian;
  weigh(region, near, Weights::cotangent, laplacian);
  const std::vector<Point> normals = vertex_normals(region);
  std::vector<Curvature> result(region.points.size());
  for (int v = region.ring_size; v < region.size(); ++v) {
    if (!near.is_closed(v)) continue;
    const Point sum = integrated_laplacian(region, near, laplacian, v);
    result[v] = {sum.dot(normals[v]), laplacian.area[v]};
  }
  return result;
}

// How far the curvature of the region's vertices lies from the mean of their neighbours': a smooth
// surface has next to none.
double roughness_of(const JoinedSurface& region, const Neighbourhoods& near,
                    const std::vector<Curvature>& own) {
  double squares = 0.0;
  int count = 0;
  for (int v = region.ring_size; v < region.size(); ++v) {
    if (!near.is_closed(v)) continue;
    Curvature around;
    for (int s = near.begin(v); s < near.end(v); ++s) around.add(own[near.to(s)], 1.0);
    if (!(around.area > 0.0)) continue;
    const double off = own[v].mean() - around.mean();
    squares += off * off;
    ++count;
  }
  return count > 0 ? std::sqrt(squares / count) : 1.0;
}

void calm_along_ring(std::vector<Curvature>& at_ring) {
  const std::size_t n = at_ring.size();
  for (int pass = 0; pass < curvature_passes; ++pass) {
    const std::vector<Curvature> before = at_ring;
    for (std::size_t i = 0; i < n; ++i) {
      at_ring[i] = Curvature();
      at_ring[i].add(before[i], 0.5);
      at_ring[i].add(before[(i + 1) % n], 0.25);
      at_ring[i].add(before[(i + n - 1) % n], 0.25);
    }
  }
}

}  // namespace

RimCurvature measure_rim(const Surroundings& around) {
  const JoinedSurface region = rows_of_region(around, curvature_rows);
  const Neighbourhoods near(region, region.size());
  const std::vector<Curvature> own = vertex_curvature(region, near);
  std::vector<Curvature> at_ring(static_cast<std::size_t>(region.ring_size));
  double total_area = 0.0;
  for (int i = 0; i < region.ring_size; ++i) {
    for (int s = near.begin(i); s < near.end(i); ++s) {
      const int v = near.to(s);
      if (v < region.ring_size) continue;
      at_ring[i].add(own[v], 1.0);
      for (int next = near.begin(v); next < near.end(v); ++next) {
        at_ring[i].add(own[near.to(next)], 0.5);
      }
    }
    total_area += at_ring[i].area;
  }
  RimCurvature result;
  if (!(total_area > 0.0)) return result;
  calm_along_ring(at_ring);
  for (const Curvature& c : at_ring) result.mean.push_back(c.mean());
  result.roughness = roughness_of(region, near, own);
  return result;
}

}  // namespace cavity
