#include "toolkit/sheets.h"

#include <algorithm>
#include <limits>
#include <unordered_map>

#include "toolkit/vector_math.h"

namespace scanmesh {
namespace {

// Thicknesses, relative to the box's diagonal, that are tried in turn. The last is still told apart
// by programs that join what is closer than a millionth.
constexpr double kThickness[] = {2e-3, 4e-4, 8e-5, 1.6e-5};

using Faces = std::vector<std::int32_t>;

Point corner_angle_normal(const WorkMesh& mesh, std::int32_t f, std::size_t k) {
  const Point& at = mesh.corner(f, k);
  const Point u = unit(mesh.corner(f, (k + 1) % 3) - at);
  const Point v = unit(mesh.corner(f, (k + 2) % 3) - at);
  const double angle = std::acos(std::clamp(dot(u, v), -1.0, 1.0));
  return unit(area_vector(at, mesh.corner(f, (k + 1) % 3), mesh.corner(f, (k + 2) % 3))) * angle;
}

// The back and the wall of a sheet, with new points numbered from those of the mesh on.
Patch back_of(const WorkMesh& mesh, const Faces& sheet, const std::vector<std::int32_t>& opposite,
              double thickness, const Ground& ground) {
  std::unordered_map<std::int32_t, Point> normals;
  for (const std::int32_t f : sheet) {
    for (std::size_t k = 0; k < 3; ++k) {
      Point& normal = normals[mesh.triangle(f)[k]];
      normal = normal + corner_angle_normal(mesh, f, k);
    }
  }
  std::unordered_map<std::int32_t, std::int32_t> behind;
  Patch patch;
  patch.made = true;
  const auto back = [&](std::int32_t v) {
    const auto next = static_cast<std::int32_t>(mesh.points.size() + patch.new_points.size());
    const auto [at, fresh] = behind.emplace(v, next);
    if (fresh) {
      patch.new_points.push_back(ground.stored(mesh.point(v) - unit(normals[v]) * thickness));
    }
    return at->second;
  };
  for (const std::int32_t f : sheet) {
    const Triangle& t = mesh.triangle(f);
    patch.triangles.push_back({back(t[0]), back(t[2]), back(t[1])});
    for (std::int32_t side = 3 * f; side < 3 * f + 3; ++side) {
      if (opposite[static_cast<std::size_t>(side)] != kOpenSide) continue;
      const std::int32_t a = side_start(mesh.triangles, side);
      const std::int32_t b = side_end(mesh.triangles, side);
      patch.triangles.push_back({b, a, back(a)});
      patch.triangles.push_back({b, back(a), back(b)});
    }
  }
  return patch;
}

std::vector<Faces> open_components(const WorkMesh& mesh, const EdgeTable& edges) {
  const Components components = components_by_edges(mesh.triangles, edges);
  std::vector<bool> open(static_cast<std::size_t>(components.count), false);
  const auto component = [&](std::int32_t f) {
    return static_cast<std::size_t>(components.of_triangle[static_cast<std::size_t>(f)]);
  };
  for (std::size_t e = 0; e < edges.count(); ++e) {
    if (edges.valence(e) == 1) open[component(edges.side(edges.begin(e)) / 3)] = true;
  }
  std::vector<Faces> faces(open.size());
  for (std::int32_t f = 0; f < mesh.size(); ++f) {
    if (open[component(f)]) faces[component(f)].push_back(f);
  }
  faces.erase(std::remove_if(faces.begin(), faces.end(), [](const Faces& f) { return f.empty(); }),
              faces.end());
  return faces;
}

}  // namespace

SheetChanges back_sheets(WorkMesh& mesh, const Ground& ground) {
  SheetChanges changes;
  const EdgeTable edges(mesh.triangles, mesh.points.size());
  const std::vector<std::int32_t> opposite = opposite_sides(mesh.triangles, edges);
  const std::vector<Faces> sheets = open_components(mesh, edges);
  changes.sheets = static_cast<std::int64_t>(sheets.size());
  if (sheets.empty()) return changes;
  LiveMesh live(mesh);
  for (const Faces& sheet : sheets) {
    std::vector<Patch> best(1);
    std::int64_t fewest = std::numeric_limits<std::int64_t>::max();
    for (const double thickness : kThickness) {
      std::vector<Patch> made{back_of(mesh, sheet, opposite, thickness * ground.diagonal, ground)};
      const std::int64_t faults = faults_of(live, made, fewest - 1);
      if (faults >= fewest) continue;
      fewest = faults;
      best = std::move(made);
      if (faults == 0) break;
    }
    take_patches(live, best);
    ++changes.backed;
  }
  return changes;
}

}  // namespace scanmesh
