#include "core/plane_fit.h"

#include <cmath>
#include <cstddef>
#include <limits>

#include "scanmesh/curvature.h"

namespace scanmesh {

namespace {

using Matrix4 = std::array<std::array<double, 4>, 4>;

struct Singular {
  std::array<double, 4> values{};
  Matrix4 v{};  // columns follow the values

  explicit Singular(Matrix4 m) {
    double* rows[4];
    double* v_rows[4];
    for (std::size_t i = 0; i < 4; ++i) {
      rows[i] = m[i].data();
      v_rows[i] = v[i].data();
    }
    Svd_Decompose(rows, 4, 4, values.data(), v_rows);
  }
  std::array<double, 4> column(std::size_t i) const { return {v[0][i], v[1][i], v[2][i], v[3][i]}; }
};

// Sums of the products of (x, y, z, 1) with itself.
void add_moments(Matrix4& m, const Point3d& p) {
  const double q[4] = {p[0], p[1], p[2], 1.0};
  for (std::size_t i = 0; i < 4; ++i) {
    for (std::size_t j = 0; j < 4; ++j) m[i][j] += q[i] * q[j];
  }
}

}  // namespace

double fit_point_plane(const Point3d* points, int count, Point3d& normal) {
  if (count < 1) return 0;
  Point3d mean{};
  for (int i = 0; i < count; ++i) {
    for (std::size_t k = 0; k < 3; ++k) mean[k] += points[i][k];
  }
  for (double& value : mean) value /= count;
  Matrix4 m{};
  for (int i = 0; i < count; ++i) {
    add_moments(m, {points[i][0] - mean[0], points[i][1] - mean[1], points[i][2] - mean[2]});
  }
  const Singular singular(m);
  // One of the values is the count, which belongs to no direction.
  std::size_t best = 4;
  for (std::size_t i = 0; i < 4; ++i) {
    if (std::fabs(singular.values[i] - count) <= 1e-10) continue;
    if (best == 4 || singular.values[i] <= singular.values[best]) best = i;
  }
  if (best == 4) return 0;
  const std::array<double, 4> e = singular.column(best);
  const double u = e[3] - (e[0] * mean[0] + e[1] * mean[1] + e[2] * mean[2]);
  const bool through_origin = std::fabs(u) <= 1e-30;
  for (std::size_t k = 0; k < 3; ++k) normal[k] = through_origin ? e[k] : e[k] / u;
  return through_origin ? 0 : 1;
}

std::array<double, 4> fit_moment_plane(const Vec3f* points, int count) {
  Matrix4 m{};
  for (int i = 0; i < count; ++i) add_moments(m, {points[i].x, points[i].y, points[i].z});
  const Singular singular(m);
  std::size_t best = 0;
  for (std::size_t i = 1; i < 4; ++i) {
    if (singular.values[i] <= singular.values[best]) best = i;
  }
  std::array<double, 4> plane = singular.column(best);
  const double length = std::sqrt(plane[0] * plane[0] + plane[1] * plane[1] + plane[2] * plane[2]);
  for (double& value : plane) value /= length;
  return plane;
}

}  // namespace scanmesh
