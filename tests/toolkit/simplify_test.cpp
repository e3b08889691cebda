#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <set>

#include "scanmesh/toolkit/inspect.h"
#include "scanmesh/toolkit/resolution.h"
#include "tests/support/damage.h"

namespace scanmesh {
namespace {

using test_support::append;
using test_support::Damage;
using test_support::Damager;
using test_support::grid_cube;
using test_support::moved;
using test_support::noisy_torus;

SimplifyOptions to_faces(std::int64_t faces) {
  SimplifyOptions options;
  options.faces = faces;
  return options;
}

TriangleMesh open_sheet(int n, double bulge) {
  TriangleMesh mesh;
  for (int i = 0; i <= n; ++i) {
    for (int j = 0; j <= n; ++j) {
      const double x = 2.0 * i / n - 1;
      const double y = 2.0 * j / n - 1;
      mesh.points.push_back({x, y, bulge * (x * x - y * y * y)});
    }
  }
  const auto at = [n](int i, int j) { return i * (n + 1) + j; };
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < n; ++j) {
      mesh.triangles.push_back({at(i, j), at(i + 1, j), at(i + 1, j + 1)});
      mesh.triangles.push_back({at(i, j), at(i + 1, j + 1), at(i, j + 1)});
    }
  }
  return mesh;
}

// A plate with waves whose sheets are much closer than its edges are long.
TriangleMesh thin_plate(int n, double thickness) {
  TriangleMesh mesh = grid_cube(n);
  for (Point& p : mesh.points) {
    p.z = p.z * thickness + 0.1 * std::sin(3 * p.x) * std::cos(2 * p.y);
  }
  return mesh;
}

TEST(Simplify, a_flat_sided_body_keeps_its_shape_to_the_last) {
  const SimplifyResult result = simplify(grid_cube(8), to_faces(12));
  const Health health = inspect(result.mesh);
  EXPECT_EQ(result.mesh.triangles.size(), 12U);
  EXPECT_TRUE(health.healthy());
  EXPECT_NEAR(health.volume, 8, 1e-6);
  EXPECT_NEAR(health.area, 24, 1e-6);
  EXPECT_LT(result.error, 1e-6);
  EXPECT_EQ(result.stop, SimplifyStop::target);
}

TEST(Simplify, a_closed_body_keeps_handle_parts_and_health_down_to_what_topology_allows) {
  TriangleMesh mesh = noisy_torus(40, 20, 3);
  append(mesh, moved(noisy_torus(24, 12, 4), {5, 0, 0}));
  append(mesh, moved(grid_cube(4), {0, 6, 0}));
  for (const std::int64_t faces : {1000, 300, 100, 40, 0}) {
    const SimplifyResult result = simplify(mesh, to_faces(faces));
    const Health health = inspect(result.mesh);
    EXPECT_TRUE(health.healthy()) << faces << ": " << describe(health);
    EXPECT_EQ(health.components, 3);
    EXPECT_EQ(health.genus, 2);
    EXPECT_EQ(result.stop, faces == 0 ? SimplifyStop::topology : SimplifyStop::target) << faces;
    if (faces > 0) {
      EXPECT_LE(health.faces, faces);
      EXPECT_GE(health.faces, faces - 1);
    }
  }
}

TEST(Simplify, random_bodies_stay_closed_and_manifold) {
  for (std::uint32_t seed = 0; seed < 12; ++seed) {
    // Noise of a quarter of the tube's radius: folds, needles and crossings among them.
    const TriangleMesh mesh = noisy_torus(30, 15, seed, 0.02 * (seed % 6));
    const Health before = inspect(mesh);
    for (const bool avoid : {true, false}) {
      SimplifyOptions options = to_faces(20);
      options.avoid_intersections = avoid;
      const SimplifyResult result = simplify(mesh, options);
      const Health health = inspect(result.mesh);
      EXPECT_TRUE(health.watertight()) << seed;
      EXPECT_TRUE(health.manifold()) << seed << ": " << describe(health);
      EXPECT_EQ(health.genus, 1) << seed;
      if (avoid) {
        EXPECT_LE(health.self_intersections, before.self_intersections) << seed;
      }
    }
  }
}

