#include <gtest/gtest.h>

#include "tests/support/octree_access.h"

namespace {

using test_support::OctNode;
using test_support::TestTree;

TEST(VoxelVertices, single_calls_find_and_make_vertices) {
  TestTree tree;
  OctNode* const leaf = tree.sample({1, 1, 1});
  OctNode* const beside = tree.sample({3, 1, 1});
  OctNode* brothers[2][27];
  tree->oct_search(leaf, brothers[0]);
  tree->oct_search(beside, brothers[1]);
  Paralledl block;
  block.tree = &*tree;
  block.thread_count = 1;
  block.end = 2;
  block.brothers = brothers[0];
  using Corner = Mesh_Oct::OctTreeVoxel;
  EXPECT_EQ(tree->oct_allocate_voxel_mem(&block, 0, Corner::PPP), nullptr);
  float centre[3];
  tree->get_cor(centre, leaf);
  OctNode* const made = tree->oct_allocate_voxel_mem(&block, 0, Corner::PPP, centre);
  EXPECT_EQ(made->coor[0], 2.0F);
  EXPECT_EQ(made->index, -2);
  EXPECT_EQ(leaf->link[4], made);
  EXPECT_EQ(beside->link[0], made);
  EXPECT_EQ(made->link[4], leaf);
  EXPECT_EQ(made->link[0], beside);
  EXPECT_EQ(made->data, tree->counter_array);
  EXPECT_EQ(tree->counter_used, 1);
  // Forgotten by one of them, it is found at the other.
  beside->link[0] = nullptr;
  made->link[0] = nullptr;
  EXPECT_EQ(tree->oct_allocate_voxel_mem(&block, 1, Corner::NPP), made);
  EXPECT_EQ(beside->link[0], made);
  EXPECT_EQ(made->link[0], beside);
  // Making one replaces what was there.
  OctNode* const again = tree->oct_allocate_voxel_mem(&block, 0, Corner::PPP, centre);
  EXPECT_NE(again, made);
  EXPECT_EQ(beside->link[0], again);
}

TEST(VoxelVertices, any_number_of_calls_stays_within_the_counters) {
  TestTree tree(8, 1, 0, {0, 0, 0}, 1);
  OctNode* const leaf = tree.sample({1, 1, 1.25F});
  OctNode* const other = tree.sample({-1, 1, 1.75F});
  OctNode* brothers[27];
  tree->oct_search(leaf, brothers);
  Paralledl block;
  block.thread_count = 1;
  block.end = 1;
  block.brothers = brothers;
  float centre[3];
  tree->get_cor(centre, leaf);
  ASSERT_EQ(tree->counter_capacity, 7);
  OctNode* first = nullptr;
  for (int i = 0; i < 3000; ++i) {
    const auto corner = static_cast<Mesh_Oct::OctTreeVoxel>(i % 8);
    OctNode* const made = tree->oct_allocate_voxel_mem(&block, 0, corner, centre);
    ASSERT_EQ(made->data, tree->counter_array + i);
    if (i == 0) first = made;
  }
  EXPECT_EQ(first->data, tree->counter_array);  // moved with the others
  EXPECT_GE(tree->counter_capacity, 3000);
  tree->oct_build_voxel_Architecture();
  EXPECT_EQ(leaf->link[4]->half, 0.75F);
  // Shared with the other sample, and the mean of both.
  EXPECT_EQ(leaf->link[0], other->link[4]);
  EXPECT_EQ(leaf->link[0]->half, 0.5F);
  const auto corner = Mesh_Oct::OctTreeVoxel::NPP;
  EXPECT_EQ(tree->oct_allocate_voxel_mem(&block, 0, corner, centre), nullptr);
}

TEST(VoxelVertices, diagnostic_counts_vertices_off_the_ordinary_grid) {
  TestTree tree(8, 1, 1);
  tree.sample({1, 1, 1}, 1);
  EXPECT_EQ(OctreeAccess::verify_voxel(*tree), 0);
  tree.sample({-3.25F, 1, 1}, 0.5F);
  tree->oct_build_voxel_Architecture();
  EXPECT_EQ(OctreeAccess::verify_voxel(*tree), 8);
}

}  // namespace
