// The second stage of refining a patch, and the face that both stages make.
#ifndef SCANMESH_HOLES_PATCH_COLLAPSE_H
#define SCANMESH_HOLES_PATCH_COLLAPSE_H

#include "scanmesh/hole.h"

namespace scanmesh {

// Collapses added edges shorter than half the target, and those across from a corner under 30
// degrees of their first face.
void collapse_short_edges(Mesh_R::Hole& finder, double target);

// Hole::add_face for three different live corners; anything else can't carry a face.
void add_patch_face(Mesh_R::Hole& finder, Mesh_R::_vert* a, Mesh_R::_vert* b, Mesh_R::_vert* c);

}  // namespace scanmesh

#endif  // SCANMESH_HOLES_PATCH_COLLAPSE_H
