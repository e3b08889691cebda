#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "tests/support/hole_shapes.h"
#include "tests/support/invariants.h"

namespace {

using namespace test_support;
using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;
using std::vector;

TEST(AutoFill, ClosesRingsUpToTheLimitOnly) {
  for (const int limit : {3, 4, 19, 20}) {
    const auto mesh = grid_with_hole(5, 2, 3).mesh();
    mesh->auto_fill_small_hole(limit);
    EXPECT_EQ(open_edge_count(*mesh), limit < 4 ? 24 : (limit < 20 ? 20 : 0)) << limit;
    EXPECT_TRUE(adjacency_holds(*mesh));
    EXPECT_TRUE(all_states_default(*mesh));
    EXPECT_EQ(mesh->get_hole_num(), 0);
  }
}

TEST(AutoFill, LimitBelowThreeAddsNoFace) {
  for (const int limit : {-1, 0, 1, 2}) {
    const auto mesh = single_triangle().mesh();
    mesh->auto_fill_small_hole(limit);
    EXPECT_EQ(mesh->face.real_num, 1);
  }
}

TEST(AutoFill, MakesNoVertexAndPointsTheFacesOutwards) {
  const auto mesh = capped_sphere(3, 10.0F, 7.0F).mesh();
  const int vertices = mesh->vertex.get_vertnum();
  const int first = mesh->face.get_facenum();
  mesh->auto_fill_small_hole(100);
  EXPECT_EQ(mesh->vertex.get_vertnum(), vertices);
  EXPECT_EQ(odd_edge_count(*mesh), 0);
  for (int i = first; i < mesh->face.get_facenum(); ++i) {
    EXPECT_GT(mesh->face[i]->vector.z, 0.5F);
  }
}

TEST(AutoFill, IsUnlistedAndCannotBeRevoked) {
  const auto mesh = grid_with_hole(5, 2, 3).mesh();
  mesh->build_hole();
  mesh->hole.auto_fill_small_hole(4);
  const int filled = mesh->face.real_num;
  EXPECT_EQ(filled, 50);
  int n = 5;
  EXPECT_EQ(mesh->return_add_face_data(n), nullptr);
  EXPECT_EQ(n, 5);
  EXPECT_EQ(mesh->hole.added_edges.size(), 0);
  mesh->Revoked_fill_hole();
  EXPECT_EQ(mesh->face.real_num, filled);
}

TEST(AutoFill, SkipsEmptyCells) {
  const auto mesh = figure_of_eight({1, 2, 0}).mesh();
  mesh->build_hole();
  ASSERT_EQ(mesh->hole[0], nullptr);
  mesh->hole.auto_fill_small_hole(100);
  // A second face lies on each triangle: small fills don't ask for duplicates.
  EXPECT_EQ(mesh->face.real_num, 4);
}

TEST(FillPolyline, RefusesNullAndShortRings) {
  const auto mesh = single_triangle().mesh();
  EXPECT_EQ(mesh->hole.fillHolePolyline(nullptr), 0);
  MemS::MemAllo<_edge*> ring;
  ring.inalize(10, 10);
  ring.allocate_mem() = mesh->edge[0];
  ring.allocate_mem() = mesh->edge[1];
  EXPECT_EQ(mesh->hole.fillHolePolyline(&ring), 0);
  EXPECT_EQ(mesh->face.real_num, 1);
  ring.free();
}

TEST(FillPolyline, FaceTakesEdgesAbAcBcAndTheNormalOfItsFirstCorner) {
  const auto mesh = grid_with_hole(5, 2, 3).mesh();
  mesh->build_hole();
  const int first = mesh->face.get_facenum();
  const int ring = shortest_ring(*mesh);
  for (int i : {14, 15, 20, 21}) mesh->vertex[i]->vector = {static_cast<float>(i), 0, 0};
  EXPECT_EQ(mesh->hole.fillHolePolyline(mesh->hole[ring]->edges), 0);
  ASSERT_EQ(mesh->face.get_facenum(), first + 2);
  for (int i = first; i < first + 2; ++i) {
    const _face* const face = mesh->face[i];
    const auto at = [face](int k) { return face->vert[k]; };
    EXPECT_EQ(face->edge[0], mesh->vertex.find_edge(at(0), at(1)));
    EXPECT_EQ(face->edge[1], mesh->vertex.find_edge(at(0), at(2)));
    EXPECT_EQ(face->edge[2], mesh->vertex.find_edge(at(1), at(2)));
    EXPECT_EQ(face->vector.x, at(0)->vector.x);
  }
}

class Faces : public testing::Test {
 protected:
  void SetUp() override { mesh->hole.inalize(100, 10); }
  _vert* v(int i) { return mesh->vertex[i]; }
  bool has_face(int a, int b, int c) {
    for (int i = 0; i < mesh->face.get_facenum(); ++i) {
      const _face* const face = mesh->face[i];
      if (face->state == 3) continue;
      if (std::count(face->vert, face->vert + 3, v(a)) == 1 &&
          std::count(face->vert, face->vert + 3, v(b)) == 1 &&
          std::count(face->vert, face->vert + 3, v(c)) == 1) {
        return true;
      }
    }
    return false;
  }

