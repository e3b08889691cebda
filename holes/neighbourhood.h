// The vertices around a hole.
#ifndef SCANMESH_HOLES_NEIGHBOURHOOD_H
#define SCANMESH_HOLES_NEIGHBOURHOOD_H

#include <vector>

#include "scanmesh/hole.h"

namespace scanmesh {

// Breadth first from the ring outwards, `rings` deep; 1 and less give the ring's vertices alone.
std::vector<Mesh_R::_vert*> vertices_around(const Mesh_R::_hole* ring, int rings);

// Every `stride`-th, from the first on.
std::vector<Mesh_R::_vert*> thinned(const std::vector<Mesh_R::_vert*>& verts, int stride);

}  // namespace scanmesh

#endif  // SCANMESH_HOLES_NEIGHBOURHOOD_H
