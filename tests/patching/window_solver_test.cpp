#include "patching/window_solver.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "patching/ring_triangulation.h"
#include "tests/patching/test_shapes.h"

namespace {

using cavity::ChordSet;
using cavity::Point;
using cavity::Triangle;

std::vector<Point> rough_ring(int n, uint64_t seed) {
  shapes::Random random(seed);
  std::vector<Point> ring;
  for (int i = 0; i < n; ++i) {
    const double t = 2 * shapes::pi * i / n;
    ring.emplace_back(std::cos(t), std::sin(t), 0.3 * random.uniform());
  }
  return ring;
}

std::vector<Triangle> fan(int n) {
  std::vector<Triangle> triangles;
  for (int i = 1; i + 1 < n; ++i) triangles.push_back({0, i, i + 1});
  return triangles;
}

// As sets of corners, in order.
std::vector<std::array<int, 3>> sorted(const std::vector<Triangle>& triangles) {
  std::vector<std::array<int, 3>> out;
  for (const Triangle& t : triangles) {
    std::array<int, 3> corners{t[0], t[1], t[2]};
    std::sort(corners.begin(), corners.end());
    out.push_back(corners);
  }
  std::sort(out.begin(), out.end());
  return out;
}

TEST(WindowSolver, finds_the_best_triangulation_of_a_ring_that_fits_a_window) {
  ChordSet chords;
  chords.close();
  for (uint64_t seed = 1; seed <= 20; ++seed) {
    const std::vector<Point> ring = rough_ring(14, seed);
    const std::vector<Point> normals(ring.size(), Point::Zero());
    std::vector<Triangle> triangles = fan(14);
    cavity::solve_windows(ring, normals, chords, triangles);
    EXPECT_EQ(sorted(triangles), sorted(cavity::triangulate_ring(ring, normals, chords))) << seed;
    EXPECT_NE(sorted(triangles), sorted(fan(14))) << seed;
  }
}

}  // namespace
