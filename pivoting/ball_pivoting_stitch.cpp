// Stitching by copies: what stays of the mesh goes into the reconstructor's stores, grows there,
// and is written back.
#include "core/platform.h"
#include "pivoting/ball_pivoting_traits.h"
#include "pivoting/stitching.h"

namespace BPA {

using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;
using scanmesh::Vec3f;
using Node = Ball_Pivoting::T_node;

namespace {

// Copies of the live vertices, which get their numbers as `index`.
std::vector<Node> copy_vertices(Mesh_M::Mesh& mesh, Mesh_R::Vertex& store) {
  std::vector<Node> nodes;
  nodes.reserve(static_cast<std::size_t>(mesh.vertex.get_vertnum()));
  scanmesh::for_each_live(mesh.vertex.records, [&](_vert& vert) {
    vert.index = static_cast<int32_t>(nodes.size());
    _vert* const copy = store.insert_vert(vert.point);
    copy->vector = vert.vector;
    copy->tag = vert.tag;
    copy->state = Mesh_R::kStateLive;
    nodes.emplace_back(copy);
  });
  return nodes;
}

// All faces near any boundary are dropped, whatever their tags. A face that can't be made counts
// all the same: hosts number the new faces from there.
int copy_interior(Mesh_M::Mesh& mesh, const scanmesh::StoreSet& stores, std::vector<Node>& nodes) {
  const scanmesh::BoundaryBand band(mesh);
  int kept_count = 0;
  scanmesh::for_each_live(mesh.face.records, [&](_face& face) {
    if (band.contains(face)) return;
    const auto copy = [&](int i) {
      return nodes[static_cast<std::size_t>(face.vert[i]->index)].vert;
    };
    scanmesh::make_triangle(stores, copy(0), copy(1), copy(2), face.vector);
    ++kept_count;
  });
  return kept_count;
}

// Tags and states stay behind.
void write_back(Ball_Pivoting& self, Mesh_M::Mesh& mesh) {
  mesh.inalize();
  mesh.face.real_num = 0;
  int32_t index = 0;
  scanmesh::for_each_live(self.vert_store.records, [&](_vert& vert) {
    _vert* const copy = mesh.vertex.insert_vert(vert.point);
    copy->vector = vert.vector;
    copy->index = vert.index = index++;
  });
  scanmesh::for_each_live(self.face_store.records, [&](_face& face) {
    const auto copy = [&](int i) { return mesh.vertex[face.vert[i]->index]; };
    mesh.insert_face(copy(0), copy(1), copy(2), face.vector);
  });
}

}  // namespace

void Ball_Pivoting::stitchMesh(Mesh_M::Mesh& mesh) {
  BallPivotingTraits::stitch(*this, mesh, scanmesh::processor_count());
}

void BallPivotingTraits::stitch(Ball_Pivoting& self, Mesh_M::Mesh& mesh, int processors) {
  if (!mesh.resolution.enabled) return;
  self.init(mesh.resolution.resolution);
  const scanmesh::StoreSet working = stores(self);
  std::vector<Node> nodes = copy_vertices(mesh, working.vertices);
  scanmesh::densify(mesh.edge, scanmesh::seam_of(mesh.resolution),
                    [&](const _edge& edge, const Vec3f& point) {
                      nodes.emplace_back(scanmesh::add_sample(working.vertices, edge, point));
                    });
  const int kept_count = copy_interior(mesh, working, nodes);
  // Rings and the last fill name records that are about to go.
  mesh.hole.free();
  mesh.free();
  const std::vector<_edge*> open = scanmesh::mark_states(working.edges);
  Progress silent;
  grow(self, nodes, scanmesh::first_seed(open), processors, silent);
  scanmesh::delete_spurs(working, kept_count);
  scanmesh::refresh_normals(working, kept_count);
  write_back(self, mesh);
  scanmesh::bind_hole(mesh);
}

}  // namespace BPA
