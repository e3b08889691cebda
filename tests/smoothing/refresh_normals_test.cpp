#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "core/vector_math.h"
#include "scanmesh/mesh.h"
#include "tests/support/invariants.h"
#include "tests/support/shapes.h"
#include "tests/support/snapshots.h"

namespace {

using namespace test_support;
using Mesh_M::Mesh;
using Mesh_R::_face;
using Mesh_R::_vert;

struct Wide {
  double x;
  double y;
  double z;
};

Wide unit(const Wide& a) {
  const double size = std::sqrt(a.x * a.x + a.y * a.y + a.z * a.z);
  return {a.x / size, a.y / size, a.z / size};
}

Wide normal_of(const _face& face) {
  const Vec3f& a = face.vert[0]->point;
  const Vec3f& b = face.vert[1]->point;
  const Vec3f& c = face.vert[2]->point;
  const Wide u = {double{b.x} - a.x, double{b.y} - a.y, double{b.z} - a.z};
  const Wide v = {double{c.x} - a.x, double{c.y} - a.y, double{c.z} - a.z};
  return unit({u.y * v.z - u.z * v.y, u.z * v.x - u.x * v.z, u.x * v.y - u.y * v.x});
}

void expect_near(const Vec3f& a, const Wide& b) {
  EXPECT_NEAR(a.x, b.x, 1e-4);
  EXPECT_NEAR(a.y, b.y, 1e-4);
  EXPECT_NEAR(a.z, b.z, 1e-4);
}

void expect_fresh_normals(Mesh& mesh) {
  for (int i = 0; i < mesh.face.get_facenum(); ++i) {
    if (mesh.face[i]->state == Mesh_R::kStateDeleted) continue;
    expect_near(mesh.face[i]->vector, normal_of(*mesh.face[i]));
  }
  for (int i = 0; i < mesh.vertex.get_vertnum(); ++i) {
    const _vert& vert = *mesh.vertex[i];
    if (vert.state == Mesh_R::kStateDeleted || vert.face_num == 0) continue;
    Wide sum = {0, 0, 0};
    for (int k = 0; k < vert.face_num; ++k) {
      const Wide n = normal_of(*vert.face[k]);
      sum = {sum.x + n.x, sum.y + n.y, sum.z + n.z};
    }
    expect_near(vert.vector, unit(sum));
  }
}

TEST(RefreshNormals, follow_the_vertices_after_a_filter) {
  const auto mesh = noisy(sphere(3, 10.0F), 0.3F, 2).mesh();
  const Points before = face_normals_of(*mesh);
  mesh->meshSmooth(10);
  EXPECT_TRUE(identical(face_normals_of(*mesh), before));
  mesh->refresh_normals();
  EXPECT_FALSE(identical(face_normals_of(*mesh), before));
  expect_fresh_normals(*mesh);
}

TEST(RefreshNormals, of_a_mesh_in_which_nothing_moved_stay_to_the_bit) {
  const auto mesh = noisy(sphere(3, 10.0F), 0.3F, 2).mesh();
  mesh->refresh_normals();
  const Snapshot before = {points_of(*mesh), vertex_normals_of(*mesh), face_normals_of(*mesh),
                           vertex_states_of(*mesh)};
  mesh->refresh_normals();
  EXPECT_TRUE(identical(points_of(*mesh), before.points));
  EXPECT_TRUE(identical(vertex_normals_of(*mesh), before.vertex_normals));
  EXPECT_TRUE(identical(face_normals_of(*mesh), before.face_normals));
}

TEST(RefreshNormals, leave_the_orientation_alone) {
  const auto mesh = flat_grid(4, 1.0F).mesh();
  _face* const odd = mesh->face[7];
  std::swap(odd->vert[0], odd->vert[2]);
  const _vert* const first = odd->vert[0];
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) mesh->vertex[i]->vector = {0, 0, 1};
  mesh->refresh_normals();
  EXPECT_EQ(odd->vert[0], first);
  EXPECT_TRUE(same_bits(odd->vector, {0, 0, -1}));
  EXPECT_EQ(mesh->face[6]->vector.z, 1.0F);
  EXPECT_TRUE(adjacency_holds(*mesh));
}

TEST(RefreshNormals, deleted_records_keep_theirs) {
  const auto mesh = flat_grid(4, 1.0F).mesh();
  _face* const gone = mesh->face[0];
  mesh->face.dele_face(gone);
  gone->vector = {7, 7, 7};
  _vert* const dead = mesh->vertex[24];
  mesh->vertex.dele_vert(dead);
  dead->vector = {5, 5, 5};
  mesh->refresh_normals();
  EXPECT_EQ(gone->vector.x, 7);
  EXPECT_EQ(dead->vector.x, 5);
}

TEST(RefreshNormals, faces_without_area_or_numbers_do_not_spoil_those_around) {
  const auto mesh = flat_grid(4, 1.0F).mesh();
  _face* const flat = mesh->face[10];
  for (_vert* vert : flat->vert) ASSERT_GT(vert->face_num, 3);
  flat->vert[0]->point = flat->vert[1]->point;
  flat->vert[1]->vector = {0, 0, 1};
  mesh->vertex[0]->point.x = std::nanf("");
  mesh->refresh_normals();
  EXPECT_TRUE(same_bits(flat->vector, {0, 0, 1}));
  for (int i = 0; i < mesh->face.get_facenum(); ++i) {
    EXPECT_TRUE(scanmesh::finite(mesh->face[i]->vector)) << i;
  }
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) {
    EXPECT_TRUE(scanmesh::finite(mesh->vertex[i]->vector)) << i;
  }
}

TEST(RefreshNormals, of_a_mesh_without_faces_do_nothing) {
  Mesh mesh;
  mesh.inalize();
  mesh.refresh_normals();
  EXPECT_EQ(mesh.face.get_facenum(), 0);
}

}  // namespace
