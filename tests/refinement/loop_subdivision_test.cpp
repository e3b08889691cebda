#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <vector>

#include "core/platform.h"
#include "scanmesh/mesh.h"
#include "tests/support/invariants.h"
#include "tests/support/shapes.h"

namespace {

using namespace test_support;
using Mesh_M::Mesh;
using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;

struct Facet {
  std::array<Vec3f, 3> corner;
  Vec3f normal;
};

bool near(const Vec3f& a, const Vec3f& b, double tolerance = 1e-5) {
  return std::fabs(a.x - b.x) < tolerance && std::fabs(a.y - b.y) < tolerance &&
         std::fabs(a.z - b.z) < tolerance;
}

// Step 1, copied out in the order of the source's faces where there is one worker's run.
std::vector<Facet> facets_of(const fmx::sub_mid& soup) {
  std::vector<Facet> facets;
  for (int i = 0; i < soup.face_count; ++i) {
    const fmx::stl_face& f = soup.faces[i];
    Facet out;
    for (std::size_t k = 0; k < 3; ++k) {
      out.corner[k] = {f.corner[k][0], f.corner[k][1], f.corner[k][2]};
    }
    out.normal = {f.vector[0], f.vector[1], f.vector[2]};
    facets.push_back(out);
  }
  return facets;
}

std::vector<Facet> subdivided(Mesh& mesh) {
  const fmx::sub_mid soup = mesh.Mesh_loop_subdividion_step1();
  const std::vector<Facet> facets = facets_of(soup);
  delete[] soup.faces;
  return facets;
}

struct P {
  double x = 0;
  double y = 0;
  double z = 0;
  P() = default;
  P(const Vec3f& p) : x(p.x), y(p.y), z(p.z) {}
  P(double a, double b, double c) : x(a), y(b), z(c) {}
  P operator+(const P& o) const { return {x + o.x, y + o.y, z + o.z}; }
  P operator*(double f) const { return {x * f, y * f, z * f}; }
  Vec3f f() const { return {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)}; }
};

// The rules written out once more, in double, over plain maps.
class PlainLoop {
 public:
  explicit PlainLoop(Mesh& mesh) {
    for (int i = 0; i < mesh.face.get_facenum(); ++i) {
      const _face* const f = mesh.face[i];
      if (f->state == Mesh_R::kStateDeleted) continue;
      P even[3];
      P odd[3];
      bool frozen[3];
      int count = 0;
      for (int j = 0; j < 3; ++j) {
        frozen[j] = f->vert[j]->state == Mesh_R::kStateHighCurvature;
        count += frozen[j];
        even[j] = frozen[j] ? P(f->vert[j]->point) : even_point(f->vert[j]);
        odd[j] = odd_point(f, f->vert[j], f->vert[(j + 1) % 3]);
      }
      for (int j = 0; j < 3; ++j) {
        const int k = (j + 1) % 3;
        if (frozen[j] && frozen[k]) odd[j] = (even[j] + even[k]) * 0.5;
      }
      const P p[6] = {even[0], even[1], even[2], odd[0], odd[1], odd[2]};
      const int(*layout)[3] = choose(p, count);
      for (int t = 0; t < 4; ++t) {
        facets.push_back({{p[layout[t][0]].f(), p[layout[t][1]].f(), p[layout[t][2]].f()}, {}});
      }
    }
  }
  std::vector<Facet> facets;

