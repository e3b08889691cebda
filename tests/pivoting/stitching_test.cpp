#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <string>
#include <utility>

#include "core/live_records.h"
#include "pivoting/stitching.h"
#include "scanmesh/internal.h"
#include "tests/pivoting/pivoting_access.h"
#include "tests/pivoting/seam_meshes.h"
#include "tests/pivoting/stitch_runs.h"
#include "tests/support/hole_access.h"
#include "tests/support/invariants.h"

namespace {

using namespace test_support;
using BPA::Ball_Pivoting;
using BPA::BallPivotingTraits;
using Mesh_M::Mesh;
using xbpa::XBallPivoting;
using xbpa::XBallPivotingTraits;

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

TEST(Stitching, nothing_is_reported) {
  const auto mesh = seam_mesh(4, 1.5F, 15);
  int reports = 0;
  Ball_Pivoting ball;
  ball.setProcessStepCallback([&](qv::alg::ProcessStepInfoType&) { return ++reports; });
  ball.stitchMesh(*mesh);
  EXPECT_GT(ball.face_store.real_num, 100);
  EXPECT_EQ(reports, 0);
  ball.free();
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

// The tags of all live vertices by place; several at one place are joined.
std::map<std::array<float, 3>, int> tags_by_place(Mesh& mesh) {
  std::map<std::array<float, 3>, int> tags;
  for (int i = 0; i < mesh.vertex.get_vertnum(); ++i) {
    const Mesh_R::_vert& v = *mesh.vertex[i];
    if (v.state != Mesh_R::kStateDeleted) tags[{v.point.x, v.point.y, v.point.z}] |= v.tag;
  }
  return tags;
}

TEST(Stitching, by_copy_clears_tags_and_the_other_forms_keep_every_one) {
  for (const int form : {0, 1, 2}) {
    const auto mesh = seam_mesh(4, 1.5F, 8);
    const auto before = tags_by_place(*mesh);
    Mesh target;
    const auto after = tags_by_place(stitched(form, *mesh, target));
    std::size_t tagged = 0;
    for (const auto& [place, tag] : before) {
      tagged += tag != 0 ? 1 : 0;
      const auto found = after.find(place);
      ASSERT_NE(found, after.end());
      EXPECT_EQ(found->second, form == 0 ? 0 : tag) << form;
    }
    EXPECT_GT(tagged, 100U);
  }
}

TEST(Stitching, frees_the_rings_of_the_mesh_whose_stores_it_frees) {
  for (const int form : {0, 2}) {
    const auto mesh = seam_mesh(4, 1.5F, 9);
    mesh->build_hole();
    ASSERT_GT(mesh->get_hole_num(), 0);
    mesh->fill_hole_No(0, 0.5F);
    Mesh target;
    Mesh& result = stitched(form, *mesh, target);
    EXPECT_EQ(mesh->get_hole_num(), 0) << form;
    EXPECT_EQ(mesh->hole.holes.block, nullptr) << form;
    EXPECT_EQ(mesh->hole.last_hole, nullptr) << form;
    mesh->Revoked_fill_hole();
    EXPECT_TRUE(adjacency_holds(result));
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
