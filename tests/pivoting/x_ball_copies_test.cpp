#include <gtest/gtest.h>

#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/pivoting/seam_meshes.h"
#include "tests/pivoting/stitch_runs.h"
#include "tests/support/invariants.h"

namespace {

using namespace test_support;
using Mesh_M::Mesh;
using xbpa::XBallPivoting;

static_assert(std::is_copy_constructible_v<XBallPivoting>);
static_assert(std::is_copy_assignable_v<XBallPivoting>);
static_assert(std::is_move_constructible_v<XBallPivoting>);
static_assert(std::is_move_assignable_v<XBallPivoting>);

// A reconstructor that has closed a seam.
class XBallCopies : public testing::Test {
 protected:
  XBallCopies() {
    const Captured output;
    ball_->stitchMesh(*mesh_);
    nodes_ = ball_->nodes.size();
  }

  // Each node finds itself, among nodes of the same reconstructor.
  void expect_whole(const XBallPivoting& ball) {
    ASSERT_EQ(ball.nodes.size(), nodes_);
    EXPECT_EQ(ball.tree.cloud->points, ball.nodes.data());
    EXPECT_EQ(ball.tree.cloud->count, nodes_);
    EXPECT_EQ(ball.face_store, &mesh_->face);
    EXPECT_EQ(ball.vert_store, &mesh_->vertex);
    EXPECT_EQ(ball.edge_store, &mesh_->edge);
    EXPECT_EQ(ball.radius[4], radius_);
    EXPECT_EQ(ball.max_dist, 12);
    std::vector<std::size_t> found;
    std::vector<float> distances;
    for (std::size_t i = 0; i < nodes_; i += 10) {
      ASSERT_EQ(ball.tree.knnSearch(ball.nodes[i], 1, found, distances), 1U);
      EXPECT_EQ(found[0], i);
      EXPECT_EQ(distances[0], 0);
    }
  }

  // It goes on like one that is new.
  void expect_stitches(XBallPivoting& ball) {
    const auto mesh = seam_mesh(8, 0.3F, 5);
    const auto same = seam_mesh(8, 0.3F, 5);
    XBallPivoting fresh;
    const Captured output;
    ball.stitchMesh(*mesh);
    fresh.stitchMesh(*same);
    EXPECT_GT(mesh->face.real_num, 1000);
    EXPECT_TRUE(placed_faces(mesh->face) == placed_faces(same->face));
    EXPECT_TRUE(adjacency_holds(*mesh));
  }

  const std::unique_ptr<Mesh> mesh_ = seam_mesh(4, 1.5F, 4);
  std::unique_ptr<XBallPivoting> ball_ = std::make_unique<XBallPivoting>();
  std::size_t nodes_ = 0;
  const double radius_ = 1.1 * 6;
};

TEST_F(XBallCopies, a_copy_stands_without_the_one_that_it_was_made_of) {
  auto copy = std::make_unique<XBallPivoting>(*ball_);
  expect_whole(*ball_);
  ball_.reset();
  expect_whole(*copy);
  expect_stitches(*copy);
}

TEST_F(XBallCopies, an_assigned_copy_does_too) {
  XBallPivoting copy;
  copy = *ball_;
  XBallPivoting& same = copy;
  copy = same;
  expect_whole(*ball_);
  ball_.reset();
  expect_whole(copy);
  expect_stitches(copy);
}

TEST_F(XBallCopies, what_is_moved_stands_and_what_it_was_moved_from_can_be_used_again) {
  XBallPivoting moved(std::move(*ball_));
  expect_whole(moved);
  std::vector<std::size_t> found;
  std::vector<float> distances;
  EXPECT_EQ(ball_->tree.knnSearch(moved.nodes[0], 1, found, distances), 0U);
  expect_stitches(*ball_);
  XBallPivoting assigned;
  assigned = std::move(moved);
  expect_whole(assigned);
  expect_stitches(assigned);
}

}  // namespace
