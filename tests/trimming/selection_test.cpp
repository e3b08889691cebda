// Growing a selection over flat areas, and the length of its rim.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <vector>

#include "scanmesh/mesh.h"
#include "tests/support/hole_access.h"
#include "tests/support/invariants.h"
#include "tests/support/shapes.h"

namespace {

using namespace test_support;
using Mesh_M::Mesh;
using Mesh_R::_face;

std::vector<_face*> grown(Mesh& mesh, std::vector<_face*> picked, Mesh::choose_mode mode) {
  int n = static_cast<int>(picked.size());
  _face** faces = new _face*[picked.size()];
  std::copy(picked.begin(), picked.end(), faces);
  mesh.angle_mode(faces, n, mode);
  std::vector<_face*> result(faces, faces + n);
  delete[] faces;
  return result;
}

std::vector<_face*> all_faces(Mesh& mesh) {
  std::vector<_face*> faces;
  for (int i = 0; i < mesh.face.get_facenum(); ++i) faces.push_back(mesh.face[i]);
  return faces;
}

// n x n x 6 faces of two triangles each, edges of 1, welded.
Soup cube(int n) {
  Soup soup;
  const auto side = [&](Vec3f origin, Vec3f u, Vec3f v) {
    const int first = static_cast<int>(soup.points.size());
    for (int j = 0; j <= n; ++j) {
      for (int i = 0; i <= n; ++i) {
        const auto s = static_cast<float>(i);
        const auto t = static_cast<float>(j);
        soup.points.push_back({origin.x + s * u.x + t * v.x, origin.y + s * u.y + t * v.y,
                               origin.z + s * u.z + t * v.z});
      }
    }
    for (int j = 0; j < n; ++j) {
      for (int i = 0; i < n; ++i) {
        const int a = first + j * (n + 1) + i;
        soup.triangles.push_back({a, a + 1, a + n + 2});
        soup.triangles.push_back({a, a + n + 2, a + n + 1});
      }
    }
  };
  const auto e = static_cast<float>(n);
  side({0, 0, 0}, {0, 1, 0}, {1, 0, 0});
  side({0, 0, e}, {1, 0, 0}, {0, 1, 0});
  side({0, 0, 0}, {1, 0, 0}, {0, 0, 1});
  side({0, e, 0}, {0, 0, 1}, {1, 0, 0});
  side({0, 0, 0}, {0, 0, 1}, {0, 1, 0});
  side({e, 0, 0}, {0, 1, 0}, {0, 0, 1});
  return soup;
}

TEST(AngleMode, selects_the_whole_of_a_flat_plate_from_one_face) {
  const auto mesh = flat_grid(8, 1.0F).mesh();
  for (const auto mode : {Mesh::choose_smooth, Mesh::choose_flat}) {
    EXPECT_EQ(grown(*mesh, {mesh->face[37]}, mode).size(), 128U);
  }
  EXPECT_TRUE(all_states_default(*mesh));
  EXPECT_TRUE(adjacency_holds(*mesh));
}

TEST(AngleMode, selects_one_side_of_a_cube) {
  const auto mesh = welded(cube(4));
  mesh->inalize_mesh();
  ASSERT_EQ(mesh->face.get_facenum(), 6 * 32);
  const std::vector<_face*> side = grown(*mesh, {mesh->face[40]}, Mesh::choose_smooth);
  EXPECT_EQ(side.size(), 32U);
  for (const _face* f : side) EXPECT_GT(f->vector.z, 0.999F);
  EXPECT_TRUE(all_states_default(*mesh));
}

// Cylinders, as strips of facets: the modes tell 2 degrees, 0.4 degrees and more apart.
TEST(AngleMode, modes_stand_for_3_degrees_and_for_half_a_degree) {
  const auto strip = [](double degrees) {
    Soup soup;
    double x = 0;
    double z = 0;
    for (int i = 0; i <= 10; ++i) {
      const auto px = static_cast<float>(x);
      const auto pz = static_cast<float>(z);
      soup.points.push_back({px, 0, pz});
      soup.points.push_back({px, 1, pz});
      if (i > 0) {
        const int a = 2 * i - 2;
        soup.triangles.push_back({a, a + 2, a + 3});
        soup.triangles.push_back({a, a + 3, a + 1});
      }
      const double angle = i * degrees * 0.017453292519943295;
      x += std::cos(angle);
      z += std::sin(angle);
    }
    return soup.mesh();
  };
  const auto count = [&](double degrees, Mesh::choose_mode mode) {
    const auto mesh = strip(degrees);
    return grown(*mesh, {mesh->face[0]}, mode).size();
  };
  EXPECT_EQ(count(2.9, Mesh::choose_smooth), 20U);
  EXPECT_EQ(count(3.1, Mesh::choose_smooth), 2U);
  EXPECT_EQ(count(0.45, Mesh::choose_flat), 20U);
  EXPECT_EQ(count(0.55, Mesh::choose_flat), 2U);
}

TEST(AngleMode, leaves_the_array_alone_without_a_face) {
  const auto mesh = flat_grid(2, 1.0F).mesh();
  _face* one = mesh->face[0];
  _face** faces = &one;
  int n = 0;
  mesh->angle_mode(faces, n, Mesh::choose_smooth);
  EXPECT_EQ(faces, &one);
  EXPECT_EQ(n, 0);
}

// Faces 0 and 1 share an edge, as do 1 and 2, and 0 and 2: of three around a vertex, 2 is too steep
// for 0, which meets it first, and flat enough for 1.
TEST(AngleMode, keeps_out_what_was_rejected_once) {
  Soup soup{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {-1, -1, 0}},
            {{{0, 1, 2}}, {{0, 2, 3}}, {{0, 3, 1}}}};
  const auto mesh = soup.mesh();
  mesh->face[0]->vector = {0, 0, 1};
  mesh->face[1]->vector = {0, std::sin(0.04F), std::cos(0.04F)};
  mesh->face[2]->vector = {0, std::sin(0.08F), std::cos(0.08F)};
  const std::vector<_face*> result = grown(*mesh, {mesh->face[0]}, Mesh::choose_smooth);
  EXPECT_EQ(result, (std::vector<_face*>{mesh->face[0], mesh->face[1]}));
  // From the other side it is taken.
  EXPECT_EQ(grown(*mesh, {mesh->face[1]}, Mesh::choose_smooth).size(), 3U);
  EXPECT_TRUE(all_states_default(*mesh));
}

