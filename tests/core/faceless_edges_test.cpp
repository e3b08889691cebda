// Edges without a face: what a triangle leaves behind that couldn't be made.
#include <gtest/gtest.h>

#include "core/face_building.h"
#include "tests/support/invariants.h"
#include "tests/support/shapes.h"

namespace {

using namespace test_support;
using Mesh_M::Mesh;
using Mesh_R::_edge;
using Mesh_R::_vert;

// A triangle, and a vertex beside it.
struct Scene {
  Mesh mesh;

  Scene() {
    mesh.submeshinalize();
    for (Vec3f p : {Vec3f{0, 0, 0}, Vec3f{1, 0, 0}, Vec3f{0, 1, 0}, Vec3f{1, 1, 0}}) {
      mesh.vertex.insert_vert(p);
    }
    Vec3f normal{0, 0, 1};
    mesh.insert_face(mesh.vertex[0], mesh.vertex[1], mesh.vertex[2], normal);
  }
  _edge* join(int a, int b) {
    return scanmesh::find_or_create_edge(mesh.vertex, mesh.edge, mesh.vertex[a], mesh.vertex[b]);
  }
};

TEST(FacelessEdges, go_with_the_last_face_of_an_end) {
  Scene scene;
  _edge* const edge = scene.join(3, 0);
  scene.mesh.face.dele_face(scene.mesh.face[0]);
  EXPECT_EQ(scene.mesh.vertex[0]->state, Mesh_R::kStateDeleted);
  EXPECT_EQ(edge->state, Mesh_R::kStateDeleted);
  EXPECT_EQ(scene.mesh.vertex[3]->edge_num, 0);
  EXPECT_TRUE(adjacency_holds(scene.mesh));
}

TEST(FacelessEdges, all_of_a_vertex_go) {
  Scene scene;
  for (int i = 0; i < 12; ++i) {
    Vec3f p{2, static_cast<float>(i), 0};
    scene.mesh.vertex.insert_vert(p);
    scene.join(0, 4 + i);
    scene.join(4 + i, 1);
  }
  _edge* const apart = scene.join(4, 5);
  scene.mesh.face.dele_face(scene.mesh.face[0]);
  EXPECT_EQ(scene.mesh.vertex[4]->edge_num, 1);
  EXPECT_EQ(apart->state, Mesh_R::kStateLive);
  EXPECT_TRUE(adjacency_holds(scene.mesh));
}

TEST(FacelessEdges, from_a_vertex_to_itself_go_too) {
  Scene scene;
  Mesh& mesh = scene.mesh;
  scene.join(0, 3);
  _edge* const loop = mesh.edge.insert_edge(mesh.vertex[0], mesh.vertex[0]);
  mesh.vertex.insert_edge(loop);
  scene.join(3, 1);
  mesh.face.dele_face(mesh.face[0]);
  EXPECT_EQ(loop->state, Mesh_R::kStateDeleted);
  EXPECT_EQ(mesh.vertex[3]->edge_num, 0);
  EXPECT_TRUE(adjacency_holds(mesh));
}

TEST(FacelessEdges, stay_while_both_ends_have_faces) {
  Scene scene;
  Vec3f normal{0, 0, 1};
  scene.mesh.insert_face(scene.mesh.vertex[2], scene.mesh.vertex[1], scene.mesh.vertex[3], normal);
  _edge* const edge = scene.join(3, 0);
  Vec3f p{-1, -1, 0};
  _vert* const more = scene.mesh.vertex.insert_vert(p);
  scene.mesh.insert_face(more, scene.mesh.vertex[0], scene.mesh.vertex[2], normal);
  scene.mesh.face.dele_face(scene.mesh.face[0]);
  EXPECT_EQ(edge->state, Mesh_R::kStateLive);
  EXPECT_TRUE(adjacency_holds(scene.mesh));
}

TEST(FacelessEdges, stay_where_the_corners_stay) {
  Scene scene;
  _edge* const edge = scene.join(3, 0);
  scene.mesh.face.dele_face_nonmanifoldvert(scene.mesh.face[0]);
  EXPECT_EQ(edge->state, Mesh_R::kStateLive);
  EXPECT_EQ(scene.mesh.vertex[0]->edge_num, 1);
  EXPECT_TRUE(adjacency_holds(scene.mesh));
}

TEST(FacelessEdges, a_face_that_comes_back_finds_no_edge_of_a_deleted_corner) {
  Scene scene;
  scene.join(3, 0);
  Mesh_R::_face* faces[1] = {scene.mesh.face[0]};
  Mesh_M::obj_triangle* const record = scene.mesh.storage_delFace(faces, 1);
  scene.mesh._dele_triangle(faces, 1);
  scene.mesh.Revoked_triangle(record);
  EXPECT_EQ(scene.mesh.face.real_num, 1);
  EXPECT_TRUE(adjacency_holds(scene.mesh));
}

}  // namespace
