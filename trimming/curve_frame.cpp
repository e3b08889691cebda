#include "trimming/curve_frame.h"

#include <cmath>

namespace scanmesh {

namespace {

// Scales to unit length; false when there is none.
bool normalize(Vec3d& v) {
  const double size = length(v);
  if (!std::isfinite(size) || !(size > 0)) return false;
  v = v * (1 / size);
  return true;
}

// A coordinate axis well away from n.
Vec3d seed_for(const Vec3d& n) {
  const double x = std::fabs(n.x);
  return x >= std::fabs(n.y) && x >= std::fabs(n.z) ? Vec3d{0, 1, 0} : Vec3d{1, 0, 0};
}

}  // namespace

CurveFrame::CurveFrame(const qv::maac::xtirm_mesh::FBase& shape)
    : centre(widened(shape.centre)), e1{0, 0, 0}, e2{0, 0, 0}, n(widened(shape.normal)) {
  if (!normalize(n)) return;
  if (shape.shape_kind() == qv::maac::xtirm_mesh::kCircle) {
    e2 = cross(seed_for(n), n);
    valid_ = normalize(e2);
    e1 = cross(e2, n);
    return;
  }
  e1 = widened(shape.direction);
  e1 = e1 - n * dot(e1, n);
  valid_ = normalize(e1);
  e2 = cross(n, e1);
}

}  // namespace scanmesh
