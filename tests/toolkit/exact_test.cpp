#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "toolkit/exact_point.h"
#include "toolkit/flat_triangulation.h"

namespace scanmesh {
namespace {

ExactPoint flat(int x, int y) {
  return settled({x, y, 0}, 1);
}

Whole area_of(const std::vector<ExactPoint>& points, const std::array<std::int32_t, 3>& t,
              const Flattening& z) {
  return line_value(points[static_cast<std::size_t>(t[0])], points[static_cast<std::size_t>(t[1])],
                    points[static_cast<std::size_t>(t[2])], z);
}

TEST(ExactPoint, equal_points_have_equal_numbers) {
  EXPECT_EQ(settled({2, 4, 6}, 2), settled({-3, -6, -9}, -3));
  EXPECT_FALSE(settled({2, 4, 6}, 2) == settled({2, 4, 6}, 3));
}

TEST(ExactPoint, the_grid_gives_doubles_back) {
  const std::vector<Point> points{{0.1, -3e-20, 1e10}, {0, 0, 0}};
  const ExactGrid grid(points);
  EXPECT_EQ(grid.off_grid(grid.on_grid(points[0])), points[0]);
}

TEST(ExactPoint, zero_between_lies_where_the_function_has_its_zero) {
  const ExactPoint p = zero_between(flat(0, 0), flat(3, 6), -1, 2);
  EXPECT_EQ(p, settled({1, 2, 0}, 1));
}

TEST(FlatTriangulation, keeps_the_area_and_holds_its_segments) {
  std::mt19937 random(1);
  const Flattening z(2);
  for (int round = 0; round < 50; ++round) {
    std::vector<ExactPoint> points{flat(0, 0), flat(100, 0), flat(0, 100)};
    FlatTriangulation flat_mesh(points, {0, 1, 2}, z);
    std::uniform_int_distribution<int> any(0, 50);
    std::vector<ExactPoint> more;
    for (int i = 0; i < 20; ++i) more.push_back(flat(any(random), any(random)));
    std::sort(more.begin(), more.end());
    more.erase(std::unique(more.begin(), more.end()), more.end());
    for (const ExactPoint& p : more) {
      if (!(p == points[0])) points.push_back(p);
    }
    for (std::size_t i = 3; i < points.size(); ++i) flat_mesh.insert(static_cast<std::int32_t>(i));
    flat_mesh.settle();
    Whole area = 0;
    for (const auto& t : flat_mesh.triangles()) {
      EXPECT_GT(area_of(points, t, z), 0);
      area += area_of(points, t, z);
    }
    EXPECT_EQ(area, 100 * 100);
  }
}

TEST(FlatTriangulation, a_constrained_segment_is_an_edge) {
  const Flattening z(2);
  const std::vector<ExactPoint> points{flat(0, 0),   flat(100, 0), flat(0, 100), flat(10, 10),
                                       flat(80, 11), flat(40, 8),  flat(41, 14), flat(30, 9)};
  FlatTriangulation flat_mesh(points, {0, 1, 2}, z);
  for (std::int32_t i = 3; i < 8; ++i) flat_mesh.insert(i);
  flat_mesh.constrain(3, 4);
  flat_mesh.settle();
  bool found = false;
  for (const auto& t : flat_mesh.triangles()) {
    for (std::size_t k = 0; k < 3; ++k) found = found || (t[k] == 3 && t[(k + 1) % 3] == 4);
  }
  EXPECT_TRUE(found);
}

TEST(FlatTriangulation, does_not_depend_on_the_order_of_insertion) {
  // A grid: many points on one circle, where only the numbers decide.
  const Flattening z(2);
  std::vector<ExactPoint> points{flat(-9, -9), flat(40, -9), flat(-9, 40)};
  std::vector<std::int32_t> order;
  for (int x = 0; x < 4; ++x) {
    for (int y = 0; y < 4; ++y) {
      order.push_back(static_cast<std::int32_t>(points.size()));
      points.push_back(flat(x, y));
    }
  }
  std::mt19937 random(3);
  std::vector<std::array<std::int32_t, 3>> first;
  for (int round = 0; round < 10; ++round) {
    FlatTriangulation flat_mesh(points, {0, 1, 2}, z);
    for (const std::int32_t i : order) flat_mesh.insert(i);
    flat_mesh.settle();
    auto triangles = flat_mesh.triangles();
    for (auto& t : triangles) std::rotate(t.begin(), std::min_element(t.begin(), t.end()), t.end());
    std::sort(triangles.begin(), triangles.end());
    if (round == 0) first = triangles;
    EXPECT_EQ(triangles, first);
    std::shuffle(order.begin(), order.end(), random);
  }
}

}  // namespace
}  // namespace scanmesh
