// Removing what is on the tool and filling the place: what stands, what is taken back.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "scanmesh/internal.h"
#include "scanmesh/mesh.h"
#include "tests/support/hole_access.h"
#include "tests/support/invariants.h"
#include "tests/support/live_geometry.h"
#include "tests/support/mesh_access.h"
#include "tests/support/shapes.h"
#include "tests/trimming/trim_tools.h"

namespace {

using namespace test_support;
using Mesh_M::Mesh;
using Mesh_M::MeshAccess;
using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;

// Positions, normals and turn of all live faces and vertices: more than the geometry alone.
struct Everything {
  Geometry geometry;
  std::vector<std::array<float, 12>> faces;
  std::vector<std::array<float, 6>> vertices;
  bool operator==(const Everything& o) const {
    return geometry == o.geometry && faces == o.faces && vertices == o.vertices;
  }
};

Everything everything(Mesh& mesh) {
  Everything all{geometry(mesh), {}, {}};
  for (const _face* f : live_faces(mesh)) {
    std::array<float, 12> row{f->vector.x, f->vector.y, f->vector.z};
    for (std::size_t k = 0; k < 3; ++k) {
      const auto p = place(f->vert[k]);
      std::copy(p.begin(), p.end(), row.begin() + 3 + static_cast<std::ptrdiff_t>(3 * k));
    }
    all.faces.push_back(row);
  }
  for (int i = 0; i < mesh.vertex.get_vertnum(); ++i) {
    const _vert* const v = mesh.vertex[i];
    if (v->state == Mesh_R::kStateDeleted) continue;
    all.vertices.push_back(
        {v->point.x, v->point.y, v->point.z, v->vector.x, v->vector.y, v->vector.z});
  }
  std::sort(all.faces.begin(), all.faces.end());
  std::sort(all.vertices.begin(), all.vertices.end());
  return all;
}

void expect_clean(Mesh& mesh) {
  EXPECT_TRUE(adjacency_holds(mesh));
  EXPECT_EQ(marked_records(mesh), 0);
  EXPECT_TRUE(all_states_default(mesh));
  EXPECT_EQ(mesh.get_hole_num(), 0);
}

TEST(SearchRadiusFaces, is_0_without_a_vertex) {
  Mesh mesh;
  mesh.inalize();
  _vert tool = tool_at({0, 0, 0});
  EXPECT_EQ(MeshAccess::search_radius(mesh, 5, 1, &tool), 0);
  const float dir[3] = {1, 0, 0};
  EXPECT_EQ(MeshAccess::search_oval(mesh, {5, 2, 6}, dir, &tool, 1, true), 0);
  EXPECT_EQ(MeshAccess::search_oval(mesh, {5, 2, 6}, dir, &tool, 1, false), 0);
}

TEST(SearchRadiusFaces, is_minus_1_for_vertices_without_faces) {
  Mesh mesh;
  mesh.inalize();
  Vec3f p{0, 0, 0};
  mesh.vertex.insert_vert(p)->vector = {0, 0, 1};
  _vert tool = tool_at({0, 0, 0});
  EXPECT_EQ(MeshAccess::search_radius(mesh, 5, 1, &tool), -1);
}

TEST(SearchRadiusFaces, is_minus_1_with_nothing_within_and_changes_nothing) {
  const auto mesh = sheet(20, 1, 0.3F).mesh();
  const Everything before = everything(*mesh);
  _vert tool = tool_at({100, 0, 0});
  EXPECT_EQ(output_of([&] { EXPECT_EQ(MeshAccess::search_radius(*mesh, 5, 1, &tool), -1); }), "");
  EXPECT_TRUE(everything(*mesh) == before);
  expect_clean(*mesh);
}

TEST(SearchRadiusFaces, fills_the_place_with_vertices_in_it) {
  const auto mesh = sheet(40, 0.5F, 0.4F, 0.1F).mesh();
  const int border = open_edge_count(*mesh);
  _vert tool = tool_at({0, 0, 0});
  EXPECT_EQ(output_of([&] { EXPECT_EQ(MeshAccess::search_radius(*mesh, 5, 0.5F, &tool), 0); }), "");
  expect_clean(*mesh);
  EXPECT_EQ(open_edge_count(*mesh), border);
  EXPECT_EQ(crowded_edges(*mesh), 0);
  int inside = 0;
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) {
    const _vert* const v = mesh->vertex[i];
    if (v->state == Mesh_R::kStateDeleted || std::hypot(v->point.x, v->point.y) > 4) continue;
    ++inside;
    EXPECT_EQ(v->flags, -65528);
    EXPECT_GT(v->vector.z, 0.9F);
    EXPECT_NEAR(v->point.z, 0.4F * std::sin(0.3F * v->point.x) * std::cos(0.2F * v->point.y), 0.2F);
  }
  EXPECT_GT(inside, 50);
}

