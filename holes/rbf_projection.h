// An implicit surface through the surroundings of a hole, and the projection of a patch onto it.
// Radial basis functions with the kernel r^3 and a linear polynomial (Carr et al. 2001).
#ifndef SCANMESH_HOLES_RBF_PROJECTION_H
#define SCANMESH_HOLES_RBF_PROJECTION_H

#include "core/vector_math.h"

namespace scanmesh {

struct RbfContext {
  int point_count = 0;            // anchors plus offset anchors
  int system_size = 0;            // point_count + 4
  double tolerance = 0.001;       // the iteration stops at a step of this length, mesh units
  double step = 0;                // length of the last step
  float gradient[3] = {0, 0, 0};  // of the last evaluation
  Vec3f* points = nullptr;        // anchors, then offset anchors; owned during the call
};

// Fits the surface that is 0 at the `count` anchors and 1 at the offset anchors, and moves the `n`
// positions onto it. More than 3000 anchors or a singular system set `n` to 0 and move nothing.
void rbf_project_vert(RbfContext& context, const Vec3f* anchors, const Vec3f* offset_anchors,
                      int count, Vec3f* positions, int& n);

// The same with the points in one array of 2 * count.
void rbf_solve(RbfContext& context, const Vec3f* points, int count, Vec3f* positions, int& n);

// One step from `p` towards the surface; `weights` has system_size entries.
void rbf_newton_step(RbfContext& context, Vec3f& result, const Vec3f* points, const double* weights,
                     Vec3f p);

}  // namespace scanmesh

#endif  // SCANMESH_HOLES_RBF_PROJECTION_H
