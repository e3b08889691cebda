// The surface inside one cell of the voxel field: its case, its triangles, where it goes on.
#ifndef SCANMESH_OCTREE_CELL_SURFACE_H
#define SCANMESH_OCTREE_CELL_SURFACE_H

#include <cstdint>

#include "octree/marching_tables.h"
#include "octree/octree_cells.h"
#include "scanmesh/marching.h"

namespace scanmesh {

struct CellCase {
  uint8_t bits = 0;
  int positive = 0;  // corners whose bit is set

  const int8_t* row() const { return kTriangleTable[bits]; }
};

// The case of a cell. Corners of value 0 join the majority, missing corners are guessed.
CellCase case_of(const OctNode* cell);

// Whether both ends of an edge, or of all three edges of a triangle, are there.
inline bool has_edge(const OctNode* cell, int edge) {
  return cell->link[kEdgeCorners[edge][0]] != nullptr &&
         cell->link[kEdgeCorners[edge][1]] != nullptr;
}
inline bool has_triangle(const OctNode* cell, int e0, int e1, int e2) {
  return has_edge(cell, e0) && has_edge(cell, e1) && has_edge(cell, e2);
}

// Where the surface cuts an edge whose ends are there.
Vec3f cut_of_edge(const OctNode* cell, int edge);

// Calls visit(e0, e1, e2) for the triangles of a case whose corners are all there.
template <typename Visit>
void for_each_triangle(const OctNode* cell, const CellCase& its_case, Visit visit) {
  const int8_t* const row = its_case.row();
  for (int i = 0; i + 2 < kRowLength && row[i] >= 0; i += 3) {
    if (has_triangle(cell, row[i], row[i + 1], row[i + 2])) visit(row[i], row[i + 1], row[i + 2]);
  }
}

// The neighbours across the six faces into which the surface goes on; null for the others.
struct FaceNeighbours {
  const OctNode* of[kCellFaces] = {};
  explicit FaceNeighbours(const OctNode* cell);
  // Whether the surface ends at both faces that meet at the edge.
  bool open_at(int edge) const { return of[kEdgeFaces[edge][0]] == of[kEdgeFaces[edge][1]]; }
};

// Sets the normal of a facet, and turns it to the side of the cell's sample. Without an area the
// normal isn't a number.
void orient(T_F& facet, const OctNode* cell);

inline Point3fv to_point(const Vec3f& p) {
  return {p.x, p.y, p.z};
}
inline Vec3f to_vec(const Point3fv& p) {
  return {p.x, p.y, p.z};
}

}  // namespace scanmesh

#endif  // SCANMESH_OCTREE_CELL_SURFACE_H
