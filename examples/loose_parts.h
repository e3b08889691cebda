// Debris: parts of a mesh that hang together with nothing else.
#ifndef SCANMESH_EXAMPLES_LOOSE_PARTS_H
#define SCANMESH_EXAMPLES_LOOSE_PARTS_H

#include "scanmesh/mesh.h"

namespace demo {

/// Deletes every part of fewer than `limit` faces, the largest part excepted. Returns the number of
/// faces deleted.
int drop_loose_parts(Mesh_M::Mesh& mesh, int limit);

}  // namespace demo

#endif  // SCANMESH_EXAMPLES_LOOSE_PARTS_H
