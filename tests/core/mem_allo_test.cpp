#include "scanmesh/mem_allo.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace {

using MemS::MemAllo;

struct Counted {
  static int live;
  int value = 7;
  Counted() { ++live; }
  ~Counted() { --live; }
};
int Counted::live = 0;

TEST(MemAllo, default_construction_sets_sizes_and_allocates_nothing) {
  MemAllo<int> array;
  EXPECT_EQ(array.block_size, 100000);
  EXPECT_EQ(array.block_capacity, 1000);
  EXPECT_EQ(array.block, nullptr);
}

TEST(MemAllo, inalize_makes_a_zeroed_table_and_block_0) {
  MemAllo<int> array;
  array.inalize(10, 4);
  EXPECT_EQ(array.size(), 0);
  EXPECT_NE(array.block[0], nullptr);
  for (int i = 1; i < 4; ++i) EXPECT_EQ(array.block[i], nullptr);
  array.free();
}

TEST(MemAllo, size_runs_on_without_a_jump_when_a_block_is_full) {
  MemAllo<int> array;
  array.inalize(10, 4);
  for (int i = 0; i < 10; ++i) array.allocate_mem() = i;
  EXPECT_EQ(array.size(), 10);
  EXPECT_EQ(array.block_no, 0);
  int& next = array.allocate_mem();
  EXPECT_EQ(array.size(), 11);
  EXPECT_EQ(&next, &array.block[1][0]);
  array.free();
}

TEST(MemAllo, a_full_table_triples_and_keeps_every_address) {
  MemAllo<int> array;
  array.inalize(2, 2);
  std::vector<int*> addresses;
  for (int i = 0; i < 14; ++i) {
    int& element = array.allocate_mem();
    element = i;
    addresses.push_back(&element);
  }
  EXPECT_EQ(array.block_capacity, 18);
  for (int i = 0; i < 14; ++i) {
    EXPECT_EQ(&array[i], addresses[static_cast<std::size_t>(i)]);
    EXPECT_EQ(array[i], i);
  }
  array.free();
}

TEST(MemAllo, a_run_that_would_end_at_the_end_of_a_block_moves_on) {
  MemAllo<int> array;
  array.inalize(10, 4);
  int* const first = array.allocate_mem(8);
  int* const second = array.allocate_mem(2);
  EXPECT_EQ(first, array.block[0]);
  EXPECT_EQ(second, array.block[1]);
  EXPECT_EQ(array.size(), 12);
  array.free();
}

TEST(MemAllo, single_elements_fill_the_last_slot_of_a_block) {
  MemAllo<int> array;
  array.inalize(10, 4);
  array.allocate_mem(9);
  EXPECT_EQ(&array.allocate_mem(), &array.block[0][9]);
  array.free();
}

TEST(MemAllo, elements_are_constructed_when_handed_out) {
  Counted::live = 0;
  MemAllo<Counted> array;
  array.inalize(100, 4);
  EXPECT_EQ(Counted::live, 0);
  EXPECT_EQ(array.allocate_mem().value, 7);
  EXPECT_EQ(Counted::live, 1);
  array.free();
  EXPECT_EQ(Counted::live, 0);
}

TEST(MemAllo, elements_come_back_after_clear_mem_as_they_were) {
  MemAllo<Counted> array;
  array.inalize(4, 4);
  array.allocate_mem().value = 42;
  array.clear_mem();
  EXPECT_EQ(array.size(), 0);
  EXPECT_EQ(array.allocate_mem().value, 42);
  array.free();
}

TEST(MemAllo, free_releases_the_high_blocks_of_a_cleared_array) {
  Counted::live = 0;
  MemAllo<Counted> array;
  array.inalize(2, 8);
  for (int i = 0; i < 7; ++i) array.allocate_mem();
  array.clear_mem();
  EXPECT_EQ(array.block_top, 3);
  array.allocate_mem();
  array.free();
  EXPECT_EQ(Counted::live, 0);
  EXPECT_EQ(array.block, nullptr);
  EXPECT_EQ(array.block_top, 0);
}

TEST(MemAllo, clear_mem_keeps_the_highest_block_ever_reached) {
  MemAllo<int> array;
  array.inalize(2, 8);
  for (int i = 0; i < 7; ++i) array.allocate_mem();
  array.clear_mem();
  array.allocate_mem();
  array.clear_mem();
  EXPECT_EQ(array.block_top, 3);
  array.free();
}

TEST(MemAllo, free_twice_and_inalize_again_work) {
  MemAllo<int> array;
  array.free();
  array.inalize(3, 3);
  array.free();
  array.free();
  array.inalize(5, 2);
  EXPECT_EQ(array.block_size, 5);
  array.allocate_mem() = 1;
  array.free();
}

TEST(MemAllo, holds_arrays_of_three_floats) {
  MemAllo<float[3]> array;
  array.inalize(10, 4);
  for (int i = 0; i < 25; ++i) {
    float(&p)[3] = array.allocate_mem();
    p[0] = p[1] = p[2] = static_cast<float>(i);
  }
  EXPECT_EQ(array[24][2], 24.0F);
  array.free();
}

#if SCANMESH_MAPS_BLOCKS
// A large block that went back to malloc would stay in the process, with all its pages.
TEST(MemAllo, free_gives_a_large_block_back_to_the_system) {
  MemAllo<int> array;
  array.inalize(1 << 20, 2);
  for (int i = 0; i < 1 << 20; ++i) array.allocate_mem() = i;
  constexpr std::uintptr_t kPage = 4096;
  void* const page =
      reinterpret_cast<void*>(reinterpret_cast<std::uintptr_t>(&array[1 << 19]) & ~(kPage - 1));
  unsigned char resident = 0;
  ASSERT_EQ(mincore(page, kPage, &resident), 0);
  EXPECT_EQ(resident & 1, 1);
  array.free();
  EXPECT_EQ(mincore(page, kPage, &resident), -1) << "still mapped";
}
#endif

}  // namespace
