// Meshes with holes.
#ifndef SCANMESH_TESTS_SUPPORT_HOLE_SHAPES_H
#define SCANMESH_TESTS_SUPPORT_HOLE_SHAPES_H

#include <array>
#include <cmath>
#include <memory>
#include <vector>

#include "tests/support/hole_access.h"
#include "tests/support/shapes.h"

namespace test_support {

// Two triangles that meet at vertex 0 only. The first one's corner order decides where the walk
// over its rim begins.
inline Soup figure_of_eight(std::array<int, 3> first) {
  return {{{0, 0, 0}, {-1, 1, 0}, {-1, -1, 0}, {1, -1, 0}, {1, 1, 0}}, {first, {0, 3, 4}}};
}

// A flat grid of n x n cells without the cells of [low, high) in both directions.
inline Soup grid_with_hole(int n, int low, int high, float step = 1.0F) {
  Soup soup = flat_grid(n, step);
  std::vector<std::array<int, 3>> kept;
  for (int j = 0; j < n; ++j) {
    for (int i = 0; i < n; ++i) {
      const bool gone = i >= low && i < high && j >= low && j < high;
      const auto cell = static_cast<std::size_t>(2 * (j * n + i));
      for (std::size_t k = 0; k < 2 && !gone; ++k) kept.push_back(soup.triangles[cell + k]);
    }
  }
  soup.triangles = kept;
  return soup;
}

// A sphere without the faces whose corners all lie above `height`.
inline Soup capped_sphere(int depth, float radius, float height) {
  Soup soup = sphere(depth, radius);
  std::vector<std::array<int, 3>> kept;
  for (const auto& t : soup.triangles) {
    bool above = true;
    for (int i : t) above = above && soup.points[static_cast<std::size_t>(i)].z > height;
    if (!above) kept.push_back(t);
  }
  soup.triangles = kept;
  return soup;
}

// A flat fan without its middle: an annulus whose inner rim is a regular polygon of n corners.
inline Soup annulus(int n, float inner, float outer) {
  Soup soup;
  for (int i = 0; i < n; ++i) {
    const double angle = 6.283185307179586 * i / n;
    const auto c = static_cast<float>(std::cos(angle));
    const auto s = static_cast<float>(std::sin(angle));
    soup.points.push_back({inner * c, inner * s, 0});
    soup.points.push_back({outer * c, outer * s, 0});
  }
  for (int i = 0; i < n; ++i) {
    const int a = 2 * i;
    const int b = 2 * ((i + 1) % n);
    soup.triangles.push_back({a, a + 1, b + 1});
    soup.triangles.push_back({a, b + 1, b});
  }
  return soup;
}

inline double perimeter(const Mesh_R::_hole* ring) {
  double sum = 0;
  for (const Mesh_R::_edge* edge : edges_of(ring)) {
    const Vec3f& a = edge->vert[0]->point;
    const Vec3f& b = edge->vert[1]->point;
    sum += std::hypot(a.x - b.x, a.y - b.y, a.z - b.z);
  }
  return sum;
}

// The cell of the ring with the smallest perimeter.
inline int shortest_ring(Mesh_M::Mesh& mesh) {
  int best = -1;
  for (int i = 0; i < mesh.get_hole_num(); ++i) {
    if (mesh.hole[i] == nullptr) continue;
    if (best < 0 || perimeter(mesh.hole[i]) < perimeter(mesh.hole[best])) best = i;
  }
  return best;
}

}  // namespace test_support

#endif  // SCANMESH_TESTS_SUPPORT_HOLE_SHAPES_H
