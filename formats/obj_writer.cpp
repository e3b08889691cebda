// Wavefront OBJ. Hosts compare these bytes.
#include "core/platform.h"
#include "formats/live_rows.h"
#include "formats/text_output.h"

namespace Mesh_M {

using Mesh_R::_face;
using Mesh_R::_vert;
using scanmesh::TextOutput;

namespace {

void write_points(Mesh& mesh, TextOutput& out) {
  int32_t next = 1;
  scanmesh::for_each_row(mesh.vertex, [&](_vert& vert) {
    if (!scanmesh::is_written(vert)) return;
    vert.index = next++;
    out.text("v ").row(vert.point, " ", "\n");
  });
}

// The lines stand by themselves: no face refers to them.
void write_normals(Mesh& mesh, TextOutput& out) {
  scanmesh::for_each_row(mesh.vertex, [&](_vert& vert) {
    if (!scanmesh::is_written(vert)) return;
    // Mended in the mesh too, so that what is saved and what is shown agree.
    if (!scanmesh::finite(vert.vector)) vert.vector = {0, 0, 1};
    out.text("vn ").row(vert.vector, " ", "\n");
  });
}

void write_faces(Mesh& mesh, TextOutput& out) {
  scanmesh::for_each_row(mesh.face, [&](const _face& face) {
    if (!scanmesh::corners_finite(face)) return;
    out.text("f ").row(face.vert[0]->index, face.vert[1]->index, face.vert[2]->index, "\n");
  });
}

}  // namespace

void Mesh::output_OBJ(const wchar_t* path) {
  {
    TextOutput out(scanmesh::open_file(path, "w"));
    write_points(*this, out);
    write_normals(*this, out);
    write_faces(*this, out);
  }
  scanmesh::number_by_record(vertex);
}

}  // namespace Mesh_M