TEST(Simplify, the_sheets_of_a_thin_plate_do_not_cross) {
  const TriangleMesh mesh = thin_plate(24, 0.004);
  ASSERT_TRUE(inspect(mesh).healthy());
  bool would_cross = false;
  for (const std::int64_t faces : {800, 300, 120}) {
    SimplifyOptions options = to_faces(faces);
    const SimplifyResult result = simplify(mesh, options);
    EXPECT_TRUE(inspect(result.mesh).healthy()) << describe(inspect(result.mesh));
    options.avoid_intersections = false;
    would_cross |= inspect(simplify(mesh, options).mesh).self_intersections > 0;
  }
  EXPECT_TRUE(would_cross);  // else the test shows nothing
}

TEST(Simplify, an_input_that_crosses_itself_gets_no_more_crossings) {
  TriangleMesh mesh = noisy_torus(30, 15, 5);
  append(mesh, moved(noisy_torus(30, 15, 6), {0.7, 0.1, 0.05}));
  const std::int64_t before = inspect(mesh).self_intersections;
  ASSERT_GT(before, 0);
  const SimplifyResult result = simplify(mesh, to_faces(300));
  EXPECT_EQ(result.mesh.triangles.size(), 300U);
  EXPECT_LE(inspect(result.mesh).self_intersections, before);
}

TEST(Simplify, a_border_keeps_its_course) {
  const TriangleMesh mesh = open_sheet(20, 0.3);
  const SimplifyResult result = simplify(mesh, to_faces(80));
  const Health health = inspect(result.mesh);
  EXPECT_TRUE(health.healthy_but_open());
  EXPECT_EQ(health.rings, 1);
  // An edge of the border takes one triangle, one inside takes two.
  EXPECT_LE(result.mesh.triangles.size(), 80U);
  EXPECT_GE(result.mesh.triangles.size(), 79U);
  // The four sides stay planes, the corners corners.
  const auto rings = find_rings(result.mesh);
  for (const std::int32_t v : rings.at(0)) {
    const Point& p = result.mesh.points[static_cast<std::size_t>(v)];
    EXPECT_NEAR(std::max(std::abs(p.x), std::abs(p.y)), 1, 2e-3);
  }
  EXPECT_NEAR(health.box.max.x, 1, 2e-3);
  EXPECT_NEAR(health.box.min.y, -1, 2e-3);
}

TEST(Simplify, a_locked_boundary_stays_to_the_bit) {
  const TriangleMesh mesh = open_sheet(12, 0.3);
  SimplifyOptions options = to_faces(60);
  options.lock_boundary = true;
  const SimplifyResult result = simplify(mesh, options);
  const auto places = [](const TriangleMesh& m) {
    std::set<std::array<double, 3>> set;
    const auto rings = find_rings(m);
    for (const std::int32_t v : rings.at(0)) {
      const Point& p = m.points[static_cast<std::size_t>(v)];
      set.insert({p.x, p.y, p.z});
    }
    return set;
  };
  EXPECT_EQ(places(result.mesh), places(mesh));
  EXPECT_EQ(find_rings(result.mesh)[0].size(), 48U);
  EXPECT_EQ(result.mesh.triangles.size(), 60U);  // 48 and an even number
}

TEST(Simplify, holes_are_not_closed) {
  TriangleMesh mesh = grid_cube(6);
  mesh.triangles.erase(mesh.triangles.begin() + 100);
  const SimplifyResult result = simplify(mesh, to_faces(0));
  const Health health = inspect(result.mesh);
  EXPECT_EQ(health.rings, 1);
  EXPECT_TRUE(health.healthy_but_open());
  EXPECT_EQ(result.stop, SimplifyStop::topology);
}

TEST(Simplify, the_unit_does_not_matter) {
  const TriangleMesh mesh = moved(noisy_torus(30, 15, 7), {0.3, -0.2, 0.7});
  SimplifyOptions options = to_faces(200);
  options.max_error = 0.5;
  const SimplifyResult plain = simplify(mesh, options);
  for (const double scale : {0x1p-20, 0x1p10, 0x1p30}) {
    options.max_error = 0.5 * scale;
    const SimplifyResult scaled = simplify(moved(mesh, {}, scale), options);
    EXPECT_EQ(scaled.mesh, moved(plain.mesh, {}, scale));
    EXPECT_EQ(scaled.error, plain.error * scale);
    EXPECT_EQ(scaled.origin.points, plain.origin.points);
  }
}

