#include <gtest/gtest.h>

#include "scanmesh/ply_reader.h"

namespace {

using ply_reader_writer::TriMeshData;

TEST(TriMeshData, counts_that_no_memory_can_hold_leave_no_array) {
  TriMeshData data;
  ASSERT_EQ(data.initData(2, 2, true, true, true, true, true, true), 0);
  EXPECT_EQ(data.initData(5, -1, true, true, true, true, true, true), -2);
  EXPECT_EQ(data.getxyz(), nullptr);
  EXPECT_EQ(data.getijk(), nullptr);
  EXPECT_EQ(data.getfaceindex(), nullptr);
  EXPECT_EQ(data.getfacergba(), nullptr);
  EXPECT_FALSE(data.hasnormal || data.hasfacecolor);
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
