#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "scanmesh/mesh.h"
#include "tests/support/invariants.h"
#include "tests/support/live_geometry.h"
#include "tests/support/shapes.h"

namespace {

using namespace test_support;
using Mesh_M::Mesh;
using Mesh_R::_face;

// The faces around one of the live faces, as a selection would be.
std::vector<_face*> blob(Mesh& mesh, Random& random, float radius) {
  const std::vector<_face*> live = live_faces(mesh);
  const Vec3f centre =
      live[static_cast<std::size_t>(random.below(static_cast<int>(live.size())))]->vert[0]->point;
  std::vector<_face*> chosen;
  for (_face* face : live) {
    const Vec3f& p = face->vert[1]->point;
    if (std::hypot(p.x - centre.x, p.y - centre.y, p.z - centre.z) < radius) chosen.push_back(face);
  }
  return chosen;
}

void delete_and_take_back(Mesh& mesh, Random& random) {
  std::vector<_face*> faces = blob(mesh, random, 1.0F + static_cast<float>(random.below(3)));
  const int n = static_cast<int>(faces.size());
  Mesh_M::obj_triangle* const record = mesh.storage_delFace(faces.data(), n);
  mesh._dele_triangle(faces.data(), n);
  ASSERT_TRUE(adjacency_holds(mesh));
  mesh.Revoked_triangle(record);
}

void remove_a_feature_and_take_it_back(Mesh& mesh, Random& random) {
  std::vector<_face*> faces = blob(mesh, random, 2.0F);
  _face** added = nullptr;
  int added_count = 0;
  Mesh_M::obj_triangle* const record =
      mesh.remove_feature(faces.data(), static_cast<int>(faces.size()), added, added_count, 0.5F);
  ASSERT_TRUE(adjacency_holds(mesh));
  mesh.Revoked_removefeature(record, added, added_count);
  if (record != nullptr) delete[] added;
}

void fill_and_revoke(Mesh& mesh, Random& random) {
  mesh.destroy_hole();
  mesh.build_hole();
  std::vector<int> rings;
  for (int i = 0; i < mesh.get_hole_num(); ++i) {
    if (mesh.hole[i] != nullptr) rings.push_back(i);
  }
  if (rings.empty()) return;
  mesh.fill_hole_No(rings[static_cast<std::size_t>(random.below(static_cast<int>(rings.size())))],
                    0.5F);
  ASSERT_TRUE(adjacency_holds(mesh));
  mesh.Revoked_fill_hole();
}

// Filling turns faces that stand against the normals of their corners, and taking it back leaves
// them so: what comes back is the geometry.
TEST(UndoRounds, hundreds_of_steps_of_every_kind_leave_the_mesh_as_it_was) {
  const auto mesh = irregular_patch(16, 11).mesh();
  mesh->inalize_mesh();
  const Geometry before = unoriented(geometry(*mesh));
  const int real_num = mesh->face.real_num;
  Random random(29);
  for (int round = 0; round < 300; ++round) {
    SCOPED_TRACE(round);
    switch (random.below(3)) {
      case 0:
        delete_and_take_back(*mesh, random);
        break;
      case 1:
        remove_a_feature_and_take_it_back(*mesh, random);
        break;
      default:
        fill_and_revoke(*mesh, random);
        break;
    }
    ASSERT_TRUE(adjacency_holds(*mesh));
    ASSERT_EQ(mesh->face.real_num, real_num);
    ASSERT_TRUE(unoriented(geometry(*mesh)) == before);
  }
}

}  // namespace
