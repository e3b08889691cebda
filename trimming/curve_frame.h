// The axes of a curve, and the way from space to its plane.
#ifndef SCANMESH_TRIMMING_CURVE_FRAME_H
#define SCANMESH_TRIMMING_CURVE_FRAME_H

#include "core/double_vector.h"
#include "trimming/curve_shapes.h"
#include "trimming/plane_crossings.h"

namespace scanmesh {

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
    const Vec3d away = p - centre;
    return {dot(away, e1), dot(away, e2)};
  }
  // A direction of the plane, in space.
  Vec3d in_space(const Point2& d) const { return e1 * d.x + e2 * d.y; }

  Vec3d centre;
  Vec3d e1;
  Vec3d e2;
  Vec3d n;

 private:
  bool valid_ = false;
};

}  // namespace scanmesh

#endif  // SCANMESH_TRIMMING_CURVE_FRAME_H
