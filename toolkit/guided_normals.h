// Normals of faces, freed of noise with edges kept.
#ifndef SCANMESH_TOOLKIT_GUIDED_NORMALS_H
#define SCANMESH_TOOLKIT_GUIDED_NORMALS_H

#include <vector>

#include "scanmesh/toolkit/triangle_mesh.h"
#include "toolkit/face_graph.h"

namespace scanmesh {

// Guided filtering (Zhang, Deng, Zhang, Bouaziz, Liu 2015): a face takes the weighted mean of the
// normals around it. A neighbour's weight falls with its distance and with the difference of its
// guidance normal, which is the mean over the most even patch that holds the face: a patch on one
// side of an edge, where there is one.
class GuidedNormals {
 public:
  GuidedNormals(const std::vector<Triangle>& triangles, const FaceGraph& graph,
                const FaceMeasures& faces);

  // One round: new normals for faces as they are. `range` is the difference of guidance normals at
  // which a weight has fallen to 0.61.
  std::vector<Point> filtered(const FaceMeasures& faces, double range) const;

 private:
  struct Patch {
    Point mean;         // unit normal
    double unevenness;  // 0 in a plane
  };
  struct EdgeSums {
    double sum = 0;
    double most = 0;
  };

  std::vector<Point> guidance(const FaceMeasures& faces) const;
  std::vector<Patch> patches(const FaceMeasures& faces) const;
  std::vector<EdgeSums> edges_at_points(const FaceMeasures& faces) const;
  double across(const FaceMeasures& faces, std::size_t side) const;

  const std::vector<Triangle>& triangles_;
  const FaceGraph& graph_;
  Lists near_;
  double spatial_;
};

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_GUIDED_NORMALS_H
