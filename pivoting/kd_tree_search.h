// Searching KdT::KdTree.
#ifndef SCANMESH_PIVOTING_KD_TREE_SEARCH_H
#define SCANMESH_PIVOTING_KD_TREE_SEARCH_H

#include <cstdint>
#include <limits>

#include "pivoting/kd_limits.h"
#include "pivoting/lanes.h"
#include "scanmesh/kd_tree.h"

namespace KdT {

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

}  // namespace KdT

#endif  // SCANMESH_PIVOTING_KD_TREE_SEARCH_H
