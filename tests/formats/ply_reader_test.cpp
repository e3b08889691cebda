#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "scanmesh/ply_reader.h"
#include "tests/support/messages.h"
#include "tests/support/ply_files.h"

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
using test_support::usual_elements;
using testing::ElementsAre;
using testing::HasSubstr;

struct Result {
  bool sound = false;
  int options = 0;
  std::string messages;
  TriMeshData data;

  std::vector<float> xyz() const { return {data.xyz, data.xyz + 3 * data.nb_vertex}; }
  std::vector<float> rgba() const { return {data.rgba, data.rgba + 4 * data.nb_vertex}; }
  std::vector<int> corners() const { return {data.faceindex, data.faceindex + 3 * data.nb_face}; }
  std::vector<float> texture() const { return {data.faceuv, data.faceuv + 6 * data.nb_face}; }
};

void read(const std::string& bytes, Result& result) {
  std::istringstream stream(bytes);
  Options options;
  PLY_Reader reader;
  const Messages messages;
  result.sound = reader.read(stream, result.data, options);
  result.messages = messages.text();
  result.options = options;
}

std::string triangle(PlyForm form) {
  PlyBodyText body(form);
  body.all({0.F, 0.F, 0.F}).end_row().all({1.5F, 0.F, 0.F}).end_row();
  body.all({0.F, -2.25F, 1e-3F}).end_row().list({0, 1, 2}).end_row();
  return body.bytes();
}

