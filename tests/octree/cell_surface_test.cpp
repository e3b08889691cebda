#include "octree/cell_surface.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <optional>

#include "tests/support/octree_access.h"

namespace {

using namespace scanmesh;
using test_support::Floats;
using test_support::Random;

using Value = std::optional<float>;
using Values = std::array<Value, 8>;
constexpr std::nullopt_t kGone = std::nullopt;

// A cell of half edge 1 about the origin with these values at its corners.
class HandCell {
 public:
  explicit HandCell(const Values& values, Floats normal = {0, 0, 1}) : normal_(normal) {
    cell.flag = 1;
    cell.index = 0;
    cell.half = 1;
    cell.data = normal_.data();
    for (int k = 0; k < 8; ++k) {
      const auto at = static_cast<std::size_t>(k);
      vertices[at].index = kVoxelVertex;
      for (int axis = 0; axis < 3; ++axis) vertices[at].coor[axis] = kCornerSign[k][axis];
      vertices[at].half = values[at].value_or(0);
      vertices[at].link[k] = &cell;
      cell.link[k] = values[at] ? &vertices[at] : nullptr;
    }
  }
  HandCell(const HandCell&) = delete;
  HandCell& operator=(const HandCell&) = delete;

  OctNode cell;
  std::array<OctNode, 8> vertices;

