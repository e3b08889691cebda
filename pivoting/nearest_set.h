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

// Kept sorted: for the few neighbours of a pivot search that beats a heap.
class SmallNearestSet {
 public:
  static constexpr int kMost = 64;

  explicit SmallNearestSet(int k) : k_(k) {}

  bool full() const { return size_ == k_; }
  int size() const { return size_; }
  // The farthest one.
  double worst() const { return distance_[size_ - 1]; }

  // Drops the farthest one when there are too many.
  void add(double distance, int32_t number) {
    distance = comparable(distance);
    int i = size_;
    if (size_ < k_) {
      ++size_;
    } else if (distance >= distance_[--i]) {
      return;
    }
    for (; i > 0 && distance_[i - 1] > distance; --i) {
      distance_[i] = distance_[i - 1];
      number_[i] = number_[i - 1];
    }
    distance_[i] = distance;
    number_[i] = number;
  }

  template <typename Visit>
  void farthest_first(Visit visit) const {
    for (int i = 0; i < size_; ++i) visit(i, number_[size_ - 1 - i]);
  }

 private:
  const int k_;
  int size_ = 0;
  double distance_[kMost];
  int32_t number_[kMost];
};

class LargeNearestSet {
 public:
  explicit LargeNearestSet(int k) : k_(static_cast<std::size_t>(k)) {}

  bool full() const { return heap_.size() == k_; }
  int size() const { return static_cast<int>(heap_.size()); }
  double worst() const { return heap_.front().first; }

  void add(double distance, int32_t number) {
    distance = comparable(distance);
    if (full()) {
      if (distance >= worst()) return;
      std::pop_heap(heap_.begin(), heap_.end());
      heap_.back() = {distance, number};
    } else {
      heap_.emplace_back(distance, number);
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
