#include "toolkit/noise_estimate.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "toolkit/vector_math.h"

namespace scanmesh {
namespace {

// More than this changes the estimate by less than a hundredth.
constexpr std::size_t kSamples = 40000;
// Creases and detail look like noise. They are in the upper half of what is seen; a third from
// below is smooth in most meshes, and 0.4307 of the deviation for Gaussian noise.
constexpr double kQuantile = 1.0 / 3;
constexpr double kOfDeviation = 0.4307273;

using Weight = std::pair<std::int32_t, double>;

std::vector<std::int32_t> neighbours(const std::vector<Triangle>& triangles, const FaceGraph& graph,
                                     std::int32_t v) {
  std::vector<std::int32_t> found;
  for (const std::int32_t* side = graph.around.begin(v); side != graph.around.end(v); ++side) {
    found.push_back(side_end(triangles, *side));
  }
  return found;
}

// What is left of a point's offset from the mean of its neighbours when the mean offset of those is
// taken off: nothing on a surface that bends evenly. As weights of points.
std::vector<Weight> residual_weights(const std::vector<Triangle>& triangles, const FaceGraph& graph,
                                     std::int32_t v) {
  std::vector<Weight> weights{{v, 1.0}};
  const std::vector<std::int32_t> ring = neighbours(triangles, graph, v);
  const double share = 1.0 / static_cast<double>(ring.size());
  for (const std::int32_t u : ring) {
    weights.emplace_back(u, -2 * share);
    const std::vector<std::int32_t> next = neighbours(triangles, graph, u);
    for (const std::int32_t w : next) {
      weights.emplace_back(w, share / static_cast<double>(next.size()));
    }
  }
  std::sort(weights.begin(), weights.end());
  std::vector<Weight> joined;
  for (const Weight& weight : weights) {
    if (!joined.empty() && joined.back().first == weight.first) {
      joined.back().second += weight.second;
    } else {
      joined.push_back(weight);
    }
  }
  return joined;
}

double residual(const std::vector<Point>& points, const std::vector<Triangle>& triangles,
                const FaceGraph& graph, const FaceMeasures& faces, std::int32_t v) {
  Point normal;
  for (const std::int32_t* side = graph.around.begin(v); side != graph.around.end(v); ++side) {
    const auto f = static_cast<std::size_t>(*side / 3);
    normal = normal + faces.normals[f] * faces.areas[f];
  }
  normal = unit(normal);
  Point sum;
  double squares = 0;
  for (const auto& [w, weight] : residual_weights(triangles, graph, v)) {
    sum =
        sum + (points[static_cast<std::size_t>(w)] - points[static_cast<std::size_t>(v)]) * weight;
    squares += weight * weight;
  }
  return std::abs(dot(sum, normal)) / std::sqrt(squares);
}

bool well_inside(const std::vector<Triangle>& triangles, const FaceGraph& graph, std::int32_t v) {
  if (graph.fixed[static_cast<std::size_t>(v)]) return false;
  for (const std::int32_t u : neighbours(triangles, graph, v)) {
    if (graph.fixed[static_cast<std::size_t>(u)]) return false;
  }
  return true;
}

}  // namespace

double estimate_noise(const std::vector<Point>& points, const std::vector<Triangle>& triangles,
                      const FaceGraph& graph, const FaceMeasures& faces) {
  std::vector<double> residuals;
  const std::size_t step = std::max<std::size_t>(1, points.size() / kSamples);
  for (std::size_t v = 0; v < points.size(); v += step) {
    const auto at = static_cast<std::int32_t>(v);
    if (!well_inside(triangles, graph, at)) continue;
    residuals.push_back(residual(points, triangles, graph, faces, at));
  }
  if (residuals.empty()) return 0;
  const auto at = residuals.begin() +
                  static_cast<std::ptrdiff_t>(kQuantile * static_cast<double>(residuals.size()));
  std::nth_element(residuals.begin(), at, residuals.end());
  return *at / kOfDeviation;
}

}  // namespace scanmesh
