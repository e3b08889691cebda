#include "scanmesh/toolkit/triangle_mesh.h"

#include <algorithm>
#include <limits>
#include <string>

#include "scanmesh/toolkit/error.h"
#include "toolkit/validity.h"

namespace scanmesh {
namespace {

struct GrowingBox {
  Box box;
  bool empty = true;

  void add(const Point& p) {
    if (!finite(p)) return;
    if (empty) box = {p, p};
    empty = false;
    box.min = {std::min(box.min.x, p.x), std::min(box.min.y, p.y), std::min(box.min.z, p.z)};
    box.max = {std::max(box.max.x, p.x), std::max(box.max.y, p.y), std::max(box.max.z, p.z)};
  }
};

void require_one_per_point(std::size_t count, std::size_t points, const char* what) {
  if (count == 0 || count == points) return;
  throw Error(ErrorCode::invalid_mesh,
              std::to_string(count) + " " + what + " for " + std::to_string(points) + " points");
}

}  // namespace

double Box::diagonal() const {
  return distance(min, max);
}

Box bounding_box(const TriangleMesh& mesh) {
  GrowingBox grown;
  for (const Triangle& t : mesh.triangles) {
    for (const std::int32_t v : t) grown.add(mesh.points[static_cast<std::size_t>(v)]);
  }
  if (grown.empty) {
    for (const Point& p : mesh.points) grown.add(p);
  }
  return grown.box;
}

void require_valid(const TriangleMesh& mesh) {
  constexpr std::size_t kMost = std::numeric_limits<std::int32_t>::max() / 4;
  if (mesh.points.size() > kMost || mesh.triangles.size() > kMost) {
    throw Error(ErrorCode::invalid_mesh, "more than " + std::to_string(kMost) + " elements");
  }
  require_one_per_point(mesh.colors.size(), mesh.points.size(), "colors");
  require_one_per_point(mesh.normals.size(), mesh.points.size(), "normals");
  const auto count = static_cast<std::int32_t>(mesh.points.size());
  for (std::size_t f = 0; f < mesh.triangles.size(); ++f) {
    for (const std::int32_t v : mesh.triangles[f]) {
      if (v >= 0 && v < count) continue;
      throw Error(ErrorCode::invalid_mesh, "triangle " + std::to_string(f) + " names point " +
                                               std::to_string(v) + ", the mesh has " +
                                               std::to_string(count));
    }
  }
}

}  // namespace scanmesh
