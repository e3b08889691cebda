// The three insertions: samples, markers, and the virtual voxels of the field. They walk down alike
// and differ in what ends the walk at a cell that is already there.
#include <algorithm>
#include <cassert>
#include <limits>

#include "octree/octree_cells.h"
#include "scanmesh/octree.h"

namespace {

using scanmesh::OctNode;

enum class Met { kDescend, kEnd };

// Entries may be written beyond a capacity that wasn't grown in time, so room is made first.
void make_room(M_point_arry<OctNode**>& list, int factor) {
  const long long wanted = static_cast<long long>(std::max(list.capacity, 1)) * factor;
  const int capacity =
      static_cast<int>(std::min<long long>(wanted, std::numeric_limits<int32_t>::max()));
  OctNode** const longer = new OctNode*[static_cast<std::size_t>(capacity)];
  std::copy_n(list.data, list.count, longer);
  delete[] list.data;
  list.data = longer;
  list.capacity = capacity;
}

void append(M_point_arry<OctNode**>& list, OctNode* node, int factor) {
  if (list.count >= list.capacity) make_room(list, factor);
  list.data[list.count++] = node;
}

void grow_when_full(M_point_arry<OctNode**>& list, int factor) {
  if (list.count == list.capacity) make_room(list, factor);
}

}  // namespace

// A request without a positive size would walk down for ever.
bool Oct_tree_Tri::takes(float half) const {
  assert(node_blocks != nullptr && half > 0);
  return node_blocks != nullptr && half > 0 &&
         root()->half < std::numeric_limits<float>::infinity();
}

// Walks down until `stops` ends the walk at an existing cell, or to a new cell of at most the
// requested size, making the cells between.
template <typename Stops>
Oct_tree_Tri::Place Oct_tree_Tri::descend(const float* point, float half, int32_t interior_status,
                                          Stops stops) {
  OctNode* node = root();
  for (int level = 2;; ++level) {
    const int octant = scanmesh::octant_at(point, node->coor);
    depth = std::max(depth, level);
    OctNode* child = node->link[octant];
    if (child != nullptr) {
      if (stops(child) == Met::kEnd) return {child, Ended::kExisting};
      if (child->status == kOctMarker) cells_below_markers_ = true;
      node = child;
      continue;
    }
    child = oct_allocate_node();
    child->parent = node;
    child->half = node->half * 0.5F;
    node->link[octant] = child;
    if (half >= child->half) return {child, Ended::kNew};
    child->status = interior_status;
    scanmesh::child_centre(child->coor, node->coor, octant, child->half);
    node = child;
  }
}

void Oct_tree_Tri::become_sample(Oct_tree_Triangulation* node, const float* point, void* normal,
                                 int32_t status) {
  node->flag = 1;
  std::copy_n(point, 3, node->coor);
  node->data = normal;
  node->status = status;
  node->index = leaves.count;
  append(leaves, node, 2);
}

Oct_tree_Triangulation* Oct_tree_Tri::oct_insert(float* point, void* normal, float half,
                                                 short tag) {
  if (!takes(half)) return nullptr;
  // Decided by the request, not by the cell that it ends in. Cells on the way that are already
  // there keep the status of whoever made them.
  const bool fine = min_HalfEdge > half;
  const int32_t status = fine ? kOctFineLeaf : kOctOrdinary;
  const Place place =
      descend(point, half, fine ? kOctFineInterior : kOctOrdinary, [half](const OctNode* child) {
        return scanmesh::is_cell(child) || half >= child->half ? Met::kEnd : Met::kDescend;
      });
  if (place.ended == Ended::kNew) {
    place.node->tag = tag;
    become_sample(place.node, point, normal, status);
    grow_when_full(leaves, 2);
  } else if (place.node->status == kOctMarker) {
    // The node keeps the marker's tag, and hosts that watch the capacity see it grow on the other
    // route only. Samples below a marker are lost, and leave empty entries: a leaf's links are its
    // corners.
    scanmesh::visit_leaves(place.node, [this](const OctNode* leaf) {
      if (scanmesh::is_sample(leaf)) leaves.data[leaf->index] = nullptr;
      return true;
    });
    std::fill_n(place.node->link, scanmesh::kCellChildren, nullptr);
    become_sample(place.node, point, normal, status);
  }
  return nullptr;
}

Oct_tree_Triangulation* Oct_tree_Tri::oct_insert(float* point, void* normal, bool, float half) {
  if (!takes(half)) return nullptr;
  const int32_t status = min_HalfEdge > half ? kOctFineInterior : kOctOrdinary;
  const Place place = descend(point, half, status, [half](const OctNode* child) {
    return scanmesh::is_cell(child) || child->half <= half ? Met::kEnd : Met::kDescend;
  });
  if (place.ended == Ended::kExisting) {
    return scanmesh::is_cell(place.node) && place.node->half == half ? place.node : nullptr;
  }
  become_virtual_voxel(place.node, point, normal, half);
  return place.node;
}

void Oct_tree_Tri::become_virtual_voxel(Oct_tree_Triangulation* node, const float* point,
                                        void* normal, float half) {
  node->flag = 1;
  std::copy_n(point, 3, node->coor);
  node->data = normal;
  node->status = min_HalfEdge > half ? kOctFineLeaf : kOctOrdinary;
  node->index = scanmesh::kVirtualVoxel;
  append(voxels, node, 3);
  grow_when_full(voxels, 3);
}

// The same in a cell whose parent is at hand: the walk down would come by there.
Oct_tree_Triangulation* Oct_tree_Tri::insert_below(Oct_tree_Triangulation* parent, int octant,
                                                   const float* point, void* normal, float half) {
  OctNode*& child = parent->link[octant];
  if (child != nullptr) {
    return scanmesh::is_cell(child) && child->half == half ? child : nullptr;
  }
  child = oct_allocate_node();
  child->parent = parent;
  child->half = parent->half * 0.5F;
  become_virtual_voxel(child, point, normal, half);
  return child;
}

void Oct_tree_Tri::oct_insert_marker(float* point, void* normal, float half, float radius) {
  if (!takes(half)) return;
  assert(marker_nodes.blocks != nullptr);
  // Only a cell of exactly the requested size is in the way; a smaller one lets the marker through.
  const Place place = descend(point, half, kOctOrdinary, [half](const OctNode* child) {
    return scanmesh::is_cell(child) || child->half == half ? Met::kEnd : Met::kDescend;
  });
  if (place.ended == Ended::kExisting) return;
  OctNode* const node = place.node;
  node->status = kOctMarker;
  std::copy_n(point, 3, node->coor);
  node->data = normal;
  marker_nodes.allocate_mem() = node;
  marker_radius.allocate_mem() = radius;
  marker_half.push_back(half);
}
