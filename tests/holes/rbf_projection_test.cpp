#include "holes/rbf_projection.h"

#include <gtest/gtest.h>

#include <cmath>

#include "core/dense_solver.h"
#include "tests/support/shapes.h"

namespace {

using scanmesh::RbfContext;
using std::vector;
using test_support::Random;
using test_support::Vec3f;

// Anchors on a sphere cap of radius 10, with their offset anchors.
struct Anchors {
  vector<Vec3f> on;
  vector<Vec3f> off;
};

Anchors sphere_anchors(int count, uint64_t seed, double spread = 0.6) {
  Random random(seed);
  Anchors anchors;
  for (int i = 0; i < count; ++i) {
    const double x = spread * random.signed_unit();
    const double y = spread * random.signed_unit();
    const double z = std::sqrt(1 - x * x - y * y);
    const auto at = [=](double r) {
      return Vec3f{static_cast<float>(r * x), static_cast<float>(r * y), static_cast<float>(r * z)};
    };
    anchors.on.push_back(at(10.0));
    anchors.off.push_back(at(10.2));
  }
  return anchors;
}

double radius(const Vec3f& p) {
  return std::sqrt(static_cast<double>(p.x) * p.x + static_cast<double>(p.y) * p.y +
                   static_cast<double>(p.z) * p.z);
}

void project(RbfContext& context, const Anchors& a, vector<Vec3f>& positions, int& n) {
  scanmesh::rbf_project_vert(context, a.on.data(), a.off.data(), static_cast<int>(a.on.size()),
                             positions.data(), n);
}

TEST(RbfProjection, MovesPositionsOntoTheSurfaceOfTheAnchors) {
  const Anchors anchors = sphere_anchors(150, 1);
  vector<Vec3f> positions = {{0, 0, 9.6F}, {1, 0.5F, 9.7F}, {-2, 1, 10.1F}};
  RbfContext context;
  int n = 3;
  project(context, anchors, positions, n);
  EXPECT_EQ(n, 3);
  EXPECT_EQ(context.point_count, 300);
  EXPECT_EQ(context.system_size, 304);
  EXPECT_EQ(context.tolerance, 0.001);
  EXPECT_EQ(context.points, nullptr);
  for (const Vec3f& p : positions) EXPECT_NEAR(radius(p), 10.0, 0.02);
}

TEST(RbfProjection, PositionOnTheSurfaceEndsAfterAStepNearZero) {
  const Anchors anchors = sphere_anchors(150, 1);
  vector<Vec3f> positions = {anchors.on[7]};
  RbfContext context;
  int n = 1;
  project(context, anchors, positions, n);
  EXPECT_LT(context.step, 1e-4);
  EXPECT_NEAR(positions[0].x, anchors.on[7].x, 1e-4);
  EXPECT_NEAR(positions[0].z, anchors.on[7].z, 1e-4);
}

TEST(RbfProjection, AnchorsOnALineAreRefusedWithTheMessage) {
  Anchors anchors;
  for (int i = 0; i < 130; ++i) {
    anchors.on.push_back({static_cast<float>(i), 0, 0});
    anchors.off.push_back({static_cast<float>(i), 0, 0.2F});
  }
  vector<Vec3f> positions = {{1, 2, 3}};
  RbfContext context;
  int n = 1;
  testing::internal::CaptureStdout();
  project(context, anchors, positions, n);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "求逆失败\n");
  EXPECT_EQ(n, 0);
  EXPECT_EQ(positions[0].y, 2.0F);
}

TEST(RbfProjection, MoreThan3000AnchorsAreRefusedSilently) {
  const Anchors anchors = sphere_anchors(3001, 2);
  vector<Vec3f> positions = {{1, 2, 3}};
  RbfContext context;
  int n = 1;
  testing::internal::CaptureStdout();
  project(context, anchors, positions, n);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(n, 0);
  EXPECT_EQ(positions[0].y, 2.0F);
}

#if defined(NDEBUG) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
// A dense system of 6004 rows: too slow for instrumented builds.
TEST(RbfProjection, Exactly3000AnchorsAreSolved) {
  const Anchors anchors = sphere_anchors(3000, 3, 0.7);
  vector<Vec3f> positions = {{0, 0, 9.9F}, {3, 3, 9.2F}};
  RbfContext context;
  int n = 2;
  project(context, anchors, positions, n);
  EXPECT_EQ(n, 2);
  for (const Vec3f& p : positions) EXPECT_NEAR(radius(p), 10.0, 0.02);
}
#endif

TEST(RbfNewtonStep, FollowsTheSettledForm) {
  const vector<Vec3f> points = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0.5F, 0.25F, 1}};
  const vector<double> w = {0.5, -0.25, 0.125, 0.75, 0.1, 0.2, -0.3, 0.4};
  const Vec3f p{0.3F, -0.2F, 0.6F};
  double f = w[4] + w[5] * p.x + w[6] * p.y + w[7] * p.z;
  double s[3] = {0, 0, 0};
  for (std::size_t i = 0; i < 4; ++i) {
    const double d[3] = {static_cast<double>(p.x) - points[i].x,
                         static_cast<double>(p.y) - points[i].y,
                         static_cast<double>(p.z) - points[i].z};
    const double r = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
    f += w[i] * std::pow(r, 3.0);
    for (int k = 0; k < 3; ++k) s[k] += w[i] * r * d[k];
  }
  // The linear terms stand inside the factor of 3.
  const double g[3] = {3 * (s[0] + w[5]), 3 * (s[1] + w[6]), 3 * (s[2] + w[7])};
  const double scale = f / (g[0] * g[0] + g[1] * g[1] + g[2] * g[2]);
  RbfContext context;
  context.point_count = 4;
  context.system_size = 8;
  Vec3f next{9, 9, 9};
  scanmesh::rbf_newton_step(context, next, points.data(), w.data(), p);
  EXPECT_NEAR(next.x, p.x - g[0] * scale, 1e-6);
  EXPECT_NEAR(next.y, p.y - g[1] * scale, 1e-6);
  EXPECT_NEAR(next.z, p.z - g[2] * scale, 1e-6);
  for (int k = 0; k < 3; ++k) EXPECT_NEAR(context.gradient[k], g[k], 1e-6);
  EXPECT_NEAR(context.step, std::sqrt(g[0] * g[0] + g[1] * g[1] + g[2] * g[2]) * std::fabs(scale),
              1e-6);
}

