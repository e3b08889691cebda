#include <gtest/gtest.h>
#include <omp.h>

#include <algorithm>
#include <map>
#include <memory>

#include "core/platform.h"
#include "tests/support/hole_shapes.h"
#include "tests/support/invariants.h"

namespace {

using namespace test_support;
using Mesh_R::kStateLive;
using Mesh_R::kStateOnePass;
using std::vector;

TEST(RingFinding, ClosedMeshHasNoHoles) {
  const auto mesh = tetrahedron().mesh();
  mesh->build_hole();
  EXPECT_EQ(mesh->get_hole_num(), 0);
}

TEST(RingFinding, SingleTriangleHasOneRingOfThree) {
  const auto mesh = single_triangle().mesh();
  mesh->build_hole();
  EXPECT_EQ(ring_lengths(*mesh), vector<int>{3});
  EXPECT_EQ(mesh->hole[0]->state, 8);
  EXPECT_TRUE(all_states_default(*mesh));
}

TEST(RingFinding, EmptyMeshHasNoHoles) {
  Mesh_M::Mesh mesh;
  mesh.inalize();
  mesh.build_hole();
  EXPECT_EQ(mesh.get_hole_num(), 0);
  mesh.destroy_hole();
  mesh.build_smallhole(10);
  EXPECT_EQ(mesh.get_hole_num(), 0);
}

TEST(RingFinding, MeshWithoutStoresHasNoHoles) {
  Mesh_R::Hole finder;
  finder.inalize(10, 10);
  finder.build_hole();
  finder.build_smallhole(3);
  EXPECT_EQ(finder.hole_count, 0);
}

TEST(RingFinding, RingOfTwoEdgesYieldsNoHoleAndLeavesItsEdgesLive) {
  const auto mesh = single_triangle().mesh();
  // The walk doesn't get past an edge that is marked already.
  mesh->edge[2]->state = kStateOnePass;
  mesh->hole.inalize(100, 100);
  mesh->hole.build_hole(mesh->edge[0]);
  EXPECT_EQ(ring_lengths(*mesh), vector<int>{0});
  EXPECT_EQ(mesh->edge[0]->state, kStateLive);
  EXPECT_EQ(mesh->edge[1]->state, kStateLive);
}

TEST(RingFinding, CheckKeepsThreeEdgesThatCloseOnly) {
  const auto mesh = flat_grid(2, 1).mesh();
  mesh->hole.inalize(100, 100);
  EXPECT_FALSE(mesh->hole.check_hole_reasonable(nullptr));
  Mesh_R::_hole* const ring = mesh->hole.gethole(edge_between(*mesh, 0, 1));
  ASSERT_EQ(ring->edges->size(), 8);
  EXPECT_TRUE(mesh->hole.check_hole_reasonable(ring));
  EXPECT_NE(mesh->hole[0], nullptr);
}

TEST(RingFinding, DroppedChainKeepsItsMarksUntilTheSweep) {
  const auto mesh = flat_grid(2, 1).mesh();
  mesh->hole.inalize(100, 100);
  Mesh_R::_hole* const chain = mesh->hole.gethole_smallHole(edge_between(*mesh, 0, 1), 5);
  const auto edges = edges_of(chain);
  ASSERT_EQ(edges.size(), 5U);
  EXPECT_FALSE(mesh->hole.check_hole_reasonable(chain));
  EXPECT_EQ(mesh->hole[0], nullptr);
  EXPECT_EQ(mesh->hole.hole_count, 1);
  for (const Mesh_R::_edge* edge : edges) EXPECT_EQ(edge->state, kStateOnePass);
  mesh->hole.build_smallhole(3);
  EXPECT_TRUE(all_states_default(*mesh));
}

TEST(RingFinding, DroppedPairIsLiveAgainAtOnce) {
  const auto mesh = flat_grid(2, 1).mesh();
  mesh->hole.inalize(100, 100);
  Mesh_R::_hole* const chain = mesh->hole.gethole_smallHole(edge_between(*mesh, 0, 1), 2);
  EXPECT_EQ(chain->edges->size(), 2);
  EXPECT_FALSE(mesh->hole.check_hole_reasonable(chain));
  EXPECT_TRUE(all_states_default(*mesh));
}

TEST(RingFinding, ChainDroppedBySingleRingSearchLeavesNoMark) {
  const auto mesh = flat_grid(2, 1).mesh();
  mesh->hole.inalize(100, 100);
  // The rim is cut by an edge that counts as walked.
  Mesh_R::_edge* const cut = edge_between(*mesh, 7, 8);
  cut->state = kStateOnePass;
  mesh->hole.build_hole(edge_between(*mesh, 0, 1));
  EXPECT_EQ(ring_lengths(*mesh), vector<int>{0});
  cut->state = kStateLive;
  EXPECT_TRUE(all_states_default(*mesh));
}

TEST(RingFinding, SmallHolesKeepExactlyTheLimit) {
  const auto mesh = grid_with_hole(5, 2, 3).mesh();
  for (const int limit : {3, 4, 19, 20, 21}) {
    mesh->build_smallhole(limit);
    int rings = 0;
    for (const int length : ring_lengths(*mesh)) rings += length > 0;
    EXPECT_EQ(rings, limit < 4 ? 0 : (limit < 20 ? 1 : 2)) << limit;
    EXPECT_TRUE(all_states_default(*mesh));
    mesh->destroy_hole();
  }
}

TEST(RingFinding, SmallHolesOfALimitBelowTwoWalkNothing) {
  const auto mesh = single_triangle().mesh();
  for (const int limit : {-5, 0, 1, 2}) {
    mesh->build_smallhole(limit);
    for (const int length : ring_lengths(*mesh)) EXPECT_EQ(length, 0);
    EXPECT_TRUE(all_states_default(*mesh));
    mesh->destroy_hole();
  }
}

TEST(RingFinding, EdgeTotalCountsTheRingsOfAFullSearchAndOutlivesASmallOne) {
  const auto mesh = grid_with_hole(5, 2, 3).mesh();
  mesh->build_hole();
  EXPECT_EQ(mesh->hole.edge_total, 24);
  mesh->destroy_hole();
  mesh->build_smallhole(4);
  EXPECT_EQ(mesh->hole.edge_total, 24);
  mesh->hole.free();
  mesh->hole.inalize(100, 100);
  mesh->hole.build_hole(edge_between(*mesh, 14, 15));
  EXPECT_EQ(mesh->hole.edge_total, 4);
}

TEST(RingFinding, SingleRingSearchIgnoresNullAndClosedEdges) {
  const auto mesh = flat_grid(2, 1).mesh();
  mesh->hole.inalize(100, 100);
  mesh->hole.build_hole(edge_between(*mesh, 0, 1));
  EXPECT_EQ(ring_lengths(*mesh), vector<int>{8});
  Mesh_R::_hole* const ring = mesh->hole[0];
  mesh->hole.build_hole(static_cast<Mesh_R::_edge*>(nullptr));
  EXPECT_EQ(mesh->hole[0], ring);
  EXPECT_EQ(mesh->get_hole_num(), 1);
  mesh->destroy_hole();
  mesh->hole.inalize(100, 100);
  mesh->hole.build_hole(edge_between(*mesh, 0, 4));
  EXPECT_EQ(mesh->get_hole_num(), 0);
}

TEST(RingFinding, HoleIndexGivesEachEdgeInItsStoredOrder) {
  const auto mesh = single_triangle().mesh();
  mesh->build_hole();
  int n = -1;
  const std::unique_ptr<float[]> data(mesh->get_hole_index(0, n));
  ASSERT_EQ(n, 18);
  const auto edges = edges_of(mesh->hole[0]);
  for (std::size_t i = 0; i < 3; ++i) {
    for (std::size_t k = 0; k < 2; ++k) {
      const Vec3f& p = edges[i]->vert[k]->point;
      EXPECT_EQ(data[6 * i + 3 * k], p.x);
      EXPECT_EQ(data[6 * i + 3 * k + 1], p.y);
      EXPECT_EQ(data[6 * i + 3 * k + 2], p.z);
    }
  }
  // As built: 1-2, then the walk from 1: 0-1, then 0-2.
  EXPECT_EQ(edge_numbers(*mesh, mesh->hole[0]), (vector<int>{0, 2, 1}));
}

TEST(RingFinding, BoundaryIndexListsNonManifoldAndDeletedEdges) {
  const auto mesh = tetrahedron().mesh();
  mesh->refresh_point_index();
  int n = -1;
  std::unique_ptr<int[]> ends(mesh->get_boundary_index(n));
  EXPECT_EQ(n, 0);
  mesh->face.dele_face(mesh->face[0]);
  ends.reset(mesh->get_boundary_index(n));
  EXPECT_EQ(n, 3);
  mesh->face.dele_face(mesh->face[1]);
  ends.reset(mesh->get_boundary_index(n));
  EXPECT_EQ(n, 5);  // the edge that lost both faces is still there

  Soup fan{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, -1, 0}, {0, 0, 1}},
           {{{0, 1, 2}}, {{0, 1, 3}}, {{0, 1, 4}}}};
  const auto folded = fan.mesh();
  folded->refresh_point_index();
  ends.reset(folded->get_boundary_index(n));
  ASSERT_EQ(n, 7);
  bool listed = false;
  for (int i = 0; i < n; ++i) listed = listed || (ends[2 * i] == 0 && ends[2 * i + 1] == 1);
  EXPECT_TRUE(listed);
}

