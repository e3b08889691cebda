#include "support/virtual_scanner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "support/distance.h"
#include "support/stl_file.h"
#include "support/surface.h"
#include "tests/support/files.h"

namespace {

using testing::DoubleNear;
using testing::Each;
using testing::Gt;

constexpr double kSphereRadius = 50;

// An octahedron, split and blown up: 8 x 4^splits faces.
demo::Surface sphere(int splits) {
  demo::Surface s;
  s.points = {{1, 0, 0}, {-1, 0, 0}, {0, 1, 0}, {0, -1, 0}, {0, 0, 1}, {0, 0, -1}};
  s.faces = {{0, 2, 4}, {2, 1, 4}, {1, 3, 4}, {3, 0, 4},
             {2, 0, 5}, {1, 2, 5}, {3, 1, 5}, {0, 3, 5}};
  demo::split_faces(s, splits);
  for (demo::Vec3& p : s.points) p = demo::unit(p) * kSphereRadius;
  return s;
}

const demo::Surface& object() {
  static const demo::Surface surface = sphere(6);
  return surface;
}

const demo::Scan& scan() {
  static const demo::Scan result = demo::scan_surface(object(), {});
  return result;
}

std::vector<demo::Triangle> body() {
  const auto& t = scan().triangles;
  return {t.begin(), t.begin() + static_cast<std::ptrdiff_t>(scan().body_faces)};
}

std::vector<demo::Triangle> debris() {
  const auto& t = scan().triangles;
  return {t.begin() + static_cast<std::ptrdiff_t>(scan().body_faces), t.end()};
}

using Rim = std::vector<demo::Vec3>;

// The rims of a triangle soup, by following directed edges without an opposite. Two such edges from
// one point make the walk ambiguous; that point is counted in `pinched`.
std::vector<Rim> rims_of(const std::vector<demo::Triangle>& triangles, int& pinched) {
  const demo::Surface surface = demo::weld(triangles);
  std::set<std::pair<int, int>> directed;
  for (const demo::Corners& f : surface.faces) {
    for (std::size_t k = 0; k < 3; ++k) directed.insert({f[k], f[(k + 1) % 3]});
  }
  std::map<int, int> next;
  pinched = 0;
  for (const auto& [from, to] : directed) {
    if (directed.count({to, from}) == 0 && !next.emplace(from, to).second) ++pinched;
  }
  std::vector<Rim> rims;
  while (!next.empty()) {
    Rim rim;
    int point = next.begin()->first;
    for (auto step = next.find(point); step != next.end(); step = next.find(point)) {
      rim.push_back(surface.points[static_cast<std::size_t>(point)]);
      point = step->second;
      next.erase(step);
    }
    rims.push_back(rim);
  }
  return rims;
}

std::vector<double> distances(const Rim& rim, const demo::Vec3& centre) {
  std::vector<double> result;
  for (const demo::Vec3& p : rim) result.push_back(demo::distance(p, centre));
  return result;
}

const Rim& rim_nearest_to(const std::vector<Rim>& rims, const demo::Vec3& centre) {
  return *std::min_element(rims.begin(), rims.end(), [&](const Rim& a, const Rim& b) {
    return demo::distance(a.front(), centre) < demo::distance(b.front(), centre);
  });
}

std::string bytes_of(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string written(const demo::Scan& s, const std::string& name) {
  const std::string path = test_support::temp_path(name);
  EXPECT_TRUE(demo::write_stl(path, s.triangles));
  std::string bytes = bytes_of(path);
  std::remove(path.c_str());
  return bytes;
}

TEST(VirtualScanner, SameSeedGivesTheSameBytes) {
  const std::string first = written(scan(), "first.stl");
  EXPECT_EQ(first.size(), 84 + 50 * scan().triangles.size());
  EXPECT_EQ(first, written(demo::scan_surface(object(), {}), "second.stl"));
}

TEST(VirtualScanner, AnotherSeedGivesAnotherScan) {
  demo::ScanSettings settings;
  settings.seed = 2;
  EXPECT_NE(written(scan(), "first.stl"),
            written(demo::scan_surface(object(), settings), "second.stl"));
}

TEST(VirtualScanner, EveryDamageLeavesOneSimpleRim) {
  int pinched = 0;
  EXPECT_EQ(rims_of(body(), pinched).size(), 12u + 3u);
  EXPECT_EQ(pinched, 0);
  EXPECT_EQ(scan().markers.size(), 12u);
  EXPECT_EQ(scan().patches.size(), 3u);
}

TEST(VirtualScanner, MarkerRimsAreRoundAndOfTheRadiusAskedFor) {
  int pinched = 0;
  const std::vector<Rim> rims = rims_of(body(), pinched);
  for (const demo::Vec3& marker : scan().markers) {
    const Rim& rim = rim_nearest_to(rims, marker);
    EXPECT_GE(rim.size(), 8u);
    EXPECT_THAT(distances(rim, marker), Each(DoubleNear(3.0, 1e-9)));
  }
}

TEST(VirtualScanner, PatchRimsAreRagged) {
  int pinched = 0;
  const std::vector<Rim> rims = rims_of(body(), pinched);
  for (const demo::Vec3& patch : scan().patches) {
    const Rim& rim = rim_nearest_to(rims, patch);
    const std::vector<double> reach = distances(rim, patch);
    const auto [least, most] = std::minmax_element(reach.begin(), reach.end());
    EXPECT_GT(rim.size(), 30u);
    EXPECT_GT(*most - *least, 1.0);
    EXPECT_LT(*most, 18.0);
  }
}

TEST(VirtualScanner, DebrisIsLooseAndClearOfTheBody) {
  const std::vector<demo::Triangle> islands = debris();
  EXPECT_EQ(islands.size(), 300u);
  const demo::NearestTriangle surface(demo::triangles_of(object()));
  std::vector<double> clearances;
  for (const demo::Triangle& t : islands) {
    for (const demo::Vec3& p : t) clearances.push_back(surface.distance_to(p));
  }
  EXPECT_THAT(clearances, Each(Gt(1.0)));
}

TEST(VirtualScanner, SpikesStandOutAndAreConnected) {
  EXPECT_EQ(scan().spikes.size(), 6u);
  const demo::NearestTriangle surface(demo::triangles_of(object()));
  const demo::NearestTriangle scanned(body());
  for (const demo::Vec3& tip : scan().spikes) {
    EXPECT_GT(surface.distance_to(tip), 2.0);
    EXPECT_EQ(scanned.distance_to(tip), 0.0);
  }
}

TEST(VirtualScanner, NoiseHasTheDeviationAskedFor) {
  demo::ScanSettings settings;
  settings.markers = settings.patches = settings.spikes = settings.debris_faces = 0;
  const demo::Surface noisy = demo::weld(demo::scan_surface(object(), settings).triangles);
  ASSERT_EQ(noisy.points.size(), object().points.size());
  double sum = 0;
  for (const demo::Vec3& p : noisy.points) {
    const double off = demo::length(p) - kSphereRadius;
    sum += off * off;
  }
  EXPECT_NEAR(std::sqrt(sum / static_cast<double>(noisy.points.size())), 0.03, 0.001);
}

TEST(VirtualScanner, TooSmallAnObjectGetsFewerMarkers) {
  demo::Surface small = object();
  demo::scale_to_extent(small, 12);
  const demo::Scan crowded = demo::scan_surface(small, {});
  EXPECT_LT(crowded.markers.size(), 12u);
}

}  // namespace
