#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <vector>

#include "core/vector_math.h"
#include "refinement/edge_collapse.h"
#include "scanmesh/mesh.h"
#include "tests/support/invariants.h"
#include "tests/support/shapes.h"

namespace {

using scanmesh::EdgeCollapse;
using scanmesh::Vec3d;
using test_support::adjacency_holds;
using test_support::Soup;

EdgeCollapse collapse_of(const Soup& soup) {
  EdgeCollapse work;
  for (const auto& p : soup.points) {
    scanmesh::sim_vert v;
    v.pos = {p.x, p.y, p.z};
    work.verts.push_back(v);
  }
  for (const auto& t : soup.triangles) {
    scanmesh::sim_tri tri{};
    tri.dirty = -1;
    for (int i = 0; i < 3; ++i) tri.vid[i] = t[static_cast<std::size_t>(i)];
    work.tris.push_back(tri);
  }
  return work;
}

int open_edges(Mesh_M::Mesh& mesh) {
  int open = 0;
  for (int i = 0; i < mesh.edge.get_edgenum(); ++i) open += mesh.edge[i]->face_num == 1;
  return open;
}

// The whole algorithm once more, plainly: every error computed at every visit, one range, no kept
// errors, no work list.
class PlainCollapse {
 public:
  struct Vert {
    Vec3d pos;
    std::vector<std::pair<int, int>> refs;
    double q[10] = {};
    int border = 0;
  };
  struct Tri {
    int v[3];
    bool deleted = false;
    bool dirty = false;
    Vec3d normal{0, 0, 0};
  };
  std::vector<Vert> verts;
  std::vector<Tri> tris;

  explicit PlainCollapse(const Soup& soup) {
    for (const auto& p : soup.points) {
      Vert v;
      v.pos = {p.x, p.y, p.z};
      verts.push_back(v);
    }
    for (const auto& t : soup.triangles) tris.push_back({{t[0], t[1], t[2]}, false, false, {}});
  }

  void run(int target) {
    const int total = static_cast<int>(tris.size());
    double aggression = 3.0;
    for (int iteration = 0; iteration < 10000 && total - deleted_ > target; ++iteration) {
      if (iteration % 5 == 0) {
        refresh(iteration);
        if (aggression < 6.0) aggression += 0.1;
      }
      for (Tri& t : tris) t.dirty = false;
      const double threshold = 0.000000001 * std::pow(iteration + 3.0, aggression);
      for (std::size_t i = 0; i < tris.size() && total - deleted_ > target; ++i) {
        visit(static_cast<int>(i), threshold);
      }
    }
  }
  int live() const {
    int n = 0;
    for (const Tri& t : tris) n += !t.deleted;
    return n;
  }

