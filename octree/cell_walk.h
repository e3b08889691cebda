// From cell to neighbouring cell without a search from the root.
#ifndef SCANMESH_OCTREE_CELL_WALK_H
#define SCANMESH_OCTREE_CELL_WALK_H

#include <cstdint>

#include "octree/octree_cells.h"

namespace scanmesh {

// Whether walking finds for cells of this size what a search for their centres finds: rounding must
// not bring a centre near a wall between cells. Then it is on the expected side of every wall, and
// no larger cell is centred there.
bool walks_exactly(const Bounding_Box& box, float half);

// Where the cell in a slot around a cell in some octant is found: as which child of which cell
// around the parent.
struct SlotPlace {
  unsigned char beside;  // slot of the parent; its own slot for the parent itself
  unsigned char child;
};
struct SlotPlaces {
  SlotPlace of[kCellChildren][kSlots] = {};
  constexpr SlotPlaces() {
    for (int octant = 0; octant < kCellChildren; ++octant) {
      for (int slot = 0; slot < kSlots; ++slot) {
        // In half edges of the cell the neighbour's centre lies at sign + 2 offset, and those of
        // the parents four apart.
        int to[3] = {};
        int child[3] = {};
        for (int k = 0; k < 3; ++k) {
          const int place = kOctantSign[octant][k] + 2 * kSlotOffset[slot][k];
          to[k] = place > 1 ? 1 : place < -1 ? -1 : 0;
          child[k] = place - 4 * to[k];
        }
        of[octant][slot] = {
            static_cast<unsigned char>(slot_of_offset(to[0], to[1], to[2])),
            static_cast<unsigned char>(octant_of_signs(child[0], child[1], child[2]))};
      }
    }
  }
};
constexpr SlotPlaces kSlotPlaces;

// The cells of a parent's size around it, each looked up when it is first asked for.
class ParentCells {
 public:
  ParentCells(OctNode* parent, bool exact);

  // False where only a search can tell. Otherwise `cell` is an interior node, the sample leaf that
  // covers the place, or null.
  bool at(int slot, OctNode*& cell) {
    if (state_[slot] == State::kUnasked) look_up(slot);
    cell = cells_[slot];
    return state_[slot] == State::kKnown;
  }
  // A cell that has been made meanwhile.
  void set(int slot, OctNode* cell) {
    if (state_[slot] == State::kKnown) cells_[slot] = cell;
  }

 private:
  enum class State : uint8_t { kUnasked, kKnown, kUnknown };

  void look_up(int slot);

  OctNode* cells_[kSlots];
  State state_[kSlots];
};

}  // namespace scanmesh

#endif  // SCANMESH_OCTREE_CELL_WALK_H
