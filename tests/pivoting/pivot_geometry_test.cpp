#include "pivoting/pivot_geometry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/support/shapes.h"

namespace {

using namespace scanmesh;
using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;

constexpr double kCos75 = 0.25881904510252074;

_vert at(const Vec3f& point, const Vec3f& normal = {0, 0, 1}) {
  _vert vert;
  vert.point = point;
  vert.vector = normal;
  return vert;
}

// The limits of spacing 1: radii 0.45, 1.05, 1.5, 2.25, 3.
class FindSphere : public testing::Test {
 protected:
  FindSphere() {
    set_schedule(1, base_radius_, radius_, radius_sq_, max_dist_);
    limits_ = {radius_sq_, max_dist_, cos_degrees(75)};
    ball_.r_sq = radius_sq_[0];
  }
  bool find(const _vert& p, const _vert& a, const _vert& b) {
    return find_sphere(limits_, p, a, b, ball_);
  }

  double base_radius_ = 0;
  double radius_[kRadii] = {};
  double radius_sq_[kRadii] = {};
  double max_dist_ = 0;
  BallLimits limits_{};
  Ball ball_{};
};

TEST(Schedule, has_five_radii_of_the_spacing) {
  double base = 0;
  double radius[kRadii];
  double radius_sq[kRadii];
  double reach = 0;
  set_schedule(2, base, radius, radius_sq, reach);
  EXPECT_EQ(base, 3);
  const double expected[kRadii] = {0.3 * 3.0, 0.7 * 3.0, 3.0, 4.5, 6.0};
  for (int i = 0; i < kRadii; ++i) {
    EXPECT_DOUBLE_EQ(radius[i], expected[i]);
    EXPECT_EQ(radius_sq[i], radius[i] * radius[i]);
  }
  EXPECT_EQ(reach, 12);
  EXPECT_DOUBLE_EQ(cos_degrees(75), kCos75);
  EXPECT_DOUBLE_EQ(cos_degrees(120), -0.5);
}

TEST_F(FindSphere, takes_the_first_radius_that_reaches_the_triangle) {
  // A right triangle: the circumcentre is the middle of the long side.
  ASSERT_TRUE(find(at({0, 0, 0}), at({1, 0, 0}), at({0, 1, 0})));
  EXPECT_NEAR(ball_.circ_sq, 0.5, 1e-12);
  EXPECT_EQ(ball_.r_sq, radius_sq_[1]);
  EXPECT_NEAR(ball_.centre.x, 0.5, 1e-6);
  EXPECT_NEAR(ball_.centre.y, 0.5, 1e-6);
  EXPECT_NEAR(ball_.centre.z, std::sqrt(1.05 * 1.05 - 0.5), 1e-6);
  EXPECT_EQ(ball_.normal.z, 1);
}

// Differences, normal and centre are floats, all else is double.
TEST_F(FindSphere, rounds_as_the_plain_form_does) {
  test_support::Random random(5);
  const auto place = [&random] {
    return Vec3f{random.signed_unit(), random.signed_unit(), 0.2F * random.signed_unit()};
  };
  int found = 0;
  for (int i = 0; i < 2000; ++i) {
    const _vert p = at(place());
    const _vert a = at(place());
    const _vert b = at(place());
    ball_.r_sq = radius_sq_[0];
    if (!find(p, a, b)) continue;
    ++found;
    const Vec3f u{a.point.x - p.point.x, a.point.y - p.point.y, a.point.z - p.point.z};
    const Vec3f v{b.point.x - p.point.x, b.point.y - p.point.y, b.point.z - p.point.z};
    const auto product = [](const Vec3f& s, const Vec3f& t) {
      return static_cast<double>(s.x) * t.x + static_cast<double>(s.y) * t.y +
             static_cast<double>(s.z) * t.z;
    };
    const double uu = product(u, u);
    const double vv = product(v, v);
    const double w = product(u, v);
    const double d = 2 * (uu * vv - w * w);
    const double s = (uu * vv - vv * w) / d;
    const double t = (uu * vv - uu * w) / d;
    const double centre[3] = {s * u.x + t * v.x, s * u.y + t * v.y, s * u.z + t * v.z};
    const double circ_sq = centre[0] * centre[0] + centre[1] * centre[1] + centre[2] * centre[2];
    EXPECT_EQ(ball_.circ_sq, circ_sq) << i;
    const double height = std::sqrt(ball_.r_sq - circ_sq);
    EXPECT_EQ(ball_.centre.x, static_cast<float>(p.point.x + centre[0] + ball_.normal.x * height));
    EXPECT_EQ(ball_.centre.y, static_cast<float>(p.point.y + centre[1] + ball_.normal.y * height));
    EXPECT_EQ(ball_.centre.z, static_cast<float>(p.point.z + centre[2] + ball_.normal.z * height));
  }
  EXPECT_GT(found, 500);
}

TEST_F(FindSphere, a_small_triangle_stays_at_the_radius_it_came_with) {
  ASSERT_TRUE(find(at({0, 0, 0}), at({0.5F, 0, 0}), at({0, 0.5F, 0})));
  EXPECT_EQ(ball_.r_sq, radius_sq_[0]);
}

TEST_F(FindSphere, a_radius_equal_to_the_circumradius_is_reached_only_when_it_came_with_it) {
  // Circumradius 1.5, which is the third radius.
  const _vert p = at({0, 0, 0});
  const _vert a = at({3, 0, 0});
  const _vert b = at({1.5F, 1.5F, 0});
  ASSERT_TRUE(find(p, a, b));
  EXPECT_EQ(ball_.circ_sq, 2.25);
  EXPECT_EQ(ball_.r_sq, radius_sq_[3]);
  ball_.r_sq = 2.25;
  ASSERT_TRUE(find(p, a, b));
  EXPECT_EQ(ball_.r_sq, 2.25);
  EXPECT_EQ(ball_.centre.z, 0);
}

TEST_F(FindSphere, lies_on_the_side_of_the_first_point_s_normal) {
  ASSERT_TRUE(find(at({0, 0, 0}, {0, 0, -1}), at({1, 0, 0}), at({0, 1, 0})));
  EXPECT_EQ(ball_.normal.z, -1);
  EXPECT_LT(ball_.centre.z, 0);
}

TEST_F(FindSphere, fails_beyond_the_largest_radius) {
  EXPECT_FALSE(find(at({0, 0, 0}), at({5.9F, 0, 0}), at({2.9F, 1, 0})));
}

TEST_F(FindSphere, fails_beyond_the_reach) {
  EXPECT_FALSE(find(at({0, 0, 0}), at({6.01F, 0, 0}), at({0, 1, 0})));
  EXPECT_FALSE(find(at({0, 0, 0}), at({1, 0, 0}), at({0, 6.01F, 0})));
}

TEST_F(FindSphere, fails_for_three_points_on_a_line) {
  EXPECT_FALSE(find(at({0, 0, 0}), at({1, 0, 0}), at({1, 0.0009F, 0})));
}

TEST_F(FindSphere, fails_when_the_normal_leans_by_more_than_75_degrees) {
  const auto leaning = [](double degrees) {
    const double angle = degrees * 3.14159265358979 / 180;
    return Vec3f{static_cast<float>(std::sin(angle)), 0, static_cast<float>(std::cos(angle))};
  };
  EXPECT_TRUE(find(at({0, 0, 0}, leaning(74.9)), at({1, 0, 0}), at({0, 1, 0})));
  EXPECT_FALSE(find(at({0, 0, 0}, leaning(75.1)), at({1, 0, 0}), at({0, 1, 0})));
}

TEST_F(FindSphere, fails_for_equal_points_and_for_what_is_no_number) {
  constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
  EXPECT_FALSE(find(at({0, 0, 0}), at({0, 0, 0}), at({0, 1, 0})));
  EXPECT_FALSE(find(at({0, 0, 0}), at({1, 0, 0}), at({1, 0, 0})));
  EXPECT_FALSE(find(at({0, 0, kNaN}), at({1, 0, 0}), at({0, 1, 0})));
  EXPECT_FALSE(find(at({0, 0, 0}), at({1, kNaN, 0}), at({0, 1, 0})));
  EXPECT_FALSE(find(at({0, 0, 0}, {0, 0, kNaN}), at({1, 0, 0}), at({0, 1, 0})));
  EXPECT_FALSE(find(at({0, 0, 0}, {0, 0, 0}), at({1, 0, 0}), at({0, 1, 0})));
}

TEST(Ball, a_point_is_outside_up_to_the_tolerance) {
  const Ball ball{{0, 0, 0}, {0, 0, 1}, 1, 0.5};
  EXPECT_TRUE(outside(ball, {1, 0, 0}, 0));
  EXPECT_FALSE(outside(ball, {0.99F, 0, 0}, 0.01));
  EXPECT_TRUE(outside(ball, {0.996F, 0, 0}, 0.01));
}

// Two faces on the edge from a to b.
struct Hinge {
  _vert a = at({0, 0, 0});
  _vert b = at({1, 0, 0});
  _vert c;
  _vert d;
  _edge edge;
  _face first;
  _face second;
  _face* list[3] = {&first, &second, &second};

