#include "smoothing/shares.h"

#include <gtest/gtest.h>

#include <set>
#include <vector>

#include "smoothing/lockstep.h"

namespace {

using scanmesh::Lane;
using scanmesh::Range;
using scanmesh::Shares;
using scanmesh::Worker;

TEST(Shares, every_item_is_taken_once_in_every_phase) {
  for (const int workers : {1, 2, 7}) {
    for (const int items : {0, 1, 5, 1024, 5000, 30000}) {
      Shares shares(items, workers);
      std::vector<int> times(static_cast<std::size_t>(items), 0);
      scanmesh::Lockstep lanes(workers);
      lanes.share(items);
      lanes.start([&](Lane& lane) {
        Worker worker(shares, lane.begin);
        for (int phase = 0; phase < 5; ++phase) {
          worker.take_chunks([&](Range range, int) {
            for (int i = range.begin; i < range.end; ++i) ++times[static_cast<std::size_t>(i)];
          });
          lane.to_main.signal();
          lane.to_worker.wait();
        }
      });
      lanes.cross(5);
      lanes.finish();
      EXPECT_EQ(times, std::vector<int>(static_cast<std::size_t>(items), 5));
    }
  }
}

TEST(Shares, chunks_keep_their_numbers_and_ranges) {
  Shares shares(10000, 3);
  Worker worker(shares, 6666);
  std::vector<std::vector<int>> seen(2);
  std::set<int> numbers;
  for (int phase = 0; phase < 2; ++phase) {
    worker.take_chunks([&](Range range, int chunk) {
      auto& out = seen[static_cast<std::size_t>(phase)];
      out.insert(out.end(), {range.begin, range.end, chunk});
      numbers.insert(chunk);
    });
  }
  EXPECT_EQ(seen[0], seen[1]);
  EXPECT_EQ(static_cast<int>(numbers.size()), shares.chunks());
  EXPECT_EQ(*numbers.rbegin(), shares.chunks() - 1);
  // Its own range comes first: 3333 to each, the rest to the last.
  EXPECT_EQ(seen[0][0], 6666);
  // Four chunks of at most 1024 each.
  EXPECT_EQ(shares.chunks(), 12);
}

TEST(Shares, one_worker_does_the_work_of_those_that_are_late) {
  Shares shares(20000, 4);
  Worker worker(shares, 5000);
  int items = 0;
  worker.take_chunks([&](Range range, int) { items += range.end - range.begin; });
  EXPECT_EQ(items, 20000);
  Worker late(shares, 0);
  late.take_chunks([&](Range, int) { ++items; });
  EXPECT_EQ(items, 20000);
}

}  // namespace
