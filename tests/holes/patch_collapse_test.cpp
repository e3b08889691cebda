#include "holes/patch_collapse.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "tests/support/hole_shapes.h"
#include "tests/support/invariants.h"

namespace {

using namespace test_support;
using Mesh_R::_edge;
using Mesh_R::_vert;
using std::vector;

// A patch of faces made by hand inside a square frame, with all its edges listed.
class Collapse : public testing::Test {
 protected:
  static constexpr int kWith = 10;  // vertices before a collapse

  // Frame corners 0 to 3, and two inner vertices 4 and 5.
  void use(const Vec3f& four, const Vec3f& five) {
    mesh = std::make_unique<Mesh_M::Mesh>();
    mesh->submeshinalize();
    mesh->hole.inalize(100, 10);
    for (Vec3f p : {Vec3f{0, 0, 0}, Vec3f{4, 0, 0}, Vec3f{4, 4, 0}, Vec3f{0, 4, 0}, four, five,
                    Vec3f{2, -9, 0}, Vec3f{9, 2, 0}, Vec3f{2, 9, 0}, Vec3f{-9, 2, 0}}) {
      mesh->vertex.insert_vert(p)->vector = {0, 0, 2};
    }
    const int faces[][3] = {{0, 1, 4}, {1, 5, 4}, {1, 2, 5}, {2, 3, 5}, {3, 4, 5}, {3, 0, 4}};
    for (const auto& f : faces) {
      mesh->hole.add_face(mesh->vertex[f[0]], mesh->vertex[f[1]], mesh->vertex[f[2]], 1);
    }
    // Outer faces, as a ring has them.
    for (int i = 0; i < 4; ++i) {
      mesh->hole.add_new_face(mesh->vertex[(i + 1) % 4], mesh->vertex[i], mesh->vertex[6 + i]);
    }
    for (int i = 0; i < 4; ++i) mesh->vertex[i]->state = -8;
    mesh->hole.edge_total = 100;
  }
  int listed(int a, int b) {
    const auto edges = entries_of(mesh->hole.added_edges);
    const auto found = std::find(edges.begin(), edges.end(), edge_between(*mesh, a, b));
    return static_cast<int>(found - edges.begin());
  }

