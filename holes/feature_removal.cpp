// Cutting a selected feature out of the surface and filling the wound.
#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

#include "scanmesh/mesh.h"

namespace Mesh_M {

using Mesh_R::_edge;
using Mesh_R::_face;

namespace {

constexpr int kListBlock = 10000;
constexpr int kListTable = 100;
constexpr int kRings = 3;
constexpr double kLargestShare = 0.25;

// The first edge of a deleted face that is now on the rim; null when there is none.
_edge* rim_edge(const _face& deleted) {
  for (_edge* edge : deleted.edge) {
    if (edge->face_num == 1) return edge;
  }
  return nullptr;
}

// The last ring found that is shorter than the whole selection: what is longer is the border of
// the mesh itself. -1 for none.
int ring_to_fill(Mesh_R::Hole& finder, int limit) {
  for (int i = finder.holes.size() - 1; i >= 0; --i) {
    const Mesh_R::_hole* const ring = finder.holes[i];
    if (ring == nullptr) continue;
    const int edges = ring->edges->size();
    if (edges >= 1 && edges < limit) return i;
  }
  return -1;
}

void append_added(Mesh_R::Hole& finder, std::vector<_face*>& all) {
  _face** added = nullptr;
  int count = 0;
  finder.return_add_face(added, count);
  all.insert(all.end(), added, added + count);
  delete[] added;
}

}  // namespace

obj_triangle* Mesh::remove_feature(_face** faces, int count, _face**& added, int& added_count,
                                   float half_spacing) {
  if (count <= 0) return nullptr;
  // All records count here, deleted ones too; exactly a quarter may still go.
  if (static_cast<double>(count) / face.get_facenum() > kLargestShare) return nullptr;
  added = nullptr;
  added_count = 0;
  const std::vector<_face*> selection(faces, faces + count);
  obj_triangle* const record = storage_delFace(faces, count);
  for (_face* selected : selection) face.dele_face(selected);
  std::vector<_face*> patches;
  for (const _face* deleted : selection) {
    _edge* const start = rim_edge(*deleted);
    if (start == nullptr) continue;
    hole.free();
    hole.inalize(kListBlock, kListTable);
    hole.build_hole(start);
    const int ring = ring_to_fill(hole, count);
    if (ring >= 0) {
      hole.fill_Hole_Num(half_spacing, ring, kRings);
      append_added(hole, patches);
    }
    hole.free();
  }
  if (!patches.empty()) {
    added = new _face*[patches.size()];
    std::copy(patches.begin(), patches.end(), added);
    added_count = static_cast<int>(patches.size());
  }
  return record;
}

}  // namespace Mesh_M
