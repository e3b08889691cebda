#include <gmock/gmock.h>
#include <gtest/gtest.h>
#if defined(__linux__)
#include <malloc.h>
#endif

#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "scanmesh/ply_reader.h"
#include "tests/support/messages.h"
#include "tests/support/ply_files.h"
#include "tests/support/ply_result.h"

namespace {

using ply_reader_writer::Options;
using ply_reader_writer::PLY_Reader;
using ply_reader_writer::TriMeshData;
using test_support::kAllForms;
using test_support::kCorners;
using test_support::kXyz;
using test_support::Messages;
using test_support::ply_header;
using test_support::PlyBodyText;
using test_support::PlyForm;
using test_support::PlyResult;
using test_support::read_ply;
using test_support::triangle_rows;
using test_support::usual_elements;
using testing::ElementsAre;

TEST(PlyReader, reads_the_same_mesh_from_all_three_forms) {
  for (const PlyForm form : kAllForms) {
    PlyResult result;
    read_ply(ply_header(form, usual_elements(3, 1)) + triangle_rows(form), result);
    ASSERT_TRUE(result.sound);
    EXPECT_EQ(result.messages, "");
    EXPECT_THAT(result.xyz(), ElementsAre(0, 0, 0, 1.5F, 0, 0, 0, -2.25F, 1e-3F));
    EXPECT_THAT(result.corners(), ElementsAre(0, 1, 2));
    EXPECT_EQ(result.data.ijk, nullptr);
    EXPECT_EQ(result.data.rgba, nullptr);
    EXPECT_EQ(result.data.uv, nullptr);
    EXPECT_EQ(result.data.flags, nullptr);
    EXPECT_EQ(result.data.faceuv, nullptr);
    EXPECT_EQ(result.data.facergba, nullptr);
    EXPECT_FALSE(result.data.hascolor || result.data.hasnormal || result.data.hasflags);
  }
}

TEST(PlyReader, takes_a_carriage_return_behind_the_magic) {
  std::string bytes =
      ply_header(PlyForm::kAscii, usual_elements(3, 1)) + triangle_rows(PlyForm::kAscii);
  bytes.replace(0, 4, "PLY\r\n");
  PlyResult result;
  read_ply(bytes, result);
  EXPECT_TRUE(result.sound);
}

TEST(PlyReader, refuses_every_dimension_but_3) {
  for (const char* properties : {"property float x\nproperty float y\n", "",
                                 "property float x\nproperty float y\nproperty float z\n"
                                 "property float x\n"}) {
    for (const PlyForm form : kAllForms) {
      PlyResult result;
      read_ply(
          ply_header(form, std::string("element vertex 1\n") + properties) + "1 2 3 4            ",
          result);
      EXPECT_FALSE(result.sound);
      EXPECT_EQ(result.messages, "[PLYReader] : Only vertex dimension 3 is supported.\n");
    }
  }
}

TEST(PlyReader, skips_an_unknown_element_between_vertices_and_faces) {
  for (const PlyForm form : kAllForms) {
    PlyBodyText body(form);
    body.all({1.F, 2.F, 3.F}).end_row();
    for (int i = 0; i < 2; ++i) {
      body.add(static_cast<int16_t>(-7)).list({5, 6, 7, 8}).add(0.5).end_row();
    }
    body.list({0, 0, 0}).end_row();
    const std::string unknown =
        "element edge 2\nproperty short a\nproperty list uchar int b\nproperty double c\n";
    PlyResult result;
    read_ply(ply_header(form, std::string("element vertex 1\n") + kXyz + unknown +
                                  "element face 1\n" + kCorners) +
                 body.bytes(),
             result);
    ASSERT_TRUE(result.sound);
    EXPECT_THAT(result.corners(), ElementsAre(0, 0, 0));
  }
}

TEST(PlyReader, skips_an_unknown_element_of_rows_of_one_size) {
  for (const PlyForm form : kAllForms) {
    PlyBodyText body(form);
    for (int i = 0; i < 3; ++i) body.add(static_cast<int16_t>(i)).add(0.25).end_row();
    body.all({1.F, 2.F, 3.F}).end_row();
    PlyResult result;
    read_ply(ply_header(form, std::string("element edge 3\nproperty short a\nproperty double c\n"
                                          "element vertex 1\n") +
                                  kXyz) +
                 body.bytes(),
             result);
    ASSERT_TRUE(result.sound);
    EXPECT_THAT(result.xyz(), ElementsAre(1, 2, 3));
  }
}

TEST(PlyReader, takes_faces_before_vertices) {
  for (const PlyForm form : kAllForms) {
    PlyBodyText body(form);
    body.list({0, 1, 0}).end_row().all({1.F, 2.F, 3.F}).end_row().all({4.F, 5.F, 6.F}).end_row();
    PlyResult result;
    read_ply(
        ply_header(form, std::string("element face 1\n") + kCorners + "element vertex 2\n" + kXyz) +
            body.bytes(),
        result);
    ASSERT_TRUE(result.sound);
    EXPECT_THAT(result.xyz(), ElementsAre(1, 2, 3, 4, 5, 6));
    EXPECT_THAT(result.corners(), ElementsAre(0, 1, 0));
  }
}

TEST(PlyReader, ending_early_is_told_and_refused) {
  for (const PlyForm form : kAllForms) {
    const std::string head = ply_header(form, usual_elements(3, 1));
    const std::string body = triangle_rows(form);
    // A text may end within its last number and still be whole.
    const std::size_t most = form == PlyForm::kAscii ? body.size() - 2 : body.size();
    for (std::size_t size = form == PlyForm::kAscii ? 1 : 0; size < most; ++size) {
      PlyResult result;
      read_ply(head + body.substr(0, size), result);
      EXPECT_FALSE(result.sound) << size;
      EXPECT_EQ(result.messages, "Unexpected end of file while reading.\n") << size;
    }
    PlyResult result;
    read_ply(head + body, result);
    EXPECT_TRUE(result.sound);
  }
}

// Memory that is handed out anew isn't zero.
class DirtyMemory {
 public:
  DirtyMemory() {
#if defined(__GLIBC__)
    mallopt(M_PERTURB, 0x55);
#endif
  }
  ~DirtyMemory() {
#if defined(__GLIBC__)
    mallopt(M_PERTURB, 0);
#endif
  }
  DirtyMemory(const DirtyMemory&) = delete;
  DirtyMemory& operator=(const DirtyMemory&) = delete;
};

TEST(PlyReader, rows_that_the_file_does_not_have_are_zero) {
  const std::string head = ply_header(
      PlyForm::kAscii,
      std::string("element vertex 4\n") + kXyz +
          "property float nx\nproperty float ny\nproperty float nz\nproperty uchar red\n"
          "property uchar green\nproperty uchar blue\nproperty uchar alpha\nproperty int flags\n"
          "property float s\nproperty float t\n");
  const std::string row = "1 2 3 4 5 6 255 255 255 255 9 0.5 0.25\n";
  const DirtyMemory dirty;
  PlyResult result;
  // The third row ends early; nothing of it or of the fourth is left to chance.
  read_ply(head + row + row + "1 2 3 4 5 6 255 255 255 255 9 x x x x x x x x x x x x x x", result);
  EXPECT_FALSE(result.sound);
  const auto& data = result.data;
  ASSERT_EQ(data.nb_vertex, 4);
  ASSERT_TRUE(data.hasnormal && data.hascolor);
  const auto part = [](const auto* values, int width, int vertex) {
    using Value = std::remove_const_t<std::remove_pointer_t<decltype(values)>>;
    return std::vector<Value>(values + width * vertex, values + width * (vertex + 1));
  };
  for (int i = 0; i < 4; ++i) {
    const bool there = i < 2;
    EXPECT_EQ(part(data.xyz, 3, i), there ? (std::vector<float>{1, 2, 3}) : std::vector<float>(3));
    EXPECT_EQ(part(data.ijk, 3, i), there ? (std::vector<float>{4, 5, 6}) : std::vector<float>(3));
    EXPECT_EQ(part(data.rgba, 4, i), std::vector<float>(4, there ? 1.0F : 0.0F));
    if (data.hasflags) {
      EXPECT_EQ(data.flags[i], there ? 9 : 0);
    }
    if (data.hastexcoord) {
      EXPECT_EQ(part(data.uv, 2, i),
                there ? (std::vector<float>{0.5F, 0.25F}) : std::vector<float>(2));
    }
  }
}

TEST(PlyReader, text_that_is_no_number_ends_the_reading) {
  for (const char* row :
       {"1 two 3\n", "nan 0 0\n", "0 inf 0\n", "1e99 0 0\n", "1,5 0 0\n", "0x1 0 0\n"}) {
    PlyResult result;
    read_ply(
        ply_header(PlyForm::kAscii, std::string("element vertex 1\n") + kXyz) + row + "         ",
        result);
    EXPECT_FALSE(result.sound) << row;
    EXPECT_EQ(result.messages, "Unexpected end of file while reading.\n") << row;
  }
}

TEST(PlyReader, rows_may_run_over_lines_of_any_end) {
  PlyResult result;
  read_ply(ply_header(PlyForm::kAscii, usual_elements(2, 1)) + "1\r\n2\r3\n4 5\t6\v3\f0 1\n\n\n1",
           result);
  ASSERT_TRUE(result.sound);
  EXPECT_THAT(result.xyz(), ElementsAre(1, 2, 3, 4, 5, 6));
  EXPECT_THAT(result.corners(), ElementsAre(0, 1, 1));
}

TEST(PlyReader, options_going_in_do_not_restrict_the_reading) {
  std::istringstream stream(ply_header(PlyForm::kBig, usual_elements(3, 1)) +
                            triangle_rows(PlyForm::kBig));
  Options options(0xFFFF);
  PLY_Reader reader;
  TriMeshData data;
  ASSERT_TRUE(reader.read(stream, data, options));
  EXPECT_EQ(static_cast<int>(options), 0x0003);
  EXPECT_EQ(static_cast<int>(reader.request), 0xFFFF);
  EXPECT_EQ(data.xyz[3], 1.5F);
}

TEST(PlyReader, a_refused_header_is_told_and_keeps_the_options) {
  std::istringstream stream("plx\n");
  Options options(0x20);
  PLY_Reader reader;
  TriMeshData data;
  const Messages messages;
  EXPECT_FALSE(reader.read(stream, data, options));
  EXPECT_EQ(messages.text(), "[PLYReader] : cannot not read header\n");
  EXPECT_EQ(static_cast<int>(options), 0x20);
}

TEST(PlyReader, a_stream_that_is_not_good_is_told) {
  std::istringstream stream("ply\n");
  stream.setstate(std::ios::failbit);
  Options options;
  PLY_Reader reader;
  TriMeshData data;
  const Messages messages;
  EXPECT_FALSE(reader.read(stream, data, options));
  EXPECT_EQ(messages.text(), "[PLYReader] : cannot not use stream\n");
}

TEST(PlyReader, a_text_that_ends_with_its_header_leaves_no_stream_to_use) {
  const std::string header =
      "ply\nformat ascii 1.0\nelement vertex 0\n" + std::string(kXyz) + "end_header";
  PlyResult none;
  read_ply(header, none);
  EXPECT_FALSE(none.sound);
  EXPECT_EQ(none.messages, "[PLYReader] : cannot not use stream\n");
  PlyResult empty;
  read_ply(header + "\n", empty);
  EXPECT_TRUE(empty.sound);
  EXPECT_EQ(empty.data.nb_vertex, 0);
  EXPECT_NE(empty.data.xyz, nullptr);
}

TEST(PlyReader, begins_at_the_position_of_the_stream_and_stands_behind_the_body) {
  for (const PlyForm form : kAllForms) {
    const std::string one = ply_header(form, usual_elements(3, 1)) + triangle_rows(form);
    std::istringstream stream("head" + one + one + "tail");
    stream.seekg(4);
    PLY_Reader reader;
    for (int i = 0; i < 2; ++i) {
      TriMeshData data;
      Options options;
      ASSERT_TRUE(reader.read(stream, data, options));
      EXPECT_EQ(data.nb_face, 1);
      if (form == PlyForm::kAscii) stream.get();  // the last line end isn't part of a number
    }
    EXPECT_EQ(stream.get(), 't');
  }
}

TEST(PlyReader, a_check_before_leaves_the_stream_ready) {
  std::istringstream stream(ply_header(PlyForm::kLittle, usual_elements(3, 1)) +
                            triangle_rows(PlyForm::kLittle));
  PLY_Reader reader;
  TriMeshData data;
  Options options;
  EXPECT_TRUE(reader.can_u_read(stream));
  EXPECT_TRUE(reader.read(stream, data, options));
}

TEST(PlyReader, reads_files_by_wide_paths) {
  const std::string bytes =
      ply_header(PlyForm::kLittle, usual_elements(3, 1)) + triangle_rows(PlyForm::kLittle);
  const std::string narrow = test_support::temp_path("сканер_扫描_é_🙂.ply");
  std::wstring path;
  const std::size_t name = narrow.find("\xD1");
  path.assign(narrow.begin(), narrow.begin() + static_cast<std::ptrdiff_t>(name));
  path += L"сканер_扫描_é_🙂.ply";
  test_support::write_file(narrow, bytes);
  PLY_Reader reader;
  TriMeshData data;
  Options options;
  EXPECT_TRUE(reader.can_u_read(path));
  EXPECT_TRUE(reader.readHeader(path, options));
  EXPECT_EQ(static_cast<int>(options), 0x0005);
  EXPECT_TRUE(reader.read(path, data, options));
  EXPECT_EQ(data.nb_vertex, 3);
  std::remove(narrow.c_str());
}

TEST(PlyReader, a_file_that_cannot_be_opened_is_told_by_name) {
  PLY_Reader reader;
  TriMeshData data;
  Options options;
  const Messages messages;
  EXPECT_FALSE(reader.read(L"/no/such/é.ply", data, options));
  EXPECT_EQ(messages.text(), "[PLYReader] : cannot not open file /no/such/é.ply\n");
  EXPECT_FALSE(reader.can_u_read(L"/no/such/file.ply"));
  EXPECT_FALSE(reader.readHeader(L"/no/such/file.ply", options));
}

TEST(PlyReader, a_file_that_is_no_ply_file_is_told) {
  const std::string path = test_support::temp_path("other.ply");
  test_support::write_file(path, "solid of sorts\n");
  PLY_Reader reader;
  TriMeshData data;
  Options options(0x20);
  const Messages messages;
  EXPECT_FALSE(reader.read(std::wstring(path.begin(), path.end()), data, options));
  EXPECT_EQ(messages.text(), "[PLYReader] : cannot not read header\n");
  EXPECT_EQ(static_cast<int>(options), 0x20);
  std::remove(path.c_str());
}

TEST(PlyReader, keeps_what_its_last_header_said) {
  std::istringstream stream(ply_header(PlyForm::kAscii, usual_elements(3, 1)) +
                            triangle_rows(PlyForm::kAscii));
  PLY_Reader reader;
  TriMeshData data;
  Options options;
  ASSERT_TRUE(reader.read(stream, data, options));
  EXPECT_EQ(reader.vertexCount, 3);
  EXPECT_EQ(reader.faceCount, 1);
  EXPECT_EQ(reader.vertexDimension, 3);
  EXPECT_EQ(reader.elements.size(), 2U);
  std::istringstream other("no header\n");
  const Messages messages;
  EXPECT_FALSE(reader.readHeader(other, options));
  EXPECT_EQ(reader.vertexCount, 0);
  EXPECT_TRUE(reader.elements.empty());
}

}  // namespace