 private:
  static P even_point(const _vert* v) {
    std::vector<const _edge*> open;
    for (int i = 0; i < v->edge_num; ++i) {
      if (v->edge[i]->face_num != 2) open.push_back(v->edge[i]);
    }
    if (!open.empty()) {
      const _edge* const e = open[0];
      const _edge* const f = open.size() > 1 ? open[1] : open[0];
      return (P(e->vert[0]->point) + P(e->vert[1]->point) + P(f->vert[0]->point) +
              P(f->vert[1]->point)) *
                 0.125 +
             P(v->point) * 0.5;
    }
    const int n = v->edge_num;
    const double inner = 0.375 + 0.25 * std::cos(6.2831852 / n);
    const double beta = (0.625 - inner * inner) / n;
    P sum = P(v->point) * (1 - 2 * n * beta);
    for (int i = 0; i < n; ++i) {
      sum = sum + (P(v->edge[i]->vert[0]->point) + P(v->edge[i]->vert[1]->point)) * beta;
    }
    return sum;
  }
  static P odd_point(const _face* f, const _vert* a, const _vert* b) {
    const _edge* edge = nullptr;
    for (const _edge* e : f->edge) {
      if ((e->vert[0] == a && e->vert[1] == b) || (e->vert[0] == b && e->vert[1] == a)) edge = e;
    }
    const P ends = P(a->point) + P(b->point);
    if (edge->face_num < 2) return ends * 0.5;
    P sum = ends;
    for (int i = 0; i < 2; ++i) {
      for (const _vert* v : edge->face[i]->vert) sum = sum + P(v->point);
    }
    return sum * 0.125;
  }
  static double dot(const P& from, const P& to1, const P& from2, const P& to2) {
    return (to1.x - from.x) * (to2.x - from2.x) + (to1.y - from.y) * (to2.y - from2.y) +
           (to1.z - from.z) * (to2.z - from2.z);
  }
  static const int (*choose(const P* p, int frozen))[3] {
    static const int plain[4][3] = {{0, 3, 5}, {3, 1, 4}, {5, 4, 2}, {3, 4, 5}};
    static const int at0[4][3] = {{0, 3, 4}, {3, 1, 4}, {5, 4, 2}, {0, 4, 5}};
    static const int at1[4][3] = {{0, 3, 5}, {3, 1, 5}, {1, 4, 5}, {4, 2, 5}};
    static const int acute[4][3] = {{0, 3, 5}, {3, 1, 4}, {3, 4, 2}, {3, 2, 5}};
    if (frozen < 3) return plain;
    if (dot(p[0], p[1], p[0], p[2]) < 0) return at0;
    if (dot(p[0], p[1], p[1], p[2]) > 0) return at1;
    if (dot(p[0], p[2], p[1], p[2]) > 0) return acute;
    return plain;
  }
};

void sort(std::vector<Facet>& facets) {
  const auto key = [](const Facet& f) {
    std::array<long, 9> k{};
    for (std::size_t i = 0; i < 9; ++i) {
      const Vec3f& c = f.corner[i / 3];
      k[i] = std::lround(1e3 * (i % 3 == 0 ? c.x : i % 3 == 1 ? c.y : c.z));
    }
    return k;
  };
  std::sort(facets.begin(), facets.end(),
            [&](const Facet& a, const Facet& b) { return key(a) < key(b); });
}

void expect_same(std::vector<Facet> a, std::vector<Facet> b) {
  ASSERT_EQ(a.size(), b.size());
  sort(a);
  sort(b);
  for (std::size_t i = 0; i < a.size(); ++i) {
    for (std::size_t k = 0; k < 3; ++k) ASSERT_TRUE(near(a[i].corner[k], b[i].corner[k])) << i;
  }
}

TEST(LoopStep1, agrees_with_the_plain_rules_on_an_irregular_patch) {
  for (const int frozen_per_cent : {0, 20, 70, 100}) {
    const auto mesh = irregular_patch(14, 9).mesh();
    Random random(3);
    for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) {
      if (random.below(100) < frozen_per_cent) {
        mesh->vertex[i]->state = Mesh_R::kStateHighCurvature;
      }
    }
    mesh->face.dele_face(mesh->face[40]);
    expect_same(subdivided(*mesh), PlainLoop(*mesh).facets);
  }
}

