#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <limits>
#include <memory>
#include <random>

#include "scanmesh/mesh.h"
#include "tests/support/files.h"
#include "tests/support/invariants.h"

namespace {

using test_support::adjacency_holds;
using test_support::append_value;
using test_support::binary_stl;
using test_support::bytes_of_file;
using test_support::open_bytes;
using test_support::Soup;
using test_support::temp_path;
using test_support::Vec3f;

const float kNan = std::numeric_limits<float>::quiet_NaN();
const float kInfinity = std::numeric_limits<float>::infinity();

Soup two_facets() {
  return {{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}}, {{{0, 1, 2}}, {{1, 3, 2}}}};
}

int read(Mesh_M::Mesh& mesh, const std::string& bytes) {
  return mesh.input_data(open_bytes(bytes));
}

std::string ascii_facet(const std::string& vertex_lines) {
  return "facet normal 0 0 1\nouter loop\n" + vertex_lines + "endloop\nendfacet\n";
}

const char* const kTriangle = "vertex 0 0 0\nvertex 1 0 0\nvertex 0 1 0\n";

bool read_ascii(Mesh_M::Mesh& mesh, const std::string& text) {
  FILE* const stream = open_bytes(text);
  const bool result = mesh.input_data_ASCII(stream);
  std::fclose(stream);  // the reader leaves it open in all cases
  return result;
}

TEST(BinaryStl, loads_two_facets_as_4_vertices_5_edges_2_faces_in_either_order) {
  Soup soup = two_facets();
  for (int order = 0; order < 2; ++order) {
    Mesh_M::Mesh mesh;
    EXPECT_EQ(read(mesh, binary_stl(soup)), 0);
    EXPECT_EQ(mesh.vertex.get_vertnum(), 4);
    EXPECT_EQ(mesh.edge.get_edgenum(), 5);
    EXPECT_EQ(mesh.face.real_num, 2);
    EXPECT_TRUE(adjacency_holds(mesh));
    std::swap(soup.triangles[0], soup.triangles[1]);
  }
}

TEST(BinaryStl, sets_the_centre_and_the_octree_of_all_corners) {
  Soup soup = two_facets();
  for (Vec3f& p : soup.points) p = {p.x * 8 + 10, p.y * 2, p.z - 5};
  Mesh_M::Mesh mesh;
  EXPECT_EQ(read(mesh, binary_stl(soup)), 0);
  EXPECT_EQ(mesh.center.x, 14);
  EXPECT_EQ(mesh.center.y, 1);
  EXPECT_EQ(mesh.center.z, -5);
  EXPECT_EQ(mesh.oct.root->half, 4);
  EXPECT_EQ(mesh.vertex.records.block_size, 4000000);
  mesh.inalize_mesh();
  EXPECT_EQ(mesh.oct.root, nullptr);
  EXPECT_EQ(mesh.vertex[0]->vector.z, 1);
}

TEST(BinaryStl, ignores_the_normals_of_the_file) {
  std::string bytes = binary_stl(two_facets());
  const float wrong[3] = {0, 0, -7};
  std::memcpy(&bytes[84], wrong, sizeof(wrong));
  Mesh_M::Mesh mesh;
  EXPECT_EQ(read(mesh, bytes), 0);
  EXPECT_EQ(mesh.face[0]->vector.z, 1);
}

TEST(BinaryStl, drops_a_facet_with_two_equal_corners) {
  Soup soup = two_facets();
  soup.triangles.push_back({0, 0, 3});
  Mesh_M::Mesh mesh;
  EXPECT_EQ(read(mesh, binary_stl(soup)), 0);
  EXPECT_EQ(mesh.face.real_num, 2);
}

TEST(BinaryStl, reads_from_any_position_of_the_stream) {
  FILE* const stream = open_bytes(binary_stl(two_facets()));
  std::fseek(stream, 33, SEEK_SET);
  Mesh_M::Mesh mesh;
  EXPECT_EQ(mesh.input_data(stream), 0);
  EXPECT_EQ(mesh.face.real_num, 2);
}

