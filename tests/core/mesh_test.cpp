#include "scanmesh/mesh.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

#include "tests/support/invariants.h"
#include "tests/support/shapes.h"

namespace {

using Mesh_R::_face;
using Mesh_R::_vert;
using test_support::adjacency_holds;
using test_support::Vec3f;

template <typename T>
std::vector<T> taken(T* values, int n) {
  std::vector<T> copy(values, values + n);
  delete[] values;
  return copy;
}

int insert(Mesh_M::Mesh& mesh, Vec3f a, Vec3f b, Vec3f c) {
  Vec3f normal{9, 9, 9};
  return mesh.insert(a, b, c, normal);
}

std::unique_ptr<Mesh_M::Mesh> empty_mesh() {
  auto mesh = std::make_unique<Mesh_M::Mesh>();
  Vec3f center{0, 0, 0};
  mesh->inalize_oct(center, 100);
  return mesh;
}

// Not under a sanitizer, whose memory isn't that of the mesh.
[[maybe_unused]] long resident_bytes() {
  long pages = 0;
  long resident = 0;
  FILE* const file = std::fopen("/proc/self/statm", "r");
  if (file == nullptr || std::fscanf(file, "%ld %ld", &pages, &resident) != 2) resident = 0;
  if (file != nullptr) std::fclose(file);
  return resident * sysconf(_SC_PAGESIZE);
}

TEST(MeshLifeCycle, a_mesh_that_was_never_made_ready_stands_orientation) {
  Mesh_M::Mesh mesh;
  mesh.inalize_mesh();
  mesh.inlin_inalize_mesh();
  mesh.build_hole();
  EXPECT_EQ(mesh.get_hole_num(), 0);
  EXPECT_EQ(mesh.face.get_real_facenum(), 0);
}

TEST(Mesh, inalize_sets_the_block_sizes) {
  Mesh_M::Mesh mesh;
  mesh.inalize();
  EXPECT_EQ(mesh.vertex.records.block_size, 4000000);
  EXPECT_EQ(mesh.vertex.edge_mem.block_size, 4000000);
  EXPECT_EQ(mesh.edge.records.block_size, 4000000);
  EXPECT_EQ(mesh.face.records.block_size, 100000);
  EXPECT_EQ(mesh.face.records.block_capacity, 1000);
  EXPECT_EQ(mesh.face.vert_store, &mesh.vertex);
  EXPECT_EQ(mesh.face.edge_store, &mesh.edge);
  EXPECT_EQ(mesh.hole.face_store, &mesh.face);
}

TEST(Mesh, the_small_forms_take_small_blocks) {
  Mesh_M::Mesh sub;
  sub.submeshinalize();
  EXPECT_EQ(sub.vertex.records.block_size, 1000);
  EXPECT_EQ(sub.edge.records.block_size, 1000);
  Mesh_M::Mesh patch;
  Vec3f center{1, 2, 3};
  patch.inalize_oct_hole(center, 5);
  EXPECT_EQ(patch.vertex.records.block_size, 40000);
  EXPECT_EQ(patch.oct.root->half, 5);
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST(Mesh, a_fresh_one_with_a_triangle_stays_below_8_mebibytes) {
  const long before = resident_bytes();
  Mesh_M::Mesh mesh;
  mesh.inalize();
  Vec3f p[3] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
  Vec3f up{0, 0, 1};
  mesh.insert_face(mesh.vertex.insert_vert(p[0]), mesh.vertex.insert_vert(p[1]),
                   mesh.vertex.insert_vert(p[2]), up);
  EXPECT_LT(resident_bytes() - before, 8L << 20);
}
#endif

TEST(Insert, refuses_corners_that_weld_on_all_three_axes) {
  auto mesh = empty_mesh();
  EXPECT_EQ(insert(*mesh, {0, 0, 0}, {0.0004F, 0.0004F, 0.0004F}, {0, 1, 0}), -1);
  EXPECT_EQ(mesh->vertex.get_vertnum(), 0);
  EXPECT_EQ(insert(*mesh, {0, 0, 0}, {0.0005F, 0.0004F, 0.0004F}, {0, 1, 0}), 0);
}

TEST(Insert, welds_two_triangles_into_4_vertices_and_5_edges) {
  auto mesh = empty_mesh();
  EXPECT_EQ(insert(*mesh, {1, 1, 1}, {2, 1, 1}, {1, 2, 1}), 0);
  EXPECT_EQ(insert(*mesh, {2.0003F, 2, 1}, {1.0002F, 2.0001F, 1}, {2.0001F, 1.0002F, 1}), 1);
  EXPECT_EQ(mesh->vertex.get_vertnum(), 4);
  EXPECT_EQ(mesh->edge.get_edgenum(), 5);
  EXPECT_TRUE(adjacency_holds(*mesh));
}

TEST(Insert, returns_0_for_a_duplicate_and_still_writes_the_normal) {
  auto mesh = empty_mesh();
  insert(*mesh, {5, 5, 5}, {6, 5, 5}, {5, 6, 5});
  insert(*mesh, {0, 0, 0}, {1, 0, 0}, {0, 1, 0});
  Vec3f a{0, 0, 0};
  Vec3f b{1, 0, 0};
  Vec3f c{0, 1, 0};
  Vec3f normal{9, 9, 9};
  EXPECT_EQ(mesh->insert(b, a, c, normal), 0);
  EXPECT_EQ(normal.z, -1);
  EXPECT_EQ(mesh->face.real_num, 2);
  EXPECT_EQ(mesh->insert(a, b, c, normal, 6), 0);
  EXPECT_EQ(mesh->face.real_num, 2);
}

TEST(Insert, replaces_the_normal_by_that_of_the_corners) {
  auto mesh = empty_mesh();
  Vec3f a{0, 0, 0};
  Vec3f b{4, 0, 0};
  Vec3f c{0, 4, 0};
  Vec3f normal{1, 0, 0};
  mesh->insert(a, b, c, normal);
  EXPECT_EQ(normal.x, 0);
  EXPECT_EQ(normal.z, 1);
  EXPECT_EQ(mesh->face[0]->vector.z, 1);
}

TEST(Insert, gives_a_needle_without_area_the_normal_0_0_1) {
  auto mesh = empty_mesh();
  Vec3f a{0, 0, 0};
  Vec3f b{1, 0, 0};
  Vec3f c{2, 0, 0};
  Vec3f normal{5, 5, 5};
  EXPECT_EQ(mesh->insert(a, b, c, normal), 0);
  EXPECT_EQ(normal.x, 0);
  EXPECT_EQ(normal.y, 0);
  EXPECT_EQ(normal.z, 1);
}

TEST(Insert, refuses_what_overflows_or_is_not_finite) {
  auto mesh = empty_mesh();
  EXPECT_EQ(insert(*mesh, {3e38F, 0, 0}, {0, 3e38F, 0}, {0, 0, 3e38F}), -1);
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(insert(*mesh, {nan, 0, 0}, {1, 0, 0}, {0, 1, 0}), -1);
  EXPECT_EQ(mesh->vertex.get_vertnum(), 0);
}

TEST(Insert, tags_face_and_corners_by_kind_6_or_fine) {
  auto mesh = empty_mesh();
  Vec3f p[6] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {5, 0, 0}, {6, 0, 0}, {5, 1, 0}};
  Vec3f normal{0, 0, 0};
  EXPECT_EQ(mesh->insert(p[0], p[1], p[2], normal, 6), 0);
  EXPECT_EQ(mesh->insert(p[3], p[4], p[5], normal, true), 1);
  EXPECT_EQ(mesh->face[0]->tag, 0x40);
  EXPECT_EQ(mesh->vertex[2]->tag, 0x40);
  EXPECT_EQ(mesh->face[1]->tag, 0x20);
  EXPECT_EQ(mesh->vertex[5]->tag, 0x20);
  Vec3f q[3] = {{0, 8, 0}, {1, 8, 0}, {0, 9, 0}};
  EXPECT_EQ(mesh->insert(q[0], q[1], q[2], normal, 5), 2);
  EXPECT_EQ(mesh->insert(q[0], q[1], p[0], normal, false), 3);
  EXPECT_EQ(mesh->face[2]->tag, 0);
  EXPECT_EQ(mesh->face[3]->tag, 0);
}

TEST(Insert, after_the_octree_was_dropped_is_refused) {
  auto mesh = empty_mesh();
  insert(*mesh, {0, 0, 0}, {1, 0, 0}, {0, 1, 0});
  mesh->inalize_mesh();
  EXPECT_EQ(insert(*mesh, {0, 0, 5}, {1, 0, 5}, {0, 1, 5}), -1);
}

TEST(Insert, after_inlin_inalize_mesh_goes_on_welding) {
  auto mesh = empty_mesh();
  insert(*mesh, {0, 0, 0}, {1, 0, 0}, {0, 1, 0});
  mesh->inlin_inalize_mesh();
  EXPECT_EQ(insert(*mesh, {1, 1, 0}, {0, 1, 0}, {1, 0, 0}), 1);
  EXPECT_EQ(mesh->vertex.get_vertnum(), 4);
}

TEST(InsertFace, puts_each_edge_opposite_its_vertex_in_the_order_bc_ac_ab) {
  auto mesh = empty_mesh();
  Vec3f p[3] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
  Vec3f up{0, 0, 1};
  _vert* const a = mesh->vertex.insert_vert(p[0]);
  _vert* const b = mesh->vertex.insert_vert(p[1]);
  _vert* const c = mesh->vertex.insert_vert(p[2]);
  a->state = 3;
  const _face* const f = mesh->insert_face(a, b, c, up);
  EXPECT_EQ(a->state, 8);
  EXPECT_EQ(f->edge[0], mesh->edge[0]);
  EXPECT_EQ(f->edge[0], mesh->vertex.find_edge(b, c));
  EXPECT_EQ(f->edge[1], mesh->vertex.find_edge(a, c));
  EXPECT_EQ(f->edge[2], mesh->vertex.find_edge(a, b));
  EXPECT_EQ(f->edge[0]->vert[0], b);
  EXPECT_EQ(mesh->insert_face(c, b, a, up), nullptr);
}

TEST(InsertFace, the_second_form_clears_the_mark_of_new_edges_only) {
  auto mesh = empty_mesh();
  Vec3f p[4] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}};
  Vec3f up{0, 0, 1};
  _vert* v[4];
  for (int i = 0; i < 4; ++i) v[i] = mesh->vertex.insert_vert(p[i]);
  mesh->insert_face(v[0], v[1], v[2], up);
  mesh->vertex.find_edge(v[1], v[2])->mark = 5;
  mesh->insert_face2(v[1], v[3], v[2], up);
  EXPECT_EQ(mesh->vertex.find_edge(v[1], v[2])->mark, 5);
  EXPECT_EQ(mesh->vertex.find_edge(v[1], v[3])->mark, 0);
}

