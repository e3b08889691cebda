#include "holes/patch_collapse.h"

#include <array>
#include <vector>

#include "core/face_building.h"
#include "core/vector_math.h"

namespace scanmesh {

namespace {

using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;
using Mesh_R::kStateDeleted;

// Cosine of 30 degrees: sharper corners make needles.
constexpr double kNeedleCosine = 0.8660254037844386;
constexpr int kHighestState = 11;

using Triple = std::array<_vert*, 3>;

bool collapsible(const _edge* edge) {
  if (edge == nullptr || edge->state < 0 || edge->state == kStateDeleted ||
      edge->state > kHighestState || edge->face_cap == 0) {
    return false;
  }
  for (const _vert* vert : edge->vert) {
    if (vert == nullptr || vert->state < 0) return false;
  }
  return true;
}

// The cosine of the corner across from the edge in its first face. Where there is none, the value
// of the edge looked at before stands.
void update_corner(const _edge* edge, double& cosine) {
  if (edge->face_num < 1) return;
  for (const _vert* apex : edge->face[0]->vert) {
    if (apex == nullptr || touches(edge, apex)) continue;
    cosine = dot_double(unit_or_zero(sub(apex->point, edge->vert[1]->point)),
                        unit_or_zero(sub(apex->point, edge->vert[0]->point)));
    return;
  }
}

bool wants_collapse(const _edge* edge, double half_target, double& cosine) {
  const auto len = static_cast<float>(distance(edge->vert[0]->point, edge->vert[1]->point));
  if (len < half_target) return true;
  update_corner(edge, cosine);
  return cosine > kNeedleCosine;
}

void take_faces(Mesh_R::Face& store, const _vert* vert, std::vector<Triple>& triples) {
  const std::vector<_face*> faces(vert->face, vert->face + vert->face_num);
  for (_face* face : faces) {
    if (face->state == kStateDeleted) continue;
    triples.push_back({face->vert[0], face->vert[1], face->vert[2]});
    store.dele_face(face);
  }
}

// The pair becomes one vertex at the place of the second end, not in the middle.
void collapse(Mesh_R::Hole& finder, _vert* a, _vert* b) {
  Vec3f place = b->point;
  _vert* const merged = finder.vert_store->insert_vert(place);
  b->vector = normalized(b->vector, kTinyNormal);
  merged->vector = b->vector;
  finder.added_verts.allocate_mem() = merged;
  std::vector<Triple> triples;
  take_faces(*finder.face_store, a, triples);
  take_faces(*finder.face_store, b, triples);
  for (Triple& triple : triples) {
    for (_vert*& corner : triple) {
      if (corner != a && corner != b) continue;
      corner = merged;
      break;
    }
    // Faces over both ends vanish with the end that is left in them.
    add_patch_face(finder, triple[0], triple[1], triple[2]);
  }
}

}  // namespace

void collapse_short_edges(Mesh_R::Hole& finder, double target) {
  MemS::MemAllo<_edge*>& edges = finder.added_edges;
  const double half_target = target * 0.5;
  double cosine = 0;
  // The bound begins as the number of ring edges found, whatever was added, and follows the list
  // from the first collapse on.
  int bound = edges.size() == 0 ? 0 : finder.edge_total;
  for (int i = 0; i < bound; ++i) {
    if (i >= edges.size()) break;
    const _edge* const edge = edges[i];
    if (!collapsible(edge) || !wants_collapse(edge, half_target, cosine)) continue;
    collapse(finder, edge->vert[0], edge->vert[1]);
    bound = edges.size();
  }
}

void add_patch_face(Mesh_R::Hole& finder, _vert* a, _vert* b, _vert* c) {
  if (a == b || b == c || a == c) return;
  for (const _vert* vert : {a, b, c}) {
    if (vert->state == kStateDeleted) return;
  }
  finder.add_face(a, b, c, 1);
}

}  // namespace scanmesh
