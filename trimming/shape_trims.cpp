// Openings as a tool cuts them: the coarse cut, then the cut along the curve.
#include <algorithm>
#include <cassert>
#include <cstddef>
#include <vector>

#include "core/messages.h"
#include "core/parallel.h"
#include "core/vector_math.h"
#include "scanmesh/mesh.h"
#include "trimming/corner_points.h"
#include "trimming/curve_trimmer.h"
#include "trimming/face_cut.h"
#include "trimming/tool_search.h"

namespace Mesh_M {

using Mesh_R::_face;
using Mesh_R::_vert;
using qv::maac::xtirm_mesh::FBase;
using qv::maac::xtirm_mesh::FCircle3D;
using qv::maac::xtirm_mesh::FOvalSlot3D;
using qv::maac::xtirm_mesh::FRectangle3D;
using qv::maac::xtirm_mesh::ModifyFaceData;
using qv::maac::xtirm_mesh::XTrimWithCurve;
using scanmesh::Vec3f;

namespace {

constexpr float kDepth = 1.0F;
// What the tool of the single circle is wider than its opening.
constexpr float kToolAllowance = 2.0F;

Vec3f triple(const std::vector<float>& values, std::size_t i) {
  return {values[3 * i], values[3 * i + 1], values[3 * i + 2]};
}

// Free-standing vertices, in no store.
std::vector<_vert> make_tools(const std::vector<float>& centres,
                              const std::vector<float>& normals) {
  const std::size_t count = centres.size() / 3;
  assert(normals.size() >= 3 * count);
  std::vector<_vert> tools(count);
  for (std::size_t i = 0; i < count; ++i) {
    tools[i].point = triple(centres, i);
    tools[i].vector = triple(normals, i);
  }
  return tools;
}

// What a mesh needs before the first opening: no marks of an earlier search, and vertex normals.
void prepare(Mesh& mesh) {
  const int threads = scanmesh::processor_count();
  scanmesh::parallel_over(mesh.vertex.records, threads, [](_vert& vert) {
    if (vert.state == Mesh_R::kStateDeleted) return;
    vert.order = -1;
    vert.searched = false;
    vert.reached = false;
  });
  // Read first: memory that isn't written needn't travel back.
  scanmesh::parallel_over(mesh.face.records, threads, [](_face& face) {
    if (face.searched) face.searched = false;
  });
  mesh.vertex.R_cal_vector();
}

int cut_flat(FBase& shape, const std::vector<float>& points, int point_count,
             const std::vector<float>& normals, const std::vector<int>& triangles, int face_count,
             ModifyFaceData& out, float depth, bool wall) {
  XTrimWithCurve trimmer;
  auto entry = &XTrimWithCurve::trim_rectangle;
  if (shape.shape_kind() == qv::maac::xtirm_mesh::kCircle) entry = &XTrimWithCurve::trim_circle;
  if (shape.shape_kind() == qv::maac::xtirm_mesh::kOvalSlot) entry = &XTrimWithCurve::trim_oval;
  return (trimmer.*entry)(&shape, points.data(), point_count, normals.data(), triangles.data(),
                          face_count, out, depth, wall);
}

// Room for an ordinary opening.
void reserve(ModifyFaceData& changes) {
  changes.corners.reserve(4500);
  changes.normals.reserve(1500);
  changes.parents.reserve(500);
  changes.deleted.reserve(100);
}

}  // namespace

// The faces of the last search along the curve, and the result back into the mesh.
void Mesh::cut_selection(FBase& shape, float depth, bool wall) {
  std::vector<float> points;
  std::vector<float> normals;
  std::vector<int> triangles;
  int point_count = 0;
  int corner_count = 0;
  searchFaces(points, point_count, normals, triangles, corner_count);
  scanmesh::clear_marks(*this);
  ModifyFaceData changes;
  reserve(changes);
  // A refused cut, as by a wall of impossible depth, leaves nothing to bring back.
  cut_flat(shape, points, point_count, normals, triangles, corner_count / 3, changes, depth, wall);
  modifyFaces(changes.corners, static_cast<int>(changes.corners.size() / 3), changes.parents,
              changes.normals, changes.deleted, static_cast<int>(changes.deleted.size()));
}

void Mesh::trimWithCircle(const float& radius, const float& spacing, _vert* tool) {
  vertex.R_cal_vector();
  // A refusal doesn't keep the curve from being cut: hosts rely on it where the place is clean.
  searchRadiusFaces(radius, spacing, tool);
  searchRausFaces(radius, tool);
  FCircle3D shape(tool->point, tool->vector, radius - kToolAllowance);
  cut_selection(shape, kDepth, false);
}

void Mesh::trimWithCircle(const std::vector<float>& trimRadii,
                          const std::vector<float>& searchRadii, const float& spacing,
                          const std::vector<float>& centres, const std::vector<float>& normals) {
  trimWithCircle(trimRadii, searchRadii, spacing, centres, normals, kDepth, false);
}

void Mesh::trimWithCircle(const std::vector<float>& trimRadii,
                          const std::vector<float>& searchRadii, const float& spacing,
                          const std::vector<float>& centres, const std::vector<float>& normals,
                          float depth, bool wall) {
  prepare(*this);
  std::vector<_vert> tools = make_tools(centres, normals);
  assert(trimRadii.size() >= tools.size() && searchRadii.size() >= tools.size());
  for (std::size_t i = 0; i < tools.size(); ++i) {
    const int result = searchRadiusFaces(searchRadii[i], spacing, &tools[i]);
    scanmesh::clear_marks(*this);
    if (result != 0) {
      // Hosts' logs hold this line.
      scanmesh::print_message(scanmesh::Channel::output_flushed, "无法切割孔！\n");
      continue;
    }
    searchRausFaces(searchRadii[i], &tools[i]);
    FCircle3D shape(tools[i].point, tools[i].vector, trimRadii[i]);
    cut_selection(shape, depth, wall);
  }
}

// The coarse cut of a slot or rectangle, then the faces around its curve; false, without a message,
// where it is refused.
bool Mesh::select_slot(float a, float b, float c, const float* dir, _vert* tool,
                       const float& spacing) {
  const int result = searchOvalFaces(a, b, c, dir, tool, spacing, true);
  scanmesh::clear_marks(*this);
  if (result < 0) return false;
  searchOvalFaces(a, b, c, dir, tool, spacing, false);
  return true;
}

void Mesh::trimWithOval(const std::vector<float>& a, const std::vector<float>& b,
                        const std::vector<float>& c, const float& spacing,
                        const std::vector<float>& centres, const std::vector<float>& normals,
                        const std::vector<float>& dirs) {
  trimWithOval(a, b, c, spacing, centres, normals, dirs, kDepth, false);
}

void Mesh::trimWithOval(const std::vector<float>& a, const std::vector<float>& b,
                        const std::vector<float>& c, const float& spacing,
                        const std::vector<float>& centres, const std::vector<float>& normals,
                        const std::vector<float>& dirs, float depth, bool wall) {
  prepare(*this);
  std::vector<_vert> tools = make_tools(centres, normals);
  assert(std::min({a.size(), b.size(), c.size(), dirs.size() / 3}) >= tools.size());
  for (std::size_t i = 0; i < tools.size(); ++i) {
    if (!select_slot(a[i], b[i], c[i], &dirs[3 * i], &tools[i], spacing)) continue;
    FOvalSlot3D shape(tools[i].point, tools[i].vector, triple(dirs, i), a[i] - b[i], b[i]);
    cut_selection(shape, depth, wall);
  }
}

void Mesh::trimWithRectangle(const std::vector<float>& a, const std::vector<float>& b,
                             const std::vector<float>& c, const float& spacing,
                             const std::vector<float>& centres, const std::vector<float>& normals,
                             const std::vector<float>& dirs, float depth, bool wall) {
  prepare(*this);
  std::vector<_vert> tools = make_tools(centres, normals);
  assert(std::min({a.size(), b.size(), c.size(), dirs.size() / 3}) >= tools.size());
  for (std::size_t i = 0; i < tools.size(); ++i) {
    if (!select_slot(a[i], b[i], c[i], &dirs[3 * i], &tools[i], spacing)) continue;
    FRectangle3D shape(tools[i].point, tools[i].vector, triple(dirs, i), a[i], b[i]);
    const bool refused = wall && !scanmesh::fits_wall(depth);
    if (!refused && scanmesh::pin_corners(*this, shape)) {
      scanmesh::clear_marks(*this);
      searchOvalFaces(a[i], b[i], c[i], &dirs[3 * i], &tools[i], spacing, false);
    }
    cut_selection(shape, depth, wall);
  }
}

}  // namespace Mesh_M
