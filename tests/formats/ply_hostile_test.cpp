// PLY files from outside: cut short, counts and lengths beyond anything, random changes.
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "scanmesh/internal.h"
#include "scanmesh/mesh.h"
#include "scanmesh/ply_reader.h"
#include "tests/support/messages.h"
#include "tests/support/ply_files.h"

namespace {

using ply_reader_writer::TriMeshData;
using test_support::kAllForms;
using test_support::kCorners;
using test_support::kXyz;
using test_support::Messages;
using test_support::ply_header;
using test_support::PlyBodyText;
using test_support::PlyForm;
using test_support::Random;

// Reads out of a buffer of exactly its size, so that a sanitizer sees a step too far.
bool read_exact(const std::string& bytes, TriMeshData& data, std::ostream& messages) {
  const std::unique_ptr<char[]> copy(new char[bytes.size()]);
  std::memcpy(copy.get(), bytes.data(), bytes.size());
  const char* const begin = copy.get();
  const char* const end = begin + bytes.size();
  bool ran_out = false;
  scanmesh::PlyHeader header;
  scanmesh::parse_ply_header(begin, end, scanmesh::PlyGrammar::kCheck, header, messages, ran_out);
  if (!scanmesh::parse_ply_header(begin, end, scanmesh::PlyGrammar::kRead, header, messages,
                                  ran_out)) {
    return false;
  }
  if (header.body > bytes.size()) return false;
  const scanmesh::PlyBody body =
      scanmesh::read_ply_body(header, begin + header.body, end, data, messages);
  EXPECT_TRUE(body.stop >= begin + header.body && body.stop <= end);
  return body.complete;
}

bool read_exact(const std::string& bytes, TriMeshData& data) {
  std::ostringstream messages;
  return read_exact(bytes, data, messages);
}

// Every kind of property there is.
std::string rich_file(PlyForm form) {
  const std::string elements =
      std::string("comment all of it\nelement vertex 3\n") + kXyz +
      "property uchar red\nproperty float green\nproperty double blue\nproperty uchar alpha\n"
      "property float nx\nproperty float s\nproperty int flags\nproperty short quality\n"
      "element edge 2\nproperty int a\nproperty list ushort char b\n"
      "element face 2\n" +
      kCorners +
      "property list uchar float texcoord\nproperty uchar red\nproperty uchar mark\n"
      "element range 2\nproperty double low\n";
  PlyBodyText body(form);
  for (int i = 0; i < 3; ++i) {
    const float f = static_cast<float>(i);
    body.all({f, 2 - f, f * f}).add(uint8_t{200}).add(0.5F).add(17.0).add(uint8_t{9});
    body.add(1.F).add(0.25F).add(-5).add(int16_t{300}).end_row();
  }
  for (int i = 0; i < 2; ++i) {
    body.add(i).add(uint16_t{2}).add(int8_t{5}).add(int8_t{6}).end_row();
  }
  for (int i = 0; i < 2; ++i) {
    body.list({i, 1, 2}).list({0.F, .5F, 1.F, 0.F, .5F, 1.F});
    body.add(uint8_t{255}).add(uint8_t{1}).end_row();
  }
  body.add(0.5).end_row().add(1.5).end_row();
  return ply_header(form, elements) + body.bytes();
}

TEST(HostilePly, every_shorter_prefix_is_refused) {
  for (const PlyForm form : kAllForms) {
    const std::string whole = rich_file(form);
    TriMeshData all;
    ASSERT_TRUE(read_exact(whole, all));
    EXPECT_EQ(all.nb_vertex, 3);
    EXPECT_EQ(all.nb_face, 2);
    // The last line of a text is "1.5": it is a number from its first digit on.
    const std::size_t most = form == PlyForm::kAscii ? whole.size() - 3 : whole.size();
    for (std::size_t size = 0; size < most; ++size) {
      TriMeshData data;
      ASSERT_FALSE(read_exact(whole.substr(0, size), data)) << size;
    }
  }
}

TEST(HostilePly, arrays_of_a_file_cut_short_hold_no_more_than_it_and_zeros) {
  for (const PlyForm form : kAllForms) {
    const std::string elements =
        std::string("element vertex 4\n") + kXyz + "element face 1\n" + kCorners;
    PlyBodyText body(form);
    body.all({1.F, 2.F, 3.F}).end_row().add(4.F);
    // Enough bytes for all the rows, but not enough values.
    const std::string padding(form == PlyForm::kAscii ? 100 : 0, ' ');
    TriMeshData data;
    EXPECT_FALSE(read_exact(ply_header(form, elements) + body.bytes() + padding, data));
    if (form != PlyForm::kAscii) continue;
    ASSERT_EQ(data.nb_vertex, 4);
    EXPECT_EQ(data.nb_face, 0);
    EXPECT_EQ(data.xyz[2], 3);
    for (int i = 3; i < 12; ++i) EXPECT_EQ(data.xyz[i], 0) << i;
  }
}

TEST(HostilePly, counts_beyond_the_file_are_refused_before_any_memory_is_made) {
  for (const PlyForm form : kAllForms) {
    for (const char* elements :
         {"element vertex 2147483647\nproperty float x\nproperty float y\nproperty float z\n",
          "element vertex 1\nproperty float x\nproperty float y\nproperty float z\n"
          "element face 2147483647\nproperty list uchar int vertex_indices\n",
          "element vertex 1\nproperty float x\nproperty float y\nproperty float z\n"
          "element other 2147483647\nproperty uchar a\n"}) {
      const std::string bytes = ply_header(form, elements) + "1 2 3 4 5 6 7 8 9 10 11 12 ";
      TriMeshData data;
      std::ostringstream messages;
      EXPECT_FALSE(read_exact(bytes, data, messages));
      EXPECT_EQ(data.xyz, nullptr);
      EXPECT_NE(messages.str().find("Unexpected end of file while reading.\n"), std::string::npos);
    }
  }
}

TEST(HostilePly, rows_without_bytes_end_at_once) {
  for (const PlyForm form : kAllForms) {
    const std::string elements = std::string("element nothing 2147483647\nelement vertex 1\n") +
                                 kXyz + "element face 2147483647\n";
    PlyBodyText body(form);
    body.all({1.F, 2.F, 3.F}).end_row();
    TriMeshData data;
    EXPECT_TRUE(read_exact(ply_header(form, elements) + body.bytes(), data));
    EXPECT_EQ(data.nb_face, 0);
    EXPECT_EQ(data.xyz[2], 3);
  }
}

TEST(HostilePly, vertices_of_unknown_types_in_any_number_make_no_memory) {
  std::string elements =
      "element vertex 2147483647\nproperty half x\nproperty half y\nproperty half z\n";
  TriMeshData data;
  EXPECT_FALSE(read_exact(ply_header(PlyForm::kLittle, elements) + "abcdef", data));
  EXPECT_EQ(data.xyz, nullptr);
  // As many properties of no size as the header has room for cost nothing per row either.
  elements = std::string("element vertex 200000\n") + kXyz;
  for (int i = 0; i < 200000; ++i) elements += "property half h\n";
  EXPECT_TRUE(read_exact(ply_header(PlyForm::kLittle, elements) + std::string(2400000, 'a'), data));
}

// Each coordinate that takes no bytes would make rows out of nothing.
TEST(HostilePly, rows_of_one_byte_each_make_no_memory_where_coordinates_have_no_type) {
  const std::string bytes(4000000, 'a');
  TriMeshData data;
  EXPECT_FALSE(read_exact(ply_header(PlyForm::kLittle,
                                     "element vertex 4000000\nproperty half x\nproperty half y\n"
                                     "property uchar z\n") +
                              bytes,
                          data));
  EXPECT_EQ(data.xyz, nullptr);
}

// Looked back over for each of them, the lines before would take longer than any test may.
TEST(HostilePly, a_header_of_corner_lists_in_any_number_is_read_in_one_go) {
  constexpr std::size_t kLists = 600000;
  std::string elements = std::string("element vertex 1\n") + kXyz + "element face 0\n";
  for (std::size_t i = 0; i < kLists; ++i) elements += kCorners;
  const std::string bytes = ply_header(PlyForm::kAscii, elements);
  scanmesh::PlyHeader header;
  std::ostringstream told;
  bool ran_out = false;
  ASSERT_TRUE(scanmesh::parse_ply_header(bytes.data(), bytes.data() + bytes.size(),
                                         scanmesh::PlyGrammar::kRead, header, told, ran_out));
  EXPECT_EQ(header.elements[1].properties.size(), kLists);
  EXPECT_EQ(told.str(), "");
}

TEST(HostilePly, elements_given_twice_stay_within_their_arrays) {
  for (const PlyForm form : kAllForms) {
    const std::string elements =
        std::string("element vertex 1\nproperty float x\n") + "element face 1\n" + kCorners +
        "element vertex 3\nproperty float y\nproperty float z\n" + "element face 2\n" + kCorners;
    PlyBodyText body(form);
    body.all({1.F, 2.F, 3.F}).end_row();
    body.list({0, 0, 1}).list({0, 0, 2}).end_row();
    body.all({1.F, 2.F, 3.F, 4.F, 5.F, 6.F}).end_row();
    body.list({0, 1, 2}).list({0, 2, 1}).end_row();
    TriMeshData data;
    ASSERT_TRUE(read_exact(ply_header(form, elements) + body.bytes(), data));
    EXPECT_EQ(data.nb_vertex, 3);
    EXPECT_EQ(data.nb_face, 2);
    EXPECT_EQ(data.faceindex[3], 0);
    EXPECT_EQ(data.faceindex[4], 2);
    EXPECT_EQ(data.xyz[1], 1);  // the later element's rows stand
    EXPECT_EQ(data.xyz[8], 6);
  }
}

TEST(HostilePly, many_empty_elements_cost_nothing) {
  std::string elements;
  for (int i = 0; i < 20000; ++i) elements += "element vertex 1000\nelement face 2147483647\n";
  elements += std::string("element vertex 1000\n") + kXyz;
  TriMeshData data;
  EXPECT_TRUE(read_exact(ply_header(PlyForm::kLittle, elements) + std::string(12000, 'b'), data));
}

TEST(HostilePly, a_million_properties_are_read) {
  std::string elements = std::string("element vertex 1\n") + kXyz;
  for (int i = 0; i < 1000000; ++i) elements += "property uchar p\n";
  TriMeshData data;
  EXPECT_TRUE(read_exact(ply_header(PlyForm::kLittle, elements) + std::string(1000012, 'c'), data));
  EXPECT_FALSE(
      read_exact(ply_header(PlyForm::kLittle, elements) + std::string(1000011, 'c'), data));
}

TEST(HostilePly, list_lengths_beyond_the_file_are_refused) {
  PlyBodyText body(PlyForm::kLittle);
  body.all({1.F, 2.F, 3.F}).add(uint16_t{65535}).all({1, 2, 3});
  TriMeshData data;
  EXPECT_FALSE(read_exact(
      ply_header(PlyForm::kLittle, std::string("element vertex 1\n") + kXyz +
                                       "element face 1\nproperty list ushort int vertex_index\n") +
          body.bytes(),
      data));
  EXPECT_FALSE(read_exact(ply_header(PlyForm::kAscii, std::string("element vertex 1\n") + kXyz +
                                                          "element face 1\n" + kCorners) +
                              "0 0 0\n2000000000 1 2 3\n",
                          data));
}

TEST(HostilePly, bytes_that_are_no_ply_file_are_given_up_after_a_few) {
  std::istringstream stream(std::string(10000000, 'p'));
  ply_reader_writer::PLY_Reader reader;
  ply_reader_writer::Options options;
  TriMeshData data;
  const Messages messages;
  EXPECT_FALSE(reader.read(stream, data, options));
  stream.clear();
  EXPECT_LT(static_cast<long>(stream.tellg()), 100000);
}

class Mutation {
 public:
  explicit Mutation(uint64_t seed) : random_(seed) {}

