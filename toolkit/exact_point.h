// Points that a computation arrives at without any rounding, as homogeneous whole numbers.
#ifndef SCANMESH_TOOLKIT_EXACT_POINT_H
#define SCANMESH_TOOLKIT_EXACT_POINT_H

#include <array>
#include <boost/multiprecision/cpp_int.hpp>
#include <vector>

#include "scanmesh/toolkit/triangle_mesh.h"

namespace scanmesh {

using Whole = boost::multiprecision::number<boost::multiprecision::cpp_int_backend<>,
                                            boost::multiprecision::et_off>;

// (x / w, y / w, z / w), in units of the grid that the coordinates were put on. w is positive and
// the four have no common divisor, so that equal points have equal numbers.
struct ExactPoint {
  std::array<Whole, 3> x;
  Whole w = 1;
  std::array<double, 3> near;  // rounded, for quick answers

  bool operator<(const ExactPoint& other) const;
  bool operator==(const ExactPoint& other) const { return x == other.x && w == other.w; }
};

// Makes `near` and brings the numbers into lowest terms.
ExactPoint settled(std::array<Whole, 3> x, Whole w);

// Doubles as whole numbers: in units of the lowest bit that any of them has.
class ExactGrid {
 public:
  explicit ExactGrid(const std::vector<Point>& points);
  ExactPoint on_grid(const Point& p) const;
  // Rounded to doubles in the mesh's units.
  Point off_grid(const ExactPoint& p) const;

 private:
  Whole whole(double value) const;
  int lowest_ = 0;  // the unit is 2^lowest_
};

// A plane by three points: positive on the side that the normal of a, b, c points to.
struct ExactPlane {
  std::array<Whole, 3> normal;
  Whole offset;
  ExactPlane(const ExactPoint& a, const ExactPoint& b, const ExactPoint& c);  // points with w = 1
  Whole value(const ExactPoint& p) const;
};

// Where the line through p and q, of values u and v in a function that is linear along it, has 0.
ExactPoint zero_between(const ExactPoint& p, const ExactPoint& q, const Whole& u, const Whole& v);

// The two coordinates that are kept, in order, when axis 0, 1 or 2 is dropped.
struct Flattening {
  int u;
  int v;
  explicit Flattening(int dropped) : u((dropped + 1) % 3), v((dropped + 2) % 3) {}
};

// +1 when a, b, c turn left as flattened, -1 right, 0 on a line.
int turn(const ExactPoint& a, const ExactPoint& b, const ExactPoint& c, const Flattening& flat);
// Linear in p: twice the signed area of a, b, p times the three w.
Whole line_value(const ExactPoint& a, const ExactPoint& b, const ExactPoint& p,
                 const Flattening& flat);
// +1 when d lies in the circle through a, b, c, which turn left.
int in_circle(const ExactPoint& a, const ExactPoint& b, const ExactPoint& c, const ExactPoint& d,
              const Flattening& flat);
// Compares a coordinate.
int compare(const ExactPoint& a, const ExactPoint& b, int axis);

inline int sign_of(const Whole& value) {
  return value.sign();
}

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_EXACT_POINT_H
