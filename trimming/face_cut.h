// Cutting one triangle along a curve.
#ifndef SCANMESH_TRIMMING_FACE_CUT_H
#define SCANMESH_TRIMMING_FACE_CUT_H

#include <array>
#include <cmath>
#include <vector>

#include "trimming/curve_frame.h"
#include "trimming/curve_shapes.h"
#include "trimming/plane_crossings.h"

namespace scanmesh {

// A curve in its plane, ready for many triangles. It is convex, so that an edge with one end
// outside and one inside crosses it exactly once.
class PlaneCurve {
 public:
  explicit PlaneCurve(const qv::maac::xtirm_mesh::FCircle3D& circle);
  explicit PlaneCurve(const qv::maac::xtirm_mesh::FOvalSlot3D& slot);
  explicit PlaneCurve(const qv::maac::xtirm_mesh::FRectangle3D& rectangle);

  // Too small a curve is left uncut: what would be cut away is less than the scan's noise.
  bool too_small() const { return too_small_; }
  bool is_circle() const { return kind_ == qv::maac::xtirm_mesh::kCircle; }
  int sign(const Point2& p) const;
  // Part of the way from p, outside, to q, inside; false when there is no crossing.
  bool crossing(const Point2& p, const Point2& q, double& t) const;
  // Points that the cut passes through where a triangle holds them.
  const std::vector<Point2>& fixed_points() const { return fixed_points_; }

 private:
  int kind_;
  double size_1_;
  double size_2_ = 0;
  bool too_small_;
  std::vector<Point2> fixed_points_;
};

struct CutTriangle {
  std::array<MemS::Point3v<float>, 3> corner;
  bool wall = false;
  MemS::Point3v<float> wall_normal{0, 0, 0};  // of a wall's triangle
};

enum class FaceFate { kKept, kReplaced };

// The wall under a cut: where its lower rim lies, from the cut.
struct Wall {
  bool wanted = false;
  double depth = 0;
};

// A wall hangs down, and ends somewhere.
inline bool fits_wall(float depth) {
  return std::isfinite(depth) && depth >= 0;
}

// Cuts a triangle as seen along the axis: only its corners decide whether it is cut at all. Appends
// what takes its place, and the wall, which a face that is kept can have too. A face that can't be
// cut is kept.
FaceFate cut_face(const CurveFrame& frame, const PlaneCurve& curve,
                  const std::array<MemS::Point3v<float>, 3>& corner, const Wall& wall,
                  std::vector<CutTriangle>& out);

}  // namespace scanmesh

#endif  // SCANMESH_TRIMMING_FACE_CUT_H
