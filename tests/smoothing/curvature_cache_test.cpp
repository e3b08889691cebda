#include "smoothing/curvature_cache.h"

#include <gtest/gtest.h>

#include "scanmesh/curvature.h"
#include "tests/support/plain_filters.h"
#include "tests/support/shapes.h"

namespace {

using namespace test_support;
using Mesh_R::_vert;

// Asks for a vertex and its neighbours, twice, so that kept terms are used.
void expect_as_computed(scanmesh::CurvatureCache& cache, _vert* moved, Vec3f place) {
  for (int round = 0; round < 2; ++round) {
    for (int i = -1; i < moved->edge_num; ++i) {
      auto* const at = i < 0 ? moved : const_cast<_vert*>(other_end(moved->edge[i], moved));
      const auto expected = GetHK(at, false, false, true, moved, &place);
      const auto found = cache.with_moved(at, moved, place);
      EXPECT_EQ(found.first, expected.first);
      EXPECT_EQ(found.second, expected.second);
    }
  }
}

TEST(CurvatureCache, answers_as_the_curvature_itself) {
  const auto mesh = irregular_patch(12, 4).mesh();
  scanmesh::CurvatureCache cache(mesh->edge, mesh->face);
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) {
    _vert* const v = mesh->vertex[i];
    if (v->edge_num > 0) expect_as_computed(cache, v, plus(v->point, {0.2F, -0.1F, 0.3F}));
  }
}

TEST(CurvatureCache, forgets_what_has_changed) {
  const auto mesh = irregular_patch(12, 4).mesh();
  scanmesh::CurvatureCache cache(mesh->edge, mesh->face);
  for (int i = 40; i < 100; ++i) {
    _vert* const v = mesh->vertex[i];
    expect_as_computed(cache, v, plus(v->point, {0.2F, -0.1F, 0.3F}));
    v->point.z += 0.4F;
    for (int k = 0; k < v->face_num; ++k) cache.forget(v->face[k]);
    expect_as_computed(cache, v, plus(v->point, {0, 0, 0.1F}));
  }
}

TEST(CurvatureCache, records_that_came_later_are_worked_out) {
  const auto mesh = sphere(2, 2).mesh();
  scanmesh::CurvatureCache cache(mesh->edge, mesh->face);
  Vec3f above{0, 0, 3};
  _vert* const tip = mesh->vertex.insert_vert(above);
  _vert* const v = mesh->vertex[4];
  auto* const u = const_cast<_vert*>(other_end(v->edge[0], v));
  Vec3f normal{0, 0, 1};
  mesh->insert_face(v, u, tip, normal);
  cache.forget(v->face[v->face_num - 1]);
  expect_as_computed(cache, v, {0.1F, 0, 2.2F});
  expect_as_computed(cache, tip, {0.1F, 0, 3.2F});
}

}  // namespace
