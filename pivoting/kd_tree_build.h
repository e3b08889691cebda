// Building KdT::KdTree.
#ifndef SCANMESH_PIVOTING_KD_TREE_BUILD_H
#define SCANMESH_PIVOTING_KD_TREE_BUILD_H

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

#include "pivoting/kd_limits.h"
#include "pivoting/lanes.h"
#include "scanmesh/kd_tree.h"

namespace KdT {

// Takes ranges of the points from a stack; the median of each goes to the front, what lies below it
// behind, then the rest. So a subtree is a stretch of the array from its root on, and the points
// end up in the order of their nodes.
template <typename T, int D>
class KdTree<T, D>::Builder {
 public:
  Builder(KdTree& tree, T* points, int count) : tree_(tree) {
    items_.resize(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
      Item& item = items_[static_cast<std::size_t>(i)];
      for (int d = 0; d < D; ++d) item.at[d] = points[i][d];
      item.number = i;
    }
    bins_.resize(static_cast<std::size_t>(tree.bin_count) + 1);
    tree.nodes_.resize(items_.size());
  }

  void run(const T* points) {
    open(0, static_cast<int32_t>(items_.size()));
    while (!open_.empty()) {
      const Range range = open_.back();
      open_.pop_back();
      split(range.first, range.count);
    }
    copy_points(points);
    count_crossed();
  }

 private:
  struct Item {
    float at[D];
    int32_t number;  // in the input
  };
  // Of items, and of nodes.
  struct Range {
    int32_t first;
    int32_t count;
  };
  struct Key {
    float value;
    int32_t position;  // in the range
  };
  struct Extent {
    float low[D];
    float high[D];
    double spread[D];  // sums of squared deviations from the mean
  };

  Node& node(int32_t number) { return tree_.nodes_[static_cast<std::size_t>(number)]; }
  Item* items_from(int32_t first) { return items_.data() + first; }

  // A range of one point is a leaf at once.
  void open(int32_t first, int32_t count) {
    if (count > 1) {
      open_.push_back({first, count});
    } else if (count == 1) {
      const float x = items_from(first)->at[0];
      node(first) = {x, 0, x, x, 1, 0, {}};
    }
  }

  void split(int32_t first, int32_t count) {
    Item* const items = items_from(first);
    const Extent extent = measure(items, count);
    const int dim = widest(extent);
    const float low = extent.low[dim];
    const float high = extent.high[dim];
    if (!(extent.spread[dim] > 0) && low == high) {
      chain(first, count);
      return;
    }
    // The upper of two middles is the rank counted from 1.
    std::swap(items[0], items[select(items, count, dim, low, high, (count + 1) / 2)]);
    const float at = items[0].at[dim];
    const int32_t below = partition(items + 1, count - 1, dim, at);
    const int32_t rest = count - 1 - below;
    const int32_t right = first + 1 + below;
    node(first) = {at, dim, low, high, count, rest > 0 ? right : 0, {}};
    if (below == 0) {
      const int32_t run = run_of_ties(items + 1, rest, dim, at);
      if (run > 0) take_run(right, rest, run, node(first));
      open(right + run, rest - run);
      return;
    }
    open(right, rest);
    open(first + 1, below);
  }

  // Deviations are taken from the first point, which is near enough to the mean for the sums.
  static Extent measure(const Item* items, int count) {
    return extent_of(sums_of(items, count), count);
  }

  static Extent extent_of(const scanmesh::PointSums<D>& sums, int count) {
    Extent extent;
    for (int d = 0; d < D; ++d) {
      extent.low[d] = sums.low[d];
      extent.high[d] = sums.high[d];
      extent.spread[d] = sums.squares[d] - sums.sum[d] * sums.sum[d] / count;
    }
    return extent;
  }

  static scanmesh::PointSums<D> sums_of(const Item* items, int count) {
#if defined(__SSE2__)
    if constexpr (D == 3) return scanmesh::sums_of_three(items, count);
#endif
    return scanmesh::sums_of<D>(items, count);
  }

