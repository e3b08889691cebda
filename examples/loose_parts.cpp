#include "loose_parts.h"

#include <algorithm>
#include <vector>

namespace demo {
namespace {

constexpr int kDeleted = 3;  // of a record's state; every other value is live

using Part = std::vector<Mesh_R::_face*>;

// All faces that hang together with `seed` through vertices. A negative state marks a record as
// visited: the library's own way, which needs no set and is turned back in the end.
Part part_of(Mesh_R::_face* seed) {
  Part part{seed};
  seed->state = static_cast<std::int16_t>(-seed->state);
  for (std::size_t next = 0; next < part.size(); ++next) {
    for (Mesh_R::_vert* const vert : part[next]->vert) {
      for (int i = 0; i < vert->face_num; ++i) {
        Mesh_R::_face* const neighbour = vert->face[i];
        if (neighbour->state < 0) continue;
        neighbour->state = static_cast<std::int16_t>(-neighbour->state);
        part.push_back(neighbour);
      }
    }
  }
  return part;
}

}  // namespace

int drop_loose_parts(Mesh_M::Mesh& mesh, int limit) {
  std::vector<Part> parts;
  for (int i = 0; i < mesh.face.get_facenum(); ++i) {
    Mesh_R::_face* const face = mesh.face[i];
    if (face->state != kDeleted && face->state > 0) parts.push_back(part_of(face));
  }
  const auto largest = std::max_element(
      parts.begin(), parts.end(), [](const Part& a, const Part& b) { return a.size() < b.size(); });
  int dropped = 0;
  for (auto part = parts.begin(); part != parts.end(); ++part) {
    for (Mesh_R::_face* const face : *part) face->state = static_cast<std::int16_t>(-face->state);
    if (part == largest || static_cast<int>(part->size()) >= limit) continue;
    // Takes edges and vertices along with their last face.
    for (Mesh_R::_face* const face : *part) mesh.face.dele_face(face);
    dropped += static_cast<int>(part->size());
  }
  return dropped;
}

}  // namespace demo
