// Turning the tree of samples into a signed field on the corners of its cells.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <optional>
#include <vector>

#include "core/parallel.h"
#include "octree/cell_walk.h"
#include "octree/field_build.h"
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

// The corners that a cell shares with the neighbour in a slot, as each of them numbers them.
struct SharedCorners {
  struct Pair {
    unsigned char own;
    unsigned char other;
  };
  Pair of[kSlots][kCellCorners] = {};
  int count[kSlots] = {};
  constexpr SharedCorners() {
    for (int slot = 0; slot < kSlots; ++slot) {
      for (int corner = 0; corner < kCellCorners; ++corner) {
        const scanmesh::Signs& sign = scanmesh::kCornerSign[corner];
        const scanmesh::Signs& offset = scanmesh::kSlotOffset[slot];
        int seen[3] = {};
        bool shared = true;
        for (int k = 0; k < 3; ++k) {
          seen[k] = sign[k] - 2 * offset[k];
          shared = shared && seen[k] >= -1 && seen[k] <= 1;
        }
        if (!shared) continue;
        const int other = scanmesh::corner_of_signs(seen[0], seen[1], seen[2]);
        of[slot][count[slot]++] = {static_cast<unsigned char>(corner),
                                   static_cast<unsigned char>(other)};
      }
    }
  }
};
constexpr SharedCorners kSharedCorners;

// An interior node has the index of a virtual voxel, but its links are its children.
bool is_virtual(const OctNode* node) {
  return scanmesh::is_cell(node) && node->index == scanmesh::kVirtualVoxel;
}

// A virtual voxel takes over the corners that a real one of its size has made.
void share_corners(const OctNode* real, int slot, OctNode* voxel) {
  if (!is_virtual(voxel) || voxel->half != real->half) return;
  for (int i = 0; i < kSharedCorners.count[slot]; ++i) {
    const SharedCorners::Pair& pair = kSharedCorners.of[slot][i];
    OctNode* const vertex = real->link[pair.own];
    if (vertex == nullptr || voxel->link[pair.other] != nullptr) continue;
    voxel->link[pair.other] = vertex;
    vertex->link[pair.other] = voxel;
  }
}

// Whether a voxel of the sample's size has its cell where the slot says. Samples stand in slots
// beyond the wall of the cube for cells where they aren't, and the position of a voxel that was
// meant to be beyond is no centre of its cell.
bool is_in_slot(const OctNode* real, int slot, const OctNode* voxel) {
  float point[3];
  float centre[3];
  scanmesh::cell_centre(point, real);
  scanmesh::slot_centre(point, point, slot, real->parent->half);
  scanmesh::cell_centre(centre, voxel);
  bool near = true;
  for (int k = 0; k < 3; ++k) near = near && std::fabs(centre[k] - point[k]) < real->half;
  return near;
}

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

// The surroundings of the samples of one chunk, as virtual voxels come into them.
class Oct_tree_Tri::Surroundings {
 public:
  Surroundings(Oct_tree_Tri& tree, FieldBuild& build) : tree_(tree), build_(build) {}

  // Fills the empty slots of a chunk's samples.
  void fill(const std::vector<Paralledl>& blocks) {
    begin_ = blocks.front().begin;
    end_ = blocks.back().end;
    brothers_ = blocks.front().brothers;
    for (int i = begin_; i < end_; ++i) {
      OctNode* const voxel = tree_.leaves.data[i];
      OctNode** const row = row_of(i);
      if (voxel == nullptr || std::find(row, row + kSlots, nullptr) == row + kSlots) continue;
      const Cell cell(voxel);
      scanmesh::ParentCells around(voxel->parent, build_.walks);
      for (int slot = 0; slot < kSlots; ++slot) {
        if (row[slot] != nullptr) continue;
        bool linked = false;
        row[slot] = fill_slot(cell, slot, around, linked);
        tell(row, slot, row[slot], linked);
      }
    }
  }

  // The same for all samples at once where all are of one size: whoever isn't told of a voxel comes
  // upon it.
  void fill_uniform() {
    std::optional<scanmesh::ParentCells> around;
    const OctNode* parent = nullptr;
    for (int i = 0; i < tree_.leaves.count; ++i) {
      OctNode* const voxel = tree_.leaves.data[i];
      if (voxel == nullptr) continue;
      if (voxel->parent != parent) around.emplace(voxel->parent, build_.walks);
      parent = voxel->parent;
      const Cell cell(voxel);
      for (int slot = 0; slot < kSlots; ++slot) {
        bool linked = false;
        if (slot != scanmesh::kOwnSlot) fill_slot(cell, slot, *around, linked);
      }
    }
  }

 private:
  struct Cell {
    OctNode* voxel;
    int octant;
    float centre[3];
    explicit Cell(OctNode* of) : voxel(of), octant(scanmesh::octant_in_parent(of)) {
      scanmesh::child_centre(centre, of->parent->coor, octant, of->half);
    }
  };

  OctNode** row_of(int i) const {
    return brothers_ + static_cast<std::ptrdiff_t>(i - begin_) * kSlots;
  }

  OctNode* fill_slot(const Cell& cell, int slot, scanmesh::ParentCells& around, bool& linked) {
    OctNode* const voxel = cell.voxel;
    float point[3];
    scanmesh::slot_centre(point, cell.centre, slot, voxel->parent->half);
    const bool inside = scanmesh::inside(tree_.box, point);
    OctNode* const made =
        insert(voxel, point, inside, scanmesh::kSlotPlaces.of[cell.octant][slot], around);
    // Beyond the cube a voxel stands in a cell on this side of its wall, and below a marker cells
    // aren't where their sizes say.
    if (tree_.cells_below_markers_) build_.walks = false;
    linked = build_.walks && inside;
    if (!linked) build_.all_linked = false;
    if (made != nullptr && linked) share_corners(voxel, slot, made);
    return made;
  }

