// The life of the hole list, and the operations that fill it with rings.
#include <omp.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "core/parallel.h"
#include "core/platform.h"
#include "holes/ring_records.h"
#include "scanmesh/hole.h"

namespace Mesh_R {

namespace {

// Beyond these the mesh is a soup, and the scan ends with what it has.
constexpr int kMostRings = 500000;
constexpr int kMostSmallRings = 100000;
constexpr int kLeastSweepThreads = 4;
// A scan of fewer edges is over before a second thread has woken up.
constexpr int kShareFrom = 500000;

// Forgets the rings without destroying them: records that a host still holds stay readable.
void clear_rings(Hole& finder) {
  finder.holes.clear_mem();
  finder.hole_count = 0;
}

// Edges that carry the walk mark, noted so that the search can take it back: those that a walk has
// put into a ring, dropped rings included, and those that carried it before.
class WalkMarks {
 public:
  void note(_edge* edge) { edges_.push_back(edge); }
  void note_ring(const _hole* ring) {
    for (int i = 0, n = ring->edges->size(); i < n; ++i) edges_.push_back((*ring->edges)[i]);
  }
  void clear() {
    // Later loops that don't set a thread count of their own go on with this one.
    omp_set_num_threads(std::max(scanmesh::processor_count(), kLeastSweepThreads));
    for (_edge* edge : edges_) {
      if (edge->state == kStateOnePass) edge->state = kStateLive;
    }
  }

