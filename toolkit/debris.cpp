#include "toolkit/debris.h"

#include <algorithm>

namespace scanmesh {

std::int64_t drop_shells(WorkMesh& mesh,
                         const std::function<bool(const Shell&, const ShellTotals&)>& unwanted) {
  const EdgeTable edges(mesh.triangles, mesh.points.size());
  const Components components = components_by_edges(mesh.triangles, edges);
  const std::vector<Shell> shells = shells_of(mesh.points, mesh.triangles, edges, components);
  ShellTotals totals;
  for (const Shell& shell : shells) {
    totals.area += shell.area;
    totals.largest = std::max(totals.largest, shell.area);
  }
  std::vector<bool> goes(shells.size());
  for (std::size_t s = 0; s < shells.size(); ++s) goes[s] = unwanted(shells[s], totals);
  std::int64_t dropped = 0;
  for (std::int32_t f = 0; f < mesh.size(); ++f) {
    const auto shell =
        static_cast<std::size_t>(components.of_triangle[static_cast<std::size_t>(f)]);
    if (!goes[shell]) continue;
    mesh.kill(f);
    ++dropped;
  }
  if (dropped > 0) mesh.compact();
  return dropped;
}

}  // namespace scanmesh