TEST(LoopStep1, a_right_angle_among_frozen_corners_is_neither_obtuse_nor_acute) {
  const Vec3f corner[3] = {{0, 0, 0}, {4, 0, 0}, {0, 2, 0}};
  for (std::size_t first = 0; first < 3; ++first) {
    // The right angle at corner 0, 2, 1.
    const Soup soup{{corner[first], corner[(first + 1) % 3], corner[(first + 2) % 3]},
                    {{{0, 1, 2}}}};
    const auto mesh = soup.mesh();
    for (int i = 0; i < 3; ++i) mesh->vertex[i]->state = Mesh_R::kStateHighCurvature;
    const std::vector<Facet> facets = subdivided(*mesh);
    ASSERT_EQ(facets.size(), 4U);
    const Vec3f& last = soup.points[2];
    const auto at_last = std::count_if(facets.begin(), facets.end(), [&](const Facet& f) {
      return near(f.corner[0], last) || near(f.corner[1], last) || near(f.corner[2], last);
    });
    // Three of the acute form end at corner 2; of the default form, as at a right angle there, one.
    EXPECT_EQ(at_last, first == 1 ? 1 : 2) << first;
    expect_same(facets, PlainLoop(*mesh).facets);
  }
}

// Sums and weights in double, rounded to float once, in the order of the lists.
Vec3f rounded_inner_point(const _vert& v) {
  const int n = v.edge_num;
  const double inner = 0.375 + 0.25 * std::cos(6.2831852 / n);
  const double beta = (0.625 - inner * inner) / n;
  P ends;
  for (int i = 0; i < n; ++i) {
    ends = ends + P(v.edge[i]->vert[0]->point);
    ends = ends + P(v.edge[i]->vert[1]->point);
  }
  return (P(v.point) * (1.0 - 2.0 * n * beta) + ends * beta).f();
}

Vec3f rounded_edge_point(const _edge& e) {
  P sum;
  for (int i = 0; i < 2; ++i) {
    for (const _vert* corner : e.face[i]->vert) sum = sum + P(corner->point) * 0.125;
  }
  return (sum + P(e.vert[0]->point) * 0.125 + P(e.vert[1]->point) * 0.125).f();
}

TEST(LoopStep1, rounds_once) {
  const auto mesh = irregular_patch(14, 9).mesh();
  std::set<std::array<float, 3>> made;
  for (const Facet& f : subdivided(*mesh)) {
    for (const Vec3f& c : f.corner) made.insert({c.x, c.y, c.z});
  }
  int inner = 0;
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) {
    const _vert& v = *mesh->vertex[i];
    const bool closed =
        std::all_of(v.edge, v.edge + v.edge_num, [](const _edge* e) { return e->face_num == 2; });
    if (v.face_num == 0 || !closed) continue;
    const Vec3f p = rounded_inner_point(v);
    EXPECT_EQ(made.count({p.x, p.y, p.z}), 1U) << i;
    ++inner;
  }
  EXPECT_GT(inner, 80);
  int edges = 0;
  for (int i = 0; i < mesh->edge.get_edgenum(); ++i) {
    if (mesh->edge[i]->face_num != 2) continue;
    const Vec3f p = rounded_edge_point(*mesh->edge[i]);
    EXPECT_EQ(made.count({p.x, p.y, p.z}), 1U) << i;
    ++edges;
  }
  EXPECT_GT(edges, 300);
}

TEST(LoopStep1, takes_the_first_two_of_many_border_edges_and_faces) {
  // A vertex on a non-manifold edge and on a border, an edge with three faces.
  Soup soup = flat_grid(3, 1.0F);
  soup.points.push_back({1.5F, 1, 1});
  soup.triangles.push_back({5, 6, static_cast<int>(soup.points.size()) - 1});
  const auto mesh = soup.mesh();
  expect_same(subdivided(*mesh), PlainLoop(*mesh).facets);
}

