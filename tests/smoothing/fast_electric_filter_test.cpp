#include "smoothing/fast_electric_filter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <vector>

#include "core/platform.h"
#include "tests/support/invariants.h"
#include "tests/support/plain_filters.h"
#include "tests/support/shapes.h"
#include "tests/support/snapshots.h"

namespace {

using namespace test_support;
using Mesh_R::_face;
using Mesh_R::_vert;

// The filter as it reads, on one thread and straight off the records.
class PlainElectric {
 public:
  PlainElectric(Mesh_M::Mesh& mesh, int level, float value, bool flag) : mesh_(mesh), flag_(flag) {
    scanmesh::Filter_Levels(params_, level, value);
    if (flag) params_.normal_iterations = 0;
  }

  void run() {
    for (int i = 0; i < params_.normal_iterations; ++i) filter_normals();
    for (int i = 0; i < mesh_.vertex.get_vertnum(); ++i) classes.push_back(class_of(*vert(i)));
    for (int i = 0; i < params_.vertex_iterations; ++i) {
      move(params_.lambda);
      move(params_.mu);
    }
    for (int i = 0; i < mesh_.face.get_facenum(); ++i) {
      if (mesh_.face[i]->state != 3) mesh_.face.refresh_vector(mesh_.face[i]);
    }
    mesh_.vertex.R_cal_vector();
  }

  std::vector<int> classes;

 private:
  _vert* vert(int i) { return mesh_.vertex[i]; }

  void filter_normals() {
    Points next = face_normals_of(mesh_);
    for (int i = 0; i < mesh_.face.get_facenum(); ++i) {
      const _face& f = *mesh_.face[i];
      if (f.state == 3) continue;
      Vec3f sum{0, 0, 0};
      for (const _face* g : faces_around(f)) {
        const auto x = static_cast<float>(wide_dot(f.vector, g->vector));
        const float over = x - params_.normal_threshold;
        const float weight = x > params_.normal_threshold ? over * over : 0;
        sum = plus(sum, times(g->vector, weight));
      }
      const double size = std::sqrt(wide_dot(sum, sum));
      if (size != 0) next[static_cast<std::size_t>(i)] = times(sum, 1 / size);
    }
    for (int i = 0; i < mesh_.face.get_facenum(); ++i) {
      mesh_.face[i]->vector = next[static_cast<std::size_t>(i)];
    }
  }

