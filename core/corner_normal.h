// The normal of a face that is in a mesh, by its corners alone.
#ifndef SCANMESH_CORE_CORNER_NORMAL_H
#define SCANMESH_CORE_CORNER_NORMAL_H

#include "core/vector_math.h"
#include "scanmesh/stores.h"

namespace scanmesh {

// As Face::refresh_vector has it, but for the side, which here is that of the corners. A face whose
// corners aren't finite keeps its normal, so that its neighbours don't lose theirs.
inline Vec3f normal_of_corners(const Mesh_R::_face& face) {
  const Vec3f product = corner_cross(face.vert[0]->point, face.vert[1]->point, face.vert[2]->point);
  if (product.x == 0 && product.y == 0 && product.z == 0) return face.vert[1]->vector;
  const double size = length(product);
  if (size == 0) return {0, 0, 1};
  const Vec3f normal = scaled(product, 1.0 / size);
  return finite(normal) ? normal : face.vector;
}

}  // namespace scanmesh

#endif  // SCANMESH_CORE_CORNER_NORMAL_H