  // A later dimension wins only when strictly wider.
  static int widest(const Extent& extent) {
    int dim = 0;
    for (int d = 1; d < D; ++d) {
      if (extent.spread[d] > extent.spread[dim]) dim = d;
    }
    return dim;
  }

  // What isn't a number counts as above all numbers, so that there is an order at all.
  static bool lies_below(float a, float b) {
    return a < b || (a == a && b != b);
  }

  // Position of an element of that rank, counted from 1, on the dimension.
  int select(const Item* items, int count, int dim, float low, float high, int rank) {
    if (count <= kd_limits::kCountedUpTo) return select_by_counting(items, count, dim, rank);
    keys_.clear();
    if (count < kd_limits::kHistogramFrom) {
      for (int i = 0; i < count; ++i) keys_.push_back({items[i].at[dim], i});
    } else {
      rank = narrow_down(items, count, dim, low, high, rank);
    }
    const auto nth = keys_.begin() + (rank - 1);
    std::nth_element(keys_.begin(), nth, keys_.end(),
                     [](const Key& a, const Key& b) { return lies_below(a.value, b.value); });
    return nth->position;
  }

  static int select_by_counting(const Item* items, int count, int dim, int rank) {
    for (int i = 0; i + 1 < count; ++i) {
      int before = 0;
      for (int j = 0; j < count; ++j) {
        const float a = items[j].at[dim];
        const float b = items[i].at[dim];
        before += (lies_below(a, b) || (j < i && !lies_below(b, a))) ? 1 : 0;
      }
      if (before == rank - 1) return i;
    }
    return count - 1;
  }

  // Leaves only the keys of the bin that the rank falls in; returns the rank among them.
  int narrow_down(const Item* items, int count, int dim, float low, float high, int rank) {
    const float last = static_cast<float>(tree_.bin_count);
    float width = (high - low) / last;
    if (width == 0) width = 1;
    const float per_width = 1 / width;
    std::fill(bins_.begin(), bins_.end(), 0);
    bin_of_.resize(std::max(bin_of_.size(), static_cast<std::size_t>(count)));
    for (int i = 0; i < count; ++i) {
      const float bin = (items[i].at[dim] - low) * per_width;
      // The comparison is false for what isn't a number: it goes to the last bin.
      const auto number = static_cast<int32_t>(bin < last ? bin : last);
      bin_of_[static_cast<std::size_t>(i)] = number;
      ++bins_[static_cast<std::size_t>(number)];
    }
    int32_t bin = 0;
    int before = 0;
    while (before + bins_[static_cast<std::size_t>(bin)] < rank) {
      before += bins_[static_cast<std::size_t>(bin++)];
    }
    for (int i = 0; i < count; ++i) {
      if (bin_of_[static_cast<std::size_t>(i)] == bin) keys_.push_back({items[i].at[dim], i});
    }
    return rank - before;
  }

  // Strictly below in front, ties behind. Every element is exchanged, which costs less than
  // guessing which one has to be.
  static int partition(Item* items, int count, int dim, float at) {
    int below = 0;
    for (int i = 0; i < count; ++i) {
      const Item item = items[i];
      items[i] = items[below];
      items[below] = item;
      below += item.at[dim] < at ? 1 : 0;
    }
    return below;
  }

  // All points are the same: ties go right, so every node has one child, and nothing is left to
  // compare. Splitting step by step would take quadratic time.
  void chain(int32_t first, int32_t count) {
    const float x = items_from(first)->at[0];
    for (; count > 0; --count, ++first) {
      node(first) = {x, 0, x, x, count, count > 1 ? first + 1 : 0, {}};
    }
  }