TEST(InsertFace, refuses_a_vertex_whose_lists_are_full) {
  auto mesh = empty_mesh();
  Vec3f up{0, 0, 1};
  Vec3f hub_point{0, 0, 0};
  _vert* const hub = mesh->vertex.insert_vert(hub_point);
  _vert* last = nullptr;
  int made = 0;
  for (int i = 0; i < 33000; ++i) {
    Vec3f p{1, static_cast<float>(i), 0};
    _vert* const rim = mesh->vertex.insert_vert(p);
    if (last != nullptr && mesh->insert_face(hub, last, rim, up) != nullptr) ++made;
    last = rim;
  }
  EXPECT_GT(made, 32700);
  EXPECT_LT(made, 32768);
  EXPECT_TRUE(hub->face_num == made);
}

TEST(Rebuild, skips_triangles_with_an_index_out_of_range_and_goes_on) {
  // No point lies at the origin, where a record that was never made would lie.
  float points[] = {5, 5, 5, 6, 5, 5, 5, 6, 5, 6, 6, 5};
  unsigned char tags[] = {1, 2, 3, 4};
  for (const bool tagged : {false, true}) {
    // An index equal to the count, and one of -1, at each corner.
    int triangles[] = {0, 1, 4, 4, 1, 2, 0, 4, 2, -1, 1, 2, 0, -1, 2, 0, 1, -1, 0, 1, 2, 1, 3, 2};
    Mesh_M::Mesh mesh;
    if (tagged) {
      mesh.rebuild(points, 4, tags, triangles, 8);
    } else {
      mesh.rebuild(points, 4, triangles, 8);
    }
    EXPECT_EQ(mesh.face.real_num, 2);
    EXPECT_EQ(mesh.face.get_facenum(), 2);
    EXPECT_EQ(mesh.edge.get_edgenum(), 5);
    EXPECT_EQ(mesh.vertex.get_vertnum(), 4);
    EXPECT_TRUE(adjacency_holds(mesh));
  }
}

