// Normal filtering with a vertex update by curvature class.
#ifndef SCANMESH_SMOOTHING_FAST_ELECTRIC_FILTER_H
#define SCANMESH_SMOOTHING_FAST_ELECTRIC_FILTER_H

#include <cstdint>
#include <functional>
#include <memory>

#include "scanmesh/mesh.h"
#include "smoothing/filter_params.h"
#include "smoothing/flat_mesh.h"

namespace scanmesh {

// One run on one mesh, on the caller's stack.
class ElectricFilter {
 public:
  ElectricFilter(Mesh_M::Mesh& mesh, int level, float value, bool flag);

  // The main thread's part, `work` being what a worker does with its lane. By itself a worker calls
  // the function below.
  void run(int workers, const std::function<void(Lane&)>& work);
  void run(int workers);

  // A worker's part: the range that begins at `begin` is one of faces, later of vertices.
  void work(const int* begin, const Barrier& barrier);

 private:
  bool load_vertices(int tasks);
  void refresh_normals();
  Vec3f new_normal(int f, const RawArray<Vec3f>& normals, Numbers around) const;
  double curvature(int v) const;
  void classify(Range verts);
  void move_vertices(Worker& faces, Worker& verts, const RawArray<Vec3f>& normals,
                     const Barrier& barrier);
  void half_step(Range verts, const RawArray<Vec3f>& normals, int now, double step);

  Mesh_M::Mesh& mesh_;
  Filter_Params params_;
  bool taubin_only_;
  FlatMesh flat_;
  FlatLists neighbours_of_;
  RawArray<int8_t> classes_;
  bool loaded_ = false;
  // Of one run.
  std::unique_ptr<Shares> faces_;
  std::unique_ptr<Shares> verts_;
  std::unique_ptr<NormalStage> normals_;
};

}  // namespace scanmesh

#endif  // SCANMESH_SMOOTHING_FAST_ELECTRIC_FILTER_H
