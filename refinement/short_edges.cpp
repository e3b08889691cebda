// Collapsing edges that are short for the resolution of the scan, and the needles that are left.
#include <algorithm>
#include <cstddef>
#include <vector>

#include "core/face_building.h"
#include "core/live_records.h"
#include "core/vector_math.h"
#include "scanmesh/mesh.h"

namespace Mesh_M {

using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;
using scanmesh::Vec3f;

namespace {

constexpr double kShortShare = 0.55;
// Of 177 degrees: sharper than this a corner is a needle's.
constexpr double kNeedleCosine = -0.9986295347545738;

// The square of a share of the resolution; product and square round to float.
float short_limit(float resolution) {
  const auto length = static_cast<float>(kShortShare * resolution);
  return length * length;
}

double squared_length(const _edge& edge) {
  const Vec3f& a = edge.vert[0]->point;
  const Vec3f& b = edge.vert[1]->point;
  const double x = static_cast<double>(a.x) - b.x;
  const double y = static_cast<double>(a.y) - b.y;
  const double z = static_cast<double>(a.z) - b.z;
  return x * x + y * y + z * z;
}

std::vector<_face*> copy_of(_face** faces, int count) {
  return faces == nullptr ? std::vector<_face*>() : std::vector<_face*>(faces, faces + count);
}

class ShortEdges {
 public:
  explicit ShortEdges(Mesh& mesh)
      : mesh_(mesh),
        coarse_(short_limit(mesh.resolution.resolution)),
        fine_(short_limit(mesh.resolution.resolution_fine)) {}

  void collapse() {
    // The count grows: moved faces bring edges of their own.
    for (int i = 0; i < mesh_.edge.get_edgenum(); ++i) {
      _edge* const edge = mesh_.edge[i];
      if (edge->state == Mesh_R::kStateDeleted) continue;
      const bool fine = counts_as_fine(*edge);
      if (squared_length(*edge) < (fine ? fine_ : coarse_)) collapse(edge, fine);
    }
  }

 private:
  bool counts_as_fine(const _edge& edge) const {
    return mesh_.resolution.enabled &&
           ((edge.vert[0]->tag | edge.vert[1]->tag) & Mesh_R::kTagFine) != 0;
  }

  void collapse(_edge* edge, bool fine) {
    const bool second = edge->vert[1]->face_num > edge->vert[0]->face_num;
    _vert* const keep = edge->vert[second ? 1 : 0];
    _vert* const gone = edge->vert[second ? 0 : 1];
    keep->point = scanmesh::scaled(scanmesh::add(keep->point, gone->point), 0.5);
    if (fine) keep->tag = static_cast<uint8_t>(keep->tag | gone->tag);
    for (_face* face : copy_of(edge->face, edge->face_num)) mesh_.face.dele_face(face);
    for (_face* face : copy_of(gone->face, gone->face_num)) {
      move(face, gone, keep);
      mesh_.face.dele_face(face);
    }
    drop_if_bare(edge);
  }

  // A face like this one, with `keep` in the place of `gone`.
  void move(const _face* face, const _vert* gone, _vert* keep) {
    _vert* corner[3];
    for (int k = 0; k < 3; ++k) corner[k] = face->vert[k] == gone ? keep : face->vert[k];
    if (corner[0] == corner[1] || corner[1] == corner[2] || corner[2] == corner[0]) return;
    // Where flips have left two edges between the same ends, the faces of the second can take the
    // last face of a corner along: it has no lists any more that could name a new face.
    for (const _vert* vert : corner) {
      if (vert->state == Mesh_R::kStateDeleted) return;
    }
    Vec3f normal = face->vector;
    if (mesh_.resolution.enabled) {
      mesh_.insert_face2(corner[0], corner[1], corner[2], normal);
    } else {
      mesh_.insert_face(corner[0], corner[1], corner[2], normal);
    }
  }

  // An edge that had no face to begin with would stay behind, at a vertex that has gone.
  void drop_if_bare(_edge* edge) {
    if (edge->state == Mesh_R::kStateDeleted || edge->face_num > 0) return;
    for (_vert* end : edge->vert) mesh_.edge.dele_vert(end, edge);
    mesh_.edge.recover_mem(edge);
  }

  Mesh& mesh_;
  float coarse_;
  float fine_;
};

Vec3f towards(const _vert* vert, int edge) {
  const Vec3f& end = scanmesh::far_end(vert->edge[edge], vert)->point;
  return scanmesh::unit_or_zero(scanmesh::sub(end, vert->point));
}

bool is_needle(const Vec3f& u, const Vec3f& v) {
  return scanmesh::dot_double(u, v) < kNeedleCosine;
}

// The tip of a boundary face that hardly opens, or hangs on an edge of too many faces.
void cut_tip(Mesh& mesh, const _vert* vert) {
  _face* const face = vert->face[0];
  const bool crowded =
      std::any_of(face->edge, face->edge + 3, [](const _edge* edge) { return edge->face_num > 2; });
  if (crowded || is_needle(towards(vert, 0), towards(vert, 1))) mesh.face.dele_face(face);
}

// Three faces round a vertex that lies almost on the line between two of its neighbours.
void merge_three(Mesh& mesh, const _vert* vert) {
  const Vec3f u[3] = {towards(vert, 0), towards(vert, 1), towards(vert, 2)};
  if (!is_needle(u[0], u[1]) && !is_needle(u[1], u[2]) && !is_needle(u[0], u[2])) return;
  const std::vector<_face*> old = copy_of(vert->face, vert->face_num);
  _vert* const p = scanmesh::far_end(vert->edge[0], vert);
  _vert* q = scanmesh::far_end(vert->edge[1], vert);
  _vert* r = scanmesh::far_end(vert->edge[2], vert);
  Vec3f normal = old[0]->vector;
  const Vec3f turn = scanmesh::corner_cross(p->point, q->point, r->point);
  if (!(scanmesh::dot(turn, normal) > 0)) std::swap(q, r);
  mesh.insert_face2(p, q, r, normal);
  for (_face* face : old) mesh.face.dele_face(face);
}

}  // namespace

void Mesh::collapse_short_edges() {
  ShortEdges(*this).collapse();
  scanmesh::for_each_live(vertex.records, [this](const _vert& vert) {
    if (vert.face_num == 1 && vert.edge_num == 2) {
      cut_tip(*this, &vert);
    } else if (vert.face_num == 3 && vert.edge_num == 3) {
      merge_three(*this, &vert);
    }
  });
}

}  // namespace Mesh_M