TEST(Rebuild, without_triangles_leaves_unconnected_vertices_with_zero_normals) {
  float points[] = {0, 0, 0, 1, 0, 0};
  Mesh_M::Mesh mesh;
  mesh.rebuild(points, 2, nullptr, 0);
  EXPECT_EQ(mesh.vertex.get_vertnum(), 2);
  EXPECT_EQ(mesh.vertex[1]->vector.z, 0);
  EXPECT_EQ(mesh.vertex[1]->state, 8);
  EXPECT_EQ(mesh.hole.edge_store, &mesh.edge);
}

TEST(Rebuild, never_welds_but_drops_small_triangles_in_the_form_without_tags) {
  float points[] = {0, 0, 0, 0.0004F, 0, 0, 0, 1, 0, 1, 0, 0};
  int triangles[] = {0, 1, 2, 0, 3, 2};
  unsigned char tags[] = {0, 0x20, 0x40, 7};
  Mesh_M::Mesh plain;
  plain.rebuild(points, 4, triangles, 2);
  EXPECT_EQ(plain.face.real_num, 1);
  EXPECT_EQ(plain.vertex.get_vertnum(), 4);
  Mesh_M::Mesh tagged;
  tagged.rebuild(points, 4, tags, triangles, 2);
  EXPECT_EQ(tagged.face.real_num, 2);
  EXPECT_EQ(tagged.vertex[3]->tag, 7);
}

