#include "smoothing/smooth.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <vector>

#include "scanmesh/mesh.h"
#include "tests/support/invariants.h"
#include "tests/support/plain_filters.h"
#include "tests/support/shapes.h"
#include "tests/support/snapshots.h"

namespace {

using namespace test_support;
using Mesh_R::_face;
using Mesh_R::_vert;
using Level = Mesh_M::Mesh::smooth_level;

double size_of(const Vec3f& v) {
  return std::sqrt(wide_dot(v, v));
}
bool is_finite(const Vec3f& v) {
  return std::fabs(v.x - v.x) < 0.0005 && std::fabs(v.y - v.y) < 0.0005 &&
         std::fabs(v.z - v.z) < 0.0005;
}
Vec3f centroid(const _face& f) {
  return divided(plus(plus(f.vert[0]->point, f.vert[1]->point), f.vert[2]->point), 3.0);
}
double twice_area(const _face& f) {
  const Vec3f a = minus(f.vert[0]->point, f.vert[1]->point);
  const Vec3f b = minus(f.vert[1]->point, f.vert[2]->point);
  return size_of({a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x});
}

// Both denoisers as they read, on one thread and straight off the records.
struct PlainSmooth {
  Mesh_M::Mesh& mesh;

  // The faces around, as they would be found by marking.
  static std::vector<const _face*> around(const _face& f) {
    std::vector<const _face*> found = faces_around(f);
    found.erase(std::remove_if(found.begin(), found.end(),
                               [](const _face* g) { return g->state <= 0 || g->state == 3; }),
                found.end());
    return found;
  }

  static Vec3f bilateral(const _face& f, float spatial_factor, float sigma_s) {
    const auto near = around(f);
    std::vector<double> d;
    double total = 0;
    for (const _face* g : near) {
      d.push_back(size_of(minus(centroid(f), centroid(*g))));
      total += d.back();
    }
    const double sigma_c =
        static_cast<float>(total / static_cast<double>(near.size()) * spatial_factor);
    const float sigma_s_squared = sigma_s * sigma_s;
    Vec3f sum{0, 0, 0};
    for (std::size_t i = 0; i < near.size(); ++i) {
      const Vec3f apart = minus(f.vector, near[i]->vector);
      const double squared = wide_dot(apart, apart);
      const double weight = twice_area(*near[i]) * std::exp(squared * -0.5 / sigma_s_squared) *
                            std::exp(d[i] * -0.5 * d[i] / (sigma_c * sigma_c));
      sum = plus(sum, times(near[i]->vector, weight));
    }
    const double length = size_of(sum);
    if (length != 0) sum = times(sum, 1 / length);
    return is_finite(sum) ? sum : f.vector;
  }

  static Vec3f thresholded(const _face& f, float threshold) {
    Vec3f sum{0, 0, 0};
    for (const _face* g : around(f)) {
      const double x = std::min(1.0, wide_dot(f.vector, g->vector));
      if (x >= threshold) sum = plus(sum, times(g->vector, (x - threshold) * (x - threshold)));
    }
    const double length = size_of(sum);
    return length == 0 ? Vec3f{0, 0, 0} : times(sum, 1 / length);
  }

  template <typename NewNormal>
  void filter_normals(NewNormal new_normal) {
    Points next = face_normals_of(mesh);
    for (int i = 0; i < mesh.face.get_facenum(); ++i) {
      if (mesh.face[i]->state != 3) next[static_cast<std::size_t>(i)] = new_normal(*mesh.face[i]);
    }
    for (int i = 0; i < mesh.face.get_facenum(); ++i) {
      mesh.face[i]->vector = next[static_cast<std::size_t>(i)];
    }
  }

