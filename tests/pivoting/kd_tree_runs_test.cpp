// Trees over clouds of which most points have a coordinate in common.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <vector>

#include "tests/pivoting/point_clouds.h"

namespace {

using namespace test_support;
using Tree = KdT::KdTree<BallNode, 3>;

Tree tree_of(TreeInput& input) {
  Tree tree;
  tree.build_tree(input.ball_nodes.data(), static_cast<int>(input.ball_nodes.size()), {}, {});
  return tree;
}

// A subtree is a stretch of nodes, so that a node's own can be told without walking the tree.
class Checker {
 public:
  explicit Checker(Tree& tree) : tree_(tree) {}

  void check(int number) {
    const Tree::Node& node = tree_.node(number);
    if (node.size == 1) {
      EXPECT_EQ(node.split_dim, 0);
      EXPECT_EQ(node.right, 0);
      return;
    }
    const int d = node.split_dim;
    for (int other = 0; other < 3; ++other) {
      EXPECT_GE(spread(number, d), spread(number, other) * (1 - 1e-9)) << number;
    }
    std::vector<float> values;
    for (int i = 0; i < node.size; ++i) values.push_back(at(number + i, d));
    std::sort(values.begin(), values.end());
    EXPECT_EQ(node.at, at(number, d));
    EXPECT_EQ(node.at, values[static_cast<std::size_t>((node.size + 1) / 2 - 1)]) << number;
    EXPECT_EQ(node.min_val, values.front());
    EXPECT_EQ(node.max_val, values.back());
    const int right = node.right != 0 ? node.right : number + node.size;
    for (int i = number + 1; i < right; ++i) EXPECT_LT(at(i, d), node.at) << number;
    for (int i = right; i < number + node.size; ++i) EXPECT_GE(at(i, d), node.at) << number;
    const int left = tree_.left(number);
    EXPECT_EQ(left == 0 ? number + 1 : left + tree_.node(left).size, right);
    if (node.right != 0) {
      EXPECT_EQ(right + tree_.node(right).size, number + node.size);
    }
  }

 private:
  float at(int number, int d) { return tree_.element(number)[d]; }
  double spread(int number, int d) {
    const int n = tree_.node(number).size;
    double mean = 0;
    for (int i = 0; i < n; ++i) mean += at(number + i, d);
    mean /= n;
    double sum = 0;
    for (int i = 0; i < n; ++i) sum += (at(number + i, d) - mean) * (at(number + i, d) - mean);
    return sum;
  }

  Tree& tree_;
};

void expect_holds_all(Tree& tree, std::size_t points) {
  std::set<const Mesh_R::_vert*> seen;
  for (int i = 0; i < tree.node_count(); ++i) seen.insert(tree.element(i).vert);
  EXPECT_EQ(seen.size(), points);
}

// Ties on the first dimension, then what lies behind them.
std::vector<Vec3f> wall(int ties, const std::vector<Vec3f>& others, uint64_t seed, float size = 1) {
  Random random(seed);
  std::vector<Vec3f> points = others;
  for (int i = 0; i < ties; ++i) {
    points.push_back({0.25F, size * random.signed_unit(), size * random.signed_unit()});
  }
  return points;
}

Vec3f turned(const Vec3f& p, int axis) {
  return axis == 0 ? p : axis == 1 ? Vec3f{p.z, p.x, p.y} : Vec3f{p.y, p.z, p.x};
}

TEST(KdTreeRuns, of_ties_are_split_as_step_by_step) {
  std::vector<std::vector<Vec3f>> clouds = {wall(2200, {{1e6F, 0, 0}}, 1),
                                            wall(1200, {{3, 0, 0}}, 2)};
  // The median leaves the ties, or another dimension becomes the widest, on the way.
  std::vector<Vec3f> behind;
  Random random(3);
  for (int i = 0; i < 300; ++i) behind.push_back({2 + random.signed_unit(), 0, 0});
  clouds.push_back(wall(1900, behind, 4, 0.5F));
  clouds.push_back(wall(2100, {{40, 0, 0}, {41, 0, 0}, {-40, 0, 0}}, 5));
  clouds.push_back(wall(2100, {{20, 0, 0}, {21, 0, 0}, {0.25F, 19.5F, 0}}, 6));
  for (std::vector<Vec3f>& cloud : clouds) {
    for (int axis = 0; axis < 3; ++axis) {
      std::vector<Vec3f> points;
      for (const Vec3f& p : cloud) points.push_back(turned(p, axis));
      TreeInput input(points);
      Tree tree = tree_of(input);
      ASSERT_EQ(tree.node_count(), static_cast<int>(points.size()));
      expect_holds_all(tree, points.size());
      Checker checker(tree);
      for (int i = 0; i < tree.node_count(); ++i) checker.check(i);
      if (HasFailure()) return;
    }
  }
}

TEST(KdTreeRuns, too_long_for_a_search_still_give_it_up) {
  TreeInput input(wall(3000, {{1e6F, 0, 0}}, 7));
  Tree tree = tree_of(input);
  Mesh_R::_vert record;
  BallNode query{&record};
  BallNode* found[16] = {};
  record.point = {0.5F, 0, 0};
  EXPECT_EQ(tree.find_nearest(query, 16, found), -1);
  // From before the wall the way ends at the first node.
  record.point = {0, 0, 0};
  EXPECT_EQ(tree.find_nearest(query, 16, found), 16);
}

TEST(KdTreeRuns, of_half_a_million_ties_are_built_in_no_time) {
  for (const auto& far : {Vec3f{1e6F, 0, 0}, Vec3f{300, 5, 5}}) {
    TreeInput input(wall(500000, {far, far}, 8));
    Tree tree = tree_of(input);
    EXPECT_EQ(tree.node_count(), 500002);
    expect_holds_all(tree, 500002);
  }
}

}  // namespace
