// Filling a mesh: triangles by coordinates, by vertices, and from index arrays.
#include <cassert>
#include <cmath>

#include "core/adjacency.h"
#include "core/face_building.h"
#include "core/facet_normal.h"
#include "core/vector_math.h"
#include "scanmesh/mesh.h"

namespace Mesh_M {

using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;
using scanmesh::Vec3f;

namespace {

constexpr int kProtectedKind = 6;

_edge* edge_between(Mesh& mesh, _vert* a, _vert* b, bool clear_mark) {
  bool created = false;
  _edge* const edge = scanmesh::find_or_create_edge(mesh.vertex, mesh.edge, a, b, &created);
  if (created && clear_mark) edge->mark = 0;
  return edge;
}

_face* insert_between(Mesh& mesh, _vert* a, _vert* b, _vert* c, Vec3f& normal, bool clear_mark) {
  for (_vert* vert : {a, b, c}) vert->state = Mesh_R::kStateLive;
  if (!scanmesh::has_room(a) || !scanmesh::has_room(b) || !scanmesh::has_room(c)) return nullptr;
  _edge* const bc = edge_between(mesh, b, c, clear_mark);
  _edge* const ac = edge_between(mesh, a, c, clear_mark);
  _edge* const ab = edge_between(mesh, a, b, clear_mark);
  if (scanmesh::has_face(mesh.edge, bc, a, b, c)) return nullptr;
  _face* const face = mesh.face.insert_face(a, b, c, bc, ac, ab, normal);
  scanmesh::link_face(mesh.vertex, mesh.edge, face);
  return face;
}

// The vertex of a point, made where its leaf has none yet.
_vert* weld(Mesh& mesh, Vec3f& point) {
  oct_node* const leaf = mesh.oct.insert(point, OctreeMode::kBucket);
  if (leaf->vert == nullptr) leaf->vert = mesh.vertex.insert_vert(point);
  return leaf->vert;
}

// True when the triangle was taken; `face` is null for a duplicate.
bool insert_welded(Mesh& mesh, Vec3f& a, Vec3f& b, Vec3f& c, Vec3f& normal, _face*& face) {
  if (!scanmesh::takes_facet(a, b, c, normal) || mesh.oct.root == nullptr) return false;
  _vert* const corner_a = weld(mesh, a);
  _vert* const corner_b = weld(mesh, b);
  _vert* const corner_c = weld(mesh, c);
  face = mesh.insert_face(corner_a, corner_b, corner_c, normal);
  return true;
}

int insert_tagged(Mesh& mesh, Vec3f& a, Vec3f& b, Vec3f& c, Vec3f& normal, uint8_t tag) {
  _face* face = nullptr;
  if (!insert_welded(mesh, a, b, c, normal, face)) return -1;
  if (face == nullptr) return 0;
  if (tag != 0) {
    face->tag = static_cast<uint8_t>(face->tag | tag);
    for (_vert* vert : face->vert) vert->tag = static_cast<uint8_t>(vert->tag | tag);
  }
  return mesh.face.get_facenum() - 1;
}

Vec3f point_at(const float* points, int i) {
  const float* const p = points + 3 * static_cast<std::ptrdiff_t>(i);
  return {p[0], p[1], p[2]};
}

enum class SmallTriangles { kSkip, kKeep };

void insert_indexed(Mesh& mesh, int point_count, const int* triangles, int triangle_count,
                    SmallTriangles small) {
  for (int i = 0; i < triangle_count; ++i) {
    _vert* corner[3] = {};
    for (int j = 0; j < 3; ++j) {
      const int index = triangles[3 * static_cast<std::ptrdiff_t>(i) + j];
      if (index >= 0 && index < point_count) corner[j] = mesh.vertex[index];
    }
    if (corner[0] == nullptr || corner[1] == nullptr || corner[2] == nullptr) continue;
    const Vec3f& a = corner[0]->point;
    const Vec3f& b = corner[1]->point;
    const Vec3f& c = corner[2]->point;
    if (small == SmallTriangles::kSkip && scanmesh::too_small(a, b, c)) continue;
    Vec3f normal = scanmesh::unit_normal(a, b, c);
    if (std::isnan(normal.x)) continue;
    mesh.insert_face(corner[0], corner[1], corner[2], normal);
  }
  mesh.face.real_num = mesh.face.get_facenum();
  mesh.inlin_inalize_mesh();
}

}  // namespace

int Mesh::insert(MemS::Point3v<float>& a, MemS::Point3v<float>& b, MemS::Point3v<float>& c,
                 MemS::Point3v<float>& normal) {
  return insert_tagged(*this, a, b, c, normal, 0);
}

int Mesh::insert(MemS::Point3v<float>& a, MemS::Point3v<float>& b, MemS::Point3v<float>& c,
                 MemS::Point3v<float>& normal, int kind) {
  const uint8_t tag = kind == kProtectedKind ? Mesh_R::kTagProtected : 0;
  return insert_tagged(*this, a, b, c, normal, tag);
}

int Mesh::insert(MemS::Point3v<float>& a, MemS::Point3v<float>& b, MemS::Point3v<float>& c,
                 MemS::Point3v<float>& normal, bool fine) {
  const uint8_t tag = fine ? Mesh_R::kTagFine : 0;
  return insert_tagged(*this, a, b, c, normal, tag);
}

_face* Mesh::insert_face(_vert* a, _vert* b, _vert* c, MemS::Point3v<float>& normal) {
  assert(a != nullptr && b != nullptr && c != nullptr);
  return insert_between(*this, a, b, c, normal, false);
}

_face* Mesh::insert_face2(_vert* a, _vert* b, _vert* c, MemS::Point3v<float>& normal) {
  assert(a != nullptr && b != nullptr && c != nullptr);
  return insert_between(*this, a, b, c, normal, true);
}

void Mesh::rebuild(float* points, int point_count, int* triangles, int triangle_count) {
  inalize();
  for (int i = 0; i < point_count; ++i) {
    Vec3f point = point_at(points, i);
    vertex.insert_vert(point);
  }
  insert_indexed(*this, point_count, triangles, triangle_count, SmallTriangles::kSkip);
}

void Mesh::rebuild(float* points, int point_count, unsigned char* tags, int* triangles,
                   int triangle_count) {
  inalize();
  for (int i = 0; i < point_count; ++i) {
    Vec3f point = point_at(points, i);
    vertex.insert_vert(point)->tag = tags[i];
  }
  insert_indexed(*this, point_count, triangles, triangle_count, SmallTriangles::kKeep);
}

}  // namespace Mesh_M
