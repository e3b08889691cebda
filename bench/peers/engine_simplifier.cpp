#include <chrono>
#include <filesystem>

#include "peers/mesh_simplifiers.h"
#include "peers/scanmesh_mesh.h"
#include "quiet_output.h"
#include "scanmesh/toolkit/toolkit.h"

namespace peers {

// Its result is read from an STL file, whose corners are joined where they are equal.
Simplified engine_simplified(const scanmesh::TriangleMesh& mesh, std::size_t faces) {
  IndexedMesh indexed;
  for (const scanmesh::Point& p : mesh.points) {
    for (const double x : {p.x, p.y, p.z}) indexed.points.push_back(static_cast<float>(x));
  }
  for (const scanmesh::Triangle& t : mesh.triangles) {
    for (const std::int32_t v : t) indexed.corners.push_back(static_cast<unsigned int>(v));
  }
  const auto copy = mesh_of(indexed);
  const auto begin = std::chrono::steady_clock::now();
  {
    const bench::QuietOutput quiet;
    copy->Mesh_simplify(static_cast<int>(faces), true);
  }
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
  const auto path = std::filesystem::temp_directory_path() / "scanmesh_engine_simplified.stl";
  copy->output_STL(path.string().c_str());
  Simplified out{scanmesh::weld(scanmesh::read_mesh(path)).mesh, took.count()};
  std::filesystem::remove(path);
  return out;
}

}  // namespace peers
