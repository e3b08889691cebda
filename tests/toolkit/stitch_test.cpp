#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <set>
#include <tuple>

#include "scanmesh/toolkit/building.h"
#include "scanmesh/toolkit/inspect.h"
#include "tests/support/damage.h"

namespace scanmesh {
namespace {

using test_support::moved;

constexpr double kSize = 48;

double height(double x, double y) {
  return 2 * std::sin(0.07 * x) * std::cos(0.06 * y);
}

// A wavy sheet from (x0, y0) on, n x m cells, a little uneven.
TriangleMesh sheet(double x0, double y0, int n, int m, double cell, std::uint32_t seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> shake(-0.1 * cell, 0.1 * cell);
  TriangleMesh mesh;
  for (int j = 0; j <= m; ++j) {
    for (int i = 0; i <= n; ++i) {
      const double x = x0 + cell * i + (i > 0 && i < n ? shake(random) : 0);
      const double y = y0 + cell * j + (j > 0 && j < m ? shake(random) : 0);
      mesh.points.push_back({x, y, height(x, y)});
    }
  }
  for (int j = 0; j < m; ++j) {
    for (int i = 0; i < n; ++i) {
      const int a = j * (n + 1) + i;
      mesh.triangles.push_back({a, a + 1, a + n + 2});
      mesh.triangles.push_back({a, a + n + 2, a + n + 1});
    }
  }
  return mesh;
}

TriangleMesh coarse_sheet(double cell) {
  const int n = static_cast<int>(kSize / cell);
  return sheet(0, 0, n, n, cell, 1);
}
// In the middle of it.
TriangleMesh fine_patch() {
  return sheet(18, 18, 24, 24, 0.5, 2);
}

double area_of(const TriangleMesh& mesh) {
  return inspect(mesh).area;
}

TEST(Stitch, a_fine_patch_replaces_what_lies_under_it) {
  for (const double ratio : {2.0, 4.0, 6.0, 8.0, 12.0}) {
    const TriangleMesh coarse = coarse_sheet(0.5 * ratio);
    const TriangleMesh result = stitch(coarse, fine_patch());
    const Health health = inspect(result);
    EXPECT_EQ(health.components, 1) << ratio;
    EXPECT_EQ(health.rings, 1) << ratio;  // the border of the coarse sheet
    EXPECT_EQ(health.nonmanifold_edges, 0) << ratio;
    EXPECT_EQ(health.twisted_edges, 0) << ratio;
    EXPECT_NEAR(health.area, area_of(coarse), 0.01 * area_of(coarse)) << ratio;
  }
}

TEST(Stitch, points_of_both_stay_to_the_bit) {
  const TriangleMesh coarse = coarse_sheet(2);
  const TriangleMesh fine = fine_patch();
  const TriangleMesh result = stitch(coarse, fine);
  std::set<std::tuple<double, double, double>> places;
  for (const Point& p : result.points) places.emplace(p.x, p.y, p.z);
  std::size_t kept = 0;
  for (const Point& p : fine.points) kept += places.count({p.x, p.y, p.z});
  EXPECT_GE(kept, fine.points.size() * 99 / 100);
  for (const Point& p : coarse.points) {
    const bool far = p.x < 14 || p.x > 34 || p.y < 14 || p.y > 34;
    EXPECT_EQ(places.count({p.x, p.y, p.z}) == 1 || !far, true) << p.x << " " << p.y;
  }
}

TEST(Stitch, the_unit_does_not_matter) {
  const TriangleMesh plain = stitch(coarse_sheet(2), fine_patch());
  const double scale = 1.0 / 256;
  EXPECT_EQ(stitch(moved(coarse_sheet(2), {}, scale), moved(fine_patch(), {}, scale)),
            moved(plain, {}, scale));
}

TEST(Stitch, meshes_that_do_not_meet_are_refused) {
  EXPECT_THROW(stitch(coarse_sheet(2), moved(fine_patch(), {0, 0, 20})), Error);
  EXPECT_THROW(stitch(coarse_sheet(2), TriangleMesh{}), Error);
  EXPECT_THROW(stitch(TriangleMesh{}, fine_patch()), Error);
}

TEST(Stitch, a_fine_mesh_over_all_of_the_coarse_one_is_the_result) {
  const TriangleMesh fine = sheet(-2, -2, 104, 104, 0.5, 2);
  EXPECT_EQ(stitch(coarse_sheet(4), fine), fine);
}

TEST(Stitch, prints_nothing_and_stops_when_told_to) {
  testing::internal::CaptureStdout();
  stitch(coarse_sheet(2), fine_patch());
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_THROW(stitch(coarse_sheet(2), fine_patch(),
                      [](double fraction, std::string_view) { return fraction < 0.5; }),
               Cancelled);
}

}  // namespace
}  // namespace scanmesh
