#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "tests/support/hole_shapes.h"

namespace {

using namespace test_support;
using Mesh_R::_edge;
using Mesh_R::_hole;
using std::vector;

// Two squares folded out of one common edge 0-1 with a third: the edge has three faces.
Soup three_wings() {
  return {{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, -1, 0}, {0, 0, 1}},
          {{{0, 1, 2}}, {{1, 0, 3}}, {{0, 1, 4}}}};
}

TEST(RingWalks, PlainWalkTakesTheFirstOpenEdgeInListOrder) {
  const auto mesh = figure_of_eight({1, 2, 0}).mesh();
  mesh->hole.inalize(10, 10);
  const _hole* const ring = mesh->hole.gethole(mesh->edge[0]);
  // From 2-0 by 2 to 1-2, to 1-0; at the junction 0 the other triangle, in list order.
  EXPECT_EQ(edge_numbers(*mesh, ring), (vector<int>{0, 2, 1, 4, 3, 5}));
  EXPECT_EQ(mesh->hole.edge_total, 6);
  for (const _edge* edge : edges_of(ring)) EXPECT_EQ(edge->state, 1);
}

TEST(RingWalks, NonManifoldEdgeServesOnlyWhereNoOpenEdgeOffersItself) {
  const auto mesh = three_wings().mesh();
  _edge* const spine = edge_between(*mesh, 0, 1);
  ASSERT_EQ(spine->face_num, 3);
  mesh->build_hole();
  // The first walk finds open edges all around two wings. For the third wing the spine is what is
  // left to close its ring.
  ASSERT_EQ(ring_lengths(*mesh), (vector<int>{4, 3}));
  const auto first = edges_of(mesh->hole[0]);
  const auto second = edges_of(mesh->hole[1]);
  EXPECT_EQ(std::count(first.begin(), first.end(), spine), 0);
  EXPECT_EQ(second, (vector<_edge*>{edge_between(*mesh, 1, 4), spine, edge_between(*mesh, 0, 4)}));
  EXPECT_TRUE(all_states_default(*mesh));
}

TEST(RingWalks, StateOneEdgesEndAWalk) {
  const auto mesh = flat_grid(2, 1).mesh();
  mesh->hole.inalize(10, 10);
  edge_between(*mesh, 1, 2)->state = 1;
  _edge* const start = edge_between(*mesh, 0, 1);
  const _hole* const ring = mesh->hole.gethole(start);
  // The walk sets out from the start's first vertex.
  EXPECT_EQ(ring->edges->size(), start->vert[0] == mesh->vertex[1] ? 1 : 7);
}

TEST(RingWalks, SmallWalkTakesOneStepLessThanTheLimit) {
  for (const int limit : {-1, 0, 1, 2, 5, 8, 9}) {
    const auto mesh = flat_grid(2, 1).mesh();
    mesh->hole.inalize(10, 10);
    const _hole* const ring = mesh->hole.gethole_smallHole(edge_between(*mesh, 0, 1), limit);
    EXPECT_EQ(ring->edges->size(), std::min(std::max(limit, 1), 8));
    mesh->hole.free();
  }
}

TEST(RingWalks, PlainWalkNeverCompactsItsList) {
  const auto mesh = single_triangle().mesh();
  mesh->hole.inalize(10, 10);
  EXPECT_EQ(mesh->hole.gethole(mesh->edge[0])->edges->block_size, 100);
}

TEST(RingWalks, FanWalkKeepsToOneSheetAtAJunction) {
  const auto mesh = figure_of_eight({1, 2, 0}).mesh();
  mesh->hole.inalize(10, 10);
  float unused[] = {0, 0, 0};
  const _hole* const ring = mesh->hole.gethole_temp_oval(mesh->edge[0], unused);
  EXPECT_EQ(edge_numbers(*mesh, ring), (vector<int>{0, 2, 1}));
}

TEST(RingWalks, FanWalkGoesAroundAHoleInWalkingOrder) {
  const auto mesh = grid_with_hole(5, 2, 3).mesh();
  mesh->hole.inalize(10, 10);
  _edge* const start = edge_between(*mesh, 14, 15);
  const _hole* const ring = mesh->hole.gethole_temp_oval(start, nullptr);
  const auto edges = edges_of(ring);
  ASSERT_EQ(edges.size(), 4U);
  EXPECT_EQ(edges[0], start);
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_TRUE(edges[i]->vert[0] == edges[(i + 1) % 4]->vert[0] ||
                edges[i]->vert[0] == edges[(i + 1) % 4]->vert[1] ||
                edges[i]->vert[1] == edges[(i + 1) % 4]->vert[0] ||
                edges[i]->vert[1] == edges[(i + 1) % 4]->vert[1]);
  }
}

