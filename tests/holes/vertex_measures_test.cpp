#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/hole_shapes.h"

namespace {

using namespace test_support;
using Mesh_R::_vert;
using Mesh_R::HoleAccess;
using std::vector;

constexpr float kPi = 3.14159265F;

TEST(VertexAngle, IsWhatTheFacesLeaveOfACircle) {
  const auto mesh = flat_grid(2, 1).mesh();
  for (int i = 0; i < 9; ++i) HoleAccess::vert_angle(mesh->hole, mesh->vertex[i]);
  EXPECT_NEAR(mesh->vertex[0]->angle, 1.5F * kPi, 1e-6);
  EXPECT_NEAR(mesh->vertex[1]->angle, kPi, 1e-6);
  EXPECT_NEAR(mesh->vertex[4]->angle, 0, 1e-6);
}

TEST(VertexAngle, IsNeverNegative) {
  // Five right angles at one vertex.
  Soup soup{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {-1, 0, 0}, {0, -1, 0}, {0, 0, 1}},
            {{{0, 1, 2}}, {{0, 2, 3}}, {{0, 3, 4}}, {{0, 4, 1}}, {{0, 1, 5}}}};
  const auto mesh = soup.mesh();
  HoleAccess::vert_angle(mesh->hole, mesh->vertex[0]);
  EXPECT_EQ(mesh->vertex[0]->angle, 0.0F);
}

TEST(VertexAngle, LeavesNullAndIsolatedVerticesAlone) {
  const auto mesh = single_triangle().mesh();
  HoleAccess::vert_angle(mesh->hole, nullptr);
  Vec3f place{9, 9, 9};
  _vert* const lone = mesh->vertex.insert_vert(place);
  lone->angle = 42;
  HoleAccess::vert_angle(mesh->hole, lone);
  EXPECT_EQ(lone->angle, 42.0F);
}

TEST(SmallestAngle, DropsClosedVerticesAndLetsTheLaterOfEqualsWin) {
  const auto mesh = flat_grid(2, 1).mesh();
  for (int i = 0; i < 9; ++i) mesh->vertex[i]->angle = 2.0F;
  mesh->vertex[4]->angle = 0.5F;  // closed: as many edges as faces
  mesh->vertex[2]->angle = 3.0F;
  vector<_vert*> list = {mesh->vertex[0], mesh->vertex[4], mesh->vertex[1], mesh->vertex[2]};
  int index = -1;
  EXPECT_EQ(HoleAccess::min_angle(mesh->hole, list, index), 2.0);
  EXPECT_EQ(index, 1);
  EXPECT_EQ(list, (vector<_vert*>{mesh->vertex[0], mesh->vertex[1], mesh->vertex[2]}));
}

TEST(SmallestAngle, EmptyListGives999) {
  const auto mesh = flat_grid(2, 1).mesh();
  vector<_vert*> list;
  int index = -7;
  EXPECT_EQ(HoleAccess::min_angle(mesh->hole, list, index), 999.0);
  EXPECT_EQ(index, -7);
  list = {mesh->vertex[4]};
  EXPECT_EQ(HoleAccess::min_angle(mesh->hole, list, index), 999.0);
  EXPECT_TRUE(list.empty());
}

TEST(VertexDistance, NamesTheLastWithinTheRadiusInclusively) {
  const auto mesh = flat_grid(2, 1).mesh();
  vector<_vert*> list = {mesh->vertex[1], mesh->vertex[3], mesh->vertex[8]};
  int index = -1;
  EXPECT_FALSE(HoleAccess::vert_distance(mesh->hole, {0, 0, 0}, list, 1.0, index));
  EXPECT_EQ(index, 1);
  index = -1;
  EXPECT_TRUE(HoleAccess::vert_distance(mesh->hole, {0, 0, 0}, list, 0.999, index));
  EXPECT_EQ(index, -1);
}

TEST(CrossNormal, TakesTheSecondTimesTheFirst) {
  const auto mesh = single_triangle().mesh();
  const Vec3f n = HoleAccess::normal(mesh->hole, {2, 0, 0}, {0, 3, 0});
  EXPECT_EQ(n.x, 0.0F);
  EXPECT_EQ(n.z, -1.0F);
  EXPECT_TRUE(std::isnan(HoleAccess::normal(mesh->hole, {1, 0, 0}, {1, 0, 0}).x));
}

}  // namespace
