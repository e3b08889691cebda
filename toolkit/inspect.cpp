#include "scanmesh/toolkit/inspect.h"

#include <algorithm>
#include <cmath>

#include "toolkit/box_tree.h"
#include "toolkit/contact.h"
#include "toolkit/nesting.h"
#include "toolkit/progress.h"
#include "toolkit/rings.h"
#include "toolkit/validity.h"
#include "toolkit/vector_math.h"
#include "toolkit/welding.h"

namespace scanmesh {
namespace {

// The numbers of faces that can be judged by geometry, and the count of the others.
struct GoodFaces {
  std::vector<std::int32_t> items;
  std::int64_t degenerate = 0;
  std::int64_t nonfinite = 0;
};

GoodFaces good_faces(const TriangleMesh& mesh) {
  GoodFaces good;
  good.items.reserve(mesh.triangles.size());
  for (std::size_t f = 0; f < mesh.triangles.size(); ++f) {
    if (!finite_corners(mesh.points, mesh.triangles[f])) {
      ++good.nonfinite;
    } else if (degenerate(mesh.points, mesh.triangles[f])) {
      ++good.degenerate;
    } else {
      good.items.push_back(static_cast<std::int32_t>(f));
    }
  }
  return good;
}

std::vector<Intersection> contacts_of_part(const TriangleMesh& mesh, const BoxTree& tree,
                                           const BoxTree::NodePair& part) {
  std::vector<Intersection> found;
  tree.for_each_pair(part, [&](std::int32_t i, std::int32_t j) {
    const Contact contact = contact_of(mesh.points, mesh.triangles[static_cast<std::size_t>(i)],
                                       mesh.triangles[static_cast<std::size_t>(j)]);
    if (contact != Contact::none) found.push_back({std::min(i, j), std::max(i, j), contact});
  });
  return found;
}

// In parts, so that all processors work and the caller can stop in between.
std::vector<Intersection> contacts_in_tree(const TriangleMesh& mesh, const BoxTree& tree,
                                           const Progress& progress) {
  constexpr std::size_t kParts = 512;
  constexpr std::size_t kAtOnce = 32;
  const std::vector<BoxTree::NodePair> parts = tree.parts(kParts);
  std::vector<Intersection> all;
  for (std::size_t begin = 0; begin < parts.size(); begin += kAtOnce) {
    const auto count = static_cast<std::int64_t>(std::min(kAtOnce, parts.size() - begin));
    std::vector<std::vector<Intersection>> found(static_cast<std::size_t>(count));
#pragma omp parallel for schedule(dynamic) if (tree.size() > 2000)
    for (std::int64_t i = 0; i < count; ++i) {
      found[static_cast<std::size_t>(i)] =
          contacts_of_part(mesh, tree, parts[begin + static_cast<std::size_t>(i)]);
    }
    for (const auto& some : found) all.insert(all.end(), some.begin(), some.end());
    report(progress, static_cast<double>(begin) / static_cast<double>(parts.size()),
           "self-intersections");
  }
  std::sort(all.begin(), all.end(), [](const Intersection& a, const Intersection& b) {
    return a.first != b.first ? a.first < b.first : a.second < b.second;
  });
  return all;
}

void count_edges(const TriangleMesh& mesh, const EdgeTable& edges, Health& health) {
  double total = 0;
  for (std::size_t e = 0; e < edges.count(); ++e) {
    const std::int32_t side = edges.side(edges.begin(e));
    const std::int32_t a = side_start(mesh.triangles, side);
    const std::int32_t b = side_end(mesh.triangles, side);
    const double size = distance(mesh.points[static_cast<std::size_t>(a)],
                                 mesh.points[static_cast<std::size_t>(b)]);
    if (std::isfinite(size)) total += size;
    const std::int32_t valence = edges.valence(e);
    health.open_edges += valence == 1;
    health.nonmanifold_edges += valence > 2;
    health.twisted_edges +=
        valence == 2 && side_start(mesh.triangles, edges.side(edges.begin(e) + 1)) == a;
  }
  if (edges.count() > 0) health.mean_edge = total / static_cast<double>(edges.count());
}

// A fan is what hangs together at a vertex across edges; corners are named by the side that starts
// there.
void count_vertices(const TriangleMesh& mesh, const EdgeTable& edges, Health& health) {
  DisjointSets fans(3 * mesh.triangles.size());
  const auto corner_at = [&](std::int32_t side, std::int32_t vertex) {
    return side_start(mesh.triangles, side) == vertex ? side : side / 3 * 3 + (side % 3 + 1) % 3;
  };
  for (std::size_t e = 0; e < edges.count(); ++e) {
    const std::int32_t first = edges.side(edges.begin(e));
    for (std::int32_t i = edges.begin(e) + 1; i < edges.end(e); ++i) {
      for (const std::int32_t v :
           {side_start(mesh.triangles, first), side_end(mesh.triangles, first)}) {
        fans.join(corner_at(first, v), corner_at(edges.side(i), v));
      }
    }
  }
  std::vector<std::uint8_t> fans_at(mesh.points.size(), 0);
  for (std::int32_t corner = 0; corner < static_cast<std::int32_t>(3 * mesh.triangles.size());
       ++corner) {
    const Triangle& t = mesh.triangles[static_cast<std::size_t>(corner / 3)];
    if (t[0] == t[1] || t[1] == t[2] || t[2] == t[0] || fans.find(corner) != corner) continue;
    std::uint8_t& count = fans_at[static_cast<std::size_t>(side_start(mesh.triangles, corner))];
    if (count < 2) ++count;
  }
  for (const std::uint8_t count : fans_at) health.nonmanifold_vertices += count > 1;
}

std::int64_t used_points(const TriangleMesh& mesh) {
  std::vector<bool> used(mesh.points.size(), false);
  for (const Triangle& t : mesh.triangles) {
    for (const std::int32_t v : t) used[static_cast<std::size_t>(v)] = true;
  }
  return std::count(used.begin(), used.end(), true);
}

// Euler's count, each ring closed by a disk in mind.
std::int64_t genus_of(const Health& health, std::size_t edge_count) {
  if (!health.manifold() || !health.oriented() || health.faces == 0) return -1;
  const std::int64_t euler =
      health.vertices - static_cast<std::int64_t>(edge_count) + health.faces + health.rings;
  return health.components - euler / 2;
}

Health inspect_valid(const TriangleMesh& mesh, const Progress& progress) {
  Health health;
  health.faces = static_cast<std::int64_t>(mesh.triangles.size());
  health.vertices = used_points(mesh);
  health.box = bounding_box(mesh);
  report(progress, 0, "edges");
  const EdgeTable edges(mesh.triangles, mesh.points.size());
  count_edges(mesh, edges, health);
  count_vertices(mesh, edges, health);
  health.duplicate_faces =
      static_cast<std::int64_t>(copies_of_earlier(mesh.triangles, mesh.points.size()).size());
  const std::vector<std::int32_t> opposite = opposite_sides(mesh.triangles, edges);
  health.rings = static_cast<std::int64_t>(walk_rings(mesh.triangles, opposite).size());

  report(progress, 0.3, "faces");
  GoodFaces good = good_faces(mesh);
  health.degenerate_faces = good.degenerate;
  health.nonfinite_faces = good.nonfinite;
  const BoxTree tree(mesh.points, mesh.triangles, std::move(good.items));
  const std::vector<Intersection> pairs =
      contacts_in_tree(mesh, tree, share_of(progress, 0.4, 0.9, "self-intersections"));
  health.self_intersections = static_cast<std::int64_t>(pairs.size());

  report(progress, 0.9, "shells");
  const Components components = components_by_edges(mesh.triangles, edges);
  health.components = components.count;
  std::vector<Shell> shells = shells_of(mesh.points, mesh.triangles, edges, components);
  measure_depths(mesh.points, mesh.triangles, components, tree, pairs, shells);
  for (const Shell& shell : shells) {
    health.inward_components += inside_out(shell);
    health.volume += shell.volume;
    health.area += shell.area;
  }
  health.genus = genus_of(health, edges.count());
  report(progress, 1, "shells");
  return health;
}

}  // namespace

Health inspect(const TriangleMesh& mesh, const InspectOptions& options) {
  require_valid(mesh);
  if (!options.as_stored_in_floats) return inspect_valid(mesh, options.progress);
  TriangleMesh stored = mesh;
  for (Point& p : stored.points) p = rounded_to_floats(p);
  join_equal_points(stored);
  return inspect_valid(stored, options.progress);
}

std::vector<Intersection> find_self_intersections(const TriangleMesh& mesh,
                                                  const Progress& progress) {
  require_valid(mesh);
  const BoxTree tree(mesh.points, mesh.triangles, good_faces(mesh).items);
  return contacts_in_tree(mesh, tree, progress);
}

std::vector<std::vector<std::int32_t>> find_rings(const TriangleMesh& mesh) {
  require_valid(mesh);
  const EdgeTable edges(mesh.triangles, mesh.points.size());
  return walk_rings(mesh.triangles, opposite_sides(mesh.triangles, edges));
}

}  // namespace scanmesh