  // Cells 0-1-4-3 and on: vertices 0 to 8, diagonals 0-4, 1-5, 3-7, 4-8.
  std::unique_ptr<Mesh_M::Mesh> mesh = flat_grid(2, 1).mesh();
};

TEST_F(Faces, AddFaceNeedsItsFirstEdgeUnlessItMayCreate) {
  EXPECT_EQ(mesh->hole.add_face(v(0), v(8), v(4), 0), 0);
  EXPECT_EQ(edge_between(*mesh, 0, 8), nullptr);
  EXPECT_EQ(mesh->hole.add_face(v(0), v(8), v(2), 1), 1);
  // Created in the order a-b, a-c, b-c, and listed.
  EXPECT_EQ(entries_of(mesh->hole.added_edges),
            (vector<_edge*>{edge_between(*mesh, 0, 8), edge_between(*mesh, 0, 2),
                            edge_between(*mesh, 8, 2)}));
  const _face* const face = mesh->hole.added_faces[0];
  EXPECT_EQ(face->vert[0], v(0));
  EXPECT_EQ(face->vert[1], v(8));
  EXPECT_EQ(face->vert[2], v(2));
  EXPECT_EQ(face->edge[0], edge_between(*mesh, 0, 2));
  EXPECT_EQ(face->edge[1], edge_between(*mesh, 8, 2));
  EXPECT_EQ(face->edge[2], edge_between(*mesh, 0, 8));
  EXPECT_EQ(face->vector.x, 0);
  EXPECT_EQ(face->vector.z, 0);
  EXPECT_TRUE(adjacency_holds(*mesh));
}

TEST_F(Faces, AddFaceUsesAnEdgeThatIsThereWithoutLeaveToCreate) {
  EXPECT_EQ(mesh->hole.add_face(v(0), v(1), v(2), 0), 1);
  EXPECT_EQ(entries_of(mesh->hole.added_edges), vector<_edge*>{edge_between(*mesh, 0, 2)});
}

TEST_F(Faces, AddFaceRefusesADuplicateInAnyOrder) {
  EXPECT_EQ(mesh->hole.add_face(v(4), v(0), v(1), 1), 0);
  EXPECT_EQ(mesh->hole.add_face(v(1), v(4), v(0), 1), 0);
  EXPECT_EQ(mesh->face.real_num, 8);
  EXPECT_EQ(mesh->hole.added_edges.size(), 0);
}

TEST_F(Faces, AddNewFaceListsNothing) {
  mesh->hole.add_new_face(v(0), v(8), v(2));
  EXPECT_EQ(mesh->face.real_num, 9);
  EXPECT_EQ(mesh->hole.added_edges.size(), 0);
  EXPECT_EQ(mesh->hole.added_faces.size(), 0);
  mesh->hole.add_new_face(v(2), v(0), v(8));
  EXPECT_EQ(mesh->face.real_num, 9);
  EXPECT_TRUE(adjacency_holds(*mesh));
}

TEST_F(Faces, MergeTiesTheRimFirstThenReplacesThePair) {
  // The middle vertex and the middle of the right side become one.
  Vec3f place{1.5F, 1, 0};
  _vert* const merged = mesh->vertex.insert_vert(place);
  const int number = mesh->vertex.get_vert_no(merged);
  const int first = mesh->face.get_facenum();
  _vert* buffer[16][3];
  mesh->hole.MergeTwoV_One(v(4), v(5), merged, buffer);
  EXPECT_EQ(v(4)->state, 3);
  EXPECT_EQ(v(5)->state, 3);
  ASSERT_GT(mesh->face.get_facenum(), first);
  EXPECT_TRUE(has_face(0, 1, number));
  EXPECT_TRUE(has_face(0, 3, number));
  EXPECT_TRUE(has_face(7, 8, number));
  EXPECT_TRUE(has_face(1, 2, number));
  // Triples that held both ends make no face.
  EXPECT_FALSE(has_face(4, 5, number));
  EXPECT_TRUE(adjacency_holds(*mesh));
  const _face* const first_new = mesh->face[first];
  const _face* rim_face = nullptr;
  for (int i = 0; i < 3; ++i) {
    if (first_new->vert[i] == merged) rim_face = first_new;
  }
  EXPECT_NE(rim_face, nullptr);
}

TEST_F(Faces, MergeCopiesTriplesAroundTheFirstThenTheSecond) {
  Vec3f place{1.5F, 1, 0};
  _vert* const merged = mesh->vertex.insert_vert(place);
  vector<const _face*> expected;
  for (int i = 0; i < v(4)->face_num; ++i) expected.push_back(v(4)->face[i]);
  for (int i = 0; i < v(5)->face_num; ++i) {
    if (std::find(expected.begin(), expected.end(), v(5)->face[i]) == expected.end()) {
      expected.push_back(v(5)->face[i]);
    }
  }
  _vert* buffer[16][3] = {};
  mesh->hole.MergeTwoV_One(v(4), v(5), merged, buffer);
  for (std::size_t i = 0; i < expected.size(); ++i) {
    int replaced = 0;
    for (std::size_t k = 0; k < 3; ++k) {
      if (buffer[i][k] == merged) {
        ++replaced;
      } else {
        EXPECT_EQ(buffer[i][k], expected[i]->vert[k]);
      }
    }
    EXPECT_EQ(replaced, 1) << i;
  }
  EXPECT_EQ(buffer[expected.size()][0], nullptr);
}

TEST(Merge, RimFacesKeepRimVerticesAlive) {
  // A lone pair of triangles: without the faces added first, all four vertices would go.
  Soup soup{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, -1, 0}}, {{{0, 1, 2}}, {{0, 3, 1}}}};
  const auto mesh = soup.mesh();
  mesh->hole.inalize(10, 10);
  Vec3f place{0.5F, 0, 0};
  _vert* const merged = mesh->vertex.insert_vert(place);
  _vert* buffer[8][3];
  mesh->hole.MergeTwoV_One(mesh->vertex[0], mesh->vertex[1], merged, buffer);
  // No open edge avoids both ends, so nothing is left.
  EXPECT_EQ(mesh->face.real_num, 0);
  EXPECT_EQ(mesh->vertex[2]->state, 3);
  EXPECT_EQ(mesh->vertex[3]->state, 3);
}

}  // namespace
