// A ring whose shadow on a plane is a simple polygon, closed without overlap.
#ifndef SCANMESH_PATCHING_EAR_CLIPPING_H
#define SCANMESH_PATCHING_EAR_CLIPPING_H

#include <vector>

#include "patching/patch_types.h"

namespace cavity {

// Projects the ring along its mean normal and cuts off corners there, shortest chord first. Result:
// ring.size() - 2 triangles along the ring's order, which don't overlap where the ring's shadow is
// a simple polygon; empty where no corner can be cut off any more, where the ring has no mean
// normal, or where only chords that are taken would do. Memory is linear in the ring.
std::vector<Triangle> clip_ears(const std::vector<Point>& ring, const ChordSet& chords);

}  // namespace cavity

#endif  // SCANMESH_PATCHING_EAR_CLIPPING_H
