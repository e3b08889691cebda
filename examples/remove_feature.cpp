// Cuts a feature out of a surface and closes the wound; with `undo` everything is put back.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "load_scan.h"
#include "scanmesh/mesh.h"

namespace {

// The faces with a corner in a ball.
std::vector<Mesh_R::_face*> select(Mesh_M::Mesh& mesh, const MemS::Point3v<float>& centre,
                                   float radius) {
  std::vector<Mesh_R::_face*> selected;
  for (int i = 0; i < mesh.face.get_facenum(); ++i) {
    Mesh_R::_face* const face = mesh.face[i];
    if (face->state == Mesh_R::kStateDeleted) continue;
    for (const Mesh_R::_vert* corner : face->vert) {
      const MemS::Point3v<float>& p = corner->point;
      if (std::hypot(p.x - centre.x, p.y - centre.y, p.z - centre.z) > radius) continue;
      selected.push_back(face);
      break;
    }
  }
  return selected;
}

float number(const char* word) {
  return static_cast<float>(std::atof(word));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 7) {
    std::fputs("usage: remove_feature IN.stl OUT.stl X Y Z RADIUS [undo]\n", stderr);
    return 2;
  }
  Mesh_M::Mesh mesh;
  if (!demo::load_scan(argv[1], mesh)) {
    std::fprintf(stderr, "remove_feature: %s: is no STL file\n", argv[1]);
    return 1;
  }
  mesh.inalize_mesh();
  std::vector<Mesh_R::_face*> feature =
      select(mesh, {number(argv[3]), number(argv[4]), number(argv[5])}, number(argv[6]));

  Mesh_R::_face** added = nullptr;
  int added_count = 0;
  const auto half_spacing = static_cast<float>(demo::mean_edge_length(mesh) / 2);
  Mesh_M::obj_triangle* const record = mesh.remove_feature(
      feature.data(), static_cast<int>(feature.size()), added, added_count, half_spacing);
  if (record == nullptr) {
    std::fputs("remove_feature: nothing there, or more than a quarter of the mesh\n", stderr);
    return 1;
  }
  std::printf("%zu faces cut out, %d put in\n", feature.size(), added_count);
  if (argc > 7 && std::strcmp(argv[7], "undo") == 0) {
    mesh.Revoked_removefeature(record, added, added_count);  // and frees the record
  } else {
    demo::drop(record);
  }
  delete[] added;
  if (!demo::save_scan(argv[2], mesh)) {
    std::fprintf(stderr, "remove_feature: %s: can't be written\n", argv[2]);
    return 1;
  }
  return 0;
}