TEST(RingFinding, DestroyedHolesLeaveACountOfZeroAndCanBeBuiltAgain) {
  const auto mesh = grid_with_hole(5, 2, 3).mesh();
  mesh->build_hole();
  EXPECT_EQ(mesh->get_hole_num(), 2);
  mesh->destroy_hole();
  EXPECT_EQ(mesh->get_hole_num(), 0);
  EXPECT_EQ(mesh->hole.last_hole, nullptr);
  mesh->destroy_hole();
  mesh->build_hole();
  EXPECT_EQ(mesh->get_hole_num(), 2);
}

TEST(RingFinding, BuilderAllocatesTheFourListsAnew) {
  const auto mesh = single_triangle().mesh();
  mesh->build_hole();
  EXPECT_EQ(mesh->hole.holes.block_size, 10000);
  EXPECT_EQ(mesh->hole.holes.block_capacity, 100);
  EXPECT_EQ(mesh->hole.added_verts.block_size, 10000);
  EXPECT_EQ(mesh->hole.added_edges.block_size, 10000);
  EXPECT_EQ(mesh->hole.added_faces.block_size, 10000);
  EXPECT_EQ(mesh->hole[0]->edges->block_size, 100);
  EXPECT_EQ(mesh->hole[0]->edges->block_capacity, 1000);
  EXPECT_EQ(mesh->hole[0]->slot, &mesh->hole.holes[0]);
}

