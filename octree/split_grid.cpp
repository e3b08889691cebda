#include "octree/split_grid.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "octree/cell_surface.h"

namespace scanmesh {

namespace {

constexpr double kLargestGrid = 16385;  // a gigabyte and more
constexpr double kStepsPerHalf = 0.25;

float component(const Vec3f& p, int axis) {
  return axis == 0 ? p.x : axis == 1 ? p.y : p.z;
}

// x on ties against y and z, y on a tie against z.
int steepest_axis(const Vec3f& n) {
  const float x = std::fabs(n.x);
  const float y = std::fabs(n.y);
  const float z = std::fabs(n.z);
  if (x >= y && x >= z) return 0;
  return y >= z ? 1 : 2;
}

}  // namespace

SplitGrid::SplitGrid(const Oct_tree_Tri& tree)
    : step_(static_cast<float>(tree.fine_HalfEdge * kStepsPerHalf)) {
  const double points =
      std::pow(2.0, tree.levels + 1) * tree.fine_HalfEdge / static_cast<double>(step_) + 1.0;
  if (!(points >= 2 && points <= kLargestGrid)) return;
  size_ = static_cast<int>(points);
  const auto n = static_cast<std::size_t>(size_);
  points_.resize(n * n);
  flags_.reset(new bool[n * n]());
  for (std::size_t i = 0; i < n; ++i) {
    grid_rows_.push_back(points_.data() + i * n);
    used_rows_.push_back(flags_.get() + i * n);
  }
  list_.resize(kSplitLeaves);
  loop_.resize(5 * n);
}

SplitWall::SplitWall(const OctNode* cell, const float* centre, int size, float step,
                     Point3fv** grid, bool** used)
    : size_(size), step_(step), grid_(grid), used_(used) {
  for (int i = 0; i < size; ++i) std::fill_n(used[i], size, false);
  const int dropped = steepest_axis(normal_of(cell));
  a_ = dropped == 0 ? 1 : 0;
  b_ = dropped == 2 ? 1 : 2;
  origin_a_ = static_cast<double>(centre[a_]) - cell->half;
  origin_b_ = static_cast<double>(centre[b_]) - cell->half;
}

void SplitWall::put(const Vec3f& p) {
  Place place = place_of(p);
  if (!inside(place)) return;
  Vec3f point = p;
  if (used_[place.i][place.j]) place = resolve(place, point);
  if (inside(place)) store(place, point);
}

void SplitWall::put_if_free(const Vec3f& p) {
  const Place place = place_of(p);
  if (inside(place) && !used_[place.i][place.j]) store(place, p);
}

int SplitWall::walk_rim(Point3fv** loop) const {
  int count = 0;
  const auto take = [&](int i, int j) {
    if (used_[i][j]) loop[count++] = &grid_[i][j];
  };
  const int last = size_ - 1;
  for (int i = 0; i <= last; ++i) take(i, 0);
  for (int j = 1; j <= last; ++j) take(last, j);
  for (int i = last - 1; i >= 0; --i) take(i, last);
  for (int j = last - 1; j > 0; --j) take(0, j);
  if (count > 0 && loop[count - 1] != loop[0]) {
    loop[count] = loop[0];
    ++count;
  }
  return count;
}

// Truncation after the shift brings what lies a little below the grid onto its edge.
int SplitWall::index_of(double offset) const {
  constexpr double kShift = 0.3;
  const double at = offset / static_cast<double>(step_) + kShift;
  return at > -1 && at < size_ ? static_cast<int>(at) : -1;
}

SplitWall::Place SplitWall::place_of(const Vec3f& p) const {
  return {index_of(component(p, a_) - origin_a_), index_of(component(p, b_) - origin_b_)};
}

bool SplitWall::inside(const Place& place) const {
  return place.i >= 0 && place.i < size_ && place.j >= 0 && place.j < size_;
}

void SplitWall::store(const Place& place, const Vec3f& p) {
  grid_[place.i][place.j] = to_point(p);
  used_[place.i][place.j] = true;
}

double SplitWall::squared_from(const Vec3f& p, const Place& place) const {
  const double a = component(p, a_) - (origin_a_ + place.i * static_cast<double>(step_));
  const double b = component(p, b_) - (origin_b_ + place.j * static_cast<double>(step_));
  return a * a + b * b;
}

// The closer of the two keeps the place. The other goes one place on and takes what it finds there,
// used or not: a search for a free place would give another rim than hosts know.
SplitWall::Place SplitWall::resolve(const Place& place, Vec3f& point) {
  Vec3f stored = to_vec(grid_[place.i][place.j]);
  if (welds(point, stored)) return {-1, -1};
  if (squared_from(stored, place) > squared_from(point, place)) {
    std::swap(point, stored);
    grid_[place.i][place.j] = to_point(stored);
  }
  const float along_a = component(point, a_) - component(stored, a_);
  const float along_b = component(point, b_) - component(stored, b_);
  if (std::fabs(along_a) > std::fabs(along_b)) return {place.i + (along_a > 0 ? 1 : -1), place.j};
  return {place.i, place.j + (along_b > 0 ? 1 : -1)};
}

}  // namespace scanmesh
