// What the three forms of stitching share: the further samples on coarse edges, the band of faces
// that may go, the states that the kept faces leave.
#ifndef SCANMESH_PIVOTING_STITCHING_H
#define SCANMESH_PIVOTING_STITCHING_H

#include <vector>

#include "core/live_records.h"
#include "core/vector_math.h"
#include "scanmesh/mesh.h"

namespace scanmesh {

// Bits of a vertex tag, as scanning applications set them.
constexpr int kTagSeam = 0x80;

// How much coarser one side of a seam is.
enum class Seam { kOther = 1, kFourfold = 2, kEightfold = 3 };
Seam seam_of(const Mesh_M::mesh_resolution_param& resolution);

inline bool is_open(const Mesh_R::_edge& edge) {
  return edge.face_num == 1 && edge.state != Mesh_R::kStateDeleted;
}

// The middle of an edge: the sum in float, half of it in double.
Vec3f sample_between(const Mesh_R::_edge& edge);

// A new vertex in the store with the first end's normal and the tags of both ends.
Mesh_R::_vert* add_sample(Mesh_R::Vertex& store, const Mesh_R::_edge& edge, Vec3f point);

// Calls add(edge, point) for each further sample that the open edges of a seam get, so that a
// coarse edge can meet fine vertices: one in the middle, or two at the thirds.
template <typename Add>
void densify(Mesh_R::Edge& edges, Seam seam, Add add);

// Which faces touch the boundary or are one ring away from it.
class BoundaryBand {
 public:
  explicit BoundaryBand(Mesh_M::Mesh& mesh);
  bool contains(const Mesh_R::_face& face) const;

 private:
  Mesh_R::Vertex& vertices_;
  std::vector<char> near_;  // per vertex record: corner of a face with an open edge
};

// Vertices of edges with two faces become inner ones, then those of open edges join the front.
// Returns the open edges.
std::vector<Mesh_R::_edge*> mark_states(Mesh_R::Edge& edges);

// The first point to be tried as a seed. Hosts' meshes depend on it: with no open edge among the
// kept faces, point 0 is none.
inline std::size_t first_seed(const std::vector<Mesh_R::_edge*>& open_edges) {
  return open_edges.empty() ? 1 : 0;
}

// Lets the mesh's hole finder know the mesh's stores again.
void bind_hole(Mesh_M::Mesh& mesh);

// Coarse edges at a seam: 0x80 at one end or both, and 0x20 at none.
inline bool wants_samples(const Mesh_R::_edge& edge) {
  const int tags = edge.vert[0]->tag | edge.vert[1]->tag;
  return is_open(edge) && (tags & (kTagSeam | Mesh_R::kTagFine)) == kTagSeam;
}

// Both thirds of an edge, the one nearer to the second end first.
struct Thirds {
  Vec3f first;
  Vec3f second;
};
Thirds thirds_of(const Mesh_R::_edge& edge);

template <typename Add>
void densify(Mesh_R::Edge& edges, Seam seam, Add add) {
  if (seam == Seam::kOther) return;
  for_each_live(edges.records, [&](Mesh_R::_edge& edge) {
    if (!wants_samples(edge)) return;
    if (seam == Seam::kFourfold) {
      add(edge, sample_between(edge));
      return;
    }
    const Thirds thirds = thirds_of(edge);
    add(edge, thirds.first);
    add(edge, thirds.second);
  });
}

}  // namespace scanmesh

#endif  // SCANMESH_PIVOTING_STITCHING_H
