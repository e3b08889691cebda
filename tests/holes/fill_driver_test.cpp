#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>

#include "holes/fill_driver.h"
#include "holes/neighbourhood.h"
#include "holes/rbf_projection.h"
#include "tests/support/hole_shapes.h"
#include "tests/support/invariants.h"

namespace {

using namespace test_support;
using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;
using std::vector;

struct ScaleCase {
  double s;
  int rings, smooth, rings2, smooth2;
};

// The float whose double is the spacing asked for, or the neighbour below.
float half_of(double s, bool below) {
  const auto value = static_cast<float>(s);
  return 0.5F * (below ? std::nextafterf(value, 0.0F) : value);
}

void expect_scale(float f, const ScaleCase& row) {
  const scanmesh::FillScale scale = scanmesh::fill_scale(f);
  EXPECT_EQ(scale.rings, row.rings) << row.s;
  EXPECT_EQ(scale.smooth, row.smooth) << row.s;
  EXPECT_EQ(scale.rings2, row.rings2) << row.s;
  EXPECT_EQ(scale.smooth2, row.smooth2) << row.s;
}

TEST(FillScale, RowsFollowTheSpacing) {
  for (const ScaleCase& row :
       {ScaleCase{0.05, 35, 25, 6, 8}, ScaleCase{0.15, 15, 15, 6, 8}, ScaleCase{0.25, 6, 3, 6, 8},
        ScaleCase{0.35, 6, 3, 3, 2}, ScaleCase{0.5, 4, 2, 3, 2}, ScaleCase{2.0, 3, 1, 2, 1},
        ScaleCase{20.0, 0, 3, 0, 3}, ScaleCase{-1.0, 35, 25, 6, 8}}) {
    expect_scale(static_cast<float>(row.s / 2), row);
  }
}

TEST(FillScale, ThresholdsFallToTheNextRow) {
  // The nearest floats of 0.1, 0.61 and 0.3 lie above these numbers; those of 0.21 and 0.41 below.
  expect_scale(half_of(0.1, false), {0.1, 15, 15, 6, 8});
  expect_scale(half_of(0.1, true), {0.1, 35, 25, 6, 8});
  expect_scale(half_of(0.21, false), {0.21, 15, 15, 6, 8});
  expect_scale(std::nextafterf(half_of(0.21, false), 1.0F), {0.21, 6, 3, 6, 8});
  expect_scale(half_of(0.3, false), {0.3, 6, 3, 3, 2});
  expect_scale(half_of(0.3, true), {0.3, 6, 3, 6, 8});
  expect_scale(half_of(0.41, false), {0.41, 6, 3, 3, 2});
  expect_scale(std::nextafterf(half_of(0.41, false), 1.0F), {0.41, 4, 2, 3, 2});
  expect_scale(half_of(0.61, false), {0.61, 3, 1, 2, 1});
  expect_scale(half_of(0.61, true), {0.61, 4, 2, 3, 2});
  expect_scale(5.0F, {10.0, 0, 3, 0, 3});
  expect_scale(std::nextafterf(5.0F, 0.0F), {10.0, 3, 1, 2, 1});
}

TEST(FillScale, SumRoundsToFloat) {
  expect_scale(std::numeric_limits<float>::max(), {1e39, 0, 3, 0, 3});
}

TEST(AnchorStride, ZeroBecomesOneAndOneBecomesTwo) {
  EXPECT_EQ(scanmesh::anchor_stride(0), 1);
  EXPECT_EQ(scanmesh::anchor_stride(299), 1);
  EXPECT_EQ(scanmesh::anchor_stride(300), 2);
  EXPECT_EQ(scanmesh::anchor_stride(599), 2);
  EXPECT_EQ(scanmesh::anchor_stride(600), 2);
  EXPECT_EQ(scanmesh::anchor_stride(900), 3);
  EXPECT_EQ(scanmesh::anchor_stride(30000), 100);
}

TEST(LaplacianHoleVert, ReadsPositionsOfItsOwnRoundOnly) {
  const auto mesh = irregular_patch(8, 3).mesh();
  const auto plain = irregular_patch(8, 3).mesh();
  vector<_vert*> verts;
  for (int i = 10; i < 50; ++i) {
    if (mesh->vertex[i]->edge_num > 0) verts.push_back(mesh->vertex[i]);
  }
  scanmesh::laplacian_hole_vert(verts, 3);
  for (int round = 0; round < 3; ++round) {
    vector<Vec3f> means;
    for (const _vert* v : verts) {
      const _vert* const p = plain->vertex[mesh->vertex.get_vert_no(const_cast<_vert*>(v))];
      double sum[3] = {0, 0, 0};
      for (int k = 0; k < p->edge_num; ++k) {
        const _vert* const far =
            p->edge[k]->vert[0] == p ? p->edge[k]->vert[1] : p->edge[k]->vert[0];
        sum[0] += far->point.x;
        sum[1] += far->point.y;
        sum[2] += far->point.z;
      }
      means.push_back({static_cast<float>(sum[0] / p->edge_num),
                       static_cast<float>(sum[1] / p->edge_num),
                       static_cast<float>(sum[2] / p->edge_num)});
    }
    for (std::size_t i = 0; i < verts.size(); ++i) {
      plain->vertex[mesh->vertex.get_vert_no(verts[i])]->point = means[i];
    }
  }
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) {
    EXPECT_EQ(mesh->vertex[i]->point.x, plain->vertex[i]->point.x);
    EXPECT_EQ(mesh->vertex[i]->point.z, plain->vertex[i]->point.z);
  }
}

