#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <set>

#include "tests/support/hole_shapes.h"

namespace {

using namespace test_support;
using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;
using std::vector;

vector<int> numbers(Mesh_M::Mesh& mesh, _vert** verts, int n) {
  vector<int> out;
  for (int i = 0; i < n; ++i) out.push_back(mesh.vertex.get_vert_no(verts[i]));
  return out;
}

class Neighbourhood : public testing::Test {
 protected:
  void SetUp() override {
    mesh->build_hole();
    ring = shortest_ring(*mesh);
  }
  vector<int> around(int rings) {
    int n = -1;
    const std::unique_ptr<_vert*[]> verts(mesh->hole.getHoleVert(n, ring, rings));
    return numbers(*mesh, verts.get(), n);
  }
  vector<int> around(int rings, int stride) {
    int n = -1;
    const std::unique_ptr<_vert*[]> verts(mesh->hole.getHoleVert(n, ring, rings, stride));
    return numbers(*mesh, verts.get(), n);
  }

  std::unique_ptr<Mesh_M::Mesh> mesh = grid_with_hole(9, 4, 5).mesh();
  int ring = -1;
};

TEST_F(Neighbourhood, OneRingIsTheRingsVerticesEachOnce) {
  const vector<int> verts = around(1);
  EXPECT_EQ(verts.size(), 4U);
  EXPECT_EQ(std::set<int>(verts.begin(), verts.end()), (std::set<int>{44, 45, 54, 55}));
  // In ring order, first and second end of each edge.
  const _edge* const first = edges_of(mesh->hole[ring])[0];
  EXPECT_EQ(verts[0], mesh->vertex.get_vert_no(first->vert[0]));
  EXPECT_EQ(verts[1], mesh->vertex.get_vert_no(first->vert[1]));
  EXPECT_EQ(around(0), verts);
  EXPECT_EQ(around(-3), verts);
}

TEST_F(Neighbourhood, GrowsBreadthFirstOverFaces) {
  const vector<int> one = around(1);
  const vector<int> two = around(2);
  const vector<int> three = around(3);
  EXPECT_TRUE(std::equal(one.begin(), one.end(), two.begin()));
  EXPECT_TRUE(std::equal(two.begin(), two.end(), three.begin()));
  EXPECT_EQ(two.size(), 4U + 10U);
  vector<int> expected = one;
  for (std::size_t i = 0; i < one.size(); ++i) {
    const _vert* const vert = mesh->vertex[one[i]];
    for (int k = 0; k < vert->face_num; ++k) {
      for (_vert* corner : vert->face[k]->vert) {
        const int number = mesh->vertex.get_vert_no(corner);
        if (std::find(expected.begin(), expected.end(), number) == expected.end()) {
          expected.push_back(number);
        }
      }
    }
  }
  EXPECT_EQ(two, expected);
}

TEST_F(Neighbourhood, EndsWithTheMesh) {
  EXPECT_EQ(around(1000).size(), 100U);
  EXPECT_TRUE(all_states_default(*mesh));
}

TEST_F(Neighbourhood, StrideTakesEveryNthFromTheFirst) {
  const vector<int> all = around(3);
  for (const int stride : {1, 2, 3, 7, 1000}) {
    vector<int> expected;
    for (std::size_t i = 0; i < all.size(); i += static_cast<std::size_t>(stride)) {
      expected.push_back(all[i]);
    }
    EXPECT_EQ(around(3, stride), expected) << stride;
  }
}

TEST_F(Neighbourhood, StrideBelowOneTakesAll) {
  EXPECT_EQ(around(2, 0), around(2));
}

TEST_F(Neighbourhood, ResetsTheStatesOfWhatItCollects) {
  const int at = around(1)[0];
  mesh->vertex[at]->state = Mesh_R::kStateHighCurvature;
  mesh->vertex[0]->state = Mesh_R::kStateHighCurvature;
  around(2);
  EXPECT_EQ(mesh->vertex[at]->state, 8);
  EXPECT_EQ(mesh->vertex[0]->state, Mesh_R::kStateHighCurvature);
}

TEST_F(Neighbourhood, EdgeIsFoundOrCreatedAndListed) {
  Mesh_R::Hole& hole = mesh->hole;
  _edge* edge = nullptr;
  hole.get_edge(edge, mesh->vertex[0], mesh->vertex[1]);
  EXPECT_EQ(edge, edge_between(*mesh, 0, 1));
  EXPECT_EQ(hole.added_edges.size(), 0);
  hole.get_edge(edge, mesh->vertex[0], mesh->vertex[99]);
  ASSERT_NE(edge, nullptr);
  EXPECT_EQ(edge, edge_between(*mesh, 99, 0));
  EXPECT_EQ(entries_of(hole.added_edges), vector<_edge*>{edge});
}

TEST_F(Neighbourhood, ReducedRingKeepsLengthAndTail) {
  const vector<_edge*> before = edges_of(mesh->hole[ring]);
  _face* faces[] = {before[2]->face[0]};
  mesh->hole.remove_some_edge(ring, faces, 1);
  vector<_edge*> expected = before;
  expected[0] = before[2];
  EXPECT_EQ(edges_of(mesh->hole[ring]), expected);
  EXPECT_TRUE(all_states_default(*mesh));
}

TEST_F(Neighbourhood, ReducingByAllOrNoneOfTheRingChangesNothing) {
  const vector<_edge*> before = edges_of(mesh->hole[ring]);
  vector<_face*> faces;
  for (const _edge* edge : before) faces.push_back(edge->face[0]);
  mesh->hole.remove_some_edge(ring, faces.data(), static_cast<int>(faces.size()));
  EXPECT_EQ(edges_of(mesh->hole[ring]), before);
  mesh->hole.remove_some_edge(ring, faces.data(), 0);
  EXPECT_EQ(edges_of(mesh->hole[ring]), before);
  EXPECT_TRUE(all_states_default(*mesh));
}

}  // namespace
