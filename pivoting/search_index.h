// The tree behind flann_kdtree::KdTreeX_Static.
#ifndef SCANMESH_PIVOTING_SEARCH_INDEX_H
#define SCANMESH_PIVOTING_SEARCH_INDEX_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "core/vector_math.h"
#include "scanmesh/static_kd_tree.h"

namespace flann_kdtree {

struct Interval {
  float low;
  float high;
};
struct BoundingBox {
  Interval axis[3];
};

class SearchIndex {
 public:
  static constexpr std::size_t leaf_max_size = 10;
  static constexpr int dim = 3;

  // A leaf covers positions [first, second) of vind; an inner node has the nodes `first` and
  // `second` as its children.
  struct Node {
    int32_t divfeat;  // kLeaf in a leaf
    float divlow;     // where the first child's box ends on divfeat
    float divhigh;    // where the second one's begins
    uint32_t first;
    uint32_t second;
  };
  static constexpr int32_t kLeaf = -1;

  std::vector<uint64_t> vind;  // point numbers, in the order of the leaves
  std::vector<Node> nodes;     // the root is the first one
  std::size_t size = 0;
  std::size_t size_at_index_build = 0;
  BoundingBox root_bbox{};

  void build(const XCloud& cloud);
  // Of the points in vind; raises std::runtime_error when there are none.
  BoundingBox computeBoundingBox(const XCloud& cloud) const;

  // Feeds `result` with the points around `at`, nearer boxes first. `result` tells worst(), takes
  // add(distance, position) and ends the search by answering false.
  template <typename Result>
  void search(const scanmesh::Vec3f& at, float eps, Result& result) const;

 private:
  class Divider;

  template <typename Result>
  bool search_node(uint32_t number, const float at[3], float least, float rest[3], float factor,
                   Result& result) const;
  template <typename Result>
  bool search_leaf(const Node& leaf, const float at[3], Result& result) const;

  // Coordinates in the order of vind, and some room behind them.
  std::vector<float> along_[3];
};

// Distances are computed for a whole leaf at once, whatever lies behind its end.
constexpr std::size_t kLanes = 12;
static_assert(kLanes >= SearchIndex::leaf_max_size, "a leaf fits");

template <typename Result>
void SearchIndex::search(const scanmesh::Vec3f& query, float eps, Result& result) const {
  const float at[3] = {query.x, query.y, query.z};
  float rest[3] = {0, 0, 0};
  float least = 0;
  for (int d = 0; d < dim; ++d) {
    const Interval& box = root_bbox.axis[d];
    if (at[d] < box.low) rest[d] = (at[d] - box.low) * (at[d] - box.low);
    if (at[d] > box.high) rest[d] = (at[d] - box.high) * (at[d] - box.high);
    least += rest[d];
  }
  search_node(0, at, least, rest, 1 + eps, result);
}

template <typename Result>
bool SearchIndex::search_leaf(const Node& leaf, const float at[3], Result& result) const {
  const float* const x = along_[0].data() + leaf.first;
  const float* const y = along_[1].data() + leaf.first;
  const float* const z = along_[2].data() + leaf.first;
  float distance[kLanes];
  for (std::size_t i = 0; i < kLanes; ++i) {
    const float dx = at[0] - x[i];
    const float dy = at[1] - y[i];
    const float dz = at[2] - z[i];
    distance[i] = dx * dx + dy * dy + dz * dz;
  }
  const uint32_t count = leaf.second - leaf.first;
  for (uint32_t i = 0; i < count; ++i) {
    if (distance[i] < result.worst() && !result.add(distance[i], leaf.first + i)) return false;
  }
  return true;
}

template <typename Result>
bool SearchIndex::search_node(uint32_t number, const float at[3], float least, float rest[3],
                              float factor, Result& result) const {
  const Node& node = nodes[number];
  if (node.divfeat == kLeaf) return search_leaf(node, at, result);
  const int d = node.divfeat;
  const float from_low = at[d] - node.divlow;
  const float from_high = at[d] - node.divhigh;
  const bool first_is_near = from_low + from_high < 0;
  const float gap = first_is_near ? from_high : from_low;
  const float cut = gap * gap;
  const uint32_t near = first_is_near ? node.first : node.second;
  const uint32_t far = first_is_near ? node.second : node.first;
  if (!search_node(near, at, least, rest, factor, result)) return false;
  const float before = rest[d];
  const float beyond = least + cut - before;
  rest[d] = cut;
  bool goes_on = true;
  if (result.worst() >= beyond * factor) {
    goes_on = search_node(far, at, beyond, rest, factor, result);
  }
  rest[d] = before;
  return goes_on;
}

}  // namespace flann_kdtree

#endif  // SCANMESH_PIVOTING_SEARCH_INDEX_H
