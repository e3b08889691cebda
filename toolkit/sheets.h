// Open sheets that no patch can close: they get a back.
#ifndef SCANMESH_TOOLKIT_SHEETS_H
#define SCANMESH_TOOLKIT_SHEETS_H

#include "toolkit/patch_making.h"

namespace scanmesh {

struct SheetChanges {
  std::int64_t sheets = 0;  // open components
  std::int64_t backed = 0;
};

// Every open component becomes a thin plate: a copy of it, turned over and set back against its
// normals by a hair of the mesh's size, and a wall along its rim. The thickness is the largest of a
// few at which nothing meets. The component's own points and triangles stay.
SheetChanges back_sheets(WorkMesh& mesh, const Ground& ground);

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_SHEETS_H
