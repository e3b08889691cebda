#include "core/adjacency.h"
#include "core/compaction.h"
#include "core/face_building.h"
#include "core/live_records.h"
#include "core/parallel.h"
#include "core/vector_math.h"
#include "scanmesh/stores.h"

namespace Mesh_R {

using scanmesh::Vec3f;

namespace {

// Rounds of repair after the first look; flips that go on beyond them are left as they are.
constexpr int kRepairRounds = 6;

bool faces_away(const _face& face) {
  const Vec3f sum = scanmesh::add(scanmesh::add(face.vert[0]->vector, face.vert[1]->vector),
                                  face.vert[2]->vector);
  return scanmesh::dot(sum, face.vector) < 0;
}

// Turns the face over, recomputes its corners' normals, and marks the faces around them for another
// look. The edges keep their places, so edge[i] need no longer lie opposite vert[i].
void turn_over(Vertex& vertices, _face& face) {
  face.vector = scanmesh::negated(face.vector);
  std::swap(face.vert[0], face.vert[1]);
  for (_vert* vert : face.vert) {
    // A corner that was deleted by hand passes nothing on to the faces it still lists.
    if (vert->state == kStateDeleted) continue;
    vertices.R_cal_vector(vert);
    for (int i = 0; i < vert->face_num; ++i) {
      if (vert->face[i]->state > 0) scanmesh::flip_state(vert->face[i]);
    }
  }
}

// First look at every live face; true when some face is marked afterwards.
bool repair_all(Vertex& vertices, MemS::MemAllo<_face>& faces) {
  bool marked = false;
  for (int i = 0, n = faces.size(); i < n; ++i) {
    _face& face = faces[i];
    if (face.state == kStateDeleted) continue;
    if (face.state < 1) marked = true;
    if (!faces_away(face)) continue;
    turn_over(vertices, face);
    marked = true;
  }
  return marked;
}

// One round over the marked faces; a face that stands right loses its mark, a turned one keeps it.
// True while a turn has left marks for another round.
bool repair_marked(Vertex& vertices, MemS::MemAllo<_face>& faces) {
  bool turned = false;
  for (int i = 0, n = faces.size(); i < n; ++i) {
    _face& face = faces[i];
    if (face.state >= 1) continue;
    if (faces_away(face)) {
      turn_over(vertices, face);
      turned = true;
    } else {
      scanmesh::flip_state(&face);
    }
  }
  return turned;
}

// Takes away the edges without a face that end at a vertex. A triangle that couldn't be made leaves
// such edges behind, and no face's deletion reaches them: they would outlive their end.
void delete_faceless_edges(Edge& edges, _vert* vert) {
  for (int i = vert->edge_num - 1; i >= 0; --i) {
    _edge* const edge = vert->edge[i];
    if (edge->face_num != 0) continue;
    edges.recover_mem(edge);
    for (_vert* end : edge->vert) edges.dele_vert(end, edge);
    // An edge from the vertex to itself was listed twice.
    i = std::min<int>(i, vert->edge_num);
  }
}

}  // namespace

void Face::inalize(Vertex* vertices, Edge* edges, int block_size, int block_capacity) {
  vert_store = vertices;
  edge_store = edges;
  records.inalize(block_size, block_capacity);
}

void Face::free() {
  records.free();
}

_face* Face::insert_face(_vert* a, _vert* b, _vert* c, _edge* bc, _edge* ac, _edge* ab,
                         MemS::Point3v<float>& normal) {
  _vert* const vert[3] = {a, b, c};
  _edge* const edge[3] = {bc, ac, ab};
  return insert_face(vert, edge, normal);
}

_face* Face::insert_face(_vert* const vert[3], _edge* const edge[3], MemS::Point3v<float>& normal) {
  _face* const face = &records.allocate_mem();
  std::copy_n(vert, 3, face->vert);
  std::copy_n(edge, 3, face->edge);
  face->vector = normal;
  ++real_num;
  return face;
}

void Face::dele_face(_face* face) {
  if (face == nullptr || face->state == kStateDeleted) return;
  face->state = kStateDeleted;
  for (_edge* edge : face->edge) edge_store->dele_edge(edge, face);
  for (_vert* vert : face->vert) {
    const bool last = vert != nullptr && vert->face_num == 1 && vert->face[0] == face;
    if (last) delete_faceless_edges(*edge_store, vert);
    vert_store->dele_vert(vert, face);
  }
  --real_num;
}

void Face::dele_face_nonmanifoldvert(_face* face) {
  if (face == nullptr || face->state == kStateDeleted) return;
  face->state = kStateDeleted;
  for (_edge* edge : face->edge) edge_store->dele_edge(edge, face);
  for (_vert* vert : face->vert) vert_store->dele_vert_nonmanifold(vert, face);
  --real_num;
}

int Face::get_face_no(_face* face) {
  return scanmesh::record_number(records, face);
}

int Face::get_real_facenum() {
  return scanmesh::count_live(records);
}

void Face::refresh_vector(_face* face) {
  if (face == nullptr) return;
  Vec3f normal =
      scanmesh::corner_cross(face->vert[0]->point, face->vert[1]->point, face->vert[2]->point);
  if (normal.x == 0 && normal.y == 0 && normal.z == 0) {
    face->vector = face->vert[1]->vector;
    return;
  }
  const double length = scanmesh::length(normal);
  normal = length == 0 ? Vec3f{0, 0, 1} : scanmesh::scaled(normal, 1.0 / length);
  const Vec3f sum = scanmesh::add(scanmesh::add(face->vert[0]->vector, face->vert[1]->vector),
                                  face->vert[2]->vector);
  if (scanmesh::dot(normal, sum) < 0) {
    normal = scanmesh::negated(normal);
    // First and third here, first and second in check_vector: hosts see the corner order.
    std::swap(face->vert[0], face->vert[2]);
  }
  face->vector = normal;
}

void Face::check_vector() {
  // A mesh that nothing was ever read into, which hosts orient all the same.
  if (vert_store == nullptr) return;
  if (!repair_all(*vert_store, records)) return;
  int rounds = 0;
  while (rounds < kRepairRounds && repair_marked(*vert_store, records)) ++rounds;
  scanmesh::parallel_over(records, scanmesh::processor_count(), [](_face& face) {
    if (face.state < 0) scanmesh::flip_state(&face);
  });
}

void Face::sort_out_mem() {
  if (records.block == nullptr) return;
  const scanmesh::RecordMemory<_vert> vertices(vert_store->records);
  const scanmesh::RecordMemory<_edge> edges(edge_store->records);
  const auto vacate = [](_face*) {};
  const auto settle = [&](_face* place, _face* from) {
    // The lists of corners and edges follow, so that they name no slot that is gone. A face may
    // have no edges.
    for (_vert* vert : place->vert) {
      if (vertices.holds(vert)) scanmesh::replace_all(vert->face, vert->face_num, from, place);
    }
    for (_edge* edge : place->edge) {
      if (edges.holds(edge)) scanmesh::replace_all(edge->face, edge->face_num, from, place);
    }
  };
  scanmesh::compact(records, vacate, settle);
}

}  // namespace Mesh_R
