#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/support/octree_access.h"

namespace {

using test_support::Floats;
using test_support::OctNode;
using test_support::TestTree;

// Children in link order, leaves as they come.
void plain_leaves(OctNode* node, std::vector<OctNode*>& out) {
  if (node->flag == 1) {
    out.push_back(node);
    return;
  }
  for (OctNode* child : node->link) {
    if (child != nullptr) plain_leaves(child, out);
  }
}

TEST(OctreeTraversal, lists_the_leaves_depth_first_in_link_order) {
  TestTree tree(8, 0.5F, 2);
  fill(tree, test_support::rough_sheet(2000, 11, 0.125F));
  std::vector<OctNode*> expected;
  plain_leaves(tree.root(), expected);
  EXPECT_EQ(expected.size(), static_cast<std::size_t>(tree->leaves.count));
  int capacity = 1;
  int count = 77;
  OctNode** list = new OctNode*[1];
  tree->oct_Traversal(tree.root(), list, count, true, &capacity);
  EXPECT_EQ(std::vector<OctNode*>(list, list + count), expected);
  EXPECT_GT(capacity, count);
  delete[] list;
}

TEST(OctreeTraversal, appends_unless_reset) {
  TestTree tree;
  OctNode* const a = tree.sample({1, 1, 1});
  OctNode* const b = tree.sample({-1, 1, 1});
  OctNode* room[8] = {};
  OctNode** list = room;
  int count = 0;
  tree->oct_Traversal(tree.root(), list, count, false, nullptr);
  tree->oct_Traversal(b, list, count, false, nullptr);
  EXPECT_EQ(count, 3);
  EXPECT_EQ(room[0], a);
  EXPECT_EQ(room[2], b);
  tree->oct_Traversal(b, list, count, true, nullptr);
  EXPECT_EQ(count, 1);
  EXPECT_EQ(room[0], b);
  EXPECT_EQ(list, room);
}

TEST(OctreeTraversal, full_list_is_replaced_by_one_twice_as_long) {
  TestTree tree;
  for (const float x : {1.0F, 3.0F, 5.0F}) tree.sample({x, 1, 1});
  OctNode** list = new OctNode*[3];
  OctNode** const before = list;
  int capacity = 3;
  int count = 0;
  tree->oct_Traversal(tree.root(), list, count, true, &capacity);
  EXPECT_EQ(count, 3);
  EXPECT_EQ(capacity, 6);
  EXPECT_NE(list, before);
  delete[] list;
}

TEST(OctreeTraversal, voxel_vertices_and_markers_are_no_leaves) {
  TestTree tree;
  OctNode* const leaf = tree.sample({1, 1, 1});
  tree.marker({-1, 1, 1});
  OctNode vertex;
  vertex.index = -2;
  vertex.flag = 1;
  leaf->parent->link[0] = &vertex;
  OctNode* room[4] = {};
  OctNode** list = room;
  int count = 0;
  tree->oct_Traversal(tree.root(), list, count, true, nullptr);
  EXPECT_EQ(count, 1);
  EXPECT_EQ(room[0], leaf);
}

TEST(OctreePointCloud, gives_every_sample_in_list_order) {
  TestTree tree(8, 1, 2);
  tree.sample({1, 2, 3}, 1, 4, {1, 0, 0});
  tree.sample({-1, 2, 3}, 0.25F, -5, {0, 1, 0});
  tree.sample({1, -2, 3}, 2, 6, {0, 0, 1});
  float* points = nullptr;
  float* normals = nullptr;
  float* halves = nullptr;
  short* tags = nullptr;
  int count = 0;
  tree->oct_output_PointCloud(points, normals, count, halves, tags);
  ASSERT_EQ(count, 3);
  EXPECT_EQ(std::vector<float>(points, points + 9),
            (std::vector<float>{1, 2, 3, -1, 2, 3, 1, -2, 3}));
  EXPECT_EQ(std::vector<float>(normals, normals + 9),
            (std::vector<float>{1, 0, 0, 0, 1, 0, 0, 0, 1}));
  EXPECT_EQ(std::vector<float>(halves, halves + 3), (std::vector<float>{1, 0.25F, 2}));
  EXPECT_EQ(std::vector<short>(tags, tags + 3), (std::vector<short>{4, -5, 6}));
  for (float* array : {points, normals, halves}) delete[] array;
  delete[] tags;
}

TEST(OctreePointCloud, empty_entries_are_left_out_of_the_count) {
  TestTree tree;
  tree.sample({1, 1, 1});
  tree.sample({-1, 1, 1});
  tree->leaves.data[0] = nullptr;
  float* points = nullptr;
  float* normals = nullptr;
  float* halves = nullptr;
  short* tags = nullptr;
  int count = 0;
  tree->oct_output_PointCloud(points, normals, count, halves, tags);
  EXPECT_EQ(count, 1);
  EXPECT_EQ(points[0], -1.0F);
  for (float* array : {points, normals, halves}) delete[] array;
  delete[] tags;
}

TEST(OctreeCut, boxes_have_the_sizes_of_their_kinds) {
  TestTree tree(8, 1, 0, {100, 200, 300});
  // Half edges 1, 2, 4; the cell is centred at 101, 201, 301, its parent's at 102, 202, 302.
  const OctNode* const leaf = tree.sample({101.5F, 201.5F, 301.5F});
  const struct {
    int kind;
    float centre;
    float reach;
  } expected[] = {{3, 1, 3}, {4, 2, 4}, {5, 1, 5}, {6, 2, 7}, {7, 1, 7}};
  for (const auto& e : expected) {
    Bounding_Box box{};
    OctreeAccess::cut(*tree, leaf, box, e.kind);
    EXPECT_EQ(box.max_x, 100 + e.centre + e.reach);
    EXPECT_EQ(box.min_x, 100 + e.centre - e.reach);
    EXPECT_EQ(box.max_y, 200 + e.centre + e.reach);
    EXPECT_EQ(box.min_y, 200 + e.centre - e.reach);
    EXPECT_EQ(box.max_z, 300 + e.centre + e.reach);
    EXPECT_EQ(box.min_z, 300 + e.centre - e.reach);
  }
}

TEST(OctreeLifeCycle, starts_with_the_documented_members) {
  Oct_tree_Tri tree;
  EXPECT_EQ(tree.node_blocks, nullptr);
  EXPECT_EQ(tree.depth, 0);
  EXPECT_EQ(tree.block_table_size, 1000);
  EXPECT_EQ(tree.block_capacity, 100000);
  EXPECT_EQ(tree.counter_array, nullptr);
  EXPECT_EQ(tree.fill_normals.block_size, 100000);
  EXPECT_EQ(tree.marker_nodes.table_size, 1000);
  EXPECT_EQ(tree.levels, 0);
  EXPECT_EQ(tree.leaves.data, nullptr);
}

TEST(OctreeLifeCycle, fine_half_edge_is_a_part_by_a_power_of_two) {
  Oct_tree_Tri tree;
  const std::pair<int, float> parts[] = {{0, 1.0F}, {1, 2.0F}, {2, 4.0F}, {3, 8.0F}};
  for (const auto& [levels, divisor] : parts) {
    tree.oct_set_min_HalfEdge(0.7F, levels);
    EXPECT_EQ(tree.min_HalfEdge, 0.7F);
    EXPECT_EQ(tree.levels, levels);
    EXPECT_EQ(tree.fine_HalfEdge, 0.7F / divisor);
  }
}

TEST(OctreeLifeCycle, initialisation_makes_root_box_and_lists) {
  TestTree tree(4, 1, 0, {1, 2, 3}, 150000);
  const OctNode& root = *tree.root();
  EXPECT_EQ(root.coor[1], 2.0F);
  EXPECT_EQ(root.half, 4.0F);
  EXPECT_EQ(root.flag, 0);
  EXPECT_EQ(root.data, nullptr);
  EXPECT_EQ(root.parent, nullptr);
  EXPECT_EQ(root.tag, 0);
  EXPECT_EQ(root.status, -1);
  EXPECT_EQ(tree->box.max_x, 5.0F);
  EXPECT_EQ(tree->box.min_x, -3.0F);
  EXPECT_EQ(tree->box.max_z, 7.0F);
  EXPECT_EQ(tree->leaves.capacity, 300000);
  EXPECT_EQ(tree->counter_capacity, 7 * 150000);
  EXPECT_EQ(tree->counter_used, 0);
  EXPECT_EQ(tree->counter_array[7 * 150000 - 1], 0.0F);
  EXPECT_EQ(tree->voxels.capacity, 1000000);
}

TEST(OctreeLifeCycle, marker_stores_have_their_own_sizes) {
  TestTree tree;
  EXPECT_EQ(tree->marker_nodes.block_size, 1000);
  EXPECT_EQ(tree->marker_nodes.table_size, 1000);
  EXPECT_EQ(tree->marker_radius.block_size, 1000);
  EXPECT_EQ(tree->fill_normals.block_size, 100000);
  EXPECT_EQ(tree->fill_normals.table_size, 1000);
  EXPECT_GE(tree->marker_half.capacity(), 1000U);
}

TEST(OctreeLifeCycle, free_leaves_the_tree_empty_and_twice_is_harmless) {
  Oct_tree_Tri tree;
  float centre[3] = {0, 0, 0};
  tree.oct_set_min_HalfEdge(1, 0);
  tree.oct_initialize(centre, 10, 8);
  tree.inalize_mark();
  tree.oct_free();
  tree.free_mark();
  EXPECT_EQ(tree.node_blocks, nullptr);
  EXPECT_EQ(tree.leaves.count, 0);
  EXPECT_EQ(tree.voxels.data, nullptr);
  EXPECT_EQ(tree.counter_array, nullptr);
  EXPECT_EQ(tree.oct_search(centre), nullptr);
  tree.oct_free();
  tree.free_mark();
  tree.oct_initialize(centre, 10, 8);
  tree.oct_insert(centre, nullptr, 1.0F, 0);
  EXPECT_EQ(tree.leaves.count, 1);
  tree.oct_free();
}

TEST(OctreeLifeCycle, node_pool_grows_by_blocks_and_triples_its_table) {
  Oct_tree_Tri tree;
  tree.block_table_size = 2;
  tree.block_capacity = 3;
  float centre[3] = {0, 0, 0};
  tree.oct_initialize(centre, 0, 8);
  std::vector<OctNode*> nodes = {tree.node_blocks[0]};
  for (int i = 1; i < 20; ++i) nodes.push_back(tree.oct_allocate_node());
  EXPECT_EQ(tree.block_table_size, 18);
  EXPECT_EQ(tree.block_index, 6);
  EXPECT_EQ(tree.block_slot, 2);
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    EXPECT_EQ(nodes[i], tree.node_blocks[i / 3] + i % 3);
    EXPECT_EQ(nodes[i]->status, -1);
    EXPECT_EQ(nodes[i]->tag, 0);
  }
  tree.oct_free();
}

