#include "core/soup_building.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "core/point_hash.h"
#include "tests/support/invariants.h"
#include "tests/support/shapes.h"

namespace {

using Mesh_M::Mesh;
using test_support::Random;
using test_support::Vec3f;
using Triangles = std::vector<Vec3f>;  // three each

constexpr float kHalf = 100.0F;

scanmesh::Soup view(const Triangles& triangles) {
  scanmesh::Soup soup;
  soup.first = &triangles.front().x;
  soup.count = static_cast<int>(triangles.size() / 3);
  return soup;
}

void insert_plainly(Mesh& mesh, const Triangles& triangles) {
  for (std::size_t i = 0; i < triangles.size(); i += 3) {
    Vec3f corner[3] = {triangles[i], triangles[i + 1], triangles[i + 2]};
    Vec3f normal{0, 0, 0};
    mesh.insert(corner[0], corner[1], corner[2], normal);
  }
}

std::unique_ptr<Mesh> empty_mesh() {
  auto mesh = std::make_unique<Mesh>();
  Vec3f centre{0, 0, 0};
  mesh->inalize_oct(centre, kHalf);
  return mesh;
}

template <typename T>
bool same_bits(const T& a, const T& b) {
  return std::memcmp(&a, &b, sizeof(T)) == 0;
}

// Records, lists and their order, by numbers.
void expect_same_records(Mesh& made, Mesh& wanted) {
  ASSERT_EQ(made.vertex.get_vertnum(), wanted.vertex.get_vertnum());
  ASSERT_EQ(made.edge.get_edgenum(), wanted.edge.get_edgenum());
  ASSERT_EQ(made.face.get_facenum(), wanted.face.get_facenum());
  EXPECT_EQ(made.face.real_num, wanted.face.real_num);
  const auto vert = [](Mesh& mesh, Mesh_R::_vert* v) { return mesh.vertex.get_vert_no(v); };
  const auto edge = [](Mesh& mesh, Mesh_R::_edge* e) { return mesh.edge.get_edge_no(e); };
  const auto face = [](Mesh& mesh, Mesh_R::_face* f) { return mesh.face.get_face_no(f); };
  for (int i = 0; i < wanted.vertex.get_vertnum(); ++i) {
    const Mesh_R::_vert& a = *made.vertex[i];
    const Mesh_R::_vert& b = *wanted.vertex[i];
    ASSERT_TRUE(same_bits(a.point, b.point)) << i;
    ASSERT_EQ(a.edge_num, b.edge_num) << i;
    ASSERT_EQ(a.face_num, b.face_num) << i;
    ASSERT_EQ(a.edge_cap, b.edge_cap) << i;
    ASSERT_EQ(a.face_cap, b.face_cap) << i;
    ASSERT_EQ(a.state, b.state);
    for (int k = 0; k < b.edge_num; ++k) ASSERT_EQ(edge(made, a.edge[k]), edge(wanted, b.edge[k]));
    for (int k = 0; k < b.face_num; ++k) ASSERT_EQ(face(made, a.face[k]), face(wanted, b.face[k]));
  }
  for (int i = 0; i < wanted.edge.get_edgenum(); ++i) {
    const Mesh_R::_edge& a = *made.edge[i];
    const Mesh_R::_edge& b = *wanted.edge[i];
    for (int k = 0; k < 2; ++k) ASSERT_EQ(vert(made, a.vert[k]), vert(wanted, b.vert[k])) << i;
    ASSERT_EQ(a.face_num, b.face_num) << i;
    ASSERT_EQ(a.face_cap, b.face_cap) << i;
    for (int k = 0; k < b.face_num; ++k) ASSERT_EQ(face(made, a.face[k]), face(wanted, b.face[k]));
  }
  for (int i = 0; i < wanted.face.get_facenum(); ++i) {
    const Mesh_R::_face& a = *made.face[i];
    const Mesh_R::_face& b = *wanted.face[i];
    ASSERT_TRUE(same_bits(a.vector, b.vector)) << i;
    for (int k = 0; k < 3; ++k) {
      ASSERT_EQ(vert(made, a.vert[k]), vert(wanted, b.vert[k])) << i;
      ASSERT_EQ(edge(made, a.edge[k]), edge(wanted, b.edge[k])) << i;
    }
  }
}

// The cells, their order in the pool, and the vertices that they stand for.
void expect_same_cells(Mesh& made, Mesh& wanted) {
  EXPECT_EQ(made.oct.depth, wanted.oct.depth);
  ASSERT_EQ(made.oct.nodes.size(), wanted.oct.nodes.size());
  for (int i = 0; i < wanted.oct.nodes.size(); ++i) {
    const Mesh_M::oct_node& a = made.oct.nodes[i];
    const Mesh_M::oct_node& b = wanted.oct.nodes[i];
    ASSERT_EQ(a.inner, b.inner) << i;
    ASSERT_TRUE(same_bits(a.center, b.center)) << i;
    ASSERT_EQ(a.half, b.half) << i;
    ASSERT_EQ(a.vert == nullptr, b.vert == nullptr) << i;
    if (b.vert != nullptr) {
      ASSERT_EQ(made.vertex.get_vert_no(a.vert), wanted.vertex.get_vert_no(b.vert)) << i;
    }
  }
}

void expect_same_mesh(const Triangles& triangles) {
  const auto made = empty_mesh();
  const auto wanted = empty_mesh();
  scanmesh::insert_soup(*made, view(triangles));
  insert_plainly(*wanted, triangles);
  expect_same_records(*made, *wanted);
  expect_same_cells(*made, *wanted);
  EXPECT_TRUE(test_support::adjacency_holds(*made));
  made->inalize_mesh();
  wanted->inalize_mesh();
  expect_same_records(*made, *wanted);
}

Triangles triangles_of(const test_support::Soup& soup) {
  Triangles triangles;
  for (const auto& t : soup.triangles) {
    for (const int corner : t) triangles.push_back(soup.points[static_cast<std::size_t>(corner)]);
  }
  return triangles;
}

Triangles patch() {
  return triangles_of(test_support::irregular_patch(60, 3));
}

void swap_triangles(Triangles& triangles, int i, int j) {
  for (int k = 0; k < 3; ++k) {
    std::swap(triangles[static_cast<std::size_t>(3 * i + k)],
              triangles[static_cast<std::size_t>(3 * j + k)]);
  }
}

Triangles shuffled(Triangles triangles, uint64_t seed) {
  Random random(seed);
  for (int i = static_cast<int>(triangles.size() / 3) - 1; i > 0; --i) {
    swap_triangles(triangles, i, random.below(i + 1));
  }
  return triangles;
}

// Triangle i, moved or copied, by its first corner.
auto at(Triangles& triangles, int i) {
  return triangles.begin() + 3 * static_cast<std::ptrdiff_t>(i);
}

TEST(SoupBuilding, patch_is_that_of_single_insertions) {
  ASSERT_GT(patch().size() / 3, 4096U);
  expect_same_mesh(patch());
}

TEST(SoupBuilding, order_of_triangles_decides_numbers_as_in_single_insertions) {
  expect_same_mesh(shuffled(patch(), 5));
}

TEST(SoupBuilding, few_triangles_are_inserted_one_by_one) {
  expect_same_mesh(triangles_of(test_support::tetrahedron()));
}

TEST(SoupBuilding, faces_given_twice_are_made_once_and_their_edges_stay_in_order) {
  Triangles triangles = patch();
  for (int i = 0; i < 50; ++i) {
    const Triangles copy(at(triangles, 40 * i), at(triangles, 40 * i + 1));
    triangles.insert(at(triangles, 60 * i + 3), {copy[1], copy[2], copy[0]});
    triangles.insert(at(triangles, 70 * i + 5), {copy[0], copy[2], copy[1]});
  }
  expect_same_mesh(triangles);
}

TEST(SoupBuilding, triangles_that_no_mesh_takes_leave_no_trace) {
  constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
  constexpr float kInf = std::numeric_limits<float>::infinity();
  Triangles triangles = patch();
  const Vec3f p = triangles[100];
  const Triangles odd = {{kNan, 0, 0},
                         {1, 0, 0},
                         {0, 1, 0},
                         {kInf, 0, 0},
                         {1, 0, 0},
                         {0, 1, 0},
                         p,
                         p,
                         {1, 2, 3},
                         {5, 5, 5},
                         {5, 5, 5.0003F},
                         {6, 5, 5},
                         {3e38F, 0, 0},
                         {-3e38F, 0, 0},
                         {0, 3e38F, 0},
                         {1, 1, 1},
                         {2, 2, 2},
                         {3, 3, 3}};
  for (std::size_t i = 0; i < odd.size(); i += 3) {
    triangles.insert(at(triangles, 200 * static_cast<int>(i)), odd.begin() + static_cast<int>(i),
                     odd.begin() + static_cast<int>(i) + 3);
  }
  expect_same_mesh(triangles);
}

TEST(SoupBuilding, corners_that_weld_without_being_equal_weld_as_in_single_insertions) {
  for (const uint64_t seed : {1, 2, 3}) {
    Triangles triangles = shuffled(patch(), seed);
    Random random(seed);
    for (int i = 0; i < 200; ++i) {
      Vec3f& p =
          triangles[static_cast<std::size_t>(random.below(static_cast<int>(triangles.size())))];
      p.x += 0.0004F * random.signed_unit();
      p.y += 0.0004F * random.signed_unit();
    }
    expect_same_mesh(triangles);
  }
}

TEST(SoupBuilding, minus_zero_is_the_corner_that_zero_is) {
  Triangles triangles = patch();
  Random random(9);
  const Vec3f home = triangles[900];
  for (Vec3f& p : triangles) {
    if (!scanmesh::same_point(p, home)) continue;
    p = {random.below(2) == 0 ? 0.0F : -0.0F, random.below(2) == 0 ? 0.0F : -0.0F, p.z};
  }
  expect_same_mesh(triangles);
}

TEST(SoupBuilding, edges_of_many_faces_and_a_hub_list_them_in_order) {
  Triangles triangles = patch();
  for (int i = 0; i < 40; ++i) {
    const float angle = 0.15F * static_cast<float>(i);
    triangles.insert(triangles.end(),
                     {{0, 0, 50}, {0, 0, 60}, {std::cos(angle), std::sin(angle), 55}});
  }
  expect_same_mesh(shuffled(triangles, 4));
}

// The counters of a list have 16 bits: what goes beyond is refused face by face.
TEST(SoupBuilding, hub_beyond_its_counters_refuses_as_in_single_insertions) {
  constexpr int kFaces = 33500;
  Triangles triangles;
  const auto rim = [](int i) {
    const double angle = 6.283185307 * i / kFaces;
    return Vec3f{static_cast<float>(90 * std::cos(angle)), static_cast<float>(90 * std::sin(angle)),
                 static_cast<float>(i % 2)};
  };
  for (int i = 0; i < kFaces; ++i) {
    triangles.insert(triangles.end(), {{0, 0, 0}, rim(i), rim((i + 1) % kFaces)});
  }
  const auto made = empty_mesh();
  const auto wanted = empty_mesh();
  scanmesh::insert_soup(*made, view(triangles));
  insert_plainly(*wanted, triangles);
  EXPECT_LT(made->face.real_num, kFaces);
  EXPECT_EQ(made->face.real_num, wanted->face.real_num);
  EXPECT_EQ(made->edge.get_edgenum(), wanted->edge.get_edgenum());
  EXPECT_EQ(made->vertex[0]->face_num, wanted->vertex[0]->face_num);
}

TEST(SoupBuilding, mesh_that_holds_something_grows) {
  const auto made = empty_mesh();
  const auto wanted = empty_mesh();
  const Triangles first = triangles_of(test_support::tetrahedron());
  insert_plainly(*made, first);
  insert_plainly(*wanted, first);
  const Triangles more = patch();
  scanmesh::insert_soup(*made, view(more));
  insert_plainly(*wanted, more);
  expect_same_records(*made, *wanted);
}

TEST(SoupBuilding, insertions_afterwards_meet_the_same_cells) {
  const Triangles all = patch();
  const Triangles most(all.begin(), all.end() - 300);
  const Triangles rest(all.end() - 300, all.end());
  const auto made = empty_mesh();
  const auto wanted = empty_mesh();
  scanmesh::insert_soup(*made, view(most));
  insert_plainly(*wanted, most);
  insert_plainly(*made, rest);
  insert_plainly(*wanted, rest);
  expect_same_records(*made, *wanted);
  expect_same_cells(*made, *wanted);
}

TEST(SoupBuilding, floats_between_triangles_are_passed_over) {
  const Triangles triangles = patch();
  std::vector<float> records;
  for (std::size_t i = 0; i < triangles.size(); i += 3) {
    records.insert(records.end(), {7, 8, 9});
    for (std::size_t k = 0; k < 3; ++k) {
      const Vec3f& p = triangles[i + k];
      records.insert(records.end(), {p.x, p.y, p.z});
    }
  }
  scanmesh::Soup soup;
  soup.first = records.data() + 3;
  soup.stride = 12;
  soup.count = static_cast<int>(triangles.size() / 3);
  const auto made = empty_mesh();
  const auto wanted = empty_mesh();
  scanmesh::insert_soup(*made, soup);
  insert_plainly(*wanted, triangles);
  expect_same_records(*made, *wanted);
}

TEST(SoupWelding, numbers_do_not_depend_on_the_workers) {
  const Triangles triangles = shuffled(patch(), 8);
  const scanmesh::WeldedSoup one = scanmesh::weld_equal_corners(view(triangles), 1);
  EXPECT_EQ(one.ids[0], 0);
  for (const int workers : {2, 7}) {
    const scanmesh::WeldedSoup more = scanmesh::weld_equal_corners(view(triangles), workers);
    EXPECT_EQ(more.ids, one.ids);
    ASSERT_EQ(more.points.size(), one.points.size());
    for (std::size_t i = 0; i < one.points.size(); ++i) {
      ASSERT_TRUE(same_bits(more.points[i], one.points[i]));
    }
  }
}

TEST(SoupWelding, table_grows_where_no_corner_is_shared) {
  Triangles triangles;
  for (int i = 0; i < 60000; ++i) {
    const auto x = static_cast<float>(i);
    triangles.insert(triangles.end(), {{x, 0, 0}, {x, 1, 0}, {x, 0, 1}});
  }
  for (const int workers : {1, 7}) {
    const scanmesh::WeldedSoup welded = scanmesh::weld_equal_corners(view(triangles), workers);
    ASSERT_EQ(welded.points.size(), triangles.size());
    for (std::size_t i = 0; i < welded.ids.size(); ++i) {
      ASSERT_EQ(welded.ids[i], static_cast<int>(i));
    }
  }
}

}  // namespace
