// Holes cut out of surfaces of known equation: how far from the truth is the patch?
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/patching/test_shapes.h"

namespace {

using namespace shapes;

const double row_height = std::sqrt(0.75);  // of a lattice of equilateral unit triangles

struct Surface {
  Mesh mesh;
  std::function<double(const MyPoint3&)> distance;
};

struct Measured {
  double rms;          // of the distance to the truth, over the hole's diameter
  double good_edges;   // share within 0.5 .. 1.6 of the ring's mean edge
  double good_angles;  // share of triangles without an angle below 15 degrees
};

Surface height_field(const std::function<double(double, double)>& f, int size = 52) {
  Surface surface;
  surface.mesh = lattice(size, size + 8, false, false, 0.15, [=](double u, double v) {
    const double x = u - 0.5 * size;
    const double y = (v - 0.5 * size) * row_height;
    return MyPoint3{x, y, f(x, y)};
  });
  surface.distance = [=](const MyPoint3& p) {
    const double step = 1e-5;
    const double dx = (f(p.x + step, p.y) - f(p.x - step, p.y)) / (2 * step);
    const double dy = (f(p.x, p.y + step) - f(p.x, p.y - step)) / (2 * step);
    return (p.z - f(p.x, p.y)) / std::sqrt(1 + dx * dx + dy * dy);
  };
  return surface;
}

Surface cylinder() {
  const double radius = 60 / (2 * pi);
  return {
      lattice(60, 50, true, false, 0.15,
              [=](double u, double v) {
                const double a = u / radius;
                return MyPoint3{radius * std::cos(a), radius * std::sin(a), (v - 25) * row_height};
              }),
      [=](const MyPoint3& p) { return std::hypot(p.x, p.y) - radius; }};
}

constexpr double torus_radius = 16;
const double tube_radius = 40 * row_height / (2 * pi);

Surface torus() {
  return {lattice(100, 40, true, true, 0.15,
                  [](double u, double v) {
                    const double a = u * 2 * pi / 100;
                    const double b = v * 2 * pi / 40;
                    const double r = torus_radius + tube_radius * std::cos(b);
                    return MyPoint3{r * std::cos(a), r * std::sin(a), tube_radius * std::sin(b)};
                  }),
          [](const MyPoint3& p) {
            return std::hypot(std::hypot(p.x, p.y) - torus_radius, p.z) - tube_radius;
          }};
}

Surface sphere(double radius, int size) {
  return {lattice(size, size + size / 7, false, false, 0.15,
                  [=](double u, double v) {
                    const double x = u - 0.5 * size;
                    const double y = (v - 0.575 * size) * row_height;
                    const double q = std::hypot(x, y);
                    const double t = 2 * std::asin(std::min(0.995, q / (2 * radius)));
                    const double k = q > 0 ? radius * std::sin(t) / q : 1;
                    return MyPoint3{x * k, y * k, radius * std::cos(t)};
                  }),
          [=](const MyPoint3& p) { return norm(p) - radius; }};
}

Measured measure(const Surface& surface, const Hole& hole, const Patch& patch) {
  const int n = hole.ring_size();
  double diameter = 0;
  double mean = 0;
  for (int i = 0; i < n; ++i) {
    mean += norm(minus(patch.vertices[i], patch.vertices[(i + 1) % n])) / n;
    for (int j = 0; j < i; ++j) {
      diameter = std::max(diameter, norm(minus(patch.vertices[i], patch.vertices[j])));
    }
  }
  double squares = 0;
  double area = 0;
  int edges = 0;
  int good_edges = 0;
  int good_angles = 0;
  for (const MyFace& f : patch.faces) {
    const std::array<int, 3> t = {f.a, f.b, f.c};
    MyPoint3 middle = {0, 0, 0};
    double least = pi;
    for (std::size_t k = 0; k < 3; ++k) {
      const MyPoint3& a = patch.vertices[t[k]];
      const MyPoint3 ab = minus(patch.vertices[t[(k + 1) % 3]], a);
      const MyPoint3 ac = minus(patch.vertices[t[(k + 2) % 3]], a);
      middle = {middle.x + a.x / 3, middle.y + a.y / 3, middle.z + a.z / 3};
      least = std::min(least, std::atan2(norm(cross(ab, ac)), dot(ab, ac)));
      if (t[k] < n && t[(k + 1) % 3] == (t[k] + 1) % n) continue;
      ++edges;
      good_edges += norm(ab) >= 0.5 * mean && norm(ab) <= 1.6 * mean ? 1 : 0;
    }
    good_angles += least >= 15 * pi / 180 ? 1 : 0;
    const double size = norm(cross(minus(patch.vertices[f.b], patch.vertices[f.a]),
                                   minus(patch.vertices[f.c], patch.vertices[f.a])));
    squares += size * surface.distance(middle) * surface.distance(middle);
    area += size;
  }
  return {std::sqrt(squares / area) / diameter, static_cast<double>(good_edges) / edges,
          static_cast<double>(good_angles) / static_cast<double>(patch.faces.size())};
}

void expect_true(Surface surface, const std::function<bool(const MyPoint3&)>& inside, double noise,
                 double rms) {
  add_noise(surface.mesh, noise);
  round_to_float(surface.mesh);
  const Hole hole = cut_around(surface.mesh, inside);
  const Patch patch = fill(hole);
  expect_sound(hole, patch);
  const Measured measured = measure(surface, hole, patch);
  EXPECT_LT(measured.rms, rms);
  EXPECT_GE(measured.good_angles, 0.95);
  EXPECT_GE(measured.good_edges, 0.95);
}

std::function<bool(const MyPoint3&)> disc(double radius) {
  return [=](const MyPoint3& p) { return std::hypot(p.x, p.y) < radius; };
}

std::function<bool(const MyPoint3&)> slot(double half_length, double half_width) {
  return
      [=](const MyPoint3& p) { return std::abs(p.x) < half_length && std::abs(p.y) < half_width; };
}

TEST(PatchTruth, Plane_is_closed_by_the_plane) {
  expect_true(height_field([](double x, double y) { return 0.2 * x - 0.1 * y; }), disc(8), 0, 1e-6);
}

TEST(PatchTruth, Saddle_is_continued) {
  const auto f = [](double x, double y) { return 0.02 * (x * x - y * y); };
  expect_true(height_field(f), disc(6), 0, 2e-4);
  expect_true(height_field(f), disc(12), 0, 2e-4);
  expect_true(height_field(f), slot(15, 3), 0, 1e-4);
  expect_true(height_field(f), disc(12), 0.02, 1e-3);
}

TEST(PatchTruth, Wavy_field_is_continued) {
  const auto f = [](double x, double y) { return std::sin(0.21 * x) * std::cos(0.17 * y); };
  expect_true(height_field(f), disc(3), 0, 5e-4);
  expect_true(height_field(f), disc(6), 0, 1.1e-3);
  expect_true(height_field(f), slot(15, 3), 0, 1e-3);
  expect_true(height_field(f), disc(6), 0.02, 2.5e-3);
}

TEST(PatchTruth, Cylinder_is_continued) {
  const double radius = 60 / (2 * pi);
  for (const double size : {3.0, 6.0, 10.0}) {
    SCOPED_TRACE(size);
    const auto inside = [=](const MyPoint3& p) {
      return std::hypot(std::atan2(p.y, p.x) * radius, p.z) < size;
    };
    expect_true(cylinder(), inside, 0, 1.8e-3);
    expect_true(cylinder(), inside, 0.02, 4e-3);
  }
}

TEST(PatchTruth, Torus_is_continued_outside_and_on_top) {
  for (const double angle : {0.0, 0.5 * pi}) {
    const double x = torus_radius + tube_radius * std::cos(angle);
    const double z = tube_radius * std::sin(angle);
    const auto inside = [=](const MyPoint3& p) { return norm(minus(p, {x, 0, z})) < 5; };
    SCOPED_TRACE(angle);
    expect_true(torus(), inside, 0, 5e-3);
    expect_true(torus(), inside, 0.02, 6e-3);
  }
}

// Least bending alone ends a quarter of the way to flat at 70 degrees.
TEST(PatchTruth, Sphere_caps_come_back_round) {
  const auto cap = [](double radius, double degrees) {
    const double z = radius * std::cos(degrees * pi / 180);
    return [=](const MyPoint3& p) { return p.z > z; };
  };
  expect_true(sphere(8, 34), cap(8, 20), 0, 4.5e-3);
  expect_true(sphere(8, 34), cap(8, 45), 0, 3e-3);
  expect_true(sphere(8, 34), cap(8, 70), 0, 1.6e-2);
  expect_true(sphere(20, 84), cap(20, 45), 0, 1e-3);
  expect_true(sphere(20, 84), cap(20, 45), 0.02, 2e-3);
  expect_true(sphere(20, 84), cap(20, 70), 0, 1e-2);
}

}  // namespace
