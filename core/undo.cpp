// Snapshots of a mesh, or of some of its faces, and the way back.
#include <algorithm>
#include <cassert>
#include <cstddef>
#include <memory>
#include <vector>

#include "core/face_building.h"
#include "core/undo_record.h"
#include "core/vector_math.h"
#include "scanmesh/mesh.h"

namespace Mesh_M {

using Mesh_R::_face;
using Mesh_R::_vert;
using scanmesh::Vec3f;

namespace {

// Marks a vertex that came back, so that hosts can tell it from those that stayed.
constexpr auto kRemadeFlags = static_cast<int32_t>(0xffff0008U);

void put(float* array, int i, const Vec3f& v) {
  float* const p = array + 3 * static_cast<std::ptrdiff_t>(i);
  p[0] = v.x;
  p[1] = v.y;
  p[2] = v.z;
}
Vec3f get(const float* array, int i) {
  const float* const p = array + 3 * static_cast<std::ptrdiff_t>(i);
  return {p[0], p[1], p[2]};
}

std::unique_ptr<obj_triangle> make_record(int faces) {
  const auto n = static_cast<std::size_t>(std::max(faces, 0));
  auto record = std::make_unique<obj_triangle>();
  // Held until all are there, so that a failed one leaks none.
  std::unique_ptr<float[]> points(new float[9 * n]);
  std::unique_ptr<float[]> vectors(new float[9 * n]);
  std::unique_ptr<_vert*[]> verts(new _vert*[3 * n]);
  std::unique_ptr<int32_t[]> index(new int32_t[3 * n]);
  record->face_vectors = new float[3 * n];
  record->points = points.release();
  record->vectors = vectors.release();
  record->verts = verts.release();
  record->index = index.release();
  record->face_num = static_cast<int32_t>(n);
  return record;
}

// The corner record as it was, or a new one where it went with its last face.
void bring_back(Mesh& mesh, obj_triangle& record, int i) {
  _vert*& vert = record.verts[i];
  Vec3f point = get(record.points, i);
  if (vert->state == Mesh_R::kStateDeleted) {
    vert = mesh.vertex.insert_vert(point);
    vert->flags = kRemadeFlags;
  } else {
    vert->point = point;
  }
  vert->vector = get(record.vectors, i);
}

}  // namespace

void drop_triangle(obj_triangle* record) {
  delete[] record->points;
  delete[] record->vectors;
  delete[] record->verts;
  delete[] record->index;
  delete[] record->face_vectors;
  delete record;
}

void Mesh::build_backup(_backup*& out) {
  auto record = std::make_unique<_backup>();
  refresh_point_index();
  std::unique_ptr<float[]> points(getvert_poision(record->point_count));
  _face** faces = nullptr;
  int corners = 0;
  record->triangles = get_face_index(faces, corners, 1);
  delete[] faces;
  record->triangle_count = corners / 3;
  record->points = points.release();
  out = record.release();
}

void Mesh::revoke_backup(_backup* record) {
  assert(record != nullptr);
  if (record == nullptr) return;
  const std::unique_ptr<_backup> owned(record);
  const std::unique_ptr<float[]> points(record->points);
  const std::unique_ptr<int32_t[]> triangles(record->triangles);
  // Rings and the last fill name records that are about to go.
  hole.free();
  free();
  rebuild(record->points, record->point_count, record->triangles, record->triangle_count);
}

obj_triangle* Mesh::storage_delFace(_face** faces, int count) {
  std::unique_ptr<obj_triangle> record = make_record(count);
  std::vector<int32_t> saved;
  saved.reserve(3 * static_cast<std::size_t>(record->face_num));
  // The sign of `state` tells corners that were met already, `index` their local number.
  for (int i = 0; i < record->face_num; ++i) {
    for (_vert* vert : faces[i]->vert) {
      if (vert->state <= 0) continue;
      record->verts[record->vert_num] = vert;
      put(record->points, record->vert_num, vert->point);
      put(record->vectors, record->vert_num, vert->vector);
      saved.push_back(vert->index);
      vert->index = record->vert_num++;
      scanmesh::flip_state(vert);
    }
  }
  for (int i = 0; i < record->face_num; ++i) {
    put(record->face_vectors, i, faces[i]->vector);
    for (int k = 0; k < 3; ++k) record->index[3 * i + k] = faces[i]->vert[k]->index;
  }
  for (int i = 0; i < record->vert_num; ++i) {
    scanmesh::flip_state(record->verts[i]);
    record->verts[i]->index = saved[static_cast<std::size_t>(i)];
  }
  return record.release();
}

void Mesh::_dele_triangle(_face** faces, int count) {
  for (int i = 0; i < count; ++i) face.dele_face(faces[i]);
}

void Mesh::Revoked_triangle(obj_triangle* record) {
  assert(record != nullptr);
  if (record == nullptr) return;
  for (int i = 0; i < record->vert_num; ++i) bring_back(*this, *record, i);
  for (int i = 0; i < record->face_num; ++i) {
    const int32_t* const corner = record->index + 3 * static_cast<std::ptrdiff_t>(i);
    Vec3f normal = get(record->face_vectors, i);
    insert_face(record->verts[corner[0]], record->verts[corner[1]], record->verts[corner[2]],
                normal);
  }
  drop_triangle(record);
}

void Mesh::Revoked_removefeature(obj_triangle* record, _face** added, int added_count) {
  if (record == nullptr) return;
  _dele_triangle(added, added_count);
  Revoked_triangle(record);
}

}  // namespace Mesh_M
