#include "support/point_set.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string>

#include "support/random.h"
#include "tests/support/files.h"

namespace {

bool read(const std::string& text, demo::PointSet& set) {
  const std::string path = test_support::temp_path("points.xyz");
  std::ofstream(path, std::ios::binary) << text;
  std::string error;
  const bool good = demo::read_points(path, set, error);
  EXPECT_EQ(good, error.empty());
  std::remove(path.c_str());
  return good;
}

demo::PointSet grid(int n, double spacing) {
  demo::PointSet set;
  for (int i = 0; i < n * n; ++i) {
    set.points.push_back({spacing * (i % n), spacing * (i / n), 0});
    set.normals.push_back({0, 0, 1});
  }
  return set;
}

TEST(PointSet, LinesAreAPointAndANormal) {
  demo::PointSet set;
  ASSERT_TRUE(read("# comment\n1 2 3 0 0 2\n\n  4 5 6 0 -1 0 99\n", set));
  ASSERT_EQ(set.points.size(), 2u);
  EXPECT_EQ(set.points[1].y, 5);
  EXPECT_EQ(set.normals[0].z, 1);
  EXPECT_EQ(set.normals[1].y, -1);
}

TEST(PointSet, PointsThatComeAgainAreLeftOut) {
  demo::PointSet set;
  ASSERT_TRUE(read("1 2 3 0 0 1\n1 2 3 0 1 0\n1 2 3.0000000001 0 1 0\n1 2 4 0 1 0\n", set));
  EXPECT_EQ(set.points.size(), 2u);
}

TEST(PointSet, LinesWithoutANormalAreRefused) {
  demo::PointSet set;
  EXPECT_FALSE(read("1 2 3\n", set));
  EXPECT_FALSE(read("1 2 3 0 0 1\n1 2 x 0 0 1\n", set));
  std::string error;
  EXPECT_FALSE(demo::read_points("/nowhere/points.xyz", set, error));
  EXPECT_FALSE(demo::read_points("/nowhere/points.stl", set, error));
}

TEST(PointSet, SpacingIsTheMeanOfSixNeighbours) {
  for (const double spacing : {0.001, 1.0, 250.0}) {
    // Inside a grid: four at the spacing, two at the diagonal; less inside than at the rim.
    const double inside = (4 + 2 * 1.4142135623730951) / 6 * spacing;
    EXPECT_NEAR(demo::estimate_spacing(grid(60, spacing)), inside, 0.05 * spacing);
  }
  EXPECT_EQ(demo::estimate_spacing(demo::PointSet{}), 0);
}

TEST(PointSet, ThinnedPointsKeepTheirDistance) {
  demo::Random random(1);
  demo::PointSet set;
  for (int i = 0; i < 3000; ++i) {
    set.points.push_back({random.uniform(0, 20), random.uniform(0, 20), random.uniform(0, 1)});
    set.normals.push_back({0, 0, 1});
  }
  const demo::PointSet thin = demo::thinned(set, 1.5);
  EXPECT_EQ(thin.points.size(), thin.normals.size());
  EXPECT_GT(thin.points.size(), 80u);
  for (std::size_t i = 0; i < thin.points.size(); ++i) {
    for (std::size_t k = 0; k < i; ++k) {
      EXPECT_GE(demo::distance(thin.points[i], thin.points[k]), 1.5);
    }
  }
  // Nothing that was left out would have had room.
  for (const demo::Vec3& p : set.points) {
    double nearest = 100;
    for (const demo::Vec3& q : thin.points) nearest = std::min(nearest, demo::distance(p, q));
    EXPECT_LT(nearest, 1.5);
  }
}

}  // namespace
