// Small vector arithmetic, each kind once. The name tells the precision; nothing is contracted.
#ifndef SCANMESH_CORE_VECTOR_MATH_H
#define SCANMESH_CORE_VECTOR_MATH_H

#include <cmath>

#include "scanmesh/geometry.h"

namespace scanmesh {

using Vec3f = MemS::Point3v<float>;

// Corners within this of each other on every axis are one point.
constexpr double kWeldTolerance = 0.0005;
// A normal of length up to this counts as (0, 0, 1).
constexpr double kTinyNormal = 1e-16;

// Float arithmetic throughout; every operation rounds to float.
inline Vec3f add(const Vec3f& a, const Vec3f& b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline Vec3f sub(const Vec3f& a, const Vec3f& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline Vec3f negated(const Vec3f& a) {
  return {-a.x, -a.y, -a.z};
}
inline float dot(const Vec3f& a, const Vec3f& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline Vec3f cross(const Vec3f& a, const Vec3f& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

// Float components, double products and sum.
inline double dot_double(const Vec3f& a, const Vec3f& b) {
  return static_cast<double>(a.x) * b.x + static_cast<double>(a.y) * b.y +
         static_cast<double>(a.z) * b.z;
}
inline double length(const Vec3f& a) {
  return std::sqrt(dot_double(a, a));
}
// The difference rounds to float, the length is double.
inline double distance(const Vec3f& a, const Vec3f& b) {
  return length(sub(a, b));
}

// Product in double, rounded to float once.
inline Vec3f scaled(const Vec3f& a, double factor) {
  return {static_cast<float>(a.x * factor), static_cast<float>(a.y * factor),
          static_cast<float>(a.z * factor)};
}

// Scaled by the reciprocal of the double length; (0, 0, 1) unless the length is above the limit.
// A NaN length is not above it.
inline Vec3f normalized(const Vec3f& a, double limit) {
  const double len = length(a);
  if (len > limit) return scaled(a, 1.0 / len);
  return {0, 0, 1};
}

// The same without a limit: a zero vector stays as it is.
inline Vec3f unit_or_zero(const Vec3f& a) {
  const double len = length(a);
  return len > 0 ? scaled(a, 1.0 / len) : a;
}

// (a - b) x (b - c), float, not normalised.
inline Vec3f corner_cross(const Vec3f& a, const Vec3f& b, const Vec3f& c) {
  return cross(sub(a, b), sub(b, c));
}
// Unit normal of three corners: products in float, length in double.
inline Vec3f unit_normal(const Vec3f& a, const Vec3f& b, const Vec3f& c) {
  return normalized(corner_cross(a, b, c), kTinyNormal);
}

// By the upper three rows of a 4 x 4 matrix, by rows: rotation and translation, or the rotation
// alone. Double products and sums, rounded to float once.
inline Vec3f transformed(const double* m, const Vec3f& p) {
  const auto row = [&](int i) {
    return static_cast<float>(m[i] * p.x + m[i + 1] * p.y + m[i + 2] * p.z + m[i + 3]);
  };
  return {row(0), row(4), row(8)};
}
inline Vec3f rotated(const double* m, const Vec3f& p) {
  const auto row = [&](int i) {
    return static_cast<float>(m[i] * p.x + m[i + 1] * p.y + m[i + 2] * p.z);
  };
  return {row(0), row(4), row(8)};
}

// Strictly within the welding tolerance on every axis: float differences, double comparison.
inline bool welds(const Vec3f& a, const Vec3f& b) {
  return std::fabs(static_cast<double>(a.x - b.x)) < kWeldTolerance &&
         std::fabs(static_cast<double>(a.y - b.y)) < kWeldTolerance &&
         std::fabs(static_cast<double>(a.z - b.z)) < kWeldTolerance;
}

inline bool finite(const Vec3f& a) {
  return std::isfinite(a.x) && std::isfinite(a.y) && std::isfinite(a.z);
}

inline bool has_nan(const Vec3f& a) {
  return std::isnan(a.x) || std::isnan(a.y) || std::isnan(a.z);
}

}  // namespace scanmesh

#endif  // SCANMESH_CORE_VECTOR_MATH_H
