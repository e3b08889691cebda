#include "smoothing/cotangent_smoothing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <vector>

#include "tests/support/invariants.h"
#include "tests/support/mesh_access.h"
#include "tests/support/plain_filters.h"
#include "tests/support/shapes.h"
#include "tests/support/snapshots.h"

namespace {

using namespace test_support;
using Mesh_M::MeshAccess;
using Mesh_R::_edge;
using Mesh_R::_vert;

double plain_angle(const Vec3f& at, const Vec3f& u, const Vec3f& v) {
  const Vec3f a{u.x - at.x, u.y - at.y, u.z - at.z};
  const Vec3f b{v.x - at.x, v.y - at.y, v.z - at.z};
  const auto dot = [](const Vec3f& p, const Vec3f& q) {
    return static_cast<double>(p.x) * q.x + static_cast<double>(p.y) * q.y +
           static_cast<double>(p.z) * q.z;
  };
  const double lengths = std::sqrt(dot(a, a)) * std::sqrt(dot(b, b));
  if (lengths == 0) return 0;
  return std::acos(std::min(1.0, std::max(-1.0, dot(a, b) / lengths)));
}

// The cotangent step as it reads, both switches on.
Vec3f plain_step(const _vert& v, double s) {
  std::vector<const _edge*> open;
  for (int i = 0; i < v.edge_num; ++i) {
    if (v.edge[i]->face_num != 2) open.push_back(v.edge[i]);
  }
  if (open.size() == 1 || open.size() > 2) return v.point;
  const auto narrow = [](double x) { return static_cast<float>(x); };
  if (open.size() == 2) {
    const Vec3f& a = other_end(open[0], &v)->point;
    const Vec3f& b = other_end(open[1], &v)->point;
    const auto axis = [&](float p, float q, float c) {
      return c + narrow(s * narrow(0.5 * ((p - c) + (q - c))));
    };
    return {axis(a.x, b.x, v.point.x), axis(a.y, b.y, v.point.y), axis(a.z, b.z, v.point.z)};
  }
  float total = 0;
  Vec3f sum{0, 0, 0};
  for (int i = 0; i < v.edge_num; ++i) {
    const _edge& e = *v.edge[i];
    if (e.state == 3) continue;
    if (e.face_num != 2) return v.point;
    const _vert* const u = other_end(&e, &v);
    double weight = 0;
    for (const int k : {1, 0}) {
      const _vert* const* const third = std::find_if(
          e.face[k]->vert, e.face[k]->vert + 3, [&](const _vert* c) { return c != u && c != &v; });
      weight += 1 / std::tan(plain_angle((*third)->point, u->point, v.point));
    }
    total = narrow(total + weight);
    sum.x += narrow((u->point.x - v.point.x) * weight);
    sum.y += narrow((u->point.y - v.point.y) * weight);
    sum.z += narrow((u->point.z - v.point.z) * weight);
  }
  if (total == 0) return v.point;
  return {v.point.x + narrow(narrow(sum.x * s) / static_cast<double>(total)),
          v.point.y + narrow(narrow(sum.y * s) / static_cast<double>(total)),
          v.point.z + narrow(narrow(sum.z * s) / static_cast<double>(total))};
}

void plain_area(const std::vector<_vert*>& verts, int iterations) {
  for (int i = 0; i < iterations; ++i) {
    for (const double s : {0.5, -0.515}) {
      Points moved;
      for (const _vert* v : verts) moved.push_back(plain_step(*v, s));
      for (std::size_t k = 0; k < verts.size(); ++k) {
        const Vec3f& p = moved[k];
        if (!std::isnan(p.x) && !std::isnan(p.y) && !std::isnan(p.z)) verts[k]->point = p;
      }
    }
  }
}

std::vector<_vert*> all_vertices(Mesh_M::Mesh& mesh) {
  std::vector<_vert*> verts;
  for (int i = 0; i < mesh.vertex.get_vertnum(); ++i) verts.push_back(mesh.vertex[i]);
  return verts;
}

Vec3f step(const _vert* v, double s, bool use_border = true, bool relative = true) {
  return scanmesh::cotangent_step(*v, s, use_border, relative);
}

TEST(CotangentStep, border_vertex_moves_along_the_border_only) {
  const auto mesh = flat_grid(2, 1).mesh();
  _vert* const v = mesh->vertex[1];  // between 0 and 2
  v->point = {1.25F, 0, 0};
  EXPECT_TRUE(same_bits(step(v, 0.5), {1.25F - 0.125F, 0, 0}));
  EXPECT_TRUE(same_bits(step(v, -0.515), {1.25F + static_cast<float>(0.515 * 0.25), 0, 0}));
}

TEST(CotangentStep, one_open_edge_or_more_than_two_keep_a_vertex) {
  // Two fans that meet at vertex 0: four border edges.
  Soup pinch{{{0, 0, 0}, {1, 0, 0.3F}, {1, 1, 0}, {-1, 0, 0}, {-1, -1, 0.2F}},
             {{{0, 1, 2}}, {{0, 3, 4}}}};
  const auto mesh = pinch.mesh();
  EXPECT_TRUE(same_bits(step(mesh->vertex[0], 0.5), {0, 0, 0}));
  EXPECT_FALSE(same_bits(step(mesh->vertex[1], 0.5), {1, 0, 0.3F}));

  // Two tetrahedra that share an edge: it has four faces, and is the only such edge at its ends.
  Soup twins = tetrahedron();
  twins.points.insert(twins.points.end(), {{-0.2F, -1, 0.1F}, {0.3F, -1, -1}});
  twins.triangles.insert(twins.triangles.end(),
                         {{{0, 1, 4}}, {{1, 0, 5}}, {{0, 4, 5}}, {{1, 5, 4}}});
  const auto mesh2 = twins.mesh();
  ASSERT_EQ(mesh2->vertex.find_edge(mesh2->vertex[0], mesh2->vertex[1])->face_num, 4);
  for (int i = 0; i < 6; ++i) {
    EXPECT_EQ(same_bits(step(mesh2->vertex[i], 0.5), mesh2->vertex[i]->point), i < 2) << i;
  }
}

TEST(CotangentStep, two_non_manifold_edges_make_a_border_too) {
  // Two crossing sheets: vertex 12 lies on the crease 11 - 12 - 13 with three faces each.
  const auto grid = noisy(flat_grid(4, 1), 0.1F, 4).mesh();
  Vec3f above{2, 2, 2};
  _vert* const top = grid->vertex.insert_vert(above);
  Vec3f normal{0, 0, 1};
  grid->insert_face(grid->vertex[11], grid->vertex[12], top, normal);
  grid->insert_face(grid->vertex[12], grid->vertex[13], top, normal);
  const _vert* const v = grid->vertex[12];
  int open = 0;
  for (int i = 0; i < v->edge_num; ++i) open += v->edge[i]->face_num != 2;
  ASSERT_EQ(open, 2);
  EXPECT_TRUE(same_bits(step(v, 0.5), plain_step(*v, 0.5)));
  EXPECT_FALSE(same_bits(step(v, 0.5), v->point));
}

TEST(CotangentStep, without_the_border_rule_an_open_edge_ends_it) {
  const auto mesh = flat_grid(2, 1).mesh();
  _vert* const v = mesh->vertex[1];
  v->point = {1.25F, 0, 0};
  EXPECT_TRUE(same_bits(step(v, 0.5, false), v->point));
  _vert* const inner = mesh->vertex[4];
  inner->point.z = 1;
  EXPECT_TRUE(same_bits(step(inner, 0.5, false), step(inner, 0.5, true)));
}

TEST(CotangentStep, absolute_form_gives_the_weighted_mean_itself) {
  const auto mesh = flat_grid(2, 1).mesh();
  _vert* const v = mesh->vertex[4];
  v->point = {1, 1, 0.25F};
  const Vec3f mean = step(v, 123.0, true, false);
  EXPECT_NEAR(mean.x, 1, 1e-6);
  EXPECT_NEAR(mean.y, 1, 1e-6);
  EXPECT_EQ(mean.z, 0);
  EXPECT_TRUE(same_bits(step(v, 0.5, true, false), mean));
  const Vec3f halfway = step(v, 0.5);
  EXPECT_NEAR(halfway.z, 0.125F, 1e-6);
}

TEST(CotangentStep, vertex_without_edges_stays) {
  const auto mesh = single_triangle().mesh();
  Vec3f place{5, 6, 7};
  _vert* const lone = mesh->vertex.insert_vert(place);
  EXPECT_TRUE(same_bits(step(lone, 0.5), place));
  EXPECT_TRUE(same_bits(step(lone, 0.5, true, false), place));
}

TEST(CotangentStep, deleted_edges_have_no_weight_but_count_as_border) {
  const auto mesh = noisy(flat_grid(2, 1), 0.1F, 5).mesh();
  _vert* const v = mesh->vertex[4];
  const Vec3f all = step(v, 0.5);
  v->edge[0]->state = Mesh_R::kStateDeleted;
  EXPECT_FALSE(same_bits(step(v, 0.5), all));
  EXPECT_TRUE(same_bits(step(v, 0.5), plain_step(*v, 0.5)));
  v->edge[0]->face_num = 0;  // as deletion leaves it, but still in the list
  EXPECT_TRUE(same_bits(step(v, 0.5), v->point));
  v->edge[0]->face_num = 2;
}

TEST(TaubinArea, agrees_with_a_plain_reference_for_any_number_of_workers) {
  for (const Soup& soup : {irregular_patch(14, 11), noisy(sphere(2, 3), 0.1F, 8)}) {
    const auto plain = soup.mesh();
    plain_area(all_vertices(*plain), 4);
    for (const int workers : {1, 2, 7}) {
      const auto mesh = soup.mesh();
      scanmesh::taubin_smooth_area(all_vertices(*mesh), 4, workers, {});
      EXPECT_TRUE(identical(snapshot(*mesh), snapshot(*plain))) << workers;
      EXPECT_TRUE(adjacency_holds(*mesh));
    }
    const auto mesh = soup.mesh();
    auto verts = all_vertices(*mesh);
    MeshAccess::taubin_area(*mesh, verts, 4);
    EXPECT_TRUE(identical(snapshot(*mesh), snapshot(*plain)));
  }
}

TEST(TaubinArea, list_shorter_than_the_workers_goes_to_the_last) {
  const auto mesh = irregular_patch(6, 2).mesh();
  const auto plain = irregular_patch(6, 2).mesh();
  scanmesh::taubin_smooth_area({mesh->vertex[23], mesh->vertex[24]}, 3, 7, {});
  plain_area({plain->vertex[23], plain->vertex[24]}, 3);
  EXPECT_TRUE(identical(points_of(*mesh), points_of(*plain)));
  EXPECT_FALSE(same_bits(mesh->vertex[24]->point, irregular_patch(6, 2).points[24]));
  scanmesh::taubin_smooth_area({}, 3, 7, {});
}

TEST(TaubinArea, reports_every_second_step) {
  const auto mesh = irregular_patch(6, 2).mesh();
  const Reports reports(*mesh);
  auto verts = all_vertices(*mesh);
  MeshAccess::taubin_area(*mesh, verts, 3);
  EXPECT_EQ(reports.steps, (std::vector<int>{2, 4, 6}));
  EXPECT_EQ(reports.counts, (std::vector<int>{6, 6, 6}));
  EXPECT_TRUE(reports.plain);
}

TEST(TaubinArea, zero_length_edge_gives_nan_which_is_not_written) {
  const auto mesh = noisy(flat_grid(4, 1), 0.1F, 6).mesh();
  _vert* const v = mesh->vertex[12];
  // Vertex 12 and a neighbour of 18 coincide: the angle at the third corner has no length.
  mesh->vertex[13]->point = v->point;
  const Vec3f at_third = step(mesh->vertex[18], 0.5);
  ASSERT_TRUE(std::isnan(at_third.x) || std::isnan(step(v, 0.5).x));
  const Points before = points_of(*mesh);
  scanmesh::taubin_smooth_area({v, mesh->vertex[18]}, 2, 2, {});
  for (const int i : {12, 18}) {
    EXPECT_FALSE(std::isnan(mesh->vertex[i]->point.x)) << i;
  }
}

TEST(TaubinThreads, write_their_range_of_the_output) {
  const auto mesh = irregular_patch(8, 3).mesh();
  auto verts = all_vertices(*mesh);
  std::reverse(verts.begin(), verts.end());
  const Vec3f untouched{-1, -2, -3};
  Points out(verts.size(), untouched);
  mesh->Taubin_Smooth_Border_Thread(&out, &verts, 10, 20, 0.7);
  for (std::size_t i = 0; i < out.size(); ++i) {
    EXPECT_TRUE(same_bits(out[i], i >= 10 && i < 20 ? plain_step(*verts[i], 0.7) : untouched));
  }
  Points by_record(verts.size(), untouched);
  mesh->Taubin_Smooth_Thread(&by_record, 10, 20, 0.7);
  for (std::size_t i = 0; i < by_record.size(); ++i) {
    EXPECT_TRUE(same_bits(by_record[i], i >= 10 && i < 20
                                            ? plain_step(*mesh->vertex[static_cast<int>(i)], 0.7)
                                            : untouched));
  }
}

TEST(TaubinThreads, range_past_the_output_is_out_of_range) {
  const auto mesh = irregular_patch(8, 3).mesh();
  Points out(30);
  EXPECT_THROW(mesh->Taubin_Smooth_Thread(&out, 25, 31, 0.5), std::out_of_range);
  EXPECT_NO_THROW(mesh->Taubin_Smooth_Thread(&out, 25, 30, 0.5));
}

TEST(TaubinBorder, moves_border_vertices_and_no_others) {
  const auto mesh = irregular_patch(12, 5).mesh();
  const auto plain = irregular_patch(12, 5).mesh();
  std::vector<_vert*> border;
  for (int i = 0; i < plain->vertex.get_vertnum(); ++i) {
    _vert* const v = plain->vertex[i];
    bool open = false;
    for (int k = 0; k < v->edge_num; ++k) open = open || v->edge[k]->face_num != 2;
    if (open) border.push_back(v);
  }
  ASSERT_GT(border.size(), 40U);
  plain_area(border, 10);
  const Reports reports(*mesh);
  mesh->Mesh_Taubin_Smooth_Border();
  EXPECT_TRUE(identical(snapshot(*mesh), snapshot(*plain)));
  EXPECT_TRUE(adjacency_holds(*mesh));
  EXPECT_EQ(reports.steps, (std::vector<int>{2, 4, 6, 8, 10, 12, 14, 16, 18, 20}));
  EXPECT_EQ(reports.counts, std::vector<int>(10, 20));
}

TEST(TaubinBorder, edges_with_three_faces_are_border) {
  const auto mesh = three_sheets(1).mesh();
  const auto plain = three_sheets(1).mesh();
  std::vector<_vert*> rim;
  for (int i = 0; i < 8; ++i) rim.push_back(plain->vertex[i]);
  plain_area(rim, 10);
  mesh->Mesh_Taubin_Smooth_Border();
  EXPECT_TRUE(identical(snapshot(*mesh), snapshot(*plain)));
  EXPECT_FALSE(identical(points_of(*mesh), points_of(*three_sheets(1).mesh())));
}

TEST(TaubinBorder, deleted_vertex_at_a_live_border_edge_is_left_with_minus_three) {
  const auto mesh = flat_grid(3, 1).mesh();
  mesh->vertex.dele_vert(mesh->vertex[1]);
  mesh->vertex[2]->state = Mesh_R::kStateHighCurvature;
  mesh->vertex[3]->state = -8;
  mesh->Mesh_Taubin_Smooth_Border();
  EXPECT_EQ(mesh->vertex[1]->state, -3);
  EXPECT_TRUE(same_bits(mesh->vertex[1]->point, {1, 0, 0}));
  EXPECT_EQ(mesh->vertex[2]->state, 12);
  EXPECT_EQ(mesh->vertex[3]->state, -8);
  EXPECT_TRUE(same_bits(mesh->vertex[3]->point, {3, 0, 0}));
  EXPECT_EQ(mesh->vertex[0]->state, 8);
}

TEST(TaubinBorder, closed_mesh_has_none) {
  const auto mesh = sphere(2, 1).mesh();
  const Points before = points_of(*mesh);
  mesh->Mesh_Taubin_Smooth_Border();
  EXPECT_TRUE(identical(points_of(*mesh), before));
}

}  // namespace
