#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <vector>

#include "tests/support/invariants.h"
#include "tests/support/mesh_access.h"
#include "tests/support/plain_filters.h"
#include "tests/support/shapes.h"
#include "tests/support/snapshots.h"

namespace {

using namespace test_support;
using Mesh_M::MeshAccess;
using Mesh_R::_vert;

// The uniform step as it reads, straight off the records.
Vec3f plain_step(const _vert& v, double step, bool deleted_pull) {
  float x = 0;
  float y = 0;
  float z = 0;
  int n = 0;
  for (int i = 0; i < v.edge_num; ++i) {
    if (!deleted_pull && v.edge[i]->state == Mesh_R::kStateDeleted) continue;
    const Vec3f& far = other_end(v.edge[i], &v)->point;
    x += far.x - v.point.x;
    y += far.y - v.point.y;
    z += far.z - v.point.z;
    ++n;
  }
  const auto part = [&](float sum) {
    return static_cast<float>(
        static_cast<double>(static_cast<float>(sum / static_cast<double>(n))) * step);
  };
  return {v.point.x + part(x), v.point.y + part(y), v.point.z + part(z)};
}

void plain_pass(const std::vector<_vert*>& verts, const std::function<Vec3f(const _vert&)>& step) {
  Points moved;
  for (const _vert* v : verts) moved.push_back(step(*v));
  for (std::size_t i = 0; i < verts.size(); ++i) verts[i]->point = moved[i];
}

std::vector<_vert*> all_vertices(Mesh_M::Mesh& mesh) {
  std::vector<_vert*> verts;
  for (int i = 0; i < mesh.vertex.get_vertnum(); ++i) verts.push_back(mesh.vertex[i]);
  return verts;
}

// A vertex with a heap list, and records that go: what a list walk can trip over.
Soup fan(int spokes) {
  Soup soup{{{0, 0, 0.5F}}, {}};
  for (int i = 0; i < spokes; ++i) {
    const double t = 6.283185307179586 * i / spokes;
    soup.points.push_back(
        {static_cast<float>(3 * std::cos(t)), static_cast<float>(3 * std::sin(t)), 0});
    soup.triangles.push_back({0, 1 + i, 1 + (i + 1) % spokes});
  }
  return soup;
}

TEST(MeshSmooth, is_pairs_of_uniform_steps) {
  for (const Soup& soup : {irregular_patch(20, 3), noisy(sphere(3, 4), 0.1F, 5), fan(20)}) {
    for (const int iterations : {1, 2, 7}) {
      const auto mesh = soup.mesh();
      const auto plain = soup.mesh();
      mesh->meshSmooth(iterations);
      for (int i = 0; i < iterations; ++i) {
        for (const double step : {0.5, static_cast<double>(-0.53F)}) {
          plain_pass(all_vertices(*plain),
                     [step](const _vert& v) { return plain_step(v, step, true); });
        }
      }
      EXPECT_TRUE(identical(snapshot(*mesh), snapshot(*plain)));
      EXPECT_TRUE(adjacency_holds(*mesh));
    }
  }
}

TEST(MeshSmooth, refreshes_no_normal_and_reports_nothing) {
  const auto mesh = irregular_patch(10, 3).mesh();
  const Points faces = face_normals_of(*mesh);
  const Points vertices = vertex_normals_of(*mesh);
  const Points before = points_of(*mesh);
  const Reports reports(*mesh);
  mesh->meshSmooth(3);
  EXPECT_TRUE(identical(face_normals_of(*mesh), faces));
  EXPECT_TRUE(identical(vertex_normals_of(*mesh), vertices));
  EXPECT_FALSE(identical(points_of(*mesh), before));
  EXPECT_TRUE(reports.steps.empty());
}

TEST(MeshSmooth, no_iteration_changes_nothing) {
  const auto mesh = irregular_patch(6, 3).mesh();
  const Points before = points_of(*mesh);
  mesh->meshSmooth(0);
  mesh->meshSmooth(-4);
  EXPECT_TRUE(identical(points_of(*mesh), before));
}

TEST(MeshSmooth, deleted_edges_pull_and_deleted_vertices_move) {
  const auto mesh = irregular_patch(8, 4).mesh();
  _vert* const v = mesh->vertex[40];
  for (int i = 0; i < v->edge_num; i += 2) v->edge[i]->state = Mesh_R::kStateDeleted;
  mesh->vertex.dele_vert(mesh->vertex[41]);
  const Vec3f expected = [&] {
    const auto plain = irregular_patch(8, 4).mesh();
    for (const double step : {0.5, static_cast<double>(-0.53F)}) {
      plain_pass(all_vertices(*plain),
                 [step](const _vert& w) { return plain_step(w, step, true); });
    }
    return plain->vertex[41]->point;
  }();
  const Vec3f before = mesh->vertex[41]->point;
  mesh->meshSmooth(1);
  EXPECT_TRUE(same_bits(mesh->vertex[41]->point, expected));
  EXPECT_FALSE(same_bits(mesh->vertex[41]->point, before));
}

TEST(MeshSmooth, vertex_without_edges_becomes_nan) {
  Soup soup = single_triangle();
  soup.points.push_back({9, 9, 9});
  const auto mesh = soup.mesh();
  mesh->meshSmooth(1);
  EXPECT_TRUE(std::isnan(mesh->vertex[3]->point.x));
  EXPECT_TRUE(std::isnan(mesh->vertex[3]->point.z));
  EXPECT_FALSE(std::isnan(mesh->vertex[0]->point.x));
}

TEST(MeshSmooth, takes_a_mesh_without_anything) {
  Mesh_M::Mesh mesh;
  mesh.meshSmooth(3);
  mesh.inalize();
  mesh.meshSmooth(3);
  EXPECT_EQ(mesh.vertex.get_vertnum(), 0);
}

TEST(MeshSmooth, crosses_blocks_of_the_store) {
  const Soup soup = noisy(flat_grid(60, 1), 0.2F, 9);
  const auto plain = soup.mesh();
  Mesh_M::Mesh mesh;
  mesh.submeshinalize();  // blocks of 1000
  for (Vec3f p : soup.points) mesh.vertex.insert_vert(p);
  for (const auto& t : soup.triangles) {
    Vec3f normal{0, 0, 1};
    mesh.insert_face(mesh.vertex[t[0]], mesh.vertex[t[1]], mesh.vertex[t[2]], normal);
  }
  ASSERT_GT(mesh.vertex.get_vertnum(), 3000);
  mesh.meshSmooth(2);
  plain->meshSmooth(2);
  EXPECT_TRUE(identical(points_of(mesh), points_of(*plain)));
}

TEST(Laplace, skips_deleted_edges_and_moves_the_list_alone) {
  const auto mesh = irregular_patch(12, 6).mesh();
  const auto plain = irregular_patch(12, 6).mesh();
  std::vector<_vert*> verts;
  std::vector<_vert*> same;
  for (int i = 20; i < 90; i += 3) {
    verts.push_back(mesh->vertex[i]);
    same.push_back(plain->vertex[i]);
  }
  for (auto* m : {mesh.get(), plain.get()}) m->vertex[20]->edge[0]->state = Mesh_R::kStateDeleted;
  MeshAccess::laplace(*mesh, verts, 3, 0.37);
  for (int i = 0; i < 3; ++i) {
    plain_pass(same, [](const _vert& v) { return plain_step(v, 0.37, false); });
  }
  EXPECT_TRUE(identical(snapshot(*mesh), snapshot(*plain)));
  const auto pulled = irregular_patch(12, 6).mesh();
  EXPECT_FALSE(same_bits(plain_step(*pulled->vertex[20], 0.37, true),
                         plain_step(*plain->vertex[20], 0.37, false)));
}

TEST(LapFilter, is_the_mean_of_neighbours_over_live_edges) {
  const auto mesh = flat_grid(2, 1).mesh();
  _vert* const v = mesh->vertex[4];
  v->point = {1, 1, 7};
  ASSERT_EQ(v->edge_num, 6);
  Vec3f out{0, 0, 0};
  mesh->vertex.Lap_filter(v, &out, false);
  EXPECT_EQ(out.x, 1.0F);
  EXPECT_EQ(out.y, 1.0F);
  EXPECT_EQ(out.z, 0.0F);
  mesh->vertex.Lap_filter(v, &out, true);
  EXPECT_EQ(out.z, 1.0F);
  for (int i = 0; i < 5; ++i) v->edge[i]->state = Mesh_R::kStateDeleted;
  mesh->vertex.Lap_filter(v, &out, false);
  EXPECT_TRUE(same_bits(out, other_end(v->edge[5], v)->point));
}

TEST(LapFilter, leaves_its_output_without_a_term) {
  const auto mesh = single_triangle().mesh();
  Vec3f place{5, 6, 7};
  _vert* const lone = mesh->vertex.insert_vert(place);
  Vec3f out{1, 2, 3};
  mesh->vertex.Lap_filter(lone, &out, false);
  mesh->vertex.Lap_filter(nullptr, &out, true);
  EXPECT_TRUE(same_bits(out, {1, 2, 3}));
  mesh->vertex.Lap_filter(lone, nullptr, true);
  mesh->vertex.Lap_filter(lone, &out, true);
  EXPECT_TRUE(same_bits(out, place));
}

// The band smoother as it reads: its list, and one round.
std::vector<_vert*> plain_band_list(Mesh_M::Mesh& mesh, float size, int levels) {
  const float low = static_cast<float>(levels) * size / std::pow(2.0F, static_cast<float>(levels));
  const float high = (low + size) * 0.5F;
  std::vector<_vert*> list;
  for (int i = 0; i < mesh.face.get_facenum(); ++i) {
    const Mesh_R::_face& f = *mesh.face[i];
    double sum = 0;
    for (int k = 0; k < 3; ++k) {
      const Vec3f e = minus(f.vert[k]->point, f.vert[(k + 1) % 3]->point);
      sum += std::sqrt(wide_dot(e, e));
    }
    if (sum / 3 > low && sum / 3 < high) list.insert(list.end(), f.vert, f.vert + 3);
  }
  for (std::size_t i = 0, n = list.size(); i < n; ++i) {
    for (int k = 0; k < list[i]->edge_num; ++k) {
      list.push_back(const_cast<_vert*>(other_end(list[i]->edge[k], list[i])));
    }
  }
  std::sort(list.begin(), list.end());
  list.erase(std::unique(list.begin(), list.end()), list.end());
  return list;
}

void plain_band_round(const std::vector<_vert*>& list) {
  Points moved;
  for (const _vert* v : list) {
    Vec3f sum{0, 0, 0};
    for (int k = 0; k < v->edge_num; ++k) {
      sum = plus(sum, minus(other_end(v->edge[k], v)->point, v->point));
    }
    moved.push_back(plus(v->point, times(times(sum, 1.0 / v->edge_num), 0.8)));
  }
  for (std::size_t i = 0; i < list.size(); ++i) {
    const Vec3f& p = moved[i];
    if (!std::isnan(p.x) && !std::isnan(p.y) && !std::isnan(p.z)) list[i]->point = p;
  }
}

TEST(BorderSmoothing, agrees_with_a_plain_reference) {
  for (const int levels : {2, 3, 5, 9}) {
    for (const float size : {0.5F, 1.2F, 2.0F, 4.0F}) {
      const auto mesh = irregular_patch(16, 7).mesh();
      const auto plain = irregular_patch(16, 7).mesh();
      mesh->borderSmoothing(size, levels);
      const std::vector<_vert*> list = plain_band_list(*plain, size, levels);
      for (int round = 0; round < 5; ++round) plain_band_round(list);
      EXPECT_TRUE(identical(snapshot(*mesh), snapshot(*plain))) << levels << ", " << size;
      EXPECT_TRUE(adjacency_holds(*mesh));
    }
  }
}

TEST(BorderSmoothing, below_two_levels_does_nothing) {
  const auto mesh = irregular_patch(10, 3).mesh();
  const Points before = points_of(*mesh);
  const Reports reports(*mesh);
  for (const int levels : {1, 0, -3}) mesh->borderSmoothing(2.0F, levels);
  EXPECT_TRUE(identical(points_of(*mesh), before));
  EXPECT_TRUE(reports.steps.empty());
}

TEST(BorderSmoothing, reports_five_rounds) {
  const auto mesh = irregular_patch(6, 3).mesh();
  const Reports reports(*mesh);
  mesh->borderSmoothing(2.0F, 3);
  EXPECT_EQ(reports.steps, (std::vector<int>{1, 2, 3, 4, 5}));
  EXPECT_EQ(reports.counts, std::vector<int>(5, 5));
  EXPECT_TRUE(reports.plain);
}

TEST(BorderSmoothing, band_is_open_at_both_ends) {
  // Equilateral, mean edge 1 exactly: lo is 1 for size 1, levels 2 gives 2 x 1 / 4 = 0.5 and hi
  // 0.75.
  Soup soup{{{0, 0, 0}, {3, 0, 0}, {0, 4, 0}}, {{{0, 1, 2}}}};  // edges 3, 4, 5: mean 4
  const auto moves = [&](float size, int levels) {
    const auto mesh = soup.mesh();
    const Points before = points_of(*mesh);
    mesh->borderSmoothing(size, levels);
    return !identical(points_of(*mesh), before);
  };
  EXPECT_FALSE(moves(8.0F, 2));          // lo is 4
  EXPECT_TRUE(moves(7.999F, 2));         // lo just below
  EXPECT_FALSE(moves(16.0F / 3.0F, 2));  // hi is 4
  EXPECT_TRUE(moves(5.34F, 2));
}

TEST(BorderSmoothing, deleted_faces_select_their_corners) {
  const auto mesh = flat_grid(4, 1).mesh();
  // Only one face lies in the band, and it is deleted.
  mesh->vertex[0]->point = {-3, -3, 0};
  for (int i = 0; i < mesh->face.get_facenum(); ++i) {
    Mesh_R::_face& f = *mesh->face[i];
    if (std::count(f.vert, f.vert + 3, mesh->vertex[0]) == 1) f.state = Mesh_R::kStateDeleted;
  }
  const Points before = points_of(*mesh);
  mesh->borderSmoothing(6.0F, 2);  // between 3 and 4.5
  EXPECT_FALSE(identical(points_of(*mesh), before));
}

TEST(BorderSmoothing, result_that_is_not_a_number_is_not_written) {
  const auto mesh = flat_grid(3, 1).mesh();
  mesh->vertex[5]->point.y = NAN;
  const Points before = points_of(*mesh);
  mesh->borderSmoothing(2.0F, 2);
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) {
    if (i == 5) continue;
    EXPECT_FALSE(std::isnan(mesh->vertex[i]->point.x));
    EXPECT_FALSE(std::isnan(mesh->vertex[i]->point.y));
  }
  EXPECT_FALSE(identical(points_of(*mesh), before));
}

}  // namespace
