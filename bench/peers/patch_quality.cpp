#include "peers/patch_quality.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

namespace peers {
namespace {

using demo::Vec3;

constexpr double degrees_per_radian = 57.29577951308232;
constexpr double shortest_fit = 0.5;
constexpr double longest_fit = 1.6;
constexpr double least_angle = 15;

struct Patch {
  demo::Surface surface;
  std::map<std::pair<int, int>, int> faces_on_edge;

  double edge_length(const std::pair<int, int>& edge) const {
    return demo::distance(surface.points[static_cast<std::size_t>(edge.first)],
                          surface.points[static_cast<std::size_t>(edge.second)]);
  }
};

std::pair<int, int> edge_of(const demo::Corners& f, int k) {
  const int a = f[static_cast<std::size_t>(k)];
  const int b = f[static_cast<std::size_t>((k + 1) % 3)];
  return {std::min(a, b), std::max(a, b)};
}

Patch patch_from(const std::vector<demo::Triangle>& triangles) {
  Patch patch;
  patch.surface = demo::weld(triangles);
  for (const demo::Corners& f : patch.surface.faces) {
    for (int k = 0; k < 3; ++k) ++patch.faces_on_edge[edge_of(f, k)];
  }
  return patch;
}

double angle_between(const Vec3& a, const Vec3& b) {
  return std::atan2(demo::length(demo::cross(a, b)), demo::dot(a, b)) * degrees_per_radian;
}

double smallest_angle(const demo::Triangle& t) {
  return std::min({angle_between(t[1] - t[0], t[2] - t[0]), angle_between(t[2] - t[1], t[0] - t[1]),
                   angle_between(t[0] - t[2], t[1] - t[2])});
}

double widest_distance(const std::vector<Vec3>& points) {
  double widest = 0;
  for (const Vec3& a : points) {
    for (const Vec3& b : points) widest = std::max(widest, demo::distance(a, b));
  }
  return widest;
}

// Mean angle of the faces on the ring to the true normal. The patch as a whole may face either way.
double seam_angle(const Patch& patch, const Implicit& truth) {
  double agreement = 0;
  std::vector<std::pair<Vec3, Vec3>> pairs;
  for (const demo::Corners& f : patch.surface.faces) {
    bool on_ring = false;
    for (int k = 0; k < 3; ++k) on_ring |= patch.faces_on_edge.at(edge_of(f, k)) == 1;
    const std::vector<Vec3>& at = patch.surface.points;
    const Vec3 area = demo::cross(at[f[1]] - at[f[0]], at[f[2]] - at[f[0]]);
    const Vec3 normal = true_normal(truth, (at[f[0]] + at[f[1]] + at[f[2]]) * (1.0 / 3));
    agreement += demo::dot(area, normal);
    if (on_ring) pairs.emplace_back(area, normal);
  }
  double sum = 0;
  for (const auto& [area, normal] : pairs) {
    sum += angle_between(area * (agreement < 0 ? -1.0 : 1.0), normal);
  }
  return sum / static_cast<double>(pairs.size());
}

}  // namespace

Deviation deviation(const std::vector<demo::Triangle>& triangles, const Implicit& truth) {
  const Patch patch = patch_from(triangles);
  std::vector<char> on_ring(patch.surface.points.size(), 0);
  Deviation result;
  std::vector<Vec3> ring;
  for (const auto& [edge, faces] : patch.faces_on_edge) {
    if (faces != 1) continue;
    ++result.ring_edges;
    ring.push_back(patch.surface.points[edge.first]);
    ring.push_back(patch.surface.points[edge.second]);
    on_ring[edge.first] = on_ring[edge.second] = 1;
  }
  const double diameter = widest_distance(ring);
  double squares = 0;
  double weight = 0;
  for (const demo::Triangle& t : triangles) {
    const double area = demo::length(demo::cross(t[1] - t[0], t[2] - t[0]));
    const double away = signed_distance(truth, (t[0] + t[1] + t[2]) * (1.0 / 3));
    squares += area * away * away;
    weight += area;
    result.most = std::max(result.most, std::fabs(away));
  }
  for (std::size_t v = 0; v < on_ring.size(); ++v) {
    if (on_ring[v] != 0) continue;
    result.most = std::max(result.most, std::fabs(signed_distance(truth, patch.surface.points[v])));
  }
  result.rms = std::sqrt(squares / weight) / diameter;
  result.most /= diameter;
  result.seam = seam_angle(patch, truth);
  return result;
}

void add_shape(const std::vector<demo::Triangle>& triangles, Shape& shape) {
  const Patch patch = patch_from(triangles);
  double ring_length = 0;
  int ring_edges = 0;
  for (const auto& [edge, faces] : patch.faces_on_edge) {
    if (faces != 1) continue;
    ring_length += patch.edge_length(edge);
    ++ring_edges;
  }
  for (const auto& [edge, faces] : patch.faces_on_edge) {
    if (faces == 1) continue;
    const double ratio = patch.edge_length(edge) * ring_edges / ring_length;
    ++shape.inner_edges;
    shape.fitting_edges += ratio >= shortest_fit && ratio <= longest_fit;
  }
  for (const demo::Triangle& t : triangles) shape.round_faces += smallest_angle(t) >= least_angle;
  shape.faces += static_cast<long long>(triangles.size());
}

}  // namespace peers
