// Samples that aren't finite never reach the tree.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <vector>

#include "scanmesh/marching.h"
#include "tests/support/shapes.h"

namespace {

using std::vector;
using Floats = std::array<float, 3>;

struct Sample {
  Floats point;
  Floats normal;
};

vector<Sample> sheet() {
  vector<Sample> samples;
  test_support::Random random(3);
  for (int i = 0; i < 400; ++i) {
    const float x = 6 * random.signed_unit();
    const float y = 6 * random.signed_unit();
    samples.push_back({{x, y, 0.3F * std::sin(x)}, {-0.3F * std::cos(x), 0, 1}});
  }
  return samples;
}

vector<float> soup_of(vector<Sample> samples, int& leaves) {
  MC_Triangulation mc;
  Floats centre = {0, 0, 0};
  mc.inalize(centre.data(), 1000, 8, 0, 0.5F);
  for (Sample& s : samples) mc.insert_data(s.point.data(), s.normal.data(), 0.5F, 0);
  leaves = mc.tree.leaves.count;
  mc.mc_triangulation();
  vector<float> soup;
  for (int i = 0; i < mc.facet_slot; ++i) {
    const T_F& facet = mc.facet_blocks[0][i];
    for (const Point3fv& p : facet.vertex) soup.insert(soup.end(), {p.x, p.y, p.z});
  }
  mc.free_mem();
  return soup;
}

TEST(UnusableSamples, are_left_out_whichever_number_is_not_finite) {
  const vector<Sample> clean = sheet();
  int leaves = 0;
  const vector<float> expected = soup_of(clean, leaves);
  ASSERT_GT(leaves, 100);
  ASSERT_FALSE(expected.empty());
  const float infinity = std::numeric_limits<float>::infinity();
  for (const float bad : {std::nanf(""), infinity, -infinity}) {
    for (std::size_t k = 0; k < 6; ++k) {
      vector<Sample> samples = clean;
      for (const std::size_t at : {std::size_t{0}, std::size_t{57}, std::size_t{200}}) {
        Sample wild = clean[at];
        wild.point[0] += 0.3F;  // a cell of its own, maybe
        (k < 3 ? wild.point[k] : wild.normal[k - 3]) = bad;
        samples.insert(samples.begin() + static_cast<std::ptrdiff_t>(at), wild);
      }
      int count = 0;
      EXPECT_EQ(soup_of(samples, count), expected) << bad << ", " << k;
      EXPECT_EQ(count, leaves);
    }
  }
}

TEST(UnusableSamples, leave_the_room_to_the_sample_after_them) {
  MC_Triangulation mc;
  Floats centre = {0, 0, 0};
  mc.inalize(centre.data(), 10, 8, 0, 1);
  Floats point = {1, 1, 1};
  Floats bad = {0, std::nanf(""), 1};
  Floats good = {0, 0, 1};
  mc.insert_data(point.data(), bad.data(), 1, 0);
  EXPECT_EQ(mc.tree.leaves.count, 0);
  mc.insert_data(point.data(), good.data(), 1, 0);
  ASSERT_EQ(mc.tree.leaves.count, 1);
  EXPECT_EQ(mc.tree.leaves.data[0]->data, good.data());
  // Without a normal a sample is one of no direction, not an unusable one.
  Floats other = {-3, 1, 1};
  mc.insert_data(other.data(), nullptr, 1, 0);
  EXPECT_EQ(mc.tree.leaves.count, 2);
  mc.tree.oct_free();
}

}  // namespace
