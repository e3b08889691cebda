#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <tuple>

#include "tests/support/octree_access.h"

namespace {

using test_support::Floats;
using test_support::OctNode;
using test_support::Random;
using test_support::Sample;
using test_support::TestTree;

TEST(OctreeInsertion, leaf_is_the_first_level_at_or_below_the_request) {
  TestTree tree;  // half edges 8, 4, 2, 1, ...
  EXPECT_EQ(tree.sample({1, 1, 1}, 1)->half, 1.0F);
  EXPECT_EQ(tree.sample({-1, 1, 1}, 1.5F)->half, 1.0F);  // no power-of-two part: the next smaller
  EXPECT_EQ(tree.sample({1, -1, 1}, 0.99F)->half, 0.5F);
}

TEST(OctreeInsertion, request_of_the_roots_size_or_more_makes_a_leaf_below_the_root) {
  for (const float half : {8.0F, 4.0F, 100.0F}) {
    TestTree tree;
    OctNode* const leaf = tree.sample({1, 1, 1}, half);
    EXPECT_EQ(leaf->half, 4.0F);
    EXPECT_EQ(leaf->parent, tree.root());
    EXPECT_EQ(tree.root()->flag, 0);
    EXPECT_EQ(tree->depth, 2);
  }
}

TEST(OctreeInsertion, leaf_holds_the_samples_own_values) {
  TestTree tree;
  float point[3] = {1.25F, -3.5F, 2};
  float normal[3] = {0, 1, 0};
  EXPECT_EQ(tree->oct_insert(point, normal, 1.0F, -7), nullptr);
  ASSERT_EQ(tree->leaves.count, 1);
  const OctNode& leaf = *tree->leaves.data[0];
  EXPECT_EQ(leaf.flag, 1);
  for (int k = 0; k < 3; ++k) EXPECT_EQ(leaf.coor[k], point[k]);
  EXPECT_EQ(leaf.data, normal);
  EXPECT_EQ(leaf.tag, -7);
  EXPECT_EQ(leaf.status, -1);
  EXPECT_EQ(leaf.index, 0);
  EXPECT_EQ(tree.sample({-1, 1, 1})->index, 1);
}

TEST(OctreeInsertion, interior_nodes_are_the_cubes_on_the_way) {
  TestTree tree(8, 1, 0, {10, 20, 30});
  const OctNode* const leaf = tree.sample({11, 19, 37}, 1);
  const OctNode* const parent = leaf->parent;
  EXPECT_EQ(parent->half, 2.0F);
  EXPECT_EQ(parent->flag, 0);
  EXPECT_EQ(parent->data, nullptr);
  EXPECT_EQ(parent->coor[0], 12.0F);
  EXPECT_EQ(parent->coor[1], 18.0F);
  EXPECT_EQ(parent->coor[2], 36.0F);
  EXPECT_EQ(parent->parent->coor[2], 34.0F);
  EXPECT_EQ(parent->parent->parent, tree.root());
  EXPECT_EQ(tree.root()->parent, nullptr);
}

TEST(OctreeInsertion, depth_counts_the_roots_children_as_2) {
  TestTree tree;
  EXPECT_EQ(tree->depth, 0);
  tree.sample({1, 1, 1}, 4);
  EXPECT_EQ(tree->depth, 2);
  tree.sample({-1, 1, 1}, 0.5F);
  EXPECT_EQ(tree->depth, 5);
  tree.sample({1, -1, 1}, 2);
  EXPECT_EQ(tree->depth, 5);
}

TEST(OctreeInsertion, first_sample_of_a_cell_stays_and_the_second_is_dropped) {
  TestTree tree;
  OctNode* const first = tree.sample({1.5F, 1.5F, 1.5F}, 1, 3);
  EXPECT_EQ(tree.sample({1.25F, 1.75F, 1}, 1, 4), nullptr);
  EXPECT_EQ(tree->leaves.count, 1);
  EXPECT_EQ(first->coor[0], 1.5F);
  EXPECT_EQ(first->tag, 3);
}

TEST(OctreeInsertion, fineness_is_decided_by_the_requested_half) {
  TestTree tree(8, 1, 2);
  // Ends in a cell of 0.5 all the same, but the request is below the ordinary size.
  EXPECT_EQ(tree.sample({1, 1, 1}, 0.9F)->status, 4);
  // Exactly the ordinary size is ordinary.
  EXPECT_EQ(tree.sample({-1, 1, 1}, 1)->status, -1);
  // An ordinary request that ends in a cell finer than min_HalfEdge stays ordinary.
  TestTree odd(6, 1, 2);  // 3, 1.5, 0.75
  OctNode* const leaf = odd.sample({1, 1, 1}, 1);
  EXPECT_EQ(leaf->half, 0.75F);
  EXPECT_EQ(leaf->status, -1);
  EXPECT_EQ(leaf->parent->status, -1);
}

TEST(OctreeInsertion, interior_nodes_keep_the_status_of_whoever_made_them) {
  TestTree tree(8, 1, 2);
  OctNode* const fine = tree.sample({1, 1, 1}, 0.5F);
  EXPECT_EQ(fine->status, 4);
  EXPECT_EQ(fine->parent->status, 6);
  EXPECT_EQ(fine->parent->parent->status, 6);
  OctNode* const ordinary = tree.sample({3, 3, 3}, 1);
  EXPECT_EQ(ordinary->status, -1);
  EXPECT_EQ(ordinary->parent->status, 6);  // made by the fine sample
  TestTree other(8, 1, 2);
  other.sample({3, 3, 3}, 1);
  OctNode* const late = other.sample({1, 1, 1}, 0.5F);
  EXPECT_EQ(late->parent->status, 6);
  EXPECT_EQ(late->parent->parent->status, -1);
}

TEST(OctreeInsertion, coarse_request_into_an_interior_cell_is_dropped) {
  TestTree tree(8, 1, 2);
  tree.sample({0.5F, 0.5F, 0.5F}, 0.5F);
  EXPECT_EQ(tree.sample({1.5F, 1.5F, 1.5F}, 1), nullptr);
  EXPECT_EQ(tree.sample({1.5F, 1.5F, 1.5F}, 2), nullptr);
  EXPECT_EQ(tree->leaves.count, 1);
}

TEST(OctreeInsertion, fine_request_into_a_coarser_sample_is_dropped) {
  TestTree tree(8, 1, 2);
  tree.sample({1, 1, 1}, 1);
  EXPECT_EQ(tree.sample({0.2F, 0.2F, 0.2F}, 0.25F), nullptr);
}

TEST(OctreeInsertion, point_outside_the_cube_goes_to_the_outermost_cell_on_its_side) {
  TestTree tree;
  OctNode* const leaf = tree.sample({100, 1, -50}, 4);
  EXPECT_EQ(leaf->coor[0], 100.0F);
  EXPECT_EQ(leaf->parent->link[3], leaf);
  EXPECT_EQ(leaf, tree.search({1, 1, -1}));
}

TEST(OctreeInsertion, list_doubles_when_a_sample_fills_it) {
  TestTree tree;
  EXPECT_EQ(tree->leaves.capacity, 200000);
  tree->leaves.capacity = 3;
  tree.sample({1, 1, 1});
  tree.sample({-1, 1, 1});
  EXPECT_EQ(tree->leaves.capacity, 3);
  tree.sample({1, -1, 1});
  EXPECT_EQ(tree->leaves.capacity, 6);
  EXPECT_EQ(tree->leaves.count, 3);
  EXPECT_EQ(tree->leaves.data[2]->coor[1], -1.0F);
}

TEST(OctreeMarkers, marker_stands_with_an_entry_in_all_three_stores) {
  TestTree tree(8, 1, 2);
  OctNode* const node = tree.marker({1.25F, 1, 1}, 0.5F, 3);
  EXPECT_EQ(node->status, 7);
  EXPECT_EQ(node->flag, 0);
  EXPECT_EQ(node->half, 0.5F);
  EXPECT_EQ(node->coor[0], 1.25F);
  EXPECT_EQ(static_cast<float*>(node->data)[2], 1.0F);
  ASSERT_EQ(tree->marker_nodes.size(), 1);
  EXPECT_EQ(tree->marker_radius.size(), 1);
  EXPECT_EQ(tree->marker_radius[0], 3.0F);
  EXPECT_EQ(tree->marker_half, std::vector<float>{0.5F});
  EXPECT_EQ(tree->leaves.count, 0);
  // Cells on the way are ordinary, fine as the marker is.
  EXPECT_EQ(node->parent->status, -1);
  EXPECT_EQ(node->parent->data, nullptr);
  EXPECT_EQ(tree->depth, 5);
}

TEST(OctreeMarkers, sample_in_a_markers_cell_takes_the_node_over_with_its_tag) {
  TestTree tree;
  OctNode* const node = tree.marker({1, 1, 1});
  node->tag = 5;
  tree->leaves.capacity = 1;
  OctNode* const taken = tree.sample({1.5F, 1.5F, 1.5F}, 1, 9, {1, 0, 0});
  EXPECT_EQ(taken, node);
  EXPECT_EQ(taken->flag, 1);
  EXPECT_EQ(taken->status, -1);
  EXPECT_EQ(taken->index, 0);
  EXPECT_EQ(taken->coor[0], 1.5F);
  EXPECT_EQ(static_cast<float*>(taken->data)[0], 1.0F);
  EXPECT_EQ(taken->tag, 5);
  // The list is full, and only the other route grows it.
  EXPECT_EQ(tree->leaves.capacity, 1);
  EXPECT_EQ(tree->marker_nodes.size(), 1);
  // A second sample finds an ordinary leaf.
  EXPECT_EQ(tree.sample({1.25F, 1.25F, 1.25F}, 1, 9), nullptr);
}

TEST(OctreeMarkers, taking_over_never_writes_beyond_the_list) {
  TestTree tree;
  tree.marker({1, 1, 1});
  tree.marker({-1, 1, 1});
  OctNode** const full = new OctNode*[1];
  delete[] tree->leaves.data;
  tree->leaves = {full, 0, 1};
  EXPECT_NE(tree.sample({1, 1, 1}), nullptr);
  EXPECT_NE(tree.sample({-1, 1, 1}), nullptr);
  EXPECT_EQ(tree->leaves.count, 2);
  EXPECT_GE(tree->leaves.capacity, 2);
}

TEST(OctreeMarkers, coarser_sample_takes_a_marker_over_and_loses_what_was_below_it) {
  TestTree tree(8, 1, 2);
  OctNode* const node = tree.marker({1, 1, 1}, 1);
  OctNode* const below = tree.sample({1.5F, 1.5F, 1.5F}, 0.25F);
  ASSERT_NE(below, nullptr);
  EXPECT_EQ(below->parent->parent, node);
  EXPECT_EQ(tree.sample({1.5F, 1.5F, 1.5F}, 1), node);
  for (const OctNode* link : node->link) EXPECT_EQ(link, nullptr);
  EXPECT_EQ(tree->leaves.data[0], nullptr);
  EXPECT_EQ(tree->leaves.data[1], node);
}

TEST(OctreeMarkers, marker_that_meets_a_sample_has_no_entry_in_any_store) {
  TestTree tree;
  tree.sample({1, 1, 1});
  EXPECT_EQ(tree.marker({1.5F, 1.5F, 1.5F}), nullptr);
  EXPECT_EQ(tree.marker({1.5F, 1.5F, 1.5F}, 0.25F), nullptr);
  EXPECT_EQ(tree->marker_nodes.size(), 0);
  EXPECT_EQ(tree->marker_radius.size(), 0);
  EXPECT_TRUE(tree->marker_half.empty());
}

TEST(OctreeMarkers, the_same_marker_twice_is_one_marker) {
  TestTree tree;
  EXPECT_NE(tree.marker({1, 1, 1}), nullptr);
  EXPECT_EQ(tree.marker({1, 1, 1}), nullptr);
  EXPECT_EQ(tree->marker_nodes.size(), 1);
}

TEST(OctreeMarkers, marker_passes_a_cell_that_is_not_exactly_of_its_size) {
  TestTree tree;
  OctNode* const leaf = tree.sample({0.5F, 0.5F, 0.5F}, 0.5F);
  // The cell of half edge 1 is interior and not of the requested size, so the walk goes on.
  OctNode* const node = tree.marker({1.5F, 1.5F, 1.5F}, 1.5F);
  ASSERT_NE(node, nullptr);
  EXPECT_EQ(node->parent, leaf->parent);
  EXPECT_EQ(node->half, 0.5F);
  EXPECT_EQ(tree.marker({1.5F, 0.5F, 0.5F}, 1), nullptr);
}

TEST(OctreeVirtualVoxels, new_one_is_listed_with_index_minus_1) {
  TestTree tree(8, 1, 2);
  OctNode* const voxel = tree.voxel({1, 1, 1}, 1);
  ASSERT_NE(voxel, nullptr);
  EXPECT_EQ(voxel->flag, 1);
  EXPECT_EQ(voxel->index, -1);
  EXPECT_EQ(voxel->status, -1);
  EXPECT_EQ(voxel->coor[0], 1.0F);
  EXPECT_EQ(tree->voxels.count, 1);
  EXPECT_EQ(tree->leaves.count, 0);
  OctNode* const fine = tree.voxel({-1.25F, 1.25F, 1.25F}, 0.25F);
  EXPECT_EQ(fine->status, 4);
  EXPECT_EQ(fine->parent->status, 6);
}

TEST(OctreeVirtualVoxels, existing_leaf_of_the_same_size_is_the_answer) {
  TestTree tree;
  OctNode* const leaf = tree.sample({1.5F, 1.5F, 1.5F});
  EXPECT_EQ(tree.voxel({1, 1, 1}), leaf);
  EXPECT_EQ(tree.voxel({1, 1, 1}, 0.5F), nullptr);  // a coarser leaf covers the cell
  OctNode* const voxel = tree.voxel({-1, 1, 1});
  EXPECT_EQ(tree.voxel({-1, 1, 1}), voxel);  // a virtual voxel is a leaf like any other here
  EXPECT_EQ(tree->voxels.count, 1);
}

TEST(OctreeVirtualVoxels, finer_cells_in_the_way_give_null) {
  TestTree tree;
  tree.sample({0.5F, 0.5F, 0.5F}, 0.5F);
  EXPECT_EQ(tree.voxel({1, 1, 1}, 1), nullptr);
  EXPECT_EQ(tree.voxel({1, 1, 1}, 1.5F), nullptr);
}

TEST(OctreeVirtualVoxels, list_triples_when_full) {
  TestTree tree;
  EXPECT_EQ(tree->voxels.capacity, 1000000);
  tree->voxels.capacity = 2;
  tree.voxel({1, 1, 1});
  EXPECT_EQ(tree->voxels.capacity, 2);
  tree.voxel({-1, 1, 1});
  EXPECT_EQ(tree->voxels.capacity, 6);
}

// Where each sample belongs, level by level with exact arithmetic: the cubes are powers of two.
class PlainTree {
 public:
  // Whether the sample is taken.
  bool insert(const Sample& s) {
    double centre[3] = {0, 0, 0};
    Key key{0, 0, 0, 0};
    for (int level = 1;; ++level) {
      const double half = 8.0 / (1 << level);
      for (std::size_t k = 0; k < 3; ++k) {
        const bool upper = s.point[k] >= centre[k];
        centre[k] += upper ? half : -half;
      }
      key = {level, centre[0], centre[1], centre[2]};
      const bool here = s.half >= half;
      const auto found = cells.find(key);
      if (found != cells.end() && (found->second || here)) return false;
      cells[key] = here;
      if (here) return true;
    }
  }

