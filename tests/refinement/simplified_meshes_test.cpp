// Whole meshes before and after simplification.
#include <gtest/gtest.h>

#include <map>
#include <utility>
#include <vector>

#include "scanmesh/mesh.h"
#include "tests/support/invariants.h"
#include "tests/support/shapes.h"

namespace {

using test_support::adjacency_holds;
using test_support::Soup;

int open_edges(Mesh_M::Mesh& mesh) {
  int open = 0;
  for (int i = 0; i < mesh.edge.get_edgenum(); ++i) open += mesh.edge[i]->face_num == 1;
  return open;
}

TEST(Simplify, frees_the_rings_whose_edges_go) {
  for (const bool by_limit : {false, true}) {
    auto mesh = test_support::irregular_patch(10, 4).mesh();
    mesh->build_hole();
    ASSERT_GT(mesh->get_hole_num(), 0);
    mesh->fill_hole_No(0, 0.5F);
    ASSERT_NE(mesh->hole.last_hole, nullptr);
    double limit = 0.01;
    if (by_limit) {
      mesh->Mesh_Queue_Simplify(&limit, nullptr);
    } else {
      mesh->Mesh_simplify(100, true);
    }
    EXPECT_EQ(mesh->get_hole_num(), 0);
    EXPECT_EQ(mesh->hole.holes.block, nullptr);
    EXPECT_EQ(mesh->hole.last_hole, nullptr);
    mesh->Revoked_fill_hole();
    mesh->build_hole();
    EXPECT_GT(mesh->get_hole_num(), 0);
    EXPECT_TRUE(adjacency_holds(*mesh));
  }
}

TEST(Simplify, tears_no_hole_where_flat_faces_collapse_onto_one_corner) {
  Soup soup = test_support::sphere(2, 30);
  for (int level = 0; level < 3; ++level) {
    Soup finer;
    finer.points = soup.points;
    std::map<std::pair<int, int>, int> middle;
    for (const auto& t : soup.triangles) {
      int m[3];
      for (int j = 0; j < 3; ++j) {
        const auto key =
            std::minmax(t[static_cast<std::size_t>(j)], t[static_cast<std::size_t>((j + 1) % 3)]);
        const auto found = middle.find(key);
        if (found == middle.end()) {
          const auto& a = finer.points[static_cast<std::size_t>(key.first)];
          const auto& b = finer.points[static_cast<std::size_t>(key.second)];
          finer.points.push_back({(a.x + b.x) / 2, (a.y + b.y) / 2, (a.z + b.z) / 2});
          m[j] = static_cast<int>(finer.points.size()) - 1;
          middle[key] = m[j];
        } else {
          m[j] = found->second;
        }
      }
      finer.triangles.push_back({t[0], m[0], m[2]});
      finer.triangles.push_back({m[0], t[1], m[1]});
      finer.triangles.push_back({m[2], m[1], t[2]});
      finer.triangles.push_back({m[0], m[1], m[2]});
    }
    soup = finer;
  }
  auto mesh = soup.mesh();
  mesh->Mesh_simplify(mesh->face.real_num / 10, true);
  EXPECT_EQ(open_edges(*mesh), 0);
}

TEST(FaceEdgeNumbers, are_those_of_the_store_and_minus_1_for_a_deleted_face) {
  auto mesh = test_support::flat_grid(2, 1).mesh();
  mesh->face.dele_face(mesh->face[2]);
  std::vector<int> out(24, -9);
  mesh->cal_face_eno(out.data(), 1, 4);
  EXPECT_EQ(out[0], -9);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(out[static_cast<std::size_t>(3 + i)], mesh->edge.get_edge_no(mesh->face[1]->edge[i]));
  }
  EXPECT_EQ(out[6], -1);
  EXPECT_EQ(out[7], -9);
  EXPECT_EQ(out[12], -9);
}

}  // namespace
