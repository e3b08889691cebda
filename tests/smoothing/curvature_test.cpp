#include "scanmesh/curvature.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "core/vector_math.h"
#include "tests/support/invariants.h"
#include "tests/support/shapes.h"

namespace {

using namespace test_support;
using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;

constexpr double kPi = 3.141592653589793;

// A flat fan of six triangles around vertex 0, tilted out of the axes.
Soup tilted_fan(bool closed = true) {
  Soup soup{{{0, 0, 0}}, {}};
  for (int i = 0; i < 6; ++i) {
    const double t = 2 * kPi * i / 6;
    const double x = std::cos(t);
    const double y = std::sin(t);
    soup.points.push_back(
        {static_cast<float>(x), static_cast<float>(0.6 * y), static_cast<float>(0.8 * y)});
  }
  for (int i = 0; i < (closed ? 6 : 5); ++i) soup.triangles.push_back({0, 1 + i, 1 + (i + 1) % 6});
  return soup;
}

std::pair<double, double> stored(_vert* v, bool raw) {
  return GetHK(v, true, raw, false, nullptr, nullptr);
}

TEST(Curvature, FlatClosedFanHasNone) {
  const auto mesh = flat_grid(2, 1).mesh();
  const auto [h, k] = stored(mesh->vertex[4], false);
  EXPECT_EQ(h, 0);
  EXPECT_NEAR(k, 0, 1e-6);
  const auto tilted = tilted_fan().mesh();
  for (const bool keep : {true, false}) {
    const auto hk = GetHK(tilted->vertex[0], keep, true, false, nullptr, nullptr);
    EXPECT_NEAR(hk.first, 0, 2e-3);
    EXPECT_NEAR(hk.second, 0, 1e-6);
  }
}

TEST(Curvature, CubeCornerHasARightAngleDeficit) {
  Soup corner{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}},
              {{{0, 2, 1}}, {{0, 1, 3}}, {{0, 3, 2}}}};
  const auto mesh = corner.mesh();
  const auto [h, k] = stored(mesh->vertex[0], true);
  EXPECT_NEAR(k, kPi / 2, 1e-6);
  // Three edges of length 1 with dihedral angles of 90 degrees.
  EXPECT_NEAR(h, 0.25 * 3 * kPi / 2, 1e-6);
  const auto [h_area, k_area] = stored(mesh->vertex[0], false);
  EXPECT_NEAR(h_area, h / 0.5, 1e-6);
  EXPECT_NEAR(k_area, k / 0.5, 1e-6);
}

TEST(Curvature, DeficitsOfAClosedSurfaceSumToFourPi) {
  const auto mesh = noisy(sphere(3, 5.0F), 0.2F, 2).mesh();
  double sum = 0;
  double mixed_sum = 0;
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) {
    sum += stored(mesh->vertex[i], true).second;
    mixed_sum += mesh->vertex.Cal_v_Gaussian_curvature(mesh->vertex[i], true);
  }
  EXPECT_NEAR(sum, 4 * kPi, 1e-4);
  EXPECT_NEAR(mixed_sum, 4 * kPi, 1e-4);
}

TEST(Curvature, RegularPartsOfASphereGiveItsRadius) {
  const auto mesh = sphere(4, 5.0F).mesh();
  for (int i = 6; i < mesh->vertex.get_vertnum(); i += 17) {
    const auto [h, k] = stored(mesh->vertex[i], false);
    EXPECT_NEAR(k, 1.0 / 25, 0.012);
    EXPECT_NEAR(h, 1.0 / 5, 0.06);
  }
}

TEST(Curvature, MeanIsUnsigned) {
  Soup dented = tilted_fan();
  dented.points[0] = {0, 0.4F, -0.3F};
  Soup raised = tilted_fan();
  raised.points[0] = {0, -0.4F, 0.3F};
  EXPECT_GT(stored(dented.mesh()->vertex[0], true).first, 0.1);
  EXPECT_GT(stored(raised.mesh()->vertex[0], true).first, 0.1);
}

TEST(Curvature, BoundaryEdgesAddNothingToTheMean) {
  const auto mesh = tilted_fan(false).mesh();
  int open = 0;
  for (int i = 0; i < mesh->vertex[0]->edge_num; ++i) {
    open += mesh->vertex[0]->edge[i]->face_num == 1;
  }
  ASSERT_EQ(open, 2);
  EXPECT_NEAR(stored(mesh->vertex[0], true).first, 0, 2e-3);
  EXPECT_EQ(stored(single_triangle().mesh()->vertex[0], true).first, 0);
}

