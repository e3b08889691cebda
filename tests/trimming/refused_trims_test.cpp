// Openings that are left out, in part or as a whole, and meshes and sizes out of order.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
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

constexpr const char* kRefused = "无法切割孔！\n";

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

TEST(ShapeTrims, cut_nothing_for_a_wall_whose_depth_is_not_finite) {
  const float infinity = std::numeric_limits<float>::infinity();
  for (const float depth : {std::nanf(""), infinity, -infinity}) {
    for (int shape = 0; shape < 3; ++shape) {
      std::vector<Geometry> outcomes;
      for (const float tried : {-1.0F, depth}) {
        Opening o;
        o.wall = true;
        o.depth = tried;
        const auto mesh = sheet(60, 0.5F, 0.4F, 0.1F).mesh();
        if (shape == 0) cut_circle(*mesh, 4, 5.5F, o);
        if (shape == 1) cut_slot(*mesh, 4, 2, 7, o);
        if (shape == 2) cut_rectangle(*mesh, 4, 2, 7, o);
        expect_sound(*mesh, 1);
        outcomes.push_back(geometry(*mesh));
      }
      EXPECT_TRUE(outcomes[0] == outcomes[1]) << depth << ", shape " << shape;
    }
  }
}

}  // namespace
