// Finding cells: by a point, and the neighbours of a cell.
#include <algorithm>
#include <cassert>
#include <cmath>

#include "octree/octree_cells.h"
#include "scanmesh/octree.h"

namespace {

using scanmesh::kNoSlot;
using scanmesh::kSlotOffset;
using scanmesh::OctNode;

constexpr int kLeastSteps = 30;

bool inside(const Bounding_Box& box, const float* p) {
  return p[0] <= box.max_x && p[0] >= box.min_x && p[1] <= box.max_y && p[1] >= box.min_y &&
         p[2] <= box.max_z && p[2] >= box.min_z;
}

// What a search for a point finds when it comes to a cell.
enum class Visit { kNothing, kFound, kGoOn };

Visit visit(const OctNode* child, const float* point) {
  if (child == nullptr || child->status == kOctMarker) return Visit::kNothing;
  if (scanmesh::is_sample(child) || scanmesh::welds(child->coor, point)) return Visit::kFound;
  // The links of a virtual voxel are corners, not cells.
  return scanmesh::is_cell(child) ? Visit::kNothing : Visit::kGoOn;
}

// The slots outside the parent's cell, for a node in each octant, by the neighbour of the parent
// that covers them; and which child of that neighbour the slot is.
struct OuterSlots {
  struct Entry {
    unsigned char slot;
    unsigned char child;
  };
  struct Neighbour {
    unsigned char slot;  // of the parent
    unsigned char count;
    Entry entries[4];
  };
  Neighbour of[scanmesh::kCellChildren][7] = {};

  constexpr OuterSlots() {
    for (int octant = 0; octant < scanmesh::kCellChildren; ++octant) fill(octant);
  }

 private:
  constexpr void fill(int octant) {
    const scanmesh::Signs& own = scanmesh::kOctantSign[octant];
    int found = 0;
    for (int slot = 0; slot < scanmesh::kSlots; ++slot) {
      // The cell lies at own + 2 offset, in half edges of the parent's halves.
      int to[3] = {};
      int child[3] = {};
      for (int k = 0; k < 3; ++k) {
        const int place = own[k] + 2 * kSlotOffset[slot][k];
        to[k] = place > 1 ? 1 : place < -1 ? -1 : 0;
        child[k] = place - 4 * to[k];
      }
      if (to[0] == 0 && to[1] == 0 && to[2] == 0) continue;
      add(of[octant], found, scanmesh::slot_of_offset(to[0], to[1], to[2]), slot,
          scanmesh::octant_of_signs(child[0], child[1], child[2]));
    }
  }

  constexpr void add(Neighbour (&list)[7], int& found, int neighbour, int slot, int child) {
    int i = 0;
    while (i < found && list[i].slot != neighbour) ++i;
    if (i == found) list[found++].slot = static_cast<unsigned char>(neighbour);
    list[i].entries[list[i].count++] = {static_cast<unsigned char>(slot),
                                        static_cast<unsigned char>(child)};
  }
};
constexpr OuterSlots kOuterSlots;

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
  if (node_blocks == nullptr || !inside(box, point)) return nullptr;
  OctNode* node = root();
  for (int step = std::max(depth, kLeastSteps); step > 0; --step) {
    node = node->link[scanmesh::octant_at(point, node->coor)];
    const Visit found = visit(node, point);
    if (found != Visit::kGoOn) return found == Visit::kFound ? node : nullptr;
  }
  return nullptr;
}

