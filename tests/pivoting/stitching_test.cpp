#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "core/live_records.h"
#include "pivoting/stitching.h"
#include "scanmesh/internal.h"
#include "tests/pivoting/pivoting_access.h"
#include "tests/pivoting/seam_meshes.h"
#include "tests/support/hole_access.h"
#include "tests/support/invariants.h"

namespace {

using namespace test_support;
using BPA::Ball_Pivoting;
using BPA::BallPivotingTraits;
using Mesh_M::Mesh;
using xbpa::XBallPivoting;
using xbpa::XBallPivotingTraits;

// What a stitching prints goes here.
class Captured {
 public:
  Captured() { testing::internal::CaptureStdout(); }
  ~Captured() {
    if (!taken_) testing::internal::GetCapturedStdout();
  }
  std::string text() {
    taken_ = true;
    return testing::internal::GetCapturedStdout();
  }

 private:
  bool taken_ = false;
};

TEST(Stitching, by_copy_makes_the_faces_of_the_plain_form) {
  for (const int ratio : {4, 8, 6}) {
    ReferenceStitching plain(*seam_mesh(ratio, 1.5F, 1));
    ReferencePivoting expected = plain.by_copy();
    EXPECT_EQ(plain.samples > 0, ratio != 6);
    for (const int processors : {1, 2, 7}) {
      const auto mesh = seam_mesh(ratio, 1.5F, 1);
      Ball_Pivoting ball;
      BallPivotingTraits::stitch(ball, *mesh, processors);
      EXPECT_EQ(placed_faces(mesh->face), placed_faces(expected)) << ratio;
      EXPECT_TRUE(adjacency_holds(*mesh));
      ball.free();
    }
  }
}

TEST(Stitching, in_place_makes_the_faces_of_the_plain_form) {
  for (const int ratio : {4, 8, 6}) {
    ReferenceStitching plain(*seam_mesh(ratio, 1.5F, 2));
    ReferencePivoting expected = plain.in_place();
    EXPECT_EQ(plain.midpoints > 0, ratio != 6);
    EXPECT_GT(plain.lost.size(), 0U);
    for (const int processors : {1, 2, 7}) {
      const auto mesh = seam_mesh(ratio, 1.5F, 2);
      XBallPivoting ball;
      const Captured output;
      XBallPivotingTraits::stitch(ball, *mesh, processors);
      EXPECT_EQ(placed_faces(mesh->face), placed_faces(expected)) << ratio;
      EXPECT_TRUE(adjacency_holds(*mesh));
    }
  }
}

TEST(Stitching, into_another_mesh_makes_the_faces_of_the_plain_form) {
  for (const int ratio : {4, 8, 6}) {
    ReferenceStitching plain(*seam_mesh(ratio, 1.5F, 3));
    ReferencePivoting expected = plain.into_another();
    for (const int processors : {1, 2, 7}) {
      const auto source = seam_mesh(ratio, 1.5F, 3);
      Mesh target;
      target.inalize();
      XBallPivoting ball;
      const Captured output;
      XBallPivotingTraits::stitch(ball, *source, target, processors);
      EXPECT_EQ(placed_faces(target.face), placed_faces(expected)) << ratio;
      EXPECT_TRUE(adjacency_holds(target));
    }
  }
}

// What a mesh looks like from outside, for "nothing has changed".
std::vector<std::vector<float>> snapshot(Mesh& mesh) {
  std::vector<std::vector<float>> out;
  for (int i = 0; i < mesh.vertex.get_vertnum(); ++i) {
    const Mesh_R::_vert& v = *mesh.vertex[i];
    out.push_back({v.point.x, v.point.y, v.point.z, v.vector.x, v.vector.y, v.vector.z,
                   static_cast<float>(v.tag), static_cast<float>(v.state),
                   static_cast<float>(v.index)});
  }
  for (const PlacedFace& f : placed_faces(mesh.face)) out.emplace_back(f.begin(), f.end());
  return out;
}

// Runs the three forms; the mesh that holds the result.
Mesh& stitched(int form, Mesh& mesh, Mesh& target) {
  const Captured output;
  if (form == 0) {
    Ball_Pivoting ball;
    ball.stitchMesh(mesh);
    ball.free();
    return mesh;
  }
  XBallPivoting ball;
  if (form == 1) {
    ball.stitchMesh(mesh);
    return mesh;
  }
  ball.stitchMesh(mesh, target);
  return target;
}

int vertex_count(Mesh& mesh) {
  return scanmesh::count_live(mesh.vertex.records);
}

TEST(Stitching, a_disabled_one_leaves_the_meshes_as_they_are) {
  for (const int form : {0, 1, 2}) {
    const auto mesh = seam_mesh(4, 1.5F, 4);
    const auto other = seam_mesh(8, 1.5F, 5);
    mesh->setResolutionParam({4, 1, false});
    mesh->vertex[5]->index = 77;
    const auto before = snapshot(*mesh);
    const auto before_other = snapshot(*other);
    stitched(form, *mesh, *other);
    EXPECT_EQ(snapshot(*mesh), before);
    EXPECT_EQ(snapshot(*other), before_other);
  }
}

TEST(Stitching, the_other_mesh_is_known_even_when_disabled) {
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

TEST(Stitching, both_ratios_are_open_ranges) {
  using scanmesh::Seam;
  const auto seam = [](float coarse, float fine) {
    return scanmesh::seam_of({coarse, fine, true});
  };
  EXPECT_EQ(seam(4, 1), Seam::kFourfold);
  EXPECT_EQ(seam(3.51F, 1), Seam::kFourfold);
  EXPECT_EQ(seam(8.49F, 1), Seam::kEightfold);
  EXPECT_EQ(seam(1, 0.125F), Seam::kEightfold);
  for (const float ratio : {1.0F, 3.5F, 4.5F, 6.0F, 7.5F, 8.5F, 20.0F}) {
    EXPECT_EQ(seam(ratio, 1), Seam::kOther) << ratio;
  }
}

TEST(Stitching, other_ratios_add_no_sample_and_stitch_all_the_same) {
  for (const int form : {0, 1, 2}) {
    for (const float fine : {4 / 3.5F, 2.0F}) {
      const auto mesh = seam_mesh(4, 1.5F, 6);
      mesh->setResolutionParam({4, fine, true});
      const int before = vertex_count(*mesh);
      const auto faces = placed_faces(mesh->face);
      Mesh target;
      Mesh& result = stitched(form, *mesh, target);
      EXPECT_LE(vertex_count(result), before);
      EXPECT_NE(placed_faces(result.face), faces);
      EXPECT_TRUE(adjacency_holds(result));
    }
  }
}

TEST(Stitching, samples_lie_in_the_middle_or_at_the_thirds) {
  Mesh mesh;
  mesh.inalize();
  Vec3f a{0.1F, 0.7F, -3};
  Vec3f b{4.3F, 1.9F, 5};
  Vec3f c{1, 9, 1};
  Mesh_R::_vert* const corner[3] = {mesh.vertex.insert_vert(a), mesh.vertex.insert_vert(b),
                                    mesh.vertex.insert_vert(c)};
  corner[0]->vector = {1, 0, 0};
  corner[0]->tag = 0x80;
  corner[1]->tag = 0x04;
  corner[2]->tag = 0x20;
  Vec3f up{0, 0, 1};
  mesh.insert_face(corner[2], corner[0], corner[1], up);
  // Of the three edges only one has 0x80 and no 0x20.
  int edges = 0;
  const auto count = [&](const Mesh_R::_edge&, const Vec3f&) { ++edges; };
  scanmesh::densify(mesh.edge, scanmesh::Seam::kOther, count);
  EXPECT_EQ(edges, 0);
  scanmesh::densify(mesh.edge, scanmesh::Seam::kFourfold, [&](const Mesh_R::_edge& e, Vec3f p) {
    ++edges;
    EXPECT_EQ(p.x, static_cast<float>((a.x + b.x) * 0.5));
    EXPECT_EQ(p.z, 1);
    const Mesh_R::_vert& sample = *scanmesh::add_sample(mesh.vertex, e, p);
    EXPECT_EQ(sample.tag, 0x84);
    EXPECT_EQ(sample.vector.x, 1);
    EXPECT_EQ(sample.state, Mesh_R::kStateLive);
  });
  EXPECT_EQ(edges, 1);
  std::vector<Vec3f> thirds;
  scanmesh::densify(mesh.edge, scanmesh::Seam::kEightfold,
                    [&](const Mesh_R::_edge&, const Vec3f& p) { thirds.push_back(p); });
  ASSERT_EQ(thirds.size(), 2U);
  EXPECT_EQ(thirds[0].y, static_cast<float>(a.y * 0.3333333333333333) +
                             static_cast<float>(b.y * 0.6666666666666666));
  EXPECT_EQ(thirds[1].y, static_cast<float>(b.y * 0.3333333333333333) +
                             static_cast<float>(a.y * 0.6666666666666666));
}

TEST(Stitching, inner_and_deleted_edges_get_no_sample) {
  const auto mesh = flat_grid(3, 1).mesh();
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) mesh->vertex[i]->tag = 0x80;
  const auto samples = [&] {
    int n = 0;
    scanmesh::densify(mesh->edge, scanmesh::Seam::kFourfold,
                      [&](const Mesh_R::_edge&, const Vec3f&) { ++n; });
    return n;
  };
  EXPECT_EQ(samples(), 12);
  mesh->face.dele_face(mesh->face[0]);
  EXPECT_EQ(samples(), open_edge_count(*mesh));
  mesh->vertex[0]->tag = 0xA0;
  mesh->vertex[1]->tag = 0xA0;
  EXPECT_LT(samples(), open_edge_count(*mesh));
}

TEST(Stitching, a_closed_mesh_comes_back_with_its_tags_cleared) {
  const auto mesh = noisy(sphere(3, 10), 0.1F, 7).mesh();
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) mesh->vertex[i]->tag = 0xA0;
  const auto faces = placed_faces(mesh->face);
  mesh->setResolutionParam({4, 1, true});
  Ball_Pivoting ball;
  ball.stitchMesh(*mesh);
  EXPECT_EQ(placed_faces(mesh->face), faces);
  EXPECT_EQ(mesh->face.real_num, static_cast<int>(faces.size()));
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) {
    EXPECT_EQ(mesh->vertex[i]->tag, 0);
    EXPECT_EQ(mesh->vertex[i]->state, Mesh_R::kStateLive);
    EXPECT_EQ(mesh->vertex[i]->index, i);
  }
  EXPECT_TRUE(adjacency_holds(*mesh));
  // The stores hold a copy until they are freed.
  EXPECT_EQ(placed_faces(ball.face_store), faces);
  ball.free();
}

