// A ring closed by triangles over its own vertices.
#ifndef SCANMESH_PATCHING_RING_TRIANGULATION_H
#define SCANMESH_PATCHING_RING_TRIANGULATION_H

#include <vector>

#include "patching/patch_types.h"

namespace cavity {

// ring: points in walking order, at least three, each once. rim_normals: per ring edge the unit
// normal of the face beyond it, zero where there is none. chords: edges to stay clear of; one is
// used only where nothing else closes the ring. Result: ring.size() - 2 triangles that form a disk
// and run along the ring's order.
std::vector<Triangle> triangulate_ring(const std::vector<Point>& ring,
                                       const std::vector<Point>& rim_normals,
                                       const ChordSet& chords);

}  // namespace cavity

#endif  // SCANMESH_PATCHING_RING_TRIANGULATION_H
