// The neighbourhood of an edge that may be flipped.
#ifndef SCANMESH_REFINEMENT_EDGE_FLIPS_H
#define SCANMESH_REFINEMENT_EDGE_FLIPS_H

#include "scanmesh/mesh_records.h"

namespace scanmesh {

// `invalid` unless the edge and the four around it have exactly two faces each, no end has fewer
// than four edges, and every far corner is found.
fmx::edge_area make_edge_area(Mesh_R::_edge* edge);

}  // namespace scanmesh

#endif  // SCANMESH_REFINEMENT_EDGE_FLIPS_H
