// Flipping edges so that the surface bends less: N. Dyn, K. Hormann, S.-J. Kim, D. Levin,
// "Optimizing 3D triangulations using discrete curvature analysis", 2001.
#include "refinement/edge_flips.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "core/adjacency.h"
#include "core/face_building.h"
#include "core/live_records.h"
#include "core/progress.h"
#include "core/record_numbers.h"
#include "core/vector_math.h"
#include "scanmesh/mesh.h"

namespace scanmesh {

namespace {

using fmx::edge_area;
using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;
using Mesh_R::kStateDeleted;

constexpr int kLeastValence = 4;

_vert* far_corner(const _face* face, const _edge* edge) {
  for (_vert* corner : face->vert) {
    if (!touches(edge, corner)) return corner;
  }
  return nullptr;
}

// The edge of a face between two vertices, if it has exactly two faces.
_edge* inner_edge(const _face* face, const _vert* a, const _vert* b) {
  for (_edge* edge : face->edge) {
    if (touches(edge, a) && touches(edge, b)) return edge->face_num == 2 ? edge : nullptr;
  }
  return nullptr;
}

// The face on the other side of an edge, and the corner that it adds.
struct Beyond {
  const _face* face;
  _vert* corner;
};
Beyond beyond(const _edge* edge, const _face* face) {
  const _face* const other = edge->face[0] == face ? edge->face[1] : edge->face[0];
  return {other, far_corner(other, edge)};
}

bool may_flip(const _edge* edge) {
  return edge->state != kStateDeleted && edge->face_num == 2 &&
         edge->vert[0]->edge_num >= kLeastValence && edge->vert[1]->edge_num >= kLeastValence &&
         edge->face[0]->state != kStateDeleted && edge->face[1]->state != kStateDeleted;
}

// False where a part is missing.
bool fill(edge_area& area) {
  area.face0 = area.edge->face[0];
  area.face1 = area.edge->face[1];
  area.c = far_corner(area.face0, area.edge);
  area.d = far_corner(area.face1, area.edge);
  // Two faces on the same corners, as parallel edges allow them, have no other diagonal: the flip
  // would make faces with a corner twice.
  if (area.c == nullptr || area.d == nullptr || area.c == area.d) return false;
  area.ca = inner_edge(area.face0, area.c, area.a);
  area.cb = inner_edge(area.face0, area.c, area.b);
  area.db = inner_edge(area.face1, area.d, area.b);
  area.da = inner_edge(area.face1, area.d, area.a);
  if (area.ca == nullptr || area.cb == nullptr || area.db == nullptr || area.da == nullptr) {
    return false;
  }
  const Beyond outer[4] = {beyond(area.da, area.face1), beyond(area.db, area.face1),
                           beyond(area.ca, area.face0), beyond(area.cb, area.face0)};
  _vert** const corners[4] = {&area.p, &area.q, &area.r, &area.s};
  for (int i = 0; i < 4; ++i) {
    if (outer[i].corner == nullptr) return false;
    *corners[i] = outer[i].corner;
    std::copy(outer[i].face->edge, outer[i].face->edge + 3, area.ring + 3 * i);
  }
  return true;
}

}  // namespace

fmx::edge_area make_edge_area(_edge* edge) {
  edge_area area;
  area.edge = edge;
  area.a = edge->vert[0];
  area.b = edge->vert[1];
  area.invalid = may_flip(edge) && fill(area) ? 0 : 1;
  return area;
}

}  // namespace scanmesh

