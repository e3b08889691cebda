// Planes through scattered points, by singular values.
#ifndef SCANMESH_CORE_PLANE_FIT_H
#define SCANMESH_CORE_PLANE_FIT_H

#include <array>

#include "core/vector_math.h"

namespace scanmesh {

using Point3d = std::array<double, 3>;

// A plane through the points: normal . x + the value returned = 0. The normal isn't of unit length:
// it is scaled so that 1 is returned, unless the plane passes through the origin. Without points 0
// is returned and `normal` stays as it is.
double fit_point_plane(const Point3d* points, int count, Point3d& normal);

// The plane a x + b y + c z + d = 0 of least moment about the origin, (a, b, c) of unit length.
std::array<double, 4> fit_moment_plane(const Vec3f* points, int count);

}  // namespace scanmesh

#endif  // SCANMESH_CORE_PLANE_FIT_H
