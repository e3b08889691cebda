// Rings with a vertex that isn't finite, and what taking a fill back gives back.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

#include "core/vector_math.h"
#include "tests/support/hole_shapes.h"
#include "tests/support/invariants.h"

namespace {

using namespace test_support;
using Mesh_M::Mesh;
using std::vector;

vector<Vec3f> positions(Mesh& mesh, int count) {
  vector<Vec3f> out;
  for (int i = 0; i < count; ++i) out.push_back(mesh.vertex[i]->point);
  return out;
}

vector<Vec3f> face_normals(Mesh& mesh, int count) {
  vector<Vec3f> out;
  for (int i = 0; i < count; ++i) out.push_back(mesh.face[i]->vector);
  return out;
}

bool same_bits(const vector<Vec3f>& a, const vector<Vec3f>& b) {
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(Vec3f)) == 0;
}

class WildRing : public testing::Test {
 protected:
  void SetUp() override {
    mesh->build_hole();
    ASSERT_EQ(mesh->get_hole_num(), 1);
  }
  Mesh_R::Hole& hole() { return mesh->hole; }

  std::unique_ptr<Mesh> mesh = noisy(capped_sphere(4, 10.0F, 6.0F), 0.1F, 5).mesh();
  int verts = mesh->vertex.get_vertnum();
  int faces = mesh->face.get_facenum();
};

TEST_F(WildRing, one_bad_vertex_does_not_spread) {
  const float infinity = std::numeric_limits<float>::infinity();
  for (const float bad : {std::nanf(""), infinity, -infinity}) {
    for (const float f : {0.1F, 0.3F, 20.0F}) {
      auto scan = capped_sphere(4, 10.0F, 6.0F).mesh();
      scan->build_hole();
      Mesh_R::_vert* const wild = (*scan->hole[0]->edges)[3]->vert[0];
      wild->point.y = bad;
      scan->vertex.R_cal_vector();
      const int old = scan->vertex.get_vertnum();
      const vector<Vec3f> before = positions(*scan, old);
      scan->hole.fill_Hole_No(f, 0, 3);
      EXPECT_GT(scan->hole.added_faces.size(), 10);
      for (int i = 0; i < scan->vertex.get_vertnum(); ++i) {
        const Mesh_R::_vert* const vert = scan->vertex[i];
        if (vert == wild || vert->state == Mesh_R::kStateDeleted) continue;
        EXPECT_TRUE(scanmesh::finite(vert->point)) << i << " at " << f;
      }
      EXPECT_TRUE(adjacency_holds(*scan));
      scan->Revoked_fill_hole();
      EXPECT_TRUE(same_bits(positions(*scan, old), before)) << f;
      EXPECT_TRUE(adjacency_holds(*scan));
    }
  }
}

TEST_F(WildRing, edges_with_a_length_say_how_long_new_ones_are) {
  auto scan = capped_sphere(4, 10.0F, 6.0F).mesh();
  scan->build_hole();
  (*scan->hole[0]->edges)[3]->vert[0]->point.y = std::nanf("");
  scan->vertex.R_cal_vector();
  scan->hole.fill_Hole_No(0.3F, 0, 3);
  auto sound = capped_sphere(4, 10.0F, 6.0F).mesh();
  sound->build_hole();
  sound->hole.fill_Hole_No(0.3F, 0, 3);
  EXPECT_GT(scan->hole.added_verts.size(), sound->hole.added_verts.size() / 2);
}

TEST_F(WildRing, a_revoked_fill_gives_all_positions_back) {
  const vector<Vec3f> before = positions(*mesh, verts);
  const vector<Vec3f> normals = face_normals(*mesh, faces);
  hole().fill_Hole_No(0.3F, 0, 3);
  EXPECT_FALSE(same_bits(positions(*mesh, verts), before));
  EXPECT_FALSE(same_bits(face_normals(*mesh, faces), normals));
  mesh->Revoked_fill_hole();
  EXPECT_TRUE(same_bits(positions(*mesh, verts), before));
  EXPECT_TRUE(same_bits(face_normals(*mesh, faces), normals));
}

TEST_F(WildRing, a_committed_fill_keeps_what_it_moved) {
  hole().fill_Hole_No(0.3F, 0, 3);
  const vector<Vec3f> moved = positions(*mesh, verts);
  hole().Determine_fill_hole();
  mesh->Revoked_fill_hole();
  EXPECT_TRUE(same_bits(positions(*mesh, verts), moved));
  // A fill that moves nothing, taken back, doesn't bring an earlier one's positions.
  mesh->hole.free();
  mesh->build_hole();
  mesh->Revoked_fill_hole();
  EXPECT_TRUE(same_bits(positions(*mesh, verts), moved));
}

TEST_F(WildRing, positions_are_given_back_once) {
  hole().fill_Hole_No(0.3F, 0, 3);
  mesh->Revoked_fill_hole();
  Mesh_R::_vert* const vert = (*hole()[0]->edges)[0]->vert[0];
  vert->point.x += 1;
  const vector<Vec3f> since = positions(*mesh, verts);
  mesh->Revoked_fill_hole();
  EXPECT_TRUE(same_bits(positions(*mesh, verts), since));
}

}  // namespace
