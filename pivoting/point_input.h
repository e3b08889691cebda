// The points that a reconstruction is given.
#ifndef SCANMESH_PIVOTING_POINT_INPUT_H
#define SCANMESH_PIVOTING_POINT_INPUT_H

#include <cassert>

#include "core/vector_math.h"
#include "scanmesh/mem_allo.h"
#include "scanmesh/stores.h"

namespace scanmesh {

// Inserts the first `count` points with their normals, calls visit(vertex) for each in their order,
// and frees both arrays.
template <typename Visit>
void take_points(MemS::MemAllo<float[3]>& points, MemS::MemAllo<float[3]>& normals, int count,
                 Mesh_R::Vertex& vertices, Visit visit) {
  assert(count <= 0 || (points.block != nullptr && count <= points.size()));
  assert(count <= 0 || (normals.block != nullptr && count <= normals.size()));
  const auto to_vector = [](const float(&p)[3]) { return Vec3f{p[0], p[1], p[2]}; };
  for (int i = 0; i < count; ++i) {
    Vec3f point = to_vector(points[i]);
    Mesh_R::_vert* const vert = vertices.insert_vert(point);
    vert->vector = to_vector(normals[i]);
    visit(vert);
  }
  points.free();
  normals.free();
}

// Normal and corners of each live face; the caller frees the array.
inline void copy_facets(Mesh_R::Face& faces, MemS::Point3v<float>*& data, int& count) {
  const int slots = faces.get_facenum();
  data = new MemS::Point3v<float>[4 * static_cast<std::size_t>(slots)];
  MemS::Point3v<float>* next = data;
  count = 0;
  for (int i = 0; i < slots; ++i) {
    const Mesh_R::_face& face = *faces[i];
    if (face.state == Mesh_R::kStateDeleted) continue;
    *next++ = face.vector;
    for (const Mesh_R::_vert* vert : face.vert) *next++ = vert->point;
    ++count;
  }
}

}  // namespace scanmesh

#endif  // SCANMESH_PIVOTING_POINT_INPUT_H
