// Curves in their own plane, the centre at the origin and the direction along x: which side a point
// is on, and where a segment that goes in crosses.
#ifndef SCANMESH_TRIMMING_PLANE_CROSSINGS_H
#define SCANMESH_TRIMMING_PLANE_CROSSINGS_H

#include <array>
#include <vector>

namespace scanmesh {

struct Point2 {
  double x = 0;
  double y = 0;
};

inline Point2 between(const Point2& p, const Point2& q, double t) {
  return {p.x + t * (q.x - p.x), p.y + t * (q.y - p.y)};
}

// The weights of the corners a, b, c that make up p; false for a triangle so narrow that they would
// mean nothing.
bool corner_weights(const Point2& a, const Point2& b, const Point2& c, const Point2& p,
                    std::array<double, 3>& weight);

// +1 outside, 0 within 1e-6 of the circle, -1 inside.
int circle_sign(const Point2& p, double radius);
// +1 outside, -1 inside or on the curve.
int oval_sign(const Point2& p, double half_straight, double radius);
int rectangle_sign(const Point2& p, double half_along, double half_across);

// Where the segment from p, outside, to q, inside, crosses the circle: 0, with the part of the way
// from p to q in `t`. -1 when p is the centre, -2 when the line passes the circle by; `t` stays.
int segment_circle(const Point2& p, const Point2& q, double radius, double& t);

// The side that the segment from p, outside, to q, inside, crosses, with the part of the way in
// `t`; -1, and `t` stays, when the ends don't lie so. For the slot 0 is the left arc, 1 the right
// arc, 2 the line y = +radius, 3 the line y = -radius.
int segment_oval(const Point2& p, const Point2& q, double half_straight, double radius, double& t);
// 0 is x = -half_along, 1 is x = +half_along, 2 is y = +half_across, 3 is y = -half_across.
int segment_rectangle(const Point2& p, const Point2& q, double half_along, double half_across,
                      double& t);

// The points that a cut must pass through: the rectangle's corners, and where the slot's straight
// lines meet its arcs. Counter-clockwise.
std::vector<Point2> oval_junctions(double half_straight, double radius);
std::vector<Point2> rectangle_corners(double half_along, double half_across);

}  // namespace scanmesh

#endif  // SCANMESH_TRIMMING_PLANE_CROSSINGS_H
