// Single faces, case by case: which are kept, replaced or deleted, and their walls.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "scanmesh/internal.h"
#include "tests/support/shapes.h"
#include "tests/trimming/cut_shapes.h"

namespace {

using namespace scanmesh;
using qv::maac::xtirm_mesh::FCircle3D;
using qv::maac::xtirm_mesh::FOvalSlot3D;
using qv::maac::xtirm_mesh::FRectangle3D;
using test_support::kCircleShape;
using test_support::kRectangleShape;
using test_support::kSlotShape;
using test_support::Setting;
using test_support::Shape;

// The faces of the following lie in the plane z = 0 under an axis along z.
struct Upright {
  FCircle3D circle{{0, 0, 0}, {0, 0, 1}, 5};
  FRectangle3D rectangle{{0, 0, 0}, {0, 0, 1}, {1, 0, 0}, 4, 3};
  FOvalSlot3D slot{{0, 0, 0}, {0, 0, 1}, {1, 0, 0}, 3, 2};
};

struct Result {
  FaceFate fate;
  std::vector<CutTriangle> pieces;
};

template <typename Shape3>
Result cut(const Shape3& shape, Vec3f a, Vec3f b, Vec3f c, const Wall& wall = {}) {
  Result result{FaceFate::kKept, {}};
  result.fate = cut_face(CurveFrame(shape), PlaneCurve(shape), {a, b, c}, wall, result.pieces);
  return result;
}

bool is_at(const Vec3f& p, double x, double y, double z = 0) {
  return std::fabs(p.x - x) < 1e-6 && std::fabs(p.y - y) < 1e-6 && std::fabs(p.z - z) < 1e-6;
}

TEST(CircleTable, keeps_three_outside) {
  const Result r = cut(Upright().circle, {6, 0, 0}, {9, 0, 0}, {6, 3, 0});
  EXPECT_EQ(r.fate, FaceFate::kKept);
  EXPECT_TRUE(r.pieces.empty());
}

TEST(CircleTable, keeps_two_outside_and_one_on_the_curve) {
  const Result r = cut(Upright().circle, {5, 0, 0}, {9, 0, 0}, {6, 3, 0}, {true, 1});
  EXPECT_EQ(r.fate, FaceFate::kKept);
  EXPECT_TRUE(r.pieces.empty());
}

TEST(CircleTable, splits_two_outside_and_one_inside_along_the_shorter_diagonal) {
  // C inside; A's crossing is (5, 0), B's (0, 5): A and B at 10 and 7 make A's diagonal longer.
  const Result r = cut(Upright().circle, {0, 0, 0}, {10, 0, 0}, {0, 7, 0});
  EXPECT_EQ(r.fate, FaceFate::kReplaced);
  ASSERT_EQ(r.pieces.size(), 2U);
  const auto& first = r.pieces[0].corner;
  EXPECT_TRUE(is_at(first[0], 10, 0) && is_at(first[1], 0, 7) && is_at(first[2], 5, 0));
  const auto& second = r.pieces[1].corner;
  EXPECT_TRUE(is_at(second[0], 0, 7) && is_at(second[1], 5, 0) && is_at(second[2], 0, 5));
  const Result other = cut(Upright().circle, {0, 0, 0}, {7, 0, 0}, {0, 10, 0});
  ASSERT_EQ(other.pieces.size(), 2U);
  const auto& third = other.pieces[0].corner;
  EXPECT_TRUE(is_at(third[0], 7, 0) && is_at(third[1], 0, 10) && is_at(third[2], 0, 5));
  const auto& fourth = other.pieces[1].corner;
  EXPECT_TRUE(is_at(fourth[0], 7, 0) && is_at(fourth[1], 5, 0) && is_at(fourth[2], 0, 5));
}

TEST(CircleTable, splits_a_quad_of_equal_diagonals_from_the_first_corner_behind_the_inner_one) {
  const Result r = cut(Upright().circle, {0, 0, 0}, {10, 0, 0}, {0, 10, 0});
  ASSERT_EQ(r.pieces.size(), 2U);
  const auto& first = r.pieces[0].corner;
  EXPECT_TRUE(is_at(first[0], 10, 0) && is_at(first[1], 0, 10) && is_at(first[2], 0, 5));
  const auto& second = r.pieces[1].corner;
  EXPECT_TRUE(is_at(second[0], 10, 0) && is_at(second[1], 5, 0) && is_at(second[2], 0, 5));
}

TEST(CircleTable, keeps_one_outside_and_two_on_the_curve_but_hangs_a_wall_there) {
  const Result bare = cut(Upright().circle, {5, 0, 0}, {6, 6, 0}, {0, 5, 0});
  EXPECT_EQ(bare.fate, FaceFate::kKept);
  EXPECT_TRUE(bare.pieces.empty());
  const Result r = cut(Upright().circle, {5, 0, 0}, {6, 6, 0}, {0, 5, 0}, {true, 2});
  EXPECT_EQ(r.fate, FaceFate::kKept);
  ASSERT_EQ(r.pieces.size(), 2U);
  for (const CutTriangle& t : r.pieces) {
    EXPECT_TRUE(t.wall);
    EXPECT_NEAR(t.wall_normal.x, -std::sqrt(0.5), 1e-6);
    EXPECT_NEAR(t.wall_normal.y, -std::sqrt(0.5), 1e-6);
  }
}

TEST(CircleTable, replaces_one_outside_one_on_one_inside_by_one) {
  const Result r = cut(Upright().circle, {0, 0, 0}, {0, 5, 0}, {10, 0, 0});
  EXPECT_EQ(r.fate, FaceFate::kReplaced);
  ASSERT_EQ(r.pieces.size(), 1U);
  const auto& c = r.pieces[0].corner;
  EXPECT_TRUE(is_at(c[0], 0, 5) && is_at(c[1], 10, 0) && is_at(c[2], 5, 0));
}

TEST(CircleTable, counts_a_corner_within_a_millionth_as_on_the_curve) {
  const FCircle3D circle({0, 0, 0}, {0, 0, 1}, 2);
  const Result r = cut(circle, {0, 0, 0}, {0, 2.0000007F, 0}, {4, 0, 0});
  ASSERT_EQ(r.pieces.size(), 1U);
  EXPECT_EQ(r.pieces[0].corner[0].y, 2.0000007F);
  EXPECT_EQ(cut(circle, {0, 0, 0}, {0, 2.00001F, 0}, {4, 0, 0}).pieces.size(), 2U);
}

TEST(CircleTable, deletes_three_on_the_curve) {
  const Result r = cut(Upright().circle, {5, 0, 0}, {-3, 4, 0}, {0, -5, 0});
  EXPECT_EQ(r.fate, FaceFate::kReplaced);
  EXPECT_TRUE(r.pieces.empty());
}

TEST(CircleTable, replaces_one_outside_and_two_inside_by_one) {
  const Result r = cut(Upright().circle, {0, 0, 0}, {10, 0, 0}, {1, 0.5F, 0});
  EXPECT_EQ(r.fate, FaceFate::kReplaced);
  ASSERT_EQ(r.pieces.size(), 1U);
  EXPECT_TRUE(is_at(r.pieces[0].corner[0], 10, 0));
  EXPECT_TRUE(is_at(r.pieces[0].corner[2], 5, 0));
  for (int k = 1; k < 3; ++k) {
    const Vec3f& p = r.pieces[0].corner[static_cast<std::size_t>(k)];
    EXPECT_NEAR(std::hypot(p.x, p.y), 5, 1e-6);
  }
}

TEST(CircleTable, deletes_what_has_corners_inside_and_none_outside) {
  for (const std::array<Vec3f, 3>& c : {std::array<Vec3f, 3>{{{0, 0, 0}, {5, 0, 0}, {0, 5, 0}}},
                                        std::array<Vec3f, 3>{{{0, 0, 0}, {1, 0, 0}, {0, 5, 0}}},
                                        std::array<Vec3f, 3>{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}}}) {
    const Result r = cut(Upright().circle, c[0], c[1], c[2], {true, 1});
    EXPECT_EQ(r.fate, FaceFate::kReplaced);
    EXPECT_TRUE(r.pieces.empty());
  }
}

