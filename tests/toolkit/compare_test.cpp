#include "scanmesh/toolkit/compare.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/damage.h"

namespace scanmesh {
namespace {

using test_support::grid_cube;
using test_support::moved;
using test_support::noisy_torus;

TEST(Compare, a_mesh_and_itself_are_nowhere_apart) {
  const TriangleMesh mesh = noisy_torus(20, 10, 1);
  const Comparison result = compare(mesh, mesh);
  EXPECT_LT(result.maximum, 1e-15);
  EXPECT_EQ(result.a_to_b.within, 1);
  EXPECT_EQ(result.a_to_b.of_points.size(), mesh.points.size());
}

TEST(Compare, a_smaller_cube_lies_behind_a_larger_one) {
  const Comparison result = compare(moved(grid_cube(4), {}, 0.5), grid_cube(4));
  // Inside, every place is half an edge off the nearest side.
  EXPECT_DOUBLE_EQ(result.a_to_b.mean, 0.5);
  EXPECT_DOUBLE_EQ(result.a_to_b.rms, 0.5);
  EXPECT_DOUBLE_EQ(result.a_to_b.maximum, 0.5);
  for (const double d : result.a_to_b.of_points) EXPECT_DOUBLE_EQ(d, -0.5);
  // The corner of the larger one is furthest from the smaller.
  EXPECT_DOUBLE_EQ(result.b_to_a.maximum, std::sqrt(0.75));
  for (const double d : result.b_to_a.of_points) EXPECT_GT(d, 0);
  EXPECT_DOUBLE_EQ(result.maximum, std::sqrt(0.75));
}

TEST(Compare, is_what_looking_at_every_triangle_gives) {
  const TriangleMesh a = noisy_torus(12, 8, 1, 0.1);
  const TriangleMesh b = noisy_torus(14, 9, 2, 0.1);
  const Comparison result = compare(a, b);
  const TriangleMesh one_by_one = b;
  for (std::size_t v = 0; v < a.points.size(); v += 7) {
    double least = 1e9;
    for (const Triangle& t : one_by_one.triangles) {
      TriangleMesh single;
      for (const std::int32_t i : t) single.points.push_back(b.points[static_cast<std::size_t>(i)]);
      single.triangles = {{0, 1, 2}};
      TriangleMesh probe;
      probe.points = {a.points[v], a.points[v], a.points[v]};
      probe.triangles = {{0, 1, 2}};
      least = std::min(least, std::abs(compare(probe, single).a_to_b.of_points[0]));
    }
    EXPECT_NEAR(std::abs(result.a_to_b.of_points[v]), least, 1e-12);
  }
}

TEST(Compare, the_share_within_a_tolerance_is_by_area) {
  CompareOptions options;
  options.within = 0.5;
  EXPECT_EQ(compare(moved(grid_cube(2), {}, 0.5), grid_cube(2), options).a_to_b.within, 1);
  options.within = 0.49;
  EXPECT_EQ(compare(moved(grid_cube(2), {}, 0.5), grid_cube(2), options).a_to_b.within, 0);
}

TEST(Compare, a_mesh_without_faces_is_refused) {
  EXPECT_THROW(compare({}, grid_cube(1)), Error);
  EXPECT_THROW(compare(grid_cube(1), {}), Error);
}

}  // namespace
}  // namespace scanmesh