// How many descriptors the process holds.
int open_files() {
  int n = 0;
  for (int i = 0; i < 1024; ++i) n += fcntl(i, F_GETFD) != -1 ? 1 : 0;
  return n;
}

TEST(BinaryStl, closes_the_stream_that_it_has_read) {
  const int before = open_files();
  Mesh_M::Mesh mesh;
  EXPECT_EQ(read(mesh, binary_stl(two_facets())), 0);
  EXPECT_EQ(open_files(), before);
  Mesh_M::Mesh cut_short;
  EXPECT_EQ(read(cut_short, binary_stl(two_facets()).substr(0, 100)), 0);
  EXPECT_EQ(open_files(), before);
}

TEST(BinaryStl, refuses_a_count_below_1_and_leaves_the_stream_open) {
  for (const int count : {0, -1, std::numeric_limits<int>::min()}) {
    std::string bytes(80, ' ');
    append_value(bytes, count);
    FILE* const stream = open_bytes(bytes);
    Mesh_M::Mesh mesh;
    EXPECT_EQ(mesh.input_data(stream), -3);
    EXPECT_EQ(std::fseek(stream, 0, SEEK_SET), 0);
    EXPECT_EQ(std::fgetc(stream), ' ');
    std::fclose(stream);
  }
}

TEST(BinaryStl, refuses_every_file_too_short_for_a_count_and_leaves_the_stream_open) {
  for (const std::size_t size : {0U, 1U, 79U, 80U, 83U}) {
    FILE* const stream = open_bytes(std::string(size, 'x'));
    Mesh_M::Mesh mesh;
    EXPECT_EQ(mesh.input_data(stream), -2) << size;
    EXPECT_EQ(std::fseek(stream, 0, SEEK_SET), 0);
    std::fclose(stream);
  }
  Mesh_M::Mesh mesh;
  EXPECT_EQ(mesh.input_data(static_cast<FILE*>(nullptr)), -2);
}

TEST(BinaryStl, refuses_a_directory) {
  FILE* const stream = std::fopen(testing::TempDir().c_str(), "rb");
  if (stream == nullptr) return;  // nothing to read from: the platform refuses earlier
  Mesh_M::Mesh mesh;
  EXPECT_EQ(mesh.input_data(stream), -2);
  std::fclose(stream);
}

TEST(BinaryStl, reads_what_a_truncated_file_holds_whole) {
  const std::string bytes = binary_stl(two_facets());
  for (std::size_t size = 84; size <= bytes.size(); ++size) {
    Mesh_M::Mesh mesh;
    ASSERT_EQ(read(mesh, bytes.substr(0, size)), 0) << size;
    // A facet that lacks only its attribute bytes is whole.
    EXPECT_EQ(mesh.face.real_num, static_cast<int>((size - 84 + 2) / 50)) << size;
  }
}

TEST(BinaryStl, a_wild_count_allocates_by_the_file_and_not_by_the_count) {
  for (const int count : {43000000, std::numeric_limits<int>::max()}) {
    Mesh_M::Mesh mesh;
    EXPECT_EQ(read(mesh, binary_stl(two_facets(), count)), 0);
    EXPECT_EQ(mesh.face.real_num, 2);
    Mesh_M::Mesh none;
    EXPECT_EQ(read(none, binary_stl(two_facets(), count).substr(0, 84)), 0);
    EXPECT_EQ(none.face.real_num, 0);
  }
}

TEST(BinaryStl, reads_from_a_stream_without_a_size) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  FILE* const writer = fdopen(ends[1], "wb");
  const std::string bytes = binary_stl(two_facets());
  std::fwrite(bytes.data(), 1, bytes.size(), writer);
  std::fclose(writer);
  Mesh_M::Mesh mesh;
  // No seeking, no count: refused, not misread.
  FILE* const reader = fdopen(ends[0], "rb");
  EXPECT_EQ(mesh.input_data(reader), -2);
  std::fclose(reader);
}