  OctNode* insert(const OctNode* voxel, float* point, bool inside, const scanmesh::SlotPlace& place,
                  scanmesh::ParentCells& around) {
    OctNode* parent = nullptr;
    const bool known = build_.walks && inside && around.at(place.beside, parent);
    if (known && parent != nullptr && !scanmesh::is_cell(parent)) {
      return tree_.insert_below(parent, place.child, point, voxel->data, voxel->half);
    }
    OctNode* const made = tree_.oct_insert(point, voxel->data, false, voxel->half);
    if (known && made != nullptr && !tree_.cells_below_markers_) {
      around.set(place.beside, made->parent);
    }
    return made;
  }

  // Tells the samples of the chunk around one of them. Sizes aren't compared: a coarser one takes a
  // finer voxel into its slot and makes none of its own there, which hosts have come to rely on at
  // the seam between resolutions.
  void tell(OctNode* const* row, int slot, OctNode* made, bool linked) {
    for (int t = 0; t < kSlots; ++t) {
      const uint16_t seen = kReciprocity.slot[slot][t];
      OctNode* const cell = row[t];
      if (seen == scanmesh::kNoSlot || t == slot || cell == nullptr) continue;
      if (!scanmesh::is_sample(cell) || cell->index < begin_ || cell->index >= end_) continue;
      OctNode*& place = row_of(cell->index)[seen];
      if (place == made) continue;
      place = made;
      if (made == nullptr || !linked) continue;
      if (cell->half != made->half) {
        build_.misled.push_back({cell, seen});
      } else if (is_in_slot(cell, seen, made)) {
        share_corners(cell, seen, made);
      }
    }
  }

  Oct_tree_Tri& tree_;
  FieldBuild& build_;
  int begin_ = 0;
  int end_ = 0;
  OctNode** brothers_ = nullptr;
};

// The vertices are the nodes of that kind that the pool has handed out from some place on, in one
// run through memory.
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

// A virtual voxel ends with as many corners as its real neighbours made; it adds none itself. Most
// have them by now. What is left: those of coarse samples that were told of a finer voxel, and the
// coarser leaves around fine voxels, which are to know that they border finer cells.
void Oct_tree_Tri::link_virtual_voxels(const FieldBuild& build) {
  std::vector<OctNode*> rest;
  for (int i = 0; i < voxels.count; ++i) {
    OctNode* const voxel = voxels.data[i];
    if (!build.all_linked || voxel->half < build.largest) rest.push_back(voxel);
  }
  if (build.all_linked) {
    for (const FieldBuild::Misled& one : build.misled) {
      float point[3];
      scanmesh::cell_centre(point, one.cell);
      scanmesh::slot_centre(point, point, one.slot, one.cell->parent->half);
      OctNode* const there = oct_search(point);
      if (there != nullptr) share_corners(one.cell, one.slot, there);
    }
  }
  const int count = static_cast<int>(rest.size());
  const int room = std::min(count, build.virtual_chunk);
  const std::unique_ptr<OctNode*[]> brothers(new OctNode*[static_cast<std::size_t>(room) * kSlots]);
  for (int begin = 0; begin < count; begin += build.virtual_chunk) {
    const int end = begin + std::min(count - begin, build.virtual_chunk);
    Chunk chunk(this, build.workers, rest.data(), begin, end, brothers.get(), nullptr);
    chunk.look_around();
    for (int i = begin; i < end; ++i) {
      OctNode** const row = brothers.get() + static_cast<std::ptrdiff_t>(i - begin) * kSlots;
      for (int corner = 0; corner < kCellCorners; ++corner) {
        if (row[scanmesh::kOwnSlot]->link[corner] == nullptr) vertex_of(row, corner);
      }
    }
  }
}

void Oct_tree_Tri::oct_build_voxel_Architecture() {
  FieldBuild build;
  build.workers = scanmesh::field_workers();
  build.real_chunk = kRealChunk;
  build.virtual_chunk = kVirtualChunk;
  build_field(build);
}

void Oct_tree_Tri::build_field(FieldBuild& build) {
  // Without counters there is no tree, or its field is built.
  if (counter_array == nullptr) return;
  // Vertices may have been made by single calls before.
  const int first_block = counter_used == 0 ? block_index : 0;
  const int first_slot = counter_used == 0 ? block_slot : 0;
  build.look_at_sizes(*this);
  // No chunk sees another where all is of one size, so that small tables will do.
  if (build.uniform) build.real_chunk = build.virtual_chunk;
  Surroundings surroundings(*this, build);
  const auto room = static_cast<std::size_t>(std::min(leaves.count, build.real_chunk));
  std::unique_ptr<OctNode*[]> brothers(new OctNode*[room * kSlots]);
  std::unique_ptr<float[]> planes(new float[room * 4]);
  for (int begin = 0; begin < leaves.count; begin += build.real_chunk) {
    const int end = begin + std::min(leaves.count - begin, build.real_chunk);
    Chunk chunk(this, build.workers, leaves.data, begin, end, brothers.get(), planes.get());
    chunk.look_around();
    add_distances(chunk.blocks());
    if (!build.uniform) surroundings.fill(chunk.blocks());
  }
  brothers.reset();
  planes.reset();
  finish_field(first_block, first_slot);
  if (build.uniform) surroundings.fill_uniform();
  link_virtual_voxels(build);
}
