// A triangle soup into an empty mesh, in bulk.
#ifndef SCANMESH_CORE_SOUP_BUILDING_H
#define SCANMESH_CORE_SOUP_BUILDING_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "scanmesh/mesh.h"

namespace scanmesh {

// Triangles as nine floats each; the caller's memory.
struct Soup {
  const float* first = nullptr;  // the first corner of the first triangle
  std::ptrdiff_t stride = 9;     // floats from triangle to triangle
  int count = 0;

  MemS::Point3v<float> corner(int triangle, int k) const {
    const float* const p = first + stride * triangle + 3 * static_cast<std::ptrdiff_t>(k);
    return {p[0], p[1], p[2]};
  }
};

// Corners with equal coordinates share a number; numbers are given in order of first use.
struct WeldedSoup {
  std::vector<int32_t> ids;  // three per triangle; -1 for a triangle that a mesh doesn't take
  std::vector<MemS::Point3v<float>> points;
  // Too many corners have nearly the same hash; nothing is welded then.
  bool clustered = false;
};

// Two workers or more; the result is that of one.
WeldedSoup weld_equal_corners(const Soup& soup, int workers);

// The size, as a power of two, that follows when a table of 2^bits slots is too small. Raises
// std::bad_alloc where slots would no longer be numbered by 32 bits.
int wider_table(int bits);

// Mesh::insert for every triangle in order. Where the mesh has an empty octree and no records yet,
// most of it is done in bulk, with the same outcome in every record, list and cell.
void insert_soup(Mesh_M::Mesh& mesh, const Soup& soup);

}  // namespace scanmesh

#endif  // SCANMESH_CORE_SOUP_BUILDING_H
