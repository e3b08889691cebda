// Growing a picked selection, and measuring its rim.
#include <algorithm>
#include <cmath>
#include <vector>

#include "core/face_building.h"
#include "core/vector_math.h"
#include "scanmesh/mesh.h"

namespace Mesh_M {

using Mesh_R::_edge;
using Mesh_R::_face;

namespace {

constexpr double kRadiansPerDegree = 0.017453292519943295;
constexpr double kSmoothDegrees = 3.0;
constexpr double kFlatDegrees = 0.5;

// Sets the visit mark; false when it was set already, as for a face that is listed twice.
template <typename Record>
bool mark(Record* record) {
  if (record->state < 0) return false;
  scanmesh::flip_state(record);
  return true;
}

template <typename Record>
void unmark(Record* record) {
  if (record->state < 0) scanmesh::flip_state(record);
}

// Whether exactly one side of the edge is selected: its selected faces carry a negative state. An
// edge with more than two faces is judged by the first two, as hosts know it.
bool on_rim(const _edge& edge) {
  if (edge.face_num == 1) return true;
  return edge.face_num > 1 && (edge.face[0]->state < 0) != (edge.face[1]->state < 0);
}

}  // namespace

void Mesh::angle_mode(_face**& faces, int& n, choose_mode mode) {
  if (n < 1) return;
  const double degrees = mode == choose_flat ? kFlatDegrees : kSmoothDegrees;
  const double limit = std::cos(degrees * kRadiansPerDegree);
  std::vector<_face*> grown(faces, faces + n);
  for (_face* picked : grown) mark(picked);
  for (std::size_t i = 0; i < grown.size(); ++i) {
    const _face* const from = grown[i];
    for (const _edge* side : from->edge) {
      for (int k = 0; k < side->face_num; ++k) {
        _face* const beyond = side->face[k];
        // Marked whether it is taken or not: what was rejected once isn't tried from another side.
        if (!mark(beyond)) continue;
        if (scanmesh::dot_double(beyond->vector, from->vector) > limit) grown.push_back(beyond);
      }
    }
  }
  for (_face* taken : grown) {
    unmark(taken);
    for (const _edge* side : taken->edge) {
      std::for_each_n(side->face, side->face_num, unmark<_face>);
    }
  }
  delete[] faces;
  faces = new _face*[grown.size()];
  std::copy(grown.begin(), grown.end(), faces);
  n = static_cast<int>(grown.size());
}

void Mesh::cal_choose_length(std::vector<_face*> faces, double& length) {
  length = 0;
  for (_face* picked : faces) mark(picked);
  for (const _face* picked : faces) {
    for (_edge* side : picked->edge) {
      if (!mark(side) || !on_rim(*side)) continue;
      const double side_length = scanmesh::distance(side->vert[0]->point, side->vert[1]->point);
      if (!std::isnan(side_length)) length += side_length;
    }
  }
  for (_face* picked : faces) {
    std::for_each_n(picked->edge, 3, unmark<_edge>);
    unmark(picked);
  }
}

}  // namespace Mesh_M