TEST(SearchOvalFaces, fills_the_place_too) {
  const auto mesh = sheet(60, 0.5F, 0.4F, 0.1F).mesh();
  const int border = open_edge_count(*mesh);
  _vert tool = tool_at({0, 0, 0});
  const float dir[3] = {0.6F, 0.8F, 0};
  EXPECT_EQ(MeshAccess::search_oval(*mesh, {5, 2, 8}, dir, &tool, 0.5F, true), 0);
  expect_clean(*mesh);
  EXPECT_EQ(open_edge_count(*mesh), border);
  EXPECT_EQ(crowded_edges(*mesh), 0);
}

// The rim runs out at the border of the sheet.
TEST(SearchRadiusFaces, takes_itself_back_at_the_border) {
  const auto mesh = sheet(40, 0.5F, 0.4F, 0.1F).mesh();
  const Everything before = everything(*mesh);
  for (const Vec3f& centre : {Vec3f{9, 0, 0}, Vec3f{10, 10, 0}, Vec3f{-9.7F, 3, 0}}) {
    _vert tool = tool_at(centre);
    EXPECT_EQ(MeshAccess::search_radius(*mesh, 4, 0.5F, &tool), -1);
    EXPECT_TRUE(everything(*mesh) == before);
    expect_clean(*mesh);
    const float dir[3] = {1, 0, 0};
    EXPECT_EQ(MeshAccess::search_oval(*mesh, {4, 2, 5}, dir, &tool, 0.5F, true), -1);
    EXPECT_TRUE(everything(*mesh) == before);
    expect_clean(*mesh);
  }
}

TEST(SearchRadiusFaces, says_so_when_the_tool_holds_a_whole_shell) {
  Soup soup = sheet(20, 1, 0.0F);
  const Soup ball = tetrahedron();
  const int first = static_cast<int>(soup.points.size());
  for (const Vec3f& p : ball.points) soup.points.push_back({p.x, p.y, p.z + 50});
  for (const auto& t : ball.triangles) {
    soup.triangles.push_back({t[0] + first, t[1] + first, t[2] + first});
  }
  const auto mesh = soup.mesh();
  // The side test would leave some of so small a ball out.
  for (int i = first; i < first + 4; ++i) mesh->vertex[i]->vector = {0, 0, 1};
  const Everything before = everything(*mesh);
  _vert tool = tool_at({0.3F, 0.3F, 50});
  const std::string said =
      output_of([&] { EXPECT_EQ(MeshAccess::search_radius(*mesh, 3, 1, &tool), -1); });
  EXPECT_EQ(said, "0 tmpn == searchHoleVertNum\n");
  EXPECT_TRUE(everything(*mesh) == before);
  expect_clean(*mesh);
}

TEST(SearchRadiusFaces, leaves_a_rim_off_the_plane_open_and_says_nothing) {
  const auto mesh = sphere(4, 3.0F).mesh();
  _vert tool = tool_at({0, 0, 3});
  EXPECT_EQ(output_of([&] { EXPECT_EQ(MeshAccess::search_radius(*mesh, 2, 0.3F, &tool), 0); }), "");
  EXPECT_TRUE(adjacency_holds(*mesh));
  EXPECT_EQ(marked_records(*mesh), 0);
  const auto rings = open_rings(*mesh);
  ASSERT_EQ(rings.size(), 1U);
  for (const _vert* v : rings[0]) EXPECT_LT(v->point.z, 2.7F);
}

