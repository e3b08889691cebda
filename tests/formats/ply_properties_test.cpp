#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "scanmesh/ply_reader.h"
#include "tests/support/messages.h"
#include "tests/support/ply_files.h"
#include "tests/support/ply_result.h"

namespace {

using test_support::kAllForms;
using test_support::kCorners;
using test_support::kXyz;
using test_support::ply_header;
using test_support::PlyBodyText;
using test_support::PlyForm;
using test_support::PlyResult;
using test_support::read_ply;
using test_support::usual_elements;
using testing::ElementsAre;
using testing::HasSubstr;

TEST(PlyProperties, drops_a_quad_and_counts_it) {
  for (const PlyForm form : kAllForms) {
    PlyBodyText body(form);
    for (int i = 0; i < 4; ++i) body.all({static_cast<float>(i), 0.F, 0.F}).end_row();
    body.list({0, 1, 2}).end_row().list({0, 1, 2, 3}).end_row().list({3, 2, 1}).end_row();
    PlyResult result;
    read_ply(ply_header(form, usual_elements(4, 3)) + body.bytes(), result);
    ASSERT_TRUE(result.sound);
    EXPECT_THAT(result.corners(), ElementsAre(0, 1, 2, 3, 2, 1));
    EXPECT_EQ(result.data.nb_face, 2);
    EXPECT_EQ(result.messages,
              "The reader encountered invalid faces, that could not be added.\n"
              "invalid: 1, added: 2\n");
  }
}

TEST(PlyProperties, keeps_indices_that_name_no_vertex) {
  for (const PlyForm form : kAllForms) {
    PlyBodyText body(form);
    body.all({1.F, 2.F, 3.F}).end_row().list({-1, 7, 2147483647}).end_row();
    PlyResult result;
    read_ply(ply_header(form, usual_elements(1, 1)) + body.bytes(), result);
    ASSERT_TRUE(result.sound);
    EXPECT_THAT(result.corners(), ElementsAre(-1, 7, 2147483647));
  }
}

TEST(PlyProperties, converts_every_type_to_a_coordinate_and_to_an_index) {
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
      PlyResult result;
      read_ply(ply_header(form, elements) + body.bytes(), result);
      ASSERT_TRUE(result.sound) << names[type];
      EXPECT_THAT(result.xyz(), ElementsAre(7, 100, 3)) << names[type];
      if (type < 6) {
        EXPECT_THAT(result.corners(), ElementsAre(1, 100, 2)) << names[type];
      }
    }
  }
}

TEST(PlyProperties, negative_values_of_signed_types_keep_their_sign) {
  for (const PlyForm form : {PlyForm::kLittle, PlyForm::kBig}) {
    PlyBodyText body(form);
    body.add(int8_t{-1}).add(int16_t{-300}).add(int32_t{-70000});
    PlyResult result;
    read_ply(
        ply_header(form, "element vertex 1\nproperty char x\nproperty short y\nproperty int z\n") +
            body.bytes(),
        result);
    ASSERT_TRUE(result.sound);
    EXPECT_THAT(result.xyz(), ElementsAre(-1, -300, -70000));
  }
}