TEST(RingFinding, NewFinderHasWideListsWithoutMemory) {
  Mesh_R::Hole finder;
  EXPECT_EQ(finder.holes.block_size, 100000);
  EXPECT_EQ(finder.holes.block_capacity, 1000);
  EXPECT_EQ(finder.holes.block, nullptr);
  EXPECT_EQ(finder.added_faces.block, nullptr);
}

TEST(RingFinding, SweepRunsOnAtLeastFourThreads) {
  const auto mesh = single_triangle().mesh();
  mesh->build_hole();
  EXPECT_EQ(omp_get_max_threads(), std::max(scanmesh::processor_count(), 4));
}

TEST(RingFinding, SweepAlsoClearsMarksThatItDidNotSet) {
  const auto mesh = tetrahedron().mesh();
  mesh->edge[3]->state = kStateOnePass;
  mesh->build_hole();
  EXPECT_EQ(mesh->edge[3]->state, kStateLive);
}

TEST(RingFinding, NonManifoldLookDoesNothing) {
  const auto mesh = single_triangle().mesh();
  vector<Mesh_R::_face*> faces;
  mesh->hole.get_non_manifold(faces, mesh->edge[0]);
  EXPECT_TRUE(faces.empty());
}

TEST(RingFinding, EveryOpenEdgeOfAnIrregularMeshIsInExactlyOneRing) {
  for (const uint64_t seed : {1U, 2U, 3U, 4U, 5U}) {
    const auto mesh = irregular_patch(20, seed).mesh();
    mesh->build_hole();
    std::map<const Mesh_R::_edge*, int> seen;
    for (int i = 0; i < mesh->get_hole_num(); ++i) {
      if (mesh->hole[i] == nullptr) continue;
      for (const Mesh_R::_edge* edge : edges_of(mesh->hole[i])) ++seen[edge];
    }
    for (const auto& entry : seen) {
      EXPECT_EQ(entry.second, 1);
      EXPECT_EQ(entry.first->face_num, 1);
    }
    EXPECT_EQ(static_cast<int>(seen.size()), open_edge_count(*mesh));
    EXPECT_TRUE(all_states_default(*mesh));
    EXPECT_TRUE(adjacency_holds(*mesh));
    mesh->destroy_hole();
  }
}

TEST(RingFinding, SearchEndsWithTheCellBeyondTheLimitOfSmallRings) {
  Soup soup;
  for (int i = 0; i < 100010; ++i) {
    const auto x = static_cast<float>(i);
    soup.points.insert(soup.points.end(), {{x, 0, 0}, {x + 0.5F, 0, 0}, {x, 0.5F, 0}});
    soup.triangles.push_back({3 * i, 3 * i + 1, 3 * i + 2});
  }
  const auto mesh = soup.mesh();
  mesh->build_smallhole(3);
  EXPECT_EQ(mesh->get_hole_num(), 100001);
  EXPECT_TRUE(all_states_default(*mesh));
  mesh->destroy_hole();
  mesh->build_hole();
  EXPECT_EQ(mesh->get_hole_num(), 100010);
}

TEST(RingFinding, SurvivesFacesThatRepeatACorner) {
  Mesh_M::Mesh mesh;
  float points[] = {0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0};
  unsigned char tags[] = {0, 0, 0, 0};
  int corners[] = {0, 0, 1, 0, 1, 2, 1, 1, 1, 1, 3, 2, 2, 3, 3};
  mesh.rebuild(points, 4, tags, corners, 5);
  mesh.build_hole();
  float reference[] = {0, 0, 1};
  const int cells = mesh.get_hole_num();
  EXPECT_GE(cells, 0);
  mesh.destroy_hole();
  for (int i = 0; i < mesh.edge.get_edgenum(); ++i) {
    mesh.hole.inalize(100, 100);
    mesh.hole.build_hole_temp(mesh.edge[i], reference);
    mesh.hole.free();
  }
  EXPECT_TRUE(all_states_default(mesh));
}

}  // namespace