TEST(BinaryStl, finite_facets_load_as_they_would_without_the_others) {
  const Soup clean = test_support::irregular_patch(12, 1);
  Soup dirty = clean;
  dirty.points.push_back({kNan, 0, 0});
  dirty.points.push_back({0, kInfinity, 0});
  const int bad = static_cast<int>(clean.points.size());
  dirty.points.push_back({900, 900, 900});
  // The bad corner first, second and third, and the far one beside it: none of them counts.
  dirty.triangles.insert(dirty.triangles.begin() + 20, {bad + 2, 1, bad});
  dirty.triangles.insert(dirty.triangles.begin() + 21, {1, bad, bad + 2});
  dirty.triangles.insert(dirty.triangles.begin() + 22, {bad + 1, bad + 2, 1});
  dirty.triangles.insert(dirty.triangles.begin(), {bad, 1, 2});
  dirty.triangles.insert(dirty.triangles.begin() + 9, {bad + 2, bad + 1, bad});
  dirty.triangles.push_back({bad, bad, bad + 1});
  Mesh_M::Mesh a;
  Mesh_M::Mesh b;
  EXPECT_EQ(read(a, binary_stl(clean)), 0);
  EXPECT_EQ(read(b, binary_stl(dirty)), 0);
  EXPECT_EQ(a.center.x, b.center.x);
  EXPECT_EQ(a.center.y, b.center.y);
  EXPECT_EQ(a.center.z, b.center.z);
  EXPECT_EQ(a.oct.root->half, b.oct.root->half);
  ASSERT_EQ(a.vertex.get_vertnum(), b.vertex.get_vertnum());
  ASSERT_EQ(a.face.get_facenum(), b.face.get_facenum());
  for (int i = 0; i < a.vertex.get_vertnum(); ++i) {
    EXPECT_EQ(a.vertex[i]->point.x, b.vertex[i]->point.x);
    EXPECT_EQ(a.vertex[i]->point.z, b.vertex[i]->point.z);
  }
}

TEST(BinaryStl, nothing_but_broken_facets_gives_an_empty_mesh) {
  Soup soup{{{kNan, 0, 0}, {kInfinity, 1, 1}, {0, 0, 0}}, {{{0, 1, 2}}, {{2, 2, 2}}}};
  Mesh_M::Mesh mesh;
  EXPECT_EQ(read(mesh, binary_stl(soup)), 0);
  mesh.inalize_mesh();
  EXPECT_EQ(mesh.face.real_num, 0);
}

TEST(BinaryStl, random_bits_end_quickly_and_leave_a_sound_mesh) {
  std::mt19937 random(11);
  std::string bytes(80, ' ');
  append_value(bytes, 20000);
  for (int i = 0; i < 250000; ++i) append_value(bytes, static_cast<uint32_t>(random()));
  Mesh_M::Mesh mesh;
  EXPECT_EQ(read(mesh, bytes), 0);
  mesh.inalize_mesh();
  EXPECT_LE(mesh.face.real_num, 20000);
}

TEST(BinaryStl, coordinates_at_the_ends_of_the_range_do_not_overflow_the_cube) {
  Soup soup{{{-3.4e38F, 0, 0}, {3.4e38F, 1, 0}, {0, 1, 0}, {1, 0, 0}, {1, 1, 0}},
            {{{0, 1, 2}}, {{2, 3, 4}}}};
  Mesh_M::Mesh mesh;
  EXPECT_EQ(read(mesh, binary_stl(soup)), 0);
  EXPECT_TRUE(std::isfinite(mesh.center.x));
  EXPECT_TRUE(std::isfinite(mesh.oct.root->half));
  EXPECT_GE(mesh.face.real_num, 1);
}

