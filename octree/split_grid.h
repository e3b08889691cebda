// Working room for joining coarse cells to finer neighbours.
#ifndef SCANMESH_OCTREE_SPLIT_GRID_H
#define SCANMESH_OCTREE_SPLIT_GRID_H

#include <cstddef>
#include <memory>
#include <vector>

#include "octree/octree_cells.h"
#include "scanmesh/marching.h"

namespace scanmesh {

constexpr int kSplitLeaves = 10000;

// A square grid over the wall of an ordinary cell, four points per finest half edge, and the lists
// that go with it.
class SplitGrid {
 public:
  explicit SplitGrid(const Oct_tree_Tri& tree);

  // False for cell sizes that give no sensible grid.
  bool usable() const { return size_ > 1; }
  int size() const { return size_; }
  float step() const { return step_; }
  Point3fv** grid() { return grid_rows_.data(); }
  bool** used() { return used_rows_.data(); }
  OctNode** list() { return list_.data(); }
  Point3fv** loop() { return loop_.data(); }

 private:
  int size_ = 0;
  float step_ = 0;
  std::vector<Point3fv> points_;
  std::unique_ptr<bool[]> flags_;
  std::vector<Point3fv*> grid_rows_;
  std::vector<bool*> used_rows_;
  std::vector<OctNode*> list_;
  std::vector<Point3fv*> loop_;
};

// The grid of one split cell, laid over the two axes along which its surface extends most.
class SplitWall {
 public:
  SplitWall(const OctNode* cell, const float* centre, int size, float step, Point3fv** grid,
            bool** used);

  // Vertices of finer cells: two that meet in one place are moved apart.
  void put(const Vec3f& p);
  // Vertices of other neighbours displace nothing.
  void put_if_free(const Vec3f& p);
  // The points along the rim in a fixed order, closed; returns their number.
  int walk_rim(Point3fv** loop) const;

 private:
  struct Place {
    int i;
    int j;
  };

  int index_of(double offset) const;
  Place place_of(const Vec3f& p) const;
  bool inside(const Place& place) const;
  void store(const Place& place, const Vec3f& p);
  double squared_from(const Vec3f& p, const Place& place) const;
  Place resolve(const Place& place, Vec3f& point);

  int size_;
  float step_;
  Point3fv** grid_;
  bool** used_;
  int a_;
  int b_;
  double origin_a_;
  double origin_b_;
};

}  // namespace scanmesh

#endif  // SCANMESH_OCTREE_SPLIT_GRID_H