TEST(RbfNewtonStep, ZeroGradientIsNotGuarded) {
  const vector<Vec3f> points = {{0, 0, 0}};
  const vector<double> w = {0, 1, 0, 0, 0};
  RbfContext context;
  context.point_count = 1;
  context.system_size = 5;
  Vec3f next{0, 0, 0};
  scanmesh::rbf_newton_step(context, next, points.data(), w.data(), {1, 1, 1});
  EXPECT_TRUE(std::isnan(next.x));
  EXPECT_FALSE(context.step > context.tolerance);
}

vector<double> random_matrix(int n, uint64_t seed) {
  Random random(seed);
  vector<double> a;
  for (int i = 0; i < n * n; ++i) a.push_back(random.signed_unit());
  return a;
}

TEST(InvertMatrix, TimesTheMatrixGivesTheIdentity) {
  for (const int n : {1, 2, 3, 10, 57}) {
    const auto size = static_cast<std::size_t>(n);
    const vector<double> a = random_matrix(n, static_cast<uint64_t>(n));
    vector<double> inverse = a;
    ASSERT_TRUE(scanmesh::invert_matrix(inverse.data(), n));
    for (std::size_t i = 0; i < size; ++i) {
      for (std::size_t j = 0; j < size; ++j) {
        double sum = 0;
        for (std::size_t k = 0; k < size; ++k) sum += a[i * size + k] * inverse[k * size + j];
        EXPECT_NEAR(sum, i == j ? 1.0 : 0.0, 1e-10);
      }
    }
  }
}

TEST(InvertMatrix, UndoesExchangesOfRowsAndColumns) {
  double a[] = {0, 2, 0, 0, 0, 3, 4, 0, 0};
  ASSERT_TRUE(scanmesh::invert_matrix(a, 3));
  const double expected[] = {0, 0, 0.25, 0.5, 0, 0, 0, 1.0 / 3, 0};
  for (int i = 0; i < 9; ++i) EXPECT_NEAR(a[i], expected[i], 1e-15);
}

TEST(InvertMatrix, RefusesPivotsBelowTheBound) {
  double just[] = {1e-9};
  EXPECT_TRUE(scanmesh::invert_matrix(just, 1));
  double below[] = {0.99e-9};
  EXPECT_FALSE(scanmesh::invert_matrix(below, 1));
  double singular[] = {1, 2, 2, 4};
  EXPECT_FALSE(scanmesh::invert_matrix(singular, 2));
  double not_a_number[] = {std::nan("")};
  EXPECT_FALSE(scanmesh::invert_matrix(not_a_number, 1));
  EXPECT_TRUE(scanmesh::invert_matrix(nullptr, 0));
}

// A system with a known solution.
struct System {
  vector<double> matrix;
  vector<double> side;
  vector<double> solution;
};

System random_system(int n, uint64_t seed) {
  const auto size = static_cast<std::size_t>(n);
  System system{random_matrix(n, seed), vector<double>(size, 0.0), {}};
  for (int i = 0; i < n; ++i) system.solution.push_back(i % 7 - 3);
  for (std::size_t i = 0; i < size; ++i) {
    for (std::size_t j = 0; j < size; ++j) {
      system.side[i] += system.matrix[i * size + j] * system.solution[j];
    }
  }
  return system;
}

TEST(DenseSolver, SolvesUnsymmetricSystemsOfBothSizes) {
  for (const int n : {1, 40, 1206}) {
    System system = random_system(n, 77);
    ASSERT_TRUE(scanmesh::solve_dense(system.matrix, system.side));
    for (std::size_t i = 0; i < system.side.size(); ++i) {
      ASSERT_NEAR(system.side[i], system.solution[i], 1e-6);
    }
  }
}

TEST(DenseSolver, RefusesSingularSystemsOfBothSizes) {
  for (const int n : {1, 40, 1206}) {
    System system = random_system(n, 78);
    const auto size = static_cast<std::size_t>(n);
    for (std::size_t i = 0; i < size; ++i) system.matrix[i * size] = 0;
    EXPECT_FALSE(scanmesh::solve_dense(system.matrix, system.side));
  }
  vector<double> side = {1};
  EXPECT_FALSE(scanmesh::solve_dense({std::nan("")}, side));
}

TEST(DenseSolver, FullPivotingDecidesNearTheBound) {
  vector<double> side = {2e-9, 3};
  ASSERT_TRUE(scanmesh::solve_dense({2e-9, 0, 0, 1}, side));
  EXPECT_NEAR(side[0], 1, 1e-12);
  EXPECT_NEAR(side[1], 3, 1e-12);
  side = {1, 1};
  EXPECT_FALSE(scanmesh::solve_dense({0.5e-9, 0, 0, 1}, side));
}

}  // namespace
