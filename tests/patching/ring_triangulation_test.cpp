#include "patching/ring_triangulation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "patching/ear_clipping.h"
#include "patching/polygon_solver.h"
#include "tests/patching/test_shapes.h"

namespace {

using cavity::ChordSet;
using cavity::Point;
using cavity::Triangle;

double area_of(const std::vector<Point>& ring, const std::vector<Triangle>& triangles) {
  double area = 0;
  for (const Triangle& t : triangles) {
    area += 0.5 * cavity::area_vector(ring[t[0]], ring[t[1]], ring[t[2]]).norm();
  }
  return area;
}

double shadow_area(const std::vector<Point>& ring) {
  double area = 0;
  for (std::size_t i = 0; i < ring.size(); ++i) {
    const Point& a = ring[i];
    const Point& b = ring[(i + 1) % ring.size()];
    area += 0.5 * (a.x() * b.y() - a.y() * b.x());
  }
  return area;
}

// A flat ring with deep bays and a ragged rim.
std::vector<Point> ragged(int n) {
  shapes::Random random(5);
  std::vector<Point> ring;
  for (int i = 0; i < n; ++i) {
    const double t = 2 * shapes::pi * i / n;
    const double r = n / 10.0 * (1 + 0.4 * std::sin(9 * t) + 0.1 * std::sin(31 * t));
    ring.emplace_back((r + 0.25 * random.uniform()) * std::cos(t),
                      (r + 0.25 * random.uniform()) * std::sin(t), 0.0);
  }
  return ring;
}

std::vector<Triangle> triangulate(const std::vector<Point>& ring) {
  ChordSet chords;
  chords.close();
  return cavity::triangulate_ring(ring, std::vector<Point>(ring.size(), Point::Zero()), chords);
}

TEST(RingTriangulation, Flat_ring_of_any_size_is_covered_once) {
  for (const int n : {40, 240, 241, 1000, 4000}) {
    SCOPED_TRACE(n);
    const std::vector<Point> ring = ragged(n);
    const std::vector<Triangle> triangles = triangulate(ring);
    ASSERT_EQ(triangles.size(), ring.size() - 2);
    EXPECT_NEAR(area_of(ring, triangles) / shadow_area(ring), 1.0, 1e-4);
  }
}

TEST(RingTriangulation, Faces_at_the_rim_decide_which_way_to_bend) {
  // Either diagonal bends the square as much; the faces beyond it continue a sharper fold on one.
  const std::vector<Point> ring = {{0, 0, 0}, {1, 0, 0.1}, {1, 1, 0}, {0, 1, 0.1}};
  std::vector<Point> sharp = ring;
  for (Point& p : sharp) p.z() *= 5;
  ChordSet chords;
  chords.close();
  for (const int start : {0, 1}) {
    std::vector<Point> normals;
    for (int i = 0; i < 4; ++i) {
      // The triangle that the edge would lie in, were the diagonal start - start + 2.
      const int tip = i == start || i == start + 1 ? start + 1 : (start + 3) % 4;
      normals.push_back(
          cavity::normal_or_zero(sharp[(tip + 3) % 4], sharp[tip], sharp[(tip + 1) % 4]));
    }
    const auto triangles = cavity::triangulate_ring(ring, normals, chords);
    ASSERT_EQ(triangles.size(), 2u);
    for (const Triangle& t : triangles) {
      EXPECT_TRUE(t[0] == start || t[1] == start || t[2] == start);
      EXPECT_TRUE(t[0] == start + 2 || t[1] == start + 2 || t[2] == start + 2);
    }
  }
}

// The programme keeps one best solution per sub-polygon, so a fan may win now and then.
TEST(RingTriangulation, Hardly_any_fan_is_flatter) {
  shapes::Random random(3);
  int flatter = 0;
  for (int trial = 0; trial < 50; ++trial) {
    std::vector<Point> ring;
    for (int i = 0; i < 9; ++i) {
      const double t = 2 * shapes::pi * i / 9;
      ring.emplace_back(std::cos(t), std::sin(t), 0.3 * random.uniform());
    }
    const auto worst = [&](const std::vector<Triangle>& triangles) {
      double least = 1;
      for (const Triangle& a : triangles) {
        for (const Triangle& b : triangles) {
          int shared = 0;
          for (const int v : a) shared += std::count(b.begin(), b.end(), v) > 0 ? 1 : 0;
          if (shared != 2) continue;
          least =
              std::min(least, cavity::normal_or_zero(ring[a[0]], ring[a[1]], ring[a[2]])
                                  .dot(cavity::normal_or_zero(ring[b[0]], ring[b[1]], ring[b[2]])));
        }
      }
      return least;
    };
    const double ours = worst(triangulate(ring));
    for (int tip = 0; tip < 9; ++tip) {
      std::vector<Triangle> fan;
      for (int i = 1; i < 8; ++i) fan.push_back({tip, (tip + i) % 9, (tip + i + 1) % 9});
      flatter += ours < worst(fan) - 2e-5 ? 1 : 0;
    }
  }
  EXPECT_LE(flatter, 5);  // of 450
}

TEST(EarClipping, Ring_whose_shadow_crosses_itself_is_left_alone) {
  std::vector<Point> eight;  // two loops, one twice as large
  for (int i = 0; i < 40; ++i) {
    const double t = 2 * shapes::pi * i / 40 + 0.03;
    const double size = i < 20 ? 2 : 1;
    eight.emplace_back(size * std::sin(t), size * std::sin(2 * t), 0.0);
  }
  ChordSet chords;
  chords.close();
  EXPECT_TRUE(cavity::clip_ears(eight, chords).empty());
  EXPECT_EQ(triangulate(eight).size(), eight.size() - 2);
}

TEST(EarClipping, Taken_chords_are_left_out) {
  const std::vector<Point> ring = ragged(60);
  ChordSet chords;
  for (int i = 0; i < 60; i += 3) chords.add(i, (i + 2) % 60);
  chords.close();
  const std::vector<Triangle> triangles = cavity::clip_ears(ring, chords);
  ASSERT_EQ(triangles.size(), ring.size() - 2);
  for (const Triangle& t : triangles) {
    for (int k = 0; k < 3; ++k) EXPECT_FALSE(chords.contains(t[k], t[(k + 1) % 3]));
  }
}

}  // namespace
