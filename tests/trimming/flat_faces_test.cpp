// Selections as flat arrays, and the way back into the mesh.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <vector>

#include "scanmesh/internal.h"
#include "scanmesh/mesh.h"
#include "tests/support/invariants.h"
#include "tests/support/live_geometry.h"
#include "tests/support/mesh_access.h"
#include "tests/support/shapes.h"
#include "tests/trimming/trim_tools.h"

namespace {

using namespace test_support;
using Mesh_M::Mesh;
using Mesh_M::MeshAccess;
using Mesh_R::_face;
using Mesh_R::_vert;

struct Flat {
  std::vector<float> points;
  std::vector<float> normals;
  std::vector<int> triangles;
  int point_count = -1;
  int triangle_count = -1;
};

void flatten(Mesh& mesh, Flat& flat) {
  MeshAccess::search_faces(mesh, flat.points, flat.point_count, flat.normals, flat.triangles,
                           flat.triangle_count);
}

TEST(SearchFaces, numbers_vertices_as_it_meets_them) {
  const auto mesh = flat_grid(3, 1.0F).mesh();
  mesh->selected_faces = {mesh->face[4], mesh->face[5], mesh->face[0]};
  Flat flat;
  flatten(*mesh, flat);
  EXPECT_EQ(flat.triangle_count, 9);  // three numbers a face
  std::map<const _vert*, int> number;
  std::size_t at = 0;
  for (const _face* f : mesh->selected_faces) {
    for (const _vert* v : f->vert) {
      const int wanted = number.emplace(v, static_cast<int>(number.size())).first->second;
      EXPECT_EQ(flat.triangles[at++], wanted);
      EXPECT_EQ(flat.points[3 * static_cast<std::size_t>(wanted)], v->point.x);
      EXPECT_EQ(flat.points[3 * static_cast<std::size_t>(wanted) + 1], v->point.y);
    }
  }
  EXPECT_EQ(flat.point_count, static_cast<int>(number.size()));
  EXPECT_EQ(flat.points.size(), 3 * number.size());
  EXPECT_EQ(flat.normals, (std::vector<float>{0, 0, 1, 0, 0, 1, 0, 0, 1}));
  EXPECT_EQ(mesh->search_order, flat.point_count);
  EXPECT_EQ(marked_records(*mesh), 0);
}

TEST(SearchFaces, starts_anew_at_each_call_and_keeps_room) {
  const auto mesh = flat_grid(30, 1.0F).mesh();
  mesh->selected_faces = live_faces(*mesh);
  Flat flat;
  flatten(*mesh, flat);
  const std::size_t room = flat.points.capacity();
  mesh->selected_faces = {mesh->face[7]};
  flatten(*mesh, flat);
  EXPECT_EQ(flat.point_count, 3);
  EXPECT_EQ(flat.triangle_count, 3);
  EXPECT_EQ(flat.triangles, (std::vector<int>{0, 1, 2}));
  EXPECT_EQ(flat.points.capacity(), room);
  mesh->selected_faces.clear();
  flatten(*mesh, flat);
  EXPECT_EQ(flat.point_count, 0);
  EXPECT_EQ(flat.triangle_count, 0);
}

// Two triangles over a square, both selected.
std::unique_ptr<Mesh> square() {
  auto mesh = Soup{{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, {{{0, 1, 2}}, {{0, 2, 3}}}}.mesh();
  mesh->selected_faces = {mesh->face[0], mesh->face[1]};
  return mesh;
}

void modify(Mesh& mesh, const std::vector<float>& corners, const std::vector<int>& parents,
            const std::vector<int>& deleted, std::vector<float> normals = {}) {
  if (normals.empty()) {
    for (std::size_t i = 0; i < parents.size(); ++i) normals.insert(normals.end(), {0, 0, 1});
  }
  MeshAccess::modify_faces(mesh, corners, parents, normals, deleted);
}

TEST(ModifyFaces, replaces_a_face_by_its_pieces) {
  const auto mesh = square();
  modify(*mesh, {0, 0, 0, 0.5F, 0, 0, 0.5F, 0.5F, 0, 0, 0, 0, 0.5F, 0.5F, 0, 0, 1, 0}, {0, 1},
         {0, 1});
  EXPECT_TRUE(adjacency_holds(*mesh));
  const auto faces = live_faces(*mesh);
  ASSERT_EQ(faces.size(), 2U);
  EXPECT_EQ(mesh->vertex.get_vertnum(), 6);
  for (int i = 4; i < 6; ++i) {
    const _vert* const v = mesh->vertex[i];
    EXPECT_EQ(v->flags, -65528);
    EXPECT_EQ(v->order, -1);
    EXPECT_FALSE(v->searched || v->reached);
  }
  EXPECT_EQ(mesh->vertex[1]->state, Mesh_R::kStateDeleted);
  EXPECT_EQ(mesh->vertex[2]->state, Mesh_R::kStateDeleted);
  EXPECT_NE(mesh->vertex[0]->state, Mesh_R::kStateDeleted);
  EXPECT_FALSE(faces[0]->searched);
}

TEST(ModifyFaces, takes_a_corner_of_the_parent_nearer_than_a_thousandth) {
  const auto mesh = square();
  modify(*mesh, {0.0006F, 0.0006F, 0, 0.5F, 0, 0, 0.5F, 0.5F, 0}, {0}, {0});
  EXPECT_EQ(mesh->vertex.get_vertnum(), 6);
  EXPECT_EQ(mesh->vertex[0]->face_num, 2);
  const auto other = square();
  modify(*other, {0.0008F, 0.0008F, 0, 0.5F, 0, 0, 0.5F, 0.5F, 0}, {0}, {0});
  EXPECT_EQ(other->vertex.get_vertnum(), 7);
}

TEST(ModifyFaces, does_not_take_corners_of_other_faces) {
  const auto mesh = square();
  modify(*mesh, {0, 1, 0, 0.5F, 0, 0, 0.5F, 0.5F, 0}, {0}, {});
  EXPECT_EQ(mesh->vertex.get_vertnum(), 7);
}

TEST(ModifyFaces, reuses_the_first_new_point_within_a_thousandth_on_every_axis) {
  const auto mesh = square();
  // 0.5, then 0.0009 beside it, then 0.0018: that is near the second, which was never made.
  modify(*mesh,
         {0.5F, 0.2F, 0, 0.9F,    0.3F, 0, 0.7F, 0.6F, 0, 0.5009F, 0.2009F, 0.0009F, 0.9F, 0.3F, 0,
          0.6F, 0.1F, 0, 0.5018F, 0.2F, 0, 0.9F, 0.3F, 0, 0.55F,   0.25F,   0},
         {0, 0, 0}, {0});
  EXPECT_EQ(live_faces(*mesh).size(), 4U);
  int at_first = 0;
  for (int i = 4; i < mesh->vertex.get_vertnum(); ++i) {
    const _vert* const v = mesh->vertex[i];
    if (v->point.x == 0.5F) at_first = v->face_num;
    EXPECT_NE(v->point.x, 0.5009F);
  }
  EXPECT_EQ(at_first, 2);
  EXPECT_EQ(mesh->vertex.get_vertnum(), 4 + 6);
}

TEST(ModifyFaces, skips_a_triangle_that_collapses_and_leaves_no_loose_vertex) {
  const auto mesh = square();
  modify(*mesh, {0.5F, 0.2F, 0, 0.5004F, 0.2F, 0, 0.9F, 0.5F, 0}, {0}, {});
  EXPECT_EQ(live_faces(*mesh).size(), 2U);
  EXPECT_TRUE(adjacency_holds(*mesh));
  EXPECT_EQ(geometry(*mesh).vertices, 4);
}

TEST(ModifyFaces, turns_triangles_to_the_side_of_their_normals) {
  for (const float z : {1.0F, -1.0F}) {
    const auto mesh = square();
    modify(*mesh, {0, 0, 0, 0.5F, 0, 0, 0.5F, 0.5F, 0}, {0}, {0}, {0, 0, z});
    const _face* const f = live_faces(*mesh).back();
    EXPECT_EQ(f->vector.z, z);
    const Vec3f turn =
        scanmesh::corner_cross(f->vert[0]->point, f->vert[1]->point, f->vert[2]->point);
    EXPECT_GT(turn.z * z, 0);
    for (const _vert* v : f->vert) EXPECT_EQ(v->vector.z, z);
  }
}

TEST(ModifyFaces, gives_normals_to_the_corners_of_skipped_triangles_too) {
  const auto mesh = square();
  modify(*mesh, {0, 0, 0, 0, 0, 0, 1, 0, 0}, {0}, {}, {0, 1, 0});
  EXPECT_EQ(mesh->vertex[1]->vector.y, 1);
  EXPECT_EQ(live_faces(*mesh).size(), 2U);
}

TEST(ModifyFaces, deletes_after_all_new_faces_stand) {
  const auto mesh = square();
  const _vert* const corner = mesh->vertex[1];
  modify(*mesh, {1, 0, 0, 1, 1, 0, 0.5F, 0.2F, 0}, {0}, {0});
  EXPECT_NE(corner->state, Mesh_R::kStateDeleted);
  EXPECT_EQ(corner->face_num, 1);
  EXPECT_TRUE(adjacency_holds(*mesh));
}

TEST(ModifyFaces, may_put_a_face_in_its_own_place) {
  const auto mesh = square();
  const Geometry before = geometry(*mesh);
  modify(*mesh, {0, 0, 0, 1, 0, 0, 1, 1, 0}, {0}, {0});
  EXPECT_TRUE(geometry(*mesh) == before);
  EXPECT_TRUE(adjacency_holds(*mesh));
}

TEST(ModifyFaces, takes_nothing_and_changes_nothing) {
  const auto mesh = square();
  const Geometry before = geometry(*mesh);
  MeshAccess::modify_faces(*mesh, {}, {}, {}, {});
  EXPECT_TRUE(geometry(*mesh) == before);
}

}  // namespace
