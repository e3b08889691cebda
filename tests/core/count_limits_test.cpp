// Counts beyond 32 bits, on stores whose table names one block many times over.
#include <gtest/gtest.h>

#include <limits>
#include <new>

#include "scanmesh/mesh.h"

namespace {

using Mesh_M::Mesh;

constexpr int kMost = std::numeric_limits<int32_t>::max();

// Makes a store count `count` records that are all the records of its first block.
template <typename Record>
class Repeated {
 public:
  Repeated(MemS::MemAllo<Record>& records, int64_t count) : records_(records) {
    for (int32_t i = 1; i < records_.block_capacity; ++i) records_.block[i] = records_.block[0];
    records_.block_no = static_cast<int32_t>((count - 1) / records_.block_size);
    records_.block_used = static_cast<int32_t>((count - 1) % records_.block_size) + 1;
  }
  ~Repeated() {
    for (int32_t i = 1; i < records_.block_capacity; ++i) records_.block[i] = nullptr;
    records_.block_no = 0;
    records_.block_used = 0;
  }
  Repeated(const Repeated&) = delete;
  Repeated& operator=(const Repeated&) = delete;

 private:
  MemS::MemAllo<Record>& records_;
};

TEST(CountLimits, elements_are_numbered_by_32_bits) {
  MemS::MemAllo<int> values;
  values.inalize(1000, 10);
  values.block_no = kMost / 1000;
  values.block_used = kMost % 1000;
  EXPECT_EQ(values.size(), kMost);
  EXPECT_THROW(values.allocate_mem(), std::bad_alloc);
  EXPECT_EQ(values.size(), kMost);
  ++values.block_used;
  EXPECT_THROW(values.size(), std::bad_alloc);
  values.block_no = 0;
  values.block_used = 0;
  values.free();
}

TEST(CountLimits, a_run_may_be_as_long_as_a_block) {
  MemS::MemAllo<int> values;
  values.inalize(8, 1);
  values.allocate_mem(3);
  int* const run = values.allocate_mem(8);
  for (int i = 0; i < 8; ++i) run[i] = i;
  EXPECT_EQ(run, values.block[1]);
  EXPECT_EQ(values.allocate_mem(8), values.block[2]);
  values.free();
}

class ReadOutLimits : public testing::Test {
 protected:
  static constexpr int kBlock = 1000;
  static constexpr int kTable = 1100000;

  ReadOutLimits() {
    MemS::Point3v<float> p{0, 0, 0};
    mesh_.vertex.inalize(kBlock, 1);
    mesh_.edge.inalize(kBlock, kTable);
    mesh_.face.inalize(&mesh_.vertex, &mesh_.edge, kBlock, kTable);
    for (auto& corner : corner_) corner = mesh_.vertex.insert_vert(p);
  }

  Mesh mesh_;
  Mesh_R::_vert* corner_[3];
};

TEST_F(ReadOutLimits, two_numbers_per_edge_fit_or_nothing_is_made) {
  for (int i = 0; i < kBlock; ++i) mesh_.edge.insert_edge(corner_[0], corner_[1]);
  const Repeated<Mesh_R::_edge> many(mesh_.edge.records, int64_t{1} << 30);
  int n = 7;
  EXPECT_THROW(mesh_.get_edge_index(n), std::bad_alloc);
  EXPECT_EQ(n, 7);
}

TEST_F(ReadOutLimits, three_numbers_per_face_fit_or_nothing_is_made) {
  MemS::Point3v<float> normal{0, 0, 1};
  for (int i = 0; i < kBlock; ++i) {
    mesh_.face.insert_face(corner_[0], corner_[1], corner_[2], nullptr, nullptr, nullptr, normal);
  }
  const Repeated<Mesh_R::_face> many(mesh_.face.records, kMost / 3 + 1);
  int n = 7;
  Mesh_R::_face** faces = nullptr;
  EXPECT_THROW(mesh_.get_face_index(faces, n, 1), std::bad_alloc);
  EXPECT_EQ(n, 7);
  EXPECT_EQ(faces, nullptr);
}

}  // namespace
