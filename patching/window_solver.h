// Betters a triangulated ring piece by piece.
#ifndef SCANMESH_PATCHING_WINDOW_SOLVER_H
#define SCANMESH_PATCHING_WINDOW_SOLVER_H

#include <vector>

#include "patching/patch_types.h"

namespace cavity {

// Takes connected pieces of a few dozen triangles out of a triangulation over ring vertices alone
// and puts in the best triangulation of the piece's outline, given the triangles around it. Cost
// grows linearly with the ring.
void solve_windows(const std::vector<Point>& ring, const std::vector<Point>& rim_normals,
                   const ChordSet& chords, std::vector<Triangle>& triangles);

}  // namespace cavity

#endif  // SCANMESH_PATCHING_WINDOW_SOLVER_H