class PatchFill : public testing::Test {
 protected:
  void SetUp() override {
    mesh->build_hole();
    ASSERT_EQ(mesh->get_hole_num(), 1);
    before = mesh->face.real_num;
    first_vertex = mesh->vertex.get_vertnum();
    first_face = mesh->face.get_facenum();
    for (int i = 0; i < first_vertex; ++i) points.push_back(mesh->vertex[i]->point);
  }

  void expect_untouched_positions() {
    for (std::size_t i = 0; i < points.size(); ++i) {
      const Vec3f& p = mesh->vertex[static_cast<int>(i)]->point;
      ASSERT_TRUE(p.x == points[i].x && p.y == points[i].y && p.z == points[i].z);
    }
  }

  std::unique_ptr<Mesh_M::Mesh> mesh = capped_sphere(4, 10.0F, 6.0F).mesh();
  int before = 0;
  int first_vertex = 0;
  int first_face = 0;
  vector<Vec3f> points;
};

TEST_F(PatchFill, ClosesTheHoleAndMovesNothing) {
  mesh->fill_hole_No(0, 0.3F);
  EXPECT_EQ(odd_edge_count(*mesh), 0);
  EXPECT_GT(mesh->face.real_num, before);
  EXPECT_TRUE(adjacency_holds(*mesh));
  EXPECT_TRUE(all_states_default(*mesh));
  expect_untouched_positions();
  EXPECT_EQ(mesh->hole.last_hole, mesh->hole[0]);
}

TEST_F(PatchFill, ContinuesTheSphereOutwards) {
  mesh->fill_hole_No(0, 0.3F);
  ASSERT_GT(mesh->vertex.get_vertnum(), first_vertex);
  ASSERT_GT(mesh->face.get_facenum(), first_face);
  for (int i = first_vertex; i < mesh->vertex.get_vertnum(); ++i) {
    const Vec3f& p = mesh->vertex[i]->point;
    EXPECT_NEAR(std::sqrt(p.x * p.x + p.y * p.y + p.z * p.z), 10.0, 0.5);
  }
  for (int i = first_face; i < mesh->face.get_facenum(); ++i) {
    const _face* const face = mesh->face[i];
    const Vec3f& p = face->vert[0]->point;
    EXPECT_GT(p.x * face->vector.x + p.y * face->vector.y + p.z * face->vector.z, 8);
  }
}

