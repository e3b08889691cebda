// The surroundings of a ring, as the patch maker sees them.
#include "core/face_building.h"
#include "holes/patch_insertion.h"

namespace scanmesh {

namespace {

using Mesh_R::_face;
using Mesh_R::_vert;

// Taken faces, and vertices that were looked at, carry a negative state until a round is over.
void take_faces_of(const _vert* vert, std::vector<_face*>& faces) {
  for (int i = 0; i < vert->face_num; ++i) {
    _face* const face = vert->face[i];
    if (face->state < 0) continue;
    flip_state(face);
    faces.push_back(face);
  }
}

template <typename Record>
void clear_marks(const std::vector<Record*>& records) {
  for (Record* record : records) flip_state(record);
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
    std::vector<_vert*> looked_at;
    for (const _face* face : region) {
      for (_vert* vert : face->vert) {
        // All that a vertex has was taken when it first came up.
        if (vert->state < 0) continue;
        flip_state(vert);
        looked_at.push_back(vert);
        take_faces_of(vert, grown);
      }
    }
    clear_marks(grown);
    clear_marks(looked_at);
    region.clear();
    for (_face* face : grown) {
      if (!hangs_on_nothing(face)) region.push_back(face);
    }
  }
  return region;
}

}  // namespace scanmesh
