// Moving live records into the places of deleted ones: the walk that the three stores share.
#ifndef SCANMESH_CORE_COMPACTION_H
#define SCANMESH_CORE_COMPACTION_H

#include <algorithm>
#include <cstdint>
#include <vector>

#include "scanmesh/stores.h"

namespace scanmesh {

// Takes the last record out of the count, and releases a block that has none left. The block
// `kept_block` stays, since the caller is about to write into it: it lies beyond the count then,
// and goes with free().
template <typename Record>
void drop_last(MemS::MemAllo<Record>& records, int32_t kept_block) {
  if (--records.block_used >= 0) return;
  records.block_used = records.block_size - 1;
  if (records.block_no == kept_block) {
    records.block_top = std::max(records.block_top, records.block_no);
  } else {
    MemS::MemAllo<Record>::release_block(records.block[records.block_no]);
    // Forgotten, so that a store that grows again after all doesn't find freed memory.
    records.block[records.block_no] = nullptr;
  }
  --records.block_no;
}

// Fills the place of each deleted record with the last live one. `vacate(place)` frees what the
// deleted record owns, `settle(place, from)` gives the copy lists of its own and re-points whoever
// named the old slot.
//
// The search for the last live record doesn't stop at the place to fill. When everything from there
// on is deleted it walks below it, and that record is moved up, beyond the count: faces still point
// at it, the loops over the store no longer see it.
template <typename Record, typename Vacate, typename Settle>
void compact(MemS::MemAllo<Record>& records, Vacate vacate, Settle settle) {
  if (records.block == nullptr) return;
  for (int i = 0; i < records.size(); ++i) {
    Record* const place = &records[i];
    if (place->state != Mesh_R::kStateDeleted) continue;
    const int32_t kept_block = i / records.block_size;
    while (records.size() > 0 && records[records.size() - 1].state == Mesh_R::kStateDeleted) {
      drop_last(records, kept_block);
    }
    if (records.size() == 0) return;
    Record* const last = &records[records.size() - 1];
    vacate(place);
    *place = *last;
    settle(place, last);
    drop_last(records, kept_block);
  }
}

// The memory of a store's records, as it stands when this is made, to tell what may still be
// followed: a record that nobody lists keeps its pointers when what they name goes with a block.
template <typename Record>
class RecordMemory {
 public:
  explicit RecordMemory(const MemS::MemAllo<Record>& records)
      : bytes_(static_cast<std::uintptr_t>(records.block_size) * sizeof(Record)) {
    if (records.block == nullptr) return;
    // Blocks beyond the count stand, too, if a record was moved up into them.
    const int32_t last = std::max(records.block_no, records.block_top);
    for (int32_t i = 0; i <= last && i < records.block_capacity; ++i) {
      if (records.block[i] == nullptr) continue;
      first_.push_back(reinterpret_cast<std::uintptr_t>(records.block[i]));
    }
    std::sort(first_.begin(), first_.end());
  }

  // False for null, too.
  bool holds(const Record* record) const {
    const auto address = reinterpret_cast<std::uintptr_t>(record);
    const auto above = std::upper_bound(first_.begin(), first_.end(), address);
    return above != first_.begin() && address - *(above - 1) < bytes_;
  }

 private:
  std::uintptr_t bytes_;  // of a block
  std::vector<std::uintptr_t> first_;
};

// Edge::sort_out_mem for edges whose ends may be gone.
void compact_edges(Mesh_R::Edge& edges, const Mesh_R::Vertex& vertices);

}  // namespace scanmesh

#endif  // SCANMESH_CORE_COMPACTION_H