  double curvature(const _vert& v) const {
    double angles = 0;
    double area = 0;
    for (int i = 0; i < v.face_num; ++i) {
      int at = -1;
      for (int k = 2; k >= 0; --k) {
        const Vec3f d = minus(v.face[i]->vert[k]->point, v.point);
        if (std::fabs(d.x) < 0.0005 && std::fabs(d.y) < 0.0005 && std::fabs(d.z) < 0.0005) at = k;
      }
      if (at < 0) return 0;
      const Vec3f& p = v.face[i]->vert[at]->point;
      const Vec3f a = minus(v.face[i]->vert[(at + 1) % 3]->point, p);
      const Vec3f b = minus(v.face[i]->vert[(at + 2) % 3]->point, p);
      angles += std::acos(wide_dot(a, b) / (std::sqrt(wide_dot(a, a)) * std::sqrt(wide_dot(b, b))));
      const Vec3f n{a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
      area += std::sqrt(wide_dot(n, n)) * 0.5;
    }
    return area == 0 ? 0 : (6.283185306 - angles) / area;
  }

  int class_of(const _vert& v) const {
    if (v.state == 3) return 0;
    if (flag_) return -1;
    const double c = curvature(v);
    return c < -static_cast<double>(params_.curvature_limit) || c > params_.curvature_limit ? -1
                                                                                            : 1;
  }

  void move(double step) {
    Points next = points_of(mesh_);
    for (int i = 0; i < mesh_.vertex.get_vertnum(); ++i) {
      const _vert& v = *vert(i);
      Vec3f& place = next[static_cast<std::size_t>(i)];
      const int kind = classes[static_cast<std::size_t>(i)];
      if (kind == -1) place = uniform_step(v, step);
      if (kind != 1 || v.face_num == 0) continue;
      Vec3f sum{0, 0, 0};
      for (int k = 0; k < v.face_num; ++k) {
        const _face& f = *v.face[k];
        const Vec3f c = times(plus(plus(f.vert[0]->point, f.vert[1]->point), f.vert[2]->point),
                              0.3333333333333333);
        sum = plus(sum, times(f.vector, wide_dot(f.vector, minus(c, v.point))));
      }
      place = plus(v.point, divided(sum, v.face_num));
    }
    for (int i = 0; i < mesh_.vertex.get_vertnum(); ++i) {
      vert(i)->point = next[static_cast<std::size_t>(i)];
    }
  }

  Mesh_M::Mesh& mesh_;
  scanmesh::Filter_Params params_;
  bool flag_;
};

Snapshot plain(Mesh_M::Mesh& mesh, int level, float value = 0, bool flag = false) {
  PlainElectric(mesh, level, value, flag).run();
  return snapshot(mesh);
}

// A patch on which either class has its share at every level with a limit that bites.
Soup patch() {
  Soup soup = irregular_patch(14, 21);
  for (Vec3f& p : soup.points) p.z *= 0.5F;
  return soup;
}

TEST(ElectricFilter, agrees_with_a_plain_reference_at_every_level) {
  for (int level = -1; level <= 7; ++level) {
    const auto expected_mesh = patch().mesh();
    const Snapshot expected = plain(*expected_mesh, level);
    for (const int workers : {1, 2, 7}) {
      const auto mesh = patch().mesh();
      scanmesh::ElectricFilter(*mesh, level, 0, false).run(workers);
      EXPECT_TRUE(identical(snapshot(*mesh), expected)) << level << ", " << workers;
      EXPECT_TRUE(adjacency_holds(*mesh));
    }
  }
}

TEST(ElectricFilter, agrees_with_a_plain_reference_for_every_value_of_level_zero) {
  for (const float value : {0.1F, 0.3F, 0.5F, 0.7F, 0.9F}) {
    const auto expected_mesh = patch().mesh();
    const Snapshot expected = plain(*expected_mesh, 0, value);
    const auto mesh = patch().mesh();
    mesh->Fast_Eletric_Filter(0, value, false);
    EXPECT_TRUE(identical(snapshot(*mesh), expected)) << value;
  }
}

TEST(ElectricFilter, entry_point_agrees_on_closed_and_open_meshes) {
  Soup lone = noisy(sphere(3, 6), 0.1F, 2);
  lone.points.push_back({20, 20, 20});
  for (const Soup& soup : {lone, patch()}) {
    for (const int level : {1, 3}) {
      const auto expected_mesh = soup.mesh();
      const Snapshot expected = plain(*expected_mesh, level);
      const auto mesh = soup.mesh();
      mesh->Fast_Eletric_Filter(level, 0, false);
      EXPECT_TRUE(identical(snapshot(*mesh), expected));
    }
  }
}

TEST(ElectricFilter, flag_makes_it_a_pure_taubin_smoother) {
  const auto mesh = patch().mesh();
  const auto expected_mesh = patch().mesh();
  const Reports reports(*mesh);
  mesh->Fast_Eletric_Filter(2, 0, true);
  expected_mesh->meshSmooth(10);
  EXPECT_TRUE(identical(points_of(*mesh), points_of(*expected_mesh)));
  EXPECT_EQ(reports.steps, (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}));
  EXPECT_EQ(reports.counts, std::vector<int>(11, 11));
  const auto again = patch().mesh();
  EXPECT_TRUE(identical(plain(*again, 2, 0, true), snapshot(*mesh)));
}

TEST(ElectricFilter, reports_every_iteration_and_the_end) {
  const auto mesh = patch().mesh();
  const Reports reports(*mesh);
  mesh->Fast_Eletric_Filter(1, 0, false);
  EXPECT_EQ(reports.steps, (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8, 9}));
  EXPECT_EQ(reports.counts, std::vector<int>(9, 9));
  EXPECT_TRUE(reports.plain);
}