  // How many of the next nodes have their coordinate on `dim` in common with the one above, each
  // the right child of the other: the wall of a room with a point far behind it. Shorter runs than
  // a way down may be are left to step by step splitting. No point of the range lies below `at`.
  static int run_of_ties(const Item* items, int count, int dim, float at) {
    if (count <= kd_limits::kLongestDescent) return 0;
    const auto is_tie = [dim, at](const Item& item) { return item.at[dim] == at; };
    const auto ties = static_cast<int>(std::count_if(items, items + count, is_tie));
    const int others = count - ties;
    // The median is one of the ties while at least as many of them as of the others are left.
    int shortest = 2 * others - 1;
    if (others == 0 || count - shortest < kd_limits::kLongestDescent) return 0;
    scanmesh::PointSums<D> sums = {};
    for (int i = 0; i < count; ++i) {
      if (!is_tie(items[i])) add_deviations(items[i], items[0], sums);
    }
    // From the last range of the run back to the first, which has all the ties.
    int left = others;
    for (int i = count - 1; i >= 0; --i) {
      if (!is_tie(items[i])) continue;
      add_deviations(items[i], items[0], sums);
      ++left;
      const Extent extent = extent_of(sums, left);
      if (widest(extent) != dim || !std::isfinite(extent.spread[dim])) {
        shortest = std::max(shortest, left);
      }
    }
    const int run = count - shortest;
    return run < kd_limits::kLongestDescent ? 0 : run;
  }

  static void add_deviations(const Item& item, const Item& from, scanmesh::PointSums<D>& sums) {
    for (int d = 0; d < D; ++d) {
      const double x = static_cast<double>(item.at[d]) - static_cast<double>(from.at[d]);
      sums.sum[d] += x;
      sums.squares[d] += x * x;
    }
  }

  // The first ties of the range become nodes, in its order.
  void take_run(int32_t first, int32_t count, int32_t run, const Node& above) {
    Item* const items = items_from(first);
    std::vector<Item> rest;
    rest.reserve(static_cast<std::size_t>(count - run));
    int32_t taken = 0;
    for (int32_t i = 0; i < count; ++i) {
      if (taken < run && items[i].at[above.split_dim] == above.at) {
        items[taken++] = items[i];
      } else {
        rest.push_back(items[i]);
      }
    }
    std::copy(rest.begin(), rest.end(), items + run);
    for (int32_t i = 0; i < run; ++i) {
      node(first + i) = {
          above.at, above.split_dim, above.min_val, above.max_val, count - i, first + i + 1, {}};
    }
  }

  void copy_points(const T* points) {
    tree_.points_.reserve(items_.size());
    for (const Item& item : items_) tree_.points_.push_back(points[item.number]);
    for (int d = 0; d < D; ++d) {
      std::vector<float>& along = tree_.along_[d];
      along.resize(items_.size() + kd_limits::kBlock);
      for (std::size_t i = 0; i < items_.size(); ++i) along[i] = items_[i].at[d];
    }
  }

  // Children come behind their parents, so that one pass from the end on does it.
  void count_crossed() {
    for (int number = tree_.node_count() - 1; number >= 0; --number) {
      Node& root = node(number);
      const int left = tree_.left(number);
      for (int d = 0; d < D; ++d) {
        int nodes = 1;
        if (d != root.split_dim) {
          if (left != 0) nodes += node(left).crossed[d];
          if (root.right != 0) nodes += node(root.right).crossed[d];
        }
        root.crossed[d] = static_cast<uint16_t>(std::min<int>(nodes, kMostCrossed));
      }
    }
  }

  static constexpr int kMostCrossed = std::numeric_limits<uint16_t>::max();

  KdTree& tree_;
  std::vector<Item> items_;
  std::vector<Key> keys_;
  std::vector<int32_t> bins_;    // points in each
  std::vector<int32_t> bin_of_;  // of each point of a range
  std::vector<Range> open_;
};

}  // namespace KdT

#endif  // SCANMESH_PIVOTING_KD_TREE_BUILD_H