TEST(LoopStep1, weights_are_the_closed_formulas) {
  // Valence 3, closed: a neighbour's weight is 3/16. The border: 3/4 and 1/8.
  const auto solid = tetrahedron().mesh();
  const Vec3f corner = solid->vertex[0]->point;
  Vec3f expected{0, 0, 0};
  for (int i = 1; i < 4; ++i) {
    const Vec3f& p = solid->vertex[i]->point;
    expected = {expected.x + 3.0F / 16 * p.x, expected.y + 3.0F / 16 * p.y,
                expected.z + 3.0F / 16 * p.z};
  }
  expected = {expected.x + 7.0F / 16 * corner.x, expected.y + 7.0F / 16 * corner.y,
              expected.z + 7.0F / 16 * corner.z};
  const std::vector<Facet> facets = subdivided(*solid);
  EXPECT_EQ(facets.size(), 16u);
  const auto has = [&facets](const Vec3f& p) {
    return std::any_of(facets.begin(), facets.end(), [&p](const Facet& f) {
      return std::any_of(f.corner.begin(), f.corner.end(),
                         [&p](const Vec3f& c) { return near(c, p, 1e-6); });
    });
  };
  EXPECT_TRUE(has(expected));
  const auto triangle = single_triangle().mesh();
  const std::vector<Facet> open = subdivided(*triangle);
  ASSERT_EQ(open.size(), 4u);
  EXPECT_TRUE(near(open[0].corner[0], {0.125F, 0.125F, 0}));
  EXPECT_TRUE(near(open[0].corner[1], {0.5F, 0, 0})) << "an open edge's middle";
}

TEST(LoopStep1, one_open_edge_of_a_vertex_counts_twice) {
  // Vertex 0 has one open edge: the other lost its second entry, as after a cut.
  const auto mesh = flat_grid(2, 1.0F).mesh();
  _vert* const v = mesh->vertex[1];
  int open = 0;
  for (int i = 0; i < v->edge_num; ++i) open += v->edge[i]->face_num == 1;
  ASSERT_EQ(open, 2);
  _edge* second = nullptr;
  for (int i = 0; i < v->edge_num; ++i) {
    if (v->edge[i]->face_num == 1) second = v->edge[i];
  }
  second->face[second->face_num++] = second->face[0];  // pretend that it is an inner edge
  expect_same(subdivided(*mesh), PlainLoop(*mesh).facets);
}

TEST(LoopStep1, frozen_triangles_keep_their_outline_and_are_cut_by_shape) {
  const struct {
    Vec3f at[3];
    int layout;  // 0 obtuse at 0, 1 by the second test, 2 by the third, 3 the default
  } cases[] = {{{{0, 0, 0}, {2, 0, 0}, {-1, 1, 0}}, 0},
               {{{0, 0, 0}, {2, 0, 0}, {3, 1, 0}}, 1},
               {{{0, 0, 0}, {2, 0, 0}, {1, 2, 0}}, 2},
               {{{0, 0, 0}, {4, 0, 0}, {2, 0.5F, 0}}, 3}};
  const int layouts[4][4][3] = {{{0, 3, 4}, {3, 1, 4}, {5, 4, 2}, {0, 4, 5}},
                                {{0, 3, 5}, {3, 1, 5}, {1, 4, 5}, {4, 2, 5}},
                                {{0, 3, 5}, {3, 1, 4}, {3, 4, 2}, {3, 2, 5}},
                                {{0, 3, 5}, {3, 1, 4}, {5, 4, 2}, {3, 4, 5}}};
  for (const auto& c : cases) {
    const Soup soup{{c.at[0], c.at[1], c.at[2]}, {{{0, 1, 2}}}};
    const auto mesh = soup.mesh();
    for (int i = 0; i < 3; ++i) mesh->vertex[i]->state = Mesh_R::kStateHighCurvature;
    Vec3f p[6];
    for (int j = 0; j < 3; ++j) {
      p[j] = mesh->face[0]->vert[j]->point;
    }
    for (int j = 0; j < 3; ++j) {
      const Vec3f& a = p[j];
      const Vec3f& b = p[(j + 1) % 3];
      p[3 + j] = {(a.x + b.x) / 2, (a.y + b.y) / 2, (a.z + b.z) / 2};
    }
    const std::vector<Facet> facets = subdivided(*mesh);
    ASSERT_EQ(facets.size(), 4u);
    for (int t = 0; t < 4; ++t) {
      for (std::size_t k = 0; k < 3; ++k) {
        EXPECT_TRUE(near(facets[static_cast<std::size_t>(t)].corner[k], p[layouts[c.layout][t][k]]))
            << c.layout << " " << t;
      }
      EXPECT_TRUE(near(facets[static_cast<std::size_t>(t)].normal, {0, 0, 1}));
    }
  }
}