TEST(CircleTable, keeps_a_triangle_around_a_circle) {
  const FCircle3D small({0, 0, 0}, {0, 0, 1}, 1.5F);
  const Result r = cut(small, {-20, -10, 0}, {20, -10, 0}, {0, 20, 0});
  EXPECT_EQ(r.fate, FaceFate::kKept);
  EXPECT_TRUE(r.pieces.empty());
}

TEST(FaceCut, lifts_crossings_along_the_axis_to_the_triangle) {
  const Result r = cut(Upright().circle, {0, 0, 1}, {10, 0, 3}, {0, 10, 7});
  EXPECT_EQ(r.fate, FaceFate::kReplaced);
  ASSERT_EQ(r.pieces.size(), 2U);
  for (const CutTriangle& t : r.pieces) {
    for (const Vec3f& p : t.corner) EXPECT_NEAR(p.z, 1 + 0.2 * p.x + 0.6 * p.y, 1e-5);
  }
}

TEST(FaceCut, cuts_a_face_seen_edge_on_by_the_same_rule) {
  const Result r = cut(Upright().circle, {0, 0, 0}, {10, 0, 0}, {10, 0, 4});
  EXPECT_EQ(r.fate, FaceFate::kReplaced);
  ASSERT_EQ(r.pieces.size(), 2U);
  for (const CutTriangle& t : r.pieces) {
    for (const Vec3f& p : t.corner) {
      EXPECT_TRUE(scanmesh::finite(p));
      EXPECT_TRUE(p.x > 9.999F || std::fabs(p.x - 5) < 1e-5);
    }
  }
  const Result square = cut(Upright().rectangle, {0, 3, 0}, {8, 3, 0}, {8, 3, 4});
  EXPECT_EQ(square.fate, FaceFate::kReplaced);
  ASSERT_FALSE(square.pieces.empty());
  for (const CutTriangle& t : square.pieces) {
    for (const Vec3f& p : t.corner) EXPECT_TRUE(scanmesh::finite(p));
  }
}

