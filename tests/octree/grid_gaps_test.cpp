#include "octree/grid_gaps.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <utility>
#include <vector>

#include "tests/support/shapes.h"

namespace {

using scanmesh::GapGrid;
using scanmesh::grid_gap_seeds;
using std::vector;
using test_support::Random;
using test_support::Vec3f;

GapGrid grid_of(int size, float step = 1, int a = 0, int b = 1) {
  GapGrid grid;
  grid.size = size;
  grid.step = step;
  grid.a = a;
  grid.b = b;
  return grid;
}

TEST(GridGaps, a_gap_in_a_row_is_bridged_in_equal_parts) {
  const vector<Vec3f> seeds =
      grid_gap_seeds(grid_of(8), {{2.5F, 1.5F, 0}, {2.5F, 4.5F, 3}}, {2.5F, 3, 1}, 10);
  ASSERT_EQ(seeds.size(), 2U);
  EXPECT_FLOAT_EQ(seeds[0].y, 2.5F);
  EXPECT_FLOAT_EQ(seeds[0].z, 1);
  EXPECT_FLOAT_EQ(seeds[1].y, 3.5F);
  EXPECT_FLOAT_EQ(seeds[1].z, 2);
}

TEST(GridGaps, neighbours_without_a_gap_give_nothing) {
  EXPECT_TRUE(grid_gap_seeds(grid_of(8), {{2, 1, 0}, {2, 2, 0}, {3, 2, 0}}, {2, 2, 0}, 9).empty());
}

TEST(GridGaps, seeds_lie_within_the_markers_circle) {
  // Squared distances 1 and 4 from the marker; the radius itself is within.
  const vector<Vec3f> points = {{0, 0, 0}, {0, 6, 0}};
  const Vec3f marker{0, 3, 0};
  EXPECT_EQ(grid_gap_seeds(grid_of(8), points, marker, 1).size(), 3U);
  EXPECT_EQ(grid_gap_seeds(grid_of(8), points, marker, 0.99F).size(), 1U);
  EXPECT_EQ(grid_gap_seeds(grid_of(8), points, marker, 2).size(), 5U);
}

TEST(GridGaps, rows_enter_the_grid_and_columns_do_not) {
  // The row at 2 is bridged at columns 1 to 3. The columns then see them; each reaches row 5 over
  // the gap of rows 3 and 4, and what they make doesn't bridge the gap for one another.
  const vector<Vec3f> points = {{2, 0, 0}, {2, 4, 0}, {5, 2, 0}};
  const vector<Vec3f> seeds = grid_gap_seeds(grid_of(8), points, {2, 2, 0}, 10);
  ASSERT_EQ(seeds.size(), 5U);
  for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(seeds[i].x, 2.0F);
  EXPECT_EQ(seeds[3].x, 3.0F);
  EXPECT_EQ(seeds[3].y, 2.0F);
  EXPECT_EQ(seeds[4].x, 4.0F);
}

TEST(GridGaps, row_seed_outside_the_circle_leaves_its_cell_empty) {
  // The only row seed is too far, so the column at 2 has one occupied cell and no gap.
  const vector<Vec3f> points = {{2, 1, 0}, {2, 3, 0}, {6, 2, 0}};
  EXPECT_TRUE(grid_gap_seeds(grid_of(8), points, {2, 2, 50}, 10).empty());
}

TEST(GridGaps, a_later_point_replaces_an_earlier_one) {
  const vector<Vec3f> seeds =
      grid_gap_seeds(grid_of(8), {{0, 0, 9}, {0, 2, 0}, {0.5F, 0, 1}}, {0, 1, 0}, 10);
  ASSERT_EQ(seeds.size(), 1U);
  EXPECT_EQ(seeds[0].z, 0.5F);
}

TEST(GridGaps, points_off_the_grid_and_not_a_number_are_skipped) {
  const vector<Vec3f> points = {{0, 0, 0}, {0, 8, 0},    {-1, 3, 0}, {std::nanf(""), 4, 0},
                                {8, 0, 0}, {1e30F, 0, 0}};
  EXPECT_TRUE(grid_gap_seeds(grid_of(8), points, {0, 2, 0}, 100).empty());
  // Just below the grid truncates onto its edge.
  EXPECT_EQ(grid_gap_seeds(grid_of(8), {{-0.9F, 0, 0}, {0, 2, 0}}, {0, 1, 0}, 100).size(), 1U);
}

TEST(GridGaps, needs_a_positive_step) {
  const vector<Vec3f> points = {{0, 0, 0}, {0, 5, 0}};
  EXPECT_TRUE(grid_gap_seeds(grid_of(8, 0), points, {0, 2, 0}, 9).empty());
  EXPECT_TRUE(grid_gap_seeds(grid_of(8, -1), points, {0, 2, 0}, 9).empty());
  EXPECT_TRUE(grid_gap_seeds(grid_of(8, std::nanf("")), points, {0, 2, 0}, 9).empty());
}

// By maps, cell by cell.
vector<Vec3f> plain_seeds(const GapGrid& grid, const vector<Vec3f>& points, const Vec3f& marker,
                          float radius) {
  using Cell = std::pair<int, int>;
  const auto axis = [](const Vec3f& p, int k) { return k == 0 ? p.x : k == 1 ? p.y : p.z; };
  std::map<Cell, Vec3f> cells;
  for (const Vec3f& p : points) {
    const auto at = [&](int k) {
      return static_cast<int>((axis(p, k) - axis(grid.origin, k)) / grid.step);
    };
    const Cell cell{at(grid.a), at(grid.b)};
    if (cell.first < 0 || cell.second < 0 || cell.first >= grid.size || cell.second >= grid.size) {
      continue;
    }
    cells[cell] = p;
  }
  vector<Vec3f> seeds;
  for (const bool rows : {true, false}) {
    const std::map<Cell, Vec3f> before = cells;
    for (int line = 0; line < grid.size; ++line) {
      const auto cell = [&](int i) { return rows ? Cell{line, i} : Cell{i, line}; };
      for (int i = 0; i < grid.size; ++i) {
        if (before.count(cell(i)) != 0) continue;
        int low = i;
        int high = i;
        while (low >= 0 && before.count(cell(low)) == 0) --low;
        while (high < grid.size && before.count(cell(high)) == 0) ++high;
        if (low < 0 || high == grid.size) continue;
        const Vec3f p0 = before.at(cell(low));
        const Vec3f p1 = before.at(cell(high));
        const float t = static_cast<float>(i - low) / static_cast<float>(high - low);
        const Vec3f p{p0.x + t * (p1.x - p0.x), p0.y + t * (p1.y - p0.y), p0.z + t * (p1.z - p0.z)};
        const double dx = p.x - marker.x, dy = p.y - marker.y, dz = p.z - marker.z;
        if (dx * dx + dy * dy + dz * dz > static_cast<double>(radius) * radius) continue;
        seeds.push_back(p);
        if (rows) cells[cell(i)] = p;
      }
    }
  }
  return seeds;
}

TEST(GridGaps, are_those_of_the_plain_walk) {
  Random random(8);
  int total = 0;
  for (int round = 0; round < 60; ++round) {
    GapGrid grid =
        grid_of(5 + random.below(20), 0.3F, round % 3 == 0 ? 1 : 0, round % 3 == 1 ? 1 : 2);
    grid.origin = {random.signed_unit(), random.signed_unit(), random.signed_unit()};
    vector<Vec3f> points;
    for (int i = 0; i < 60; ++i) {
      points.push_back(
          {4 * random.signed_unit(), 4 * random.signed_unit(), 4 * random.signed_unit()});
    }
    const Vec3f marker{1, 1, 1};
    const vector<Vec3f> expected = plain_seeds(grid, points, marker, 2.5F);
    const vector<Vec3f> got = grid_gap_seeds(grid, points, marker, 2.5F);
    ASSERT_EQ(got.size(), expected.size());
    for (std::size_t i = 0; i < got.size(); ++i) {
      EXPECT_EQ(got[i].x, expected[i].x);
      EXPECT_EQ(got[i].y, expected[i].y);
      EXPECT_EQ(got[i].z, expected[i].z);
    }
    total += static_cast<int>(got.size());
  }
  EXPECT_GT(total, 500);
}

}  // namespace
