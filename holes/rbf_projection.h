// The projection of a patch onto an implicit surface through the surroundings of its hole.
#ifndef SCANMESH_HOLES_RBF_PROJECTION_H
#define SCANMESH_HOLES_RBF_PROJECTION_H

#include "core/rbf_surface.h"

namespace scanmesh {

// Fits the surface that is 0 at the `count` anchors and 1 at the offset anchors, and moves the `n`
// positions onto it. More than 3000 anchors or a singular system set `n` to 0 and move nothing.
void rbf_project_vert(RbfContext& context, const Vec3f* anchors, const Vec3f* offset_anchors,
                      int count, Vec3f* positions, int& n);

// The same with the points in one array of 2 * count.
void rbf_solve(RbfContext& context, const Vec3f* points, int count, Vec3f* positions, int& n);

}  // namespace scanmesh

#endif  // SCANMESH_HOLES_RBF_PROJECTION_H
