#include "trimming/curve_trimmer.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstddef>
#include <future>
#include <numeric>

#include "core/vector_math.h"
#include "trimming/face_cut.h"

namespace qv {
namespace maac {
namespace xtirm_mesh {

namespace {

using scanmesh::Vec3f;

constexpr int kTasks = 8;
// Faces that a worker takes at a time: one alone is cut sooner than the lock is passed on.
constexpr int kBatch = 32;

void put(std::vector<float>& out, const Vec3f& v) {
  out.insert(out.end(), {v.x, v.y, v.z});
}

Vec3f at(const float* values, int i) {
  const float* const v = values + 3 * static_cast<std::ptrdiff_t>(i);
  return {v[0], v[1], v[2]};
}

void clear(ModifyFaceData& data) {
  data.corners.clear();
  data.normals.clear();
  data.parents.clear();
  data.deleted.clear();
}

template <typename T>
void append(std::vector<T>& out, const std::vector<T>& more) {
  out.insert(out.end(), more.begin(), more.end());
}

// Enters what became of a face. Walls bring normals of their own.
void enter(ModifyFaceData& data, int face, scanmesh::FaceFate fate,
           const std::vector<scanmesh::CutTriangle>& triangles, const Vec3f& normal) {
  if (fate == scanmesh::FaceFate::kReplaced) data.deleted.push_back(face);
  for (const scanmesh::CutTriangle& t : triangles) {
    for (const Vec3f& p : t.corner) put(data.corners, p);
    put(data.normals, t.wall ? t.wall_normal : normal);
    data.parents.push_back(face);
  }
}

// Brings the results into the order of the faces, so that a mesh comes out the same however the
// tasks took turns.
void order_by_face(ModifyFaceData& data) {
  std::sort(data.deleted.begin(), data.deleted.end());
  std::vector<std::size_t> order(data.parents.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::stable_sort(order.begin(), order.end(),
                   [&](std::size_t a, std::size_t b) { return data.parents[a] < data.parents[b]; });
  const ModifyFaceData before = data;
  for (std::size_t i = 0; i < order.size(); ++i) {
    const auto from = static_cast<std::ptrdiff_t>(order[i]);
    const auto to = static_cast<std::ptrdiff_t>(i);
    std::copy_n(before.corners.begin() + 9 * from, 9, data.corners.begin() + 9 * to);
    std::copy_n(before.normals.begin() + 3 * from, 3, data.normals.begin() + 3 * to);
    data.parents[i] = before.parents[order[i]];
  }
}

}  // namespace

template <typename Shape>
void XTrimWithCurve::work(FBase* shape, int& cursor, const float* points, const int& pointCount,
                          const float* normals, const int* triangles, const int& faceCount,
                          ModifyFaceData& out, float depth, bool wall) {
  const scanmesh::PlaneCurve curve(static_cast<const Shape&>(*shape));
  const scanmesh::CurveFrame frame(*shape);
  if (curve.too_small() || !frame.valid()) return;
  ModifyFaceData mine;
  std::vector<scanmesh::CutTriangle> pieces;
  for (;;) {
    int first = 0;
    {
      const std::lock_guard<std::mutex> lock(cursor_lock_);
      first = cursor;
      cursor = std::min(faceCount - std::min(faceCount, first), kBatch) + first;
    }
    if (first >= faceCount) break;
    for (int face = first; face < std::min(faceCount - first, kBatch) + first; ++face) {
      std::array<Vec3f, 3> corner;
      for (int k = 0; k < 3; ++k) {
        const int point = triangles[3 * static_cast<std::ptrdiff_t>(face) + k];
        assert(point >= 0 && point < pointCount);
        corner[static_cast<std::size_t>(k)] = at(points, point);
      }
      pieces.clear();
      const auto fate = scanmesh::cut_face(frame, curve, corner, {wall, depth}, pieces);
      enter(mine, face, fate, pieces, at(normals, face));
    }
  }
  static_cast<void>(pointCount);
  const std::lock_guard<std::mutex> lock(out_lock_);
  append(out.corners, mine.corners);
  append(out.normals, mine.normals);
  append(out.parents, mine.parents);
  append(out.deleted, mine.deleted);
}

int XTrimWithCurve::run(int kind, Worker worker, FBase* shape, const float* points,
                        const int& pointCount, const float* normals, const int* triangles,
                        const int& faceCount, ModifyFaceData& out, float depth, bool wall) {
  if (shape == nullptr || shape->shape_kind() != kind) return -1;
  if (wall && !scanmesh::fits_wall(depth)) return -2;
  clear(out);
  int cursor = 0;
  std::vector<std::future<void>> tasks;
  tasks.reserve(kTasks);
  for (int i = 0; i < kTasks; ++i) {
    tasks.push_back(std::async(std::launch::async, [&] {
      (this->*worker)(shape, cursor, points, pointCount, normals, triangles, faceCount, out, depth,
                      wall);
    }));
  }
  for (std::future<void>& task : tasks) task.get();
  order_by_face(out);
  return 0;
}

int XTrimWithCurve::trim_circle(FBase* shape, const float* points, const int& pointCount,
                                const float* normals, const int* triangles, const int& faceCount,
                                ModifyFaceData& out, float depth, bool wall) {
  return run(kCircle, &XTrimWithCurve::work<FCircle3D>, shape, points, pointCount, normals,
             triangles, faceCount, out, depth, wall);
}

int XTrimWithCurve::trim_oval(FBase* shape, const float* points, const int& pointCount,
                              const float* normals, const int* triangles, const int& faceCount,
                              ModifyFaceData& out, float depth, bool wall) {
  return run(kOvalSlot, &XTrimWithCurve::work<FOvalSlot3D>, shape, points, pointCount, normals,
             triangles, faceCount, out, depth, wall);
}

int XTrimWithCurve::trim_rectangle(FBase* shape, const float* points, const int& pointCount,
                                   const float* normals, const int* triangles, const int& faceCount,
                                   ModifyFaceData& out, float depth, bool wall) {
  return run(kRectangle, &XTrimWithCurve::work<FRectangle3D>, shape, points, pointCount, normals,
             triangles, faceCount, out, depth, wall);
}

}  // namespace xtirm_mesh
}  // namespace maac
}  // namespace qv
