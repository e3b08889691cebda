#include "octree/marker_surface.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

#include "tests/support/octree_sheet.h"

namespace {

using scanmesh::Vec3f;
using std::vector;
using test_support::OctNode;
using test_support::Random;
using test_support::Sheet;

TEST(MarkerSurface, without_constraints_the_seeds_go_to_their_plane_from_nine_on) {
  // Everything kept lies within 1 of the rim, so nothing constrains a fit.
  for (const auto& [radius, plane] : {std::pair<float, bool>{0.9F, false}, {2.5F, true}}) {
    Sheet sheet;
    sheet.marker(0.1, 0.1, 0.1, radius);
    Random random(4);
    for (double x = -4.75; x < 5; x += 0.5) {
      for (double y = -4.75; y < 5; y += 0.5) {
        const double d = std::hypot(x - 0.1, y - 0.1);
        if (d > radius && d < radius + 0.9) {
          for (int level = 0; level < 4; ++level) {
            sheet.sample(x, y, -0.4 + 0.25 * level * 2 / 2 + 0.01 * random.signed_unit(), {0, 0, 1},
                         0.125F);
          }
        }
      }
    }
    // Enough samples around, though not near.
    for (int i = 0; i < 121; ++i) sheet.sample(-7 + 0.5 * (i % 20), -7 + 0.5 * (i / 20), 6.1);
    scanmesh::MarkerSurface surface(sheet.tree());
    const scanmesh::MarkerPatch patch = surface.close(sheet.tree().marker_nodes[0], radius);
    if (!plane) {
      EXPECT_LT(patch.seeds.size(), 9U);
      continue;
    }
    ASSERT_GE(patch.seeds.size(), 9U);
    // All on one plane.
    const Vec3f a = patch.seeds[0];
    double worst = 0;
    Vec3f n{0, 0, 0};
    for (std::size_t i = 1; i + 1 < patch.seeds.size(); ++i) {
      const Vec3f cross =
          scanmesh::cross(scanmesh::sub(patch.seeds[i], a), scanmesh::sub(patch.seeds[i + 1], a));
      if (scanmesh::length(cross) > scanmesh::length(n)) n = cross;
    }
    n = scanmesh::scaled(n, 1 / scanmesh::length(n));
    for (const Vec3f& p : patch.seeds) {
      worst = std::max(worst, std::fabs(scanmesh::dot_double(n, scanmesh::sub(p, a))));
    }
    EXPECT_LT(worst, 1e-4);
  }
}

TEST(MarkerSurface, leaves_the_tree_as_it_is) {
  Sheet sheet;
  sheet.marker(0.1, 0.1, 0.1, 2);
  sheet.ring(2, 8, 10000, [](double x, double y) { return 0.1 + 0.05 * std::sin(7 * x + 3 * y); });
  vector<float> before;
  for (const OctNode* leaf : sheet.leaves()) {
    before.insert(before.end(), leaf->coor, leaf->coor + 3);
  }
  scanmesh::MarkerSurface surface(sheet.tree());
  const scanmesh::MarkerPatch patch = surface.close(sheet.tree().marker_nodes[0], 2);
  EXPECT_FALSE(patch.seeds.empty());
  vector<float> after;
  for (const OctNode* leaf : sheet.leaves()) after.insert(after.end(), leaf->coor, leaf->coor + 3);
  EXPECT_EQ(after, before);
}

TEST(MarkerSurface, keeps_samples_within_reach_band_and_agreement) {
  Sheet sheet;
  sheet.marker(0.1, 0.1, 0.1, 1);
  sheet.ring(1, 7.9, 10000);
  // What looks another way isn't kept, however near.
  sheet.sample(2, 1, 0.9, {0.6F, 0, 0.8F});
  scanmesh::MarkerSurface surface(sheet.tree());
  const scanmesh::MarkerPatch patch = surface.close(sheet.tree().marker_nodes[0], 1);
  std::size_t expected = 0;
  for (const OctNode* leaf : sheet.leaves()) {
    const double d = std::hypot(leaf->coor[0] - 0.1, leaf->coor[1] - 0.1, leaf->coor[2] - 0.1);
    expected += d <= 1 + 1 + 16 * 0.25 && static_cast<const float*>(leaf->data)[2] >= 0.9F;
  }
  EXPECT_EQ(patch.ring.size(), expected);
  EXPECT_LT(expected, static_cast<std::size_t>(sheet.tree().leaves.count - 1));
}

// Heights of those kept out of a stack of single samples above a sheet.
vector<int> kept_tenths(float half, const vector<int>& tenths) {
  Sheet sheet(16, half);
  sheet.marker(0.1, 0.1, 0, 1, {0, 0, 1}, half);
  const double reach = half < 0.5F ? 3 : 6;
  for (double x = 0.25 - reach; x < reach; x += 0.5) {
    for (double y = 0.25 - reach; y < reach; y += 0.5) {
      if (std::hypot(x, y) > 1.1) sheet.sample(x, y, 0.01, {0, 0, 1}, half);
    }
  }
  // Beside the sheet where its cells are high.
  double x = -1;
  for (const int tenth : tenths) {
    sheet.sample(x, half == 0.25F ? 3.25 : 1.5, 0.1 * tenth, {0, 0, 1}, half);
    x += 0.5;
  }
  scanmesh::MarkerSurface surface(sheet.tree());
  vector<int> kept;
  for (const OctNode* leaf : surface.close(sheet.tree().marker_nodes[0], 1).ring) {
    const auto height = static_cast<int>(std::lround(10 * leaf->coor[2]));
    if (height > 0) kept.push_back(height);
  }
  std::sort(kept.begin(), kept.end());
  return kept;
}

TEST(MarkerSurface, band_is_six_half_edges_from_0_67_to_3) {
  // Nothing lies between 0.4 and 3.0 on average above 0.5 here: the band is 6 x 0.25.
  EXPECT_EQ(kept_tenths(0.25F, {31}), vector<int>{});
  EXPECT_EQ(kept_tenths(0.25F, {4, 35}), vector<int>{4});
  EXPECT_EQ(kept_tenths(0.0625F, {4}), vector<int>{4});  // not 0.375, but 0.67
  EXPECT_EQ(kept_tenths(0.0625F, {35}), vector<int>{});
  EXPECT_EQ(kept_tenths(0.5F, {31, 29}), vector<int>{29});  // 6 x 0.5 is 3
}

TEST(MarkerSurface, band_is_raised_where_the_surface_leaves_the_plane) {
  // Mean of the heights between 0.4 and 3.0 above 0.5: at least 2.
  EXPECT_EQ(kept_tenths(0.0625F, {5, 19, 21}), (vector<int>{5, 19}));
  EXPECT_EQ(kept_tenths(0.25F, {19, 21}), vector<int>{19});
}

TEST(MarkerSurface, marker_without_a_normal_takes_the_plane_of_the_one_before) {
  Sheet sheet(32);
  sheet.marker(-8, 0.1, 0.1, 1.5F);
  sheet.marker(8, 0.1, 0.1, 1.5F, {0, 0, 0});
  for (double x = -15.75; x < 16; x += 0.5) {
    for (double y = -7.75; y < 8; y += 0.5) {
      if (std::hypot(std::fabs(x) - 8, y) > 1.5) sheet.sample(x, y, 0.1);
    }
  }
  scanmesh::MarkerSurface surface(sheet.tree());
  EXPECT_FALSE(surface.close(sheet.tree().marker_nodes[0], 1.5F).seeds.empty());
  EXPECT_FALSE(surface.close(sheet.tree().marker_nodes[1], 1.5F).seeds.empty());
  // With none before it agrees with nobody.
  scanmesh::MarkerSurface fresh(sheet.tree());
  EXPECT_TRUE(fresh.close(sheet.tree().marker_nodes[1], 1.5F).ring.empty());
}

// The seeds of a round hole in a sheet across the first two axes, or the first and the third;
// `lean` is how much more the normal lies along the first.
vector<Vec3f> seeds_of_a_tilted_sheet(bool third, float lean) {
  Sheet sheet;
  const auto n = static_cast<float>(std::sqrt(0.5));
  const test_support::Floats normal =
      third ? test_support::Floats{n + lean, 0, n} : test_support::Floats{n + lean, n, 0};
  const auto place = [&](double along, double across) {
    const double a = along * std::sqrt(0.5) + 0.1;
    const double b = across + 0.1;
    return third ? std::array<double, 3>{a, b, 0.2 - a} : std::array<double, 3>{a, 0.2 - a, b};
  };
  const auto middle = place(0, 0);
  sheet.marker(middle[0], middle[1], middle[2], 2, normal);
  for (double u = -6; u <= 6; u += 0.3) {
    for (double v = -6; v <= 6; v += 0.3) {
      if (std::hypot(u, v) < 2) continue;
      const auto p = place(u, v);
      sheet.sample(p[0], p[1], p[2], normal);
    }
  }
  scanmesh::MarkerSurface surface(sheet.tree());
  return surface.close(sheet.tree().marker_nodes[0], 2).seeds;
}

bool all_near(const vector<Vec3f>& a, const vector<Vec3f>& b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (!(scanmesh::distance(a[i], b[i]) < 0.02)) return false;
  }
  return true;
}

TEST(MarkerSurface, the_first_axis_wins_a_tie_and_the_third_must_be_the_largest) {
  for (const bool third : {false, true}) {
    const vector<Vec3f> tie = seeds_of_a_tilted_sheet(third, 0);
    ASSERT_GT(tie.size(), 3U);
    EXPECT_TRUE(all_near(tie, seeds_of_a_tilted_sheet(third, 1e-4F))) << third;
    EXPECT_FALSE(all_near(tie, seeds_of_a_tilted_sheet(third, -1e-4F))) << third;
  }
}

TEST(MarkerSurface, sizes_out_of_proportion_make_no_grid) {
  Sheet sheet(16, 0.25F);
  sheet.marker(0.1, 0.1, 0.1, 1.5F, {0, 0, 1}, 1e-5F);
  sheet.ring(1.5, 6, 1000);
  sheet.tree().Fill_marker();
  EXPECT_TRUE(sheet.new_samples().empty());
}

}  // namespace
