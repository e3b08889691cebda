#include "octree/cell_walk.h"

#include <algorithm>
#include <cmath>

namespace scanmesh {

bool walks_exactly(const Bounding_Box& box, float half) {
  constexpr double kRoundings = 64;
  constexpr double kEpsilon = 5.9604644775390625e-08;  // 2 to the power -24
  double largest = 0;
  for (const float wall : {box.max_x, box.min_x, box.max_y, box.min_y, box.max_z, box.min_z}) {
    largest = std::max(largest, std::fabs(static_cast<double>(wall)));
  }
  return static_cast<double>(half) > kRoundings * kEpsilon * largest + kWeldTolerance;
}

namespace {

// Sides to which a step leads, one bit per axis.
struct Step {
  int up = 0;
  int down = 0;
  explicit Step(const Signs& offset) {
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
  signed char path[kMostTreeLevels];
  int length = 0;
  while (!step.done()) {
    const OctNode* const parent = node->parent;
    if (parent == nullptr) return nullptr;
    if (parent->status == kOctMarker || length == kMostTreeLevels) {
      known = false;
      return nullptr;
    }
    path[length++] = kOctantOfBits[step.cross(upper_bits(node->coor, parent->coor))];
    node = parent;
  }
  OctNode* cell = const_cast<OctNode*>(node);
  while (length > 0) {
    cell = cell->link[path[--length]];
    if (cell == nullptr || cell->status == kOctMarker) return nullptr;
    if (is_cell(cell)) return is_sample(cell) ? cell : nullptr;
  }
  return cell;
}

}  // namespace

ParentCells::ParentCells(OctNode* parent, bool exact) {
  std::fill_n(state_, kSlots, exact ? State::kUnasked : State::kUnknown);
  std::fill_n(cells_, kSlots, nullptr);
  cells_[kOwnSlot] = parent;
  state_[kOwnSlot] = State::kKnown;
}

void ParentCells::look_up(int slot) {
  bool known = true;
  cells_[slot] = cell_beside(cells_[kOwnSlot], slot, known);
  state_[slot] = known ? State::kKnown : State::kUnknown;
}

}  // namespace scanmesh