  static Vec3f moved(const _vert& v, bool cap) {
    double sum = 0;
    double largest = 0;
    std::vector<Vec3f> e;
    for (int i = 0; i < v.face_num; ++i) {
      e.push_back(minus(centroid(*v.face[i]), v.point));
      sum += size_of(e.back());
      largest = std::max(largest, size_of(e.back()));
    }
    const double mean = sum / v.face_num;
    if (largest < 0.0001 || mean < 0.0001) return v.point;
    Vec3f pull{0, 0, 0};
    for (int i = 0; i < v.face_num; ++i) {
      const double d = size_of(e[static_cast<std::size_t>(i)]);
      const bool weighted = !cap || !(mean > 0.3);
      const double factor = weighted ? std::exp(d * -0.5 * d / (mean * mean)) : d / (largest / 0.3);
      const Vec3f& n = v.face[i]->vector;
      pull = plus(pull, times(n, wide_dot(n, times(e[static_cast<std::size_t>(i)], factor))));
    }
    return plus(v.point, divided(pull, v.face_num));
  }

  void move_vertices(bool cap, bool deletes) {
    Points next = points_of(mesh);
    for (int i = 0; i < mesh.vertex.get_vertnum(); ++i) {
      const _vert& v = *mesh.vertex[i];
      if (v.state != 3 && v.edge_num != 0) next[static_cast<std::size_t>(i)] = moved(v, cap);
    }
    for (int i = 0; i < mesh.vertex.get_vertnum(); ++i) {
      _vert& v = *mesh.vertex[i];
      const Vec3f& place = next[static_cast<std::size_t>(i)];
      if (v.state == 3 || v.state == 12) continue;
      if (deletes && !is_finite(place)) {
        v.state = 3;
      } else {
        v.point = place;
      }
    }
  }

  void bilateral_filter(int normals, int vertices, float spatial_factor, float sigma_s) {
    for (int i = 0; i < normals; ++i) {
      filter_normals([&](const _face& f) { return bilateral(f, spatial_factor, sigma_s); });
    }
    for (int i = 0; i < vertices; ++i) move_vertices(false, true);
  }

  void two_step_filter(int rounds, int normals, int vertices, double angle) {
    const auto threshold = static_cast<float>(std::cos(angle));
    for (int round = 0; round < rounds; ++round) {
      for (int i = 0; i < normals; ++i) {
        filter_normals([&](const _face& f) { return thresholded(f, threshold); });
      }
      for (int i = 0; i < vertices; ++i) move_vertices(true, false);
    }
  }

