#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <numeric>
#include <vector>

#include "scanmesh/internal.h"

namespace Mesh_M {

struct ThreadPoolAccess {
  static void set_limit(ThreadPool& pool, uint64_t limit) { pool.queue_limit = limit; }
  static std::size_t queued(ThreadPool& pool) {
    const std::lock_guard<std::mutex> lock(pool.queue_lock);
    return pool.tasks.size();
  }
  static void stop(ThreadPool& pool) {
    const std::lock_guard<std::mutex> lock(pool.queue_lock);
    pool.stop = true;
  }
  // As the destructor does, but the pool stays for those who wait at it.
  static void shut_down(ThreadPool& pool) {
    std::unique_lock<std::mutex> lock(pool.queue_lock);
    pool.shut_down(lock);
  }
};

}  // namespace Mesh_M

namespace {

using Mesh_M::ThreadPool;
using Mesh_M::ThreadPoolAccess;
using Semap::Semaphore;

TEST(ThreadPool, returns_results_through_futures) {
  ThreadPool pool(2, 3);
  std::vector<std::future<int>> results;
  for (int i = 0; i < 100; ++i) results.push_back(pool.enqueue([](int x) { return x * x; }, i));
  for (int i = 0; i < 100; ++i) EXPECT_EQ(results[static_cast<std::size_t>(i)].get(), i * i);
}

TEST(ThreadPool, binds_member_functions) {
  struct Sum {
    int total = 0;
    void add(int x) { total += x; }
  } sum;
  ThreadPool pool(2, 1);
  pool.enqueue(&Sum::add, &sum, 5).get();
  EXPECT_EQ(sum.total, 5);
}

TEST(ThreadPool, destruction_runs_everything_that_is_queued) {
  std::atomic<int> ran{0};
  {
    ThreadPool pool(2, 2);
    for (int i = 0; i < 500; ++i) pool.enqueue([&ran] { ++ran; });
  }
  EXPECT_EQ(ran, 500);
}

TEST(ThreadPool, an_empty_pool_never_runs_a_task_and_ends_at_once) {
  std::future<int> never;
  {
    ThreadPool pool(2, 0);
    never = pool.enqueue([] { return 1; });
  }
  EXPECT_THROW(never.get(), std::future_error);
}

TEST(ThreadPool, enqueue_blocks_while_the_queue_is_full) {
  Semaphore started;
  Semaphore go_on;
  ThreadPool pool(2, 1);
  ThreadPoolAccess::set_limit(pool, 2);
  pool.enqueue([&] {
    started.signal();
    go_on.wait();
  });
  started.wait();
  pool.enqueue([] {});
  pool.enqueue([] {});
  std::atomic<bool> entered{false};
  std::thread late([&] {
    pool.enqueue([] {});
    entered = true;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_FALSE(entered);
  EXPECT_EQ(ThreadPoolAccess::queued(pool), 2U);
  go_on.signal();
  late.join();
  EXPECT_TRUE(entered);
}

TEST(ThreadPool, a_blocked_enqueue_raises_when_the_pool_stops) {
  ThreadPool pool(2, 0);
  ThreadPoolAccess::set_limit(pool, 1);
  pool.enqueue([] {});
  std::promise<bool> raised;
  std::future<bool> answer = raised.get_future();
  std::thread late([&] {
    try {
      pool.enqueue([] {});
      raised.set_value(false);
    } catch (const std::runtime_error&) {
      raised.set_value(true);
    }
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_EQ(answer.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
  ThreadPoolAccess::shut_down(pool);
  const bool answered = answer.wait_for(std::chrono::seconds(20)) == std::future_status::ready;
  EXPECT_TRUE(answered);
  if (!answered) std::abort();  // the thread would wait for ever
  EXPECT_TRUE(answer.get());
  late.join();
}

TEST(ThreadPool, enqueue_on_a_stopped_pool_raises) {
  ThreadPool pool(2, 0);
  ThreadPoolAccess::stop(pool);
  try {
    pool.enqueue([] {});
    FAIL();
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(), "enqueue on stopped ThreadPool");
  }
}

TEST(ThreadPool, an_exception_goes_to_its_future_and_the_worker_lives) {
  ThreadPool pool(2, 1);
  auto failing = pool.enqueue([]() -> int { throw std::out_of_range("x"); });
  auto fine = pool.enqueue([] { return 3; });
  EXPECT_THROW(failing.get(), std::out_of_range);
  EXPECT_EQ(fine.get(), 3);
}

TEST(ThreadPool, many_short_lives_leave_no_worker_behind) {
  std::atomic<int> ran{0};
  for (int i = 0; i < 200; ++i) {
    ThreadPool pool(2, 5);
    pool.enqueue([&ran] { ++ran; });
  }
  EXPECT_EQ(ran, 200);
}

TEST(Semaphore, two_signals_pay_for_two_waits) {
  Semaphore semaphore;
  semaphore.signal();
  semaphore.signal();
  semaphore.wait();
  semaphore.wait();
  std::atomic<bool> passed{false};
  std::thread third([&] {
    semaphore.wait();
    passed = true;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_FALSE(passed);
  semaphore.signal();
  third.join();
  EXPECT_TRUE(passed);
}

TEST(Semaphore, pairs_of_them_keep_workers_and_main_thread_in_step) {
  constexpr int kWorkers = 3;
  std::vector<Semaphore> done(kWorkers);
  std::vector<Semaphore> next(kWorkers);
  std::vector<int> value(kWorkers, 0);
  ThreadPool pool(2, kWorkers);
  for (int w = 0; w < kWorkers; ++w) {
    pool.enqueue([&, w] {
      for (int round = 0; round < 50; ++round) {
        ++value[static_cast<std::size_t>(w)];
        done[static_cast<std::size_t>(w)].signal();
        next[static_cast<std::size_t>(w)].wait();
      }
    });
  }
  for (int round = 1; round <= 50; ++round) {
    for (Semaphore& s : done) s.wait();
    EXPECT_EQ(std::accumulate(value.begin(), value.end(), 0), kWorkers * round);
    for (Semaphore& s : next) s.signal();
  }
}

TEST(Slices, cover_everything_and_the_last_takes_the_rest) {
  for (const int items : {0, 1, 6, 7, 100}) {
    for (const int runs : {1, 2, 3, 7}) {
      std::ptrdiff_t end = 0;
      for (int i = 0; i < runs; ++i) {
        const auto range = scanmesh::slice(items, runs, i);
        EXPECT_EQ(range.first, end);
        if (i + 1 < runs) {
          EXPECT_EQ(range.second - range.first, items / runs);
        }
        end = range.second;
      }
      EXPECT_EQ(end, items);
    }
  }
}

}  // namespace
