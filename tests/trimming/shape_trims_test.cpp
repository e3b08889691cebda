// Openings in whole meshes: rims on their curves, walls, both forms.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "scanmesh/internal.h"
#include "scanmesh/mesh.h"
#include "tests/support/hole_access.h"
#include "tests/support/invariants.h"
#include "tests/support/live_geometry.h"
#include "tests/support/shapes.h"
#include "tests/support/snapshots.h"
#include "tests/trimming/openings.h"
#include "tests/trimming/trim_tools.h"

namespace {

using namespace test_support;
using Mesh_M::Mesh;
using Mesh_R::_vert;

TEST(TrimWithCircle, puts_the_rim_on_the_circle) {
  for (const float noise : {0.0F, 0.15F}) {
    const auto mesh = sheet(80, 0.5F, 0.4F, noise).mesh();
    EXPECT_EQ(output_of([&] { cut_circle(*mesh, 5, 6.5F); }), "");
    expect_sound(*mesh, 2);
    expect_rim_on(*mesh, {}, 5, [](const scanmesh::Point2& p) { return off_circle(p, 5); });
  }
}

TEST(TrimWithOval, puts_the_rim_on_the_slot) {
  for (const float noise : {0.0F, 0.15F}) {
    const auto mesh = sheet(80, 0.5F, 0.4F, noise).mesh();
    Opening o;
    o.dir = {0.8F, 0.6F, 0};
    EXPECT_EQ(output_of([&] { cut_slot(*mesh, 6, 2.5F, 10.5F, o); }), "");
    expect_sound(*mesh, 2);
    expect_rim_on(*mesh, o, 6, [](const scanmesh::Point2& p) { return off_slot(p, 6, 2.5); });
  }
}

TEST(TrimWithRectangle, puts_the_rim_and_four_vertices_on_the_rectangle) {
  for (const float noise : {0.0F, 0.15F}) {
    const auto mesh = sheet(80, 0.5F, 0.4F, noise).mesh();
    Opening o;
    o.centre = {0.13F, -0.21F, 0};
    o.dir = {0.8F, -0.6F, 0};
    EXPECT_EQ(output_of([&] { cut_rectangle(*mesh, 5, 3, 8, o); }), "");
    expect_sound(*mesh, 2);
    expect_rim_on(*mesh, o, 5, [](const scanmesh::Point2& p) { return off_rectangle(p, 5, 3); });
    const auto rim = opening_rim(*mesh, o);
    for (const auto& corner : scanmesh::rectangle_corners(5, 3)) {
      const auto at_corner = [&](const _vert* v) {
        const scanmesh::Point2 p = seen(*v, o);
        return std::hypot(p.x - corner.x, p.y - corner.y) < 1e-3;
      };
      EXPECT_EQ(std::count_if(rim.begin(), rim.end(), at_corner), 1);
    }
  }
}

// Sheets in all directions, with the opening's axis along.
TEST(TrimWithCircle, cuts_along_any_axis) {
  for (const Vec3f& n : {Vec3f{1, 0, 0}, Vec3f{0, -1, 0}, Vec3f{0, 0, -1}, Vec3f{0.6F, 0.8F, 0},
                         Vec3f{0.36F, 0.48F, -0.8F}}) {
    const auto mesh = noisy(sphere(5, 20.0F), 0.05F, 3).mesh();
    Opening o;
    o.normal = {n.x, n.y, n.z};
    // The tool's plane passes through the rim of the coarse cut, not through the pole.
    o.centre = {18.7F * n.x, 18.7F * n.y, 18.7F * n.z};
    const Vec3f d = qv::maac::xtirm_mesh::FCircle3D({0, 0, 0}, n, 1).direction;
    o.dir = {d.x, d.y, d.z};
    EXPECT_EQ(output_of([&] { cut_circle(*mesh, 5, 7, o); }), "");
    expect_sound(*mesh, 1);
    expect_rim_on(*mesh, o, 5, [](const scanmesh::Point2& p) { return off_circle(p, 5); });
  }
}

TEST(TrimWithOval, cuts_a_curved_surface) {
  const auto mesh = noisy(sphere(5, 20.0F), 0.05F, 4).mesh();
  Opening o;
  o.centre = {0, 0, 18};
  o.dir = {0.6F, 0.8F, 0};
  cut_slot(*mesh, 5, 2.5F, 9.5F, o);
  expect_sound(*mesh, 1);
  expect_rim_on(*mesh, o, 5, [](const scanmesh::Point2& p) { return off_slot(p, 5, 2.5); });
}

TEST(TrimWithRectangle, cuts_a_curved_surface) {
  const auto mesh = noisy(sphere(5, 20.0F), 0.05F, 5).mesh();
  Opening o;
  o.centre = {0, 0, 18};
  o.dir = {0.6F, 0.8F, 0};
  cut_rectangle(*mesh, 4, 2.5F, 7.5F, o);
  expect_sound(*mesh, 1);
  expect_rim_on(*mesh, o, 4, [](const scanmesh::Point2& p) { return off_rectangle(p, 4, 2.5); });
}

// Nothing of the mesh lies within the curve any more, but where a face without a corner inside
// reaches into it.
TEST(TrimWithRectangle, takes_away_all_that_was_inside) {
  const auto mesh = sheet(80, 0.5F, 0.4F, 0.15F).mesh();
  cut_rectangle(*mesh, 5, 3, 8);
  for (const Mesh_R::_face* f : live_faces(*mesh)) {
    double x = 0;
    double y = 0;
    for (const _vert* v : f->vert) {
      EXPECT_FALSE(std::fabs(v->point.x) < 4.998 && std::fabs(v->point.y) < 2.998);
      x += v->point.x / 3;
      y += v->point.y / 3;
    }
    EXPECT_FALSE(std::fabs(x) < 4.9 && std::fabs(y) < 2.9);
  }
}

TEST(TrimWithCircle, faces_of_the_rim_keep_their_side) {
  const auto mesh = sheet(80, 0.5F, 0.4F, 0.15F).mesh();
  const int first = mesh->face.get_facenum();
  cut_circle(*mesh, 5, 6.5F);
  expect_rim_on(*mesh, {}, 5, [](const scanmesh::Point2& p) { return off_circle(p, 5); });
  EXPECT_GT(mesh->face.get_facenum(), first + 100);
  for (const Mesh_R::_face* f : live_faces(*mesh)) {
    const Vec3f turn =
        scanmesh::corner_cross(f->vert[0]->point, f->vert[1]->point, f->vert[2]->point);
    EXPECT_GE(turn.z, -1e-6F);
    EXPECT_GT(f->vector.z, 0.5F);
  }
}

// A plate of two sheets 1 apart, closed at the sides: the far side faces away.
TEST(TrimWithCircle, leaves_the_far_side_of_a_plate) {
  Soup top = sheet(40, 0.5F, 0);
  const int n = static_cast<int>(top.points.size());
  Soup plate = top;
  for (const Vec3f& p : top.points) plate.points.push_back({p.x, p.y, -1});
  for (const auto& t : top.triangles) plate.triangles.push_back({t[0] + n, t[2] + n, t[1] + n});
  const auto mesh = plate.mesh();
  cut_circle(*mesh, 4, 5.5F);
  expect_sound(*mesh, 3);
  int below = 0;
  for (const Mesh_R::_face* f : live_faces(*mesh)) {
    below += f->vert[0]->point.z == -1 && f->vert[1]->point.z == -1 && f->vert[2]->point.z == -1;
  }
  EXPECT_EQ(below, 3200);
}

TEST(TrimWithCircle, hangs_a_wall_from_the_rim) {
  const auto mesh = sheet(80, 0.5F, 0.4F, 0.1F).mesh();
  Opening o;
  o.wall = true;
  o.depth = 2;
  cut_circle(*mesh, 5, 6.5F, o);
  expect_sound(*mesh, 2);
  const auto low = opening_rim(*mesh, o);
  ASSERT_GE(low.size(), 20U);
  for (const _vert* v : low) {
    EXPECT_NEAR(std::hypot(v->point.x, v->point.y), 5, 1e-3);
    EXPECT_NEAR(v->point.z, 0.4 * std::sin(0.3 * v->point.x) * std::cos(0.2 * v->point.y) - 2,
                0.15);
  }
  int walls = 0;
  for (const Mesh_R::_face* f : live_faces(*mesh)) {
    if (std::fabs(f->vector.z) > 0.3F) continue;
    ++walls;
    EXPECT_LT(f->vector.x * f->vert[0]->point.x + f->vector.y * f->vert[0]->point.y, 0);
  }
  EXPECT_GE(walls, static_cast<int>(low.size()));
}

TEST(TrimWithOval, hangs_a_wall_from_the_rim) {
  const auto mesh = sheet(80, 0.5F, 0.4F, 0.1F).mesh();
  Opening o;
  o.wall = true;
  o.depth = 2;
  cut_slot(*mesh, 5, 2.5F, 9, o);
  expect_sound(*mesh, 2);
  for (const _vert* v : opening_rim(*mesh, o)) {
    EXPECT_LE(off_slot(seen(*v, o), 5, 2.5), 1e-3);
    EXPECT_LT(v->point.z, -1.5F);
  }
}

TEST(TrimWithRectangle, hangs_a_wall_from_the_rim) {
  const auto mesh = sheet(80, 0.5F, 0.4F, 0.1F).mesh();
  Opening o;
  o.wall = true;
  o.depth = 2;
  cut_rectangle(*mesh, 5, 3, 8, o);
  expect_sound(*mesh, 2);
  for (const _vert* v : opening_rim(*mesh, o)) {
    EXPECT_LE(off_rectangle(seen(*v, o), 5, 3), 1e-3);
    EXPECT_LT(v->point.z, -1.5F);
  }
}

TEST(TrimWithCircle, short_forms_cut_without_a_wall) {
  const auto mesh = sheet(60, 0.5F, 0.4F, 0.1F).mesh();
  const auto same = sheet(60, 0.5F, 0.4F, 0.1F).mesh();
  mesh->trimWithCircle({4}, {5.5F}, 0.5F, {0, 0, 0}, {0, 0, 1});
  expect_rim_on(*mesh, {}, 4, [](const scanmesh::Point2& p) { return off_circle(p, 4); });
  cut_circle(*same, 4, 5.5F);
  EXPECT_TRUE(geometry(*mesh) == geometry(*same));
  mesh->trimWithOval({3}, {2}, {5}, 0.5F, {8, 8, 0}, {0, 0, 1}, {1, 0, 0});
  Opening o;
  o.centre = {8, 8, 0};
  expect_rim_on(*mesh, o, 3, [](const scanmesh::Point2& p) { return off_slot(p, 3, 2); });
  EXPECT_EQ(open_rings(*mesh).size(), 3U);
  cut_slot(*same, 3, 2, 5, o);
  EXPECT_TRUE(geometry(*mesh) == geometry(*same));
}

TEST(TrimWithCircle, makes_the_same_mesh_at_every_run) {
  const auto run = [] {
    const auto mesh = sheet(80, 0.5F, 0.4F, 0.15F).mesh();
    Opening o;
    o.wall = true;
    cut_circle(*mesh, 5, 6.5F, o);
    return points_of(*mesh);
  };
  const Points first = run();
  for (int i = 0; i < 5; ++i) EXPECT_TRUE(identical(run(), first));
}

// The second lies across the rim of the first. Where its coarse cut finds no closed rim, it is left
// out; the single form cuts the curve all the same.
// A wider one around the first fills it and cuts anew.
// Marks that somebody left, and normals that are out of date.
// Openings at random places of a noisy sheet, of all shapes, some of them overlapping or at the
// border: whatever is cut or refused, the mesh stays sound.
// Axes of no length, directions along the axis, sizes that aren't numbers.
}  // namespace
