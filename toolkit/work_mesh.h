// The mesh that the steps of a repair work on together: triangles come and go, elements remember
// where they come from.
#ifndef SCANMESH_TOOLKIT_WORK_MESH_H
#define SCANMESH_TOOLKIT_WORK_MESH_H

#include <cstdint>
#include <utility>
#include <vector>

#include "scanmesh/toolkit/triangle_mesh.h"
#include "toolkit/box_tree.h"
#include "toolkit/topology.h"

namespace scanmesh {

constexpr std::int32_t kNew = -1;  // an origin: of no element of the input

// Numbers stay as they are until compact(): a triangle that goes leaves a dead place behind.
class WorkMesh {
 public:
  std::vector<Point> points;
  std::vector<Triangle> triangles;          // dead: all corners -1
  std::vector<std::int32_t> point_from;     // number in the input, kNew for none
  std::vector<std::int32_t> triangle_from;  // likewise

  WorkMesh() = default;
  explicit WorkMesh(const TriangleMesh& mesh);

  bool alive(std::int32_t f) const { return triangles[static_cast<std::size_t>(f)][0] >= 0; }
  const Triangle& triangle(std::int32_t f) const { return triangles[static_cast<std::size_t>(f)]; }
  const Point& point(std::int32_t v) const { return points[static_cast<std::size_t>(v)]; }
  const Point& corner(std::int32_t f, std::size_t k) const { return point(triangle(f)[k]); }
  std::int32_t size() const { return static_cast<std::int32_t>(triangles.size()); }

  std::int32_t add_point(const Point& p, std::int32_t from = kNew);
  std::int32_t add_triangle(const Triangle& t, std::int32_t from = kNew);
  void kill(std::int32_t f);

  // Drops dead triangles; the order of the others stays.
  void compact();

  // Points without triangles go too; colours and normals follow their points, new points take the
  // mean of their neighbours that have one.
  TriangleMesh result(const TriangleMesh& input, Origin& origin) const;
};

// A work mesh that knows the triangles at each vertex and finds triangles by place, while triangles
// are added and killed through it. No compact() in its lifetime.
class LiveMesh {
 public:
  explicit LiveMesh(WorkMesh& mesh);

  WorkMesh& mesh() { return mesh_; }
  const WorkMesh& mesh() const { return mesh_; }

  std::int32_t add_point(const Point& p);
  // Triangles that belong together; they get a tree of their own.
  std::vector<std::int32_t> add_triangles(const std::vector<Triangle>& triangles);
  void kill(std::int32_t f) { mesh_.kill(f); }
  // Moves a point. The triangles around it get new numbers, which are returned.
  std::vector<std::int32_t> move_point(std::int32_t v, const Point& to);

  // Calls visit(f, k) for each live triangle with vertex v as its corner k.
  template <typename Visit>
  void for_each_at(std::int32_t v, Visit visit) const {
    for (std::int32_t side = head_[static_cast<std::size_t>(v)]; side >= 0;
         side = next_[static_cast<std::size_t>(side)]) {
      if (mesh_.alive(side / 3)) visit(side / 3, side % 3);
    }
  }
  // The live triangles that run along the edge from a to b (in this direction).
  std::vector<std::int32_t> with_side(std::int32_t a, std::int32_t b) const;
  // How many live triangles have the edge, in either direction.
  int edge_valence(std::int32_t a, std::int32_t b) const;

  // Calls visit(f) for live triangles whose boxes meet the box; stops at false.
  template <typename Visit>
  void for_each_near(const FloatBox& box, Visit visit) const {
    bool go_on = true;
    for (const BoxTree& tree : trees_) {
      if (!go_on) return;
      tree.for_each_meeting(box, [&](std::int32_t f) {
        if (mesh_.alive(f)) go_on = visit(f);
        return go_on;
      });
    }
  }

 private:
  void link(std::int32_t f);
  void grow_forest(std::vector<std::int32_t> items);

  WorkMesh& mesh_;
  std::vector<std::int32_t> head_;
  std::vector<std::int32_t> next_;
  std::vector<BoxTree> trees_;
};

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_WORK_MESH_H
