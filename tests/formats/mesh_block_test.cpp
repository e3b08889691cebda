#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "scanmesh/mesh.h"
#include "scanmesh/mesh_block.h"
#include "scanmesh/ply_reader.h"
#include "tests/support/files.h"
#include "tests/support/invariants.h"

namespace {

using Mesh_M::Mesh;
using Mesh_M::MeshBlock;
using Mesh_M::MeshBlockData;
using Mesh_M::RTMatrix;
using Mesh_R::_face;
using test_support::adjacency_holds;
using test_support::Soup;
using Blocks = std::vector<std::vector<_face*>>;

// A quarter turn about z, and a shift.
RTMatrix quarter_turn(double last) {
  return {{0, -1, 0, 10, 1, 0, 0, 20, 0, 0, 1, 30, 0, 0, 0, last}};
}

// Two triangles with a common edge.
std::unique_ptr<Mesh> pair_of_triangles() {
  return Soup{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}}, {{{0, 1, 2}}, {{1, 3, 2}}}}.mesh();
}

MeshBlockData extract(Mesh& mesh, const Blocks& blocks) {
  MeshBlockData data;
  EXPECT_EQ(MeshBlock::getMeshBlock(&mesh, blocks, {}, data), 0);
  return data;
}

MeshBlockData two_blocks() {
  auto mesh = pair_of_triangles();
  return extract(*mesh, {{mesh->face[0]}, {mesh->face[1]}});
}

TEST(MeshBlock, of_two_blocks_with_a_common_edge_the_first_owns_its_vertices) {
  const MeshBlockData data = two_blocks();
  EXPECT_EQ(data.block_num, 2);
  EXPECT_EQ(data.points.size(), 3U * 4);  // 2 fewer than two separate triangles have
  EXPECT_EQ(data.vectors.size(), data.points.size());
  EXPECT_EQ(data.triangles, (std::vector<int>{0, 1, 2, 1, 3, 2}));
  EXPECT_EQ(data.block_first, (std::vector<int>{0, 3}));
  EXPECT_EQ(data.block_last, (std::vector<int>{2, 3}));
  EXPECT_EQ(data.block_first[1], data.block_last[0] + 1);
  EXPECT_EQ(data.points[9], 1);
  EXPECT_EQ(data.vectors[2], 1);
}

TEST(MeshBlock, an_empty_block_ends_before_it_begins) {
  auto mesh = pair_of_triangles();
  const MeshBlockData data = extract(*mesh, {{}, {mesh->face[1]}, {}});
  EXPECT_EQ(data.block_num, 3);
  EXPECT_EQ(data.block_first, (std::vector<int>{0, 0, 3}));
  EXPECT_EQ(data.block_last, (std::vector<int>{-1, 2, 2}));
  const MeshBlockData none = extract(*mesh, {});
  EXPECT_EQ(none.block_num, 0);
  EXPECT_TRUE(none.points.empty() && none.block_first.empty());
}

TEST(MeshBlock, extraction_overwrites_what_was_there_and_every_index) {
  auto mesh = test_support::flat_grid(3, 1.0F).mesh();
  mesh->face.dele_face(mesh->face[0]);
  mesh->face.dele_face(mesh->face[1]);
  for (int i = 0; i < 16; ++i) mesh->vertex[i]->index = 77;
  MeshBlockData data = two_blocks();
  EXPECT_EQ(MeshBlock::getMeshBlock(mesh.get(), {{mesh->face[5]}}, {2, -1}, data), 0);
  EXPECT_EQ(data.block_num, 1);
  EXPECT_EQ(data.triangles, (std::vector<int>{0, 1, 2}));
  EXPECT_EQ(data.block_last, (std::vector<int>{2}));
  ASSERT_EQ(mesh->vertex[0]->state, 3);
  EXPECT_EQ(mesh->vertex[0]->index, -1);  // a deleted one too
  for (int k = 0; k < 3; ++k) EXPECT_EQ(mesh->face[5]->vert[k]->index, k);
  EXPECT_EQ(mesh->vertex[15]->index, -1);
}

