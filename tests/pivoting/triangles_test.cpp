#include "pivoting/triangles.h"

#include <gtest/gtest.h>

#include "core/face_building.h"
#include "tests/support/invariants.h"
#include "tests/support/shapes.h"

namespace {

using namespace test_support;
using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;
using scanmesh::StoreSet;

// Vertices at random places; triangles by their numbers.
struct Scene {
  Mesh_M::Mesh mesh;
  StoreSet stores{mesh.vertex, mesh.edge, mesh.face};

  explicit Scene(int count) {
    mesh.inalize();
    Random random(1);
    for (int i = 0; i < count; ++i) {
      Vec3f p{random.signed_unit(), random.signed_unit(), random.signed_unit()};
      mesh.vertex.insert_vert(p)->vector = {0, 0, 1};
    }
  }
  _face* make(int a, int b, int c) {
    return scanmesh::make_triangle(stores, mesh.vertex[a], mesh.vertex[b], mesh.vertex[c],
                                   {0, 0, 1});
  }
  _edge* edge(int a, int b) { return mesh.vertex.find_edge(mesh.vertex[a], mesh.vertex[b]); }
  int live() { return mesh.face.get_real_facenum(); }
};

TEST(MakeTriangle, enters_the_face_with_each_edge_opposite_its_corner) {
  Scene scene(3);
  _face* const face = scene.make(0, 1, 2);
  ASSERT_NE(face, nullptr);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(face->vert[i], scene.mesh.vertex[i]);
    EXPECT_FALSE(scanmesh::touches(face->edge[i], face->vert[i]));
  }
  // Made in this order.
  EXPECT_EQ(scene.mesh.edge.get_edge_no(face->edge[0]), 0);
  EXPECT_EQ(scene.mesh.edge.get_edge_no(face->edge[1]), 1);
  EXPECT_EQ(scene.mesh.edge.get_edge_no(face->edge[2]), 2);
  EXPECT_EQ(face->edge[1]->vert[0], scene.mesh.vertex[0]);
  EXPECT_EQ(face->edge[1]->vert[1], scene.mesh.vertex[2]);
  EXPECT_TRUE(adjacency_holds(scene.mesh));
}

TEST(MakeTriangle, refuses_an_edge_with_two_faces_as_it_is_found) {
  Scene scene(6);
  scene.make(2, 0, 1);
  scene.make(3, 1, 0);
  const int edges = scene.mesh.edge.get_edgenum();
  // The full edge comes last: the two others were made and stay, without a face.
  EXPECT_EQ(scene.make(0, 1, 4), nullptr);
  EXPECT_EQ(scene.mesh.edge.get_edgenum(), edges + 2);
  EXPECT_EQ(scene.edge(1, 4)->face_num, 0);
  EXPECT_EQ(scene.edge(0, 4)->face_num, 0);
  // It comes first: nothing is made.
  EXPECT_EQ(scene.make(5, 0, 1), nullptr);
  EXPECT_EQ(scene.mesh.edge.get_edgenum(), edges + 2);
  EXPECT_EQ(scene.live(), 2);
  EXPECT_TRUE(adjacency_holds(scene.mesh));
  // An edge without a face takes one later.
  EXPECT_NE(scene.make(4, 1, 5), nullptr);
  EXPECT_EQ(scene.edge(1, 4)->face_num, 1);
  EXPECT_TRUE(adjacency_holds(scene.mesh));
}

TEST(MakeTriangle, refuses_a_triangle_that_exists_in_any_corner_order) {
  Scene scene(3);
  scene.make(0, 1, 2);
  for (const auto& t : {std::array<int, 3>{0, 1, 2}, {1, 2, 0}, {2, 1, 0}}) {
    EXPECT_EQ(scene.make(t[0], t[1], t[2]), nullptr);
  }
  EXPECT_EQ(scene.live(), 1);
  EXPECT_EQ(scene.mesh.edge.get_edgenum(), 3);
}

TEST(RejectFace, leaves_the_candidate_available_for_further_faces) {
  Scene scene(5);
  scene.make(0, 1, 2);
  // An edge without a face at the candidate, from an attempt that failed.
  scene.make(4, 1, 0);
  EXPECT_EQ(scene.make(0, 1, 3), nullptr);
  ASSERT_NE(scene.edge(3, 0), nullptr);
  _face* const face = scene.make(3, 2, 1);
  ASSERT_NE(face, nullptr);
  _vert* const candidate = scene.mesh.vertex[3];
  scanmesh::reject_face(scene.stores, face, candidate);
  EXPECT_EQ(candidate->state, Mesh_R::kStateLive);
  EXPECT_EQ(candidate->face_num, 0);
  EXPECT_EQ(scene.edge(3, 2), nullptr);
  ASSERT_NE(scene.edge(3, 0), nullptr);
  EXPECT_TRUE(adjacency_holds(scene.mesh));
  EXPECT_NE(scene.make(3, 2, 0), nullptr);
  EXPECT_EQ(candidate->face_num, 1);
  EXPECT_EQ(candidate->edge_num, 2);
  EXPECT_TRUE(adjacency_holds(scene.mesh));
}

