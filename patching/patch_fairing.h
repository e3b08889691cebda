// Shapes the patch so that it continues the region.
#ifndef SCANMESH_PATCHING_PATCH_FAIRING_H
#define SCANMESH_PATCHING_PATCH_FAIRING_H

#include "patching/patch_mesh.h"
#include "patching/rim_curvature.h"
#include "patching/surroundings.h"

namespace cavity {

enum class Start {
  from_nothing,  // the patch is some triangulation of the hole
  from_shape     // the patch has about the wanted shape
};

// Moves the free vertices to the surface of least bending that meets the region in a common
// tangent, then carries the region's mean curvature across in at most that many rounds, so that a
// hole in a sphere or a cylinder is closed by that sphere or cylinder. With an empty region: the
// surface of least area stretch. Vertices stay where they are when no usable solution is found.
// hold: per ring vertex, 1 where the tangent is kept, 0 where the patch may leave at any angle.
void fair_patch(const Surroundings& around, const RimCurvature& rim,
                const std::vector<double>& hold, Start start, int rounds, PatchMesh& patch);

// Ends of the edges across which the patch turns back on itself, in order. A fold among ring
// vertices alone is the ring's own and doesn't count.
std::vector<int> vertices_at_folds(const PatchMesh& patch);

// Where a patch folds, the tangents it had to meet disagree: sets `hold` to 0 on the ring near
// these vertices. False where nothing is left to let go.
bool let_go_near(const std::vector<int>& folds, const PatchMesh& patch, std::vector<double>& hold);

}  // namespace cavity

#endif  // SCANMESH_PATCHING_PATCH_FAIRING_H
