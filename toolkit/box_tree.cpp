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

// The bits of a 21-bit number, two zeros after each.
std::uint64_t spread(std::uint64_t bits) {
  bits = (bits | bits << 32) & 0x1f00000000ffffULL;
  bits = (bits | bits << 16) & 0x1f0000ff0000ffULL;
  bits = (bits | bits << 8) & 0x100f00f00f00f00fULL;
  bits = (bits | bits << 4) & 0x10c30c30c30c30c3ULL;
  return (bits | bits << 2) & 0x1249249249249249ULL;
}

// Where a box's middle lies on the curve that fills the whole box (Morton 1966): what is close on
// it is close in space.
class Curve {
 public:
  explicit Curve(const std::vector<FloatBox>& boxes) {
    FloatBox whole;
    for (const FloatBox& box : boxes) whole.add(box);
    for (std::size_t axis = 0; axis < 3; ++axis) {
      low_[axis] = static_cast<double>(whole.min[axis]);
      reach_ = std::max(reach_, static_cast<double>(whole.max[axis]) - low_[axis]);
    }
    scale_ = reach_ > 0 && std::isfinite(reach_) ? kCells / reach_ : 0;
  }

  std::uint64_t place(const FloatBox& box) const {
    std::uint64_t place = 0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const double middle =
          0.5 * (static_cast<double>(box.min[axis]) + static_cast<double>(box.max[axis]));
      const double cell = std::clamp((middle - low_[axis]) * scale_, 0.0, kCells);
      place |= spread(static_cast<std::uint64_t>(cell)) << axis;
    }
    return place;
  }

 private:
  static constexpr double kCells = (1 << 21) - 1;
  std::array<double, 3> low_{};
  double reach_ = 0;
  double scale_ = 0;
};

using Placed = std::pair<std::uint64_t, std::int32_t>;  // place on the curve, number of the box

// By digits of eleven bits, low ones first: linear, and boxes of one place keep their order.
void sort_by_place(std::vector<Placed>& placed) {
  constexpr int kBits = 11;
  constexpr std::size_t kDigits = std::size_t{1} << kBits;
  std::vector<Placed> other(placed.size());
  for (int shift = 0; shift < 63; shift += kBits) {
    std::array<std::size_t, kDigits + 1> first{};
    for (const Placed& one : placed) ++first[(one.first >> shift & (kDigits - 1)) + 1];
    if (std::find(first.begin(), first.end(), placed.size()) != first.end()) continue;  // all alike
    for (std::size_t d = 1; d <= kDigits; ++d) first[d] += first[d - 1];
    for (const Placed& one : placed) other[first[one.first >> shift & (kDigits - 1)]++] = one;
    placed.swap(other);
  }
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
                 std::vector<std::int32_t> items) {
  const auto count = static_cast<std::int32_t>(items.size());
  if (count == 0) return;
  std::vector<FloatBox> boxes(items.size());
#pragma omp parallel for schedule(static) if (count > kTaskSize)
  for (std::int32_t i = 0; i < count; ++i) {
    const auto at = static_cast<std::size_t>(i);
    boxes[at] = box_of(points, triangles[static_cast<std::size_t>(items[at])]);
  }
  const Curve curve(boxes);
  std::vector<Placed> placed(items.size());
#pragma omp parallel for schedule(static) if (count > kTaskSize)
  for (std::int32_t i = 0; i < count; ++i) {
    placed[static_cast<std::size_t>(i)] = {curve.place(boxes[static_cast<std::size_t>(i)]), i};
  }
  sort_by_place(placed);
  boxes_.resize(items.size());
  items_.resize(items.size());
  for (std::size_t i = 0; i < placed.size(); ++i) {
    const auto from = static_cast<std::size_t>(placed[i].second);
    boxes_[i] = boxes[from];
    items_[i] = items[from];
  }
  nodes_.resize(static_cast<std::size_t>(node_count(count)));
#pragma omp parallel if (count > kTaskSize)
#pragma omp single
  build(0, count, 0);
}

// Builds the tree over items [begin, end) from node `at` on; returns the first node after it.
std::int32_t BoxTree::build(std::int32_t begin, std::int32_t end, std::int32_t at) {
  Node& here = nodes_[static_cast<std::size_t>(at)];
  const std::int32_t count = end - begin;
  if (count <= kLeafSize) {
    here.first = begin;
    here.count = count;
    here.second = -1;
    for (std::int32_t i = begin; i < end; ++i) here.box.add(boxes_[static_cast<std::size_t>(i)]);
    return at + 1;
  }
  const std::int32_t half = begin + count / 2;
  const std::int32_t first = at + 1;
  const std::int32_t second = first + node_count(half - begin);
#pragma omp task if (count > kTaskSize)
  build(begin, half, first);
  const std::int32_t after = build(half, end, second);
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