TEST(RingWalks, FanWalkTakesANonManifoldEdgeAsTheRimOfItsSheet) {
  const auto mesh = three_wings().mesh();
  mesh->hole.inalize(10, 10);
  const _hole* const ring = mesh->hole.gethole_temp_oval(edge_between(*mesh, 1, 2), nullptr);
  const auto edges = edges_of(ring);
  ASSERT_EQ(edges.size(), 3U);
  for (const _edge* edge : edges) {
    EXPECT_TRUE(edge == edge_between(*mesh, 0, 1) || edge == edge_between(*mesh, 1, 2) ||
                edge == edge_between(*mesh, 0, 2));
  }
}

TEST(RingWalks, FanWalkFromAnInteriorEdgeOfAClosedFanEnds) {
  const auto mesh = tetrahedron().mesh();
  mesh->hole.inalize(10, 10);
  EXPECT_EQ(mesh->hole.gethole_temp_oval(mesh->edge[0], nullptr)->edges->size(), 1);
}

TEST(RingWalks, ShortListsOfFanAndTrimWalksAreCompactedToTheirLength) {
  const auto mesh = grid_with_hole(5, 2, 3).mesh();
  mesh->hole.inalize(10, 10);
  const _hole* const ring = mesh->hole.gethole_temp_oval(edge_between(*mesh, 14, 15), nullptr);
  EXPECT_EQ(ring->edges->block_size, 4);
  EXPECT_EQ(ring->edges->size(), 4);
  const auto wide = flat_grid(30, 1).mesh();
  wide->hole.inalize(10, 10);
  const _hole* const rim = wide->hole.gethole_temp_oval(edge_between(*wide, 0, 1), nullptr);
  EXPECT_EQ(rim->edges->size(), 120);
  EXPECT_EQ(rim->edges->block_size, 100);
}

TEST(RingWalks, TempWalkStopsWhereTheReferenceLiesBeyondTheApexDirection) {
  // One cell: open edges 0-1, 1-3, 3-2, 2-0; the diagonal is 0-3.
  const auto mesh = flat_grid(1, 1).mesh();
  mesh->hole.inalize(10, 10);
  // The apex direction of 0-1 is (0.5, 1), of 1-3 (-1, -0.5), of 2-3 (-0.5, -1), of 0-2 (1, 0.5).
  float none[] = {0, 0, 0};  // (0 - d) . d is negative everywhere
  EXPECT_EQ(mesh->hole.gethole_temp(edge_between(*mesh, 0, 1), none)->edges->size(), 4);
  mesh->hole.free();
  for (int i = 0; i < mesh->edge.get_edgenum(); ++i) mesh->edge[i]->state = 8;

  mesh->hole.inalize(10, 10);
  _edge* const start = edge_between(*mesh, 0, 1);
  // (reference - d) . d is above 0 for the two left and lower directions and not for 0-2 and 0-1.
  // Measured from the middle of the edge instead, the walk would go on.
  float beyond[] = {-2, -2, 0};
  const _hole* const ring = mesh->hole.gethole_temp(start, beyond);
  const int expected = start->vert[0] == mesh->vertex[0] ? 2 : 1;
  EXPECT_EQ(ring->edges->size(), expected);
}

TEST(RingWalks, BuildingByFansIgnoresTheReferenceAndClearsMarks) {
  const auto mesh = flat_grid(1, 1).mesh();
  mesh->hole.inalize(10, 10);
  float beyond[] = {-2, -2, 0};
  mesh->hole.build_hole_temp(edge_between(*mesh, 0, 1), beyond);
  EXPECT_EQ(ring_lengths(*mesh), vector<int>{4});
  EXPECT_TRUE(all_states_default(*mesh));
  mesh->hole.free();
  mesh->hole.inalize(10, 10);
  mesh->hole.build_hole_temp_oval(edge_between(*mesh, 0, 1), nullptr);
  EXPECT_EQ(ring_lengths(*mesh), vector<int>{4});
  EXPECT_EQ(mesh->hole.edge_total, 4);
}

class TrimWalk : public testing::Test {
 protected:
  void SetUp() override { mesh->hole.inalize(10, 10); }
  void reach(std::initializer_list<int> verts) {
    for (int i : verts) mesh->vertex[i]->reached = true;
  }
  // The start edge, with its first vertex where the walk sets out.
  _edge* start() { return edge_between(*mesh, 14, 20); }

  std::unique_ptr<Mesh_M::Mesh> mesh = grid_with_hole(5, 2, 3).mesh();
  float reference[3] = {2.5F, 2.5F, 0};
};