TEST(Rebuild, counts_the_faces_of_the_new_content_only) {
  auto mesh = test_support::tetrahedron().mesh();
  EXPECT_EQ(mesh->face.real_num, 4);
  mesh->free();
  EXPECT_EQ(mesh->face.real_num, 4);
  float points[] = {0, 0, 0, 1, 0, 0, 0, 1, 0};
  int triangles[] = {0, 1, 2};
  mesh->rebuild(points, 3, triangles, 1);
  EXPECT_EQ(mesh->face.real_num, 1);
}

TEST(Transform, moves_points_and_turns_normals_in_double) {
  auto mesh = test_support::irregular_patch(10, 7).mesh();
  const double c = std::cos(0.3);
  const double s = std::sin(0.3);
  double matrix[16] = {c, -s, 0, 10, s, c, 0, -20, 0, 0, 1, 0.125, 9, 9, 9, 9};
  std::vector<_vert> before;
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) before.push_back(*mesh->vertex[i]);
  const Vec3f face_normal = mesh->face[3]->vector;
  mesh->transform(matrix);
  for (std::size_t i = 0; i < before.size(); ++i) {
    const Vec3f& p = before[i].point;
    const Vec3f& q = mesh->vertex[static_cast<int>(i)]->point;
    EXPECT_EQ(q.x, static_cast<float>(c * p.x + -s * p.y + 0 * p.z + 10));
    EXPECT_EQ(q.y, static_cast<float>(s * p.x + c * p.y + 0 * p.z + -20));
    EXPECT_EQ(q.z, static_cast<float>(0 * p.x + 0 * p.y + 1.0 * p.z + 0.125));
    const Vec3f& n = before[i].vector;
    EXPECT_EQ(mesh->vertex[static_cast<int>(i)]->vector.x,
              static_cast<float>(c * n.x + -s * n.y + 0 * n.z));
    before[i].edge = nullptr;
    before[i].face = nullptr;
  }
  EXPECT_EQ(mesh->face[3]->vector.y,
            static_cast<float>(s * face_normal.x + c * face_normal.y + 0 * face_normal.z));
}

