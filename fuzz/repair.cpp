// A small mesh with chosen damage, or of chosen triangles, repaired: no face from nothing, nothing
// worse than before, and what is healthy stays as it is.
#include <cmath>

#include "fuzz/input_bytes.h"
#include "scanmesh/toolkit/repair.h"
#include "tests/support/damage.h"

namespace {

using fuzz::require;
using scanmesh::TriangleMesh;

TriangleMesh chosen_mesh(fuzz::InputBytes& bytes) {
  const auto seed = static_cast<std::uint32_t>(bytes.below(65536));
  TriangleMesh mesh = bytes.byte() % 2 == 0 ? test_support::noisy_torus(12, 8, seed)
                                            : test_support::grid_cube(1 + bytes.byte() % 4);
  test_support::Damager damager(mesh, seed);
  for (int i = bytes.byte() % 5; i > 0; --i) {
    damager.apply(static_cast<test_support::Damage>(
        bytes.below(static_cast<int>(test_support::Damage::count))));
  }
  // Triangles over any of its points, and points anywhere on a coarse grid.
  const auto point = [&] { return bytes.below(static_cast<int>(mesh.points.size())); };
  for (int i = bytes.byte() % 8; i > 0 && !mesh.points.empty(); --i) {
    mesh.triangles.push_back({point(), point(), point()});
  }
  for (int i = bytes.byte() % 8; i > 0 && !mesh.points.empty(); --i) {
    const auto coordinate = [&bytes] { return bytes.byte() % 9 * 0.25 - 1; };
    mesh.points[static_cast<std::size_t>(point())] = {coordinate(), coordinate(), coordinate()};
  }
  const double scales[] = {1, 1e6, 1e-6, 1e30};
  const double scale = scales[bytes.byte() % 4];
  return test_support::moved(mesh, {}, scale);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  fuzz::InputBytes bytes(data, size);
  const TriangleMesh mesh = chosen_mesh(bytes);
  scanmesh::RepairOptions options;
  options.holes = bytes.byte() % 4 == 0 ? scanmesh::Holes::none : scanmesh::Holes::all;
  const scanmesh::RepairResult result = scanmesh::repair(mesh, options);
  for (const scanmesh::Point& p : result.mesh.points) {
    require(std::isfinite(p.x + p.y + p.z), "positions that are numbers");
  }
  for (const scanmesh::Triangle& t : result.mesh.triangles) {
    for (const std::int32_t v : t) {
      require(v >= 0 && v < static_cast<std::int32_t>(result.mesh.points.size()),
              "corners that are there");
    }
  }
  require(result.report.origin.triangles.size() == result.mesh.triangles.size(), "origins");
  if (result.report.after.healthy()) {
    require(scanmesh::repair(result.mesh, options).mesh == result.mesh, "a result that stays");
  }
  return 0;
}
