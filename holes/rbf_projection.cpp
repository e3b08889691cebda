#include "holes/rbf_projection.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iostream>
#include <vector>

#include "holes/dense_solver.h"

namespace scanmesh {

namespace {

constexpr int kMostAnchors = 3000;
constexpr int kMostSteps = 50;
constexpr double kKernelExponent = 3.0;
constexpr int kPolynomialTerms = 4;

std::size_t index(int i) {
  return static_cast<std::size_t>(i);
}

float kernel(const Vec3f& a, const Vec3f& b) {
  return static_cast<float>(std::pow(distance(a, b), kKernelExponent));
}

// Entries round to float before they become doubles; the upper triangle is mirrored, which is
// exact.
std::vector<double> build_matrix(const RbfContext& context, const Vec3f* points) {
  const std::size_t n = index(context.point_count);
  const std::size_t m = index(context.system_size);
  std::vector<double> a(m * m, 0.0);
  for (std::size_t i = 0; i < n; ++i) {
    for (std::size_t j = i; j < n; ++j) {
      a[i * m + j] = a[j * m + i] = static_cast<double>(kernel(points[i], points[j]));
    }
    const float tail[kPolynomialTerms] = {1.0F, points[i].x, points[i].y, points[i].z};
    for (std::size_t k = 0; k < kPolynomialTerms; ++k) {
      a[i * m + n + k] = a[(n + k) * m + i] = static_cast<double>(tail[k]);
    }
  }
  return a;
}

// 0 on the surface, 1 at the offset anchors.
std::vector<double> right_side(const RbfContext& context) {
  std::vector<double> side(index(context.system_size), 0.0);
  std::fill(side.begin() + context.point_count / 2, side.begin() + context.point_count, 1.0);
  return side;
}

Vec3f settle(RbfContext& context, const Vec3f* points, const double* weights, Vec3f p) {
  rbf_newton_step(context, p, points, weights, p);
  for (int i = 0; i < kMostSteps && context.step > context.tolerance; ++i) {
    rbf_newton_step(context, p, points, weights, p);
  }
  return p;
}

}  // namespace

void rbf_project_vert(RbfContext& context, const Vec3f* anchors, const Vec3f* offset_anchors,
                      int count, Vec3f* positions, int& n) {
  std::vector<Vec3f> points(anchors, anchors + count);
  points.insert(points.end(), offset_anchors, offset_anchors + count);
  context.points = points.data();
  rbf_solve(context, context.points, count, positions, n);
  context.points = nullptr;
}

void rbf_solve(RbfContext& context, const Vec3f* points, int count, Vec3f* positions, int& n) {
  if (count > kMostAnchors) {
    n = 0;
    return;
  }
  context.point_count = 2 * count;
  context.system_size = context.point_count + kPolynomialTerms;
  std::vector<double> weights = right_side(context);
  if (!solve_dense(build_matrix(context, points), weights)) {
    std::cout << "求逆失败" << std::endl;
    n = 0;
    return;
  }
  for (int i = 0; i < n; ++i) {
    positions[i] = settle(context, points, weights.data(), positions[i]);
  }
}

// The polynomial's gradient stands inside the factor of 3 of the kernel's, which makes the step
// shorter than Newton's own; patches are settled on this form. A zero gradient isn't guarded.
void rbf_newton_step(RbfContext& context, Vec3f& result, const Vec3f* points, const double* weights,
                     Vec3f p) {
  const int n = context.point_count;
  double f = 0;
  float sum[3] = {0, 0, 0};
  for (int i = 0; i < n; ++i) {
    const double dx = static_cast<double>(p.x) - points[i].x;
    const double dy = static_cast<double>(p.y) - points[i].y;
    const double dz = static_cast<double>(p.z) - points[i].z;
    const double r = std::sqrt(dx * dx + dy * dy + dz * dz);
    const double wr = weights[i] * r;
    f += wr * r * r;
    sum[0] += static_cast<float>(wr * dx);
    sum[1] += static_cast<float>(wr * dy);
    sum[2] += static_cast<float>(wr * dz);
  }
  const double* const tail = weights + n;
  f += tail[0] + tail[1] * p.x + tail[2] * p.y + tail[3] * p.z;
  float* const g = context.gradient;
  for (int k = 0; k < 3; ++k) g[k] = static_cast<float>(3 * (sum[k] + tail[k + 1]));
  const double scale = f / dot_double({g[0], g[1], g[2]}, {g[0], g[1], g[2]});
  const Vec3f next = {static_cast<float>(p.x - g[0] * scale),
                      static_cast<float>(p.y - g[1] * scale),
                      static_cast<float>(p.z - g[2] * scale)};
  context.step = distance(next, p);
  result = next;
}

}  // namespace scanmesh
