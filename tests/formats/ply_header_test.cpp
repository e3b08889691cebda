#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "scanmesh/ply_reader.h"
#include "tests/support/messages.h"
#include "tests/support/ply_files.h"

namespace {

using ply_reader_writer::Options;
using ply_reader_writer::PLY_Base;
using ply_reader_writer::PLY_Reader;
using test_support::Messages;
using test_support::ply_header;
using test_support::PlyForm;
using testing::HasSubstr;

struct Result {
  bool sound = false;
  int options = 0;
  std::string messages;
  long position = -1;
  PLY_Reader reader;
};

Result header_of(const std::string& bytes, bool check = false) {
  Result result;
  std::istringstream stream(bytes);
  Options options(-1);
  const Messages messages;
  result.sound =
      check ? result.reader.can_u_read(stream) : result.reader.readHeader(stream, options);
  result.messages = messages.text();
  result.options = options;
  result.position = static_cast<long>(stream.tellg());
  return result;
}

std::string ascii(const std::string& elements) {
  return ply_header(PlyForm::kAscii, elements) + "0 0 0\n";
}

const char* const kVertex =
    "element vertex 1\nproperty float x\nproperty float y\nproperty float z\n";

TEST(PlyHeader, first_line_is_the_magic_in_one_of_two_spellings) {
  for (const char* good : {"ply\n", "PLY\n", "ply\r\n", "PLY\r\n"}) {
    const std::string bytes = good + ascii(kVertex).substr(4);
    EXPECT_TRUE(header_of(bytes).sound) << good;
  }
  for (const char* bad :
       {"Ply\n", " ply\n", "ply \n", "plyx\n", "ply\r\r\n", "\n", "", "ply format"}) {
    const std::string bytes = bad + ascii(kVertex).substr(4);
    const Result result = header_of(bytes);
    EXPECT_FALSE(result.sound) << bad;
    EXPECT_EQ(result.messages, "") << bad;
  }
  EXPECT_FALSE(header_of("").sound);
}

TEST(PlyHeader, format_decides_the_lowest_bits) {
  EXPECT_EQ(header_of(ply_header(PlyForm::kAscii, kVertex)).options, 0);
  EXPECT_EQ(header_of(ply_header(PlyForm::kLittle, kVertex)).options, 0x0005);
  EXPECT_EQ(header_of(ply_header(PlyForm::kBig, kVertex)).options, 0x0003);
}

TEST(PlyHeader, format_that_is_not_known_is_told_and_refused) {
  const Result result = header_of("ply\nformat binary_middle_endian 1.0\nend_header\n");
  EXPECT_FALSE(result.sound);
  EXPECT_EQ(result.messages, "Unsupported PLY format: binary_middle_endian\n");
}

TEST(PlyHeader, ending_before_the_version_is_defect) {
  for (const char* bytes : {"ply\n", "ply\nformat\n", "ply\nformat ascii\n",
                            "ply\nformat ascii x\n", "ply", "ply\nformat ascii"}) {
    const Result result = header_of(bytes);
    EXPECT_FALSE(result.sound) << bytes;
    EXPECT_EQ(result.messages, "Defect PLY header detected\n") << bytes;
  }
}

TEST(PlyHeader, without_its_end_is_refused) {
  const std::string whole = ascii(kVertex);
  const std::string bytes = whole.substr(0, whole.find("end_header"));
  for (const std::string& cut : {bytes, bytes + "end_heade", bytes + "comment to the end",
                                 bytes + "element", bytes + "element edge", bytes + "property",
                                 bytes + "property list", bytes + "property float"}) {
    const Result result = header_of(cut);
    EXPECT_FALSE(result.sound) << cut;
    EXPECT_THAT(result.messages, HasSubstr("Error while reading PLY file header\n")) << cut;
  }
}

TEST(PlyHeader, count_that_is_no_count_is_refused) {
  for (const char* count : {"many", "-1", "2147483648", "99999999999999999999", ""}) {
    const Result result = header_of(ascii(std::string("element vertex ") + count + "\n"));
    EXPECT_FALSE(result.sound) << count;
    EXPECT_EQ(result.messages, "Error while reading PLY file header\n") << count;
  }
}

TEST(PlyHeader, comments_are_skipped_to_the_end_of_the_line) {
  const Result result =
      header_of(ascii(std::string("comment element vertex x\ncomment\n") + kVertex));
  EXPECT_TRUE(result.sound);
  EXPECT_EQ(result.messages, "");
  EXPECT_EQ(result.reader.vertexCount, 1);
}

TEST(PlyHeader, keywords_that_are_not_known_are_told_word_by_word) {
  const Result result = header_of(ascii(std::string("obj_info by hand\n") + kVertex));
  EXPECT_TRUE(result.sound);
  EXPECT_EQ(result.messages,
            "Unsupported keyword : obj_info\nUnsupported keyword : by\n"
            "Unsupported keyword : hand\n");
}

TEST(PlyHeader, elements_are_kept_in_file_order) {
  const Result result =
      header_of(ascii(std::string("element face 7\nproperty list uchar int vertex_index\n"
                                  "element edge 3\nproperty int a\nproperty list ushort int b\n") +
                      kVertex));
  ASSERT_TRUE(result.sound);
  const auto& elements = result.reader.elements;
  ASSERT_EQ(elements.size(), 3U);
  EXPECT_EQ(elements[0].kind, 1);
  EXPECT_EQ(elements[1].kind, 2);
  EXPECT_EQ(elements[2].kind, 0);
  EXPECT_EQ(elements[1].name, "edge");
  EXPECT_EQ(elements[1].count, 3);
  ASSERT_EQ(elements[1].properties.size(), 2U);
  EXPECT_EQ(elements[1].properties[1].name, "b");
  EXPECT_EQ(elements[1].properties[1].length_type, 8);
  EXPECT_EQ(elements[1].properties[1].type, 10);
  EXPECT_EQ(elements[0].properties[0].meaning, 13);
  EXPECT_EQ(result.reader.vertexCount, 1);
  EXPECT_EQ(result.reader.faceCount, 7);
  EXPECT_EQ(result.reader.vertexDimension, 3);
  EXPECT_EQ(result.messages,
            "PLY header unsupported element type: edge\n"
            "property a belongs to unsupported element edge\n"
            "property b belongs to unsupported element edge\n");
}

TEST(PlyHeader, type_names_give_their_values) {
  const char* const names[] = {"half",  "int8",    "char",   "uint8",   "uchar", "int16",
                               "short", "uint16",  "ushort", "int32",   "int",   "uint32",
                               "uint",  "float32", "float",  "float64", "double"};
  for (int i = 0; i < 17; ++i) {
    const Result result =
        header_of(ascii(std::string("element vertex 1\nproperty ") + names[i] + " x\n"));
    ASSERT_TRUE(result.sound) << names[i];
    EXPECT_EQ(result.reader.elements[0].properties[0].type, i) << names[i];
  }
}

struct Case {
  const char* name;
  int meaning;
  int options;
};

TEST(PlyHeader, names_of_vertex_properties_give_meanings_and_bits) {
  for (const Case& c : {Case{"x", 0, 0},
                        {"y", 1, 0},
                        {"z", 2, 0},
                        {"u", 3, 0x40},
                        {"s", 3, 0x40},
                        {"v", 4, 0x40},
                        {"t", 4, 0x40},
                        {"red", 5, 0x20},
                        {"diffuse_red", 5, 0x20},
                        {"green", 6, 0x20},
                        {"diffuse_green", 6, 0x20},
                        {"blue", 7, 0x20},
                        {"diffuse_blue", 7, 0x20},
                        {"alpha", 8, 0x820},
                        {"nx", 9, 0x10},
                        {"ny", 10, 0x10},
                        {"nz", 11, 0x10},
                        {"flags", 15, 0x4000},
                        {"quality", 12, 0x8000},
                        {"diffuse_alpha", 12, 0x8000},
                        {"X", 12, 0x8000}}) {
    const std::string bytes =
        ascii(std::string("element vertex 1\nproperty uchar ") + c.name + "\n");
    const Result result = header_of(bytes);
    ASSERT_TRUE(result.sound) << c.name;
    EXPECT_EQ(result.reader.elements[0].properties[0].meaning, c.meaning) << c.name;
    EXPECT_EQ(result.options, c.options) << c.name;
    EXPECT_EQ(result.reader.vertexDimension, c.meaning <= 2 ? 1 : 0) << c.name;
    EXPECT_EQ(result.messages, "") << c.name;
  }
}

TEST(PlyHeader, names_of_face_properties_give_meanings_and_bits) {
  for (const Case& c : {Case{"red", 5, 0x200},
                        {"diffuse_blue", 7, 0x200},
                        {"alpha", 8, 0xA00},
                        {"x", 12, 0x8000},
                        {"nx", 12, 0x8000},
                        {"flags", 12, 0x8000}}) {
    const Result result =
        header_of(ascii(std::string("element face 1\nproperty uchar ") + c.name + "\n"));
    ASSERT_TRUE(result.sound) << c.name;
    EXPECT_EQ(result.reader.elements[0].properties[0].meaning, c.meaning) << c.name;
    EXPECT_EQ(result.options, c.options) << c.name;
  }
}

TEST(PlyHeader, colour_of_the_two_short_float_names_counts_as_float) {
  for (const char* type : {"float", "float32"}) {
    EXPECT_EQ(
        header_of(ascii(std::string("element vertex 1\nproperty ") + type + " red\n")).options,
        0x1020);
    EXPECT_EQ(header_of(ascii(std::string("element face 1\nproperty ") + type + " red\n")).options,
              0x1200);
  }
  EXPECT_EQ(header_of(ascii("element vertex 1\nproperty double red\n")).options, 0x20);
  EXPECT_EQ(header_of(ascii("element vertex 1\nproperty float quality\n")).options, 0x8000);
}

TEST(PlyHeader, list_length_is_an_unsigned_type_of_one_or_two_bytes) {
  for (const char* type : {"uchar", "uint8", "ushort", "uint16"}) {
    EXPECT_TRUE(header_of(ascii(std::string("element face 1\nproperty list ") + type +
                                " int vertex_indices\n"))
                    .sound);
  }
  for (const char* type : {"char", "int8", "short", "int16", "int", "int32", "uint", "uint32",
                           "float", "double", "long"}) {
    const Result result = header_of(
        ascii(std::string("element face 1\nproperty list ") + type + " int vertex_indices\n"));
    EXPECT_FALSE(result.sound) << type;
    EXPECT_EQ(result.messages,
              std::string("Unsupported Index type for property list: ") + type + "\n");
  }
}

TEST(PlyHeader, list_entries_are_integers_or_of_a_texture_list_floats) {
  for (const char* type : {"char", "uchar", "short", "ushort", "int", "uint", "int8", "uint32"}) {
    EXPECT_TRUE(header_of(ascii(std::string("element face 1\nproperty list uchar ") + type +
                                " vertex_index\n"))
                    .sound);
  }
  for (const char* type : {"float", "float32", "double", "float64"}) {
    const Result texture = header_of(
        ascii(std::string("element face 1\nproperty list uchar ") + type + " texcoord\n"));
    EXPECT_TRUE(texture.sound);
    EXPECT_EQ(texture.options, 0x400);
    const Result other =
        header_of(ascii(std::string("element face 1\nproperty list uchar ") + type + " weights\n"));
    EXPECT_FALSE(other.sound);
    EXPECT_EQ(other.messages,
              std::string("Unsupported Entry type for property list: ") + type + "\n");
  }
  const Result unknown = header_of(ascii("element face 1\nproperty list uchar half texcoord\n"));
  EXPECT_FALSE(unknown.sound);
  EXPECT_EQ(unknown.messages, "Unsupported Entry type for property list: half\n");
}

TEST(PlyHeader, other_lists_are_custom) {
  const Result face = header_of(ascii("element face 1\nproperty list uchar int others\n"));
  EXPECT_EQ(face.options, 0x8000);
  EXPECT_EQ(face.reader.elements[0].properties[0].meaning, 12);
  const Result vertex =
      header_of(ascii("element vertex 1\nproperty list uchar int vertex_index\n"));
  EXPECT_EQ(vertex.options, 0x8000);
  EXPECT_EQ(vertex.reader.elements[0].properties[0].meaning, 12);
}

TEST(PlyHeader, custom_face_properties_before_the_corners_are_told) {
  const std::string told =
      "Custom face Properties defined, before 'vertex_indices' property was defined. They will be "
      "skipped\n";
  EXPECT_EQ(header_of(ascii(std::string("element face 1\nproperty uchar mark\n") +
                            test_support::kCorners))
                .messages,
            told);
  EXPECT_EQ(
      header_of(ascii(std::string("element face 1\nproperty uchar red\n") + test_support::kCorners))
          .messages,
      "");
  EXPECT_EQ(header_of(ascii(std::string("element face 1\n") + test_support::kCorners +
                            "property uchar mark\n"))
                .messages,
            "");
}

TEST(PlyHeader, property_before_any_element_is_told_and_dropped) {
  const Result result = header_of(ascii(std::string("property int early\n") + kVertex));
  EXPECT_TRUE(result.sound);
  EXPECT_EQ(result.messages, "property early belongs to unsupported element \n");
  EXPECT_EQ(result.reader.elements.size(), 1U);
}

TEST(PlyHeader, check_knows_neither_flags_nor_texture_lists_nor_colours_of_faces) {
  const std::string bytes =
      ascii(std::string(kVertex) + "property int flags\nelement face 1\n" + test_support::kCorners +
            "property list uchar float texcoord\nproperty uchar red\n");
  const Result check = header_of(bytes, true);
  ASSERT_TRUE(check.sound);
  EXPECT_EQ(check.options, -1);  // none are handed back
  EXPECT_EQ(check.reader.elements[0].properties[3].meaning, 12);
  EXPECT_EQ(check.reader.elements[1].properties[1].meaning, 12);
  EXPECT_EQ(check.reader.elements[1].properties[2].meaning, 12);
  EXPECT_EQ(check.reader.file_options, 0x8000);
  const Result read = header_of(bytes);
  EXPECT_EQ(read.options, 0x4600);
  EXPECT_FALSE(header_of("ply\nformat ascii 1.0\n", true).sound);
}

TEST(PlyHeader, check_leaves_the_stream_where_it_was) {
  EXPECT_EQ(header_of(ply_header(PlyForm::kLittle, kVertex), true).position, 0);
}

TEST(PlyHeader, data_begin_12_bytes_after_the_word_before_the_last_or_14) {
  for (const char* data : {"abcdefgh"}) {
    const std::string unix_bytes = ply_header(PlyForm::kLittle, kVertex) + data;
    EXPECT_EQ(header_of(unix_bytes).position, static_cast<long>(unix_bytes.size() - 8));
    std::string dos_bytes;
    for (const char c : unix_bytes.substr(0, unix_bytes.size() - 8)) {
      dos_bytes += c == '\n' ? std::string("\r\n") : std::string(1, c);
    }
    EXPECT_EQ(header_of(dos_bytes + data).position, static_cast<long>(dos_bytes.size()));
  }
}

TEST(PlyHeader, the_line_end_before_the_last_word_decides_where_data_begin) {
  const std::string head = "ply\nformat binary_little_endian 1.0\nelement vertex 0";
  const long word = static_cast<long>(head.size());
  EXPECT_EQ(header_of(head + "\r\nend_header\nabcdef").position, word + 14);
  EXPECT_EQ(header_of(head + "\nend_header\r\nabcdef").position, word + 12);
  EXPECT_EQ(header_of(head + " \nend_header\nabcdef").position, word + 12);
}

TEST(PlyHeader, data_behind_a_last_comment_begin_where_they_are) {
  for (const char* line_end : {"\n", "\r\n"}) {
    std::string bytes;
    for (const char c : std::string("ply\nformat binary_little_endian 1.0\nelement vertex 0\n"
                                    "comment the last one\nend_header\n")) {
      bytes += c == '\n' ? line_end : std::string(1, c);
    }
    EXPECT_EQ(header_of(bytes + "\nabcdefg").position, static_cast<long>(bytes.size()));
  }
}

TEST(PlyHeader, text_goes_on_right_behind_the_last_word) {
  const std::string bytes = ascii(kVertex);
  EXPECT_EQ(header_of(bytes).position, static_cast<long>(bytes.find("end_header") + 10));
}

TEST(PlyHeader, longer_than_any_buffer_is_read_whole_and_told_once) {
  std::string elements = kVertex;
  std::string told;
  for (int i = 0; i < 30000; ++i) {
    elements += "property uchar custom_" + std::to_string(i) + "\n";
  }
  const Result result = header_of(ascii("element edge 0\n" + elements));
  EXPECT_TRUE(result.sound);
  EXPECT_EQ(result.reader.elements[1].properties.size(), 30003U);
  EXPECT_EQ(result.messages, "PLY header unsupported element type: edge\n");
}

TEST(PlyOptions, answers_for_its_bits) {
  Options options;
  EXPECT_TRUE(options.is_empty());
  options.set(0x0001);
  options += 0x0030;
  EXPECT_EQ(static_cast<int>(options), 0x0031);
  EXPECT_TRUE(options.check(0x0011));
  EXPECT_FALSE(options.check(0x0012));
  options -= 0x0010;
  options.unset(0x0001);
  EXPECT_TRUE(options == 0x0020);
  EXPECT_TRUE(options != 0x0021);
  options.clear();
  EXPECT_TRUE(options.is_empty());
  options = 0x4000;
  EXPECT_TRUE(options.has_flags());
  options.cleanup();
  EXPECT_TRUE(options.is_empty());
  EXPECT_EQ(static_cast<int>(Options(Options::Custom)), 0x8000);
}

TEST(PlyOptions, has_an_accessor_per_bit) {
  const auto of = [](int bit) {
    const Options o(bit);
    const bool all[] = {o.is_binary(),           o.vertex_has_normal(), o.vertex_has_color(),
                        o.vertex_has_texcoord(), o.edge_has_color(),    o.face_has_normal(),
                        o.face_has_color(),      o.face_has_texcoord(), o.color_has_alpha(),
                        o.color_is_float(),      o.has_texfilename(),   o.has_flags()};
    int number = -1;
    for (int i = 0; i < 12; ++i) number = all[i] ? (number < 0 ? i : 100) : number;
    return number;
  };
  const int bits[] = {0x1,   0x10,  0x20,  0x40,   0x80,   0x100,
                      0x200, 0x400, 0x800, 0x1000, 0x2000, 0x4000};
  for (int i = 0; i < 12; ++i) EXPECT_EQ(of(bits[i]), i);
  for (const int bit : {0x2, 0x4, 0x8, 0x8000}) EXPECT_EQ(of(bit), -1);
}

TEST(PlyBase, names_the_format) {
  const PLY_Base base;
  EXPECT_EQ(base.get_description(), "PLY polygon file format");
  EXPECT_EQ(base.get_extensions(), L"ply");
  EXPECT_EQ(base.get_magic(), L"PLY");
}

}  // namespace
