#include "smoothing/cotangent_smoothing.h"

#include <algorithm>
#include <cassert>
#include <cmath>

#include "core/face_building.h"
#include "core/live_records.h"
#include "core/parallel.h"
#include "core/progress.h"
#include "scanmesh/mesh.h"

namespace scanmesh {

namespace {

using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;
using Mesh_R::kStateDeleted;

constexpr double kPositiveStep = 0.5;
// Not the -0.53 of the uniform pair: borders are tuned on this one.
constexpr double kNegativeStep = -0.515;
constexpr int kReportsPerIteration = 2;

bool is_inner(const _edge& edge) {
  return edge.face_num == 2;
}

// The edges of a vertex that don't have exactly two faces: how many, and the first two.
struct OpenEdges {
  int count = 0;
  const _edge* first[2] = {nullptr, nullptr};
};

OpenEdges open_edges(const _vert& vert) {
  OpenEdges open;
  for (int i = 0; i < vert.edge_num; ++i) {
    if (is_inner(*vert.edge[i])) continue;
    if (open.count < 2) open.first[open.count] = vert.edge[i];
    ++open.count;
  }
  return open;
}

// Half the way along the border, times the step.
Vec3f border_step(const _vert& vert, const OpenEdges& open, double step) {
  const Vec3f& v = vert.point;
  const Vec3f to_a = sub(far_end(open.first[0], &vert)->point, v);
  const Vec3f to_b = sub(far_end(open.first[1], &vert)->point, v);
  return add(v, scaled(add(to_a, to_b), step * 0.5));
}

// The corner that is neither end; the first one in a face that has no such corner.
const _vert* third_corner(const _face& face, const _vert* a, const _vert* b) {
  for (const _vert* corner : face.vert) {
    if (corner != a && corner != b) return corner;
  }
  return face.vert[0];
}

// 0 where a direction has no length.
double angle_at(const Vec3f& corner, const Vec3f& a, const Vec3f& b) {
  const Vec3f to_a = sub(a, corner);
  const Vec3f to_b = sub(b, corner);
  const double lengths = length(to_a) * length(to_b);
  if (lengths == 0) return 0;
  return std::acos(std::clamp(dot_double(to_a, to_b) / lengths, -1.0, 1.0));
}

double cotangent_weight(const _edge& edge, const _vert& v, const _vert& u) {
  const _vert* const p = third_corner(*edge.face[0], &v, &u);
  const _vert* const q = third_corner(*edge.face[1], &v, &u);
  return 1.0 / std::tan(angle_at(q->point, u.point, v.point)) +
         1.0 / std::tan(angle_at(p->point, u.point, v.point));
}

}  // namespace

Vec3f cotangent_step(const _vert& vert, double step, bool use_border, bool relative) {
  const Vec3f& v = vert.point;
  if (use_border) {
    const OpenEdges open = open_edges(vert);
    if (open.count == 2) return border_step(vert, open, step);
    if (open.count != 0) return v;
  }
  float total = 0;
  Vec3f sum{0, 0, 0};
  for (int i = 0; i < vert.edge_num; ++i) {
    const _edge& edge = *vert.edge[i];
    if (edge.state == kStateDeleted) continue;
    if (!is_inner(edge)) return v;
    const _vert& u = *far_end(&edge, &vert);
    const double weight = cotangent_weight(edge, vert, u);
    total = static_cast<float>(total + weight);
    sum = add(sum, scaled(relative ? sub(u.point, v) : u.point, weight));
  }
  if (total == 0) return v;
  const auto over_total = [total](float x) { return static_cast<float>(x / double{total}); };
  if (relative) sum = scaled(sum, step);
  const Vec3f result = {over_total(sum.x), over_total(sum.y), over_total(sum.z)};
  return relative ? add(v, result) : result;
}

void cotangent_share(std::vector<Vec3f>& out, const std::vector<_vert*>& verts, std::size_t begin,
                     std::size_t end, double step) {
  for (std::size_t i = begin; i < end; ++i) out[i] = cotangent_step(*verts[i], step, true, true);
}

void taubin_smooth_area(const std::vector<_vert*>& verts, int iterations, int workers,
                        const Mesh_M::ProcessStepCallback& callback) {
  const auto count = static_cast<std::ptrdiff_t>(verts.size());
  std::vector<Vec3f> moved(verts.size());
  for (int i = 1; i <= iterations; ++i) {
    report_step(callback, kReportsPerIteration * i, kReportsPerIteration * iterations);
    for (const double step : {kPositiveStep, kNegativeStep}) {
      run_slices(count, workers, [&](std::ptrdiff_t begin, std::ptrdiff_t end) {
        cotangent_share(moved, verts, static_cast<std::size_t>(begin),
                        static_cast<std::size_t>(end), step);
      });
      for (std::size_t k = 0; k < verts.size(); ++k) {
        if (!has_nan(moved[k])) verts[k]->point = moved[k];
      }
    }
  }
}

}  // namespace scanmesh

namespace Mesh_M {

using Mesh_R::_edge;
using Mesh_R::_vert;

void Mesh::Mesh_Taubin_Smooth_Area(std::vector<_vert*>& verts, int iterations) {
  scanmesh::taubin_smooth_area(verts, iterations, scanmesh::processor_count(), process_step);
}

void Mesh::Mesh_Taubin_Smooth_Border() {
  constexpr int kIterations = 10;
  std::vector<_vert*> border;
  scanmesh::for_each_live(edge.records, [&](_edge& record) {
    if (record.face_num != 1 && record.face_num < 3) return;
    for (_vert* end : record.vert) {
      if (end->state <= 0) continue;
      if (end->state != Mesh_R::kStateDeleted) border.push_back(end);
      scanmesh::flip_state(end);
    }
  });
  // A deleted vertex at a live edge keeps -3: hosts tell by it that a border ran into nothing.
  for (_vert* vert : border) scanmesh::flip_state(vert);
  Mesh_Taubin_Smooth_Area(border, kIterations);
}

void Mesh::Taubin_Smooth_Border_Thread(std::vector<MemS::Point3v<float>>* out,
                                       std::vector<_vert*>* verts, int begin, int end,
                                       double lambda) {
  assert(begin >= 0 && static_cast<std::size_t>(std::max(begin, end)) <= out->size());
  scanmesh::cotangent_share(*out, *verts, static_cast<std::size_t>(begin),
                            static_cast<std::size_t>(std::max(begin, end)), lambda);
}

void Mesh::Taubin_Smooth_Thread(std::vector<MemS::Point3v<float>>* out, int begin, int end,
                                double lambda) {
  for (int i = begin; i < end; ++i) {
    MemS::Point3v<float>& place = out->at(static_cast<std::size_t>(i));
    assert(i < vertex.get_vertnum());
    place = scanmesh::cotangent_step(*vertex[i], lambda, true, true);
  }
}

}  // namespace Mesh_M
