#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <thread>

#include "scanmesh/internal.h"
#include "tests/pivoting/point_clouds.h"

namespace {

using namespace test_support;
using flann_kdtree::KdTreeX_Static;
using flann_kdtree::SearchIndex;
using xbpa::XPointNode;

struct XQuery {
  Mesh_R::_vert record;
  XPointNode node{&record, 0};
  explicit XQuery(const Vec3f& p, const Vec3f& normal = {0, 0, 1}) {
    record.point = p;
    record.vector = normal;
  }
  XQuery(const XQuery&) = delete;
};

float squared(const Vec3f& a, const Vec3f& b) {
  const Vec3f d = scanmesh::sub(a, b);
  return scanmesh::dot(d, d);
}

std::vector<float> brute(const std::vector<Vec3f>& points, const Vec3f& query) {
  std::vector<float> out;
  for (const Vec3f& p : points) out.push_back(squared(query, p));
  std::sort(out.begin(), out.end());
  return out;
}

void build(KdTreeX_Static& tree, TreeInput& input) {
  tree.rebuild(input.x_nodes.data(), input.x_nodes.size());
}

TEST(StaticKdTree, gives_the_k_nearest_nearest_first) {
  for (const auto& points : {random_points(2000, 1), sheet_points(50, 2), grid_points(12)}) {
    TreeInput input(points);
    KdTreeX_Static tree;
    build(tree, input);
    std::vector<std::size_t> indices;
    std::vector<float> distances;
    for (const Vec3f& at : random_points(100, 3, 12)) {
      for (const std::size_t k : {1U, 2U, 16U, 17U, 300U}) {
        XQuery query(at);
        ASSERT_EQ(tree.knnSearch(query.node, k, indices, distances), k);
        auto expected = brute(points, at);
        expected.resize(k);
        EXPECT_EQ(distances, expected);
        for (std::size_t i = 0; i < k; ++i)
          EXPECT_EQ(squared(at, points[indices[i]]), distances[i]);
        std::sort(indices.begin(), indices.end());
        EXPECT_EQ(std::unique(indices.begin(), indices.end()), indices.end());
      }
    }
  }
}

TEST(StaticKdTree, a_later_point_goes_behind_those_at_equal_distance) {
  // One leaf: the points are met in their order.
  TreeInput input({{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {-1, 0, 0}, {0.5F, 0, 0}, {0, -1, 0}});
  KdTreeX_Static tree;
  build(tree, input);
  XQuery query({0, 0, 0});
  std::vector<std::size_t> indices;
  std::vector<float> distances;
  EXPECT_EQ(tree.knnSearch(query.node, 4, indices, distances), 4U);
  EXPECT_EQ(indices, (std::vector<std::size_t>{4, 0, 1, 2}));
  EXPECT_EQ(distances, (std::vector<float>{0.25F, 1, 1, 1}));
}

TEST(StaticKdTree, too_few_points_leave_the_tails_as_they_were) {
  TreeInput input({{1, 0, 0}, {3, 0, 0}, {2, 0, 0}});
  KdTreeX_Static tree;
  build(tree, input);
  XQuery query({0, 0, 0});
  std::vector<std::size_t> indices(7, 99);
  std::vector<float> distances(7, -5);
  EXPECT_EQ(tree.knnSearch(query.node, 6, indices, distances), 3U);
  EXPECT_EQ(indices, (std::vector<std::size_t>{0, 2, 1, 99, 99, 99}));
  EXPECT_EQ(distances, (std::vector<float>{1, 4, 9, -5, -5, -5}));
}

TEST(StaticKdTree, radius_searches_are_strict_and_sorted) {
  for (const auto& points : {random_points(1500, 4), grid_points(10)}) {
    TreeInput input(points);
    KdTreeX_Static tree;
    build(tree, input);
    std::vector<std::size_t> indices;
    std::vector<float> distances;
    for (const Vec3f& at : grid_points(3)) {
      XQuery query(at);
      for (const float radius : {0.5F, 1.0F, 2.0F, 3.0F}) {
        std::vector<float> expected;
        for (const float d : brute(points, at)) {
          if (d < radius * radius) expected.push_back(d);
        }
        EXPECT_EQ(tree.radiusSearch(query.node, radius, indices, distances), expected.size());
        EXPECT_EQ(distances, expected);
        for (std::size_t i = 0; i < indices.size(); ++i) {
          EXPECT_EQ(squared(at, points[indices[i]]), distances[i]);
        }
        EXPECT_EQ(tree.radiusSearchSq(query.node, radius * radius, indices, distances),
                  expected.size());
        EXPECT_EQ(distances, expected);
      }
    }
  }
}

TEST(StaticKdTree, an_unsorted_radius_search_finds_the_same_points) {
  const auto points = random_points(1500, 5);
  TreeInput input(points);
  KdTreeX_Static tree;
  build(tree, input);
  std::vector<std::size_t> sorted;
  std::vector<std::size_t> met;
  std::vector<float> distances;
  XQuery query({0, 0, 0});
  tree.radiusSearch(query.node, 6, sorted, distances);
  tree.sorted = 0;
  tree.radiusSearch(query.node, 6, met, distances);
  EXPECT_GT(met.size(), 50U);
  EXPECT_NE(met, sorted);
  std::sort(met.begin(), met.end());
  std::sort(sorted.begin(), sorted.end());
  EXPECT_EQ(met, sorted);
}

TEST(StaticKdTree, finds_whether_a_point_nearby_has_a_like_normal) {
  const auto points = random_points(800, 6);
  TreeInput input(points);
  Random random(7);
  for (auto& record : input.records) {
    const Vec3f v{random.signed_unit(), random.signed_unit(), random.signed_unit()};
    record.vector = scanmesh::scaled(v, 1 / scanmesh::length(v));
  }
  KdTreeX_Static tree;
  build(tree, input);
  const float radius = 2;
  const float min_dot = 0.9F;
  int hits = 0;
  for (const Vec3f& at : random_points(300, 8)) {
    XQuery query(at);
    bool exists = false;
    for (const auto& r : input.records) {
      exists = exists || (squared(at, r.point) < radius * radius &&
                          scanmesh::dot(query.record.vector, r.vector) > min_dot);
    }
    std::vector<std::size_t> found{77};
    EXPECT_EQ(tree.findNeighbors_N(query.node, radius, found, nullptr, &min_dot), exists ? 1U : 0U);
    EXPECT_EQ(found.size(), exists ? 1U : 0U);
    if (!exists) continue;
    ++hits;
    const auto& record = input.records[found[0]];
    EXPECT_LT(squared(at, record.point), radius * radius);
    EXPECT_GT(scanmesh::dot(query.record.vector, record.vector), min_dot);
  }
  EXPECT_GT(hits, 10);
  EXPECT_LT(hits, 290);
}

TEST(StaticKdTree, the_first_like_normal_in_tree_order_settles_it) {
  // One leaf: the farther point stands first.
  TreeInput input({{2, 0, 0}, {1, 0, 0}, {0.5F, 0, 0}});
  input.records[1].vector = {0, 0, 1};
  input.records[0].vector = {0, 0, 1};
  input.records[2].vector = {0, 0, -1};
  KdTreeX_Static tree;
  build(tree, input);
  XQuery query({0, 0, 0});
  std::vector<std::size_t> found;
  const float min_dot = 0.5F;
  EXPECT_EQ(tree.findNeighbors_N(query.node, 3, found, nullptr, &min_dot), 1U);
  EXPECT_EQ(found, std::vector<std::size_t>{0});
  // The radius is strict, and so is the limit on normals.
  EXPECT_EQ(tree.findNeighbors_N(query.node, 1, found, nullptr, &min_dot), 0U);
  const float all = 1;
  EXPECT_EQ(tree.findNeighbors_N(query.node, 3, found, nullptr, &all), 0U);
}

TEST(StaticKdTree, an_empty_index_answers_0) {
  KdTreeX_Static tree;
  XQuery query({0, 0, 0});
  std::vector<std::size_t> indices;
  std::vector<float> distances;
  const float min_dot = 0;
  EXPECT_EQ(tree.knnSearch(query.node, 3, indices, distances), 0U);
  EXPECT_EQ(tree.radiusSearch(query.node, 3, indices, distances), 0U);
  EXPECT_EQ(tree.findNeighbors_N(query.node, 3, indices, nullptr, &min_dot), 0U);
  tree.rebuild(nullptr, 0);
  EXPECT_EQ(tree.knnSearch(query.node, 3, indices, distances), 0U);
}

TEST(StaticKdTree, clear_empties_cloud_and_index) {
  TreeInput input(random_points(100, 9));
  KdTreeX_Static tree;
  build(tree, input);
  EXPECT_EQ(tree.index->size, 100U);
  tree.clear();
  EXPECT_EQ(tree.cloud->count, 0U);
  EXPECT_EQ(tree.index->size, 0U);
  XQuery query({0, 0, 0});
  std::vector<std::size_t> indices;
  std::vector<float> distances;
  EXPECT_EQ(tree.knnSearch(query.node, 3, indices, distances), 0U);
}

template <typename Call>
std::string message_of(Call call) {
  try {
    call();
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return "nothing";
}

TEST(StaticKdTree, points_without_a_built_index_raise) {
  KdTreeX_Static tree;
  tree.index->size = 3;
  XQuery query({0, 0, 0});
  std::vector<std::size_t> indices;
  std::vector<float> distances;
  const float min_dot = 0;
  const std::string message = "[flann_kdtree] findNeighbors() called before building the index.";
  EXPECT_EQ(message_of([&] { tree.knnSearch(query.node, 3, indices, distances); }), message);
  EXPECT_EQ(message_of([&] { tree.radiusSearch(query.node, 3, indices, distances); }), message);
  EXPECT_EQ(message_of([&] { tree.radiusSearchSq(query.node, 3, indices, distances); }), message);
  EXPECT_EQ(message_of([&] { tree.findNeighbors_N(query.node, 3, indices, nullptr, &min_dot); }),
            "[flann_kdtree] findNeighbors_N() called before building the index.");
}

TEST(StaticKdTree, the_box_of_no_points_raises) {
  const SearchIndex index;
  EXPECT_EQ(message_of([&] { index.computeBoundingBox(flann_kdtree::XCloud()); }),
            "[flann_kdtree] computeBoundingBox() called but no data points found.");
}

TEST(StaticKdTree, starts_with_its_settled_parameters) {
  const KdTreeX_Static tree;
  EXPECT_EQ(tree.checks, 32);
  EXPECT_EQ(tree.eps, 0);
  EXPECT_EQ(tree.sorted, 1);
  EXPECT_EQ(SearchIndex::leaf_max_size, 10U);
  EXPECT_EQ(SearchIndex::dim, 3);
}

// The boxes on both sides of each cut, and the leaves' sizes.
void check_boxes(const SearchIndex& index, const std::vector<Vec3f>& points, uint32_t number,
                 std::vector<uint64_t>& covered) {
  const SearchIndex::Node& node = index.nodes[number];
  if (node.divfeat == SearchIndex::kLeaf) {
    EXPECT_LE(node.second - node.first, 10U);
    EXPECT_LT(node.first, node.second);
    for (uint32_t i = node.first; i < node.second; ++i) covered.push_back(index.vind[i]);
    return;
  }
  const auto at = [&](uint64_t i) {
    const Vec3f& p = points[i];
    return node.divfeat == 0 ? p.x : node.divfeat == 1 ? p.y : p.z;
  };
  std::vector<uint64_t> first;
  std::vector<uint64_t> second;
  check_boxes(index, points, node.first, first);
  check_boxes(index, points, node.second, second);
  for (const uint64_t i : first) EXPECT_LE(at(i), node.divlow);
  for (const uint64_t i : second) EXPECT_GE(at(i), node.divhigh);
  EXPECT_LE(node.divlow, node.divhigh);
  covered.insert(covered.end(), first.begin(), first.end());
  covered.insert(covered.end(), second.begin(), second.end());
}

TEST(StaticKdTree, leaves_hold_ten_at_most_and_cuts_bound_both_sides) {
  for (const auto& points : {random_points(3000, 10), sheet_points(40, 11), grid_points(9),
                             std::vector<Vec3f>(500, Vec3f{1, 1, 1})}) {
    TreeInput input(points);
    KdTreeX_Static tree;
    build(tree, input);
    std::vector<uint64_t> covered;
    check_boxes(*tree.index, points, 0, covered);
    EXPECT_EQ(covered, tree.index->vind);
    std::sort(covered.begin(), covered.end());
    for (std::size_t i = 0; i < covered.size(); ++i) EXPECT_EQ(covered[i], i);
    EXPECT_EQ(covered.size(), points.size());
  }
}

TEST(StaticKdTree, cuts_the_longest_box_in_the_middle) {
  // x from 0 to 11 in steps of 1: the middle is 5.5, so six points lie below.
  std::vector<Vec3f> points;
  for (int i = 0; i < 12; ++i)
    points.push_back({static_cast<float>(i), 0.1F * static_cast<float>(i % 3), 0});
  TreeInput input(points);
  KdTreeX_Static tree;
  build(tree, input);
  const SearchIndex::Node& root = tree.index->nodes[0];
  EXPECT_EQ(root.divfeat, 0);
  EXPECT_EQ(root.divlow, 5);
  EXPECT_EQ(root.divhigh, 6);
  // The first of equally long ones.
  TreeInput cube(grid_points(4));
  build(tree, cube);
  EXPECT_EQ(tree.index->nodes[0].divfeat, 0);
  // All equal: the halves.
  TreeInput same(std::vector<Vec3f>(15, Vec3f{2, 2, 2}));
  build(tree, same);
  EXPECT_EQ(tree.index->nodes[tree.index->nodes[0].first].second, 7U);
}

TEST(StaticKdTree, equal_points_fill_the_result) {
  TreeInput input(std::vector<Vec3f>(100000, Vec3f{1, 2, 3}));
  KdTreeX_Static tree;
  build(tree, input);
  std::vector<std::size_t> indices;
  std::vector<float> distances;
  for (int i = 0; i < 2000; ++i) {
    XQuery query({1, 2, 3});
    ASSERT_EQ(tree.knnSearch(query.node, 16, indices, distances), 16U);
    EXPECT_EQ(distances[15], 0);
  }
}

TEST(StaticKdTree, points_that_are_not_finite_are_never_found) {
  constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
  constexpr float kInf = std::numeric_limits<float>::infinity();
  auto points = random_points(1000, 12);
  std::vector<Vec3f> finite;
  for (std::size_t i = 0; i < points.size(); ++i) {
    if (i % 7 == 0) points[i].y = i % 2 == 0 ? kNaN : kInf;
    if (i % 7 != 0) finite.push_back(points[i]);
  }
  TreeInput input(points);
  KdTreeX_Static tree;
  build(tree, input);
  std::vector<std::size_t> indices;
  std::vector<float> distances;
  for (const Vec3f& at : random_points(50, 13)) {
    XQuery query(at);
    ASSERT_EQ(tree.knnSearch(query.node, 16, indices, distances), 16U);
    auto expected = brute(finite, at);
    expected.resize(16);
    EXPECT_EQ(distances, expected);
  }
  XQuery nowhere({kNaN, 0, 0});
  EXPECT_EQ(tree.knnSearch(nowhere.node, 16, indices, distances), 0U);
  TreeInput none(std::vector<Vec3f>(20, Vec3f{kNaN, 0, 0}));
  build(tree, none);
  EXPECT_EQ(tree.knnSearch(nowhere.node, 16, indices, distances), 0U);
}

TEST(StaticKdTree, coordinates_at_the_ends_of_the_float_range_are_divided) {
  std::vector<Vec3f> points;
  for (int i = 0; i < 20000; ++i) points.push_back({3e38F - 1e33F * static_cast<float>(i), 0, 0});
  points.push_back({-3e38F, 0, 0});
  TreeInput input(points);
  KdTreeX_Static tree;
  build(tree, input);
  EXPECT_EQ(tree.index->vind.size(), 20001U);
}

TEST(StaticKdTree, many_threads_search_at_once) {
  const auto points = random_points(5000, 14);
  TreeInput input(points);
  KdTreeX_Static tree;
  build(tree, input);
  const auto queries = random_points(200, 15);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      std::vector<std::size_t> indices;
      std::vector<float> distances;
      for (const Vec3f& at : queries) {
        XQuery query(at);
        tree.knnSearch(query.node, 16, indices, distances);
        auto expected = brute(points, at);
        expected.resize(16);
        EXPECT_EQ(distances, expected);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST(PointCloudView, reads_0_in_any_other_dimension) {
  Mesh_R::_vert record;
  record.point = {1, 2, 3};
  const XPointNode node{&record, 0};
  EXPECT_EQ(flann_kdtree::XPoint::coordinate(node, 0), 1);
  EXPECT_EQ(flann_kdtree::XPoint::coordinate(node, 1), 2);
  EXPECT_EQ(flann_kdtree::XPoint::coordinate(node, 2), 3);
  EXPECT_EQ(flann_kdtree::XPoint::coordinate(node, 3), 0);
  EXPECT_EQ(flann_kdtree::XPoint::coordinate(node, -1), 0);
}

}  // namespace
