#include "pivoting/pivot_geometry.h"

#include <cmath>

#include "core/face_building.h"

namespace scanmesh {

using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kSpacings = 1.5;  // the base radius
constexpr double kSteps[kRadii] = {0.3, 0.7, 1.0, 1.5, 2.0};
constexpr double kReach = 4;
// Three points with a smaller sine between them are on one line.
constexpr double kLeastSine = 0.001;

// Whether two points lie on the same side of an edge, seen across the edge.
bool on_one_side(const _edge& edge, const Vec3f& first, const Vec3f& second) {
  const Vec3f& end = edge.vert[1]->point;
  const Vec3f along = sub(end, edge.vert[0]->point);
  return dot_double(cross(along, sub(first, end)), cross(along, sub(second, end))) > 0;
}

// Unit normal of the triangle on the side of p's normal; false for a bad triangle.
bool oriented_normal(const BallLimits& limits, const _vert& p, const Vec3f& u, const Vec3f& v,
                     Vec3f& normal) {
  const double length_u = length(u);
  const double length_v = length(v);
  if (!(length_u <= limits.max_dist) || !(length_v <= limits.max_dist)) return false;
  const Vec3f n = cross(u, v);
  const double length_n = length(n);
  if (kLeastSine * length_u * length_v > length_n) return false;
  normal = scaled(n, 1 / length_n);
  const double c = dot_double(p.vector, normal);
  // Two equal points pass the test on the sine, and have no normal.
  if (!(std::fabs(c) >= limits.cos_75)) return false;
  if (c < 0) normal = negated(normal);
  return true;
}

}  // namespace

double cos_degrees(double angle) {
  return std::cos(angle * kPi / 180);
}

void set_schedule(double spacing, double& base_radius, double (&radius)[kRadii],
                  double (&radius_sq)[kRadii], double& max_dist) {
  base_radius = kSpacings * spacing;
  for (int i = 0; i < kRadii; ++i) {
    radius[i] = kSteps[i] * base_radius;
    radius_sq[i] = radius[i] * radius[i];
  }
  max_dist = kReach * base_radius;
}

bool find_sphere(const BallLimits& limits, const _vert& p, const _vert& a, const _vert& b,
                 Ball& ball) {
  const Vec3f u = sub(a.point, p.point);
  const Vec3f v = sub(b.point, p.point);
  if (!oriented_normal(limits, p, u, v, ball.normal)) return false;
  const double uu = dot_double(u, u);
  const double vv = dot_double(v, v);
  const double w = dot_double(u, v);
  const double d = 2 * (uu * vv - w * w);
  const double along_u = (uu * vv - vv * w) / d;
  const double along_v = (uu * vv - uu * w) / d;
  const double x = along_u * u.x + along_v * v.x;
  const double y = along_u * u.y + along_v * v.y;
  const double z = along_u * u.z + along_v * v.z;
  ball.circ_sq = x * x + y * y + z * z;
  if (!(ball.circ_sq <= ball.r_sq)) {
    int i = 0;
    while (i < kRadii && !(limits.radius_sq[i] > ball.circ_sq)) ++i;
    if (i == kRadii) return false;
    ball.r_sq = limits.radius_sq[i];
  }
  const double height = std::sqrt(ball.r_sq - ball.circ_sq);
  ball.centre = {static_cast<float>(p.point.x + x + ball.normal.x * height),
                 static_cast<float>(p.point.y + y + ball.normal.y * height),
                 static_cast<float>(p.point.z + z + ball.normal.z * height)};
  return true;
}

_vert* far_corner(const _face& face, const _edge& edge) {
  for (int i = 2; i > 0; --i) {
    if (!touches(&edge, face.vert[i])) return face.vert[i];
  }
  return face.vert[0];
}

bool lies_beyond(const _edge& edge, const _vert& vert) {
  return !on_one_side(edge, far_corner(*edge.face[0], edge)->point, vert.point);
}

bool may_stay(const BallLimits& limits, const _edge& edge) {
  if (edge.face_num < 2) return true;
  if (edge.face_num > 2) return false;
  const _face& first = *edge.face[0];
  const _face& second = *edge.face[1];
  if (dot_double(first.vector, second.vector) < limits.cos_75) return false;
  return !on_one_side(edge, far_corner(first, edge)->point, far_corner(second, edge)->point);
}

}  // namespace scanmesh
