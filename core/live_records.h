// Walking the records of a store that aren't deleted, in order.
#ifndef SCANMESH_CORE_LIVE_RECORDS_H
#define SCANMESH_CORE_LIVE_RECORDS_H

#include "scanmesh/stores.h"

namespace scanmesh {

template <typename Record, typename Visit>
void for_each_live(MemS::MemAllo<Record>& records, Visit visit) {
  for (int i = 0, n = records.size(); i < n; ++i) {
    if (records[i].state != Mesh_R::kStateDeleted) visit(records[i]);
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
