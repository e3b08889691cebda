// The moves of a single vertex that several filters share.
#ifndef SCANMESH_SMOOTHING_VERTEX_STEPS_H
#define SCANMESH_SMOOTHING_VERTEX_STEPS_H

#include <cstdint>

#include "core/face_building.h"
#include "core/vector_math.h"
#include "scanmesh/stores.h"

namespace scanmesh {

// The mean of points: float sums and quotients. The quotient of two floats rounds alike whether it
// is taken in float or in double. Without any point it is NaN.
class MeanPoint {
 public:
  void add(const Vec3f& point) {
    sum_ = scanmesh::add(sum_, point);
    ++count_;
  }
  int count() const { return count_; }
  Vec3f mean() const {
    const auto count = static_cast<float>(count_);
    return {sum_.x / count, sum_.y / count, sum_.z / count};
  }

 private:
  Vec3f sum_{0, 0, 0};
  int count_ = 0;
};

// x, y, z and a lane that nobody reads, for loops that do nothing but sums: the lanes are added and
// divided side by side, each with the rounding of a float. It is only ever made, added and divided
// as a whole, so no conversion between precisions is in the way.
using FloatLanes = float __attribute__((vector_size(16)));

inline FloatLanes lanes_of(const Vec3f& p) {
  return FloatLanes{p.x, p.y, p.z, 0};
}
inline Vec3f point_of(const FloatLanes& p) {
  return {p[0], p[1], p[2]};
}

// The uniform step: v + s x mean(n - v).
class UniformStep {
 public:
  explicit UniformStep(const Vec3f& v) : v_(v) {}
  void pull(const Vec3f& neighbour) { offsets_.add(sub(neighbour, v_)); }
  Vec3f moved(double step) const { return add(v_, scaled(offsets_.mean(), step)); }

 private:
  Vec3f v_;
  MeanPoint offsets_;
};

// The same on lanes. The step is a float: its product with a float rounds alike whether it is taken
// in float or in double.
inline FloatLanes uniform_step(const FloatLanes* points, const FloatLanes& v, const int32_t* first,
                               const int32_t* last, float step) {
  FloatLanes sum = {0, 0, 0, 0};
  for (const int32_t* n = first; n != last; ++n) sum += points[*n] - v;
  const auto count = static_cast<float>(last - first);
  const FloatLanes counts = {count, count, count, 1};
  return v + sum / counts * step;
}

// The mean of the neighbours over edges that aren't deleted, after the vertex itself when `self`.
inline MeanPoint mean_of_neighbours(const Mesh_R::_vert& vert, bool self) {
  MeanPoint mean;
  if (self) mean.add(vert.point);
  for (int i = 0; i < vert.edge_num; ++i) {
    if (vert.edge[i]->state == Mesh_R::kStateDeleted) continue;
    mean.add(far_end(vert.edge[i], &vert)->point);
  }
  return mean;
}

// The part of e along a unit normal: n (n . e).
inline Vec3f along(const Vec3f& n, const Vec3f& e) {
  return scaled(n, dot_double(n, e));
}

}  // namespace scanmesh

#endif  // SCANMESH_SMOOTHING_VERTEX_STEPS_H
