// Finding cells: by a point, and the neighbours of a cell.
#include <algorithm>

#include "octree/cell_walk.h"
#include "octree/octree_cells.h"
#include "scanmesh/octree.h"

namespace {

using scanmesh::kSlotOffset;
using scanmesh::OctNode;

constexpr int kLeastSteps = 30;

// What a search for a point finds when it comes to a cell.
enum class Visit { kNothing, kFound, kGoOn };

Visit visit(const OctNode* child, const float* point) {
  if (child == nullptr || child->status == kOctMarker) return Visit::kNothing;
  if (scanmesh::is_sample(child) || scanmesh::welds(child->coor, point)) return Visit::kFound;
  // The links of a virtual voxel are corners, not cells.
  return scanmesh::is_cell(child) ? Visit::kNothing : Visit::kGoOn;
}

}  // namespace

OctreeLeaves2 Oct_tree_Tri::oct_switch_direction(const float* point, const float* centre) const {
  return static_cast<OctreeLeaves2>(scanmesh::octant_at(point, centre));
}

Mesh_Oct::OctTreeVoxel Oct_tree_Tri::oct_switch_Voxel(const float* point,
                                                      const float* centre) const {
  return static_cast<Mesh_Oct::OctTreeVoxel>(
      scanmesh::kCornerOfBits[scanmesh::upper_bits(point, centre)]);
}

Mesh_Oct::OctreeLeaves_27_brother Oct_tree_Tri::oct_swithc_bro_direct(const float* point,
                                                                      const float* centre,
                                                                      float half) const {
  int side[3] = {};
  for (int k = 0; k < 3; ++k) {
    if (point[k] >= centre[k] + half) {
      side[k] = 1;
    } else if (point[k] < centre[k] - half) {
      side[k] = -1;
    }
  }
  return static_cast<Mesh_Oct::OctreeLeaves_27_brother>(
      scanmesh::slot_of_offset(side[0], side[1], side[2]));
}

void Oct_tree_Tri::oct_calculate_voxel_locatioin(const Oct_tree_Triangulation* node,
                                                 Mesh_Oct::OctTreeVoxel corner, float* out,
                                                 const float* centre) const {
  const scanmesh::Signs& sign = scanmesh::kCornerSign[static_cast<int>(corner)];
  for (int k = 0; k < 3; ++k) {
    out[k] = static_cast<float>(static_cast<double>(centre[k]) +
                                sign[k] * static_cast<double>(node->half));
  }
}

void Oct_tree_Tri::get_cor(float* out, const Oct_tree_Triangulation* node) const {
  scanmesh::cell_centre(out, node);
}

void Oct_tree_Tri::oct_add_CenterPoint(float* out, const float* parentCentre, OctreeLeaves2 octant,
                                       float half) const {
  scanmesh::child_centre(out, parentCentre, static_cast<int>(octant), half);
}

Oct_tree_Triangulation* Oct_tree_Tri::oct_search(float* point) {
  if (node_blocks == nullptr || !scanmesh::inside(box, point)) return nullptr;
  OctNode* node = root();
  for (int step = std::max(depth, kLeastSteps); step > 0; --step) {
    node = node->link[scanmesh::octant_at(point, node->coor)];
    const Visit found = visit(node, point);
    if (found != Visit::kGoOn) return found == Visit::kFound ? node : nullptr;
  }
  return nullptr;
}

// The cells under the same parent are there without a search, markers among them. The others are
// what a search for their centres finds; where walking finds the same, it is quicker.
void Oct_tree_Tri::oct_search(Oct_tree_Triangulation* node, Oct_tree_Triangulation** out27) {
  OctNode* const parent = node->parent;
  if (parent == nullptr) {
    std::fill_n(out27, scanmesh::kSlots, nullptr);
    out27[scanmesh::kOwnSlot] = node;
    return;
  }
  const int octant = scanmesh::octant_in_parent(node);
  float centre[3];
  scanmesh::child_centre(centre, parent->coor, octant, node->half);
  const bool exact = parent->status != kOctMarker && scanmesh::walks_exactly(box, node->half);
  scanmesh::ParentCells around(parent, exact);
  for (int slot = 0; slot < scanmesh::kSlots; ++slot) {
    const scanmesh::SlotPlace& place = scanmesh::kSlotPlaces.of[octant][slot];
    OctNode* cell = nullptr;
    const bool known = around.at(place.beside, cell);
    if (place.beside == scanmesh::kOwnSlot) {
      out27[slot] = parent->link[place.child];
      continue;
    }
    if (known && (cell == nullptr || scanmesh::is_cell(cell))) {
      out27[slot] = cell;
      continue;
    }
    float point[3];
    scanmesh::slot_centre(point, centre, slot, parent->half);
    OctNode* const child = known ? cell->link[place.child] : nullptr;
    const Visit found = known ? visit(child, point) : Visit::kGoOn;
    out27[slot] = found == Visit::kGoOn    ? oct_search(point)
                  : found == Visit::kFound ? child
                                           : nullptr;
  }
}

void Oct_tree_Tri::oct_search(Oct_tree_Triangulation* node, Oct_tree_Triangulation** out8,
                              OctreeLeaves2 side) {
  out8[7] = node;
  if (node->parent == nullptr) return;
  const scanmesh::Signs& sign = scanmesh::kOctantSign[static_cast<int>(side)];
  int found = 0;
  for (int slot = 0; slot < scanmesh::kSlots; ++slot) {
    const scanmesh::Signs& offset = kSlotOffset[slot];
    bool fits = slot != scanmesh::kOwnSlot;
    for (int k = 0; k < 3; ++k) fits = fits && (offset[k] == 0 || offset[k] == sign[k]);
    if (!fits) continue;
    float point[3];
    scanmesh::slot_centre(point, node->coor, slot, node->parent->half);
    out8[found++] = oct_search(point);
  }
}
