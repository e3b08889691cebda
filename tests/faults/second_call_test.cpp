// Calls that make anew what an earlier call made: nothing of the first is left over.
#include <gtest/gtest.h>

#include "scanmesh/mesh.h"
#include "scanmesh/octree.h"
#include "tests/faults/faults.h"
#include "tests/support/files.h"
#include "tests/support/shapes.h"

namespace {

TEST(SecondCall, marker_lists_are_made_once_more_in_the_place_of_the_first) {
  const long before = faults::live_blocks();
  {
    Oct_tree_Tri tree;
    tree.inalize_mark();
    const long once = faults::live_blocks();
    ASSERT_GT(once, before);
    tree.inalize_mark();
    EXPECT_EQ(faults::live_blocks(), once);
    tree.free_mark();
  }
  EXPECT_EQ(faults::live_blocks(), before);
}

TEST(SecondCall, a_freed_mesh_holds_no_octree) {
  const std::string bytes = test_support::binary_stl(test_support::sphere(2, 10));
  FILE* const stream = test_support::open_bytes(bytes);
  Mesh_M::Mesh mesh;
  const long before = faults::live_blocks();
  ASSERT_EQ(mesh.input_data(stream), 0);
  ASSERT_NE(mesh.oct.root, nullptr);
  mesh.free();
  EXPECT_EQ(mesh.oct.root, nullptr);
  EXPECT_EQ(faults::live_blocks(), before);
}

}  // namespace
