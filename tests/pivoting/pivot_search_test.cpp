#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "core/semaphore.h"
#include "tests/pivoting/pivoting_access.h"

namespace {

using namespace test_support;
using BPA::Ball_Pivoting;
using BPA::BallPivotingAccess;
using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;

// Points by hand, with a tree over all of them and as many neighbours as there are.
struct HandMade {
  Ball_Pivoting ball;
  std::vector<BallNode> nodes;

  HandMade() { ball.init(1); }
  ~HandMade() { ball.free(); }
  HandMade(const HandMade&) = delete;

  _vert* add(Vec3f point, const Vec3f& normal = {0, 0, 1}) {
    _vert* const vert = ball.vert_store.insert_vert(point);
    vert->vector = normal;
    nodes.emplace_back(vert);
    return vert;
  }
  void build(int neighbours) {
    ball.nn_count = neighbours;
    ball.tree.build_tree(nodes.data(), static_cast<int>(nodes.size()), {}, {});
  }
  _face* seed(std::size_t i) {
    _face* out = nullptr;
    BallPivotingAccess::find_seed(ball, nodes[i], out);
    return out;
  }
  _vert* place(_edge* edge) {
    _vert* out = nullptr;
    Vec3f normal{0, 0, 0};
    return BallPivotingAccess::find_place(ball, edge, out, normal) ? out : nullptr;
  }
};

TEST(FindSeed, the_ball_may_be_entered_by_a_hundred_thousandth) {
  for (const bool blocked : {false, true}) {
    HandMade scene;
    scene.add({0, 0, 0});
    scene.add({1, 0, 0});
    scene.add({0, 1.01F, 0});
    const double r_sq = 1.05 * 1.05;
    // Above the ball's centre, turned away so that it is no corner itself.
    const double up = std::sqrt(r_sq - (blocked ? 4e-5 : 4e-6));
    const double h = std::sqrt(r_sq - (1 + 1.01 * 1.01) / 4);
    scene.add({0.5F, 0.505F, static_cast<float>(h + up)}, {0, 0, -1});
    scene.build(3);
    EXPECT_EQ(scene.seed(0) == nullptr, blocked);
  }
}

TEST(FindSeed, corners_come_in_the_order_of_point_nearest_next) {
  HandMade scene;
  _vert* const r = scene.add({0, 1.2F, 0});
  _vert* const p = scene.add({0, 0, 0});
  _vert* const q = scene.add({1, 0, 0});
  scene.build(2);
  const _face* const face = scene.seed(1);
  ASSERT_NE(face, nullptr);
  EXPECT_EQ(face->vert[0], p);
  EXPECT_EQ(face->vert[1], q);
  EXPECT_EQ(face->vert[2], r);
  EXPECT_EQ(face->vector.z, 1);
}

TEST(FindSeed, the_first_and_the_third_corner_s_normals_are_not_compared) {
  HandMade scene;
  scene.add({0, 0, 0}, {0.8F, 0, 0.6F});
  scene.add({1, 0, 0}, {0, 0, 1});
  scene.add({0, 1.2F, 0}, {-0.8F, 0, 0.6F});  // against the first one's
  scene.build(2);
  EXPECT_NE(scene.seed(0), nullptr);
  // The first against the second, and the second against the third, do count.
  HandMade first;
  first.add({0, 0, 0}, {0.8F, 0, 0.6F});
  first.add({1, 0, 0}, {-0.8F, 0, 0.6F});
  first.add({0, 1.2F, 0}, {-0.8F, 0, 0.6F});
  first.build(2);
  EXPECT_EQ(first.seed(0), nullptr);
  HandMade second;
  second.add({0, 0, 0}, {0, 0, 1});
  second.add({1, 0, 0}, {0.8F, 0, 0.6F});
  second.add({0, 1.2F, 0}, {-0.8F, 0, 0.6F});
  second.build(2);
  EXPECT_EQ(second.seed(0), nullptr);
}

TEST(FindSeed, perpendicular_normals_are_not_turned_away) {
  HandMade scene;
  scene.add({0, 0, 0});
  scene.add({1, 0, 0}, {1, 0, 0});
  scene.add({0, 1.2F, 0}, {0, 0, 1});
  scene.build(2);
  EXPECT_NE(scene.seed(0), nullptr);
}

TEST(FindSeed, inner_vertices_are_no_corners_and_front_ones_are) {
  HandMade scene;
  scene.add({0, 0, 0});
  scene.add({1, 0, 0});
  scene.add({0, 1.2F, 0});
  scene.build(2);
  scene.nodes[2].vert->state = 1;
  EXPECT_EQ(scene.seed(0), nullptr);
  scene.nodes[2].vert->state = 9;
  EXPECT_NE(scene.seed(0), nullptr);
}

TEST(FindSeed, fails_in_a_cloud_of_too_few_points) {
  HandMade scene;
  scene.add({0, 0, 0});
  scene.add({1, 0, 0});
  scene.add({0, 1.2F, 0});
  scene.build(16);
  EXPECT_EQ(scene.seed(0), nullptr);
}

TEST(FindSeed, goes_on_to_the_next_triangle_when_an_edge_is_taken) {
  HandMade scene;
  _vert* const p = scene.add({0, 0, 0});
  _vert* const q = scene.add({1, 0, 0});
  _vert* const r = scene.add({0, 1.1F, 0});
  _vert* const s = scene.add({0, -1.2F, 0});
  _vert* const far = scene.add({50, 0, 0});
  scene.build(3);
  // Two faces on q-r: the triangle p, q, r can't be made.
  for (const float z : {1.0F, 2.0F}) {
    Vec3f up{9, 9, z};
    _vert* const other = scene.ball.vert_store.insert_vert(up);
    ASSERT_NE(BallPivotingAccess::insert_face(scene.ball, other, q, r, {0, 0, 1}), nullptr);
  }
  scene.build(4);
  const _face* const face = scene.seed(0);
  ASSERT_NE(face, nullptr);
  EXPECT_EQ(face->vert[0], p);
  EXPECT_EQ(face->vert[1], q);
  EXPECT_EQ(face->vert[2], s);
  EXPECT_EQ(far->face_num, 0);
}

// A face on the edge from (0, 0) to (1, 0), and a candidate across it.
struct Pivot : HandMade {
  _vert* a = add({0, 0, 0});
  _vert* b = add({1, 0, 0});
  _vert* opposite;
  _vert* candidate = add({0.5F, 0.8F, 0});
  _face* face = nullptr;
  _edge* edge = nullptr;

