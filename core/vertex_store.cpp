#include "core/adjacency.h"
#include "core/compaction.h"
#include "core/parallel.h"
#include "core/text_number.h"
#include "core/vector_math.h"
#include "scanmesh/stores.h"

namespace Mesh_R {

using scanmesh::Vec3f;

void Vertex::inalize(int block_size, int block_capacity) {
  records.inalize(block_size, block_capacity);
  edge_mem.inalize(block_size, block_capacity);
  face_mem.inalize(block_size, block_capacity);
}

void Vertex::free() {
  records.free();
  edge_mem.free();
  face_mem.free();
}

_vert* Vertex::insert_vert(MemS::Point3v<float>& point) {
  _vert* const vert = &records.allocate_mem();
  vert->point = point;
  // A record that comes back after a compaction may have been a live one.
  vert->edge_num = 0;
  vert->face_num = 0;
  scanmesh::give_list(vert->edge, vert->edge_cap, kVertexListCapacity, edge_mem);
  scanmesh::give_list(vert->face, vert->face_cap, kVertexListCapacity, face_mem);
  return vert;
}

void Vertex::insert_edge(_edge* edge) {
  if (edge == nullptr) return;
  insert_edge(edge->vert[0], edge);
  insert_edge(edge->vert[1], edge);
}

void Vertex::insert_edge(_vert* vert, _edge* edge) {
  if (vert == nullptr || edge == nullptr) return;
  scanmesh::append(vert->edge, vert->edge_num, vert->edge_cap, kVertexListCapacity, growth, edge);
}

void Vertex::insert_face(_face* face) {
  if (face == nullptr) return;
  for (_vert* vert : face->vert) insert_face(vert, face);
}

void Vertex::insert_face(_vert* vert, _face* face) {
  if (vert == nullptr || face == nullptr) return;
  scanmesh::append(vert->face, vert->face_num, vert->face_cap, kVertexListCapacity, growth, face);
}

_edge* Vertex::find_edge(_vert* a, _vert* b) {
  if (a == nullptr) return nullptr;
  for (int i = 0; i < a->edge_num; ++i) {
    _edge* const edge = a->edge[i];
    if (edge->vert[0] == b || edge->vert[1] == b) return edge;
  }
  return nullptr;
}

int Vertex::get_vert_no(_vert* vert) {
  return scanmesh::record_number(records, vert);
}

void Vertex::dele_vert(_vert* vert) {
  if (vert != nullptr) vert->state = kStateDeleted;
}

void Vertex::dele_vert(_vert* vert, _face* face) {
  if (vert == nullptr || face == nullptr || vert->face_num < 1) return;
  if (!scanmesh::remove_first(vert->face, vert->face_num, face)) return;
  if (vert->face_num == 0) recover_mem(vert);
}

void Vertex::dele_vert_nonmanifold(_vert* vert, _face* face) {
  if (vert == nullptr || face == nullptr) return;
  // Steps on after each exchange: an entry that the exchange brings to the place isn't looked at.
  for (int16_t i = 0; i < vert->face_num; ++i) {
    if (vert->face[i] == face) {
      --vert->face_num;
      vert->face[i] = vert->face[vert->face_num];
    }
  }
}

void Vertex::recover_mem(_vert* vert) {
  if (vert == nullptr) return;
  scanmesh::drop_list(vert->edge, vert->edge_cap, kVertexListCapacity);
  scanmesh::drop_list(vert->face, vert->face_cap, kVertexListCapacity);
  vert->edge_num = 0;
  vert->face_num = 0;
  vert->state = kStateDeleted;
}

void Vertex::sort_out_mem() {
  const auto vacate = [](_vert* place) {
    scanmesh::drop_list(place->edge, place->edge_cap, kVertexListCapacity);
    scanmesh::drop_list(place->face, place->face_cap, kVertexListCapacity);
  };
  const auto settle = [](_vert* place, _vert* from) {
    scanmesh::own_list(place->edge, place->edge_num, place->edge_cap, kVertexListCapacity);
    scanmesh::own_list(place->face, place->face_num, place->face_cap, kVertexListCapacity);
    for (int i = 0; i < place->edge_num; ++i) {
      _edge* const edge = place->edge[i];
      edge->vert[edge->vert[0] == from ? 0 : 1] = place;
    }
    for (int i = 0; i < place->face_num; ++i) {
      _face* const face = place->face[i];
      std::replace(std::begin(face->vert), std::end(face->vert), from, place);
    }
  };
  scanmesh::compact(records, vacate, settle);
}

void Vertex::R_cal_vector(_vert* vert) {
  if (vert == nullptr || vert->state == kStateDeleted) return;
  vert->vector = {0, 0, 0};
  if (vert->face_num <= 0) return;
  Vec3f sum{0, 0, 0};
  for (int i = 0; i < vert->face_num; ++i) sum = scanmesh::add(sum, vert->face[i]->vector);
  // The plain mean: neither area nor angle weights it.
  const double count = vert->face_num;
  const Vec3f mean{static_cast<float>(sum.x / count), static_cast<float>(sum.y / count),
                   static_cast<float>(sum.z / count)};
  const double length = scanmesh::length(mean);
  vert->vector = length == 0 ? vert->face[0]->vector : scanmesh::scaled(mean, 1.0 / length);
}

void Vertex::R_cal_vector() {
  scanmesh::parallel_over(records, scanmesh::processor_count(),
                          [this](_vert& vert) { R_cal_vector(&vert); });
}

void Vertex::output(FILE* stream) {
  if (stream == nullptr) stream = std::fopen("tex.asc", "w");
  if (stream == nullptr) return;
  for (int i = 0; i < get_vertnum(); ++i) {
    const _vert& vert = records[i];
    if (vert.state == kStateDeleted) continue;
    scanmesh::LineBuilder line;
    line.fixed(vert.point.x).text(" ").fixed(vert.point.y).text(" ").fixed(vert.point.z).text(" ");
    line.fixed(vert.vector.x).text(" ").fixed(vert.vector.y).text(" ").fixed(vert.vector.z);
    line.text("\n");
    std::fwrite(line.data(), 1, line.size(), stream);
  }
  std::fclose(stream);
}

}  // namespace Mesh_R