  void bilateral_level(int level) {
    if (level == 0) bilateral_filter(1, 3, 0.8F, 0.26105237F);
    if (level == 1) bilateral_filter(1, 5, 1.0F, 0.26105237F);
    if (level == 2) bilateral_filter(2, 6, 1.5F, 0.3F);
    if (level == 3) bilateral_filter(3, 7, 2.0F, 0.3F);
  }
  void two_step_level(int level) {
    if (level == 0) two_step_filter(2, 1, 2, 0.2617993877991494);
    if (level == 1) two_step_filter(3, 1, 3, 0.2617993877991494);
    if (level == 2) two_step_filter(5, 3, 5, 0.5235987755982988);
    if (level == 3) two_step_filter(7, 4, 7, 0.2617993877991494);
  }
};

// Large faces, so that the cap of the two-step form acts, and small ones, so that it doesn't.
Soup shape(float scale) {
  Soup soup = irregular_patch(13, 31);
  for (Vec3f& p : soup.points) p = {p.x * scale, p.y * scale, 0.3F * p.z * scale};
  return soup;
}

// Records of every kind that a filter must leave out.
void mix_states(Mesh_M::Mesh& mesh) {
  for (const int i : {4, 90, 91, 92}) mesh.face.dele_face(mesh.face[i]);
  mesh.vertex.dele_vert(mesh.vertex[70]);
  mesh.vertex[75]->state = Mesh_R::kStateHighCurvature;
  mesh.vertex[76]->state = 10;
  mesh.face[4]->vector = {1, 2, 3};
  Vec3f far{50, 50, 50};
  mesh.vertex.insert_vert(far);
}

using Filter = void (*)(Mesh_M::Mesh& mesh, int workers, int level);

void bilateral_with(Mesh_M::Mesh& mesh, int workers, int level) {
  constexpr struct {
    int normals, vertices;
    float spatial, sigma;
  } kLevels[] = {
      {1, 3, 0.8F, 0.26105237F}, {1, 5, 1.0F, 0.26105237F}, {2, 6, 1.5F, 0.3F}, {3, 7, 2.0F, 0.3F}};
  Mesh_SF::Smooth smooth({}, workers);
  smooth.Smooth_Bilateral(&mesh.face, &mesh.vertex, kLevels[level].normals, kLevels[level].vertices,
                          kLevels[level].spatial, kLevels[level].sigma);
}

void two_step_with(Mesh_M::Mesh& mesh, int workers, int level) {
  constexpr struct {
    int rounds, normals, vertices;
    double angle;
  } kLevels[] = {{2, 1, 2, 0.2617993877991494},
                 {3, 1, 3, 0.2617993877991494},
                 {5, 3, 5, 0.5235987755982988},
                 {7, 4, 7, 0.2617993877991494}};
  Mesh_SF::Smooth smooth({}, workers);
  smooth.Smooth_Two_Step(&mesh.face, &mesh.vertex, kLevels[level].rounds, kLevels[level].normals,
                         static_cast<float>(std::cos(kLevels[level].angle)),
                         kLevels[level].vertices);
}

TEST(BilateralFilter, agrees_with_a_plain_reference_at_every_level) {
  for (const float scale : {0.2F, 1.0F}) {
    for (int level = 0; level < 4; ++level) {
      const auto expected = shape(scale).mesh();
      mix_states(*expected);
      PlainSmooth{*expected}.bilateral_level(level);
      const auto mesh = shape(scale).mesh();
      mix_states(*mesh);
      mesh->bilateralNormalde(static_cast<Level>(level));
      EXPECT_TRUE(identical(snapshot(*mesh), snapshot(*expected))) << level;
      for (const int workers : {1, 2, 7}) {
        const auto other = shape(scale).mesh();
        mix_states(*other);
        bilateral_with(*other, workers, level);
        EXPECT_TRUE(identical(snapshot(*other), snapshot(*expected))) << level << ", " << workers;
      }
    }
  }
}

TEST(TwoStepFilter, agrees_with_a_plain_reference_at_every_level) {
  for (const float scale : {0.2F, 1.0F}) {
    for (int level = 0; level < 4; ++level) {
      const auto expected = shape(scale).mesh();
      mix_states(*expected);
      PlainSmooth{*expected}.two_step_level(level);
      const auto mesh = shape(scale).mesh();
      mix_states(*mesh);
      mesh->Two_Step_Smooth(static_cast<Level>(level));
      EXPECT_TRUE(identical(snapshot(*mesh), snapshot(*expected))) << level;
      for (const int workers : {1, 2, 7}) {
        const auto other = shape(scale).mesh();
        mix_states(*other);
        two_step_with(*other, workers, level);
        EXPECT_TRUE(identical(snapshot(*other), snapshot(*expected))) << level << ", " << workers;
      }
    }
  }
}

TEST(Smooth, connectivity_stands) {
  for (int level = 0; level < 4; ++level) {
    const auto mesh = shape(1).mesh();
    mesh->bilateralNormalde(static_cast<Level>(level));
    EXPECT_TRUE(adjacency_holds(*mesh));
    mesh->Two_Step_Smooth(static_cast<Level>(level));
    EXPECT_TRUE(adjacency_holds(*mesh));
  }
}

TEST(Smooth, unknown_level_does_nothing_and_reports_nothing) {
  for (const int level : {-1, 4, 100}) {
    const auto mesh = shape(1).mesh();
    const Snapshot before = snapshot(*mesh);
    const Reports reports(*mesh);
    mesh->bilateralNormalde(static_cast<Level>(level));
    mesh->Two_Step_Smooth(static_cast<Level>(level));
    EXPECT_TRUE(identical(snapshot(*mesh), before));
    EXPECT_TRUE(reports.steps.empty());
  }
}

std::vector<int> up_to(int n) {
  std::vector<int> steps;
  for (int i = 1; i <= n; ++i) steps.push_back(i);
  return steps;
}

TEST(Smooth, bilateral_reports_each_iteration) {
  const int counts[] = {4, 6, 8, 10};
  for (int level = 0; level < 4; ++level) {
    const auto mesh = shape(1).mesh();
    const Reports reports(*mesh);
    mesh->bilateralNormalde(static_cast<Level>(level));
    EXPECT_EQ(reports.steps, up_to(counts[level]));
    EXPECT_EQ(reports.counts, std::vector<int>(reports.steps.size(), counts[level]));
    EXPECT_TRUE(reports.plain);
  }
}

TEST(Smooth, two_step_counts_its_rounds_through) {
  const int counts[] = {6, 12, 40, 77};
  for (int level = 0; level < 4; ++level) {
    const auto mesh = shape(1).mesh();
    const Reports reports(*mesh);
    mesh->Two_Step_Smooth(static_cast<Level>(level));
    EXPECT_EQ(reports.steps, up_to(counts[level]));
    EXPECT_EQ(reports.counts, std::vector<int>(reports.steps.size(), counts[level]));
  }
}

TEST(Smooth, callback_that_throws_leaves_no_worker_behind) {
  for (const int when : {1, 3, 6}) {
    const auto mesh = shape(1).mesh();
    mesh->setProcessStepCallback([when](qv::alg::ProcessStepInfoType& info) -> int {
      if (info.step == when) throw std::runtime_error("enough");
      return 0;
    });
    EXPECT_THROW(mesh->bilateralNormalde(Mesh_M::Mesh::smooth_medium), std::runtime_error);
    EXPECT_THROW(mesh->Two_Step_Smooth(Mesh_M::Mesh::smooth_medium), std::runtime_error);
    EXPECT_TRUE(adjacency_holds(*mesh));
  }
}

TEST(Smooth, filtered_normals_stay_and_vertex_normals_are_not_touched) {
  for (const Filter filter : {&bilateral_with, &two_step_with}) {
    const auto mesh = shape(1).mesh();
    const Points vertices = vertex_normals_of(*mesh);
    filter(*mesh, 2, 1);
    EXPECT_TRUE(identical(vertex_normals_of(*mesh), vertices));
    const Points kept = face_normals_of(*mesh);
    for (int i = 0; i < mesh->face.get_facenum(); ++i) mesh->face.refresh_vector(mesh->face[i]);
    EXPECT_FALSE(identical(face_normals_of(*mesh), kept));
  }
}

TEST(Smooth, high_curvature_vertex_stays) {
  for (const Filter filter : {&bilateral_with, &two_step_with}) {
    const auto mesh = shape(1).mesh();
    mesh->vertex[80]->state = Mesh_R::kStateHighCurvature;
    const Points before = points_of(*mesh);
    filter(*mesh, 2, 3);
    EXPECT_TRUE(same_bits(mesh->vertex[80]->point, before[80]));
    EXPECT_FALSE(same_bits(mesh->vertex[81]->point, before[81]));
    EXPECT_EQ(mesh->vertex[80]->state, 12);
  }
}

TEST(Smooth, bilateral_deletes_what_is_not_finite_and_two_step_does_not) {
  const float bad = std::numeric_limits<float>::infinity();
  const auto spoil = [&](Mesh_M::Mesh& mesh) {
    _vert* const v = mesh.vertex[80];
    for (int i = 0; i < v->face_num; ++i) v->face[i]->vector = {bad, 0, 0};
    return v;
  };
  const auto mesh = shape(1).mesh();
  const _vert* const v = spoil(*mesh);
  const Points before = points_of(*mesh);
  mesh->bilateralNormalde(Mesh_M::Mesh::smooth_weak);
  EXPECT_EQ(v->state, 3);
  EXPECT_TRUE(same_bits(v->point, before[80]));
  const auto expected = shape(1).mesh();
  spoil(*expected);
  PlainSmooth{*expected}.bilateral_level(0);
  EXPECT_EQ(vertex_states_of(*mesh), vertex_states_of(*expected));

  const auto other = shape(1).mesh();
  const _vert* const w = spoil(*other);
  other->Two_Step_Smooth(Mesh_M::Mesh::smooth_weak);
  EXPECT_EQ(w->state, 8);
  EXPECT_FALSE(is_finite(w->point));
}

TEST(Smooth, vertex_on_a_flat_region_stays) {
  for (const Filter filter : {&bilateral_with, &two_step_with}) {
    const auto mesh = noisy(flat_grid(6, 1), 0.0F, 1).mesh();
    for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) {
      mesh->vertex[i]->point.x += 0.1F * static_cast<float>(i % 5);
    }
    const Points before = points_of(*mesh);
    filter(*mesh, 2, 2);
    EXPECT_TRUE(identical(points_of(*mesh), before));
  }
}

