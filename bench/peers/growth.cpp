// How the cost of opening, orienting and finding rings grows with the size of the mesh.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "generated_surfaces.h"
#include "scanmesh/mesh.h"
#include "support/console.h"
#include "support/stl_file.h"

namespace {

bool open_scan(Mesh_M::Mesh& mesh, const std::string& path) {
  std::FILE* const file = std::fopen(path.c_str(), "rb");
  return file != nullptr && mesh.input_data(file) == 0;
}

// Once without the clock: a virtual machine takes seconds to be given gigabytes that it hasn't used
// yet, which would count for the largest scans alone. Median-free on purpose: from a million faces
// on, one run takes seconds.
bool measure(int faces, const std::string& path, demo::Table& table) {
  if (!bench::write_wavy_grid(path, faces)) return false;
  {
    Mesh_M::Mesh warming;
    if (!open_scan(warming, path)) return false;
  }
  Mesh_M::Mesh mesh;
  const demo::Stopwatch loading;
  if (!open_scan(mesh, path)) return false;
  const double load = loading.seconds();
  const demo::Stopwatch orienting;
  mesh.inalize_mesh();
  const double orient = orienting.seconds();
  const demo::Stopwatch finding;
  mesh.build_hole();
  const double holes = finding.seconds();
  const double millions = mesh.face.real_num / 1e6;
  table.add({demo::count(mesh.face.real_num), demo::number(load / millions, 3),
             demo::number(orient / millions, 3), demo::number(holes / millions, 4)});
  std::remove(path.c_str());
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  const int most = argc > 1 ? std::atoi(argv[1]) : 10000000;
  const std::string scratch = argc > 2 ? argv[2] : "growth_scratch.stl";
  demo::Table table({"faces", "opening", "normals and orientation", "finding rings"});
  for (double faces = 1e4; faces <= most * 1.0001; faces *= std::sqrt(10.0)) {
    if (!measure(static_cast<int>(faces + 0.5), scratch, table)) {
      std::fprintf(stderr, "%s: can't be written and read\n", scratch.c_str());
      return 1;
    }
  }
  std::printf("Seconds per million faces of a wavy grid with gaps:\n\n%s\n", table.text().c_str());
  return 0;
}