  explicit Pivot(const Vec3f& opposite_at) : opposite(add(opposite_at)) {
    Vec3f normal = scanmesh::unit_normal(b->point, a->point, opposite->point);
    face = BallPivotingAccess::insert_face(ball, opposite, b, a, normal);
    edge = face->edge[0];
  }
};

TEST(FindPlace, finds_the_candidate_across_the_edge) {
  Pivot scene({0.5F, -0.8F, 0});
  scene.build(4);
  ASSERT_GT(scene.face->vector.z, 0.99F);
  EXPECT_EQ(scene.place(scene.edge), scene.candidate);
}

TEST(FindPlace, the_ball_may_be_entered_by_a_hundredth) {
  const double circ = 0.8 - 0.24375;
  const double h = std::sqrt(1.05 * 1.05 - circ * circ);
  for (const bool blocked : {false, true}) {
    Pivot scene({0.5F, -0.8F, 0});
    const double up = std::sqrt(1.05 * 1.05 - (blocked ? 0.011 : 0.009));
    scene.add({0.5F, 0.24375F, static_cast<float>(h + up)}, {0, 0, -1});
    scene.build(5);
    EXPECT_EQ(scene.place(scene.edge), blocked ? nullptr : scene.candidate);
  }
}

TEST(FindPlace, the_opposite_vertex_counts_as_one_in_the_ball) {
  // Folded up by 59 degrees, which the normals allow, but into the ball.
  Pivot scene({0.5F, -0.3F, 0.5F});
  scene.build(4);
  ASSERT_GT(scene.face->vector.z, 0.4F);
  EXPECT_EQ(scene.place(scene.edge), nullptr);
}

TEST(FindPlace, skips_inner_vertices_and_those_turned_away) {
  Pivot scene({0.5F, -0.8F, 0});
  scene.build(4);
  scene.candidate->state = 1;
  EXPECT_EQ(scene.place(scene.edge), nullptr);
  scene.candidate->state = 9;
  EXPECT_EQ(scene.place(scene.edge), scene.candidate);
  scene.candidate->vector = {0.8F, 0, -0.6F};
  EXPECT_EQ(scene.place(scene.edge), nullptr);
}

TEST(FindPlace, perpendicular_normals_are_not_turned_away) {
  Pivot scene({0.5F, -0.8F, 0});
  scene.build(4);
  scene.edge->vert[0]->vector = {1, 0, 0};
  EXPECT_EQ(scene.place(scene.edge), scene.candidate);
}

TEST(FindPlace, ends_at_the_first_candidate_out_of_reach) {
  Pivot scene({0.5F, -0.8F, 0});
  scene.build(4);
  scene.ball.max_dist = 0.81;
  // In reach of the midpoint, but then too far from the ends for a triangle.
  EXPECT_EQ(scene.place(scene.edge), nullptr);
  scene.ball.max_dist = 0.95;
  EXPECT_EQ(scene.place(scene.edge), scene.candidate);
}

TEST(FindPlace, the_nearest_candidate_that_fits_wins_whatever_the_angle) {
  Pivot scene({0.5F, -0.8F, 0});
  // Farther from the midpoint, and turned away less.
  _vert* const lower = scene.add({0.5F, 0.9F, -0.4F}, {0, 0.3F, 0.95F});
  scene.build(5);
  EXPECT_EQ(scene.place(scene.edge), scene.candidate);
  scene.candidate->state = 1;
  scene.candidate->point = {0.5F, 8, 0};
  scene.build(5);
  EXPECT_EQ(scene.place(scene.edge), lower);
}

TEST(FindPlaces, bad_bounds_and_missing_lists_do_nothing) {
  Pivot scene({0.5F, -0.8F, 0});
  scene.build(4);
  std::vector<_edge*> edges{scene.edge};
  std::vector<_vert*> results{nullptr};
  std::vector<Vec3f> normals(1);
  Semap::Semaphore* const none = nullptr;
  const auto run = [&](std::vector<_edge*>* list, const int* start, const int* end) {
    BallPivotingAccess::find_places(scene.ball, list, start, end, &results, none, none, &normals);
    return results[0];
  };
  const int zero = 0;
  const int one = 1;
  const int below = -1;
  std::vector<_edge*>* const nothing = nullptr;
  const int* const null = nullptr;
  EXPECT_EQ(run(nothing, &zero, &one), nullptr);
  EXPECT_EQ(run(&edges, null, &one), nullptr);
  EXPECT_EQ(run(&edges, &zero, null), nullptr);
  EXPECT_EQ(run(&edges, &below, &one), nullptr);
  EXPECT_EQ(run(&edges, &zero, &below), nullptr);
  EXPECT_EQ(run(&edges, &one, &one), nullptr);
  EXPECT_EQ(scene.edge->state, Mesh_R::kStateLive);
  EXPECT_EQ(run(&edges, &zero, &one), scene.candidate);
  EXPECT_GT(normals[0].z, 0.99F);
}

TEST(FindPlaces, marks_an_edge_without_an_answer_and_skips_closed_ones) {
  Pivot scene({0.5F, -0.8F, 0});
  scene.build(4);
  scene.candidate->state = 1;
  std::vector<_edge*> edges{scene.edge};
  std::vector<_vert*> results{nullptr};
  std::vector<Vec3f> normals(1);
  Semap::Semaphore* const none = nullptr;
  const int zero = 0;
  const int one = 1;
  const auto run = [&] {
    BallPivotingAccess::find_places(scene.ball, &edges, &zero, &one, &results, none, none,
                                    &normals);
  };
  ASSERT_NE(
      BallPivotingAccess::insert_face(scene.ball, scene.candidate, scene.a, scene.b, {0, 0, 1}),
      nullptr);
  run();
  EXPECT_EQ(scene.edge->state, Mesh_R::kStateLive);
  scene.ball.face_store.dele_face(scene.ball.face_store[1]);
  scene.candidate->state = 1;
  run();
  EXPECT_EQ(scene.edge->state, 10);
}

TEST(PrivateOperations, are_the_shared_ones) {
  Pivot scene({0.5F, -0.8F, 0});
  EXPECT_TRUE(BallPivotingAccess::check(scene.ball, scene.edge));
  EXPECT_TRUE(BallPivotingAccess::check(scene.ball, scene.edge, scene.candidate));
  EXPECT_FALSE(BallPivotingAccess::check(scene.ball, scene.edge, scene.opposite));
  scanmesh::Ball ball{};
  ball.r_sq = scene.ball.radius_sq[0];
  EXPECT_TRUE(BallPivotingAccess::find_sphere(scene.ball, scene.candidate, scene.a, scene.b, ball));
  EXPECT_NEAR(ball.circ_sq, 0.55625 * 0.55625, 1e-6);
  EXPECT_EQ(ball.r_sq, scene.ball.radius_sq[1]);
}

}  // namespace
