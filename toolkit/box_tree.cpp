#include "toolkit/box_tree.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace scanmesh {
namespace {

constexpr std::int32_t kLeafSize = 4;
// A subtree this large is worth a task of its own.
constexpr std::int32_t kTaskSize = 20000;

float rounded_down(double value) {
  const auto nearest = static_cast<float>(value);
  return static_cast<double>(nearest) <= value
             ? nearest
             : std::nextafter(nearest, -std::numeric_limits<float>::infinity());
}
float rounded_up(double value) {
  return -rounded_down(-value);
}

float middle(const FloatBox& box, std::size_t axis) {
  return box.min[axis] + box.max[axis];
}

// How many nodes the trees over n and over n + 1 items have: the shape depends on the count alone,
// so that subtrees can be built side by side. Halves of both are among n / 2 and n / 2 + 1.
std::pair<std::int32_t, std::int32_t> node_counts(std::int32_t n) {
  if (n < kLeafSize) return {1, 1};
  if (n == kLeafSize) return {1, 3};
  const auto [half, half_and_one] = node_counts(n / 2);
  if (n % 2 == 0) return {1 + 2 * half, 1 + half + half_and_one};
  return {1 + half + half_and_one, 1 + 2 * half_and_one};
}

std::int32_t node_count(std::int32_t items) {
  return node_counts(items).first;
}

std::size_t longest_axis(const std::vector<std::pair<FloatBox, std::int32_t>>& entries,
                         std::int32_t begin, std::int32_t end) {
  std::array<float, 3> low;
  std::array<float, 3> high;
  low.fill(std::numeric_limits<float>::infinity());
  high.fill(-std::numeric_limits<float>::infinity());
  for (std::int32_t i = begin; i < end; ++i) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const float at = middle(entries[static_cast<std::size_t>(i)].first, axis);
      low[axis] = std::min(low[axis], at);
      high[axis] = std::max(high[axis], at);
    }
  }
  std::size_t longest = 0;
  for (std::size_t axis = 1; axis < 3; ++axis) {
    if (high[axis] - low[axis] > high[longest] - low[longest]) longest = axis;
  }
  return longest;
}

}  // namespace

void FloatBox::add(const FloatBox& other) {
  if (min[0] > max[0]) {
    *this = other;
    return;
  }
  for (std::size_t axis = 0; axis < 3; ++axis) {
    min[axis] = std::min(min[axis], other.min[axis]);
    max[axis] = std::max(max[axis], other.max[axis]);
  }
}

FloatBox box_of(const std::vector<Point>& points, const Triangle& t) {
  const Point& a = points[static_cast<std::size_t>(t[0])];
  const Point& b = points[static_cast<std::size_t>(t[1])];
  const Point& c = points[static_cast<std::size_t>(t[2])];
  FloatBox box;
  box.min = {rounded_down(std::min({a.x, b.x, c.x})), rounded_down(std::min({a.y, b.y, c.y})),
             rounded_down(std::min({a.z, b.z, c.z}))};
  box.max = {rounded_up(std::max({a.x, b.x, c.x})), rounded_up(std::max({a.y, b.y, c.y})),
             rounded_up(std::max({a.z, b.z, c.z}))};
  return box;
}

BoxTree::BoxTree(const std::vector<Point>& points, const std::vector<Triangle>& triangles,
                 std::vector<std::int32_t> items)
    : items_(std::move(items)) {
  const auto count = static_cast<std::int32_t>(items_.size());
  if (count == 0) return;
  std::vector<std::pair<FloatBox, std::int32_t>> entries(items_.size());
#pragma omp parallel for schedule(static) if (count > kTaskSize)
  for (std::int32_t i = 0; i < count; ++i) {
    const auto at = static_cast<std::size_t>(i);
    entries[at] = {box_of(points, triangles[static_cast<std::size_t>(items_[at])]), items_[at]};
  }
  nodes_.resize(static_cast<std::size_t>(node_count(count)));
#pragma omp parallel if (count > kTaskSize)
#pragma omp single
  build(0, count, 0, entries);
  boxes_.resize(entries.size());
  for (std::size_t i = 0; i < entries.size(); ++i) {
    boxes_[i] = entries[i].first;
    items_[i] = entries[i].second;
  }
}

// Builds the tree over entries [begin, end) from node `at` on; returns the first node after it.
std::int32_t BoxTree::build(std::int32_t begin, std::int32_t end, std::int32_t at,
                            std::vector<std::pair<FloatBox, std::int32_t>>& entries) {
  Node& here = nodes_[static_cast<std::size_t>(at)];
  const std::int32_t count = end - begin;
  if (count <= kLeafSize) {
    here.first = begin;
    here.count = count;
    here.second = -1;
    for (std::int32_t i = begin; i < end; ++i) {
      here.box.add(entries[static_cast<std::size_t>(i)].first);
    }
    return at + 1;
  }
  const std::size_t axis = longest_axis(entries, begin, end);
  const std::int32_t half = begin + count / 2;
  std::nth_element(entries.begin() + begin, entries.begin() + half, entries.begin() + end,
                   [axis](const auto& a, const auto& b) {
                     const float x = middle(a.first, axis);
                     const float y = middle(b.first, axis);
                     return x < y || (x == y && a.second < b.second);
                   });
  const std::int32_t first = at + 1;
  const std::int32_t second = first + node_count(half - begin);
#pragma omp task shared(entries) if (count > kTaskSize)
  build(begin, half, first, entries);
  const std::int32_t after = build(half, end, second, entries);
#pragma omp taskwait
  here.first = -1;
  here.count = 0;
  here.second = second;
  here.box = node(first).box;
  here.box.add(node(second).box);
  return after;
}

void BoxTree::split_part(NodePair part, std::vector<NodePair>& out) const {
  const Node& a = node(part.first);
  const Node& b = node(part.second);
  if (part.first == part.second) {
    out.emplace_back(part.first + 1, part.first + 1);
    out.emplace_back(a.second, a.second);
    out.emplace_back(part.first + 1, a.second);
    return;
  }
  // The larger one is split: it has the inner nodes' place in the order, so a leaf stays whole.
  const bool split_first =
      b.first >= 0 || (a.first < 0 && a.second - part.first >= b.second - part.second);
  if (split_first) {
    out.emplace_back(part.first + 1, part.second);
    out.emplace_back(a.second, part.second);
  } else {
    out.emplace_back(part.first, part.second + 1);
    out.emplace_back(part.first, b.second);
  }
}

std::vector<BoxTree::NodePair> BoxTree::parts(std::size_t wanted) const {
  std::vector<NodePair> done;
  if (nodes_.empty()) return done;
  std::vector<NodePair> open{{0, 0}};
  while (!open.empty() && done.size() + open.size() < wanted) {
    std::vector<NodePair> next;
    for (const NodePair& part : open) {
      const Node& a = node(part.first);
      const Node& b = node(part.second);
      if (part.first != part.second && !a.box.meets(b.box)) continue;
      if (a.first >= 0 && b.first >= 0) {
        done.push_back(part);
      } else {
        split_part(part, next);
      }
    }
    open.swap(next);
  }
  done.insert(done.end(), open.begin(), open.end());
  return done;
}

}  // namespace scanmesh
