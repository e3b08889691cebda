#include "holes/position_table.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "core/vector_math.h"
#include "tests/support/shapes.h"

namespace {

using test_support::Random;
using test_support::Vec3f;

TEST(PositionTable, FindsTheFirstThatALinearSearchFinds) {
  Random random(17);
  for (const float scale : {0.0003F, 0.002F, 0.01F, 1.0F}) {
    std::vector<Vec3f> points;
    scanmesh::PositionTable table(scanmesh::kWeldTolerance);
    for (int i = 0; i < 400; ++i) {
      const Vec3f p{scale * random.signed_unit(), scale * random.signed_unit(),
                    scale * random.signed_unit()};
      int expected = -1;
      for (std::size_t k = 0; k < points.size() && expected < 0; ++k) {
        if (scanmesh::welds(p, points[k])) expected = static_cast<int>(k);
      }
      ASSERT_EQ(table.find(
                    p.x, p.y, p.z,
                    [&](int k) { return scanmesh::welds(p, points[static_cast<std::size_t>(k)]); }),
                expected);
      table.insert(p.x, p.y, p.z, static_cast<int>(points.size()));
      points.push_back(p);
    }
  }
}

TEST(PositionTable, TakesCoordinatesThatNoIntegerHolds) {
  scanmesh::PositionTable table(0.001);
  const float big = std::numeric_limits<float>::max();
  table.insert(big, -big, 0, 0);
  EXPECT_EQ(table.find(big, -big, 0, [](int) { return true; }), 0);
  EXPECT_EQ(table.find(-big, -big, 0, [](int) { return true; }), -1);
  const double inf = std::numeric_limits<double>::infinity();
  table.insert(inf, 0, 0, 1);
  EXPECT_EQ(table.find(std::nan(""), 0, 0, [](int) { return true; }), -1);
}

}  // namespace
