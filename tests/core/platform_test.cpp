#include "core/platform.h"

#include <gtest/gtest.h>

#include <cmath>

#include "core/text_number.h"
#include "core/vector_math.h"

namespace {

using scanmesh::memory_suffices;
using scanmesh::MemoryStatus;

MemoryStatus gibibytes(double physical, double physical_free, double page, double page_free) {
  const double gib = 1073741824.0;
  return {static_cast<uint64_t>(physical * gib), static_cast<uint64_t>(physical_free * gib),
          static_cast<uint64_t>(page * gib), static_cast<uint64_t>(page_free * gib)};
}

TEST(MemoryTest, without_a_page_file_asks_for_half_a_gibibyte_of_free_memory) {
  EXPECT_FALSE(memory_suffices(gibibytes(8, 0.49, 8.1, 9)));
  EXPECT_TRUE(memory_suffices(gibibytes(8, 0.5, 8.1, 0)));
  EXPECT_FALSE(memory_suffices(gibibytes(64, 0.25, 64, 64)));
}

TEST(MemoryTest, passes_with_a_page_file_of_up_to_15_gibibytes) {
  EXPECT_TRUE(memory_suffices(gibibytes(8, 0, 15, 0)));
  EXPECT_FALSE(memory_suffices(gibibytes(8, 0, 15.5, 0)));
}

TEST(MemoryTest, asks_for_a_tenth_of_a_large_page_file_within_bounds) {
  EXPECT_FALSE(memory_suffices(gibibytes(8, 8, 100, 1.49)));
  EXPECT_TRUE(memory_suffices(gibibytes(8, 8, 100, 1.5)));
  // A tenth of 15.5 is beyond the upper bound too: the lower one never comes to bear.
  EXPECT_FALSE(memory_suffices(gibibytes(8, 8, 15.5, 1.4)));
}

TEST(MemoryTest, this_machine_reports_itself) {
  const MemoryStatus status = scanmesh::memory_status();
  EXPECT_GT(status.physical_total, 0U);
  EXPECT_GE(status.page_total, status.physical_total);
  EXPECT_LE(status.physical_free, status.physical_total);
  EXPECT_GE(scanmesh::processor_count(), 1);
}

TEST(Affinity, leaves_the_first_two_processors_out) {
  EXPECT_EQ(scanmesh::worker_affinity_mask(0), 0U);
  EXPECT_EQ(scanmesh::worker_affinity_mask(1), 0U);
  EXPECT_EQ(scanmesh::worker_affinity_mask(2), 0U);
  EXPECT_EQ(scanmesh::worker_affinity_mask(4), 0xCU);
  EXPECT_EQ(scanmesh::worker_affinity_mask(64), ~uint64_t{3});
  EXPECT_EQ(scanmesh::worker_affinity_mask(200), ~uint64_t{3});
}

TEST(Numbers, are_read_as_scanf_would_in_any_locale) {
  float out[3] = {};
  EXPECT_TRUE(scanmesh::parse_floats("  1.5 -2e1\t+3\r\n", out, 3));
  EXPECT_EQ(out[0], 1.5F);
  EXPECT_EQ(out[1], -20.0F);
  EXPECT_EQ(out[2], 3.0F);
  EXPECT_TRUE(scanmesh::parse_floats("nan inf -0x1p4", out, 3));
  EXPECT_TRUE(std::isnan(out[0]));
  EXPECT_TRUE(std::isinf(out[1]));
  EXPECT_EQ(out[2], -16.0F);
  EXPECT_TRUE(scanmesh::parse_floats("1e99 1e-99 -1e999", out, 3));
  EXPECT_TRUE(std::isinf(out[0]));
  EXPECT_EQ(out[1], 0.0F);
  EXPECT_TRUE(std::isinf(out[2]));
  EXPECT_LT(out[2], 0);
  EXPECT_FALSE(scanmesh::parse_floats("1 2", out, 3));
  EXPECT_FALSE(scanmesh::parse_floats("1 x 2", out, 3));
  EXPECT_FALSE(scanmesh::parse_floats("1 +-2 2", out, 3));
}

TEST(Numbers, are_written_as_printf_would) {
  for (const float value : {0.0F, -0.0F, 1.0F, 0.1F, 1e-7F, 123456.789F, -2.5e20F}) {
    char expected[64];
    std::snprintf(expected, sizeof(expected), "%f", static_cast<double>(value));
    scanmesh::LineBuilder line;
    line.fixed(value);
    EXPECT_EQ(std::string(line.data(), line.size()), expected);
  }
}

TEST(VectorMath, normalises_with_the_tiny_rule) {
  const auto tiny = scanmesh::normalized({1e-17F, 0, 0}, scanmesh::kTinyNormal);
  EXPECT_EQ(tiny.z, 1);
  const auto unit = scanmesh::normalized({0, 3e-10F, 0}, scanmesh::kTinyNormal);
  EXPECT_FLOAT_EQ(unit.y, 1);
  const auto nan = scanmesh::normalized({NAN, 0, 0}, scanmesh::kTinyNormal);
  EXPECT_EQ(nan.z, 1);
}

}  // namespace
