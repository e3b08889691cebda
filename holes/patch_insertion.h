// Handing a ring with its surroundings to the patch maker, and entering what comes back.
#ifndef SCANMESH_HOLES_PATCH_INSERTION_H
#define SCANMESH_HOLES_PATCH_INSERTION_H

#include <vector>

#include "holes/position_table.h"
#include "scanmesh/cavity_patcher.h"
#include "scanmesh/stores.h"

namespace scanmesh {

// The faces around a ring, without repeats: those at the ring, then grown `rounds` times over the
// corners of what was there. Growing leaves out faces that hang on nothing.
std::vector<Mesh_R::_face*> grow_region(const std::vector<Mesh_R::_face*>& seed, int rounds);

// The faces at the ring's vertices, without repeats.
std::vector<Mesh_R::_face*> faces_at(const std::vector<Mesh_R::_vert*>& ring);

// Which ring vertex each place stands for: the first within 0.001 on every axis, or else the
// nearest.
class RingMatcher {
 public:
  explicit RingMatcher(const std::vector<Mesh_R::_vert*>& ring);
  Mesh_R::_vert* match(const Mesh_M::MyPoint3& place) const;

 private:
  const std::vector<Mesh_R::_vert*>& ring_;
  PositionTable table_;
};

}  // namespace scanmesh

#endif  // SCANMESH_HOLES_PATCH_INSERTION_H
