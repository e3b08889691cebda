// What a fill leaves behind: added faces that still have a free edge go.
#include <gtest/gtest.h>

#include <memory>

#include "holes/fill_driver.h"
#include "tests/support/hole_shapes.h"
#include "tests/support/invariants.h"

namespace {

using namespace test_support;
using Mesh_R::_edge;
using Mesh_R::_face;

// An octahedron without one face: its neighbours have a free edge, their neighbours don't yet.
struct OpenOctahedron {
  std::unique_ptr<Mesh_M::Mesh> mesh = sphere(0, 1).mesh();
  _face* rim = nullptr;
  _face* behind = nullptr;

  OpenOctahedron() {
    mesh->face.dele_face(mesh->face[0]);
    mesh->hole.inalize(100, 10);
    for (int i = 1; i < 8 && rim == nullptr; ++i) {
      for (const _edge* edge : mesh->face[i]->edge) {
        if (edge->face_num == 1) rim = mesh->face[i];
      }
    }
    for (const _edge* edge : rim->edge) {
      if (edge->face_num == 2) behind = edge->face[0] == rim ? edge->face[1] : edge->face[0];
    }
  }
  void list(_face* first, _face* second) {
    mesh->hole.added_faces.allocate_mem() = first;
    mesh->hole.added_faces.allocate_mem() = second;
    scanmesh::remove_leftovers(mesh->hole);
  }
};

TEST(Leftovers, a_removal_takes_a_later_neighbour_along) {
  OpenOctahedron open;
  open.list(open.rim, open.behind);
  EXPECT_EQ(open.rim->state, 3);
  EXPECT_EQ(open.behind->state, 3);
  EXPECT_EQ(open.mesh->face.real_num, 5);
  EXPECT_TRUE(adjacency_holds(*open.mesh));
}

TEST(Leftovers, an_earlier_neighbour_stays) {
  OpenOctahedron open;
  open.list(open.behind, open.rim);
  EXPECT_EQ(open.rim->state, 3);
  EXPECT_EQ(open.behind->state, 8);
  EXPECT_EQ(open.mesh->face.real_num, 6);
}

}  // namespace
