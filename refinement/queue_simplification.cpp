// A mesh flattened, collapsed and rebuilt.
#include <vector>

#include "core/live_records.h"
#include "refinement/edge_collapse.h"
#include "scanmesh/mesh.h"

namespace Mesh_M {

namespace {

constexpr double kStartAggression = 3.0;

void flatten(Mesh& mesh, scanmesh::EdgeCollapse& work) {
  work.verts.reserve(static_cast<std::size_t>(scanmesh::count_live(mesh.vertex.records)));
  scanmesh::for_each_live(mesh.vertex.records, [&](Mesh_R::_vert& vert) {
    scanmesh::sim_vert flat;
    flat.pos = {vert.point.x, vert.point.y, vert.point.z};
    work.verts.push_back(flat);
  });
  work.tris.reserve(static_cast<std::size_t>(mesh.face.get_real_facenum()));
  scanmesh::for_each_live(mesh.face.records, [&](Mesh_R::_face& face) {
    scanmesh::sim_tri flat{};
    flat.dirty = -1;
    for (int i = 0; i < 3; ++i) flat.vid[i] = face.vert[i]->index;
    work.tris.push_back(flat);
  });
}

void rebuild_from(Mesh& mesh, const scanmesh::EdgeCollapse& work) {
  std::vector<float> points;
  std::vector<int> triangles;
  points.reserve(3 * work.verts.size());
  triangles.reserve(3 * work.tris.size());
  for (const scanmesh::sim_vert& vert : work.verts) {
    points.push_back(static_cast<float>(vert.pos.x));
    points.push_back(static_cast<float>(vert.pos.y));
    points.push_back(static_cast<float>(vert.pos.z));
  }
  for (const scanmesh::sim_tri& tri : work.tris) {
    triangles.insert(triangles.end(), tri.vid, tri.vid + 3);
  }
  mesh.rebuild(points.data(), static_cast<int>(work.verts.size()), triangles.data(),
               static_cast<int>(work.tris.size()));
}

}  // namespace

void Mesh::Mesh_simplify(int target, bool) {
  refresh_point_index();
  Mesh_Queue_Simplify(nullptr, &target);
}

void Mesh::Mesh_Queue_Simplify(double* limit, int* target) {
  refresh_point_index();
  scanmesh::EdgeCollapse work;
  work.process_step = process_step;
  flatten(*this, work);
  // Rings and the last fill name records that are about to go.
  hole.free();
  free();
  work.run(target == nullptr ? 0 : *target, kStartAggression, limit);
  rebuild_from(*this, work);
}

void Mesh::cal_face_eno(int* out, int first, int last) {
  for (int i = first; i < last; ++i) {
    Mesh_R::_face& record = *face[i];
    int* const numbers = out + 3 * static_cast<std::ptrdiff_t>(i);
    if (record.state == Mesh_R::kStateDeleted) {
      numbers[0] = -1;
      continue;
    }
    for (int j = 0; j < 3; ++j) numbers[j] = edge.get_edge_no(record.edge[j]);
  }
}

}  // namespace Mesh_M
