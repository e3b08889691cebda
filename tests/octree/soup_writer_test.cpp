#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>

#include "scanmesh/marching.h"
#include "tests/support/files.h"

namespace {

TEST(CutOff, rounds_to_three_decimals_and_negative_ones_towards_zero) {
  MC_Triangulation mc;
  const auto cut = [&mc](float x) {
    float p[3] = {x, 0, 0};
    mc.cut_off(p);
    return p[0];
  };
  EXPECT_EQ(cut(1.2344F), 1.234F);
  EXPECT_EQ(cut(1.2346F), 1.235F);
  EXPECT_EQ(cut(-0.0015F), -0.001F);
  EXPECT_EQ(cut(-1.2346F), -1.234F);
  EXPECT_EQ(cut(-0.0004F), 0.0F);
  for (const float x : {-0.0004F, -0.0012F}) EXPECT_FALSE(std::signbit(cut(x)));
  EXPECT_EQ(cut(123456789.0F), 123456792.0F);
  EXPECT_TRUE(std::isnan(cut(std::nanf(""))));
}

std::string written(MC_Triangulation& mc) {
  const std::string path = test_support::temp_path("soup.stl");
  mc.mc_output_data(path.c_str());
  const std::string bytes = test_support::bytes_of_file(path);
  std::remove(path.c_str());
  return bytes;
}

std::string header_with(int32_t count) {
  std::string bytes = "Created by Marunsen\xEF\xBC\x8CSTL Format";
  bytes.resize(80, '\0');
  test_support::append_value(bytes, count);
  return bytes;
}

TEST(SoupWriter, writes_text_short_count_and_records) {
  MC_Triangulation mc;
  mc.facet_blocks = new T_F*[1000]();
  const T_F facet{{0.12345F, -0.6F, 0.7F}, {{1.2344F, -0.0015F, 0}, {2, 0, 0}, {0, 2.0006F, 1}}};
  for (int i = 0; i < 3; ++i) *mc.allocate_mem() = facet;
  mc.facet_blocks[0][1].normal.x = std::nanf("");  // left out
  const std::string bytes = written(mc);
  std::string expected = header_with(2);
  for (int i = 0; i < 2; ++i) {
    // The normal as it stands, the corners cut.
    for (const float value :
         {0.12345F, -0.6F, 0.7F, 1.234F, -0.001F, 0.0F, 2.0F, 0.0F, 0.0F, 0.0F, 2.001F, 1.0F}) {
      test_support::append_value(expected, value);
    }
    expected.append(2, '\0');
  }
  EXPECT_EQ(bytes, expected);
  EXPECT_EQ(mc.facet_blocks, nullptr);
}

TEST(SoupWriter, empty_soup_has_count_minus_1_and_so_has_a_second_output) {
  MC_Triangulation mc;
  mc.facet_blocks = new T_F*[1000]();
  EXPECT_EQ(written(mc), header_with(-1));
  EXPECT_EQ(written(mc), header_with(-1));
  mc.facet_blocks = new T_F*[1000]();
  *mc.allocate_mem() = T_F{{0, 0, 1}, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}};
  EXPECT_EQ(written(mc).size(), 84U + 50U);
  EXPECT_EQ(written(mc), header_with(-1));
}

TEST(SoupWriter, count_of_several_blocks_is_short_by_100001) {
  MC_Triangulation mc;
  mc.facet_blocks = new T_F*[1000]();
  const T_F facet{{0, 0, 1}, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}};
  for (int i = 0; i < 100005; ++i) *mc.allocate_mem() = facet;
  const std::string bytes = written(mc);
  EXPECT_EQ(bytes.substr(0, 84), header_with(4));
  EXPECT_EQ(bytes.size(), 84U + 50U * 100005U);
}

TEST(SoupWriter, without_a_path_writes_to_the_working_directory) {
  const std::filesystem::path before = std::filesystem::current_path();
  const std::filesystem::path folder = test_support::temp_path("folder");
  std::filesystem::create_directory(folder);
  std::filesystem::current_path(folder);
  MC_Triangulation mc;
  mc.mc_output_data(nullptr);
  EXPECT_EQ(test_support::bytes_of_file("Testdif.stl"), header_with(-1));
  std::filesystem::current_path(before);
  std::filesystem::remove_all(folder);
}

TEST(SoupWriter, path_that_cannot_be_opened_leaves_the_facets_for_another_try) {
  MC_Triangulation mc;
  mc.facet_blocks = new T_F*[1000]();
  *mc.allocate_mem() = T_F{{0, 0, 1}, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}};
  mc.mc_output_data("/nowhere/at/all.stl");
  EXPECT_EQ(mc.facet_slot, 1);
  const std::string path = test_support::temp_path("again.stl");
  mc.mc_output_data(path.c_str());
  EXPECT_EQ(test_support::bytes_of_file(path).size(), 84u + 50u);
  EXPECT_EQ(mc.facet_blocks, nullptr);
}

}  // namespace
