#include "pivoting/lanes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "tests/support/shapes.h"

namespace {

struct Item {
  float at[3];
  int32_t number;
};

std::vector<Item> random_items(int n, uint64_t seed) {
  test_support::Random random(seed);
  std::vector<Item> items;
  for (int i = 0; i < n; ++i) {
    const float x = 100 * random.signed_unit();
    const float y = 0.01F * random.signed_unit();
    items.push_back({{x, y, random.signed_unit()}, random.below(1 << 30)});
  }
  return items;
}

TEST(Lanes, distances_are_those_of_one_point_after_the_other) {
  const auto items = random_items(16, 1);
  float along[3][16];
  for (std::size_t i = 0; i < 16; ++i) {
    for (std::size_t d = 0; d < 3; ++d) along[d][i] = items[i].at[d];
  }
  const float* const pointers[3] = {along[0], along[1], along[2]};
  const float at[3] = {0.3F, -0.002F, 0.1F};
  float distance[16];
  const float limit = 2000;
  const uint32_t within = scanmesh::lanes_within(pointers, at, limit, distance);
  for (std::size_t i = 0; i < 16; ++i) {
    const float x = at[0] - along[0][i];
    const float y = at[1] - along[1][i];
    const float z = at[2] - along[2][i];
    const float expected = x * x + y * y + z * z;
    EXPECT_EQ(distance[i], expected);
    EXPECT_EQ((within >> i & 1U) != 0, expected <= limit);
  }
  EXPECT_NE(within, 0U);
  EXPECT_NE(within, 0xFFFFU);
  EXPECT_EQ(scanmesh::lowest_bit(0x50), 4);
}

#if defined(__SSE2__)  // elsewhere there is one form only
TEST(Lanes, sums_of_three_coordinates_at_once_are_the_plain_ones) {
  for (const int n : {1, 2, 3, 17, 1000}) {
    auto items = random_items(n, static_cast<uint64_t>(n));
    if (n == 17) items[5].at[1] = std::numeric_limits<float>::infinity();
    const auto plain = scanmesh::sums_of<3>(items.data(), n);
    const auto at_once = scanmesh::sums_of_three(items.data(), n);
    EXPECT_EQ(std::memcmp(plain.low, at_once.low, sizeof(plain.low)), 0);
    EXPECT_EQ(std::memcmp(plain.high, at_once.high, sizeof(plain.high)), 0);
    EXPECT_EQ(std::memcmp(plain.sum, at_once.sum, sizeof(plain.sum)), 0);
    EXPECT_EQ(std::memcmp(plain.squares, at_once.squares, sizeof(plain.squares)), 0);
  }
}
#endif

}  // namespace
