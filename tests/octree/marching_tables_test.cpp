#include "octree/marching_tables.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <utility>
#include <vector>

namespace {

using namespace scanmesh;
using std::vector;

vector<int> row_of(int its_case) {
  const int8_t* const row = kTriangleTable[its_case];
  return {row, std::find(row, row + kRowLength, -1)};
}

bool is_cut(int its_case, int edge) {
  return ((its_case >> kEdgeCorners[edge][0]) & 1) != ((its_case >> kEdgeCorners[edge][1]) & 1);
}

// The sides of the triangles that no other triangle of the case shares, as they run.
vector<std::pair<int, int>> rim_of(int its_case) {
  const vector<int> row = row_of(its_case);
  std::multiset<std::pair<int, int>> sides;
  for (std::size_t i = 0; i < row.size(); i += 3) {
    for (std::size_t k = 0; k < 3; ++k) sides.insert({row[i + k], row[i + (k + 1) % 3]});
  }
  vector<std::pair<int, int>> rim;
  for (const auto& side : sides) {
    if (sides.count({side.second, side.first}) == 0) rim.push_back(side);
  }
  return rim;
}

int shared_face(int e, int f) {
  for (const int a : kEdgeFaces[e]) {
    for (const int b : kEdgeFaces[f]) {
      if (a == b) return a;
    }
  }
  return -1;
}

TEST(MarchingTables, known_rows_stand) {
  EXPECT_TRUE(row_of(0).empty());
  EXPECT_TRUE(row_of(255).empty());
  EXPECT_EQ(row_of(1), (vector<int>{0, 8, 3}));
  EXPECT_EQ(row_of(2), (vector<int>{0, 1, 9}));
  EXPECT_EQ(row_of(3), (vector<int>{1, 8, 3, 9, 8, 1}));
  EXPECT_EQ(row_of(254), (vector<int>{0, 3, 8}));
}

TEST(MarchingTables, a_row_is_whole_triangles_and_ends_in_minus_1) {
  for (int c = 0; c < kCases; ++c) {
    const auto length = static_cast<int>(row_of(c).size());
    EXPECT_EQ(length % 3, 0);
    EXPECT_LE(length, 15);
    for (int i = length; i < kRowLength; ++i) EXPECT_EQ(kTriangleTable[c][i], -1);
  }
}

TEST(MarchingTables, a_case_uses_exactly_the_edges_whose_ends_differ) {
  for (int c = 0; c < kCases; ++c) {
    const vector<int> row = row_of(c);
    for (int edge = 0; edge < kCellEdges; ++edge) {
      EXPECT_EQ(std::count(row.begin(), row.end(), edge) > 0, is_cut(c, edge)) << c;
    }
  }
}

TEST(MarchingTables, triangles_of_a_case_are_consistent_sheets_whose_rims_run_in_the_faces) {
  for (int c = 0; c < kCases; ++c) {
    const vector<std::pair<int, int>> rim = rim_of(c);
    std::map<int, int> in;
    std::map<int, int> out;
    for (const auto& [from, to] : rim) {
      ++out[from];
      ++in[to];
      EXPECT_GE(shared_face(from, to), 0) << c;
    }
    for (int edge = 0; edge < kCellEdges; ++edge) {
      EXPECT_EQ(out[edge], is_cut(c, edge) ? 1 : 0) << c;
      EXPECT_EQ(in[edge], is_cut(c, edge) ? 1 : 0) << c;
    }
  }
}

// Two cells that share a face see the same four corners, and must cut it alike, in opposite
// directions.
TEST(MarchingTables, cells_on_both_sides_of_a_face_cut_it_alike) {
  const auto mirror_corner = [](int corner, int axis) {
    int s[3] = {kCornerSign[corner][0], kCornerSign[corner][1], kCornerSign[corner][2]};
    s[axis] = -s[axis];
    return corner_of_signs(s[0], s[1], s[2]);
  };
  const auto edge_between = [](int a, int b) {
    for (int e = 0; e < kCellEdges; ++e) {
      if ((kEdgeCorners[e][0] == a && kEdgeCorners[e][1] == b) ||
          (kEdgeCorners[e][0] == b && kEdgeCorners[e][1] == a)) {
        return e;
      }
    }
    return -1;
  };
  for (int axis = 0; axis < 3; ++axis) {
    const int upper = face_on(axis, 1);
    const int lower = face_on(axis, -1);
    std::map<int, std::set<std::set<std::pair<int, int>>>> by_corners;
    for (int c = 0; c < kCases; ++c) {
      for (const int face : {upper, lower}) {
        // Told in terms of the upper face, running as the cell below it has them.
        int corners = 0;
        for (int k = 0; k < kCellCorners; ++k) {
          const bool on = kCornerSign[k][axis] == (face == upper ? 1 : -1);
          const int same = face == upper ? k : mirror_corner(k, axis);
          if (on && ((c >> k) & 1) != 0) corners |= 1 << same;
        }
        std::set<std::pair<int, int>> segments;
        for (auto [from, to] : rim_of(c)) {
          if (shared_face(from, to) != face) continue;
          if (face == lower) {
            const auto moved = [&](int e) {
              return edge_between(mirror_corner(kEdgeCorners[e][0], axis),
                                  mirror_corner(kEdgeCorners[e][1], axis));
            };
            const int a = moved(from);
            from = moved(to);
            to = a;
          }
          segments.insert({from, to});
        }
        by_corners[corners].insert(segments);
      }
    }
    EXPECT_EQ(by_corners.size(), 16U);
    for (const auto& entry : by_corners) EXPECT_EQ(entry.second.size(), 1U);
  }
}

TEST(MarchingTables, edges_join_corners_that_differ_on_one_axis) {
  std::set<std::pair<int, int>> all;
  for (const auto& edge : kEdgeCorners) {
    int differing = 0;
    for (int k = 0; k < 3; ++k) differing += kCornerSign[edge[0]][k] != kCornerSign[edge[1]][k];
    EXPECT_EQ(differing, 1);
    all.insert(std::minmax<int>(edge[0], edge[1]));
  }
  EXPECT_EQ(all.size(), 12U);
}

TEST(MarchingTables, neighbours_of_a_corner_are_at_the_other_ends_of_its_edges) {
  for (int corner = 0; corner < kCellCorners; ++corner) {
    std::set<int> expected;
    for (const auto& edge : kEdgeCorners) {
      if (edge[0] == corner) expected.insert(edge[1]);
      if (edge[1] == corner) expected.insert(edge[0]);
    }
    const auto& listed = kCornerNeighbours[corner];
    EXPECT_EQ(std::set<int>(listed, listed + 3), expected);
    EXPECT_TRUE(std::is_sorted(listed, listed + 3));
  }
}

TEST(MarchingTables, faces_of_an_edge_are_those_that_hold_both_its_corners) {
  const char* const names[6] = {"+z", "-z", "-x", "+x", "+y", "-y"};
  EXPECT_EQ(face_on(2, 1), 0);
  for (int edge = 0; edge < kCellEdges; ++edge) {
    std::set<int> expected;
    for (int face = 0; face < kCellFaces; ++face) {
      const int axis = names[face][1] - 'x';
      const int sign = names[face][0] == '+' ? 1 : -1;
      EXPECT_EQ(face_on(axis, sign), face);
      if (kCornerSign[kEdgeCorners[edge][0]][axis] == sign &&
          kCornerSign[kEdgeCorners[edge][1]][axis] == sign) {
        expected.insert(face);
      }
    }
    EXPECT_EQ(std::set<int>(kEdgeFaces[edge], kEdgeFaces[edge] + 2), expected);
  }
  EXPECT_EQ(kEdgeFaces[0][0], 2);
  EXPECT_EQ(kEdgeFaces[0][1], 4);
  EXPECT_EQ(kEdgeFaces[11][0], 0);
  EXPECT_EQ(kEdgeFaces[11][1], 5);
}

TEST(MarchingTables, cells_beyond_the_faces_of_a_corner_see_it_as_hosts_expect) {
  // Per corner: the corner as which the cell beyond the z, x and y face sees the vertex.
  const int expected[8][3] = {{1, 4, 3}, {0, 5, 2}, {3, 6, 1}, {2, 7, 0},
                              {5, 0, 7}, {4, 1, 6}, {7, 2, 5}, {6, 3, 4}};
  for (int corner = 0; corner < kCellCorners; ++corner) {
    std::map<int, int> by_face;
    for (const FaceLink& link : kFaceLinks.of[corner]) by_face[link.face] = link.corner;
    const Signs& sign = kCornerSign[corner];
    EXPECT_EQ(by_face.at(face_on(2, sign[2])), expected[corner][0]);
    EXPECT_EQ(by_face.at(face_on(0, sign[0])), expected[corner][1]);
    EXPECT_EQ(by_face.at(face_on(1, sign[1])), expected[corner][2]);
  }
}

}  // namespace
