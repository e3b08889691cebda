// The lists of what a fill added: committing, revoking, reading out, relaxing.
#include <cmath>
#include <vector>

#include "core/corner_normal.h"
#include "core/face_building.h"
#include "core/vector_math.h"
#include "holes/fill_driver.h"
#include "scanmesh/hole.h"

namespace Mesh_R {

namespace {

using scanmesh::Vec3f;

// The lists keep their memory: the next fill is likely to be of the same kind.
void clear_added(Hole& finder) {
  finder.added_verts.clear_mem();
  finder.added_edges.clear_mem();
  finder.added_faces.clear_mem();
}

// The fill had fitted them to where the vertex went. The orientation stays as it is.
void refresh_faces(const _vert* vert) {
  for (int i = 0; i < vert->face_num; ++i) {
    vert->face[i]->vector = scanmesh::normal_of_corners(*vert->face[i]);
  }
}

std::vector<_face*> live_added_faces(MemS::MemAllo<_face*>& list) {
  std::vector<_face*> faces;
  for (int i = 0, n = list.size(); i < n; ++i) {
    if (list[i]->state != kStateDeleted) faces.push_back(list[i]);
  }
  return faces;
}

float* put(float* out, const Vec3f& value) {
  *out++ = value.x;
  *out++ = value.y;
  *out++ = value.z;
  return out;
}

}  // namespace

void Hole::Determine_fill_hole() {
  last_hole = nullptr;
  for (int i = 0, n = added_verts.size(); i < n; ++i) {
    if (added_verts[i]->state != kStateDeleted) added_verts[i]->state = kStateLive;
  }
  clear_added(*this);
  moved_.clear();
}

void Hole::Revoked_last() {
  if (last_hole == nullptr) return;
  last_hole->state = kStateLive;
  for (int i = 0, n = added_verts.size(); i < n; ++i) vert_store->dele_vert(added_verts[i]);
  for (int i = 0, n = added_faces.size(); i < n; ++i) face_store->dele_face(added_faces[i]);
  for (const MovedVertex& moved : moved_) moved.vert->point = moved.from;
  for (const MovedVertex& moved : moved_) refresh_faces(moved.vert);
  moved_.clear();
  // With empty lists a second call has nothing to do, so the last hole may stay set.
  clear_added(*this);
}

float* Hole::return_add_face(int& n) {
  if (added_faces.size() == 0) return nullptr;
  const std::vector<_face*> faces = live_added_faces(added_faces);
  float* const data = new float[12 * faces.size()];
  float* out = data;
  for (const _face* face : faces) {
    out = put(out, face->vector);
    for (const _vert* vert : face->vert) out = put(out, vert->point);
  }
  n = static_cast<int>(12 * faces.size());
  return data;
}

void Hole::return_add_face(_face**& faces, int& n) {
  if (added_faces.size() == 0) return;
  const std::vector<_face*> live = live_added_faces(added_faces);
  faces = new _face*[live.size()];
  for (std::size_t i = 0; i < live.size(); ++i) faces[i] = live[i];
  n = static_cast<int>(live.size());
}

// The sum isn't reset from vertex to vertex, and the buffer goes unused. Hosts call this operation,
// and nothing but its duration can be seen of it.
void Hole::adjustVertex(_vert** verts, int count, float lambda, int mu) {
  std::vector<Vec3f> buffer(static_cast<std::size_t>(count > 0 ? count : 0));
  for (const float factor : {lambda, static_cast<float>(mu)}) {
    Vec3f sum = {0, 0, 0};
    for (int i = 0; i < count; ++i) {
      const _vert* const vert = verts[i];
      if (vert->state != kStateLive) continue;
      for (int k = 0; k < vert->edge_num; ++k) {
        sum = scanmesh::add(sum, scanmesh::far_end(vert->edge[k], vert)->point);
      }
      const auto edges = static_cast<float>(vert->edge_num);
      sum = {sum.x / edges * factor, sum.y / edges * factor, sum.z / edges * factor};
      sum = scanmesh::add(sum, vert->point);
      buffer[static_cast<std::size_t>(i)] = sum;
    }
  }
}

void Hole::laplacian_buffer(MemS::Point3v<float>* out, int& n, _vert** verts) {
  const int leading = n < added_verts.size() ? n : added_verts.size();
  n = 0;
  for (int i = 0; i < leading; ++i) {
    _vert* const vert = added_verts[i];
    if (vert->state != kStateLive) continue;
    verts[n] = vert;
    out[n++] = scanmesh::neighbour_mean(vert);
  }
  for (int i = 0; i < n; ++i) verts[i]->point = out[i];
}

}  // namespace Mesh_R
