#include "scanmesh/vertex_octree.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <vector>

#include "core/vector_math.h"
#include "tests/support/shapes.h"

namespace {

using Mesh_M::oct_node;
using Mesh_M::OctreeMode;
using Mesh_M::VertexOctree;
using test_support::Random;
using test_support::Vec3f;

// Every level stored, every step as it is told: what welds, and in which order, is measured by
// this.
class PlainOctree {
 public:
  PlainOctree(const Vec3f& center, float half) {
    root_ = std::make_unique<Node>();
    root_->inner = true;
    root_->center = center;
    root_->half = half;
  }

  // Number of the point that this one merges with, or its own.
  int insert(const Vec3f& p) {
    Node* node = root_.get();
    for (;;) {
      const int slot = slot_of(p, node->center);
      std::unique_ptr<Node>& child = node->child[slot];
      if (child == nullptr) {
        child = leaf(p, node->half / 2);
        return child->number;
      }
      if (child->inner) {
        node = child.get();
        continue;
      }
      if (scanmesh::welds(child->center, p)) return child->number;
      if (child->half < 0.005F) return bucket(child.get(), p);
      auto split = std::make_unique<Node>();
      split->inner = true;
      split->half = child->half;
      split->center = {node->center.x + kSign[slot][0] * split->half,
                       node->center.y + kSign[slot][1] * split->half,
                       node->center.z + kSign[slot][2] * split->half};
      child->half /= 2;
      const int place = slot_of(child->center, split->center);
      split->child[place] = std::move(child);
      child = std::move(split);
      node = child.get();
    }
  }

 private:
  struct Node {
    bool inner = false;
    Vec3f center{0, 0, 0};
    float half = 0;
    int number = -1;
    std::unique_ptr<Node> child[8];
  };
  static constexpr float kSign[8][3] = {{1, 1, 1},  {-1, 1, 1},  {-1, 1, -1},  {1, 1, -1},
                                        {1, -1, 1}, {-1, -1, 1}, {-1, -1, -1}, {1, -1, -1}};

  static int slot_of(const Vec3f& p, const Vec3f& c) {
    for (int slot = 0; slot < 8; ++slot) {
      if ((p.x >= c.x) == (kSign[slot][0] > 0) && (p.y >= c.y) == (kSign[slot][1] > 0) &&
          (p.z >= c.z) == (kSign[slot][2] > 0)) {
        return slot;
      }
    }
    return -1;
  }
  std::unique_ptr<Node> leaf(const Vec3f& p, float half) {
    auto made = std::make_unique<Node>();
    made->center = p;
    made->half = half;
    made->number = next_++;
    return made;
  }
  int bucket(Node* node, const Vec3f& p) {
    for (;; node = node->child[0].get()) {
      for (auto& cell : node->child) {
        if (cell == nullptr) {
          cell = leaf(p, node->half / 2);
          return cell->number;
        }
        if (scanmesh::welds(cell->center, p)) return cell->number;
      }
    }
  }

  std::unique_ptr<Node> root_;
  int next_ = 0;
};

// Numbers the leaves of the octree in order of first use.
class Numbering {
 public:
  Numbering(const Vec3f& center, float half) { octree_.inalize(center, half); }
  int insert(const Vec3f& p) {
    const oct_node* const leaf = octree_.insert(p, OctreeMode::kBucket);
    for (std::size_t i = leaves_.size(); i-- > 0;) {
      if (leaves_[i] == leaf) return static_cast<int>(i);
    }
    leaves_.push_back(leaf);
    return static_cast<int>(leaves_.size()) - 1;
  }
  VertexOctree& octree() { return octree_; }

