// Vertices and faces that a cut puts into the mesh.
#ifndef SCANMESH_TRIMMING_FACE_ENTRY_H
#define SCANMESH_TRIMMING_FACE_ENTRY_H

#include <array>

#include "core/vector_math.h"
#include "scanmesh/mesh.h"

namespace scanmesh {

// A vertex without marks, flagged as hosts know those that the library has made.
Mesh_R::_vert* new_vertex(Mesh_R::Vertex& vertices, Vec3f point);

// Enters a triangle, turned to the side of its normal, which its corners take over. Nothing is
// entered with two corners the same. A face that is there with the same corners stays beside it: it
// is among those about to be deleted.
void enter_triangle(Mesh_M::Mesh& mesh, std::array<Mesh_R::_vert*, 3> corner, Vec3f normal);

}  // namespace scanmesh

#endif  // SCANMESH_TRIMMING_FACE_ENTRY_H
