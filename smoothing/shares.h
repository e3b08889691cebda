// Dividing a phase's work among workers that may not all run at once: there are more of them than
// processors, and with fixed shares a processor would wait while another works off two.
#ifndef SCANMESH_SMOOTHING_SHARES_H
#define SCANMESH_SMOOTHING_SHARES_H

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <vector>

#include "core/parallel.h"

namespace scanmesh {

// A half-open range of record numbers.
struct Range {
  int begin;
  int end;
};

// The items of a stage in equal ranges, one per worker, and how far each has been taken. The ranges
// are cut into chunks, which keep their numbers through all phases.
class Shares {
 public:
  Shares(int items, int workers)
      : items_(items), workers_(workers), taken_(2 * static_cast<std::size_t>(workers)) {
    first_chunk_.push_back(0);
    for (int i = 0; i < workers; ++i) {
      const Range range = range_of(i);
      first_chunk_.push_back(first_chunk_.back() + (range.end - range.begin + kChunk - 1) / kChunk);
    }
  }

  int chunks() const { return first_chunk_.back(); }

 private:
  friend class Worker;

  // Long enough to make taking one cheap, short enough to end a phase together.
  static constexpr int kChunk = 1024;

  Range range_of(int worker) const {
    const auto range = slice(items_, workers_, worker);
    return {static_cast<int>(range.first), static_cast<int>(range.second)};
  }
  int worker_at(int begin) const {
    int worker = 0;
    while (worker + 1 < workers_ && range_of(worker).begin < begin) ++worker;
    return worker;
  }
  std::atomic<int>& taken(int turn, int worker) {
    return taken_[static_cast<std::size_t>(turn * workers_ + worker)];
  }

  int items_;
  int workers_;
  std::vector<int> first_chunk_;  // of each range, and one past the last
  // Chunks taken of each range, for this phase and the next by turns.
  std::vector<std::atomic<int>> taken_;
};

// One worker's view of the shares. It goes through its own range first, and then helps the others.
class Worker {
 public:
  // `begin` is where its range begins.
  Worker(Shares& shares, int begin) : shares_(shares), own_(shares.worker_at(begin)) {}

  // Calls body(range, chunk) until every chunk is taken. All workers run through the same phases,
  // with a barrier between any two: nobody looks at the counters of the phase before any more, and
  // they are made ready for the one to come.
  template <typename Body>
  void take_chunks(Body body) {
    for (int i = 0; i < shares_.workers_; ++i) shares_.taken(1 - turn_, i) = 0;
    for (int i = 0; i < shares_.workers_; ++i) {
      const int owner = (own_ + i) % shares_.workers_;
      const Range range = shares_.range_of(owner);
      const int first = shares_.first_chunk_[static_cast<std::size_t>(owner)];
      const int count = shares_.first_chunk_[static_cast<std::size_t>(owner) + 1] - first;
      for (int k = 0; (k = shares_.taken(turn_, owner).fetch_add(1)) < count;) {
        const int begin = range.begin + k * Shares::kChunk;
        body(Range{begin, std::min(begin + Shares::kChunk, range.end)}, first + k);
      }
    }
    turn_ = 1 - turn_;
  }

 private:
  Shares& shares_;
  int own_;
  int turn_ = 0;
};

}  // namespace scanmesh

#endif  // SCANMESH_SMOOTHING_SHARES_H
