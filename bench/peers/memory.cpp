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

// The most that was resident since `forget_peak`, MiB; 0 where the system doesn't tell.
double recent_peak_mib() {
  std::FILE* const file = std::fopen("/proc/self/status", "r");
  if (file == nullptr) return 0;
  char line[256];
  long kibibytes = 0;
  while (std::fgets(line, sizeof(line), file) != nullptr) {
    if (std::sscanf(line, "VmHWM: %ld", &kibibytes) == 1) break;
  }
  std::fclose(file);
  return static_cast<double>(kibibytes) / 1024.0;
}
void forget_peak() {
  std::FILE* const file = std::fopen("/proc/self/clear_refs", "w");
  if (file == nullptr) return;
  std::fputs("5", file);
  std::fclose(file);
}

int measure_writers(const std::string& path) {
  Mesh_M::Mesh mesh;
  std::FILE* const file = std::fopen(path.c_str(), "rb");
  if (file == nullptr || mesh.input_data(file) != 0) return 1;
  mesh.inalize_mesh();
  const std::string out = path + ".written";
  const std::wstring wide(out.begin(), out.end());
  demo::Table table({"writer", "MiB beyond the mesh, at most"});
  const auto measure = [&](const char* name, auto write) {
    forget_peak();
    const double before = demo::resident_memory_mib();
    write();
    table.add({name, demo::number(recent_peak_mib() - before, 2)});
  };
  measure("output_OBJ", [&] { mesh.output_OBJ(wide.c_str()); });
  measure("output_PLY", [&] { mesh.output_PLY(wide.c_str()); });
  measure("output_STL", [&] { mesh.output_STL(out.c_str()); });
  measure("output_WRL", [&] { mesh.output_WRL(out.c_str()); });
  measure("output_X3D", [&] { mesh.output_X3D(out.c_str()); });
  measure("output_DAE", [&] { mesh.output_DAE(out.c_str()); });
  measure("output_XYZ", [&] { mesh.output_XYZ(out.c_str()); });
  std::remove(out.c_str());
  std::printf("Memory of writing %s faces:\n\n%s\n", demo::count(mesh.face.real_num).c_str(),
              table.text().c_str());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: %s fresh | [writers] SCAN.stl\n", argv[0]);
    return 2;
  }
  if (argc == 3) return measure_writers(argv[2]);
  const std::string what = argv[1];
  return what == "fresh" ? measure_fresh() : measure_loaded(what);
}
