// Triangles that get fewer by collapsing edges.
#ifndef SCANMESH_TOOLKIT_COLLAPSE_MESH_H
#define SCANMESH_TOOLKIT_COLLAPSE_MESH_H

#include <cstdint>
#include <vector>

#include "scanmesh/toolkit/triangle_mesh.h"

namespace scanmesh {

// The triangles around an edge: those with both ends, and those with one of them only.
struct EdgeStar {
  std::vector<std::int32_t> shared;
  std::vector<std::int32_t> at_first;
  std::vector<std::int32_t> at_second;
};

// Numbers stay: a collapse keeps one of the two vertices and moves it. Vertices where the surface
// is no manifold, or not finite, are locked: they stay where they are.
class CollapseMesh {
 public:
  std::vector<Point> points;
  std::vector<Triangle> triangles;  // dead: all corners -1
  std::vector<Point> areas;         // per triangle twice its area, along the normal

  // Every coordinate times `scale`, a power of two.
  CollapseMesh(const TriangleMesh& mesh, double scale, bool lock_borders);

  bool alive(std::int32_t f) const { return triangles[static_cast<std::size_t>(f)][0] >= 0; }
  const Triangle& triangle(std::int32_t f) const { return triangles[static_cast<std::size_t>(f)]; }
  const Point& point(std::int32_t v) const { return points[static_cast<std::size_t>(v)]; }
  const Point& area(std::int32_t f) const { return areas[static_cast<std::size_t>(f)]; }
  // Its normal, of the length area to the power of 0.75: the root of a quadric's weight. Area
  // squared (the volumes of the tetrahedra over the triangles, as in the papers) gives as much for
  // the mean distance, but large triangles drown small ones: the largest distance on a lion's head
  // at a tenth is twice as much. The area itself is worse in the mean.
  const Point& weighted(std::int32_t f) const { return weighted_[static_cast<std::size_t>(f)]; }
  bool gone(std::int32_t v) const { return (flags_[static_cast<std::size_t>(v)] & kGone) != 0; }
  bool locked(std::int32_t v) const { return (flags_[static_cast<std::size_t>(v)] & kLocked) != 0; }
  bool border(std::int32_t v) const { return (flags_[static_cast<std::size_t>(v)] & kBorder) != 0; }
  // Of no area; such triangles of the input may stay so until they are collapsed.
  bool flat(std::int32_t f) const { return flat_[static_cast<std::size_t>(f)] != 0; }
  std::int64_t live() const { return live_; }

  // Calls visit(f, k) for each triangle with v as its corner k.
  template <typename Visit>
  void for_each_at(std::int32_t v, Visit visit) const {
    for (std::int32_t side = head_[static_cast<std::size_t>(v)]; side >= 0;
         side = next_[static_cast<std::size_t>(side)]) {
      if (alive(side / 3)) visit(side / 3, static_cast<std::size_t>(side % 3));
    }
  }

  void gather(std::int32_t u, std::int32_t v, EdgeStar& star) const;
  // Whether the collapse leaves the surface what it is (Dey, Edelsbrunner, Guha, Nekhayev 1999):
  // the neighbours that both ends have are those across the edge, and a border stays a border.
  bool keeps_topology(std::int32_t u, std::int32_t v, const EdgeStar& star);
  // The corners of f with u or v replaced by w.
  Triangle moved_triangle(std::int32_t f, std::int32_t u, std::int32_t v, std::int32_t w) const;
  // Vertex `kept` takes over the triangles of `lost` and moves.
  void collapse(std::int32_t kept, std::int32_t lost, const Point& to, const EdgeStar& star);
  // Calls visit(x) once for each neighbour.
  template <typename Visit>
  void for_each_neighbour(std::int32_t v, Visit visit) {
    const std::uint32_t mark = ++epoch_;
    for_each_at(v, [&](std::int32_t f, std::size_t k) {
      for (const std::size_t step : {1, 2}) {
        const std::int32_t x = triangle(f)[(k + step) % 3];
        if (mark_[static_cast<std::size_t>(x)] == mark) continue;
        mark_[static_cast<std::size_t>(x)] = mark;
        visit(x);
      }
    });
  }
  // How many triangles have both corners.
  int edge_valence(std::int32_t a, std::int32_t b) const;

 private:
  static constexpr std::uint8_t kGone = 1;
  static constexpr std::uint8_t kLocked = 2;
  static constexpr std::uint8_t kBorder = 4;

  bool keeps_sides(std::int32_t u, std::int32_t v, std::int32_t third) const;
  void link_corners();
  void classify(bool lock_borders);
  void lock_split_fans(const std::vector<std::int32_t>& opposite);
  void set(std::int32_t v, std::uint8_t flag) { flags_[static_cast<std::size_t>(v)] |= flag; }
  void measure(std::int32_t f);

  std::vector<std::int32_t> head_;  // per vertex a corner of it
  std::vector<std::int32_t> next_;  // per corner another one of the same vertex
  std::vector<std::int32_t> tail_;  // per vertex the last corner of its list
  std::vector<std::uint8_t> flags_;
  std::vector<std::uint8_t> flat_;
  std::vector<Point> weighted_;
  std::vector<std::uint32_t> mark_;
  std::uint32_t epoch_ = 0;
  std::int64_t live_ = 0;
};

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_COLLAPSE_MESH_H
