#include "toolkit/guided_normals.h"

#include <algorithm>
#include <cmath>

#include "toolkit/vector_math.h"

namespace scanmesh {
namespace {

// In steps from centroid to centroid: how far a face looks, and the spread of spatial weights. Both
// are the authors' values.
constexpr double kReach = 2.0;
constexpr double kSpatial = 1.0;
// Keeps the share of the strongest edge in a plane from being 0 / 0.
constexpr double kTiny = 1e-9;

double squared(const Point& a) {
  return dot(a, a);
}

}  // namespace

GuidedNormals::GuidedNormals(const std::vector<Triangle>& triangles, const FaceGraph& graph,
                             const FaceMeasures& faces)
    : triangles_(triangles), graph_(graph) {
  const double step = graph.mean_step(faces.centroids);
  near_ = graph.within(triangles, faces.centroids, kReach * step);
  spatial_ = kSpatial * step;
}

// How much the normal changes across a side; 0 at an open one.
double GuidedNormals::across(const FaceMeasures& faces, std::size_t side) const {
  const std::int32_t other = graph_.opposite[side];
  if (other < 0) return 0;
  return length(faces.normals[side / 3] - faces.normals[static_cast<std::size_t>(other / 3)]);
}

// Of the edges that meet at a point. Each of its triangles brings the edge that starts there: all
// of them in a closed fan.
std::vector<GuidedNormals::EdgeSums> GuidedNormals::edges_at_points(
    const FaceMeasures& faces) const {
  std::vector<EdgeSums> sums(graph_.fixed.size());
  const auto count = static_cast<std::int64_t>(sums.size());
#pragma omp parallel for schedule(static)
  for (std::int64_t i = 0; i < count; ++i) {
    const auto v = static_cast<std::int32_t>(i);
    EdgeSums& here = sums[static_cast<std::size_t>(i)];
    for (const std::int32_t* side = graph_.around.begin(v); side != graph_.around.end(v); ++side) {
      const double change = across(faces, static_cast<std::size_t>(*side));
      here.sum += change;
      here.most = std::max(here.most, change);
    }
  }
  return sums;
}

// The patch of a face is its ring. It is the more uneven the more two of its normals differ, and
// the larger the share that its strongest edge has in all changes across its inner edges: those at
// the face's corners.
std::vector<GuidedNormals::Patch> GuidedNormals::patches(const FaceMeasures& faces) const {
  const std::vector<EdgeSums> at_points = edges_at_points(faces);
  std::vector<Patch> patches(triangles_.size());
  const auto count = static_cast<std::int64_t>(patches.size());
#pragma omp parallel for schedule(static)
  for (std::int64_t i = 0; i < count; ++i) {
    const auto f = static_cast<std::size_t>(i);
    Point mean;
    double widest = 0;
    for (const std::int32_t* a = graph_.rings.begin(f); a != graph_.rings.end(f); ++a) {
      const Point& normal = faces.normals[static_cast<std::size_t>(*a)];
      mean = mean + normal * faces.areas[static_cast<std::size_t>(*a)];
      for (const std::int32_t* b = graph_.rings.begin(f); b != a; ++b) {
        widest = std::max(widest, squared(normal - faces.normals[static_cast<std::size_t>(*b)]));
      }
    }
    double sum = 0;
    double most = 0;
    for (std::size_t k = 0; k < 3; ++k) {
      const EdgeSums& here = at_points[static_cast<std::size_t>(triangles_[f][k])];
      sum += here.sum - across(faces, 3 * f + k);
      most = std::max(most, here.most);
    }
    patches[f] = {unit(mean), std::sqrt(widest) * most / (kTiny + std::max(sum, most))};
  }
  return patches;
}

std::vector<Point> GuidedNormals::guidance(const FaceMeasures& faces) const {
  const std::vector<Patch> all = patches(faces);
  std::vector<Point> guides(triangles_.size());
  const auto count = static_cast<std::int64_t>(guides.size());
#pragma omp parallel for schedule(static)
  for (std::int64_t i = 0; i < count; ++i) {
    const auto f = static_cast<std::size_t>(i);
    const Patch* best = &all[f];
    for (const std::int32_t* g = graph_.rings.begin(f); g != graph_.rings.end(f); ++g) {
      const Patch& patch = all[static_cast<std::size_t>(*g)];
      if (patch.unevenness < best->unevenness) best = &patch;
    }
    guides[f] = best->mean;
  }
  return guides;
}

std::vector<Point> GuidedNormals::filtered(const FaceMeasures& faces, double range) const {
  const std::vector<Point> guides = guidance(faces);
  const double spatial = -0.5 / (spatial_ * spatial_);
  const double ranged = -0.5 / (range * range);
  std::vector<Point> normals(triangles_.size());
  const auto count = static_cast<std::int64_t>(normals.size());
#pragma omp parallel for schedule(static)
  for (std::int64_t i = 0; i < count; ++i) {
    const auto f = static_cast<std::size_t>(i);
    Point sum;
    for (const std::int32_t* g = near_.begin(f); g != near_.end(f); ++g) {
      const auto other = static_cast<std::size_t>(*g);
      const double fall = spatial * squared(faces.centroids[other] - faces.centroids[f]) +
                          ranged * squared(guides[other] - guides[f]);
      sum = sum + faces.normals[other] * (faces.areas[other] * std::exp(fall));
    }
    const Point normal = unit(sum);
    normals[f] = normal == Point{} ? faces.normals[f] : normal;
  }
  return normals;
}

}  // namespace scanmesh
