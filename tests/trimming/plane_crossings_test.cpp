// Signs and crossings of the three curves in their plane.
#include <gtest/gtest.h>

#include <cmath>

#include "scanmesh/internal.h"
#include "tests/support/shapes.h"

namespace {

using scanmesh::between;
using scanmesh::Point2;

TEST(CircleSign, is_0_within_a_millionth_of_the_circle) {
  EXPECT_EQ(scanmesh::circle_sign({3, 4}, 5), 0);
  EXPECT_EQ(scanmesh::circle_sign({5 + 9e-7, 0}, 5), 0);
  EXPECT_EQ(scanmesh::circle_sign({5 - 9e-7, 0}, 5), 0);
  EXPECT_EQ(scanmesh::circle_sign({5 + 2e-6, 0}, 5), 1);
  EXPECT_EQ(scanmesh::circle_sign({0, 5 - 2e-6}, 5), -1);
  EXPECT_EQ(scanmesh::circle_sign({0, 0}, 5), -1);
}

TEST(OvalSign, is_outside_beyond_lines_and_arcs_only) {
  const auto sign = [](double x, double y) { return scanmesh::oval_sign({x, y}, 3, 2); };
  EXPECT_EQ(sign(0, 2), -1);
  EXPECT_EQ(sign(0, 2.000001), 1);
  EXPECT_EQ(sign(0, -2.000001), 1);
  EXPECT_EQ(sign(5, 0), -1);
  EXPECT_EQ(sign(5.000001, 0), 1);
  EXPECT_EQ(sign(-5, 0), -1);
  EXPECT_EQ(sign(3, 2), -1);
  EXPECT_EQ(sign(4.5, 1.9), 1);
  EXPECT_EQ(sign(-4.5, -1.9), 1);
  EXPECT_EQ(sign(4.2, 1.5), -1);
}

TEST(RectangleSign, is_inside_on_the_curve) {
  EXPECT_EQ(scanmesh::rectangle_sign({3, -2}, 3, 2), -1);
  EXPECT_EQ(scanmesh::rectangle_sign({3.0001, 0}, 3, 2), 1);
  EXPECT_EQ(scanmesh::rectangle_sign({0, -2.0001}, 3, 2), 1);
}

TEST(SegmentCircle, gives_the_crossing_towards_the_inside) {
  double t = 0;
  EXPECT_EQ(scanmesh::segment_circle({10, 0}, {0, 0}, 5, t), 0);
  EXPECT_DOUBLE_EQ(t, 0.5);
  EXPECT_EQ(scanmesh::segment_circle({3, 8}, {3, 0}, 5, t), 0);
  EXPECT_DOUBLE_EQ(t, 0.5);
}

TEST(SegmentCircle, refuses_the_centre_and_a_line_that_passes_by) {
  double t = 0.25;
  EXPECT_EQ(scanmesh::segment_circle({0, 0}, {1, 0}, 5, t), -1);
  EXPECT_EQ(scanmesh::segment_circle({5e-7, -5e-7}, {1, 0}, 5, t), -1);
  EXPECT_EQ(scanmesh::segment_circle({-10, 6}, {10, 6}, 5, t), -2);
  EXPECT_EQ(t, 0.25);
}

TEST(SegmentRectangle, names_the_side_that_it_crosses) {
  double t = 0;
  EXPECT_EQ(scanmesh::segment_rectangle({-6, 0}, {0, 0}, 3, 2, t), 0);
  EXPECT_DOUBLE_EQ(t, 0.5);
  EXPECT_EQ(scanmesh::segment_rectangle({6, 1}, {0, 1}, 3, 2, t), 1);
  EXPECT_DOUBLE_EQ(t, 0.5);
  EXPECT_EQ(scanmesh::segment_rectangle({1, 8}, {1, 0}, 3, 2, t), 2);
  EXPECT_DOUBLE_EQ(t, 0.75);
  EXPECT_EQ(scanmesh::segment_rectangle({1, -8}, {1, 0}, 3, 2, t), 3);
  EXPECT_DOUBLE_EQ(t, 0.75);
}

TEST(SegmentRectangle, crosses_last_what_it_lies_beyond) {
  double t = 0;
  // Beyond x = 3 and y = 2: passes y = 2 at a third, x = 3 at a half.
  EXPECT_EQ(scanmesh::segment_rectangle({6, 3}, {0, 0}, 3, 2, t), 1);
  EXPECT_DOUBLE_EQ(t, 0.5);
  EXPECT_EQ(scanmesh::segment_rectangle({4, 6}, {0, 0}, 3, 2, t), 2);
  EXPECT_DOUBLE_EQ(t, 2.0 / 3);
}

TEST(SegmentRectangle, refuses_ends_that_lie_otherwise) {
  double t = 0.25;
  EXPECT_EQ(scanmesh::segment_rectangle({0, 0}, {1, 1}, 3, 2, t), -1);
  EXPECT_EQ(scanmesh::segment_rectangle({-9, 0}, {9, 0}, 3, 2, t), -1);
  EXPECT_EQ(t, 0.25);
}

TEST(SegmentOval, names_the_side_that_it_crosses) {
  double t = 0;
  EXPECT_EQ(scanmesh::segment_oval({-10, 0}, {0, 0}, 3, 2, t), 0);
  EXPECT_DOUBLE_EQ(t, 0.5);
  EXPECT_EQ(scanmesh::segment_oval({10, 0}, {0, 0}, 3, 2, t), 1);
  EXPECT_DOUBLE_EQ(t, 0.5);
  EXPECT_EQ(scanmesh::segment_oval({1, 4}, {1, 0}, 3, 2, t), 2);
  EXPECT_DOUBLE_EQ(t, 0.5);
  EXPECT_EQ(scanmesh::segment_oval({1, -4}, {1, 0}, 3, 2, t), 3);
  EXPECT_DOUBLE_EQ(t, 0.5);
}

TEST(SegmentOval, refuses_ends_that_lie_otherwise) {
  double t = 0.25;
  EXPECT_EQ(scanmesh::segment_oval({0, 0}, {1, 1}, 3, 2, t), -1);
  EXPECT_EQ(scanmesh::segment_oval({-9, 0}, {9, 0}, 3, 2, t), -1);
  EXPECT_EQ(t, 0.25);
}

TEST(SegmentOval, is_a_circle_without_a_straight_part) {
  double t = 0;
  EXPECT_EQ(scanmesh::segment_oval({-4, 0}, {0, 0}, 0, 2, t), 0);
  EXPECT_NEAR(t, 0.5, 1e-14);
  EXPECT_EQ(scanmesh::segment_oval({4, 0}, {0, 0}, 0, 2, t), 1);
  EXPECT_NEAR(t, 0.5, 1e-14);
  EXPECT_GE(scanmesh::segment_oval({0, 4}, {0, 0}, 0, 2, t), 0);
  EXPECT_NEAR(t, 0.5, 1e-14);
  EXPECT_TRUE(scanmesh::oval_junctions(0, 2).empty());
}

// Every crossing lies between a point outside and a point inside, for segments of all kinds.
TEST(Segments, cross_where_the_sign_changes) {
  test_support::Random random(11);
  const auto coordinate = [&] { return 8.0 * random.signed_unit(); };
  int crossed = 0;
  for (int i = 0; i < 20000; ++i) {
    const Point2 p{coordinate(), coordinate()};
    const Point2 q{coordinate(), coordinate()};
    for (int shape = 0; shape < 2; ++shape) {
      const auto sign = [&](const Point2& x) {
        return shape == 0 ? scanmesh::oval_sign(x, 3, 2) : scanmesh::rectangle_sign(x, 5, 2);
      };
      if (sign(p) < 0 || sign(q) > 0) continue;
      double t = -1;
      const int side = shape == 0 ? scanmesh::segment_oval(p, q, 3, 2, t)
                                  : scanmesh::segment_rectangle(p, q, 5, 2, t);
      ASSERT_GE(side, 0);
      EXPECT_EQ(sign(between(p, q, t - 1e-9)), 1) << i;
      EXPECT_EQ(sign(between(p, q, t + 1e-9)), -1) << i;
      ++crossed;
    }
  }
  EXPECT_GT(crossed, 5000);
}

TEST(CornerWeights, make_up_the_point) {
  std::array<double, 3> w{};
  ASSERT_TRUE(scanmesh::corner_weights({0, 0}, {4, 0}, {0, 4}, {1, 2}, w));
  EXPECT_DOUBLE_EQ(w[0], 0.25);
  EXPECT_DOUBLE_EQ(w[1], 0.25);
  EXPECT_DOUBLE_EQ(w[2], 0.5);
  EXPECT_FALSE(scanmesh::corner_weights({0, 0}, {4, 0}, {2, 0}, {1, 0}, w));
}

TEST(SegmentOval, may_end_exactly_on_the_curve) {
  double t = -1;
  EXPECT_EQ(scanmesh::segment_oval({10, 0}, {5, 0}, 3, 2, t), 1);
  EXPECT_EQ(t, 1);
  EXPECT_EQ(scanmesh::segment_oval({-10, 0}, {-5, 0}, 3, 2, t), 0);
  EXPECT_EQ(t, 1);
  EXPECT_EQ(scanmesh::segment_oval({1, 4}, {1, 2}, 3, 2, t), 2);
  EXPECT_EQ(t, 1);
}

}  // namespace
