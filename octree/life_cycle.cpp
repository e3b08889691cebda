// Making and releasing the tree, and its node pool.
#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <new>
#include <utility>

#include "octree/octree_cells.h"
#include "scanmesh/mem_allo.h"
#include "scanmesh/octree.h"

namespace {

// Hosts set the callback on any one tree and expect the reports of all: there is one slot.
Mesh_M::ProcessStepCallback shared_callback;

}  // namespace

namespace scanmesh {

const Mesh_M::ProcessStepCallback& octree_callback() {
  return shared_callback;
}

}  // namespace scanmesh

template <typename T>
F_OctTree<T>::F_OctTree() = default;
template <typename T>
F_OctTree<T>& F_OctTree<T>::operator=(const F_OctTree& other) = default;
template class F_OctTree<Oct_tree_Triangulation*>;

namespace {

constexpr int kLeastLeafCapacity = 200000;
constexpr int kVoxelCapacity = 1000000;
constexpr int kCountersPerPoint = 7;
constexpr int kMarkerBlock = 1000;
constexpr int kMarkerTable = 1000;
constexpr int kNormalBlock = 100000;
constexpr int kNormalTable = 1000;
// How far ahead of the nodes a block is made resident.
constexpr int kTouchedNodes = 2048;

int clamped(long long value) {
  return static_cast<int>(std::clamp<long long>(value, 0, std::numeric_limits<int32_t>::max()));
}

void release(M_point_arry<Oct_tree_Triangulation**>& list) {
  delete[] list.data;
  list = {};
}

M_point_arry<Oct_tree_Triangulation**> list_of(int capacity) {
  return {new Oct_tree_Triangulation*[static_cast<std::size_t>(capacity)], 0, capacity};
}

}  // namespace

void Oct_tree_Tri::oct_set_min_HalfEdge(float half, int levels_between) {
  min_HalfEdge = half;
  levels = levels_between;
  fine_HalfEdge = levels == 2 ? half / 4.0F : half / std::pow(2.0F, static_cast<float>(levels));
}

void Oct_tree_Tri::oct_initialize(float* centre, int pointCount, float half) {
  assert(centre != nullptr && pointCount >= 0 && half > 0 && block_capacity > 0);
  node_blocks = new Oct_tree_Triangulation*[static_cast<std::size_t>(block_table_size)]();
  block_slot = 0;
  block_index = 0;
  Oct_tree_Triangulation* const top = oct_allocate_node();
  std::copy_n(centre, 3, top->coor);
  top->half = half;
  box = {centre[0] + half, centre[0] - half, centre[1] + half,
         centre[1] - half, centre[2] + half, centre[2] - half};
  leaves = list_of(std::max(clamped(2LL * pointCount), kLeastLeafCapacity));
  counter_capacity = clamped(static_cast<long long>(kCountersPerPoint) * pointCount);
  counter_used = 0;
  // Zeroed by the system page by page, as the counters come into use.
  counter_array = static_cast<float*>(
      std::calloc(static_cast<std::size_t>(std::max(counter_capacity, 1)), sizeof(float)));
  if (counter_array == nullptr) throw std::bad_alloc();
  voxels = list_of(kVoxelCapacity);
  cells_below_markers_ = false;
}

// A block is mapped, not touched: what the tree costs is what it holds.
Oct_tree_Triangulation* Oct_tree_Tri::oct_allocate_node() {
  if (block_slot == block_capacity) {
    ++block_index;
    block_slot = 0;
  }
  if (block_index == block_table_size) oct_grow_table(node_blocks, block_table_size);
  Oct_tree_Triangulation*& block = node_blocks[block_index];
  const auto nodes = static_cast<std::size_t>(block_capacity);
  if (block == nullptr) {
    block =
        static_cast<Oct_tree_Triangulation*>(std::malloc(nodes * sizeof(Oct_tree_Triangulation)));
    if (block == nullptr) throw std::bad_alloc();
  }
  Oct_tree_Triangulation* const node = block + block_slot;
  if (block_slot % kTouchedNodes == 0) {
    const int ahead = std::min(kTouchedNodes, block_capacity - block_slot);
    MemS::touch_pages(node, static_cast<std::size_t>(ahead) * sizeof(Oct_tree_Triangulation));
  }
  ++block_slot;
  return ::new (static_cast<void*>(node)) Oct_tree_Triangulation;
}

void Oct_tree_Tri::oct_free() {
  if (node_blocks != nullptr) {
    for (int i = 0; i <= block_index && i < block_table_size; ++i) std::free(node_blocks[i]);
    delete[] node_blocks;
  }
  node_blocks = nullptr;
  block_slot = 0;
  block_index = 0;
  release(leaves);
  release(voxels);
  std::free(counter_array);
  counter_array = nullptr;
  counter_used = 0;
  counter_capacity = 0;
}

void Oct_tree_Tri::inalize_mark() {
  free_mark();
  marker_nodes.inalize(kMarkerBlock, kMarkerTable);
  marker_radius.inalize(kMarkerBlock, kMarkerTable);
  marker_half.reserve(kMarkerBlock);
  fill_normals.inalize(kNormalBlock, kNormalTable);
}

void Oct_tree_Tri::free_mark() {
  marker_nodes.free();
  marker_radius.free();
  std::vector<float>().swap(marker_half);
  fill_normals.free();
}

void Oct_tree_Tri::setProcessStepCallback(
    std::function<int(qv::alg::ProcessStepInfoType&)> callback) {
  shared_callback = std::move(callback);
}
