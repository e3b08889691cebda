// What lies inside goes, where a mesh passes through itself.
#ifndef SCANMESH_TOOLKIT_SELF_UNION_H
#define SCANMESH_TOOLKIT_SELF_UNION_H

#include "scanmesh/toolkit/inspect.h"
#include "toolkit/patch_making.h"

namespace scanmesh {

struct UnionChanges {
  std::int64_t cut = 0;     // triangles that fell into pieces
  std::int64_t inside = 0;  // triangles and pieces that went, for they lie inside
};

// Cuts the triangles of a closed mesh along the pairs, computes on both sides of each part how
// often the surface winds around it (Jacobson 2013; Zhou, Grinspun, Zorin, Jacobson 2016), and
// keeps what lies between 0 or less and 1 or more, turned outward. Exact until the new points are
// rounded at the end. Triangles that aren't cut keep their numbers' origins.
UnionChanges unite(WorkMesh& mesh, const std::vector<Intersection>& pairs, const Ground& ground);

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_SELF_UNION_H
