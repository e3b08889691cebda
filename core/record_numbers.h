// Numbers of many records by their addresses.
#ifndef SCANMESH_CORE_RECORD_NUMBERS_H
#define SCANMESH_CORE_RECORD_NUMBERS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "scanmesh/mem_allo.h"

namespace scanmesh {

// Answers the same as record_number(), which walks the blocks at each question: this remembers the
// block of the last answer, since neighbours lie close together, and finds another one by
// bisection. A record beyond the store's count counts as elsewhere. The store must not grow
// meanwhile; each thread takes an object of its own.
template <typename T>
class RecordNumbers {
 public:
  explicit RecordNumbers(const MemS::MemAllo<T>& records) {
    if (records.block == nullptr) return;
    for (int32_t i = 0; i <= records.block_no; ++i) {
      const int32_t count = i < records.block_no ? records.block_size : records.block_used;
      if (count == 0 || records.block[i] == nullptr) continue;
      blocks_.push_back({reinterpret_cast<uintptr_t>(records.block[i]),
                         static_cast<std::size_t>(count) * sizeof(T), i * records.block_size});
    }
    std::sort(blocks_.begin(), blocks_.end(),
              [](const Block& a, const Block& b) { return a.first < b.first; });
    if (!blocks_.empty()) last_ = blocks_.front();
  }

  // The number of the record; 0 for null and for a record from elsewhere.
  int operator()(const T* record) {
    const auto address = reinterpret_cast<uintptr_t>(record);
    if (address - last_.first >= last_.bytes && !find(address)) return 0;
    return last_.number + static_cast<int>((address - last_.first) / sizeof(T));
  }

 private:
  struct Block {
    uintptr_t first = 0;
    std::size_t bytes = 0;
    int32_t number = 0;
  };

  bool find(uintptr_t address) {
    const auto above = std::upper_bound(blocks_.begin(), blocks_.end(), address,
                                        [](uintptr_t a, const Block& b) { return a < b.first; });
    if (above == blocks_.begin()) return false;
    const Block& block = *(above - 1);
    if (address - block.first >= block.bytes) return false;
    last_ = block;
    return true;
  }

  std::vector<Block> blocks_;  // by address
  Block last_;
};

}  // namespace scanmesh

#endif  // SCANMESH_CORE_RECORD_NUMBERS_H
