#include "holes/patch_insertion.h"

#include <algorithm>
#include <cmath>

#include "core/face_building.h"
#include "core/vector_math.h"
#include "holes/ring_records.h"
#include "scanmesh/hole.h"

namespace scanmesh {

namespace {
constexpr double kMatchTolerance = 0.001;

bool matches(const Vec3f& point, const Mesh_M::MyPoint3& place) {
  return std::fabs(point.x - place.x) <= kMatchTolerance &&
         std::fabs(point.y - place.y) <= kMatchTolerance &&
         std::fabs(point.z - place.z) <= kMatchTolerance;
}
}  // namespace

RingMatcher::RingMatcher(const std::vector<Mesh_R::_vert*>& ring)
    : ring_(ring), table_(kMatchTolerance) {
  for (std::size_t i = 0; i < ring.size(); ++i) {
    const Vec3f& p = ring[i]->point;
    table_.insert(p.x, p.y, p.z, static_cast<int>(i));
  }
}

Mesh_R::_vert* RingMatcher::match(const Mesh_M::MyPoint3& place) const {
  const int found = table_.find(place.x, place.y, place.z, [&](int i) {
    return matches(ring_[static_cast<std::size_t>(i)]->point, place);
  });
  if (found >= 0) return ring_[static_cast<std::size_t>(found)];
  Mesh_R::_vert* nearest = nullptr;
  double least = 0;
  for (Mesh_R::_vert* vert : ring_) {
    const double dx = vert->point.x - place.x;
    const double dy = vert->point.y - place.y;
    const double dz = vert->point.z - place.z;
    const double squared = dx * dx + dy * dy + dz * dz;
    if (nearest == nullptr || squared < least) {
      nearest = vert;
      least = squared;
    }
  }
  return nearest;
}

}  // namespace scanmesh

