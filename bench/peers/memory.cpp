// Resident memory of a mesh. One measurement per process: memory that an earlier mesh has released
// would be handed out again unseen.
#include <cstdio>
#include <string>

#include "scanmesh/mesh.h"
#include "support/console.h"

namespace {

constexpr double kMebibyte = 1024.0 * 1024.0;

void insert_one_triangle(Mesh_M::Mesh& mesh) {
  Mesh_R::_vert* corners[3];
  for (int k = 0; k < 3; ++k) {
    MemS::Point3v<float> point{k == 1 ? 1.0F : 0.0F, k == 2 ? 1.0F : 0.0F, 0.0F};
    corners[k] = mesh.vertex.insert_vert(point);
  }
  MemS::Point3v<float> normal{0, 0, 1};
  mesh.insert_face(corners[0], corners[1], corners[2], normal);
}

int measure_fresh() {
  const double before = demo::resident_memory_mib();
  Mesh_M::Mesh mesh;
  mesh.inalize();
  insert_one_triangle(mesh);
  std::printf("Memory of a fresh mesh with one triangle: %s MiB\n\n",
              demo::number(demo::resident_memory_mib() - before, 2).c_str());
  return 0;
}

int measure_loaded(const std::string& path) {
  const double before = demo::resident_memory_mib();
  Mesh_M::Mesh mesh;
  std::FILE* const file = std::fopen(path.c_str(), "rb");
  if (file == nullptr || mesh.input_data(file) != 0) return 1;
  mesh.inalize_mesh();
  const double grown = demo::resident_memory_mib() - before;
  const double peak = demo::peak_memory_mib() - before;
  const double faces = mesh.face.real_num;
  demo::Table table({"faces", "MiB", "bytes per face", "while loading, bytes per face"});
  table.add({demo::count(mesh.face.real_num), demo::number(grown, 1),
             demo::number(grown * kMebibyte / faces, 0),
             demo::number(peak * kMebibyte / faces, 0)});
  std::printf("Memory after opening a scan:\n\n%s\n", table.text().c_str());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: %s fresh | SCAN.stl\n", argv[0]);
    return 2;
  }
  const std::string what = argv[1];
  return what == "fresh" ? measure_fresh() : measure_loaded(what);
}
