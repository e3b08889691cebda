// What a reader leaves of a mesh when memory runs out.
#ifndef SCANMESH_FORMATS_READING_FAILURE_H
#define SCANMESH_FORMATS_READING_FAILURE_H

#include "scanmesh/mesh.h"

namespace scanmesh {

inline void free_after_failure(Mesh_M::Mesh& mesh) {
  mesh.oct.free();
  mesh.free();
  // The faces that were made before memory ran out are gone: the next load counts from nothing.
  mesh.face.real_num = 0;
}

}  // namespace scanmesh

#endif  // SCANMESH_FORMATS_READING_FAILURE_H
