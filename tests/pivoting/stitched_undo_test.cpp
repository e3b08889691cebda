// Deleting and bringing back faces of a mesh that was stitched.
#include <gtest/gtest.h>

#include <vector>

#include "tests/pivoting/seam_meshes.h"
#include "tests/pivoting/stitch_runs.h"
#include "tests/support/invariants.h"

namespace {

using namespace test_support;
using Mesh_M::Mesh;

int faceless_edges(Mesh& mesh) {
  int count = 0;
  for (int i = 0; i < mesh.edge.get_edgenum(); ++i) {
    const Mesh_R::_edge& edge = *mesh.edge[i];
    count += edge.state != Mesh_R::kStateDeleted && edge.face_num == 0;
  }
  return count;
}

std::vector<Mesh_R::_face*> two_thirds_of_the_faces(Mesh& mesh, uint64_t seed) {
  Random random(seed);
  std::vector<Mesh_R::_face*> chosen;
  for (int i = 0; i < mesh.face.get_facenum(); ++i) {
    if (mesh.face[i]->state != Mesh_R::kStateDeleted && random.below(3) != 0) {
      chosen.push_back(mesh.face[i]);
    }
  }
  return chosen;
}

// Balls refuse a triangle now and then whose edges are made already: these stay without a face, and
// must not outlive their ends.
TEST(StitchedUndo, deleting_and_bringing_back_leaves_the_records_sound) {
  int left_over = 0;
  for (int form = 0; form < 3; ++form) {
    for (uint64_t seed = 1; seed <= 25; ++seed) {
      const auto mesh = seam_mesh(seed % 2 == 1 ? 4 : 8, seed % 3 == 0 ? 0.0F : 0.3F, seed);
      Mesh target;
      Mesh& result = stitched(form, *mesh, target);
      left_over += faceless_edges(result);
      ASSERT_TRUE(adjacency_holds(result)) << "form " << form << " seed " << seed;
      std::vector<Mesh_R::_face*> chosen = two_thirds_of_the_faces(result, 77 * seed);
      const int count = static_cast<int>(chosen.size());
      const int before = result.face.real_num;
      Mesh_M::obj_triangle* const record = result.storage_delFace(chosen.data(), count);
      result._dele_triangle(chosen.data(), count);
      EXPECT_TRUE(adjacency_holds(result)) << "form " << form << " seed " << seed;
      result.Revoked_triangle(record);
      EXPECT_TRUE(adjacency_holds(result)) << "form " << form << " seed " << seed;
      EXPECT_EQ(result.face.real_num, before);
    }
  }
  EXPECT_GT(left_over, 0) << "no run shows the case";
}

}  // namespace
