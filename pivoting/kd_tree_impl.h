// Building and searching KdT::KdTree.
#ifndef SCANMESH_PIVOTING_KD_TREE_IMPL_H
#define SCANMESH_PIVOTING_KD_TREE_IMPL_H

#include <algorithm>
#include <cassert>
#include <limits>
#include <utility>

#include "pivoting/lanes.h"
#include "pivoting/nearest_set.h"
#include "scanmesh/kd_tree.h"

namespace KdT {

namespace kd_limits {
constexpr int kHistogramFrom = 129;    // points from which on a histogram pays
constexpr int kCountedUpTo = 8;        // points up to which counting beats sorting
constexpr int kLongestDescent = 1000;  // nodes
constexpr int kMostPops = 10000;
constexpr int kBlock = 16;  // nodes of a subtree that is searched as a whole
}  // namespace kd_limits

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
    open(right, rest);
    open(first + 1, below);
  }

  // Deviations are taken from the first point, which is near enough to the mean for the sums.
  static Extent measure(const Item* items, int count) {
    Extent extent;
    double sum[D] = {};
    double squares[D] = {};
    for (int d = 0; d < D; ++d) extent.low[d] = extent.high[d] = items[0].at[d];
    for (int i = 1; i < count; ++i) {
      for (int d = 0; d < D; ++d) {
        const float at = items[i].at[d];
        const double deviation = static_cast<double>(at) - items[0].at[d];
        sum[d] += deviation;
        squares[d] += deviation * deviation;
        extent.low[d] = at < extent.low[d] ? at : extent.low[d];
        extent.high[d] = at > extent.high[d] ? at : extent.high[d];
      }
    }
    for (int d = 0; d < D; ++d) extent.spread[d] = squares[d] - sum[d] * sum[d] / count;
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

  // What isn't a number counts as above all numbers, so that there is an order at all.
  static bool lies_below(float a, float b) { return a < b || (a == a && b != b); }

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

// What the two forms of a search share.
template <typename T, int D>
class KdTree<T, D>::Search {
 public:
  Search(KdTree& tree, T& query) : tree_(tree), nodes_(tree.nodes_.data()), query_(query) {
    for (int d = 0; d < D; ++d) {
      at_[d] = query[d];
      along_[d] = tree.along_[d].data();
    }
  }

 protected:
  static float square(float difference) { return difference * difference; }

  float along_axis(const Node& node) const { return square(at_[node.split_dim] - node.at); }

  double distance(int32_t number) const {
    double sum = 0;
    for (int d = 0; d < D; ++d) sum += static_cast<double>(square(at_[d] - along_[d][number]));
    return sum;
  }

  bool lies_left(const Node& node) const { return node.at > at_[node.split_dim]; }

  // When a node's plane lies beyond the worst of k, neither its own point is looked at nor its far
  // side. This is the near side, or 0 where that lies beyond, too. When the near side is missing
  // the other one is tried all the same.
  int32_t near_side(int32_t number, double worst) const {
    const Node& node = nodes_[number];
    const float q = at_[node.split_dim];
    if (q >= node.at && node.right != 0) {
      return !(q > node.max_val) || square(q - node.max_val) <= worst ? node.right : 0;
    }
    return q >= node.min_val || square(q - node.min_val) < worst ? tree_.left(number) : 0;
  }

  KdTree& tree_;
  const Node* const nodes_;
  T& query_;
  float at_[D];
  const float* along_[D];
};

// Node by node, as the limits count, and with the caller's metrics where there are some.
template <typename T, int D>
class KdTree<T, D>::PlainSearch : public KdTree<T, D>::Search {
 public:
  using Search::Search;

  template <typename Best>
  bool run(Best& best) {
    if (!descend(best)) return false;
    for (int pops = 0; waiting_ > 0 && pops < kd_limits::kMostPops; ++pops) {
      const int32_t number = stack_[--waiting_];
      if (!best.full() || best.worst() > axis_metric(number)) {
        best.add(metric(number), number);
        push(this->tree_.left(number));
        push(this->nodes_[number].right);
      } else {
        push(this->near_side(number, best.worst()));
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
      const Node& node = this->nodes_[number];
      const bool left = this->lies_left(node);
      push(left ? node.right : this->tree_.left(number));
      number = left ? this->tree_.left(number) : node.right;
      if (number == 0) return true;
    }
    return false;
  }

  void push(int32_t number) {
    stack_[waiting_] = number;
    waiting_ += number != 0 ? 1 : 0;
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

  int waiting_ = 0;
  // Each pop takes one and leaves two at most.
  int32_t stack_[kd_limits::kLongestDescent + kd_limits::kMostPops + 2];
};

// The same search, with less work for the same result:
// - A subtree on the far side of a plane beyond the worst of k holds nothing nearer. The plain form
//   goes through it as far as nodes split on other dimensions; here it is dropped, and those nodes
//   count as popped.
// - Small subtrees are taken as a whole, all their points at once, without a look at their nodes,
//   which all count as popped.
// So the count is never too small, and whoever stays within the limits here does so node by node.
template <typename T, int D>
class KdTree<T, D>::QuickSearch : public KdTree<T, D>::Search {
 public:
  using Search::Search;

  // False when a limit may have been reached: then the plain form has to tell.
  template <typename Best>
  bool run(Best& best) {
    if (!descend(best)) return false;
    while (waiting_ > 0) {
      const Side side = stack_[--waiting_];
      const Node& node = this->nodes_[side.number];
      if (best.full() && best.worst() < side.gap && pops_ + node.crossed[side.dim] <= kSpendable) {
        pops_ += node.crossed[side.dim];
      } else if (node.size <= kd_limits::kBlock) {
        pops_ += node.size;
        add_block(best, side.number);
      } else {
        ++pops_;
        if (!go_on(best, side, node)) return false;
      }
    }
    return pops_ <= kd_limits::kMostPops;
  }

 private:
  // A subtree that waits, with the widest gap to it along one dimension, squared.
  struct Side {
    int32_t number;
    int32_t dim;
    float gap;
  };

  template <typename Best>
  bool go_on(Best& best, const Side& side, const Node& node) {
    if (pops_ > kd_limits::kMostPops || waiting_ + 2 > kMostWaiting) return false;
    const float gap = this->along_axis(node);
    if (best.full() && !(best.worst() > gap)) {
      push({this->near_side(side.number, best.worst()), side.dim, side.gap});
      return true;
    }
    best.add(this->distance(side.number), side.number);
    const Side left{this->tree_.left(side.number), side.dim, side.gap};
    const Side right{node.right, side.dim, side.gap};
    const bool lies_left = this->lies_left(node);
    push(lies_left ? left : beyond(left, node, gap));
    push(lies_left ? beyond(right, node, gap) : right);
    return true;
  }

  // The same subtree behind one plane more.
  static Side beyond(const Side& side, const Node& node, float gap) {
    return gap > side.gap ? Side{side.number, node.split_dim, gap} : side;
  }

  // The path is added from its end: nearer ones first, which costs a sorted set next to nothing.
  template <typename Best>
  bool descend(Best& best) {
    int32_t path[kMostWaiting];
    int reached = 0;
    int32_t number = 0;
    while (number != 0 || reached == 0) {
      const Node& node = this->nodes_[number];
      if (node.size <= kd_limits::kBlock) {
        pops_ = node.size;
        add_block(best, number);
        break;
      }
      if (reached == kMostWaiting) return false;
      path[reached++] = number;
      const bool left = this->lies_left(node);
      push({left ? node.right : this->tree_.left(number), node.split_dim, this->along_axis(node)});
      number = left ? this->tree_.left(number) : node.right;
    }
    while (reached-- > 0) best.add(this->distance(path[reached]), path[reached]);
    return true;
  }

  // Only the few points that may be among the best are looked at one by one.
  template <typename Best>
  void add_block(Best& best, int32_t first) {
    const float* along[D];
    for (int d = 0; d < D; ++d) along[d] = this->along_[d] + first;
    // Sums in float are off by less than the margin.
    const float limit = best.full() ? static_cast<float>(best.worst()) * (1 + kMargin) : kAll;
    float rough[kd_limits::kBlock];
    uint32_t nearer = scanmesh::lanes_within(along, this->at_, limit, rough);
    if (!best.full()) nearer = ~uint32_t{0};
    nearer &= (uint32_t{2} << (this->nodes_[first].size - 1)) - 1;
    for (; nearer != 0; nearer &= nearer - 1) {
      const int32_t number = first + scanmesh::lowest_bit(nearer);
      best.add(this->distance(number), number);
    }
  }

  void push(const Side& side) {
    // Taken up soon, and mostly not in the cache.
    scanmesh::prefetch(this->nodes_ + side.number);
    stack_[waiting_] = side;
    waiting_ += side.number != 0 ? 1 : 0;
  }

  static constexpr float kMargin = 1e-6F;
  static constexpr float kAll = std::numeric_limits<float>::infinity();
  // What would cost more is rather gone through: node by node it mostly costs far less.
  static constexpr int kSpendable = kd_limits::kMostPops * 4 / 5;
  static constexpr int kMostWaiting = 250;  // ordinary trees are a tenth as deep

  int pops_ = 0;
  int waiting_ = 0;
  Side stack_[kMostWaiting + 1];
};

template <typename T, int D>
void KdTree<T, D>::build_tree(T* points, int count, Distance distance_hook,
                              AxisDistance axis_hook) {
  assert(points != nullptr && count > 0);
  free_tree();
  own_metrics_ = !distance_hook && !axis_hook;
  distance = distance_hook ? std::move(distance_hook) : Distance(&metric_distance);
  axis_distance = axis_hook ? std::move(axis_hook) : AxisDistance(&metric_axis_distance);
  if (points != nullptr && count > 0) Builder(*this, points, count).run(points);
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