TEST_F(PatchFill, RevokingTakesTheFillBack) {
  mesh->fill_hole_No(0, 0.3F);
  const int added = mesh->vertex.get_vertnum() - first_vertex;
  ASSERT_GT(added, 0);
  mesh->Revoked_fill_hole();
  EXPECT_EQ(mesh->face.real_num, before);
  for (int i = first_vertex; i < mesh->vertex.get_vertnum(); ++i) {
    EXPECT_EQ(mesh->vertex[i]->state, Mesh_R::kStateDeleted);
  }
  EXPECT_EQ(open_edge_count(*mesh), mesh->hole[0]->edges->size());
  EXPECT_TRUE(adjacency_holds(*mesh));
  EXPECT_EQ(mesh->hole.last_hole, mesh->hole[0]);
}

TEST_F(PatchFill, SecondRevokingChangesNothing) {
  mesh->fill_hole_No(0, 0.3F);
  mesh->Revoked_fill_hole();
  const int edges = open_edge_count(*mesh);
  mesh->Revoked_fill_hole();
  EXPECT_EQ(mesh->face.real_num, before);
  EXPECT_EQ(open_edge_count(*mesh), edges);
}

TEST_F(PatchFill, RevokedHoleCanBeFilledAgain) {
  mesh->fill_hole_No(0, 0.3F);
  mesh->Revoked_fill_hole();
  mesh->fill_hole_No(0, 0.3F);
  EXPECT_EQ(odd_edge_count(*mesh), 0);
  EXPECT_TRUE(adjacency_holds(*mesh));
}

TEST_F(PatchFill, FreeEndsTheChanceToRevoke) {
  mesh->fill_hole_No(0, 0.3F);
  const int filled = mesh->face.real_num;
  mesh->destroy_hole();
  mesh->Revoked_fill_hole();
  EXPECT_EQ(mesh->face.real_num, filled);
}

TEST_F(PatchFill, AddedFacesAreReported) {
  mesh->fill_hole_No(0, 0.3F);
  int n = -1;
  const std::unique_ptr<float[]> data(mesh->return_add_face_data(n));
  ASSERT_EQ(n, 12 * (mesh->face.real_num - before));
  const _face* const face = mesh->face[first_face];
  EXPECT_EQ(data[0], face->vector.x);
  EXPECT_EQ(data[2], face->vector.z);
  EXPECT_EQ(data[3], face->vert[0]->point.x);
  EXPECT_EQ(data[11], face->vert[2]->point.z);
}

TEST_F(PatchFill, ScaleDoesNotShapeThePatch) {
  mesh->fill_hole_No(0, 0.04F);
  const auto other = capped_sphere(4, 10.0F, 6.0F).mesh();
  other->build_hole();
  other->fill_hole_No(0, 100.0F);
  ASSERT_EQ(mesh->vertex.get_vertnum(), other->vertex.get_vertnum());
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) {
    EXPECT_EQ(mesh->vertex[i]->point.x, other->vertex[i]->point.x);
    EXPECT_EQ(mesh->vertex[i]->point.y, other->vertex[i]->point.y);
  }
}

TEST_F(PatchFill, ScaleDecidesWhoseNormalsAreNormalised) {
  for (int i = 0; i < first_vertex; ++i) {
    Vec3f& n = mesh->vertex[i]->vector;
    n = {2 * n.x, 2 * n.y, 2 * n.z};
  }
  mesh->vertex[0]->vector = {0, 0, 0};
  // Spacing 0.5: four rings, thinned by nothing as long as they hold under 300 vertices.
  const vector<_vert*> around = scanmesh::vertices_around(mesh->hole[0], 4);
  ASSERT_GE(around.size(), 120U);
  ASSERT_LT(around.size(), 300U);
  const std::set<const _vert*> within(around.begin(), around.end());
  mesh->fill_hole_No(0, 0.25F);
  for (int i = 1; i < first_vertex; ++i) {
    if (mesh->vertex[i]->face_num == 0) continue;
    const Vec3f& n = mesh->vertex[i]->vector;
    const double length = std::sqrt(static_cast<double>(n.x * n.x + n.y * n.y + n.z * n.z));
    EXPECT_NEAR(length, within.count(mesh->vertex[i]) != 0 ? 1.0 : 2.0, 1e-5);
  }
}

