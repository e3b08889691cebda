#include "toolkit/engine_mesh.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <numeric>
#include <utility>

#include "toolkit/progress.h"
#include "toolkit/validity.h"
#include "toolkit/vector_math.h"

namespace scanmesh {
namespace {

using Float3 = MemS::Point3v<float>;

bool finite(const Float3& p) {
  return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

const Point& corner(const TriangleMesh& mesh, const Triangle& t, std::size_t k) {
  return mesh.points[static_cast<std::size_t>(t[k])];
}

Triangle sorted(Triangle t) {
  std::sort(t.begin(), t.end());
  return t;
}

// The first triangle with these corners, in whatever order.
std::map<Triangle, std::int32_t> numbers_by_corners(const std::vector<Triangle>& triangles) {
  std::vector<std::pair<Triangle, std::int32_t>> entries;
  entries.reserve(triangles.size());
  for (std::size_t f = 0; f < triangles.size(); ++f) {
    entries.emplace_back(sorted(triangles[f]), static_cast<std::int32_t>(f));
  }
  std::sort(entries.begin(), entries.end());
  return {entries.begin(), entries.end()};
}

}  // namespace

EngineFrame::EngineFrame(const Box& box, double spacing) {
  // Halves first: the sum of two large coordinates may not be finite.
  middle_ = box.min * 0.5 + box.max * 0.5;
  if (spacing > 0 && std::isfinite(spacing)) exponent_ = -1 - std::ilogb(spacing);
}

MemS::Point3v<float> EngineFrame::inside(const Point& p) const {
  const Point moved = p - middle_;
  return {static_cast<float>(std::ldexp(moved.x, exponent_)),
          static_cast<float>(std::ldexp(moved.y, exponent_)),
          static_cast<float>(std::ldexp(moved.z, exponent_))};
}

Point EngineFrame::outside(const MemS::Point3v<float>& p) const {
  return Point{std::ldexp(static_cast<double>(p.x), -exponent_),
               std::ldexp(static_cast<double>(p.y), -exponent_),
               std::ldexp(static_cast<double>(p.z), -exponent_)} +
         middle_;
}

double EngineFrame::length_inside(double length) const {
  return std::ldexp(length, exponent_);
}

double EngineFrame::length_outside(double length) const {
  return std::ldexp(length, -exponent_);
}

double mean_side(const TriangleMesh& mesh) {
  double sum = 0;
  double count = 0;
  for (const Triangle& t : mesh.triangles) {
    if (!finite_corners(mesh.points, t)) continue;
    for (std::size_t k = 0; k < 3; ++k) {
      sum += distance(corner(mesh, t, k), corner(mesh, t, (k + 1) % 3));
    }
    count += 3;
  }
  return count > 0 ? sum / count : 0;
}

std::vector<Triangle> usable_triangles(const TriangleMesh& mesh) {
  std::vector<Triangle> usable;
  usable.reserve(mesh.triangles.size());
  for (const Triangle& t : mesh.triangles) {
    const bool distinct = t[0] != t[1] && t[1] != t[2] && t[2] != t[0];
    if (distinct && finite_corners(mesh.points, t)) usable.push_back(t);
  }
  return usable;
}

EngineMesh::EngineMesh(const TriangleMesh& mesh, const EngineFrame& frame,
                       std::vector<unsigned char> tags)
    : frame_(frame) {
  points_.reserve(3 * mesh.points.size());
  for (const Point& p : mesh.points) {
    Float3 inside = frame.inside(p);
    if (!finite(inside)) inside = {0, 0, 0};
    points_.insert(points_.end(), {inside.x, inside.y, inside.z});
  }
  std::vector<int> corners;
  corners.reserve(3 * mesh.triangles.size());
  for (const Triangle& t : usable_triangles(mesh))
    corners.insert(corners.end(), t.begin(), t.end());
  tags.resize(mesh.points.size());
  // The form with tags keeps triangles below the length at which points are welded.
  engine_.rebuild(points_.data(), static_cast<int>(mesh.points.size()), tags.data(), corners.data(),
                  static_cast<int>(corners.size() / 3));
}

void EngineMesh::take_positions(std::vector<Point>& points) {
  const std::size_t count = std::min(points.size(), points_.size() / 3);
  for (std::size_t i = 0; i < count; ++i) {
    const Mesh_R::_vert& vert = *engine_.vertex[static_cast<int>(i)];
    if (vert.state == Mesh_R::kStateDeleted || vert.face_num == 0 || !finite(vert.point)) continue;
    const float* const old = &points_[3 * i];
    if (vert.point.x == old[0] && vert.point.y == old[1] && vert.point.z == old[2]) continue;
    points[i] = frame_.outside(vert.point);
  }
}

std::vector<std::int32_t> EngineMesh::points_of_records(std::size_t count) {
  std::vector<std::int32_t> from(static_cast<std::size_t>(engine_.vertex.get_vertnum()), -1);
  std::map<std::array<float, 3>, std::int32_t> bereft;  // points whose records are deleted
  for (std::size_t i = 0; i < count; ++i) {
    from[i] = static_cast<std::int32_t>(i);
    if (engine_.vertex[static_cast<int>(i)]->state != Mesh_R::kStateDeleted) continue;
    const float* const p = &points_[3 * i];
    bereft.emplace(std::array<float, 3>{p[0], p[1], p[2]}, static_cast<std::int32_t>(i));
  }
  for (std::size_t i = count; i < from.size(); ++i) {
    const Float3& p = engine_.vertex[static_cast<int>(i)]->point;
    const auto found = bereft.find({p.x, p.y, p.z});
    if (found != bereft.end()) from[i] = found->second;
  }
  return from;
}

WorkMesh EngineMesh::work_mesh(const TriangleMesh& input) {
  WorkMesh work;
  work.points = input.points;
  work.point_from.resize(input.points.size());
  std::iota(work.point_from.begin(), work.point_from.end(), 0);
  take_positions(work.points);
  std::vector<std::int32_t> number = points_of_records(input.points.size());
  for (std::size_t i = 0; i < number.size(); ++i) {
    if (number[i] < 0) {
      number[i] = work.add_point(frame_.outside(engine_.vertex[static_cast<int>(i)]->point));
    }
  }
  const std::map<Triangle, std::int32_t> known = numbers_by_corners(input.triangles);
  for (int i = 0; i < engine_.face.get_facenum(); ++i) {
    const Mesh_R::_face& face = *engine_.face[i];
    if (face.state == Mesh_R::kStateDeleted) continue;
    Triangle t{};
    for (std::size_t k = 0; k < 3; ++k) {
      t[k] = number[static_cast<std::size_t>(engine_.vertex.get_vert_no(face.vert[k]))];
    }
    const auto old = known.find(sorted(t));
    if (old == known.end()) {
      work.add_triangle(t);
    } else {
      work.add_triangle(input.triangles[static_cast<std::size_t>(old->second)], old->second);
    }
  }
  return work;
}

TriangleMesh EngineMesh::result(const TriangleMesh& input) {
  Origin origin;
  return work_mesh(input).result(input, origin);
}

void renew_normals(const TriangleMesh& before, TriangleMesh& after) {
  if (after.normals.empty()) return;
  std::vector<Point> sums(after.points.size());
  std::vector<bool> stale(after.points.size(), false);
  for (const Triangle& t : after.triangles) {
    const Point area = area_vector(corner(after, t, 0), corner(after, t, 1), corner(after, t, 2));
    bool moved = false;
    for (std::size_t k = 0; k < 3; ++k) moved |= corner(before, t, k) != corner(after, t, k);
    for (const std::int32_t v : t) {
      const auto at = static_cast<std::size_t>(v);
      sums[at] = sums[at] + area;
      if (moved) stale[at] = true;
    }
  }
  for (std::size_t v = 0; v < sums.size(); ++v) {
    const double size = length(sums[v]);
    if (stale[v] && size > 0 && std::isfinite(size)) after.normals[v] = unit(sums[v]);
  }
}

Mesh_M::ProcessStepCallback EngineWatch::callback() {
  if (!progress_) return {};
  return [this](qv::alg::ProcessStepInfoType& info) {
    hear(info);
    return 0;
  };
}

void EngineWatch::hear(const qv::alg::ProcessStepInfoType& info) {
  if (trouble_ != nullptr || std::this_thread::get_id() != caller_) return;
  const double steps = std::max<double>(info.step_count, 1);
  const double stage = (std::clamp(info.step / steps, 0.0, 1.0) + info.stage - 1) /
                       std::max<double>(info.stage_count, 1);
  try {
    report(progress_, std::clamp(stage, 0.0, 1.0), step_);
  } catch (...) {
    trouble_ = std::current_exception();
  }
}

void EngineWatch::finish() const {
  if (trouble_ != nullptr) std::rethrow_exception(trouble_);
}

}  // namespace scanmesh
