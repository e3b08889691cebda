#include <gtest/gtest.h>

#include <set>

#include "scanmesh/mesh.h"
#include "tests/support/invariants.h"
#include "tests/support/mesh_access.h"
#include "tests/support/shapes.h"

namespace {

using namespace test_support;
using Mesh_M::MeshAccess;
using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;

_edge* edge_at(_face* face, const _vert* v) {
  for (_edge* e : face->edge) {
    if (e->vert[0] == v || e->vert[1] == v) return e;
  }
  return nullptr;
}

TEST(VertexFan, goes_once_round_an_inner_vertex) {
  const auto mesh = flat_grid(2, 1).mesh();
  _vert* const middle = mesh->vertex[4];
  _face* face = middle->face[0];
  _edge* edge = edge_at(face, middle);
  const _face* const start = face;
  std::set<_vert*> met;
  int steps = 0;
  do {
    _vert* const next = MeshAccess::next_vert(*mesh, middle, edge, face);
    ASSERT_NE(next, nullptr);
    EXPECT_TRUE(met.insert(next).second);
    ++steps;
  } while (face != start && steps < 20);
  EXPECT_EQ(steps, middle->face_num);
  EXPECT_EQ(static_cast<int>(met.size()), middle->edge_num);
}

TEST(VertexFan, stops_at_a_boundary_edge_with_the_edge_moved_already) {
  const auto mesh = single_triangle().mesh();
  _vert* const v = mesh->vertex[0];
  _face* face = mesh->face[0];
  _edge* const first = edge_at(face, v);
  _edge* edge = first;
  EXPECT_EQ(MeshAccess::next_vert(*mesh, v, edge, face), nullptr);
  EXPECT_NE(edge, first);
  EXPECT_TRUE(edge->vert[0] == v || edge->vert[1] == v);
  EXPECT_EQ(face, mesh->face[0]);
}

TEST(VertexFan, has_no_step_in_a_face_that_lacks_the_vertex) {
  const auto mesh = flat_grid(2, 1).mesh();
  _face* face = mesh->face[0];
  _edge* edge = face->edge[0];
  EXPECT_EQ(MeshAccess::next_vert(*mesh, mesh->vertex[8], edge, face), nullptr);
  EXPECT_EQ(edge, face->edge[0]);
}

TEST(BorderPoint, leaves_the_mesh_as_it_is) {
  const auto mesh = flat_grid(1, 1).mesh();
  _edge* const edge = mesh->edge[0];
  EXPECT_EQ(MeshAccess::border_add_point(*mesh, edge, mesh->vertex[0]), edge);
  EXPECT_EQ(mesh->vertex.get_vertnum(), 4);
  EXPECT_TRUE(adjacency_holds(*mesh));
}

}  // namespace
