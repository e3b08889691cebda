#include "toolkit/predicates.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace scanmesh {
namespace {

// Whole numbers of 128 bits: exact for coordinates up to 2^38.
__extension__ using Wide = __int128;

int sign_of(Wide value) {
  return value > 0 ? 1 : value < 0 ? -1 : 0;
}

Wide wide(double value) {
  return static_cast<Wide>(static_cast<std::int64_t>(value));
}

int plain_orient3d(const Point& a, const Point& b, const Point& c, const Point& d) {
  const Wide ux = wide(b.x) - wide(a.x), uy = wide(b.y) - wide(a.y), uz = wide(b.z) - wide(a.z);
  const Wide vx = wide(c.x) - wide(a.x), vy = wide(c.y) - wide(a.y), vz = wide(c.z) - wide(a.z);
  const Wide wx = wide(d.x) - wide(a.x), wy = wide(d.y) - wide(a.y), wz = wide(d.z) - wide(a.z);
  return sign_of((uy * vz - uz * vy) * wx + (uz * vx - ux * vz) * wy + (ux * vy - uy * vx) * wz);
}

Point random_point(std::mt19937_64& random, std::int64_t reach) {
  std::uniform_int_distribution<std::int64_t> any(-reach, reach);
  return {static_cast<double>(any(random)), static_cast<double>(any(random)),
          static_cast<double>(any(random))};
}

Point scaled(const Point& p, double by) {
  return {p.x * by, p.y * by, p.z * by};
}

TEST(Predicates, orient3d_is_the_sign_of_whole_number_arithmetic) {
  std::mt19937_64 random(1);
  for (const std::int64_t reach : {std::int64_t{2}, std::int64_t{100}, std::int64_t{1} << 38}) {
    for (int i = 0; i < 20000; ++i) {
      const Point a = random_point(random, reach);
      const Point b = random_point(random, reach);
      const Point c = random_point(random, reach);
      const Point d = random_point(random, reach);
      ASSERT_EQ(orient3d(a, b, c, d), plain_orient3d(a, b, c, d));
    }
  }
}

TEST(Predicates, orient3d_tells_a_plane_from_one_unit_in_the_last_place) {
  std::mt19937_64 random(2);
  constexpr std::int64_t kReach = std::int64_t{1} << 36;
  int on_plane = 0;
  for (int i = 0; i < 5000; ++i) {
    const Point a = random_point(random, kReach);
    const Point b = random_point(random, kReach);
    const Point c = random_point(random, kReach);
    // A corner of the parallelogram lies in the plane; one unit aside it may not.
    Point d{b.x + c.x - a.x, b.y + c.y - a.y, b.z + c.z - a.z};
    ASSERT_EQ(orient3d(a, b, c, d), 0);
    ++on_plane;
    d.x += 1;
    ASSERT_EQ(orient3d(a, b, c, d), plain_orient3d(a, b, c, d));
  }
  EXPECT_EQ(on_plane, 5000);
}

TEST(Predicates, orient3d_does_not_depend_on_the_unit) {
  std::mt19937_64 random(3);
  for (int i = 0; i < 2000; ++i) {
    const Point a = random_point(random, 5);
    const Point b = random_point(random, 5);
    const Point c = random_point(random, 5);
    const Point d = random_point(random, 5);
    for (const double unit : {0x1p-40, 0x1p60}) {
      ASSERT_EQ(orient3d(scaled(a, unit), scaled(b, unit), scaled(c, unit), scaled(d, unit)),
                plain_orient3d(a, b, c, d));
    }
  }
}

TEST(Predicates, points_a_rounding_error_off_a_line_are_off_it) {
  const Point a{0, 0, 0};
  const Point b{1, 1, 0};
  const Point on{0.5, 0.5, 0};
  const Point off{0.5, std::nextafter(0.5, 1), 0};
  EXPECT_EQ(orient2d(a, b, on, Plane::xy), 0);
  EXPECT_EQ(orient2d(a, b, off, Plane::xy), 1);
  EXPECT_TRUE(collinear(a, b, on));
  EXPECT_FALSE(collinear(a, b, off));
}

TEST(Predicates, the_widest_projection_of_a_needle_still_has_a_turn) {
  const Point a{0, 0, 0};
  const Point b{1, 1, 1};
  const Point c{0.5, 0.5, std::nextafter(0.5, 1)};
  EXPECT_NE(orient2d(a, b, c, widest_projection(a, b, c)), 0);
}

}  // namespace
}  // namespace scanmesh
