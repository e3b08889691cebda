// The two fill procedures: the one through the patch maker, and the one that builds its patch by
// clipping, edge refinement and projection.
#include "holes/fill_driver.h"

#include <algorithm>
#include <cmath>

#include "core/face_building.h"
#include "holes/neighbourhood.h"
#include "holes/rbf_projection.h"
#include "holes/ring_records.h"

namespace scanmesh {

namespace {

struct ScaleRow {
  double below;
  int rings;
  int smooth;
};
constexpr ScaleRow kAnchorRows[] = {
    {0.1, 35, 25}, {0.21, 15, 15}, {0.41, 6, 3}, {0.61, 4, 2}, {10.0, 3, 1}};
constexpr ScaleRow kAnchorRest = {0, 0, 3};
constexpr ScaleRow kSurroundRows[] = {{0.3, 6, 8}, {0.61, 3, 2}, {10.0, 2, 1}};

template <std::size_t N>
const ScaleRow& row_for(const ScaleRow (&rows)[N], double spacing, const ScaleRow& rest) {
  for (const ScaleRow& row : rows) {
    if (spacing < row.below) return row;
  }
  return rest;
}

}  // namespace

FillScale fill_scale(float f) {
  // The sum rounds to float before it meets the double thresholds: twice 0.05F falls past 0.1.
  const float sum = f + f;
  const double spacing = sum;
  const ScaleRow& anchors = row_for(kAnchorRows, spacing, kAnchorRest);
  const ScaleRow& surround = row_for(kSurroundRows, spacing, anchors);
  return {anchors.rings, anchors.smooth, surround.rings, surround.smooth};
}

int anchor_stride(std::size_t vertices) {
  const std::size_t stride = vertices / 300;
  if (stride == 0) return 1;
  return stride == 1 ? 2 : static_cast<int>(stride);
}

Vec3f neighbour_mean(const Mesh_R::_vert* vert) {
  int count = 0;
  double x = 0;
  double y = 0;
  double z = 0;
  for (int i = 0; i < vert->edge_num; ++i) {
    const Vec3f& far = far_end(vert->edge[i], vert)->point;
    if (!finite(far)) continue;
    x += far.x;
    y += far.y;
    z += far.z;
    ++count;
  }
  if (count == 0) return vert->point;
  return {static_cast<float>(x / count), static_cast<float>(y / count),
          static_cast<float>(z / count)};
}

void laplacian_hole_vert(const std::vector<Mesh_R::_vert*>& verts, int iterations) {
  std::vector<Vec3f> means(verts.size());
  for (int round = 0; round < iterations; ++round) {
    for (std::size_t i = 0; i < verts.size(); ++i) means[i] = neighbour_mean(verts[i]);
    for (std::size_t i = 0; i < verts.size(); ++i) verts[i]->point = means[i];
  }
}

void remove_leftovers(Mesh_R::Hole& finder) {
  for (int i = 0, n = finder.added_faces.size(); i < n; ++i) {
    Mesh_R::_face* const face = finder.added_faces[i];
    if (face->state == Mesh_R::kStateDeleted) continue;
    const auto free_edge = [](const Mesh_R::_edge* edge) { return edge->face_num == 1; };
    if (std::any_of(face->edge, face->edge + 3, free_edge)) finder.face_store->dele_face(face);
  }
}

}  // namespace scanmesh