TEST(Simplify, positions_are_floats_where_asked) {
  const TriangleMesh mesh = noisy_torus(30, 15, 7);
  SimplifyOptions options = to_faces(100);
  const auto floats = [](const TriangleMesh& m) {
    return std::all_of(m.points.begin(), m.points.end(), [](const Point& p) {
      return static_cast<double>(static_cast<float>(p.x)) == p.x &&
             static_cast<double>(static_cast<float>(p.y)) == p.y &&
             static_cast<double>(static_cast<float>(p.z)) == p.z;
    });
  };
  EXPECT_TRUE(floats(simplify(mesh, options).mesh));
  options.for_float_files = false;
  EXPECT_FALSE(floats(simplify(mesh, options).mesh));
}

TEST(Simplify, triangles_without_area_are_collapsed) {
  TriangleMesh mesh = grid_cube(4);
  // Every tenth triangle gets a point in the middle of a side, and a needle beside it.
  const std::size_t count = mesh.triangles.size();
  for (std::size_t f = 0; f < count; f += 10) {
    const Triangle t = mesh.triangles[f];
    const Point& a = mesh.points[static_cast<std::size_t>(t[0])];
    const Point& b = mesh.points[static_cast<std::size_t>(t[1])];
    const auto m = static_cast<std::int32_t>(mesh.points.size());
    mesh.points.push_back({(a.x + b.x) / 2, (a.y + b.y) / 2, (a.z + b.z) / 2});
    mesh.triangles[f] = {t[0], m, t[2]};
    mesh.triangles.push_back({m, t[1], t[2]});
    mesh.triangles.push_back({t[0], t[1], m});
  }
  const Health before = inspect(mesh);
  ASSERT_TRUE(before.watertight());
  ASSERT_GT(before.degenerate_faces, 0);
  const SimplifyResult result = simplify(mesh, to_faces(100));
  const Health health = inspect(result.mesh);
  EXPECT_EQ(health.degenerate_faces, 0);
  EXPECT_TRUE(health.healthy()) << describe(health);
  EXPECT_EQ(result.mesh.triangles.size(), 100U);
}

TEST(Simplify, where_the_surface_is_no_manifold_it_stays) {
  for (int damage = 0; damage < static_cast<int>(Damage::count); ++damage) {
    TriangleMesh mesh = noisy_torus(24, 12, 9);
    Damager(mesh, 11).apply(static_cast<Damage>(damage));
    const Health before = inspect(mesh);
    const SimplifyResult result = simplify(mesh, to_faces(100));
    const Health health = inspect(result.mesh);
    EXPECT_EQ(health.nonmanifold_edges, before.nonmanifold_edges) << damage;
    EXPECT_EQ(health.nonmanifold_vertices, before.nonmanifold_vertices) << damage;
    EXPECT_EQ(health.twisted_edges, before.twisted_edges) << damage;
    EXPECT_EQ(health.components, before.components) << damage;
    EXPECT_EQ(health.rings, before.rings) << damage;
    EXPECT_LE(health.degenerate_faces, before.degenerate_faces) << damage;
    EXPECT_LE(health.self_intersections, before.self_intersections) << damage;
  }
}

TEST(Simplify, an_error_stops_it) {
  const TriangleMesh mesh = noisy_torus(60, 30, 2, 0);
  SimplifyOptions options;
  options.max_error = 0.005;
  const SimplifyResult result = simplify(mesh, options);
  EXPECT_EQ(result.stop, SimplifyStop::error);
  EXPECT_LE(result.error, 0.005);
  EXPECT_GT(result.error, 0.001);
  EXPECT_LT(result.mesh.triangles.size(), mesh.triangles.size() / 2);
  options.faces = 3000;
  EXPECT_EQ(simplify(mesh, options).stop, SimplifyStop::target);
  EXPECT_EQ(simplify(mesh, options).mesh.triangles.size(), 3000U);
}

TEST(Simplify, a_ratio_counts_triangles) {
  SimplifyOptions options;
  options.ratio = 0.25;
  EXPECT_EQ(simplify(grid_cube(4), options).mesh.triangles.size(), 48U);
  options.ratio = 1;
  EXPECT_EQ(simplify(grid_cube(4), options).mesh, grid_cube(4));
}

