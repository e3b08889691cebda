// The block array on which every store is built. Records point at one another by raw address, so
// the array grows without ever moving an element.
#ifndef SCANMESH_MEM_ALLO_H
#define SCANMESH_MEM_ALLO_H

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <type_traits>
#include <utility>

#if defined(__linux__)
#include <sys/mman.h>
#endif

// Large blocks straight from the system, but not under AddressSanitizer, which watches over what
// comes from malloc only.
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define SCANMESH_MAPS_BLOCKS 0
#endif
#endif
#if !defined(SCANMESH_MAPS_BLOCKS)
#if defined(__linux__) && !defined(__SANITIZE_ADDRESS__)
#define SCANMESH_MAPS_BLOCKS 1
#else
#define SCANMESH_MAPS_BLOCKS 0
#endif
#endif

namespace MemS {

/// Makes the pages of a stretch of memory resident in one go where the system can: a page fault
/// each costs several times as much. The contents stay; a refusal changes nothing.
inline void touch_pages(void* start, std::size_t bytes) {
#if defined(__linux__) && defined(MADV_POPULATE_WRITE)
  constexpr std::uintptr_t kPage = 4096;
  const std::uintptr_t first = (reinterpret_cast<std::uintptr_t>(start) + kPage - 1) & ~(kPage - 1);
  const std::uintptr_t end = (reinterpret_cast<std::uintptr_t>(start) + bytes) & ~(kPage - 1);
  if (first < end) madvise(reinterpret_cast<void*>(first), end - first, MADV_POPULATE_WRITE);
#else
  (void)start;
  (void)bytes;
#endif
}

/// Growable array of T in blocks of equal size.
///
/// A block reserves addresses only: an element is constructed when it is first handed out, so that
/// a mesh with blocks of millions of records costs what it holds. Each block keeps the number of
/// its constructed elements in front of them; elements left over from before a clear_mem stay
/// constructed and are handed out again as they stand.
///
/// Not safe against a concurrent writer. Several threads may read elements and write different ones
/// while nobody allocates. Copies are memberwise and share the blocks: two copies must never both
/// be freed. Out of memory raises std::bad_alloc.
template <typename T>
class MemAllo {
 public:
  int32_t block_size = 100000;    // elements per block
  int32_t block_capacity = 1000;  // slots of the block table
  int32_t block_used = 0;         // elements used in the current block
  int32_t block_no = 0;           // index of the current block
  T** block = nullptr;            // the block table; a slot is null until its block exists
  int32_t block_top = 0;          // highest block_no before the last clear_mem

  /// Stores both sizes and allocates a zeroed table and block 0. Frees nothing: on a live array
  /// what it held is lost.
  void inalize(int size, int capacity) {
    assert(size > 0 && capacity > 0);
    block_size = size;
    block_capacity = capacity;
    block_used = 0;
    block_no = 0;
    block_top = 0;
    block = new_table(capacity);
    block[0] = new_block();
  }

  /// The next element. Its address holds until free(). Elements are numbered by 32 bits: one beyond
  /// them isn't handed out.
  T& allocate_mem() {
    if (wide_size() >= std::numeric_limits<int32_t>::max()) throw std::bad_alloc();
    if (block_used == block_size) {
      ++block_no;
      block_used = 0;
    }
    T* const elements = current_block();
    construct_to(elements, block_used + 1);
    return elements[block_used++];
  }

  /// `count` consecutive elements of one block, count <= block_size. A request that would end
  /// exactly at the end of a block moves to the next one, and the rest of the block stays empty; a
  /// whole block is served by the next one, too.
  T* allocate_mem(int count) {
    assert(count >= 0 && count <= block_size);
    if (block_used + count >= block_size) {
      ++block_no;
      block_used = 0;
    }
    T* const elements = current_block();
    construct_to(elements, block_used + count);
    T* const run = elements + block_used;
    block_used += count;
    return run;
  }

  T& operator[](int i) { return block[i / block_size][i % block_size]; }
  const T& operator[](int i) const { return block[i / block_size][i % block_size]; }

  int size() const {
    const int64_t count = wide_size();
    if (count > std::numeric_limits<int32_t>::max()) throw std::bad_alloc();
    return static_cast<int>(count);
  }

  /// Back to no elements; blocks and old values stay.
  void clear_mem() {
    if (block_no > block_top) block_top = block_no;
    block_used = 0;
    block_no = 0;
  }

