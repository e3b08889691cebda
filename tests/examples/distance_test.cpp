#include "support/distance.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "support/random.h"

namespace {

const demo::Triangle kCorner{{{0, 0, 0}, {4, 0, 0}, {0, 3, 0}}};

TEST(DistanceToTriangle, AboveTheInsideIsTheHeight) {
  EXPECT_DOUBLE_EQ(demo::distance_to_triangle({1, 1, 2.5}, kCorner), 2.5);
  EXPECT_DOUBLE_EQ(demo::distance_to_triangle({1, 1, -2.5}, kCorner), 2.5);
}

TEST(DistanceToTriangle, BesideAnEdgeIsTheDistanceToTheEdge) {
  EXPECT_DOUBLE_EQ(demo::distance_to_triangle({2, -3, 4}, kCorner), 5);
}

TEST(DistanceToTriangle, BeyondACornerIsTheDistanceToTheCorner) {
  EXPECT_DOUBLE_EQ(demo::distance_to_triangle({-2, -3, 6}, kCorner), 7);
}

TEST(DistanceToTriangle, AFlatTriangleCountsAsItsEdges) {
  const demo::Triangle flat{{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}}};
  EXPECT_DOUBLE_EQ(demo::distance_to_triangle({1, 3, 4}, flat), 5);
  const demo::Triangle point{{{1, 1, 1}, {1, 1, 1}, {1, 1, 1}}};
  EXPECT_DOUBLE_EQ(demo::distance_to_triangle({1, 1, 3}, point), 2);
}

TEST(NearestTriangle, AgreesWithAskingEveryTriangle) {
  demo::Random random(7);
  const auto point = [&](double size) {
    return demo::Vec3{random.uniform(-size, size), random.uniform(-size, size),
                      random.uniform(-size, size)};
  };
  std::vector<demo::Triangle> soup;
  for (int i = 0; i < 500; ++i) {
    const demo::Vec3 centre = point(10);
    soup.push_back({centre + point(1), centre + point(1), centre + point(1)});
  }
  const demo::NearestTriangle tree(soup);
  for (int i = 0; i < 500; ++i) {
    const demo::Vec3 p = point(i % 2 == 0 ? 10 : 40);
    double least = std::numeric_limits<double>::infinity();
    for (const demo::Triangle& t : soup) least = std::min(least, demo::distance_to_triangle(p, t));
    EXPECT_EQ(tree.distance_to(p), least);
  }
}

TEST(NearestTriangle, NoTrianglesAreInfinitelyFar) {
  EXPECT_TRUE(
      std::isinf(demo::NearestTriangle(std::vector<demo::Triangle>{}).distance_to({0, 0, 0})));
}

TEST(Deviation, IsTakenAtCornersAndCentroids) {
  const std::vector<demo::Triangle> ground{{{{-9, -9, 0}, {9, -9, 0}, {0, 9, 0}}}};
  const demo::NearestTriangle plane(ground);
  const demo::Triangle tilted{{{0, 0, 0}, {1, 0, 0}, {0, 1, 3}}};
  const demo::Deviation d = demo::deviation({tilted}, plane);
  EXPECT_EQ(d.samples, 4u);
  EXPECT_DOUBLE_EQ(d.largest, 3);
  EXPECT_DOUBLE_EQ(d.rms, std::sqrt((9.0 + 1.0) / 4));
}

TEST(Deviation, OfNothingIsZero) {
  const demo::Deviation d =
      demo::deviation({}, demo::NearestTriangle(std::vector<demo::Triangle>{}));
  EXPECT_EQ(d.samples, 0u);
  EXPECT_EQ(d.rms, 0);
}

}  // namespace