TEST(Curvature, DegenerateFaceAddsNeitherAngleNorArea) {
  const auto mesh = flat_grid(2, 1).mesh();
  const auto before = stored(mesh->vertex[4], true);
  Vec3f place = mesh->vertex[4]->point;
  _vert* const twin = mesh->vertex.insert_vert(place);
  Vec3f normal{0, 0, 1};
  mesh->insert_face(mesh->vertex[4], twin, mesh->vertex[0], normal);
  const auto after = stored(mesh->vertex[4], true);
  EXPECT_EQ(before.second, after.second);
  EXPECT_EQ(stored(mesh->vertex[4], false).second, after.second / (3.0 / 3.0));
}

TEST(Curvature, FaceWithoutADirectionDoesNotSpoilTheMean) {
  const auto mesh = sphere(1, 1.0F).mesh();
  mesh->vertex[0]->face[0]->vector = {0, 0, 0};
  EXPECT_FALSE(std::isnan(stored(mesh->vertex[0], true).first));
}

TEST(Curvature, IsolatedVertexHasAnInfiniteDeficitPerArea) {
  const auto mesh = single_triangle().mesh();
  Vec3f place{5, 5, 5};
  _vert* const lone = mesh->vertex.insert_vert(place);
  EXPECT_EQ(stored(lone, false).first, 0);
  EXPECT_EQ(stored(lone, false).second, std::numeric_limits<double>::infinity());
  EXPECT_EQ(stored(lone, true).second, 6.283185307179586);
}

TEST(Curvature, DeletedElementsAreSkipped) {
  const auto mesh = flat_grid(2, 1).mesh();
  _vert* const v = mesh->vertex[4];
  v->face[0]->state = Mesh_R::kStateDeleted;
  EXPECT_GT(stored(v, true).second, 0.5);
  const auto bent = sphere(1, 1.0F).mesh();
  const double h = stored(bent->vertex[0], true).first;
  bent->vertex[0]->edge[0]->state = Mesh_R::kStateDeleted;
  EXPECT_LT(stored(bent->vertex[0], true).first, h);
}

TEST(Curvature, StoredNormalsCountOnlyWhenAskedForAndNothingIsReplaced) {
  const auto mesh = sphere(1, 1.0F).mesh();
  _vert* const v = mesh->vertex[0];
  const auto computed = GetHK(v, false, true, false, nullptr, nullptr);
  EXPECT_NEAR(stored(v, true).first, computed.first, 1e-5);
  for (int i = 0; i < v->face_num; ++i) v->face[i]->vector = {0, 0, 1};
  EXPECT_EQ(stored(v, true).first, 0);
  EXPECT_EQ(GetHK(v, false, true, false, nullptr, nullptr).first, computed.first);
  Vec3f same = mesh->vertex[1]->point;
  EXPECT_EQ(GetHK(v, true, true, true, mesh->vertex[1], &same).first, computed.first);
}

TEST(Curvature, ReplacementAnswersAsIfTheVertexHadMoved) {
  const auto mesh = noisy(sphere(2, 3.0F), 0.2F, 4).mesh();
  for (int i = 0; i < 20; ++i) {
    _vert* const v = mesh->vertex[i];
    for (_vert* moved : {v, v->edge[0]->vert[0] == v ? v->edge[0]->vert[1] : v->edge[0]->vert[0]}) {
      Vec3f place = moved->point;
      place.x += 0.3F;
      place.z -= 0.2F;
      const auto asked = GetHK(v, false, false, true, moved, &place);
      const Vec3f kept = moved->point;
      moved->point = place;
      const auto really = GetHK(v, false, false, false, nullptr, nullptr);
      moved->point = kept;
      EXPECT_EQ(asked.first, really.first);
      EXPECT_EQ(asked.second, really.second);
    }
  }
}

// The formulas once more, all in long double.
std::pair<long double, long double> reference(const _vert* v) {
  using Wide = long double;
  const auto sub = [](const Vec3f& a, const Vec3f& b) {
    return std::array<Wide, 3>{static_cast<Wide>(a.x) - b.x, static_cast<Wide>(a.y) - b.y,
                               static_cast<Wide>(a.z) - b.z};
  };
  const auto dot = [](const std::array<Wide, 3>& a, const std::array<Wide, 3>& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
  };
  const auto cross = [](const std::array<Wide, 3>& a, const std::array<Wide, 3>& b) {
    return std::array<Wide, 3>{a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2],
                               a[0] * b[1] - a[1] * b[0]};
  };
  const auto angle = [&](const std::array<Wide, 3>& a, const std::array<Wide, 3>& b) {
    const Wide c = dot(a, b) / std::sqrt(dot(a, a) * dot(b, b));
    return std::acos(std::min<Wide>(1, std::max<Wide>(-1, c)));
  };
  Wide angles = 0;
  Wide area = 0;
  for (int i = 0; i < v->face_num; ++i) {
    const _face* const f = v->face[i];
    int at = 0;
    while (f->vert[at] != v) ++at;
    const auto a = sub(f->vert[(at + 1) % 3]->point, v->point);
    const auto b = sub(f->vert[(at + 2) % 3]->point, v->point);
    angles += angle(a, b);
    const auto n = cross(a, b);
    area += std::sqrt(dot(n, n)) / 2;
  }
  Wide bending = 0;
  for (int i = 0; i < v->edge_num; ++i) {
    const _edge* const e = v->edge[i];
    if (e->face_num < 2) continue;
    const auto normal = [&](const _face* f) {
      return cross(sub(f->vert[0]->point, f->vert[1]->point),
                   sub(f->vert[1]->point, f->vert[2]->point));
    };
    const auto d = sub(e->vert[0]->point, e->vert[1]->point);
    bending += angle(normal(e->face[0]), normal(e->face[1])) * std::sqrt(dot(d, d));
  }
  return {bending / 4 / (area / 3), (2 * static_cast<Wide>(kPi) - angles) / (area / 3)};
}