  std::unique_ptr<Mesh_M::Mesh> mesh;
};

TEST_F(Collapse, ShortEdgeBecomesAVertexAtItsSecondEnd) {
  use({1.9F, 2, 0}, {2.1F, 2, 0});
  const _edge* const edge = edge_between(*mesh, 4, 5);
  const Vec3f kept = edge->vert[1]->point;
  _vert* const second = edge->vert[1];
  scanmesh::collapse_short_edges(mesh->hole, 1.0);
  EXPECT_EQ(mesh->vertex[4]->state, 3);
  EXPECT_EQ(mesh->vertex[5]->state, 3);
  ASSERT_EQ(mesh->vertex.get_vertnum(), kWith + 1);
  const _vert* const merged = mesh->vertex[kWith];
  EXPECT_EQ(merged->point.x, kept.x);
  EXPECT_EQ(merged->vector.z, 1.0F);
  EXPECT_EQ(second->vector.z, 1.0F);
  EXPECT_EQ(entries_of(mesh->hole.added_verts), vector<_vert*>{mesh->vertex[kWith]});
  EXPECT_EQ(mesh->face.real_num, 8);
  for (int i = 0; i < 4; ++i) mesh->vertex[i]->state = 8;
  EXPECT_TRUE(adjacency_holds(*mesh));
  EXPECT_EQ(odd_edge_count(*mesh), 8);
}

TEST_F(Collapse, ZeroNormalBecomesUp) {
  use({1.9F, 2, 0}, {2.1F, 2, 0});
  mesh->vertex[4]->vector = mesh->vertex[5]->vector = {0, 0, 0};
  scanmesh::collapse_short_edges(mesh->hole, 1.0);
  EXPECT_EQ(mesh->vertex[kWith]->vector.z, 1.0F);
  EXPECT_EQ(edge_between(*mesh, 0, 1)->state, 8);
}

TEST_F(Collapse, EdgeOfHalfTheTargetStays) {
  use({1.5F, 2, 0}, {2.5F, 2, 0});
  // Only this edge is looked at; the corner across from it has 37 degrees.
  _edge* const edge = edge_between(*mesh, 4, 5);
  mesh->vertex[1]->point = {2, 0.5F, 0};
  mesh->hole.added_edges.clear_mem();
  mesh->hole.added_edges.allocate_mem() = edge;
  scanmesh::collapse_short_edges(mesh->hole, 2.0);
  EXPECT_EQ(mesh->vertex.get_vertnum(), kWith);
  scanmesh::collapse_short_edges(mesh->hole, 2.001);
  EXPECT_EQ(mesh->vertex.get_vertnum(), kWith + 1);
}

TEST_F(Collapse, BoundIsTheEdgeTotalUntilTheFirstCollapse) {
  use({1.9F, 2, 0}, {2.1F, 2, 0});
  mesh->hole.edge_total = listed(4, 5);
  scanmesh::collapse_short_edges(mesh->hole, 1.0);
  EXPECT_EQ(mesh->vertex.get_vertnum(), kWith);
  mesh->hole.edge_total = listed(4, 5) + 1;
  scanmesh::collapse_short_edges(mesh->hole, 1.0);
  EXPECT_EQ(mesh->vertex.get_vertnum(), kWith + 1);
}

TEST_F(Collapse, BoundBeyondTheListAndAnEmptyListAreFine) {
  use({1.9F, 2, 0}, {2.1F, 2, 0});
  mesh->hole.edge_total = 1000000;
  scanmesh::collapse_short_edges(mesh->hole, 1.0);
  EXPECT_EQ(mesh->vertex.get_vertnum(), kWith + 1);
  mesh->hole.added_edges.clear_mem();
  scanmesh::collapse_short_edges(mesh->hole, 1000.0);
  EXPECT_EQ(mesh->vertex.get_vertnum(), kWith + 1);
}

TEST_F(Collapse, EdgesWithMarksOrProtectedEndsArePassedOver) {
  for (const int state : {-8, 3, 12}) {
    use({1.9F, 2, 0}, {2.1F, 2, 0});
    _edge* const edge = edge_between(*mesh, 4, 5);
    edge->state = static_cast<int16_t>(state);
    scanmesh::collapse_short_edges(mesh->hole, 1.0);
    EXPECT_EQ(mesh->vertex.get_vertnum(), kWith) << state;
  }
  use({1.9F, 2, 0}, {2.1F, 2, 0});
  edge_between(*mesh, 4, 5)->state = 11;
  scanmesh::collapse_short_edges(mesh->hole, 1.0);
  EXPECT_EQ(mesh->vertex.get_vertnum(), kWith + 1);
  use({1.9F, 2, 0}, {2.1F, 2, 0});
  mesh->vertex[4]->state = -8;
  scanmesh::collapse_short_edges(mesh->hole, 1.0);
  EXPECT_EQ(mesh->vertex.get_vertnum(), kWith);
  use({1.9F, 2, 0}, {2.1F, 2, 0});
  edge_between(*mesh, 4, 5)->face_cap = 0;
  scanmesh::collapse_short_edges(mesh->hole, 1.0);
  EXPECT_EQ(mesh->vertex.get_vertnum(), kWith);
  edge_between(*mesh, 4, 5)->face_cap = 2;
}

TEST_F(Collapse, SharpCornerAcrossInTheFirstFaceCollapsesALongEdge) {
  // The first face of 4-5 is (1, 5, 4): its corner at 1 is what counts.
  for (const double degrees : {29.0, 31.0}) {
    const double half = degrees / 2 * 3.141592653589793 / 180;
    // Vertices 4 and 5 at a distance of 2 from corner 1 at (4, 0), around the diagonal.
    const double middle = 3 * 3.141592653589793 / 4;
    const auto at = [middle](double turn) {
      return Vec3f{static_cast<float>(4 + 2 * std::cos(middle + turn)),
                   static_cast<float>(2 * std::sin(middle + turn)), 0};
    };
    use(at(half), at(-half));
    ASSERT_EQ(edge_between(*mesh, 4, 5)->face[0], mesh->face[1]);
    // Only this edge is looked at.
    const auto edges = entries_of(mesh->hole.added_edges);
    mesh->hole.added_edges.clear_mem();
    mesh->hole.added_edges.allocate_mem() = edge_between(*mesh, 4, 5);
    mesh->hole.edge_total = 1;
    scanmesh::collapse_short_edges(mesh->hole, 0.1);
    EXPECT_EQ(mesh->vertex.get_vertnum() > kWith, degrees < 30) << degrees;
  }
}

TEST_F(Collapse, SecondFaceDoesNotCount) {
  const Vec3f four{1.6F, 1.2F, 0};
  const Vec3f five{2.1F, 1.2F, 0};
  use(four, five);
  _edge* const edge = edge_between(*mesh, 4, 5);
  // Seen from 1 the corner is wide, from 3 it is a needle.
  ASSERT_EQ(edge->face[0], mesh->face[1]);
  mesh->vertex[1]->point = {1.9F, 0.9F, 0};
  mesh->hole.added_edges.clear_mem();
  mesh->hole.added_edges.allocate_mem() = edge;
  mesh->hole.edge_total = 1;
  scanmesh::collapse_short_edges(mesh->hole, 0.1);
  EXPECT_EQ(mesh->vertex.get_vertnum(), kWith);
  std::swap(edge->face[0], edge->face[1]);
  scanmesh::collapse_short_edges(mesh->hole, 0.1);
  EXPECT_EQ(mesh->vertex.get_vertnum(), kWith + 1);
}

TEST_F(Collapse, EdgeWithoutFacesTakesTheCornerOfTheEdgeBefore) {
  use({1.6F, 1.2F, 0}, {2.1F, 1.2F, 0});
  Vec3f place{9, 9, 9};
  _vert* const p = mesh->vertex.insert_vert(place);
  place.x = 19;
  _vert* const q = mesh->vertex.insert_vert(place);
  _edge* lone = nullptr;
  mesh->hole.get_edge(lone, p, q);
  // A needle that is protected doesn't count; alone, the bare edge has the corner 0 of the start.
  mesh->hole.added_edges.clear_mem();
  mesh->hole.added_edges.allocate_mem() = lone;
  mesh->hole.edge_total = 1;
  scanmesh::collapse_short_edges(mesh->hole, 0.1);
  EXPECT_EQ(mesh->vertex.get_vertnum(), kWith + 2);
  // After a needle it is collapsed as well: a vertex without faces at its second end.
  _edge* const needle = edge_between(*mesh, 4, 5);
  std::swap(needle->face[0], needle->face[1]);
  mesh->hole.added_edges.clear_mem();
  mesh->hole.added_edges.allocate_mem() = needle;
  mesh->hole.added_edges.allocate_mem() = lone;
  mesh->hole.edge_total = 2;
  scanmesh::collapse_short_edges(mesh->hole, 0.1);
  EXPECT_GE(mesh->vertex.get_vertnum(), kWith + 4);
}

}  // namespace
