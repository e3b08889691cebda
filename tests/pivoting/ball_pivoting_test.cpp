#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <limits>
#include <type_traits>
#include <utility>

#include "scanmesh/internal.h"
#include "tests/pivoting/pivoting_access.h"
#include "tests/support/files.h"
#include "tests/support/invariants.h"

namespace {

using namespace test_support;
using BPA::Ball_Pivoting;
using BPA::BallPivotingAccess;
using BPA::BallPivotingTraits;
using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;

// A reconstruction that frees what it built.
struct Built {
  Ball_Pivoting ball;

  explicit Built(const Cloud& cloud, int processors = 2) {
    ball.init(cloud.spacing);
    build(cloud, processors);
  }
  ~Built() { ball.free(); }
  Built(const Built&) = delete;

  void build(const Cloud& cloud, int processors) {
    auto points = array_of(cloud.points);
    auto normals = array_of(cloud.normals);
    BallPivotingTraits::build_mesh(ball, points, normals, cloud.count(), processors);
    EXPECT_EQ(points.block, nullptr);
    EXPECT_EQ(normals.block, nullptr);
  }
  std::vector<PlainFace> faces() { return faces_of(ball.face_store, ball.vert_store); }
  testing::AssertionResult sound() {
    BorrowedMesh borrowed(ball.vert_store, ball.edge_store, ball.face_store);
    return adjacency_holds(borrowed.mesh);
  }
};

TEST(BallPivoting, makes_the_faces_of_the_plain_form_whatever_the_number_of_processors) {
  long rejections = 0;
  for (const NamedCloud& test : test_clouds()) {
    SCOPED_TRACE(test.name);
    ReferencePivoting reference;
    reference.init(test.cloud.spacing);
    reference.build(test.cloud.points, test.cloud.normals);
    rejections += reference.rejections;
    for (const int processors : {1, 2, 7}) {
      Built built(test.cloud, processors);
      EXPECT_EQ(built.faces(), faces_of(reference));
      EXPECT_EQ(vertex_states(built.ball.vert_store), vertex_states(reference));
      EXPECT_TRUE(built.sound());
    }
    EXPECT_GT(faces_of(reference).size(), 100U);
  }
  EXPECT_GT(rejections, 20);
}

TEST(BallPivoting, more_tasks_than_edges_change_nothing) {
  const Cloud cloud = wavy_cloud(12, 20);
  Built one(cloud, 1);
  Built many(cloud, 150);
  EXPECT_GT(one.faces().size(), 100U);
  EXPECT_EQ(one.faces(), many.faces());
}

TEST(BallPivoting, the_exported_call_makes_the_same_faces) {
  const Cloud cloud = sphere_cloud(600, 21);
  Built expected(cloud, 3);
  ASSERT_GT(expected.faces().size(), 100U);
  Ball_Pivoting ball;
  ball.init(1);
  auto points = array_of(cloud.points);
  auto normals = array_of(cloud.normals);
  ball.build_mesh(points, normals, cloud.count());
  EXPECT_EQ(faces_of(ball.face_store, ball.vert_store), expected.faces());
  ball.free();
}

TEST(BallPivoting, only_the_first_points_are_read) {
  Cloud cloud = wavy_cloud(12, 22);
  auto points = array_of(cloud.points);
  auto normals = array_of(cloud.normals);
  Ball_Pivoting ball;
  ball.init(1);
  ball.build_mesh(points, normals, 60);
  EXPECT_EQ(ball.vert_store.get_vertnum(), 60);
  EXPECT_EQ(points.block, nullptr);
  ball.free();
}

TEST(BallPivoting, starts_with_its_settled_numbers) {
  const Ball_Pivoting ball;
  EXPECT_EQ(ball.nn_count, 16);
  EXPECT_EQ(ball.base_radius, 0);
  EXPECT_NEAR(ball.cos_20, 0.93969262078590838, 1e-15);
  EXPECT_NEAR(ball.cos_75, 0.25881904510252074, 1e-15);
  EXPECT_NEAR(ball.cos_120, -0.5, 1e-15);
  EXPECT_EQ(BallPivotingAccess::kRadii, 5);
  EXPECT_TRUE(ball.front.empty());
}

TEST(BallPivoting, init_derives_the_radii_and_sets_the_stores_up) {
  Ball_Pivoting ball;
  ball.init(2);
  EXPECT_EQ(ball.base_radius, 3);
  EXPECT_DOUBLE_EQ(ball.radius[0], 0.9);
  EXPECT_DOUBLE_EQ(ball.radius[4], 6);
  EXPECT_EQ(ball.max_dist, 12);
  EXPECT_EQ(ball.vert_store.records.block_size, 4000000);
  EXPECT_EQ(ball.edge_store.records.block_size, 4000000);
  EXPECT_EQ(ball.face_store.records.block_size, 100000);
  EXPECT_EQ(ball.vert_store.records.block_capacity, 1000);
  ball.free();
  EXPECT_EQ(ball.vert_store.records.block, nullptr);
}

TEST(BallPivoting, spacing_0_gives_no_faces) {
  Cloud cloud = sphere_cloud(300, 23);
  cloud.spacing = 0;
  Built built(cloud);
  EXPECT_EQ(built.ball.max_dist, 0);
  EXPECT_TRUE(built.faces().empty());
  EXPECT_EQ(vertex_states(built.ball.vert_store), std::vector<int>(300, 8));
}

TEST(BallPivoting, no_points_end_the_call_at_once) {
  for (const int count : {0, -3}) {
    Ball_Pivoting ball;
    ball.init(1);
    int reports = 0;
    ball.setProcessStepCallback([&](qv::alg::ProcessStepInfoType&) { return ++reports; });
    auto points = array_of({});
    auto normals = array_of({});
    ball.build_mesh(points, normals, count);
    EXPECT_EQ(points.block, nullptr);
    EXPECT_EQ(normals.block, nullptr);
    EXPECT_EQ(ball.face_store.get_facenum(), 0);
    EXPECT_EQ(reports, 0);
    ball.free();
  }
}

TEST(BallPivoting, clouds_that_it_is_not_meant_for_do_no_harm) {
  for (const NamedCloud& test : bad_clouds()) {
    SCOPED_TRACE(test.name);
    Built built(test.cloud);
    EXPECT_TRUE(built.sound());
    for (const PlainFace& face : built.faces()) {
      for (const float c : face.normal) EXPECT_TRUE(std::isfinite(c));
    }
    EXPECT_TRUE(test.cloud.count() >= 17 || built.faces().empty());
  }
}

TEST(BallPivoting, a_few_bad_points_cost_a_few_faces) {
  Cloud cloud = wavy_cloud(30, 24);
  Built whole(cloud);
  cloud.points[100].x = std::numeric_limits<float>::quiet_NaN();
  cloud.points[500] = cloud.points[501];
  Built built(cloud);
  EXPECT_GT(built.faces().size(), whole.faces().size() - 30);
}

TEST(BallPivoting, reports_every_stride_of_attempts) {
  for (const NamedCloud& test : test_clouds()) {
    ReferencePivoting reference;
    reference.init(test.cloud.spacing);
    reference.build(test.cloud.points, test.cloud.normals);
    std::vector<int> steps;
    Ball_Pivoting ball;
    ball.init(test.cloud.spacing);
    ball.setProcessStepCallback([&](qv::alg::ProcessStepInfoType& info) {
      steps.push_back(info.step);
      EXPECT_EQ(info.step_count, 50);
      EXPECT_EQ(info.stage, 1);
      EXPECT_EQ(info.stage_count, 1);
      EXPECT_TRUE(info.message.empty());
      return -1;
    });
    auto points = array_of(test.cloud.points);
    auto normals = array_of(test.cloud.normals);
    ball.build_mesh(points, normals, test.cloud.count());
    EXPECT_EQ(steps, expected_steps(test.cloud.count(), reference.attempts)) << test.name;
    EXPECT_EQ(steps.back(), 50);
    ball.free();
  }
}

TEST(BallPivoting, a_small_cloud_has_fewer_steps_and_reports_none_between) {
  Cloud cloud = wavy_cloud(5, 25);
  cloud.points.resize(20);
  cloud.normals.resize(20);
  std::vector<std::pair<int, int>> steps;
  Ball_Pivoting ball;
  ball.init(1);
  ball.setProcessStepCallback([&](qv::alg::ProcessStepInfoType& info) {
    steps.emplace_back(info.step, info.step_count);
    return 0;
  });
  auto points = array_of(cloud.points);
  auto normals = array_of(cloud.normals);
  ball.build_mesh(points, normals, 20);
  EXPECT_GT(ball.face_store.get_facenum(), 5);
  // The stride is 1, and no remainder by 1 is 1.
  EXPECT_EQ(steps, (std::vector<std::pair<int, int>>{{1, 40}, {40, 40}}));
  ball.free();
}

TEST(BallPivoting, gives_up_the_edges_that_the_plain_form_gives_up) {
  const Cloud cloud = messy_cloud(600, 26);
  ReferencePivoting reference;
  reference.init(1);
  reference.build(cloud.points, cloud.normals);
  Built built(cloud);
  int given_up = 0;
  ASSERT_EQ(built.ball.edge_store.get_edgenum(), static_cast<int>(reference.edges.size()));
  for (int i = 0; i < built.ball.edge_store.get_edgenum(); ++i) {
    const auto& expected = reference.edge(i);
    const _edge& edge = *built.ball.edge_store[i];
    EXPECT_EQ(edge.state == Mesh_R::kStateDeleted, expected.dead);
    if (expected.dead) continue;
    EXPECT_EQ(edge.state, expected.given_up ? 10 : 8);
    given_up += expected.given_up ? 1 : 0;
  }
  EXPECT_GT(given_up, 50);
}

TEST(BallPivoting, data_are_normal_and_corners_of_each_live_face) {
  Built built(wavy_cloud(10, 27));
  Mesh_R::Face& faces = built.ball.face_store;
  faces.dele_face(faces[3]);
  MemS::Point3v<float>* data = nullptr;
  int count = -1;
  built.ball.get_data(data, count);
  ASSERT_EQ(count, faces.get_real_facenum());
  EXPECT_EQ(count, faces.real_num);
  const MemS::Point3v<float>* next = data;
  for (int i = 0; i < faces.get_facenum(); ++i) {
    if (faces[i]->state == Mesh_R::kStateDeleted) continue;
    EXPECT_EQ(next[0].z, faces[i]->vector.z);
    for (int k = 0; k < 3; ++k) EXPECT_EQ(next[k + 1].x, faces[i]->vert[k]->point.x);
    next += 4;
  }
  delete[] data;
}

TEST(BallPivoting, output_writes_tex_stl) {
  Built built(wavy_cloud(10, 28));
  const auto before = std::filesystem::current_path();
  const std::filesystem::path directory = temp_path("directory");
  std::filesystem::create_directory(directory);
  std::filesystem::current_path(directory);
  built.ball.output();
  std::filesystem::current_path(before);
  const std::string bytes = bytes_of_file((directory / "tex.stl").string());
  EXPECT_EQ(bytes.size(), 84U + 50U * static_cast<unsigned>(built.ball.face_store.real_num));
  std::filesystem::remove_all(directory);
}

TEST(BallPivoting, can_be_used_again_after_free) {
  const Cloud cloud = wavy_cloud(14, 29);
  Built built(cloud);
  const auto first = built.faces();
  ASSERT_GT(first.size(), 100U);
  built.ball.free();
  built.ball.init(1);
  built.build(cloud, 2);
  EXPECT_EQ(built.faces(), first);
  EXPECT_TRUE(built.sound());
}

TEST(BallPivoting, can_be_copied_and_moved) {
  Built built(wavy_cloud(10, 30));
  ASSERT_GT(built.faces().size(), 50U);
  Ball_Pivoting copy = built.ball;
  EXPECT_EQ(faces_of(copy.face_store, copy.vert_store), built.faces());
  Ball_Pivoting moved = std::move(copy);
  copy = moved;
  copy = std::move(moved);
  EXPECT_EQ(copy.radius[2], built.ball.radius[2]);
  // Tests what hosts may write; the stores go with the first one.
  static_assert(std::is_default_constructible_v<Ball_Pivoting>);
}

}  // namespace
