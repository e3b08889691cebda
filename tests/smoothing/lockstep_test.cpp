#include "smoothing/lockstep.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <vector>

namespace {

using scanmesh::Barrier;
using scanmesh::Lane;
using scanmesh::Lockstep;

Barrier barrier_of(Lane& lane) {
  return {&lane.to_worker, &lane.to_main};
}

TEST(Lockstep, no_worker_passes_a_barrier_before_all_have_arrived) {
  for (const int workers : {1, 2, 7}) {
    Lockstep lanes(workers);
    std::vector<int> cells(static_cast<std::size_t>(workers), 0);
    std::atomic<int> wrong{0};
    lanes.share(workers);
    lanes.start([&](Lane& lane) {
      for (int round = 1; round <= 50; ++round) {
        cells[static_cast<std::size_t>(lane.begin)] = round;
        barrier_of(lane).arrive();
        for (const int cell : cells) wrong += cell != round;
        barrier_of(lane).arrive();
      }
    });
    for (int round = 0; round < 50; ++round) lanes.cross(2);
    lanes.finish();
    EXPECT_EQ(wrong, 0);
  }
}

TEST(Lockstep, last_worker_takes_the_rest) {
  Lockstep lanes(3);
  std::vector<int> taken(8, 0);
  lanes.share(2);  // fewer than workers
  lanes.start([&](Lane& lane) {
    const int first = lane.end - lane.begin;
    barrier_of(lane).arrive();
    for (int i = lane.begin; i < lane.end; ++i) ++taken[static_cast<std::size_t>(i)];
    if (lane.end == 8) taken[0] += 10 * first;
  });
  lanes.cross([&] { lanes.share(8); });
  lanes.finish();
  EXPECT_EQ(taken, (std::vector<int>{21, 1, 1, 1, 1, 1, 1, 1}));
}

TEST(Lockstep, failing_worker_is_reported_and_holds_nobody_up) {
  Lockstep lanes(3);
  lanes.share(3);
  std::atomic<int> finished{0};
  lanes.start([&](Lane& lane) {
    barrier_of(lane).arrive();
    if (lane.begin == 1) throw std::runtime_error("no memory");
    barrier_of(lane).arrive();
    ++finished;
  });
  lanes.cross(2);
  EXPECT_THROW(lanes.finish(), std::runtime_error);
}

TEST(Lockstep, workers_run_to_their_end_when_the_main_thread_fails) {
  std::atomic<int> finished{0};
  const auto run = [&] {
    Lockstep lanes(3);
    lanes.start([&](Lane& lane) {
      for (int i = 0; i < 5; ++i) barrier_of(lane).arrive();
      ++finished;
    });
    lanes.cross();
    lanes.cross([] { throw std::runtime_error("callback"); });
  };
  EXPECT_THROW(run(), std::runtime_error);
  EXPECT_EQ(finished, 3);
}

TEST(RunSlices, covers_everything_once) {
  for (const int runs : {1, 2, 7}) {
    for (const int items : {0, 3, 100}) {
      std::vector<int> seen(static_cast<std::size_t>(items), 0);
      scanmesh::run_slices(items, runs, [&](std::ptrdiff_t begin, std::ptrdiff_t end) {
        for (auto i = begin; i < end; ++i) ++seen[static_cast<std::size_t>(i)];
      });
      EXPECT_EQ(seen, std::vector<int>(static_cast<std::size_t>(items), 1));
    }
  }
}

TEST(RunSlices, passes_an_exception_on) {
  EXPECT_THROW(scanmesh::run_slices(4, 4,
                                    [](std::ptrdiff_t begin, std::ptrdiff_t) {
                                      if (begin == 2) throw std::runtime_error("share");
                                    }),
               std::runtime_error);
}

}  // namespace
