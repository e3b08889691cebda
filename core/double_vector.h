// Vectors of doubles, for what must not round in between.
#ifndef SCANMESH_CORE_DOUBLE_VECTOR_H
#define SCANMESH_CORE_DOUBLE_VECTOR_H

#include <cmath>

#include "scanmesh/geometry.h"

namespace scanmesh {

struct Vec3d {
  double x;
  double y;
  double z;
};

inline Vec3d operator-(const Vec3d& a, const Vec3d& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline double dot(const Vec3d& a, const Vec3d& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline Vec3d cross(const Vec3d& a, const Vec3d& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline Vec3d operator+(const Vec3d& a, const Vec3d& b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline Vec3d operator*(const Vec3d& a, double factor) {
  return {a.x * factor, a.y * factor, a.z * factor};
}
inline double length(const Vec3d& a) {
  return std::sqrt(dot(a, a));
}
// Not a number for a zero vector.
inline Vec3d unit(const Vec3d& a) {
  const double size = length(a);
  return {a.x / size, a.y / size, a.z / size};
}

inline Vec3d widened(const MemS::Point3v<float>& p) {
  return {p.x, p.y, p.z};
}
inline MemS::Point3v<float> narrowed(const Vec3d& p) {
  return {static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z)};
}

}  // namespace scanmesh

#endif  // SCANMESH_CORE_DOUBLE_VECTOR_H
