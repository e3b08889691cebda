#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "tests/support/octree_access.h"

namespace {

using scanmesh::kOctantSign;
using scanmesh::kSlotOffset;
using test_support::Floats;
using test_support::OctNode;
using test_support::Random;
using test_support::Sample;
using test_support::TestTree;

TEST(OctreeSearch, boundary_of_the_box_is_inside) {
  TestTree tree;
  tree.sample({7.5F, 7.5F, 7.5F}, 4);
  tree.sample({-7.5F, -7.5F, -7.5F}, 4);
  EXPECT_NE(tree.search({8, 8, 8}), nullptr);
  EXPECT_NE(tree.search({-8, -8, -8}), nullptr);
  EXPECT_EQ(tree.search({std::nextafter(8.0F, 9.0F), 8, 8}), nullptr);
  EXPECT_EQ(tree.search({-8, -8, std::nextafter(-8.0F, -9.0F)}), nullptr);
}

TEST(OctreeSearch, finds_the_sample_whose_cell_holds_the_point) {
  TestTree tree;
  OctNode* const leaf = tree.sample({1.9F, 1.9F, 1.9F});
  EXPECT_EQ(tree.search({0, 0, 0}), leaf);  // the lower walls belong to the cell
  EXPECT_EQ(tree.search({1.99F, 0.5F, 0.1F}), leaf);
  EXPECT_EQ(tree.search({2, 0.5F, 0.1F}), nullptr);
  EXPECT_EQ(tree.search({-0.01F, 0.5F, 0.1F}), nullptr);
}

TEST(OctreeSearch, finds_the_interior_node_of_exactly_that_centre) {
  TestTree tree;
  OctNode* const leaf = tree.sample({1, 1, 1});
  EXPECT_EQ(tree.search({2, 2, 2}), leaf->parent);
  EXPECT_EQ(tree.search({2.0004F, 2, 1.9996F}), leaf->parent);
  EXPECT_EQ(tree.search({2.0006F, 2, 2}), nullptr);
  EXPECT_EQ(tree.search({4, 4, 4}), leaf->parent->parent);
}

TEST(OctreeSearch, tolerance_is_strict_and_compared_in_double) {
  TestTree tree;
  tree.sample({1, 1, 1});
  OctNode* const parent = tree->leaves.data[0]->parent;
  float near = 2;
  while (static_cast<double>(near - 2.0F) < 0.0005) near = std::nextafter(near, 3.0F);
  EXPECT_EQ(tree.search({std::nextafter(near, 2.0F), 2, 2}), parent);
  EXPECT_NE(tree.search({near, 2, 2}), parent);
}

TEST(OctreeSearch, marker_nodes_are_not_found) {
  TestTree tree;
  tree.marker({1, 1, 1});
  EXPECT_EQ(tree.search({1, 1, 1}), nullptr);
  OctNode* const leaf = tree.sample({1.25F, 1, 1});
  EXPECT_EQ(tree.search({1, 1, 1}), leaf);
}

TEST(OctreeSearch, virtual_voxel_answers_for_its_centre_only) {
  TestTree tree;
  OctNode* const voxel = tree.voxel({1, 1, 1});
  EXPECT_EQ(tree.search({1, 1, 1}), voxel);
  EXPECT_EQ(tree.search({1.25F, 1, 1}), nullptr);
  // Its links are corners, which no search walks into.
  OctNode corner;
  corner.index = -2;
  std::fill_n(voxel->link, 8, &corner);
  EXPECT_EQ(tree.search({1.25F, 1, 1}), nullptr);
}

TEST(OctreeSearch, goes_as_deep_as_the_deepest_insertion) {
  TestTree tree(1 << 30, 1);
  OctNode* const leaf = tree.sample({0.3F, 0.3F, 0.3F}, 1.0F / 64);
  EXPECT_EQ(tree->depth, 37);
  EXPECT_EQ(tree.search({0.2F, 0.3F, 0.3F}), nullptr);
  EXPECT_EQ(tree.search({0.3F, 0.3F, 0.3F}), leaf);
}

// Slot by slot, by searching for the centres; the cells under the same parent directly.
void plain_neighbours(Oct_tree_Tri& tree, OctNode* node, OctNode** out) {
  float centre[3];
  tree.get_cor(centre, node);
  for (int slot = 0; slot < 27; ++slot) {
    float point[3];
    for (int k = 0; k < 3; ++k) {
      point[k] = centre[k] + static_cast<float>(kSlotOffset[slot][k]) * node->parent->half;
    }
    out[slot] = tree.oct_search(point);
  }
  int own = 0;
  while (node->parent->link[own] != node) ++own;
  for (int i = 0; i < 8; ++i) {
    int offset[3];
    for (int k = 0; k < 3; ++k) offset[k] = (kOctantSign[i][k] - kOctantSign[own][k]) / 2;
    out[scanmesh::slot_of_offset(offset[0], offset[1], offset[2])] = node->parent->link[i];
  }
}

// All nodes of a tree of mixed sizes with markers and virtual voxels, in a cube about `centre`.
int compare_neighbourhoods(Floats centre, float scale, uint64_t seed) {
  TestTree tree(8 * scale, 0.5F * scale, 2, centre);
  Random random(seed);
  const auto at = [&](Floats p) {
    for (std::size_t k = 0; k < 3; ++k) p[k] = centre[k] + scale * p[k];
    return p;
  };
  const auto anywhere = [&] {
    return at({8 * random.signed_unit(), 8 * random.signed_unit(), 8 * random.signed_unit()});
  };
  for (int i = 0; i < 30; ++i) tree.marker(anywhere(), (i % 2 == 0 ? 0.5F : 0.25F) * scale);
  for (const Sample& s : test_support::rough_sheet(1500, seed, 0.125F)) {
    tree.sample(at(s.point), s.half * scale);
  }
  for (int i = 0; i < 200; ++i) tree.sample(anywhere(), (i % 3 == 0 ? 1.0F : 0.25F) * scale);
  std::vector<OctNode*> nodes = test_support::all_nodes(tree);
  for (int i = 0; i < 300; ++i) {
    // Virtual voxels stand in the middle of their cells.
    OctNode* const near =
        nodes[static_cast<std::size_t>(random.below(static_cast<int>(nodes.size())))];
    if (near->parent == nullptr) continue;
    Floats p;
    tree->get_cor(p.data(), near);
    p[static_cast<std::size_t>(i % 3)] += 2 * near->half;
    tree.voxel(p, near->half);
  }
  nodes = test_support::all_nodes(tree);
  int found = 0;
  for (OctNode* node : nodes) {
    if (node->parent == nullptr) continue;
    OctNode* expected[27];
    OctNode* got[27];
    plain_neighbours(*tree, node, expected);
    tree->oct_search(node, got);
    for (int slot = 0; slot < 27; ++slot) {
      EXPECT_EQ(got[slot], expected[slot]) << slot << " of half " << node->half;
      found += got[slot] != nullptr;
    }
    if (testing::Test::HasFailure()) return found;
  }
  return found;
}

TEST(OctreeNeighbours, are_what_searches_for_the_centres_find) {
  EXPECT_GT(compare_neighbourhoods({0, 0, 0}, 1, 3), 10000);
  EXPECT_GT(compare_neighbourhoods({100.7F, -33.3F, 512.1F}, 1, 4), 10000);
}

TEST(OctreeNeighbours, are_the_same_where_rounding_moves_the_centres) {
  EXPECT_GT(compare_neighbourhoods({10000.7F, -33333.3F, 51200.1F}, 1, 5), 10000);
  EXPECT_GT(compare_neighbourhoods({0, 0, 0}, 0.002F, 6), 10000);
  EXPECT_GT(compare_neighbourhoods({1, 2, 3}, 0.0101F, 7), 10000);
}

TEST(OctreeNeighbours, slots_have_their_offsets) {
  TestTree tree;
  OctNode* cells[27];
  for (int slot = 0; slot < 27; ++slot) {
    Floats p = {-3, 1, 1};
    for (std::size_t k = 0; k < 3; ++k) p[k] += 2.0F * kSlotOffset[slot][k];
    cells[slot] = tree.sample(p);
  }
  OctNode* out[27];
  tree->oct_search(cells[17], out);
  for (int slot = 0; slot < 27; ++slot) EXPECT_EQ(out[slot], cells[slot]);
}

TEST(OctreeNeighbours, siblings_come_without_a_search) {
  TestTree tree;
  OctNode* const leaf = tree.sample({1, 1, 1});
  OctNode* const marker = tree.marker({3, 1, 1});   // under the same parent
  OctNode* const beyond = tree.marker({-1, 1, 1});  // under another
  ASSERT_NE(beyond, nullptr);
  OctNode* out[27];
  tree->oct_search(leaf, out);
  EXPECT_EQ(out[16], marker);
  EXPECT_EQ(out[12], nullptr);
  // Only among siblings does a sample's neighbour stand that no search would find.
  EXPECT_EQ(tree.search({3, 1, 1}), nullptr);
}

TEST(OctreeNeighbours, coarser_leaf_stands_for_every_cell_that_it_covers) {
  TestTree tree(8, 1, 1);
  OctNode* const coarse = tree.sample({-1, 1, 1}, 1);
  OctNode* const fine = tree.sample({0.25F, 0.25F, 0.25F}, 0.5F);
  OctNode* out[27];
  tree->oct_search(fine, out);
  for (const int slot : {2, 3, 11, 12}) EXPECT_EQ(out[slot], coarse);
  for (const int slot : {4, 13, 20, 21, 22}) EXPECT_EQ(out[slot], nullptr);
  tree->oct_search(coarse, out);
  EXPECT_EQ(out[16], fine->parent);
}

TEST(OctreeNeighbours, moved_sample_does_not_mislead) {
  TestTree tree;
  OctNode* const leaf = tree.sample({1, 1, 1});
  OctNode* const beside = tree.sample({3, 1, 1});
  leaf->coor[0] = -5;  // as smoothing may leave it
  OctNode* out[27];
  tree->oct_search(leaf, out);
  EXPECT_EQ(out[17], leaf);
  EXPECT_EQ(out[16], beside);
  float centre[3];
  tree->get_cor(centre, leaf);
  EXPECT_EQ(centre[0], 1.0F);
}

TEST(OctreeNeighbours, of_the_root_are_itself_alone) {
  TestTree tree;
  tree.sample({1, 1, 1});
  OctNode* out[27];
  tree->oct_search(tree.root(), out);
  for (int slot = 0; slot < 27; ++slot) EXPECT_EQ(out[slot], slot == 17 ? tree.root() : nullptr);
}

TEST(OctreeSideNeighbours, are_the_seven_cells_on_that_side_and_the_node) {
  TestTree tree;
  for (float x = -7; x < 8; x += 2) {
    for (float y = -7; y < 8; y += 2) {
      for (float z = -7; z < 8; z += 2) tree.sample({x, y, z});
    }
  }
  // Asked for interior nodes of half edge 2, whose position is their centre.
  OctNode* const node = tree.search({-2, 2, 2});
  ASSERT_EQ(node->half, 2.0F);
  for (int side = 0; side < 8; ++side) {
    OctNode* out[8];
    OctreeAccess::search_side(*tree, node, out, static_cast<OctreeLeaves2>(side));
    EXPECT_EQ(out[7], node);
    int last_slot = -1;
    for (int i = 0; i < 7; ++i) {
      ASSERT_NE(out[i], nullptr);
      int offset[3];
      for (int k = 0; k < 3; ++k) {
        offset[k] = static_cast<int>((out[i]->coor[k] - node->coor[k]) / 4);
        EXPECT_TRUE(offset[k] == 0 || offset[k] == kOctantSign[side][k]);
      }
      const int slot = scanmesh::slot_of_offset(offset[0], offset[1], offset[2]);
      EXPECT_NE(slot, 17);
      EXPECT_GT(slot, last_slot);
      last_slot = slot;
    }
  }
}

TEST(OctreeSideNeighbours, of_the_root_are_only_the_root) {
  TestTree tree;
  OctNode* out[8] = {};
  OctreeAccess::search_side(*tree, tree.root(), out, OctreeLeaves2::PPP);
  EXPECT_EQ(out[7], tree.root());
  for (int i = 0; i < 7; ++i) EXPECT_EQ(out[i], nullptr);
}

}  // namespace
