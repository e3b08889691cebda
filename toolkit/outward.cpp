#include "toolkit/outward.h"

#include <cmath>
#include <utility>

#include "toolkit/contact.h"
#include "toolkit/nesting.h"
#include "toolkit/validity.h"
#include "toolkit/vector_math.h"

namespace scanmesh {
namespace {

// Flux of the vectors from the middle of the shell through its triangles, relative to what it would
// be if all of them looked the same way: 1 for a sphere with a hole, -1 for one inside out.
std::vector<double> openness(const WorkMesh& mesh, const Components& components,
                             std::size_t shells) {
  std::vector<Point> middle(shells);
  std::vector<double> weight(shells, 0);
  const auto each = [&](auto use) {
    for (std::int32_t f = 0; f < mesh.size(); ++f) {
      const Point n = area_vector(mesh.corner(f, 0), mesh.corner(f, 1), mesh.corner(f, 2));
      const Point c = (mesh.corner(f, 0) + mesh.corner(f, 1) + mesh.corner(f, 2)) * (1.0 / 3);
      use(static_cast<std::size_t>(components.of_triangle[static_cast<std::size_t>(f)]), n, c);
    }
  };
  each([&](std::size_t s, const Point& n, const Point& c) {
    middle[s] = middle[s] + c * length(n);
    weight[s] += length(n);
  });
  for (std::size_t s = 0; s < shells; ++s) {
    if (weight[s] > 0) middle[s] = middle[s] * (1 / weight[s]);
  }
  std::vector<double> flux(shells, 0);
  std::vector<double> most(shells, 0);
  each([&](std::size_t s, const Point& n, const Point& c) {
    flux[s] += dot(n, c - middle[s]);
    most[s] += std::abs(dot(n, c - middle[s]));
  });
  for (std::size_t s = 0; s < shells; ++s) flux[s] = most[s] > 0 ? flux[s] / most[s] : 0;
  return flux;
}

BoxTree tree_of_good_faces(const WorkMesh& mesh) {
  std::vector<std::int32_t> items;
  for (std::int32_t f = 0; f < mesh.size(); ++f) {
    if (finite_corners(mesh.points, mesh.triangle(f)) &&
        !degenerate(mesh.points, mesh.triangle(f))) {
      items.push_back(f);
    }
  }
  return {mesh.points, mesh.triangles, std::move(items)};
}

}  // namespace

OutwardChanges turn_outward(WorkMesh& mesh, const std::vector<Intersection>& pairs) {
  // Below this an open shell shows both of its sides alike.
  constexpr double kClear = 0.15;
  OutwardChanges changes;
  const EdgeTable edges(mesh.triangles, mesh.points.size());
  const Components components = components_by_edges(mesh.triangles, edges);
  std::vector<Shell> shells = shells_of(mesh.points, mesh.triangles, edges, components);
  if (shells.size() > 1) {
    measure_depths(mesh.points, mesh.triangles, components, tree_of_good_faces(mesh), pairs,
                   shells);
  }
  const std::vector<double> seen = openness(mesh, components, shells.size());
  std::vector<bool> turn(shells.size(), false);
  for (std::size_t s = 0; s < shells.size(); ++s) {
    if (shells[s].closed) {
      turn[s] = inside_out(shells[s]);
      changes.cavities += shells[s].depth % 2;
    } else if (std::abs(seen[s]) < kClear) {
      ++changes.undecided;
    } else {
      turn[s] = seen[s] < 0;
    }
    changes.turned_shells += turn[s];
  }
  if (changes.turned_shells == 0) return changes;
  for (std::size_t f = 0; f < mesh.triangles.size(); ++f) {
    if (turn[static_cast<std::size_t>(components.of_triangle[f])]) {
      std::swap(mesh.triangles[f][1], mesh.triangles[f][2]);
    }
  }
  return changes;
}

}  // namespace scanmesh