TEST(OctreeLifeCycle, copies_share_the_blocks_and_moves_take_the_vector) {
  static_assert(std::is_copy_constructible_v<Oct_tree_Tri>);
  static_assert(std::is_nothrow_move_constructible_v<Oct_tree_Tri>);
  TestTree tree;
  tree.sample({1, 1, 1});
  tree.marker({-1, 1, 1});
  Oct_tree_Tri copy = *tree;
  EXPECT_EQ(copy.node_blocks, tree->node_blocks);
  EXPECT_EQ(copy.leaves.data, tree->leaves.data);
  EXPECT_EQ(copy.marker_half, tree->marker_half);
  const Oct_tree_Tri moved = std::move(copy);
  EXPECT_EQ(moved.node_blocks, tree->node_blocks);
  EXPECT_EQ(moved.marker_half.size(), 1U);
}

TEST(OctreePool, addresses_stay_when_the_table_triples) {
  Oct_Pool<float> pool;
  pool.inalize(2, 2);
  std::vector<float*> addresses;
  for (int i = 0; i < 9; ++i) {
    EXPECT_EQ(pool.size(), i);
    addresses.push_back(&pool.allocate_mem());
    *addresses.back() = static_cast<float>(i);
  }
  EXPECT_EQ(pool.table_size, 6);
  for (int i = 0; i < 9; ++i) {
    EXPECT_EQ(&pool[i], addresses[static_cast<std::size_t>(i)]);
    EXPECT_EQ(pool[i], static_cast<float>(i));
  }
  pool.free();
  EXPECT_EQ(pool.blocks, nullptr);
  EXPECT_EQ(pool.size(), 0);
}

