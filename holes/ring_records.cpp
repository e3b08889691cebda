#include "holes/ring_records.h"

namespace scanmesh {

namespace {
constexpr int kRingBlock = 100;
constexpr int kRingTable = 1000;
}  // namespace

Mesh_R::_hole* append_ring(Mesh_R::Hole& finder) {
  Mesh_R::_hole** const cell = &finder.holes.allocate_mem();
  Mesh_R::_hole* const ring = new Mesh_R::_hole;
  ring->edges = new MemS::MemAllo<Mesh_R::_edge*>;
  ring->edges->inalize(kRingBlock, kRingTable);
  ring->slot = cell;
  *cell = ring;
  ++finder.hole_count;
  return ring;
}

void push_ring_edge(Mesh_R::Hole& finder, Mesh_R::_hole* ring, Mesh_R::_edge* edge) {
  ring->edges->allocate_mem() = edge;
  ++finder.edge_total;
}

void destroy_ring(Mesh_R::_hole* ring) {
  *ring->slot = nullptr;
  ring->edges->free();
  delete ring->edges;
  delete ring;
}

std::vector<Mesh_R::_edge*> ring_edges(const Mesh_R::_hole* ring) {
  const int n = ring->edges->size();
  std::vector<Mesh_R::_edge*> edges(static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i) edges[static_cast<std::size_t>(i)] = (*ring->edges)[i];
  return edges;
}

std::vector<Mesh_R::_vert*> ring_vertices(Mesh_R::_edge* const* edges, int n) {
  std::vector<Mesh_R::_vert*> ring;
  if (n < 1) return ring;
  ring.reserve(static_cast<std::size_t>(n));
  Mesh_R::_vert* vert = ring_start(edges, n);
  for (int i = 0; i < n; ++i) {
    ring.push_back(vert);
    vert = far_end(edges[i], vert);
  }
  return ring;
}

}  // namespace scanmesh
