// Everything the library exports.
#ifndef SCANMESH_SCANMESH_H
#define SCANMESH_SCANMESH_H

#include "scanmesh/cavity_patcher.h"
#include "scanmesh/curvature.h"
#include "scanmesh/export.h"
#include "scanmesh/geometry.h"
#include "scanmesh/hole.h"
#include "scanmesh/mem_allo.h"
#include "scanmesh/mesh.h"
#include "scanmesh/mesh_records.h"
#include "scanmesh/process_step.h"
#include "scanmesh/stores.h"
#include "scanmesh/vertex_octree.h"

#endif  // SCANMESH_SCANMESH_H