TEST(PlyProperties, reads_normals_texture_coordinates_flags_and_colours_in_any_order) {
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
    PlyResult result;
    read_ply(
        ply_header(form,
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

TEST(PlyProperties, an_absent_alpha_is_0) {
  for (const PlyForm form : kAllForms) {
    PlyBodyText body(form);
    body.all({1.F, 2.F, 3.F}).add(uint8_t{255}).add(uint8_t{0}).add(uint8_t{128}).end_row();
    PlyResult result;
    read_ply(
        ply_header(form, std::string("element vertex 1\n") + kXyz +
                             "property uchar red\nproperty uchar green\nproperty uchar blue\n") +
            body.bytes(),
        result);
    ASSERT_TRUE(result.sound);
    EXPECT_THAT(result.rgba(), ElementsAre(1, 0, 128 / 255.F, 0));
  }
}

TEST(PlyProperties, a_float_colour_of_a_half_is_127_of_255) {
  for (const PlyForm form : kAllForms) {
    for (const char* type : {"float", "float32"}) {
      PlyBodyText body(form);
      body.all({1.F, 2.F, 3.F, 0.5F, 1.F, 2.F}).end_row();
      const std::string t = type;
      PlyResult result;
      read_ply(ply_header(form, std::string("element vertex 1\n") + kXyz + "property " + t +
                                    " red\nproperty " + t + " green\nproperty " + t + " blue\n") +
                   body.bytes(),
               result);
      ASSERT_TRUE(result.sound);
      EXPECT_THAT(result.rgba(), ElementsAre(127 / 255.F, 1, 2, 0));
      EXPECT_EQ(result.options & 0x1020, 0x1020);
    }
  }
}

TEST(PlyProperties, colours_of_the_wide_float_type_count_as_integers) {
  for (const PlyForm form : kAllForms) {
    PlyBodyText body(form);
    body.all({1.F, 2.F, 3.F}).all({128.0, 64.0, 1.0}).end_row();
    PlyResult result;
    read_ply(ply_header(form, std::string("element vertex 1\n") + kXyz +
                                  "property double red\nproperty float64 green\n"
                                  "property double blue\n") +
                 body.bytes(),
             result);
    ASSERT_TRUE(result.sound);
    EXPECT_THAT(result.rgba(), ElementsAre(128 / 255.F, 64 / 255.F, 1 / 255.F, 0));
  }
}

TEST(PlyProperties, colours_beyond_any_integer_are_cut) {
  PlyBodyText body(PlyForm::kLittle);
  body.all({1.F, 2.F, 3.F, std::numeric_limits<float>::quiet_NaN(), 1e30F,
            -std::numeric_limits<float>::infinity()});
  PlyResult result;
  read_ply(ply_header(PlyForm::kLittle,
                      std::string("element vertex 1\n") + kXyz +
                          "property float red\nproperty float green\nproperty float blue\n") +
               body.bytes(),
           result);
  ASSERT_TRUE(result.sound);
  EXPECT_THAT(result.rgba(), ElementsAre(0, 2147483647.0 / 255, -2147483648.0 / 255, 0));
}

TEST(PlyProperties, reads_colours_and_texture_lists_of_faces) {
  for (const PlyForm form : kAllForms) {
    PlyBodyText body(form);
    body.all({1.F, 2.F, 3.F}).end_row();
    body.list({0, 0, 0}).list({0.F, .125F, .25F, .375F, .5F, 1.F}).all({0.5F, 1.F, 0.F, 1.F});
    body.end_row();
    PlyResult result;
    read_ply(
        ply_header(form, std::string("element vertex 1\n") + kXyz + "element face 1\n" + kCorners +
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

TEST(PlyProperties, a_texture_list_of_another_length_is_a_fault_but_the_face_stays) {
  for (const PlyForm form : kAllForms) {
    PlyBodyText body(form);
    body.all({1.F, 2.F, 3.F}).end_row();
    body.list({0, 0, 0}).list({1.F, 2.F}).end_row();
    body.list({0, 0, 0, 0}).list({1.F, 2.F, 3.F, 4.F, 5.F, 6.F}).end_row();
    body.list({0, 0, 0}).list({1.F, 2.F, 3.F, 4.F, 5.F, 6.F}).end_row();
    PlyResult result;
    read_ply(ply_header(form, std::string("element vertex 1\n") + kXyz + "element face 3\n" +
                                  kCorners + "property list uchar float texcoord\n") +
                 body.bytes(),
             result);
    ASSERT_TRUE(result.sound);
    EXPECT_EQ(result.data.nb_face, 2);
    EXPECT_THAT(result.texture(), ElementsAre(0, 0, 0, 0, 0, 0, 1, 2, 3, 4, 5, 6));
    EXPECT_THAT(result.messages, HasSubstr("invalid: 3, added: 2\n"));
  }
}

TEST(PlyProperties, a_texture_list_before_the_corners_is_a_fault) {
  for (const PlyForm form : kAllForms) {
    PlyBodyText body(form);
    body.all({1.F, 2.F, 3.F}).end_row();
    body.list({1.F, 2.F, 3.F, 4.F, 5.F, 6.F}).list({0, 0, 0}).end_row();
    PlyResult result;
    read_ply(
        ply_header(form, std::string("element vertex 1\n") + kXyz +
                             "element face 1\nproperty list uchar float texcoord\n" + kCorners) +
            body.bytes(),
        result);
    ASSERT_TRUE(result.sound);
    EXPECT_THAT(result.texture(), ElementsAre(0, 0, 0, 0, 0, 0));
    EXPECT_THAT(result.messages, HasSubstr("invalid: 1, added: 1\n"));
  }
}

TEST(PlyProperties, skips_custom_properties_and_custom_lists) {
  for (const PlyForm form : kAllForms) {
    PlyBodyText body(form);
    body.add(0.125).all({1.F, 2.F, 3.F}).list({9, 8}).end_row();
    body.list({int16_t{1}, int16_t{2}}).list({0, 0, 0}).add(uint8_t{77}).end_row();
    PlyResult result;
    read_ply(ply_header(form, std::string("element vertex 1\nproperty double quality\n") + kXyz +
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

TEST(PlyProperties, a_custom_property_of_text_is_one_word) {
  PlyResult result;
  read_ply(
      ply_header(PlyForm::kAscii, std::string("element vertex 2\nproperty string name\n") + kXyz) +
          "first 1 2 3\n-17e 4 5 6\n",
      result);
  ASSERT_TRUE(result.sound);
  EXPECT_THAT(result.xyz(), ElementsAre(1, 2, 3, 4, 5, 6));
}

TEST(PlyProperties, a_list_of_text_may_have_any_length_that_is_there) {
  PlyResult result;
  read_ply(ply_header(PlyForm::kAscii,
                      std::string("element vertex 1\n") + kXyz + "element face 3\n" + kCorners) +
               "0 0 0\n-3\n0\n3 1 2 3\n",
           result);
  ASSERT_TRUE(result.sound);
  EXPECT_THAT(result.corners(), ElementsAre(1, 2, 3));
  EXPECT_THAT(result.messages, HasSubstr("invalid: 2, added: 1\n"));
}

TEST(PlyProperties, values_of_a_type_that_is_not_known_take_no_bytes_and_are_told) {
  PlyBodyText body(PlyForm::kLittle);
  body.all({1.F, 2.F, 3.F}).list({0, 0, 0});
  PlyResult result;
  read_ply(ply_header(PlyForm::kLittle,
                      std::string("element vertex 1\n") + kXyz +
                          "property half nx\nelement face 1\nproperty half mark\n" + kCorners) +
               body.bytes(),
           result);
  ASSERT_TRUE(result.sound);
  EXPECT_THAT(result.xyz(), ElementsAre(1, 2, 3));
  EXPECT_EQ(result.data.ijk[0], 0);
  EXPECT_THAT(result.corners(), ElementsAre(0, 0, 0));
  EXPECT_THAT(result.messages, HasSubstr("unsupported conversion type to float: 0\n"));
  EXPECT_THAT(result.messages, HasSubstr("unsupported type\n"));
}

TEST(PlyProperties, coordinates_of_a_type_that_is_not_known_are_refused) {
  for (const PlyForm form : test_support::kAllForms) {
    for (const char axis : {'x', 'y', 'z'}) {
      std::string elements = "element vertex 1\n";
      for (const char each : {'x', 'y', 'z'}) {
        elements += std::string("property ") + (each == axis ? "half " : "float ") + each + "\n";
      }
      PlyBodyText body(form);
      body.all({1.F, 2.F, 3.F}).end_row();
      PlyResult result;
      read_ply(ply_header(form, elements) + body.bytes(), result);
      EXPECT_FALSE(result.sound) << axis;
      EXPECT_EQ(result.data.xyz, nullptr);
      EXPECT_THAT(result.messages, HasSubstr("unsupported conversion type to float: 0\n"));
    }
  }
}

}  // namespace
