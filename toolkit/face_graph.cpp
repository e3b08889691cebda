#include "toolkit/face_graph.h"

#include <algorithm>

#include "toolkit/vector_math.h"

namespace scanmesh {
namespace {

// Appends the faces around the corners of face f that aren't listed from `begin` on yet.
void append_ring(const FaceGraph& graph, const std::vector<Triangle>& triangles, std::int32_t f,
                 std::size_t begin, std::vector<std::int32_t>& out) {
  for (const std::int32_t v : triangles[static_cast<std::size_t>(f)]) {
    for (const std::int32_t* side = graph.around.begin(v); side != graph.around.end(v); ++side) {
      const std::int32_t other = *side / 3;
      const auto listed = out.begin() + static_cast<std::ptrdiff_t>(begin);
      if (std::find(listed, out.end(), other) == out.end()) out.push_back(other);
    }
  }
}

}  // namespace

void FaceMeasures::update(const std::vector<Point>& points,
                          const std::vector<Triangle>& triangles) {
  centroids.resize(triangles.size());
  normals.resize(triangles.size());
  areas.resize(triangles.size());
  const auto count = static_cast<std::int64_t>(triangles.size());
#pragma omp parallel for schedule(static)
  for (std::int64_t i = 0; i < count; ++i) {
    const auto f = static_cast<std::size_t>(i);
    const Point& a = points[static_cast<std::size_t>(triangles[f][0])];
    const Point& b = points[static_cast<std::size_t>(triangles[f][1])];
    const Point& c = points[static_cast<std::size_t>(triangles[f][2])];
    const Point area = area_vector(a, b, c);
    centroids[f] = (a + b + c) * (1.0 / 3);
    areas[f] = length(area) / 2;
    normals[f] = unit(area);
  }
}

FaceGraph::FaceGraph(const std::vector<Triangle>& triangles, std::size_t point_count)
    : around(triangles, point_count), fixed(point_count, true) {
  const EdgeTable edges(triangles, point_count);
  opposite = opposite_sides(triangles, edges);
  for (const Triangle& t : triangles) {
    for (const std::int32_t v : t) fixed[static_cast<std::size_t>(v)] = false;
  }
  for (std::size_t side = 0; side < opposite.size(); ++side) {
    if (opposite[side] >= 0) continue;
    const auto s = static_cast<std::int32_t>(side);
    fixed[static_cast<std::size_t>(side_start(triangles, s))] = true;
    fixed[static_cast<std::size_t>(side_end(triangles, s))] = true;
  }
  rings.build(triangles.size(), [&](std::int32_t f, std::vector<std::int32_t>& out) {
    const std::size_t begin = out.size();
    out.push_back(f);
    append_ring(*this, triangles, f, begin, out);
  });
}

Lists FaceGraph::within(const std::vector<Triangle>& triangles, const std::vector<Point>& centroids,
                        double radius) const {
  constexpr std::size_t kMost = 64;  // faces; more of them are needles
  Lists lists;
  lists.build(triangles.size(), [&](std::int32_t f, std::vector<std::int32_t>& out) {
    const std::size_t begin = out.size();
    out.push_back(f);
    const Point& middle = centroids[static_cast<std::size_t>(f)];
    for (std::size_t at = begin; at < out.size() && out.size() < begin + kMost; ++at) {
      const std::size_t before = out.size();
      const std::int32_t from = out[at];
      const std::int32_t* const ring = rings.begin(static_cast<std::size_t>(from));
      const std::int32_t* const ring_end = rings.end(static_cast<std::size_t>(from));
      for (const std::int32_t* other = ring + 1; other < ring_end; ++other) {
        if (distance(centroids[static_cast<std::size_t>(*other)], middle) > radius) continue;
        const auto listed = out.begin() + static_cast<std::ptrdiff_t>(begin);
        const auto known = listed + static_cast<std::ptrdiff_t>(before - begin);
        if (std::find(listed, known, *other) == known) out.push_back(*other);
      }
    }
  });
  return lists;
}

double FaceGraph::mean_step(const std::vector<Point>& centroids) const {
  double sum = 0;
  double count = 0;
  for (std::size_t side = 0; side < opposite.size(); ++side) {
    if (opposite[side] < 0) continue;
    sum += distance(centroids[side / 3], centroids[static_cast<std::size_t>(opposite[side] / 3)]);
    count += 1;
  }
  return count > 0 ? sum / count : 0;
}

}  // namespace scanmesh