TEST(PlyReader, reads_the_same_mesh_from_all_three_forms) {
  for (const PlyForm form : kAllForms) {
    Result result;
    read(ply_header(form, usual_elements(3, 1)) + triangle(form), result);
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
  std::string bytes = ply_header(PlyForm::kAscii, usual_elements(3, 1)) + triangle(PlyForm::kAscii);
  bytes.replace(0, 4, "PLY\r\n");
  Result result;
  read(bytes, result);
  EXPECT_TRUE(result.sound);
}

TEST(PlyReader, drops_a_quad_and_counts_it) {
  for (const PlyForm form : kAllForms) {
    PlyBodyText body(form);
    for (int i = 0; i < 4; ++i) body.all({static_cast<float>(i), 0.F, 0.F}).end_row();
    body.list({0, 1, 2}).end_row().list({0, 1, 2, 3}).end_row().list({3, 2, 1}).end_row();
    Result result;
    read(ply_header(form, usual_elements(4, 3)) + body.bytes(), result);
    ASSERT_TRUE(result.sound);
    EXPECT_THAT(result.corners(), ElementsAre(0, 1, 2, 3, 2, 1));
    EXPECT_EQ(result.data.nb_face, 2);
    EXPECT_EQ(result.messages,
              "The reader encountered invalid faces, that could not be added.\n"
              "invalid: 1, added: 2\n");
  }
}

TEST(PlyReader, keeps_indices_that_name_no_vertex) {
  for (const PlyForm form : kAllForms) {
    PlyBodyText body(form);
    body.all({1.F, 2.F, 3.F}).end_row().list({-1, 7, 2147483647}).end_row();
    Result result;
    read(ply_header(form, usual_elements(1, 1)) + body.bytes(), result);
    ASSERT_TRUE(result.sound);
    EXPECT_THAT(result.corners(), ElementsAre(-1, 7, 2147483647));
  }
}

TEST(PlyReader, refuses_every_dimension_but_3) {
  for (const char* properties : {"property float x\nproperty float y\n", "",
                                 "property float x\nproperty float y\nproperty float z\n"
                                 "property float x\n"}) {
    for (const PlyForm form : kAllForms) {
      Result result;
      read(ply_header(form, std::string("element vertex 1\n") + properties) + "1 2 3 4            ",
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
    Result result;
    read(ply_header(form, std::string("element vertex 1\n") + kXyz + unknown + "element face 1\n" +
                              kCorners) +
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
    Result result;
    read(ply_header(form, std::string("element edge 3\nproperty short a\nproperty double c\n"
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
    Result result;
    read(
        ply_header(form, std::string("element face 1\n") + kCorners + "element vertex 2\n" + kXyz) +
            body.bytes(),
        result);
    ASSERT_TRUE(result.sound);
    EXPECT_THAT(result.xyz(), ElementsAre(1, 2, 3, 4, 5, 6));
    EXPECT_THAT(result.corners(), ElementsAre(0, 1, 0));
  }
}

TEST(PlyReader, converts_every_type_to_a_coordinate_and_to_an_index) {
  const char* const names[] = {"char", "uchar", "short", "ushort",
                               "int",  "uint",  "float", "double"};
  for (const PlyForm form : kAllForms) {
    for (int type = 0; type < 8; ++type) {
      PlyBodyText body(form);
      const auto add = [&](int value) {
        switch (type) {
          case 0:
            body.add(static_cast<int8_t>(value));
            break;
          case 1:
            body.add(static_cast<uint8_t>(value));
            break;
          case 2:
            body.add(static_cast<int16_t>(value));
            break;
          case 3:
            body.add(static_cast<uint16_t>(value));
            break;
          case 4:
            body.add(static_cast<int32_t>(value));
            break;
          case 5:
            body.add(static_cast<uint32_t>(value));
            break;
          case 6:
            body.add(static_cast<float>(value));
            break;
          default:
            body.add(static_cast<double>(value));
            break;
        }
      };
      for (const int value : {7, 100, 3}) add(value);
      body.end_row();
      if (type < 6) {
        body.add(uint16_t{3});
        for (const int value : {1, 100, 2}) add(value);
        body.end_row();
      }
      std::string elements = "element vertex 1\n";
      for (const char* axis : {"x", "y", "z"}) {
        elements += std::string("property ") + names[type] + " " + axis + "\n";
      }
      if (type < 6) {
        elements +=
            std::string("element face 1\nproperty list ushort ") + names[type] + " vertex_index\n";
      }
      Result result;
      read(ply_header(form, elements) + body.bytes(), result);
      ASSERT_TRUE(result.sound) << names[type];
      EXPECT_THAT(result.xyz(), ElementsAre(7, 100, 3)) << names[type];
      if (type < 6) {
        EXPECT_THAT(result.corners(), ElementsAre(1, 100, 2)) << names[type];
      }
    }
  }
}

TEST(PlyReader, negative_values_of_signed_types_keep_their_sign) {
  for (const PlyForm form : {PlyForm::kLittle, PlyForm::kBig}) {
    PlyBodyText body(form);
    body.add(int8_t{-1}).add(int16_t{-300}).add(int32_t{-70000});
    Result result;
    read(ply_header(form, "element vertex 1\nproperty char x\nproperty short y\nproperty int z\n") +
             body.bytes(),
         result);
    ASSERT_TRUE(result.sound);
    EXPECT_THAT(result.xyz(), ElementsAre(-1, -300, -70000));
  }
}

TEST(PlyReader, reads_normals_texture_coordinates_flags_and_colours_in_any_order) {
  for (const PlyForm form : kAllForms) {
    PlyBodyText body(form);
    body.add(0.25F)
        .add(uint8_t{51})
        .add(1.F)
        .add(-4)
        .add(2.F)
        .add(0.F)
        .add(0.75F)
        .add(uint8_t{255});
    body.add(1.F).add(3.F).add(uint8_t{0}).add(0.F).add(uint8_t{102}).end_row();
    Result result;
    read(ply_header(form,
                    "element vertex 1\nproperty float s\nproperty uchar red\nproperty float x\n"
                    "property int flags\nproperty float y\nproperty float nx\nproperty float t\n"
                    "property uchar green\nproperty float ny\nproperty float z\n"
                    "property uchar blue\nproperty float nz\nproperty uchar alpha\n") +
             body.bytes(),
         result);
    ASSERT_TRUE(result.sound);
    EXPECT_THAT(result.xyz(), ElementsAre(1, 2, 3));
    EXPECT_THAT(result.rgba(), ElementsAre(51 / 255.F, 1, 0, 102 / 255.F));
    EXPECT_EQ(result.data.uv[0], 0.25F);
    EXPECT_EQ(result.data.uv[1], 0.75F);
    EXPECT_EQ(result.data.ijk[0], 0);
    EXPECT_EQ(result.data.ijk[1], 1);
    EXPECT_EQ(result.data.ijk[2], 0);
    EXPECT_EQ(result.data.flags[0], -4);
    EXPECT_TRUE(result.data.hasnormal && result.data.hascolor && result.data.hastexcoord &&
                result.data.hasflags);
    EXPECT_EQ(result.options & ~0x7, 0x4870);
  }
}

TEST(PlyReader, an_absent_alpha_is_0) {
  for (const PlyForm form : kAllForms) {
    PlyBodyText body(form);
    body.all({1.F, 2.F, 3.F}).add(uint8_t{255}).add(uint8_t{0}).add(uint8_t{128}).end_row();
    Result result;
    read(ply_header(form, std::string("element vertex 1\n") + kXyz +
                              "property uchar red\nproperty uchar green\nproperty uchar blue\n") +
             body.bytes(),
         result);
    ASSERT_TRUE(result.sound);
    EXPECT_THAT(result.rgba(), ElementsAre(1, 0, 128 / 255.F, 0));
  }
}

TEST(PlyReader, a_float_colour_of_a_half_is_127_of_255) {
  for (const PlyForm form : kAllForms) {
    for (const char* type : {"float", "float32"}) {
      PlyBodyText body(form);
      body.all({1.F, 2.F, 3.F, 0.5F, 1.F, 2.F}).end_row();
      const std::string t = type;
      Result result;
      read(ply_header(form, std::string("element vertex 1\n") + kXyz + "property " + t +
                                " red\nproperty " + t + " green\nproperty " + t + " blue\n") +
               body.bytes(),
           result);
      ASSERT_TRUE(result.sound);
      EXPECT_THAT(result.rgba(), ElementsAre(127 / 255.F, 1, 2, 0));
      EXPECT_EQ(result.options & 0x1020, 0x1020);
    }
  }
}

TEST(PlyReader, colours_of_the_wide_float_type_count_as_integers) {
  for (const PlyForm form : kAllForms) {
    PlyBodyText body(form);
    body.all({1.F, 2.F, 3.F}).all({128.0, 64.0, 1.0}).end_row();
    Result result;
    read(ply_header(form, std::string("element vertex 1\n") + kXyz +
                              "property double red\nproperty float64 green\n"
                              "property double blue\n") +
             body.bytes(),
         result);
    ASSERT_TRUE(result.sound);
    EXPECT_THAT(result.rgba(), ElementsAre(128 / 255.F, 64 / 255.F, 1 / 255.F, 0));
  }
}

TEST(PlyReader, colours_beyond_any_integer_are_cut) {
  PlyBodyText body(PlyForm::kLittle);
  body.all({1.F, 2.F, 3.F, std::numeric_limits<float>::quiet_NaN(), 1e30F,
            -std::numeric_limits<float>::infinity()});
  Result result;
  read(ply_header(PlyForm::kLittle,
                  std::string("element vertex 1\n") + kXyz +
                      "property float red\nproperty float green\nproperty float blue\n") +
           body.bytes(),
       result);
  ASSERT_TRUE(result.sound);
  EXPECT_THAT(result.rgba(), ElementsAre(0, 2147483647.0 / 255, -2147483648.0 / 255, 0));
}

TEST(PlyReader, reads_colours_and_texture_lists_of_faces) {
  for (const PlyForm form : kAllForms) {
    PlyBodyText body(form);
    body.all({1.F, 2.F, 3.F}).end_row();
    body.list({0, 0, 0}).list({0.F, .125F, .25F, .375F, .5F, 1.F}).all({0.5F, 1.F, 0.F, 1.F});
    body.end_row();
    Result result;
    read(ply_header(form, std::string("element vertex 1\n") + kXyz + "element face 1\n" + kCorners +
                              "property list uchar float texcoord\nproperty float red\n"
                              "property float green\nproperty float blue\nproperty float alpha\n") +
             body.bytes(),
         result);
    ASSERT_TRUE(result.sound);
    EXPECT_THAT(result.texture(), ElementsAre(0, .125F, .25F, .375F, .5F, 1));
    EXPECT_THAT(std::vector<float>(result.data.facergba, result.data.facergba + 4),
                ElementsAre(127 / 255.F, 1, 0, 1));
    EXPECT_TRUE(result.data.hasfacecolor && result.data.hasfacetexcoord);
    EXPECT_EQ(result.options & ~0x7, 0x1E00);
  }
}

TEST(PlyReader, a_texture_list_of_another_length_is_a_fault_but_the_face_stays) {
  for (const PlyForm form : kAllForms) {
    PlyBodyText body(form);
    body.all({1.F, 2.F, 3.F}).end_row();
    body.list({0, 0, 0}).list({1.F, 2.F}).end_row();
    body.list({0, 0, 0, 0}).list({1.F, 2.F, 3.F, 4.F, 5.F, 6.F}).end_row();
    body.list({0, 0, 0}).list({1.F, 2.F, 3.F, 4.F, 5.F, 6.F}).end_row();
    Result result;
    read(ply_header(form, std::string("element vertex 1\n") + kXyz + "element face 3\n" + kCorners +
                              "property list uchar float texcoord\n") +
             body.bytes(),
         result);
    ASSERT_TRUE(result.sound);
    EXPECT_EQ(result.data.nb_face, 2);
    EXPECT_THAT(result.texture(), ElementsAre(0, 0, 0, 0, 0, 0, 1, 2, 3, 4, 5, 6));
    EXPECT_THAT(result.messages, HasSubstr("invalid: 3, added: 2\n"));
  }
}

TEST(PlyReader, a_texture_list_before_the_corners_is_a_fault) {
  for (const PlyForm form : kAllForms) {
    PlyBodyText body(form);
    body.all({1.F, 2.F, 3.F}).end_row();
    body.list({1.F, 2.F, 3.F, 4.F, 5.F, 6.F}).list({0, 0, 0}).end_row();
    Result result;
    read(ply_header(form, std::string("element vertex 1\n") + kXyz +
                              "element face 1\nproperty list uchar float texcoord\n" + kCorners) +
             body.bytes(),
         result);
    ASSERT_TRUE(result.sound);
    EXPECT_THAT(result.texture(), ElementsAre(0, 0, 0, 0, 0, 0));
    EXPECT_THAT(result.messages, HasSubstr("invalid: 1, added: 1\n"));
  }
}

TEST(PlyReader, skips_custom_properties_and_custom_lists) {
  for (const PlyForm form : kAllForms) {
    PlyBodyText body(form);
    body.add(0.125).all({1.F, 2.F, 3.F}).list({9, 8}).end_row();
    body.list({int16_t{1}, int16_t{2}}).list({0, 0, 0}).add(uint8_t{77}).end_row();
    Result result;
    read(ply_header(form, std::string("element vertex 1\nproperty double quality\n") + kXyz +
                              "property list uchar int more\nelement face 1\n"
                              "property list uchar short group\n" +
                              kCorners + "property uchar mark\n") +
             body.bytes(),
         result);
    ASSERT_TRUE(result.sound);
    EXPECT_THAT(result.xyz(), ElementsAre(1, 2, 3));
    EXPECT_THAT(result.corners(), ElementsAre(0, 0, 0));
    EXPECT_EQ(result.options & ~0x7, 0x8000);
  }
}

TEST(PlyReader, a_custom_property_of_text_is_one_word) {
  Result result;
  read(ply_header(PlyForm::kAscii, std::string("element vertex 2\nproperty string name\n") + kXyz) +
           "first 1 2 3\n-17e 4 5 6\n",
       result);
  ASSERT_TRUE(result.sound);
  EXPECT_THAT(result.xyz(), ElementsAre(1, 2, 3, 4, 5, 6));
}

TEST(PlyReader, ending_early_is_told_and_refused) {
  for (const PlyForm form : kAllForms) {
    const std::string head = ply_header(form, usual_elements(3, 1));
    const std::string body = triangle(form);
    // A text may end within its last number and still be whole.
    const std::size_t most = form == PlyForm::kAscii ? body.size() - 2 : body.size();
    for (std::size_t size = form == PlyForm::kAscii ? 1 : 0; size < most; ++size) {
      Result result;
      read(head + body.substr(0, size), result);
      EXPECT_FALSE(result.sound) << size;
      EXPECT_EQ(result.messages, "Unexpected end of file while reading.\n") << size;
    }
    Result result;
    read(head + body, result);
    EXPECT_TRUE(result.sound);
  }
}

TEST(PlyReader, text_that_is_no_number_ends_the_reading) {
  for (const char* row :
       {"1 two 3\n", "nan 0 0\n", "0 inf 0\n", "1e99 0 0\n", "1,5 0 0\n", "0x1 0 0\n"}) {
    Result result;
    read(ply_header(PlyForm::kAscii, std::string("element vertex 1\n") + kXyz) + row + "         ",
         result);
    EXPECT_FALSE(result.sound) << row;
    EXPECT_EQ(result.messages, "Unexpected end of file while reading.\n") << row;
  }
}

TEST(PlyReader, a_list_of_text_may_have_any_length_that_is_there) {
  Result result;
  read(ply_header(PlyForm::kAscii,
                  std::string("element vertex 1\n") + kXyz + "element face 3\n" + kCorners) +
           "0 0 0\n-3\n0\n3 1 2 3\n",
       result);
  ASSERT_TRUE(result.sound);
  EXPECT_THAT(result.corners(), ElementsAre(1, 2, 3));
  EXPECT_THAT(result.messages, HasSubstr("invalid: 2, added: 1\n"));
}

TEST(PlyReader, rows_may_run_over_lines_of_any_end) {
  Result result;
  read(ply_header(PlyForm::kAscii, usual_elements(2, 1)) + "1\r\n2\r3\n4 5\t6\v3\f0 1\n\n\n1",
       result);
  ASSERT_TRUE(result.sound);
  EXPECT_THAT(result.xyz(), ElementsAre(1, 2, 3, 4, 5, 6));
  EXPECT_THAT(result.corners(), ElementsAre(0, 1, 1));
}

TEST(PlyReader, values_of_a_type_that_is_not_known_take_no_bytes_and_are_told) {
  PlyBodyText body(PlyForm::kLittle);
  body.all({1.F, 2.F}).list({0, 0, 0});
  Result result;
  read(ply_header(PlyForm::kLittle,
                  std::string("element vertex 1\nproperty float x\nproperty float y\n"
                              "property half z\nelement face 1\nproperty half mark\n") +
                      kCorners) +
           body.bytes(),
       result);
  ASSERT_TRUE(result.sound);
  EXPECT_THAT(result.xyz(), ElementsAre(1, 2, 0));
  EXPECT_THAT(result.corners(), ElementsAre(0, 0, 0));
  EXPECT_THAT(result.messages, HasSubstr("unsupported conversion type to float: 0\n"));
  EXPECT_THAT(result.messages, HasSubstr("unsupported type\n"));
}

TEST(PlyReader, options_going_in_do_not_restrict_the_reading) {
  std::istringstream stream(ply_header(PlyForm::kBig, usual_elements(3, 1)) +
                            triangle(PlyForm::kBig));
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
  Result none;
  read(header, none);
  EXPECT_FALSE(none.sound);
  EXPECT_EQ(none.messages, "[PLYReader] : cannot not use stream\n");
  Result empty;
  read(header + "\n", empty);
  EXPECT_TRUE(empty.sound);
  EXPECT_EQ(empty.data.nb_vertex, 0);
  EXPECT_NE(empty.data.xyz, nullptr);
}

TEST(PlyReader, begins_at_the_position_of_the_stream_and_stands_behind_the_body) {
  for (const PlyForm form : kAllForms) {
    const std::string one = ply_header(form, usual_elements(3, 1)) + triangle(form);
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
                            triangle(PlyForm::kLittle));
  PLY_Reader reader;
  TriMeshData data;
  Options options;
  EXPECT_TRUE(reader.can_u_read(stream));
  EXPECT_TRUE(reader.read(stream, data, options));
}

TEST(PlyReader, reads_files_by_wide_paths) {
  const std::string bytes =
      ply_header(PlyForm::kLittle, usual_elements(3, 1)) + triangle(PlyForm::kLittle);
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

TEST(TriMeshData, makes_the_arrays_that_are_asked_for) {
  for (int wanted = 0; wanted < 64; ++wanted) {
    TriMeshData data;
    const auto bit = [&](int i) { return (wanted >> i & 1) != 0; };
    ASSERT_EQ(data.initData(5, 7, bit(0), bit(1), bit(2), bit(3), bit(4), bit(5)), 0);
    EXPECT_EQ(data.get_nb_vertex(), 5);
    EXPECT_EQ(data.get_nb_face(), 7);
    EXPECT_TRUE(data.getxyz() != nullptr && data.getfaceindex() != nullptr);
    EXPECT_EQ(data.getijk() != nullptr, bit(0));
    EXPECT_EQ(data.getrgba() != nullptr, bit(1));
    EXPECT_EQ(data.getuv() != nullptr, bit(2));
    EXPECT_EQ(data.getflags() != nullptr, bit(3));
    EXPECT_EQ(data.getfaceuv() != nullptr, bit(4));
    EXPECT_EQ(data.getfacergba() != nullptr, bit(5));
    EXPECT_EQ(data.hasnormal, bit(0));
    EXPECT_EQ(data.hascolor, bit(1));
    EXPECT_EQ(data.hastexcoord, bit(2));
    EXPECT_EQ(data.hasflags, bit(3));
    EXPECT_EQ(data.hasfacetexcoord, bit(4));
    EXPECT_EQ(data.hasfacecolor, bit(5));
  }
}

TEST(TriMeshData, made_anew_frees_what_it_had) {
  TriMeshData data;
  ASSERT_EQ(data.initData(5, 7, true, true, true, true, true, true), 0);
  ASSERT_EQ(data.initData(2, 1, false, false, false, false, false, false), 0);
  EXPECT_EQ(data.getijk(), nullptr);
  EXPECT_FALSE(data.hasnormal);
  data.setnvertex(1);
  data.setnface(0);
  data.settexfilename(L"skin.png");
  EXPECT_EQ(data.get_nb_vertex(), 1);
  EXPECT_EQ(data.get_nb_face(), 0);
  EXPECT_EQ(data.gettexfilename(), L"skin.png");
}

}  // namespace