TEST(Stitching, by_copy_clears_tags_and_in_place_keeps_them) {
  const auto tags = [](Mesh& mesh) {
    int n = 0;
    for (int i = 0; i < mesh.vertex.get_vertnum(); ++i) {
      const Mesh_R::_vert& v = *mesh.vertex[i];
      n += v.state != Mesh_R::kStateDeleted && v.tag != 0;
    }
    return n;
  };
  for (const int form : {0, 1, 2}) {
    const auto mesh = seam_mesh(4, 1.5F, 8);
    Mesh target;
    Mesh& result = stitched(form, *mesh, target);
    EXPECT_EQ(tags(result) == 0, form == 0);
  }
}

TEST(Stitching, by_copy_states_are_default_and_the_hole_finder_knows_the_mesh) {
  for (const int form : {0, 1, 2}) {
    const auto mesh = seam_mesh(4, 1.5F, 9);
    mesh->build_hole();
    Mesh target;
    Mesh& result = stitched(form, *mesh, target);
    EXPECT_EQ(result.hole.face_store, &result.face);
    EXPECT_EQ(result.hole.edge_store, &result.edge);
    EXPECT_EQ(result.hole.vert_store, &result.vertex);
    EXPECT_TRUE(form != 0 || all_states_default(result));
    result.hole.free();
    result.build_hole();
    EXPECT_GT(result.get_hole_num(), 0);
  }
}

