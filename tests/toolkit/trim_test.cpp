#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "scanmesh/toolkit/building.h"
#include "scanmesh/toolkit/inspect.h"
#include "tests/support/damage.h"
#include "toolkit/vector_math.h"

namespace scanmesh {
namespace {

using test_support::grid_cube;
using test_support::moved;

// A cube of 60 a side, edges about 1.2.
TriangleMesh big_cube() {
  return moved(grid_cube(50), {}, 30);
}

Opening circle_on_top(double radius) {
  Opening opening;
  opening.centre = {3, 4, 30};
  opening.normal = {0, 0, 2};
  opening.half_length = radius;
  return opening;
}

double off_slot(double x, double y, double a, double b) {
  return std::abs(std::hypot(std::max(0.0, std::abs(x) - (a - b)), y) - b);
}

double off_rectangle(double x, double y, double a, double b) {
  return std::abs(std::max(std::abs(x) - a, std::abs(y) - b));
}

// The only ring, and the points of it.
std::vector<Point> rim_of(const TriangleMesh& mesh) {
  std::vector<Point> rim;
  const auto rings = find_rings(mesh);
  EXPECT_EQ(rings.size(), 1U);
  if (rings.empty()) return rim;
  for (const std::int32_t v : rings[0]) rim.push_back(mesh.points[static_cast<std::size_t>(v)]);
  return rim;
}

TEST(Trim, a_circle_is_cut_along_its_curve_and_the_rest_stays_to_the_bit) {
  const TriangleMesh mesh = big_cube();
  const TriangleMesh result = trim(mesh, {circle_on_top(7)});
  const std::vector<Point> rim = rim_of(result);
  EXPECT_GT(rim.size(), 30U);
  for (const Point& p : rim) {
    EXPECT_NEAR(std::hypot(p.x - 3, p.y - 4), 7, 0.002);
    EXPECT_NEAR(p.z, 30, 1e-4);
  }
  const Health health = inspect(result);
  EXPECT_TRUE(health.healthy_but_open());
  EXPECT_NEAR(health.area, 6 * 60 * 60 - M_PI * 49, 0.5);
  // Points and triangles that are far from it, in their order.
  std::size_t at = 0;
  for (const Point& p : mesh.points) {
    if (p.z > 20) continue;
    while (at < result.points.size() && result.points[at] != p) ++at;
    EXPECT_LT(at, result.points.size());
  }
}

TEST(Trim, slots_and_rectangles_are_cut_along_their_curves) {
  for (const Opening::Shape shape : {Opening::Shape::slot, Opening::Shape::rectangle}) {
    Opening opening = circle_on_top(9);
    opening.shape = shape;
    opening.half_width = 4;
    opening.direction = {3, 4, 7};  // only what is across the normal counts
    const std::vector<Point> rim = rim_of(trim(big_cube(), {opening}));
    EXPECT_GT(rim.size(), 30U);
    for (const Point& p : rim) {
      const double x = (0.6 * (p.x - 3) + 0.8 * (p.y - 4));
      const double y = (-0.8 * (p.x - 3) + 0.6 * (p.y - 4));
      const double off =
          shape == Opening::Shape::slot ? off_slot(x, y, 9, 4) : off_rectangle(x, y, 9, 4);
      EXPECT_LT(off, 0.01) << x << " " << y;
    }
  }
}

TEST(Trim, a_wall_goes_down_from_the_rim) {
  Opening opening = circle_on_top(7);
  opening.depth = 5;
  const TriangleMesh result = trim(big_cube(), {opening});
  for (const Point& p : rim_of(result)) {
    EXPECT_NEAR(std::hypot(p.x - 3, p.y - 4), 7, 0.002);
    EXPECT_NEAR(p.z, 25, 1e-3);
  }
  EXPECT_NEAR(inspect(result).area, 6 * 60 * 60 - M_PI * 49 + 2 * M_PI * 7 * 5, 1);
}

TEST(Trim, several_openings_come_one_after_the_other) {
  Opening second = circle_on_top(5);
  second.centre = {0, -30, 0};
  second.normal = {0, -1, 0};
  const TriangleMesh result = trim(big_cube(), {circle_on_top(7), second});
  EXPECT_EQ(find_rings(result).size(), 2U);
  EXPECT_NEAR(inspect(result).area, 6 * 60 * 60 - M_PI * (49 + 25), 0.7);
}

TEST(Trim, the_unit_does_not_matter) {
  const TriangleMesh plain = trim(big_cube(), {circle_on_top(7)});
  const double scale = 1.0 / 1024;
  Opening opening = circle_on_top(7 * scale);
  opening.centre = opening.centre * scale;
  EXPECT_EQ(trim(moved(big_cube(), {}, scale), {opening}), moved(plain, {}, scale));
}

std::string refusal(const std::vector<Opening>& openings) {
  try {
    trim(big_cube(), openings);
  } catch (const Error& error) {
    EXPECT_EQ(error.code(), ErrorCode::invalid_argument);
    return error.what();
  }
  return "";
}

TEST(Trim, names_the_opening_that_is_refused) {
  const Opening good = circle_on_top(7);
  Opening off = circle_on_top(5);
  off.centre = {0, 0, 90};
  EXPECT_EQ(refusal({good, off}), "opening 2: the mesh has no surface there");
  EXPECT_EQ(refusal({good, good}), "opening 2: the mesh has no surface there");
  Opening across = good;
  across.centre.x += 7;  // its rim runs over the first one's
  EXPECT_EQ(
      refusal({good, across}),
      "opening 2: the mesh doesn't hold it: it would pass through a border or another opening");
  Opening wrong = good;
  wrong.half_length = 0;
  EXPECT_EQ(refusal({wrong}), "opening 1: the half length must be positive");
  wrong = good;
  wrong.shape = Opening::Shape::slot;
  EXPECT_EQ(refusal({wrong}), "opening 1: the half width must be positive");
  wrong.half_width = 8;
  EXPECT_EQ(refusal({wrong}), "opening 1: it is wider than it is long");
  wrong.half_width = 3;
  wrong.direction = {0, 0, 1};
  EXPECT_EQ(refusal({wrong}), "opening 1: the direction must be finite and not along the normal");
  wrong = good;
  wrong.normal = {};
  EXPECT_NE(refusal({wrong}), "");
  wrong = good;
  wrong.depth = -1;
  EXPECT_NE(refusal({wrong}), "");
}

TEST(Trim, prints_nothing) {
  testing::internal::CaptureStdout();
  refusal({circle_on_top(7), circle_on_top(7)});
  Opening across = circle_on_top(7);
  across.centre.x += 7;
  refusal({circle_on_top(7), across});
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

}  // namespace
}  // namespace scanmesh
