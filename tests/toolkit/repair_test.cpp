#include "scanmesh/toolkit/repair.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <tuple>

#include "scanmesh/toolkit/steps.h"
#include "tests/support/damage.h"

namespace scanmesh {
namespace {

using test_support::append;
using test_support::Damage;
using test_support::Damager;
using test_support::grid_cube;
using test_support::moved;
using test_support::noisy_torus;

std::set<std::tuple<double, double, double>> places(const TriangleMesh& mesh) {
  std::set<std::tuple<double, double, double>> set;
  for (const Point& p : mesh.points) set.emplace(p.x, p.y, p.z);
  return set;
}

// One hole of one triangle, and far from it one of four.
TriangleMesh torus_with_two_holes() {
  TriangleMesh mesh = noisy_torus(60, 30, 3);
  mesh.triangles.erase(mesh.triangles.begin() + 1000, mesh.triangles.begin() + 1004);
  mesh.triangles.erase(mesh.triangles.begin());
  return mesh;
}

TEST(Repair, a_healthy_mesh_comes_back_to_the_bit) {
  TriangleMesh mesh = noisy_torus(30, 16, 1);
  mesh.colors.assign(mesh.points.size(), Color{1, 2, 3, 4});
  const RepairResult result = repair(mesh);
  EXPECT_EQ(result.report.state, RepairState::healthy);
  EXPECT_EQ(result.mesh, mesh);
  EXPECT_EQ(result.report.origin.triangles.size(), mesh.triangles.size());
}

// Every kind of damage by itself, on three seeds.
class RepairOfDamage : public testing::TestWithParam<int> {};

TEST_P(RepairOfDamage, ends_in_a_healthy_mesh_that_stays_as_it_is) {
  for (std::uint32_t seed = 0; seed < 3; ++seed) {
    TriangleMesh mesh = noisy_torus(40, 20, seed);
    Damager(mesh, seed).apply(static_cast<Damage>(GetParam()));
    const RepairResult result = repair(mesh);
    EXPECT_TRUE(result.report.after.healthy()) << seed << " " << describe(result.report.after);
    InspectOptions floats;
    floats.as_stored_in_floats = true;
    EXPECT_TRUE(inspect(result.mesh, floats).healthy()) << seed;
    EXPECT_EQ(repair(result.mesh).mesh, result.mesh) << seed;
  }
}

INSTANTIATE_TEST_SUITE_P(kinds, RepairOfDamage, testing::Range(0, static_cast<int>(Damage::count)));

TEST(Repair, points_off_the_defects_are_there_to_the_bit) {
  const TriangleMesh whole = noisy_torus(60, 30, 2);
  TriangleMesh mesh = whole;
  Damager damager(mesh, 5);
  damager.apply(Damage::holes);
  damager.apply(Damage::flipped_patch);
  damager.apply(Damage::soup);
  const RepairResult result = repair(mesh);
  ASSERT_TRUE(result.report.after.healthy());
  const auto now = places(result.mesh);
  for (const auto& p : places(mesh)) EXPECT_EQ(now.count(p), 1U);
  EXPECT_EQ(result.report.points_kept, static_cast<std::int64_t>(places(mesh).size()));
}

TEST(Repair, tells_where_every_triangle_comes_from) {
  TriangleMesh mesh = grid_cube(6);
  mesh.triangles.erase(mesh.triangles.begin() + 5, mesh.triangles.begin() + 9);
  const RepairResult result = repair(mesh);
  ASSERT_EQ(result.report.origin.triangles.size(), result.mesh.triangles.size());
  std::int64_t added = 0;
  for (std::size_t f = 0; f < result.mesh.triangles.size(); ++f) {
    const std::int32_t from = result.report.origin.triangles[f];
    if (from < 0) {
      ++added;
      continue;
    }
    for (std::size_t k = 0; k < 3; ++k) {
      EXPECT_EQ(
          result.mesh.points[static_cast<std::size_t>(result.mesh.triangles[f][k])],
          mesh.points[static_cast<std::size_t>(mesh.triangles[static_cast<std::size_t>(from)][k])]);
    }
  }
  EXPECT_EQ(added, result.report.faces_added);
  EXPECT_GE(added, 4);
}

TEST(Repair, gives_the_same_triangles_in_every_unit) {
  for (std::uint32_t seed = 0; seed < 6; ++seed) {
    TriangleMesh mesh = noisy_torus(30, 16, seed);
    Damager damager(mesh, seed);
    damager.apply(static_cast<Damage>(seed * 2 + 1));
    damager.apply(Damage::holes);
    const RepairResult here = repair(mesh);
    const RepairResult there = repair(moved(mesh, {}, 0x1p10));
    EXPECT_EQ(here.mesh.triangles, there.mesh.triangles) << seed;
    EXPECT_EQ(moved(here.mesh, {}, 0x1p10).points, there.mesh.points) << seed;
  }
}

TEST(Repair, overlapping_cubes_become_one_body) {
  TriangleMesh mesh = grid_cube(2);
  append(mesh, grid_cube(2, {1.25, 0.5, 0.25}));
  const RepairResult result = repair(mesh);
  ASSERT_TRUE(result.report.after.healthy());
  EXPECT_EQ(result.report.after.components, 1);
  // 8 + 8 less what they share: 0.75 x 1.5 x 1.75.
  EXPECT_NEAR(result.report.after.volume, 16 - 0.75 * 1.5 * 1.75, 1e-5);
}

TEST(Repair, cubes_with_a_wall_in_common_become_one_body) {
  TriangleMesh mesh = grid_cube(2);
  append(mesh, grid_cube(2, {2, 0.5, 0.25}));
  const RepairResult result = repair(mesh);
  ASSERT_TRUE(result.report.after.healthy()) << describe(result.report.after);
  EXPECT_NEAR(result.report.after.volume, 16, 1e-4);
}

TEST(Repair, a_cavity_and_a_part_within_it_stay) {
  TriangleMesh mesh = grid_cube(4);
  append(mesh, moved(grid_cube(4), {}, 0.5));
  append(mesh, moved(grid_cube(4), {}, 0.25));
  const RepairResult result = repair(mesh);
  ASSERT_TRUE(result.report.after.healthy());
  EXPECT_EQ(result.report.after.components, 3);
  EXPECT_NEAR(result.report.after.volume, 8 - 1 + 0.125, 1e-6);
}

TEST(Repair, holes_none_leaves_a_mesh_open_and_mends_the_rest) {
  TriangleMesh mesh = noisy_torus(40, 20, 3);
  Damager damager(mesh, 3);
  damager.apply(Damage::holes);
  const std::int64_t open = inspect(mesh).open_edges;
  damager.apply(Damage::flipped_patch);
  RepairOptions options;
  options.holes = Holes::none;
  const RepairResult result = repair(mesh, options);
  EXPECT_EQ(result.report.state, RepairState::repaired);
  EXPECT_TRUE(result.report.after.healthy_but_open());
  EXPECT_EQ(result.report.after.open_edges, open);
  ASSERT_EQ(result.report.remaining.size(),
            static_cast<std::size_t>(std::min<std::int64_t>(open, 100)));
  EXPECT_EQ(result.report.remaining[0].defect, "open_edges");
}

TEST(Repair, rings_longer_than_asked_for_stay) {
  TriangleMesh mesh = torus_with_two_holes();
  RepairOptions options;
  options.holes = Holes::up_to;
  options.max_ring_edges = 3;
  const RepairResult result = repair(mesh, options);
  EXPECT_EQ(result.report.after.rings, inspect(mesh).rings - 1);
}

TEST(Repair, keeps_all_parts_or_the_largest) {
  TriangleMesh mesh = grid_cube(3);
  append(mesh, moved(grid_cube(3), {5, 0, 0}, 0.5));
  mesh.triangles.pop_back();
  EXPECT_EQ(repair(mesh).report.after.components, 2);
  RepairOptions options;
  options.keep = Keep::largest;
  const RepairResult largest = repair(mesh, options);
  EXPECT_EQ(largest.report.after.components, 1);
  EXPECT_DOUBLE_EQ(largest.report.after.volume, 8);
}

TEST(Repair, a_plane_becomes_a_thin_plate_with_its_points) {
  TriangleMesh mesh;
  for (int i = 0; i < 5; ++i) {
    for (int j = 0; j < 5; ++j) mesh.points.push_back({double(i), double(j), 0});
  }
  for (int i = 0; i < 4; ++i) {
    for (int j = 0; j < 4; ++j) {
      const std::int32_t a = 5 * i + j;
      mesh.triangles.push_back({a, a + 5, a + 6});
      mesh.triangles.push_back({a, a + 6, a + 1});
    }
  }
  const RepairResult result = repair(mesh);
  ASSERT_TRUE(result.report.after.healthy());
  EXPECT_EQ(result.report.points_kept, 25);
  EXPECT_LT(result.report.after.volume, 0.02 * 16);
}

TEST(Repair, colours_follow_their_points) {
  TriangleMesh mesh = grid_cube(4);
  for (std::size_t v = 0; v < mesh.points.size(); ++v) {
    mesh.colors.push_back({static_cast<std::uint8_t>(v % 200), 7, 9, 255});
  }
  mesh.triangles.erase(mesh.triangles.begin(), mesh.triangles.begin() + 2);
  const RepairResult result = repair(mesh);
  ASSERT_EQ(result.mesh.colors.size(), result.mesh.points.size());
  for (std::size_t v = 0; v < result.mesh.points.size(); ++v) {
    const std::int32_t from = result.report.origin.points[v];
    if (from < 0) continue;
    EXPECT_EQ(result.mesh.colors[v], mesh.colors[static_cast<std::size_t>(from)]);
  }
}

TEST(Repair, points_of_double_precision_come_back_where_only_a_hole_was) {
  TriangleMesh mesh = moved(grid_cube(6), {0.1, 0.2, 0.3}, 1.0 / 3);
  mesh.triangles.erase(mesh.triangles.begin() + 20, mesh.triangles.begin() + 22);
  const RepairResult result = repair(mesh);
  ASSERT_TRUE(result.report.after.healthy());
  EXPECT_EQ(result.report.points_kept, static_cast<std::int64_t>(mesh.points.size()));
  EXPECT_EQ(result.report.largest_movement, 0);
}

TEST(Repair, cancelling_throws_and_leaves_the_input) {
  TriangleMesh mesh = grid_cube(4);
  mesh.triangles.pop_back();
  const TriangleMesh before = mesh;
  RepairOptions options;
  options.progress = [](double fraction, std::string_view) { return fraction < 0.1; };
  EXPECT_THROW(repair(mesh, options), Cancelled);
  EXPECT_EQ(mesh, before);
}

TEST(Repair, of_nothing_changes_nothing) {
  const RepairResult result = repair({});
  EXPECT_EQ(result.report.state, RepairState::unchanged);
  EXPECT_TRUE(result.mesh.triangles.empty());
}

TEST(Steps, orient_twice_turns_nothing_the_second_time) {
  TriangleMesh mesh = noisy_torus(30, 16, 2);
  Damager(mesh, 2).apply(Damage::shuffled_winding);
  const OrientResult once = orient(mesh);
  EXPECT_GT(once.turned_faces, 0);
  EXPECT_TRUE(inspect(once.mesh).healthy());
  const OrientResult twice = orient(once.mesh);
  EXPECT_EQ(twice.turned_faces, 0);
  EXPECT_EQ(twice.mesh, once.mesh);
}

TEST(Steps, fill_holes_tells_each_ring) {
  TriangleMesh mesh = torus_with_two_holes();
  FillOptions options;
  options.max_ring_edges = 3;
  const FillResult result = fill_holes(mesh, options);
  ASSERT_EQ(result.rings.size(), 2U);
  std::size_t filled = 0;
  for (const RingReport& ring : result.rings) {
    EXPECT_EQ(ring.filled, ring.edges <= 3);
    EXPECT_EQ(ring.reason.empty(), ring.filled);
    filled += ring.filled;
  }
  EXPECT_EQ(filled, 1U);
  for (std::size_t v = 0; v < result.mesh.points.size(); ++v) {
    const std::int32_t from = result.origin.points[v];
    if (from < 0) continue;
    EXPECT_EQ(result.mesh.points[v], mesh.points[static_cast<std::size_t>(from)]);
  }
}

TEST(Steps, weld_joins_equal_points_and_nothing_else) {
  TriangleMesh mesh = grid_cube(2);
  Damager(mesh, 1).apply(Damage::soup);
  const StepResult result = weld(mesh);
  EXPECT_EQ(result.mesh.points.size(), 26U);
  EXPECT_EQ(result.changed, static_cast<std::int64_t>(3 * 48 - 26));
  EXPECT_TRUE(inspect(result.mesh).healthy());
}

TEST(Steps, a_cap_splits_its_neighbour_instead_of_leaving_a_gap) {
  TriangleMesh mesh = grid_cube(1);
  // The middle of an edge becomes a vertex on one side only, and a triangle without area fills in.
  const Triangle t = mesh.triangles[0];
  const auto m = static_cast<std::int32_t>(mesh.points.size());
  const Point a = mesh.points[static_cast<std::size_t>(t[0])];
  const Point b = mesh.points[static_cast<std::size_t>(t[1])];
  mesh.points.push_back({(a.x + b.x) / 2, (a.y + b.y) / 2, (a.z + b.z) / 2});
  mesh.triangles[0] = {t[0], m, t[2]};
  mesh.triangles.push_back({m, t[1], t[2]});
  mesh.triangles.push_back({t[0], t[1], m});
  ASSERT_EQ(inspect(mesh).degenerate_faces, 1);
  const StepResult result = remove_degenerate(mesh);
  EXPECT_EQ(result.changed, 1);
  EXPECT_TRUE(inspect(result.mesh).healthy());
}

TEST(Steps, remove_debris_never_takes_the_largest_part) {
  TriangleMesh mesh = grid_cube(3);
  append(mesh, moved(grid_cube(1), {5, 0, 0}, 0.01));
  DebrisOptions options;
  options.share = 1;
  const StepResult result = remove_debris(mesh, options);
  EXPECT_EQ(result.changed, 12);
  EXPECT_EQ(result.mesh.triangles.size(), 108U);
}

}  // namespace
}  // namespace scanmesh