namespace Mesh_M {

using fmx::edge_area;
using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;

namespace {

struct Vec3d {
  double x;
  double y;
  double z;
};

Vec3d between(const _vert* from, const _vert* to) {
  return {static_cast<double>(to->point.x) - from->point.x,
          static_cast<double>(to->point.y) - from->point.y,
          static_cast<double>(to->point.z) - from->point.z};
}
Vec3d cross(const Vec3d& a, const Vec3d& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
double dot(const Vec3d& a, const Vec3d& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}
Vec3d unit(const Vec3d& a) {
  const double size = std::sqrt(dot(a, a));
  if (size <= scanmesh::kTinyNormal) return {0, 0, 1};
  return {a.x / size, a.y / size, a.z / size};
}

template <typename Record>
void replace(Record** first, int count, const Record* from, Record* to) {
  std::replace(first, first + count, const_cast<Record*>(from), to);
}

// Whether each edge wants to be flipped, by its number. The walk is in the order of the table.
class Wishes {
 public:
  explicit Wishes(Mesh& mesh)
      : mesh_(mesh),
        number_(mesh.edge.records),
        wants_(static_cast<std::size_t>(mesh.edge.get_edgenum()), 0) {
    scanmesh::for_each_live(mesh.edge.records, [this](_edge& edge) { reassess(&edge); });
  }

  // One walk over all edges; returns how many were flipped. A refused flip stays wanted.
  int pass() {
    int flips = 0;
    for (std::size_t i = 0; i < wants_.size(); ++i) {
      if (wants_[i] == 0) continue;
      const edge_area area = scanmesh::make_edge_area(mesh_.edge[static_cast<int>(i)]);
      if (!mesh_.Mesh_Swap_Edge(area)) continue;
      ++flips;
      for (_edge* around : area.ring) reassess(around);
      wants_[i] = 0;
    }
    return flips;
  }

 private:
  void reassess(_edge* edge) {
    wants_[static_cast<std::size_t>(number_(edge))] = mesh_.Mesh_Swap_Value(edge) > 0 ? 1 : 0;
  }

  Mesh& mesh_;
  scanmesh::RecordNumbers<_edge> number_;
  std::vector<uint8_t> wants_;
};

constexpr int kStepCount = 13;

// When to stop: five passes at least, then as long as the flips go down in number, up to twelve
// passes, or go up.
struct PassBudget {
  int least = 5;
  int most = 12;
  int previous = 1000;
  int current = 1;

  bool goes_on() const {
    if (least > 0) return true;
    const double ratio = static_cast<double>(current) / previous;
    return (most >= 1 && previous > current + 1 && ratio < 0.99) || ratio > 1.01;
  }
};

}  // namespace

double Mesh::Mesh_V(_vert* w1, _vert* w2, _vert* w3, _vert* w4) const {
  const Vec3d e = between(w1, w2);
  const Vec3d n3 = unit(cross(e, between(w1, w3)));
  const Vec3d n4 = unit(cross(between(w1, w4), e));
  // Not clamped: a flat pair may round to beyond 1, and its edge then doesn't ask to be flipped.
  return std::sqrt(dot(e, e)) * std::acos(dot(n3, n4));
}

double Mesh::Mesh_Swap_Value(const edge_area& n) const {
  if (n.invalid != 0) return -1.0;
  const double after = Mesh_V(n.a, n.d, n.c, n.p) + Mesh_V(n.a, n.c, n.d, n.r) +
                       Mesh_V(n.b, n.c, n.d, n.s) + Mesh_V(n.b, n.d, n.c, n.q) +
                       Mesh_V(n.c, n.d, n.a, n.b);
  const double before = Mesh_V(n.a, n.d, n.b, n.p) + Mesh_V(n.a, n.c, n.b, n.r) +
                        Mesh_V(n.b, n.c, n.a, n.s) + Mesh_V(n.b, n.d, n.a, n.q) +
                        Mesh_V(n.a, n.b, n.c, n.d);
  return 2 * (before - after);
}

double Mesh::Mesh_Swap_Value(_edge* at) const {
  return Mesh_Swap_Value(scanmesh::make_edge_area(at));
}

bool Mesh::Mesh_Swap_Edge(const edge_area& n) {
  if (n.invalid != 0) return false;
  n.edge->vert[0] = n.c;
  n.edge->vert[1] = n.d;
  replace(n.cb->face, n.cb->face_num, n.face0, n.face1);
  replace(n.da->face, n.da->face_num, n.face1, n.face0);
  replace(n.face0->edge, 3, n.cb, n.da);
  replace(n.face0->vert, 3, n.b, n.d);
  replace(n.face1->edge, 3, n.da, n.cb);
  replace(n.face1->vert, 3, n.a, n.c);
  scanmesh::remove_first(n.a->edge, n.a->edge_num, n.edge);
  scanmesh::remove_first(n.b->edge, n.b->edge_num, n.edge);
  scanmesh::remove_first(n.a->face, n.a->face_num, n.face1);
  scanmesh::remove_first(n.b->face, n.b->face_num, n.face0);
  vertex.insert_face(n.c, n.face1);
  vertex.insert_edge(n.c, n.edge);
  vertex.insert_face(n.d, n.face0);
  vertex.insert_edge(n.d, n.edge);
  face.refresh_vector(n.face0);
  face.refresh_vector(n.face1);
  for (_vert* corner : {n.a, n.b, n.c, n.d}) vertex.R_cal_vector(corner);
  return true;
}

int Mesh::Mesh_Optimization() {
  Wishes wishes(*this);
  PassBudget budget;
  int total = 0;
  for (int pass = 1; budget.goes_on(); ++pass) {
    scanmesh::report_step(process_step, pass, kStepCount);
    --budget.least;
    --budget.most;
    budget.previous = budget.current;
    budget.current = wishes.pass();
    total += budget.current;
  }
  scanmesh::report_step(process_step, kStepCount, kStepCount);
  return total;
}

}  // namespace Mesh_M
