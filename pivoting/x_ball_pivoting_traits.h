// How xbpa::XBallPivoting fills in what both reconstructors share. It differs from the first one in
// these ways, and in the rules of stitching:
// - the stores belong to someone else;
// - the tree's results come nearest first and are turned round into the table;
// - every task has its own search buffers;
// - there is no progress callback, but a note of batches that take long.
#ifndef SCANMESH_PIVOTING_X_BALL_PIVOTING_TRAITS_H
#define SCANMESH_PIVOTING_X_BALL_PIVOTING_TRAITS_H

#include <chrono>
#include <future>

#include "pivoting/front.h"
#include "pivoting/stitching.h"
#include "scanmesh/x_ball_pivoting.h"

namespace xbpa {

// Milliseconds, which hosts' logs take for clock ticks.
class TickClock {
 public:
  long long ticks() const {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                 begin_)
        .count();
  }
  double seconds() const { return static_cast<double>(ticks()) / 1000.0; }

 private:
  std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
};

struct XBallPivotingTraits {
  using Reconstructor = XBallPivoting;
  using Node = XBallPivoting::XNode;

  struct Progress {
    void attempt() {}
    void after_batch(std::chrono::nanoseconds time);
  };

  static scanmesh::StoreSet stores(XBallPivoting& self) {
    return {*self.vert_store, *self.edge_store, *self.face_store};
  }
  static scanmesh::BallLimits limits(const XBallPivoting& self) {
    return {self.radius_sq, self.max_dist, self.cos_75};
  }
  // Outside the tasks the buffers of task 0 are free.
  static bool find_seed(XBallPivoting& self, Node& node, Mesh_R::_face*& face) {
    return self.FindSeed(&node, face, 0);
  }
  static std::future<void> enqueue(Mesh_M::ThreadPool& pool, XBallPivoting& self,
                                   scanmesh::Batch& batch, int task);
  static void search(XBallPivoting& self, scanmesh::Batch& batch, int task);

  // The exported calls with the number of processors as an argument, for tests.
  static void build_mesh(XBallPivoting& self, MemS::MemAllo<float[3]>& points,
                         MemS::MemAllo<float[3]>& normals, int count, int processors);
  static void stitch(XBallPivoting& self, Mesh_M::Mesh& mesh, int processors);
  static void stitch(XBallPivoting& self, Mesh_M::Mesh& source, Mesh_M::Mesh& target,
                     int processors);

  static void prepare_tasks(XBallPivoting& self, int tasks);
  // Tries the nodes as seeds, from `first` on.
  static void grow(XBallPivoting& self, std::size_t first, int processors);
  // The radii and the reach of a seam.
  static void narrow_schedule(XBallPivoting& self, scanmesh::Seam seam);
  // From the marking of states on: what both forms of stitching end with.
  static void close_seams(XBallPivoting& self, Mesh_M::Mesh& mesh, int kept_count,
                          const TickClock& clock, bool prints_open_edges, int processors);
};

}  // namespace xbpa

#endif  // SCANMESH_PIVOTING_X_BALL_PIVOTING_TRAITS_H
