// Vertices on edges that a rectangle crosses twice, before it is cut.
#ifndef SCANMESH_TRIMMING_CORNER_POINTS_H
#define SCANMESH_TRIMMING_CORNER_POINTS_H

#include "scanmesh/mesh.h"
#include "trimming/curve_shapes.h"

namespace scanmesh {

// Only corners decide whether a face is cut, so that a part of the rectangle that reaches across an
// edge into a face without a corner inside would be lost, and the corners of the rectangle with it.
// Such edges of the selected faces get a vertex in the middle of what they have inside; an edge
// through a corner of the rectangle gets one there, and a vertex beside a corner moves into it.
// True when an edge was split: the selection names faces that are gone then.
bool pin_corners(Mesh_M::Mesh& mesh, const qv::maac::xtirm_mesh::FRectangle3D& shape);

}  // namespace scanmesh

#endif  // SCANMESH_TRIMMING_CORNER_POINTS_H
