// Turning the tree of samples into a signed field on the corners of its cells.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <vector>

#include "core/parallel.h"
#include "core/platform.h"
#include "octree/octree_cells.h"
#include "octree/workers.h"
#include "scanmesh/octree.h"

namespace {

using scanmesh::kCellCorners;
using scanmesh::kReciprocity;
using scanmesh::kSlots;
using scanmesh::OctNode;

// Bounds the table of neighbours to half a gigabyte. Which samples are taken together can be seen
// in the field, so the size is fixed.
constexpr int kRealChunk = 2000000;
// Virtual voxels are only linked, which no chunk can see of another: small tables stay in cache.
constexpr int kVirtualChunk = 65536;
constexpr int kWorkersPerProcessor = 4;
constexpr double kZeroValue = 0.0001;

// Work on one chunk of a list.
class Chunk {
 public:
  Chunk(Oct_tree_Tri* tree, int workers, OctNode** cells, int begin, int end, OctNode** brothers,
        float* planes)
      : cells_(cells) {
    const int share = (end - begin) / workers;
    blocks_.resize(static_cast<std::size_t>(share == 0 ? 1 : workers));
    const auto count = static_cast<int>(blocks_.size());
    for (int i = 0; i < count; ++i) {
      const auto run = scanmesh::slice(end - begin, count, i);
      blocks_[static_cast<std::size_t>(i)] = {tree,
                                              count,
                                              i,
                                              begin + static_cast<int>(run.first),
                                              begin + static_cast<int>(run.second),
                                              planes,
                                              brothers};
    }
  }

  // The 27 cells around each voxel, and its tangent plane where planes are wanted.
  void look_around() {
    OctNode** const cells = cells_;
    const int begin = blocks_[0].begin;
    scanmesh::run_workers(blocks_, [cells, begin](const Paralledl* block) {
      for (int i = block->begin; i < block->end; ++i) {
        const auto at = static_cast<std::size_t>(i - begin);
        OctNode** const row = block->brothers + at * kSlots;
        if (cells[i] == nullptr) {
          std::fill_n(row, kSlots, nullptr);
          continue;
        }
        block->tree->oct_search(cells[i], row);
        if (block->planes != nullptr) set_plane(cells[i], block->planes + 4 * at);
      }
    });
  }

  const std::vector<Paralledl>& blocks() const { return blocks_; }

 private:
  // The normal is taken as it stands: hosts weight samples by its length.
  static void set_plane(const OctNode* cell, float* plane) {
    const scanmesh::Vec3f normal = scanmesh::normal_of(cell);
    plane[0] = normal.x;
    plane[1] = normal.y;
    plane[2] = normal.z;
    plane[3] = static_cast<float>(-scanmesh::dot_double(normal, scanmesh::position_of(cell)));
  }

  OctNode** cells_;
  std::vector<Paralledl> blocks_;
};

double signed_distance(const float* plane, const float* p) {
  return static_cast<double>(plane[0]) * p[0] + static_cast<double>(plane[1]) * p[1] +
         static_cast<double>(plane[2]) * p[2] + plane[3];
}

// The real voxels of a chunk around one of them, which hear of its new virtual voxels.
struct Listeners {
  struct Listener {
    int slot;
    OctNode** row;  // its own 27 cells
  };
  Listener of[kSlots];
  int count = 0;

  Listeners(OctNode* const* row, OctNode** brothers, int begin, int end) {
    for (int slot = 0; slot < kSlots; ++slot) {
      const OctNode* const cell = row[slot];
      if (cell == nullptr || !scanmesh::is_sample(cell)) continue;
      if (cell->index < begin || cell->index >= end) continue;
      of[count++] = {slot, brothers + static_cast<std::ptrdiff_t>(cell->index - begin) * kSlots};
    }
  }

  // Sizes aren't compared: a coarser listener takes a finer voxel into its slot and makes none of
  // its own there, which hosts have come to rely on at the seam between resolutions.
  void hear(int slot, OctNode* voxel) const {
    for (int i = 0; i < count; ++i) {
      const uint16_t seen = kReciprocity.slot[slot][of[i].slot];
      if (of[i].slot != slot && seen != scanmesh::kNoSlot) of[i].row[seen] = voxel;
    }
  }
};

}  // namespace

