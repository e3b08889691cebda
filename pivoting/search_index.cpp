#include "pivoting/search_index.h"
#include "core/messages.h"

#include <algorithm>
#include <cstdio>
#include <new>
#include <stdexcept>

namespace flann_kdtree {

namespace {

// Dimensions whose box is about as long as the longest one compete by the spread of the points.
constexpr float kAboutAsLong = 0.99999F;

}  // namespace

// Divides ranges of points into nodes. The points are copied, so that a range is read in one go.
class SearchIndex::Divider {
 public:
  Divider(SearchIndex& index, const XCloud& cloud) : index_(index) {
    points_.resize(index.vind.size());
    for (std::size_t i = 0; i < points_.size(); ++i) {
      Point& p = points_[i];
      for (int d = 0; d < dim; ++d) p.at[d] = XPoint::coordinate(cloud.points[index.vind[i]], d);
      p.number = static_cast<uint32_t>(index.vind[i]);
    }
  }

  void run() {
    BoundingBox box = index_.root_bbox;
    divide(0, points_.size(), box);
    for (std::vector<float>& along : index_.along_) along.resize(points_.size() + kLanes);
    for (std::size_t i = 0; i < points_.size(); ++i) {
      index_.vind[i] = points_[i].number;
      for (std::size_t d = 0; d < 3; ++d) index_.along_[d][i] = points_[i].at[d];
    }
  }

 private:
  struct Point {
    float at[3];
    uint32_t number;
  };

  uint32_t divide(std::size_t first, std::size_t end, BoundingBox& box) {
    const auto number = static_cast<uint32_t>(index_.nodes.size());
    index_.nodes.emplace_back();
    if (end - first <= leaf_max_size) {
      index_.nodes[number] = {kLeaf, 0, 0, static_cast<uint32_t>(first),
                              static_cast<uint32_t>(end)};
      box = exact_box(first, end);
      return number;
    }
    float cut = 0;
    const int d = choose_cut(first, end, box, cut);
    const std::size_t middle = first + split_index(first, end, d, cut);
    BoundingBox left = box;
    left.axis[d].high = cut;
    const uint32_t child1 = divide(first, middle, left);
    BoundingBox right = box;
    right.axis[d].low = cut;
    const uint32_t child2 = divide(middle, end, right);
    index_.nodes[number] = {d, left.axis[d].high, right.axis[d].low, child1, child2};
    for (int i = 0; i < dim; ++i) {
      box.axis[i] = {std::min(left.axis[i].low, right.axis[i].low),
                     std::max(left.axis[i].high, right.axis[i].high)};
    }
    return number;
  }

  BoundingBox exact_box(std::size_t first, std::size_t end) const {
    BoundingBox box;
    for (int d = 0; d < dim; ++d) box.axis[d] = spread(first, end, d);
    return box;
  }

  Interval spread(std::size_t first, std::size_t end, int d) const {
    Interval found{points_[first].at[d], points_[first].at[d]};
    for (std::size_t i = first + 1; i < end; ++i) {
      const float at = points_[i].at[d];
      found.low = at < found.low ? at : found.low;
      found.high = at > found.high ? at : found.high;
    }
    return found;
  }

  // The dimension to cut, and where.
  int choose_cut(std::size_t first, std::size_t end, const BoundingBox& box, float& cut) const {
    float longest = box.axis[0].high - box.axis[0].low;
    for (int d = 1; d < dim; ++d) {
      longest = std::max(longest, box.axis[d].high - box.axis[d].low);
    }
    int chosen = 0;
    float widest = -1;
    Interval extent{0, 0};
    for (int d = 0; d < dim; ++d) {
      if (!(box.axis[d].high - box.axis[d].low > kAboutAsLong * longest)) continue;
      const Interval found = spread(first, end, d);
      if (found.high - found.low > widest) {
        chosen = d;
        widest = found.high - found.low;
        extent = found;
      }
    }
    if (widest < 0) extent = spread(first, end, chosen);
    // In double, so that the ends of the float range don't add up to infinity.
    const auto middle =
        static_cast<float>((static_cast<double>(box.axis[chosen].low) + box.axis[chosen].high) / 2);
    cut = middle < extent.low ? extent.low : middle > extent.high ? extent.high : middle;
    return chosen;
  }

  // Puts the values below the cut first, then those equal to it, and tells how many go left.
  std::size_t split_index(std::size_t first, std::size_t end, int d, float cut) {
    Point* const points = points_.data() + first;
    const std::size_t count = end - first;
    const std::size_t below = partition(
        points, count, [&](float at) { return at < cut; }, d);
    const std::size_t up_to =
        below + partition(
                    points + below, count - below, [&](float at) { return at <= cut; }, d);
    const std::size_t half = count / 2;
    if (below > half) return below;
    if (up_to < half) return up_to;
    return half;
  }

  template <typename Below>
  static std::size_t partition(Point* points, std::size_t count, Below is_below, int d) {
    std::size_t below = 0;
    for (std::size_t i = 0; i < count; ++i) {
      const Point point = points[i];
      points[i] = points[below];
      points[below] = point;
      below += is_below(point.at[d]) ? 1 : 0;
    }
    return below;
  }

  SearchIndex& index_;
  std::vector<Point> points_;
};

BoundingBox SearchIndex::computeBoundingBox(const XCloud& cloud) const {
  if (vind.empty()) {
    throw std::runtime_error(
        "[flann_kdtree] computeBoundingBox() called but no data points found.");
  }
  BoundingBox box;
  for (int d = 0; d < dim; ++d) {
    const float at = XPoint::coordinate(cloud.points[vind[0]], d);
    box.axis[d] = {at, at};
  }
  for (const uint64_t i : vind) {
    for (int d = 0; d < dim; ++d) {
      const float at = XPoint::coordinate(cloud.points[i], d);
      box.axis[d].low = std::min(box.axis[d].low, at);
      box.axis[d].high = std::max(box.axis[d].high, at);
    }
  }
  return box;
}

void SearchIndex::build(const XCloud& cloud) {
  try {
    nodes.clear();
    vind.clear();
    vind.reserve(cloud.count);
    for (std::size_t i = 0; i < cloud.count; ++i) {
      // Others are near nothing, and no box could hold them.
      if (scanmesh::finite(cloud.points[i].vert->point)) vind.push_back(i);
    }
    size = size_at_index_build = vind.size();
    if (vind.empty()) return;
    nodes.reserve(vind.size() / 3 + 1);
    root_bbox = computeBoundingBox(cloud);
    Divider(*this, cloud).run();
  } catch (const std::bad_alloc&) {
    // Hosts' logs hold this line.
    scanmesh::print_message(scanmesh::Channel::c_error, "Failed to allocate memory.\n");
    throw;
  }
}

}  // namespace flann_kdtree
