// Arithmetic on Point, in double precision and in the order written.
#ifndef SCANMESH_TOOLKIT_VECTOR_MATH_H
#define SCANMESH_TOOLKIT_VECTOR_MATH_H

#include <cmath>

#include "scanmesh/toolkit/triangle_mesh.h"

namespace scanmesh {

inline Point operator+(const Point& a, const Point& b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline Point operator-(const Point& a, const Point& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline Point operator*(const Point& a, double s) {
  return {a.x * s, a.y * s, a.z * s};
}
inline double dot(const Point& a, const Point& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline Point cross(const Point& a, const Point& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline double length(const Point& a) {
  return std::sqrt(dot(a, a));
}
inline double distance(const Point& a, const Point& b) {
  return length(a - b);
}
inline bool finite(const Point& a) {
  return std::isfinite(a.x) && std::isfinite(a.y) && std::isfinite(a.z);
}
// The direction of a; zero where a has no length.
inline Point unit(const Point& a) {
  const double size = length(a);
  return size > 0 ? a * (1 / size) : Point{};
}
// Twice the area, along the normal.
inline Point area_vector(const Point& a, const Point& b, const Point& c) {
  return cross(b - a, c - a);
}

// Rounded to what a file of floats holds; -0 becomes 0, which such a file would tell apart.
inline Point rounded_to_floats(const Point& a) {
  return {static_cast<double>(static_cast<float>(a.x)) + 0.0,
          static_cast<double>(static_cast<float>(a.y)) + 0.0,
          static_cast<double>(static_cast<float>(a.z)) + 0.0};
}

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_VECTOR_MATH_H
