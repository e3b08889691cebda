#include "toolkit/contact.h"

#include <gtest/gtest.h>

#include <array>
#include <boost/multiprecision/cpp_int.hpp>
#include <random>

namespace scanmesh {
namespace {

using Rational = boost::multiprecision::cpp_rational;
using Vector = std::array<Rational, 3>;

Vector vector_of(const Point& p) {
  return {Rational(p.x), Rational(p.y), Rational(p.z)};
}
Vector operator-(const Vector& a, const Vector& b) {
  return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}
Rational dot(const Vector& a, const Vector& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
Vector cross(const Vector& a, const Vector& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

using Corners = std::array<Vector, 3>;

bool inside(const Vector& p, const Corners& t) {
  const Vector n = cross(t[1] - t[0], t[2] - t[0]);
  if (dot(n, p - t[0]) != 0) return false;
  for (std::size_t k = 0; k < 3; ++k) {
    if (dot(cross(t[(k + 1) % 3] - t[k], p - t[k]), n) < 0) return false;
  }
  return true;
}

// Whether two closed segments of one plane meet, by rational parameters.
bool segments_meet(const Vector& a, const Vector& b, const Vector& c, const Vector& d) {
  const Vector u = b - a;
  const Vector v = d - c;
  const Vector n = cross(u, v);
  const Rational size = dot(n, n);
  if (size == 0) {
    if (dot(cross(u, c - a), cross(u, c - a)) != 0) return false;
    const Rational from = dot(c - a, u);
    const Rational to = dot(d - a, u);
    const Rational most = dot(u, u);
    return !(from < 0 && to < 0) && !(from > most && to > most);
  }
  if (dot(c - a, n) != 0) return false;
  const Rational s = dot(cross(c - a, v), n) / size;
  const Rational t = dot(cross(c - a, u), n) / size;
  return s >= 0 && s <= 1 && t >= 0 && t <= 1;
}

bool segment_meets(const Vector& p, const Vector& q, const Corners& t) {
  if (inside(p, t) || inside(q, t)) return true;
  const Vector n = cross(t[1] - t[0], t[2] - t[0]);
  const Rational along = dot(n, q - p);
  if (along == 0) {
    for (std::size_t k = 0; k < 3; ++k) {
      if (segments_meet(p, q, t[k], t[(k + 1) % 3])) return true;
    }
    return false;
  }
  const Rational s = dot(n, t[0] - p) / along;
  if (s < 0 || s > 1) return false;
  const Vector d = q - p;
  return inside({p[0] + s * d[0], p[1] + s * d[1], p[2] + s * d[2]}, t);
}

bool plain_meets(const Corners& s, const Corners& t) {
  for (std::size_t k = 0; k < 3; ++k) {
    if (segment_meets(s[k], s[(k + 1) % 3], t) || segment_meets(t[k], t[(k + 1) % 3], s))
      return true;
  }
  return false;
}

Corners corners_of(const std::vector<Point>& points, const Triangle& t) {
  return {vector_of(points[static_cast<std::size_t>(t[0])]),
          vector_of(points[static_cast<std::size_t>(t[1])]),
          vector_of(points[static_cast<std::size_t>(t[2])])};
}

std::vector<Point> random_corners(std::mt19937& random, int reach, std::size_t count) {
  std::uniform_int_distribution<int> any(0, reach);
  std::vector<Point> points(count);
  for (Point& p : points) p = {double(any(random)), double(any(random)), double(any(random))};
  return points;
}

TEST(Contact, triangles_meet_where_rational_arithmetic_says_so) {
  std::mt19937 random(1);
  int met = 0;
  int apart = 0;
  for (int i = 0; i < 4000; ++i) {
    // Small grids are full of shared points, lines and planes.
    const auto points = random_corners(random, 1 + i % 4, 6);
    const Triangle s{0, 1, 2};
    const Triangle t{3, 4, 5};
    if (degenerate(points, s) || degenerate(points, t)) continue;
    const bool expected = plain_meets(corners_of(points, s), corners_of(points, t));
    ASSERT_EQ(contact_of(points, s, t) != Contact::none, expected) << i;
    ++(expected ? met : apart);
  }
  EXPECT_GT(met, 500);
  EXPECT_GT(apart, 500);
}

TEST(Contact, at_a_shared_corner_only_what_lies_beyond_counts) {
  std::mt19937 random(2);
  int met = 0;
  int apart = 0;
  for (int i = 0; i < 4000; ++i) {
    const auto points = random_corners(random, 1 + i % 4, 5);
    const Triangle s{0, 1, 2};
    const Triangle t{0, 3, 4};
    if (degenerate(points, s) || degenerate(points, t)) continue;
    const Corners a = corners_of(points, s);
    const Corners b = corners_of(points, t);
    // Two convex sets share more than the corner where one's far edge meets the other.
    const bool expected = segment_meets(a[1], a[2], b) || segment_meets(b[1], b[2], a);
    ASSERT_EQ(contact_of(points, s, t) != Contact::none, expected) << i;
    ++(expected ? met : apart);
  }
  EXPECT_GT(met, 300);
  EXPECT_GT(apart, 300);
}

TEST(Contact, crossing_touching_and_overlapping_are_told_apart) {
  const std::vector<Point> points{{0, 0, 0},  {4, 0, 0}, {0, 4, 0},   // 0: in the plane z = 0
                                  {1, 1, -1}, {1, 1, 1}, {3, 3, 1},   // 3: through it
                                  {1, 1, 0},  {2, 1, 3}, {1, 2, 3},   // 6: a corner on it
                                  {1, 1, 0},  {6, 1, 0}, {1, 6, 0},   // 9: area in common
                                  {4, 0, 0},  {8, 0, 0}, {4, 4, 0}};  // 12: a corner in common
  EXPECT_EQ(contact_of(points, {0, 1, 2}, {3, 4, 5}), Contact::cross);
  EXPECT_EQ(contact_of(points, {0, 1, 2}, {6, 7, 8}), Contact::touch);
  EXPECT_EQ(contact_of(points, {0, 1, 2}, {9, 10, 11}), Contact::overlap);
  EXPECT_EQ(contact_of(points, {0, 1, 2}, {12, 13, 14}), Contact::touch);
  EXPECT_EQ(contact_of(points, {0, 1, 2}, {2, 0, 1}), Contact::doubled);
}

TEST(Contact, neighbours_at_an_edge_meet_only_when_folded_flat) {
  const std::vector<Point> points{{0, 0, 0},  {1, 0, 0},      {0, 1, 0},
                                  {0, -1, 0}, {0.25, 0.5, 0}, {0, 0, 1}};
  EXPECT_EQ(contact_of(points, {0, 1, 2}, {1, 0, 3}), Contact::none);
  EXPECT_EQ(contact_of(points, {0, 1, 2}, {1, 0, 4}), Contact::overlap);
  EXPECT_EQ(contact_of(points, {0, 1, 2}, {1, 0, 5}), Contact::none);
}

TEST(Contact, three_points_on_a_line_are_degenerate) {
  const std::vector<Point> points{{0, 0, 0}, {1, 1, 1}, {2, 2, 2}, {0, 1, 0}};
  EXPECT_TRUE(degenerate(points, {0, 1, 2}));
  EXPECT_TRUE(degenerate(points, {0, 0, 3}));
  EXPECT_FALSE(degenerate(points, {0, 1, 3}));
}

}  // namespace
}  // namespace scanmesh
