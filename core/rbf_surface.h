// An implicit surface through scattered points: radial basis functions with the kernel r^3 and a
// linear polynomial (Carr et al. 2001). Patches of holes and of markers are settled on it.
#ifndef SCANMESH_CORE_RBF_SURFACE_H
#define SCANMESH_CORE_RBF_SURFACE_H

#include <vector>

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

// Whether the distances of points and their cubes round to float before they enter the system.
enum class RbfRounding { kFloat, kDouble };

// Sizes of a system of `count` anchors and as many offset anchors.
void rbf_set_size(RbfContext& context, int count);

// The symmetric matrix of the system, by rows, and its right side: 0 on the surface, 1 at the
// offset anchors.
std::vector<double> rbf_matrix(const RbfContext& context, const Vec3f* points,
                               RbfRounding rounding);
std::vector<double> rbf_right_side(const RbfContext& context);

// One step from `p` towards the surface; `weights` has system_size entries.
void rbf_newton_step(RbfContext& context, Vec3f& result, const Vec3f* points, const double* weights,
                     Vec3f p);

// Takes one step, and at most `most_steps` more while the last one was above the tolerance.
Vec3f rbf_settle(RbfContext& context, const Vec3f* points, const double* weights, Vec3f p,
                 int most_steps);

}  // namespace scanmesh

#endif  // SCANMESH_CORE_RBF_SURFACE_H