TEST(AsciiStl, reads_the_accepted_form) {
  Mesh_M::Mesh mesh;
  EXPECT_TRUE(read_ascii(mesh, "solid part one\n" + ascii_facet(kTriangle) +
                                   ascii_facet("vertex 1 0 0\nvertex 1 1 0\nvertex 0 1 0\n") +
                                   "endsolid part one\n"));
  EXPECT_EQ(mesh.face.real_num, 2);
  EXPECT_EQ(mesh.vertex.get_vertnum(), 4);
  EXPECT_EQ(mesh.center.x, 0.5F);
}

TEST(AsciiStl, reads_carriage_returns_exponents_and_endface) {
  Mesh_M::Mesh mesh;
  EXPECT_TRUE(
      read_ascii(mesh,
                 "solid\r\nfacet normal 0 0 1\r\nouter loop\r\nvertex 0 0 0\r\n"
                 "vertex 1.0e+0 0 0\r\nvertex 0 +1 0\r\nendloop\r\nendface\r\nendsolid\r\n"));
  EXPECT_EQ(mesh.face.real_num, 1);
}

TEST(AsciiStl, refuses_indentation_and_blank_lines) {
  const std::string good = "solid\n" + ascii_facet(kTriangle) + "endsolid\n";
  Mesh_M::Mesh mesh;
  std::string indented = good;
  indented.insert(6, "  ");
  EXPECT_FALSE(read_ascii(mesh, indented));
  std::string blank = good;
  blank.insert(6, "\n");
  EXPECT_FALSE(read_ascii(mesh, blank));
  EXPECT_FALSE(read_ascii(mesh, " " + good));
  EXPECT_EQ(mesh.vertex.records.block, nullptr);
  EXPECT_TRUE(read_ascii(mesh, good));
}

TEST(AsciiStl, refuses_every_line_that_is_not_what_it_should_be) {
  const std::string head = "solid\n";
  const std::string tail = "endsolid\n";
  for (const std::string& bad :
       {std::string("facet normal 0 0\nouter loop\n") + kTriangle + "endloop\nendfacet\n",
        std::string("facet 0 0 1\nouter loop\n") + kTriangle + "endloop\nendfacet\n",
        std::string("facet normal 0 0 1\nloop\n") + kTriangle + "endloop\nendfacet\n",
        ascii_facet("vertex 0 0\nvertex 1 0 0\nvertex 0 1 0\n"),
        ascii_facet("vertex 0 0 0\nvertex 1 0 0\n"),
        ascii_facet(std::string(kTriangle) + "vertex 2 2 2\n"),
        std::string("facet normal 0 0 1\nouter loop\n") + kTriangle + "endloop\nend\n",
        std::string("end\n"), std::string("color 1 2 3\n")}) {
    Mesh_M::Mesh mesh;
    EXPECT_FALSE(read_ascii(mesh, head + bad + tail)) << bad;
    EXPECT_EQ(mesh.vertex.records.block, nullptr);
  }
}

TEST(AsciiStl, refuses_every_shorter_prefix) {
  const std::string good = "solid\n" + ascii_facet(kTriangle) + "endsolid";
  for (std::size_t size = 0; size < good.size(); ++size) {
    Mesh_M::Mesh mesh;
    EXPECT_FALSE(read_ascii(mesh, good.substr(0, size))) << size;
  }
}

TEST(AsciiStl, refuses_a_line_beyond_the_buffer_and_bytes_that_are_no_text) {
  Mesh_M::Mesh mesh;
  EXPECT_FALSE(read_ascii(
      mesh, "solid " + std::string(2000, 'x') + "\n" + ascii_facet(kTriangle) + "endsolid\n"));
  EXPECT_FALSE(read_ascii(mesh, std::string(5000, '\0')));
  EXPECT_FALSE(read_ascii(mesh, binary_stl(two_facets())));
  EXPECT_FALSE(mesh.input_data_ASCII(nullptr));
}

TEST(AsciiStl, without_a_facet_gives_an_empty_mesh) {
  Mesh_M::Mesh mesh;
  EXPECT_TRUE(read_ascii(mesh, "solid\nendsolid\n"));
  EXPECT_EQ(mesh.face.real_num, 0);
}