TEST_F(TrimWalk, FollowsCandidatesAndClearsTheirMarks) {
  reach({14, 15, 20, 21});
  const _hole* const ring = mesh->hole.gethole_trim(start(), 100, reference);
  EXPECT_EQ(ring->edges->size(), 4);
  EXPECT_EQ(ring->edges->block_size, 4);
  int left = 0;
  for (int i : {14, 15, 20, 21}) left += mesh->vertex[i]->reached;
  // The vertex that the walk set out from was reached again; its mark went with the last look.
  EXPECT_EQ(left, 0);
}

TEST_F(TrimWalk, StopsWithoutACandidate) {
  reach({14});
  EXPECT_LE(mesh->hole.gethole_trim(start(), 100, reference)->edges->size(), 2);
}

TEST_F(TrimWalk, StopsWhenTheEdgeTotalExceedsTheMost) {
  reach({14, 15, 20, 21});
  const _hole* const ring = mesh->hole.gethole_trim(start(), 2, reference);
  EXPECT_EQ(ring->edges->size(), 3);
}

TEST_F(TrimWalk, BuildClearsMarksOfTheRing) {
  reach({14, 15, 20, 21});
  mesh->hole.build_hole_trim(start(), 100, reference);
  EXPECT_EQ(ring_lengths(*mesh), vector<int>{4});
  EXPECT_TRUE(all_states_default(*mesh));
}

// A star of single triangles at vertex 0, with the start edge in the first.
struct Fork {
  std::unique_ptr<Mesh_M::Mesh> mesh;
  _edge* start;
};

Fork fork(int ways, const vector<Vec3f>& ends) {
  Soup soup{{{0, 0, 0}, {-1, 0, 0}, {-1, 1, 0}}, {{{1, 2, 0}}}};
  for (int i = 0; i < ways; ++i) {
    const int at = static_cast<int>(soup.points.size());
    soup.points.push_back(ends[static_cast<std::size_t>(i)]);
    soup.points.push_back({ends[static_cast<std::size_t>(i)].x, 0, 5});
    soup.triangles.push_back({0, at, at + 1});
  }
  Fork made{soup.mesh(), nullptr};
  made.mesh->hole.inalize(10, 10);
  made.start = edge_between(*made.mesh, 0, 1);
  if (made.start->vert[0] != made.mesh->vertex[0])
    std::swap(made.start->vert[0], made.start->vert[1]);
  for (int i = 0; i < ways; ++i) made.mesh->vertex[3 + 2 * i]->reached = true;
  return made;
}

TEST(TrimFork, TakesTheWayWithTheLargerAdvance) {
  float reference[] = {10, 0, 0};
  for (const bool first : {true, false}) {
    Fork f = fork(2, {{first ? 1.0F : 0.2F, 1, 0}, {first ? 0.2F : 1.0F, 1, 0}});
    const _hole* const ring = f.mesh->hole.gethole_trim(f.start, 100, reference);
    ASSERT_EQ(ring->edges->size(), 2);
    EXPECT_EQ((*ring->edges)[1], edge_between(*f.mesh, 0, first ? 3 : 5));
    EXPECT_EQ(f.mesh->vertex[3]->reached, !first);
    EXPECT_EQ(f.mesh->vertex[5]->reached, first);
  }
}

TEST(TrimFork, AddsTheLengthsInTheDenominator) {
  // With a product of lengths the first way, straight but short, would win: 1 against 0.89.
  float reference[] = {10, 0, 0};
  Fork f = fork(2, {{1, 0, 0}, {8, 4, 0}});
  const _hole* const ring = f.mesh->hole.gethole_trim(f.start, 100, reference);
  ASSERT_EQ(ring->edges->size(), 2);
  EXPECT_EQ((*ring->edges)[1], edge_between(*f.mesh, 0, 5));
}

TEST(TrimFork, EqualAdvancesTakeTheSecond) {
  float reference[] = {10, 0, 0};
  Fork f = fork(2, {{1, 1, 0}, {1, -1, 0}});
  const _hole* const ring = f.mesh->hole.gethole_trim(f.start, 100, reference);
  EXPECT_EQ((*ring->edges)[1], edge_between(*f.mesh, 0, 5));
}

TEST(TrimFork, ThreeWaysEndTheWalk) {
  float reference[] = {10, 0, 0};
  Fork f = fork(3, {{1, 1, 0}, {1, -1, 0}, {2, 0, 1}});
  EXPECT_EQ(f.mesh->hole.gethole_trim(f.start, 100, reference)->edges->size(), 1);
  EXPECT_TRUE(f.mesh->vertex[3]->reached && f.mesh->vertex[5]->reached);
}

}  // namespace
