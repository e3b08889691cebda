// Dividing loops among workers.
#ifndef SCANMESH_CORE_PARALLEL_H
#define SCANMESH_CORE_PARALLEL_H

#include <omp.h>

#include <cstddef>
#include <future>
#include <utility>
#include <vector>

#include "core/platform.h"

namespace scanmesh {

// Run i of n items in `runs` runs of equal length; the last takes the rest.
inline std::pair<std::ptrdiff_t, std::ptrdiff_t> slice(std::ptrdiff_t items, int runs, int i) {
  const std::ptrdiff_t size = items / runs;
  return {size * i, i + 1 == runs ? items : size * (i + 1)};
}

// The task count of the smoothing loops and the simplification: 1.5 x processors, truncated.
inline int one_and_a_half_processors() {
  return static_cast<int>(processor_count() * 1.5);
}

// Calls body(begin, end) for each of the runs of n items, one task per run, and waits for all of
// them. One run needs no task. An exception of a task is passed on.
template <typename Body>
void run_slices(std::ptrdiff_t items, int runs, Body body) {
  if (runs == 1) return body(std::ptrdiff_t{0}, items);
  std::vector<std::future<void>> tasks;
  tasks.reserve(static_cast<std::size_t>(runs));
  for (int i = 0; i < runs; ++i) {
    const auto range = slice(items, runs, i);
    tasks.push_back(
        std::async(std::launch::async, [&body, range] { body(range.first, range.second); }));
  }
  for (std::future<void>& task : tasks) task.get();
}

// A loop over fewer records is over before a second thread has woken up.
constexpr int kShareFrom = 65536;

// Calls body(record) for every record of a store, static schedule, on as many threads as told. The
// thread count is global to the runtime: a later loop that doesn't set it inherits it.
template <typename Array, typename Body>
void parallel_over(Array& records, int threads, Body body) {
  const int count = records.size();
  omp_set_num_threads(threads);
#pragma omp parallel for schedule(static) if (count >= kShareFrom)
  for (int i = 0; i < count; ++i) body(records[i]);
}

}  // namespace scanmesh

#endif  // SCANMESH_CORE_PARALLEL_H
