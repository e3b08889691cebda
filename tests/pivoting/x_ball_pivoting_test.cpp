#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "scanmesh/internal.h"
#include "tests/pivoting/pivoting_access.h"
#include "tests/support/invariants.h"

namespace {

using namespace test_support;
using Mesh_M::Mesh;
using xbpa::XBallPivoting;
using xbpa::XBallPivotingAccess;
using xbpa::XBallPivotingTraits;

// A reconstruction in the stores of a mesh, and what it printed.
struct XBuilt {
  Mesh mesh;
  XBallPivoting ball;
  std::string printed;

  explicit XBuilt(const Cloud& cloud, int processors = 2) {
    mesh.inalize();
    ball.setDataPointer(&mesh.face, &mesh.vertex, &mesh.edge);
    ball.init(cloud.spacing);
    auto points = array_of(cloud.points);
    auto normals = array_of(cloud.normals);
    testing::internal::CaptureStdout();
    XBallPivotingTraits::build_mesh(ball, points, normals, cloud.count(), processors);
    printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(points.block, nullptr);
    EXPECT_EQ(normals.block, nullptr);
  }
  XBuilt(const XBuilt&) = delete;
  std::vector<PlainFace> faces() { return faces_of(mesh.face, mesh.vertex); }
};

TEST(XBallPivoting, makes_the_faces_of_the_plain_form_whatever_the_number_of_processors) {
  for (const NamedCloud& test : test_clouds()) {
    SCOPED_TRACE(test.name);
    ReferencePivoting reference;
    reference.float_sums = true;
    reference.init(test.cloud.spacing);
    reference.build(test.cloud.points, test.cloud.normals);
    for (const int processors : {1, 2, 7}) {
      XBuilt built(test.cloud, processors);
      EXPECT_EQ(built.faces(), faces_of(reference));
      EXPECT_EQ(vertex_states(built.mesh.vertex), vertex_states(reference));
      EXPECT_TRUE(adjacency_holds(built.mesh));
    }
    EXPECT_GT(faces_of(reference).size(), 100U);
  }
}

TEST(XBallPivoting, the_exported_call_makes_the_same_faces) {
  const Cloud cloud = sphere_cloud(600, 21);
  XBuilt expected(cloud, 3);
  ASSERT_GT(expected.faces().size(), 100U);
  Mesh mesh;
  mesh.inalize();
  XBallPivoting ball;
  ball.setDataPointer(&mesh.face, &mesh.vertex, &mesh.edge);
  ball.init(1);
  auto points = array_of(cloud.points);
  auto normals = array_of(cloud.normals);
  testing::internal::CaptureStdout();
  ball.build_mesh(points, normals, cloud.count());
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(faces_of(mesh.face, mesh.vertex), expected.faces());
}

TEST(XBallPivoting, starts_with_its_settled_numbers) {
  const XBallPivoting ball;
  EXPECT_EQ(ball.nn_count, 16);
  EXPECT_EQ(ball.base_radius, 0);
  EXPECT_NEAR(ball.cos_20, 0.93969262078590838, 1e-15);
  EXPECT_NEAR(ball.cos_75, 0.25881904510252074, 1e-15);
  EXPECT_NEAR(ball.cos_120, -0.5, 1e-15);
  EXPECT_EQ(XBallPivoting::radsize, 5);
  EXPECT_EQ(ball.face_store, nullptr);
  EXPECT_EQ(ball.tree.cloud->count, 0U);
}

TEST(XBallPivoting, init_leaves_the_stores_alone) {
  Mesh mesh;
  XBallPivoting ball;
  ball.setDataPointer(&mesh.face, &mesh.vertex, &mesh.edge);
  ball.init(2);
  EXPECT_EQ(ball.base_radius, 3);
  EXPECT_DOUBLE_EQ(ball.radius[1], 2.1);
  EXPECT_EQ(ball.max_dist, 12);
  EXPECT_EQ(mesh.vertex.records.block, nullptr);
}

TEST(XBallPivoting, keeps_its_nodes_and_a_buffer_per_task) {
  XBuilt built(wavy_cloud(12, 22), 3);
  ASSERT_EQ(static_cast<int>(built.ball.nodes.size()), built.mesh.vertex.get_vertnum());
  for (std::size_t i = 0; i < built.ball.nodes.size(); ++i) {
    EXPECT_EQ(built.ball.nodes[i].vert, built.mesh.vertex[static_cast<int>(i)]);
    EXPECT_EQ(built.ball.nodes[i].zero, 0U);
  }
  EXPECT_EQ(built.ball.task_nodes.size(), 7U);
  EXPECT_EQ(built.ball.task_indices.size(), 7U);
  EXPECT_EQ(built.ball.task_dists.size(), 7U);
  for (const auto& table : built.ball.task_nodes) EXPECT_EQ(table.size(), 34U);
  EXPECT_EQ(built.ball.tree.index->size, built.ball.nodes.size());
}

TEST(XBallPivoting, says_what_it_does) {
  XBuilt built(wavy_cloud(12, 23));
  EXPECT_THAT(built.printed, testing::MatchesRegex("KD-Tree initialize Time: [0-9.e-]+s\n"
                                                   "before while \\(!Q.empty\\(\\)\\)!\n"
                                                   "Fun build_mesh is: [0-9.e-]+s\n"));
}

TEST(XBallPivoting, notes_batches_of_more_than_five_seconds) {
  XBallPivotingTraits::Progress progress;
  testing::internal::CaptureStdout();
  progress.after_batch(std::chrono::milliseconds(5000));
  progress.after_batch(std::chrono::milliseconds(5250));
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "task:5.25s\n");
}

