// The constrained Delaunay triangulation of a triangle with points and segments in it.
#ifndef SCANMESH_TOOLKIT_FLAT_TRIANGULATION_H
#define SCANMESH_TOOLKIT_FLAT_TRIANGULATION_H

#include <array>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

#include "toolkit/exact_point.h"

namespace scanmesh {

// Exact, and the same for the same points and segments wherever they come from: among equally good
// diagonals the one at the smallest number is taken. So two triangles that overlap in a plane come
// out alike where they do. Points are numbers into an array of all points of a computation.
class FlatTriangulation {
 public:
  using Edge = std::pair<std::int32_t, std::int32_t>;

  // The corners turn left as flattened.
  FlatTriangulation(const std::vector<ExactPoint>& points,
                    const std::array<std::int32_t, 3>& corners, const Flattening& flat);

  // A point in the triangle or on its rim.
  void insert(std::int32_t point);
  // A segment between inserted points that passes no other and crosses no other segment.
  void constrain(std::int32_t a, std::int32_t b);
  // Flips edges until all but constrained ones are Delaunay.
  void settle();

  std::vector<std::array<std::int32_t, 3>> triangles() const;

 private:
  using Corners = std::array<std::int32_t, 3>;

  int turn_of(std::int32_t a, std::int32_t b, std::int32_t c) const;
  void add(const Corners& t);
  void remove(std::size_t i);
  // The corner opposite to the directed side, -1 where there is no triangle.
  std::int32_t across(std::int32_t a, std::int32_t b) const;
  bool crosses(const Edge& edge, std::int32_t a, std::int32_t b) const;
  bool flip(const Edge& edge, Edge& made);
  bool better_flipped(const Edge& edge) const;

  const std::vector<ExactPoint>& points_;
  Flattening flat_;
  std::vector<Corners> triangles_;       // removed ones have -1
  std::map<Edge, std::size_t> of_side_;  // directed side to triangle
  std::map<Edge, bool> constrained_;     // smaller number first
};

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_FLAT_TRIANGULATION_H
