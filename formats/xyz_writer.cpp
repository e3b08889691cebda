// Points with normals, one line each. Hosts compare these bytes.
#include "core/platform.h"
#include "formats/live_rows.h"
#include "formats/text_output.h"

namespace Mesh_M {

void Mesh::output_XYZ(const char* path) {
  scanmesh::TextOutput out(scanmesh::open_file(path, "w"));
  scanmesh::for_each_row(vertex, [&](const Mesh_R::_vert& vert) {
    out.row(vert.point, " ", " ").row(vert.vector, " ", "\n");
  });
}

}  // namespace Mesh_M
