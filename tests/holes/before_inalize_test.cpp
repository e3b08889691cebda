// A finder without its lists: nothing is found, nothing is filled.
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "tests/support/hole_access.h"
#include "tests/support/invariants.h"
#include "tests/support/shapes.h"

namespace {

using namespace test_support;
using Mesh_R::_edge;
using Mesh_R::_vert;
using Mesh_R::Hole;
using Mesh_R::HoleAccess;

// A grid with an open rim, and its finder without lists.
class BeforeInalize : public testing::Test {
 protected:
  ~BeforeInalize() override {
    EXPECT_EQ(mesh_->face.get_facenum(), faces_);
    EXPECT_EQ(mesh_->edge.get_edgenum(), edges_);
    EXPECT_EQ(mesh_->vertex.get_vertnum(), vertices_);
    EXPECT_EQ(finder_.hole_count, 0);
    EXPECT_TRUE(adjacency_holds(*mesh_));
    for (int i = 0; i < edges_; ++i) EXPECT_EQ(mesh_->edge[i]->state, Mesh_R::kStateLive);
  }

  _edge* rim() {
    for (int i = 0; i < edges_; ++i) {
      if (mesh_->edge[i]->face_num == 1) return mesh_->edge[i];
    }
    return nullptr;
  }
  _vert* corner(int i) { return mesh_->vertex[i]; }

  std::unique_ptr<Mesh_M::Mesh> mesh_ = flat_grid(4, 1).mesh();
  const int faces_ = mesh_->face.get_facenum();
  const int edges_ = mesh_->edge.get_edgenum();
  const int vertices_ = mesh_->vertex.get_vertnum();
  Hole& finder_ = mesh_->hole;
  float reference_[3] = {0, 0, 0};
};

TEST_F(BeforeInalize, no_ring_is_found) {
  finder_.build_hole();
  finder_.build_smallhole(100);
  finder_.build_hole(rim());
  finder_.build_hole_temp(rim(), reference_);
  finder_.build_hole_temp_oval(rim(), reference_);
  finder_.build_hole_trim(rim(), 100, reference_);
  EXPECT_EQ(finder_.gethole(rim()), nullptr);
  EXPECT_EQ(finder_.gethole_smallHole(rim(), 100), nullptr);
  EXPECT_EQ(finder_.gethole_temp(rim(), reference_), nullptr);
  EXPECT_EQ(finder_.gethole_temp_oval(rim(), reference_), nullptr);
  EXPECT_EQ(finder_.gethole_trim(rim(), 100, reference_), nullptr);
  EXPECT_EQ(finder_[0], nullptr);
}

TEST_F(BeforeInalize, no_ring_is_filled_or_read) {
  finder_.fill_Hole_No(0.5F, 0, 3);
  HoleAccess::fill_num(finder_, 0.5F, 0, 3);
  finder_.auto_fill_small_hole(100);
  finder_.Determine_fill_hole();
  finder_.Revoked_last();
  Mesh_R::_face* face = mesh_->face[0];
  finder_.remove_some_edge(0, &face, 1);
  int n = 7;
  _vert** const around = finder_.getHoleVert(n, 0, 3);
  EXPECT_EQ(n, 0);
  delete[] around;
  n = 7;
  EXPECT_EQ(finder_.return_add_face(n), nullptr);
  EXPECT_EQ(n, 7);
  EXPECT_EQ(mesh_->get_hole_index(0, n), nullptr);
  EXPECT_EQ(n, 0);
  mesh_->fill_hole_No(0, 0.5F);
  mesh_->Revoked_fill_hole();
}

TEST_F(BeforeInalize, no_face_or_edge_is_added) {
  EXPECT_EQ(finder_.add_face(corner(0), corner(7), corner(14), 1), 0);
  finder_.add_new_face(corner(0), corner(7), corner(14));
  _edge* edge = rim();
  finder_.get_edge(edge, corner(0), corner(7));
  EXPECT_EQ(edge, nullptr);
  _vert* buffer[64][3];
  finder_.MergeTwoV_One(corner(6), corner(7), corner(12), buffer);
  std::vector<_vert*> verts(4);
  std::vector<Vec3f> places(4);
  int n = 4;
  finder_.laplacian_buffer(places.data(), n, verts.data());
  EXPECT_EQ(n, 0);
}

TEST_F(BeforeInalize, a_ring_from_elsewhere_is_left_alone) {
  MemS::MemAllo<_edge*> ring;
  ring.inalize(10, 10);
  for (_edge* edge : mesh_->face[0]->edge) ring.allocate_mem() = edge;
  EXPECT_EQ(finder_.fillHolePolyline(&ring), 0);
  Mesh_R::_hole record;
  record.edges = &ring;
  _edge* scratch[3];
  finder_.check_hole_split(scratch, &record);
  ring.free();
}

TEST_F(BeforeInalize, an_unbound_finder_does_nothing_either) {
  Hole finder;
  finder.build_hole();
  finder.build_smallhole(9);
  finder.build_hole(rim());
  finder.auto_fill_small_hole(9);
  EXPECT_EQ(finder.add_face(corner(0), corner(7), corner(14), 0), 0);
  finder.add_new_face(corner(0), corner(7), corner(14));
  finder.fill_Hole_No(1, 0, 3);
  EXPECT_EQ(finder[0], nullptr);
}

// Freed lists are no lists.
TEST_F(BeforeInalize, nor_after_free) {
  mesh_->build_hole();
  ASSERT_EQ(finder_.hole_count, 1);
  mesh_->destroy_hole();
  int n = 7;
  EXPECT_EQ(mesh_->get_hole_index(0, n), nullptr);
  EXPECT_EQ(n, 0);
  mesh_->fill_hole_No(0, 0.5F);
}

}  // namespace