TEST(OctreePool, release_goes_up_to_the_larger_index) {
  Oct_Pool<float> pool;
  pool.inalize(1, 4);
  for (int i = 0; i < 3; ++i) pool.allocate_mem();
  pool.block_top = pool.block_index;
  pool.block_index = 0;
  pool.free();  // a leak checker sees the blocks beyond the index
  EXPECT_EQ(pool.blocks, nullptr);
}

TEST(OctreeRecords, have_the_layout_that_hosts_know) {
  static_assert(std::is_standard_layout_v<OctNode>);
  EXPECT_EQ(offsetof(OctNode, flag), 0U);
  EXPECT_EQ(offsetof(OctNode, coor), 4U);
  EXPECT_EQ(offsetof(OctNode, half), 16U);
  if (sizeof(void*) == 8) {
    EXPECT_EQ(offsetof(OctNode, data), 24U);
    EXPECT_EQ(offsetof(OctNode, tag), 32U);
    EXPECT_EQ(offsetof(OctNode, status), 36U);
    EXPECT_EQ(offsetof(OctNode, index), 40U);
    EXPECT_EQ(offsetof(OctNode, link), 48U);
    EXPECT_EQ(offsetof(OctNode, parent), 112U);
    EXPECT_EQ(sizeof(OctNode), 120U);
  }
  F_OctTree<OctNode*> list;
  F_OctTree<OctNode*> other;
  list.count = 3;
  other = list;
  EXPECT_EQ(other.count, 3);
  EXPECT_EQ(other.data, nullptr);
}

}  // namespace