 private:
  std::vector<_edge*> edges_;
};

bool opens_a_walk(const _edge& edge) {
  return edge.face_num == 1 && edge.state != kStateDeleted && edge.state != kStateOnePass;
}

// What the scan over all edges finds, in store order.
struct Found {
  std::vector<_edge*> open;
  std::vector<_edge*> marked;  // by somebody before
};

// Calls visit(edge) for the edges [first, last), block by block.
template <typename Visit>
void for_edges(Edge& edges, std::ptrdiff_t first, std::ptrdiff_t last, Visit visit) {
  const std::ptrdiff_t size = edges.records.block_size;
  while (first < last) {
    const std::ptrdiff_t end = std::min(last, (first / size + 1) * size);
    _edge* edge = edges[static_cast<int>(first)];
    for (; first < end; ++first) visit(edge++);
  }
}

// Only the scan is shared among threads; walking while others scan would race on the marks, and
// walking takes a small part of the time.
std::vector<Found> scan_edges(Edge& edges) {
  const int threads = scanmesh::processor_count();
  const int count = edges.get_edgenum();
  std::vector<Found> found(static_cast<std::size_t>(threads));
  omp_set_num_threads(threads);
#pragma omp parallel for schedule(static) if (count >= kShareFrom)
  for (int run = 0; run < threads; ++run) {
    const auto [first, last] = scanmesh::slice(count, threads, run);
    Found& mine = found[static_cast<std::size_t>(run)];
    for_edges(edges, first, last, [&mine](_edge* edge) {
      if (opens_a_walk(*edge)) mine.open.push_back(edge);
      if (edge->state == kStateOnePass) mine.marked.push_back(edge);
    });
  }
  return found;
}

// Drops what isn't a ring and cuts what passes a vertex twice. `scratch` keeps its room between
// rings.
void check_ring(Hole& finder, _hole* ring, std::vector<_edge*>& scratch) {
  const auto length = static_cast<std::size_t>(ring->edges->size());
  if (scratch.size() < length) scratch.resize(length);
  if (finder.check_hole_reasonable(ring)) finder.check_hole_split(scratch.data(), ring);
}

// The form of the operations that look for the one ring through an edge.
template <typename Walk>
void build_one(Hole& finder, _edge* start, Walk walk) {
  if (start == nullptr || !scanmesh::is_set_up(finder)) return;
  clear_rings(finder);
  finder.edge_total = 0;
  if (start->face_num != 1 || start->state == kStateOnePass) return;
  _hole* const ring = walk(start);
  // A dropped chain is gone after the check, and no sweep follows: remember what was marked.
  const std::vector<_edge*> walked = scanmesh::ring_edges(ring);
  std::vector<_edge*> scratch;
  check_ring(finder, ring, scratch);
  for (_edge* edge : walked) edge->state = kStateLive;
}

}  // namespace

Hole::Hole() = default;

Hole::~Hole() {
  free();
}

void Hole::inalize(int blockSize, int tableSize) {
  holes.inalize(blockSize, tableSize);
  added_verts.inalize(blockSize, tableSize);
  added_edges.inalize(blockSize, tableSize);
  added_faces.inalize(blockSize, tableSize);
  hole_count = 0;
}

void Hole::free() {
  for (int i = 0, n = holes.size(); i < n; ++i) {
    if (holes[i] != nullptr) scanmesh::destroy_ring(holes[i]);
  }
  holes.free();
  added_verts.free();
  added_edges.free();
  added_faces.free();
  last_hole = nullptr;
  hole_count = 0;
  moved_.clear();
}

void Hole::getEdge(Edge* edges) {
  edge_store = edges;
}

void Hole::getFace(Face* faces) {
  face_store = faces;
}

void Hole::getVertex(Vertex* vertices) {
  vert_store = vertices;
}

void Hole::build_hole() {
  clear_rings(*this);
  edge_total = 0;
  if (edge_store == nullptr || !scanmesh::is_set_up(*this)) return;
  WalkMarks marks;
  std::vector<_edge*> scratch;
  for (const Found& run : scan_edges(*edge_store)) {
    for (_edge* edge : run.marked) marks.note(edge);
    for (_edge* edge : run.open) {
      if (!opens_a_walk(*edge)) continue;
      if (holes.size() > kMostRings) break;
      _hole* const ring = gethole(edge);
      marks.note_ring(ring);
      check_ring(*this, ring, scratch);
    }
  }
  marks.clear();
}

void Hole::build_smallhole(int limit) {
  clear_rings(*this);
  if (edge_store == nullptr || !scanmesh::is_set_up(*this)) return;
  // The edge total belongs to the last full search; this one leaves it as it was.
  const int32_t total = edge_total;
  WalkMarks marks;
  std::vector<_edge*> scratch;
  for_edges(*edge_store, 0, edge_store->get_edgenum(), [&](_edge* edge) {
    if (edge->state == kStateOnePass) marks.note(edge);
    if (edge->face_num != 1 || edge->state == kStateOnePass) return;
    if (holes.size() > kMostSmallRings) return;
    _hole* const ring = gethole_smallHole(edge, limit);
    marks.note_ring(ring);
    check_ring(*this, ring, scratch);
  });
  edge_total = total;
  marks.clear();
}

void Hole::build_hole(_edge* start) {
  build_one(*this, start, [this](_edge* edge) { return gethole(edge); });
}

void Hole::build_hole_temp(_edge* start, float* const reference) {
  build_hole_temp_oval(start, reference);
}

void Hole::build_hole_temp_oval(_edge* start, float* const reference) {
  build_one(*this, start, [=](_edge* edge) { return gethole_temp_oval(edge, reference); });
}

void Hole::build_hole_trim(_edge* start, int maxEdges, float* const reference) {
  build_one(*this, start, [=](_edge* edge) { return gethole_trim(edge, maxEdges, reference); });
}

bool Hole::check_hole_reasonable(_hole* hole) {
  if (hole == nullptr) return false;
  MemS::MemAllo<_edge*>& edges = *hole->edges;
  const int n = edges.size();
  if (n >= 3 && scanmesh::ends_meet(edges[0], edges[n - 1])) return true;
  // The edges of a longer chain stay marked, so that the scan doesn't walk them again.
  for (int i = 0; i < n && n < 3; ++i) edges[i]->state = kStateLive;
  scanmesh::destroy_ring(hole);
  return false;
}

void Hole::get_non_manifold(std::vector<_face*>&, _edge*) {}

}  // namespace Mesh_R