TEST(ElectricFilter, callback_sees_whole_iterations) {
  const auto mesh = patch().mesh();
  std::vector<Points> normals;
  std::vector<Points> points;
  mesh->setProcessStepCallback([&](qv::alg::ProcessStepInfoType&) {
    normals.push_back(face_normals_of(*mesh));
    points.push_back(points_of(*mesh));
    return 0;
  });
  mesh->Fast_Eletric_Filter(1, 0, false);
  ASSERT_EQ(normals.size(), 9U);
  for (std::size_t i = 1; i < 9; ++i) {
    EXPECT_EQ(static_cast<bool>(identical(normals[i], normals[i - 1])), i > 3) << i;
    EXPECT_EQ(static_cast<bool>(identical(points[i], points[i - 1])), i <= 3) << i;
  }
}

TEST(ElectricFilter, callback_that_throws_leaves_no_worker_behind) {
  const auto mesh = patch().mesh();
  mesh->setProcessStepCallback([](qv::alg::ProcessStepInfoType& info) -> int {
    if (info.step == 5) throw std::runtime_error("enough");
    return 0;
  });
  EXPECT_THROW(mesh->Fast_Eletric_Filter(1, 0, false), std::runtime_error);
  EXPECT_TRUE(adjacency_holds(*mesh));
}

TEST(ElectricFilter, class_is_decided_once_by_the_limit_of_the_level) {
  const auto at = [](int level) {
    const auto mesh = patch().mesh();
    PlainElectric filter(*mesh, level, 0, false);
    filter.run();
    return std::count(filter.classes.begin(), filter.classes.end(), 1);
  };
  const auto all = static_cast<long>(patch().points.size());
  EXPECT_EQ(at(4), all);  // 1000 takes nearly every vertex for feature preservation
  EXPECT_EQ(at(5), all);
  EXPECT_GT(at(3), 0);
  EXPECT_LT(at(3), all);
  EXPECT_LT(at(1), at(3));
}

