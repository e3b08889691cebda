#include "support/sample_scanner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "support/solid.h"

namespace {

using demo::Solid;
using demo::Vec3;

const std::vector<Solid>& solids() {
  static const std::vector<Solid> all = {demo::sphere_solid(20), demo::torus_solid(18, 7),
                                         demo::machined_solid(), demo::sculpted_solid()};
  return all;
}

demo::SampleScanSettings rough() {
  demo::SampleScanSettings settings;
  settings.half = 1.5;
  return settings;
}

TEST(Solid, distances_of_sphere_and_torus_are_exact) {
  EXPECT_NEAR(demo::sphere_solid(20).distance_to({0, 21, 0}), 1, 1e-6);
  EXPECT_NEAR(demo::sphere_solid(20).distance_to({12, 0, 15}), 20 - std::hypot(12, 15), 1e-6);
  EXPECT_NEAR(demo::torus_solid(18, 7).distance_to({0, 18, 7.5}), 0.5, 1e-6);
  EXPECT_NEAR(demo::torus_solid(18, 7).normal({0, 26, 0}).y, 1, 1e-9);
}

TEST(Solid, functions_never_exceed_the_way_to_the_surface) {
  // Of two points on opposite sides, neither value may be more than the distance between them.
  for (const Solid& solid : solids()) {
    for (int i = 0; i < 4000; ++i) {
      const double t = i * 0.37;
      const Vec3 direction = demo::unit({std::cos(t), std::sin(1.3 * t), std::cos(2.1 * t + 1)});
      double last = solid.value({0, 0, 0});
      Vec3 at;
      for (double r = 1; r < 1.2 * solid.reach; r += 1) {
        const Vec3 p = direction * r;
        const double value = solid.value(p);
        EXPECT_LE(std::fabs(value - last), 1.02 * demo::distance(p, at));
        last = value;
        at = p;
      }
    }
  }
}

TEST(SampleScanner, samples_lie_on_the_surface_and_face_outwards) {
  for (const Solid& solid : solids()) {
    const demo::SampleScan scan = demo::scan_solid(solid, rough());
    ASSERT_GT(scan.samples.size(), 2000U);
    double sum = 0;
    std::size_t agreeing = 0;
    for (const demo::OrientedSample& s : scan.samples) {
      const double d = solid.distance_to(s.point);
      sum += d * d;
      EXPECT_LT(d, 0.2);
      agreeing += dot(s.normal, solid.normal(s.point)) > 0.9 ? 1U : 0U;
      EXPECT_NEAR(length(s.normal), 1, 1e-9);
      EXPECT_EQ(s.half, 1.5);
    }
    // At a sharp edge noise takes a sample to the other side.
    EXPECT_GT(agreeing, scan.samples.size() - scan.samples.size() / 100);
    EXPECT_NEAR(std::sqrt(sum / static_cast<double>(scan.samples.size())), 0.02, 0.006);
  }
}

TEST(SampleScanner, the_same_settings_give_the_same_scan) {
  const demo::SampleScan a = demo::scan_solid(solids()[2], rough());
  const demo::SampleScan b = demo::scan_solid(solids()[2], rough());
  ASSERT_EQ(a.samples.size(), b.samples.size());
  for (std::size_t i = 0; i < a.samples.size(); ++i) {
    EXPECT_EQ(a.samples[i].point.x, b.samples[i].point.x);
    EXPECT_EQ(a.samples[i].normal.z, b.samples[i].normal.z);
  }
}

TEST(SampleScanner, nothing_is_seen_under_markers) {
  demo::SampleScanSettings settings = rough();
  settings.markers = 5;
  const demo::SampleScan scan = demo::scan_solid(solids()[3], settings);
  ASSERT_EQ(scan.markers.size(), 5U);
  for (const demo::MarkerDisc& m : scan.markers) {
    EXPECT_EQ(m.radius, 3);
    EXPECT_EQ(m.half, 1.5);
    EXPECT_LT(solids()[3].distance_to(m.centre), 0.1);
    int near = 0;
    for (const demo::OrientedSample& s : scan.samples) {
      const double d = demo::distance(s.point, m.centre);
      EXPECT_GT(d, 3);
      near += d < 6;
    }
    EXPECT_GT(near, 10);
  }
}

TEST(SampleScanner, the_fine_region_asks_for_finer_cells_and_gets_more_samples) {
  demo::SampleScanSettings settings = rough();
  settings.fine_levels = 1;
  settings.fine_centre = {20, 0, 0};
  settings.fine_radius = 12;
  const demo::SampleScan scan = demo::scan_solid(solids()[0], settings);
  std::size_t fine = 0;
  for (const demo::OrientedSample& s : scan.samples) {
    const bool inside = demo::distance(s.point, settings.fine_centre) < 11.8;
    const bool outside = demo::distance(s.point, settings.fine_centre) > 12.2;
    EXPECT_TRUE(!inside || s.half == 0.75);
    EXPECT_TRUE(!outside || s.half == 1.5);
    fine += inside ? 1U : 0U;
  }
  // The region is a ninth of the sphere, at four times the density.
  EXPECT_GT(fine, scan.samples.size() / 4);
}

TEST(SampleScanner, points_of_a_surface_become_samples_with_its_normals) {
  demo::Surface flat;
  flat.points = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
  flat.faces = {{0, 1, 2}};
  const demo::SampleScan scan = demo::samples_of(flat, 0.25);
  ASSERT_EQ(scan.samples.size(), 3U);
  EXPECT_EQ(scan.samples[1].point.x, 1);
  EXPECT_EQ(scan.samples[1].normal.z, 1);
  EXPECT_EQ(scan.samples[1].half, 0.25);
  EXPECT_TRUE(scan.markers.empty());
}

// A flat square of n x n cells of edge 1.
demo::Surface square(int n) {
  demo::Surface s;
  for (int j = 0; j <= n; ++j) {
    for (int i = 0; i <= n; ++i) s.points.push_back({1.0 * i, 1.0 * j, 0});
  }
  for (int j = 0; j < n; ++j) {
    for (int i = 0; i < n; ++i) {
      const int a = j * (n + 1) + i;
      s.faces.push_back({a, a + 1, a + n + 2});
      s.faces.push_back({a, a + n + 2, a + n + 1});
    }
  }
  return s;
}

TEST(SampleScanner, refined_region_has_four_times_the_points_at_half_the_size) {
  const demo::Surface surface = square(20);
  demo::SampleScan scan = demo::samples_of(surface, 0.5);
  demo::refine_region(scan, surface, 0.5, {0, 0, 0}, 10.2);
  int fine = 0;
  for (const demo::OrientedSample& s : scan.samples) {
    EXPECT_EQ(s.half, demo::length(s.point) < 10.2 ? 0.25 : 0.5);
    EXPECT_EQ(s.normal.z, 1);
    fine += s.half == 0.25;
  }
  // A quarter of a disc, at four points per unit of area.
  EXPECT_NEAR(fine, 3.14159 * 10.2 * 10.2, 40);
}

TEST(SampleScanner, markers_are_laid_on_flat_places_only) {
  demo::SampleScan scan = demo::samples_of(square(30), 0.5);
  for (demo::OrientedSample& s : scan.samples) {
    if (s.point.x > 15) s.normal = {1, 0, 0};
  }
  demo::lay_markers(scan, 4, 2, 3);
  EXPECT_GE(scan.markers.size(), 2U);
  for (const demo::MarkerDisc& m : scan.markers) {
    EXPECT_GE(std::fabs(m.centre.x - 15.5), 4);
    for (const demo::OrientedSample& s : scan.samples) {
      EXPECT_GT(demo::distance(s.point, m.centre), 2);
    }
  }
}

}  // namespace
