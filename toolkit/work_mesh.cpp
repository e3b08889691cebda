#include "toolkit/work_mesh.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "toolkit/contact.h"
#include "toolkit/validity.h"
#include "toolkit/vector_math.h"

namespace scanmesh {
namespace {

// Colour and normal of a new point: the mean over its neighbours that come from the input.
struct Blend {
  std::array<double, 4> color{};
  Point normal;
  int count = 0;
};

void carry_color(const TriangleMesh& input, std::int32_t from, const Blend& blend, Color& color) {
  if (from >= 0) {
    color = input.colors[static_cast<std::size_t>(from)];
    return;
  }
  for (std::size_t c = 0; c < 4; ++c) {
    color[c] = blend.count == 0
                   ? std::uint8_t{255}
                   : static_cast<std::uint8_t>(std::lround(blend.color[c] / blend.count));
  }
}

}  // namespace

WorkMesh::WorkMesh(const TriangleMesh& mesh)
    : points(mesh.points),
      triangles(mesh.triangles),
      point_from(mesh.points.size()),
      triangle_from(mesh.triangles.size()) {
  std::iota(point_from.begin(), point_from.end(), 0);
  std::iota(triangle_from.begin(), triangle_from.end(), 0);
}

std::int32_t WorkMesh::add_point(const Point& p, std::int32_t from) {
  points.push_back(p);
  point_from.push_back(from);
  return static_cast<std::int32_t>(points.size()) - 1;
}

std::int32_t WorkMesh::add_triangle(const Triangle& t, std::int32_t from) {
  triangles.push_back(t);
  triangle_from.push_back(from);
  return size() - 1;
}

void WorkMesh::kill(std::int32_t f) {
  triangles[static_cast<std::size_t>(f)] = {-1, -1, -1};
}

void WorkMesh::compact() {
  std::size_t kept = 0;
  for (std::size_t f = 0; f < triangles.size(); ++f) {
    if (triangles[f][0] < 0) continue;
    triangles[kept] = triangles[f];
    triangle_from[kept++] = triangle_from[f];
  }
  triangles.resize(kept);
  triangle_from.resize(kept);
}

TriangleMesh WorkMesh::result(const TriangleMesh& input, Origin& origin) const {
  std::vector<std::int32_t> number(points.size(), -1);
  for (const Triangle& t : triangles) {
    if (t[0] < 0) continue;
    for (const std::int32_t v : t) number[static_cast<std::size_t>(v)] = 0;
  }
  TriangleMesh out;
  origin = {};
  for (std::size_t v = 0; v < points.size(); ++v) {
    if (number[v] < 0) continue;
    number[v] = static_cast<std::int32_t>(out.points.size());
    out.points.push_back(points[v]);
    origin.points.push_back(point_from[v]);
  }
  for (std::size_t f = 0; f < triangles.size(); ++f) {
    if (triangles[f][0] < 0) continue;
    Triangle t = triangles[f];
    for (std::int32_t& v : t) v = number[static_cast<std::size_t>(v)];
    out.triangles.push_back(t);
    origin.triangles.push_back(triangle_from[f]);
  }
  if (input.colors.empty() && input.normals.empty()) return out;

  std::vector<Blend> blends(out.points.size());
  for (const Triangle& t : out.triangles) {
    for (std::size_t k = 0; k < 3; ++k) {
      const std::int32_t from = origin.points[static_cast<std::size_t>(t[(k + 1) % 3])];
      if (from < 0) continue;
      Blend& blend = blends[static_cast<std::size_t>(t[k])];
      ++blend.count;
      if (!input.normals.empty()) {
        blend.normal = blend.normal + input.normals[static_cast<std::size_t>(from)];
      }
      for (std::size_t c = 0; c < 4 && !input.colors.empty(); ++c) {
        blend.color[c] += input.colors[static_cast<std::size_t>(from)][c];
      }
    }
  }
  if (!input.colors.empty()) out.colors.resize(out.points.size());
  if (!input.normals.empty()) out.normals.resize(out.points.size());
  for (std::size_t v = 0; v < out.points.size(); ++v) {
    const std::int32_t from = origin.points[v];
    if (!input.colors.empty()) carry_color(input, from, blends[v], out.colors[v]);
    if (!input.normals.empty()) {
      out.normals[v] =
          from >= 0 ? input.normals[static_cast<std::size_t>(from)] : unit(blends[v].normal);
    }
  }
  return out;
}

LiveMesh::LiveMesh(WorkMesh& mesh) : mesh_(mesh), head_(mesh.points.size(), -1) {
  next_.reserve(3 * mesh.triangles.size());
  std::vector<std::int32_t> items;
  items.reserve(mesh.triangles.size());
  for (std::int32_t f = 0; f < mesh.size(); ++f) {
    link(f);
    if (mesh.alive(f) && finite_corners(mesh.points, mesh.triangle(f))) items.push_back(f);
  }
  trees_.emplace_back(mesh.points, mesh.triangles, std::move(items));
}

void LiveMesh::link(std::int32_t f) {
  next_.resize(3 * static_cast<std::size_t>(f) + 3, -1);
  if (!mesh_.alive(f)) return;
  for (std::size_t k = 0; k < 3; ++k) {
    std::int32_t& head = head_[static_cast<std::size_t>(mesh_.triangle(f)[k])];
    const std::int32_t side = 3 * f + static_cast<std::int32_t>(k);
    next_[static_cast<std::size_t>(side)] = head;
    head = side;
  }
}

// Trees of doubling size: as many as the logarithm of the additions, each item rebuilt as often.
void LiveMesh::grow_forest(std::vector<std::int32_t> items) {
  while (trees_.size() > 1 && trees_.back().size() <= 2 * items.size()) {
    for (const std::int32_t f : trees_.back().items()) {
      if (mesh_.alive(f)) items.push_back(f);
    }
    trees_.pop_back();
  }
  if (!items.empty()) trees_.emplace_back(mesh_.points, mesh_.triangles, std::move(items));
}

std::int32_t LiveMesh::add_point(const Point& p) {
  head_.push_back(-1);
  return mesh_.add_point(p);
}

std::vector<std::int32_t> LiveMesh::add_triangles(const std::vector<Triangle>& triangles) {
  std::vector<std::int32_t> added;
  added.reserve(triangles.size());
  for (const Triangle& t : triangles) {
    added.push_back(mesh_.add_triangle(t));
    link(added.back());
  }
  grow_forest(added);
  return added;
}

std::vector<std::int32_t> LiveMesh::move_point(std::int32_t v, const Point& to) {
  std::vector<std::int32_t> around;
  for_each_at(v, [&](std::int32_t f, std::int32_t) { around.push_back(f); });
  std::sort(around.begin(), around.end());
  mesh_.points[static_cast<std::size_t>(v)] = to;
  std::vector<std::int32_t> added;
  for (const std::int32_t f : around) {
    const Triangle t = mesh_.triangle(f);
    mesh_.kill(f);
    added.push_back(mesh_.add_triangle(t, mesh_.triangle_from[static_cast<std::size_t>(f)]));
    link(added.back());
  }
  grow_forest(added);
  return added;
}

std::vector<std::int32_t> LiveMesh::with_side(std::int32_t a, std::int32_t b) const {
  std::vector<std::int32_t> found;
  for_each_at(a, [&](std::int32_t f, std::int32_t k) {
    if (mesh_.triangle(f)[static_cast<std::size_t>((k + 1) % 3)] == b) found.push_back(f);
  });
  return found;
}

int LiveMesh::edge_valence(std::int32_t a, std::int32_t b) const {
  int valence = 0;
  for_each_at(a, [&](std::int32_t f, std::int32_t k) {
    const Triangle& t = mesh_.triangle(f);
    valence += t[static_cast<std::size_t>((k + 1) % 3)] == b ||
               t[static_cast<std::size_t>((k + 2) % 3)] == b;
  });
  return valence;
}

}  // namespace scanmesh
