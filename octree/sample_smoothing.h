// Smoothing the positions of samples over their neighbourhood in the tree.
#ifndef SCANMESH_OCTREE_SAMPLE_SMOOTHING_H
#define SCANMESH_OCTREE_SAMPLE_SMOOTHING_H

#include <cstdint>
#include <vector>

#include "octree/octree_cells.h"

namespace scanmesh {

// The smoothed positions of a list of samples, entry by entry; null entries are passed over. The
// tree stays as it is: so several threads may smooth samples of one tree at once.
std::vector<Vec3f> smoothed_positions(Oct_tree_Tri& tree, OctNode* const* list, int count,
                                      int iterations);

}  // namespace scanmesh

#endif  // SCANMESH_OCTREE_SAMPLE_SMOOTHING_H