TEST(FaceCut, keeps_a_face_with_a_corner_that_is_not_finite) {
  const float nan = std::nanf("");
  for (const float bad : {nan, HUGE_VALF}) {
    EXPECT_EQ(cut(Upright().circle, {0, 0, 0}, {bad, 0, 0}, {0, 9, 0}).fate, FaceFate::kKept);
    EXPECT_EQ(cut(Upright().slot, {0, 0, 0}, {1, bad, 0}, {0, 1, 0}).fate, FaceFate::kKept);
    EXPECT_EQ(cut(Upright().rectangle, {0, 0, 0}, {1, 0, 0}, {0, 1, bad}).fate, FaceFate::kKept);
  }
}

TEST(FaceCut, builds_the_pieces_around_a_corner_of_the_rectangle) {
  const Result r = cut(Upright().rectangle, {3, 2, 0}, {8, 2, 0}, {3, 8, 0});
  ASSERT_EQ(r.pieces.size(), 3U);
  for (const CutTriangle& t : r.pieces) {
    EXPECT_TRUE(std::any_of(t.corner.begin(), t.corner.end(),
                            [](const Vec3f& p) { return p.x == 4 && p.y == 3; }));
  }
}

TEST(FaceCut, passes_the_slots_junctions) {
  const Result r = cut(Upright().slot, {2, 0, 0}, {7, 3, 0}, {-1, 6, 0});
  ASSERT_EQ(r.pieces.size(), 3U);
  EXPECT_TRUE(std::any_of(r.pieces.begin(), r.pieces.end(), [](const CutTriangle& t) {
    return std::any_of(t.corner.begin(), t.corner.end(),
                       [](const Vec3f& p) { return p.x == 3 && p.y == 2; });
  }));
}

// Every wall looks across the opening, is as deep as told, and hangs from the cut.
TEST(Walls, hang_from_the_cut_and_face_the_opening) {
  const Setting setting;
  test_support::Random random(26);
  const auto run = [&](const auto& shape, const Shape& plain) {
    const CurveFrame frame(shape);
    int walls = 0;
    for (int i = 0; i < 3000; ++i) {
      std::array<Vec3f, 3> corner;
      const Point2 near{6.0 * random.signed_unit(), 5.0 * random.signed_unit()};
      for (auto& c : corner) {
        c = narrowed(
            frame.centre +
            frame.in_space({near.x + random.signed_unit(), near.y + random.signed_unit()}) +
            frame.n * (0.1 * random.signed_unit()));
      }
      std::vector<CutTriangle> pieces;
      cut_face(frame, PlaneCurve(shape), corner, {true, 2.5}, pieces);
      for (const CutTriangle& t : pieces) {
        if (!t.wall) continue;
        ++walls;
        const Vec3d n = widened(t.wall_normal);
        EXPECT_NEAR(length(n), 1, 1e-5);
        const Vec3d across = cross(widened(t.corner[1]) - widened(t.corner[0]),
                                   widened(t.corner[2]) - widened(t.corner[0]));
        if (length(across) < 0.02) continue;
        EXPECT_NEAR(dot(n, frame.n), 0, 1e-3);
        const Point2 at =
            between(frame.flat(widened(t.corner[0])), frame.flat(widened(t.corner[1])), 0.5);
        const Point2 inner{at.x + 1e-3 * dot(n, frame.e1), at.y + 1e-3 * dot(n, frame.e2)};
        EXPECT_FALSE(plain.outside(inner)) << i;
        EXPECT_NEAR(dot(widened(t.corner[0]) - widened(t.corner[2]), frame.n), 2.5, 0.3);
      }
    }
    EXPECT_GT(walls, 500);
  };
  run(setting.circle, kCircleShape);
  run(setting.slot, kSlotShape);
  run(setting.rectangle, kRectangleShape);
}

TEST(Walls, take_the_direction_where_they_have_no_area) {
  const Result r = cut(Upright().circle, {0, 0, 0}, {10, 0, 0}, {10, 1, 0}, {true, 1e-5});
  int walls = 0;
  for (const CutTriangle& t : r.pieces) {
    if (!t.wall) continue;
    ++walls;
    EXPECT_NEAR(std::hypot(t.wall_normal.x, t.wall_normal.y), 1, 1e-6);
    EXPECT_LT(t.wall_normal.x, -0.99F);
    EXPECT_EQ(t.wall_normal.z, 0);
  }
  EXPECT_EQ(walls, 2);
}

}  // namespace
