#include <gtest/gtest.h>

#include <cmath>

#include "scanmesh/mesh.h"
#include "tests/support/invariants.h"
#include "tests/support/shapes.h"
#include "tests/support/snapshots.h"

namespace {

using namespace test_support;
using Mesh_M::Mesh;
using Mesh_R::_edge;
using Mesh_R::_vert;

int live_vertices(Mesh& mesh) {
  int n = 0;
  for (int i = 0; i < mesh.vertex.get_vertnum(); ++i) {
    n += mesh.vertex[i]->state != Mesh_R::kStateDeleted;
  }
  return n;
}

// A 6 x 6 grid with one inner vertex pulled to `distance` from its neighbour on the right.
std::unique_ptr<Mesh> grid_with_short_edge(float distance) {
  Soup soup = flat_grid(6, 1.0F);
  soup.points[3 * 7 + 3].x = 4.0F - distance;
  return soup.mesh();
}

TEST(ShortEdges, below_055_of_the_resolution_go_to_their_middle) {
  // 0.55 of 1 as a float, and its square: exactly that long isn't short.
  const auto limit = static_cast<float>(0.55 * 1.0F);
  for (const bool is_short : {true, false}) {
    const float distance = is_short ? 0.5F : 0.5625F;
    ASSERT_EQ(distance < limit, is_short);
    const auto mesh = grid_with_short_edge(distance);
    mesh->setResolutionParam({1.0F, 0.25F, false});
    const int faces = mesh->face.real_num;
    const _edge* const edge = mesh->vertex.find_edge(mesh->vertex[24], mesh->vertex[25]);
    ASSERT_NE(edge, nullptr);
    ASSERT_EQ(edge->vert[0]->face_num, edge->vert[1]->face_num);
    const _vert* const keep = edge->vert[0];
    const _vert* const gone = edge->vert[1];
    mesh->collapse_short_edges();
    EXPECT_TRUE(adjacency_holds(*mesh));
    EXPECT_EQ(mesh->face.real_num, is_short ? faces - 2 : faces);
    EXPECT_EQ(live_vertices(*mesh), is_short ? 48 : 49);
    if (!is_short) continue;
    // Both ends have six faces: the first end stays, in the middle.
    EXPECT_NE(keep->state, Mesh_R::kStateDeleted);
    EXPECT_EQ(gone->state, Mesh_R::kStateDeleted);
    EXPECT_EQ(keep->point.x, 3.75F);
  }
}

// Two faces on one edge along an axis, from -0.25 to `end`; how many are left.
int faces_left(int axis, float end, float resolution) {
  const auto turned = [axis](float a, float b) {
    const float c[3] = {axis == 0 ? a : b, axis == 1 ? a : (axis == 0 ? b : 0), axis == 2 ? a : 0};
    return Vec3f{c[0], c[1], c[2]};
  };
  const Soup soup{{turned(-0.25F, 0), turned(end, 0), turned(0, 5), turned(0, -5)},
                  {{{0, 1, 2}}, {{1, 0, 3}}}};
  const auto mesh = soup.mesh();
  mesh->setResolutionParam({resolution, 0, false});
  mesh->collapse_short_edges();
  return mesh->face.real_num;
}

TEST(ShortEdges, an_edge_of_exactly_the_limit_stays_and_one_a_hair_shorter_goes) {
  const float resolution = 0.90909094F;
  ASSERT_EQ(static_cast<float>(0.55 * resolution), 0.5F);
  for (const int axis : {0, 1, 2}) {
    EXPECT_EQ(faces_left(axis, 0.25F, resolution), 2) << axis;
    // The difference rounds to 0.5 in float, and is below it in double.
    const float hair = std::nextafterf(0.25F, 0.0F);
    ASSERT_EQ(hair + 0.25F, 0.5F);
    EXPECT_EQ(faces_left(axis, hair, resolution), 0) << axis;
  }
}

TEST(ShortEdges, end_with_more_faces_stays) {
  // The border vertex has three faces, the inner one six.
  Soup soup = flat_grid(4, 1.0F);
  soup.points[5 + 2].y = 0.25F;
  const auto mesh = soup.mesh();
  mesh->setResolutionParam({0.8F, 0, false});
  mesh->collapse_short_edges();
  EXPECT_TRUE(adjacency_holds(*mesh));
  EXPECT_NE(mesh->vertex[7]->state, Mesh_R::kStateDeleted);
  EXPECT_EQ(mesh->vertex[2]->state, Mesh_R::kStateDeleted);
  EXPECT_EQ(mesh->vertex[7]->point.y, 0.125F);
}

TEST(ShortEdges, fine_edges_have_their_own_limit_where_that_is_enabled) {
  for (const bool enabled : {false, true}) {
    const auto mesh = grid_with_short_edge(0.5F);
    mesh->vertex[25]->tag = Mesh_R::kTagFine | 1;
    mesh->vertex[24]->tag = 4;
    mesh->setResolutionParam({1.0F, 0.5F, enabled});
    mesh->collapse_short_edges();
    EXPECT_EQ(live_vertices(*mesh), enabled ? 49 : 48);
    if (enabled) continue;
    const _vert* const kept =
        mesh->vertex[24]->state != Mesh_R::kStateDeleted ? mesh->vertex[24] : mesh->vertex[25];
    // Tags are joined under the fine limit only.
    EXPECT_TRUE(kept->tag == 4 || kept->tag == (Mesh_R::kTagFine | 1));
  }
  const auto mesh = grid_with_short_edge(0.5F);
  mesh->vertex[25]->tag = Mesh_R::kTagFine | 1;
  mesh->vertex[24]->tag = 4;
  mesh->setResolutionParam({0.01F, 1.0F, true});
  mesh->collapse_short_edges();
  EXPECT_EQ(live_vertices(*mesh), 48);
  const _vert* const kept =
      mesh->vertex[24]->state != Mesh_R::kStateDeleted ? mesh->vertex[24] : mesh->vertex[25];
  EXPECT_EQ(kept->tag, Mesh_R::kTagFine | 5);
}

TEST(ShortEdges, moved_faces_keep_their_normal_and_new_edges_lose_their_mark_when_enabled) {
  for (const bool enabled : {false, true}) {
    const auto mesh = grid_with_short_edge(0.5F);
    for (int i = 0; i < mesh->face.get_facenum(); ++i) mesh->face[i]->vector = {0.6F, 0, 0.8F};
    mesh->setResolutionParam({1.0F, 1.0F, enabled});
    const int faces = mesh->face.get_facenum();
    mesh->collapse_short_edges();
    ASSERT_GT(mesh->face.get_facenum(), faces);
    for (int i = faces; i < mesh->face.get_facenum(); ++i) {
      EXPECT_EQ(mesh->face[i]->vector.x, 0.6F);
      for (const _edge* e : mesh->face[i]->edge) EXPECT_EQ(e->mark, 0);
    }
  }
}

TEST(ShortEdges, none_is_short_at_resolution_0) {
  const auto mesh = irregular_patch(10, 2).mesh();
  mesh->setResolutionParam({0, 0, false});
  const Snapshot before = snapshot(*mesh);
  mesh->collapse_short_edges();
  EXPECT_TRUE(identical(points_of(*mesh), before.points));
}

TEST(ShortEdges, a_coarse_pass_over_a_noisy_patch_leaves_a_sound_mesh) {
  for (uint64_t seed = 0; seed < 10; ++seed) {
    for (const float resolution : {0.9F, 1.5F, 3.0F}) {
      const auto mesh = irregular_patch(16, seed).mesh();
      mesh->setResolutionParam({resolution, 0.3F, seed % 2 == 0});
      const int before = mesh->face.real_num;
      mesh->collapse_short_edges();
      ASSERT_TRUE(adjacency_holds(*mesh)) << seed << " " << resolution;
      EXPECT_TRUE(resolution < 1 || mesh->face.real_num < before);
    }
  }
}

TEST(Needles, sharp_tip_of_a_boundary_face_is_cut) {
  // A tip that opens 180 - 2 t degrees less than straight: 178 and 175 degrees.
  for (const bool sharp : {true, false}) {
    Soup soup = flat_grid(2, 1.0F);
    const float height =
        sharp ? 0.5F * std::tan(0.0174533F * 1) : 0.5F * std::tan(0.0174533F * 2.5F);
    soup.points.push_back({0.5F, -height, 0});
    soup.triangles.push_back({1, 0, static_cast<int>(soup.points.size()) - 1});
    const auto mesh = soup.mesh();
    const int faces = mesh->face.real_num;
    mesh->setResolutionParam({0, 0, false});
    mesh->collapse_short_edges();
    EXPECT_EQ(mesh->face.real_num, sharp ? faces - 1 : faces);
    EXPECT_TRUE(adjacency_holds(*mesh));
  }
}

TEST(Needles, tip_on_an_edge_of_three_faces_is_cut_however_it_opens) {
  Soup soup = flat_grid(2, 1.0F);
  soup.points.push_back({1.5F, 1, 1});
  soup.triangles.push_back({4, 5, static_cast<int>(soup.points.size()) - 1});
  const auto mesh = soup.mesh();
  mesh->setResolutionParam({0, 0, false});
  mesh->collapse_short_edges();
  EXPECT_EQ(mesh->face.real_num, 8);
  EXPECT_TRUE(adjacency_holds(*mesh));
}

TEST(Needles, zero_length_edge_keeps_its_face) {
  // Two corners at one place: the direction is zero, and so is the product.
  Soup soup{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{{0, 1, 2}}}};
  const auto mesh = soup.mesh();
  mesh->vertex[1]->point = mesh->vertex[0]->point;
  mesh->setResolutionParam({0, 0, false});
  mesh->collapse_short_edges();
  EXPECT_EQ(mesh->face.real_num, 1);
}