 private:
  void refresh(int iteration) {
    if (iteration > 0) {
      std::vector<Tri> kept;
      for (const Tri& t : tris) {
        if (!t.deleted) kept.push_back(t);
      }
      tris = kept;
    }
    for (Vert& v : verts) v.refs.clear();
    for (std::size_t i = 0; i < tris.size(); ++i) {
      for (int c = 0; c < 3; ++c) at(tris[i].v[c]).refs.push_back({static_cast<int>(i), c});
    }
    if (iteration > 0) return;
    for (Vert& v : verts) {
      std::map<int, int> times;
      for (const auto& r : v.refs) {
        for (const int id : tris[static_cast<std::size_t>(r.first)].v) ++times[id];
      }
      for (const auto& entry : times) {
        if (entry.second == 1) at(entry.first).border = 1;
      }
    }
    for (Tri& t : tris) {
      const Vec3d p0 = at(t.v[0]).pos;
      t.normal = unit(cross(at(t.v[1]).pos - p0, at(t.v[2]).pos - p0));
      const Vec3d n = t.normal;
      const double d = -dot(n, p0);
      const double plane[10] = {n.x * n.x, n.x * n.y, n.x * n.z, n.x * d, n.y * n.y,
                                n.y * n.z, n.y * d,   n.z * n.z, n.z * d, d * d};
      for (const int id : t.v) {
        for (int i = 0; i < 10; ++i) at(id).q[i] += plane[i];
      }
    }
  }
  double error(int a, int b, Vec3d& p) {
    double q[10];
    for (int i = 0; i < 10; ++i) q[i] = at(a).q[i] + at(b).q[i];
    const auto value = [&](const Vec3d& x) {
      return q[0] * x.x * x.x + 2 * q[1] * x.x * x.y + 2 * q[2] * x.x * x.z + 2 * q[3] * x.x +
             q[4] * x.y * x.y + 2 * q[5] * x.y * x.z + 2 * q[6] * x.y + q[7] * x.z * x.z +
             2 * q[8] * x.z + q[9];
    };
    const auto det = [&](int a0, int a1, int a2, int b0, int b1, int b2, int c0, int c1, int c2) {
      return q[a0] * (q[b1] * q[c2] - q[b2] * q[c1]) - q[a1] * (q[b0] * q[c2] - q[b2] * q[c0]) +
             q[a2] * (q[b0] * q[c1] - q[b1] * q[c0]);
    };
    const double d = det(0, 1, 2, 1, 4, 5, 2, 5, 7);
    if (std::fabs(d) >= 0.000000001 && (at(a).border & at(b).border) == 0) {
      p = {-det(3, 1, 2, 6, 4, 5, 8, 5, 7) / d, -det(0, 3, 2, 1, 6, 5, 2, 8, 7) / d,
           -det(0, 1, 3, 1, 4, 6, 2, 5, 8) / d};
      return value(p);
    }
    const Vec3d pa = at(a).pos;
    const Vec3d pb = at(b).pos;
    const Vec3d pm{(pa.x + pb.x) / 2, (pa.y + pb.y) / 2, (pa.z + pb.z) / 2};
    double best = value(pa);
    p = pa;
    if (value(pb) <= best) {
      best = value(pb);
      p = pb;
    }
    if (value(pm) <= best) {
      best = value(pm);
      p = pm;
    }
    return best;
  }
  bool folds(const Vec3d& p, int i0, int i1) {
    for (const auto& r : at(i0).refs) {
      const Tri& t = tris[static_cast<std::size_t>(r.first)];
      if (t.deleted) continue;
      const int id1 = t.v[(r.second + 1) % 3];
      const int id2 = t.v[(r.second + 2) % 3];
      if (id1 == i1 || id2 == i1) continue;
      const Vec3d d1 = unit(at(id1).pos - p);
      const Vec3d d2 = unit(at(id2).pos - p);
      if (std::fabs(dot(d1, d2)) > 0.999) return true;
      if (dot(unit(cross(d1, d2)), t.normal) < 0.2) return true;
    }
    return false;
  }
  void visit(int i, double threshold) {
    Tri& t = tris[static_cast<std::size_t>(i)];
    if (t.deleted || t.dirty) return;
    for (int j = 0; j < 3; ++j) {
      const int i0 = t.v[j];
      const int i1 = t.v[(j + 1) % 3];
      Vec3d p{0, 0, 0};
      if (!(threshold > error(i0, i1, p)) || at(i0).border != at(i1).border) continue;
      if (folds(p, i0, i1) || folds(p, i1, i0)) continue;
      at(i0).pos = p;
      for (int k = 0; k < 10; ++k) at(i0).q[k] += at(i1).q[k];
      std::vector<std::pair<int, int>> kept;
      for (const int from : {i0, i1}) {
        for (const auto& r : at(from).refs) {
          Tri& other = tris[static_cast<std::size_t>(r.first)];
          if (other.deleted) continue;
          const int gone = from == i0 ? i1 : i0;
          if (other.v[(r.second + 1) % 3] == gone || other.v[(r.second + 2) % 3] == gone) {
            other.deleted = true;
            ++deleted_;
            continue;
          }
          other.v[r.second] = i0;
          other.dirty = true;
          kept.push_back(r);
        }
      }
      at(i0).refs = kept;
      return;
    }
  }
  Vert& at(int i) { return verts[static_cast<std::size_t>(i)]; }
  int deleted_ = 0;
};

TEST(Simplify, equals_the_plain_algorithm_on_an_irregular_mesh) {
  const Soup soup = test_support::irregular_patch(30, 21);
  for (const int target : {1200, 700, 300}) {
    EdgeCollapse ours = collapse_of(soup);
    ours.run(target, 3.0, nullptr);
    PlainCollapse plain(soup);
    plain.run(target);
    std::vector<std::vector<double>> expected;
    for (const auto& t : plain.tris) {
      if (t.deleted) continue;
      std::vector<double> corners;
      for (const int id : t.v) {
        const Vec3d& p = plain.verts[static_cast<std::size_t>(id)].pos;
        corners.insert(corners.end(), {p.x, p.y, p.z});
      }
      expected.push_back(corners);
    }
    ASSERT_EQ(ours.tris.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
      for (int c = 0; c < 3; ++c) {
        const Vec3d& p = ours.verts[static_cast<std::size_t>(ours.tris[i].vid[c])].pos;
        const std::size_t k = static_cast<std::size_t>(3 * c);
        ASSERT_NEAR(p.x, expected[i][k], 1e-9);
        ASSERT_NEAR(p.y, expected[i][k + 1], 1e-9);
        ASSERT_NEAR(p.z, expected[i][k + 2], 1e-9);
      }
    }
  }
}

TEST(Simplify, reaches_its_target_and_keeps_a_closed_surface_closed) {
  auto mesh = test_support::noisy(test_support::sphere(5, 20), 0.02F, 3).mesh();
  ASSERT_EQ(mesh->face.real_num, 8192);
  mesh->Mesh_simplify(2000, true);
  EXPECT_LE(mesh->face.real_num, 2000);
  EXPECT_GT(mesh->face.real_num, 1900);
  EXPECT_EQ(open_edges(*mesh), 0);
  EXPECT_TRUE(adjacency_holds(*mesh));
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) {
    const auto& p = mesh->vertex[i]->point;
    EXPECT_NEAR(std::sqrt(p.x * p.x + p.y * p.y + p.z * p.z), 20, 0.3);
  }
}

