// What the normal filters work on: the mesh as flat arrays, and the passes over them that they
// share. The records are written after every iteration, so that a callback which looks at the mesh
// sees whole iterations.
#ifndef SCANMESH_SMOOTHING_FLAT_MESH_H
#define SCANMESH_SMOOTHING_FLAT_MESH_H

#include <cstdint>
#include <vector>

#include "core/live_records.h"
#include "core/vector_math.h"
#include "scanmesh/stores.h"
#include "smoothing/flat_adjacency.h"
#include "smoothing/lockstep.h"
#include "smoothing/raw_array.h"
#include "smoothing/shares.h"

namespace scanmesh {

// Of each pair of arrays one holds what stands and the other what is being computed; the passes
// take turns, and every worker keeps count of the turns for itself.
struct FlatMesh {
  RawArray<FaceCorners> corners;
  FlatLists faces_of;  // of each vertex
  RawArray<Vec3f> normals[2];
  RawArray<Vec3f> points[2];
  RawArray<Vec3f> centroids;

  void load_faces(Mesh_R::Vertex& vertices, Mesh_R::Face& faces, int tasks);
  void load_points(Mesh_R::Vertex& vertices, int tasks);
};

// The neighbourhoods of the faces of a chunk: those that share a vertex with a face, itself among
// them, each once. Corner by corner, in the order of the corners' lists.
struct ChunkNeighbourhoods {
  std::vector<std::size_t> start;
  std::vector<int32_t> entries;

  bool empty() const { return start.empty(); }
  Numbers of(int i) const {
    const auto k = static_cast<std::size_t>(i);
    return {entries.data() + start[k], entries.data() + start[k + 1]};
  }
};

// Finds neighbourhoods. One per worker. One bit per face tells who is in already; the bits are
// cleared for the faces at hand only.
class NeighbourFinder {
 public:
  // With `counts`, faces with a 0 there are left out.
  NeighbourFinder(const FlatMesh& mesh, const RawArray<uint8_t>* counts);

  // False, with nothing in `out`, where the neighbourhoods are so much larger than those of a usual
  // mesh that they are better found one at a time: around a vertex of high valence they grow with
  // its square.
  bool collect(Range faces, ChunkNeighbourhoods& out);
  // That of one face, until the next call.
  Numbers alone(int face);

 private:
  void append(int face, std::vector<int32_t>& out);

  const FlatMesh& mesh_;
  const RawArray<uint8_t>* counts_;
  std::vector<uint64_t> taken_;
  std::vector<int32_t> alone_;
};

// What the workers share while they filter normals.
struct NormalStage {
  NormalStage(const Shares& faces, const RawArray<uint8_t>* face_counts, int rounds)
      : counts(face_counts),
        iterations(rounds),
        kept(rounds > 1 ? static_cast<std::size_t>(faces.chunks()) : 0) {}

  const RawArray<uint8_t>* counts;
  int iterations;
  // Of each chunk, from the first iteration for those that follow; empty when none does. A chunk
  // whose neighbourhoods are too large has none.
  std::vector<ChunkNeighbourhoods> kept;
};

// One worker's part of filtering the normals, two barriers per iteration: compute, write. A deleted
// face keeps its normal. new_normal(face, normals, neighbourhood) gives a face's next normal.
// Returns which of the two arrays holds the normals in the end, given that the first does at the
// beginning.
template <typename NewNormal>
int filter_normals(FlatMesh& mesh, Mesh_R::Face& faces, Worker& worker, NormalStage& stage,
                   const Barrier& barrier, NewNormal new_normal) {
  NeighbourFinder finder(mesh, stage.counts);
  ChunkNeighbourhoods own;
  int now = 0;
  for (int i = 0; i < stage.iterations; ++i) {
    const RawArray<Vec3f>& from = mesh.normals[now];
    RawArray<Vec3f>& to = mesh.normals[1 - now];
    worker.take_chunks([&](Range range, int chunk) {
      const bool keeps = !stage.kept.empty();
      ChunkNeighbourhoods& around = keeps ? stage.kept[static_cast<std::size_t>(chunk)] : own;
      const bool listed = i == 0 || !keeps ? finder.collect(range, around) : !around.empty();
      for_each_in(faces.records, range.begin, range.end, [&](int f, const Mesh_R::_face& face) {
        const bool deleted = face.state == Mesh_R::kStateDeleted;
        to[f] = deleted  ? from[f]
                : listed ? new_normal(f, from, around.of(f - range.begin))
                         : new_normal(f, from, finder.alone(f));
      });
    });
    barrier.arrive();
    worker.take_chunks([&](Range range, int) {
      for_each_in(faces.records, range.begin, range.end,
                  [&](int f, Mesh_R::_face& face) { face.vector = to[f]; });
    });
    barrier.arrive();
    now = 1 - now;
  }
  return now;
}

// centroid(sum of the corners) of each face of a range.
template <typename Centroid>
void refresh_centroids(FlatMesh& mesh, Range range, const RawArray<Vec3f>& points,
                       Centroid centroid) {
  for (int f = range.begin; f < range.end; ++f) {
    const FaceCorners& c = mesh.corners[f];
    mesh.centroids[f] = centroid(add(add(points[c[0]], points[c[1]]), points[c[2]]));
  }
}

inline void write_points(Mesh_R::Vertex& vertices, Range range, const RawArray<Vec3f>& points) {
  for_each_in(vertices.records, range.begin, range.end,
              [&](int i, Mesh_R::_vert& vert) { vert.point = points[i]; });
}

}  // namespace scanmesh

#endif  // SCANMESH_SMOOTHING_FLAT_MESH_H
