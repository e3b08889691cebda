// What is left of single triangles: areas, cover, and where the pieces end.
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
using test_support::kCircleShape;
using test_support::kRectangleShape;
using test_support::kSlotShape;
using test_support::Polygon;
using test_support::Setting;
using test_support::Shape;

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
    int pairs = 0;
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
      const auto points = on_edge({p[0], p[1], p[2]});
      // The end outside and the crossing, or the crossing alone where it rounds onto that end.
      EXPECT_GE(points.size(), 1U) << i;
      EXPECT_EQ(points, on_edge({p[1], p[0], p[3]})) << i;
      pairs += points.size() >= 2 ? 1 : 0;
      ++shared;
    }
    EXPECT_GT(shared, 1000);
    EXPECT_GT(pairs, shared * 9 / 10);
  };
  run(setting.circle);
  run(setting.slot);
  run(setting.rectangle);
}

}  // namespace
