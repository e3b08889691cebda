// What the files of this folder share about nodes and their cells.
#ifndef SCANMESH_OCTREE_CELLS_H
#define SCANMESH_OCTREE_CELLS_H

#include "core/vector_math.h"
#include "octree/numbering.h"
#include "scanmesh/octree.h"

namespace scanmesh {

constexpr int32_t kVirtualVoxel = -1;
constexpr int32_t kVoxelVertex = -2;
constexpr int kMostTreeLevels = 500;

using OctNode = Oct_tree_Triangulation;

inline bool is_cell(const OctNode* node) {
  return node->flag == 1;
}
inline bool is_sample(const OctNode* node) {
  return node->flag == 1 && node->index >= 0;
}

// The caller's normal; zero where there is none.
inline Vec3f normal_of(const OctNode* node) {
  const auto* const n = static_cast<const float*>(node->data);
  return n == nullptr ? Vec3f{0, 0, 0} : Vec3f{n[0], n[1], n[2]};
}
inline Vec3f position_of(const OctNode* node) {
  return {node->coor[0], node->coor[1], node->coor[2]};
}

// Looked up among the parent's links: the position of a leaf may have been moved out of its cell.
inline int octant_in_parent(const OctNode* node) {
  const OctNode* const parent = node->parent;
  int octant = 0;
  while (octant < kCellChildren - 1 && parent->link[octant] != node) ++octant;
  return octant;
}

inline void child_centre(float* out, const float* centre, int octant, float half) {
  for (int k = 0; k < 3; ++k) {
    out[k] = centre[k] + static_cast<float>(kOctantSign[octant][k]) * half;
  }
}

// Centre of a node's cell, by its parent. The root's own position is its centre.
inline void cell_centre(float* out, const OctNode* node) {
  if (node->parent == nullptr) {
    for (int k = 0; k < 3; ++k) out[k] = node->coor[k];
    return;
  }
  child_centre(out, node->parent->coor, octant_in_parent(node), node->half);
}

// Centre of the neighbour cell in a slot.
inline void slot_centre(float* out, const float* centre, int slot, float edge) {
  for (int k = 0; k < 3; ++k) out[k] = centre[k] + static_cast<float>(kSlotOffset[slot][k]) * edge;
}

inline bool inside(const Bounding_Box& box, const float* p) {
  return p[0] <= box.max_x && p[0] >= box.min_x && p[1] <= box.max_y && p[1] >= box.min_y &&
         p[2] <= box.max_z && p[2] >= box.min_z;
}

inline bool welds(const float* a, const float* b) {
  return welds(Vec3f{a[0], a[1], a[2]}, Vec3f{b[0], b[1], b[2]});
}

// Calls visit(leaf) for the sample leaves and virtual voxels below a node, depth first in link
// order, until it says false.
template <typename Visit>
void visit_leaves(OctNode* node, Visit visit) {
  if (node == nullptr) return;
  if (is_cell(node)) {
    visit(node);
    return;
  }
  OctNode* path[kMostTreeLevels];
  int16_t next[kMostTreeLevels];
  int level = 0;
  path[0] = node;
  next[0] = 0;
  while (level >= 0) {
    if (next[level] == kCellChildren) {
      --level;
      continue;
    }
    OctNode* const child = path[level]->link[next[level]++];
    if (child == nullptr || child->index == kVoxelVertex) continue;
    if (is_cell(child)) {
      if (!visit(child)) return;
    } else if (level + 1 < kMostTreeLevels) {
      path[++level] = child;
      next[level] = 0;
    }
  }
}

// The one callback that all trees report through.
const Mesh_M::ProcessStepCallback& octree_callback();

}  // namespace scanmesh

#endif  // SCANMESH_OCTREE_CELLS_H
