// Points and directions of the example programs, in double so that their measurements don't add
// rounding of their own.
#ifndef SCANMESH_EXAMPLES_SUPPORT_VEC3_H
#define SCANMESH_EXAMPLES_SUPPORT_VEC3_H

#include <cmath>

namespace demo {

struct Vec3 {
  double x = 0;
  double y = 0;
  double z = 0;

  double operator[](int axis) const { return axis == 0 ? x : axis == 1 ? y : z; }
};

inline Vec3 operator+(const Vec3& a, const Vec3& b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline Vec3 operator-(const Vec3& a, const Vec3& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline Vec3 operator*(const Vec3& a, double s) {
  return {a.x * s, a.y * s, a.z * s};
}
inline Vec3 operator*(double s, const Vec3& a) {
  return a * s;
}

inline double dot(const Vec3& a, const Vec3& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline double length(const Vec3& a) {
  return std::sqrt(dot(a, a));
}
inline double distance(const Vec3& a, const Vec3& b) {
  return length(a - b);
}

inline Vec3 cross(const Vec3& a, const Vec3& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

/// The unit vector, or z for a vector without direction.
inline Vec3 unit(const Vec3& a) {
  const double size = length(a);
  return size > 0 ? a * (1 / size) : Vec3{0, 0, 1};
}

/// Two unit vectors that span the plane across a unit normal.
inline void plane_axes(const Vec3& normal, Vec3& u, Vec3& v) {
  const Vec3 aside = std::fabs(normal.x) < 0.7 ? Vec3{1, 0, 0} : Vec3{0, 1, 0};
  u = unit(cross(normal, aside));
  v = cross(normal, u);
}

}  // namespace demo

#endif  // SCANMESH_EXAMPLES_SUPPORT_VEC3_H