TEST(XBallPivoting, data_are_normal_and_corners_and_a_line_is_printed) {
  XBuilt built(wavy_cloud(10, 24));
  MemS::Point3v<float>* data = nullptr;
  int count = -1;
  testing::internal::CaptureStdout();
  built.ball.get_data(data, count);
  EXPECT_THAT(testing::internal::GetCapturedStdout(),
              testing::MatchesRegex("Fun get_data is: [0-9.e-]+s\n"));
  ASSERT_EQ(count, built.mesh.face.get_real_facenum());
  EXPECT_EQ(data[0].z, built.mesh.face[0]->vector.z);
  EXPECT_EQ(data[3].y, built.mesh.face[0]->vert[2]->point.y);
  delete[] data;
}

TEST(XBallPivoting, free_and_output_leave_the_stores_alone) {
  XBuilt built(wavy_cloud(10, 25));
  const auto faces = built.faces();
  built.ball.free();
  built.ball.output();
  EXPECT_EQ(built.faces(), faces);
  EXPECT_GT(faces.size(), 50U);
}

TEST(XBallPivoting, no_points_end_the_call_at_once) {
  XBuilt built(Cloud{});
  EXPECT_EQ(built.printed, "");
  EXPECT_TRUE(built.faces().empty());
  EXPECT_TRUE(built.ball.nodes.empty());
}

TEST(XBallPivoting, clouds_that_it_is_not_meant_for_do_no_harm) {
  for (const NamedCloud& test : bad_clouds()) {
    SCOPED_TRACE(test.name);
    XBuilt built(test.cloud);
    EXPECT_TRUE(adjacency_holds(built.mesh));
    for (const PlainFace& face : built.faces()) {
      for (const float c : face.normal) EXPECT_TRUE(std::isfinite(c));
    }
    EXPECT_TRUE(test.cloud.count() >= 17 || built.faces().empty());
  }
}

TEST(XBallPivoting, a_second_cloud_joins_the_first_in_the_stores) {
  XBuilt built(wavy_cloud(10, 26));
  const auto before = built.mesh.face.real_num;
  const Cloud second = sphere_cloud(300, 27);
  auto points = array_of(second.points);
  auto normals = array_of(second.normals);
  testing::internal::CaptureStdout();
  built.ball.build_mesh(points, normals, second.count());
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(static_cast<int>(built.ball.nodes.size()), 300);
  EXPECT_GT(built.mesh.face.real_num, before + 400);
  EXPECT_TRUE(adjacency_holds(built.mesh));
}

TEST(XPrivateOperations, are_the_shared_ones) {
  XBuilt built(wavy_cloud(10, 28));
  Mesh_R::_edge* open = nullptr;
  for (int i = 0; i < built.mesh.edge.get_edgenum() && open == nullptr; ++i) {
    if (built.mesh.edge[i]->face_num == 1) open = built.mesh.edge[i];
  }
  ASSERT_NE(open, nullptr);
  EXPECT_TRUE(XBallPivotingAccess::check(built.ball, open));
  EXPECT_FALSE(
      XBallPivotingAccess::check(built.ball, open, scanmesh::far_corner(*open->face[0], *open)));
  Mesh_R::_face& face = *built.mesh.face[0];
  scanmesh::Ball ball{};
  ball.r_sq = built.ball.radius_sq[0];
  EXPECT_TRUE(
      XBallPivotingAccess::find_sphere(built.ball, face.vert[0], face.vert[1], face.vert[2], ball));
  EXPECT_EQ(XBallPivotingAccess::insert_face(built.ball, face.vert[0], face.vert[1], face.vert[2],
                                             face.vector),
            nullptr);
  Mesh_R::_vert* out = nullptr;
  Vec3f normal{0, 0, 0};
  EXPECT_FALSE(XBallPivotingAccess::find_place(built.ball, open, out, normal, 1));
  Mesh_R::_face* seed = nullptr;
  EXPECT_FALSE(XBallPivotingAccess::find_seed(built.ball, built.ball.nodes[55], seed, 2));
  std::vector<Mesh_R::_edge*> edges{open};
  std::vector<Mesh_R::_vert*> results{nullptr};
  std::vector<Vec3f> normals(1);
  const int below = -1;
  const int zero = 0;
  const int one = 1;
  open->state = 8;
  XBallPivotingAccess::find_places(built.ball, &edges, &below, &one, &results, &normals, 0);
  EXPECT_EQ(open->state, 8);
  XBallPivotingAccess::find_places(built.ball, &edges, &zero, &one, &results, &normals, 0);
  EXPECT_EQ(open->state, 10);
}

}  // namespace
