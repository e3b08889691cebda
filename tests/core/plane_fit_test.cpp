#include "core/plane_fit.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "core/dense_solver.h"
#include "core/rbf_surface.h"
#include "tests/support/shapes.h"

namespace {

using scanmesh::Point3d;
using std::vector;
using test_support::Random;
using test_support::Vec3f;

vector<Point3d> noisy_plane(int n, double a, double b, double c, double noise, uint64_t seed) {
  Random random(seed);
  vector<Point3d> points;
  for (int i = 0; i < n; ++i) {
    const double x = 3 * random.signed_unit() + 5;
    const double y = 2 * random.signed_unit() - 1;
    points.push_back({x, y, a * x + b * y + c + noise * random.signed_unit()});
  }
  return points;
}

double off_plane(const Point3d& normal, double constant, const Point3d& p) {
  const double length =
      std::sqrt(normal[0] * normal[0] + normal[1] * normal[1] + normal[2] * normal[2]);
  return (normal[0] * p[0] + normal[1] * p[1] + normal[2] * p[2] + constant) / length;
}

double squares(const vector<Point3d>& points, const Point3d& normal, double constant) {
  double sum = 0;
  for (const Point3d& p : points) sum += std::pow(off_plane(normal, constant, p), 2);
  return sum;
}

TEST(FitPointPlane, without_points_leaves_the_result) {
  Point3d normal = {1, 2, 3};
  EXPECT_EQ(scanmesh::fit_point_plane(nullptr, 0, normal), 0);
  EXPECT_EQ(normal, (Point3d{1, 2, 3}));
}

TEST(FitPointPlane, is_scaled_to_the_constant_1) {
  const vector<Point3d> points = noisy_plane(60, 0.3, -0.2, 2, 0, 1);
  Point3d normal{};
  EXPECT_EQ(scanmesh::fit_point_plane(points.data(), 60, normal), 1);
  for (const Point3d& p : points) EXPECT_NEAR(off_plane(normal, 1, p), 0, 1e-9);
}

TEST(FitPointPlane, through_the_origin_to_the_last_digit_keeps_unit_length_and_the_constant_0) {
  const vector<Point3d> points = {{1, 0, 0}, {-1, 0, 0}, {0, 2, 0}, {0, -2, 0}};
  Point3d normal{};
  EXPECT_EQ(scanmesh::fit_point_plane(points.data(), 4, normal), 0);
  EXPECT_EQ(std::fabs(normal[2]), 1.0);
}

TEST(FitPointPlane, counts_as_through_the_origin_up_to_a_distance_of_1e_30) {
  for (const double z : {1e-30, 1.01e-30}) {
    ASSERT_EQ((z + z + z + z) / 4, z);  // the mean, to the bit
    const vector<Point3d> points = {{1, 0, z}, {-1, 0, z}, {0, 2, z}, {0, -2, z}};
    Point3d normal{};
    EXPECT_EQ(scanmesh::fit_point_plane(points.data(), 4, normal), z > 1e-30 ? 1 : 0);
  }
}

TEST(FitPointPlane, no_plane_through_noisy_points_is_better) {
  const vector<Point3d> points = noisy_plane(200, 0.7, 0.1, -3, 0.3, 2);
  Point3d normal{};
  const double constant = scanmesh::fit_point_plane(points.data(), 200, normal);
  const double best = squares(points, normal, constant);
  Random random(3);
  for (int i = 0; i < 200; ++i) {
    Point3d other = normal;
    for (double& value : other) value *= 1 + 0.02 * random.signed_unit();
    const double moved = constant * (1 + 0.02 * random.signed_unit());
    EXPECT_GE(squares(points, other, moved), best * (1 - 1e-9));
  }
}

TEST(FitPointPlane, the_count_is_no_direction_even_when_it_is_the_smallest_value) {
  // Three points that spread far: every spread is larger than the count.
  const vector<Point3d> points = {{10, 0, 3}, {-10, 8, 9}, {0, -9, -7}, {2, 3, 30}, {-4, 6, -30}};
  Point3d normal{};
  const double constant = scanmesh::fit_point_plane(points.data(), 5, normal);
  const double best = squares(points, normal, constant);
  const vector<Point3d> axes = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  Point3d mean{};
  for (const Point3d& p : points) {
    for (std::size_t k = 0; k < 3; ++k) mean[k] += p[k] / 5;
  }
  EXPECT_NEAR(off_plane(normal, constant, mean), 0, 1e-9);
  for (const Point3d& axis : axes) {
    const double through = -(axis[0] * mean[0] + axis[1] * mean[1] + axis[2] * mean[2]);
    EXPECT_GE(squares(points, axis, through), best);
  }
}

TEST(FitMomentPlane, holds_points_of_a_plane) {
  vector<Vec3f> points;
  for (const Point3d& p : noisy_plane(40, 0.5, 0.25, 1, 0, 4)) {
    points.push_back(
        {static_cast<float>(p[0]), static_cast<float>(p[1]), static_cast<float>(p[2])});
  }
  const auto plane = scanmesh::fit_moment_plane(points.data(), 40);
  EXPECT_NEAR(plane[0] * plane[0] + plane[1] * plane[1] + plane[2] * plane[2], 1, 1e-12);
  for (const Vec3f& p : points) {
    EXPECT_NEAR(plane[0] * p.x + plane[1] * p.y + plane[2] * p.z + plane[3], 0, 1e-5);
  }
}

TEST(SolveDenseAny, solves_a_regular_system) {
  const vector<double> a = {0, 2, 1, 1, 0, 0, 3, 1, -1};
  vector<double> x = {5, 7, 8};
  scanmesh::solve_dense_any(a, x);
  EXPECT_NEAR(2 * x[1] + x[2], 5, 1e-12);
  EXPECT_NEAR(x[0], 7, 1e-12);
  EXPECT_NEAR(3 * x[0] + x[1] - x[2], 8, 1e-12);
}

TEST(SolveDenseAny, solves_a_consistent_system_whose_rows_repeat) {
  const vector<double> a = {1, 2, 1, 2, 4, 2, 0, 1, 5};
  vector<double> x = {3, 6, 4};
  scanmesh::solve_dense_any(a, x);
  EXPECT_NEAR(x[0] + 2 * x[1] + x[2], 3, 1e-9);
  EXPECT_NEAR(x[1] + 5 * x[2], 4, 1e-9);
  vector<double> none;
  scanmesh::solve_dense_any({}, none);
}

TEST(RbfSurface, double_precision_interpolates_anchors_and_offsets) {
  Random random(5);
  vector<Vec3f> points;
  for (int i = 0; i < 60; ++i) {
    points.push_back({2 * random.signed_unit(), 2 * random.signed_unit(), 0});
    points.back().z = 0.2F * points.back().x * points.back().x;
  }
  for (int i = 0; i < 60; ++i) {
    const Vec3f p = points[static_cast<std::size_t>(i)];
    points.push_back({p.x, p.y, p.z + 0.1F});
  }
  scanmesh::RbfContext context;
  scanmesh::rbf_set_size(context, 60);
  EXPECT_EQ(context.system_size, 124);
  vector<double> weights = scanmesh::rbf_right_side(context);
  const vector<double> matrix =
      scanmesh::rbf_matrix(context, points.data(), scanmesh::RbfRounding::kDouble);
  scanmesh::solve_dense_any(matrix, weights);
  const auto value = [&](const Vec3f& p) {
    double f = weights[120] + weights[121] * p.x + weights[122] * p.y + weights[123] * p.z;
    for (std::size_t i = 0; i < 120; ++i) {
      const double d = std::sqrt(std::pow(static_cast<double>(p.x) - points[i].x, 2) +
                                 std::pow(static_cast<double>(p.y) - points[i].y, 2) +
                                 std::pow(static_cast<double>(p.z) - points[i].z, 2));
      f += weights[i] * d * d * d;
    }
    return f;
  };
  for (std::size_t i = 0; i < 120; ++i) EXPECT_NEAR(value(points[i]), i < 60 ? 0 : 1, 1e-6);
  // Float entries differ in the eighth digit.
  const vector<double> rounded =
      scanmesh::rbf_matrix(context, points.data(), scanmesh::RbfRounding::kFloat);
  EXPECT_NE(rounded, matrix);
  for (std::size_t i = 0; i < matrix.size(); ++i) {
    EXPECT_NEAR(rounded[i], matrix[i], 1e-5 * (1 + std::fabs(matrix[i])));
  }
  scanmesh::RbfContext settle;
  scanmesh::rbf_set_size(settle, 60);
  const Vec3f start{0.5F, 0.3F, 0.2F};
  const Vec3f end = scanmesh::rbf_settle(settle, points.data(), weights.data(), start, 30);
  EXPECT_NEAR(end.z, 0.2F * end.x * end.x, 0.01);
  // With no further steps allowed it is the first step alone.
  Vec3f one{};
  scanmesh::rbf_newton_step(settle, one, points.data(), weights.data(), start);
  EXPECT_EQ(scanmesh::rbf_settle(settle, points.data(), weights.data(), start, 0).z, one.z);
}

}  // namespace
