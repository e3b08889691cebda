// Generated surfaces as meshes of the library.
#ifndef SCANMESH_BENCH_MESH_FROM_SURFACE_H
#define SCANMESH_BENCH_MESH_FROM_SURFACE_H

#include <memory>
#include <vector>

#include "scanmesh/mesh.h"
#include "support/surface.h"

namespace bench {

inline std::unique_ptr<Mesh_M::Mesh> mesh_from(const demo::Surface& surface) {
  std::vector<float> points;
  points.reserve(3 * surface.points.size());
  for (const demo::Vec3& p : surface.points) {
    for (int axis = 0; axis < 3; ++axis) points.push_back(static_cast<float>(p[axis]));
  }
  std::vector<int> corners;
  corners.reserve(3 * surface.faces.size());
  for (const demo::Corners& f : surface.faces) corners.insert(corners.end(), f.begin(), f.end());
  auto mesh = std::make_unique<Mesh_M::Mesh>();
  mesh->rebuild(points.data(), static_cast<int>(surface.points.size()), corners.data(),
                static_cast<int>(surface.faces.size()));
  return mesh;
}

}  // namespace bench

#endif  // SCANMESH_BENCH_MESH_FROM_SURFACE_H