  std::string of(std::string bytes) {
    for (int n = random_.below(4); n >= 0; --n) change(bytes);
    return bytes;
  }

 private:
  void change(std::string& bytes) {
    if (bytes.empty()) return;
    const std::size_t at = place(bytes);
    const std::size_t count = std::min<std::size_t>(bytes.size() - at, place(bytes) % 20);
    switch (random_.below(6)) {
      case 0:
        bytes[at] = static_cast<char>(random_.next());
        break;
      case 1:
        bytes.erase(at, count);
        break;
      case 2:
        bytes.insert(at, bytes.substr(place(bytes), count));
        break;
      case 3:
        bytes.resize(at);
        break;
      case 4:
        change_number(bytes, at);
        break;
      default:
        exchange_words(bytes, at);
        break;
    }
  }
  // The next digits of the header become another number.
  void change_number(std::string& bytes, std::size_t at) {
    const std::size_t first = bytes.find_first_of("0123456789", at % 600);
    if (first == std::string::npos) return;
    const char* const numbers[] = {"0",          "1",          "2",  "4",  "65536",
                                   "2147483647", "4294967295", "-1", "1e9"};
    bytes.replace(first, 1, numbers[random_.below(9)]);
  }
  void exchange_words(std::string& bytes, std::size_t at) {
    const char* const words[] = {"float",    "double",  "uchar",    "int",        "list",
                                 "vertex",   "face",    "x",        "red",        "vertex_index",
                                 "texcoord", "element", "property", "end_header", "ushort",
                                 "half",     "\r\n",    "\n",       " "};
    const std::size_t first = bytes.find(words[random_.below(19)], at % 600);
    if (first == std::string::npos) return;
    const std::size_t end = bytes.find_first_of(" \n", first);
    bytes.replace(first, end == std::string::npos ? 1 : end - first, words[random_.below(19)]);
  }
  std::size_t place(const std::string& bytes) {
    return static_cast<std::size_t>(random_.below(static_cast<int>(bytes.size())));
  }

