// The whole octree pipeline on what a scanner delivers.
#include "reconstruction.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "scanmesh/mesh.h"
#include "support/distance.h"
#include "support/solid.h"
#include "tests/support/files.h"
#include "tests/support/invariants.h"

namespace {

using demo::Solid;
using demo::Triangle;
using demo::Vec3;

struct Trial {
  demo::SampleScan scan;
  demo::Reconstruction made;
  std::vector<Triangle> soup;

  Trial(const Solid& solid, const demo::SampleScanSettings& settings) {
    const std::string path = test_support::temp_path("soup.stl");
    scan = demo::scan_solid(solid, settings);
    made = demo::reconstruct(scan, settings.half, settings.fine_levels, path);
    soup = demo::read_soup(path);
    std::remove(path.c_str());
  }
};

demo::SampleScanSettings settings_of(double half) {
  demo::SampleScanSettings settings;
  settings.half = half;
  return settings;
}

double rms(const std::vector<Triangle>& soup, const Solid& solid) {
  double sum = 0;
  for (const Triangle& t : soup) {
    for (const Vec3& p : t) sum += std::pow(solid.distance_to(p), 2);
  }
  return std::sqrt(sum / static_cast<double>(3 * soup.size()));
}

TEST(Reconstruction, comes_nearer_the_truth_with_finer_cells) {
  const Solid solid = demo::sphere_solid(20);
  const Trial coarse(solid, settings_of(1));
  const Trial fine(solid, settings_of(0.5));
  EXPECT_GT(fine.soup.size(), 3 * coarse.soup.size());
  EXPECT_LT(rms(coarse.soup, solid), 0.1);
  EXPECT_LT(rms(fine.soup, solid), 0.04);
}

TEST(Reconstruction, of_a_part_faces_outwards_and_covers_it) {
  const Solid solid = demo::machined_solid();
  const Trial trial(solid, settings_of(1));
  ASSERT_GT(trial.soup.size(), 5000U);
  // Within a cell of a sharp edge a facet may belong to either side.
  std::size_t inwards = 0;
  for (const Triangle& t : trial.soup) {
    const Vec3 n = cross(t[1] - t[0], t[2] - t[0]);
    const Vec3 centre = (t[0] + t[1] + t[2]) * (1.0 / 3);
    inwards += dot(n, solid.normal(centre)) < -0.17 * length(n) ? 1U : 0U;
  }
  EXPECT_LT(inwards, trial.soup.size() / 100);
  const demo::NearestTriangle surface(trial.soup);
  std::size_t bare = 0;
  for (const demo::OrientedSample& s : trial.scan.samples) {
    bare += surface.distance_to(s.point) > 1 ? 1U : 0U;
  }
  EXPECT_LT(bare, trial.scan.samples.size() / 200);
}

TEST(Reconstruction, marker_holes_get_samples_near_the_truth) {
  const Solid solid = demo::sculpted_solid();
  demo::SampleScanSettings settings = settings_of(0.5);
  settings.markers = 6;
  const Trial trial(solid, settings);
  ASSERT_EQ(trial.scan.markers.size(), 6U);
  std::vector<int> in_disc(6, 0);
  for (const demo::TreeSample& s : trial.made.samples) {
    if (s.tag != 1) continue;
    EXPECT_LT(solid.distance_to(s.point), 0.4);
    EXPECT_GT(dot(s.normal, solid.normal(s.point)), 0.9);
    for (std::size_t m = 0; m < 6; ++m) {
      const demo::MarkerDisc& marker = trial.scan.markers[m];
      in_disc[m] += demo::distance(s.point, marker.centre) < marker.radius + 0.5 ? 1 : 0;
    }
  }
  for (const int count : in_disc) EXPECT_GE(count, 3);
}

TEST(Reconstruction, resolutions_join_without_a_gap) {
  const Solid solid = demo::sphere_solid(20);
  demo::SampleScanSettings settings = settings_of(0.5);
  settings.fine_levels = 1;
  settings.fine_centre = {20, 0, 0};
  settings.fine_radius = 14;
  const Trial trial(solid, settings);
  const demo::NearestTriangle surface(trial.soup);
  for (const demo::OrientedSample& s : trial.scan.samples) {
    if (std::fabs(demo::distance(s.point, settings.fine_centre) - 14) > 2) continue;
    EXPECT_LT(surface.distance_to(s.point), 0.3);
  }
}

TEST(Reconstruction, soup_becomes_a_sound_mesh) {
  const Solid solid = demo::torus_solid(18, 7);
  const Trial trial(solid, settings_of(1));
  Mesh_M::Mesh mesh;
  MemS::Point3v<float> centre{0, 0, 0};
  mesh.inalize_oct(centre, 40);
  for (const Triangle& t : trial.soup) {
    MemS::Point3v<float> corners[3];
    for (std::size_t k = 0; k < 3; ++k) {
      corners[k] = {static_cast<float>(t[k].x), static_cast<float>(t[k].y),
                    static_cast<float>(t[k].z)};
    }
    MemS::Point3v<float> normal{0, 0, 1};
    mesh.insert(corners[0], corners[1], corners[2], normal);
  }
  mesh.inalize_mesh();
  EXPECT_TRUE(test_support::adjacency_holds(mesh));
  EXPECT_GT(mesh.face.get_real_facenum(), static_cast<int>(trial.soup.size() * 98 / 100));
}

TEST(ReadSoup, takes_every_record_whatever_the_header_says) {
  const std::string path = test_support::temp_path("short.stl");
  std::string bytes(84, '\0');
  for (int i = 0; i < 3; ++i) {
    for (int k = 0; k < 12; ++k) {
      test_support::append_value(bytes, static_cast<float>(100 * i + k));
    }
    bytes.append(2, '\0');
  }
  test_support::write_file(path, bytes + "cut off");
  const std::vector<Triangle> soup = demo::read_soup(path);
  std::remove(path.c_str());
  ASSERT_EQ(soup.size(), 3U);
  EXPECT_EQ(soup[2][0].x, 203);
  EXPECT_EQ(soup[2][2].z, 211);
  EXPECT_TRUE(demo::read_soup("/nowhere/at/all.stl").empty());
}

}  // namespace
