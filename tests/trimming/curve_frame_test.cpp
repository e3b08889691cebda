// The shapes' own axes, and the frame in which they are cut.
#include <gtest/gtest.h>

#include <Eigen/Dense>
#include <cmath>

#include "scanmesh/internal.h"
#include "tests/support/shapes.h"

namespace {

using qv::maac::xtirm_mesh::FCircle3D;
using qv::maac::xtirm_mesh::FOvalSlot3D;
using qv::maac::xtirm_mesh::FRectangle3D;
using scanmesh::CurveFrame;
using scanmesh::Vec3d;
using scanmesh::Vec3f;

TEST(CurveShapes, know_their_kinds_and_sizes) {
  const FCircle3D circle({1, 2, 3}, {0, 0, 1}, 5);
  const FOvalSlot3D slot({1, 2, 3}, {0, 0, 1}, {1, 0, 0}, 4, 2);
  const FRectangle3D rectangle({1, 2, 3}, {0, 0, 1}, {0, 1, 0}, 4, 2);
  EXPECT_EQ(circle.shape_kind(), 0);
  EXPECT_EQ(slot.shape_kind(), 1);
  EXPECT_EQ(rectangle.shape_kind(), 2);
  EXPECT_EQ(circle.size_1, 5);
  EXPECT_EQ(slot.size_1, 4);
  EXPECT_EQ(slot.size_2, 2);
  EXPECT_EQ(rectangle.direction.y, 1);
  EXPECT_EQ(circle.centre.z, 3);
}

TEST(CurveShapes, circle_makes_a_direction_perpendicular_to_its_normal) {
  const auto direction = [](Vec3f n) { return FCircle3D({0, 0, 0}, n, 5).direction; };
  const Vec3f x = direction({0.8F, 0.6F, 0});
  EXPECT_FLOAT_EQ(x.x, -0.6F);
  EXPECT_FLOAT_EQ(x.y, 0.8F);
  EXPECT_EQ(x.z, 0);
  const Vec3f y = direction({0.6F, 0.8F, 0});
  EXPECT_FLOAT_EQ(y.x, 0.8F);
  EXPECT_FLOAT_EQ(y.y, -0.6F);
  const Vec3f z = direction({0.6F, 0, -0.8F});
  EXPECT_FLOAT_EQ(z.x, 0.8F);
  EXPECT_EQ(z.y, 0);
  EXPECT_FLOAT_EQ(z.z, 0.6F);
  const Vec3f none = direction({0, 0, 0});
  EXPECT_EQ(none.x, 0);
  EXPECT_EQ(none.y, 0);
  EXPECT_EQ(none.z, 0);
}

Vec3f random_unit(test_support::Random& random) {
  for (;;) {
    const Vec3f v{random.signed_unit(), random.signed_unit(), random.signed_unit()};
    const double size = scanmesh::length(v);
    if (size > 0.1 && size < 1) return scanmesh::scaled(v, 1 / size);
  }
}

// The motion by singular values that the frame stands for.
Eigen::Vector3d fitted(const CurveFrame& frame, const Vec3d& point) {
  const auto eigen = [](const Vec3d& v) { return Eigen::Vector3d(v.x, v.y, v.z); };
  Eigen::Matrix3d from;
  from.col(0) = eigen(frame.centre + frame.e1);
  from.col(1) = eigen(frame.centre + frame.e2);
  from.col(2) = eigen(frame.centre + frame.n);
  const Eigen::Matrix3d to = Eigen::Matrix3d::Identity();
  const Eigen::Vector3d middle_from = from.rowwise().mean();
  const Eigen::Vector3d middle_to = to.rowwise().mean();
  const Eigen::Matrix3d h = (from.colwise() - middle_from) * (to.colwise() - middle_to).transpose();
  const Eigen::JacobiSVD<Eigen::Matrix3d> svd(h, Eigen::ComputeFullU | Eigen::ComputeFullV);
  Eigen::Matrix3d d = Eigen::Matrix3d::Identity();
  d(2, 2) = (svd.matrixV() * svd.matrixU().transpose()).determinant();
  const Eigen::Matrix3d rotation = svd.matrixV() * d * svd.matrixU().transpose();
  return rotation * (eigen(point) - middle_from) + middle_to;
}

TEST(CurveFrame, is_the_rigid_fit_of_its_three_points) {
  test_support::Random random(3);
  for (int i = 0; i < 200; ++i) {
    const Vec3f centre{10 * random.signed_unit(), 10 * random.signed_unit(), random.signed_unit()};
    const Vec3f n = random_unit(random);
    const Vec3f dir = scanmesh::unit_or_zero(scanmesh::cross(n, random_unit(random)));
    const FCircle3D circle(centre, n, 5);
    const FRectangle3D rectangle(centre, n, dir, 5, 3);
    for (const qv::maac::xtirm_mesh::FBase* shape :
         {static_cast<const qv::maac::xtirm_mesh::FBase*>(&circle),
          static_cast<const qv::maac::xtirm_mesh::FBase*>(&rectangle)}) {
      const CurveFrame frame(*shape);
      ASSERT_TRUE(frame.valid());
      const Vec3d p{7.0 * random.signed_unit(), 7.0 * random.signed_unit(), 3};
      const Eigen::Vector3d wanted = fitted(frame, p);
      EXPECT_NEAR(frame.flat(p).x, wanted.x(), 1e-9);
      EXPECT_NEAR(frame.flat(p).y, wanted.y(), 1e-9);
      const Vec3d turn = scanmesh::cross(frame.e1, frame.e2);
      EXPECT_NEAR(scanmesh::dot(turn, frame.n), 1, 1e-12);
    }
  }
}

TEST(CurveFrame, takes_the_direction_as_its_first_axis) {
  const FRectangle3D rectangle({0, 0, 0}, {0, 0, 1}, {0.6F, 0.8F, 0}, 5, 3);
  const CurveFrame frame(rectangle);
  EXPECT_NEAR(frame.flat({3, 4, 9}).x, 5, 1e-6);
  EXPECT_NEAR(frame.flat({3, 4, 9}).y, 0, 1e-6);
}

TEST(CurveFrame, has_no_plane_without_an_axis_or_with_a_direction_along_it) {
  EXPECT_FALSE(CurveFrame(FCircle3D({0, 0, 0}, {0, 0, 0}, 5)).valid());
  EXPECT_FALSE(CurveFrame(FRectangle3D({0, 0, 0}, {0, 0, 1}, {0, 0, 1}, 5, 3)).valid());
  EXPECT_FALSE(CurveFrame(FOvalSlot3D({0, 0, 0}, {0, 0, 1}, {0, 0, 0}, 5, 3)).valid());
}

}  // namespace