namespace Mesh_R {

namespace {

using Mesh_M::MyFace;
using Mesh_M::MyPoint3;
using scanmesh::Vec3f;

// The flags of vertices that a fill makes; their low half is what hosts know as untouched.
constexpr int32_t kNewVertexFlags = -65528;
// What a fill adds to the flags of the vertices around it.
constexpr int32_t kTouchedFlags = -65536;
// Scans finer than this have smaller triangles, so more rounds of them.
constexpr double kFineEdge = 0.2;
constexpr int kFineRounds = 5;
constexpr int kCoarseRounds = 4;

struct Patch {
  std::vector<MyPoint3> vertices;
  std::vector<MyFace> faces;
  std::vector<MyPoint3> normals;
  std::vector<int> ring_indices;
};

int position_in(const _face* face, const _vert* vert) {
  for (int i = 0; i < 3; ++i) {
    if (face->vert[i] == vert) return i;
  }
  return -1;
}

// A patch must run along the ring against the faces that are there, so that both face the same way.
void orient_against_faces(std::vector<_vert*>& ring, Vertex& vertices) {
  if (ring.size() < 2) return;
  const _edge* const edge = vertices.find_edge(ring[0], ring[1]);
  if (edge == nullptr || edge->face_num < 1) return;
  const int first = position_in(edge->face[0], ring[0]);
  const int second = position_in(edge->face[0], ring[1]);
  if (first >= 0 && second == (first + 1) % 3) std::reverse(ring.begin(), ring.end());
}

void put(std::vector<double>& out, const Vec3f& value) {
  out.insert(out.end(), {value.x, value.y, value.z});
}

std::vector<double> flat_faces(const std::vector<_face*>& region) {
  std::vector<double> out;
  out.reserve(12 * region.size());
  for (const _face* face : region) {
    put(out, face->vector);
    for (const _vert* vert : face->vert) put(out, vert->point);
  }
  return out;
}

_vert* make_vertex(Hole& finder, const MyPoint3& place) {
  Vec3f point = {static_cast<float>(place.x), static_cast<float>(place.y),
                 static_cast<float>(place.z)};
  _vert* const vert = finder.vert_store->insert_vert(point);
  vert->flags = kNewVertexFlags;
  vert->order = -1;
  vert->searched = false;
  vert->reached = false;
  finder.added_verts.allocate_mem() = vert;
  return vert;
}

std::vector<_vert*> map_vertices(Hole& finder, const Patch& patch,
                                 const std::vector<_vert*>& ring) {
  std::vector<bool> on_ring(patch.vertices.size(), false);
  for (int i : patch.ring_indices) {
    if (i >= 0 && i < static_cast<int>(on_ring.size())) on_ring[static_cast<std::size_t>(i)] = true;
  }
  const scanmesh::RingMatcher matcher(ring);
  std::vector<_vert*> verts;
  verts.reserve(patch.vertices.size());
  for (std::size_t i = 0; i < patch.vertices.size(); ++i) {
    verts.push_back(on_ring[i] ? matcher.match(patch.vertices[i])
                               : make_vertex(finder, patch.vertices[i]));
  }
  return verts;
}

bool coincide(const _vert* a, const _vert* b) {
  return a == b || scanmesh::welds(a->point, b->point);
}

// The corners take the normal of the last face that touches them, ring vertices included, also
// where the face itself is there already.
void enter_face(Hole& finder, _vert* a, _vert* b, _vert* c, Vec3f normal) {
  if (coincide(a, b) || coincide(a, c) || coincide(b, c)) return;
  Vertex& verts = *finder.vert_store;
  Edge& edges = *finder.edge_store;
  _edge* const ab = scanmesh::find_or_create_edge(verts, edges, a, b);
  _edge* const ac = scanmesh::find_or_create_edge(verts, edges, a, c);
  _edge* const bc = scanmesh::find_or_create_edge(verts, edges, b, c);
  for (_vert* vert : {a, b, c}) vert->vector = normal;
  if (scanmesh::has_face(edges, ab, a, b, c)) return;
  // AB, AC, BC, not opposite the corners: hosts read the records of patches in this order.
  _face* const face = finder.face_store->insert_face(a, b, c, ab, ac, bc, normal);
  face->searched = false;
  finder.added_faces.allocate_mem() = face;
  scanmesh::link_face(verts, edges, face);
}

void enter_faces(Hole& finder, const Patch& patch, const std::vector<_vert*>& verts) {
  const int count = static_cast<int>(verts.size());
  const auto valid = [count](int i) { return i >= 0 && i < count; };
  for (std::size_t i = 0; i < patch.faces.size() && i < patch.normals.size(); ++i) {
    const MyFace& face = patch.faces[i];
    if (!valid(face.a) || !valid(face.b) || !valid(face.c)) continue;
    const MyPoint3& n = patch.normals[i];
    const auto at = [&verts](int k) { return verts[static_cast<std::size_t>(k)]; };
    enter_face(finder, at(face.a), at(face.b), at(face.c),
               {static_cast<float>(n.x), static_cast<float>(n.y), static_cast<float>(n.z)});
  }
}

}  // namespace

int Hole::MinmumAngleWaveFront(_edge** edges, int n, float meanEdge, _vert** verts, int vertCount) {
  if (edges == nullptr) return 0;
  std::vector<_vert*> ring = scanmesh::ring_vertices(edges, n);
  orient_against_faces(ring, *vert_store);
  if (verts != nullptr) ring.assign(verts, verts + vertCount);
  std::vector<double> ring_points;
  for (const _vert* vert : ring) put(ring_points, vert->point);
  const std::vector<_face*> nearest = scanmesh::faces_at(ring);
  for (const _face* face : nearest) {
    for (_vert* vert : face->vert) vert->flags |= kTouchedFlags;
  }
  const int rounds = static_cast<double>(meanEdge) < kFineEdge ? kFineRounds : kCoarseRounds;
  Patch patch;
  const int result = Mesh_M::CavityPatcher().fillHole2(
      flat_faces(scanmesh::grow_region(nearest, rounds)), ring_points, patch.vertices, patch.faces,
      patch.normals, patch.ring_indices);
  if (result < 0) return -1;
  enter_faces(*this, patch, map_vertices(*this, patch, ring));
  return result;
}

}  // namespace Mesh_R
