// Sheets of samples with round holes, where markers lay.
#ifndef SCANMESH_TESTS_SUPPORT_OCTREE_SHEET_H
#define SCANMESH_TESTS_SUPPORT_OCTREE_SHEET_H

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "tests/support/octree_access.h"

namespace test_support {

// A height field over a grid of cells of edge 0.5, with round holes in it.
class Sheet {
 public:
  using Height = std::function<double(double, double)>;

  explicit Sheet(float root_half = 16, float min_half = 0.25F) {
    tree_.oct_set_min_HalfEdge(min_half, 1);
    Floats centre = {0, 0, 0};
    tree_.oct_initialize(centre.data(), 10000, root_half);
    tree_.inalize_mark();
  }
  ~Sheet() {
    tree_.oct_free();
    tree_.free_mark();
  }
  Sheet(const Sheet&) = delete;
  Sheet& operator=(const Sheet&) = delete;
  Oct_tree_Tri& tree() { return tree_; }

  void sample(double x, double y, double z, Floats normal = {0, 0, 1}, float half = 0.25F,
              short tag = 0) {
    normals_.push_back(std::make_unique<Floats>(normal));
    float p[3] = {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)};
    tree_.oct_insert(p, normals_.back()->data(), half, tag);
  }
  void marker(double x, double y, double z, float radius, Floats normal = {0, 0, 1},
              float half = 0.25F) {
    normals_.push_back(std::make_unique<Floats>(normal));
    float p[3] = {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)};
    tree_.oct_insert_marker(p, normals_.back()->data(), half, radius);
  }
  // Samples at the middles of the cells within `reach` of a place, the nearest first, but none
  // within `hole` of it.
  void ring(
      double hole, double reach, int most,
      const Height& height = [](double, double) { return 0.1; }) {
    std::vector<std::pair<double, std::pair<double, double>>> places;
    for (double x = -reach; x <= reach; x += 0.5) {
      for (double y = -reach; y <= reach; y += 0.5) {
        const double d = std::hypot(x + 0.25, y + 0.25);
        if (d > hole && d <= reach) places.push_back({d, {x + 0.25, y + 0.25}});
      }
    }
    std::sort(places.begin(), places.end());
    for (const auto& place : places) {
      if (most-- == 0) break;
      const auto [x, y] = place.second;
      sample(x, y, height(x, y));
    }
  }
  std::vector<OctNode*> leaves() {
    std::vector<OctNode*> out;
    for (int i = 0; i < tree_.leaves.count; ++i) out.push_back(tree_.leaves.data[i]);
    return out;
  }
  std::vector<OctNode*> new_samples() {
    std::vector<OctNode*> out;
    for (OctNode* leaf : leaves()) {
      if (leaf->tag == 1) out.push_back(leaf);
    }
    return out;
  }
  const Floats& normal(std::size_t i) const { return *normals_[i]; }

 private:
  Oct_tree_Tri tree_;
  std::vector<std::unique_ptr<Floats>> normals_;
};

}  // namespace test_support

#endif  // SCANMESH_TESTS_SUPPORT_OCTREE_SHEET_H