  /// Destroys and releases every block, then the table.
  void free() {
    if (block != nullptr) {
      const int32_t last = block_no > block_top ? block_no : block_top;
      for (int32_t i = 0; i <= last && i < block_capacity; ++i) {
        if (block[i] != nullptr) release_block(block[i]);
      }
      std::free(block);
      block = nullptr;
    }
    block_used = 0;
    block_no = 0;
    block_top = 0;
  }

  /// Destroys the constructed elements of one block and returns its memory.
  static void release_block(T* elements) {
    if constexpr (!std::is_trivially_destructible_v<T>) {
      for (int32_t i = 0, n = header(elements)->constructed; i < n; ++i) elements[i].~T();
    }
    give_back(header(elements));
  }

 private:
  struct alignas(std::max_align_t) Header {
    int32_t constructed;
    int32_t touched;     // elements whose pages were made resident ahead
    std::size_t mapped;  // bytes from the system; 0 for a block from malloc
  };
  static_assert(alignof(T) <= alignof(Header), "elements follow the header directly");
  static constexpr bool kMaps = SCANMESH_MAPS_BLOCKS != 0;
  // Blocks from here on are mapped afresh, page by page.
  static constexpr std::size_t kMappedBytes = std::size_t{1} << 20;
  // How far ahead of its elements a block is made resident at most.
  static constexpr std::size_t kTouchedBytes = std::size_t{1} << 18;

  int64_t wide_size() const { return int64_t{block_no} * block_size + block_used; }

  static Header* header(const T* elements) {
    return reinterpret_cast<Header*>(const_cast<char*>(reinterpret_cast<const char*>(elements)) -
                                     sizeof(Header));
  }

  static T** new_table(int32_t slots) {
    void* const table = std::calloc(static_cast<std::size_t>(slots), sizeof(T*));
    if (table == nullptr) throw std::bad_alloc();
    return static_cast<T**>(table);
  }

  T* new_block() const {
    const std::size_t bytes = sizeof(Header) + static_cast<std::size_t>(block_size) * sizeof(T);
    const bool mapped = kMaps && bytes >= kMappedBytes;
    void* const raw = mapped ? map(bytes) : std::malloc(bytes);
    if (raw == nullptr) throw std::bad_alloc();
    static_cast<Header*>(raw)->constructed = 0;
    static_cast<Header*>(raw)->touched = bytes < kMappedBytes ? block_size : 0;
    static_cast<Header*>(raw)->mapped = mapped ? bytes : 0;
    return reinterpret_cast<T*>(static_cast<char*>(raw) + sizeof(Header));
  }

  // A large block comes from the system and goes back there, so that a host has the memory of a
  // scan again once it is closed: malloc would keep it in its heap. Its pages become resident as
  // elements are handed out.
#if defined(__linux__)
  static void* map(std::size_t bytes) {
    void* const raw =
        mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return raw == MAP_FAILED ? nullptr : raw;
  }
  static void give_back(Header* block) {
    if (block->mapped != 0) {
      munmap(block, block->mapped);
    } else {
      std::free(block);
    }
  }
#else
  static void* map(std::size_t bytes) {
    return std::malloc(bytes);
  }
  static void give_back(Header* block) {
    std::free(block);
  }
#endif

  T* current_block() {
    if (block_no == block_capacity) grow_table();
    T*& slot = block[block_no];
    if (slot == nullptr) slot = new_block();
    return slot;
  }

  void grow_table() {
    // The table triples and has no upper limit but the address space.
    if (block_capacity > std::numeric_limits<int32_t>::max() / 3) throw std::bad_alloc();
    T** const table = new_table(3 * block_capacity);
    std::memcpy(table, block, static_cast<std::size_t>(block_capacity) * sizeof(T*));
    std::free(block);
    block = table;
    block_capacity *= 3;
  }

  // As much again as there is, up to a limit: a small mesh stays small.
  void touch_ahead(T* elements, int32_t end) {
    const int32_t most = static_cast<int32_t>(kTouchedBytes / sizeof(T)) + 1;
    const int32_t ahead = end < most ? end : most;
    const int32_t last = block_size - end < ahead ? block_size : end + ahead;
    touch_pages(elements + end, static_cast<std::size_t>(last - end) * sizeof(T));
    header(elements)->touched = last;
  }

  void construct_to(T* elements, int32_t end) {
    int32_t& constructed = header(elements)->constructed;
    if (end > header(elements)->touched) touch_ahead(elements, end);
    if constexpr (std::is_trivially_default_constructible_v<T>) {
      if (constructed < end) constructed = end;
    } else {
      for (; constructed < end; ++constructed) ::new (static_cast<void*>(elements + constructed)) T;
    }
  }
};

}  // namespace MemS

#endif  // SCANMESH_MEM_ALLO_H
