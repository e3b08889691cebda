// The geometry of a ball on three points, the same for both reconstructors.
#ifndef SCANMESH_PIVOTING_PIVOT_GEOMETRY_H
#define SCANMESH_PIVOTING_PIVOT_GEOMETRY_H

#include "core/vector_math.h"
#include "scanmesh/stores.h"

namespace scanmesh {

constexpr int kRadii = 5;

// What a reconstructor's settings allow.
struct BallLimits {
  const double* radius_sq;  // kRadii of them, ascending
  double max_dist;          // of two points that may be joined
  double cos_75;            // least cosine between normals that belong together
};

double cos_degrees(double angle);

struct Ball {
  Vec3f centre;
  Vec3f normal;    // of the triangle, on the side of the ball
  double r_sq;     // in: the radius to begin with
  double circ_sq;  // squared circumradius of the triangle
};

// The five radii of a spacing, and the reach that goes with them.
void set_schedule(double spacing, double& base_radius, double (&radius)[kRadii],
                  double (&radius_sq)[kRadii], double& max_dist);

// The ball through p, a and b that lies on the side of p's normal, with the first radius of the
// schedule that reaches them. Coordinate differences, normal and centre are floats, lengths and
// products doubles. False, too, for whatever isn't a number.
bool find_sphere(const BallLimits& limits, const Mesh_R::_vert& p, const Mesh_R::_vert& a,
                 const Mesh_R::_vert& b, Ball& ball);

// The same with the parts of the ball one by one.
inline bool find_sphere(const BallLimits& limits, const Mesh_R::_vert& p, const Mesh_R::_vert& a,
                        const Mesh_R::_vert& b, Vec3f& centre, Vec3f& normal, double& r_sq,
                        double& circ_sq) {
  Ball ball{centre, normal, r_sq, circ_sq};
  const bool found = find_sphere(limits, p, a, b, ball);
  centre = ball.centre;
  normal = ball.normal;
  r_sq = ball.r_sq;
  circ_sq = ball.circ_sq;
  return found;
}

// Whether a point lies outside the ball, but for `tolerance`, a squared length.
inline bool outside(const Ball& ball, const Vec3f& point, double tolerance) {
  const Vec3f from_centre = sub(point, ball.centre);
  return !(dot_double(from_centre, from_centre) < ball.r_sq - tolerance);
}

// The corner of a face that isn't an end of the edge; the last one that isn't.
Mesh_R::_vert* far_corner(const Mesh_R::_face& face, const Mesh_R::_edge& edge);

// Whether the vertex lies on the other side of the edge than the edge's first face.
bool lies_beyond(const Mesh_R::_edge& edge, const Mesh_R::_vert& vert);

// Whether the edge may keep its faces: fewer than two, or two that don't fold onto each other.
bool may_stay(const BallLimits& limits, const Mesh_R::_edge& edge);

}  // namespace scanmesh

#endif  // SCANMESH_PIVOTING_PIVOT_GEOMETRY_H
