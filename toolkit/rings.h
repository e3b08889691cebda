// Closed walks along open edges.
#ifndef SCANMESH_TOOLKIT_RINGS_H
#define SCANMESH_TOOLKIT_RINGS_H

#include <vector>

#include "scanmesh/toolkit/triangle_mesh.h"

namespace scanmesh {

// The rings of open sides, in the direction in which a patch would run, ordered by their first open
// side. No ring meets a vertex twice. Open sides that belong to no closed walk (neighbours turned
// against one another) are left out. `opposite` as opposite_sides gives it.
std::vector<std::vector<std::int32_t>> walk_rings(const std::vector<Triangle>& triangles,
                                                  const std::vector<std::int32_t>& opposite);

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_RINGS_H
