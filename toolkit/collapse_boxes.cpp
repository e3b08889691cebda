#include "toolkit/collapse_boxes.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "toolkit/validity.h"
#include "toolkit/vector_math.h"

namespace scanmesh {
namespace {

// 20 bits of each coordinate, by turns.
std::uint64_t spread(double share) {
  auto bits = static_cast<std::uint64_t>(std::clamp(share, 0.0, 1.0) * 1048575.0);
  bits = (bits | bits << 32) & 0x001f00000000ffffULL;
  bits = (bits | bits << 16) & 0x001f0000ff0000ffULL;
  bits = (bits | bits << 8) & 0x100f00f00f00f00fULL;
  bits = (bits | bits << 4) & 0x10c30c30c30c30c3ULL;
  return (bits | bits << 2) & 0x1249249249249249ULL;
}

struct Extent {
  Point low{std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity(),
            std::numeric_limits<double>::infinity()};
  Point high{-low.x, -low.y, -low.z};

  void add(const Point& p) {
    low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
    high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
  }
  std::uint64_t code(const Point& p) const {
    const Point size = high - low;
    const double longest = std::max({size.x, size.y, size.z, std::numeric_limits<double>::min()});
    const Point at = (p - low) * (1 / longest);
    return spread(at.x) | spread(at.y) << 1 | spread(at.z) << 2;
  }
};

bool equal(const FloatBox& a, const FloatBox& b) {
  return a.min == b.min && a.max == b.max;
}

}  // namespace

CollapseBoxes::CollapseBoxes(const CollapseMesh& mesh)
    : mesh_(mesh), place_(mesh.triangles.size(), -1) {
  build();
}

FloatBox CollapseBoxes::leaf_box(std::uint32_t node) const {
  FloatBox box;
  const std::size_t first = kLeafSize * static_cast<std::size_t>(node - leaves_);
  for (std::size_t i = first; i < first + kLeafSize; ++i) {
    if (items_[i] >= 0) box.add(boxes_[i]);
  }
  return box;
}

std::vector<std::int32_t> CollapseBoxes::along_the_curve() const {
  std::vector<std::pair<std::uint64_t, std::int32_t>> order;
  order.reserve(static_cast<std::size_t>(mesh_.live()));
  Extent extent;
  for (std::size_t f = 0; f < mesh_.triangles.size(); ++f) {
    const auto face = static_cast<std::int32_t>(f);
    if (!mesh_.alive(face) || !finite_corners(mesh_.points, mesh_.triangle(face))) continue;
    for (const std::int32_t v : mesh_.triangle(face)) extent.add(mesh_.point(v));
    order.emplace_back(0, face);
  }
  const auto count = static_cast<std::int64_t>(order.size());
#pragma omp parallel for schedule(static)
  for (std::int64_t i = 0; i < count; ++i) {
    auto& [code, face] = order[static_cast<std::size_t>(i)];
    const Triangle& t = mesh_.triangle(face);
    code = extent.code((mesh_.point(t[0]) + mesh_.point(t[1]) + mesh_.point(t[2])) * (1.0 / 3));
  }
  std::sort(order.begin(), order.end());
  std::vector<std::int32_t> faces(order.size());
  for (std::size_t i = 0; i < faces.size(); ++i) faces[i] = order[i].second;
  return faces;
}

void CollapseBoxes::build() {
  const std::vector<std::int32_t> order = along_the_curve();
  std::fill(place_.begin(), place_.end(), -1);
  leaves_ = 1;
  while (leaves_ * kLeafSize < order.size()) leaves_ *= 2;
  items_.assign(leaves_ * kLeafSize, -1);
  boxes_.assign(items_.size(), {});
  for (std::size_t i = 0; i < order.size(); ++i) {
    // Spread over all leaves, so that the tree is full.
    std::size_t free = i * leaves_ / order.size() * kLeafSize;
    while (items_[free] >= 0) ++free;
    items_[free] = order[i];
    place_[static_cast<std::size_t>(order[i])] = static_cast<std::int32_t>(free);
    boxes_[free] = box_of(mesh_.points, mesh_.triangle(order[i]));
  }
  nodes_.assign(2 * static_cast<std::size_t>(leaves_), {});
  for (std::uint32_t i = 2 * leaves_ - 1; i > 0; --i) {
    if (i >= leaves_) {
      nodes_[i] = leaf_box(i);
    } else {
      nodes_[i] = nodes_[2 * i];
      if (nodes_[2 * i + 1].min[0] <= nodes_[2 * i + 1].max[0]) nodes_[i].add(nodes_[2 * i + 1]);
    }
  }
  built_for_ = mesh_.live();
}

void CollapseBoxes::follow(std::int32_t f) {
  const std::int32_t place = place_[static_cast<std::size_t>(f)];
  if (place < 0) return;
  const auto at = static_cast<std::size_t>(place);
  if (mesh_.alive(f)) {
    boxes_[at] = box_of(mesh_.points, mesh_.triangle(f));
  } else {
    items_[at] = -1;
    place_[static_cast<std::size_t>(f)] = -1;
  }
  auto node = static_cast<std::uint32_t>(at / kLeafSize) + leaves_;
  FloatBox box = leaf_box(node);
  while (node > 0 && !equal(nodes_[node], box)) {
    nodes_[node] = box;
    node /= 2;
    if (node == 0) break;
    box = nodes_[2 * node];
    const FloatBox& other = nodes_[2 * node + 1];
    if (other.min[0] <= other.max[0]) box.add(other);
  }
}

void CollapseBoxes::follow(const EdgeStar& star) {
  if (2 * mesh_.live() < built_for_) return build();
  for (const auto* faces : {&star.shared, &star.at_first, &star.at_second}) {
    for (const std::int32_t f : *faces) follow(f);
  }
}

}  // namespace scanmesh
