#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "scanmesh/toolkit/filters.h"
#include "tests/support/damage.h"
#include "toolkit/vector_math.h"

namespace scanmesh {
namespace {

using test_support::append;
using test_support::Damage;
using test_support::Damager;
using test_support::grid_cube;
using test_support::moved;
using test_support::noisy_torus;

struct Choice {
  Filter filter;
  int level;
};
constexpr Choice kChoices[] = {
    {Filter::taubin, 10}, {Filter::bilateral, 2}, {Filter::two_step, 1}, {Filter::fast, 4}};

SmoothOptions options_of(const Choice& choice) {
  SmoothOptions options;
  options.filter = choice.filter;
  options.level = choice.level;
  return options;
}

// How far the points of a noisy torus lie off the smooth one, root of the mean square.
double roughness(const TriangleMesh& mesh) {
  double sum = 0;
  for (const Point& p : mesh.points) {
    const double off = std::hypot(std::hypot(p.x, p.y) - 1, p.z) - 0.4;
    sum += off * off;
  }
  return std::sqrt(sum / static_cast<double>(mesh.points.size()));
}

TEST(Smooth, every_filter_takes_noise_out_and_keeps_triangles) {
  const TriangleMesh noisy = noisy_torus(80, 40, 5, 0.004);
  for (const Choice& choice : kChoices) {
    const TriangleMesh result = smooth(noisy, options_of(choice));
    EXPECT_EQ(result.triangles, noisy.triangles);
    ASSERT_EQ(result.points.size(), noisy.points.size());
    EXPECT_LT(roughness(result), 0.97 * roughness(noisy)) << static_cast<int>(choice.filter);
  }
}

TEST(Smooth, the_unit_does_not_matter) {
  const TriangleMesh mesh = noisy_torus(30, 16, 7);
  for (const Choice& choice : kChoices) {
    const TriangleMesh plain = smooth(mesh, options_of(choice));
    for (const double scale : {std::ldexp(1.0, -20), 4096.0}) {
      EXPECT_EQ(smooth(moved(mesh, {}, scale), options_of(choice)), moved(plain, {}, scale))
          << static_cast<int>(choice.filter) << " " << scale;
    }
  }
}

TEST(Smooth, loose_points_and_points_that_are_not_finite_stay) {
  TriangleMesh mesh = noisy_torus(30, 16, 7);
  const double nan = std::numeric_limits<double>::quiet_NaN();
  mesh.points.push_back({5, 6, 7});
  mesh.points.push_back({nan, 0, 0});
  mesh.triangles.push_back({0, 1, static_cast<std::int32_t>(mesh.points.size() - 1)});
  for (const Choice& choice : kChoices) {
    const TriangleMesh result = smooth(mesh, options_of(choice));
    EXPECT_EQ(result.triangles, mesh.triangles);
    EXPECT_EQ(result.points[mesh.points.size() - 2], mesh.points[mesh.points.size() - 2]);
    EXPECT_TRUE(std::isnan(result.points.back().x));
    for (std::size_t i = 0; i + 1 < result.points.size(); ++i)
      EXPECT_TRUE(finite(result.points[i]));
  }
}

TEST(Smooth, a_level_out_of_range_is_refused) {
  const TriangleMesh mesh = grid_cube(2);
  for (const Choice& wrong : {Choice{Filter::taubin, 0}, Choice{Filter::bilateral, 4},
                              Choice{Filter::two_step, -1}, Choice{Filter::fast, 7}}) {
    try {
      smooth(mesh, options_of(wrong));
      ADD_FAILURE() << static_cast<int>(wrong.filter);
    } catch (const Error& error) {
      EXPECT_EQ(error.code(), ErrorCode::invalid_argument);
    }
  }
}

TEST(Smooth, stops_when_told_to) {
  const TriangleMesh mesh = noisy_torus(30, 16, 7);
  for (const Choice& choice : kChoices) {
    SmoothOptions options = options_of(choice);
    int heard = 0;
    options.progress = [&](double, std::string_view) { return ++heard < 2; };
    EXPECT_THROW(smooth(mesh, options), Cancelled);
    EXPECT_EQ(heard, 2);
  }
}

TEST(Smooth, normals_follow_the_points) {
  TriangleMesh mesh = noisy_torus(60, 30, 3, 0);
  mesh.normals.assign(mesh.points.size(), Point{1, 0, 0});
  const TriangleMesh result = smooth(mesh);
  for (std::size_t i = 0; i < result.points.size(); ++i) {
    const Point& p = result.points[i];
    const double ring = std::hypot(p.x, p.y);
    const Point truth = unit({p.x * (1 - 1 / ring), p.y * (1 - 1 / ring), p.z});
    EXPECT_GT(dot(result.normals[i], truth), 0.98);
  }
}

TEST(RemoveSpikes, a_spike_goes_down_and_far_points_stay_to_the_bit) {
  const TriangleMesh flat = grid_cube(20);
  TriangleMesh mesh = flat;
  std::size_t spike = 0;
  for (std::size_t i = 0; i < mesh.points.size(); ++i) {
    if (mesh.points[i] == Point{0, 0, 1}) spike = i;
  }
  mesh.points[spike].z = 1.3;
  const TriangleMesh result = remove_spikes(mesh, 50);
  EXPECT_LT(result.points[spike].z, 1.1);
  EXPECT_EQ(result.triangles, mesh.triangles);
  for (std::size_t i = 0; i < mesh.points.size(); ++i) {
    if (mesh.points[i].z == -1 && std::abs(mesh.points[i].x) < 0.5 &&
        std::abs(mesh.points[i].y) < 0.5) {
      EXPECT_EQ(result.points[i], mesh.points[i]);
    }
  }
}

// The engine would take such a vertex away and number the others anew.
TEST(RemoveSpikes, a_spike_on_three_faces_goes_down_and_all_points_stay_in_order) {
  TriangleMesh mesh = grid_cube(12);
  std::size_t at = 0;
  for (std::size_t f = 0; f < mesh.triangles.size(); ++f) {
    const Triangle& t = mesh.triangles[f];
    bool middle = true;
    for (const std::int32_t v : t) {
      const Point& p = mesh.points[static_cast<std::size_t>(v)];
      middle = middle && p.z == 1 && std::abs(p.x) < 0.3 && std::abs(p.y) < 0.3;
    }
    if (middle) at = f;
  }
  const Triangle t = mesh.triangles[at];
  const auto v = static_cast<std::int32_t>(mesh.points.size());
  const Point base =
      (mesh.points[static_cast<std::size_t>(t[0])] + mesh.points[static_cast<std::size_t>(t[1])] +
       mesh.points[static_cast<std::size_t>(t[2])]) *
      (1.0 / 3);
  mesh.points.push_back({base.x, base.y, 1.4});
  mesh.triangles[at] = {t[0], t[1], v};
  mesh.triangles.push_back({t[1], t[2], v});
  mesh.triangles.push_back({t[2], t[0], v});
  const TriangleMesh result = remove_spikes(mesh, 50);
  ASSERT_EQ(result.points.size(), mesh.points.size());
  EXPECT_EQ(result.triangles, mesh.triangles);
  EXPECT_LT(result.points.back().z, 1.2);
  for (std::size_t i = 0; i + 1 < mesh.points.size(); ++i) {
    EXPECT_LT(distance(result.points[i], mesh.points[i]), 0.4) << i;
  }
}

TEST(RemoveSpikes, damaged_meshes_keep_order_and_count) {
  for (int damage = 0; damage < static_cast<int>(Damage::count); ++damage) {
    TriangleMesh mesh = noisy_torus(24, 12, 11);
    Damager(mesh, 3).apply(static_cast<Damage>(damage));
    const TriangleMesh result = remove_spikes(mesh, 50);
    EXPECT_EQ(result.points.size(), mesh.points.size());
    EXPECT_EQ(result.triangles, mesh.triangles);
    for (const Point& p : result.points) EXPECT_TRUE(finite(p)) << damage;
    // Of a soup all points are on open edges, which stay.
    const bool soup = static_cast<Damage>(damage) == Damage::soup;
    EXPECT_EQ(remove_spikes(mesh, 100).points == mesh.points, soup) << damage;
  }
}

TEST(RemoveSpikes, the_unit_does_not_matter) {
  const TriangleMesh mesh = noisy_torus(24, 12, 11, 0.05);
  const TriangleMesh plain = remove_spikes(mesh, 80);
  EXPECT_NE(plain, mesh);
  EXPECT_EQ(remove_spikes(moved(mesh, {}, 1024), 80), moved(plain, {}, 1024));
}

TEST(RemoveSpikes, levels_beyond_0_to_100_are_refused) {
  EXPECT_THROW(remove_spikes(grid_cube(2), -1), Error);
  EXPECT_THROW(remove_spikes(grid_cube(2), 101), Error);
}

}  // namespace
}  // namespace scanmesh