TEST_F(PatchFill, FewAnchorsFallBackToAThinnedNeighbourhoodOfTheThirdArgument) {
  // Spacing of 10 and more: the ring's vertices alone, which are under 120.
  for (int i = 0; i < first_vertex; ++i) mesh->vertex[i]->vector = {0, 0, 3};
  const vector<_vert*> base = scanmesh::thinned(scanmesh::vertices_around(mesh->hole[0], 2), 2);
  const std::set<const _vert*> within(base.begin(), base.end());
  const vector<_vert*> ring_list = scanmesh::vertices_around(mesh->hole[0], 1);
  const std::set<const _vert*> ring(ring_list.begin(), ring_list.end());
  Mesh_R::HoleAccess::fill_num(mesh->hole, 7.0F, 0, 1);
  EXPECT_GT(mesh->face.real_num, before);
  int normalised = 0;
  for (int i = 0; i < first_vertex; ++i) {
    if (ring.count(mesh->vertex[i]) != 0) continue;  // has a patch normal
    const bool anchor = within.count(mesh->vertex[i]) != 0;
    EXPECT_EQ(mesh->vertex[i]->vector.z, anchor ? 1.0F : 3.0F);
    normalised += anchor ? 1 : 0;
  }
  EXPECT_GT(normalised, 0);
}

TEST_F(PatchFill, NextFillCommitsTheLast) {
  mesh->fill_hole_No(0, 0.3F);
  const int filled = mesh->face.real_num;
  mesh->vertex[first_vertex]->state = Mesh_R::kStateHighCurvature;
  mesh->hole.Determine_fill_hole();
  EXPECT_EQ(mesh->hole.last_hole, nullptr);
  EXPECT_EQ(mesh->vertex[first_vertex]->state, 8);
  EXPECT_EQ(mesh->hole.added_faces.size(), 0);
  EXPECT_EQ(mesh->hole.added_verts.size(), 0);
  mesh->Revoked_fill_hole();
  EXPECT_EQ(mesh->face.real_num, filled);
}

TEST_F(PatchFill, RefusedRingLeavesTheHoleWithLastHoleSet) {
  // A ring that passes a point twice is refused.
  Mesh_R::_hole* const ring = mesh->hole[0];
  (*ring->edges)[1] = (*ring->edges)[0];
  (*ring->edges)[2] = (*ring->edges)[0];
  mesh->fill_hole_No(0, 0.3F);
  EXPECT_EQ(mesh->face.real_num, before);
  EXPECT_EQ(mesh->hole.last_hole, ring);
  EXPECT_EQ(mesh->hole.added_faces.size(), 0);
}

TEST(PatchFillCell, EmptyCellIsLeftAlone) {
  const auto mesh = figure_of_eight({1, 2, 0}).mesh();
  mesh->build_hole();
  ASSERT_EQ(mesh->hole[0], nullptr);
  mesh->fill_hole_No(0, 0.3F);
  mesh->hole.fill_Hole_No(0.3F, 0, 3);
  EXPECT_EQ(mesh->face.real_num, 2);
  EXPECT_EQ(mesh->hole.last_hole, nullptr);
}

class OwnFill : public PatchFill {};

