#include "smoothing/curvature_cache.h"

#include <cmath>
#include <cstddef>
#include <limits>

#include "core/face_building.h"

namespace scanmesh {

namespace {

using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;
using Mesh_R::kStateDeleted;

constexpr double kUnknown = std::numeric_limits<double>::quiet_NaN();
constexpr Places kNothingMoved = {nullptr, nullptr};

// Where a term is kept; null for a record that came later.
template <typename Term, typename Store, typename Record>
Term* place_of(std::vector<Term>& terms, std::size_t per_record, Store& store,
               RecordNumbers<Record>& number, const Record* record) {
  const auto i = static_cast<std::size_t>(number(record));
  if (i * per_record >= terms.size() || store[static_cast<int>(i)] != record) return nullptr;
  return &terms[i * per_record];
}

}  // namespace

CurvatureCache::CurvatureCache(Mesh_R::Edge& edges, Mesh_R::Face& faces)
    : edges_(edges),
      faces_(faces),
      edge_number_(edges.records),
      face_number_(faces.records),
      corners_(3 * static_cast<std::size_t>(faces.get_facenum()), CornerTerm{kUnknown, kUnknown}),
      bending_(static_cast<std::size_t>(edges.get_edgenum()), kUnknown) {}

std::pair<double, double> CurvatureCache::with_moved(const _vert* at, const _vert* moved,
                                                     const Vec3f& place) {
  const Places places = {moved, &place};
  CornerTerm corners;
  for (int i = 0; i < at->face_num; ++i) {
    const _face* const face = at->face[i];
    const int corner = corner_of(face, at);
    if (face->state == kStateDeleted || corner < 0) continue;
    const bool changed = corner_of(face, moved) >= 0;
    const CornerTerm term =
        changed ? corner_term(face, corner, places) : known_corner(face, corner);
    corners.angle += term.angle;
    corners.area += term.area;
  }
  double bending = 0;
  for (int i = 0; i < at->edge_num; ++i) {
    const _edge* const edge = at->edge[i];
    if (!bends(edge)) continue;
    const bool changed = touches(edge, moved) || corner_of(edge->face[0], moved) >= 0 ||
                         corner_of(edge->face[1], moved) >= 0;
    bending += changed ? bending_term(edge, false, places) : known_bending(edge);
  }
  return curvature_of(corners, bending, false);
}

void CurvatureCache::forget(const _face* face) {
  CornerTerm* const corners = place_of(corners_, 3, faces_, face_number_, face);
  for (int i = 0; i < 3; ++i) {
    if (corners != nullptr) corners[i].angle = kUnknown;
    double* const bending = place_of(bending_, 1, edges_, edge_number_, face->edge[i]);
    if (bending != nullptr) *bending = kUnknown;
  }
}

CornerTerm CurvatureCache::known_corner(const _face* face, int i) {
  CornerTerm* const kept = place_of(corners_, 3, faces_, face_number_, face);
  if (kept == nullptr) return corner_term(face, i, kNothingMoved);
  if (std::isnan(kept[i].angle)) kept[i] = corner_term(face, i, kNothingMoved);
  return kept[i];
}

double CurvatureCache::known_bending(const _edge* edge) {
  double* const kept = place_of(bending_, 1, edges_, edge_number_, edge);
  if (kept == nullptr) return bending_term(edge, false, kNothingMoved);
  if (std::isnan(*kept)) *kept = bending_term(edge, false, kNothingMoved);
  return *kept;
}

}  // namespace scanmesh