TEST(ElectricFilter, final_normals_fit_the_corners) {
  const auto mesh = patch().mesh();
  mesh->Fast_Eletric_Filter(2, 0, false);
  for (int i = 0; i < mesh->face.get_facenum(); ++i) {
    const _face& f = *mesh->face[i];
    const Vec3f a = minus(f.vert[0]->point, f.vert[1]->point);
    const Vec3f b = minus(f.vert[1]->point, f.vert[2]->point);
    const Vec3f n{a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
    EXPECT_NEAR(wide_dot(n, f.vector) / std::sqrt(wide_dot(n, n)), 1, 1e-6);
  }
}

TEST(ElectricFilter, face_without_an_agreeing_neighbour_keeps_its_normal) {
  // A zero normal agrees with nothing, not with itself either.
  const auto mesh = flat_grid(2, 1).mesh();
  const auto expected_mesh = flat_grid(2, 1).mesh();
  for (auto* m : {mesh.get(), expected_mesh.get()}) m->face[3]->vector = {0, 0, 0};
  std::vector<Points> normals;
  mesh->setProcessStepCallback([&](qv::alg::ProcessStepInfoType&) {
    normals.push_back(face_normals_of(*mesh));
    return 0;
  });
  mesh->Fast_Eletric_Filter(3, 0, false);
  for (std::size_t i = 0; i < 6; ++i) EXPECT_TRUE(same_bits(normals[i][3], {0, 0, 0}));
  EXPECT_TRUE(identical(plain(*expected_mesh, 3), snapshot(*mesh)));
}

TEST(ElectricFilter, threshold_zero_gives_a_face_its_own_weight) {
  const auto mesh = single_triangle().mesh();
  mesh->face[0]->vector = {0, 0.6F, 0.8F};
  std::vector<Points> normals;
  mesh->setProcessStepCallback([&](qv::alg::ProcessStepInfoType&) {
    normals.push_back(face_normals_of(*mesh));
    return 0;
  });
  mesh->Fast_Eletric_Filter(3, 0, false);
  EXPECT_NEAR(normals[1][0].y, 0.6, 1e-6);
  EXPECT_NEAR(normals[1][0].z, 0.8, 1e-6);
}

TEST(ElectricFilter, vertex_without_faces_stays) {
  Soup soup = noisy(flat_grid(3, 1), 0.2F, 4);
  soup.points.push_back({9, 9, 9});
  const auto mesh = soup.mesh();
  mesh->Fast_Eletric_Filter(1, 0, false);
  EXPECT_TRUE(same_bits(mesh->vertex[16]->point, {9, 9, 9}));
}

TEST(ElectricFilter, fewer_faces_than_workers_go_to_the_last) {
  const auto mesh = tetrahedron().mesh();
  const auto expected_mesh = tetrahedron().mesh();
  scanmesh::ElectricFilter(*mesh, 4, 0, false).run(7);
  EXPECT_TRUE(identical(plain(*expected_mesh, 4), snapshot(*mesh)));
  EXPECT_FALSE(identical(points_of(*mesh), points_of(*tetrahedron().mesh())));
}

TEST(ElectricFilter, deleted_records_are_left_alone) {
  const auto prepare = [](Mesh_M::Mesh& mesh) {
    for (const int i : {5, 60, 61, 200}) mesh.face.dele_face(mesh.face[i]);
    mesh.vertex.dele_vert(mesh.vertex[100]);
    mesh.face[5]->vector = {1, 2, 3};
  };
  const auto mesh = patch().mesh();
  const auto expected_mesh = patch().mesh();
  prepare(*mesh);
  prepare(*expected_mesh);
  const Vec3f before = mesh->vertex[100]->point;
  mesh->Fast_Eletric_Filter(3, 0, false);
  EXPECT_TRUE(identical(plain(*expected_mesh, 3), snapshot(*mesh)));
  EXPECT_TRUE(same_bits(mesh->face[5]->vector, {1, 2, 3}));
  EXPECT_TRUE(same_bits(mesh->vertex[100]->point, before));
}

TEST(ElectricFilter, curvature_is_zero_where_a_vertex_does_not_find_itself) {
  // NaN matches no corner: class 1, and the neighbours' faces pass the NaN on, as in the reference.
  const auto mesh = patch().mesh();
  const auto expected_mesh = patch().mesh();
  for (auto* m : {mesh.get(), expected_mesh.get()}) m->vertex[50]->point.y = NAN;
  mesh->Fast_Eletric_Filter(1, 0, false);
  plain(*expected_mesh, 1);
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) {
    const Vec3f& a = mesh->vertex[i]->point;
    const Vec3f& b = expected_mesh->vertex[i]->point;
    EXPECT_TRUE(same_bits(a, b) || (std::isnan(a.y) && std::isnan(b.y))) << i;
  }
}

TEST(ElectricFilter, takes_a_mesh_without_anything) {
  Mesh_M::Mesh mesh;
  const Reports reports(mesh);
  mesh.Fast_Eletric_Filter(1, 0, false);
  EXPECT_EQ(reports.steps.size(), 9U);
  mesh.inalize();
  mesh.Fast_Eletric_Filter(3, 0, true);
  EXPECT_EQ(mesh.vertex.get_vertnum(), 0);
}

TEST(FeatureSharpening, is_the_strongest_preset) {
  const auto mesh = patch().mesh();
  const auto expected_mesh = patch().mesh();
  mesh->featureSharpening();
  EXPECT_TRUE(identical(plain(*expected_mesh, 5, 0.6F), snapshot(*mesh)));
}

}  // namespace
