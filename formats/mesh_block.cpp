// Groups of faces as flat arrays, and back to a mesh.
#include "scanmesh/mesh_block.h"

#include <cassert>
#include <cmath>
#include <cstddef>

#include "core/live_records.h"
#include "core/vector_math.h"
#include "scanmesh/mesh.h"

namespace Mesh_M {

using Mesh_R::_face;
using Mesh_R::_vert;
using scanmesh::Vec3f;

namespace {

constexpr int kNoMesh = -1;
constexpr int kNoSet = -2;
constexpr int kNoTriangle = -3;
constexpr int kNoMatrixEach = -1;
constexpr std::size_t kSwitch = 15;

void append(std::vector<float>& values, const Vec3f& p) {
  values.insert(values.end(), {p.x, p.y, p.z});
}

void reserve(const std::vector<std::vector<_face*>>& blocks, const std::vector<int>& counts,
             MeshBlockData& out) {
  std::size_t faces = 0;
  for (const auto& block : blocks) faces += block.size();
  std::size_t vertices = 0;
  for (const int count : counts) vertices += count > 0 ? static_cast<std::size_t>(count) : 0;
  out.block_first.clear();
  out.block_first.reserve(blocks.size());
  out.block_last.clear();
  out.block_last.reserve(blocks.size());
  out.triangles.clear();
  out.triangles.reserve(3 * faces);
  out.points.clear();
  out.points.reserve(3 * vertices);
  out.vectors.clear();
  out.vectors.reserve(3 * vertices);
}

Vec3f point_at(const float* values, std::size_t i) {
  return {values[3 * i], values[3 * i + 1], values[3 * i + 2]};
}
void put_point(const Vec3f& p, float* values, std::size_t i) {
  values[3 * i] = p.x;
  values[3 * i + 1] = p.y;
  values[3 * i + 2] = p.z;
}

// Unlike a loader's normal it has no limit for the tiny: only a length of exactly 0 gives a vector
// that points up, and a length that is no number leaves no number in x.
Vec3f block_normal(const Vec3f& a, const Vec3f& b, const Vec3f& c) {
  const Vec3f product = scanmesh::corner_cross(a, b, c);
  const double length = scanmesh::length(product);
  if (length == 0) return {0, 0, 1};
  return scanmesh::scaled(product, 1.0 / length);
}

// The vertex of a set, or null when the store has none of that number.
_vert* corner_at(Mesh& mesh, int number, int offset) {
  const int64_t place = static_cast<int64_t>(number) + offset;
  if (place < 0 || place >= mesh.vertex.get_vertnum()) return nullptr;
  return mesh.vertex[static_cast<int>(place)];
}

// Adds the vertices and then the triangles of a set, whose numbers begin at `offset`.
void add_set(Mesh& mesh, const MeshBlockData& set, int offset) {
  for (std::size_t i = 0; i < set.points.size() / 3; ++i) {
    Vec3f point = point_at(set.points.data(), i);
    mesh.vertex.insert_vert(point);
  }
  for (std::size_t i = 0; i + 2 < set.triangles.size(); i += 3) {
    _vert* const a = corner_at(mesh, set.triangles[i], offset);
    _vert* const b = corner_at(mesh, set.triangles[i + 1], offset);
    _vert* const c = corner_at(mesh, set.triangles[i + 2], offset);
    if (a == nullptr || b == nullptr || c == nullptr) continue;
    Vec3f normal = block_normal(a->point, b->point, c->point);
    if (std::isnan(normal.x)) continue;
    mesh.insert_face(a, b, c, normal);
  }
}

void move_block(MeshBlockData& data, std::size_t block, const RTMatrix& matrix) {
  const int first = data.block_first[block];
  const int last = data.block_last[block];
  const std::size_t vertices = data.points.size() / 3;
  for (int number = first < 0 ? 0 : first; number <= last; ++number) {
    const std::size_t i = static_cast<std::size_t>(number);
    if (i >= vertices) return;
    put_point(scanmesh::transformed(matrix.m, point_at(data.points.data(), i)), data.points.data(),
              i);
    if (3 * i + 2 >= data.vectors.size()) continue;
    put_point(scanmesh::rotated(matrix.m, point_at(data.vectors.data(), i)), data.vectors.data(),
              i);
  }
}

}  // namespace

MeshBlock& MeshBlock::operator=(const MeshBlock&) {
  return *this;
}
MeshBlock& MeshBlock::operator=(MeshBlock&&) noexcept {
  return *this;
}

int MeshBlock::getMeshBlock(Mesh* mesh, const std::vector<std::vector<_face*>>& blocks,
                            const std::vector<int>& counts, MeshBlockData& out) {
  assert(mesh != nullptr);
  out.block_num = static_cast<int32_t>(blocks.size());
  reserve(blocks, counts, out);
  auto& records = mesh->vertex.records;
  scanmesh::for_each_in(records, 0, records.size(), [](int, _vert& vert) { vert.index = -1; });
  int32_t next = 0;
  for (const auto& block : blocks) {
    out.block_first.push_back(next);
    for (const _face* face : block) {
      for (_vert* corner : face->vert) {
        if (corner->index == -1) {
          corner->index = next++;
          append(out.points, corner->point);
          append(out.vectors, corner->vector);
        }
        out.triangles.push_back(corner->index);
      }
    }
    out.block_last.push_back(next - 1);
  }
  return 0;
}

int MeshBlock::buildMeshFormMeshBlock(const MeshBlockData* first, const MeshBlockData* second,
                                      Mesh* mesh) {
  if (mesh == nullptr) return kNoMesh;
  if (first == nullptr && second == nullptr) return kNoSet;
  std::size_t triangles = 0;
  for (const MeshBlockData* set : {first, second}) {
    if (set != nullptr) triangles += set->triangles.size() / 3;
  }
  if (triangles < 1) return kNoTriangle;
  if (first != nullptr) add_set(*mesh, *first, 0);
  const int offset = first == nullptr ? 0 : static_cast<int>(first->points.size() / 3);
  if (second != nullptr) add_set(*mesh, *second, offset);
  mesh->vertex.R_cal_vector();
  mesh->hole.getEdge(&mesh->edge);
  mesh->hole.getFace(&mesh->face);
  mesh->hole.getVertex(&mesh->vertex);
  return 0;
}

int MeshBlock::transformMeshBlock(MeshBlockData& data, const std::vector<RTMatrix>& matrices) {
  if (static_cast<int64_t>(matrices.size()) != data.block_num) return kNoMatrixEach;
  if (data.block_num < 1) return 0;
  for (std::size_t i = 0; i < matrices.size(); ++i) {
    if (i >= data.block_first.size() || i >= data.block_last.size()) break;
    if (matrices[i].m[kSwitch] < 0) continue;
    move_block(data, i, matrices[i]);
  }
  return 0;
}

}  // namespace Mesh_M
