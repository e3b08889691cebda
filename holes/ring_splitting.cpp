// Cutting a ring that passes more than once through a vertex.
#include <unordered_map>
#include <vector>

#include "holes/ring_records.h"
#include "scanmesh/hole.h"

namespace Mesh_R {

namespace {

using scanmesh::far_end;
using scanmesh::touches;

// Two sheets meet at a vertex with two more edges than faces.
bool is_junction(const _vert* vert) {
  return vert->edge_num - vert->face_num >= 2;
}

int open_edge_count(const _vert* vert) {
  int count = 0;
  for (int i = 0; i < vert->edge_num; ++i) {
    if (vert->edge[i] != nullptr && vert->edge[i]->face_num == 1) ++count;
  }
  return count;
}

class RingSplitter {
 public:
  RingSplitter(Hole& finder, _edge** edges, int n, _hole* walked)
      : finder_(finder), edges_(edges), n_(n), walked_(walked) {
    below_.reserve(static_cast<std::size_t>(n) + 1);
    for (int i = 0; i <= n; ++i) below_.push_back(i);
  }

  void run() {
    walk();
    if (walked_ == nullptr) gather_remainder();
    for (int i = 0; i < n_; ++i) {
      edges_[i]->state = kStateOnePass;
      edges_[i]->vert[0]->state = kStateLive;
      edges_[i]->vert[1]->state = kStateLive;
    }
  }

 private:
  void walk() {
    _vert* vert = scanmesh::ring_start(edges_, n_);
    for (int i = 0; i < n_; ++i) {
      if (is_junction(vert)) visit_junction(vert, i);
      vert->state = kStateOnePass;
      vert = far_end(edges_[i], vert);
    }
  }

  void visit_junction(_vert* vert, int i) {
    const auto found = open_.find(vert);
    if (found == open_.end()) {
      const int count = open_edge_count(vert);
      open_.emplace(vert, count);
      if (count <= 2) spent_.push_back(vert);
    } else if (vert->state == kStateOnePass) {
      close_loop(vert, i);
    }
  }

  // The edges walked since the last passage of `vert` become a ring of their own.
  void close_loop(const _vert* vert, int i) {
    if (walked_ != nullptr) scanmesh::destroy_ring(walked_);
    walked_ = nullptr;
    _hole* const ring = scanmesh::append_ring(finder_);
    // Two kinds of edges don't count towards the edge total again: the one that closes a loop, and
    // those of the remainder. The refinement of a patch takes its bound from that total.
    std::vector<int> taken = {i - 1};
    take(ring, i - 1);
    for (int j = last_unsettled(i - 2); j >= 0; j = last_unsettled(j - 1)) {
      if (edges_[j]->state == kStateTaken) continue;
      take(ring, j);
      ++finder_.edge_total;
      taken.push_back(j);
      if (touches(edges_[j], vert)) break;
    }
    if (taken.size() > 2 && scanmesh::ends_meet(edges_[taken.front()], edges_[taken.back()])) {
      settle(taken);
    } else {
      // The record stays in the list, invalid; its edges go back to the remainder.
      for (int j : taken) edges_[j]->state = kStateLive;
    }
  }

  void take(_hole* ring, int i) const {
    ring->edges->allocate_mem() = edges_[i];
    edges_[i]->state = kStateTaken;
  }

  // A ring that stands uses up open edges of the junctions on it. The first of its edges also
  // strikes out every junction that had too few from the start, wherever it lies.
  void settle(const std::vector<int>& taken) {
    for (_vert* vert : spent_) open_.erase(vert);
    spent_.clear();
    for (int j : taken) {
      const _edge* const edge = edges_[j];
      use_up(edge->vert[0]);
      if (edge->vert[1] != edge->vert[0]) use_up(edge->vert[1]);
      below_[static_cast<std::size_t>(j) + 1] = j;
    }
  }

  void use_up(_vert* vert) {
    const auto found = open_.find(vert);
    if (found != open_.end() && --found->second <= 2) open_.erase(found);
  }

  // The last edge up to i that isn't in a settled ring, -1 when there is none. Paths over settled
  // edges are shortened as they are used: a string of loops would cost a quadratic walk otherwise.
  int last_unsettled(int i) {
    auto place = static_cast<std::size_t>(i + 1);
    while (below_[place] != static_cast<int>(place)) {
      const auto next = static_cast<std::size_t>(below_[place]);
      below_[place] = below_[next];
      place = next;
    }
    return static_cast<int>(place) - 1;
  }

  void gather_remainder() {
    _hole* const ring = scanmesh::append_ring(finder_);
    for (int i = 0; i < n_; ++i) {
      if (edges_[i]->state != kStateTaken) ring->edges->allocate_mem() = edges_[i];
    }
  }

  Hole& finder_;
  _edge** edges_;
  int n_;
  _hole* walked_;                         // null once a loop was cut off
  std::unordered_map<_vert*, int> open_;  // junctions passed, with the open edges they have left
  std::vector<_vert*> spent_;             // junctions that the next standing ring strikes out
  std::vector<int> below_;                // place i + 1 stands for edge i; see last_unsettled
};

}  // namespace

void Hole::check_hole_split(_edge** scratch, _hole* hole) {
  if (scratch == nullptr || hole == nullptr || hole->edges->size() < 2) return;
  if (!scanmesh::is_set_up(*this)) return;
  const int n = hole->edges->size();
  for (int i = 0; i < n; ++i) scratch[i] = (*hole->edges)[i];
  RingSplitter(*this, scratch, n, hole).run();
}

}  // namespace Mesh_R
