// How BPA::Ball_Pivoting fills in what both reconstructors share.
#ifndef SCANMESH_PIVOTING_BALL_PIVOTING_TRAITS_H
#define SCANMESH_PIVOTING_BALL_PIVOTING_TRAITS_H

#include <future>

#include "core/progress.h"
#include "pivoting/front.h"
#include "scanmesh/ball_pivoting.h"

namespace BPA {

struct BallPivotingTraits {
  using Reconstructor = Ball_Pivoting;
  using Node = Ball_Pivoting::T_node;

  // Reports steps to the application. Stitching reports nothing.
  class Progress {
   public:
    Progress() = default;
    Progress(const Mesh_M::ProcessStepCallback& callback, int points);

    void begin() { scanmesh::report_step(callback_, 1, total_); }
    // Counts every triangle that was tried, made or not.
    void attempt();
    void after_batch(std::chrono::nanoseconds) {}
    void end() { scanmesh::report_step(callback_, total_, total_); }

   private:
    Mesh_M::ProcessStepCallback callback_;
    int32_t total_ = 1;
    int64_t stride_ = 1;
    int64_t attempts_ = 0;
  };

  static scanmesh::StoreSet stores(Ball_Pivoting& self) {
    return {self.vert_store, self.edge_store, self.face_store};
  }
  static scanmesh::BallLimits limits(const Ball_Pivoting& self) {
    return {self.radius_sq, self.max_dist, self.cos_75};
  }
  static bool find_seed(Ball_Pivoting& self, Node& node, Mesh_R::_face*& face) {
    return self.FindSeed(&node, face);
  }
  static std::future<void> enqueue(Mesh_M::ThreadPool& pool, Ball_Pivoting& self,
                                   scanmesh::Batch& batch, int task);
  static void search(Ball_Pivoting& self, scanmesh::Batch& batch, int task);

  // The exported calls with the number of processors as an argument, for tests.
  static void build_mesh(Ball_Pivoting& self, MemS::MemAllo<float[3]>& points,
                         MemS::MemAllo<float[3]>& normals, int count, int processors);
  static void stitch(Ball_Pivoting& self, Mesh_M::Mesh& mesh, int processors);

  // Builds the tree over the elements and tries them as seeds from `first` on.
  static void grow(Ball_Pivoting& self, std::vector<Node>& nodes, std::size_t first, int processors,
                   Progress& progress);
};

}  // namespace BPA

#endif  // SCANMESH_PIVOTING_BALL_PIVOTING_TRAITS_H
