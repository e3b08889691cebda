// The surroundings of a ring, as the patch maker sees them.
#include "core/face_building.h"
#include "holes/patch_insertion.h"

namespace scanmesh {

namespace {

using Mesh_R::_face;
using Mesh_R::_vert;

// Taken faces carry a negative state until the collection is whole.
void take_faces_of(const _vert* vert, std::vector<_face*>& faces) {
  for (int i = 0; i < vert->face_num; ++i) {
    _face* const face = vert->face[i];
    if (face->state < 0) continue;
    flip_state(face);
    faces.push_back(face);
  }
}

void clear_marks(const std::vector<_face*>& faces) {
  for (_face* face : faces) flip_state(face);
}

bool hangs_on_nothing(const _face* face) {
  for (const Mesh_R::_edge* edge : face->edge) {
    if (edge->face_num != 1) return false;
  }
  return true;
}

}  // namespace

std::vector<_face*> faces_at(const std::vector<_vert*>& ring) {
  std::vector<_face*> faces;
  for (const _vert* vert : ring) take_faces_of(vert, faces);
  clear_marks(faces);
  return faces;
}

std::vector<_face*> grow_region(const std::vector<_face*>& seed, int rounds) {
  std::vector<_face*> region = seed;
  for (int round = 0; round < rounds; ++round) {
    std::vector<_face*> grown;
    for (const _face* face : region) {
      for (const _vert* vert : face->vert) take_faces_of(vert, grown);
    }
    clear_marks(grown);
    region.clear();
    for (_face* face : grown) {
      if (!hangs_on_nothing(face)) region.push_back(face);
    }
  }
  return region;
}

}  // namespace scanmesh
