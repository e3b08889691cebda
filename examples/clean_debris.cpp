// Finds the small shells of a scan and removes them; with `undo` the removal is taken back.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "load_scan.h"
#include "scanmesh/mesh.h"
#include "support/console.h"

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fputs(
        "usage: clean_debris SCAN.stl OUT.stl [LIMIT [undo]]\n"
        "  shells of fewer than LIMIT faces go, and of less than half a percent (default 1000)\n",
        stderr);
    return 2;
  }
  const int limit = argc > 3 ? std::atoi(argv[3]) : 1000;
  Mesh_M::Mesh mesh;
  if (!demo::load_scan(argv[1], mesh)) {
    std::fprintf(stderr, "clean_debris: %s: is no STL file\n", argv[1]);
    return 1;
  }
  mesh.inalize_mesh();
  const int before = mesh.face.get_real_facenum();

  const demo::Stopwatch watch;
  std::vector<Mesh_R::_face*> debris;
  const int found = mesh.open_manifold_slider(debris, limit);
  std::printf("%d of %d faces are debris, found in %.3f s\n", found, before, watch.seconds());

  // The record holds what it takes to bring them back; until then nothing may compact the mesh.
  Mesh_M::obj_triangle* const record = mesh.storage_delFace(debris.data(), found);
  mesh._dele_triangle(debris.data(), found);
  std::printf("removed: %d faces are left\n", mesh.face.get_real_facenum());
  if (argc > 4 && std::strcmp(argv[4], "undo") == 0) {
    mesh.Revoked_triangle(record);  // and frees the record
    std::printf("taken back: %d faces\n", mesh.face.get_real_facenum());
  } else {
    demo::drop(record);
  }
  if (!demo::save_scan(argv[2], mesh)) {
    std::fprintf(stderr, "clean_debris: %s: can't be written\n", argv[2]);
    return 1;
  }
  return 0;
}
