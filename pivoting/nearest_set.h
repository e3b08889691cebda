// The k nearest seen so far in a search.
#ifndef SCANMESH_PIVOTING_NEAREST_SET_H
#define SCANMESH_PIVOTING_NEAREST_SET_H

#include <algorithm>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

namespace scanmesh {

// What isn't a number is farther than everything else.
inline double comparable(double distance) {
  return distance == distance ? distance : std::numeric_limits<double>::infinity();
}

// For the few neighbours of a pivot search: the first k are sorted at once, when there are so many,
// and a later one moves up to its place. That beats a heap.
class SmallNearestSet {
 public:
  static constexpr int kMost = 64;

  explicit SmallNearestSet(int k) : k_(k) {
    distance_[0] = -1;  // stops every move
  }

  bool full() const { return size_ == k_; }
  int size() const { return size_; }
  // The farthest one of a full set.
  double worst() const { return distance_[size_]; }

  // Drops the farthest one when there are too many.
  void add(double distance, int32_t number) {
    if (size_ < k_) {
      ++size_;
      distance_[size_] = comparable(distance);
      number_[size_] = number;
      if (size_ == k_) sort();
      return;
    }
    if (!(distance < worst())) return;
    int i = size_;
    for (; distance_[i - 1] > distance; --i) {
      distance_[i] = distance_[i - 1];
      number_[i] = number_[i - 1];
    }
    distance_[i] = distance;
    number_[i] = number;
  }

  template <typename Visit>
  void farthest_first(Visit visit) {
    if (!full()) sort();
    for (int i = 0; i < size_; ++i) visit(i, number_[size_ - i]);
  }

 private:
  // By counting those in front of each, which needs no branches.
  void sort() {
    double distance[kMost];
    int32_t number[kMost];
    std::copy_n(distance_ + 1, size_, distance);
    std::copy_n(number_ + 1, size_, number);
    uint64_t taken = 0;
    for (int i = 0; i < size_; ++i) {
      int64_t before = 0;
      for (int j = 0; j < size_; ++j) before += distance[j] < distance[i] ? 1 : 0;
      // Equal ones follow one another.
      while ((taken >> before & 1U) != 0) ++before;
      taken |= uint64_t{1} << before;
      distance_[before + 1] = distance[i];
      number_[before + 1] = number[i];
    }
  }

  const int k_;
  int size_ = 0;
  double distance_[kMost + 1];  // from 1 on
  int32_t number_[kMost + 1];
};

class LargeNearestSet {
 public:
  explicit LargeNearestSet(int k) : k_(static_cast<std::size_t>(k)) {}

  bool full() const { return heap_.size() == k_; }
  int size() const { return static_cast<int>(heap_.size()); }
  double worst() const { return heap_.front().first; }

  void add(double distance, int32_t number) {
    if (full()) {
      if (!(distance < worst())) return;
      std::pop_heap(heap_.begin(), heap_.end());
      heap_.back() = {distance, number};
    } else {
      heap_.emplace_back(comparable(distance), number);
    }
    std::push_heap(heap_.begin(), heap_.end());
  }

  template <typename Visit>
  void farthest_first(Visit visit) {
    std::sort_heap(heap_.begin(), heap_.end());
    for (int i = 0; i < size(); ++i) {
      visit(i, heap_[heap_.size() - 1 - static_cast<std::size_t>(i)].second);
    }
  }

 private:
  std::size_t k_;
  std::vector<std::pair<double, int32_t>> heap_;
};

}  // namespace scanmesh

#endif  // SCANMESH_PIVOTING_NEAREST_SET_H
