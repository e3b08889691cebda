// Letting go of a snapshot that isn't handed back.
#ifndef SCANMESH_CORE_UNDO_RECORD_H
#define SCANMESH_CORE_UNDO_RECORD_H

#include "scanmesh/mesh_records.h"

namespace Mesh_M {

// Frees the record and its arrays.
void drop_triangle(obj_triangle* record);

}  // namespace Mesh_M

#endif  // SCANMESH_CORE_UNDO_RECORD_H
