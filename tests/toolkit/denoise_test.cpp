#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "scanmesh/toolkit/filters.h"
#include "scanmesh/toolkit/inspect.h"
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

Point normal_of(const TriangleMesh& mesh, const Triangle& t) {
  return unit(area_vector(mesh.points[static_cast<std::size_t>(t[0])],
                          mesh.points[static_cast<std::size_t>(t[1])],
                          mesh.points[static_cast<std::size_t>(t[2])]));
}

// Gaussian noise along the normals.
TriangleMesh with_noise(const TriangleMesh& truth, double deviation, std::uint32_t seed) {
  std::vector<Point> normals(truth.points.size());
  for (const Triangle& t : truth.triangles) {
    for (const std::int32_t v : t) {
      Point& sum = normals[static_cast<std::size_t>(v)];
      sum = sum + normal_of(truth, t);
    }
  }
  std::mt19937 random(seed);
  std::normal_distribution<double> shake(0, deviation);
  TriangleMesh noisy = truth;
  for (std::size_t v = 0; v < noisy.points.size(); ++v) {
    noisy.points[v] = noisy.points[v] + unit(normals[v]) * shake(random);
  }
  return noisy;
}

double normal_error(const TriangleMesh& truth, const TriangleMesh& mesh) {
  double sum = 0;
  for (const Triangle& t : truth.triangles) {
    const double cosine = dot(normal_of(truth, t), normal_of(mesh, t));
    sum += std::acos(std::max(-1.0, std::min(1.0, cosine)));
  }
  return sum / static_cast<double>(truth.triangles.size()) * 180 / M_PI;
}

constexpr int kCells = 30;
constexpr double kEdge = 2.0 / kCells;  // of the cube's grid

TEST(Denoise, a_cube_gets_its_planes_and_edges_back) {
  const TriangleMesh truth = grid_cube(kCells);
  for (const double share : {0.1, 0.2, 0.4}) {
    const TriangleMesh noisy = with_noise(truth, share * kEdge, 4);
    const DenoiseResult result = denoise(noisy);
    EXPECT_GT(normal_error(truth, noisy), 8);
    EXPECT_LT(normal_error(truth, result.mesh), 4) << share;
    EXPECT_EQ(result.mesh.triangles, noisy.triangles);
    EXPECT_LT(result.noise_after, 0.2 * result.noise_before);
    EXPECT_LT(std::abs(result.volume_change), 1e-3);
    EXPECT_EQ(denoise(noisy).mesh, result.mesh);
  }
}

TEST(Denoise, a_round_shape_gets_smooth_and_not_faceted) {
  const TriangleMesh truth = noisy_torus(90, 36, 1, 0);
  const double edge = inspect(truth).mean_edge;
  const TriangleMesh noisy = with_noise(truth, 0.2 * edge, 4);
  EXPECT_GT(normal_error(truth, noisy), 15);
  EXPECT_LT(normal_error(truth, denoise(noisy).mesh), 5);
}

TEST(Denoise, the_noise_is_found) {
  for (const double share : {0.1, 0.2, 0.4}) {
    const TriangleMesh noisy = with_noise(grid_cube(kCells), share * kEdge, 6);
    EXPECT_NEAR(denoise(noisy).noise_before, share * kEdge, 0.2 * share * kEdge);
  }
}

TEST(Denoise, without_noise_nothing_moves) {
  for (const TriangleMesh& mesh : {grid_cube(kCells), noisy_torus(60, 30, 1, 0)}) {
    const DenoiseResult result = denoise(mesh);
    EXPECT_EQ(result.mesh, mesh);
    EXPECT_EQ(result.noise_before, 0);
    EXPECT_EQ(result.largest_move, 0);
  }
}

TEST(Denoise, strength_0_moves_nothing_and_more_strength_takes_out_more) {
  const TriangleMesh truth = grid_cube(kCells);
  const TriangleMesh noisy = with_noise(truth, 0.2 * kEdge, 4);
  DenoiseOptions options;
  options.strength = 0;
  EXPECT_EQ(denoise(noisy, options).mesh, noisy);
  options.strength = 0.05;
  const double weak = normal_error(truth, denoise(noisy, options).mesh);
  options.strength = 0.5;
  EXPECT_LT(normal_error(truth, denoise(noisy, options).mesh), weak);
}

