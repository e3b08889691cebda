#include <gtest/gtest.h>

#include <memory>

#include "tests/support/hole_shapes.h"
#include "tests/support/invariants.h"

namespace {

using namespace test_support;
using Mesh_R::_face;
using Mesh_R::_vert;
using std::vector;

class Records : public testing::Test {
 protected:
  void SetUp() override { mesh->hole.inalize(100, 10); }
  Mesh_R::Hole& hole() { return mesh->hole; }

  std::unique_ptr<Mesh_M::Mesh> mesh = flat_grid(3, 1).mesh();
};

TEST_F(Records, NothingAddedLeavesTheCountUntouched) {
  int n = 77;
  EXPECT_EQ(mesh->return_add_face_data(n), nullptr);
  EXPECT_EQ(n, 77);
  _face* sentinel[1] = {nullptr};
  _face** faces = sentinel;
  hole().return_add_face(faces, n);
  EXPECT_EQ(faces, sentinel);
  EXPECT_EQ(n, 77);
}

TEST_F(Records, DeletedAddedFacesAreLeftOut) {
  for (int i : {2, 3, 4}) hole().added_faces.allocate_mem() = mesh->face[i];
  mesh->face.dele_face(mesh->face[3]);
  int n = -1;
  const std::unique_ptr<float[]> data(hole().return_add_face(n));
  EXPECT_EQ(n, 24);
  EXPECT_EQ(data[2], 1.0F);
  EXPECT_EQ(data[12 + 3], mesh->face[4]->vert[0]->point.x);
  _face** faces = nullptr;
  hole().return_add_face(faces, n);
  ASSERT_EQ(n, 2);
  EXPECT_EQ(faces[0], mesh->face[2]);
  EXPECT_EQ(faces[1], mesh->face[4]);
  delete[] faces;
}

TEST_F(Records, ListOfDeletedFacesGivesAnEmptyArray) {
  hole().added_faces.allocate_mem() = mesh->face[0];
  mesh->face.dele_face(mesh->face[0]);
  int n = -1;
  const std::unique_ptr<float[]> data(hole().return_add_face(n));
  EXPECT_NE(data, nullptr);
  EXPECT_EQ(n, 0);
}

TEST_F(Records, CommitResetsLiveVerticesAndKeepsMemory) {
  hole().added_verts.allocate_mem() = mesh->vertex[0];
  hole().added_verts.allocate_mem() = mesh->vertex[1];
  mesh->vertex[0]->state = 12;
  mesh->vertex[1]->state = 3;
  const auto* const block = hole().added_verts.block;
  hole().Determine_fill_hole();
  EXPECT_EQ(mesh->vertex[0]->state, 8);
  EXPECT_EQ(mesh->vertex[1]->state, 3);
  EXPECT_EQ(hole().added_verts.size(), 0);
  EXPECT_EQ(hole().added_verts.block, block);
}

TEST_F(Records, RevokingWithoutALastHoleDoesNothing) {
  hole().added_faces.allocate_mem() = mesh->face[0];
  hole().Revoked_last();
  EXPECT_EQ(mesh->face[0]->state, 8);
  EXPECT_EQ(hole().added_faces.size(), 1);
}

TEST_F(Records, RevokingRestoresTheStateOfTheHole) {
  mesh->hole.free();
  mesh->build_hole();
  hole().last_hole = hole()[0];
  hole()[0]->state = 1;
  hole().Revoked_last();
  EXPECT_EQ(hole()[0]->state, 8);
}

TEST_F(Records, AdjustingChangesNothing) {
  vector<_vert*> verts;
  vector<Vec3f> before;
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) {
    verts.push_back(mesh->vertex[i]);
    before.push_back(mesh->vertex[i]->point);
  }
  hole().adjustVertex(verts.data(), static_cast<int>(verts.size()), 0.5F, 1);
  for (std::size_t i = 0; i < verts.size(); ++i) {
    EXPECT_EQ(verts[i]->point.x, before[i].x);
    EXPECT_EQ(verts[i]->point.y, before[i].y);
    EXPECT_EQ(verts[i]->point.z, before[i].z);
  }
  EXPECT_TRUE(adjacency_holds(*mesh));
  hole().adjustVertex(nullptr, 0, 0.5F, 0);
}

TEST_F(Records, RelaxationComputesAllBeforeItWrites) {
  // 5 and 6 are neighbours.
  for (int i : {5, 6}) hole().added_verts.allocate_mem() = mesh->vertex[i];
  Vec3f expected[2];
  for (int k = 0; k < 2; ++k) {
    const _vert* const vert = mesh->vertex[5 + k];
    double x = 0;
    double y = 0;
    for (int i = 0; i < vert->edge_num; ++i) {
      const _vert* const far =
          vert->edge[i]->vert[0] == vert ? vert->edge[i]->vert[1] : vert->edge[i]->vert[0];
      x += far->point.x;
      y += far->point.y;
    }
    expected[k] = {static_cast<float>(x / vert->edge_num), static_cast<float>(y / vert->edge_num),
                   0};
  }
  Vec3f out[2];
  _vert* verts[2] = {nullptr, nullptr};
  int n = 2;
  hole().laplacian_buffer(out, n, verts);
  ASSERT_EQ(n, 2);
  for (int k = 0; k < 2; ++k) {
    EXPECT_EQ(verts[k], mesh->vertex[5 + k]);
    EXPECT_EQ(out[k].x, expected[k].x);
    EXPECT_EQ(verts[k]->point.y, expected[k].y);
  }
}

TEST_F(Records, RelaxationLooksAtLeadingEntriesInDefaultStateOnly) {
  for (int i : {5, 6, 9, 10}) hole().added_verts.allocate_mem() = mesh->vertex[i];
  mesh->vertex[5]->state = 3;
  mesh->vertex[6]->state = -8;
  Vec3f out[4];
  _vert* verts[4] = {};
  int n = 3;
  hole().laplacian_buffer(out, n, verts);
  EXPECT_EQ(n, 1);
  EXPECT_EQ(verts[0], mesh->vertex[9]);
  EXPECT_EQ(mesh->vertex[10]->point.x, 2.0F);
  // A count that is handed on says how many leading entries to look at: entry 0, which is deleted.
  hole().laplacian_buffer(out, n, verts);
  EXPECT_EQ(n, 0);
}

TEST_F(Records, RelaxationLeavesAVertexWithoutEdges) {
  Vec3f place{5, 6, 7};
  hole().added_verts.allocate_mem() = mesh->vertex.insert_vert(place);
  Vec3f out[1];
  _vert* verts[1] = {};
  int n = 1;
  hole().laplacian_buffer(out, n, verts);
  EXPECT_EQ(verts[0]->point.y, 6.0F);
}

}  // namespace
