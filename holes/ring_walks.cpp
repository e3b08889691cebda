// The walks from an open edge around its ring. Each marks what it walks with edge state 1; whoever
// started the walk takes the marks back.
#include "core/vector_math.h"
#include "holes/ring_records.h"
#include "scanmesh/hole.h"

namespace Mesh_R {

namespace {

using scanmesh::far_end;
using scanmesh::touches;
using scanmesh::Vec3f;

constexpr int kWalkLimit = 1000000;

void push_walked(Hole& finder, _hole* ring, _edge* edge) {
  scanmesh::push_ring_edge(finder, ring, edge);
  edge->state = kStateOnePass;
}

_hole* begin_ring(Hole& finder, _edge* start) {
  _hole* const ring = scanmesh::append_ring(finder);
  push_walked(finder, ring, start);
  return ring;
}

// The first open edge that leads on from the pivot. A non-manifold edge serves as a way through
// only where no open edge offers itself.
_edge* next_open_edge(const _vert* pivot, const _edge* current) {
  _edge* way_through = nullptr;
  for (int i = 0; i < pivot->edge_num; ++i) {
    _edge* const edge = pivot->edge[i];
    if (edge == nullptr || edge->state == kStateOnePass || edge == current) continue;
    if (edge->face_num == 1) return edge;
    if (edge->face_num > 2 && way_through == nullptr) way_through = edge;
  }
  return way_through;
}

_hole* walk_vertex_lists(Hole& finder, _edge* start, int steps) {
  _hole* const ring = begin_ring(finder, start);
  _vert* pivot = start->vert[0];
  _edge* current = start;
  for (int step = 0; step < steps; ++step) {
    _edge* const next = next_open_edge(pivot, current);
    if (next == nullptr || !touches(current, pivot)) break;
    current = next;
    pivot = far_end(next, pivot);
    push_walked(finder, ring, next);
  }
  return ring;
}

_edge* other_edge_at(const _face* face, const _edge* edge, const _vert* pivot) {
  for (_edge* candidate : face->edge) {
    if (candidate != nullptr && candidate != edge && touches(candidate, pivot)) return candidate;
  }
  return nullptr;
}

// Turns through the faces around the pivot to the first edge that isn't interior; `face` is left at
// the face of that edge on this sheet. Null where the fan has no such edge: a closed fan, or faces
// with coinciding corners.
_edge* next_fan_edge(const _edge* current, const _vert* pivot, _face*& face) {
  for (int turn = 0; face != nullptr && turn <= pivot->face_num; ++turn) {
    _edge* const edge = other_edge_at(face, current, pivot);
    if (edge == nullptr || edge->face_num != 2) return edge;
    face = edge->face[0] == face ? edge->face[1] : edge->face[0];
    current = edge;
  }
  return nullptr;
}

_vert* apex_of(const _edge* edge) {
  if (edge->face_num < 1) return nullptr;
  for (_vert* vert : edge->face[0]->vert) {
    if (!touches(edge, vert)) return vert;
  }
  return nullptr;
}

// The apex direction d is subtracted from the reference as if it were a point. Hosts place their
// reference points by this form, so it stays.
bool beyond_reference(const _edge* edge, const float* reference) {
  const _vert* const apex = apex_of(edge);
  if (apex == nullptr) return false;
  const Vec3f& a = edge->vert[0]->point;
  const Vec3f& b = edge->vert[1]->point;
  const Vec3f mid = {(a.x + b.x) * 0.5F, (a.y + b.y) * 0.5F, (a.z + b.z) * 0.5F};
  const Vec3f d = scanmesh::sub(apex->point, mid);
  const Vec3f target = {reference[0], reference[1], reference[2]};
  return scanmesh::dot(scanmesh::sub(target, d), d) > 0;
}

template <typename Ends>
_hole* walk_fans(Hole& finder, _edge* start, Ends ends_at) {
  _hole* const ring = begin_ring(finder, start);
  _vert* pivot = start->vert[0];
  _edge* current = start;
  _face* face = start->face_num > 0 ? start->face[0] : nullptr;
  for (;;) {
    _edge* const next = next_fan_edge(current, pivot, face);
    if (next == nullptr || next == start || next->state == kStateOnePass || ends_at(next)) break;
    push_walked(finder, ring, next);
    pivot = far_end(next, pivot);
    current = next;
  }
  return ring;
}

// How far a rim edge runs towards the reference. The lengths are added, not multiplied: the choice
// of a rim at a fork depends on this form.
double advance(const _vert* pivot, const _vert* far, const Vec3f& towards) {
  const Vec3f step = scanmesh::sub(far->point, pivot->point);
  return scanmesh::dot_double(towards, step) / (scanmesh::length(step) + scanmesh::length(towards));
}

// The rim edge that leads on, chosen among at most two; its far vertex loses its candidate mark.
_edge* next_trim_edge(const _edge* current, const _vert* pivot, const float* reference) {
  _edge* candidates[2] = {nullptr, nullptr};
  int count = 0;
  for (int i = 0; i < pivot->edge_num; ++i) {
    _edge* const edge = pivot->edge[i];
    if (edge == nullptr || edge == current || edge->face_num != 1) continue;
    if (!far_end(edge, pivot)->reached) continue;
    if (count < 2) candidates[count] = edge;
    ++count;
  }
  if (count < 1 || count > 2) return nullptr;
  _edge* chosen = candidates[0];
  if (count == 2) {
    const Vec3f towards = scanmesh::sub({reference[0], reference[1], reference[2]}, pivot->point);
    const double first = advance(pivot, far_end(candidates[0], pivot), towards);
    const double second = advance(pivot, far_end(candidates[1], pivot), towards);
    if (!(first > second)) chosen = candidates[1];
  }
  far_end(chosen, pivot)->reached = false;
  return chosen;
}

// Moves a short list into one block of exactly its length: trims keep many short rims.
void compact_hole_edges(_hole* ring) {
  MemS::MemAllo<_edge*>& edges = *ring->edges;
  const int n = edges.size();
  if (n < 1 || n >= edges.block_size) return;
  MemS::MemAllo<_edge*> exact;
  exact.inalize(n, edges.block_capacity);
  for (int i = 0; i < n; ++i) exact.allocate_mem() = edges[i];
  edges.free();
  edges = exact;
}

}  // namespace

_hole* Hole::gethole(_edge* start) {
  if (!scanmesh::is_set_up(*this)) return nullptr;
  return walk_vertex_lists(*this, start, kWalkLimit);
}

// A longer ring stays open, and check_hole_reasonable throws it away: that is the size filter.
_hole* Hole::gethole_smallHole(_edge* start, int limit) {
  if (!scanmesh::is_set_up(*this)) return nullptr;
  return walk_vertex_lists(*this, start, limit < 2 ? 0 : limit - 1);
}

_hole* Hole::gethole_temp(_edge* start, float* const reference) {
  if (!scanmesh::is_set_up(*this)) return nullptr;
  _hole* const ring = walk_fans(
      *this, start, [reference](const _edge* edge) { return beyond_reference(edge, reference); });
  compact_hole_edges(ring);
  return ring;
}

_hole* Hole::gethole_temp_oval(_edge* start, float* const) {
  if (!scanmesh::is_set_up(*this)) return nullptr;
  _hole* const ring = walk_fans(*this, start, [](const _edge*) { return false; });
  compact_hole_edges(ring);
  return ring;
}

_hole* Hole::gethole_trim(_edge* start, int maxEdges, float* const reference) {
  if (!scanmesh::is_set_up(*this)) return nullptr;
  _hole* const ring = begin_ring(*this, start);
  _vert* pivot = start->vert[0];
  _edge* current = start;
  for (;;) {
    _edge* const next = next_trim_edge(current, pivot, reference);
    if (next == nullptr || next == start || next->state == kStateOnePass) break;
    pivot = far_end(next, pivot);
    push_walked(*this, ring, next);
    current = next;
    if (edge_total > maxEdges) break;
  }
  compact_hole_edges(ring);
  return ring;
}

}  // namespace Mesh_R
