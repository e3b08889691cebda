// The patch under construction: triangles with their neighbours, and the local operations on them.
#ifndef SCANMESH_PATCHING_PATCH_MESH_H
#define SCANMESH_PATCHING_PATCH_MESH_H

#include <vector>

#include "patching/patch_types.h"

namespace cavity {

// A disk whose first ring_size points are its boundary, in order. Every operation keeps that, keeps
// the orientation, and never makes an edge twice nor one that the surroundings have.
class PatchMesh {
 public:
  // `triangles` must form a disk over `points` with the ring as boundary; `chords` must outlive
  // the mesh.
  PatchMesh(std::vector<Point> points, int ring_size, std::vector<Triangle> triangles,
            const ChordSet& chords);

  int ring_size() const { return ring_size_; }
  int point_count() const { return static_cast<int>(points_.size()); }
  int triangle_count() const { return static_cast<int>(triangles_.size()); }
  const std::vector<Point>& points() const { return points_; }
  const std::vector<Triangle>& triangles() const { return triangles_; }
  const Point& point(int v) const { return points_[v]; }
  const Triangle& triangle(int f) const { return triangles_[f]; }
  // The triangle across the edge opposite corner k of f, -1 on the ring.
  int neighbour(int f, int k) const { return neighbours_[f][k]; }
  void move_point(int v, const Point& p) { points_[v] = p; }
  bool is_free(int v) const { return v >= ring_size_; }
  bool may_join(int a, int b) const;

  // The corner of f opposite the edge it shares with its neighbour across corner k.
  int opposite_corner(int f, int k) const;
  Point normal(int f) const;
  // Whether a and b are joined by an edge of the patch.
  bool has_edge(int a, int b) const;
  // The vertices joined to v, in an order that depends on the mesh alone; in circular order for a
  // free vertex.
  void link_of(int v, std::vector<int>& link) const;
  void faces_of(int v, std::vector<int>& faces) const;

  // Replaces the edge opposite corner k of f by the other diagonal. False, with nothing changed, on
  // the ring and where the diagonal isn't allowed.
  bool flip(int f, int k);
  // Puts a new point on the edge opposite corner k of f (never a ring edge); returns it.
  int split_edge(int f, int k, const Point& p);
  // Puts a new point inside f; returns it.
  int split_triangle(int f, const Point& p);

 private:
  void replace_neighbour(int f, int before, int after);
  int corner_of(int f, int v) const;

  std::vector<Point> points_;
  std::vector<Triangle> triangles_;
  std::vector<Triangle> neighbours_;
  std::vector<int> face_of_;
  int ring_size_;
  const ChordSet& chords_;
};

}  // namespace cavity

#endif  // SCANMESH_PATCHING_PATCH_MESH_H
