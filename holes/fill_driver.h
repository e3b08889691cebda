// What the two fill procedures share, and the relaxations that they use.
#ifndef SCANMESH_HOLES_FILL_DRIVER_H
#define SCANMESH_HOLES_FILL_DRIVER_H

#include <vector>

#include "core/vector_math.h"
#include "scanmesh/hole.h"

namespace scanmesh {

// How far around the hole to look (in rings of vertices), and how often to relax what is found
// there.
struct FillScale {
  int rings;  // for the anchors
  int smooth;
  int rings2;  // for the surroundings that stay moved
  int smooth2;
};

// `f` is half of the scan's spacing, mesh units.
FillScale fill_scale(float f);

// The step at which vertices of a neighbourhood become anchors, so that there are about 300 in all.
int anchor_stride(std::size_t vertices);

// Moves every vertex to the mean of its neighbours, all at once, `iterations` times.
void laplacian_hole_vert(const std::vector<Mesh_R::_vert*>& verts, int iterations);

// The mean of the far ends of the vertex's edges that are finite, summed in double; its own place
// when it has none.
Vec3f neighbour_mean(const Mesh_R::_vert* vert);

// Deletes the added faces that have a free edge, left at the patch's rim. Each is looked at once,
// in list order: a removal frees edges of later faces, which go too, and of earlier ones, which
// stay.
void remove_leftovers(Mesh_R::Hole& finder);

}  // namespace scanmesh

#endif  // SCANMESH_HOLES_FILL_DRIVER_H
