// A hierarchy of boxes over triangles that change shape and go, one at a time.
#ifndef SCANMESH_TOOLKIT_COLLAPSE_BOXES_H
#define SCANMESH_TOOLKIT_COLLAPSE_BOXES_H

#include <array>
#include <cstdint>
#include <vector>

#include "toolkit/box_tree.h"
#include "toolkit/collapse_mesh.h"

namespace scanmesh {

// A full binary tree over the triangles in the order of a curve that fills space (Morton's), four
// to a leaf; its shape stays, its boxes follow. Built anew where half of its triangles are gone.
class CollapseBoxes {
 public:
  // As FloatBox::meets, all six comparisons at once: which of them fails can't be foretold.
  static bool meet(const FloatBox& a, const FloatBox& b) {
    return (a.min[0] <= b.max[0]) & (b.min[0] <= a.max[0]) & (a.min[1] <= b.max[1]) &
           (b.min[1] <= a.max[1]) & (a.min[2] <= b.max[2]) & (b.min[2] <= a.max[2]);
  }

  explicit CollapseBoxes(const CollapseMesh& mesh);

  // After triangles around a vertex changed or went.
  void follow(const EdgeStar& star);
  const FloatBox& box(std::int32_t f) const {
    return boxes_[static_cast<std::size_t>(place_[static_cast<std::size_t>(f)])];
  }

  // Calls visit(f) for live triangles whose boxes meet the box.
  template <typename Visit>
  void for_each_meeting(const FloatBox& box, Visit visit) const {
    std::array<std::uint32_t, 64> stack;
    std::size_t depth = 0;
    stack[depth++] = 1;
    while (depth > 0) {
      const std::uint32_t at = stack[--depth];
      if (!meet(nodes_[at], box)) continue;
      if (at < leaves_) {
        stack[depth++] = 2 * at + 1;
        stack[depth++] = 2 * at;
        continue;
      }
      const std::size_t first = kLeafSize * static_cast<std::size_t>(at - leaves_);
      for (std::size_t i = first; i < first + kLeafSize; ++i) {
        if (items_[i] >= 0 && meet(boxes_[i], box)) visit(items_[i]);
      }
    }
  }

 private:
  static constexpr std::size_t kLeafSize = 4;

  std::vector<std::int32_t> along_the_curve() const;
  void build();
  void follow(std::int32_t f);
  FloatBox leaf_box(std::uint32_t node) const;

  const CollapseMesh& mesh_;
  std::uint32_t leaves_ = 1;         // a power of two; node i has the children 2 i and 2 i + 1
  std::vector<FloatBox> nodes_;      // leaves last
  std::vector<std::int32_t> items_;  // -1: none
  std::vector<FloatBox> boxes_;      // of the items
  std::vector<std::int32_t> place_;  // per triangle, in items_
  std::int64_t built_for_ = 0;
};

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_COLLAPSE_BOXES_H