namespace {

// Walking from cell to cell gives what a search for the cell's centre gives, as long as rounding
// can't bring that centre near a wall between cells: then it is on the expected side of every wall,
// and no larger cell is centred there.
bool walks_exactly(const Bounding_Box& box, float half) {
  constexpr double kRoundings = 64;
  constexpr double kEpsilon = 5.9604644775390625e-08;  // 2 to the power -24
  double largest = 0;
  for (const float wall : {box.max_x, box.min_x, box.max_y, box.min_y, box.max_z, box.min_z}) {
    largest = std::max(largest, std::fabs(static_cast<double>(wall)));
  }
  return static_cast<double>(half) > kRoundings * kEpsilon * largest + scanmesh::kWeldTolerance;
}

// Sides to which a step leads, one bit per axis.
struct Step {
  int up = 0;
  int down = 0;
  explicit Step(const scanmesh::Signs& offset) {
    for (int k = 0; k < 3; ++k) {
      if (offset[k] > 0) up |= 1 << k;
      if (offset[k] < 0) down |= 1 << k;
    }
  }
  bool done() const { return (up | down) == 0; }
  // Moves within a parent's cell; what leaves it remains to be done one level up.
  int cross(int bits) {
    const int to = bits ^ (up | down);
    up &= bits;
    down &= ~bits;
    return to;
  }
};

// The interior node of the size of interior node `node` one step away, or the sample leaf that
// covers that place; null where there is neither. `known` turns false where a marker is above,
// whose position is no centre.
OctNode* cell_beside(const OctNode* node, int slot, bool& known) {
  Step step(kSlotOffset[slot]);
  signed char path[scanmesh::kMostTreeLevels];
  int length = 0;
  while (!step.done()) {
    const OctNode* const parent = node->parent;
    if (parent == nullptr) return nullptr;
    if (parent->status == kOctMarker || length == scanmesh::kMostTreeLevels) {
      known = false;
      return nullptr;
    }
    const int bits = scanmesh::upper_bits(node->coor, parent->coor);
    path[length++] = scanmesh::kOctantOfBits[step.cross(bits)];
    node = parent;
  }
  OctNode* cell = const_cast<OctNode*>(node);
  while (length > 0) {
    cell = cell->link[path[--length]];
    if (cell == nullptr || cell->status == kOctMarker) return nullptr;
    if (scanmesh::is_cell(cell)) return scanmesh::is_sample(cell) ? cell : nullptr;
  }
  return cell;
}

}  // namespace

void Oct_tree_Tri::oct_search(Oct_tree_Triangulation* node, Oct_tree_Triangulation** out27) {
  std::fill_n(out27, scanmesh::kSlots, nullptr);
  OctNode* const parent = node->parent;
  if (parent == nullptr) {
    out27[scanmesh::kOwnSlot] = node;
    return;
  }
  const int octant = scanmesh::octant_in_parent(node);
  // The cells beside it under the same parent are there without a search, markers among them.
  const scanmesh::Signs& own = scanmesh::kOctantSign[octant];
  for (int i = 0; i < scanmesh::kCellChildren; ++i) {
    const scanmesh::Signs& sign = scanmesh::kOctantSign[i];
    out27[scanmesh::slot_of_offset((sign[0] - own[0]) / 2, (sign[1] - own[1]) / 2,
                                   (sign[2] - own[2]) / 2)] = parent->link[i];
  }
  float centre[3];
  scanmesh::child_centre(centre, parent->coor, octant, node->half);
  const bool exact = parent->status != kOctMarker && walks_exactly(box, node->half);
  for (const OuterSlots::Neighbour& beside : kOuterSlots.of[octant]) {
    bool known = exact;
    OctNode* const cell = known ? cell_beside(parent, beside.slot, known) : nullptr;
    if (known && cell == nullptr) continue;
    for (int i = 0; i < beside.count; ++i) {
      const int slot = beside.entries[i].slot;
      float point[3];
      scanmesh::slot_centre(point, centre, slot, parent->half);
      if (known && scanmesh::is_cell(cell)) {
        out27[slot] = cell;
        continue;
      }
      OctNode* const child = known ? cell->link[beside.entries[i].child] : nullptr;
      const Visit found = known ? visit(child, point) : Visit::kGoOn;
      out27[slot] = found == Visit::kGoOn    ? oct_search(point)
                    : found == Visit::kFound ? child
                                             : nullptr;
    }
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
