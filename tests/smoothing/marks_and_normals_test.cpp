#include <gtest/gtest.h>

#include <vector>

#include "tests/support/invariants.h"
#include "tests/support/mesh_access.h"
#include "tests/support/shapes.h"
#include "tests/support/snapshots.h"

namespace {

using namespace test_support;
using Mesh_M::MeshAccess;
using Mesh_R::_vert;

TEST(TabBorder, marks_the_ends_of_edges_without_two_faces) {
  const auto mesh = flat_grid(3, 1).mesh();
  // A third face on an inner edge.
  Vec3f above{1.5F, 1.5F, 2};
  _vert* const top = mesh->vertex.insert_vert(above);
  Vec3f normal{0, 0, 1};
  mesh->insert_face(mesh->vertex[5], mesh->vertex[6], top, normal);
  MeshAccess::tab_border(*mesh, 10);
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) {
    const bool inner = i == 9 || i == 10;
    EXPECT_EQ(mesh->vertex[i]->state, inner ? 8 : 10) << i;
  }
}

TEST(TabBorder, marks_the_ends_of_edges_with_three_faces_where_none_is_open) {
  const auto mesh = three_sheets(1).mesh();
  MeshAccess::tab_border(*mesh, 10);
  for (int i = 0; i < 11; ++i) EXPECT_EQ(mesh->vertex[i]->state, i < 8 ? 10 : 8) << i;
}

TEST(TabBorder, deleted_edges_mark_nothing) {
  const auto mesh = single_triangle().mesh();
  for (int i = 0; i < 3; ++i) mesh->edge[i]->state = Mesh_R::kStateDeleted;
  MeshAccess::tab_border(*mesh, 10);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(mesh->vertex[i]->state, 8);
}

TEST(SwoothFilt, returns_the_position) {
  const auto mesh = single_triangle().mesh();
  EXPECT_TRUE(same_bits(MeshAccess::swooth(*mesh, mesh->vertex[1]), {1, 0, 0}));
}

TEST(FlashNorm, refreshes_faces_and_vertices_of_the_list_once) {
  const auto mesh = irregular_patch(8, 3).mesh();
  const auto plain = irregular_patch(8, 3).mesh();
  std::vector<_vert*> verts;
  for (const int i : {30, 31, 40, 30}) verts.push_back(mesh->vertex[i]);
  for (auto* m : {mesh.get(), plain.get()}) {
    for (const int i : {30, 31, 40}) m->vertex[i]->point.z += 0.5F;
  }
  MeshAccess::flash_norm(*mesh, verts);
  std::vector<const Mesh_R::_face*> seen;
  for (const int i : {30, 31, 40}) {
    _vert* const v = plain->vertex[i];
    for (int k = 0; k < v->face_num; ++k) {
      if (std::count(seen.begin(), seen.end(), v->face[k]) > 0) continue;
      seen.push_back(v->face[k]);
      plain->face.refresh_vector(v->face[k]);
    }
    plain->vertex.R_cal_vector(v);
  }
  EXPECT_TRUE(identical(snapshot(*mesh), snapshot(*plain)));
  EXPECT_TRUE(adjacency_holds(*mesh));
}

TEST(FlashNorm, takes_its_marks_back) {
  const auto mesh = sphere(2, 1).mesh();
  std::vector<_vert*> verts;
  for (int i = 0; i < 40; ++i) verts.push_back(mesh->vertex[i]);
  mesh->vertex[7]->state = Mesh_R::kStateHighCurvature;
  MeshAccess::flash_norm(*mesh, verts);
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) {
    EXPECT_EQ(mesh->vertex[i]->state, i == 7 ? 12 : 8);
  }
  for (int i = 0; i < mesh->face.get_facenum(); ++i) EXPECT_EQ(mesh->face[i]->state, 8);
}

TEST(FlashNorm, vertex_with_a_mark_is_left_out_and_loses_it) {
  const auto mesh = flat_grid(2, 1).mesh();
  _vert* const v = mesh->vertex[4];
  v->point.z = 3;
  v->state = -8;
  const Points before = face_normals_of(*mesh);
  std::vector<_vert*> verts = {v};
  MeshAccess::flash_norm(*mesh, verts);
  EXPECT_EQ(v->state, 8);
  EXPECT_TRUE(identical(face_normals_of(*mesh), before));
}

}  // namespace
