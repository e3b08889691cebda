#include "support/solid.h"

#include <algorithm>
#include <cmath>

namespace demo {
namespace {

double box(const Vec3& p, const Vec3& half, double rounding) {
  const Vec3 q = {std::fabs(p.x) - half.x + rounding, std::fabs(p.y) - half.y + rounding,
                  std::fabs(p.z) - half.z + rounding};
  const Vec3 out = {std::max(q.x, 0.0), std::max(q.y, 0.0), std::max(q.z, 0.0)};
  return length(out) + std::min(std::max({q.x, q.y, q.z}), 0.0) - rounding;
}

// Along z, from the middle.
double cylinder(const Vec3& p, double radius, double half_height, double rounding) {
  const double across = std::hypot(p.x, p.y) - radius + rounding;
  const double along = std::fabs(p.z) - half_height + rounding;
  return std::hypot(std::max(across, 0.0), std::max(along, 0.0)) +
         std::min(std::max(across, along), 0.0) - rounding;
}

// Joins two shapes with a fillet of about this size.
double join(double a, double b, double fillet) {
  const double h = std::clamp(0.5 + 0.5 * (b - a) / fillet, 0.0, 1.0);
  return b + (a - b) * h - fillet * h * (1 - h);
}

double machined(const Vec3& p) {
  double d = box(p, {50, 35, 12}, 3);
  d = join(d, cylinder(p - Vec3{12, 0, 16}, 20, 14, 2), 4);
  d = std::max(d, -cylinder(p - Vec3{12, 0, 22}, 11, 22, 0));
  for (const double x : {-40.0, 40.0}) {
    for (const double y : {-25.0, 25.0}) d = std::max(d, -cylinder(p - Vec3{x, y, 0}, 5, 40, 0));
  }
  return std::max(d, -box(p - Vec3{-20, 0, 14}, {5, 60, 6}, 2));
}

double sculpted(const Vec3& p) {
  double d = length(p - Vec3{0, 0, -6}) - 34;
  d = join(d, length(p - Vec3{30, 6, 16}) - 20, 16);
  d = join(d, length(p - Vec3{-26, -14, 18}) - 22, 16);
  d = join(d, length(p - Vec3{-4, 30, 10}) - 18, 12);
  const double ripple = std::sin(0.22 * p.x) * std::sin(0.2 * p.y + 0.7) * std::sin(0.18 * p.z);
  // The ripple makes the function steeper; it stays below the distance by this factor.
  return 0.7 * (d - 1.2 * ripple);
}

}  // namespace

Vec3 Solid::normal(const Vec3& p) const {
  constexpr double kStep = 1e-4;
  return unit({value(p + Vec3{kStep, 0, 0}) - value(p - Vec3{kStep, 0, 0}),
               value(p + Vec3{0, kStep, 0}) - value(p - Vec3{0, kStep, 0}),
               value(p + Vec3{0, 0, kStep}) - value(p - Vec3{0, 0, kStep})});
}

double Solid::distance_to(const Vec3& p) const {
  // The function is linear near the surface; what it rises by along the normal tells its scale.
  constexpr double kStep = 1e-3;
  const Vec3 n = normal(p);
  const double slope = (value(p + n * kStep) - value(p - n * kStep)) / (2 * kStep);
  return slope > 0 ? std::fabs(value(p)) / slope : std::fabs(value(p));
}

Solid sphere_solid(double radius) {
  return {[radius](const Vec3& p) { return length(p) - radius; }, radius};
}

Solid torus_solid(double ring, double tube) {
  return {
      [ring, tube](const Vec3& p) { return std::hypot(std::hypot(p.x, p.y) - ring, p.z) - tube; },
      ring + tube};
}

Solid machined_solid() {
  return {machined, 70};
}

Solid sculpted_solid() {
  return {sculpted, 62};
}

}  // namespace demo
