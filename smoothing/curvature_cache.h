// Answers "what would the curvature be with a vertex moved?" many times over: of the terms around a
// neighbour of that vertex, half don't change, and stay known from one question to the next.
#ifndef SCANMESH_SMOOTHING_CURVATURE_CACHE_H
#define SCANMESH_SMOOTHING_CURVATURE_CACHE_H

#include <utility>
#include <vector>

#include "core/record_numbers.h"
#include "scanmesh/stores.h"
#include "smoothing/curvature_terms.h"

namespace scanmesh {

// For the records that were in the stores when it was made; later ones are worked out each time.
class CurvatureCache {
 public:
  CurvatureCache(Mesh_R::Edge& edges, Mesh_R::Face& faces);

  // The same as GetHK(at, false, false, true, moved, &place), bit for bit.
  std::pair<double, double> with_moved(const Mesh_R::_vert* at, const Mesh_R::_vert* moved,
                                       const Vec3f& place);

  // To be called for each face whose corners have moved or changed places.
  void forget(const Mesh_R::_face* face);

 private:
  CornerTerm known_corner(const Mesh_R::_face* face, int i);
  double known_bending(const Mesh_R::_edge* edge);

  Mesh_R::Edge& edges_;
  Mesh_R::Face& faces_;
  RecordNumbers<Mesh_R::_edge> edge_number_;
  RecordNumbers<Mesh_R::_face> face_number_;
  // NaN where a term isn't known.
  std::vector<CornerTerm> corners_;  // three per face
  std::vector<double> bending_;      // per edge
};

}  // namespace scanmesh

#endif  // SCANMESH_SMOOTHING_CURVATURE_CACHE_H
