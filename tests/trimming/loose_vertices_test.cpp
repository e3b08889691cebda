// Openings in a mesh that holds vertices without faces, as files can bring them.
#include <gtest/gtest.h>

#include "tests/support/live_geometry.h"
#include "tests/trimming/openings.h"

namespace {

using namespace test_support;

int loose_vertices(Mesh& mesh) {
  int count = 0;
  for (int i = 0; i < mesh.vertex.get_vertnum(); ++i) {
    const _vert& vert = *mesh.vertex[i];
    count += vert.state != Mesh_R::kStateDeleted && vert.face_num == 0;
  }
  return count;
}

void expect_no_marks(Mesh& mesh) {
  for (int i = 0; i < mesh.vertex.get_vertnum(); ++i) {
    const _vert& vert = *mesh.vertex[i];
    if (vert.state == Mesh_R::kStateDeleted) continue;
    EXPECT_FALSE(vert.searched) << i;
    EXPECT_FALSE(vert.reached) << i;
    EXPECT_EQ(vert.order, -1) << i;
  }
  for (int i = 0; i < mesh.face.get_facenum(); ++i) EXPECT_FALSE(mesh.face[i]->searched) << i;
}

// On the opening, beside it and far off.
void add_loose(Mesh& mesh) {
  for (const float x : {0.0F, 1.0F, 4.5F, 7.0F, 40.0F}) {
    Vec3f p{x, 0.1F, 0.2F};
    mesh.vertex.insert_vert(p)->vector = {0, 0, 1};
  }
}

class LooseVertices : public testing::Test {
 protected:
  LooseVertices() { add_loose(*mesh_); }

  void expect_cut() {
    EXPECT_NE(mesh_->face.get_facenum(), faces_);
    EXPECT_EQ(loose_vertices(*mesh_), 5);
    expect_no_marks(*mesh_);
    EXPECT_TRUE(adjacency_holds(*mesh_));
  }

  std::unique_ptr<Mesh> mesh_ = sheet(60, 0.5F, 0.4F, 0.1F).mesh();
  const int faces_ = mesh_->face.get_facenum();
};

TEST_F(LooseVertices, keep_no_mark_of_a_circle) {
  cut_circle(*mesh_, 4, 5.5F);
  expect_cut();
}

TEST_F(LooseVertices, keep_no_mark_of_a_single_circle) {
  _vert tool;
  tool.point = {0, 0, 0};
  tool.vector = {0, 0, 1};
  mesh_->trimWithCircle(5.5F, 0.5F, &tool);
  expect_cut();
}

TEST_F(LooseVertices, keep_no_mark_of_a_slot) {
  cut_slot(*mesh_, 3, 2, 5);
  expect_cut();
}

TEST_F(LooseVertices, keep_no_mark_of_a_rectangle) {
  cut_rectangle(*mesh_, 3, 2, 5);
  expect_cut();
}

TEST(LooseVerticesAlone, keep_no_mark_where_nothing_is_cut) {
  Mesh mesh;
  mesh.inalize();
  add_loose(mesh);
  _vert tool;
  tool.point = {0, 0, 0};
  tool.vector = {0, 0, 1};
  // The single form has no use for vertices without a normal.
  mesh.trimWithCircle(5.5F, 0.5F, &tool);
  expect_no_marks(mesh);
  cut_circle(mesh, 4, 5.5F);
  cut_slot(mesh, 3, 2, 5);
  cut_rectangle(mesh, 3, 2, 5);
  expect_no_marks(mesh);
  EXPECT_EQ(loose_vertices(mesh), 5);
}

}  // namespace