TEST(SearchRadiusFaces, keeps_the_selection_of_deleted_faces_until_the_next_search) {
  const auto mesh = sheet(40, 0.5F, 0.4F).mesh();
  _vert tool = tool_at({0, 0, 0});
  ASSERT_EQ(MeshAccess::search_radius(*mesh, 3, 0.5F, &tool), 0);
  EXPECT_FALSE(mesh->selected_faces.empty());
  for (const _face* f : mesh->selected_faces) EXPECT_EQ(f->state, Mesh_R::kStateDeleted);
  const std::size_t room = mesh->selected_faces.capacity();
  MeshAccess::search_raus(*mesh, 1, &tool);
  for (const _face* f : mesh->selected_faces) EXPECT_NE(f->state, Mesh_R::kStateDeleted);
  EXPECT_EQ(mesh->selected_faces.capacity(), room);
}

// A middle, three around it, fifteen around those: each of the three has six edges outwards.
Soup wheel() {
  Soup soup;
  soup.points.push_back({0, 0, 0});
  const auto at = [&](double turn, double radius) {
    const double angle = turn * 6.283185307179586;
    soup.points.push_back({static_cast<float>(radius * std::cos(angle)),
                           static_cast<float>(radius * std::sin(angle)), 0});
  };
  for (int i = 0; i < 3; ++i) at(i / 3.0, 1);
  for (int i = 0; i < 15; ++i) at((i - 2) / 15.0, 3);
  for (int i = 0; i < 3; ++i) {
    const int v = 1 + i;
    const int next = 1 + (i + 1) % 3;
    soup.triangles.push_back({0, v, next});
    for (int k = 0; k < 5; ++k) {
      const int outer = 5 * i + k;
      soup.triangles.push_back({v, 4 + outer, 4 + (outer + 1) % 15});
    }
    soup.triangles.push_back({v, 4 + (5 * i + 5) % 15, next});
  }
  return soup;
}

// Six entries of the rim, and six edges passed over before the first open one: the opening fails,
// and the fill that was made must go again.
TEST(SearchRadiusFaces, fails_when_it_passes_over_as_many_edges_as_the_rim_has_entries) {
  const auto mesh = wheel().mesh();
  const Everything before = everything(*mesh);
  for (int i = 1; i <= 3; ++i) {
    _vert* const v = mesh->vertex[i];
    ASSERT_EQ(v->edge_num, 9);
    std::stable_partition(v->edge, v->edge + 9, [&](const _edge* e) {
      return mesh->vertex.get_vert_no(e->vert[0]) > 3 || mesh->vertex.get_vert_no(e->vert[1]) > 3;
    });
  }
  mesh->vertex[7]->state = Mesh_R::kStateHighCurvature;
  mesh->vertex[7]->flags = 3;
  _vert tool = tool_at({0, 0, 0});
  const std::string said =
      output_of([&] { EXPECT_EQ(MeshAccess::search_radius(*mesh, 0.5F, 1, &tool), -1); });
  EXPECT_EQ(said, "6 tmpn == searchHoleVertNum\n");
  EXPECT_TRUE(everything(*mesh) == before);
  EXPECT_EQ(mesh->vertex[7]->state, Mesh_R::kStateHighCurvature);
  EXPECT_EQ(mesh->vertex[7]->flags, 3);
  mesh->vertex[7]->state = Mesh_R::kStateLive;
  expect_clean(*mesh);
}

TEST(SearchRadiusFaces, fills_the_same_place_otherwise) {
  const auto mesh = wheel().mesh();
  for (int i = 1; i <= 3; ++i) {
    _vert* const v = mesh->vertex[i];
    std::stable_partition(v->edge, v->edge + 9, [&](const _edge* e) {
      return mesh->vertex.get_vert_no(e->vert[0]) <= 3 && mesh->vertex.get_vert_no(e->vert[1]) <= 3;
    });
  }
  _vert tool = tool_at({0, 0, 0});
  EXPECT_EQ(output_of([&] { EXPECT_EQ(MeshAccess::search_radius(*mesh, 0.5F, 1, &tool), 0); }), "");
  EXPECT_EQ(open_edge_count(*mesh), 15);
  expect_clean(*mesh);
}

}  // namespace
