// Smooths a scan: opens an STL file, runs the filter that was picked, saves.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "load_scan.h"
#include "scanmesh/mesh.h"
#include "support/console.h"

namespace {

using Mesh = Mesh_M::Mesh;

struct Filter {
  const char* name;
  int usual_level;
  const char* what;
  void (*run)(Mesh& mesh, int level);
};

constexpr Filter kFilters[] = {
    {"taubin", 10, "LEVEL pairs of uniform steps; rounds sharp edges, keeps the volume",
     [](Mesh& mesh, int level) { mesh.meshSmooth(level); }},
    {"border", 0, "open borders only; LEVEL isn't used",
     [](Mesh& mesh, int) { mesh.Mesh_Taubin_Smooth_Border(); }},
    {"fast", 2, "normals first, then vertices; LEVEL 1 to 6, edges sharpest with 4 and 5",
     [](Mesh& mesh, int level) { mesh.Fast_Eletric_Filter(level, 0.6F, false); }},
    {"bilateral", 1, "bilateral normals; LEVEL 0 to 3",
     [](Mesh& mesh, int level) { mesh.bilateralNormalde(static_cast<Mesh::smooth_level>(level)); }},
    {"two-step", 1, "thresholded normals in rounds; LEVEL 0 to 3",
     [](Mesh& mesh, int level) { mesh.Two_Step_Smooth(static_cast<Mesh::smooth_level>(level)); }},
    {"spikes", 50, "spikes and pits only; LEVEL 0 to 100, the more aggressive the higher",
     [](Mesh& mesh, int level) { mesh.remove_spikes_new(level); }},
};

int usage() {
  std::fputs("usage: smooth_scan SCAN.stl OUT.stl FILTER [LEVEL]\n", stderr);
  for (const Filter& filter : kFilters) {
    std::fprintf(stderr, "  %-10s %s (default %d)\n", filter.name, filter.what, filter.usual_level);
  }
  return 2;
}

int fail(const std::string& file, const char* reason) {
  std::fprintf(stderr, "smooth_scan: %s: %s\n", file.c_str(), reason);
  return 1;
}

const Filter* find_filter(const std::string& name) {
  for (const Filter& filter : kFilters) {
    if (name == filter.name) return &filter;
  }
  return nullptr;
}

}  // namespace

int main(int argc, char** argv) {
  const Filter* const filter = argc == 4 || argc == 5 ? find_filter(argv[3]) : nullptr;
  if (filter == nullptr) return usage();
  const int level = argc == 5 ? std::atoi(argv[4]) : filter->usual_level;

  Mesh mesh;
  if (!demo::load_scan(argv[1], mesh))
    return fail(argv[1], "is no STL file, or too large for the memory at hand");
  mesh.inalize_mesh();

  demo::ProgressBar bar;
  mesh.setProcessStepCallback([&bar](qv::alg::ProcessStepInfoType& info) {
    bar.update(info.step, info.step_count);
    return 0;
  });
  bar.start(filter->name + std::string(", level ") + std::to_string(level));
  filter->run(mesh, level);
  bar.finish();

  if (!demo::save_scan(argv[2], mesh)) return fail(argv[2], "can't be written");
  std::printf("%s: %s faces\n", argv[2], demo::count(mesh.face.get_real_facenum()).c_str());
  return 0;
}