TEST(Stitching, the_source_is_freed) {
  const auto mesh = seam_mesh(4, 1.5F, 10);
  mesh->build_hole();
  Mesh target;
  stitched(2, *mesh, target);
  EXPECT_EQ(mesh->vertex.records.block, nullptr);
  EXPECT_EQ(mesh->face.real_num, 0);
  EXPECT_EQ(mesh->get_hole_num(), 0);
  EXPECT_EQ(target.face.real_num, target.face.get_real_facenum());
}

TEST(Stitching, all_borders_go_by_copy_and_the_seam_s_band_in_place) {
  const auto kept = [](int form) {
    const auto mesh = seam_mesh(4, 1.5F, 11);
    const auto faces = placed_faces(mesh->face);
    // No ball reaches anything: what is left is what stayed.
    mesh->setResolutionParam({0, 0, true});
    Mesh target;
    Mesh& result = stitched(form, *mesh, target);
    return std::pair(faces, placed_faces(result.face));
  };
  const auto mesh = seam_mesh(4, 1.5F, 11);
  const scanmesh::BoundaryBand band(*mesh);
  int near = 0;
  int near_seam = 0;
  scanmesh::for_each_live(mesh->face.records, [&](Mesh_R::_face& f) {
    const int tags = f.vert[0]->tag | f.vert[1]->tag | f.vert[2]->tag;
    near += band.contains(f) ? 1 : 0;
    near_seam += band.contains(f) && (tags & 0x80) != 0 ? 1 : 0;
  });
  EXPECT_GT(near_seam, 10);
  EXPECT_GT(near, near_seam + 100);
  for (const int form : {0, 1, 2}) {
    const auto [before, after] = kept(form);
    EXPECT_EQ(before.size() - after.size(), static_cast<unsigned>(form == 0 ? near : near_seam));
  }
}