  using Key = std::tuple<int, double, double, double>;
  std::map<Key, bool> cells;  // whether it is a leaf
};

TEST(OctreeInsertion, takes_and_places_samples_as_the_plain_tree_does) {
  TestTree tree(8, 0.5F, 2);
  PlainTree plain;
  std::vector<Sample> taken;
  for (const Sample& s : test_support::rough_sheet(3000, 7, 0.125F)) {
    const OctNode* const leaf = tree.sample(s.point, s.half);
    ASSERT_EQ(leaf != nullptr, plain.insert(s));
    if (leaf != nullptr) taken.push_back(s);
  }
  ASSERT_GT(taken.size(), 500U);
  ASSERT_LT(taken.size(), 2500U);
  const std::vector<OctNode*> nodes = test_support::all_nodes(tree);
  EXPECT_EQ(nodes.size(), plain.cells.size() + 1);
  for (OctNode* node : nodes) {
    if (node->parent == nullptr) continue;
    float centre[3];
    tree->get_cor(centre, node);
    const int level = static_cast<int>(std::lround(std::log2(8 / node->half)));
    const auto found = plain.cells.find({level, centre[0], centre[1], centre[2]});
    ASSERT_NE(found, plain.cells.end());
    EXPECT_EQ(found->second, node->flag == 1);
  }
  for (int i = 0; i < tree->leaves.count; ++i) {
    EXPECT_EQ(tree->leaves.data[i]->index, i);
    for (int k = 0; k < 3; ++k) {
      EXPECT_EQ(tree->leaves.data[i]->coor[k],
                taken[static_cast<std::size_t>(i)].point[static_cast<std::size_t>(k)]);
    }
  }
}

#ifdef NDEBUG
// A fault of the caller that debug builds stop at.
TEST(OctreeInsertion, request_without_a_size_is_dropped) {
  TestTree tree;
  EXPECT_EQ(tree.sample({1, 1, 1}, 0), nullptr);
  EXPECT_EQ(tree.sample({1, 1, 1}, -1), nullptr);
  EXPECT_EQ(tree.sample({1, 1, 1}, std::nanf("")), nullptr);
  EXPECT_EQ(tree.marker({1, 1, 1}, std::nanf("")), nullptr);
  EXPECT_EQ(tree.voxel({1, 1, 1}, 0), nullptr);
}
#endif

TEST(OctreeInsertion, wild_coordinates_end_in_some_cell) {
  TestTree tree;
  const float nan = std::nanf("");
  const float inf = std::numeric_limits<float>::infinity();
  EXPECT_NE(tree.sample({nan, inf, -inf}), nullptr);
  EXPECT_EQ(tree.sample({nan, inf, -inf}), nullptr);
  EXPECT_EQ(tree.search({nan, 0, 0}), nullptr);
}

}  // namespace
