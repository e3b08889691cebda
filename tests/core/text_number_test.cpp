#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>

#include "scanmesh/internal.h"
#include "tests/support/shapes.h"

namespace {

using test_support::Random;

void compare(float value) {
  char wanted[128];
  const int length = std::snprintf(wanted, sizeof(wanted), "%f", static_cast<double>(value));
  char got[scanmesh::kFixedBytes];
  const char* const end = scanmesh::write_fixed(value, got);
  ASSERT_EQ(end - got, length) << wanted;
  ASSERT_EQ(std::memcmp(got, wanted, static_cast<std::size_t>(length)), 0) << wanted;
}

float float_of(uint32_t bits) {
  float value = 0;
  std::memcpy(&value, &bits, sizeof(value));
  return value;
}

TEST(WriteFixed, prints_zeros_infinities_and_what_is_no_number_as_printf_does) {
  for (const uint32_t bits :
       {0U, 0x80000000U, 0x7F800000U, 0xFF800000U, 0x7FC00000U, 0xFFC00000U, 0x7F800001U, 1U,
        0x80000001U, 0x7F7FFFFFU, 0xFF7FFFFFU, 0x007FFFFFU, 0x00800000U}) {
    compare(float_of(bits));
  }
}

TEST(WriteFixed, prints_every_exponent_as_printf_does) {
  Random random(3);
  for (uint32_t exponent = 0; exponent < 256; ++exponent) {
    for (int i = 0; i < 2000; ++i) {
      const uint32_t rest = static_cast<uint32_t>(random.next()) & 0x807FFFFFU;
      compare(float_of(exponent << 23 | rest));
    }
    for (const uint32_t rest : {0U, 1U, 0x400000U, 0x7FFFFFU}) {
      compare(float_of(exponent << 23 | rest));
    }
  }
}

TEST(WriteFixed, rounds_ties_to_even_as_printf_does) {
  // n / 128 has seven decimals, the last of them a 5 for every odd n.
  for (int n = -200000; n < 200000; ++n) compare(static_cast<float>(n) / 128.0F);
  for (int n = 0; n < 100000; ++n) compare(static_cast<float>(n) / 8192.0F);
}

TEST(WriteFixed, prints_coordinates_as_printf_does) {
  Random random(4);
  for (int i = 0; i < 500000; ++i) {
    compare(random.signed_unit() * 200);
    compare(random.signed_unit() * 0.001F);
  }
}

TEST(WriteDecimal, prints_the_whole_range) {
  for (const int32_t value : {0, 1, -1, 9, 10, 2147483647, -2147483647 - 1, 123456}) {
    char got[scanmesh::kDecimalBytes];
    const char* const end = scanmesh::write_decimal(value, got);
    EXPECT_EQ(std::string(got, static_cast<std::size_t>(end - got)), std::to_string(value));
  }
}

}  // namespace