TEST(MeshBlock, blocks_of_an_irregular_mesh_hold_every_corner_once) {
  auto mesh = test_support::irregular_patch(14, 8).mesh();
  Blocks blocks(5);
  std::vector<_face*> order;
  for (int i = 0; i < mesh->face.get_facenum(); ++i) {
    blocks[static_cast<std::size_t>(i * 7 % 5)].push_back(mesh->face[i]);
  }
  for (const auto& block : blocks) order.insert(order.end(), block.begin(), block.end());
  const MeshBlockData data = extract(*mesh, blocks);
  ASSERT_EQ(data.triangles.size(), 3 * order.size());
  std::vector<bool> seen(data.points.size() / 3, false);
  int fresh = 0;
  for (std::size_t i = 0; i < order.size(); ++i) {
    for (std::size_t k = 0; k < 3; ++k) {
      const Mesh_R::_vert& v = *order[i]->vert[k];
      const std::size_t number = static_cast<std::size_t>(data.triangles[3 * i + k]);
      ASSERT_EQ(static_cast<int>(number), v.index);
      EXPECT_EQ(data.points[3 * number + 1], v.point.y);
      EXPECT_EQ(data.vectors[3 * number], v.vector.x);
      if (!seen[number]) {
        EXPECT_EQ(static_cast<int>(number), fresh++);
      }
      seen[number] = true;
    }
  }
  EXPECT_EQ(static_cast<std::size_t>(fresh), seen.size());
  EXPECT_EQ(data.block_last.back() + 1, fresh);
}

TEST(MeshBlock, transform_wants_a_matrix_for_each_block) {
  MeshBlockData data = two_blocks();
  const std::vector<float> before = data.points;
  EXPECT_EQ(MeshBlock::transformMeshBlock(data, {quarter_turn(1)}), -1);
  EXPECT_EQ(MeshBlock::transformMeshBlock(data, {}), -1);
  EXPECT_EQ(data.points, before);
  MeshBlockData none;
  EXPECT_EQ(MeshBlock::transformMeshBlock(none, {}), 0);
}

TEST(MeshBlock, transform_moves_points_and_turns_normals) {
  MeshBlockData data = two_blocks();
  data.vectors[0] = 1;  // (1, 0, 1)
  // At 0 the last element moves its block, too.
  EXPECT_EQ(MeshBlock::transformMeshBlock(data, {quarter_turn(0), quarter_turn(1)}), 0);
  EXPECT_EQ(std::vector<float>(data.points.begin(), data.points.begin() + 6),
            (std::vector<float>{10, 20, 30, 10, 21, 30}));
  EXPECT_EQ(std::vector<float>(data.points.begin() + 9, data.points.end()),
            (std::vector<float>{9, 21, 30}));
  EXPECT_EQ(std::vector<float>(data.vectors.begin(), data.vectors.begin() + 3),
            (std::vector<float>{0, 1, 1}));
}

TEST(MeshBlock, a_negative_last_element_leaves_the_block_with_the_vertices_it_owns) {
  MeshBlockData data = two_blocks();
  const std::vector<float> before = data.points;
  EXPECT_EQ(MeshBlock::transformMeshBlock(data, {quarter_turn(-1), quarter_turn(1)}), 0);
  // The shared ones, 1 and 2, stay with the first block; the second has only one of its own.
  EXPECT_EQ(std::vector<float>(data.points.begin(), data.points.begin() + 9),
            std::vector<float>(before.begin(), before.begin() + 9));
  EXPECT_EQ(data.points[9], 9);
  EXPECT_EQ(data.points[10], 21);
}

TEST(MeshBlock, transform_skips_an_empty_block_and_rounds_once) {
  auto mesh = test_support::irregular_patch(6, 2).mesh();
  Blocks blocks(3);
  for (int i = 0; i < mesh->face.get_facenum(); ++i) {
    blocks[i % 2 == 0 ? 0 : 2].push_back(mesh->face[i]);
  }
  MeshBlockData data = extract(*mesh, blocks);
  const MeshBlockData before = data;
  const double c = std::cos(0.3);
  const double s = std::sin(0.3);
  const RTMatrix m{{c, -s, 0, 0.1, s, c, 0, 0.2, 0, 0, 1, 1e3, 0, 0, 0, 1}};
  EXPECT_EQ(MeshBlock::transformMeshBlock(data, {m, m, m}), 0);
  for (std::size_t i = 0; i < data.points.size(); i += 3) {
    const double x = before.points[i];
    const double y = before.points[i + 1];
    const double z = before.points[i + 2];
    EXPECT_EQ(data.points[i], static_cast<float>(c * x + -s * y + 0 * z + 0.1));
    EXPECT_EQ(data.points[i + 1], static_cast<float>(s * x + c * y + 0 * z + 0.2));
    EXPECT_EQ(data.points[i + 2], static_cast<float>(0 * x + 0 * y + 1 * z + 1e3));
    const double nx = before.vectors[i];
    const double ny = before.vectors[i + 1];
    const double nz = before.vectors[i + 2];
    EXPECT_EQ(data.vectors[i], static_cast<float>(c * nx + -s * ny + 0 * nz));
  }
}