TEST(Smooth, vertex_with_tiny_faces_stays) {
  for (const Filter filter : {&bilateral_with, &two_step_with}) {
    Soup soup = noisy(sphere(2, 1), 0.1F, 3);
    const auto mesh = soup.mesh();
    for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) {
      Vec3f& p = mesh->vertex[i]->point;
      p = times(p, 1e-4);
    }
    const Points before = points_of(*mesh);
    filter(*mesh, 2, 1);
    EXPECT_TRUE(identical(points_of(*mesh), before));
  }
}

TEST(Smooth, bilateral_keeps_the_normal_of_a_lone_face) {
  // Its own distance is the mean, 0, so its weight is no number.
  const auto mesh = single_triangle().mesh();
  mesh->face[0]->vector = {0, 0.6F, 0.8F};
  mesh->bilateralNormalde(Mesh_M::Mesh::smooth_weak);
  EXPECT_TRUE(same_bits(mesh->face[0]->vector, {0, 0.6F, 0.8F}));
}

TEST(Smooth, isolated_normal_keeps_its_own_contribution_in_the_bilateral_form) {
  const auto mesh = flat_grid(4, 1).mesh();
  mesh->face[13]->vector = {1, 0, 0};
  const Vec3f n = PlainSmooth::bilateral(*mesh->face[13], 1.0F, 0.26105237F);
  mesh->bilateralNormalde(Mesh_M::Mesh::smooth_medium);
  EXPECT_TRUE(same_bits(mesh->face[13]->vector, n));
  EXPECT_GT(n.x, 0.99F);
}