TEST(Simplify, gives_the_same_result_on_every_run) {
  const Soup soup = test_support::noisy(test_support::sphere(6, 30), 0.01F, 5);
  auto a = soup.mesh();
  auto b = soup.mesh();
  a->Mesh_simplify(5000, false);
  b->Mesh_simplify(5000, true);
  ASSERT_EQ(a->face.get_facenum(), b->face.get_facenum());
  ASSERT_EQ(a->vertex.get_vertnum(), b->vertex.get_vertnum());
  for (int i = 0; i < a->vertex.get_vertnum(); ++i) {
    EXPECT_EQ(a->vertex[i]->point.x, b->vertex[i]->point.x);
  }
}

TEST(Simplify, prints_target_and_aggression) {
  auto mesh = test_support::tetrahedron().mesh();
  testing::internal::CaptureStdout();
  mesh->Mesh_simplify(100, true);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "100 3\n");
}

TEST(Simplify, above_the_face_count_collapses_nothing_and_still_rebuilds) {
  auto mesh = test_support::flat_grid(4, 1).mesh();
  mesh->face.dele_face(mesh->face[0]);
  mesh->face.dele_face(mesh->face[1]);
  mesh->vertex[5]->tag = 0x20;
  mesh->Mesh_simplify(1000, true);
  EXPECT_EQ(mesh->face.get_facenum(), 30);
  EXPECT_EQ(mesh->face.real_num, 30);
  EXPECT_EQ(mesh->vertex.get_vertnum(), 24);
  int n = 0;
  EXPECT_EQ(mesh->getvert_fine(n), nullptr);
}

TEST(Simplify, reports_every_iteration_up_to_the_cap) {
  auto mesh = test_support::noisy(test_support::sphere(3, 5), 0.01F, 2).mesh();
  std::vector<int> steps;
  int count = 0;
  mesh->setProcessStepCallback([&](qv::alg::ProcessStepInfoType& info) {
    steps.push_back(info.step);
    count = info.step_count;
    EXPECT_EQ(info.stage, 1);
    EXPECT_EQ(info.stage_count, 1);
    EXPECT_TRUE(info.message.empty());
    return -1;
  });
  mesh->Mesh_simplify(100, true);
  EXPECT_EQ(count, 10000);
  ASSERT_GT(steps.size(), 1U);
  for (std::size_t i = 0; i < steps.size(); ++i) EXPECT_EQ(steps[i], static_cast<int>(i) + 1);
}

TEST(Simplify, target_0_without_a_limit_runs_all_10000_iterations) {
  // The inner vertex can't go, so faces are left over.
  auto mesh = test_support::flat_grid(2, 1).mesh();
  int last = 0;
  mesh->setProcessStepCallback(
      [&](qv::alg::ProcessStepInfoType& info) { return last = info.step; });
  mesh->Mesh_Queue_Simplify(nullptr, nullptr);
  EXPECT_EQ(last, 10000);
  EXPECT_GT(mesh->face.real_num, 0);
}