TEST(MeshBlock, transform_stays_within_the_points_there_are) {
  MeshBlockData data = two_blocks();
  data.block_first[0] = -4;
  data.block_last[1] = 2147483647;
  data.vectors.resize(5);
  EXPECT_EQ(MeshBlock::transformMeshBlock(data, {quarter_turn(1), quarter_turn(1)}), 0);
  EXPECT_EQ(data.points[9], 9);
  data.block_last.clear();
  EXPECT_EQ(MeshBlock::transformMeshBlock(data, {quarter_turn(1), quarter_turn(1)}), 0);
}

TEST(MeshBlock, build_tells_what_is_missing_in_this_order) {
  Mesh mesh;
  mesh.inalize();
  const MeshBlockData empty;
  MeshBlockData points = two_blocks();
  points.triangles.resize(2);
  EXPECT_EQ(MeshBlock::buildMeshFormMeshBlock(nullptr, nullptr, nullptr), -1);
  EXPECT_EQ(MeshBlock::buildMeshFormMeshBlock(&empty, nullptr, nullptr), -1);
  EXPECT_EQ(MeshBlock::buildMeshFormMeshBlock(nullptr, nullptr, &mesh), -2);
  EXPECT_EQ(MeshBlock::buildMeshFormMeshBlock(&empty, nullptr, &mesh), -3);
  EXPECT_EQ(MeshBlock::buildMeshFormMeshBlock(&points, &empty, &mesh), -3);
  EXPECT_EQ(mesh.vertex.get_vertnum(), 0);
}

TEST(MeshBlock, build_makes_a_mesh_of_either_set_alone) {
  const MeshBlockData data = two_blocks();
  for (const bool as_first : {true, false}) {
    Mesh mesh;
    mesh.inalize();
    EXPECT_EQ(MeshBlock::buildMeshFormMeshBlock(as_first ? &data : nullptr,
                                                as_first ? nullptr : &data, &mesh),
              0);
    EXPECT_EQ(mesh.vertex.get_vertnum(), 4);
    EXPECT_EQ(mesh.edge.get_edgenum(), 5);
    EXPECT_EQ(mesh.face.real_num, 2);
    EXPECT_EQ(mesh.vertex[0]->vector.z, 1);
    EXPECT_TRUE(adjacency_holds(mesh));
    mesh.build_hole();
    EXPECT_EQ(mesh.get_hole_num(), 1);
  }
}

TEST(MeshBlock, build_shifts_the_numbers_of_the_second_set) {
  const MeshBlockData first = two_blocks();
  MeshBlockData second = two_blocks();
  for (float& value : second.points) value += 5;
  Mesh mesh;
  mesh.inalize();
  EXPECT_EQ(MeshBlock::buildMeshFormMeshBlock(&first, &second, &mesh), 0);
  EXPECT_EQ(mesh.vertex.get_vertnum(), 8);  // nothing is welded
  ASSERT_EQ(mesh.face.real_num, 4);
  EXPECT_EQ(mesh.face[2]->vert[0], mesh.vertex[4]);
  EXPECT_EQ(mesh.face[3]->vert[1], mesh.vertex[7]);
  EXPECT_TRUE(adjacency_holds(mesh));
}

TEST(MeshBlock, build_gives_only_a_length_of_exactly_0_the_normal_that_points_up) {
  MeshBlockData data;
  // In the plane x = 0, so that the normal points along x however small it is.
  for (const float size : {1e-17F, 0.0F, 3e38F}) {
    for (const float value : {0.F, 0.F, 0.F, 0.F, size, 0.F, 0.F, 0.F, 1.F}) {
      data.points.push_back(value * (size > 1 && value == 1.F ? size : 1));
    }
    const int at = static_cast<int>(data.triangles.size());
    data.triangles.insert(data.triangles.end(), {at, at + 1, at + 2});
  }
  Mesh mesh;
  mesh.inalize();
  EXPECT_EQ(MeshBlock::buildMeshFormMeshBlock(&data, nullptr, &mesh), 0);
  ASSERT_EQ(mesh.face.real_num, 2);  // the largest one's normal is no number
  EXPECT_EQ(mesh.face[0]->vector.x, 1);
  EXPECT_EQ(mesh.face[0]->vector.z, 0);
  EXPECT_EQ(mesh.face[1]->vector.z, 1);
}

