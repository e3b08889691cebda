#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <vector>

#include "scanmesh/mesh.h"
#include "tests/support/invariants.h"
#include "tests/support/live_geometry.h"
#include "tests/support/shapes.h"

namespace {

using namespace test_support;
using Mesh_M::Mesh;
using Mesh_R::_face;
using Mesh_R::_vert;

TEST(Undo, snapshot_of_two_faces_with_a_common_edge_has_four_corners) {
  const auto mesh = flat_grid(1, 1).mesh();
  for (int i = 0; i < 4; ++i) mesh->vertex[i]->index = 70 + i;
  _face* faces[] = {mesh->face[0], mesh->face[1]};
  Mesh_M::obj_triangle* const record = mesh->storage_delFace(faces, 2);
  EXPECT_EQ(record->vert_num, 4);
  EXPECT_EQ(record->face_num, 2);
  for (int i = 0; i < 2; ++i) {
    for (int k = 0; k < 3; ++k) {
      EXPECT_EQ(record->verts[record->index[3 * i + k]], faces[i]->vert[k]);
    }
    EXPECT_EQ(record->face_vectors[3 * i + 2], faces[i]->vector.z);
  }
  for (int i = 0; i < 4; ++i) {
    const _vert* const v = record->verts[i];
    EXPECT_EQ(record->points[3 * i], v->point.x);
    EXPECT_EQ(record->vectors[3 * i + 2], v->vector.z);
    // The marks and the borrowed numbers are put back.
    EXPECT_EQ(mesh->vertex[i]->state, Mesh_R::kStateLive);
    EXPECT_EQ(mesh->vertex[i]->index, 70 + i);
  }
  EXPECT_TRUE(adjacency_holds(*mesh));
  mesh->_dele_triangle(faces, 2);
  mesh->Revoked_triangle(record);
  EXPECT_TRUE(adjacency_holds(*mesh));
}

TEST(Undo, corner_that_survives_keeps_its_record_and_one_that_went_is_new) {
  const auto mesh = flat_grid(2, 1).mesh();
  const Geometry before = geometry(*mesh);
  // Both faces at the grid's first corner: it goes with them, the others stay.
  _vert* const corner = mesh->vertex[0];
  std::vector<_face*> faces(corner->face, corner->face + corner->face_num);
  Mesh_M::obj_triangle* const record =
      mesh->storage_delFace(faces.data(), static_cast<int>(faces.size()));
  _vert* const stays = mesh->vertex[4];
  mesh->_dele_triangle(faces.data(), static_cast<int>(faces.size()));
  EXPECT_EQ(corner->state, Mesh_R::kStateDeleted);
  EXPECT_TRUE(adjacency_holds(*mesh));
  stays->point.z = 5;  // set back with the faces
  mesh->Revoked_triangle(record);
  EXPECT_TRUE(adjacency_holds(*mesh));
  EXPECT_EQ(geometry(*mesh), before);
  EXPECT_EQ(mesh->vertex[4], stays);
  EXPECT_EQ(stays->point.z, 0);
  EXPECT_EQ(corner->state, Mesh_R::kStateDeleted);
  const _vert* const made = mesh->vertex[mesh->vertex.get_vertnum() - 1];
  EXPECT_EQ(made->flags, static_cast<int32_t>(0xffff0008U));
  EXPECT_EQ(made->tag, 0);
  EXPECT_EQ(made->vector.z, 1);
}

TEST(Undo, restored_faces_keep_corner_order_and_normal_even_where_they_are_wrong) {
  const auto mesh = flat_grid(1, 1).mesh();
  _face* const face = mesh->face[1];
  face->vector = {0.6F, 0, 0.8F};
  std::swap(face->vert[0], face->vert[1]);
  const std::array<std::array<float, 3>, 3> corners = {place(face->vert[0]), place(face->vert[1]),
                                                       place(face->vert[2])};
  _face* faces[] = {face};
  Mesh_M::obj_triangle* const record = mesh->storage_delFace(faces, 1);
  mesh->_dele_triangle(faces, 1);
  mesh->Revoked_triangle(record);
  const _face* const back = mesh->face[mesh->face.get_facenum() - 1];
  for (std::size_t k = 0; k < 3; ++k) EXPECT_EQ(place(back->vert[k]), corners[k]);
  EXPECT_EQ(back->vector.x, 0.6F);
  EXPECT_EQ(mesh->face.real_num, 2);
  for (const _vert* v : back->vert) EXPECT_EQ(v->state, Mesh_R::kStateLive);
}

TEST(Undo, a_face_that_is_there_already_is_not_made_twice) {
  const auto mesh = flat_grid(1, 1).mesh();
  _face* faces[] = {mesh->face[0]};
  mesh->Revoked_triangle(mesh->storage_delFace(faces, 1));
  EXPECT_EQ(mesh->face.real_num, 2);
  EXPECT_EQ(mesh->face.get_facenum(), 2);
  EXPECT_TRUE(adjacency_holds(*mesh));
}

TEST(Undo, of_no_faces_gives_an_empty_record) {
  const auto mesh = single_triangle().mesh();
  Mesh_M::obj_triangle* const record = mesh->storage_delFace(nullptr, 0);
  EXPECT_EQ(record->vert_num, 0);
  EXPECT_EQ(record->face_num, 0);
  mesh->Revoked_triangle(record);
  EXPECT_EQ(mesh->face.real_num, 1);
}

TEST(Undo, hundreds_of_deletions_are_taken_back) {
  const auto mesh = irregular_patch(18, 5).mesh();
  const Geometry before = geometry(*mesh);
  const int real_num = mesh->face.real_num;
  Random random(17);
  for (int round = 0; round < 300; ++round) {
    const std::vector<_face*> live = live_faces(*mesh);
    const int first = random.below(static_cast<int>(live.size()));
    const int stride = 1 + random.below(3);
    std::vector<_face*> chosen;
    for (int i = 0, n = 1 + random.below(60); i < n; ++i) {
      _face* const f = live[static_cast<std::size_t>(first + stride * i) % live.size()];
      if (std::find(chosen.begin(), chosen.end(), f) == chosen.end()) chosen.push_back(f);
    }
    const int n = static_cast<int>(chosen.size());
    Mesh_M::obj_triangle* const record = mesh->storage_delFace(chosen.data(), n);
    mesh->_dele_triangle(chosen.data(), n);
    ASSERT_TRUE(adjacency_holds(*mesh));
    ASSERT_EQ(mesh->face.real_num, real_num - n);
    mesh->Revoked_triangle(record);
    ASSERT_TRUE(adjacency_holds(*mesh));
    ASSERT_EQ(mesh->face.real_num, real_num);
    ASSERT_TRUE(geometry(*mesh) == before) << round;
  }
}

TEST(Backup, is_compact_and_restores_the_mesh) {
  const auto mesh = irregular_patch(12, 3).mesh();
  _face* gone[] = {mesh->face[5], mesh->face[6]};
  mesh->_dele_triangle(gone, 2);
  mesh->vertex[30]->tag = Mesh_R::kTagFine;
  const Geometry before = geometry(*mesh);
  const int live = mesh->face.real_num;
  Mesh_M::_backup* record = nullptr;
  mesh->build_backup(record);
  EXPECT_EQ(record->point_count, before.vertices);
  EXPECT_EQ(record->triangle_count, live);
  std::vector<_face*> all = live_faces(*mesh);
  mesh->_dele_triangle(all.data(), static_cast<int>(all.size()) / 2);
  mesh->revoke_backup(record);
  EXPECT_TRUE(adjacency_holds(*mesh));
  EXPECT_EQ(geometry(*mesh), before);
  EXPECT_EQ(mesh->face.real_num, live);
  EXPECT_EQ(mesh->face.get_facenum(), live);
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) EXPECT_EQ(mesh->vertex[i]->tag, 0);
}

