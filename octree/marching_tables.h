// The cases of marching cubes, by the numbering of corners.
#ifndef SCANMESH_OCTREE_MARCHING_TABLES_H
#define SCANMESH_OCTREE_MARCHING_TABLES_H

#include <cstdint>

#include "octree/numbering.h"

namespace scanmesh {

constexpr int kCases = 256;
constexpr int kRowLength = 16;
constexpr int kCellEdges = 12;
constexpr int kCellFaces = 6;

// The edges of the triangles of a case, three by three, ended by -1. Bit k of a case is corner k.
extern const int8_t kTriangleTable[kCases][kRowLength];

// The corners of an edge.
constexpr signed char kEdgeCorners[kCellEdges][2] = {
    {0, 1}, {1, 2}, {2, 3}, {3, 0}, {4, 5}, {5, 6}, {6, 7}, {7, 4}, {0, 4}, {1, 5}, {2, 6}, {3, 7}};
// The corners at the other ends of a corner's edges.
constexpr signed char kCornerNeighbours[kCellCorners][3] = {
    {1, 3, 4}, {0, 2, 5}, {1, 3, 6}, {0, 2, 7}, {0, 5, 7}, {1, 4, 6}, {2, 5, 7}, {3, 4, 6}};
// Faces are +z, -z, -x, +x, +y, -y. The two that meet at an edge.
constexpr signed char kEdgeFaces[kCellEdges][2] = {{2, 4}, {2, 1}, {2, 5}, {2, 0}, {3, 4}, {3, 1},
                                                   {3, 5}, {3, 0}, {0, 4}, {1, 4}, {1, 5}, {0, 5}};

// The face on a side of an axis.
constexpr int face_on(int axis, int sign) {
  constexpr int kUpper[3] = {3, 4, 0};
  constexpr int kLower[3] = {2, 5, 1};
  return sign > 0 ? kUpper[axis] : kLower[axis];
}

// For a corner, the three faces that meet there, and for each the corner as which the cell beyond
// sees the same vertex.
struct FaceLink {
  signed char face;
  signed char corner;
};
struct FaceLinks {
  FaceLink of[kCellCorners][3] = {};
  constexpr FaceLinks() {
    for (int corner = 0; corner < kCellCorners; ++corner) {
      for (int axis = 0; axis < 3; ++axis) {
        const Signs& sign = kCornerSign[corner];
        int beyond[3] = {sign[0], sign[1], sign[2]};
        beyond[axis] = -beyond[axis];
        of[corner][axis] = {
            static_cast<signed char>(face_on(axis, sign[axis])),
            static_cast<signed char>(corner_of_signs(beyond[0], beyond[1], beyond[2]))};
      }
    }
  }
};
constexpr FaceLinks kFaceLinks;

}  // namespace scanmesh

#endif  // SCANMESH_OCTREE_MARCHING_TABLES_H
