// The toolkit's simplify beside others: how far the result is from the input, what state it is in.
//   peers_toolkit_simplify [--quick | --check] FILE...
// --check tells only whether topology and state stayed, to a tenth and to a hundredth.
// Distances in thousandths of the box's diagonal, to the input and back; times in the toolkit's.
#include <chrono>
#include <cmath>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "peers/mesh_simplifiers.h"
#include "scanmesh/toolkit/toolkit.h"

namespace {

using scanmesh::TriangleMesh;

constexpr std::size_t kSamples = 200000;

peers::Simplified ours(const TriangleMesh& mesh, std::size_t faces) {
  scanmesh::SimplifyOptions options;
  options.faces = static_cast<std::int64_t>(faces);
  const auto begin = std::chrono::steady_clock::now();
  scanmesh::SimplifyResult result = scanmesh::simplify(mesh, options);
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
  return {std::move(result.mesh), took.count()};
}

struct Entrant {
  const char* name;
  std::function<peers::Simplified(const TriangleMesh&, std::size_t)> run;
};

std::vector<Entrant> entrants(bool quick) {
  std::vector<Entrant> all{{"scanmesh", ours}};
#ifdef SCANMESH_PEER_CGAL_SIMPLIFIERS
  all.push_back({"CGAL, Lindstrom-Turk", peers::cgal_lindstrom_turk});
  if (!quick) all.push_back({"CGAL, Garland-Heckbert", peers::cgal_garland_heckbert});
#endif
#ifdef SCANMESH_PEER_MESHOPTIMIZER_SIMPLIFIER
  all.push_back({"meshoptimizer", peers::meshoptimizer_simplified});
#endif
#ifdef SCANMESH_PEER_OPEN3D_SIMPLIFIER
  if (!quick) all.push_back({"Open3D", peers::open3d_simplified});
#endif
  if (!quick) all.push_back({"engine", peers::engine_simplified});
  return all;
}

// Height over longest side below a tenth.
double share_of_slivers(const TriangleMesh& mesh) {
  std::size_t slivers = 0;
  for (const scanmesh::Triangle& t : mesh.triangles) {
    double longest = 0;
    double sides[3][3];
    for (std::size_t k = 0; k < 3; ++k) {
      const scanmesh::Point& a = mesh.points[static_cast<std::size_t>(t[k])];
      const scanmesh::Point& b = mesh.points[static_cast<std::size_t>(t[(k + 1) % 3])];
      sides[k][0] = b.x - a.x;
      sides[k][1] = b.y - a.y;
      sides[k][2] = b.z - a.z;
      longest = std::max(longest, std::hypot(sides[k][0], sides[k][1], sides[k][2]));
    }
    const double x = sides[0][1] * sides[1][2] - sides[0][2] * sides[1][1];
    const double y = sides[0][2] * sides[1][0] - sides[0][0] * sides[1][2];
    const double z = sides[0][0] * sides[1][1] - sides[0][1] * sides[1][0];
    slivers += std::hypot(x, y, z) < 0.1 * longest * longest;
  }
  return mesh.triangles.empty()
             ? 0
             : static_cast<double>(slivers) / static_cast<double>(mesh.triangles.size());
}

double border_length(const TriangleMesh& mesh) {
  double sum = 0;
  for (const auto& ring : scanmesh::find_rings(mesh)) {
    for (std::size_t i = 0; i < ring.size(); ++i) {
      const scanmesh::Point& a = mesh.points[static_cast<std::size_t>(ring[i])];
      const scanmesh::Point& b = mesh.points[static_cast<std::size_t>(ring[(i + 1) % ring.size()])];
      sum += std::hypot(b.x - a.x, b.y - a.y, b.z - a.z);
    }
  }
  return sum;
}

void print_row(const TriangleMesh& mesh, const Entrant& entrant, const peers::Simplified& result,
               double unit_seconds) {
  if (result.mesh.triangles.empty()) {
    std::printf("| %s | takes no such mesh | | | | | | | | |\n", entrant.name);
    return;
  }
  const double size = scanmesh::bounding_box(mesh).diagonal() / 1000;
  const peers::OneWay there = peers::sampled_distance(result.mesh, mesh, kSamples);
  const peers::OneWay back = peers::sampled_distance(mesh, result.mesh, kSamples);
  const scanmesh::Health health = scanmesh::inspect(result.mesh);
  const double border = border_length(mesh);
  std::printf("| %s | %zu | %.4f | %.3f | %.1f %% | %.2f | %s | %lld | %lld | ", entrant.name,
              result.mesh.triangles.size(), (there.mean + back.mean) / 2 / size,
              std::max(there.maximum, back.maximum) / size, 100 * share_of_slivers(result.mesh),
              result.seconds / unit_seconds, health.manifold() ? "yes" : "no",
              static_cast<long long>(health.open_edges),
              static_cast<long long>(health.self_intersections));
  if (border > 0) {
    std::printf("%.4f |\n", border_length(result.mesh) / border);
  } else {
    std::printf("- |\n");
  }
}

void compare_at(const TriangleMesh& mesh, double share, bool quick) {
  const auto faces =
      static_cast<std::size_t>(std::ceil(share * static_cast<double>(mesh.triangles.size())));
  std::printf(
      "\nto %zu\n\n| | faces | mean | max | slivers | time | manifold | open edges | "
      "intersections | border kept |\n|---|---|---|---|---|---|---|---|---|---|\n",
      faces);
  double unit = 1;
  for (const Entrant& entrant : entrants(quick)) {
    const peers::Simplified result = entrant.run(mesh, faces);
    if (entrant.name == std::string("scanmesh")) unit = result.seconds;
    print_row(mesh, entrant, result, unit);
    std::fflush(stdout);
  }
}

bool kept(const scanmesh::Health& before, const scanmesh::Health& after) {
  return after.components == before.components && after.rings == before.rings &&
         (before.genus < 0 || after.genus == before.genus) &&
         after.nonmanifold_edges == before.nonmanifold_edges &&
         after.nonmanifold_vertices == before.nonmanifold_vertices &&
         after.twisted_edges == before.twisted_edges &&
         after.inward_components <= before.inward_components &&
         after.duplicate_faces <= before.duplicate_faces &&
         after.degenerate_faces <= before.degenerate_faces &&
         after.self_intersections <= before.self_intersections;
}

// How many of the two results aren't what the input was.
int check(const char* name, const TriangleMesh& mesh) {
  const scanmesh::Health before = scanmesh::inspect(mesh);
  int failures = 0;
  for (const double share : {0.1, 0.01}) {
    const auto faces =
        static_cast<std::size_t>(std::ceil(share * static_cast<double>(mesh.triangles.size())));
    const scanmesh::Health after = scanmesh::inspect(ours(mesh, faces).mesh);
    if (kept(before, after)) continue;
    ++failures;
    std::printf("%s to %zu\n  before: %s\n  after: %s\n", name, faces,
                scanmesh::to_json(before).c_str(), scanmesh::to_json(after).c_str());
  }
  return failures;
}

}  // namespace

int main(int argc, char** argv) {
  bool quick = false;
  bool only_check = false;
  int checked = 0;
  int failures = 0;
  for (int i = 1; i < argc; ++i) {
    if (argv[i] == std::string("--quick")) {
      quick = true;
      continue;
    }
    if (argv[i] == std::string("--check")) {
      only_check = true;
      continue;
    }
    TriangleMesh mesh;
    try {
      mesh = scanmesh::read_mesh(argv[i]);
    } catch (const scanmesh::Error& error) {
      std::fprintf(stderr, "%s\n", error.what());
      if (!only_check) return 1;
      continue;
    }
    if (only_check) {
      ++checked;
      failures += check(argv[i], mesh);
      continue;
    }
    std::printf("\n## %s, %zu triangles: %s\n", argv[i], mesh.triangles.size(),
                scanmesh::describe(scanmesh::inspect(mesh)).c_str());
    for (const double share :
         quick ? std::vector<double>{0.1, 0.01} : std::vector<double>{0.5, 0.1, 0.01}) {
      compare_at(mesh, share, quick);
    }
  }
  if (only_check)
    std::printf("%d meshes, %d results that aren't as they were\n", checked, failures);
  return failures == 0 ? 0 : 1;
}
