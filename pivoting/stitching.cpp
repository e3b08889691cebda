#include "pivoting/stitching.h"

#include <algorithm>
#include <iterator>

#include "pivoting/triangles.h"

namespace scanmesh {

using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;

Seam seam_of(const Mesh_M::mesh_resolution_param& resolution) {
  const double coarse = resolution.resolution;
  const double fine = resolution.resolution_fine;
  if (coarse > 3.5 * fine && 4.5 * fine > coarse) return Seam::kFourfold;
  if (coarse > 7.5 * fine && 8.5 * fine > coarse) return Seam::kEightfold;
  return Seam::kOther;
}

Vec3f sample_between(const _edge& edge) {
  return scaled(add(edge.vert[0]->point, edge.vert[1]->point), 0.5);
}

Thirds thirds_of(const _edge& edge) {
  constexpr double kThird = 0.3333333333333333;
  constexpr double kTwoThirds = 0.6666666666666666;
  const Vec3f& a = edge.vert[0]->point;
  const Vec3f& b = edge.vert[1]->point;
  return {add(scaled(a, kThird), scaled(b, kTwoThirds)),
          add(scaled(b, kThird), scaled(a, kTwoThirds))};
}

_vert* add_sample(Mesh_R::Vertex& store, const _edge& edge, Vec3f point) {
  _vert* const vert = store.insert_vert(point);
  vert->vector = edge.vert[0]->vector;
  vert->tag = static_cast<uint8_t>(edge.vert[0]->tag | edge.vert[1]->tag);
  vert->state = Mesh_R::kStateLive;
  return vert;
}

BoundaryBand::BoundaryBand(Mesh_M::Mesh& mesh)
    : vertices_(mesh.vertex), near_(static_cast<std::size_t>(mesh.vertex.get_vertnum()), 0) {
  for_each_live(mesh.edge.records, [&](_edge& edge) {
    if (!is_open(edge)) return;
    for (_vert* corner : edge.face[0]->vert) {
      near_[static_cast<std::size_t>(vertices_.get_vert_no(corner))] = 1;
    }
  });
}

bool BoundaryBand::contains(const _face& face) const {
  return std::any_of(std::begin(face.vert), std::end(face.vert), [this](_vert* corner) {
    return near_[static_cast<std::size_t>(vertices_.get_vert_no(corner))] != 0;
  });
}

void bind_hole(Mesh_M::Mesh& mesh) {
  mesh.hole.getFace(&mesh.face);
  mesh.hole.getEdge(&mesh.edge);
  mesh.hole.getVertex(&mesh.vertex);
}

std::vector<_edge*> mark_states(Mesh_R::Edge& edges) {
  const auto mark = [](_edge& edge, int16_t state) {
    for (_vert* end : edge.vert) end->state = state;
  };
  std::vector<_edge*> open;
  for_each_live(edges.records, [&](_edge& edge) {
    if (edge.face_num == 2) mark(edge, kVertInner);
  });
  for_each_live(edges.records, [&](_edge& edge) {
    if (!is_open(edge)) return;
    mark(edge, kVertFront);
    open.push_back(&edge);
  });
  return open;
}

}  // namespace scanmesh
