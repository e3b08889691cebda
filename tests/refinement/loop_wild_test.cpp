// Subdivision of meshes with coordinates that aren't finite.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <vector>

#include "core/vector_math.h"
#include "scanmesh/mesh.h"
#include "tests/support/invariants.h"
#include "tests/support/shapes.h"

namespace {

using namespace test_support;
using fmx::stl_face;
using fmx::sub_mid;
using Mesh_M::Mesh;

const float kInfinity = std::numeric_limits<float>::infinity();

bool is_finite(const stl_face& facet) {
  for (const auto& p : facet.corner) {
    if (!scanmesh::finite({p[0], p[1], p[2]})) return false;
  }
  return true;
}

bool has_bounds(const MemS::Bounding_Box& box) {
  return scanmesh::finite({box.min_x, box.min_y, box.min_z}) &&
         scanmesh::finite({box.max_x, box.max_y, box.max_z});
}

stl_face facet_at(float x, float y) {
  return {{0, 0, 1}, {{x, y, 0}, {x + 1, y, 0}, {x, y + 1, 0}}};
}

// Both ways of building; the first one's target must not have been used.
void expect_builds(sub_mid soup, int faces) {
  for (const bool checked : {true, false}) {
    Mesh mesh;
    Mesh* target = &mesh;
    EXPECT_EQ(checked ? mesh.Mesh_loop_subdividion_step2(target, soup)
                      : mesh.Mesh_loop_subdividion_step3(target, soup),
              0);
    EXPECT_EQ(mesh.face.real_num, faces);
    EXPECT_TRUE(adjacency_holds(mesh));
    EXPECT_TRUE(scanmesh::finite(mesh.center));
  }
}

TEST(LoopOfWildMeshes, leaves_out_what_is_not_finite_and_keeps_the_rest) {
  for (const float bad : {kInfinity, -kInfinity, std::nanf("")}) {
    const auto mesh = flat_grid(8, 1.0F).mesh();
    const auto sound = flat_grid(8, 1.0F).mesh();
    Mesh_R::_vert* const wild = mesh->vertex[40];
    ASSERT_EQ(wild->face_num, 6);
    wild->point.x = bad;
    const sub_mid soup = mesh->Mesh_loop_subdividion_step1();
    const sub_mid whole = sound->Mesh_loop_subdividion_step1();
    ASSERT_GT(soup.face_count, 2 * whole.face_count / 3);
    EXPECT_LT(soup.face_count, whole.face_count);
    for (int i = 0; i < soup.face_count; ++i) EXPECT_TRUE(is_finite(soup.faces[i]));
    EXPECT_TRUE(has_bounds(soup.box));
    EXPECT_EQ(soup.box.max_x, whole.box.max_x);
    EXPECT_EQ(soup.box.min_y, whole.box.min_y);
    expect_builds(soup, soup.face_count);
    delete[] soup.faces;
    delete[] whole.faces;
  }
}

TEST(LoopOfWildMeshes, soup_of_wild_facets_in_a_wild_box_is_built_without_them) {
  for (const float bad : {kInfinity, -kInfinity, std::nanf("")}) {
    std::vector<stl_face> facets = {facet_at(0, 0), facet_at(bad, 0), facet_at(5, 5)};
    sub_mid soup;
    soup.face_count = 3;
    soup.faces = facets.data();
    soup.box = {bad, 0, 6, 0, 0, 0};
    expect_builds(soup, 2);
    soup.box = {kInfinity, -kInfinity, kInfinity, -kInfinity, kInfinity, -kInfinity};
    expect_builds(soup, 2);
    facets = {facet_at(bad, 0), facet_at(0, bad), facet_at(bad, bad)};
    soup.faces = facets.data();
    expect_builds(soup, 0);
  }
}

TEST(LoopOfWildMeshes, box_as_wide_as_floats_go_is_built) {
  const float most = std::numeric_limits<float>::max();
  std::vector<stl_face> facets = {facet_at(0, 0), facet_at(5, 5)};
  facets.push_back({{0, 0, 1}, {{most, 0, 0}, {-most, 0, 0}, {0, most, 0}}});
  sub_mid soup;
  soup.face_count = 3;
  soup.faces = facets.data();
  soup.box = {most, -most, most, -most, 0, 0};
  expect_builds(soup, 3);
  soup.box = {most, 0.9F * most, most, 0.9F * most, 0, 0};
  expect_builds(soup, 3);
}

}  // namespace
