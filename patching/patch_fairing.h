// Shapes the patch so that it continues the region.
#ifndef SCANMESH_PATCHING_PATCH_FAIRING_H
#define SCANMESH_PATCHING_PATCH_FAIRING_H

#include "patching/patch_mesh.h"
#include "patching/surroundings.h"

namespace cavity {

// Moves the free vertices to the surface of least bending that meets the region in a common
// tangent; with an empty region, to the surface of least area stretch. False, with nothing moved,
// where no usable solution was found.
bool fair_patch(const Surroundings& around, PatchMesh& patch);

}  // namespace cavity

#endif  // SCANMESH_PATCHING_PATCH_FAIRING_H
