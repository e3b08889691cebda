// Lists and pools of the octree: what the tree holds by value.
#ifndef SCANMESH_OCTREE_POOL_H
#define SCANMESH_OCTREE_POOL_H

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>
#include <type_traits>

#include "scanmesh/export.h"

/// A growing list: `T` is the pointer to its first entry, allocated with new[].
template <typename T>
struct M_point_arry {
  T data = nullptr;
  int32_t count = 0;
  int32_t capacity = 0;
};

/// Replaces a full table of blocks by a zeroed one three times as long. Whoever keeps a pointer
/// into the table loses it; the blocks stay where they are.
template <typename T>
void oct_grow_table(T**& table, int32_t& size) {
  if (size > std::numeric_limits<int32_t>::max() / 3) throw std::bad_alloc();
  T** const longer = new T*[static_cast<std::size_t>(size) * 3]();
  std::copy_n(table, size, longer);
  delete[] table;
  table = longer;
  size *= 3;
}

/// Growing pool of plain elements in blocks of equal size; an element never moves.
///
/// Copies are memberwise and share the blocks: two copies must never both be freed. Several threads
/// may read elements and write different ones while nobody allocates.
template <typename T>
struct Oct_Pool {
  static_assert(std::is_trivially_copyable_v<T>, "blocks are released without destructors");

  int32_t block_size = 100000;
  int32_t table_size = 1000;
  int32_t block_index = 0;  // the block that the next element comes from
  T** blocks = nullptr;     // null until inalize; an entry is null until its block exists
  int32_t block_top = 0;    // only free() reads it: a block beyond block_index may be in use
  int32_t slot = 0;         // the next element of that block

  /// Stores both sizes and allocates a zeroed table. Frees nothing.
  void inalize(int size, int table) {
    assert(size > 0 && table > 0);
    block_size = size;
    table_size = table;
    block_index = 0;
    block_top = 0;
    slot = 0;
    blocks = new T*[static_cast<std::size_t>(table)]();
  }

  /// The next element, as the block gave it.
  T& allocate_mem() {
    if (slot == block_size) {
      ++block_index;
      slot = 0;
    }
    if (block_index == table_size) oct_grow_table(blocks, table_size);
    T*& block = blocks[block_index];
    if (block == nullptr) block = new T[static_cast<std::size_t>(block_size)];
    return block[slot++];
  }

  T& operator[](int i) { return blocks[i / block_size][i % block_size]; }
  const T& operator[](int i) const { return blocks[i / block_size][i % block_size]; }

  int size() const { return block_index * block_size + slot; }

  /// Releases the blocks up to the larger of the two indices, then the table.
  void free() {
    if (blocks != nullptr) {
      const int32_t last = std::min(std::max(block_index, block_top), table_size - 1);
      for (int32_t i = 0; i <= last; ++i) delete[] blocks[i];
      delete[] blocks;
    }
    blocks = nullptr;
    block_index = 0;
    block_top = 0;
    slot = 0;
  }
};

/// A list record that hosts declare; nothing in the library uses it.
template <typename T>
class SCANMESH_API F_OctTree {
 public:
  T* data = nullptr;
  int32_t count = 0;
  int32_t capacity = 0;
  int32_t block = 0;

  F_OctTree();
  /// Copies share the block.
  F_OctTree(const F_OctTree&) = default;
  /// The same.
  F_OctTree& operator=(const F_OctTree& other);
};

#endif  // SCANMESH_OCTREE_POOL_H
