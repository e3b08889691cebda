// Building in bulk, with each of its allocations failing in turn.
#include <gtest/gtest.h>

#include <new>
#include <vector>

#include "core/soup_building.h"
#include "tests/faults/faults.h"
#include "tests/support/invariants.h"
#include "tests/support/shapes.h"

namespace {

using Mesh_M::Mesh;
using test_support::Vec3f;

class BulkFaults : public testing::Test {
 protected:
  void SetUp() override {
    const test_support::Soup sphere = test_support::sphere(5, 20);
    for (const auto& t : sphere.triangles) {
      for (const int corner : t) {
        corners_.push_back(sphere.points[static_cast<std::size_t>(corner)]);
      }
    }
    soup_.first = &corners_.front().x;
    soup_.count = static_cast<int>(corners_.size() / 3);
  }

  static void prepare(Mesh& mesh) {
    Vec3f centre{0, 0, 0};
    mesh.inalize_oct(centre, 20);
  }

  static void release(Mesh& mesh) {
    mesh.oct.free();
    mesh.free();
  }

  long allocations() {
    Mesh mesh;
    prepare(mesh);
    const faults::AllocationFaults count;
    scanmesh::insert_soup(mesh, soup_);
    return count.allocations();
  }

  std::vector<Vec3f> corners_;
  scanmesh::Soup soup_;
};

TEST_F(BulkFaults, one_allocation_that_fails_costs_time_and_nothing_else) {
  ASSERT_GT(soup_.count, 4096);
  const long count = allocations();
  ASSERT_GT(count, 10);
  for (long number = 0; number < count; ++number) {
    SCOPED_TRACE(number);
    const long before = faults::live_blocks();
    {
      Mesh mesh;
      prepare(mesh);
      {
        const faults::AllocationFaults armed(number, faults::Extent::kOne);
        ASSERT_NO_THROW(scanmesh::insert_soup(mesh, soup_));
      }
      EXPECT_EQ(mesh.face.real_num, soup_.count);
      EXPECT_EQ(mesh.vertex.get_vertnum(), soup_.count / 2 + 2);
      EXPECT_TRUE(test_support::adjacency_holds(mesh));
      release(mesh);
    }
    ASSERT_EQ(faults::live_blocks(), before);
  }
}

TEST_F(BulkFaults, no_memory_at_all_is_told_and_leaks_nothing) {
  const long count = allocations();
  for (long number = 0; number < count; ++number) {
    SCOPED_TRACE(number);
    const long before = faults::live_blocks();
    {
      Mesh mesh;
      prepare(mesh);
      {
        const faults::AllocationFaults armed(number, faults::Extent::kAllFromThere);
        EXPECT_THROW(scanmesh::insert_soup(mesh, soup_), std::bad_alloc);
      }
      release(mesh);
    }
    ASSERT_EQ(faults::live_blocks(), before);
  }
}

}  // namespace
