#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "scanmesh/internal.h"
#include "tests/pivoting/seam_meshes.h"
#include "tests/pivoting/stitch_runs.h"

namespace {

using namespace test_support;
using Mesh_M::Mesh;
using xbpa::XBallPivoting;

TEST(XStitching, the_other_mesh_is_known_even_when_disabled) {
  const auto mesh = seam_mesh(4, 1.5F, 4);
  mesh->setResolutionParam({4, 1, false});
  Mesh target;
  XBallPivoting ball;
  const Captured output;
  ball.stitchMesh(*mesh, target);
  EXPECT_EQ(ball.face_store, &target.face);
  EXPECT_EQ(ball.vert_store, &target.vertex);
  EXPECT_EQ(ball.edge_store, &target.edge);
}

TEST(XStitching, the_source_is_freed) {
  const auto mesh = seam_mesh(4, 1.5F, 10);
  mesh->build_hole();
  Mesh target;
  stitched(2, *mesh, target);
  EXPECT_EQ(mesh->vertex.records.block, nullptr);
  EXPECT_EQ(mesh->face.real_num, 0);
  EXPECT_EQ(mesh->get_hole_num(), 0);
  EXPECT_EQ(target.face.real_num, target.face.get_real_facenum());
}

TEST(XStitching, the_band_in_place_goes_whatever_bit_0x20_says) {
  const auto mesh = flat_grid(6, 1).mesh();
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) mesh->vertex[i]->tag = 0xA0;
  mesh->setResolutionParam({0, 0, true});
  Mesh unused;
  stitched(1, *mesh, unused);
  // Only what is two rings away from the rim is left.
  EXPECT_EQ(mesh->face.real_num, 8);
}

TEST(XStitching, a_vertex_that_lost_its_faces_goes_on_in_a_fresh_record) {
  const auto mesh = seam_mesh(4, 1.5F, 12);
  ReferenceStitching plain(*mesh);
  plain.in_place();
  ASSERT_GT(plain.lost.size(), 0U);
  std::vector<Vec3f> places;
  for (const int v : plain.lost) places.push_back(mesh->vertex[v]->point);
  const int before = mesh->vertex.get_vertnum();
  XBallPivoting ball;
  const Captured output;
  ball.stitchMesh(*mesh);
  std::size_t i = 0;
  for (const int v : plain.lost) {
    EXPECT_EQ(mesh->vertex[v]->state, Mesh_R::kStateDeleted);
    // A node has its place, in a record behind the old ones.
    const Vec3f& place = places[i++];
    const auto found = std::find_if(ball.nodes.begin(), ball.nodes.end(), [&](const auto& node) {
      return node.vert->point.x == place.x && node.vert->point.y == place.y;
    });
    ASSERT_NE(found, ball.nodes.end());
    EXPECT_GE(mesh->vertex.get_vert_no(found->vert), before);
    EXPECT_EQ(found->vert->index, found - ball.nodes.begin());
  }
  for (std::size_t k = 0; k < ball.nodes.size(); ++k) {
    EXPECT_EQ(ball.nodes[k].vert->index, static_cast<int>(k));
  }
}

TEST(XStitching, seam_radii_apply_even_when_no_edge_is_split) {
  const double fourfold[5] = {0.2, 0.35, 0.5, 0.8, 1.1};
  const double eightfold[5] = {0.1, 0.3, 0.5, 0.8, 1.1};
  const double settled[5] = {0.3, 0.7, 1, 1.5, 2};
  for (const float fine : {1.0F, 0.5F, 0.7F}) {
    for (const int form : {1, 2}) {
      const auto mesh = flat_grid(4, 4).mesh();  // no tags at all
      mesh->setResolutionParam({4, fine, true});
      Mesh target;
      XBallPivoting ball;
      const Captured output;
      if (form == 1) {
        ball.stitchMesh(*mesh);
      } else {
        ball.stitchMesh(*mesh, target);
      }
      const double* const expected = fine == 1.0F ? fourfold : fine == 0.5F ? eightfold : settled;
      for (int i = 0; i < 5; ++i) {
        EXPECT_DOUBLE_EQ(ball.radius[i], expected[i] * 6);
        EXPECT_EQ(ball.radius_sq[i], ball.radius[i] * ball.radius[i]);
      }
      EXPECT_EQ(ball.max_dist, fine == 0.7F ? 24 : 12);
    }
  }
}

TEST(XStitching, a_tip_adds_a_midpoint_only_with_two_open_edges) {
  // One open edge per face of a strip of two, and a face on its own with three.
  const auto added = [](const Soup& soup, float fine) {
    const auto mesh = soup.mesh();
    for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) mesh->vertex[i]->tag = 0xA0;
    mesh->setResolutionParam({4, fine, true});
    const int before = mesh->vertex.get_vertnum();
    XBallPivoting ball;
    const Captured output;
    ball.stitchMesh(*mesh);
    return static_cast<int>(ball.nodes.size()) - before;
  };
  EXPECT_EQ(added(single_triangle(), 1), 0);
  const Soup pair = flat_grid(1, 1);  // two open edges each
  EXPECT_EQ(added(pair, 1), 2);
  EXPECT_EQ(added(pair, 0.5F), 2);
  EXPECT_EQ(added(pair, 0.7F), 0);
  EXPECT_EQ(added(tetrahedron(), 1), 0);
}

TEST(XStitching, in_place_says_what_it_does) {
  const auto mesh = seam_mesh(4, 1.5F, 13);
  XBallPivoting ball;
  Captured output;
  ball.stitchMesh(*mesh);
  EXPECT_THAT(output.text(),
              testing::MatchesRegex("res_param:4 1\nsplit num:0\npoints_all.size\\(\\)=0\n"
                                    "prepare data: [0-9]+\nQQ.size\\(\\): [0-9]+\n"
                                    "KD-Tree initialize Time: [0-9]+\nBPA: [0-9]+\n"));
}

TEST(XStitching, into_another_mesh_says_what_it_does) {
  const auto mesh = seam_mesh(4, 1.5F, 13);
  ReferenceStitching plain(*mesh);
  plain.into_another();
  Mesh target;
  XBallPivoting ball;
  Captured output;
  ball.stitchMesh(*mesh, target);
  EXPECT_THAT(
      output.text(),
      testing::MatchesRegex("res_param:4 1\nnum_ttt:0\nsplit num:" + std::to_string(plain.samples) +
                            "\nprepare data: [0-9]+\n"
                            "KD-Tree initialize Time: [0-9]+\nBPA: [0-9]+\n"));
}

}  // namespace
