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
void fair_patch(const Surroundings& around, const RimCurvature& rim, Start start, int rounds,
                PatchMesh& patch);

}  // namespace cavity

#endif  // SCANMESH_PATCHING_PATCH_FAIRING_H