TEST(AngleMode, keeps_the_picked_ones_in_front_and_in_order) {
  const auto mesh = flat_grid(4, 1.0F).mesh();
  const std::vector<_face*> picked{mesh->face[20], mesh->face[3], mesh->face[11]};
  const std::vector<_face*> result = grown(*mesh, picked, Mesh::choose_flat);
  EXPECT_TRUE(std::equal(picked.begin(), picked.end(), result.begin()));
  std::vector<_face*> sorted = result;
  std::sort(sorted.begin(), sorted.end());
  EXPECT_EQ(std::unique(sorted.begin(), sorted.end()), sorted.end());
}

// The plain form: rounds over all pairs, on a noisy patch where much is rejected.
TEST(AngleMode, agrees_with_a_plain_search_on_an_irregular_patch) {
  const auto mesh = noisy(flat_grid(20, 1.0F), 0.02F, 5).mesh();
  std::vector<_face*> plain{mesh->face[400]};
  std::set<const _face*> seen{mesh->face[400]};
  const double limit = std::cos(3.0 * 0.017453292519943295);
  for (std::size_t i = 0; i < plain.size(); ++i) {
    for (Mesh_R::_edge* e : plain[i]->edge) {
      for (int k = 0; k < e->face_num; ++k) {
        _face* const g = e->face[k];
        if (!seen.insert(g).second) continue;
        const Vec3f& a = g->vector;
        const Vec3f& b = plain[i]->vector;
        const double dot = static_cast<double>(a.x) * b.x + static_cast<double>(a.y) * b.y +
                           static_cast<double>(a.z) * b.z;
        if (dot > limit) plain.push_back(g);
      }
    }
  }
  const std::vector<_face*> result = grown(*mesh, {mesh->face[400]}, Mesh::choose_smooth);
  EXPECT_EQ(result, plain);
  EXPECT_GT(result.size(), 20U);
  EXPECT_LT(result.size(), 790U);
}

double rim_length(Mesh& mesh, const std::vector<_face*>& faces) {
  double length = -1;
  mesh.cal_choose_length(faces, length);
  return length;
}

TEST(CalChooseLength, is_0_for_all_faces_of_a_closed_mesh) {
  const auto mesh = sphere(2, 3.0F).mesh();
  EXPECT_EQ(rim_length(*mesh, all_faces(*mesh)), 0.0);
  EXPECT_TRUE(all_states_default(*mesh));
}

TEST(CalChooseLength, adds_up_the_rim_of_a_selection) {
  const auto mesh = flat_grid(4, 0.5F).mesh();
  EXPECT_DOUBLE_EQ(rim_length(*mesh, all_faces(*mesh)), 8.0);
  EXPECT_DOUBLE_EQ(rim_length(*mesh, {mesh->face[0], mesh->face[1]}), 2.0);
  EXPECT_DOUBLE_EQ(rim_length(*mesh, {mesh->face[10]}), 1.0 + std::sqrt(0.5));
  EXPECT_DOUBLE_EQ(rim_length(*mesh, {}), 0.0);
  EXPECT_TRUE(all_states_default(*mesh));
  EXPECT_TRUE(adjacency_holds(*mesh));
}

TEST(CalChooseLength, judges_an_edge_by_its_first_two_faces) {
  Soup soup{{{0, 0, 0}, {1, 0, 0}, {0.5F, 1, 0}, {0.5F, -1, 0}, {0.5F, 0, 1}},
            {{{0, 1, 2}}, {{0, 1, 3}}, {{0, 1, 4}}}};
  const auto mesh = soup.mesh();
  const Mesh_R::_edge* const shared = edge_between(*mesh, 0, 1);
  ASSERT_EQ(shared->face_num, 3);
  const double side = std::sqrt(1.25);
  for (int i = 0; i < 3; ++i) {
    const double own = shared->face[i] == shared->face[2] ? 0.0 : 1.0;
    EXPECT_DOUBLE_EQ(rim_length(*mesh, {shared->face[i]}), 2 * side + own) << i;
  }
  EXPECT_DOUBLE_EQ(rim_length(*mesh, {shared->face[0], shared->face[1]}), 4 * side);
}

TEST(CalChooseLength, leaves_out_lengths_that_are_not_numbers) {
  const auto mesh = flat_grid(2, 1.0F).mesh();
  mesh->vertex[0]->point.x = std::numeric_limits<float>::quiet_NaN();
  EXPECT_DOUBLE_EQ(rim_length(*mesh, all_faces(*mesh)), 6.0);
}

TEST(CalChooseLength, takes_a_face_that_is_listed_twice_once) {
  const auto mesh = flat_grid(2, 1.0F).mesh();
  EXPECT_DOUBLE_EQ(rim_length(*mesh, {mesh->face[0], mesh->face[0]}), 2.0 + std::sqrt(2.0));
  EXPECT_TRUE(all_states_default(*mesh));
}

}  // namespace
