// The writer of an extension.
#include <string>

#include "core/platform.h"
#include "scanmesh/mesh.h"

namespace Mesh_M {

namespace {

// A dispatch of hosts that know only the deleted vertices' numbers: the live ones keep theirs.
void number_deleted(Mesh_R::Vertex& vertices) {
  int32_t next = 0;
  for (int i = 0, n = vertices.get_vertnum(); i < n; ++i) {
    if (vertices[i]->state == Mesh_R::kStateDeleted) vertices[i]->index = next++;
  }
}

}  // namespace

void Mesh::output_data(const char* path, std::string& extension, bool) {
  if (path == nullptr) return;
  number_deleted(vertex);
  // All lower or all upper case; a mixture is no extension. The two writers that take a wide path
  // are the caller's to call.
  const auto is = [&extension](const char* lower, const char* upper) {
    return extension == lower || extension == upper;
  };
  if (is(".stl", ".STL")) {
    face.output(scanmesh::open_file(path, "wb"));
  } else if (is(".dae", ".DAE")) {
    output_DAE(path);
  } else if (is(".wrl", ".WRL")) {
    output_WRL(path);
  } else if (is(".x3d", ".X3D")) {
    output_X3D(path);
  } else if (is(".xyz", ".XYZ")) {
    output_XYZ(path);
  }
}

}  // namespace Mesh_M
