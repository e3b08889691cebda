// The closed planar curves that openings are cut along.
#ifndef SCANMESH_TRIMMING_CURVE_SHAPES_H
#define SCANMESH_TRIMMING_CURVE_SHAPES_H

#include "scanmesh/geometry.h"

namespace qv {
namespace maac {
namespace xtirm_mesh {

// What shape_kind answers.
enum : int { kCircle = 0, kOvalSlot = 1, kRectangle = 2 };

// A curve around an axis, in the plane through its centre. Lengths in mesh units.
class FBase {
 public:
  FBase(const MemS::Point3v<float>& axis_point, const MemS::Point3v<float>& axis,
        const MemS::Point3v<float>& first_axis, float size)
      : centre(axis_point), normal(axis), direction(first_axis), size_1(size) {}
  virtual ~FBase() = default;
  FBase(const FBase&) = delete;
  FBase& operator=(const FBase&) = delete;

  virtual int shape_kind() const = 0;

  MemS::Point3v<float> centre;     // a point on the axis
  MemS::Point3v<float> normal;     // the axis, of unit length
  MemS::Point3v<float> direction;  // the first axis of the plane
  float size_1;
};

// size_1 is the radius; the direction is made, perpendicular to the normal.
class FCircle3D : public FBase {
 public:
  FCircle3D(const MemS::Point3v<float>& axis_point, const MemS::Point3v<float>& axis, float radius);
  int shape_kind() const override;
};

// A slot with round ends: size_1 is half of the straight part, size_2 the radius.
class FOvalSlot3D : public FBase {
 public:
  FOvalSlot3D(const MemS::Point3v<float>& axis_point, const MemS::Point3v<float>& axis,
              const MemS::Point3v<float>& first_axis, float half_straight, float radius);
  int shape_kind() const override;

  float size_2;
};

// Half sizes along the direction and across it.
class FRectangle3D : public FBase {
 public:
  FRectangle3D(const MemS::Point3v<float>& axis_point, const MemS::Point3v<float>& axis,
               const MemS::Point3v<float>& first_axis, float half_along, float half_across);
  int shape_kind() const override;

  float size_2;
};

}  // namespace xtirm_mesh
}  // namespace maac
}  // namespace qv

#endif  // SCANMESH_TRIMMING_CURVE_SHAPES_H