TEST_F(OwnFill, ClosesTheHoleWithListedRecords) {
  mesh->hole.fill_Hole_No(0.3F, 0, 3);
  EXPECT_EQ(odd_edge_count(*mesh), 0);
  EXPECT_TRUE(adjacency_holds(*mesh));
  EXPECT_TRUE(all_states_default(*mesh));
  int listed = 0;
  for (_face* face : entries_of(mesh->hole.added_faces)) listed += face->state != 3;
  EXPECT_EQ(listed, mesh->face.real_num - before);
}

TEST_F(OwnFill, FollowsTheSphere) {
  mesh->hole.fill_Hole_No(0.3F, 0, 3);
  double worst = 0;
  for (int i = first_vertex; i < mesh->vertex.get_vertnum(); ++i) {
    if (mesh->vertex[i]->state == 3) continue;
    const Vec3f& p = mesh->vertex[i]->point;
    worst = std::max(worst, std::fabs(std::sqrt(p.x * p.x + p.y * p.y + p.z * p.z) - 10.0));
  }
  EXPECT_LT(worst, 0.35);
  for (int i = first_face; i < mesh->face.get_facenum(); ++i) {
    const _face* const face = mesh->face[i];
    if (face->state == 3) continue;
    const double n = std::sqrt(static_cast<double>(face->vector.x * face->vector.x +
                                                   face->vector.y * face->vector.y +
                                                   face->vector.z * face->vector.z));
    EXPECT_NEAR(n, 1.0, 1e-5);
  }
}

TEST(OwnFillOfARoughRing, EveryNewVertexLiesOnTheSurfaceThroughTheSmoothedNeighbourhood) {
  const Soup soup = noisy(capped_sphere(4, 10.0F, 6.0F), 0.2F, 12);
  const auto mesh = soup.mesh();
  const auto plain = soup.mesh();
  mesh->build_hole();
  plain->build_hole();
  // Spacing 0.6: four rings, two rounds.
  const vector<_vert*> around = scanmesh::vertices_around(plain->hole[0], 4);
  scanmesh::laplacian_hole_vert(around, 2);
  const vector<_vert*> base = scanmesh::thinned(around, scanmesh::anchor_stride(around.size()));
  ASSERT_GE(base.size(), 120U);
  vector<Vec3f> on;
  vector<Vec3f> off;
  for (const _vert* v : base) {
    on.push_back(v->point);
    off.push_back({v->point.x + 0.2F * v->vector.x, v->point.y + 0.2F * v->vector.y,
                   v->point.z + 0.2F * v->vector.z});
  }
  mesh->hole.edge_total = 100000;  // as if the search had found many rings: short edges collapse
  mesh->hole.fill_Hole_No(0.3F, 0, 3);
  vector<Vec3f> places;
  for (const _vert* v : entries_of(mesh->hole.added_verts)) {
    if (v->state != Mesh_R::kStateDeleted) places.push_back(v->point);
  }
  ASSERT_GT(places.size(), 50U);
  // Refinement has deleted some of the list, also near its head.
  ASSERT_LT(static_cast<int>(places.size()), mesh->hole.added_verts.size());
  vector<Vec3f> projected = places;
  int n = static_cast<int>(places.size());
  scanmesh::RbfContext context;
  scanmesh::rbf_project_vert(context, on.data(), off.data(), static_cast<int>(on.size()),
                             projected.data(), n);
  ASSERT_EQ(n, static_cast<int>(places.size()));
  for (std::size_t i = 0; i < places.size(); ++i) {
    EXPECT_NEAR(projected[i].x, places[i].x, 2e-3);
    EXPECT_NEAR(projected[i].y, places[i].y, 2e-3);
    EXPECT_NEAR(projected[i].z, places[i].z, 2e-3);
  }
}

