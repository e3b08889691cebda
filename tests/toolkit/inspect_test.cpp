#include "scanmesh/toolkit/inspect.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "tests/support/damage.h"

namespace scanmesh {
namespace {

using test_support::append;
using test_support::grid_cube;
using test_support::moved;
using test_support::noisy_torus;

TriangleMesh turned_over(TriangleMesh mesh) {
  for (Triangle& t : mesh.triangles) std::swap(t[1], t[2]);
  return mesh;
}

TEST(Inspect, a_cube_is_healthy_and_measured) {
  const Health health = inspect(grid_cube(2));
  EXPECT_TRUE(health.healthy());
  EXPECT_EQ(health.faces, 48);
  EXPECT_EQ(health.vertices, 26);
  EXPECT_EQ(health.components, 1);
  EXPECT_EQ(health.genus, 0);
  EXPECT_DOUBLE_EQ(health.volume, 8);
  EXPECT_DOUBLE_EQ(health.area, 24);
  EXPECT_EQ(health.box.min, (Point{-1, -1, -1}));
  EXPECT_EQ(health.box.max, (Point{1, 1, 1}));
  EXPECT_EQ(describe(health), "healthy: closed, manifold, oriented, no self-intersections");
}

TEST(Inspect, a_torus_has_one_handle) {
  EXPECT_EQ(inspect(noisy_torus(20, 10, 1)).genus, 1);
}

TEST(Inspect, a_missing_triangle_opens_three_edges_and_one_ring) {
  TriangleMesh mesh = grid_cube(2);
  mesh.triangles.pop_back();
  const Health health = inspect(mesh);
  EXPECT_EQ(health.open_edges, 3);
  EXPECT_EQ(health.rings, 1);
  EXPECT_EQ(health.genus, 0);
  EXPECT_FALSE(health.healthy());
  EXPECT_TRUE(health.healthy_but_open());
  ASSERT_EQ(find_rings(mesh).size(), 1U);
  // In the direction of a patch: the ring is the triangle that went.
  const Triangle gone = grid_cube(2).triangles.back();
  const auto ring = find_rings(mesh)[0];
  ASSERT_EQ(ring.size(), 3U);
  const auto first = std::find(ring.begin(), ring.end(), gone[0]) - ring.begin();
  EXPECT_EQ(ring[static_cast<std::size_t>((first + 1) % 3)], gone[1]);
}

TEST(Inspect, two_holes_that_meet_in_a_vertex_are_two_rings) {
  TriangleMesh mesh = grid_cube(4);
  // Two squares of one side that share a corner.
  const auto in_square = [&](const Triangle& t, double x, double y) {
    for (const std::int32_t v : t) {
      const Point& p = mesh.points[static_cast<std::size_t>(v)];
      if (p.z != -1 || p.x < x || p.x > x + 0.5 || p.y < y || p.y > y + 0.5) return false;
    }
    return true;
  };
  mesh.triangles.erase(std::remove_if(mesh.triangles.begin(), mesh.triangles.end(),
                                      [&](const Triangle& t) {
                                        return in_square(t, -0.5, -0.5) || in_square(t, 0, 0);
                                      }),
                       mesh.triangles.end());
  const auto rings = find_rings(mesh);
  ASSERT_EQ(rings.size(), 2U);
  EXPECT_EQ(rings[0].size(), 4U);
  EXPECT_EQ(rings[1].size(), 4U);
  EXPECT_EQ(inspect(mesh).nonmanifold_vertices, 1);
}

TEST(Inspect, a_fin_makes_an_edge_of_three_faces) {
  TriangleMesh mesh = grid_cube(1);
  mesh.points.push_back({0, 0, 5});
  const Triangle t = mesh.triangles[0];
  mesh.triangles.push_back({t[0], t[1], static_cast<std::int32_t>(mesh.points.size()) - 1});
  const Health health = inspect(mesh);
  EXPECT_EQ(health.nonmanifold_edges, 1);
  EXPECT_EQ(health.open_edges, 2);
  EXPECT_EQ(health.genus, -1);
}

TEST(Inspect, a_turned_face_has_three_twisted_edges) {
  TriangleMesh mesh = grid_cube(1);
  std::swap(mesh.triangles[0][1], mesh.triangles[0][2]);
  EXPECT_EQ(inspect(mesh).twisted_edges, 3);
}

TEST(Inspect, two_bodies_at_one_vertex_make_it_non_manifold) {
  TriangleMesh mesh = grid_cube(1);
  append(mesh, grid_cube(1, {2, 2, 2}));
  const auto met = std::find(mesh.points.begin(), mesh.points.end(), Point{1, 1, 1});
  for (Triangle& t : mesh.triangles) {
    for (std::int32_t& v : t) {
      if (mesh.points[static_cast<std::size_t>(v)] == *met) {
        v = static_cast<std::int32_t>(met - mesh.points.begin());
      }
    }
  }
  const Health health = inspect(mesh);
  EXPECT_EQ(health.nonmanifold_vertices, 1);
  EXPECT_EQ(health.components, 2);
}

TEST(Inspect, a_body_inside_out_is_told_and_a_cavity_is_not) {
  EXPECT_EQ(inspect(turned_over(grid_cube(1))).inward_components, 1);
  TriangleMesh hollow = grid_cube(2);
  append(hollow, moved(turned_over(grid_cube(2)), {0.1, 0, 0}, 0.25));
  EXPECT_EQ(inspect(hollow).inward_components, 0);
  EXPECT_TRUE(inspect(hollow).healthy());
  TriangleMesh filled = grid_cube(2);
  append(filled, moved(grid_cube(2), {0.1, 0, 0}, 0.25));
  EXPECT_EQ(inspect(filled).inward_components, 1);
}

TEST(Inspect, bodies_that_pass_through_one_another_intersect) {
  TriangleMesh mesh = grid_cube(1);
  append(mesh, grid_cube(1, {1.25, 0.5, 0.25}));
  const Health health = inspect(mesh);
  EXPECT_GT(health.self_intersections, 0);
  EXPECT_EQ(health.inward_components, 0);
}

TEST(Inspect, bodies_with_a_wall_in_common_overlap) {
  TriangleMesh mesh = grid_cube(1);
  append(mesh, grid_cube(1, {2, 0.5, 0.25}));
  bool overlap = false;
  for (const Intersection& pair : find_self_intersections(mesh)) {
    overlap = overlap || pair.contact == Contact::overlap;
    EXPECT_LT(pair.first, pair.second);
  }
  EXPECT_TRUE(overlap);
}

TEST(Inspect, doubled_and_degenerate_faces_are_counted_once_each) {
  TriangleMesh mesh = grid_cube(1);
  const Triangle t = mesh.triangles[3];
  mesh.triangles.push_back({t[1], t[0], t[2]});
  mesh.triangles.push_back({t[0], t[0], t[1]});
  const Health health = inspect(mesh);
  EXPECT_EQ(health.duplicate_faces, 1);
  EXPECT_EQ(health.degenerate_faces, 1);
}

TEST(Inspect, faces_that_are_not_finite_are_counted_and_left_out_of_the_rest) {
  TriangleMesh mesh = grid_cube(1);
  mesh.points.push_back({std::numeric_limits<double>::quiet_NaN(), 0, 0});
  mesh.triangles.push_back({0, 1, 8});
  const Health health = inspect(mesh);
  EXPECT_EQ(health.nonfinite_faces, 1);
  EXPECT_EQ(health.self_intersections, 0);
  EXPECT_EQ(health.box.max, (Point{1, 1, 1}));
}

TEST(Inspect, an_empty_mesh_is_not_healthy) {
  const Health health = inspect({});
  EXPECT_FALSE(health.healthy());
  EXPECT_FALSE(health.closed());
  EXPECT_EQ(describe(health), "empty: no faces");
}

TEST(Inspect, a_triangle_that_names_no_point_is_refused) {
  TriangleMesh mesh = grid_cube(1);
  mesh.triangles.push_back({0, 1, 8});
  try {
    inspect(mesh);
    FAIL();
  } catch (const Error& error) {
    EXPECT_EQ(error.code(), ErrorCode::invalid_mesh);
    EXPECT_STREQ(error.what(), "triangle 12 names point 8, the mesh has 8");
  }
}

TEST(Inspect, as_floats_equal_points_are_joined) {
  TriangleMesh soup;
  for (const Triangle& t : grid_cube(1).triangles) {
    for (const std::int32_t v : t) {
      soup.points.push_back(grid_cube(1).points[static_cast<std::size_t>(v)]);
    }
    const auto n = static_cast<std::int32_t>(soup.points.size());
    soup.triangles.push_back({n - 3, n - 2, n - 1});
  }
  EXPECT_EQ(inspect(soup).open_edges, 36);
  InspectOptions options;
  options.as_stored_in_floats = true;
  EXPECT_TRUE(inspect(soup, options).healthy());
}

TEST(Inspect, is_the_same_in_every_unit) {
  TriangleMesh mesh = noisy_torus(30, 16, 3);
  test_support::Damager(mesh, 4).apply(test_support::Damage::spikes);
  const Health here = inspect(mesh);
  EXPECT_GT(here.self_intersections, 0);
  const Health there = inspect(moved(mesh, {}, 0x1p-30));
  EXPECT_EQ(there.self_intersections, here.self_intersections);
  EXPECT_DOUBLE_EQ(there.area, here.area * 0x1p-60);
}

TEST(Inspect, cancelling_ends_the_call) {
  InspectOptions options;
  options.progress = [](double, std::string_view) { return false; };
  EXPECT_THROW(inspect(grid_cube(2), options), Cancelled);
}

}  // namespace
}  // namespace scanmesh
