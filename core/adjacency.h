// The adjacency lists of the records: one routine each for appending and removing.
#ifndef SCANMESH_CORE_ADJACENCY_H
#define SCANMESH_CORE_ADJACENCY_H

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <limits>

#include "scanmesh/mem_allo.h"
#include "scanmesh/stores.h"

namespace scanmesh {

constexpr int16_t kListLimit = std::numeric_limits<int16_t>::max();

// Capacity that follows `capacity`: times growth, truncated. Always room for one more entry.
inline int16_t grown_capacity(int16_t capacity, double growth) {
  const double wanted = capacity * growth;
  const double least = static_cast<double>(capacity) + 1.0;
  return static_cast<int16_t>(std::min<double>(kListLimit, std::max(wanted, least)));
}

// Appends to a list. Nothing happens for a null list, which is what makes an append to a deleted
// record harmless, nor for a list with as many entries as its 16-bit counter holds.
template <typename T>
void append(T**& list, int16_t& count, int16_t& capacity, int16_t default_capacity, double growth,
            T* entry) {
  if (list == nullptr) return;
  if (count == capacity) {
    if (capacity == kListLimit) return;
    const int16_t larger = grown_capacity(capacity, growth);
    T** const heap = new T*[static_cast<std::size_t>(larger)];
    std::copy_n(list, count, heap);
    // A run of the pool is simply left behind.
    if (capacity > default_capacity) delete[] list;
    list = heap;
    capacity = larger;
  }
  list[count++] = entry;
}

// Removes the first such entry by moving the last one into its place; false when there is none.
template <typename T>
bool remove_first(T** list, int16_t& count, const T* entry) {
  for (int16_t i = 0; i < count; ++i) {
    if (list[i] == entry) {
      --count;
      list[i] = list[count];
      return true;
    }
  }
  return false;
}

template <typename T>
void replace_all(T** list, int16_t count, const T* from, T* to) {
  if (list == nullptr) return;
  std::replace(list, list + count, const_cast<T*>(from), to);
}

// Frees a list that lies on the heap, and forgets it.
template <typename T>
void drop_list(T**& list, int16_t capacity, int16_t default_capacity) {
  if (capacity > default_capacity) delete[] list;
  list = nullptr;
}

// A list for a record that is handed out: a run of the pool, or of the heap for a record that comes
// back with a grown capacity, so that the rule "on the heap if above the default" holds.
template <typename T>
void give_list(T**& list, int16_t capacity, int16_t default_capacity, MemS::MemAllo<T*>& pool) {
  if (capacity <= default_capacity) {
    list = pool.allocate_mem(capacity);
  } else if (list == nullptr) {
    list = new T*[static_cast<std::size_t>(capacity)];
  }
}

// A copied record must not share a heap list with the slot that it came from: the old list goes
// with the old slot.
template <typename T>
void own_list(T**& list, int16_t count, int16_t capacity, int16_t default_capacity) {
  if (list == nullptr || capacity <= default_capacity) return;
  T** const own = new T*[static_cast<std::size_t>(capacity)];
  std::copy_n(list, count, own);
  list = own;
}

// Number of a record by the block that its address lies in; 0 when it lies in none.
template <typename T>
int record_number(const MemS::MemAllo<T>& records, const T* record) {
  if (record == nullptr || records.block == nullptr) return 0;
  const auto address = reinterpret_cast<uintptr_t>(record);
  for (int32_t i = 0; i <= records.block_no; ++i) {
    const auto first = reinterpret_cast<uintptr_t>(records.block[i]);
    if (first == 0 || address < first) continue;
    const uintptr_t offset = address - first;
    const auto size = static_cast<uintptr_t>(records.block_size);
    if (offset < size * sizeof(T) && offset % sizeof(T) == 0) {
      return i * records.block_size + static_cast<int>(offset / sizeof(T));
    }
  }
  return 0;
}

// Each corner of a new face may gain two edges and three entries of the face. Beyond the counters'
// 16 bits a face can't be entered everywhere, so it isn't made at all.
inline bool has_room(const Mesh_R::_vert* vert) {
  return vert->edge_num < kListLimit - 2 && vert->face_num < kListLimit - 3;
}

}  // namespace scanmesh

#endif  // SCANMESH_CORE_ADJACENCY_H
