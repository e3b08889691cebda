// Meshes as damaged files give them: every operation must end, without a mark left behind.
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "tests/support/hole_shapes.h"

namespace {

using namespace test_support;
using Mesh_R::_vert;
using Mesh_R::HoleAccess;
using std::vector;

// Random triangles over few points: non-manifold everywhere, repeated corners, repeated faces.
std::unique_ptr<Mesh_M::Mesh> random_soup(uint64_t seed, int points, int triangles) {
  Random random(seed);
  vector<float> xyz;
  for (int i = 0; i < 3 * points; ++i) xyz.push_back(5 * random.signed_unit());
  vector<int> corners;
  for (int i = 0; i < 3 * triangles; ++i) corners.push_back(random.below(points));
  vector<unsigned char> tags(static_cast<std::size_t>(points), 0);
  auto mesh = std::make_unique<Mesh_M::Mesh>();
  mesh->rebuild(xyz.data(), points, tags.data(), corners.data(), triangles);
  return mesh;
}

bool no_marks(Mesh_M::Mesh& mesh) {
  bool none = true;
  for (int i = 0; i < mesh.vertex.get_vertnum(); ++i) none = none && mesh.vertex[i]->state > 0;
  for (int i = 0; i < mesh.edge.get_edgenum(); ++i) {
    none = none && mesh.edge[i]->state > 2;
  }
  for (int i = 0; i < mesh.face.get_facenum(); ++i) none = none && mesh.face[i]->state > 2;
  return none;
}

template <typename Work>
void on_soups(Work work) {
  for (uint64_t seed = 0; seed < 60; ++seed) {
    const int points = 4 + static_cast<int>(seed % 20);
    const auto mesh = random_soup(seed, points, points + static_cast<int>(seed % 7) * 5);
    work(*mesh);
    EXPECT_TRUE(no_marks(*mesh)) << seed;
  }
}

TEST(DamagedMesh, RingsAreSearched) {
  on_soups([](Mesh_M::Mesh& mesh) {
    mesh.build_hole();
    mesh.destroy_hole();
    mesh.build_smallhole(5);
    mesh.destroy_hole();
    float reference[] = {1, 2, 3};
    for (int i = 0; i < mesh.edge.get_edgenum(); ++i) {
      mesh.hole.inalize(100, 10);
      mesh.hole.build_hole(mesh.edge[i]);
      mesh.hole.free();
      mesh.hole.inalize(100, 10);
      mesh.hole.build_hole_temp(mesh.edge[i], reference);
      mesh.hole.free();
      mesh.hole.inalize(100, 10);
      for (int k = 0; k < mesh.vertex.get_vertnum(); ++k) mesh.vertex[k]->reached = true;
      mesh.hole.build_hole_trim(mesh.edge[i], 20, reference);
      mesh.hole.free();
    }
  });
}

TEST(DamagedMesh, RingsAreFilledByThePatchMaker) {
  on_soups([](Mesh_M::Mesh& mesh) {
    mesh.build_hole();
    for (int i = 0; i < mesh.get_hole_num(); ++i) {
      if (mesh.hole[i] == nullptr) continue;
      mesh.fill_hole_No(i, 0.5F);
      if (i % 3 == 0) mesh.Revoked_fill_hole();
    }
  });
}

TEST(DamagedMesh, RingsAreFilledByClipping) {
  on_soups([](Mesh_M::Mesh& mesh) {
    mesh.build_hole();
    for (int i = 0; i < mesh.get_hole_num(); ++i) {
      if (mesh.hole[i] == nullptr) continue;
      mesh.hole.fill_Hole_No(0.5F, i, 3);
      if (i % 3 == 0) mesh.Revoked_fill_hole();
    }
  });
}

TEST(DamagedMesh, SmallRingsAreClosed) {
  on_soups([](Mesh_M::Mesh& mesh) { mesh.auto_fill_small_hole(30); });
}

TEST(DamagedMesh, PairsAreMerged) {
  on_soups([](Mesh_M::Mesh& mesh) {
    mesh.hole.inalize(100, 10);
    Vec3f place{1, 1, 1};
    _vert* const merged = mesh.vertex.insert_vert(place);
    _vert* const a = mesh.vertex[0];
    _vert* const b = mesh.vertex[1];
    vector<_vert*> buffer(static_cast<std::size_t>(3 * (a->face_num + b->face_num + 100)));
    mesh.hole.MergeTwoV_One(a, b, merged, reinterpret_cast<_vert*(*)[3]>(buffer.data()));
  });
}

// A fan of many single triangles around one vertex.
TEST(DamagedMesh, HubOfManyTrianglesIsSearchedAndFilled) {
  Soup soup{{{0, 0, 0}}, {}};
  const int n = 4000;
  for (int i = 0; i < n; ++i) {
    const double t = 6.283185307179586 * i / n;
    const double u = t + 3.0 / n;
    soup.points.push_back({static_cast<float>(10 * std::cos(t)),
                           static_cast<float>(10 * std::sin(t)), static_cast<float>(i % 5)});
    soup.points.push_back({static_cast<float>(10 * std::cos(u)),
                           static_cast<float>(10 * std::sin(u)), static_cast<float>(i % 5)});
    soup.triangles.push_back({2 * i + 1, 2 * i + 2, 0});
  }
  const auto mesh = soup.mesh();
  mesh->build_hole();
  int edges = 0;
  for (const int length : ring_lengths(*mesh)) edges += length;
  EXPECT_EQ(edges, 3 * n);
  for (int i = 0; i < 10; ++i) {
    if (mesh->hole[i] != nullptr) mesh->fill_hole_No(i, 0.5F);
  }
  EXPECT_TRUE(no_marks(*mesh));
}

}  // namespace
