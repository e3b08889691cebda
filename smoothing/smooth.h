// Two denoisers that filter the face normals first and then move the vertices to fit them.
#ifndef SCANMESH_SMOOTHING_SMOOTH_H
#define SCANMESH_SMOOTHING_SMOOTH_H

#include <cstdint>
#include <functional>
#include <memory>

#include "core/parallel.h"
#include "scanmesh/process_step.h"
#include "scanmesh/stores.h"
#include "smoothing/flat_mesh.h"

namespace Mesh_SF {

// Made on the caller's stack for one call. Deleted records are left alone; vertices of high
// curvature (state 12) stay. No normal is refreshed at the end: the faces keep the filtered ones.
class Smooth {
 public:
  explicit Smooth(Mesh_M::ProcessStepCallback callback,
                  int workers = scanmesh::one_and_a_half_processors());

  // Weights by area, by the difference of normals over `sigma_s`, and by the distance of centroids
  // over their mean times `spatial_factor`. A vertex whose new position isn't finite is deleted.
  void Smooth_Bilateral(Mesh_R::Face* faces, Mesh_R::Vertex* vertices, int normal_iterations,
                        int vertex_iterations, float spatial_factor, float sigma_s);
  // Weights by how far the cosine between normals exceeds the threshold. Each round begins with the
  // normals that the one before has left.
  void Smooth_Two_Step(Mesh_R::Face* faces, Mesh_R::Vertex* vertices, int rounds,
                       int normal_iterations, float cos_threshold, int vertex_iterations);

  // The bodies of a worker. Between two barriers a worker either only reads what the others read,
  // or writes its own range. `gather` guarded a walk that marked the faces themselves; each worker
  // marks in a table of its own now, and takes the semaphore for nothing.
  void Bilateral_Worker(Mesh_R::Face* faces, Mesh_R::Vertex* vertices, int* begin, int* end,
                        Semap::Semaphore* toWorker, Semap::Semaphore* toMain,
                        Semap::Semaphore* gather, int normal_iterations, int vertex_iterations,
                        float spatial_factor, float sigma_s);
  void Two_Step_Worker(Mesh_R::Face* faces, Mesh_R::Vertex* vertices, int* begin, int* end,
                       Semap::Semaphore* toWorker, Semap::Semaphore* toMain,
                       Semap::Semaphore* gather, int normal_iterations, float cos_threshold,
                       int vertex_iterations);

 private:
  // How the vertex update differs between the two.
  struct VertexRule {
    bool cap;      // bound the pull of far centroids where the faces are large
    bool deletes;  // delete a vertex whose position isn't finite
  };
  using LaneBody = std::function<void(scanmesh::Lane& lane, Semap::Semaphore* gather)>;
  void load(Mesh_R::Face& faces, Mesh_R::Vertex& vertices);
  void run(Mesh_R::Face& faces, Mesh_R::Vertex& vertices, int normal_iterations,
           int vertex_iterations, scanmesh::Progress& progress, const LaneBody& body);
  template <typename NewNormal>
  void work(Mesh_R::Face& faces, Mesh_R::Vertex& vertices, const int* begin,
            const scanmesh::Barrier& barrier, int vertex_iterations, VertexRule rule,
            NewNormal new_normal);
  void move_vertices(Mesh_R::Vertex& vertices, scanmesh::Worker& faces, scanmesh::Worker& verts,
                     const scanmesh::RawArray<scanmesh::Vec3f>& normals, int iterations,
                     const scanmesh::Barrier& barrier, VertexRule rule);
  void compute_points(scanmesh::Range range, const scanmesh::RawArray<scanmesh::Vec3f>& normals,
                      int now, VertexRule rule);
  void write_points(Mesh_R::Vertex& vertices, scanmesh::Range range, int now);

  Mesh_M::ProcessStepCallback callback_;
  int workers_;
  scanmesh::FlatMesh flat_;
  scanmesh::RawArray<uint8_t> counts_;  // faces that take part in neighbourhoods
  scanmesh::RawArray<double> areas_;    // twice the area of each face; bilateral form only
  scanmesh::RawArray<uint8_t> moves_;   // what becomes of each vertex
  // Of one round.
  std::unique_ptr<scanmesh::Shares> face_shares_;
  std::unique_ptr<scanmesh::Shares> vert_shares_;
  std::unique_ptr<scanmesh::NormalStage> normals_;
};

}  // namespace Mesh_SF

#endif  // SCANMESH_SMOOTHING_SMOOTH_H
