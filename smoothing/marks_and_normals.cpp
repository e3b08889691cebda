// Small members that the filters lean on: border marks, normals around a list of vertices.
#include <vector>

#include "core/corner_normal.h"
#include "core/face_building.h"
#include "core/live_records.h"
#include "core/parallel.h"
#include "core/platform.h"
#include "scanmesh/mesh.h"

namespace Mesh_M {

using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;

void Mesh::tabBorder(short value) {
  scanmesh::for_each_live(edge.records, [value](_edge& record) {
    if (record.face_num == 2) return;
    for (_vert* end : record.vert) end->state = value;
  });
}

// A place kept for a smoothing rule along borders; it leaves the vertex where it is.
MemS::Point3v<float> Mesh::Swooth_Filt(_edge*, _edge*, _vert* v) {
  return v->point;
}

// Each worker writes the faces of its own and reads vertices, which change only afterwards.
void Mesh::refresh_normals() {
  scanmesh::parallel_over(face.records, scanmesh::processor_count(), [](_face& record) {
    if (record.state != Mesh_R::kStateDeleted) record.vector = scanmesh::normal_of_corners(record);
  });
  vertex.R_cal_vector();
}

// The marks see to it that a face between two listed vertices, and a vertex listed twice, is
// refreshed once only.
void Mesh::flashNorm(std::vector<_vert*>& verts) {
  for (_vert* vert : verts) {
    if (vert->state < 0) continue;
    for (int i = 0; i < vert->face_num; ++i) {
      _face* const around = vert->face[i];
      if (around->state <= 0) continue;
      face.refresh_vector(around);
      scanmesh::flip_state(around);
    }
    vertex.R_cal_vector(vert);
    scanmesh::flip_state(vert);
  }
  for (_vert* vert : verts) {
    if (vert->state >= 1) continue;
    for (int i = 0; i < vert->face_num; ++i) {
      if (vert->face[i]->state < 0) scanmesh::flip_state(vert->face[i]);
    }
    scanmesh::flip_state(vert);
  }
}

}  // namespace Mesh_M