  Random random_;
};

// Reading every value shows a sanitizer what wasn't set.
double sum_of(const TriMeshData& data) {
  double sum = 0;
  const auto add = [&sum](const auto* values, int count) {
    for (int i = 0; values != nullptr && i < count; ++i) {
      const double value = static_cast<double>(values[i]);
      sum += value > 0 ? 1 : 0;
    }
  };
  add(data.xyz, 3 * data.nb_vertex);
  add(data.ijk, 3 * data.nb_vertex);
  add(data.rgba, 4 * data.nb_vertex);
  add(data.uv, 2 * data.nb_vertex);
  add(data.flags, data.nb_vertex);
  add(data.faceindex, 3 * data.nb_face);
  add(data.faceuv, 6 * data.nb_face);
  add(data.facergba, 4 * data.nb_face);
  return sum;
}

TEST(HostilePly, random_changes_of_good_files_never_go_beyond_the_bytes) {
  int taken = 0;
  for (const PlyForm form : kAllForms) {
    const std::string good = rich_file(form);
    Mutation mutation(static_cast<uint64_t>(form) + 40);
    for (int i = 0; i < 10000; ++i) {
      const std::string bytes = mutation.of(good);
      TriMeshData data;
      taken += read_exact(bytes, data) ? 1 : 0;
      ASSERT_LE(static_cast<std::size_t>(data.nb_vertex), bytes.size());
      ASSERT_LE(static_cast<std::size_t>(data.nb_face), bytes.size() / 4);
      if (data.xyz != nullptr) {
        ASSERT_GE(sum_of(data), 0);
      }
    }
  }
  EXPECT_GT(taken, 1500);  // many changes leave a file that reads
}

TEST(HostilePly, random_changes_leave_a_mesh_that_can_be_worked_on) {
  const test_support::Soup soup = test_support::irregular_patch(4, 3);
  const std::string path = test_support::temp_path("mutated.ply");
  const Messages messages;
  int loaded = 0;
  for (const PlyForm form : kAllForms) {
    const std::string good = test_support::ply_of(soup, form);
    Mutation mutation(static_cast<uint64_t>(form) + 90);
    for (int i = 0; i < 150; ++i) {
      test_support::write_file(path, mutation.of(good));
      Mesh_M::Mesh mesh;
      if (mesh.input_ply_data(path.c_str()) != 0) {
        ASSERT_EQ(mesh.vertex.records.block, nullptr);
        continue;
      }
      ++loaded;
      mesh.inalize_mesh();
      mesh.build_hole();
      mesh.output_STL(path.c_str());
    }
  }
  std::remove(path.c_str());
  EXPECT_GT(loaded, 40);
}

}  // namespace
