// The corners of voxels: nodes of their own that neighbouring cells share.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <new>

#include "octree/octree_cells.h"
#include "scanmesh/octree.h"

namespace {

using scanmesh::kCellCorners;
using scanmesh::kCornerRing;
using scanmesh::OctNode;

constexpr int kLeastCounters = 1024;

// The 27 cells of a voxel of the block's chunk.
OctNode** cells_of(Paralledl* block, int i) {
  const Paralledl& first = *(block - block->thread_id);
  return first.brothers + static_cast<std::ptrdiff_t>(i - first.begin) * scanmesh::kSlots;
}

// A coarser cell doesn't share corners; it is told that it borders a finer one.
bool is_coarser(OctNode* cell, const OctNode* voxel) {
  if (!(cell->half > voxel->half)) return false;
  cell->status = kOctBordersFiner;
  return true;
}

}  // namespace

// The pool of counters grows where the announced number of samples was too small; the vertices are
// re-pointed.
float* Oct_tree_Tri::next_counter() {
  if (counter_used >= counter_capacity) {
    const long long wanted = std::max<long long>(2LL * counter_capacity, kLeastCounters);
    const auto capacity =
        static_cast<int32_t>(std::min<long long>(wanted, std::numeric_limits<int32_t>::max()));
    if (capacity <= counter_used) throw std::bad_alloc();
    auto* const longer =
        static_cast<float*>(std::calloc(static_cast<std::size_t>(capacity), sizeof(float)));
    if (longer == nullptr) throw std::bad_alloc();
    if (counter_array != nullptr) {
      std::copy_n(counter_array, counter_used, longer);
      for (int b = 0; b <= block_index; ++b) {
        const int nodes = b == block_index ? block_slot : block_capacity;
        for (OctNode* node = node_blocks[b]; node < node_blocks[b] + nodes; ++node) {
          if (node->index != scanmesh::kVoxelVertex || node->data == nullptr) continue;
          node->data = longer + (static_cast<float*>(node->data) - counter_array);
        }
      }
    }
    std::free(counter_array);
    counter_array = longer;
    counter_capacity = capacity;
  }
  return counter_array + counter_used++;
}

// Only leaves are cells: an interior node's links are its children, and a marker that no sample
// replaced is no cell either.
Oct_tree_Triangulation* Oct_tree_Tri::vertex_of(Oct_tree_Triangulation** cells, int corner) {
  OctNode* const voxel = cells[scanmesh::kOwnSlot];
  OctNode* vertex = nullptr;
  for (int j = 0; j < kCellCorners && vertex == nullptr; ++j) {
    OctNode* const cell = cells[kCornerRing.slot[corner][j]];
    if (cell == nullptr || is_coarser(cell, voxel)) continue;
    if (!scanmesh::is_cell(cell) || cell->link[j] == nullptr) continue;
    vertex = cell->link[j];
    vertex->link[j] = cell;
  }
  if (vertex == nullptr) return nullptr;
  for (int j = 0; j < kCellCorners; ++j) {
    OctNode* const cell = cells[kCornerRing.slot[corner][j]];
    if (cell == nullptr || is_coarser(cell, voxel)) continue;
    if (!scanmesh::is_cell(cell) || cell->link[j] != nullptr) continue;
    cell->link[j] = vertex;
    vertex->link[j] = cell;
  }
  voxel->link[corner] = vertex;
  return vertex;
}

// A cell that already has a vertex at the corner gets this one instead.
Oct_tree_Triangulation* Oct_tree_Tri::new_vertex(Oct_tree_Triangulation** cells, int corner,
                                                 const float* centre) {
  OctNode* const voxel = cells[scanmesh::kOwnSlot];
  float* const counter = next_counter();
  OctNode* const vertex = oct_allocate_node();
  vertex->index = scanmesh::kVoxelVertex;
  oct_calculate_voxel_locatioin(voxel, static_cast<Mesh_Oct::OctTreeVoxel>(corner), vertex->coor,
                                centre);
  vertex->data = counter;
  for (int j = 0; j < kCellCorners; ++j) {
    OctNode* const cell = cells[kCornerRing.slot[corner][j]];
    if (cell == nullptr || is_coarser(cell, voxel) || !scanmesh::is_cell(cell)) continue;
    cell->link[j] = vertex;
    vertex->link[j] = cell;
  }
  return vertex;
}

Oct_tree_Triangulation* Oct_tree_Tri::oct_allocate_voxel_mem(Paralledl* block, int i,
                                                             Mesh_Oct::OctTreeVoxel corner) {
  return vertex_of(cells_of(block, i), static_cast<int>(corner));
}

Oct_tree_Triangulation* Oct_tree_Tri::oct_allocate_voxel_mem(Paralledl* block, int i,
                                                             Mesh_Oct::OctTreeVoxel corner,
                                                             float* centre) {
  // A field that is finished takes no more vertices.
  if (counter_array == nullptr) return nullptr;
  return new_vertex(cells_of(block, i), static_cast<int>(corner), centre);
}

// For a look with the debugger: the vertices of ordinary voxels that aren't where they must be.
int Oct_tree_Tri::verify_voxel() const {
  constexpr double kTolerance = 0.1;
  int astray = 0;
  for (int i = 0; i < leaves.count; ++i) {
    const OctNode* const voxel = leaves.data[i];
    if (voxel == nullptr) continue;
    float centre[3];
    scanmesh::cell_centre(centre, voxel);
    for (int corner = 0; corner < kCellCorners; ++corner) {
      const OctNode* const vertex = voxel->link[corner];
      if (vertex == nullptr) continue;
      bool off = false;
      for (int k = 0; k < 3; ++k) {
        const double expected =
            centre[k] + scanmesh::kCornerSign[corner][k] * static_cast<double>(min_HalfEdge);
        off = off || std::fabs(vertex->coor[k] - expected) > kTolerance;
      }
      astray += off ? 1 : 0;
    }
  }
  return astray;
}
