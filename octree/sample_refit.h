// Seeing a sample anew, by the plane of the samples around it.
#ifndef SCANMESH_OCTREE_SAMPLE_REFIT_H
#define SCANMESH_OCTREE_SAMPLE_REFIT_H

#include <functional>

#include "octree/octree_cells.h"

namespace scanmesh {

struct Refit {
  Vec3f normal;    // unit length, on the side of the old one
  Vec3f position;  // the middle of its cell, moved along the normal onto the plane
};

using NormalAt = std::function<Vec3f(const OctNode*)>;

// Fits the plane to at most 500 samples whose normals point to the same side, in a box of five of
// the sample's half edges each way.
Refit refit_sample(Oct_tree_Tri& tree, const OctNode* leaf, const NormalAt& normal_at);

}  // namespace scanmesh

#endif  // SCANMESH_OCTREE_SAMPLE_REFIT_H
