// A selection as flat arrays, and what was made of them back into the mesh.
#include <cmath>
#include <cstddef>
#include <vector>

#include "core/vector_math.h"
#include "holes/position_table.h"
#include "scanmesh/mesh.h"
#include "trimming/face_entry.h"

namespace Mesh_M {

using Mesh_R::_face;
using Mesh_R::_vert;
using scanmesh::Vec3f;

namespace {

constexpr double kSameAsCorner = 1e-6;  // squared
constexpr double kSameNewPoint = 0.001;

void put(std::vector<float>& out, const Vec3f& v) {
  out.insert(out.end(), {v.x, v.y, v.z});
}
Vec3f get(const std::vector<float>& values, std::size_t i) {
  return {values[3 * i], values[3 * i + 1], values[3 * i + 2]};
}

bool same_new_point(const Vec3f& a, const Vec3f& b) {
  return std::fabs(static_cast<double>(a.x) - b.x) < kSameNewPoint &&
         std::fabs(static_cast<double>(a.y) - b.y) < kSameNewPoint &&
         std::fabs(static_cast<double>(a.z) - b.z) < kSameNewPoint;
}

_vert* corner_near(const _face& face, const Vec3f& p) {
  for (_vert* vert : face.vert) {
    const Vec3f away = scanmesh::sub(p, vert->point);
    if (scanmesh::dot_double(away, away) < kSameAsCorner) return vert;
  }
  return nullptr;
}

// The vertices that a cut adds. Of all earlier ones within the tolerance the first is reused: a
// tree ordered by a tolerant comparison would miss some, and leave cracks.
class NewVertices {
 public:
  explicit NewVertices(Mesh_R::Vertex& store) : store_(store), table_(kSameNewPoint) {}

  _vert* at(Vec3f p) {
    const int found = table_.find(p.x, p.y, p.z, [&](int i) {
      return same_new_point(made_[static_cast<std::size_t>(i)]->point, p);
    });
    if (found >= 0) return made_[static_cast<std::size_t>(found)];
    _vert* const vert = scanmesh::new_vertex(store_, p);
    table_.insert(p.x, p.y, p.z, static_cast<int>(made_.size()));
    made_.push_back(vert);
    return vert;
  }

  // A vertex whose triangles have all collapsed must not stay behind by itself.
  void drop_unused() {
    for (_vert* vert : made_) {
      if (vert->face_num == 0) store_.recover_mem(vert);
    }
  }

 private:
  Mesh_R::Vertex& store_;
  scanmesh::PositionTable table_;
  std::vector<_vert*> made_;
};

}  // namespace

void Mesh::searchFaces(std::vector<float>& points, int& pointCount, std::vector<float>& normals,
                       std::vector<int>& triangles, int& triangleCount) {
  points.clear();
  normals.clear();
  triangles.clear();
  ordered_vertices.clear();
  search_order = 0;
  for (const _face* selected : selected_faces) {
    for (_vert* vert : selected->vert) {
      if (vert->order < 0) {
        vert->order = search_order++;
        ordered_vertices.push_back(vert);
        put(points, vert->point);
      }
      triangles.push_back(vert->order);
    }
    put(normals, selected->vector);
  }
  for (_vert* vert : ordered_vertices) vert->order = -1;
  pointCount = static_cast<int>(points.size() / 3);
  // The length of the array, not the number of triangles.
  triangleCount = static_cast<int>(triangles.size());
}

void Mesh::modifyFaces(const std::vector<float>& corners, const int& cornerCount,
                       const std::vector<int>& parents, const std::vector<float>& normals,
                       const std::vector<int>& deleted, const int& deletedCount) {
  const auto selected = [this](int i) { return selected_faces[static_cast<std::size_t>(i)]; };
  const auto corner_count = static_cast<std::size_t>(cornerCount);
  NewVertices made(vertex);
  std::vector<_vert*> verts(corner_count);
  for (std::size_t i = 0; i < corner_count; ++i) {
    const Vec3f p = get(corners, i);
    _vert* const near = corner_near(*selected(parents[i / 3]), p);
    verts[i] = near != nullptr ? near : made.at(p);
  }
  for (std::size_t t = 0; t < corner_count / 3; ++t) {
    scanmesh::enter_triangle(*this, {verts[3 * t], verts[3 * t + 1], verts[3 * t + 2]},
                             get(normals, t));
  }
  // Last, so that corners which the new faces share with the old ones live on.
  for (int i = 0; i < deletedCount; ++i) {
    face.dele_face(selected(deleted[static_cast<std::size_t>(i)]));
  }
  made.drop_unused();
}

}  // namespace Mesh_M
