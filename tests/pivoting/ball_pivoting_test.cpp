#include <gtest/gtest.h>

#include <limits>

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

struct NamedCloud {
  const char* name;
  Cloud cloud;
};

std::vector<NamedCloud> test_clouds() {
  Cloud outliers = wavy_cloud(30, 5);
  for (const Vec3f& p : random_points(40, 6, 30)) outliers.add(p, {0, 0, 1});
  Cloud fine = sphere_cloud(900, 7);
  for (Vec3f& p : fine.points) p = scanmesh::scaled(p, 0.01);
  fine.spacing = 0.01F;
  Cloud sparse = wavy_cloud(30, 8);
  sparse.spacing = 0.4F;
  Cloud coarse = wavy_cloud(25, 9);
  coarse.spacing = 2.5F;
  return {{"sphere", sphere_cloud(1000, 1)},
          {"wavy", wavy_cloud(32, 2)},
          {"shuffled", shuffled(wavy_cloud(32, 3), 4)},
          {"outliers", outliers},
          {"fine", fine},
          {"balls too small", sparse},
          {"balls too large", coarse},
          {"messy", messy_cloud(900, 10)},
          {"messier", messy_cloud(900, 11)},
          {"two parts", joined(sphere_cloud(300, 12), wavy_cloud(16, 13), {40, 0, 0})}};
}

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

}  // namespace
