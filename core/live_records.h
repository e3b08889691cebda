// Walking the records of a store that aren't deleted, in order.
#ifndef SCANMESH_CORE_LIVE_RECORDS_H
#define SCANMESH_CORE_LIVE_RECORDS_H

#include <algorithm>

#include "scanmesh/stores.h"

namespace scanmesh {

template <typename Record, typename Visit>
void for_each_live(MemS::MemAllo<Record>& records, Visit visit) {
  for (int i = 0, n = records.size(); i < n; ++i) {
    if (records[i].state != Mesh_R::kStateDeleted) visit(records[i]);
  }
}

// Calls visit(number, record) for the records [begin, end), deleted ones included, block by block.
template <typename Record, typename Visit>
void for_each_in(MemS::MemAllo<Record>& records, int begin, int end, Visit visit) {
  while (begin < end) {
    const int offset = begin % records.block_size;
    const int count = std::min(end - begin, records.block_size - offset);
    Record* const first = records.block[begin / records.block_size] + offset;
    for (int i = 0; i < count; ++i) visit(begin + i, first[i]);
    begin += count;
  }
}

template <typename Record>
int count_live(MemS::MemAllo<Record>& records) {
  int live = 0;
  for_each_live(records, [&](Record&) { ++live; });
  return live;
}

}  // namespace scanmesh

#endif  // SCANMESH_CORE_LIVE_RECORDS_H
