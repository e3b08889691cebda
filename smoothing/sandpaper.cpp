// Sanding down single vertices.
#include <cassert>
#include <cstddef>

#include "core/live_records.h"
#include "scanmesh/mesh.h"

namespace Mesh_M {

using Mesh_R::_vert;

namespace {

_vert* live_vertex_with_index(Mesh& mesh, int index) {
  for (int i = 0, n = mesh.vertex.get_vertnum(); i < n; ++i) {
    _vert* const vert = mesh.vertex[i];
    if (vert->state != Mesh_R::kStateDeleted && vert->index == index) return vert;
  }
  return nullptr;
}

void copy(const MemS::Point3v<float>& point, float (&out)[3]) {
  out[0] = point.x;
  out[1] = point.y;
  out[2] = point.z;
}

}  // namespace

void Mesh::sandpaper(_sandpaper_method method, smooth_level level, std::vector<int>& ids, int slot,
                     std::vector<std::pair<float[3], float[3]>>& result, std::vector<bool>& done) {
  if (done.empty()) done.resize(static_cast<std::size_t>(vertex.get_vertnum()));
  assert(!ids.empty());
  if (ids.empty() || ids[0] < 0 || static_cast<std::size_t>(ids[0]) >= done.size()) return;
  const auto id = static_cast<std::size_t>(ids[0]);
  if (done[id]) return;
  done[id] = true;
  if (method != sandpaper_average) return;
  _vert* const vert = live_vertex_with_index(*this, ids[0]);
  if (vert == nullptr) return;
  for (int i = 0; i <= static_cast<int>(level); ++i) {
    vertex.Lap_filter(vert, &vert->point, true);
  }
  for (int i = 0; i < vert->face_num; ++i) face.refresh_vector(vert->face[i]);
  vertex.R_cal_vector(vert);
  const auto wanted = static_cast<std::size_t>(slot < 0 ? 0 : slot);
  if (result.size() < wanted) result.resize(wanted + 1);
  if (result.empty()) result.resize(1);
  // The first entry, whatever the slot: hosts hand in one vertex at a time and read it there.
  copy(vert->point, result.front().first);
  copy(vert->vector, result.front().second);
}

}  // namespace Mesh_M
