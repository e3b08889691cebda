#include "support/surface.h"
#include "tests/support/files.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>

namespace {

bool read(const std::string& text, demo::Surface& surface) {
  const std::string path = test_support::temp_path("text.off");
  std::ofstream(path, std::ios::binary) << text;
  std::string error;
  const bool good = demo::read_off(path, surface, error);
  EXPECT_EQ(good, error.empty());
  std::remove(path.c_str());
  return good;
}

const char kSquare[] =
    "OFF # a square\n# and a comment\n4 1 0\n0 0 0\n2 0 0\n2 2 0\n0 2 0\n4 0 1 2 3 255 0 0\n";

TEST(Off, PolygonsBecomeFans) {
  demo::Surface s;
  ASSERT_TRUE(read(kSquare, s));
  EXPECT_EQ(s.points.size(), 4u);
  ASSERT_EQ(s.faces.size(), 2u);
  EXPECT_EQ(s.faces[0], (demo::Corners{0, 1, 2}));
  EXPECT_EQ(s.faces[1], (demo::Corners{0, 2, 3}));
}

TEST(Off, WhatCannotBeTrueIsRefused) {
  for (const char* text :
       {"", "OFF", "PLY 1 1 0", "OFF -1 0 0", "OFF 2000000000 2000000000 0\n0 0 0\n",
        "OFF 3 1 0\n0 0 0\n1 0 0\n0 1 0\n3 0 1 3\n", "OFF 3 1 0\n0 0 0\n1 0 0\n0 1 0\n3 0 1\n",
        "OFF 3 1 0\n0 0 0\n1 0 0\n0 1 0\n2 0 1\n", "OFF 3 1 0\n0 0 0\n1 x 0\n0 1 0\n3 0 1 2\n"}) {
    demo::Surface s;
    EXPECT_FALSE(read(text, s)) << text;
    EXPECT_TRUE(s.points.empty() && s.faces.empty()) << text;
  }
}

TEST(Off, WrittenAndReadBackToTheLastBit) {
  demo::Surface s;
  s.points = {{0.1, 1.0 / 3, -1e-300}, {1e20, 2, 3}, {4, 5, 6}};
  s.faces = {{0, 1, 2}};
  const std::string path = test_support::temp_path("written.off");
  ASSERT_TRUE(demo::write_off(path, s));
  demo::Surface back;
  std::string error;
  ASSERT_TRUE(demo::read_off(path, back, error)) << error;
  std::remove(path.c_str());
  ASSERT_EQ(back.points.size(), 3u);
  for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(demo::distance(back.points[i], s.points[i]), 0);
  EXPECT_EQ(back.faces, s.faces);
}

TEST(Surface, SplittingSharesMidpointsAndKeepsTheShape) {
  demo::Surface s;
  ASSERT_TRUE(read(kSquare, s));
  demo::split_faces(s, 2);
  EXPECT_EQ(s.faces.size(), 32u);
  EXPECT_EQ(s.points.size(), 25u);
  double area = 0;
  for (const demo::Triangle& t : demo::triangles_of(s)) {
    area += demo::cross(t[1] - t[0], t[2] - t[0]).z / 2;
  }
  EXPECT_DOUBLE_EQ(area, 4);
}

TEST(Surface, ScalingSetsTheLargestExtentAboutTheOrigin) {
  demo::Surface s;
  s.points = {{1, 1, 1}, {3, 2, 1}, {1, 1, 2}};
  demo::scale_to_extent(s, 155);
  EXPECT_DOUBLE_EQ(s.points[0].x, -77.5);
  EXPECT_DOUBLE_EQ(s.points[1].x, 77.5);
  EXPECT_DOUBLE_EQ(s.points[0].y, -38.75);
}

TEST(Surface, WeldingJoinsEqualPointsAndDroppingForgetsUnusedOnes) {
  demo::Surface s;
  ASSERT_TRUE(read(kSquare, s));
  s.points.push_back({9, 9, 9});
  EXPECT_EQ(demo::weld(demo::triangles_of(s)).points.size(), 4u);
  demo::drop_unused_points(s);
  EXPECT_EQ(s.points.size(), 4u);
}

}  // namespace
