// Who lies beside whom: tables of edges and fans over plain triangles.
#ifndef SCANMESH_TOOLKIT_TOPOLOGY_H
#define SCANMESH_TOOLKIT_TOPOLOGY_H

#include <cstdint>
#include <vector>

#include "scanmesh/toolkit/triangle_mesh.h"

namespace scanmesh {

// Side k of triangle f runs from corner k to corner k + 1 and has the number 3 f + k.
inline std::int32_t side_start(const std::vector<Triangle>& triangles, std::int32_t side) {
  return triangles[static_cast<std::size_t>(side / 3)][static_cast<std::size_t>(side % 3)];
}
inline std::int32_t side_end(const std::vector<Triangle>& triangles, std::int32_t side) {
  return triangles[static_cast<std::size_t>(side / 3)][static_cast<std::size_t>((side + 1) % 3)];
}

// The sides of all triangles, those of one edge together, edges by their corners, sides of an edge
// by number. Triangles with a corner twice are left out.
class EdgeTable {
 public:
  EdgeTable(const std::vector<Triangle>& triangles, std::size_t point_count);

  // Number of edges; edge e has the sides [begin(e), end(e)) of sides().
  std::size_t count() const { return first_.size() - 1; }
  std::int32_t begin(std::size_t e) const { return first_[e]; }
  std::int32_t end(std::size_t e) const { return first_[e + 1]; }
  std::int32_t valence(std::size_t e) const { return first_[e + 1] - first_[e]; }
  std::int32_t side(std::int32_t i) const { return sides_[static_cast<std::size_t>(i)]; }

 private:
  std::vector<std::int32_t> sides_;
  std::vector<std::int32_t> first_;
};

constexpr std::int32_t kOpenSide = -1;
constexpr std::int32_t kJunctionSide = -2;  // on an edge of more than two triangles
constexpr std::int32_t kNoSide = -3;        // of a triangle with a corner twice

// Per side the one across it, or one of the above.
std::vector<std::int32_t> opposite_sides(const std::vector<Triangle>& triangles,
                                         const EdgeTable& edges);

// Triangles with the corners of an earlier one, in any order: their numbers, ascending.
std::vector<std::int32_t> copies_of_earlier(const std::vector<Triangle>& triangles,
                                            std::size_t point_count);

// Sets that are joined step by step.
class DisjointSets {
 public:
  explicit DisjointSets(std::size_t count);
  std::int32_t find(std::int32_t i);
  void join(std::int32_t a, std::int32_t b);

 private:
  std::vector<std::int32_t> parent_;
};

// Per triangle the number of its component, counted from 0 in the order of first triangles. All
// sides of an edge join.
struct Components {
  std::vector<std::int32_t> of_triangle;
  std::int32_t count = 0;
};
Components components_by_edges(const std::vector<Triangle>& triangles, const EdgeTable& edges);

// The triangles around each vertex: of_vertex(v) gives sides that start at v, ascending.
class VertexSides {
 public:
  VertexSides(const std::vector<Triangle>& triangles, std::size_t point_count);
  const std::int32_t* begin(std::int32_t v) const {
    return sides_.data() + first_[static_cast<std::size_t>(v)];
  }
  const std::int32_t* end(std::int32_t v) const {
    return sides_.data() + first_[static_cast<std::size_t>(v) + 1];
  }

 private:
  std::vector<std::int32_t> first_;
  std::vector<std::int32_t> sides_;
};

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_TOPOLOGY_H
