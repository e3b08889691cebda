// Cutting a soup of triangles into manifold pieces whose neighbours agree on their winding.
#ifndef SCANMESH_TOOLKIT_MANIFOLD_MAKING_H
#define SCANMESH_TOOLKIT_MANIFOLD_MAKING_H

#include "toolkit/work_mesh.h"

namespace scanmesh {

struct ManifoldChanges {
  std::int64_t junction_edges = 0;  // edges of more than two triangles
  std::int64_t split_vertices = 0;  // copies made
  std::int64_t turned_faces = 0;
  std::int64_t cut_edges = 0;  // where a one-sided surface was cut
};

// Pairs the triangles at edges of more than two, turns triangles until neighbours agree, cuts
// one-sided surfaces, and gives every closed fan at a vertex a vertex of its own (Gueziec, Taubin,
// Lazarus, Horn 2001). Open fans at a vertex stay together: closing the gaps between them joins
// them. Moves nothing: copies stand where their originals do.
ManifoldChanges make_manifold(WorkMesh& mesh);

// Only turns triangles until neighbours agree, and cuts one-sided surfaces where there are any.
ManifoldChanges agree(WorkMesh& mesh);

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_MANIFOLD_MAKING_H
