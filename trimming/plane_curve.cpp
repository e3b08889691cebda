#include "trimming/face_cut.h"

namespace scanmesh {

using qv::maac::xtirm_mesh::FCircle3D;
using qv::maac::xtirm_mesh::FOvalSlot3D;
using qv::maac::xtirm_mesh::FRectangle3D;

namespace {

// Floats, as the sizes are: a host's 1.4 isn't below 1.4.
constexpr float kLeastRadius = 1.4F;
constexpr float kLeastHalfAcross = 1.4F;  // the half size along the direction isn't asked
constexpr float kLeastHalfSlot = 2.0F;

}  // namespace

PlaneCurve::PlaneCurve(const FCircle3D& circle)
    : kind_(circle.shape_kind()),
      size_1_(circle.size_1),
      too_small_(!(circle.size_1 >= kLeastRadius)) {}

PlaneCurve::PlaneCurve(const FOvalSlot3D& slot)
    : kind_(slot.shape_kind()),
      size_1_(slot.size_1),
      size_2_(slot.size_2),
      too_small_(!(slot.size_1 + slot.size_2 >= kLeastHalfSlot)),
      fixed_points_(oval_junctions(size_1_, size_2_)) {}

PlaneCurve::PlaneCurve(const FRectangle3D& rectangle)
    : kind_(rectangle.shape_kind()),
      size_1_(rectangle.size_1),
      size_2_(rectangle.size_2),
      too_small_(!(rectangle.size_2 >= kLeastHalfAcross)),
      fixed_points_(rectangle_corners(size_1_, size_2_)) {}

int PlaneCurve::sign(const Point2& p) const {
  switch (kind_) {
    case qv::maac::xtirm_mesh::kCircle:
      return circle_sign(p, size_1_);
    case qv::maac::xtirm_mesh::kOvalSlot:
      return oval_sign(p, size_1_, size_2_);
    default:
      return rectangle_sign(p, size_1_, size_2_);
  }
}

bool PlaneCurve::crossing(const Point2& p, const Point2& q, double& t) const {
  switch (kind_) {
    case qv::maac::xtirm_mesh::kCircle:
      return segment_circle(p, q, size_1_, t) == 0;
    case qv::maac::xtirm_mesh::kOvalSlot:
      return segment_oval(p, q, size_1_, size_2_, t) >= 0;
    default:
      return segment_rectangle(p, q, size_1_, size_2_, t) >= 0;
  }
}

}  // namespace scanmesh
