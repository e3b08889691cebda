// What is left of single triangles: areas, cover, and where the pieces end.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <vector>

#include "scanmesh/internal.h"
#include "tests/support/shapes.h"

namespace {

using namespace scanmesh;
using qv::maac::xtirm_mesh::FCircle3D;
using qv::maac::xtirm_mesh::FOvalSlot3D;
using qv::maac::xtirm_mesh::FRectangle3D;
using Polygon = std::vector<Point2>;

double turn_of(const Point2& a, const Point2& b, const Point2& c) {
  return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

double area_of(const Polygon& polygon) {
  double twice = 0;
  for (std::size_t i = 1; i + 1 < polygon.size(); ++i) {
    twice += turn_of(polygon[0], polygon[i], polygon[i + 1]);
  }
  return std::fabs(twice) / 2;
}

double perimeter_of(const Polygon& polygon) {
  double sum = 0;
  for (std::size_t i = 0; i < polygon.size(); ++i) {
    const Point2& a = polygon[i];
    const Point2& b = polygon[(i + 1) % polygon.size()];
    sum += std::hypot(b.x - a.x, b.y - a.y);
  }
  return sum;
}

// Counter-clockwise, by sorting.
Polygon convex_hull(Polygon points) {
  const auto before = [](const Point2& a, const Point2& b) {
    return a.x < b.x || (a.x == b.x && a.y < b.y);
  };
  std::sort(points.begin(), points.end(), before);
  Polygon hull;
  for (int pass = 0; pass < 2; ++pass) {
    const std::size_t start = hull.size();
    for (const Point2& p : points) {
      while (hull.size() >= start + 2 &&
             turn_of(hull[hull.size() - 2], hull[hull.size() - 1], p) <= 0) {
        hull.pop_back();
      }
      hull.push_back(p);
    }
    hull.pop_back();
    std::reverse(points.begin(), points.end());
  }
  return hull;
}

bool in_polygon(const Polygon& convex, const Point2& p) {
  for (std::size_t i = 0; i < convex.size(); ++i) {
    if (turn_of(convex[i], convex[(i + 1) % convex.size()], p) < 0) return false;
  }
  return true;
}

// A curve with all that the reference needs to know of it, found without the code under test.
struct Shape {
  std::function<bool(const Point2&)> outside;
  Polygon fixed;
};

Point2 halved(const Shape& shape, Point2 out, Point2 in) {
  for (int i = 0; i < 80; ++i) {
    const Point2 middle{(out.x + in.x) / 2, (out.y + in.y) / 2};
    (shape.outside(middle) ? out : in) = middle;
  }
  return in;
}

// What is cut away of a triangle with corners on both sides: the hull of its inner corners, of the
// crossings of its edges, and of the fixed points within it.
Polygon cut_away(const Shape& shape, const Polygon& triangle) {
  Polygon points;
  for (std::size_t k = 0; k < 3; ++k) {
    const Point2& a = triangle[k];
    const Point2& b = triangle[(k + 1) % 3];
    if (!shape.outside(a)) points.push_back(a);
    if (shape.outside(a) && !shape.outside(b)) points.push_back(halved(shape, a, b));
    if (!shape.outside(a) && shape.outside(b)) points.push_back(halved(shape, b, a));
  }
  const Polygon around = convex_hull(triangle);
  for (const Point2& p : shape.fixed) {
    if (in_polygon(around, p)) points.push_back(p);
  }
  return convex_hull(points);
}

// Sutherland and Hodgman: a triangle within the rectangle.
double area_in_rectangle(Polygon polygon, double a, double b) {
  const std::array<std::array<double, 3>, 4> lines{{{-1, 0, a}, {1, 0, a}, {0, -1, b}, {0, 1, b}}};
  for (const auto& line : lines) {
    const auto height = [&](const Point2& p) { return line[2] - line[0] * p.x - line[1] * p.y; };
    Polygon clipped;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
      const Point2& p = polygon[i];
      const Point2& q = polygon[(i + 1) % polygon.size()];
      const double hp = height(p);
      const double hq = height(q);
      if (hp >= 0) clipped.push_back(p);
      if ((hp >= 0) != (hq >= 0)) clipped.push_back(between(p, q, hp / (hp - hq)));
    }
    polygon = clipped;
  }
  return area_of(polygon);
}

const Shape kCircleShape{[](const Point2& p) { return std::hypot(p.x, p.y) > 5; }, {}};
const Shape kSlotShape{
    [](const Point2& p) { return std::hypot(std::max(0.0, std::fabs(p.x) - 3), p.y) > 2; },
    {{3, 2}, {3, -2}, {-3, 2}, {-3, -2}}};
const Shape kRectangleShape{
    [](const Point2& p) { return std::fabs(p.x) > 4 || std::fabs(p.y) > 3; },
    {{4, 3}, {4, -3}, {-4, 3}, {-4, -3}}};

// A tilted frame, so that nothing holds by the axes being those of space.
struct Setting {
  Vec3f centre{1, -2, 0.5F};
  Vec3f n{0.36F, 0.48F, 0.8F};
  Vec3f dir{0.8F, -0.6F, 0};
  FCircle3D circle{centre, n, 5};
  FOvalSlot3D slot{centre, n, dir, 3, 2};
  FRectangle3D rectangle{centre, n, dir, 4, 3};
};

struct Trial {
  std::array<Vec3f, 3> corner;
  Polygon flat;
  std::vector<CutTriangle> pieces;
  FaceFate fate = FaceFate::kKept;
  std::vector<Polygon> piece_flat;
  int outside = 0;
};

// A random triangle of about the given size near the curve, and what becomes of it.
template <typename Curve>
Trial try_one(test_support::Random& random, const CurveFrame& frame, const Curve& curve,
              const Shape& shape, double size) {
  Trial trial;
  const Point2 near{7.0 * random.signed_unit(), 6.0 * random.signed_unit()};
  for (auto& corner : trial.corner) {
    const Point2 p{near.x + size * random.signed_unit(), near.y + size * random.signed_unit()};
    const double height = size * random.signed_unit();
    corner = narrowed(frame.centre + frame.in_space(p) + frame.n * height);
    trial.flat.push_back(frame.flat(widened(corner)));
    trial.outside += shape.outside(trial.flat.back());
  }
  trial.fate = cut_face(frame, PlaneCurve(curve), trial.corner, {}, trial.pieces);
  for (const CutTriangle& t : trial.pieces) {
    Polygon flat;
    for (const Vec3f& p : t.corner) flat.push_back(frame.flat(widened(p)));
    trial.piece_flat.push_back(flat);
  }
  return trial;
}

// A piece covers a point, by orientation of its own.
bool covers(const Polygon& piece, const Point2& p) {
  const double a = turn_of(piece[0], piece[1], p);
  const double b = turn_of(piece[1], piece[2], p);
  const double c = turn_of(piece[2], piece[0], p);
  return (a > 0 && b > 0 && c > 0) || (a < 0 && b < 0 && c < 0);
}

void expect_covered_once(const Trial& trial, const Polygon& away, test_support::Random& random) {
  for (int i = 0; i < 20; ++i) {
    double u = 0.5 + 0.5 * random.signed_unit();
    double v = 0.5 + 0.5 * random.signed_unit();
    if (u + v > 1) {
      u = 1 - u;
      v = 1 - v;
    }
    const Point2 p{trial.flat[0].x + u * (trial.flat[1].x - trial.flat[0].x) +
                       v * (trial.flat[2].x - trial.flat[0].x),
                   trial.flat[0].y + u * (trial.flat[1].y - trial.flat[0].y) +
                       v * (trial.flat[2].y - trial.flat[0].y)};
    int covered = 0;
    for (const Polygon& piece : trial.piece_flat) covered += covers(piece, p);
    // Only a rounding of float coordinates away from an outline may it be otherwise.
    const Polygon wider = convex_hull(away);
    double gap = 1e30;
    const auto approach = [&](const Polygon& polygon) {
      for (std::size_t k = 0; k < polygon.size(); ++k) {
        const Point2& a = polygon[k];
        const Point2& b = polygon[(k + 1) % polygon.size()];
        gap = std::min(gap, std::fabs(turn_of(a, b, p)) / std::hypot(b.x - a.x, b.y - a.y));
      }
    };
    approach(wider);
    for (const Polygon& piece : trial.piece_flat) approach(piece);
    if (gap < 1e-5) continue;
    EXPECT_EQ(covered, in_polygon(wider, p) ? 0 : 1);
  }
}

constexpr double kSizes[] = {8, 6, 2, 0.7};

// A corner on the curve has cases of its own in the table.
template <typename Curve>
bool meets_curve(const Curve& curve, const Trial& trial) {
  const PlaneCurve plane(curve);
  return std::any_of(trial.flat.begin(), trial.flat.end(),
                     [&](const Point2& p) { return plane.sign(p) == 0; });
}

template <typename Curve>
void compare_areas(const Curve& curve, const Shape& shape, uint64_t seed) {
  const CurveFrame frame(curve);
  test_support::Random random(seed);
  int cut = 0;
  int exact = 0;
  int cornered = 0;
  for (int i = 0; i < 40000 && cut < 6000; ++i) {
    const Trial trial = try_one(random, frame, curve, shape, kSizes[i % 4]);
    const double whole = area_of(trial.flat);
    if (whole < 0.01 || meets_curve(curve, trial)) continue;
    if (trial.outside == 3) {
      EXPECT_EQ(trial.fate, FaceFate::kKept);
      EXPECT_TRUE(trial.pieces.empty());
      continue;
    }
    EXPECT_EQ(trial.fate, FaceFate::kReplaced);
    if (trial.outside == 0) {
      EXPECT_TRUE(trial.pieces.empty());
      continue;
    }
    const Polygon away = cut_away(shape, trial.flat);
    double sum = 0;
    for (const Polygon& piece : trial.piece_flat) sum += area_of(piece);
    // Corners are rounded to float, at coordinates up to 12: that shows on narrow and small ones.
    const double around = perimeter_of(trial.flat);
    const bool wide = around < whole;
    EXPECT_NEAR(sum, whole - area_of(away), 1e-6 * (wide ? whole : whole + around)) << i;
    exact += wide;
    expect_covered_once(trial, away, random);
    cornered += trial.pieces.size() > 2 || (trial.outside == 1 && trial.pieces.size() > 1);
    ++cut;
  }
  EXPECT_GE(cut, 6000);
  EXPECT_GE(exact, 500);
  if (!shape.fixed.empty()) {
    EXPECT_GT(cornered, 500);
  }
}

TEST(FaceCut, leaves_the_area_outside_the_circle) {
  compare_areas(Setting().circle, kCircleShape, 21);
}

TEST(FaceCut, leaves_the_area_outside_the_slot) {
  compare_areas(Setting().slot, kSlotShape, 22);
}

TEST(FaceCut, leaves_the_area_outside_the_rectangle) {
  compare_areas(Setting().rectangle, kRectangleShape, 23);
}

// Where no edge between two corners outside crosses the rectangle, the hull is the exact clip.
TEST(FaceCut, is_the_exact_clip_of_a_rectangle_that_only_cut_edges_cross) {
  const Setting setting;
  const CurveFrame frame(setting.rectangle);
  test_support::Random random(24);
  int compared = 0;
  for (int i = 0; i < 40000; ++i) {
    const Trial trial = try_one(random, frame, setting.rectangle, kRectangleShape, 2.0);
    if (trial.outside == 0 || trial.outside == 3) continue;
    bool crossed = false;
    for (std::size_t k = 0; k < 3; ++k) {
      const Point2& a = trial.flat[k];
      const Point2& b = trial.flat[(k + 1) % 3];
      if (!kRectangleShape.outside(a) || !kRectangleShape.outside(b)) continue;
      for (int s = 1; s < 400; ++s) {
        crossed = crossed || !kRectangleShape.outside(between(a, b, s / 400.0));
      }
    }
    const double whole = area_of(trial.flat);
    if (crossed || whole < 0.05) continue;
    double sum = 0;
    for (const Polygon& piece : trial.piece_flat) sum += area_of(piece);
    const double wanted = whole - area_in_rectangle(trial.flat, 4, 3);
    // An edge may still graze a corner between two samples.
    EXPECT_NEAR(sum, wanted, 2e-5 * whole + 2e-5) << i;
    ++compared;
  }
  EXPECT_GT(compared, 3000);
}

// Two triangles on one edge end in the same points on it, to the bit.
TEST(FaceCut, cuts_a_shared_edge_at_one_point) {
  const Setting setting;
  test_support::Random random(25);
  const auto run = [&](const auto& shape) {
    const CurveFrame frame(shape);
    const PlaneCurve curve(shape);
    int shared = 0;
    for (int i = 0; i < 4000; ++i) {
      std::array<Vec3f, 4> p;
      for (auto& q : p) {
        q = narrowed(frame.centre +
                     frame.in_space({7.0 * random.signed_unit(), 6.0 * random.signed_unit()}) +
                     frame.n * random.signed_unit());
      }
      const auto on_edge = [&](const std::array<Vec3f, 3>& corner) {
        std::vector<CutTriangle> pieces;
        cut_face(frame, curve, corner, {}, pieces);
        std::vector<std::array<float, 3>> points;
        for (const CutTriangle& t : pieces) {
          for (const Vec3f& q : t.corner) {
            const Vec3d along = widened(p[1]) - widened(p[0]);
            const Vec3d away = widened(q) - widened(p[0]);
            if (length(cross(along, away)) < 1e-5 * dot(along, along)) {
              points.push_back({q.x, q.y, q.z});
            }
          }
        }
        std::sort(points.begin(), points.end());
        points.erase(std::unique(points.begin(), points.end()), points.end());
        return points;
      };
      const bool in0 = curve.sign(frame.flat(widened(p[0]))) < 0;
      const bool in1 = curve.sign(frame.flat(widened(p[1]))) < 0;
      if (in0 == in1) continue;
      EXPECT_EQ(on_edge({p[0], p[1], p[2]}), on_edge({p[1], p[0], p[3]})) << i;
      ++shared;
    }
    EXPECT_GT(shared, 1000);
  };
  run(setting.circle);
  run(setting.slot);
  run(setting.rectangle);
}

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
