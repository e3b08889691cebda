// Building and searching KdT::KdTree.
#ifndef SCANMESH_PIVOTING_KD_TREE_IMPL_H
#define SCANMESH_PIVOTING_KD_TREE_IMPL_H

#include <algorithm>
#include <cassert>
#include <limits>
#include <utility>

#include "pivoting/nearest_set.h"
#include "scanmesh/kd_tree.h"

namespace KdT {

namespace kd_limits {
constexpr int kHistogramFrom = 129;    // points from which on a histogram pays
constexpr int kLongestDescent = 1000;  // nodes
constexpr int kMostPops = 10000;
constexpr int kBlock = 16;  // nodes of a subtree that is searched as a whole
}  // namespace kd_limits

// Takes ranges of the points from a stack, finds the median of each and leaves the rest as two
// ranges. The left one comes next, so that a subtree lies in one stretch of the array.
template <typename T, int D>
class KdTree<T, D>::Builder {
 public:
  Builder(KdTree& tree, T* points, int count) : tree_(tree), input_(points) {
    items_.resize(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
      Item& item = items_[static_cast<std::size_t>(i)];
      for (int d = 0; d < D; ++d) item.at[d] = points[i][d];
      item.number = i;
    }
    keys_.reserve(items_.size());
    bins_.resize(static_cast<std::size_t>(tree.bin_count) + 1);
    tree.nodes_.reserve(items_.size());
    tree.points_.reserve(items_.size());
    for (std::vector<float>& along : tree.along_) along.reserve(items_.size() + kd_limits::kBlock);
  }

  void run() {
    open_.push_back({0, static_cast<int32_t>(items_.size()), -1, false});
    while (!open_.empty()) {
      const Range range = open_.back();
      open_.pop_back();
      Item* const items = items_.data() + range.first;
      if (range.count < 2) {
        add_node(range, items[0], 0, items[0].at[0], items[0].at[0]);
      } else {
        split(range, items);
      }
    }
    for (std::vector<float>& along : tree_.along_) along.resize(items_.size() + kd_limits::kBlock);
  }

 private:
  struct Item {
    float at[D];
    int32_t number;  // in the input
  };
  struct Range {
    int32_t first;
    int32_t count;
    int32_t parent;
    bool is_right;
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

  int32_t add_node(const Range& range, const Item& item, int dim, float low, float high) {
    const auto number = static_cast<int32_t>(tree_.nodes_.size());
    tree_.nodes_.push_back({item.at[dim], dim, low, high, range.count, 0});
    for (int d = 0; d < D; ++d) tree_.along_[d].push_back(item.at[d]);
    if (range.is_right) tree_.nodes_[static_cast<std::size_t>(range.parent)].right = number;
    tree_.points_.push_back(input_[item.number]);
    return number;
  }

  void split(const Range& range, Item* items) {
    const Extent extent = measure(items, range.count);
    const int dim = widest(extent);
    const float low = extent.low[dim];
    const float high = extent.high[dim];
    if (!(extent.spread[dim] > 0) && low == high) {
      chain(range, items);
      return;
    }
    // The upper of two middles is the rank counted from 1.
    const int median = select(items, range.count, dim, low, high, (range.count + 1) / 2);
    const int32_t number = add_node(range, items[median], dim, low, high);
    const float at = items[median].at[dim];
    const int rest = range.count - 1;
    items[median] = items[rest];
    const int below = partition(items, rest, dim, at);
    if (below < rest) open_.push_back({range.first + below, rest - below, number, true});
    if (below > 0) open_.push_back({range.first, below, number, false});
  }

  static Extent measure(const Item* items, int count) {
    Extent extent;
    double mean[D] = {};
    for (int d = 0; d < D; ++d) extent.low[d] = extent.high[d] = items[0].at[d];
    for (int i = 0; i < count; ++i) {
      for (int d = 0; d < D; ++d) {
        const float at = items[i].at[d];
        mean[d] += at;
        extent.low[d] = at < extent.low[d] ? at : extent.low[d];
        extent.high[d] = at > extent.high[d] ? at : extent.high[d];
      }
    }
    for (int d = 0; d < D; ++d) {
      mean[d] /= count;
      extent.spread[d] = 0;
    }
    for (int i = 0; i < count; ++i) {
      for (int d = 0; d < D; ++d) {
        const double deviation = items[i].at[d] - mean[d];
        extent.spread[d] += deviation * deviation;
      }
    }
    return extent;
  }

  // A later dimension wins only when strictly wider.
  static int widest(const Extent& extent) {
    int dim = 0;
    for (int d = 1; d < D; ++d) {
      if (extent.spread[d] > extent.spread[dim]) dim = d;
    }
    return dim;
  }

