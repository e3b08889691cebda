// A hierarchy of boxes over triangles: who may meet whom, answered without looking at all pairs.
#ifndef SCANMESH_TOOLKIT_BOX_TREE_H
#define SCANMESH_TOOLKIT_BOX_TREE_H

#include <array>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

#include "scanmesh/toolkit/triangle_mesh.h"

namespace scanmesh {

// A box of floats, rounded outwards, so that nothing is missed.
struct FloatBox {
  std::array<float, 3> min{{1, 1, 1}};
  std::array<float, 3> max{{-1, -1, -1}};  // below min: empty

  void add(const FloatBox& other);
  bool meets(const FloatBox& other) const {
    return min[0] <= other.max[0] && other.min[0] <= max[0] && min[1] <= other.max[1] &&
           other.min[1] <= max[1] && min[2] <= other.max[2] && other.min[2] <= max[2];
  }
};

FloatBox box_of(const std::vector<Point>& points, const Triangle& t);

// Binary, halves of a sequence along a curve that fills space, up to four triangles in a leaf, in
// one array in depth-first order. Eigen's KdBVH answers the same questions, but it copies each
// object, has no query of a tree against itself in parts that two processors can share, and takes
// doubles: three times the memory for what is looked at most.
class BoxTree {
 public:
  BoxTree() = default;
  // Over the triangles named; those must be finite. Keeps a copy of their boxes, not of them.
  BoxTree(const std::vector<Point>& points, const std::vector<Triangle>& triangles,
          std::vector<std::int32_t> items);

  // Calls visit(item) for each item whose box meets the box; stops when visit returns false.
  template <typename Visit>
  void for_each_meeting(const FloatBox& box, Visit visit) const;

  // Calls accept(box) for nodes and visit(item) where it says yes: for rays and distances.
  template <typename Accept, typename Visit>
  void descend(Accept accept, Visit visit) const;

  // Visits items by bound(box), small bounds first in each node; visit(item) returns the largest
  // bound that is of interest from then on.
  template <typename Bound, typename Visit>
  void nearest_first(Bound bound, Visit visit) const;

  // Two nodes that together stand for part of all pairs of items with meeting boxes.
  using NodePair = std::pair<std::int32_t, std::int32_t>;
  // At least `wanted` parts where there are so many, in a fixed order; together they hold each
  // unordered pair once.
  std::vector<NodePair> parts(std::size_t wanted) const;
  // Calls visit(item, item) for each pair of the part.
  template <typename Visit>
  void for_each_pair(NodePair part, Visit visit) const;

  std::size_t size() const { return items_.size(); }
  const std::vector<std::int32_t>& items() const { return items_; }

 private:
  struct Node {
    FloatBox box;
    std::int32_t second;  // of an inner node: the second child; the first is the next node
    std::int32_t first;   // of a leaf: its first item; -1 in an inner node
    std::int32_t count;
  };

  std::int32_t build(std::int32_t begin, std::int32_t end, std::int32_t at);
  void split_part(NodePair part, std::vector<NodePair>& out) const;
  template <typename Visit>
  void pairs_of_leaves(const Node& a, const Node& b, bool same, Visit& visit) const;

  const Node& node(std::int32_t i) const { return nodes_[static_cast<std::size_t>(i)]; }

  std::vector<Node> nodes_;
  std::vector<std::int32_t> items_;
  std::vector<FloatBox> boxes_;  // of the items
};

template <typename Accept, typename Visit>
void BoxTree::descend(Accept accept, Visit visit) const {
  if (nodes_.empty()) return;
  std::array<std::int32_t, 64> stack;  // medians: the depth is the logarithm of a 32-bit count
  std::size_t depth = 0;
  stack[depth++] = 0;
  while (depth > 0) {
    const std::int32_t at = stack[--depth];
    const Node& here = node(at);
    if (!accept(here.box)) continue;
    if (here.first < 0) {
      stack[depth++] = here.second;
      stack[depth++] = at + 1;
      continue;
    }
    for (std::int32_t i = here.first; i < here.first + here.count; ++i) {
      if (accept(boxes_[static_cast<std::size_t>(i)])) visit(items_[static_cast<std::size_t>(i)]);
    }
  }
}

template <typename Bound, typename Visit>
void BoxTree::nearest_first(Bound bound, Visit visit) const {
  if (nodes_.empty()) return;
  auto limit = bound(nodes_[0].box);
  std::array<std::pair<decltype(limit), std::int32_t>, 64> stack;
  std::size_t depth = 0;
  stack[depth++] = {limit, 0};
  limit = std::numeric_limits<decltype(limit)>::infinity();
  while (depth > 0) {
    const auto [least, at] = stack[--depth];
    if (least > limit) continue;
    const Node& here = node(at);
    if (here.first < 0) {
      const auto first = bound(node(at + 1).box);
      const auto second = bound(node(here.second).box);
      // The nearer child is taken from the stack first.
      stack[depth++] =
          first < second ? std::make_pair(second, here.second) : std::make_pair(first, at + 1);
      stack[depth++] =
          first < second ? std::make_pair(first, at + 1) : std::make_pair(second, here.second);
      continue;
    }
    for (std::int32_t i = here.first; i < here.first + here.count; ++i) {
      if (bound(boxes_[static_cast<std::size_t>(i)]) <= limit) {
        limit = visit(items_[static_cast<std::size_t>(i)]);
      }
    }
  }
}

template <typename Visit>
void BoxTree::for_each_meeting(const FloatBox& box, Visit visit) const {
  bool go_on = true;
  descend([&](const FloatBox& other) { return go_on && box.meets(other); },
          [&](std::int32_t item) { go_on = go_on && visit(item); });
}

template <typename Visit>
void BoxTree::pairs_of_leaves(const Node& a, const Node& b, bool same, Visit& visit) const {
  for (std::int32_t i = a.first; i < a.first + a.count; ++i) {
    const FloatBox& box = boxes_[static_cast<std::size_t>(i)];
    for (std::int32_t j = same ? i + 1 : b.first; j < b.first + b.count; ++j) {
      if (box.meets(boxes_[static_cast<std::size_t>(j)])) {
        visit(items_[static_cast<std::size_t>(i)], items_[static_cast<std::size_t>(j)]);
      }
    }
  }
}

template <typename Visit>
void BoxTree::for_each_pair(NodePair part, Visit visit) const {
  std::vector<NodePair> stack{part};
  while (!stack.empty()) {
    const NodePair here = stack.back();
    stack.pop_back();
    const Node& a = node(here.first);
    const Node& b = node(here.second);
    const bool same = here.first == here.second;
    if (!same && !a.box.meets(b.box)) continue;
    if (a.first >= 0 && b.first >= 0) {
      pairs_of_leaves(a, b, same, visit);
    } else {
      split_part(here, stack);
    }
  }
}

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_BOX_TREE_H
