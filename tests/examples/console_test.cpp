#include "support/console.h"

#include <gtest/gtest.h>

namespace {

TEST(Table, AlignsNumbersToTheRightAndIsMarkdown) {
  demo::Table table({"step", "seconds"});
  table.add({"load", "0.05"});
  table.add({"simplification", "1.25"});
  EXPECT_EQ(table.text(),
            "| step           | seconds |\n"
            "| -------------- | -------:|\n"
            "| load           |    0.05 |\n"
            "| simplification |    1.25 |\n");
}

TEST(Numbers, CountsHaveTheirThousandsSetApart) {
  EXPECT_EQ(demo::count(0), "0");
  EXPECT_EQ(demo::count(999), "999");
  EXPECT_EQ(demo::count(-1000), "-1,000");
  EXPECT_EQ(demo::count(1234567), "1,234,567");
}

TEST(Numbers, HaveTheDigitsAskedFor) {
  EXPECT_EQ(demo::number(1234.5678, 2), "1234.57");
}

#if defined(__linux__)
TEST(Memory, PeakIsNotBelowWhatIsResident) {
  EXPECT_GT(demo::resident_memory_mib(), 1);
  EXPECT_GE(demo::peak_memory_mib() + 1, demo::resident_memory_mib());
}
#endif

}  // namespace