TEST(MeshBlock, build_repairs_no_orientation_and_ignores_the_normals_of_the_set) {
  MeshBlockData data = two_blocks();
  std::swap(data.triangles[4], data.triangles[5]);  // turns the second triangle round
  for (float& value : data.vectors) value = 9;
  Mesh mesh;
  mesh.inalize();
  EXPECT_EQ(MeshBlock::buildMeshFormMeshBlock(&data, nullptr, &mesh), 0);
  EXPECT_EQ(mesh.face[0]->vector.z, 1);
  EXPECT_EQ(mesh.face[1]->vector.z, -1);
  EXPECT_EQ(mesh.vertex[0]->vector.z, 1);
}

TEST(MeshBlock, build_leaves_out_triangles_that_name_no_vertex) {
  MeshBlockData data = two_blocks();
  data.triangles[1] = 4;
  data.triangles.insert(data.triangles.end(), {-1, 0, 1});
  Mesh mesh;
  mesh.inalize();
  EXPECT_EQ(MeshBlock::buildMeshFormMeshBlock(&data, nullptr, &mesh), 0);
  EXPECT_EQ(mesh.face.real_num, 1);
}

TEST(MeshBlock, file_is_binary_ply_byte_for_byte) {
  const MeshBlockData data = two_blocks();
  const std::string path = test_support::temp_path("блок.ply");
  std::wstring wide(path.begin(), path.begin() + static_cast<std::ptrdiff_t>(path.find("\xD0")));
  EXPECT_EQ(MeshBlock::outputPLYFormMeshBlock(data, wide + L"блок.ply"), 0);
  std::string wanted =
      "ply\nformat binary_little_endian 1.0\nelement vertex 4\nproperty float x\n"
      "property float y\nproperty float z\nelement face 2\n"
      "property list uint8 int32 vertex_indices\nend_header\n";
  for (const float value : data.points) test_support::append_value(wanted, value);
  for (std::size_t i = 0; i < 6; i += 3) {
    wanted += '\3';
    for (std::size_t k = 0; k < 3; ++k) test_support::append_value(wanted, data.triangles[i + k]);
  }
  EXPECT_EQ(test_support::bytes_of_file(path), wanted);
  std::remove(path.c_str());
}

TEST(MeshBlock, file_reads_back_as_the_same_points_and_triangles) {
  auto mesh = test_support::irregular_patch(80, 4).mesh();
  Blocks blocks(2);
  for (int i = 0; i < mesh->face.get_facenum(); ++i) {
    blocks[i < 300 ? 0 : 1].push_back(mesh->face[i]);
  }
  const MeshBlockData data = extract(*mesh, blocks);
  const std::string path = test_support::temp_path("blocks.ply");
  const std::wstring wide(path.begin(), path.end());
  EXPECT_EQ(MeshBlock::outputPLYFormMeshBlock(data, wide), 0);
  ply_reader_writer::PLY_Reader reader;
  ply_reader_writer::TriMeshData read;
  ply_reader_writer::Options options;
  ASSERT_TRUE(reader.read(wide, read, options));
  EXPECT_EQ(static_cast<int>(options), 0x0005);
  EXPECT_EQ(std::vector<float>(read.xyz, read.xyz + 3 * read.nb_vertex), data.points);
  EXPECT_EQ(std::vector<int>(read.faceindex, read.faceindex + 3 * read.nb_face), data.triangles);
  std::remove(path.c_str());
}

TEST(MeshBlock, file_of_nothing_and_of_a_path_that_cannot_be_opened) {
  const std::string path = test_support::temp_path("none.ply");
  EXPECT_EQ(MeshBlock::outputPLYFormMeshBlock({}, std::wstring(path.begin(), path.end())), 0);
  EXPECT_NE(test_support::bytes_of_file(path).find("element vertex 0\n"), std::string::npos);
  EXPECT_EQ(MeshBlock::outputPLYFormMeshBlock(two_blocks(), L"/no/such/folder/a.ply"), 0);
  std::remove(path.c_str());
}

TEST(MeshBlock, assignment_does_nothing) {
  MeshBlock a;
  const MeshBlock b;
  a = b;
  a = MeshBlock();
  EXPECT_EQ(sizeof(MeshBlock), 1U);
}

}  // namespace