TEST(Simplify, an_edge_from_border_to_inside_never_collapses) {
  EdgeCollapse work = collapse_of(test_support::flat_grid(2, 1));
  work.refresh(0);
  int border = 0;
  for (const auto& v : work.verts) border += v.border;
  EXPECT_EQ(border, 8);
  // Only the inner vertex is not on the border, so nothing can take it away.
  EdgeCollapse run = collapse_of(test_support::flat_grid(2, 1));
  run.run(0, 3.0, nullptr);
  bool inner = false;
  for (const auto& v : run.verts) inner = inner || (v.pos.x == 1 && v.pos.y == 1);
  EXPECT_TRUE(inner);
}

TEST(Simplify, all_corners_of_a_lone_triangle_are_on_the_border) {
  EdgeCollapse work = collapse_of(test_support::single_triangle());
  work.refresh(0);
  for (const auto& v : work.verts) EXPECT_EQ(v.border, 1);
  EdgeCollapse strip =
      collapse_of({{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}}, {{{0, 1, 2}}, {{1, 3, 2}}}});
  strip.refresh(0);
  for (const auto& v : strip.verts) EXPECT_EQ(v.border, 1);
}

TEST(Simplify, the_middle_wins_a_tie_over_b_and_b_over_a) {
  EdgeCollapse flat = collapse_of(test_support::flat_grid(4, 1));
  flat.refresh(0);
  Vec3d p{9, 9, 9};
  // In a plane all three candidates have error 0.
  EXPECT_EQ(flat.edge_error(6, 7, p), 0);
  EXPECT_EQ(p.x, 1.5);
  EXPECT_EQ(p.y, 1);
}

TEST(Simplify, two_border_ends_take_one_of_the_three_candidates_only) {
  Soup soup = test_support::irregular_patch(6, 4);
  EdgeCollapse work = collapse_of(soup);
  work.refresh(0);
  int pairs = 0;
  for (const auto& t : work.tris) {
    for (int j = 0; j < 3; ++j) {
      const auto& a = work.verts[static_cast<std::size_t>(t.vid[j])];
      const auto& b = work.verts[static_cast<std::size_t>(t.vid[(j + 1) % 3])];
      if (a.border + b.border != 2) continue;
      Vec3d p{0, 0, 0};
      work.edge_error(t.vid[j], t.vid[(j + 1) % 3], p);
      const bool at_a = p.x == a.pos.x && p.y == a.pos.y && p.z == a.pos.z;
      const bool at_b = p.x == b.pos.x && p.y == b.pos.y && p.z == b.pos.z;
      const bool middle = p.x == (a.pos.x + b.pos.x) / 2 && p.y == (a.pos.y + b.pos.y) / 2;
      EXPECT_TRUE(at_a || at_b || middle);
      ++pairs;
    }
  }
  EXPECT_GT(pairs, 10);
}

TEST(Simplify, a_limit_sets_the_cap_by_the_rising_threshold) {
  EXPECT_EQ(scanmesh::iteration_cap(nullptr), 10000);
  // (0 + 3)^3.1 * 1e-9 = 3.0e-8 lies below the smallest goal of 1e-5.
  const auto cap_of = [](double limit) { return scanmesh::iteration_cap(&limit); };
  const auto plain = [](double limit) {
    const double goal = limit / 0.01 * 0.000634375 + 0.00001;
    double aggression = 3.0;
    int i = 0;
    for (;; ++i) {
      if (i % 5 == 0 && aggression < 6.0) aggression += 0.1;
      if (0.000000001 * std::pow(i + 3.0, aggression) > goal) return i;
    }
  };
  for (const double limit : {0.0, 0.001, 0.01, 0.05, 1.0, 50.0}) {
    EXPECT_EQ(cap_of(limit), plain(limit)) << limit;
  }
  EXPECT_EQ(cap_of(-1.0), 0);
  EXPECT_LE(cap_of(INFINITY), 10000);
}

// A closed shape times a factor, one iteration long.
EdgeCollapse scaled_shape(double factor) {
  EdgeCollapse work = collapse_of(test_support::noisy(test_support::sphere(1, 1), 0.05F, 3));
  for (auto& v : work.verts) v.pos = v.pos * factor;
  return work;
}