TEST(Simplify, origins_name_a_corner_of_the_input_and_its_triangle) {
  const TriangleMesh mesh = noisy_torus(30, 15, 7);
  const SimplifyResult result = simplify(mesh, to_faces(200));
  ASSERT_EQ(result.origin.points.size(), result.mesh.points.size());
  ASSERT_EQ(result.origin.triangles.size(), result.mesh.triangles.size());
  std::set<std::int32_t> points(result.origin.points.begin(), result.origin.points.end());
  std::set<std::int32_t> triangles(result.origin.triangles.begin(), result.origin.triangles.end());
  EXPECT_EQ(points.size(), result.mesh.points.size());
  EXPECT_EQ(triangles.size(), result.mesh.triangles.size());
  EXPECT_GE(*points.begin(), 0);
  EXPECT_LT(*points.rbegin(), static_cast<std::int32_t>(mesh.points.size()));
  EXPECT_LT(*triangles.rbegin(), static_cast<std::int32_t>(mesh.triangles.size()));
}

TEST(Simplify, colours_and_normals_follow_their_points) {
  TriangleMesh mesh = grid_cube(8);
  for (const Point& p : mesh.points) {
    mesh.colors.push_back({static_cast<std::uint8_t>(std::lround(100 + 100 * p.x)), 7, 0, 255});
    mesh.normals.push_back({0, 0, 1});
  }
  const SimplifyResult result = simplify(mesh, to_faces(60));
  ASSERT_EQ(result.mesh.colors.size(), result.mesh.points.size());
  ASSERT_EQ(result.mesh.normals.size(), result.mesh.points.size());
  for (std::size_t v = 0; v < result.mesh.points.size(); ++v) {
    EXPECT_NEAR(result.mesh.colors[v][0], 100 + 100 * result.mesh.points[v].x, 12);
    EXPECT_EQ(result.mesh.colors[v][1], 7);
    EXPECT_EQ(result.mesh.normals[v], (Point{0, 0, 1}));
  }
}

TEST(Simplify, the_same_again_gives_the_same) {
  const TriangleMesh mesh = noisy_torus(40, 20, 8);
  EXPECT_EQ(simplify(mesh, to_faces(100)).mesh, simplify(mesh, to_faces(100)).mesh);
}

TEST(Simplify, points_that_are_not_finite_stay_and_harm_nobody) {
  TriangleMesh mesh = noisy_torus(20, 10, 8);
  mesh.points[50].x = std::numeric_limits<double>::quiet_NaN();
  mesh.points[90].y = std::numeric_limits<double>::infinity();
  const SimplifyResult result = simplify(mesh, to_faces(100));
  EXPECT_EQ(result.mesh.triangles.size(), 100U);
  EXPECT_EQ(inspect(result.mesh).nonfinite_faces, inspect(mesh).nonfinite_faces);
  EXPECT_TRUE(inspect(result.mesh).watertight());
}

TEST(Simplify, refuses_what_gives_no_end) {
  const TriangleMesh mesh = grid_cube(1);
  const auto refused = [&](const SimplifyOptions& options) {
    try {
      simplify(mesh, options);
    } catch (const Error& error) {
      return error.code() == ErrorCode::invalid_argument;
    }
    return false;
  };
  EXPECT_TRUE(refused({}));
  EXPECT_TRUE(refused(to_faces(-2)));
  SimplifyOptions options;
  options.ratio = 1.5;
  EXPECT_TRUE(refused(options));
  options.ratio = std::numeric_limits<double>::quiet_NaN();
  EXPECT_TRUE(refused(options));
  options = {};
  options.max_error = -1;
  EXPECT_TRUE(refused(options));
  options.max_error = 0.1;
  EXPECT_FALSE(refused(options));
}

TEST(Simplify, stops_when_told_to) {
  SimplifyOptions options = to_faces(100);
  int calls = 0;
  options.progress = [&](double, std::string_view) { return ++calls < 3; };
  EXPECT_THROW(simplify(noisy_torus(80, 40, 1), options), Cancelled);
  EXPECT_EQ(calls, 3);
}

TEST(Simplify, takes_an_empty_mesh) {
  EXPECT_TRUE(simplify({}, to_faces(10)).mesh.triangles.empty());
}

}  // namespace
}  // namespace scanmesh
