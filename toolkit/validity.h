// What every function asks of a mesh before it looks at it.
#ifndef SCANMESH_TOOLKIT_VALIDITY_H
#define SCANMESH_TOOLKIT_VALIDITY_H

#include "scanmesh/toolkit/triangle_mesh.h"
#include "toolkit/vector_math.h"

namespace scanmesh {

// Throws Error(invalid_mesh) for a triangle that names a point that isn't there, for colours or
// normals that aren't one per point, and for more elements than 32-bit numbers of sides reach.
void require_valid(const TriangleMesh& mesh);

inline bool finite_corners(const std::vector<Point>& points, const Triangle& t) {
  return finite(points[static_cast<std::size_t>(t[0])]) &&
         finite(points[static_cast<std::size_t>(t[1])]) &&
         finite(points[static_cast<std::size_t>(t[2])]);
}

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_VALIDITY_H