  // Position of an element of that rank, counted from 1, on the dimension.
  int select(const Item* items, int count, int dim, float low, float high, int rank) {
    keys_.clear();
    if (count < kd_limits::kHistogramFrom) {
      for (int i = 0; i < count; ++i) keys_.push_back({items[i].at[dim], i});
    } else {
      rank = narrow_down(items, count, dim, low, high, rank);
    }
    const auto nth = keys_.begin() + (rank - 1);
    std::nth_element(keys_.begin(), nth, keys_.end(), [](const Key& a, const Key& b) {
      // What isn't a number counts as above all numbers, so that there is an order at all.
      return a.value < b.value || (a.value == a.value && b.value != b.value);
    });
    return nth->position;
  }

  // Leaves only the keys of the bin that the rank falls in; returns the rank among them.
  int narrow_down(const Item* items, int count, int dim, float low, float high, int rank) {
    const auto bins = static_cast<std::size_t>(tree_.bin_count);
    std::fill(bins_.begin(), bins_.end(), 0);
    double width = (static_cast<double>(high) - low) / tree_.bin_count;
    if (width == 0) width = 1;
    const double per_width = 1 / width;
    const auto bin_of = [&](const Item& item) {
      const double bin = (static_cast<double>(item.at[dim]) - low) * per_width;
      // The comparison is false for what isn't a number: it goes to the last bin.
      return bin < static_cast<double>(bins) ? static_cast<std::size_t>(bin < 0 ? 0 : bin) : bins;
    };
    for (int i = 0; i < count; ++i) ++bins_[bin_of(items[i])];
    std::size_t bin = 0;
    int before = 0;
    while (before + bins_[bin] < rank) before += bins_[bin++];
    for (int i = 0; i < count; ++i) {
      if (bin_of(items[i]) == bin) keys_.push_back({items[i].at[dim], i});
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
  void chain(Range range, const Item* items) {
    for (; range.count > 0; --range.count, ++items) {
      range.parent = add_node(range, *items, 0, items->at[0], items->at[0]);
      range.is_right = true;
    }
  }

  KdTree& tree_;
  T* const input_;
  std::vector<Item> items_;
  std::vector<Key> keys_;
  std::vector<int32_t> bins_;
  std::vector<Range> open_;
};

// What the two forms of a search share: the query, the nodes that wait, the rules by which they
// are taken up.
template <typename T, int D>
class KdTree<T, D>::Search {
 public:
  Search(KdTree& tree, T& query) : tree_(tree), nodes_(tree.nodes_.data()), query_(query) {
    for (int d = 0; d < D; ++d) at_[d] = query[d];
  }

 protected:
  static double square(float difference) { return difference * difference; }

  double along_axis(const Node& node) const { return square(at_[node.split_dim] - node.at); }

  double distance(int32_t number) const {
    double sum = 0;
    for (int d = 0; d < D; ++d)
      sum += square(at_[d] - tree_.along_[d][static_cast<std::size_t>(number)]);
    return sum;
  }

  void push(int32_t number) {
    stack_[waiting_] = number;
    waiting_ += number != 0 ? 1 : 0;
  }

  // The side of the node on which the query lies first, and pushes the other one.
  int32_t step_down(int32_t number) {
    const Node& node = nodes_[number];
    const int32_t left = tree_.left(number);
    const bool goes_left = node.at > at_[node.split_dim];
    push(goes_left ? node.right : left);
    return goes_left ? left : node.right;
  }

  void push_children(int32_t number) {
    push(tree_.left(number));
    push(nodes_[number].right);
  }

  // The node's plane lies beyond the worst of k, so its own point isn't looked at, nor its far
  // side. When the near side is missing the other one is tried all the same.
  void push_near_side(int32_t number, double worst) {
    const Node& node = nodes_[number];
    const float q = at_[node.split_dim];
    if (q >= node.at && node.right != 0) {
      if (!(q > node.max_val) || square(q - node.max_val) <= worst) push(node.right);
    } else if (const int32_t left = tree_.left(number)) {
      if (q >= node.min_val || square(q - node.min_val) < worst) push(left);
    }
  }

  KdTree& tree_;
  const Node* const nodes_;
  T& query_;
  float at_[D];
  int waiting_ = 0;
  // Each pop takes one and leaves two at most.
  int32_t stack_[kd_limits::kLongestDescent + kd_limits::kMostPops + 2];
};

// Node by node, as the limits count, and with the caller's metrics where there are some.
template <typename T, int D>
class KdTree<T, D>::PlainSearch : public KdTree<T, D>::Search {
 public:
  using Search::Search;

  template <typename Best>
  bool run(Best& best) {
    if (!descend(best)) return false;
    for (int pops = 0; this->waiting_ > 0 && pops < kd_limits::kMostPops; ++pops) {
      const int32_t number = this->stack_[--this->waiting_];
      if (!best.full() || best.worst() > axis_metric(number)) {
        const double distance = metric(number);
        if (!best.full() || best.worst() > distance) best.add(distance, number);
        this->push_children(number);
      } else {
        this->push_near_side(number, best.worst());
      }
    }
    return true;
  }

 private:
  // The way to the query's place; the sides not taken wait, the deepest on top.
  template <typename Best>
  bool descend(Best& best) {
    int32_t number = 0;
    for (int reached = 1; reached <= kd_limits::kLongestDescent; ++reached) {
      best.add(metric(number), number);
      number = this->step_down(number);
      if (number == 0) return true;
    }
    return false;
  }

  double axis_metric(int32_t number) {
    const Node& node = this->nodes_[number];
    if (this->tree_.own_metrics_) return this->along_axis(node);
    return this->tree_.axis_distance(&this->query_, &this->tree_.element(number), node.split_dim);
  }
  double metric(int32_t number) {
    if (this->tree_.own_metrics_) return this->distance(number);
    return this->tree_.distance(&this->query_, &this->tree_.element(number));
  }
};

// The same search with small subtrees taken as a whole: all their points at once, without a look at
// their nodes. The best k are the same after each subtree. Every node of such a subtree counts as
// popped, which is never too few: whoever stays within the limits here does so node by node.
template <typename T, int D>
class KdTree<T, D>::QuickSearch : public KdTree<T, D>::Search {
 public:
  using Search::Search;

  // False when a limit may have been reached: then the plain form has to tell.
  template <typename Best>
  bool run(Best& best) {
    if (!descend(best)) return false;
    int pops = 0;
    while (this->waiting_ > 0) {
      const int32_t number = this->stack_[--this->waiting_];
      const Node& node = this->nodes_[number];
      if (node.size <= kd_limits::kBlock) {
        pops += node.size;
        add_block(best, number);
        continue;
      }
      ++pops;
      if (!best.full() || best.worst() > this->along_axis(node)) {
        const double distance = this->distance(number);
        if (!best.full() || best.worst() > distance) best.add(distance, number);
        this->push_children(number);
      } else {
        this->push_near_side(number, best.worst());
      }
      if (pops > kd_limits::kMostPops) return false;
    }
    return pops <= kd_limits::kMostPops;
  }

 private:
  // The path is added from its end: nearer ones first, which costs a sorted set next to nothing.
  template <typename Best>
  bool descend(Best& best) {
    int32_t path[kd_limits::kLongestDescent];
    int reached = 0;
    int32_t number = 0;
    while (number != 0 || reached == 0) {
      if (this->nodes_[number].size <= kd_limits::kBlock) {
        add_block(best, number);
        break;
      }
      if (reached == kd_limits::kLongestDescent - kd_limits::kBlock) return false;
      path[reached++] = number;
      number = this->step_down(number);
    }
    while (reached > 0) {
      const double distance = this->distance(path[--reached]);
      if (!best.full() || best.worst() > distance) best.add(distance, path[reached]);
    }
    return true;
  }

  template <typename Best>
  void add_block(Best& best, int32_t first) {
    double distance[kd_limits::kBlock] = {};
    for (int d = 0; d < D; ++d) {
      const float* const along = this->tree_.along_[d].data() + first;
      for (int i = 0; i < kd_limits::kBlock; ++i) {
        const float difference = this->at_[d] - along[i];
        const float squared = difference * difference;
        distance[i] += static_cast<double>(squared);
      }
    }
    for (int i = 0, n = this->nodes_[first].size; i < n; ++i) {
      if (!best.full() || best.worst() > distance[i]) best.add(distance[i], first + i);
    }
  }
};

template <typename T, int D>
void KdTree<T, D>::build_tree(T* points, int count, Distance distance_hook,
                              AxisDistance axis_hook) {
  assert(points != nullptr && count > 0);
  free_tree();
  own_metrics_ = !distance_hook && !axis_hook;
  distance = distance_hook ? std::move(distance_hook) : Distance(&metric_distance);
  axis_distance = axis_hook ? std::move(axis_hook) : AxisDistance(&metric_axis_distance);
  if (points != nullptr && count > 0) Builder(*this, points, count).run();
}

template <typename T, int D>
int KdTree<T, D>::find_nearest(T& query, int k, T** results) {
  if (k < 1 || nodes_.empty()) return 0;
  const auto collect = [&](auto& best) {
    best.farthest_first([&](int i, int32_t number) { results[i] = &element(number); });
    return best.size();
  };
  if (own_metrics_ && k <= scanmesh::SmallNearestSet::kMost) {
    scanmesh::SmallNearestSet best(k);
    if (QuickSearch(*this, query).run(best)) return collect(best);
  }
  scanmesh::LargeNearestSet best(k);
  return PlainSearch(*this, query).run(best) ? collect(best) : -1;
}

template <typename T, int D>
void KdTree<T, D>::free_tree() {
  std::vector<Node>().swap(nodes_);
  std::vector<T>().swap(points_);
  for (std::vector<float>& along : along_) std::vector<float>().swap(along);
}

template <typename T, int D>
double KdTree<T, D>::metric_distance(T* a, T* b) {
  double sum = 0;
  for (int d = 0; d < D; ++d) sum += metric_axis_distance(a, b, d);
  return sum;
}

template <typename T, int D>
double KdTree<T, D>::metric_axis_distance(T* a, T* b, int dimension) {
  const float difference = (*a)[dimension] - (*b)[dimension];
  return difference * difference;
}

}  // namespace KdT

#endif  // SCANMESH_PIVOTING_KD_TREE_IMPL_H