TEST(ReadOut, numbers_live_vertices_and_names_faces_by_them) {
  auto mesh = test_support::flat_grid(2, 1).mesh();
  mesh->face.dele_face(mesh->face[0]);
  mesh->face.dele_face(mesh->face[1]);
  int n = 0;
  const auto numbers = taken(mesh->get_point_index(n), 8);
  EXPECT_EQ(n, 8);
  EXPECT_EQ(numbers.back(), 7);
  EXPECT_EQ(mesh->vertex[1]->index, 0);
  _face** faces = nullptr;
  const int* const raw = mesh->get_face_index(faces, n, 1);
  EXPECT_EQ(n, 18);
  EXPECT_EQ(faces[0], mesh->face[2]);
  EXPECT_EQ(raw[0], mesh->face[2]->vert[0]->index);
  delete[] raw;
  delete[] faces;
}

TEST(ReadOut, takes_every_step_th_face_number) {
  auto mesh = test_support::flat_grid(2, 1).mesh();
  mesh->refresh_point_index();
  mesh->face.dele_face(mesh->face[3]);
  int n = 0;
  _face** faces = nullptr;
  delete[] mesh->get_face_index(faces, n, 3);
  EXPECT_EQ(n, 6);
  EXPECT_EQ(faces[0], mesh->face[0]);
  EXPECT_EQ(faces[1], mesh->face[6]);
  delete[] faces;
}

TEST(ReadOut, leaves_out_a_face_with_any_corner_deleted) {
  for (int k = 0; k < 3; ++k) {
    auto mesh = test_support::flat_grid(1, 1).mesh();
    mesh->refresh_point_index();
    // Only one of the two faces has this corner, or both have it.
    _vert* const corner = mesh->face[0]->vert[k];
    const int left = 2 - corner->face_num;
    corner->state = Mesh_R::kStateDeleted;
    int n = 0;
    _face** faces = nullptr;
    delete[] mesh->get_face_index(faces, n, 1);
    EXPECT_EQ(n, 3 * left);
    if (left == 1) {
      EXPECT_EQ(faces[0], mesh->face[1]);
    }
    delete[] faces;
  }
}

TEST(ReadOut, counts_two_integers_per_live_edge) {
  auto mesh = test_support::single_triangle().mesh();
  mesh->refresh_point_index();
  int n = 0;
  const auto ends = taken(mesh->get_edge_index(n), 6);
  EXPECT_EQ(n, 6);
  EXPECT_EQ(ends, (std::vector<int>{1, 2, 0, 2, 0, 1}));
}

TEST(ReadOut, of_an_empty_mesh_is_null_but_for_the_point_numbers) {
  Mesh_M::Mesh mesh;
  mesh.inalize();
  int n = 5;
  const int* const numbers = mesh.get_point_index(n);
  EXPECT_NE(numbers, nullptr);
  EXPECT_EQ(n, 0);
  delete[] numbers;
  EXPECT_EQ(mesh.getvert_poision(n), nullptr);
  EXPECT_EQ(mesh.getvert_vector(n), nullptr);
  EXPECT_EQ(mesh.getvert_flags(n), nullptr);
  EXPECT_EQ(mesh.getface_vector(n), nullptr);
  n = 5;
  EXPECT_EQ(mesh.getvert_fine(n), nullptr);
  EXPECT_EQ(n, 0);
}

TEST(ReadOut, gives_positions_normals_and_flags_of_live_records) {
  auto mesh = test_support::tetrahedron().mesh();
  mesh->vertex[1]->flags = 77;
  int n = 0;
  const auto points = taken(mesh->getvert_poision(n), 12);
  EXPECT_EQ(n, 4);
  EXPECT_EQ(points[3], 1);
  const auto normals = taken(mesh->getvert_vector(n), 12);
  EXPECT_EQ(normals[5], mesh->vertex[1]->vector.z);
  EXPECT_EQ(taken(mesh->getvert_flags(n), 4)[1], 77);
  const auto face_normals = taken(mesh->getface_vector(n), 12);
  EXPECT_EQ(n, 4);
  EXPECT_EQ(face_normals[4], mesh->face[1]->vector.y);
}

