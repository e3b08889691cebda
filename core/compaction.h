// Moving live records into the places of deleted ones: the walk that the three stores share.
#ifndef SCANMESH_CORE_COMPACTION_H
#define SCANMESH_CORE_COMPACTION_H

#include <algorithm>

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

}  // namespace scanmesh

#endif  // SCANMESH_CORE_COMPACTION_H
