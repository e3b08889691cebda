#include <gtest/gtest.h>

#include <cmath>

#include "scanmesh/messages.h"
#include "scanmesh/toolkit/building.h"
#include "scanmesh/toolkit/inspect.h"
#include "tests/support/damage.h"
#include "toolkit/vector_math.h"

namespace scanmesh {
namespace {

using test_support::moved;
using test_support::noisy_torus;

constexpr int kAround = 160;
constexpr int kAcross = 70;

// The points of a torus, with its normals and a colour that tells the point's number.
TriangleMesh torus_points() {
  TriangleMesh samples = noisy_torus(kAround, kAcross, 9, 0.0005);
  for (std::size_t i = 0; i < samples.points.size(); ++i) {
    const Point& p = samples.points[i];
    const double ring = std::hypot(p.x, p.y);
    samples.normals.push_back(unit({p.x * (1 - 1 / ring), p.y * (1 - 1 / ring), p.z}));
    samples.colors.push_back({static_cast<std::uint8_t>(i % 251), 0, 0, 255});
  }
  samples.triangles.clear();
  return samples;
}

double farthest_from_torus(const TriangleMesh& mesh) {
  double farthest = 0;
  for (const Point& p : mesh.points) {
    const double off = std::abs(std::hypot(std::hypot(p.x, p.y) - 1, p.z) - 0.4);
    farthest = std::max(farthest, off);
  }
  return farthest;
}

TEST(Reconstruct, pivoting_keeps_the_points_to_the_bit_and_covers_the_surface) {
  const TriangleMesh samples = torus_points();
  const TriangleMesh result = reconstruct(samples);
  EXPECT_GT(result.points.size(), samples.points.size() * 99 / 100);
  std::size_t at = 0;  // in the order of the samples, with their colours
  for (std::size_t i = 0; i < result.points.size(); ++i) {
    while (at < samples.points.size() && samples.points[at] != result.points[i]) ++at;
    ASSERT_LT(at, samples.points.size());
    EXPECT_EQ(result.colors[i], samples.colors[at]);
  }
  const Health health = inspect(result);
  EXPECT_NEAR(health.area, 4 * M_PI * M_PI * 0.4, 0.2);
  EXPECT_GT(health.volume, 0);
  EXPECT_TRUE(health.oriented());
}

TEST(Reconstruct, octree_averages_and_welds) {
  const TriangleMesh samples = torus_points();
  ReconstructOptions options;
  options.method = Method::octree;
  const TriangleMesh result = reconstruct(samples, options);
  const Health health = inspect(result);
  EXPECT_NEAR(health.area, 4 * M_PI * M_PI * 0.4, 0.3);
  EXPECT_LT(farthest_from_torus(result), 0.01);
  EXPECT_LT(health.vertices, health.faces * 6 / 10);  // corners are shared
  EXPECT_LT(health.open_edges, health.faces / 100);
  EXPECT_EQ(health.degenerate_faces + health.duplicate_faces, 0);
}

TEST(Reconstruct, the_unit_does_not_matter) {
  const TriangleMesh samples = torus_points();
  for (const Method method : {Method::pivoting, Method::octree}) {
    ReconstructOptions options;
    options.method = method;
    const TriangleMesh plain = reconstruct(samples, options);
    EXPECT_EQ(reconstruct(moved(samples, {}, 1024), options), moved(plain, {}, 1024));
  }
}

TEST(Reconstruct, points_that_cannot_be_used_are_left_out) {
  TriangleMesh samples = torus_points();
  const TriangleMesh plain = reconstruct(samples);
  const auto add = [&](const Point& p, const Point& normal) {
    samples.points.push_back(p);
    samples.normals.push_back(normal);
    samples.colors.push_back({});
  };
  add(samples.points[5], {0, 0, 1});
  add({std::nan(""), 0, 0}, {0, 0, 1});
  add({0, 0, 0.1}, {0, 0, 0});
  EXPECT_EQ(reconstruct(samples), plain);
}

TEST(Reconstruct, tells_what_is_missing) {
  TriangleMesh samples = torus_points();
  TriangleMesh bare = samples;
  bare.normals.clear();
  EXPECT_THROW(reconstruct(bare), Error);
  ReconstructOptions options;
  options.spacing = -1;
  EXPECT_THROW(reconstruct(samples, options), Error);
  options.spacing = 1e-9;  // no ball reaches from point to point
  EXPECT_THROW(reconstruct(samples, options), Error);
  EXPECT_THROW(reconstruct(TriangleMesh{}), Error);
}

TEST(Reconstruct, stops_when_told_to_and_prints_nothing) {
  ReconstructOptions options;
  options.progress = [](double fraction, std::string_view) { return fraction < 0.2; };
  testing::internal::CaptureStdout();
  EXPECT_THROW(reconstruct(torus_points(), options), Cancelled);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

}  // namespace
}  // namespace scanmesh