  Hinge(const Vec3f& left, const Vec3f& right) : c(at(left)), d(at(right)) {
    edge.vert[0] = &a;
    edge.vert[1] = &b;
    edge.face = list;
    edge.face_num = 2;
    _vert* const corners[3] = {&a, &b, &c};
    std::copy_n(corners, 3, first.vert);
    _vert* const others[3] = {&d, &b, &a};
    std::copy_n(others, 3, second.vert);
    first.vector = {0, 0, 1};
    second.vector = {0, 0, 1};
  }
  Hinge(const Hinge&) = delete;
};

BallLimits limits() {
  static const double radius_sq[kRadii] = {1, 2, 3, 4, 5};
  return {radius_sq, 10, kCos75};
}

TEST(Hinge, the_far_corner_is_no_end_of_the_edge) {
  Hinge hinge({0, 1, 0}, {0, -1, 0});
  EXPECT_EQ(far_corner(hinge.first, hinge.edge), &hinge.c);
  EXPECT_EQ(far_corner(hinge.second, hinge.edge), &hinge.d);
}

TEST(Hinge, a_candidate_lies_beyond_unless_it_is_on_the_face_s_side) {
  Hinge hinge({0, 1, 0}, {0, -1, 0});
  EXPECT_TRUE(lies_beyond(hinge.edge, at({5, -0.1F, 0})));
  EXPECT_FALSE(lies_beyond(hinge.edge, at({5, 0.1F, 0})));
  // At a right angle the product is 0, which counts as beyond.
  EXPECT_TRUE(lies_beyond(hinge.edge, at({0, 0, 1})));
  EXPECT_TRUE(lies_beyond(hinge.edge, at({3, 0, 0})));
}

TEST(Hinge, an_edge_may_keep_fewer_than_two_faces_and_no_more_than_two) {
  Hinge hinge({0, 1, 0}, {0, 1, 0});
  hinge.edge.face_num = 1;
  EXPECT_TRUE(may_stay(limits(), hinge.edge));
  hinge.edge.face_num = 0;
  EXPECT_TRUE(may_stay(limits(), hinge.edge));
  Hinge open({0, 1, 0}, {0, -1, 0});
  EXPECT_TRUE(may_stay(limits(), open.edge));
  open.edge.face_num = 3;
  EXPECT_FALSE(may_stay(limits(), open.edge));
}

TEST(Hinge, two_faces_may_not_fold_onto_each_other) {
  Hinge folded({0, 1, 0}, {1, 2, 0});
  EXPECT_FALSE(may_stay(limits(), folded.edge));
  Hinge flat({0, 1, 0}, {0, -1, 0});
  flat.second.vector = {0.97F, 0, 0.25F};
  EXPECT_FALSE(may_stay(limits(), flat.edge));
  flat.second.vector = {0.96F, 0, 0.26F};
  EXPECT_TRUE(may_stay(limits(), flat.edge));
}

}  // namespace