TEST(Stitching, the_band_in_place_goes_whatever_bit_0x20_says) {
  const auto mesh = flat_grid(6, 1).mesh();
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) mesh->vertex[i]->tag = 0xA0;
  mesh->setResolutionParam({0, 0, true});
  Mesh unused;
  stitched(1, *mesh, unused);
  // Only what is two rings away from the rim is left.
  EXPECT_EQ(mesh->face.real_num, 8);
}

TEST(Stitching, a_vertex_that_lost_its_faces_goes_on_in_a_fresh_record) {
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

TEST(Stitching, seam_radii_apply_even_when_no_edge_is_split) {
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

TEST(Stitching, a_tip_adds_a_midpoint_only_with_two_open_edges) {
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

TEST(Stitching, in_place_says_what_it_does) {
  const auto mesh = seam_mesh(4, 1.5F, 13);
  XBallPivoting ball;
  Captured output;
  ball.stitchMesh(*mesh);
  EXPECT_THAT(output.text(),
              testing::MatchesRegex("res_param:4 1\nsplit num:0\npoints_all.size\\(\\)=0\n"
                                    "prepare data: [0-9]+\nQQ.size\\(\\): [0-9]+\n"
                                    "KD-Tree initialize Time: [0-9]+\nBPA: [0-9]+\n"));
}

TEST(Stitching, into_another_mesh_says_what_it_does) {
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

TEST(Stitching, without_an_open_edge_among_the_kept_faces_point_0_is_no_seed) {
  // A small sheet whose faces all go, and of which only point 0 has a normal for a seed.
  const auto faces = [](bool with_open_edges) {
    Soup soup = noisy(flat_grid(4, 1), 0.1F, 14);
    const int n = static_cast<int>(soup.points.size());
    if (with_open_edges) {
      // A larger sheet far away keeps its inside.
      const Soup far = flat_grid(8, 1);
      for (const Vec3f& p : far.points) soup.points.push_back({p.x + 100, p.y, p.z});
      for (auto t : far.triangles) soup.triangles.push_back({t[0] + n, t[1] + n, t[2] + n});
    }
    const auto mesh = soup.mesh();
    for (int i = 0; i < n; ++i) mesh->vertex[i]->vector = {0, 0, i == 0 ? 1.0F : 0.0F};
    mesh->setResolutionParam({1, 0.9F, true});
    Ball_Pivoting ball;
    ball.stitchMesh(*mesh);
    int made = 0;
    for (int i = 0; i < ball.face_store.get_facenum(); ++i) {
      made += ball.face_store[i]->vert[0]->point.x < 50;
    }
    ball.free();
    return made;
  };
  EXPECT_EQ(faces(false), 0);
  EXPECT_GT(faces(true), 0);
}

TEST(Stitching, a_face_that_can_t_be_copied_counts_as_kept) {
  // A third face on an edge of a closed body, whose own other edges are closed by two more.
  Soup soup = sphere(2, 10);
  const auto extra = static_cast<int>(soup.points.size());
  const auto t = soup.triangles[0];
  soup.points.push_back({12, 12, 12});
  soup.triangles.push_back({t[0], t[1], extra});
  soup.triangles.push_back({t[1], t[2], extra});
  soup.triangles.push_back({t[2], t[0], extra});
  const auto mesh = soup.mesh();
  const int faces = mesh->face.get_facenum();
  mesh->setResolutionParam({0, 0, true});
  Ball_Pivoting ball;
  ball.stitchMesh(*mesh);
  // The three extra faces need a third place on an edge.
  EXPECT_EQ(mesh->face.real_num, faces - 3);
  EXPECT_TRUE(adjacency_holds(*mesh));
  ball.free();
}

TEST(Stitching, a_mesh_of_points_alone_is_rebuilt_from_them) {
  const auto mesh = flat_grid(3, 1).mesh();  // every face is near the rim
  mesh->setResolutionParam({1, 1, true});
  for (const int form : {0, 1}) {
    Mesh unused;
    stitched(form, *mesh, unused);
    EXPECT_TRUE(adjacency_holds(*mesh));
  }
  Mesh empty;
  empty.inalize();
  empty.setResolutionParam({1, 1, true});
  for (const int form : {0, 1}) {
    Mesh unused;
    stitched(form, empty, unused);
    EXPECT_EQ(empty.face.real_num, 0);
  }
}

}  // namespace