// A triangle with a vertex near the middle of one side, three faces round it.
Soup fan_of_three(float height) {
  return {{{0, 0, 0}, {2, 0, 0}, {1, 2, 0}, {1, height, 0}, {1, -2, 0}},
          {{{0, 1, 3}}, {{1, 2, 3}}, {{2, 0, 3}}, {{1, 0, 4}}}};
}

TEST(Needles, vertex_of_three_faces_on_a_line_between_neighbours_is_merged_away) {
  for (const bool needle : {true, false}) {
    for (const bool turned : {false, true}) {
      const auto mesh = fan_of_three(needle ? 0.01F : 0.1F).mesh();
      if (turned) {
        for (int i = 0; i < 3; ++i) mesh->face[i]->vector = {0, 0, -1};
      }
      mesh->setResolutionParam({0, 0, false});
      mesh->collapse_short_edges();
      EXPECT_EQ(mesh->face.real_num, needle ? 2 : 4);
      EXPECT_TRUE(adjacency_holds(*mesh));
      if (!needle) continue;
      EXPECT_EQ(mesh->vertex[3]->state, Mesh_R::kStateDeleted);
      const Mesh_R::_face* const merged = mesh->face[mesh->face.get_facenum() - 1];
      const Vec3f& a = merged->vert[0]->point;
      const Vec3f& b = merged->vert[1]->point;
      const Vec3f& c = merged->vert[2]->point;
      const float turn = (a.x - b.x) * (b.y - c.y) - (a.y - b.y) * (b.x - c.x);
      EXPECT_EQ(turn > 0, !turned) << "the corners turn as the old normal says";
      EXPECT_EQ(merged->vector.z, turned ? -1 : 1);
    }
  }
}

}  // namespace