TEST(ReadOut, finds_tags_by_position_among_the_live) {
  auto mesh = test_support::flat_grid(2, 1).mesh();
  mesh->face.dele_face(mesh->face[0]);
  mesh->face.dele_face(mesh->face[1]);
  mesh->vertex[8]->tag = 0x20;
  mesh->vertex[2]->tag = 0x40;
  mesh->face[2]->tag = 0x60;
  int n = 0;
  EXPECT_EQ(taken(mesh->getvert_fine(n), 1)[0], 7);
  EXPECT_EQ(n, 1);
  EXPECT_EQ(taken(mesh->getvert_protected(n), 1)[0], 1);
  const auto fine = taken(mesh->getface_fine(n), 2);
  EXPECT_EQ(n, 2);
  EXPECT_EQ(fine, (std::vector<int>{4, 5}));
  EXPECT_EQ(taken(mesh->getface_prtotectded(n), 1)[0], 0);
}

TEST(ReadOut, getvert_info_writes_through_the_callers_pointers) {
  auto mesh = test_support::single_triangle().mesh();
  mesh->vertex[2]->flags = 33;
  mesh->vertex[0]->flags = 11;
  std::vector<float*> points(9, nullptr);
  std::vector<float*> vectors(9, nullptr);
  int target[3] = {0, 0, 0};
  std::vector<int*> flags = {&target[0], &target[1], &target[2]};
  int n = 0;
  EXPECT_EQ(mesh->getvert_info(nullptr, vectors.data(), flags.data(), n), -1);
  EXPECT_EQ(mesh->getvert_info(points.data(), vectors.data(), flags.data(), n), 0);
  EXPECT_EQ(n, 3);
  float xyz[3];
  std::memcpy(xyz, &points[3], sizeof(xyz));
  EXPECT_EQ(xyz[0], 1);
  std::memcpy(xyz, &vectors[6], sizeof(xyz));
  EXPECT_EQ(xyz[2], 1);
  EXPECT_EQ(target[2], 33);
  EXPECT_EQ(target[0], 0);
  EXPECT_NE(flags[0], &target[0]);
  EXPECT_EQ(*flags[0], 11);
  delete[] flags[0];
}

TEST(ReadOut, the_boundary_of_a_closed_mesh_is_empty_until_a_face_goes) {
  auto mesh = test_support::tetrahedron().mesh();
  mesh->refresh_point_index();
  int n = 9;
  delete[] mesh->get_boundary_index(n);
  EXPECT_EQ(n, 0);
  mesh->face.dele_face(mesh->face[0]);
  delete[] mesh->get_boundary_index(n);
  EXPECT_EQ(n, 3);
}

TEST(LifeCycle, an_object_goes_through_inalize_again_after_free) {
  auto mesh = test_support::tetrahedron().mesh();
  mesh->free();
  Vec3f center{0, 0, 0};
  mesh->inalize_oct(center, 10);
  EXPECT_EQ(insert(*mesh, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}), 0);
}

TEST(LifeCycle, stores_values_and_the_callback) {
  Mesh_M::Mesh mesh;
  mesh.set_Center({1, 2, 3});
  EXPECT_EQ(mesh.center.y, 2);
  mesh.setResolutionParam({0.5F, 0.125F, true});
  EXPECT_EQ(mesh.resolution.resolution_fine, 0.125F);
  EXPECT_FALSE(mesh.getProcessStepCallback());
  mesh.setProcessStepCallback([](qv::alg::ProcessStepInfoType& info) { return info.step; });
  qv::alg::ProcessStepInfoType info;
  info.step = 4;
  EXPECT_EQ(mesh.getProcessStepCallback()(info), 4);
  std::string message;
  EXPECT_EQ(mesh.input_data("x.stl", message, true), nullptr);
  double d = 1;
  int a = 2;
  int b = 3;
  mesh.Memory_optimization(d, a, b);
  EXPECT_EQ(d, 1);
  EXPECT_EQ(mesh.search_order, 0);
}

}  // namespace
