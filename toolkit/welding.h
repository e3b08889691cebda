// Joining points that stand at the same place.
#ifndef SCANMESH_TOOLKIT_WELDING_H
#define SCANMESH_TOOLKIT_WELDING_H

#include <cstdint>
#include <vector>

#include "scanmesh/toolkit/triangle_mesh.h"

namespace scanmesh {

// Per point the first one with exactly its coordinates (0 and -0 are equal); itself where it isn't
// finite.
std::vector<std::int32_t> first_equal_points(const std::vector<Point>& points);

// Lets triangles name the first of equal points; the others stay, unused.
void join_equal_points(TriangleMesh& mesh);

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_WELDING_H