TEST(Curvature, AgreesWithAWideReferenceOnAnIrregularMesh) {
  const auto mesh = irregular_patch(18, 6).mesh();
  int checked = 0;
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) {
    _vert* const v = mesh->vertex[i];
    if (v->face_num == 0) continue;
    const auto wide = reference(v);
    for (const bool keep : {true, false}) {
      const auto hk = GetHK(v, keep, false, false, nullptr, nullptr);
      // Float arc cosines near 1 are good to about 1e-3 only.
      EXPECT_NEAR(hk.first, static_cast<double>(wide.first), 2e-3);
      EXPECT_NEAR(hk.second, static_cast<double>(wide.second),
                  1e-5 * std::max(1.0, std::fabs(hk.second)));
    }
    ++checked;
  }
  EXPECT_GT(checked, 300);
}

double mixed(_vert* v, bool raw) {
  Mesh_R::Vertex store;
  return store.Cal_v_Gaussian_curvature(v, raw);
}

TEST(MixedCurvature, NullAndFacelessVerticesHaveTheirOwnValues) {
  EXPECT_EQ(mixed(nullptr, false), 0.0);
  EXPECT_EQ(mixed(nullptr, true), 0.0);
  _vert lone;
  EXPECT_EQ(mixed(&lone, true), 6.283185307179586);
  EXPECT_EQ(mixed(&lone, false), std::numeric_limits<double>::infinity());
}

TEST(MixedCurvature, RawIsTheDeficit) {
  const auto mesh = single_triangle().mesh();
  EXPECT_NEAR(mixed(mesh->vertex[0], true), 1.5 * kPi, 1e-12);
  EXPECT_NEAR(mixed(mesh->vertex[1], true), 1.75 * kPi, 1e-7);
}

TEST(MixedCurvature, AcuteCornerTakesTheVoronoiArea) {
  // Equilateral: a third of the area each.
  Soup soup{{{0, 0, 0}, {2, 0, 0}, {1, 1.7320508F, 0}}, {{{0, 1, 2}}}};
  const auto mesh = soup.mesh();
  const double third = std::sqrt(3.0) / 3;
  EXPECT_NEAR(mixed(mesh->vertex[0], false), (2 * kPi - kPi / 3) / third, 1e-5);
}

TEST(MixedCurvature, RightAngleTakesTheObtuseBranch) {
  // At the right angle A: T = 1, B = C = 45 degrees, so the area is 1 - 2 / 8.
  const auto mesh = single_triangle().mesh();
  EXPECT_NEAR(mixed(mesh->vertex[0], false), 1.5 * kPi / 0.75, 1e-6);
  // At B = 45 degrees the angles are 90 and 45 degrees: the tangent of the rest of the right angle
  // is 0, and (|b|^2 tan(90 - 90) + |a|^2 tan(45)) / 8 remains.
  const _face* const face = mesh->face[0];
  ASSERT_EQ(face->vert[0], mesh->vertex[0]);
  EXPECT_NEAR(mixed(mesh->vertex[1], false), 1.75 * kPi / (1.0 / 8), 1e-4);
}

TEST(MixedCurvature, ObtuseCornerElsewhereKeepsTheVoronoiFormula) {
  // The angle at vertex 1 is obtuse: the tangent of its rest is negative.
  Soup soup{{{0, 0, 0}, {1, 0, 0}, {3, 1, 0}}, {{{0, 1, 2}}}};
  const auto mesh = soup.mesh();
  const double at_first = kPi - std::atan2(1, 2);
  const double at_vert = std::atan2(1, 3);
  const double at_second = kPi - at_first - at_vert;
  const double area =
      (10 * std::tan(kPi / 2 - at_first) + 1 * std::tan(kPi / 2 - at_second)) * 0.125;
  const double deficit = 2 * kPi - at_vert;
  EXPECT_NEAR(mixed(mesh->vertex[0], false), deficit / area, 1e-5 * std::fabs(deficit / area));
}