TEST_F(OwnFill, RingMovesWithTheSecondNeighbourhoodOnly) {
  const auto plain = capped_sphere(4, 10.0F, 6.0F).mesh();
  plain->build_hole();
  // Spacing 0.6: two rounds over three rings.
  scanmesh::laplacian_hole_vert(scanmesh::vertices_around(plain->hole[0], 3), 2);
  mesh->hole.fill_Hole_No(0.3F, 0, 3);
  for (int i = 0; i < first_vertex; ++i) {
    const Vec3f& p = mesh->vertex[i]->point;
    const Vec3f& q = plain->vertex[i]->point;
    ASSERT_TRUE(p.x == q.x && p.y == q.y && p.z == q.z) << i;
  }
}

TEST_F(OwnFill, CanBeRevoked) {
  mesh->hole.fill_Hole_No(0.3F, 0, 3);
  mesh->Revoked_fill_hole();
  EXPECT_EQ(mesh->face.real_num, before);
  EXPECT_TRUE(adjacency_holds(*mesh));
  for (int i = first_vertex; i < mesh->vertex.get_vertnum(); ++i) {
    EXPECT_EQ(mesh->vertex[i]->state, Mesh_R::kStateDeleted);
  }
}

TEST_F(OwnFill, TooManyAnchorsLeaveThePatchRelaxed) {
  // Forty rings around give more than 3000 anchors on a fine sphere, and the projection refuses.
  const auto fine = capped_sphere(6, 10.0F, 9.8F).mesh();
  fine->build_hole();
  const std::size_t base =
      scanmesh::thinned(scanmesh::vertices_around(fine->hole[0], 61), 2).size();
  ASSERT_GT(base, 3000U);
  const int first = fine->vertex.get_vertnum();
  fine->hole.fill_Hole_No(10.0F, 0, 60);
  EXPECT_EQ(odd_edge_count(*fine), 0);
  for (int i = first; i < fine->vertex.get_vertnum(); ++i) {
    // Relaxed over a flat polygon, so below the sphere.
    const Vec3f& p = fine->vertex[i]->point;
    if (fine->vertex[i]->state == 3) continue;
    EXPECT_LT(p.z, 9.95F);
  }
}

TEST(Fills, EveryRingOfIrregularMeshesLeavesTheMeshSound) {
  for (const bool own : {false, true}) {
    for (const uint64_t seed : {1U, 2U, 3U, 4U, 5U, 6U}) {
      const auto mesh = irregular_patch(14, seed).mesh();
      mesh->build_hole();
      int rings = 0;
      int filled = 0;
      for (int i = 0; i < mesh->get_hole_num(); ++i) {
        if (mesh->hole[i] == nullptr) continue;
        const int before = mesh->face.real_num;
        if (own) {
          mesh->hole.fill_Hole_No(0.6F, i, 3);
        } else {
          mesh->fill_hole_No(i, 0.6F);
        }
        ++rings;
        filled += mesh->face.real_num > before ? 1 : 0;
        ASSERT_TRUE(adjacency_holds(*mesh)) << seed << " ring " << i;
        ASSERT_TRUE(all_states_default(*mesh)) << seed << " ring " << i;
      }
      EXPECT_GT(rings, 1) << seed;
      // A ring that visits a vertex twice is refused.
      EXPECT_GE(filled, rings - 1) << seed;
    }
  }
}

TEST(Fills, SurviveWildCoordinates) {
  for (const float wild : {1e30F, 1e38F, -3e38F, 1e-30F}) {
    for (const bool own : {false, true}) {
      Soup soup = grid_with_hole(5, 2, 3);
      soup.points[14].z = wild;
      soup.points[21].x = wild;
      const auto mesh = soup.mesh();
      mesh->build_hole();
      for (int i = 0; i < mesh->get_hole_num(); ++i) {
        if (mesh->hole[i] == nullptr) continue;
        if (own) {
          mesh->hole.fill_Hole_No(0.6F, i, 3);
        } else {
          mesh->fill_hole_No(i, 0.6F);
        }
      }
      EXPECT_TRUE(adjacency_holds(*mesh));
      EXPECT_TRUE(all_states_default(*mesh));
    }
  }
}

}  // namespace