std::string expected_stl(Mesh_M::Mesh& mesh, int count) {
  std::string bytes = "Created by Marunsen\xEF\xBC\x8CSTL Format";
  bytes.resize(80, '\0');
  append_value(bytes, count);
  for (int i = 0; i < mesh.face.get_facenum(); ++i) {
    const Mesh_R::_face& f = *mesh.face[i];
    if (f.state == 3 || !std::isfinite(f.vert[0]->point.x)) continue;
    append_value(bytes, f.vector);
    for (const Mesh_R::_vert* v : f.vert) append_value(bytes, v->point);
    bytes.append(2, '\0');
  }
  return bytes;
}

TEST(WriteStl, writes_the_live_faces_byte_for_byte) {
  auto mesh = test_support::irregular_patch(60, 2).mesh();
  mesh->face.dele_face(mesh->face[5]);
  const std::string path = temp_path("out.stl");
  mesh->output_STL(path.c_str());
  const std::string bytes = bytes_of_file(path);
  ASSERT_EQ(bytes.size(), 84U + 50U * static_cast<unsigned>(mesh->face.real_num));
  EXPECT_EQ(bytes, expected_stl(*mesh, mesh->face.real_num));
}

TEST(WriteStl, leaves_a_face_that_is_not_finite_out_of_count_and_facets) {
  auto mesh = test_support::tetrahedron().mesh();
  mesh->vertex[0]->point.x = kNan;
  // The three faces at that corner go; they name it first after this.
  for (int i = 0; i < 4; ++i) {
    Mesh_R::_face& f = *mesh->face[i];
    for (int k = 1; k < 3; ++k) {
      if (f.vert[k] == mesh->vertex[0]) std::swap(f.vert[0], f.vert[k]);
    }
  }
  const std::string path = temp_path("out.stl");
  mesh->output_STL(path.c_str());
  EXPECT_EQ(bytes_of_file(path), expected_stl(*mesh, 1));
}

TEST(WriteStl, of_no_faces_writes_header_and_count_0) {
  Mesh_M::Mesh mesh;
  mesh.inalize();
  const std::string path = temp_path("out.stl");
  mesh.output_STL(path.c_str());
  EXPECT_EQ(bytes_of_file(path), expected_stl(mesh, 0));
}

TEST(WriteStl, a_path_that_cannot_be_opened_writes_tex_stl) {
  const std::string folder = temp_path("folder");
  mkdir(folder.c_str(), 0700);
  char before[4096];
  ASSERT_NE(getcwd(before, sizeof(before)), nullptr);
  ASSERT_EQ(chdir(folder.c_str()), 0);
  auto mesh = test_support::tetrahedron().mesh();
  mesh->output_STL("no/such/folder/out.stl");
  const std::string bytes = bytes_of_file("tex.stl");
  std::remove("tex.stl");
  mesh->vertex.output(nullptr);
  const std::string text = bytes_of_file("tex.asc");
  std::remove("tex.asc");
  ASSERT_EQ(chdir(before), 0);
  EXPECT_EQ(bytes, expected_stl(*mesh, 4));
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 4);
}

TEST(WriteStl, reads_back_as_it_was_written) {
  auto mesh = test_support::welded(test_support::irregular_patch(20, 8));
  mesh->inalize_mesh();
  const std::string path = temp_path("out.stl");
  mesh->output_STL(path.c_str());
  Mesh_M::Mesh again;
  EXPECT_EQ(again.input_data(std::fopen(path.c_str(), "rb")), 0);
  EXPECT_EQ(again.face.real_num, mesh->face.real_num);
  EXPECT_TRUE(adjacency_holds(again));
  for (int i = 0; i < again.face.get_facenum(); ++i) {
    for (int k = 0; k < 3; ++k) {
      EXPECT_EQ(again.face[i]->vert[k]->point.x, mesh->face[i]->vert[k]->point.x);
    }
  }
}

}  // namespace