TEST(MixedCurvature, ZeroAngleUsesZeroForTheTangent) {
  // Corners in one line: the angle at the first other corner is 0 for the far end.
  Soup soup{{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}}, {{{0, 2, 1}}}};
  const auto mesh = soup.mesh();
  EXPECT_TRUE(std::isfinite(mixed(mesh->vertex[0], true)));
  EXPECT_NEAR(mixed(mesh->vertex[0], true), 2 * kPi, 1e-12);
}

TEST(HighCurvature, MarksByEitherMeasureAndNeverClears) {
  const auto mesh = sphere(3, 1.0F).mesh();
  EXPECT_EQ(mesh->markHighCurvature(100.0F), 0);
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) EXPECT_EQ(mesh->vertex[i]->state, 8);
  EXPECT_EQ(mesh->markHighCurvature(0.5F), 0);
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) EXPECT_EQ(mesh->vertex[i]->state, 12);
  mesh->markHighCurvature(100.0F);
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) EXPECT_EQ(mesh->vertex[i]->state, 12);
}

TEST(HighCurvature, AgreesWithASequentialPass) {
  const auto mesh = irregular_patch(25, 8).mesh();
  for (const float limit : {0.1F, 0.4F, 1.5F}) {
    std::vector<int> expected;
    for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) {
      mesh->vertex[i]->state = 8;
      const auto [h, k] = stored(mesh->vertex[i], false);
      expected.push_back(std::fabs(h) > limit || std::fabs(k) > limit ? 12 : 8);
    }
    mesh->markHighCurvature(limit);
    for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) {
      EXPECT_EQ(mesh->vertex[i]->state, expected[static_cast<std::size_t>(i)]);
    }
  }
}

TEST(HighCurvature, IsolatedVertexIsMarked) {
  const auto mesh = single_triangle().mesh();
  Vec3f place{5, 5, 5};
  _vert* const lone = mesh->vertex.insert_vert(place);
  mesh->markHighCurvature(1e30F);
  EXPECT_EQ(lone->state, 12);
}

TEST(HighCurvature, NegativeLimitMarksEveryLiveVertex) {
  const auto mesh = flat_grid(3, 1).mesh();
  mesh->vertex[2]->state = Mesh_R::kStateDeleted;
  mesh->markHighCurvature(-1.0F);
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) {
    EXPECT_EQ(mesh->vertex[i]->state, i == 2 ? 3 : 12);
  }
}

TEST(AveragingFilter, ThreeRoundsOfMeansWithTheVertexItself) {
  const auto mesh = irregular_patch(12, 9).mesh();
  const auto plain = irregular_patch(12, 9).mesh();
  std::vector<Vec3f> normals;
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) normals.push_back(mesh->vertex[i]->vector);
  mesh->GaussianCurvatureLimit_Lap_filter();
  for (int round = 0; round < 3; ++round) {
    std::vector<Vec3f> means;
    for (int i = 0; i < plain->vertex.get_vertnum(); ++i) {
      const _vert* const v = plain->vertex[i];
      Vec3f sum = v->point;
      for (int k = 0; k < v->edge_num; ++k) {
        const _vert* const far =
            v->edge[k]->vert[0] == v ? v->edge[k]->vert[1] : v->edge[k]->vert[0];
        sum = {sum.x + far->point.x, sum.y + far->point.y, sum.z + far->point.z};
      }
      const double n = v->edge_num + 1;
      means.push_back({static_cast<float>(sum.x / n), static_cast<float>(sum.y / n),
                       static_cast<float>(sum.z / n)});
    }
    for (int i = 0; i < plain->vertex.get_vertnum(); ++i) {
      plain->vertex[i]->point = means[static_cast<std::size_t>(i)];
    }
  }
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) {
    EXPECT_EQ(mesh->vertex[i]->point.x, plain->vertex[i]->point.x);
    EXPECT_EQ(mesh->vertex[i]->point.y, plain->vertex[i]->point.y);
    EXPECT_EQ(mesh->vertex[i]->point.z, plain->vertex[i]->point.z);
    EXPECT_EQ(mesh->vertex[i]->vector.z, normals[static_cast<std::size_t>(i)].z);
  }
  EXPECT_TRUE(adjacency_holds(*mesh));
}

TEST(AveragingFilter, EdgesThatAreDeletedDoNotPull) {
  const auto mesh = flat_grid(1, 1).mesh();
  for (int i = 0; i < mesh->edge.get_edgenum(); ++i) {
    mesh->edge[i]->state = Mesh_R::kStateDeleted;
  }
  mesh->GaussianCurvatureLimit_Lap_filter();
  EXPECT_EQ(mesh->vertex[3]->point.x, 1.0F);
}

}  // namespace
