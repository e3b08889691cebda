// Openings in whole meshes: the coarse cut, the curve, walls, refusals.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "scanmesh/internal.h"
#include "scanmesh/mesh.h"
#include "tests/support/hole_access.h"
#include "tests/support/invariants.h"
#include "tests/support/live_geometry.h"
#include "tests/support/shapes.h"
#include "tests/support/snapshots.h"
#include "tests/trimming/trim_tools.h"

namespace {

using namespace test_support;
using Mesh_M::Mesh;
using Mesh_R::_vert;

constexpr const char* kRefused = "无法切割孔！\n";

// The values of an opening, as the list forms take them.
struct Opening {
  std::vector<float> centre{0, 0, 0};
  std::vector<float> normal{0, 0, 1};
  std::vector<float> dir{1, 0, 0};
  float spacing = 0.5F;
  float depth = 1;
  bool wall = false;
};

void cut_circle(Mesh& mesh, float radius, float reach, const Opening& o = {}) {
  mesh.trimWithCircle({radius}, {reach}, o.spacing, o.centre, o.normal, o.depth, o.wall);
}
void cut_slot(Mesh& mesh, float a, float b, float c, const Opening& o = {}) {
  mesh.trimWithOval({a}, {b}, {c}, o.spacing, o.centre, o.normal, o.dir, o.depth, o.wall);
}
void cut_rectangle(Mesh& mesh, float a, float b, float c, const Opening& o = {}) {
  mesh.trimWithRectangle({a}, {b}, {c}, o.spacing, o.centre, o.normal, o.dir, o.depth, o.wall);
}

// A vertex as seen along the axis of an opening.
scanmesh::Point2 seen(const _vert& v, const Opening& o) {
  const double e1[3] = {o.dir[0], o.dir[1], o.dir[2]};
  const double n[3] = {o.normal[0], o.normal[1], o.normal[2]};
  const double e2[3] = {n[1] * e1[2] - n[2] * e1[1], n[2] * e1[0] - n[0] * e1[2],
                        n[0] * e1[1] - n[1] * e1[0]};
  const double p[3] = {v.point.x - o.centre[0], v.point.y - o.centre[1], v.point.z - o.centre[2]};
  return {p[0] * e1[0] + p[1] * e1[1] + p[2] * e1[2], p[0] * e2[0] + p[1] * e2[1] + p[2] * e2[2]};
}

// How far a point of the plane is from each curve.
double off_circle(const scanmesh::Point2& p, double radius) {
  return std::fabs(std::hypot(p.x, p.y) - radius);
}
double off_slot(const scanmesh::Point2& p, double a, double b) {
  const double x = std::max(0.0, std::fabs(p.x) - (a - b));
  return std::fabs(std::hypot(x, p.y) - b);
}
double off_rectangle(const scanmesh::Point2& p, double a, double b) {
  const double x = std::fabs(p.x) - a;
  const double y = std::fabs(p.y) - b;
  if (x > 0 && y > 0) return std::hypot(x, y);
  return std::fabs(std::max(x, y));
}

// The ring of open edges that isn't the border of the sheet: the shortest in space.
std::vector<const _vert*> opening_rim(Mesh& mesh, const Opening& o) {
  std::vector<const _vert*> best;
  double least = 1e30;
  for (const auto& ring : open_rings(mesh)) {
    double farthest = 0;
    for (const _vert* v : ring) {
      const scanmesh::Point2 p = seen(*v, o);
      farthest = std::max(farthest, std::hypot(p.x, p.y));
    }
    if (!ring.empty() && farthest < least) {
      least = farthest;
      best = ring;
    }
  }
  return best;
}

// What holds after every trim, whatever was cut.
void expect_sound(Mesh& mesh, std::size_t rings) {
  EXPECT_TRUE(adjacency_holds(mesh));
  EXPECT_EQ(crowded_edges(mesh), 0);
  EXPECT_EQ(marked_records(mesh), 0);
  EXPECT_TRUE(all_states_default(mesh));
  const auto found = open_rings(mesh);
  EXPECT_EQ(found.size(), rings);
  for (const auto& ring : found) EXPECT_FALSE(ring.empty());
  for (int i = 0; i < mesh.vertex.get_vertnum(); ++i) {
    const _vert* const v = mesh.vertex[i];
    if (v->state == Mesh_R::kStateDeleted) continue;
    EXPECT_TRUE(std::isfinite(v->point.x + v->point.y + v->point.z)) << i;
    EXPECT_GT(v->face_num, 0) << i;
  }
}

void expect_rim_on(Mesh& mesh, const Opening& o, double size,
                   const std::function<double(const scanmesh::Point2&)>& off) {
  const auto rim = opening_rim(mesh, o);
  ASSERT_GE(rim.size(), 8U);
  // A crossing nearer than 0.001 to a vertex of the mesh is that vertex.
  std::size_t snapped = 0;
  for (const _vert* v : rim) {
    EXPECT_LE(off(seen(*v, o)), std::max(1e-3, 1e-4 * size));
    snapped += off(seen(*v, o)) > 1e-4 * size;
  }
  EXPECT_LE(snapped, rim.size() / 20);
}

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
  cut_circle(*mesh, 5, 6.5F);
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
  cut_circle(*same, 4, 5.5F);
  EXPECT_TRUE(geometry(*mesh) == geometry(*same));
  mesh->trimWithOval({3}, {2}, {5}, 0.5F, {8, 8, 0}, {0, 0, 1}, {1, 0, 0});
  Opening o;
  o.centre = {8, 8, 0};
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

TEST(TrimWithCircle, leaves_a_small_circle_at_the_coarse_cut) {
  const auto mesh = sheet(60, 0.5F, 0.4F, 0.1F).mesh();
  const Geometry before = geometry(*mesh);
  EXPECT_EQ(output_of([&] { cut_circle(*mesh, 1.39F, 4); }), "");
  expect_sound(*mesh, 1);
  EXPECT_FALSE(geometry(*mesh) == before);
  EXPECT_TRUE(geometry(*mesh).boundary == before.boundary);
}

TEST(TrimWithOval, leaves_a_small_slot_at_the_coarse_cut) {
  const auto mesh = sheet(60, 0.5F, 0.4F, 0.1F).mesh();
  const Geometry before = geometry(*mesh);
  cut_slot(*mesh, 1.99F, 1.5F, 4);
  expect_sound(*mesh, 1);
  EXPECT_FALSE(geometry(*mesh) == before);
  EXPECT_TRUE(geometry(*mesh).boundary == before.boundary);
}

TEST(TrimWithRectangle, leaves_one_of_small_second_size_at_the_coarse_cut) {
  const auto mesh = sheet(60, 0.5F, 0.4F, 0.1F).mesh();
  const Geometry before = geometry(*mesh);
  cut_rectangle(*mesh, 6, 1.39F, 8);
  expect_sound(*mesh, 1);
  EXPECT_FALSE(geometry(*mesh) == before);
  EXPECT_TRUE(geometry(*mesh).boundary == before.boundary);
}

TEST(TrimWithRectangle, asks_its_first_size_for_nothing) {
  const auto mesh = sheet(60, 0.5F, 0.4F, 0.1F).mesh();
  cut_rectangle(*mesh, 1, 3, 5);
  expect_sound(*mesh, 2);
}

TEST(ShapeTrims, cut_nothing_for_a_wall_of_negative_depth) {
  Opening o;
  o.wall = true;
  o.depth = -1;
  for (int shape = 0; shape < 3; ++shape) {
    const auto mesh = sheet(60, 0.5F, 0.4F, 0.1F).mesh();
    const Geometry before = geometry(*mesh);
    if (shape == 0) cut_circle(*mesh, 4, 5.5F, o);
    if (shape == 1) cut_slot(*mesh, 4, 2, 7, o);
    if (shape == 2) cut_rectangle(*mesh, 4, 2, 7, o);
    expect_sound(*mesh, 1);
    EXPECT_TRUE(geometry(*mesh).boundary == before.boundary);
  }
}

TEST(TrimWithCircle, prints_a_line_for_what_it_cannot_cut_and_leaves_the_mesh) {
  const auto mesh = sheet(40, 0.5F, 0.4F, 0.1F).mesh();
  const Geometry before = geometry(*mesh);
  Opening o;
  o.centre = {9, 0, 0};
  EXPECT_EQ(output_of([&] { cut_circle(*mesh, 3, 4, o); }), kRefused);
  EXPECT_TRUE(geometry(*mesh) == before);
  o.centre = {300, 0, 0};
  EXPECT_EQ(output_of([&] { cut_circle(*mesh, 3, 4, o); }), kRefused);
  EXPECT_TRUE(geometry(*mesh) == before);
  expect_sound(*mesh, 1);
}

TEST(ShapeTrims, other_shapes_are_left_out_in_silence) {
  const auto mesh = sheet(40, 0.5F, 0.4F, 0.1F).mesh();
  const Geometry before = geometry(*mesh);
  Opening o;
  o.centre = {9, 0, 0};
  EXPECT_EQ(output_of([&] { cut_slot(*mesh, 3, 2, 5, o); }), "");
  EXPECT_EQ(output_of([&] { cut_rectangle(*mesh, 3, 2, 5, o); }), "");
  EXPECT_TRUE(geometry(*mesh) == before);
  expect_sound(*mesh, 1);
}

TEST(TrimWithCircle, goes_on_after_one_that_it_cannot_cut) {
  const auto mesh = sheet(80, 0.5F, 0.4F, 0.1F).mesh();
  const std::string said = output_of([&] {
    mesh->trimWithCircle({3, 3, 3, 3}, {4, 4, 4, 4}, 0.5F,
                         {-10, 0, 0, 19, 0, 0, 0, 0, 0, 500, 0, 0},
                         {0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1});
  });
  EXPECT_EQ(said, std::string(kRefused) + kRefused);
  expect_sound(*mesh, 3);
}

// The second lies across the rim of the first. Where its coarse cut finds no closed rim, it is left
// out; the single form cuts the curve all the same.
TEST(TrimWithCircle, leaves_out_an_opening_across_the_rim_of_another) {
  const auto mesh = sheet(80, 0.5F, 0.4F, 0.1F).mesh();
  EXPECT_EQ(output_of([&] { cut_circle(*mesh, 4, 5.5F); }), "");
  const Geometry after_first = geometry(*mesh);
  Opening o;
  o.centre = {6, 0, 0};
  EXPECT_EQ(output_of([&] { cut_circle(*mesh, 4, 5.5F, o); }), kRefused);
  EXPECT_TRUE(geometry(*mesh) == after_first);
  expect_sound(*mesh, 2);
}

TEST(TrimWithCircle, single_form_joins_an_opening_to_another) {
  const auto mesh = sheet(80, 0.5F, 0.4F, 0.1F).mesh();
  EXPECT_EQ(output_of([&] { cut_circle(*mesh, 4, 5.5F); }), "");
  _vert tool = tool_at({6, 0, 0});
  EXPECT_EQ(output_of([&] { mesh->trimWithCircle(6, 0.5F, &tool); }), "");
  expect_sound(*mesh, 2);
  const auto rim = opening_rim(*mesh, {});
  int first = 0;
  int second = 0;
  for (const _vert* v : rim) {
    const bool on_first = off_circle({v->point.x, v->point.y}, 4) < 2e-3;
    const bool on_second = off_circle({v->point.x - 6, v->point.y}, 4) < 2e-3;
    EXPECT_TRUE(on_first || on_second);
    first += on_first;
    second += on_second;
  }
  EXPECT_GT(first, 10);
  EXPECT_GT(second, 10);
}

// A wider one around the first fills it and cuts anew.
TEST(TrimWithCircle, cuts_a_wider_opening_over_the_first) {
  const auto mesh = sheet(80, 0.5F, 0.4F, 0.1F).mesh();
  EXPECT_EQ(output_of([&] {
              mesh->trimWithCircle({3, 5}, {4.5F, 7}, 0.5F, {0, 0, 0, 0, 0, 0}, {0, 0, 1, 0, 0, 1});
            }),
            "");
  expect_sound(*mesh, 2);
  expect_rim_on(*mesh, {}, 5, [](const scanmesh::Point2& p) { return off_circle(p, 5); });
}

TEST(TrimWithCircle, single_form_cuts_2_within_its_tool) {
  const auto mesh = sheet(80, 0.5F, 0.4F, 0.1F).mesh();
  _vert tool = tool_at({0, 0, 0});
  EXPECT_EQ(output_of([&] { mesh->trimWithCircle(6.5F, 0.5F, &tool); }), "");
  expect_sound(*mesh, 2);
  expect_rim_on(*mesh, {}, 4.5, [](const scanmesh::Point2& p) { return off_circle(p, 4.5); });
}

TEST(TrimWithCircle, single_form_cuts_even_after_a_refusal) {
  const auto mesh = sheet(40, 0.5F, 0.4F, 0.1F).mesh();
  _vert tool = tool_at({6, 0, 0});
  EXPECT_EQ(output_of([&] { mesh->trimWithCircle(5, 0.5F, &tool); }), "");
  expect_sound(*mesh, 2);
  Opening o;
  o.centre = {6, 0, 0};
  expect_rim_on(*mesh, o, 3, [](const scanmesh::Point2& p) { return off_circle(p, 3); });
}

// Marks that somebody left, and normals that are out of date.
TEST(ShapeTrims, reset_marks_and_normals_for_an_empty_list) {
  for (int shape = 0; shape < 3; ++shape) {
    const auto mesh = sheet(10, 1, 0.4F).mesh();
    const Geometry before = geometry(*mesh);
    const Points normals = vertex_normals_of(*mesh);
    for (int i = 0; i < mesh->vertex.get_vertnum(); i += 2) {
      mesh->vertex[i]->order = 5;
      mesh->vertex[i]->searched = true;
      mesh->vertex[i]->reached = true;
      mesh->vertex[i]->vector = {1, 0, 0};
      mesh->face[i]->searched = true;
    }
    if (shape == 0) mesh->trimWithCircle({}, {}, 0.5F, {}, {});
    if (shape == 1) mesh->trimWithOval({}, {}, {}, 0.5F, {}, {}, {});
    if (shape == 2) mesh->trimWithRectangle({}, {}, {}, 0.5F, {}, {}, {}, 1, false);
    EXPECT_EQ(marked_records(*mesh), 0);
    EXPECT_TRUE(identical(vertex_normals_of(*mesh), normals));
    EXPECT_TRUE(geometry(*mesh) == before);
  }
}

TEST(ShapeTrims, say_nothing_of_a_mesh_without_vertices) {
  Mesh mesh;
  mesh.inalize();
  EXPECT_EQ(output_of([&] {
              cut_circle(mesh, 4, 5);
              cut_slot(mesh, 4, 2, 7);
              cut_rectangle(mesh, 4, 2, 7);
              _vert tool = tool_at({0, 0, 0});
              mesh.trimWithCircle(5, 1, &tool);
            }),
            "");
  EXPECT_EQ(mesh.vertex.get_vertnum(), 0);
}

// Openings at random places of a noisy sheet, of all shapes, some of them overlapping or at the
// border: whatever is cut or refused, the mesh stays sound.
TEST(ShapeTrims, leave_a_sound_mesh_whatever_they_meet) {
  Random random(77);
  for (int round = 0; round < 12; ++round) {
    const auto mesh = sheet(70, 0.6F, 0.5F, 0.2F, static_cast<uint64_t>(round)).mesh();
    static_cast<void>(output_of([&] {
      for (int i = 0; i < 5; ++i) {
        Opening o;
        o.centre = {17 * random.signed_unit(), 17 * random.signed_unit(), 0};
        const float angle = 3 * random.signed_unit();
        o.dir = {std::cos(angle), std::sin(angle), 0};
        o.wall = random.below(3) == 0;
        const int shape = random.below(3);
        if (shape == 0) cut_circle(*mesh, 3, 4.5F, o);
        if (shape == 1) cut_slot(*mesh, 4, 2, 7, o);
        if (shape == 2) cut_rectangle(*mesh, 3, 2, 5.5F, o);
      }
    }));
    EXPECT_TRUE(adjacency_holds(*mesh)) << round;
    EXPECT_EQ(marked_records(*mesh), 0);
    EXPECT_TRUE(all_states_default(*mesh));
  }
}

// Sheets as a damaged file gives them: corners that aren't numbers or lie far out, faces listed
// twice, folded over an edge, or without area.
Soup damaged_sheet(uint64_t seed) {
  Soup soup = sheet(40, 0.5F, 0.4F, 0.15F, seed);
  Random random(seed);
  const int points = static_cast<int>(soup.points.size());
  const int faces = static_cast<int>(soup.triangles.size());
  const auto any_point = [&]() -> Vec3f& {
    return soup.points[static_cast<std::size_t>(random.below(points))];
  };
  const auto any_face = [&] {
    return soup.triangles[static_cast<std::size_t>(random.below(faces))];
  };
  for (int i = 0; i < 6; ++i) {
    any_point().x = std::nanf("");
    any_point().z = 1e30F;
    any_point().y = HUGE_VALF;
    any_point() = any_point();
    soup.triangles.push_back(any_face());
    const auto f = any_face();
    soup.triangles.push_back({f[0], f[1], random.below(points)});
    soup.triangles.push_back({f[1], f[0], random.below(points)});
  }
  return soup;
}

TEST(ShapeTrims, leave_the_records_of_a_damaged_mesh_in_order) {
  for (uint64_t seed = 1; seed <= 12; ++seed) {
    const auto mesh = damaged_sheet(seed).mesh();
    ASSERT_TRUE(adjacency_holds(*mesh));
    Random random(seed);
    static_cast<void>(output_of([&] {
      for (int i = 0; i < 6; ++i) {
        Opening o;
        o.centre = {6 * random.signed_unit(), 6 * random.signed_unit(), 0};
        o.wall = i % 2 == 0;
        if (i % 3 == 0) cut_circle(*mesh, 2, 3, o);
        if (i % 3 == 1) cut_slot(*mesh, 2.5F, 1.5F, 4, o);
        if (i % 3 == 2) cut_rectangle(*mesh, 2.5F, 1.5F, 4, o);
        _vert tool = tool_at({o.centre[0], o.centre[1], 0});
        mesh->trimWithCircle(4, 0.5F, &tool);
      }
    }));
    EXPECT_TRUE(adjacency_holds(*mesh)) << seed;
    EXPECT_EQ(marked_records(*mesh), 0);
    EXPECT_TRUE(all_states_default(*mesh));
  }
}

// Axes of no length, directions along the axis, sizes that aren't numbers.
TEST(ShapeTrims, survive_openings_without_sense) {
  const float nan = std::nanf("");
  for (const float bad : {nan, HUGE_VALF, 0.0F, -3.0F}) {
    const auto mesh = sheet(30, 0.5F, 0.4F, 0.1F).mesh();
    static_cast<void>(output_of([&] {
      Opening o;
      o.dir = {0, 0, 1};
      cut_slot(*mesh, 3, 2, 5, o);
      cut_rectangle(*mesh, 3, 2, 5, o);
      o.dir = {bad, 0, 0};
      cut_slot(*mesh, 3, 2, 5, o);
      o.dir = {1, 0, 0};
      cut_slot(*mesh, 3, bad, 5, o);
      cut_rectangle(*mesh, bad, 2, 5, o);
      cut_circle(*mesh, bad, 4, o);
      cut_circle(*mesh, 3, bad, o);
      o.normal = {0, 0, bad};
      cut_circle(*mesh, 3, 4, o);
      o.depth = bad;
      o.wall = true;
      o.normal = {0, 0, 1};
      cut_circle(*mesh, 3, 4, o);
    }));
    EXPECT_TRUE(adjacency_holds(*mesh)) << bad;
    EXPECT_EQ(marked_records(*mesh), 0);
  }
}

}  // namespace
