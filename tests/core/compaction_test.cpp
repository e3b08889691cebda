#include <gtest/gtest.h>

#include <set>
#include <vector>

#include "core/compaction.h"
#include "tests/support/invariants.h"
#include "tests/support/shapes.h"

namespace {

using Mesh_R::_face;
using Mesh_R::_vert;
using test_support::adjacency_holds;

std::multiset<std::vector<float>> triangles_of(Mesh_M::Mesh& mesh) {
  std::multiset<std::vector<float>> all;
  for (int i = 0; i < mesh.face.get_facenum(); ++i) {
    const _face& f = *mesh.face[i];
    if (f.state == 3) continue;
    std::vector<float> corners;
    for (const _vert* v : f.vert) {
      corners.insert(corners.end(), {v->point.x, v->point.y, v->point.z});
    }
    all.insert(corners);
  }
  return all;
}

TEST(Compaction, keeps_the_live_surface_and_drops_the_rest) {
  auto mesh = test_support::irregular_patch(20, 3).mesh();
  test_support::Random random(4);
  for (int i = 0; i < 200; ++i) {
    mesh->face.dele_face(mesh->face[random.below(mesh->face.get_facenum())]);
  }
  const auto before = triangles_of(*mesh);
  mesh->sort_out_mem();
  EXPECT_EQ(triangles_of(*mesh), before);
  EXPECT_EQ(mesh->face.get_facenum(), static_cast<int>(before.size()));
  EXPECT_EQ(mesh->face.real_num, static_cast<int>(before.size()));
  EXPECT_TRUE(adjacency_holds(*mesh));
}

TEST(Compaction, of_a_mesh_without_deleted_records_changes_nothing) {
  auto mesh = test_support::tetrahedron().mesh();
  _vert* const v = mesh->vertex[2];
  mesh->sort_out_mem();
  EXPECT_EQ(mesh->vertex[2], v);
  EXPECT_EQ(mesh->vertex.get_vertnum(), 4);
}

TEST(Compaction, of_deleted_records_alone_leaves_none) {
  auto mesh = test_support::single_triangle().mesh();
  mesh->face.dele_face(mesh->face[0]);
  mesh->sort_out_mem();
  EXPECT_EQ(mesh->vertex.get_vertnum(), 0);
  EXPECT_EQ(mesh->edge.get_edgenum(), 0);
  EXPECT_EQ(mesh->face.get_facenum(), 0);
}

TEST(Compaction, moves_a_record_with_its_heap_lists) {
  test_support::Soup fan;
  fan.points.push_back({-5, -5, 0});  // deleted, so that the hub moves into its place
  for (int i = 0; i < 12; ++i) {
    fan.points.push_back(
        {std::cos(0.5F * static_cast<float>(i)), std::sin(0.5F * static_cast<float>(i)), 0});
  }
  fan.points.push_back({0, 0, 0});
  for (int i = 1; i < 12; ++i) fan.triangles.push_back({13, i, i + 1});
  auto mesh = fan.mesh();
  mesh->vertex[0]->state = 3;
  ASSERT_GT(mesh->vertex[13]->face_cap, 8);
  mesh->sort_out_mem();
  EXPECT_EQ(mesh->vertex[0]->face_num, 11);
  EXPECT_EQ(mesh->vertex[0]->point.x, 0);
  EXPECT_TRUE(adjacency_holds(*mesh));
}

// Blocks of two records, so that the tail walk crosses blocks.
struct SmallStore {
  MemS::MemAllo<_vert> records;
  SmallStore() { records.inalize(2, 4); }
  ~SmallStore() { records.free(); }
  void add(bool live, float x) {
    _vert& v = records.allocate_mem();
    v.state = live ? 8 : 3;
    v.point.x = x;
  }
  void compact() {
    scanmesh::compact(
        records, [](_vert*) {}, [](_vert*, _vert*) {});
  }
};

TEST(Compaction, a_live_record_below_an_all_deleted_tail_ends_up_beyond_the_count) {
  SmallStore s;
  s.add(true, 1);
  s.add(true, 2);
  s.add(false, 3);
  s.add(false, 4);
  _vert* const place = &s.records[2];
  s.compact();
  // The last live record went up into the place at 2, and the count ended below it.
  EXPECT_EQ(s.records.size(), 1);
  EXPECT_EQ(place->point.x, 2);
}

TEST(Compaction, the_block_of_the_place_survives_a_tail_walk_that_leaves_it) {
  SmallStore s;
  s.add(true, 1);
  s.add(true, 2);
  s.add(false, 3);
  _vert* const place = &s.records[2];
  s.compact();
  EXPECT_EQ(place->point.x, 2);
  EXPECT_EQ(s.records.size(), 1);
}

TEST(Compaction, a_store_may_grow_again_afterwards) {
  SmallStore s;
  for (int i = 0; i < 7; ++i) s.add(i % 2 == 0, static_cast<float>(i));
  s.compact();
  EXPECT_EQ(s.records.size(), 4);
  for (int i = 0; i < 5; ++i) s.add(true, 10.0F);
  EXPECT_EQ(s.records.size(), 9);
  EXPECT_EQ(s.records[8].point.x, 10.0F);
}

}  // namespace
