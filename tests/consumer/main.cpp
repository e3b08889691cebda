// What a host does first: make a mesh, close its hole, save it, open it again.
#include <cstdio>

#include "scanmesh/scanmesh.h"

namespace {

bool failed(const char* what) {
  std::fprintf(stderr, "consumer: %s\n", what);
  return false;
}

bool close_and_save(const char* path) {
  float points[] = {0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1};
  int triangles[] = {0, 2, 1, 0, 1, 3, 1, 2, 3};
  Mesh_M::Mesh mesh;
  mesh.rebuild(points, 4, triangles, 3);
  mesh.build_hole();
  if (mesh.get_hole_num() != 1) return failed("not one hole");
  mesh.destroy_hole();
  mesh.auto_fill_small_hole(3);
  if (mesh.face.real_num != 4) return failed("the hole isn't closed");
  mesh.output_STL(path);
  return true;
}

bool open_again(const char* path) {
  Mesh_M::Mesh mesh;
  std::FILE* const file = std::fopen(path, "rb");
  if (file == nullptr || mesh.input_data(file) != 0) return failed("the file can't be read");
  mesh.inalize_mesh();
  if (mesh.face.real_num != 4 || mesh.vertex.get_vertnum() != 4) return failed("another mesh");
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  const char* const path = argc > 1 ? argv[1] : "consumer.stl";
  return close_and_save(path) && open_again(path) ? 0 : 1;
}