TEST(LoopStep1, box_and_normals_fit_the_facets) {
  const auto mesh = irregular_patch(12, 4).mesh();
  const fmx::sub_mid soup = mesh->Mesh_loop_subdividion_step1();
  const std::vector<Facet> facets = facets_of(soup);
  delete[] soup.faces;
  MemS::Bounding_Box box{-1e9F, 1e9F, -1e9F, 1e9F, -1e9F, 1e9F};
  for (const Facet& f : facets) {
    for (const Vec3f& p : f.corner) {
      box = {std::max(box.max_x, p.x), std::min(box.min_x, p.x), std::max(box.max_y, p.y),
             std::min(box.min_y, p.y), std::max(box.max_z, p.z), std::min(box.min_z, p.z)};
    }
    const auto& [a, b, c] = f.corner;
    const double n[3] = {
        (double{a.y} - b.y) * (double{b.z} - c.z) - (double{a.z} - b.z) * (double{b.y} - c.y),
        (double{a.z} - b.z) * (double{b.x} - c.x) - (double{a.x} - b.x) * (double{b.z} - c.z),
        (double{a.x} - b.x) * (double{b.y} - c.y) - (double{a.y} - b.y) * (double{b.x} - c.x)};
    const double size = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
    EXPECT_NEAR(f.normal.x, n[0] / size, 1e-4);
    EXPECT_NEAR(f.normal.z, n[2] / size, 1e-4);
  }
  EXPECT_EQ(soup.box.max_x, box.max_x);
  EXPECT_EQ(soup.box.min_y, box.min_y);
  EXPECT_EQ(soup.box.max_z, box.max_z);
}

TEST(LoopStep1, workers_without_faces_do_not_spoil_the_box) {
  // All live faces lie far from the origin, and in the first worker's run.
  Soup soup = flat_grid(6, 1.0F);
  for (Vec3f& p : soup.points) p = {p.x + 50, p.y + 50, p.z + 50};
  const auto mesh = soup.mesh();
  for (int i = 4; i < mesh->face.get_facenum(); ++i) mesh->face.dele_face(mesh->face[i]);
  const fmx::sub_mid mid = mesh->Mesh_loop_subdividion_step1();
  EXPECT_EQ(mid.face_count, 16);
  EXPECT_GE(mid.box.min_x, 50);
  EXPECT_GE(mid.box.min_z, 50);
  EXPECT_LE(mid.box.max_x, 53);
  delete[] mid.faces;
}

TEST(LoopStep1, of_no_faces_is_all_zero) {
  Mesh mesh;
  mesh.inalize();
  const fmx::sub_mid mid = mesh.Mesh_loop_subdividion_step1();
  EXPECT_EQ(mid.face_count, 0);
  EXPECT_EQ(mid.faces, nullptr);
}

TEST(LoopStep1, leaves_out_a_face_that_does_not_find_its_edges) {
  const auto mesh = flat_grid(2, 1.0F).mesh();
  mesh->face[3]->edge[1] = mesh->face[3]->edge[0];
  const fmx::sub_mid mid = mesh->Mesh_loop_subdividion_step1();
  EXPECT_EQ(mid.face_count, 28);
  delete[] mid.faces;
}

