#include "trimming/curve_shapes.h"

#include <cmath>

#include "core/vector_math.h"

namespace qv {
namespace maac {
namespace xtirm_mesh {

namespace {

using scanmesh::Vec3f;

// A vector with a zero product with n; the first of equal components counts as the largest.
Vec3f perpendicular(const Vec3f& n) {
  const float x = std::fabs(n.x);
  const float y = std::fabs(n.y);
  const float z = std::fabs(n.z);
  if (x == 0 && y == 0 && z == 0) return {0, 0, 0};
  if (x >= y && x >= z) return scanmesh::unit_or_zero({-n.y / n.x, 1, 0});
  if (y >= z) return scanmesh::unit_or_zero({1, -n.x / n.y, 0});
  return scanmesh::unit_or_zero({1, 0, -n.x / n.z});
}

}  // namespace

FCircle3D::FCircle3D(const Vec3f& axis_point, const Vec3f& axis, float radius)
    : FBase(axis_point, axis, perpendicular(axis), radius) {}

int FCircle3D::shape_kind() const {
  return kCircle;
}

FOvalSlot3D::FOvalSlot3D(const Vec3f& axis_point, const Vec3f& axis, const Vec3f& first_axis,
                         float half_straight, float radius)
    : FBase(axis_point, axis, first_axis, half_straight), size_2(radius) {}

int FOvalSlot3D::shape_kind() const {
  return kOvalSlot;
}

FRectangle3D::FRectangle3D(const Vec3f& axis_point, const Vec3f& axis, const Vec3f& first_axis,
                           float half_along, float half_across)
    : FBase(axis_point, axis, first_axis, half_along), size_2(half_across) {}

int FRectangle3D::shape_kind() const {
  return kRectangle;
}

}  // namespace xtirm_mesh
}  // namespace maac
}  // namespace qv
