// Reaches the private operations of the octree, and clouds to put into it.
#ifndef SCANMESH_TESTS_SUPPORT_OCTREE_ACCESS_H
#define SCANMESH_TESTS_SUPPORT_OCTREE_ACCESS_H

#include <array>
#include <cmath>
#include <cstddef>
#include <memory>
#include <vector>

#include "octree/field_build.h"
#include "octree/octree_cells.h"
#include "scanmesh/octree.h"
#include "tests/support/shapes.h"

struct OctreeAccess {
  using Node = Oct_tree_Triangulation;
  static Node* insert_voxel(Oct_tree_Tri& tree, float* point, void* normal, float half) {
    return tree.oct_insert(point, normal, false, half);
  }
  static void search_side(Oct_tree_Tri& tree, Node* node, Node** out8, OctreeLeaves2 side) {
    tree.oct_search(node, out8, side);
  }
  static void cut(const Oct_tree_Tri& tree, const Node* node, Bounding_Box& out, int kind) {
    tree.oct_cut(node, out, kind);
  }
  static int verify_voxel(const Oct_tree_Tri& tree) { return tree.verify_voxel(); }
  // `plainly` finds every cell by a search.
  static void build(Oct_tree_Tri& tree, int workers, int real_chunk, int virtual_chunk,
                    bool plainly = false) {
    Oct_tree_Tri::FieldBuild build;
    build.workers = workers;
    build.real_chunk = real_chunk;
    build.virtual_chunk = virtual_chunk;
    build.plainly = plainly;
    tree.build_field(build);
  }
};

namespace test_support {

using OctNode = Oct_tree_Triangulation;
using Floats = std::array<float, 3>;

// A tree that releases itself, and the normals that its samples point at.
class TestTree {
 public:
  explicit TestTree(float half = 8, float min_half = 1, int levels = 0, Floats centre = {0, 0, 0},
                    int point_count = 1000) {
    tree_.oct_set_min_HalfEdge(min_half, levels);
    tree_.oct_initialize(centre.data(), point_count, half);
    tree_.inalize_mark();
  }
  ~TestTree() {
    tree_.oct_free();
    tree_.free_mark();
  }
  TestTree(const TestTree&) = delete;
  TestTree& operator=(const TestTree&) = delete;

  Oct_tree_Tri* operator->() { return &tree_; }
  Oct_tree_Tri& operator*() { return tree_; }
  OctNode* root() { return tree_.node_blocks[0]; }

  // The leaf that this made, or null when the sample was dropped.
  OctNode* sample(Floats p, float half = 1, short tag = 0, Floats normal = {0, 0, 1}) {
    const int before = tree_.leaves.count;
    tree_.oct_insert(p.data(), keep(normal), half, tag);
    return tree_.leaves.count > before ? tree_.leaves.data[before] : nullptr;
  }
  // The marker node, or null when the marker was dropped.
  OctNode* marker(Floats p, float half = 1, float radius = 2, Floats normal = {0, 0, 1}) {
    const int before = tree_.marker_nodes.size();
    tree_.oct_insert_marker(p.data(), keep(normal), half, radius);
    return tree_.marker_nodes.size() > before ? tree_.marker_nodes[before] : nullptr;
  }
  OctNode* voxel(Floats p, float half = 1) {
    return OctreeAccess::insert_voxel(tree_, p.data(), keep({0, 0, 1}), half);
  }
  OctNode* search(Floats p) { return tree_.oct_search(p.data()); }

 private:
  void* keep(Floats normal) {
    normals_.push_back(std::make_unique<Floats>(normal));
    return normals_.back()->data();
  }

  Oct_tree_Tri tree_;
  std::vector<std::unique_ptr<Floats>> normals_;
};

struct Sample {
  Floats point;
  float half;
};

// A rough sheet across the cube of half edge 8: ordinary samples, and fine ones in one corner.
inline std::vector<Sample> rough_sheet(int n, uint64_t seed, float fine_half = 0) {
  Random random(seed);
  std::vector<Sample> samples;
  for (int i = 0; i < n; ++i) {
    const float x = 7 * random.signed_unit();
    const float y = 7 * random.signed_unit();
    const float z = 1.5F * std::sin(0.7F * x) * std::cos(0.4F * y) + 0.2F * random.signed_unit();
    const bool fine = fine_half > 0 && x > 0 && y > 0;
    samples.push_back({{x, y, z}, fine ? fine_half : 0.5F});
  }
  return samples;
}

inline void fill(TestTree& tree, const std::vector<Sample>& samples) {
  for (const Sample& s : samples) tree.sample(s.point, s.half);
}

// Every node of the tree, parents first.
inline std::vector<OctNode*> all_nodes(TestTree& tree) {
  std::vector<OctNode*> nodes = {tree.root()};
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    if (nodes[i]->flag == 1) continue;
    for (OctNode* child : nodes[i]->link) {
      if (child != nullptr) nodes.push_back(child);
    }
  }
  return nodes;
}

}  // namespace test_support

#endif  // SCANMESH_TESTS_SUPPORT_OCTREE_ACCESS_H
