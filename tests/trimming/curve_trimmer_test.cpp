// The trimmer over flat arrays: results, refusals, limits, and independence of its tasks.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <set>
#include <vector>

#include "scanmesh/internal.h"
#include "tests/support/shapes.h"

namespace {

using namespace qv::maac::xtirm_mesh;
using scanmesh::Vec3f;

struct Flat {
  std::vector<float> points;
  std::vector<float> normals;
  std::vector<int> triangles;
  int point_count = 0;
  int face_count = 0;
};

Flat flat_of(const test_support::Soup& soup) {
  Flat flat;
  for (const Vec3f& p : soup.points) flat.points.insert(flat.points.end(), {p.x, p.y, p.z});
  for (std::size_t i = 0; i < soup.triangles.size(); ++i) {
    const auto& t = soup.triangles[i];
    flat.triangles.insert(flat.triangles.end(), t.begin(), t.end());
    // Told apart from face to face: new triangles carry their parent's.
    flat.normals.insert(flat.normals.end(), {0, static_cast<float>(i), 1});
  }
  flat.point_count = static_cast<int>(soup.points.size());
  flat.face_count = static_cast<int>(soup.triangles.size());
  return flat;
}

using Entry = decltype(&XTrimWithCurve::trim_circle);

int trim(Entry entry, FBase& shape, const Flat& flat, ModifyFaceData& out, float depth = 1,
         bool wall = false) {
  XTrimWithCurve trimmer;
  return (trimmer.*entry)(&shape, flat.points.data(), flat.point_count, flat.normals.data(),
                          flat.triangles.data(), flat.face_count, out, depth, wall);
}

Flat around_10() {
  return flat_of(test_support::noisy(test_support::flat_grid(40, 0.5F), 0.15F, 3));
}

struct Shapes {
  FCircle3D circle{{10, 10, 0}, {0, 0, 1}, 5};
  FOvalSlot3D slot{{10, 10, 0}, {0, 0, 1}, {0.6F, 0.8F, 0}, 3, 2};
  FRectangle3D rectangle{{10, 10, 0}, {0, 0, 1}, {0.6F, 0.8F, 0}, 4, 3};
  std::array<std::pair<FBase*, Entry>, 3> all() {
    return {{{&circle, &XTrimWithCurve::trim_circle},
             {&slot, &XTrimWithCurve::trim_oval},
             {&rectangle, &XTrimWithCurve::trim_rectangle}}};
  }
};

ModifyFaceData filled() {
  ModifyFaceData data;
  data.corners = {1, 2, 3};
  data.normals = {4};
  data.parents = {5, 6};
  data.deleted = {7};
  return data;
}

bool is_as_filled(const ModifyFaceData& data) {
  const ModifyFaceData before = filled();
  return data.corners == before.corners && data.normals == before.normals &&
         data.parents == before.parents && data.deleted == before.deleted;
}

TEST(CurveTrimmer, refuses_another_shape_and_leaves_the_vectors) {
  Shapes shapes;
  const Flat flat = around_10();
  for (const auto& [shape, own] : shapes.all()) {
    for (const auto& [other, entry] : shapes.all()) {
      if (other == shape) continue;
      ModifyFaceData data = filled();
      EXPECT_EQ(trim(entry, *shape, flat, data), -1);
      EXPECT_TRUE(is_as_filled(data));
      // The kind is asked first.
      EXPECT_EQ(trim(entry, *shape, flat, data, -1, true), -1);
    }
    static_cast<void>(own);
  }
}

TEST(CurveTrimmer, refuses_a_wall_of_negative_depth_and_leaves_the_vectors) {
  Shapes shapes;
  const Flat flat = around_10();
  for (const auto& [shape, entry] : shapes.all()) {
    ModifyFaceData data = filled();
    EXPECT_EQ(trim(entry, *shape, flat, data, -0.001F, true), -2);
    EXPECT_TRUE(is_as_filled(data));
    EXPECT_EQ(trim(entry, *shape, flat, data, -0.001F, false), 0);
    EXPECT_EQ(trim(entry, *shape, flat, data, 0, true), 0);
    EXPECT_FALSE(data.parents.empty());
  }
}

TEST(CurveTrimmer, clears_the_vectors_and_keeps_their_memory) {
  Shapes shapes;
  Flat none = around_10();
  none.face_count = 0;
  ModifyFaceData data = filled();
  data.corners.reserve(4500);
  EXPECT_EQ(trim(&XTrimWithCurve::trim_circle, shapes.circle, none, data), 0);
  EXPECT_TRUE(data.corners.empty() && data.normals.empty() && data.parents.empty() &&
              data.deleted.empty());
  EXPECT_GE(data.corners.capacity(), 4500U);
}

TEST(CurveTrimmer, leaves_curves_alone_that_are_too_small) {
  const Flat flat = around_10();
  const Vec3f c{10, 10, 0};
  const Vec3f n{0, 0, 1};
  const Vec3f d{1, 0, 0};
  const auto cuts = [&](Entry entry, FBase&& shape) {
    ModifyFaceData data = filled();
    EXPECT_EQ(trim(entry, shape, flat, data), 0);
    EXPECT_EQ(data.parents.empty(), data.deleted.empty());
    return !data.deleted.empty();
  };
  EXPECT_TRUE(cuts(&XTrimWithCurve::trim_circle, FCircle3D(c, n, 1.4F)));
  EXPECT_FALSE(cuts(&XTrimWithCurve::trim_circle, FCircle3D(c, n, 1.399F)));
  EXPECT_TRUE(cuts(&XTrimWithCurve::trim_rectangle, FRectangle3D(c, n, d, 1, 1.4F)));
  EXPECT_FALSE(cuts(&XTrimWithCurve::trim_rectangle, FRectangle3D(c, n, d, 9, 1.399F)));
  EXPECT_TRUE(cuts(&XTrimWithCurve::trim_oval, FOvalSlot3D(c, n, d, 1, 1)));
  EXPECT_FALSE(cuts(&XTrimWithCurve::trim_oval, FOvalSlot3D(c, n, d, 1, 0.999F)));
}

TEST(CurveTrimmer, names_every_face_once_and_gives_its_normal_to_its_pieces) {
  Shapes shapes;
  const Flat flat = around_10();
  for (const auto& [shape, entry] : shapes.all()) {
    ModifyFaceData data;
    ASSERT_EQ(trim(entry, *shape, flat, data), 0);
    EXPECT_EQ(data.corners.size(), 9 * data.parents.size());
    EXPECT_EQ(data.normals.size(), 3 * data.parents.size());
    const std::set<int> deleted(data.deleted.begin(), data.deleted.end());
    EXPECT_EQ(deleted.size(), data.deleted.size());
    for (std::size_t i = 0; i < data.parents.size(); ++i) {
      EXPECT_EQ(deleted.count(data.parents[i]), 1U);
      EXPECT_EQ(data.normals[3 * i + 1], static_cast<float>(data.parents[i]));
    }
    EXPECT_GT(deleted.size(), 100U);
    EXPECT_TRUE(std::is_sorted(data.parents.begin(), data.parents.end()));
  }
}

// One face after the other on one thread.
ModifyFaceData plain(FBase& shape, const scanmesh::PlaneCurve& curve, const Flat& flat,
                     const scanmesh::Wall& wall) {
  const scanmesh::CurveFrame frame(shape);
  ModifyFaceData data;
  for (int f = 0; f < flat.face_count; ++f) {
    std::array<Vec3f, 3> corner;
    for (std::size_t k = 0; k < 3; ++k) {
      const auto p =
          3 * static_cast<std::size_t>(flat.triangles[3 * static_cast<std::size_t>(f) + k]);
      corner[k] = {flat.points[p], flat.points[p + 1], flat.points[p + 2]};
    }
    std::vector<scanmesh::CutTriangle> pieces;
    if (scanmesh::cut_face(frame, curve, corner, wall, pieces) == scanmesh::FaceFate::kReplaced) {
      data.deleted.push_back(f);
    }
    for (const auto& t : pieces) {
      for (const Vec3f& p : t.corner) data.corners.insert(data.corners.end(), {p.x, p.y, p.z});
      data.parents.push_back(f);
    }
  }
  return data;
}

TEST(CurveTrimmer, gives_the_same_in_any_order_of_its_tasks) {
  Shapes shapes;
  const Flat flat = around_10();
  const std::array<scanmesh::PlaneCurve, 3> curves{scanmesh::PlaneCurve(shapes.circle),
                                                   scanmesh::PlaneCurve(shapes.slot),
                                                   scanmesh::PlaneCurve(shapes.rectangle)};
  std::size_t i = 0;
  for (const auto& [shape, entry] : shapes.all()) {
    const ModifyFaceData wanted = plain(*shape, curves[i++], flat, {true, 1.5});
    ASSERT_GT(wanted.parents.size(), 100U);
    ASSERT_GT(wanted.deleted.size(), 100U);
    for (int round = 0; round < 10; ++round) {
      ModifyFaceData data;
      ASSERT_EQ(trim(entry, *shape, flat, data, 1.5F, true), 0);
      EXPECT_EQ(data.corners, wanted.corners);
      EXPECT_EQ(data.parents, wanted.parents);
      EXPECT_EQ(data.deleted, wanted.deleted);
    }
  }
}

TEST(CurveTrimmer, deletes_a_triangle_inside_without_a_successor) {
  Shapes shapes;
  Flat flat;
  flat.points = {10, 10, 0, 11, 10, 0, 10, 11, 0, 30, 30, 0};
  flat.normals = {0, 0, 1, 0, 0, 1};
  flat.triangles = {0, 1, 2, 3, 3, 3};
  flat.point_count = 4;
  flat.face_count = 2;
  for (const auto& [shape, entry] : shapes.all()) {
    ModifyFaceData data;
    ASSERT_EQ(trim(entry, *shape, flat, data, 1, true), 0);
    EXPECT_EQ(data.deleted, std::vector<int>{0});
    EXPECT_TRUE(data.parents.empty());
  }
}

TEST(CurveTrimmer, does_nothing_without_a_plane) {
  const Flat flat = around_10();
  FCircle3D circle({10, 10, 0}, {0, 0, 0}, 5);
  FOvalSlot3D slot({10, 10, 0}, {0, 0, 1}, {0, 0, 2}, 3, 2);
  ModifyFaceData data = filled();
  EXPECT_EQ(trim(&XTrimWithCurve::trim_circle, circle, flat, data), 0);
  EXPECT_TRUE(data.deleted.empty());
  EXPECT_EQ(trim(&XTrimWithCurve::trim_oval, slot, flat, data), 0);
  EXPECT_TRUE(data.deleted.empty());
}

// The cut seen along the axis is the same whichever axis component is the largest: the frame must
// not turn it out of its plane.
TEST(CurveTrimmer, cuts_the_circle_around_every_axis) {
  for (const Vec3f& n : {Vec3f{1, 0, 0}, Vec3f{0, 1, 0}, Vec3f{0, 0, 1}, Vec3f{-1, 0, 0},
                         Vec3f{0.6F, 0.8F, 0}, Vec3f{0.36F, 0.48F, -0.8F}}) {
    const FCircle3D made({0, 0, 0}, n, 4);
    const scanmesh::CurveFrame frame(made);
    test_support::Soup soup = test_support::sphere(4, 9.0F);
    const Flat flat = flat_of(soup);
    FCircle3D circle({0, 0, 0}, n, 4);
    ModifyFaceData data;
    ASSERT_EQ(trim(&XTrimWithCurve::trim_circle, circle, flat, data), 0);
    ASSERT_FALSE(data.parents.empty());
    for (std::size_t i = 0; i < data.corners.size(); i += 3) {
      const scanmesh::Vec3d p{data.corners[i], data.corners[i + 1], data.corners[i + 2]};
      const double along = scanmesh::dot(p, frame.n);
      const double away = std::sqrt(std::max(0.0, scanmesh::dot(p, p) - along * along));
      EXPECT_GE(away, 4 - 1e-5);
    }
  }
}

TEST(CurveTrimmer, refuses_a_wall_whose_depth_is_not_finite) {
  Shapes shapes;
  const Flat flat = around_10();
  const float infinity = std::numeric_limits<float>::infinity();
  for (const auto& [shape, entry] : shapes.all()) {
    for (const float depth : {std::nanf(""), infinity, -infinity}) {
      ModifyFaceData data = filled();
      EXPECT_EQ(trim(entry, *shape, flat, data, depth, true), -2);
      EXPECT_TRUE(is_as_filled(data));
      // Without a wall nobody asks.
      EXPECT_EQ(trim(entry, *shape, flat, data, depth, false), 0);
      EXPECT_FALSE(data.parents.empty());
    }
  }
}

}  // namespace
