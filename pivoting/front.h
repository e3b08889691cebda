// The front: seeds open it, balls push it outward in batches.
#ifndef SCANMESH_PIVOTING_FRONT_H
#define SCANMESH_PIVOTING_FRONT_H

#include <chrono>
#include <future>
#include <vector>

#include "core/thread_pool.h"
#include "pivoting/pivot_geometry.h"
#include "pivoting/triangles.h"

namespace scanmesh {

// Threads beyond the number of processors.
constexpr int kExtraTasks = 4;

// The edges that are searched together. The mesh doesn't change meanwhile, so a result depends on
// its edge alone, and the division among tasks on nothing.
struct Batch {
  std::vector<Mesh_R::_edge*> edges;
  std::vector<Mesh_R::_vert*> results;
  std::vector<Vec3f> normals;
  std::vector<int> start;  // per task
  std::vector<int> end;
};

// The surface as it grows. What differs between the two reconstructors comes from Traits:
//   Reconstructor, Node           the class, and an element of its tree
//   Progress                      told of each attempt and of the time of each batch
//   stores(self), limits(self)    what it works on
//   find_seed(self, node, face)
//   enqueue(pool, self, batch, task), search(self, batch, task)   a task's search, there and here
template <typename Traits>
class Front {
 public:
  using Reconstructor = typename Traits::Reconstructor;
  using Progress = typename Traits::Progress;

  Front(Reconstructor& self, int processors, Progress& progress)
      : self_(self),
        stores_(Traits::stores(self)),
        limits_(Traits::limits(self)),
        progress_(progress),
        tasks_(processors + kExtraTasks),
        pool_(static_cast<std::size_t>(processors), static_cast<std::size_t>(tasks_)) {
    batch_.start.resize(static_cast<std::size_t>(tasks_));
    batch_.end.resize(static_cast<std::size_t>(tasks_));
  }

  // Tries a point that no triangle uses yet, once, and follows the surface from there.
  void try_seed(typename Traits::Node& node) {
    if (node.vert->state != Mesh_R::kStateLive) return;
    Mesh_R::_face* seed = nullptr;
    if (!Traits::find_seed(self_, node, seed)) return;
    open(seed);
    while (!self_.front.empty()) {
      take_batch();
      const auto begin = std::chrono::steady_clock::now();
      search_batch();
      progress_.after_batch(std::chrono::steady_clock::now() - begin);
      for (std::size_t i = 0; i < batch_.edges.size(); ++i) {
        commit(batch_.edges[i], batch_.results[i], batch_.normals[i]);
      }
    }
  }

 private:
  // Batches up to this length are over before a worker has woken up.
  static constexpr std::size_t kSearchHere = 48;

  void take_batch() {
    batch_.edges.assign(self_.front.begin(), self_.front.end());
    self_.front.clear();
    batch_.results.assign(batch_.edges.size(), nullptr);
    batch_.normals.resize(batch_.edges.size());
  }

  void search_batch() {
    const auto n = static_cast<int>(batch_.edges.size());
    if (batch_.edges.size() <= kSearchHere) {
      batch_.start[0] = 0;
      batch_.end[0] = n;
      Traits::search(self_, batch_, 0);
      return;
    }
    const int chunk = n / tasks_;
    std::vector<std::future<void>> done;
    for (int t = 0; t < tasks_; ++t) {
      const auto task = static_cast<std::size_t>(t);
      batch_.start[task] = t * chunk;
      batch_.end[task] = t + 1 == tasks_ ? n : (t + 1) * chunk;
      done.push_back(Traits::enqueue(pool_, self_, batch_, t));
    }
    // All of them, before one that failed is looked at: they share the batch.
    for (const std::future<void>& task : done) task.wait();
    for (std::future<void>& task : done) task.get();
  }

  void commit(Mesh_R::_edge* edge, Mesh_R::_vert* vert, const Vec3f& normal) {
    // An earlier edge of the batch may have closed this one. The vertex isn't asked again.
    if (vert == nullptr || edge->face_num != 1) return;
    Mesh_R::_face* const face = make_triangle(stores_, vert, edge->vert[0], edge->vert[1], normal);
    progress_.attempt();
    if (face == nullptr) return;
    for (const Mesh_R::_edge* side : face->edge) {
      if (side == edge || may_stay(limits_, *side)) continue;
      // The edge isn't queued again.
      reject_face(stores_, face, vert);
      return;
    }
    open(face);
    for (Mesh_R::_vert* corner : face->vert) {
      if (corner->state == kVertInner) mark_if_open(corner);
    }
  }

  // Corners become inner ones, but for the ends of open edges, which join the front.
  void open(Mesh_R::_face* face) {
    for (Mesh_R::_vert* corner : face->vert) corner->state = kVertInner;
    for (Mesh_R::_edge* edge : face->edge) {
      if (edge->face_num != 1) continue;
      mark_front(edge);
      self_.front.push_back(edge);
    }
  }

  static void mark_front(Mesh_R::_edge* edge) {
    edge->vert[0]->state = kVertFront;
    edge->vert[1]->state = kVertFront;
  }

  static void mark_if_open(Mesh_R::_vert* corner) {
    for (int i = 0; i < corner->edge_num; ++i) {
      if (corner->edge[i]->face_num == 1) mark_front(corner->edge[i]);
    }
  }

  Reconstructor& self_;
  const StoreSet stores_;
  const BallLimits limits_;
  Progress& progress_;
  const int tasks_;
  Batch batch_;
  // Last: its destruction waits for tasks that use the rest.
  Mesh_M::ThreadPool pool_;
};

}  // namespace scanmesh

#endif  // SCANMESH_PIVOTING_FRONT_H
