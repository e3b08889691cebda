#include "support/stl_file.h"
#include "tests/support/files.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

namespace {

using demo::StlKind;

// A file that is gone when the test ends.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::string& bytes) : path_(test_support::temp_path("scan.stl")) {
    std::ofstream(path_, std::ios::binary) << bytes;
  }
  ~TemporaryFile() { std::remove(path_.c_str()); }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

StlKind kind_of(const std::string& bytes) {
  return demo::stl_kind(TemporaryFile(bytes).path());
}

std::string binary(std::string header, std::uint32_t count, std::size_t facets) {
  header.resize(80);
  for (int i = 0; i < 4; ++i) header.push_back(static_cast<char>(count >> (8 * i)));
  return header + std::string(50 * facets, '\0');
}

const char kFacet[] =
    "  facet normal 0 0 1\n    outer loop\n      vertex 0 0 0\n      vertex 1 0 0\n"
    "      vertex 0 1 0\n    endloop\n  endfacet\n";

TEST(StlKind, BinaryByItsSize) {
  EXPECT_EQ(kind_of(binary("made by a scanner", 2, 2)), StlKind::binary);
}

TEST(StlKind, BinaryThatBeginsWithSolid) {
  EXPECT_EQ(kind_of(binary("solid facet of a part", 2, 2)), StlKind::binary);
}

TEST(StlKind, EmptyBinaryThatBeginsWithSolid) {
  EXPECT_EQ(kind_of(binary("solid nothing", 0, 0)), StlKind::binary);
}

TEST(StlKind, TruncatedBinaryThatBeginsWithSolid) {
  EXPECT_EQ(kind_of(binary("solid facet", 9, 2)), StlKind::binary);
}

TEST(StlKind, BinaryWithATrailer) {
  EXPECT_EQ(kind_of(binary("part", 1, 1) + "appended"), StlKind::binary);
}

TEST(StlKind, Ascii) {
  EXPECT_EQ(kind_of(std::string("solid part\n") + kFacet + "endsolid part\n"), StlKind::ascii);
}

TEST(StlKind, AsciiInCapitalsWithIndentedStart) {
  EXPECT_EQ(kind_of("\r\n  SOLID\r\nFACET NORMAL 0 0 1\r\n"), StlKind::ascii);
}

TEST(StlKind, ShortAscii) {
  EXPECT_EQ(kind_of("solid\nendsolid\n"), StlKind::ascii);
}

TEST(StlKind, NeitherKind) {
  EXPECT_EQ(kind_of(""), StlKind::unknown);
  EXPECT_EQ(kind_of("solid"), StlKind::unknown);
  EXPECT_EQ(kind_of("ply\nformat ascii 1.0\n"), StlKind::unknown);
  EXPECT_EQ(demo::stl_kind(testing::TempDir() + "no such file.stl"), StlKind::unknown);
  EXPECT_EQ(demo::stl_kind(testing::TempDir()), StlKind::unknown);
}

std::string text_of(std::FILE* file) {
  std::string text;
  for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file))
    text.push_back(static_cast<char>(c));
  return text;
}

TEST(PlainAsciiStl, LosesIndentationCapitalsAndEmptyLines) {
  const TemporaryFile file("SOLID Part\r\n\r\n\t Facet Normal 0 0 1E-3  \r\n  \nendsolid");
  const demo::File plain = demo::plain_ascii_stl(file.path());
  ASSERT_TRUE(plain);
  EXPECT_EQ(text_of(plain.get()), "solid part\nfacet normal 0 0 1e-3\nendsolid\n");
}

TEST(PlainAsciiStl, CutsALineBeyondTheBuffer) {
  const TemporaryFile file("solid " + std::string(5000, 'x') + "\nendsolid\n");
  const demo::File plain = demo::plain_ascii_stl(file.path());
  ASSERT_TRUE(plain);
  EXPECT_EQ(text_of(plain.get()), "solid " + std::string(1017, 'x') + "\nendsolid\n");
}

TEST(StlFile, WhatIsWrittenIsReadBack) {
  const TemporaryFile file("");
  const std::vector<demo::Triangle> triangles{{{{0, 0, 0}, {1.5, 0, 0}, {0, -2.25, 1e10}}}};
  ASSERT_TRUE(demo::write_stl(file.path(), triangles));
  EXPECT_EQ(demo::stl_kind(file.path()), StlKind::binary);
  std::vector<demo::Triangle> read;
  ASSERT_TRUE(demo::read_stl(file.path(), read));
  ASSERT_EQ(read.size(), 1u);
  for (std::size_t k = 0; k < 3; ++k) EXPECT_EQ(demo::distance(read[0][k], triangles[0][k]), 0);
}

TEST(StlFile, ReadingStopsWhereTheBytesEnd) {
  const TemporaryFile file(binary("part", 2000000000, 3) + "rest");
  std::vector<demo::Triangle> read;
  ASSERT_TRUE(demo::read_stl(file.path(), read));
  EXPECT_EQ(read.size(), 3u);
}

}  // namespace
