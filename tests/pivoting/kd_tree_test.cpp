#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <queue>
#include <set>
#include <thread>

#include "tests/pivoting/point_clouds.h"

namespace {

using namespace test_support;
using Tree = KdT::KdTree<BallNode, 3>;

Tree tree_of(TreeInput& input) {
  Tree tree;
  tree.build_tree(input.ball_nodes.data(), static_cast<int>(input.ball_nodes.size()), {}, {});
  return tree;
}

struct Query {
  Mesh_R::_vert record;
  BallNode node{&record};
  explicit Query(const Vec3f& p) { record.point = p; }
  Query(const Query&) = delete;
};

std::vector<double> distances_of(Tree& tree, const Vec3f& at, int k, int* answer = nullptr) {
  Query query(at);
  std::vector<BallNode*> found(static_cast<std::size_t>(std::max(k, 1)), nullptr);
  const int n = tree.find_nearest(query.node, k, found.data());
  if (answer != nullptr) *answer = n;
  std::vector<double> out;
  for (int i = 0; i < n; ++i) {
    out.push_back(Tree::metric_distance(&query.node, found[static_cast<std::size_t>(i)]));
  }
  return out;
}

std::vector<double> farthest_first(std::vector<double> sorted, std::size_t k) {
  sorted.resize(std::min(k, sorted.size()));
  std::reverse(sorted.begin(), sorted.end());
  return sorted;
}

// All numbers of a subtree.
void gather(Tree& tree, int number, std::vector<int>& out) {
  out.push_back(number);
  if (tree.left(number) != 0) gather(tree, tree.left(number), out);
  if (tree.right(number) != 0) gather(tree, tree.right(number), out);
}

std::vector<int> subtree(Tree& tree, int number) {
  std::vector<int> out;
  if (number != 0) gather(tree, number, out);
  return out;
}

// A coordinate of the point of a node.
float at(Tree& tree, int number, int d) {
  return tree.element(number)[d];
}

// The sum of squared deviations along a dimension.
double spread(Tree& tree, const std::vector<int>& numbers, int d) {
  double mean = 0;
  for (int n : numbers) mean += at(tree, n, d);
  mean /= static_cast<double>(numbers.size());
  double sum = 0;
  for (int n : numbers) sum += (at(tree, n, d) - mean) * (at(tree, n, d) - mean);
  return sum;
}

void check_node(Tree& tree, int number) {
  const Tree::Node& node = tree.node(number);
  std::vector<int> all;
  gather(tree, number, all);
  const auto count = static_cast<int>(all.size());
  EXPECT_EQ(node.size, count);
  EXPECT_EQ(node.at, at(tree, number, node.split_dim));
  if (count == 1) {
    EXPECT_EQ(node.split_dim, 0);
    EXPECT_EQ(node.min_val, at(tree, number, 0));
    EXPECT_EQ(node.max_val, at(tree, number, 0));
    return;
  }
  // Up to rounding: sums over another order of the points differ in the last digits.
  for (int d = 0; d < 3; ++d) {
    EXPECT_GE(spread(tree, all, node.split_dim), spread(tree, all, d) * (1 - 1e-9));
  }
  std::vector<float> values;
  for (int n : all) values.push_back(at(tree, n, node.split_dim));
  std::sort(values.begin(), values.end());
  EXPECT_EQ(node.at, values[static_cast<std::size_t>((count + 1) / 2 - 1)]);
  EXPECT_EQ(node.min_val, values.front());
  EXPECT_EQ(node.max_val, values.back());
  for (int n : subtree(tree, tree.left(number))) EXPECT_LT(at(tree, n, node.split_dim), node.at);
  for (int n : subtree(tree, tree.right(number))) EXPECT_GE(at(tree, n, node.split_dim), node.at);
}

// The search once more, with a plain heap and no limit but those of the way down and the pops.
std::vector<double> plain_search(Tree& tree, const Vec3f& query, std::size_t k) {
  const float q[3] = {query.x, query.y, query.z};
  const auto axis_to = [&](float value, int d) {
    const float difference = q[d] - value;
    return static_cast<double>(difference * difference);
  };
  const auto distance = [&](int n) {
    return axis_to(at(tree, n, 0), 0) + axis_to(at(tree, n, 1), 1) + axis_to(at(tree, n, 2), 2);
  };
  std::priority_queue<double> heap;
  std::size_t insertions = 0;
  const auto insert = [&](int n) {
    heap.push(distance(n));
    if (++insertions > k) heap.pop();
  };
  std::vector<int> stack;
  const auto push = [&](int n) {
    if (n != 0) stack.push_back(n);
  };
  int number = 0;
  do {
    insert(number);
    const Tree::Node& n = tree.node(number);
    const bool goes_left = n.at > q[n.split_dim];
    push(goes_left ? tree.right(number) : tree.left(number));
    number = goes_left ? tree.left(number) : tree.right(number);
  } while (number != 0);
  for (int pops = 0; pops < 10000 && !stack.empty(); ++pops) {
    number = stack.back();
    stack.pop_back();
    const Tree::Node& n = tree.node(number);
    const int d = n.split_dim;
    if (insertions < k) {
      insert(number);
      push(tree.left(number));
      push(tree.right(number));
    } else if (heap.top() > axis_to(n.at, d)) {
      if (heap.top() > distance(number)) insert(number);
      push(tree.left(number));
      push(tree.right(number));
    } else if (q[d] >= n.at && tree.right(number) != 0) {
      if (q[d] <= n.max_val || axis_to(n.max_val, d) <= heap.top()) push(tree.right(number));
    } else if (tree.left(number) != 0) {
      if (q[d] >= n.min_val || axis_to(n.min_val, d) < heap.top()) push(tree.left(number));
    }
  }
  std::vector<double> out;
  for (; !heap.empty(); heap.pop()) out.push_back(heap.top());
  return out;
}

TEST(BallNode, never_shares_a_record_of_its_own) {
  Mesh_R::_vert foreign;
  foreign.point = {1, 2, 3};
  BallNode held(&foreign);
  BallNode own;
  EXPECT_EQ(own[0], 0);  // makes a record
  BallNode copy(own);
  EXPECT_NE(copy.vert, own.vert);
  BallNode& same = copy;
  copy = same;
  EXPECT_EQ(copy[2], 0);
  copy = held;
  EXPECT_EQ(copy.vert, &foreign);
  EXPECT_EQ(copy[2], 3);
  held = own;
  EXPECT_NE(held.vert, own.vert);
  EXPECT_EQ(foreign.point.x, 1);
}

TEST(KdTree, gives_the_k_nearest_farthest_first) {
  for (const auto& points : {random_points(2000, 1), sheet_points(50, 2), grid_points(12)}) {
    TreeInput input(points);
    Tree tree = tree_of(input);
    for (const Vec3f& query : random_points(100, 3, 12)) {
      for (const int k : {1, 2, 16, 17, 64, 65, 300}) {
        EXPECT_EQ(distances_of(tree, query, k),
                  farthest_first(brute_distances(points, query), static_cast<std::size_t>(k)));
      }
    }
  }
}

TEST(KdTree, a_query_at_a_stored_point_finds_it_last) {
  const auto points = random_points(500, 4);
  TreeInput input(points);
  Tree tree = tree_of(input);
  for (std::size_t i = 0; i < points.size(); ++i) {
    BallNode* found[16];
    ASSERT_EQ(tree.find_nearest(input.ball_nodes[i], 16, found), 16);
    EXPECT_EQ(found[15]->vert, &input.records[i]);
    EXPECT_EQ(Tree::metric_distance(found[15], &input.ball_nodes[i]), 0);
  }
}

TEST(KdTree, more_neighbours_than_points_gives_all_points) {
  const auto points = random_points(9, 5);
  TreeInput input(points);
  Tree tree = tree_of(input);
  EXPECT_EQ(distances_of(tree, {0, 0, 0}, 16),
            farthest_first(brute_distances(points, {0, 0, 0}), 16));
  EXPECT_EQ(distances_of(tree, {0, 0, 0}, 100),
            farthest_first(brute_distances(points, {0, 0, 0}), 100));
}

TEST(KdTree, no_neighbours_or_no_points_give_nothing) {
  TreeInput input(random_points(9, 5));
  Tree tree = tree_of(input);
  int answer = -5;
  distances_of(tree, {0, 0, 0}, 0, &answer);
  EXPECT_EQ(answer, 0);
  tree.free_tree();
  distances_of(tree, {0, 0, 0}, 4, &answer);
  EXPECT_EQ(answer, 0);
}

TEST(KdTree, splits_the_widest_dimension_at_the_lower_median_and_ties_go_right) {
  for (const auto& points : {random_points(700, 6), sheet_points(20, 7), grid_points(7)}) {
    TreeInput input(points);
    Tree tree = tree_of(input);
    ASSERT_EQ(tree.node_count(), static_cast<int>(points.size()));
    std::set<const Mesh_R::_vert*> seen;
    for (int i = 0; i < tree.node_count(); ++i) {
      check_node(tree, i);
      seen.insert(tree.element(i).vert);
    }
    EXPECT_EQ(seen.size(), points.size());
  }
}

TEST(KdTree, two_points_make_a_node_with_one_child) {
  TreeInput input({{5, 0, 0}, {1, 0, 0}});
  Tree tree = tree_of(input);
  EXPECT_EQ(tree.node(0).at, 1);
  EXPECT_EQ(tree.left(0), 0);
  EXPECT_EQ(tree.right(0), 1);
  EXPECT_EQ(tree.node(1).at, 5);
}

TEST(KdTree, of_equally_wide_dimensions_the_first_is_split) {
  TreeInput input({{0, 0, 0}, {2, 2, 2}, {0, 2, 0}, {2, 0, 2}});
  EXPECT_EQ(tree_of(input).node(0).split_dim, 0);
  TreeInput later({{0, 0, 0}, {2, 3, 3}, {0, 3, 0}, {2, 0, 3}});
  EXPECT_EQ(tree_of(later).node(0).split_dim, 1);
}

TEST(KdTree, the_number_of_bins_changes_no_result) {
  const auto points = random_points(3000, 8);
  TreeInput input(points);
  Tree tree = tree_of(input);
  EXPECT_EQ(tree.bin_count, 1000);
  Tree coarse;
  coarse.bin_count = 3;
  coarse.build_tree(input.ball_nodes.data(), 3000, {}, {});
  for (int i = 0; i < 3000; ++i) EXPECT_EQ(coarse.element(i).vert, tree.element(i).vert);
}

TEST(KdTree, many_equal_coordinates_make_an_unbalanced_tree_that_still_answers) {
  std::vector<Vec3f> points;
  Random random(9);
  // A far point makes the wall's own dimension the widest one.
  points.push_back({1e6F, 0, 0});
  for (int i = 0; i < 300; ++i) points.push_back({0, random.signed_unit(), random.signed_unit()});
  TreeInput input(points);
  Tree tree = tree_of(input);
  for (int i = 0; i < tree.node_count(); ++i) check_node(tree, i);
  for (const Vec3f& query : random_points(50, 10, 1)) {
    EXPECT_EQ(distances_of(tree, query, 16), farthest_first(brute_distances(points, query), 16));
  }
}

TEST(KdTree, a_way_down_over_more_than_1000_nodes_is_given_up) {
  for (const int n : {1000, 1001}) {
    TreeInput input(std::vector<Vec3f>(static_cast<std::size_t>(n), Vec3f{1, 2, 3}));
    Tree tree = tree_of(input);
    int answer = 0;
    distances_of(tree, {1, 2, 3}, 16, &answer);
    EXPECT_EQ(answer, n == 1000 ? 16 : -1);
    // From below, the way ends at the first node.
    distances_of(tree, {0, 2, 3}, 16, &answer);
    EXPECT_EQ(answer, 16);
  }
}

TEST(KdTree, a_search_given_up_leaves_the_results_alone) {
  TreeInput input(std::vector<Vec3f>(2000, Vec3f{1, 2, 3}));
  Tree tree = tree_of(input);
  BallNode* found[2] = {input.ball_nodes.data(), nullptr};
  EXPECT_EQ(tree.find_nearest(input.ball_nodes[0], 2, found), -1);
  EXPECT_EQ(found[0], input.ball_nodes.data());
}

TEST(KdTree, a_million_equal_points_are_sorted_in_no_time) {
  TreeInput input(std::vector<Vec3f>(1000000, Vec3f{1, 2, 3}));
  Tree tree = tree_of(input);
  EXPECT_EQ(tree.node_count(), 1000000);
}

TEST(KdTree, looks_at_10000_nodes_after_the_way_down_and_drops_the_rest) {
  // Everything is about equally far from the centre, so that no plane lies beyond the worst.
  std::vector<Vec3f> points;
  Random random(11);
  for (int i = 0; i < 40000; ++i) {
    Vec3f p{random.signed_unit(), random.signed_unit(), random.signed_unit()};
    p = scanmesh::scaled(p, 1 / scanmesh::length(p));
    points.push_back(scanmesh::scaled(p, 10 + 0.01 * random.signed_unit()));
  }
  TreeInput input(points);
  Tree tree = tree_of(input);
  const auto found = distances_of(tree, {0, 0, 0}, 16);
  EXPECT_EQ(found, plain_search(tree, {0, 0, 0}, 16));
  EXPECT_NE(found, farthest_first(brute_distances(points, {0, 0, 0}), 16));
}

TEST(KdTree, searches_as_the_plain_form_does) {
  // Large enough for a search that meets the limit on some queries and not on others.
  auto points = sheet_points(200, 12);
  for (Vec3f& p : points) p.z *= 0.01F;
  TreeInput input(points);
  Tree tree = tree_of(input);
  for (const Vec3f& query : random_points(300, 13, 150)) {
    EXPECT_EQ(distances_of(tree, query, 17), plain_search(tree, query, 17));
    EXPECT_EQ(distances_of(tree, query, 64), plain_search(tree, query, 64));
    EXPECT_EQ(distances_of(tree, query, 500), plain_search(tree, query, 500));
  }
}

TEST(KdTree, searches_near_the_limit_of_nodes_as_the_plain_form_does) {
  // Spheres of growing size around the query: the number of nodes looked at passes the limit.
  for (int n = 9000; n < 12000; n += 250) {
    std::vector<Vec3f> points;
    Random random(static_cast<uint64_t>(n));
    for (int i = 0; i < n; ++i) {
      const Vec3f p{random.signed_unit(), random.signed_unit(), random.signed_unit()};
      points.push_back(scanmesh::scaled(p, (10 + random.signed_unit()) / scanmesh::length(p)));
    }
    TreeInput input(points);
    Tree tree = tree_of(input);
    for (const Vec3f& query : random_points(5, 13, 0.01F)) {
      EXPECT_EQ(distances_of(tree, query, 16), plain_search(tree, query, 16));
    }
  }
}

TEST(KdTree, metrics_round_to_float_along_an_axis_and_add_in_double) {
  Query a({0.1F, 1.7F, -3.3F});
  Query b({2.3F, -0.4F, 1.9F});
  double sum = 0;
  for (int d = 0; d < 3; ++d) {
    const float difference = a.node[d] - b.node[d];
    const float square = difference * difference;
    EXPECT_EQ(Tree::metric_axis_distance(&a.node, &b.node, d), static_cast<double>(square));
    sum += square;
  }
  EXPECT_EQ(Tree::metric_distance(&a.node, &b.node), sum);
}

TEST(KdTree, takes_metrics_of_the_caller) {
  // Twice the distance: the same neighbours.
  const auto points = random_points(800, 14);
  TreeInput input(points);
  Tree tree;
  int calls = 0;
  tree.build_tree(
      input.ball_nodes.data(), 800,
      [&calls](BallNode* a, BallNode* b) {
        ++calls;
        return 2 * Tree::metric_distance(a, b);
      },
      [](BallNode* a, BallNode* b, int d) { return 2 * Tree::metric_axis_distance(a, b, d); });
  EXPECT_EQ(distances_of(tree, {1, 1, 1}, 16),
            farthest_first(brute_distances(points, {1, 1, 1}), 16));
  EXPECT_GT(calls, 16);
  tree.build_tree(input.ball_nodes.data(), 800, {}, {});
  EXPECT_EQ(tree.distance(&input.ball_nodes[0], &input.ball_nodes[1]),
            Tree::metric_distance(&input.ball_nodes[0], &input.ball_nodes[1]));
}

TEST(KdTree, many_threads_search_at_once) {
  const auto points = random_points(5000, 15);
  TreeInput input(points);
  Tree tree = tree_of(input);
  const auto queries = random_points(200, 16);
  std::vector<std::vector<double>> expected;
  for (const Vec3f& q : queries) expected.push_back(distances_of(tree, q, 16));
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (std::size_t i = 0; i < queries.size(); ++i) {
        EXPECT_EQ(distances_of(tree, queries[i], 16), expected[i]);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST(KdTree, points_that_are_not_finite_do_no_harm) {
  constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
  constexpr float kInf = std::numeric_limits<float>::infinity();
  auto points = random_points(3000, 17);
  Random random(18);
  for (int i = 0; i < 400; ++i) {
    Vec3f& p = points[static_cast<std::size_t>(random.below(3000))];
    (i % 3 == 0 ? p.x : i % 3 == 1 ? p.y : p.z) = i % 2 == 0 ? kNaN : i % 5 == 0 ? -kInf : kInf;
  }
  TreeInput input(points);
  Tree tree = tree_of(input);
  EXPECT_EQ(tree.node_count(), 3000);
  for (std::size_t i = 0; i < points.size(); ++i) {
    BallNode* found[17];
    EXPECT_LE(tree.find_nearest(input.ball_nodes[i], 17, found), 17);
  }
}

TEST(TreeElement, makes_its_own_vertex_when_it_is_indexed_without_one) {
  BallNode node;
  EXPECT_EQ(node.own, 0);
  EXPECT_EQ(node.vert, nullptr);
  EXPECT_EQ(node[0], 0);
  EXPECT_EQ(node.own, 1);
  ASSERT_NE(node.vert, nullptr);
  EXPECT_EQ(node.vert->state, Mesh_R::kStateLive);
  node.vert->point = {1, 2, 3};
  const BallNode copy = node;
  EXPECT_NE(copy.vert, node.vert);
  EXPECT_EQ(node[0], 1);
  EXPECT_EQ(node[1], 2);
  EXPECT_EQ(node[2], 3);
}

TEST(TreeElement, leaves_a_vertex_of_someone_else_alone) {
  Mesh_R::_vert record;
  record.point = {1, 2, 3};
  {
    BallNode node(&record);
    BallNode copy = node;
    copy = node;
    EXPECT_EQ(copy.vert, &record);
    EXPECT_EQ(copy.own, 0);
    EXPECT_EQ(copy[2], 3);
  }
  EXPECT_EQ(record.point.x, 1);
}

}  // namespace
