// Values of the region next to the ring, carried over the patch.
#ifndef SCANMESH_PATCHING_HARMONIC_SPREAD_H
#define SCANMESH_PATCHING_HARMONIC_SPREAD_H

#include <vector>

#include "patching/bending_system.h"

namespace cavity {

// The harmonic function on the patch that takes the given values, one per ring vertex, a row beyond
// the ring; one value per patch vertex, empty where that fails. A guide, not a result: the solution
// is a rough one.
std::vector<double> spread_from_ring(const JoinedSurface& surface, const Neighbourhoods& near,
                                     const Laplacian& laplacian,
                                     const std::vector<double>& beyond_ring);

}  // namespace cavity

#endif  // SCANMESH_PATCHING_HARMONIC_SPREAD_H