 private:
  Floats normal_;
};

int case_number(const Values& values) {
  const HandCell cell(values);
  return case_of(&cell.cell).bits;
}

// The rules, corner by corner.
int plain_case(const Values& values) {
  int present = 0;
  int above = 0;
  int below = 0;
  int zero = 0;
  for (const Value& v : values) {
    if (!v) continue;
    ++present;
    above += *v > 0;
    below += *v < 0;
    zero += *v == 0;
  }
  int bits = 0;
  if (present == 8 && zero == 0) {
    for (std::size_t k = 0; k < 8; ++k) bits |= *values[k] > 0 ? 1 << k : 0;
    return bits;
  }
  if (above == 0 || below == 0) return 0;
  if (present < 4 || (present == 4 && below == 2)) return 0;
  const int next[8][3] = {{1, 3, 4}, {0, 2, 5}, {1, 3, 6}, {0, 2, 7},
                          {0, 5, 7}, {1, 4, 6}, {2, 5, 7}, {3, 4, 6}};
  for (std::size_t k = 0; k < 8; ++k) {
    bool set = false;
    int not_below = 0;
    int not_above = 0;
    for (const int n : next[k]) {
      const Value& v = values[static_cast<std::size_t>(n)];
      not_below += v && *v >= 0;
      not_above += v && *v <= 0;
    }
    if (present == 8) {
      set = above < below ? *values[k] > 0 : *values[k] >= 0;
    } else if (above <= below) {
      set = values[k] ? *values[k] > 0 : not_below == 3;
    } else {
      set = values[k] ? *values[k] >= 0 : not_above != 3;
    }
    if (set) bits |= 1 << k;
  }
  return bits;
}

TEST(CellCase, follows_the_rules_for_any_corners) {
  Random random(5);
  int seen[3] = {};
  for (int i = 0; i < 200000; ++i) {
    Values values;
    const int kind = random.below(3);  // full, with zeros, with gaps and zeros
    for (Value& v : values) {
      const int draw = random.below(6);
      v = draw < 3 ? 1.0F : -1.0F;
      if (kind > 0 && draw == 0) v = 0.0F;
      if (kind > 1 && draw == 5) v = kGone;
    }
    const int expected = plain_case(values);
    ASSERT_EQ(case_number(values), expected);
    seen[kind] += expected != 0 && expected != 255;
  }
  for (const int count : seen) EXPECT_GT(count, 10000);
}

TEST(CellCase, counts_the_corners_whose_bit_is_set) {
  Random random(6);
  for (int i = 0; i < 5000; ++i) {
    Values values;
    for (Value& v : values) v = static_cast<float>(random.below(3) - 1);
    if (i % 3 == 0) values[static_cast<std::size_t>(random.below(8))] = kGone;
    const HandCell cell(values);
    const CellCase its_case = case_of(&cell.cell);
    int bits = 0;
    for (int k = 0; k < 8; ++k) bits += (its_case.bits >> k) & 1;
    EXPECT_EQ(its_case.positive, bits);
  }
}

TEST(CellCase, bit_k_is_corner_k) {
  for (std::size_t k = 0; k < 8; ++k) {
    Values values;
    values.fill(-1.0F);
    values[k] = 0.5F;
    EXPECT_EQ(case_number(values), 1 << k);
  }
}

TEST(CellCase, of_corners_all_on_one_side_has_no_triangles) {
  Values values;
  values.fill(1.0F);
  EXPECT_EQ(case_number(values), 255);
  values.fill(-1.0F);
  EXPECT_EQ(case_number(values), 0);
}

TEST(CellCase, a_zero_joins_the_majority_and_is_positive_on_a_tie) {
  EXPECT_EQ(case_number({0.0F, 1.0F, 1.0F, 1.0F, -1.0F, -1.0F, -1.0F, -1.0F}), 0b00001110);
  EXPECT_EQ(case_number({0.0F, 1.0F, 1.0F, 1.0F, 1.0F, -1.0F, -1.0F, -1.0F}), 0b00011111);
  EXPECT_EQ(case_number({0.0F, 0.0F, 1.0F, 1.0F, 1.0F, -1.0F, -1.0F, -1.0F}), 0b00011111);
  EXPECT_EQ(case_number({0.0F, 1.0F, 1.0F, 1.0F, 1.0F, 1.0F, 1.0F, 1.0F}), 0);
  EXPECT_EQ(case_number({0.0F, -1.0F, -1.0F, -1.0F, -1.0F, -1.0F, -1.0F, -1.0F}), 0);
}

TEST(CellCase, four_corners_two_of_them_below_are_no_surface) {
  EXPECT_EQ(case_number({1.0F, 1.0F, -1.0F, -1.0F, kGone, kGone, kGone, kGone}), 0);
  EXPECT_NE(case_number({1.0F, 1.0F, 1.0F, -1.0F, kGone, kGone, kGone, kGone}), 0);
  EXPECT_NE(case_number({1.0F, -1.0F, -1.0F, -1.0F, kGone, kGone, kGone, kGone}), 0);
  EXPECT_EQ(case_number({1.0F, -1.0F, -1.0F, kGone, kGone, kGone, kGone, kGone}), 0);
  // Two of four below, but the others aren't both above: it is the number below that counts.
  EXPECT_EQ(case_number({1.0F, 0.0F, -1.0F, -1.0F, kGone, kGone, kGone, kGone}), 0);
}

TEST(CellCase, missing_corner_takes_precedence_over_an_earlier_zero) {
  // As a full cell the zero would be positive on the tie; with a gap it isn't, as no more are
  // above.
  EXPECT_EQ(case_number({0.0F, 1.0F, 1.0F, 1.0F, -1.0F, -1.0F, -1.0F, kGone}), 0b00001110);
}

TEST(CellCase, halves_of_the_missing_corner_rule_are_not_mirror_images) {
  // Corner 7 is missing; 3, 4, 6 are beside it. Few above: positive only if all three are not
  // below.
  EXPECT_EQ(case_number({-1.0F, -1.0F, -1.0F, 0.0F, 0.0F, -1.0F, 1.0F, kGone}), 0b11000000);
  // Many above: negative only if all three are not above. The same zeros count the other way.
  EXPECT_EQ(case_number({1.0F, 1.0F, 1.0F, 0.0F, 0.0F, 1.0F, -1.0F, kGone}), 0b00111111);
  EXPECT_EQ(case_number({1.0F, 1.0F, 1.0F, -1.0F, 1.0F, 1.0F, -1.0F, kGone}), 0b10110111);
  // A missing neighbour settles it: negative in the first half, positive in the second.
  EXPECT_EQ(case_number({-1.0F, -1.0F, -1.0F, 1.0F, 1.0F, -1.0F, kGone, kGone}), 0b00011000);
  EXPECT_EQ(case_number({1.0F, 1.0F, 1.0F, -1.0F, -1.0F, 1.0F, kGone, kGone}), 0b11100111);
}

TEST(CellSurface, edge_is_cut_where_the_value_changes_sign) {
  HandCell cell({1.0F, -3.0F, -1.0F, -1.0F, -1.0F, -1.0F, -1.0F, -1.0F});
  const Vec3f cut = cut_of_edge(&cell.cell, 0);  // from (-1, 1, 1) to (-1, 1, -1)
  EXPECT_EQ(cut.x, -1.0F);
  EXPECT_EQ(cut.y, 1.0F);
  EXPECT_EQ(cut.z, 0.5F);
}

TEST(CellSurface, triangles_with_a_missing_corner_are_left_out_and_the_rest_stays) {
  // Case 1 and corner 6 alone: two triangles, one of which needs the missing corner 7.
  HandCell cell({1.0F, -1.0F, -1.0F, -1.0F, -1.0F, -1.0F, 1.0F, -1.0F});
  int all = 0;
  CellCase its_case = case_of(&cell.cell);
  for_each_triangle(&cell.cell, its_case, [&](int, int, int) { ++all; });
  EXPECT_EQ(all, 2);
  cell.cell.link[7] = nullptr;
  int left = 0;
  for_each_triangle(&cell.cell, its_case, [&](int e0, int e1, int e2) {
    ++left;
    EXPECT_EQ(e0, 0);
    EXPECT_EQ(e1, 8);
    EXPECT_EQ(e2, 3);
  });
  EXPECT_EQ(left, 1);
}

TEST(CellSurface, facet_turns_to_the_side_of_the_sample) {
  const HandCell up({1.0F, -1.0F, -1.0F, -1.0F, -1.0F, -1.0F, -1.0F, -1.0F}, {0, 0, 1});
  const HandCell down({1.0F, -1.0F, -1.0F, -1.0F, -1.0F, -1.0F, -1.0F, -1.0F}, {0, 0, -1});
  const T_F facet{{9, 9, 9}, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}};
  T_F a = facet;
  T_F b = facet;
  orient(a, &up.cell);
  orient(b, &down.cell);
  EXPECT_EQ(a.normal.z, 1.0F);
  EXPECT_EQ(a.vertex[0].y, 0.0F);
  EXPECT_EQ(b.normal.z, -1.0F);
  EXPECT_EQ(b.vertex[0].y, 1.0F);  // the first and the last have changed places
  EXPECT_EQ(b.vertex[1].x, 1.0F);
  EXPECT_EQ(b.vertex[2].y, 0.0F);
}

TEST(CellSurface, facet_without_area_has_a_normal_that_is_no_number) {
  const HandCell cell({1.0F, -1.0F, -1.0F, -1.0F, -1.0F, -1.0F, -1.0F, -1.0F});
  T_F facet{{0, 0, 0}, {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}}};
  orient(facet, &cell.cell);
  EXPECT_TRUE(std::isnan(facet.normal.x));
  EXPECT_EQ(facet.vertex[2].x, 2.0F);
}

}  // namespace
