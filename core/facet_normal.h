// Which triangles a mesh takes by coordinates, and their normals.
#ifndef SCANMESH_CORE_FACET_NORMAL_H
#define SCANMESH_CORE_FACET_NORMAL_H

#include <cmath>

#include "core/vector_math.h"

namespace scanmesh {

inline bool too_small(const Vec3f& a, const Vec3f& b, const Vec3f& c) {
  return welds(a, b) || welds(b, c) || welds(a, c);
}

// False for a triangle that isn't taken: too small, or with a corner that isn't finite. The octree
// can't hold such a corner: its cells would split without end. `normal` keeps its value only where
// the triangle is too small.
inline bool takes_facet(const Vec3f& a, const Vec3f& b, const Vec3f& c, Vec3f& normal) {
  if (too_small(a, b, c)) return false;
  const Vec3f product = corner_cross(a, b, c);
  normal = normalized(product, kTinyNormal);
  if (std::isnan(normal.x)) return false;
  // A finite product has finite corners.
  return finite(product) || (finite(a) && finite(b) && finite(c));
}

// The same for those who want no normal; it need not be made for a product that is finite.
inline bool takes_facet(const Vec3f& a, const Vec3f& b, const Vec3f& c) {
  if (!too_small(a, b, c) && finite(corner_cross(a, b, c))) return true;
  Vec3f normal{0, 0, 0};
  return takes_facet(a, b, c, normal);
}

}  // namespace scanmesh

#endif  // SCANMESH_CORE_FACET_NORMAL_H
