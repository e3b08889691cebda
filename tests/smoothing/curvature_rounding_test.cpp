// Curvature written once more as it is told, and held against the library to the bit: which sums
// are double and which angles float is part of it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include "scanmesh/curvature.h"
#include "tests/support/plain_filters.h"
#include "tests/support/shapes.h"

namespace {

using namespace test_support;
using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;

constexpr double kPi = 3.141592653589793;

double size_of(const Vec3f& a) {
  return std::sqrt(wide_dot(a, a));
}
Vec3f plain_cross(const Vec3f& a, const Vec3f& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
Vec3f plain_normal(const _face& f) {
  const Vec3f n = plain_cross(minus(f.vert[0]->point, f.vert[1]->point),
                              minus(f.vert[1]->point, f.vert[2]->point));
  return times(n, 1.0 / size_of(n));
}

// A double cosine, a float arc.
float plain_angle(const Vec3f& a, const Vec3f& b) {
  const double cosine = wide_dot(a, b) / (size_of(a) * size_of(b));
  return std::acos(static_cast<float>(std::min(1.0, std::max(-1.0, cosine))));
}

// (H, K) of the faces' angles, a third of their areas, and the dihedral angles.
std::pair<double, double> plain_curvature(const _vert* v, bool stored, bool raw) {
  double angles = 0;
  double area = 0;
  for (int i = 0; i < v->face_num; ++i) {
    const _face& f = *v->face[i];
    const int k = static_cast<int>(std::find(f.vert, f.vert + 3, v) - f.vert);
    const Vec3f a = minus(f.vert[(k + 1) % 3]->point, v->point);
    const Vec3f b = minus(f.vert[(k + 2) % 3]->point, v->point);
    angles += plain_angle(a, b);
    area += 0.5 * size_of(plain_cross(a, b));
  }
  double bending = 0;
  for (int i = 0; i < v->edge_num; ++i) {
    const _edge& e = *v->edge[i];
    if (e.face_num < 2) continue;
    const Vec3f first = stored ? e.face[0]->vector : plain_normal(*e.face[0]);
    const Vec3f second = stored ? e.face[1]->vector : plain_normal(*e.face[1]);
    bending += plain_angle(first, second) * size_of(minus(e.vert[0]->point, e.vert[1]->point));
  }
  const double third = area / 3.0;
  if (raw) return {0.25 * bending, 2 * kPi - angles};
  return {bending == 0 ? 0 : 0.25 * bending / third, (2 * kPi - angles) / third};
}

double plain_corner(const Vec3f& a, const Vec3f& b) {
  return std::acos(std::min(1.0, std::max(-1.0, wide_dot(a, b) / (size_of(a) * size_of(b)))));
}

// The angle deficit over the mixed area of Meyer, Desbrun, Schroeder and Barr.
double plain_gaussian(const _vert* v, bool raw) {
  double angles = 0;
  double area = 0;
  for (int i = 0; i < v->face_num; ++i) {
    const _vert* others[2] = {nullptr, nullptr};
    int count = 0;
    for (const _vert* corner : v->face[i]->vert) {
      if (corner != v) others[count++] = corner;
    }
    const Vec3f a = minus(others[0]->point, v->point);
    const Vec3f b = minus(others[1]->point, v->point);
    const double here = plain_corner(a, b);
    const double there =
        plain_corner({-a.x, -a.y, -a.z}, minus(others[1]->point, others[0]->point));
    const double last = kPi - there - here;
    angles += here;
    if (here >= kPi / 2) {
      area += size_of(plain_cross(a, b)) -
              (std::tan(last) * wide_dot(b, b) + std::tan(there) * wide_dot(a, a)) * 0.125;
    } else {
      area +=
          (wide_dot(b, b) * std::tan(kPi / 2 - there) + wide_dot(a, a) * std::tan(kPi / 2 - last)) *
          0.125;
    }
  }
  return raw ? 2 * kPi - angles : (2 * kPi - angles) / area;
}

TEST(CurvatureRounding, is_that_of_the_plain_form) {
  const auto mesh = irregular_patch(18, 6).mesh();
  int checked = 0;
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) {
    _vert* const v = mesh->vertex[i];
    if (v->face_num == 0) continue;
    for (const bool stored : {true, false}) {
      for (const bool raw : {true, false}) {
        const auto found = GetHK(v, stored, raw, false, nullptr, nullptr);
        const auto plain = plain_curvature(v, stored, raw);
        EXPECT_EQ(found.first, plain.first) << i;
        EXPECT_EQ(found.second, plain.second) << i;
      }
    }
    for (const bool raw : {true, false}) {
      EXPECT_EQ(mesh->vertex.Cal_v_Gaussian_curvature(v, raw), plain_gaussian(v, raw)) << i;
    }
    ++checked;
  }
  EXPECT_GT(checked, 300);
}

}  // namespace
