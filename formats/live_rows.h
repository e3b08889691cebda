// What a writer goes over: the live records in store order, and their numbers in the file.
#ifndef SCANMESH_FORMATS_LIVE_ROWS_H
#define SCANMESH_FORMATS_LIVE_ROWS_H

#include <cstdint>

#include "core/live_records.h"
#include "core/vector_math.h"
#include "scanmesh/mesh.h"

namespace scanmesh {

// Block by block: a writer does little else per record than find it.
template <typename Store, typename Visit>
void for_each_row(Store& store, Visit visit) {
  for_each_in(store.records, 0, store.records.size(), [&](int, auto& record) {
    if (record.state != Mesh_R::kStateDeleted) visit(record);
  });
}

inline bool corners_finite(const Mesh_R::_face& face) {
  return finite(face.vert[0]->point) && finite(face.vert[1]->point) && finite(face.vert[2]->point);
}

inline bool is_written(const Mesh_R::_vert& vert) {
  return finite(vert.point);
}

// The live vertices from 0 on; returns how many there are.
inline int32_t number_live(Mesh_R::Vertex& vertices) {
  int32_t next = 0;
  for_each_row(vertices, [&](Mesh_R::_vert& vert) { vert.index = next++; });
  return next;
}

// After a writer `index` is the number of the record, which hosts rely on, and not the live
// numbering.
inline void number_by_record(Mesh_R::Vertex& vertices) {
  for_each_in(vertices.records, 0, vertices.records.size(), [](int number, Mesh_R::_vert& vert) {
    if (vert.state != Mesh_R::kStateDeleted) vert.index = number;
  });
}

}  // namespace scanmesh

#endif  // SCANMESH_FORMATS_LIVE_ROWS_H