void Oct_tree_Tri::add_distances(const std::vector<Paralledl>& blocks) {
  const int begin = blocks.front().begin;
  const int end = blocks.back().end;
  for (int i = begin; i < end; ++i) {
    OctNode* const voxel = leaves.data[i];
    if (voxel == nullptr) continue;
    const auto at = static_cast<std::size_t>(i - begin);
    OctNode** const row = blocks.front().brothers + at * kSlots;
    const float* const plane = blocks.front().planes + at * 4;
    float centre[3];
    scanmesh::cell_centre(centre, voxel);
    for (int corner = 0; corner < kCellCorners; ++corner) {
      OctNode* vertex = voxel->link[corner];
      if (vertex == nullptr) vertex = new_vertex(row, corner, centre);
      vertex->half += static_cast<float>(signed_distance(plane, vertex->coor));
      *static_cast<float*>(vertex->data) += 1.0F;
    }
  }
}

void Oct_tree_Tri::add_virtual_voxels(const std::vector<Paralledl>& blocks) {
  const int begin = blocks.front().begin;
  const int end = blocks.back().end;
  OctNode** const brothers = blocks.front().brothers;
  for (int i = begin; i < end; ++i) {
    OctNode* const voxel = leaves.data[i];
    if (voxel == nullptr) continue;
    OctNode** const row = brothers + static_cast<std::ptrdiff_t>(i - begin) * kSlots;
    if (std::find(row, row + kSlots, nullptr) == row + kSlots) continue;
    const Listeners listeners(row, brothers, begin, end);
    float centre[3];
    scanmesh::cell_centre(centre, voxel);
    for (int slot = 0; slot < kSlots; ++slot) {
      if (row[slot] != nullptr) continue;
      float point[3];
      scanmesh::slot_centre(point, centre, slot, voxel->parent->half);
      row[slot] = oct_insert(point, voxel->data, false, voxel->half);
      listeners.hear(slot, row[slot]);
    }
  }
}

// The vertices are the nodes of that kind that the pool has handed out since the build began, in
// one run through memory.
void Oct_tree_Tri::finish_field(int first_block, int first_slot) {
  for (int b = first_block; b <= block_index; ++b) {
    OctNode* const end = node_blocks[b] + (b == block_index ? block_slot : block_capacity);
    OctNode* vertex = node_blocks[b] + (b == first_block ? first_slot : 0);
    for (; vertex < end; ++vertex) {
      if (vertex->index != scanmesh::kVoxelVertex) continue;
      const float count = *static_cast<float*>(vertex->data);
      if (count > 0) vertex->half /= count;
      if (std::fabs(static_cast<double>(vertex->half)) <= kZeroValue) vertex->half = 0;
      vertex->data = nullptr;
    }
  }
  std::free(counter_array);
  counter_array = nullptr;
}

// A virtual voxel ends with as many corners as its real neighbours made; it adds none itself.
void Oct_tree_Tri::link_virtual_voxels(int workers, int chunk_size) {
  const int room = std::min(voxels.count, chunk_size);
  const std::unique_ptr<OctNode*[]> brothers(new OctNode*[static_cast<std::size_t>(room) * kSlots]);
  for (int begin = 0; begin < voxels.count; begin += chunk_size) {
    const int end = begin + std::min(voxels.count - begin, chunk_size);
    Chunk chunk(this, workers, voxels.data, begin, end, brothers.get(), nullptr);
    chunk.look_around();
    for (int i = begin; i < end; ++i) {
      OctNode** const row = brothers.get() + static_cast<std::ptrdiff_t>(i - begin) * kSlots;
      for (int corner = 0; corner < kCellCorners; ++corner) {
        if (voxels.data[i]->link[corner] == nullptr) vertex_of(row, corner);
      }
    }
  }
}

void Oct_tree_Tri::oct_build_voxel_Architecture() {
  build_field(scanmesh::processor_count() * kWorkersPerProcessor, kRealChunk, kVirtualChunk);
}

void Oct_tree_Tri::build_field(int workers, int real_chunk, int virtual_chunk) {
  // Without counters there is no tree, or its field is built.
  if (counter_array == nullptr) return;
  const int first_block = block_index;
  const int first_slot = block_slot;
  const auto room = static_cast<std::size_t>(std::min(leaves.count, real_chunk));
  std::unique_ptr<OctNode*[]> brothers(new OctNode*[room * kSlots]);
  std::unique_ptr<float[]> planes(new float[room * 4]);
  for (int begin = 0; begin < leaves.count; begin += real_chunk) {
    const int end = begin + std::min(leaves.count - begin, real_chunk);
    Chunk chunk(this, workers, leaves.data, begin, end, brothers.get(), planes.get());
    chunk.look_around();
    add_distances(chunk.blocks());
    add_virtual_voxels(chunk.blocks());
  }
  finish_field(first_block, first_slot);
  brothers.reset();
  planes.reset();
  link_virtual_voxels(workers, virtual_chunk);
}