TEST(Backup, frees_the_rings_whose_edges_go) {
  const auto mesh = irregular_patch(10, 4).mesh();
  Mesh_M::_backup* record = nullptr;
  mesh->build_backup(record);
  mesh->build_hole();
  ASSERT_GT(mesh->get_hole_num(), 0);
  mesh->fill_hole_No(0, 0.5F);
  ASSERT_NE(mesh->hole.last_hole, nullptr);
  mesh->revoke_backup(record);
  EXPECT_EQ(mesh->get_hole_num(), 0);
  EXPECT_EQ(mesh->hole.holes.block, nullptr);
  EXPECT_EQ(mesh->hole.last_hole, nullptr);
  mesh->Revoked_fill_hole();
  EXPECT_TRUE(adjacency_holds(*mesh));
  mesh->build_hole();
  EXPECT_GT(mesh->get_hole_num(), 0);
}

TEST(Backup, of_an_empty_mesh_restores_an_empty_mesh) {
  Mesh mesh;
  mesh.inalize();
  Mesh_M::_backup* record = nullptr;
  mesh.build_backup(record);
  EXPECT_EQ(record->point_count, 0);
  EXPECT_EQ(record->triangle_count, 0);
  mesh.revoke_backup(record);
  EXPECT_EQ(mesh.face.get_facenum(), 0);
}

}  // namespace
