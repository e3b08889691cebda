// Handing a mesh to the application: new arrays that the caller owns.
#include <cassert>
#include <cstring>
#include <limits>
#include <new>

#include "core/live_records.h"
#include "scanmesh/mesh.h"

namespace Mesh_M {

using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;

namespace {

using scanmesh::count_live;
using scanmesh::for_each_live;

// `width` values per live record, written by `write(record, out)`; null when there is none.
template <typename Value, typename Store, typename Write>
Value* gather(Store& store, int width, int& n, Write write) {
  n = count_live(store.records);
  if (n == 0) return nullptr;
  Value* const values = new Value[static_cast<std::size_t>(n) * static_cast<std::size_t>(width)];
  Value* out = values;
  for_each_live(store.records, [&](auto& record) {
    write(record, out);
    out += width;
  });
  return values;
}

// Positions in live order of the records that `test` picks; null when there is none.
template <typename Store, typename Test>
int* gather_positions(Store& store, int& n, Test test) {
  n = 0;
  for_each_live(store.records, [&](auto& record) { n += test(record) ? 1 : 0; });
  if (n == 0) return nullptr;
  int* const positions = new int[static_cast<std::size_t>(n)];
  int* out = positions;
  int live = 0;
  for_each_live(store.records, [&](auto& record) {
    if (test(record)) *out++ = live;
    ++live;
  });
  return positions;
}

void write_point(const MemS::Point3v<float>& point, float* out) {
  out[0] = point.x;
  out[1] = point.y;
  out[2] = point.z;
}

bool has_tag(const _vert& vert, uint8_t tag) {
  return (vert.tag & tag) != 0;
}

// The face's own tag isn't asked: its corners decide.
bool corner_has_tag(const _face& face, uint8_t tag) {
  return has_tag(*face.vert[0], tag) || has_tag(*face.vert[1], tag) || has_tag(*face.vert[2], tag);
}

// The length of an array as it goes back to the caller, in 32 bits.
int returned(int64_t entries) {
  if (entries > std::numeric_limits<int32_t>::max()) throw std::bad_alloc();
  return static_cast<int>(entries);
}

bool all_corners_live(const _face& face) {
  for (const _vert* vert : face.vert) {
    if (vert->state == Mesh_R::kStateDeleted) return false;
  }
  return true;
}

}  // namespace

void Mesh::refresh_point_index() {
  int next = 0;
  for_each_live(vertex.records, [&](_vert& vert) { vert.index = next++; });
}

int* Mesh::get_point_index(int& n) {
  refresh_point_index();
  n = count_live(vertex.records);
  int* const numbers = new int[static_cast<std::size_t>(n)];
  for (int i = 0; i < n; ++i) numbers[i] = i;
  return numbers;
}

int* Mesh::get_edge_index(int& n) {
  n = returned(2 * int64_t{count_live(edge.records)});
  int* const ends = new int[static_cast<std::size_t>(n)];
  int* out = ends;
  for_each_live(edge.records, [&](_edge& record) {
    *out++ = record.vert[0]->index;
    *out++ = record.vert[1]->index;
  });
  return ends;
}

int* Mesh::get_face_index(_face**& faces, int& n, int step) {
  assert(step > 0);
  const auto wanted = [](const _face& record) {
    return record.state != Mesh_R::kStateDeleted && all_corners_live(record);
  };
  const int total = face.get_facenum();
  std::size_t taken = 0;
  for (int64_t i = 0; i < total; i += step) taken += wanted(face.records[static_cast<int>(i)]);
  returned(3 * static_cast<int64_t>(taken));
  int* const corners = new int[3 * taken];
  faces = new _face*[taken];
  n = 0;
  for (int64_t i = 0; i < total; i += step) {
    _face& record = face.records[static_cast<int>(i)];
    if (!wanted(record)) continue;
    faces[n / 3] = &record;
    for (const _vert* vert : record.vert) corners[n++] = vert->index;
  }
  return corners;
}

float* Mesh::getvert_poision(int& n) {
  return gather<float>(vertex, 3, n, [](_vert& v, float* out) { write_point(v.point, out); });
}

float* Mesh::getvert_vector(int& n) {
  return gather<float>(vertex, 3, n, [](_vert& v, float* out) { write_point(v.vector, out); });
}

int* Mesh::getvert_flags(int& n) {
  return gather<int>(vertex, 1, n, [](_vert& v, int* out) { *out = v.flags; });
}

float* Mesh::getface_vector(int& n) {
  return gather<float>(face, 3, n, [](_face& f, float* out) { write_point(f.vector, out); });
}

int* Mesh::getvert_fine(int& n) {
  return gather_positions(vertex, n, [](_vert& v) { return has_tag(v, Mesh_R::kTagFine); });
}

int* Mesh::getvert_protected(int& n) {
  return gather_positions(vertex, n, [](_vert& v) { return has_tag(v, Mesh_R::kTagProtected); });
}

int* Mesh::getface_fine(int& n) {
  return gather_positions(face, n, [](_face& f) { return corner_has_tag(f, Mesh_R::kTagFine); });
}

int* Mesh::getface_prtotectded(int& n) {
  return gather_positions(face, n,
                          [](_face& f) { return corner_has_tag(f, Mesh_R::kTagProtected); });
}

int Mesh::getvert_info(float** points, float** vectors, int** flags, int& n) {
  if (points == nullptr || vectors == nullptr || flags == nullptr) return -1;
  n = count_live(vertex.records);
  if (n == 0) return 0;
  // Hosts are written against this: the cells of their own pointer arrays receive the values, and
  // the first flag goes to a new array that the first cell of `flags` names afterwards. The arrays
  // for points and normals would be overwritten at once, so they aren't made.
  flags[0] = new int[static_cast<std::size_t>(n)]();
  std::ptrdiff_t k = 0;
  for_each_live(vertex.records, [&](_vert& vert) {
    std::memcpy(static_cast<void*>(points + 3 * k), &vert.point, sizeof(vert.point));
    std::memcpy(static_cast<void*>(vectors + 3 * k), &vert.vector, sizeof(vert.vector));
    *flags[k] = vert.flags;
    ++k;
  });
  return 0;
}

}  // namespace Mesh_M
