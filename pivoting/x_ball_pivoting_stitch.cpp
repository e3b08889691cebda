// Stitching in place, and from one mesh into another.

#include "core/face_building.h"
#include "core/messages.h"
#include "core/platform.h"
#include "pivoting/x_ball_pivoting_traits.h"

namespace xbpa {

using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;
using scanmesh::BoundaryBand;
using scanmesh::Seam;
using scanmesh::Vec3f;

namespace {

constexpr std::size_t kFaceListRoom = 10000;

constexpr double kFourfoldRadii[scanmesh::kRadii] = {0.2, 0.35, 0.5, 0.8, 1.1};
constexpr double kEightfoldRadii[scanmesh::kRadii] = {0.1, 0.3, 0.5, 0.8, 1.1};
constexpr double kSeamReach = 2;

void begin(XBallPivoting& self, const Mesh_M::mesh_resolution_param& resolution) {
  self.init(resolution.resolution);
  self.nodes.clear();
  // Hosts' logs hold this line, as those below.
  scanmesh::Message() << "res_param:" << resolution.resolution << " " << resolution.resolution_fine
                      << "\n";
}

// Only the band in the region of bit 0x80 goes, whatever bit 0x20 says.
bool goes(const BoundaryBand& band, const _face& face) {
  const int tags = face.vert[0]->tag | face.vert[1]->tag | face.vert[2]->tag;
  return (tags & scanmesh::kTagSeam) != 0 && band.contains(face);
}

// The edge of a tip that gets a sample, too: the only one of three that isn't open. Null without a
// seam, and for any other face.
const _edge* inner_edge_of_tip(const _face& face, Seam seam) {
  if (seam == Seam::kOther) return nullptr;
  const _edge* inner = nullptr;
  int open = 0;
  for (const _edge* edge : face.edge) {
    if (scanmesh::is_open(*edge)) {
      ++open;
    } else {
      inner = edge;
    }
  }
  return open == 2 ? inner : nullptr;
}

// ---- In place
// -------------------------------------------------------------------------------------

// The faces that go; the others are counted.
std::vector<_face*> choose_faces(Mesh_M::Mesh& mesh, Seam seam, int& kept_count) {
  const BoundaryBand band(mesh);
  std::vector<_face*> chosen;
  chosen.reserve(kFaceListRoom);
  scanmesh::for_each_live(mesh.face.records, [&](_face& face) {
    if (!goes(band, face)) {
      ++kept_count;
      return;
    }
    if (const _edge* const inner = inner_edge_of_tip(face, seam)) {
      scanmesh::add_sample(mesh.vertex, *inner, scanmesh::sample_between(*inner));
    }
    chosen.push_back(&face);
  });
  return chosen;
}

void delete_faces(Mesh_M::Mesh& mesh, const std::vector<_face*>& faces) {
  for (_face* face : faces) {
    mesh.face.dele_face(face);
    for (_vert* corner : face->vert) {
      if (corner->state == Mesh_R::kStateDeleted) corner->state = scanmesh::kVertLostFaces;
    }
  }
}

// A vertex that lost its faces has lost its lists, too: its point goes on in a fresh record.
_vert* renewed(Mesh_M::Mesh& mesh, _vert* old) {
  old->state = Mesh_R::kStateDeleted;
  _vert* const fresh = mesh.vertex.insert_vert(old->point);
  fresh->vector = old->vector;
  fresh->tag = old->tag;
  return fresh;
}

// One node per point, in the order of the records that were there before; a fresh record takes
// the place and the number of its old one.
void collect_nodes(Mesh_M::Mesh& mesh, std::vector<XBallPivoting::XNode>& nodes) {
  const int count = mesh.vertex.get_vertnum();
  for (int i = 0; i < count; ++i) {
    _vert* vert = mesh.vertex[i];
    if (vert->state == Mesh_R::kStateDeleted) continue;
    if (vert->state == scanmesh::kVertLostFaces) vert = renewed(mesh, vert);
    vert->index = static_cast<int32_t>(nodes.size());
    vert->state = Mesh_R::kStateLive;
    nodes.push_back({vert, 0});
  }
}

// ---- From one mesh into another
// -------------------------------------------------------------------

void copy_vertices(Mesh_M::Mesh& source, Mesh_M::Mesh& target,
                   std::vector<XBallPivoting::XNode>& nodes) {
  scanmesh::for_each_live(source.vertex.records, [&](_vert& vert) {
    vert.index = static_cast<int32_t>(nodes.size());
    _vert* const copy = target.vertex.insert_vert(vert.point);
    copy->vector = vert.vector;
    copy->tag = vert.tag;
    copy->state = Mesh_R::kStateLive;
    nodes.push_back({copy, 0});
  });
}

// A face that can't be made counts as kept all the same.
template <typename AddSample>
int copy_faces(Mesh_M::Mesh& source, const scanmesh::StoreSet& stores, Seam seam,
               std::vector<XBallPivoting::XNode>& nodes, AddSample add_sample) {
  const BoundaryBand band(source);
  int kept_count = 0;
  scanmesh::for_each_live(source.face.records, [&](_face& face) {
    if (goes(band, face)) {
      const _edge* const inner = inner_edge_of_tip(face, seam);
      if (inner != nullptr) add_sample(*inner, scanmesh::sample_between(*inner));
      return;
    }
    const auto copy = [&](int i) {
      return nodes[static_cast<std::size_t>(face.vert[i]->index)].vert;
    };
    scanmesh::make_triangle(stores, copy(0), copy(1), copy(2), face.vector);
    ++kept_count;
  });
  return kept_count;
}

}  // namespace

void XBallPivoting::stitchMesh(Mesh_M::Mesh& mesh) {
  XBallPivotingTraits::stitch(*this, mesh, scanmesh::processor_count());
}

void XBallPivoting::stitchMesh(Mesh_M::Mesh& source, Mesh_M::Mesh& target) {
  XBallPivotingTraits::stitch(*this, source, target, scanmesh::processor_count());
}

// They apply to a seam even when no edge of it was split.
void XBallPivotingTraits::narrow_schedule(XBallPivoting& self, Seam seam) {
  if (seam == Seam::kOther) return;
  const auto& steps = seam == Seam::kFourfold ? kFourfoldRadii : kEightfoldRadii;
  for (int i = 0; i < scanmesh::kRadii; ++i) {
    self.radius[i] = steps[i] * self.base_radius;
    self.radius_sq[i] = self.radius[i] * self.radius[i];
  }
  self.max_dist = kSeamReach * self.base_radius;
}

void XBallPivotingTraits::stitch(XBallPivoting& self, Mesh_M::Mesh& mesh, int processors) {
  if (!mesh.resolution.enabled) return;
  const TickClock clock;
  begin(self, mesh.resolution);
  const Seam seam = scanmesh::seam_of(mesh.resolution);
  narrow_schedule(self, seam);
  scanmesh::densify(mesh.edge, seam, [&](const _edge& edge, const Vec3f& point) {
    scanmesh::add_sample(mesh.vertex, edge, point);
  });
  // The samples have no nodes yet, which is what hosts' logs show.
  scanmesh::Message() << "split num:" << self.nodes.size() << "\n";
  int kept_count = 0;
  delete_faces(mesh, choose_faces(mesh, seam, kept_count));
  scanmesh::Message() << "points_all.size()=" << self.nodes.size() << "\n";
  collect_nodes(mesh, self.nodes);
  self.setDataPointer(&mesh.face, &mesh.vertex, &mesh.edge);
  close_seams(self, mesh, kept_count, clock, true, processors);
}

void XBallPivotingTraits::stitch(XBallPivoting& self, Mesh_M::Mesh& source, Mesh_M::Mesh& target,
                                 int processors) {
  self.setDataPointer(&target.face, &target.vertex, &target.edge);
  if (!source.resolution.enabled) return;
  if (target.vertex.records.block == nullptr) target.inalize();
  const TickClock clock;
  begin(self, source.resolution);
  copy_vertices(source, target, self.nodes);
  const std::size_t copied = self.nodes.size();
  const Seam seam = scanmesh::seam_of(source.resolution);
  narrow_schedule(self, seam);
  const auto add_sample = [&](const _edge& edge, const Vec3f& point) {
    self.nodes.push_back({scanmesh::add_sample(target.vertex, edge, point), 0});
  };
  scanmesh::densify(source.edge, seam, add_sample);
  scanmesh::Message() << "num_ttt:" << 0 << "\n";
  scanmesh::Message() << "split num:" << self.nodes.size() - copied << "\n";
  const int kept_count = copy_faces(source, stores(self), seam, self.nodes, add_sample);
  // Rings and the last fill name records that are about to go.
  source.hole.free();
  source.free();
  source.face.real_num = 0;
  close_seams(self, target, kept_count, clock, false, processors);
}

// The kept count serves as the number of the first new face, although in place the table still
// holds the deleted ones: hosts get the last kept faces refreshed along with the new.
void XBallPivotingTraits::close_seams(XBallPivoting& self, Mesh_M::Mesh& mesh, int kept_count,
                                      const TickClock& clock, bool prints_open_edges,
                                      int processors) {
  const std::vector<_edge*> open = scanmesh::mark_states(mesh.edge);
  scanmesh::Message() << "prepare data: " << clock.ticks() << "\n";
  if (prints_open_edges) scanmesh::Message() << "QQ.size(): " << open.size() << "\n";
  self.tree.rebuild(self.nodes.data(), self.nodes.size());
  scanmesh::Message() << "KD-Tree initialize Time: " << clock.ticks() << "\n";
  prepare_tasks(self, processors + scanmesh::kExtraTasks);
  grow(self, scanmesh::first_seed(open), processors);
  scanmesh::Message() << "BPA: " << clock.ticks() << "\n";
  scanmesh::delete_spurs(stores(self), kept_count);
  scanmesh::refresh_normals(stores(self), kept_count);
  scanmesh::bind_hole(mesh);
}

}  // namespace xbpa