TEST(LoopStep1, reports_by_the_count_of_facets) {
  const auto mesh = irregular_patch(20, 6).mesh();
  std::mutex lock;
  std::vector<int> steps;
  std::vector<int> counts;
  mesh->setProcessStepCallback([&](qv::alg::ProcessStepInfoType& info) {
    const std::lock_guard<std::mutex> guard(lock);
    steps.push_back(info.step);
    counts.push_back(info.step_count);
    return 0;
  });
  const fmx::sub_mid mid = mesh->Mesh_loop_subdividion_step1();
  delete[] mid.faces;
  const int slots = mesh->face.get_facenum();
  const int total = std::min(slots, 45);
  const int stride = (slots - 1 + total) / total * 4;
  std::vector<int> expected;
  for (int count = 1; count <= mid.face_count; ++count) {
    if (count % stride == 1) expected.push_back(count / stride + 1);
  }
  std::sort(steps.begin(), steps.end());
  EXPECT_EQ(steps, expected);
  EXPECT_EQ(counts, std::vector<int>(expected.size(), static_cast<int>(total / 0.9)));
}

TEST(LoopStep2, builds_a_closed_mesh_with_four_times_the_faces) {
  const auto source = sphere(3, 20.0F).mesh();
  fmx::sub_mid mid = source->Mesh_loop_subdividion_step1();
  for (const bool guarded : {true, false}) {
    Mesh made;
    Mesh* target = &made;
    EXPECT_EQ(guarded ? source->Mesh_loop_subdividion_step2(target, mid)
                      : source->Mesh_loop_subdividion_step3(target, mid),
              0);
    EXPECT_TRUE(adjacency_holds(made));
    EXPECT_EQ(made.face.real_num, 4 * source->face.real_num);
    EXPECT_EQ(made.vertex.get_vertnum(), source->vertex.get_vertnum() + source->edge.get_edgenum());
    for (int i = 0; i < made.edge.get_edgenum(); ++i) EXPECT_EQ(made.edge[i]->face_num, 2);
    EXPECT_EQ(made.center.x, (mid.box.max_x + mid.box.min_x) * 0.5F);
  }
  delete[] mid.faces;
}

TEST(LoopStep2, refuses_a_soup_without_facets_and_one_too_large_for_the_memory) {
  Mesh source;
  source.inalize();
  Mesh made;
  Mesh* target = &made;
  fmx::sub_mid none;
  EXPECT_EQ(source.Mesh_loop_subdividion_step2(target, none), -3);
  fmx::stl_face facet{};
  fmx::sub_mid vast;
  vast.faces = &facet;
  vast.face_count = 2147483647;
  const double megabytes = static_cast<double>(scanmesh::memory_status().page_free) / 1048576.0;
  if (megabytes < 1.0e6) {
    EXPECT_EQ(source.Mesh_loop_subdividion_step2(target, vast), -2);
  }
}

TEST(LoopSubdivision, comes_to_a_smooth_limit) {
  auto mesh = sphere(1, 10.0F).mesh();
  for (int round = 0; round < 3; ++round) {
    fmx::sub_mid mid = mesh->Mesh_loop_subdividion_step1();
    auto finer = std::make_unique<Mesh>();
    Mesh* target = finer.get();
    ASSERT_EQ(mesh->Mesh_loop_subdividion_step2(target, mid), 0);
    delete[] mid.faces;
    mesh = std::move(finer);
  }
  // Neighbouring normals turn by little everywhere.
  for (int i = 0; i < mesh->edge.get_edgenum(); ++i) {
    const _edge* const e = mesh->edge[i];
    ASSERT_EQ(e->face_num, 2);
    const Vec3f& a = e->face[0]->vector;
    const Vec3f& b = e->face[1]->vector;
    EXPECT_GT(a.x * b.x + a.y * b.y + a.z * b.z, 0.98F);
  }
}

}  // namespace
