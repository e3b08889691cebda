// Everything the library exports.
#ifndef SCANMESH_SCANMESH_H
#define SCANMESH_SCANMESH_H

#include "scanmesh/ball_pivoting.h"
#include "scanmesh/cavity_patcher.h"
#include "scanmesh/curvature.h"
#include "scanmesh/export.h"
#include "scanmesh/geometry.h"
#include "scanmesh/hole.h"
#include "scanmesh/kd_tree.h"
#include "scanmesh/marching.h"
#include "scanmesh/mem_allo.h"
#include "scanmesh/mesh.h"
#include "scanmesh/mesh_block.h"
#include "scanmesh/mesh_records.h"
#include "scanmesh/messages.h"
#include "scanmesh/octree.h"
#include "scanmesh/octree_pool.h"
#include "scanmesh/ply_reader.h"
#include "scanmesh/process_step.h"
#include "scanmesh/static_kd_tree.h"
#include "scanmesh/stores.h"
#include "scanmesh/vertex_octree.h"
#include "scanmesh/x_ball_pivoting.h"

#endif  // SCANMESH_SCANMESH_H
