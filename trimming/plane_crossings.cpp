#include "trimming/plane_crossings.h"

#include <algorithm>
#include <cmath>

namespace scanmesh {

namespace {

constexpr double kOnCurve = 1e-6;
constexpr double kNarrow = 1e-7;  // height over length

double turn(const Point2& a, const Point2& b, const Point2& c) {
  return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}
double squared_distance(const Point2& a, const Point2& b) {
  return (a.x - b.x) * (a.x - b.x) + (a.y - b.y) * (a.y - b.y);
}

// The first crossing of the way from p to q with the circle around (cx, 0), as part of the way; a
// value below 0 when the line passes it by.
double enter_circle(const Point2& p, const Point2& q, double cx, double radius) {
  const double wx = q.x - p.x;
  const double wy = q.y - p.y;
  const double px = p.x - cx;
  const double a = wx * wx + wy * wy;
  const double b = px * wx + p.y * wy;
  // Distance of the line from the centre by the cross product: the usual discriminant loses half of
  // its digits far from the circle.
  const double turn = px * wy - p.y * wx;
  const double rest = radius * radius * a - turn * turn;
  if (!(a > 0) || rest < 0) return -1;
  return (-b - std::sqrt(rest)) / a;
}

double clamped(double t) {
  return std::clamp(t, 0.0, 1.0);
}

// The crossing of a convex curve by halving, for where the closed forms find none: on a curve that
// is met at an end of the segment they may fail by a rounding.
template <typename Inside>
double halved(const Point2& p, const Point2& q, Inside inside) {
  double out = 0;
  double in = 1;
  for (int i = 0; i < 60; ++i) {
    const double middle = 0.5 * (out + in);
    (inside(between(p, q, middle)) ? in : out) = middle;
  }
  return in;
}

int oval_side(const Point2& x, double half_straight) {
  if (x.x < -half_straight) return 0;
  if (x.x > half_straight) return 1;
  return x.y > 0 ? 2 : 3;
}

}  // namespace

bool corner_weights(const Point2& a, const Point2& b, const Point2& c, const Point2& p,
                    std::array<double, 3>& weight) {
  const double whole = turn(a, b, c);
  const double longest =
      std::max({squared_distance(a, b), squared_distance(b, c), squared_distance(c, a)});
  if (!(std::fabs(whole) > kNarrow * longest)) return false;
  weight = {turn(b, c, p) / whole, turn(c, a, p) / whole, turn(a, b, p) / whole};
  return true;
}

int circle_sign(const Point2& p, double radius) {
  const double gap = std::sqrt(p.x * p.x + p.y * p.y) - radius;
  if (std::fabs(gap) <= kOnCurve) return 0;
  return gap > 0 ? 1 : -1;
}

int oval_sign(const Point2& p, double half_straight, double radius) {
  if (std::fabs(p.x) > half_straight + radius || std::fabs(p.y) > radius) return 1;
  const double beyond = std::fabs(p.x) - half_straight;
  if (beyond > 0 && beyond * beyond + p.y * p.y > radius * radius) return 1;
  return -1;
}

int rectangle_sign(const Point2& p, double half_along, double half_across) {
  return std::fabs(p.x) > half_along || std::fabs(p.y) > half_across ? 1 : -1;
}

int segment_circle(const Point2& p, const Point2& q, double radius, double& t) {
  if (std::fabs(p.x) <= kOnCurve && std::fabs(p.y) <= kOnCurve) return -1;
  const double part = enter_circle(p, q, 0, radius);
  if (part < 0) return -2;
  t = clamped(part);
  return 0;
}

int segment_rectangle(const Point2& p, const Point2& q, double half_along, double half_across,
                      double& t) {
  if (rectangle_sign(p, half_along, half_across) < 0 ||
      rectangle_sign(q, half_along, half_across) > 0) {
    return -1;
  }
  // The way is inside once it has passed the last of the lines that p lies beyond.
  double last = -1;
  int side = -1;
  const auto pass = [&](double from, double to, double line, int number) {
    const double part = (line - from) / (to - from);
    if (part <= last) return;
    last = part;
    side = number;
  };
  if (p.x < -half_along) pass(p.x, q.x, -half_along, 0);
  if (p.x > half_along) pass(p.x, q.x, half_along, 1);
  if (p.y > half_across) pass(p.y, q.y, half_across, 2);
  if (p.y < -half_across) pass(p.y, q.y, -half_across, 3);
  if (side < 0) return -1;
  t = clamped(last);
  return side;
}

int segment_oval(const Point2& p, const Point2& q, double half_straight, double radius, double& t) {
  if (oval_sign(p, half_straight, radius) < 0 || oval_sign(q, half_straight, radius) > 0) return -1;
  if (p.y > radius || p.y < -radius) {
    const double line = p.y > 0 ? radius : -radius;
    const double part = (line - p.y) / (q.y - p.y);
    if (std::fabs(between(p, q, part).x) <= half_straight) {
      t = clamped(part);
      return p.y > 0 ? 2 : 3;
    }
  }
  for (int side = 0; side < 2; ++side) {
    const double end = side == 0 ? -half_straight : half_straight;
    const double part = enter_circle(p, q, end, radius);
    if (part < 0 || part > 1) continue;
    const double beyond = between(p, q, part).x - end;
    if (half_straight < 0 || (side == 0 ? beyond > 0 : beyond < 0)) continue;
    t = part;
    return side;
  }
  t = halved(p, q, [&](const Point2& x) { return oval_sign(x, half_straight, radius) < 0; });
  return oval_side(between(p, q, t), half_straight);
}

std::vector<Point2> oval_junctions(double half_straight, double radius) {
  if (!(half_straight > kOnCurve)) return {};
  return {{half_straight, -radius},
          {half_straight, radius},
          {-half_straight, radius},
          {-half_straight, -radius}};
}

std::vector<Point2> rectangle_corners(double half_along, double half_across) {
  return {{half_along, -half_across},
          {half_along, half_across},
          {-half_along, half_across},
          {-half_along, -half_across}};
}

}  // namespace scanmesh