namespace Mesh_R {

namespace {

using scanmesh::FillScale;
using scanmesh::Vec3f;

constexpr std::size_t kFewestAnchors = 120;
constexpr double kAnchorOffset = 0.2;
constexpr double kRefinedLength = 0.75;
constexpr int kPatchRelaxations = 10;

// What both procedures begin with.
struct Opening {
  std::vector<_edge*> edges;
  int first_face = 0;  // face slots from here on are new
  double perimeter = 0;
  FillScale scale{};
  std::vector<_vert*> around;  // the neighbourhood
  std::vector<_vert*> base;    // its thinned form, on which the anchors stand
};

Opening open_fill(Hole& finder, float f, _hole* hole, int rings3) {
  Opening opening;
  opening.edges = scanmesh::ring_edges(hole);
  finder.Determine_fill_hole();
  finder.last_hole = hole;
  opening.first_face = finder.face_store->get_facenum();
  for (const _edge* edge : opening.edges) {
    opening.perimeter += scanmesh::distance(edge->vert[0]->point, edge->vert[1]->point);
  }
  opening.scale = scanmesh::fill_scale(f);
  opening.around = scanmesh::vertices_around(hole, opening.scale.rings);
  opening.base = scanmesh::thinned(opening.around, scanmesh::anchor_stride(opening.around.size()));
  if (opening.base.size() < kFewestAnchors) {
    opening.base = scanmesh::thinned(scanmesh::vertices_around(hole, rings3 + 1), 2);
  }
  return opening;
}

// What new edges aim at. Edges without a length don't count.
double refined_length(const Opening& opening) {
  if (std::isfinite(opening.perimeter)) {
    return kRefinedLength * opening.perimeter / static_cast<double>(opening.edges.size());
  }
  double sum = 0;
  int count = 0;
  for (const _edge* edge : opening.edges) {
    const double length = scanmesh::distance(edge->vert[0]->point, edge->vert[1]->point);
    if (!std::isfinite(length)) continue;
    sum += length;
    ++count;
  }
  return kRefinedLength * sum / count;
}

void normalize_normals(const std::vector<_vert*>& verts) {
  for (_vert* vert : verts) {
    vert->vector = scanmesh::normalized(vert->vector, scanmesh::kTinyNormal);
  }
}

// Places on the surface, and the same moved outwards.
struct Anchors {
  std::vector<Vec3f> on;
  std::vector<Vec3f> off;
};

// Normals have unit length. One anchor that isn't finite would leave no surface at all.
Anchors make_anchors(const std::vector<_vert*>& verts) {
  Anchors anchors;
  for (const _vert* vert : verts) {
    if (!scanmesh::finite(vert->point) || !scanmesh::finite(vert->vector)) continue;
    anchors.on.push_back(vert->point);
    anchors.off.push_back(
        scanmesh::add(vert->point, scanmesh::scaled(vert->vector, kAnchorOffset)));
  }
  return anchors;
}

// Anchors come from a smoothed copy of the neighbourhood; the vertices themselves go back.
Anchors smoothed_anchors(const Opening& opening) {
  std::vector<Vec3f> saved;
  saved.reserve(opening.around.size());
  for (const _vert* vert : opening.around) saved.push_back(vert->point);
  scanmesh::laplacian_hole_vert(opening.around, opening.scale.smooth);
  normalize_normals(opening.base);
  Anchors anchors = make_anchors(opening.base);
  for (std::size_t i = 0; i < saved.size(); ++i) opening.around[i]->point = saved[i];
  return anchors;
}

void refresh_faces_around(Face& faces, const _vert* vert) {
  for (int i = 0; i < vert->face_num; ++i) faces.refresh_vector(vert->face[i]);
}

// The same for two lists. A second refresh of a face would change nothing, so each has one.
void refresh_faces_once(Face& faces, const std::vector<_vert*>& verts,
                        const std::vector<_vert*>& more) {
  std::vector<_face*> done;
  for (const std::vector<_vert*>* list : {&verts, &more}) {
    for (const _vert* vert : *list) {
      for (int i = 0; i < vert->face_num; ++i) {
        _face* const face = vert->face[i];
        if (face->state < 0) continue;
        faces.refresh_vector(face);
        scanmesh::flip_state(face);
        done.push_back(face);
      }
    }
  }
  for (_face* face : done) scanmesh::flip_state(face);
}

void refresh_new_faces(Face& faces, int first) {
  for (int i = first; i < faces.get_facenum(); ++i) {
    if (faces[i]->state != kStateDeleted) faces.refresh_vector(faces[i]);
  }
}

std::vector<_vert*> listed(MemS::MemAllo<_vert*>& list) {
  std::vector<_vert*> verts;
  for (int i = 0, n = list.size(); i < n; ++i) verts.push_back(list[i]);
  return verts;
}

template <typename Record>
void protect(Record* record) {
  if (record->state > 0) scanmesh::flip_state(record);
}

template <typename Record>
void release(Record* record) {
  if (record->state < 0) scanmesh::flip_state(record);
}

// Moves the patch onto the surface through the anchors, and sets normals.
void project_patch(Hole& finder, const std::vector<_vert*>& base, const Anchors& anchors) {
  Face& faces = *finder.face_store;
  const int listed_count = finder.added_verts.size();
  std::vector<Vec3f> positions(static_cast<std::size_t>(listed_count));
  std::vector<_vert*> verts(static_cast<std::size_t>(listed_count));
  int m = 0;
  for (int i = 0; i < kPatchRelaxations; ++i) {
    m = listed_count;  // every round looks at all of the list, and counts what is live of it
    finder.laplacian_buffer(positions.data(), m, verts.data());
  }
  scanmesh::RbfContext context;
  scanmesh::rbf_project_vert(context, anchors.on.data(), anchors.off.data(),
                             static_cast<int>(anchors.on.size()), positions.data(), m);
  for (int i = 0; i < m; ++i) {
    const auto k = static_cast<std::size_t>(i);
    verts[k]->point = positions[k];
    refresh_faces_around(faces, verts[k]);
  }
  for (const _vert* vert : base) refresh_faces_around(faces, vert);
  // As many as were projected, from the head of the list: entries that refinement has deleted there
  // count, so that the last of the list may keep the normal that refinement gave them.
  for (int i = 0; i < m; ++i) finder.vert_store->R_cal_vector(finder.added_verts[i]);
}

}  // namespace

void Hole::fill_Hole_Num(float f, int hole, int rings3) {
  _hole* const ring = (*this)[hole];
  if (ring == nullptr || ring->edges->size() < 1) return;
  Opening opening = open_fill(*this, f, ring, rings3);
  // The patch maker needs no anchors, so the neighbourhood isn't smoothed for them, nor is the
  // second neighbourhood collected, which lies within the first. What hosts see of the search is
  // that the normals of its base have unit length.
  normalize_normals(opening.base);
  const int n = static_cast<int>(opening.edges.size());
  MinmumAngleWaveFront(opening.edges.data(), n, static_cast<float>(opening.perimeter / n), nullptr,
                       0);
  const std::vector<_vert*> added = listed(added_verts);
  // A relaxation of the base would belong here, but `adjustVertex` gives nothing back.
  refresh_faces_once(*face_store, added, opening.base);
  for (_vert* vert : added) vert_store->R_cal_vector(vert);
  refresh_new_faces(*face_store, opening.first_face);
}

void Hole::fill_Hole_No(float f, int hole, int rings3) {
  _hole* const ring = (*this)[hole];
  if (ring == nullptr || ring->edges->size() < 1) return;
  Opening opening = open_fill(*this, f, ring, rings3);
  const Anchors anchors = smoothed_anchors(opening);
  const int n = static_cast<int>(opening.edges.size());
  const double target = refined_length(opening);
  // These moves stay for as long as the patch does: the rim is calmed before the patch is tied to
  // it.
  const std::vector<_vert*> calmed = scanmesh::vertices_around(ring, opening.scale.rings2);
  for (_vert* vert : calmed) moved_.push_back({vert, vert->point});
  scanmesh::laplacian_hole_vert(calmed, opening.scale.smooth2);
  Minimum_angle_wavefront_method(opening.edges.data(), n, false);
  for (_edge* edge : opening.edges) {
    protect(edge->vert[0]);
    protect(edge->vert[1]);
    protect(edge);
  }
  split_edge(target);
  for (_edge* edge : opening.edges) {
    release(edge->vert[0]);
    release(edge->vert[1]);
    release(edge);
  }
  project_patch(*this, opening.base, anchors);
  scanmesh::remove_leftovers(*this);
  refresh_new_faces(*face_store, opening.first_face);
}

}  // namespace Mesh_R
