#include "core/rbf_surface.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace scanmesh {

namespace {

constexpr double kKernelExponent = 3.0;
constexpr int kPolynomialTerms = 4;

double distance_in_double(const Vec3f& a, const Vec3f& b) {
  const double x = static_cast<double>(a.x) - b.x;
  const double y = static_cast<double>(a.y) - b.y;
  const double z = static_cast<double>(a.z) - b.z;
  return std::sqrt(x * x + y * y + z * z);
}

double kernel(const Vec3f& a, const Vec3f& b, RbfRounding rounding) {
  if (rounding == RbfRounding::kDouble) {
    return std::pow(distance_in_double(a, b), kKernelExponent);
  }
  return static_cast<double>(static_cast<float>(std::pow(distance(a, b), kKernelExponent)));
}

}  // namespace

void rbf_set_size(RbfContext& context, int count) {
  context.point_count = 2 * count;
  context.system_size = context.point_count + kPolynomialTerms;
}

// The upper triangle is mirrored, which is exact.
std::vector<double> rbf_matrix(const RbfContext& context, const Vec3f* points,
                               RbfRounding rounding) {
  const auto n = static_cast<std::size_t>(context.point_count);
  const auto m = static_cast<std::size_t>(context.system_size);
  std::vector<double> a(m * m, 0.0);
  for (std::size_t i = 0; i < n; ++i) {
    for (std::size_t j = i; j < n; ++j) {
      a[i * m + j] = a[j * m + i] = kernel(points[i], points[j], rounding);
    }
    const float tail[kPolynomialTerms] = {1.0F, points[i].x, points[i].y, points[i].z};
    for (std::size_t k = 0; k < kPolynomialTerms; ++k) {
      a[i * m + n + k] = a[(n + k) * m + i] = static_cast<double>(tail[k]);
    }
  }
  return a;
}

std::vector<double> rbf_right_side(const RbfContext& context) {
  std::vector<double> side(static_cast<std::size_t>(context.system_size), 0.0);
  std::fill(side.begin() + context.point_count / 2, side.begin() + context.point_count, 1.0);
  return side;
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

Vec3f rbf_settle(RbfContext& context, const Vec3f* points, const double* weights, Vec3f p,
                 int most_steps) {
  rbf_newton_step(context, p, points, weights, p);
  for (int i = 0; i < most_steps && context.step > context.tolerance; ++i) {
    rbf_newton_step(context, p, points, weights, p);
  }
  return p;
}

}  // namespace scanmesh
