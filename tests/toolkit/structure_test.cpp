// The tables and trees that everything in the toolkit stands on, against looking at all pairs.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

#include "tests/support/damage.h"
#include "toolkit/box_tree.h"
#include "toolkit/manifold_making.h"
#include "toolkit/nesting.h"
#include "toolkit/rings.h"
#include "toolkit/topology.h"

namespace scanmesh {
namespace {

using test_support::grid_cube;
using test_support::moved;
using test_support::noisy_torus;

std::vector<std::int32_t> numbers(std::size_t count) {
  std::vector<std::int32_t> all(count);
  for (std::size_t i = 0; i < count; ++i) all[i] = static_cast<std::int32_t>(i);
  return all;
}

TEST(BoxTree, parts_hold_each_pair_of_meeting_boxes_once) {
  for (const std::size_t wanted : {std::size_t{1}, std::size_t{50}, std::size_t{5000}}) {
    const TriangleMesh mesh = noisy_torus(17, 9, 1);
    const BoxTree tree(mesh.points, mesh.triangles, numbers(mesh.triangles.size()));
    std::multiset<std::pair<std::int32_t, std::int32_t>> found;
    for (const BoxTree::NodePair& part : tree.parts(wanted)) {
      tree.for_each_pair(part,
                         [&](std::int32_t a, std::int32_t b) { found.insert(std::minmax(a, b)); });
    }
    std::multiset<std::pair<std::int32_t, std::int32_t>> expected;
    for (std::int32_t a = 0; a < static_cast<std::int32_t>(mesh.triangles.size()); ++a) {
      for (std::int32_t b = a + 1; b < static_cast<std::int32_t>(mesh.triangles.size()); ++b) {
        if (box_of(mesh.points, mesh.triangles[static_cast<std::size_t>(a)])
                .meets(box_of(mesh.points, mesh.triangles[static_cast<std::size_t>(b)]))) {
          expected.emplace(a, b);
        }
      }
    }
    EXPECT_GT(expected.size(), 1000U);
    EXPECT_EQ(found, expected);
  }
}

TEST(BoxTree, a_box_holds_its_triangle_though_floats_round) {
  const std::vector<Point> points{{0.1, 0.2, 0.3}, {1e-9, 1e9 + 0.1, 3}, {-1.0 / 3, 7, 1e-30}};
  const FloatBox box = box_of(points, {0, 1, 2});
  for (const Point& p : points) {
    EXPECT_LE(static_cast<double>(box.min[0]), p.x);
    EXPECT_GE(static_cast<double>(box.max[0]), p.x);
    EXPECT_LE(static_cast<double>(box.min[1]), p.y);
    EXPECT_GE(static_cast<double>(box.max[1]), p.y);
    EXPECT_LE(static_cast<double>(box.min[2]), p.z);
    EXPECT_GE(static_cast<double>(box.max[2]), p.z);
  }
}

TEST(EdgeTable, every_edge_of_a_closed_mesh_has_two_sides_that_oppose) {
  const TriangleMesh mesh = grid_cube(3);
  const EdgeTable edges(mesh.triangles, mesh.points.size());
  EXPECT_EQ(edges.count(), 3 * mesh.triangles.size() / 2);
  const auto opposite = opposite_sides(mesh.triangles, edges);
  for (std::int32_t side = 0; side < static_cast<std::int32_t>(opposite.size()); ++side) {
    const std::int32_t other = opposite[static_cast<std::size_t>(side)];
    ASSERT_GE(other, 0);
    EXPECT_EQ(opposite[static_cast<std::size_t>(other)], side);
    EXPECT_EQ(side_start(mesh.triangles, side), side_end(mesh.triangles, other));
  }
}

TEST(Topology, copies_are_found_in_any_order_of_corners) {
  const std::vector<Triangle> triangles{{0, 1, 2}, {3, 1, 2}, {2, 1, 0},
                                        {1, 2, 3}, {0, 1, 3}, {1, 2, 0}};
  EXPECT_EQ(copies_of_earlier(triangles, 4), (std::vector<std::int32_t>{2, 3, 5}));
}

TEST(Rings, a_ring_runs_against_the_sides_that_it_closes) {
  const std::vector<Triangle> triangles{{0, 1, 2}};
  const EdgeTable edges(triangles, 3);
  EXPECT_EQ(walk_rings(triangles, opposite_sides(triangles, edges)),
            (std::vector<std::vector<std::int32_t>>{{2, 1, 0}}));
}

TEST(Nesting, depth_counts_the_shells_around) {
  TriangleMesh mesh = grid_cube(2);
  test_support::append(mesh, moved(grid_cube(2), {}, 0.5));
  test_support::append(mesh, moved(grid_cube(2), {}, 0.25));
  test_support::append(mesh, moved(grid_cube(2), {3, 0, 0}, 0.25));
  const EdgeTable edges(mesh.triangles, mesh.points.size());
  const Components components = components_by_edges(mesh.triangles, edges);
  ASSERT_EQ(components.count, 4);
  std::vector<Shell> shells = shells_of(mesh.points, mesh.triangles, edges, components);
  measure_depths(mesh.points, mesh.triangles, components,
                 BoxTree(mesh.points, mesh.triangles, numbers(mesh.triangles.size())), {}, shells);
  EXPECT_EQ(shells[0].depth, 0);
  EXPECT_EQ(shells[1].depth, 1);
  EXPECT_EQ(shells[2].depth, 2);
  EXPECT_EQ(shells[3].depth, 0);
  EXPECT_FALSE(inside_out(shells[0]));
  EXPECT_TRUE(inside_out(shells[1]));
}

// A ray along x passes many corners and edges of a grid exactly: each closed surface counts 0 or
// once.
TEST(Nesting, rays_through_edges_and_corners_count_once) {
  const TriangleMesh mesh = grid_cube(4);
  const BoxTree tree(mesh.points, mesh.triangles, numbers(mesh.triangles.size()));
  for (int y = -3; y <= 3; ++y) {
    for (int z = -3; z <= 3; ++z) {
      const double at_y = 0.25 * y;
      const double at_z = 0.25 * z;
      for (const double at_x : {-5.0, 0.1, 5.0}) {
        int winding = 0;
        for_each_crossing(mesh.points, mesh.triangles, tree, {at_x, at_y, at_z},
                          [&](std::int32_t, int sign) { winding += sign; });
        EXPECT_EQ(winding, at_x == 0.1 ? 1 : 0) << at_x << " " << at_y << " " << at_z;
      }
    }
  }
}

TEST(ManifoldMaking, two_cubes_at_an_edge_come_apart) {
  TriangleMesh mesh = grid_cube(1);
  test_support::append(mesh, grid_cube(1, {2, 2, 0}));
  WorkMesh work(mesh);
  // Both name the points of the common edge alike.
  for (Triangle& t : work.triangles) {
    for (std::int32_t& v : t) {
      const Point p = mesh.points[static_cast<std::size_t>(v)];
      v = static_cast<std::int32_t>(std::find(mesh.points.begin(), mesh.points.end(), p) -
                                    mesh.points.begin());
    }
  }
  const ManifoldChanges changes = make_manifold(work);
  EXPECT_EQ(changes.junction_edges, 1);
  EXPECT_EQ(changes.split_vertices, 2);
  EXPECT_EQ(changes.turned_faces, 0);
  const EdgeTable edges(work.triangles, work.points.size());
  for (std::size_t e = 0; e < edges.count(); ++e) EXPECT_EQ(edges.valence(e), 2);
  EXPECT_EQ(components_by_edges(work.triangles, edges).count, 2);
}

TEST(ManifoldMaking, a_moebius_band_is_cut_once_across) {
  TriangleMesh mesh = grid_cube(1);
  test_support::Damager(mesh, 1).apply(test_support::Damage::moebius);
  mesh.triangles.erase(mesh.triangles.begin(), mesh.triangles.begin() + 12);
  WorkMesh work(mesh);
  const ManifoldChanges changes = make_manifold(work);
  EXPECT_EQ(changes.cut_edges, 1);
  EXPECT_EQ(changes.split_vertices, 2);
}

}  // namespace
}  // namespace scanmesh
