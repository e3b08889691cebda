// Joining the two resolutions: a coarse cell that borders finer ones is fanned from its sample to
// the rim that they leave.
#include "octree/cell_surface.h"
#include "octree/split_grid.h"
#include "scanmesh/marching.h"

namespace scanmesh {

namespace {

template <typename Put>
void put_vertices(const OctNode* cell, Put put) {
  for_each_triangle(cell, case_of(cell), [&](int e0, int e1, int e2) {
    for (const int edge : {e0, e1, e2}) put(cut_of_edge(cell, edge));
  });
}

// The leaves below a node, as many as the list holds.
int leaves_below(OctNode* node, OctNode** list) {
  int count = 0;
  visit_leaves(node, [&](OctNode* leaf) {
    list[count++] = leaf;
    return count < kSplitLeaves;
  });
  return count;
}

}  // namespace

}  // namespace scanmesh

void MC_Triangulation::deal_mesh_Split(Oct_tree_Triangulation* v, unsigned char its_case, int size,
                                       float step, Point3fv** grid, Oct_tree_Triangulation** list,
                                       bool** used, Point3fv** loop) {
  float centre[3];
  tree.get_cor(centre, v);
  scanmesh::SplitWall wall(v, centre, size, step, grid, used);
  const int8_t* const row = scanmesh::kTriangleTable[its_case];
  T_F first{};
  if (row[0] < 0 || mc_add_triangle(row[0], row[1], row[2], v, &first) != 0) return;

  Oct_tree_Triangulation* around[scanmesh::kSlots];
  tree.oct_search(v, around);
  for (Oct_tree_Triangulation* const cell : around) {
    if (cell == nullptr || cell->status != kOctFineInterior) continue;
    const int count = scanmesh::leaves_below(cell, list);
    for (int i = 0; i < count; ++i) {
      if (list[i]->status != kOctFineLeaf) continue;
      scanmesh::put_vertices(list[i], [&](const scanmesh::Vec3f& p) { wall.put(p); });
    }
  }
  for (int slot = 0; slot < scanmesh::kSlots; ++slot) {
    const Oct_tree_Triangulation* const cell = around[slot];
    if (slot == scanmesh::kOwnSlot || cell == nullptr || !scanmesh::is_cell(cell)) continue;
    scanmesh::put_vertices(cell, [&](const scanmesh::Vec3f& p) { wall.put_if_free(p); });
  }
  const int points = wall.walk_rim(loop);
  const Point3fv apex = {v->coor[0], v->coor[1], v->coor[2]};
  for (int i = 0; i + 1 < points; ++i) add_facet({{0, 0, 0}, {apex, *loop[i], *loop[i + 1]}}, v);
}
