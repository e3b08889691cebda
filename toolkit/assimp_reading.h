// Further formats, where the build found the library for them.
#ifndef SCANMESH_TOOLKIT_ASSIMP_READING_H
#define SCANMESH_TOOLKIT_ASSIMP_READING_H

#include <string_view>

#include "scanmesh/toolkit/triangle_mesh.h"

namespace scanmesh {

// False where the library isn't there, doesn't know the bytes, or finds no triangles in them.
bool read_by_assimp(std::string_view bytes, TriangleMesh& mesh);

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_ASSIMP_READING_H
