// Compaction among records that name others which are gone, or none at all.
#include <gtest/gtest.h>

#include "core/compaction.h"
#include "tests/support/invariants.h"
#include "tests/support/shapes.h"

namespace {

using namespace test_support;
using Mesh_M::Mesh;
using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;

// Stores of small blocks, so that a compaction gives some of them back.
struct SmallBlocks {
  static constexpr int kBlock = 8;
  Mesh mesh;

  SmallBlocks() {
    mesh.vertex.inalize(kBlock, 100);
    mesh.edge.inalize(kBlock, 100);
    mesh.face.inalize(&mesh.vertex, &mesh.edge, kBlock, 100);
  }
  _vert* add(float x, float y) {
    Vec3f p{x, y, 0};
    return mesh.vertex.insert_vert(p);
  }
  // A triangle of its own.
  _face* triangle(float x) {
    Vec3f normal{0, 0, 1};
    _vert* const a = add(x, 0);
    _vert* const b = add(x + 1, 0);
    return mesh.insert_face(a, b, add(x, 1), normal);
  }
};

TEST(CompactionPointers, a_face_without_edges_moves_with_its_corners) {
  SmallBlocks s;
  _face* const gone = s.triangle(0);
  Vec3f normal{0, 0, 1};
  _face* const bare = s.mesh.face.insert_face(s.add(5, 0), s.add(6, 0), s.add(5, 1), nullptr,
                                              nullptr, nullptr, normal);
  s.mesh.vertex.insert_face(bare);
  s.mesh.face.dele_face(gone);
  s.mesh.sort_out_mem();
  ASSERT_EQ(s.mesh.face.get_facenum(), 1);
  ASSERT_EQ(s.mesh.vertex.get_vertnum(), 3);
  const _face& moved = *s.mesh.face[0];
  EXPECT_EQ(moved.edge[0], nullptr);
  for (const _vert* corner : moved.vert) {
    EXPECT_GE(corner->point.x, 5);
    ASSERT_EQ(corner->face_num, 1);
    EXPECT_EQ(corner->face[0], &moved);
  }
}

TEST(CompactionPointers, a_face_without_corners_moves) {
  SmallBlocks s;
  _face* const gone = s.triangle(0);
  Vec3f normal{0, 0, 1};
  s.mesh.face.insert_face(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, normal);
  s.mesh.face.dele_face(gone);
  s.mesh.sort_out_mem();
  ASSERT_EQ(s.mesh.face.get_facenum(), 1);
  EXPECT_EQ(s.mesh.face[0]->vert[0], nullptr);
}

// Nobody lists the last face and the last edge, so that they aren't told where their corners go,
// and the corners' blocks are given back.
TEST(CompactionPointers, what_was_given_back_is_not_looked_at) {
  SmallBlocks s;
  for (int i = 0; i < 20; ++i) s.triangle(static_cast<float>(3 * i));
  _vert* const corner[3] = {s.add(100, 0), s.add(101, 0), s.add(100, 1)};
  Vec3f normal{0, 0, 1};
  _edge* const edge = s.mesh.edge.insert_edge(corner[0], corner[1]);
  s.mesh.face.insert_face(corner[0], corner[1], corner[2], edge, edge, edge, normal);
  for (int i = 0; i < 10; ++i) s.mesh.face.dele_face(s.mesh.face[i]);
  for (_vert* vert : corner) s.mesh.vertex.dele_vert(vert);
  for (int round = 0; round < 2; ++round) {
    s.mesh.sort_out_mem();
    EXPECT_EQ(s.mesh.vertex.get_vertnum(), 30);
    EXPECT_EQ(s.mesh.edge.get_edgenum(), 31);
    EXPECT_EQ(s.mesh.face.get_facenum(), 11);
    // Something to move in the second round.
    s.mesh.face.dele_face(s.mesh.face[1]);
    s.triangle(200);
  }
}

TEST(CompactionPointers, edges_without_a_face_keep_their_ends) {
  SmallBlocks s;
  for (int i = 0; i < 20; ++i) s.triangle(static_cast<float>(3 * i));
  // From the last triangle to the last but one, as a refused triangle leaves it.
  _vert* const a = s.mesh.face[19]->vert[0];
  _vert* const b = s.mesh.face[18]->vert[0];
  s.mesh.vertex.insert_edge(s.mesh.edge.insert_edge(a, b));
  for (int i = 0; i < 10; ++i) s.mesh.face.dele_face(s.mesh.face[i]);
  s.mesh.sort_out_mem();
  EXPECT_EQ(s.mesh.edge.get_edgenum(), 31);
  EXPECT_TRUE(adjacency_holds(s.mesh));
}

TEST(CompactionPointers, memory_of_a_store_ends_with_its_blocks) {
  MemS::MemAllo<int> records;
  EXPECT_FALSE(scanmesh::RecordMemory<int>(records).holds(nullptr));
  records.inalize(4, 2);
  for (int i = 0; i < 9; ++i) records.allocate_mem() = i;
  const scanmesh::RecordMemory<int> memory(records);
  for (int i = 0; i < 9; ++i) EXPECT_TRUE(memory.holds(&records[i]));
  for (int32_t i = 0; i < 3; ++i) {
    EXPECT_FALSE(memory.holds(records.block[i] - 1));
    EXPECT_TRUE(memory.holds(records.block[i] + 3));
    EXPECT_FALSE(memory.holds(records.block[i] + 4));
  }
  int elsewhere = 0;
  EXPECT_FALSE(memory.holds(&elsewhere));
  EXPECT_FALSE(memory.holds(nullptr));
  records.free();
}

// The walk back over deleted records ends below the place that it fills: what was the last live
// record lies beyond the count, and is handed out again.
TEST(CompactionPointers, a_vertex_that_is_appended_again_has_empty_lists) {
  SmallBlocks s;
  s.add(0, 0);
  _face* const kept = s.triangle(1);
  for (int i = 0; i < 3; ++i) s.mesh.vertex.dele_vert(s.add(9, 0));
  _vert* const last = kept->vert[2];
  ASSERT_EQ(s.mesh.vertex.get_vert_no(last), 3);
  s.mesh.vertex.sort_out_mem();
  ASSERT_EQ(s.mesh.vertex.get_vertnum(), 3);
  ASSERT_GT(last->edge_num, 0);
  _vert* const again = s.add(7, 7);
  ASSERT_EQ(again, last);
  EXPECT_EQ(again->edge_num, 0);
  EXPECT_EQ(again->face_num, 0);
  EXPECT_EQ(again->point.x, 7);
}

TEST(CompactionPointers, an_edge_that_is_appended_again_has_an_empty_list) {
  SmallBlocks s;
  _face* const kept = s.triangle(0);
  _edge* const last = kept->edge[2];
  _edge* const behind = s.mesh.edge.insert_edge(kept->vert[0], kept->vert[1]);
  s.mesh.edge.recover_mem(behind);
  s.mesh.edge.sort_out_mem();
  ASSERT_EQ(s.mesh.edge.get_edgenum(), 2);
  ASSERT_EQ(last->face_num, 1);
  _edge* const again = s.mesh.edge.insert_edge(kept->vert[0], kept->vert[1]);
  ASSERT_EQ(again, last);
  EXPECT_EQ(again->face_num, 0);
}

}  // namespace
