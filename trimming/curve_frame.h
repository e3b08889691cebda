// The axes of a curve, and the way from space to its plane.
#ifndef SCANMESH_TRIMMING_CURVE_FRAME_H
#define SCANMESH_TRIMMING_CURVE_FRAME_H

#include <cmath>

#include "scanmesh/geometry.h"
#include "trimming/curve_shapes.h"
#include "trimming/plane_crossings.h"

namespace scanmesh {

using Vec3d = MemS::Point3v<double>;

inline Vec3d widened(const MemS::Point3v<float>& p) {
  return {p.x, p.y, p.z};
}
inline MemS::Point3v<float> narrowed(const Vec3d& p) {
  return {static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z)};
}
inline Vec3d sum(const Vec3d& a, const Vec3d& b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline Vec3d difference(const Vec3d& a, const Vec3d& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline Vec3d times(const Vec3d& a, double factor) {
  return {a.x * factor, a.y * factor, a.z * factor};
}
inline double product(const Vec3d& a, const Vec3d& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline Vec3d cross_product(const Vec3d& a, const Vec3d& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline double norm(const Vec3d& a) {
  return std::sqrt(product(a, a));
}

// Right-handed axes of unit length at the curve's centre. The rigid motion that takes the points
// centre + e1, centre + e2, centre + n onto (1, 0, 0), (0, 1, 0), (0, 0, 1) has them as its rows,
// and keeps the curve's plane in place because they are right-handed.
class CurveFrame {
 public:
  // A circle finds its first axis by itself; other curves take their direction, or what of it lies
  // in the plane.
  explicit CurveFrame(const qv::maac::xtirm_mesh::FBase& shape);

  // False for an axis of no length, or a direction along the axis: there is no plane to cut in.
  bool valid() const { return valid_; }

  // As seen along the axis.
  Point2 flat(const Vec3d& p) const {
    const Vec3d away = difference(p, centre);
    return {product(away, e1), product(away, e2)};
  }
  // A direction of the plane, in space.
  Vec3d in_space(const Point2& d) const { return sum(times(e1, d.x), times(e2, d.y)); }

  Vec3d centre;
  Vec3d e1;
  Vec3d e2;
  Vec3d n;

 private:
  bool valid_ = false;
};

}  // namespace scanmesh

#endif  // SCANMESH_TRIMMING_CURVE_FRAME_H
