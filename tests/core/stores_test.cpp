#include "scanmesh/stores.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <fstream>
#include <sstream>
#include <vector>

#include "core/adjacency.h"
#include "tests/support/files.h"
#include "tests/support/invariants.h"
#include "tests/support/shapes.h"

namespace {

using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;
using test_support::adjacency_holds;
using test_support::Vec3f;

// Stores filled by hand, without a Mesh around them.
struct Stores {
  Mesh_R::Vertex vertex;
  Mesh_R::Edge edge;
  Mesh_R::Face face;

  Stores() {
    vertex.inalize(100, 10);
    edge.inalize(100, 10);
    face.inalize(&vertex, &edge, 100, 10);
  }
  ~Stores() {
    face.free();
    vertex.free();
    edge.free();
  }
  _vert* point(float x, float y, float z) {
    Vec3f p{x, y, z};
    return vertex.insert_vert(p);
  }
  _edge* between(_vert* a, _vert* b) {
    _edge* found = vertex.find_edge(a, b);
    if (found != nullptr) return found;
    found = edge.insert_edge(a, b);
    vertex.insert_edge(found);
    return found;
  }
  _face* triangle(_vert* a, _vert* b, _vert* c) {
    _edge* const bc = between(b, c);
    _edge* const ac = between(a, c);
    _edge* const ab = between(a, b);
    Vec3f up{0, 0, 1};
    _face* const made = face.insert_face(a, b, c, bc, ac, ab, up);
    vertex.insert_face(made);
    edge.insert_face(made);
    return made;
  }
};

TEST(Records, fields_stand_in_the_order_that_hosts_read) {
  EXPECT_EQ(sizeof(_vert), 72U);
  EXPECT_EQ(offsetof(_vert, vector), 12U);
  EXPECT_EQ(offsetof(_vert, edge), 24U);
  EXPECT_EQ(offsetof(_vert, face), 32U);
  EXPECT_EQ(offsetof(_vert, angle), 40U);
  EXPECT_EQ(offsetof(_vert, index), 44U);
  EXPECT_EQ(offsetof(_vert, order), 48U);
  EXPECT_EQ(offsetof(_vert, tag), 54U);
  EXPECT_EQ(offsetof(_vert, edge_num), 56U);
  EXPECT_EQ(offsetof(_vert, face_cap), 60U);
  EXPECT_EQ(offsetof(_vert, state), 64U);
  EXPECT_EQ(offsetof(_vert, flags), 68U);
  EXPECT_EQ(sizeof(_edge), 32U);
  EXPECT_EQ(offsetof(_edge, face_num), 24U);
  EXPECT_EQ(offsetof(_edge, mark), 30U);
  EXPECT_EQ(sizeof(_face), 64U);
  EXPECT_EQ(offsetof(_face, vector), 48U);
  EXPECT_EQ(offsetof(_face, state), 62U);
}

TEST(Records, a_fresh_vertex_has_the_defaults) {
  Stores s;
  const _vert* const v = s.point(1, 2, 3);
  EXPECT_EQ(v->state, 8);
  EXPECT_EQ(v->order, -1);
  EXPECT_EQ(v->edge_cap, 8);
  EXPECT_EQ(v->face_cap, 8);
  EXPECT_EQ(v->edge_num, 0);
  EXPECT_EQ(v->tag, 0);
  EXPECT_EQ(v->flags, 0);
  EXPECT_FALSE(v->searched);
  EXPECT_FALSE(v->reached);
  EXPECT_EQ(v->vector.x, 0);
  EXPECT_EQ(v->vector.z, 0);
  EXPECT_NE(v->edge, nullptr);
  EXPECT_NE(v->face, nullptr);
}

TEST(Adjacency, a_third_face_moves_the_list_of_an_edge_to_the_heap) {
  Stores s;
  _vert* const a = s.point(0, 0, 0);
  _vert* const b = s.point(1, 0, 0);
  _edge* const e = s.between(a, b);
  for (int i = 0; i < 3; ++i) {
    s.triangle(a, b, s.point(0, 1, static_cast<float>(i)));
    EXPECT_EQ(e->face_num, i + 1);
    EXPECT_EQ(e->face_cap, i < 2 ? 2 : 4);
  }
}

TEST(Adjacency, a_ninth_edge_doubles_the_list_of_a_vertex) {
  Stores s;
  _vert* const hub = s.point(0, 0, 0);
  for (int i = 0; i < 9; ++i) {
    s.between(hub, s.point(1, static_cast<float>(i), 0));
    EXPECT_EQ(hub->edge_cap, i < 8 ? 8 : 16);
  }
  EXPECT_EQ(hub->edge_num, 9);
}

TEST(Adjacency, lists_grow_by_the_factor_of_the_store_truncated) {
  Stores s;
  s.vertex.growth = 1.6;
  _vert* const hub = s.point(0, 0, 0);
  for (int i = 0; i < 13; ++i) s.between(hub, s.point(1, static_cast<float>(i), 0));
  // 8 * 1.6 = 12.8 -> 12, 12 * 1.6 = 19.2 -> 19
  EXPECT_EQ(hub->edge_cap, 19);
}

TEST(Adjacency, a_list_never_outgrows_its_16_bit_counters) {
  EXPECT_EQ(scanmesh::grown_capacity(16384, 2.0), 32767);
  EXPECT_EQ(scanmesh::grown_capacity(8, 1.0), 9);
  Stores s;
  _vert* const hub = s.point(0, 0, 0);
  _edge* const e = s.edge.insert_edge(hub, s.point(1, 0, 0));
  for (int i = 0; i < 40000; ++i) s.vertex.insert_edge(hub, e);
  EXPECT_EQ(hub->edge_num, 32767);
}

TEST(Adjacency, appending_to_a_deleted_record_does_nothing) {
  Stores s;
  _vert* const a = s.point(0, 0, 0);
  _vert* const b = s.point(1, 0, 0);
  _vert* const c = s.point(0, 1, 0);
  _face* const f = s.triangle(a, b, c);
  _edge* const e = s.between(a, b);
  s.face.dele_face(f);
  ASSERT_EQ(a->face, nullptr);
  s.vertex.insert_face(a, f);
  s.vertex.insert_edge(a, e);
  s.edge.insert_face(e, f);
  EXPECT_EQ(a->face_num, 0);
  EXPECT_EQ(a->edge_num, 0);
  EXPECT_EQ(e->face_num, 0);
}

TEST(Adjacency, null_arguments_are_tolerated) {
  Stores s;
  _vert* const a = s.point(0, 0, 0);
  EXPECT_EQ(s.edge.insert_edge(a, nullptr), nullptr);
  EXPECT_EQ(s.vertex.find_edge(nullptr, a), nullptr);
  s.vertex.insert_edge(nullptr, nullptr);
  s.edge.insert_face(nullptr, nullptr);
  s.edge.dele_edge(nullptr, nullptr);
  s.edge.dele_vert(nullptr, nullptr);
  s.edge.delete_edge(nullptr, nullptr);
  s.edge.recover_mem(nullptr);
  s.vertex.dele_vert(nullptr, nullptr);
  s.vertex.R_cal_vector(nullptr);
  s.face.dele_face(nullptr);
  s.face.refresh_vector(nullptr);
  EXPECT_EQ(a->edge_num, 0);
}

TEST(Adjacency, a_face_with_a_missing_edge_enters_none) {
  Stores s;
  _vert* const v[3] = {s.point(0, 0, 0), s.point(1, 0, 0), s.point(0, 1, 0)};
  _edge* const e[3] = {s.between(v[1], v[2]), nullptr, s.between(v[0], v[1])};
  Vec3f up{0, 0, 1};
  _face* const f = s.face.insert_face(v, e, up);
  s.edge.insert_face(f);
  EXPECT_EQ(e[0]->face_num, 0);
  EXPECT_EQ(e[2]->face_num, 0);
  EXPECT_EQ(s.face.real_num, 1);
}

TEST(FindFace, answers_with_the_probe_whatever_the_order) {
  Stores s;
  _vert* const a = s.point(0, 0, 0);
  _vert* const b = s.point(1, 0, 0);
  _vert* const c = s.point(0, 1, 0);
  s.triangle(a, b, c);
  _face probe;
  probe.vert[0] = c;
  probe.vert[1] = a;
  probe.vert[2] = b;
  EXPECT_EQ(s.edge.find_face(s.between(a, b), &probe), &probe);
  probe.vert[0] = s.point(5, 5, 5);
  EXPECT_EQ(s.edge.find_face(s.between(a, b), &probe), nullptr);
}

TEST(Deletion, the_last_face_of_an_edge_deletes_the_edge) {
  Stores s;
  _vert* const a = s.point(0, 0, 0);
  _vert* const b = s.point(1, 0, 0);
  _face* const upper = s.triangle(a, b, s.point(0, 1, 0));
  _face* const lower = s.triangle(b, a, s.point(0, -1, 0));
  s.triangle(a, s.point(-1, 1, 0), s.point(-1, -1, 0));
  s.triangle(b, s.point(2, 1, 0), s.point(2, -1, 0));
  _edge* const shared = s.between(a, b);
  s.face.dele_face(upper);
  EXPECT_EQ(shared->state, 8);
  EXPECT_EQ(shared->face_num, 1);
  s.face.dele_face(lower);
  EXPECT_EQ(shared->state, 3);
  EXPECT_EQ(shared->face, nullptr);
  EXPECT_EQ(shared->vert[0], a);
  EXPECT_EQ(s.vertex.find_edge(a, b), nullptr);
  EXPECT_EQ(s.vertex.find_edge(b, a), nullptr);
  EXPECT_EQ(s.face.real_num, 2);
}

TEST(Deletion, the_last_face_of_a_vertex_deletes_the_vertex) {
  Stores s;
  _vert* const a = s.point(0, 0, 0);
  _face* const f = s.triangle(a, s.point(1, 0, 0), s.point(0, 1, 0));
  s.face.dele_face(f);
  s.face.dele_face(f);
  EXPECT_EQ(a->state, 3);
  EXPECT_EQ(a->edge, nullptr);
  EXPECT_EQ(a->face, nullptr);
  EXPECT_EQ(a->edge_num, 0);
  EXPECT_EQ(s.face.real_num, 0);
}

TEST(Deletion, the_nonmanifold_form_leaves_vertices_with_empty_lists) {
  Stores s;
  _vert* const a = s.point(0, 0, 0);
  _face* const f = s.triangle(a, s.point(1, 0, 0), s.point(0, 1, 0));
  s.face.dele_face_nonmanifoldvert(f);
  EXPECT_EQ(a->state, 8);
  EXPECT_EQ(a->face_num, 0);
  EXPECT_EQ(a->edge_num, 0);
  EXPECT_NE(a->face, nullptr);
  EXPECT_EQ(f->state, 3);
}

TEST(Deletion, removing_every_entry_steps_on_after_each_exchange) {
  Stores s;
  _vert* const a = s.point(0, 0, 0);
  _face* const f = s.triangle(a, s.point(1, 0, 0), s.point(0, 1, 0));
  s.vertex.insert_face(a, f);
  s.vertex.insert_face(a, f);
  ASSERT_EQ(a->face_num, 3);
  // The exchange brings the last entry to the place just left behind, so one of three stays.
  s.vertex.dele_vert_nonmanifold(a, f);
  EXPECT_EQ(a->face_num, 1);
}

TEST(Deletion, removal_moves_the_last_entry_into_the_place) {
  Stores s;
  _vert* const hub = s.point(0, 0, 0);
  std::vector<_face*> faces;
  for (int i = 0; i < 4; ++i) {
    const float x = static_cast<float>(i);
    faces.push_back(s.triangle(hub, s.point(x, 1, 0), s.point(x, 2, 0)));
  }
  s.face.dele_face(faces[1]);
  ASSERT_EQ(hub->face_num, 3);
  EXPECT_EQ(hub->face[0], faces[0]);
  EXPECT_EQ(hub->face[1], faces[3]);
  EXPECT_EQ(hub->face[2], faces[2]);
}

TEST(Deletion, delete_edge_takes_all_its_faces) {
  Stores s;
  _vert* const a = s.point(0, 0, 0);
  _vert* const b = s.point(1, 0, 0);
  for (int i = 0; i < 3; ++i) s.triangle(a, b, s.point(0, 1, static_cast<float>(i)));
  _edge* const e = s.between(a, b);
  s.edge.delete_edge(e, &s.face);
  EXPECT_EQ(e->state, 3);
  EXPECT_EQ(s.face.real_num, 0);
  EXPECT_EQ(a->state, 3);
}

TEST(Deletion, recover_mem_drops_lists_and_marks) {
  Stores s;
  _vert* const hub = s.point(0, 0, 0);
  for (int i = 0; i < 9; ++i) s.between(hub, s.point(1, static_cast<float>(i), 0));
  _edge* const e = hub->edge[0];
  s.vertex.recover_mem(hub);
  EXPECT_EQ(hub->state, 3);
  EXPECT_EQ(hub->edge, nullptr);
  EXPECT_EQ(hub->edge_num, 0);
  s.edge.recover_mem(e);
  EXPECT_EQ(e->state, 3);
  EXPECT_EQ(e->face, nullptr);
  _vert* const other = s.point(9, 9, 9);
  s.vertex.dele_vert(other);
  EXPECT_EQ(other->state, 3);
  EXPECT_NE(other->edge, nullptr);
}

TEST(RecordNumber, is_found_by_block_and_0_for_strangers) {
  Stores s;
  Stores other;
  std::vector<_vert*> verts;
  for (int i = 0; i < 250; ++i) verts.push_back(s.point(static_cast<float>(i), 0, 0));
  EXPECT_EQ(s.vertex.get_vert_no(verts[0]), 0);
  EXPECT_EQ(s.vertex.get_vert_no(verts[249]), 249);
  EXPECT_EQ(s.vertex.get_vert_no(nullptr), 0);
  EXPECT_EQ(s.vertex.get_vert_no(other.point(0, 0, 0)), 0);
  auto* const inside =
      reinterpret_cast<_vert*>(reinterpret_cast<char*>(verts[7]) + offsetof(_vert, vector));
  EXPECT_EQ(s.vertex.get_vert_no(inside), 0);
}

TEST(VertexNormal, is_the_plain_mean_of_the_faces) {
  Stores s;
  _vert* const hub = s.point(0, 0, 0);
  _face* const f = s.triangle(hub, s.point(1, 0, 0), s.point(0, 1, 0));
  _face* const g = s.triangle(hub, s.point(0, 50, 0), s.point(-1, 0, 0));
  f->vector = {1, 0, 0};
  g->vector = {0, 1, 0};
  s.vertex.R_cal_vector(hub);
  EXPECT_FLOAT_EQ(hub->vector.x, std::sqrt(0.5F));
  EXPECT_FLOAT_EQ(hub->vector.y, std::sqrt(0.5F));
  EXPECT_EQ(hub->vector.z, 0);
}

TEST(VertexNormal, takes_the_first_face_when_they_cancel) {
  Stores s;
  _vert* const hub = s.point(0, 0, 0);
  s.triangle(hub, s.point(1, 0, 0), s.point(0, 1, 0))->vector = {0, 0, 1};
  s.triangle(hub, s.point(0, 2, 0), s.point(-1, 0, 0))->vector = {0, 0, -1};
  s.vertex.R_cal_vector(hub);
  EXPECT_EQ(hub->vector.z, 1);
}

TEST(VertexNormal, stays_zero_without_faces_and_on_deleted_vertices) {
  Stores s;
  _vert* const lone = s.point(0, 0, 0);
  _vert* const gone = s.point(1, 0, 0);
  lone->vector = {1, 1, 1};
  gone->vector = {1, 1, 1};
  gone->state = 3;
  s.vertex.R_cal_vector();
  EXPECT_EQ(lone->vector.x, 0);
  EXPECT_EQ(gone->vector.x, 1);
}

TEST(FaceNormal, turns_to_the_side_of_its_vertices_by_exchanging_first_and_third) {
  Stores s;
  _vert* const a = s.point(0, 0, 0);
  _vert* const b = s.point(1, 0, 0);
  _vert* const c = s.point(0, 1, 0);
  _face* const f = s.triangle(a, b, c);
  const std::vector<_edge*> edges(f->edge, f->edge + 3);
  for (_vert* v : {a, b, c}) v->vector = {0, 0, -1};
  s.face.refresh_vector(f);
  EXPECT_EQ(f->vert[0], c);
  EXPECT_EQ(f->vert[1], b);
  EXPECT_EQ(f->vert[2], a);
  EXPECT_EQ(f->vector.z, -1);
  EXPECT_EQ(std::vector<_edge*>(f->edge, f->edge + 3), edges);
}

TEST(FaceNormal, of_a_zero_area_face_is_that_of_its_second_corner) {
  Stores s;
  _vert* const b = s.point(1, 0, 0);
  _face* const f = s.triangle(s.point(0, 0, 0), b, s.point(2, 0, 0));
  b->vector = {0, 1, 0};
  s.face.refresh_vector(f);
  EXPECT_EQ(f->vector.y, 1);
}

TEST(CheckVector, a_turn_brings_a_second_look_unless_the_common_corner_is_deleted) {
  // `earlier` stands right at the first look. The turn of `later` swings the normal of their common
  // corner, so that the second look turns `earlier` too; a deleted corner keeps its normal.
  for (const bool deleted : {false, true}) {
    Stores s;
    _vert* const a = s.point(0, 0, 0);
    _face* const earlier = s.triangle(a, s.point(1, 0, 0), s.point(0, 1, 0));
    _face* const later = s.triangle(a, s.point(-1, 0, 0), s.point(0, -1, 0));
    for (int i = 0; i < 3; ++i) {
      earlier->vert[i]->vector = {0, 0, 1};
      later->vert[i]->vector = {0, 0, i == 0 ? 1.0F : -5.0F};
    }
    earlier->vector = {0.6F, 0, 0.8F};
    later->vector = {0, 0, 1};
    earlier->vert[1]->vector = {0, 0, -0.4F};
    earlier->vert[2]->vector = {0, 0, -0.4F};
    if (deleted) s.vertex.dele_vert(a);
    s.face.check_vector();
    EXPECT_EQ(later->vector.z, -1);
    EXPECT_EQ(earlier->vector.z, deleted ? 0.8F : -0.8F);
    EXPECT_EQ(earlier->state, 8);
  }
}

TEST(VertexText, is_one_line_per_live_vertex_in_any_locale) {
  Stores s;
  s.point(1.5F, -2, 0.1F)->vector = {0, 0, 1};
  s.point(3, 3, 3)->state = 3;
  s.point(1e10F, 0, 0);
  const std::string path = test_support::temp_path("vertices.asc");
  s.vertex.output(std::fopen(path.c_str(), "w"));
  std::ifstream file(path);
  std::stringstream text;
  text << file.rdbuf();
  EXPECT_EQ(text.str(),
            "1.500000 -2.000000 0.100000 0.000000 0.000000 1.000000\n"
            "10000000000.000000 0.000000 0.000000 0.000000 0.000000 0.000000\n");
}

}  // namespace
