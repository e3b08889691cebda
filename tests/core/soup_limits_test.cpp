// Soups that were made to be slow: the bulk run gives them up, and single insertions take over.
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <new>
#include <vector>

#include "core/point_hash.h"
#include "core/soup_building.h"
#include "tests/support/invariants.h"
#include "tests/support/shapes.h"

namespace {

using namespace test_support;
using Mesh_M::Mesh;
using Triangles = std::vector<Vec3f>;  // three each

scanmesh::Soup view(const Triangles& triangles) {
  scanmesh::Soup soup;
  soup.first = &triangles.front().x;
  soup.count = static_cast<int>(triangles.size() / 3);
  return soup;
}

std::unique_ptr<Mesh> empty_mesh() {
  auto mesh = std::make_unique<Mesh>();
  Vec3f centre{0, 0, 0};
  mesh->inalize_oct(centre, 100);
  return mesh;
}

std::unique_ptr<Mesh> built(const Triangles& triangles) {
  auto mesh = empty_mesh();
  scanmesh::insert_soup(*mesh, view(triangles));
  return mesh;
}

std::unique_ptr<Mesh> inserted(const Triangles& triangles) {
  auto mesh = empty_mesh();
  for (std::size_t i = 0; i < triangles.size(); i += 3) {
    Vec3f corner[3] = {triangles[i], triangles[i + 1], triangles[i + 2]};
    Vec3f normal{0, 0, 0};
    mesh->insert(corner[0], corner[1], corner[2], normal);
  }
  return mesh;
}

void expect_same_faces(Mesh& made, Mesh& wanted) {
  ASSERT_EQ(made.face.get_facenum(), wanted.face.get_facenum());
  EXPECT_EQ(made.face.real_num, wanted.face.real_num);
  EXPECT_EQ(made.edge.get_edgenum(), wanted.edge.get_edgenum());
  ASSERT_EQ(made.vertex.get_vertnum(), wanted.vertex.get_vertnum());
  for (int i = 0; i < wanted.face.get_facenum(); ++i) {
    for (int k = 0; k < 3; ++k) {
      ASSERT_EQ(made.vertex.get_vert_no(made.face[i]->vert[k]),
                wanted.vertex.get_vert_no(wanted.face[i]->vert[k]));
      ASSERT_EQ(made.edge.get_edge_no(made.face[i]->edge[k]),
                wanted.edge.get_edge_no(wanted.face[i]->edge[k]));
    }
  }
}

// A point on a cylinder's rim, far enough from its neighbours not to weld.
Vec3f on_a_spiral(int i) {
  const double angle = 0.01 * i;
  const double radius = 20 + 1e-4 * i;
  return {static_cast<float>(radius * std::cos(angle)),
          static_cast<float>(radius * std::sin(angle)), static_cast<float>(i % 2)};
}

Triangles fan(int faces) {
  Triangles triangles;
  for (int i = 0; i < faces; ++i) {
    triangles.insert(triangles.end(), {{0, 0, 5}, on_a_spiral(i), on_a_spiral(i + 1)});
  }
  return triangles;
}

// Walked to the end for every face, the edges of the hub would take longer than any test may.
TEST(SoupLimits, a_fan_round_one_corner_ends) {
  const auto mesh = built(fan(600000));
  EXPECT_GT(mesh->face.real_num, 32000);
  EXPECT_EQ(mesh->vertex[0]->face_num, mesh->face.real_num);
  EXPECT_TRUE(adjacency_holds(*mesh));
}

TEST(SoupLimits, a_fan_within_the_counters_is_that_of_single_insertions) {
  for (const int faces : {4096, 20000}) {
    const Triangles triangles = fan(faces);
    const auto mesh = built(triangles);
    expect_same_faces(*mesh, *inserted(triangles));
    EXPECT_EQ(mesh->face.real_num, faces);
    EXPECT_TRUE(adjacency_holds(*mesh));
  }
}

TEST(SoupLimits, pages_of_a_book_on_one_edge_are_those_of_single_insertions) {
  Triangles triangles;
  for (int i = 0; i < 20000; ++i) {
    triangles.insert(triangles.end(), {{0, 0, 5}, {0, 0, -5}, on_a_spiral(i)});
  }
  const auto mesh = built(triangles);
  expect_same_faces(*mesh, *inserted(triangles));
  EXPECT_EQ(mesh->face.real_num, 20000);
  EXPECT_TRUE(adjacency_holds(*mesh));
}

// Corners that all want the first of a table's slots.
Triangles corners_that_meet_at_one_slot(int faces) {
  Random random(11);
  Triangles triangles;
  while (triangles.size() < 3 * static_cast<std::size_t>(faces)) {
    const Vec3f p{90 * random.signed_unit(), 90 * random.signed_unit(), 90 * random.signed_unit()};
    if (scanmesh::point_hash(p) >> 54 == 0) triangles.push_back(p);
  }
  return triangles;
}

TEST(SoupLimits, corners_that_meet_at_one_slot_are_given_up) {
  const Triangles triangles = corners_that_meet_at_one_slot(5000);
  for (const int workers : {1, 2, 7}) {
    EXPECT_TRUE(scanmesh::weld_equal_corners(view(triangles), workers).clustered);
  }
  const auto mesh = built(triangles);
  expect_same_faces(*mesh, *inserted(triangles));
  EXPECT_EQ(mesh->face.real_num, 5000);
  EXPECT_TRUE(adjacency_holds(*mesh));
}

TEST(SoupLimits, corners_that_nobody_chose_are_welded) {
  Random random(12);
  Triangles triangles;
  for (int i = 0; i < 300000; ++i) {
    triangles.push_back({random.signed_unit(), random.signed_unit(), random.signed_unit()});
  }
  for (const int workers : {1, 2, 7}) {
    const scanmesh::WeldedSoup welded = scanmesh::weld_equal_corners(view(triangles), workers);
    EXPECT_FALSE(welded.clustered);
    EXPECT_GT(welded.points.size(), 290000U);
  }
}

TEST(SoupLimits, slots_are_numbered_by_31_bits_at_most) {
  EXPECT_EQ(scanmesh::wider_table(16), 18);
  EXPECT_EQ(scanmesh::wider_table(29), 31);
  EXPECT_EQ(scanmesh::wider_table(30), 31);
  EXPECT_THROW(scanmesh::wider_table(31), std::bad_alloc);
}

}  // namespace
