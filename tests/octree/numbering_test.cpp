#include "octree/numbering.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <string>
#include <vector>

#include "tests/support/octree_access.h"

namespace {

using namespace scanmesh;
using test_support::Floats;
using test_support::TestTree;

std::string signs_text(const Signs& s) {
  std::string text;
  for (const int v : s) text += v > 0 ? '+' : v < 0 ? '-' : '0';
  return text;
}

template <int N>
std::string table_text(const Signs (&table)[N]) {
  std::string text;
  for (const Signs& s : table) text += signs_text(s) + " ";
  return text;
}

TEST(OctreeNumbering, octants_corners_and_slots_have_the_signs_that_hosts_store) {
  EXPECT_EQ(table_text(kOctantSign), "+++ -++ -+- ++- +-+ --+ --- +-- ");
  EXPECT_EQ(table_text(kCornerSign), "-++ -+- --- --+ +++ ++- +-- +-+ ");
  EXPECT_EQ(table_text(kSlotOffset),
            "+++ 0++ -++ -+0 -+- 0+- ++- ++0 0+0 "
            "+0+ 00+ -0+ -00 -0- 00- +0- +00 000 "
            "+-+ 0-+ --+ --0 --- 0-- +-- +-0 0-0 ");
}

TEST(OctreeNumbering, child_cells_lie_by_their_signs) {
  TestTree tree;
  const float parent[3] = {1, 2, 3};
  float centre[3];
  tree->oct_add_CenterPoint(centre, parent, OctreeLeaves2::PNN, 0.5F);
  EXPECT_EQ((Floats{centre[0], centre[1], centre[2]}), (Floats{1.5F, 1.5F, 2.5F}));
}

TEST(OctreeNumbering, each_triple_of_signs_has_one_number) {
  for (int i = 0; i < 8; ++i) {
    EXPECT_EQ(octant_of_signs(kOctantSign[i][0], kOctantSign[i][1], kOctantSign[i][2]), i);
    EXPECT_EQ(corner_of_signs(kCornerSign[i][0], kCornerSign[i][1], kCornerSign[i][2]), i);
  }
  for (int i = 0; i < 27; ++i) {
    EXPECT_EQ(slot_of_offset(kSlotOffset[i][0], kSlotOffset[i][1], kSlotOffset[i][2]), i);
  }
  EXPECT_EQ(slot_of_offset(0, 0, 0), kOwnSlot);
  EXPECT_EQ(slot_of_offset(2, 0, 0), -1);
}

TEST(OctreeNumbering, ring_of_a_corner_is_the_cells_that_share_it) {
  // As hosts know the table.
  const int expected[8][8] = {{17, 10, 1, 8, 12, 11, 2, 3},     {14, 17, 8, 5, 13, 12, 3, 4},
                              {23, 26, 17, 14, 22, 21, 12, 13}, {26, 19, 10, 17, 21, 20, 11, 12},
                              {16, 9, 0, 7, 17, 10, 1, 8},      {15, 16, 7, 6, 14, 17, 8, 5},
                              {24, 25, 16, 15, 23, 26, 17, 14}, {25, 18, 9, 16, 26, 19, 10, 17}};
  for (int i = 0; i < 8; ++i) {
    for (int j = 0; j < 8; ++j) {
      const int slot = kCornerRing.slot[i][j];
      EXPECT_EQ(slot, expected[i][j]);
      // The cell's corner j is this cell's corner i: both corners are in the same place.
      for (int k = 0; k < 3; ++k) {
        EXPECT_EQ(2 * kSlotOffset[slot][k] + kCornerSign[j][k], kCornerSign[i][k]);
      }
    }
  }
}

TEST(OctreeNumbering, reciprocal_slots_are_differences_of_offsets) {
  int touching = 0;
  for (int s = 0; s < 27; ++s) {
    for (int t = 0; t < 27; ++t) {
      bool near = true;
      for (int k = 0; k < 3; ++k) {
        near = near && std::abs(kSlotOffset[s][k] - kSlotOffset[t][k]) <= 1;
      }
      const int seen = kReciprocity.slot[s][t];
      EXPECT_EQ(seen != 65535, near);
      if (!near) continue;
      ++touching;
      for (int k = 0; k < 3; ++k) {
        EXPECT_EQ(kSlotOffset[t][k] + kSlotOffset[seen][k], kSlotOffset[s][k]);
      }
      // What t sees at s, s sees in the opposite slot.
      EXPECT_EQ(
          kReciprocity.slot[t][s],
          slot_of_offset(-kSlotOffset[seen][0], -kSlotOffset[seen][1], -kSlotOffset[seen][2]));
    }
  }
  EXPECT_EQ(touching, 343);  // 7 pairs of touching places on each axis
  for (int s = 0; s < 27; ++s) EXPECT_EQ(kReciprocity.slot[s][kOwnSlot], s);
}

TEST(OctreeNumbering, point_on_a_plane_is_on_the_upper_side) {
  TestTree tree;
  const Floats centre = {1, 2, 3};
  EXPECT_EQ(tree->oct_switch_direction(centre.data(), centre.data()), OctreeLeaves2::PPP);
  EXPECT_EQ(tree->oct_switch_Voxel(centre.data(), centre.data()), Mesh_Oct::OctTreeVoxel::PPP);
  const Floats below = {std::nextafter(1.0F, 0.0F), 2, 3};
  EXPECT_EQ(tree->oct_switch_direction(below.data(), centre.data()), OctreeLeaves2::NPP);
  EXPECT_EQ(tree->oct_switch_Voxel(below.data(), centre.data()), Mesh_Oct::OctTreeVoxel::NPP);
}

TEST(OctreeNumbering, points_are_classified_by_the_tables) {
  TestTree tree;
  const Floats centre = {0.5F, -1, 4};
  for (int i = 0; i < 8; ++i) {
    Floats p = centre;
    Floats q = centre;
    for (std::size_t k = 0; k < 3; ++k) {
      p[k] += 0.25F * kOctantSign[i][k];
      q[k] += 0.25F * kCornerSign[i][k];
    }
    EXPECT_EQ(static_cast<int>(tree->oct_switch_direction(p.data(), centre.data())), i);
    EXPECT_EQ(static_cast<int>(tree->oct_switch_Voxel(q.data(), centre.data())), i);
  }
  for (int i = 0; i < 27; ++i) {
    Floats p = centre;
    for (std::size_t k = 0; k < 3; ++k) p[k] += 2.0F * kSlotOffset[i][k];
    EXPECT_EQ(static_cast<int>(tree->oct_swithc_bro_direct(p.data(), centre.data(), 1)), i);
  }
}

TEST(OctreeNumbering, the_upper_wall_is_above_and_the_lower_wall_is_within) {
  TestTree tree;
  const Floats centre = {0, 0, 0};
  const Floats upper = {1, 0, 0};
  const Floats lower = {-1, 0, 0};
  const Floats under = {std::nextafter(-1.0F, -2.0F), 0, 0};
  using Slot = Mesh_Oct::OctreeLeaves_27_brother;
  EXPECT_EQ(tree->oct_swithc_bro_direct(upper.data(), centre.data(), 1), Slot::POO);
  EXPECT_EQ(tree->oct_swithc_bro_direct(lower.data(), centre.data(), 1), Slot::OOO);
  EXPECT_EQ(tree->oct_swithc_bro_direct(under.data(), centre.data(), 1), Slot::NOO);
}

TEST(OctreeNumbering, corner_position_is_summed_in_double) {
  TestTree tree;
  test_support::OctNode node;
  node.half = 0.1F;
  const Floats centre = {1000, 2, -3};
  Floats out{};
  tree->oct_calculate_voxel_locatioin(&node, Mesh_Oct::OctTreeVoxel::NPN, out.data(),
                                      centre.data());
  EXPECT_EQ(out[0], static_cast<float>(1000.0 - static_cast<double>(0.1F)));
  EXPECT_EQ(out[1], static_cast<float>(2.0 + static_cast<double>(0.1F)));
  EXPECT_EQ(out[2], static_cast<float>(-3.0 - static_cast<double>(0.1F)));
}

}  // namespace
