// Which vertices a tool holds, and the faces gathered around them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>
#include <vector>

#include "scanmesh/internal.h"
#include "scanmesh/mesh.h"
#include "tests/support/invariants.h"
#include "tests/support/mesh_access.h"
#include "tests/support/shapes.h"
#include "tests/trimming/trim_tools.h"

namespace {

using namespace test_support;
using Mesh_M::Mesh;
using Mesh_M::MeshAccess;
using Mesh_R::_face;
using Mesh_R::_vert;

_vert probe(Vec3f point, Vec3f normal = {0, 0, 1}) {
  return tool_at(point, normal);
}

TEST(RadiusTool, holds_a_vertex_exactly_at_its_radius) {
  const _vert tool = tool_at({1, 2, 3});
  const scanmesh::RadiusTool ball(tool, 5);
  EXPECT_TRUE(ball.holds(probe({4, 6, 3})));
  EXPECT_FALSE(ball.holds(probe({4, 6.00001F, 3})));
}

TEST(RadiusTool, leaves_out_what_faces_away) {
  const _vert tool = tool_at({0, 0, 0});
  const scanmesh::RadiusTool ball(tool, 5);
  EXPECT_FALSE(ball.holds(probe({0, 0, 0}, {0.7072F, 0, -0.707F})));
  EXPECT_TRUE(ball.holds(probe({0, 0, 0}, {0.7073F, 0, -0.7069F})));
  EXPECT_TRUE(ball.holds(probe({0, 0, 0}, {1, 0, 0})));
  EXPECT_TRUE(ball.holds(probe({0, 0, 0}, {0, 0, 0})));
}

TEST(RadiusTool, holds_nothing_higher_than_3) {
  const _vert tool = tool_at({0, 0, 10});
  const scanmesh::RadiusTool ball(tool, 50);
  EXPECT_TRUE(ball.holds(probe({1, 0, 13})));
  EXPECT_TRUE(ball.holds(probe({1, 0, 7})));
  EXPECT_FALSE(ball.holds(probe({1, 0, 13.0001F})));
  EXPECT_FALSE(ball.holds(probe({1, 0, 6.9999F})));
}

// a = 5, b = 2, c = 5.5, along x: with the cut the margin is 0.5, without it 1.5.
TEST(OvalTool, reaches_b_along_its_direction_and_a_across) {
  const _vert tool = tool_at({0, 0, 0});
  const float dir[3] = {1, 0, 0};
  const scanmesh::OvalTool cut(tool, 5, 2, 5.5F, dir, true);
  EXPECT_TRUE(cut.holds(probe({2.5F, 0, 0})));
  EXPECT_FALSE(cut.holds(probe({2.51F, 0, 0})));
  EXPECT_TRUE(cut.holds(probe({0, -5.5F, 0})));
  EXPECT_FALSE(cut.holds(probe({0, -5.51F, 0})));
}

TEST(OvalTool, has_a_margin_wider_by_1_without_the_cut) {
  const _vert tool = tool_at({0, 0, 0});
  const float dir[3] = {0, 1, 0};
  const scanmesh::OvalTool wide(tool, 5, 2, 5.5F, dir, false);
  EXPECT_TRUE(wide.holds(probe({0, 3.5F, 0})));
  EXPECT_FALSE(wide.holds(probe({0, 3.51F, 0})));
  EXPECT_TRUE(wide.holds(probe({6.5F, 0, 0})));
  EXPECT_FALSE(wide.holds(probe({6.51F, 0, 0})));
}

TEST(OvalTool, has_a_margin_of_a_tenth_at_least) {
  const _vert tool = tool_at({0, 0, 0});
  const float dir[3] = {1, 0, 0};
  const scanmesh::OvalTool cut(tool, 4, 4, 1, dir, true);
  EXPECT_TRUE(cut.holds(probe({4.09F, 0, 0})));
  EXPECT_FALSE(cut.holds(probe({4.11F, 0, 0})));
}

// The ball: hypot(3, 4) and a margin of 1 for c = a + 1.
TEST(OvalTool, ends_at_the_ball_around_its_box) {
  const _vert tool = tool_at({0, 0, 0});
  const float dir[3] = {1, 0, 0};
  const scanmesh::OvalTool cut(tool, 3, 30, 4, dir, true);
  EXPECT_TRUE(cut.holds(probe({5.99F, 0, 0})));
  EXPECT_FALSE(cut.holds(probe({6.01F, 0, 0})));
}

TEST(OvalTool, asks_for_side_and_height_like_the_radius) {
  const _vert tool = tool_at({0, 0, 0});
  const float dir[3] = {1, 0, 0};
  const scanmesh::OvalTool cut(tool, 5, 5, 6, dir, true);
  EXPECT_TRUE(cut.holds(probe({0, 0, 3})));
  EXPECT_FALSE(cut.holds(probe({0, 0, 3.001F})));
  EXPECT_FALSE(cut.holds(probe({0, 0, 0}, {0.7072F, 0, -0.707F})));
}

std::set<const _face*> as_set(const std::vector<_face*>& faces) {
  return {faces.begin(), faces.end()};
}

// Vertices one by one.
std::set<const _face*> plain_selection(Mesh& mesh, const _vert& tool, double radius) {
  std::set<const _face*> selected;
  for (int i = 0; i < mesh.vertex.get_vertnum(); ++i) {
    const _vert* const v = mesh.vertex[i];
    const double dx = v->point.x - tool.point.x;
    const double dy = v->point.y - tool.point.y;
    const double dz = v->point.z - tool.point.z;
    const double height = dx * tool.vector.x + dy * tool.vector.y + dz * tool.vector.z;
    const float side =
        v->vector.x * tool.vector.x + v->vector.y * tool.vector.y + v->vector.z * tool.vector.z;
    if (v->state == Mesh_R::kStateDeleted || !(side > -0.707F)) continue;
    if (dx * dx + dy * dy + dz * dz > radius * radius || std::fabs(height) > 3.0) continue;
    for (int k = 0; k < v->face_num; ++k) selected.insert(v->face[k]);
  }
  return selected;
}

TEST(SearchRausFaces, agrees_with_a_plain_search) {
  const auto mesh = irregular_patch(60, 3).mesh();
  const _vert tool = tool_at({31.3F, 27.1F, 0.2F}, {0.6F, 0, 0.8F});
  mesh->_dele_triangle(std::vector<_face*>{mesh->face[900], mesh->face[901]}.data(), 2);
  _vert search = tool;
  for (const float radius : {0.01F, 1.0F, 7.5F, 30.0F}) {
    MeshAccess::search_raus(*mesh, radius, &search);
    EXPECT_EQ(as_set(mesh->selected_faces), plain_selection(*mesh, tool, radius)) << radius;
    EXPECT_EQ(as_set(mesh->selected_faces).size(), mesh->selected_faces.size());
    for (const _face* f : mesh->selected_faces) EXPECT_FALSE(f->searched);
    scanmesh::clear_marks(*mesh);
    EXPECT_EQ(marked_records(*mesh), 0);
  }
}

TEST(SearchRausFaces, gives_the_selection_of_one_task_in_its_order) {
  const auto mesh = irregular_patch(60, 4).mesh();
  _vert tool = tool_at({30, 30, 0});
  MeshAccess::search_raus(*mesh, 12, &tool);
  const std::vector<_face*> shared = mesh->selected_faces;
  scanmesh::clear_marks(*mesh);
  scanmesh::clear_search(*mesh);
  MeshAccess::search_thread(*mesh, &tool, 12, 0, mesh->vertex.get_vertnum());
  EXPECT_EQ(mesh->selected_faces, shared);
  EXPECT_GT(shared.size(), 500U);
}

TEST(SearchThread, looks_at_its_run_of_vertices_only) {
  const auto mesh = flat_grid(4, 1.0F).mesh();
  _vert tool = tool_at({0, 0, 0});
  MeshAccess::search_thread(*mesh, &tool, 0.5F, 1, 25);
  EXPECT_TRUE(mesh->selected_faces.empty());
  MeshAccess::search_thread(*mesh, &tool, 0.5F, 0, 1);
  EXPECT_EQ(mesh->selected_faces.size(), 2U);
  EXPECT_TRUE(mesh->vertex[0]->searched);
  for (const _face* f : mesh->selected_faces) EXPECT_TRUE(f->searched);
}

TEST(SearchThread, runs_beside_other_runs) {
  const auto mesh = irregular_patch(60, 5).mesh();
  _vert tool = tool_at({30, 30, 0});
  const int n = mesh->vertex.get_vertnum();
  scanmesh::run_slices(n, 5, [&](std::ptrdiff_t first, std::ptrdiff_t last) {
    MeshAccess::search_thread(*mesh, &tool, 15, static_cast<int>(first), static_cast<int>(last));
  });
  EXPECT_EQ(as_set(mesh->selected_faces), plain_selection(*mesh, tool, 15));
  EXPECT_EQ(as_set(mesh->selected_faces).size(), mesh->selected_faces.size());
}

TEST(SearchOvalThread, selects_what_its_tool_holds) {
  const auto mesh = sheet(40, 0.5F, 0.2F).mesh();
  const _vert tool = tool_at({0, 0, 0});
  const float dir[3] = {0.6F, 0.8F, 0};
  const float size[3] = {5, 2, 5.5F};
  MeshAccess::search_oval_thread(*mesh, &tool, size, dir, 0, mesh->vertex.get_vertnum(), true);
  int kept = 0;
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) {
    const _vert* const v = mesh->vertex[i];
    const double along = 0.6 * v->point.x + 0.8 * v->point.y;
    const double across = 0.8 * v->point.x - 0.6 * v->point.y;
    if (std::fabs(std::fabs(along) - 2.5) < 1e-4 || std::fabs(std::fabs(across) - 5.5) < 1e-4) {
      continue;
    }
    EXPECT_EQ(v->searched, std::fabs(along) < 2.5 && std::fabs(across) < 5.5) << i;
    kept += v->searched;
  }
  EXPECT_GT(kept, 150);
}

TEST(SearchOvalFaces, without_the_cut_selects_and_notes_the_rim) {
  const auto mesh = sheet(40, 0.5F, 0.2F).mesh();
  _vert tool = tool_at({0, 0, 0});
  const float dir[3] = {1, 0, 0};
  const float size[3] = {4, 2, 4.5F};
  const int faces = mesh->face.real_num;
  EXPECT_EQ(MeshAccess::search_oval(*mesh, size, dir, &tool, 0.5F, false), 0);
  EXPECT_EQ(mesh->face.real_num, faces);
  ASSERT_FALSE(mesh->selected_faces.empty());
  std::size_t rim = 0;
  for (const _face* f : mesh->selected_faces) {
    EXPECT_FALSE(f->searched);
    rim += static_cast<std::size_t>(
        std::count_if(f->vert, f->vert + 3, [](const _vert* v) { return !v->searched; }));
  }
  EXPECT_EQ(mesh->rim_vertices.size(), rim);
  for (const _vert* v : mesh->rim_vertices) EXPECT_TRUE(v->reached);
  scanmesh::clear_marks(*mesh);
  EXPECT_EQ(marked_records(*mesh), 0);
}

}  // namespace
