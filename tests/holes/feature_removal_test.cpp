#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "scanmesh/mesh.h"
#include "tests/support/invariants.h"
#include "tests/support/shapes.h"

namespace {

using namespace test_support;
using Mesh_M::Mesh;
using Mesh_R::_face;

// A sheet with a round boss in the middle.
Soup sheet_with_boss(int n) {
  const float middle = 0.5F * static_cast<float>(n);
  return height_field(n, 1.0F, [middle](float x, float y) {
    const float d = std::hypot(x - middle, y - middle);
    return d < 3 ? 2.0F + 0.1F * (3 - d) : 0.0F;
  });
}

std::vector<_face*> faces_near(Mesh& mesh, float x, float y, float radius) {
  std::vector<_face*> found;
  for (int i = 0; i < mesh.face.get_facenum(); ++i) {
    _face* const face = mesh.face[i];
    if (face->state == Mesh_R::kStateDeleted) continue;
    if (std::any_of(face->vert, face->vert + 3, [&](const Mesh_R::_vert* v) {
          return std::hypot(v->point.x - x, v->point.y - y) < radius;
        })) {
      found.push_back(face);
    }
  }
  return found;
}

std::vector<std::array<float, 9>> corners(Mesh& mesh) {
  std::vector<std::array<float, 9>> all;
  for (int i = 0; i < mesh.face.get_facenum(); ++i) {
    const _face* const f = mesh.face[i];
    if (f->state == Mesh_R::kStateDeleted) continue;
    std::array<std::array<float, 3>, 3> c{};
    for (std::size_t k = 0; k < 3; ++k) {
      const Vec3f& p = f->vert[k]->point;
      c[k] = {p.x, p.y, p.z};
    }
    std::rotate(c.begin(), std::min_element(c.begin(), c.end()), c.end());
    all.push_back(
        {c[0][0], c[0][1], c[0][2], c[1][0], c[1][1], c[1][2], c[2][0], c[2][1], c[2][2]});
  }
  std::sort(all.begin(), all.end());
  return all;
}

int open_edges(Mesh& mesh) {
  int open = 0;
  for (int i = 0; i < mesh.edge.get_edgenum(); ++i) {
    open += mesh.edge[i]->state != Mesh_R::kStateDeleted && mesh.edge[i]->face_num == 1;
  }
  return open;
}

TEST(RemoveFeature, levels_a_boss_and_gives_it_back) {
  const auto mesh = sheet_with_boss(24).mesh();
  const auto before = corners(*mesh);
  const int border = open_edges(*mesh);
  for (int round = 0; round < 20; ++round) {
    std::vector<_face*> boss = faces_near(*mesh, 12, 12, 3.2F + 0.1F * static_cast<float>(round));
    _face** added = nullptr;
    int added_count = 0;
    Mesh_M::obj_triangle* const record =
        mesh->remove_feature(boss.data(), static_cast<int>(boss.size()), added, added_count, 0.5F);
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->face_num, static_cast<int>(boss.size()));
    EXPECT_TRUE(adjacency_holds(*mesh));
    EXPECT_GT(added_count, 20);
    EXPECT_EQ(open_edges(*mesh), border);
    for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) {
      if (mesh->vertex[i]->state == Mesh_R::kStateDeleted) continue;
      EXPECT_LT(std::fabs(mesh->vertex[i]->point.z), 0.05F) << "the boss is level";
    }
    EXPECT_EQ(mesh->get_hole_num(), 0);
    mesh->Revoked_removefeature(record, added, added_count);
    delete[] added;
    ASSERT_TRUE(adjacency_holds(*mesh));
    ASSERT_TRUE(corners(*mesh) == before) << round;
    ASSERT_EQ(open_edges(*mesh), border);
  }
}

TEST(RemoveFeature, refuses_more_than_a_quarter_of_the_records_and_keeps_the_arguments) {
  const auto mesh = flat_grid(4, 1.0F).mesh();  // 32 records
  std::vector<_face*> nine;
  for (int i = 0; i < 9; ++i) nine.push_back(mesh->face[i]);
  _face* mark[1] = {nullptr};
  _face** added = mark;
  int added_count = 77;
  EXPECT_EQ(mesh->remove_feature(nine.data(), 9, added, added_count, 0.5F), nullptr);
  EXPECT_EQ(mesh->remove_feature(nine.data(), 0, added, added_count, 0.5F), nullptr);
  EXPECT_EQ(added, mark);
  EXPECT_EQ(added_count, 77);
  EXPECT_EQ(mesh->face.real_num, 32);
  // Exactly a quarter may go; deleted records count.
  mesh->face.dele_face(mesh->face[31]);
  Mesh_M::obj_triangle* const record =
      mesh->remove_feature(nine.data(), 8, added, added_count, 0.5F);
  ASSERT_NE(record, nullptr);
  EXPECT_TRUE(adjacency_holds(*mesh));
  mesh->Revoked_removefeature(record, added, added_count);
  delete[] added;
  EXPECT_TRUE(adjacency_holds(*mesh));
  EXPECT_EQ(mesh->face.real_num, 31);
}

TEST(RemoveFeature, fills_only_rings_shorter_than_the_selection) {
  // A selection at the sheet's border opens into it: the ring is as long as the border itself.
  const auto mesh = flat_grid(12, 1.0F).mesh();
  std::vector<_face*> at_border = faces_near(*mesh, 0, 6, 1.2F);
  ASSERT_LT(at_border.size(), 40u);
  const int border = open_edges(*mesh);
  _face** added = nullptr;
  int added_count = -1;
  Mesh_M::obj_triangle* const record = mesh->remove_feature(
      at_border.data(), static_cast<int>(at_border.size()), added, added_count, 0.5F);
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(added_count, 0);
  EXPECT_EQ(added, nullptr);
  EXPECT_GT(open_edges(*mesh), border);
  mesh->Revoked_removefeature(record, added, added_count);
  EXPECT_EQ(open_edges(*mesh), border);
  EXPECT_TRUE(adjacency_holds(*mesh));
}

TEST(RemoveFeature, nothing_happens_for_a_null_record) {
  const auto mesh = flat_grid(2, 1.0F).mesh();
  _face* faces[] = {mesh->face[0]};
  mesh->Revoked_removefeature(nullptr, faces, 1);
  EXPECT_EQ(mesh->face.real_num, 8);
}

}  // namespace
