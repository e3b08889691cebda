// The cut before the trim: the faces on the tool go, and the place is filled anew.
#include <algorithm>
#include <cstdint>
#include <memory>
#include <unordered_set>
#include <vector>

#include "core/messages.h"
#include "core/undo_record.h"
#include "holes/fill_driver.h"
#include "scanmesh/mesh.h"
#include "trimming/tool_search.h"

namespace Mesh_M {

using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;

namespace {

constexpr int kListBlock = 10000;
constexpr int kListTable = 100;
constexpr int kFillRings = 3;
constexpr double kRimHeight = 0.3;

// The vertices of selected faces that aren't within the tool; once for every face that has them.
void collect_rim(Mesh& mesh) {
  for (const _face* selected : mesh.selected_faces) {
    for (_vert* vert : selected->vert) {
      if (vert->searched) continue;
      vert->reached = true;
      mesh.rim_vertices.push_back(vert);
    }
  }
  for (_face* selected : mesh.selected_faces) selected->searched = false;
}

// The first open edge at a rim vertex near the tool's plane; null when there is none. Edges that
// were passed over are counted.
_edge* first_open_edge(const Mesh& mesh, const scanmesh::ToolPlane& plane, std::size_t& passed) {
  for (const _vert* vert : mesh.rim_vertices) {
    if (!(plane.height(vert->point) < kRimHeight)) continue;
    for (int i = 0; i < vert->edge_num; ++i) {
      if (vert->edge[i]->face_num == 1) return vert->edge[i];
      ++passed;
    }
  }
  return nullptr;
}

int last_ring(Mesh_R::Hole& finder) {
  int i = finder.holes.size() - 1;
  while (i >= 0 && finder.holes[i] == nullptr) --i;
  return i;
}

// What a fill changes around a ring besides adding to it, kept so that a fill can be undone to the
// bit: revoking takes away what was added and nothing else. Collected without the visit marks of
// the fill's own search, which would wipe out the states that are to be kept.
class Surroundings {
 public:
  Surroundings(const Mesh_R::_hole* ring, float half_spacing) {
    for (int i = 0, n = ring->edges->size(); i < n; ++i) {
      for (_vert* vert : (*ring->edges)[i]->vert) keep(vert);
    }
    const int depth = std::max(scanmesh::fill_scale(half_spacing).rings, kFillRings + 1);
    std::size_t next = 0;
    for (int row = 0; row < depth; ++row) {
      for (const std::size_t end = verts_.size(); next < end; ++next) {
        const _vert* const vert = verts_[next].vert;
        for (int i = 0; i < vert->face_num; ++i) keep(vert->face[i]);
      }
    }
  }
  void restore() const {
    for (const SavedVert& saved : verts_) {
      saved.vert->vector = saved.vector;
      saved.vert->flags = saved.flags;
      saved.vert->state = saved.state;
    }
    for (const SavedFace& saved : faces_) {
      saved.face->vector = saved.vector;
      saved.face->state = saved.state;
      std::copy_n(saved.vert, 3, saved.face->vert);
    }
  }

 private:
  struct SavedVert {
    _vert* vert;
    scanmesh::Vec3f vector;
    int32_t flags;
    int16_t state;
  };
  struct SavedFace {
    _face* face;
    scanmesh::Vec3f vector;
    int16_t state;
    _vert* vert[3];
  };

  void keep(_vert* vert) {
    if (!seen_.insert(vert).second) return;
    verts_.push_back({vert, vert->vector, vert->flags, vert->state});
  }
  void keep(_face* face) {
    if (!seen_.insert(face).second) return;
    faces_.push_back(
        {face, face->vector, face->state, {face->vert[0], face->vert[1], face->vert[2]}});
    for (_vert* vert : face->vert) keep(vert);
  }

  std::vector<SavedVert> verts_;
  std::vector<SavedFace> faces_;
  std::unordered_set<const void*> seen_;
};

}  // namespace

// True when the removal may stand: the rim is filled, or no vertex of it came into question. Only
// one fill is tried.
bool Mesh::fill_rim(float spacing, _vert* tool) {
  std::size_t passed = 0;
  _edge* const start = first_open_edge(*this, scanmesh::ToolPlane(*tool), passed);
  bool stands = true;
  std::unique_ptr<Surroundings> before;
  if (start != nullptr) {
    hole.free();
    hole.inalize(kListBlock, kListTable);
    hole.build_hole_trim(start, static_cast<int>(rim_vertices.size()), &tool->point.x);
    const int ring = last_ring(hole);
    if (ring >= 0) {
      before = std::make_unique<Surroundings>(hole.holes[ring], spacing * 0.5F);
      hole.fill_Hole_Num(spacing * 0.5F, ring, kFillRings);
      stands = hole.added_faces.size() > 0;
    } else {
      stands = false;
    }
  }
  // Hosts know this line as the sign of a rim without a single open edge, but as many edges as rim
  // entries passed over make an opening fail whatever became of the fill.
  if (passed == rim_vertices.size()) {
    stands = false;
    scanmesh::Message(scanmesh::Channel::output_flushed)
        << passed << " tmpn == searchHoleVertNum\n";
  }
  if (!stands && before != nullptr) {
    hole.Revoked_last();
    before->restore();
  }
  if (start != nullptr) hole.free();
  return stands;
}

int Mesh::replace_by_patch(float spacing, _vert* tool) {
  const int count = static_cast<int>(selected_faces.size());
  obj_triangle* const record = storage_delFace(selected_faces.data(), count);
  _dele_triangle(selected_faces.data(), count);
  const bool stands = fill_rim(spacing, tool);
  scanmesh::clear_marks(*this);
  if (!stands) {
    Revoked_triangle(record);
    return -1;
  }
  drop_triangle(record);
  return 0;
}

int Mesh::searchRadiusFaces(float radius, float spacing, _vert* tool) {
  scanmesh::clear_search(*this);
  if (vertex.get_vertnum() == 0) return 0;
  scanmesh::select_within(*this, scanmesh::RadiusTool(*tool, radius));
  if (selected_faces.empty()) return -1;
  collect_rim(*this);
  return replace_by_patch(spacing, tool);
}

int Mesh::searchOvalFaces(float a, float b, float c, const float* dir, _vert* tool,
                          const float& spacing, bool cut) {
  scanmesh::clear_search(*this);
  if (vertex.get_vertnum() == 0) return 0;
  scanmesh::select_within(*this, scanmesh::OvalTool(*tool, a, b, c, dir, cut));
  if (selected_faces.empty()) return -1;
  collect_rim(*this);
  return cut ? replace_by_patch(spacing, tool) : 0;
}

}  // namespace Mesh_M
