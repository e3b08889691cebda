// The engine's spike removal on a mesh as a value.
#include <algorithm>
#include <array>
#include <set>
#include <string>

#include "scanmesh/messages.h"
#include "scanmesh/toolkit/filters.h"
#include "toolkit/engine_mesh.h"
#include "toolkit/progress.h"
#include "toolkit/validity.h"
#include "toolkit/vector_math.h"
#include "toolkit/work_mesh.h"

namespace scanmesh {
namespace {

// The engine takes a spike on three faces away, vertex and all, and puts one face in the place; on
// more faces it moves it.
bool stands_on_three(const LiveMesh& live, std::int32_t v) {
  std::set<std::int32_t> neighbours;
  std::set<Triangle> faces;
  live.for_each_at(v, [&](std::int32_t f, std::int32_t) {
    Triangle t = live.mesh().triangle(f);
    std::sort(t.begin(), t.end());
    faces.insert(t);
    for (const std::int32_t w : t) {
      if (w != v) neighbours.insert(w);
    }
  });
  return neighbours.size() == 3 && faces.size() == 3;
}

// Splits the edge at its middle, in all its triangles.
void split_edge(LiveMesh& live, std::int32_t a, std::int32_t b) {
  const std::int32_t middle =
      live.add_point(live.mesh().point(a) * 0.5 + live.mesh().point(b) * 0.5);
  std::vector<std::int32_t> split = live.with_side(a, b);
  const std::vector<std::int32_t> others = live.with_side(b, a);
  split.insert(split.end(), others.begin(), others.end());
  std::vector<Triangle> halves;
  for (const std::int32_t f : split) {
    for (const std::int32_t replaced : {a, b}) {
      Triangle half = live.mesh().triangle(f);
      std::replace(half.begin(), half.end(), replaced, middle);
      halves.push_back(half);
    }
    live.kill(f);
  }
  live.add_triangles(halves);
}

// The mesh with a fourth face at each vertex that stands on three, so that the engine moves it and
// every point is there afterwards. The new points follow the mesh's own, and are dropped with the
// triangles.
TriangleMesh without_threes(const TriangleMesh& mesh) {
  TriangleMesh usable;
  usable.points = mesh.points;
  usable.triangles = usable_triangles(mesh);
  WorkMesh work(usable);
  LiveMesh live(work);
  const auto count = static_cast<std::int32_t>(mesh.points.size());
  for (std::int32_t v = 0; v < count; ++v) {
    if (!stands_on_three(live, v)) continue;
    std::array<std::int32_t, 2> across{-1, -1};
    live.for_each_at(v, [&](std::int32_t f, std::int32_t k) {
      const Triangle& t = work.triangle(f);
      across = {t[static_cast<std::size_t>((k + 1) % 3)], t[static_cast<std::size_t>((k + 2) % 3)]};
    });
    split_edge(live, across[0], across[1]);
  }
  work.compact();
  usable.points = work.points;
  usable.triangles = work.triangles;
  return usable;
}

constexpr int kMostAggressive = 100;

}  // namespace

TriangleMesh remove_spikes(const TriangleMesh& mesh, int level, const Progress& progress) {
  require_valid(mesh);
  if (level < 0 || level > kMostAggressive) {
    throw Error(ErrorCode::invalid_argument,
                "the level of spike removal goes from 0 to 100, not " + std::to_string(level));
  }
  report(progress, 0, "remove spikes");
  TriangleMesh result = mesh;
  if (usable_triangles(mesh).empty()) return result;
  const TriangleMesh split = without_threes(mesh);
  const QuietThread quiet;
  EngineMesh copy(split, EngineFrame(bounding_box(mesh), mean_side(mesh)));
  report(progress, 0.1, "remove spikes");
  copy.engine().remove_spikes_new(level);
  if (copy.engine().vertex.get_vertnum() == static_cast<int>(split.points.size())) {
    copy.take_positions(result.points);
  }
  renew_normals(mesh, result);
  report(progress, 1, "remove spikes");
  return result;
}

}  // namespace scanmesh
