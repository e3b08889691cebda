#include <gtest/gtest.h>

#include "scanmesh/mesh.h"
#include "tests/support/shapes.h"
#include "tests/support/snapshots.h"

namespace {

using namespace test_support;

TEST(Scaling, takes_all_coordinates_or_one) {
  const float factor = 1.000137F;
  for (int axis = -1; axis <= 4; ++axis) {
    const auto mesh = irregular_patch(9, 4).mesh();
    const Points before = points_of(*mesh);
    const Points normals = vertex_normals_of(*mesh);
    mesh->temperature_compensation_scaling(factor, axis);
    for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) {
      const Vec3f& from = before[static_cast<std::size_t>(i)];
      Vec3f to = from;
      if (axis == 0) {
        to = {static_cast<float>(double{from.x} * factor),
              static_cast<float>(double{from.y} * factor),
              static_cast<float>(double{from.z} * factor)};
      }
      if (axis == 1) to.x = from.x * factor;
      if (axis == 2) to.y = from.y * factor;
      if (axis == 3) to.z = from.z * factor;
      EXPECT_TRUE(same_bits(mesh->vertex[i]->point, to)) << axis;
    }
    EXPECT_TRUE(identical(vertex_normals_of(*mesh), normals));
  }
}

TEST(Scaling, by_one_changes_nothing) {
  const auto mesh = irregular_patch(6, 1).mesh();
  const Points before = points_of(*mesh);
  for (int axis = 0; axis < 4; ++axis) mesh->temperature_compensation_scaling(1.0F, axis);
  EXPECT_TRUE(identical(points_of(*mesh), before));
}

TEST(Scaling, leaves_deleted_vertices_and_takes_meshes_smaller_than_the_processors) {
  const auto mesh = single_triangle().mesh();
  mesh->vertex.dele_vert(mesh->vertex[1]);
  mesh->temperature_compensation_scaling(3.0F, 0);
  EXPECT_EQ(mesh->vertex[1]->point.x, 1);
  EXPECT_EQ(mesh->vertex[2]->point.y, 3);
  Mesh_M::Mesh empty;
  empty.inalize();
  empty.temperature_compensation_scaling(2.0F, 0);
  EXPECT_EQ(empty.vertex.get_vertnum(), 0);
}

}  // namespace
