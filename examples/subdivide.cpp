// Subdivides a mesh once or more (Loop), with sharp edges kept where they are asked for.
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "load_scan.h"
#include "scanmesh/mesh.h"
#include "support/console.h"

namespace {

using Mesh = Mesh_M::Mesh;

// The mesh with four faces in the place of each; null when it doesn't fit into memory.
std::unique_ptr<Mesh> subdivided(Mesh& mesh, float curvature_limit) {
  if (curvature_limit > 0) mesh.markHighCurvature(curvature_limit);
  fmx::sub_mid facets = mesh.Mesh_loop_subdividion_step1();
  auto finer = std::make_unique<Mesh>();
  Mesh* target = finer.get();
  const int status = mesh.Mesh_loop_subdividion_step2(target, facets);
  delete[] facets.faces;  // the facets are the caller's
  if (status != 0) return nullptr;
  return finer;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fputs(
        "usage: subdivide IN.stl OUT.stl [ROUNDS [LIMIT]]\n"
        "  vertices of a curvature above LIMIT stay, which keeps edges sharp (default: none)\n",
        stderr);
    return 2;
  }
  const int rounds = argc > 3 ? std::atoi(argv[3]) : 1;
  const float limit = argc > 4 ? static_cast<float>(std::atof(argv[4])) : 0;
  auto mesh = std::make_unique<Mesh>();
  if (!demo::load_scan(argv[1], *mesh)) {
    std::fprintf(stderr, "subdivide: %s: is no STL file\n", argv[1]);
    return 1;
  }
  mesh->inalize_mesh();
  for (int round = 1; round <= rounds; ++round) {
    const demo::Stopwatch watch;
    mesh = subdivided(*mesh, limit);
    if (mesh == nullptr) {
      std::fputs("subdivide: not enough memory\n", stderr);
      return 1;
    }
    std::printf("round %d: %s faces, %.2f s\n", round,
                demo::count(mesh->face.get_real_facenum()).c_str(), watch.seconds());
  }
  if (!demo::save_scan(argv[2], *mesh)) {
    std::fprintf(stderr, "subdivide: %s: can't be written\n", argv[2]);
    return 1;
  }
  return 0;
}