TEST(RejectFace, leaves_a_candidate_with_other_faces_as_it_is) {
  Scene scene(4);
  scene.make(0, 1, 2);
  _face* const face = scene.make(2, 1, 3);
  scene.mesh.vertex[2]->state = scanmesh::kVertFront;
  scanmesh::reject_face(scene.stores, face, scene.mesh.vertex[2]);
  EXPECT_EQ(scene.mesh.vertex[2]->state, scanmesh::kVertFront);
  EXPECT_EQ(scene.mesh.vertex[2]->face_num, 1);
  EXPECT_EQ(scene.mesh.vertex[3]->state, Mesh_R::kStateDeleted);
  EXPECT_TRUE(adjacency_holds(scene.mesh));
}

TEST(RejectFace, revives_a_candidate_whose_lists_had_grown) {
  Scene scene(30);
  // A fan of twenty edges without a face around the candidate 0.
  for (int i = 1; i < 21; ++i) {
    scanmesh::find_or_create_edge(scene.mesh.vertex, scene.mesh.edge, scene.mesh.vertex[0],
                                  scene.mesh.vertex[i]);
  }
  scanmesh::reject_face(scene.stores, scene.make(0, 25, 26), scene.mesh.vertex[0]);
  EXPECT_EQ(scene.mesh.vertex[0]->edge_num, 20);
  EXPECT_NE(scene.make(0, 1, 2), nullptr);
  EXPECT_TRUE(adjacency_holds(scene.mesh));
}

TEST(MakeTriangle, what_a_refused_one_leaves_goes_with_the_last_face_of_its_end) {
  Scene scene(5);
  scene.make(0, 1, 2);
  scene.make(4, 1, 0);
  EXPECT_EQ(scene.make(0, 1, 3), nullptr);
  _face* const face = scene.make(3, 2, 1);
  ASSERT_EQ(scene.edge(0, 3)->face_num, 0);
  scene.mesh.face.dele_face(face);
  EXPECT_EQ(scene.mesh.vertex[3]->state, Mesh_R::kStateDeleted);
  EXPECT_EQ(scene.edge(0, 3), nullptr);
  EXPECT_TRUE(adjacency_holds(scene.mesh));
}

TEST(Spurs, a_face_whose_open_edges_meet_where_others_touch_goes) {
  // Two triangles that meet at vertex 0; in each the first two open edges meet at its last corner.
  Scene scene(5);
  scene.make(1, 2, 0);
  scene.make(0, 3, 4);
  scanmesh::delete_spurs(scene.stores, 0);
  EXPECT_EQ(scene.live(), 1);
  EXPECT_EQ(scene.mesh.face[0]->state, Mesh_R::kStateDeleted);
  EXPECT_EQ(scene.mesh.vertex[0]->face_num, 1);
  EXPECT_EQ(scene.mesh.vertex[1]->state, Mesh_R::kStateDeleted);
  EXPECT_TRUE(adjacency_holds(scene.mesh));
}

TEST(Spurs, a_tip_of_its_own_and_a_lone_face_stay) {
  Scene scene(7);
  scene.make(0, 1, 2);
  scene.make(2, 1, 3);
  scene.make(4, 5, 6);
  scanmesh::delete_spurs(scene.stores, 0);
  EXPECT_EQ(scene.live(), 3);
}

TEST(Spurs, one_pass_doesn_t_come_back) {
  // The second face is the spur; its deletion makes one of the first, which stays.
  Scene scene(6);
  scene.make(0, 1, 2);  // edges 1-2 shared with the second
  scene.make(2, 1, 3);
  scene.make(3, 4, 5);  // touches the second's tip
  // First: open edges 0-2 and 0-1 meet at 0, its own. Second: open 1-3 and 2-3 meet at 3.
  scanmesh::delete_spurs(scene.stores, 0);
  EXPECT_NE(scene.mesh.face[0]->state, Mesh_R::kStateDeleted);
  EXPECT_EQ(scene.mesh.face[1]->state, Mesh_R::kStateDeleted);
  EXPECT_NE(scene.mesh.face[2]->state, Mesh_R::kStateDeleted);
  EXPECT_TRUE(adjacency_holds(scene.mesh));
}

TEST(Spurs, faces_before_the_first_number_stay) {
  Scene scene(5);
  scene.make(1, 2, 0);
  scene.make(0, 3, 4);
  scanmesh::delete_spurs(scene.stores, 1);
  EXPECT_EQ(scene.live(), 2);
}

TEST(RefreshNormals, turns_faces_from_the_first_number_on) {
  Scene scene(6);
  const Vec3f points[6] = {{0, 0, 0}, {0, 1, 0}, {1, 0, 0}, {5, 0, 0}, {5, 1, 0}, {6, 0, 0}};
  for (int i = 0; i < 6; ++i) scene.mesh.vertex[i]->point = points[i];
  scene.make(0, 1, 2);
  scene.make(3, 4, 5);
  scanmesh::refresh_normals(scene.stores, 1);
  EXPECT_EQ(scene.mesh.face[0]->vert[0], scene.mesh.vertex[0]);
  // First and third corner are exchanged.
  EXPECT_EQ(scene.mesh.face[1]->vert[0], scene.mesh.vertex[5]);
  EXPECT_EQ(scene.mesh.face[1]->vert[1], scene.mesh.vertex[4]);
  EXPECT_EQ(scene.mesh.face[1]->vert[2], scene.mesh.vertex[3]);
  EXPECT_EQ(scene.mesh.face[1]->vector.z, 1);
}

}  // namespace
