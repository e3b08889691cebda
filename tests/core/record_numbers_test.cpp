#include "core/record_numbers.h"

#include <gtest/gtest.h>

#include "core/adjacency.h"
#include "core/live_records.h"
#include "scanmesh/stores.h"

namespace {

using Mesh_R::_vert;

TEST(RecordNumbers, agrees_with_the_walk_over_the_blocks) {
  Mesh_R::Vertex store;
  store.inalize(10, 3);
  MemS::Point3v<float> point{0, 0, 0};
  for (int i = 0; i < 95; ++i) store.insert_vert(point);
  scanmesh::RecordNumbers<_vert> number(store.records);
  for (int step : {1, 7, 31}) {
    for (int i = 0; i < 95; ++i) {
      const int k = i * step % 95;
      EXPECT_EQ(number(store[k]), k);
      EXPECT_EQ(scanmesh::record_number(store.records, store[k]), k);
    }
  }
  store.free();
}

TEST(RecordNumbers, records_from_elsewhere_are_zero) {
  Mesh_R::Vertex store;
  store.inalize(10, 3);
  MemS::Point3v<float> point{0, 0, 0};
  for (int i = 0; i < 15; ++i) store.insert_vert(point);
  scanmesh::RecordNumbers<_vert> number(store.records);
  _vert stranger;
  EXPECT_EQ(number(&stranger), 0);
  EXPECT_EQ(number(nullptr), 0);
  // Made after the numbers were taken.
  EXPECT_EQ(number(store.insert_vert(point)), 0);
  Mesh_R::Vertex none;
  scanmesh::RecordNumbers<_vert> nothing(none.records);
  EXPECT_EQ(nothing(store[3]), 0);
  store.free();
}

TEST(LiveRecords, ranges_are_walked_block_by_block) {
  Mesh_R::Vertex store;
  store.inalize(10, 3);
  MemS::Point3v<float> point{0, 0, 0};
  for (int i = 0; i < 35; ++i) store.insert_vert(point);
  store[12]->state = Mesh_R::kStateDeleted;
  int next = 7;
  scanmesh::for_each_in(store.records, 7, 33, [&](int i, const _vert& vert) {
    EXPECT_EQ(i, next);
    EXPECT_EQ(&vert, store[i]);
    ++next;
  });
  EXPECT_EQ(next, 33);
  scanmesh::for_each_in(store.records, 5, 5, [&](int, const _vert&) { ++next; });
  EXPECT_EQ(next, 33);
  store.free();
}

}  // namespace