 private:
  VertexOctree octree_;
  std::vector<const oct_node*> leaves_;
};

void expect_same(const Vec3f& center, float half, const std::vector<Vec3f>& points) {
  PlainOctree plain(center, half);
  Numbering ours(center, half);
  for (std::size_t i = 0; i < points.size(); ++i) {
    ASSERT_EQ(ours.insert(points[i]), plain.insert(points[i])) << "point " << i;
  }
}

std::vector<Vec3f> scattered(int count, float extent, uint64_t seed) {
  Random random(seed);
  std::vector<Vec3f> points;
  for (int i = 0; i < count; ++i) {
    points.push_back({extent * random.signed_unit(), extent * random.signed_unit(),
                      extent * random.signed_unit()});
  }
  return points;
}

TEST(VertexOctree, welds_as_the_stored_levels_do_for_scattered_points) {
  expect_same({0, 0, 0}, 10, scattered(4000, 10, 1));
}

TEST(VertexOctree, welds_as_the_stored_levels_do_for_crowded_points) {
  expect_same({0.3F, 0.2F, 0.1F}, 10, scattered(4000, 0.01F, 2));
}

TEST(VertexOctree, welds_as_the_stored_levels_do_for_jittered_repeats) {
  std::vector<Vec3f> points = scattered(600, 5, 3);
  Random random(4);
  for (int i = 0; i < 3000; ++i) {
    Vec3f p = points[static_cast<std::size_t>(random.below(600))];
    const float jitter = 0.0008F;
    points.push_back({p.x + jitter * random.signed_unit(), p.y + jitter * random.signed_unit(),
                      p.z + jitter * random.signed_unit()});
  }
  expect_same({0, 0, 0}, 5, points);
}

TEST(VertexOctree, welds_as_the_stored_levels_do_outside_its_cube) {
  expect_same({1, 1, 1}, 0.5F, scattered(800, 30, 5));
}

TEST(VertexOctree, welds_as_the_stored_levels_do_for_wild_coordinates) {
  Random random(6);
  std::vector<Vec3f> points;
  for (int i = 0; i < 600; ++i) {
    const auto wild = [&] { return std::ldexp(random.signed_unit(), random.below(240) - 120); };
    points.push_back({wild(), wild(), wild()});
    points.push_back({points.back().x, points.back().y + 0.01F, points.back().z});
  }
  expect_same({0, 0, 0}, 3e38F, points);
}

TEST(VertexOctree, near_points_on_two_sides_of_a_cell_plane_stay_apart) {
  Numbering numbers({0, 0, 0}, 10);
  EXPECT_EQ(numbers.insert({0.0001F, 5, 5}), 0);
  EXPECT_EQ(numbers.insert({-0.0001F, 5, 5}), 1);
  EXPECT_EQ(numbers.insert({0.0002F, 5, 5}), 0);
}

TEST(VertexOctree, a_point_on_the_plane_counts_as_the_upper_side) {
  VertexOctree octree;
  octree.inalize({0, 0, 0}, 8);
  const oct_node* const leaf = octree.insert({0, 0, 0}, OctreeMode::kBucket);
  EXPECT_EQ(octree.root->child[0], leaf);
  EXPECT_EQ(leaf->half, 4);
  EXPECT_EQ(leaf->parent, octree.root);
}

TEST(VertexOctree, slots_follow_the_table_of_sides) {
  const float signs[8][3] = {{1, 1, 1},  {-1, 1, 1},  {-1, 1, -1},  {1, 1, -1},
                             {1, -1, 1}, {-1, -1, 1}, {-1, -1, -1}, {1, -1, -1}};
  VertexOctree octree;
  octree.inalize({0, 0, 0}, 8);
  for (int slot = 0; slot < 8; ++slot) {
    const float* const s = signs[slot];
    const oct_node* const leaf = octree.insert({3 * s[0], 3 * s[1], 3 * s[2]}, OctreeMode::kBucket);
    EXPECT_EQ(octree.root->child[slot], leaf);
  }
}

TEST(VertexOctree, sets_its_box_and_keeps_the_deepest_level) {
  VertexOctree octree;
  EXPECT_EQ(octree.depth, 0);
  EXPECT_FLOAT_EQ(octree.min_half, 0.005F);
  octree.inalize({1, 2, 3}, 4);
  EXPECT_EQ(octree.box.max_x, 5);
  EXPECT_EQ(octree.box.min_x, -3);
  EXPECT_EQ(octree.box.max_z, 7);
  octree.insert({1.5F, 2.5F, 3.5F}, OctreeMode::kBucket);
  EXPECT_EQ(octree.depth, 1);
  octree.insert({4.5F, 5.5F, 6.5F}, OctreeMode::kBucket);
  EXPECT_EQ(octree.depth, 2);
  octree.inalize({0, 0, 0}, 1);
  EXPECT_EQ(octree.depth, 2);
}

TEST(VertexOctree, averages_in_the_smallest_cell_in_the_other_mode) {
  VertexOctree octree;
  octree.inalize({0, 0, 0}, 0.004F);
  oct_node* const leaf = octree.insert({0.001F, 0.001F, 0.001F}, OctreeMode::kAverage);
  EXPECT_EQ(octree.insert({0.0018F, 0.001F, 0.001F}, OctreeMode::kAverage), leaf);
  EXPECT_NEAR(leaf->center.x, 0.0014F, 1e-7);
}

TEST(VertexOctree, refuses_points_that_are_not_finite) {
  VertexOctree octree;
  EXPECT_EQ(octree.insert({0, 0, 0}, OctreeMode::kBucket), nullptr);
  octree.inalize({0, 0, 0}, 1);
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(octree.insert({0, nan, 0}, OctreeMode::kBucket), nullptr);
  EXPECT_EQ(octree.insert({0, 0, std::numeric_limits<float>::infinity()}, OctreeMode::kBucket),
            nullptr);
}

TEST(VertexOctree, pairs_of_points_at_wild_places_cost_few_nodes) {
  VertexOctree octree;
  octree.inalize({0, 0, 0}, 3e38F);
  const int pairs = 2000;
  for (int i = 0; i < pairs; ++i) {
    const float x = 1e35F * static_cast<float>(i + 1);
    octree.insert({x, 0, 0}, OctreeMode::kBucket);
    octree.insert({x, 0.002F, 0}, OctreeMode::kBucket);
  }
  EXPECT_LT(octree.nodes.size(), 5 * pairs);
}

TEST(VertexOctree, begins_with_an_inner_node_over_its_cube) {
  Mesh_M::VertexOctree tree;
  tree.inalize({1, 2, 3}, 4);
  ASSERT_NE(tree.root, nullptr);
  EXPECT_TRUE(tree.root->inner);
  EXPECT_EQ(tree.root->half, 4);
  EXPECT_EQ(tree.root->center.y, 2);
  for (int i = 0; i < 9; ++i) EXPECT_EQ(tree.root->child[i], nullptr);
  EXPECT_EQ(tree.box.max_x, 5);
  EXPECT_EQ(tree.box.min_x, -3);
  EXPECT_EQ(tree.box.max_y, 6);
  EXPECT_EQ(tree.box.min_y, -2);
  EXPECT_EQ(tree.box.max_z, 7);
  EXPECT_EQ(tree.box.min_z, -1);
}

}  // namespace
