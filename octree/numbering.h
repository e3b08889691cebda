// The three numberings of the octree, and what follows from them. Hosts store these numbers, so
// their order, which no bit pattern gives, is fixed.
#ifndef SCANMESH_OCTREE_NUMBERING_H
#define SCANMESH_OCTREE_NUMBERING_H

#include <cstdint>

namespace scanmesh {

constexpr int kCellChildren = 8;
constexpr int kCellCorners = 8;
constexpr int kSlots = 27;
constexpr int kOwnSlot = 17;
constexpr uint16_t kNoSlot = 65535;

using Signs = signed char[3];

// Side of the parent's centre on which a child lies.
constexpr Signs kOctantSign[kCellChildren] = {{1, 1, 1},  {-1, 1, 1},  {-1, 1, -1},  {1, 1, -1},
                                              {1, -1, 1}, {-1, -1, 1}, {-1, -1, -1}, {1, -1, -1}};
// Side of the cell's centre on which a corner lies.
constexpr Signs kCornerSign[kCellCorners] = {{-1, 1, 1}, {-1, 1, -1}, {-1, -1, -1}, {-1, -1, 1},
                                             {1, 1, 1},  {1, 1, -1},  {1, -1, -1},  {1, -1, 1}};
// Offset of a neighbour, in cell edges.
constexpr Signs kSlotOffset[kSlots] = {
    {1, 1, 1},   {0, 1, 1},    {-1, 1, 1},  {-1, 1, 0},  {-1, 1, -1}, {0, 1, -1}, {1, 1, -1},
    {1, 1, 0},   {0, 1, 0},    {1, 0, 1},   {0, 0, 1},   {-1, 0, 1},  {-1, 0, 0}, {-1, 0, -1},
    {0, 0, -1},  {1, 0, -1},   {1, 0, 0},   {0, 0, 0},   {1, -1, 1},  {0, -1, 1}, {-1, -1, 1},
    {-1, -1, 0}, {-1, -1, -1}, {0, -1, -1}, {1, -1, -1}, {1, -1, 0},  {0, -1, 0}};

namespace numbering_detail {

// Index of a triple of values out of -1, 0, 1.
constexpr int triple_index(int x, int y, int z) {
  return (x + 1) * 9 + (y + 1) * 3 + (z + 1);
}

template <int N>
struct Inverse {
  signed char of[27] = {};
  constexpr explicit Inverse(const Signs (&table)[N]) {
    for (signed char& entry : of) entry = -1;
    for (int i = 0; i < N; ++i) {
      of[triple_index(table[i][0], table[i][1], table[i][2])] = static_cast<signed char>(i);
    }
  }
};

constexpr Inverse<kCellChildren> kOctants{kOctantSign};
constexpr Inverse<kCellCorners> kCorners{kCornerSign};
constexpr Inverse<kSlots> kSlotsByOffset{kSlotOffset};

}  // namespace numbering_detail

constexpr int octant_of_signs(int x, int y, int z) {
  return numbering_detail::kOctants.of[numbering_detail::triple_index(x, y, z)];
}
constexpr int corner_of_signs(int x, int y, int z) {
  return numbering_detail::kCorners.of[numbering_detail::triple_index(x, y, z)];
}
// -1 for an offset of more than one cell.
constexpr int slot_of_offset(int x, int y, int z) {
  if (x < -1 || x > 1 || y < -1 || y > 1 || z < -1 || z > 1) return -1;
  return numbering_detail::kSlotsByOffset.of[numbering_detail::triple_index(x, y, z)];
}

// The octant and the corner on a side per axis; true is the upper side.
constexpr signed char kOctantOfBits[8] = {6, 7, 2, 3, 5, 4, 1, 0};  // bit 0 x, bit 1 y, bit 2 z
constexpr signed char kCornerOfBits[8] = {2, 6, 1, 5, 3, 7, 0, 4};

inline int upper_bits(const float* point, const float* centre) {
  return (point[0] >= centre[0] ? 1 : 0) | (point[1] >= centre[1] ? 2 : 0) |
         (point[2] >= centre[2] ? 4 : 0);
}
inline int octant_at(const float* point, const float* centre) {
  return kOctantOfBits[upper_bits(point, centre)];
}

// Row i: the cells around corner i of a cell. Entry j is the neighbour whose corner j it is.
struct CornerRing {
  unsigned char slot[kCellCorners][kCellCorners] = {};
  constexpr CornerRing() {
    for (int i = 0; i < kCellCorners; ++i) {
      for (int j = 0; j < kCellCorners; ++j) {
        const Signs& a = kCornerSign[i];
        const Signs& b = kCornerSign[j];
        slot[i][j] = static_cast<unsigned char>(
            slot_of_offset((a[0] - b[0]) / 2, (a[1] - b[1]) / 2, (a[2] - b[2]) / 2));
      }
    }
  }
};
constexpr CornerRing kCornerRing;

// The slot under which the cell at slot t sees the cell at slot s; kNoSlot when they don't touch.
struct Reciprocity {
  uint16_t slot[kSlots][kSlots] = {};
  constexpr Reciprocity() {
    for (int s = 0; s < kSlots; ++s) {
      for (int t = 0; t < kSlots; ++t) {
        const Signs& a = kSlotOffset[s];
        const Signs& b = kSlotOffset[t];
        const int seen = slot_of_offset(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
        slot[s][t] = seen < 0 ? kNoSlot : static_cast<uint16_t>(seen);
      }
    }
  }
};
constexpr Reciprocity kReciprocity;

}  // namespace scanmesh

#endif  // SCANMESH_OCTREE_NUMBERING_H
