// Vertices at the corners of a rectangle, before it is cut.
#ifndef SCANMESH_TRIMMING_CORNER_POINTS_H
#define SCANMESH_TRIMMING_CORNER_POINTS_H

#include "scanmesh/mesh.h"
#include "trimming/curve_shapes.h"

namespace scanmesh {

// A corner of the rectangle that reaches, across an edge, into a face without a corner inside would
// be cut off: only corners decide whether a face is cut. Where that is so among the selected faces,
// the edge is replaced by a vertex at the rectangle's corner, joined to the far corners of both
// faces. True when there was such a place: the selection names faces that are gone then.
bool pin_corners(Mesh_M::Mesh& mesh, const qv::maac::xtirm_mesh::FRectangle3D& shape);

}  // namespace scanmesh

#endif  // SCANMESH_TRIMMING_CORNER_POINTS_H