bool collapses_at_once(double factor) {
  EdgeCollapse work = scaled_shape(factor);
  const std::size_t before = work.tris.size();
  // Between the thresholds of the first and of the second iteration.
  const double limit = (5e-8 - 1e-5) / 0.000634375 * 0.01;
  EXPECT_EQ(scanmesh::iteration_cap(&limit), 1);
  testing::internal::CaptureStdout();
  work.run(static_cast<int>(before) - 1, 3.0, &limit);
  testing::internal::GetCapturedStdout();
  return work.tris.size() < before;
}

double least_error_of(double factor) {
  EdgeCollapse work = scaled_shape(factor);
  work.refresh(0);
  double least = INFINITY;
  for (const auto& tri : work.tris) {
    for (int j = 0; j < 3; ++j) {
      Vec3d point{0, 0, 0};
      least = std::min(least, work.edge_error(tri.vid[j], tri.vid[(j + 1) % 3], point));
    }
  }
  return least;
}

TEST(Simplify, the_threshold_is_a_double) {
  double low = 1e-6;
  double high = 10;
  ASSERT_TRUE(collapses_at_once(low));
  ASSERT_FALSE(collapses_at_once(high));
  for (int i = 0; i < 60; ++i) {
    const double middle = (low + high) / 2;
    (collapses_at_once(middle) ? low : high) = middle;
  }
  const double threshold = 0.000000001 * std::pow(3.0, 3.1);
  EXPECT_NEAR(least_error_of(low) / threshold, 1, 1e-11);
  EXPECT_GT(std::fabs(static_cast<float>(threshold) / threshold - 1), 1e-9);
}

TEST(Simplify, with_cap_0_the_mesh_is_only_compacted_and_rebuilt) {
  auto mesh = test_support::flat_grid(3, 1).mesh();
  double limit = -1.0;
  int reports = 0;
  mesh->setProcessStepCallback([&](qv::alg::ProcessStepInfoType&) { return ++reports; });
  mesh->Mesh_Queue_Simplify(&limit, nullptr);
  EXPECT_EQ(reports, 0);
  EXPECT_EQ(mesh->face.real_num, 18);
}

TEST(Simplify, a_limit_keeps_the_surface_close) {
  auto mesh = test_support::noisy(test_support::sphere(5, 20), 0.002F, 6).mesh();
  double limit = 0.05;
  mesh->Mesh_Queue_Simplify(&limit, nullptr);
  EXPECT_LT(mesh->face.real_num, 6000);
  EXPECT_EQ(open_edges(*mesh), 0);
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) {
    const auto& p = mesh->vertex[i]->point;
    EXPECT_NEAR(std::sqrt(p.x * p.x + p.y * p.y + p.z * p.z), 20, 0.1);
  }
}

// One face in sixteen gets two neighbours without area, to a second point at the place of a corner.
TEST(Simplify, a_triangle_without_area_does_not_spoil_its_neighbours) {
  Soup soup = test_support::noisy(test_support::sphere(4, 10), 0.01F, 8);
  const std::size_t faces = soup.triangles.size();
  std::size_t flat = 0;
  for (std::size_t i = 0; i < faces; i += 16) {
    const auto t = soup.triangles[i];
    const auto at = soup.points[static_cast<std::size_t>(t[0])];
    soup.points.push_back(at);
    const int n = static_cast<int>(soup.points.size()) - 1;
    soup.triangles[i] = {n, t[1], t[2]};
    soup.triangles.push_back({t[0], n, t[2]});
    soup.triangles.push_back({t[0], t[1], n});
    flat += 2;
  }
  EdgeCollapse work = collapse_of(soup);
  const std::size_t before = work.tris.size();
  ASSERT_EQ(before, faces + flat);
  testing::internal::CaptureStdout();
  work.run(500, 3.0, nullptr);
  testing::internal::GetCapturedStdout();
  EXPECT_LE(work.tris.size(), 500U);
  EXPECT_GT(work.tris.size(), 490U);
  for (const auto& tri : work.tris) {
    for (const int id : tri.vid) {
      const Vec3d& p = work.verts[static_cast<std::size_t>(id)].pos;
      EXPECT_NEAR(std::sqrt(scanmesh::dot(p, p)), 10, 0.6);
    }
  }
}

}  // namespace