TEST(Smooth, zero_vector_needs_a_threshold_above_one) {
  const auto mesh = flat_grid(2, 1).mesh();
  Mesh_SF::Smooth smooth({}, 2);
  smooth.Smooth_Two_Step(&mesh->face, &mesh->vertex, 1, 1, 1.0F, 0);
  // At exactly 1 the weight is 0 too.
  EXPECT_TRUE(same_bits(mesh->face[0]->vector, {0, 0, 0}));
  const auto other = flat_grid(2, 1).mesh();
  smooth.Smooth_Two_Step(&other->face, &other->vertex, 1, 1, 0.999F, 0);
  EXPECT_NEAR(other->face[0]->vector.z, 1, 1e-6);
  const auto above = flat_grid(2, 1).mesh();
  smooth.Smooth_Two_Step(&above->face, &above->vertex, 1, 1, 1.5F, 0);
  EXPECT_TRUE(same_bits(above->face[0]->vector, {0, 0, 0}));
}

TEST(Smooth, fewer_faces_than_workers_and_none_at_all) {
  const auto mesh = tetrahedron().mesh();
  const auto expected = tetrahedron().mesh();
  bilateral_with(*mesh, 7, 1);
  PlainSmooth{*expected}.bilateral_level(1);
  EXPECT_TRUE(identical(snapshot(*mesh), snapshot(*expected)));
  Mesh_M::Mesh empty;
  const Reports reports(empty);
  empty.bilateralNormalde(Mesh_M::Mesh::smooth_weak);
  EXPECT_EQ(reports.steps.size(), 4U);
  empty.inalize();
  empty.Two_Step_Smooth(Mesh_M::Mesh::smooth_weak);
}

}  // namespace