TEST(Denoise, points_move_no_further_than_told) {
  const TriangleMesh noisy = with_noise(grid_cube(kCells), 0.3 * kEdge, 4);
  DenoiseOptions options;
  options.max_displacement = 0.1 * kEdge;
  const DenoiseResult result = denoise(noisy, options);
  double most = 0;
  for (std::size_t v = 0; v < noisy.points.size(); ++v) {
    most = std::max(most, distance(noisy.points[v], result.mesh.points[v]));
  }
  EXPECT_GT(most, 0);
  EXPECT_LE(most, options.max_displacement * (1 + 1e-12));
  EXPECT_EQ(most, result.largest_move);
  const DenoiseResult free = denoise(noisy);
  EXPECT_LE(free.largest_move, 3 * free.noise_before * (1 + 1e-12));
}

TEST(Denoise, points_of_open_edges_stay) {
  TriangleMesh mesh = with_noise(grid_cube(kCells), 0.2 * kEdge, 4);
  mesh.triangles.erase(mesh.triangles.begin() + 400, mesh.triangles.begin() + 460);
  const TriangleMesh result = denoise(mesh).mesh;
  EXPECT_NE(result, mesh);
  for (const auto& ring : find_rings(mesh)) {
    for (const std::int32_t v : ring) {
      EXPECT_EQ(result.points[static_cast<std::size_t>(v)],
                mesh.points[static_cast<std::size_t>(v)]);
    }
  }
}

// A face may begin turned over by the noise; none ends so that wasn't.
TEST(Denoise, no_face_is_turned_over) {
  const TriangleMesh truth = grid_cube(kCells);
  for (std::uint32_t seed = 0; seed < 5; ++seed) {
    const TriangleMesh noisy = with_noise(truth, 0.5 * kEdge, seed);
    const TriangleMesh result = denoise(noisy).mesh;
    int before = 0;
    int after = 0;
    for (const Triangle& t : truth.triangles) {
      before += dot(normal_of(truth, t), normal_of(noisy, t)) < 0;
      after += dot(normal_of(truth, t), normal_of(result, t)) < 0;
    }
    EXPECT_LE(after, before);
  }
}

TEST(Denoise, the_unit_does_not_matter) {
  const TriangleMesh noisy = with_noise(grid_cube(12), 0.03, 4);
  const TriangleMesh plain = denoise(noisy).mesh;
  EXPECT_NE(plain, noisy);
  EXPECT_EQ(denoise(moved(noisy, {}, 1024)).mesh, moved(plain, {}, 1024));
}

TEST(Denoise, damaged_meshes_stay_finite) {
  for (int damage = 0; damage < static_cast<int>(Damage::count); ++damage) {
    TriangleMesh mesh = with_noise(noisy_torus(40, 20, 11), 0.02, 3);
    Damager(mesh, 3).apply(static_cast<Damage>(damage));
    mesh.points.push_back({std::nan(""), 0, 0});
    mesh.triangles.push_back({0, 1, static_cast<std::int32_t>(mesh.points.size()) - 1});
    const TriangleMesh result = denoise(mesh).mesh;
    EXPECT_EQ(result.triangles, mesh.triangles);
    for (std::size_t v = 0; v + 1 < result.points.size(); ++v) {
      EXPECT_TRUE(finite(result.points[v])) << damage;
    }
  }
}

TEST(Denoise, options_out_of_range_are_refused_and_it_stops_when_told_to) {
  const TriangleMesh noisy = with_noise(grid_cube(12), 0.03, 4);
  DenoiseOptions options;
  options.strength = 1.5;
  EXPECT_THROW(denoise(noisy, options), Error);
  options.strength = std::nan("");
  EXPECT_THROW(denoise(noisy, options), Error);
  options.strength = 0.5;
  options.max_displacement = -1;
  EXPECT_THROW(denoise(noisy, options), Error);
  options.max_displacement = 0;
  options.progress = [](double fraction, std::string_view) { return fraction < 0.3; };
  EXPECT_THROW(denoise(noisy, options), Cancelled);
  EXPECT_EQ(denoise(TriangleMesh{}).mesh, TriangleMesh{});
}

}  // namespace
}  // namespace scanmesh
