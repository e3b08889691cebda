// ASCII PLY. Hosts compare these bytes.
#include "core/platform.h"
#include "formats/live_rows.h"
#include "formats/text_output.h"

namespace Mesh_M {

using Mesh_R::_face;
using Mesh_R::_vert;
using scanmesh::TextOutput;

namespace {

int32_t number_written(Mesh& mesh) {
  int32_t next = 0;
  scanmesh::for_each_row(mesh.vertex, [&](_vert& vert) {
    if (scanmesh::is_written(vert)) vert.index = next++;
  });
  return next;
}

int32_t count_written_faces(Mesh& mesh) {
  int32_t count = 0;
  scanmesh::for_each_row(
      mesh.face, [&](const _face& face) { count += scanmesh::corners_finite(face) ? 1 : 0; });
  return count;
}

void write_header(int32_t vertices, int32_t faces, TextOutput& out) {
  out.text("ply\nformat ascii 1.0\ncomment modified by Korvanel\nelement vertex ");
  out.number(vertices);
  out.text("\nproperty float x\nproperty float y\nproperty float z\nelement face ");
  out.number(faces);
  out.text("\nproperty list uint8 int32 vertex_indices\nend_header\n");
}

}  // namespace

void Mesh::output_PLY(const wchar_t* path) {
  {
    TextOutput out(scanmesh::open_file(path, "w"));
    const int32_t vertices = number_written(*this);
    write_header(vertices, count_written_faces(*this), out);
    scanmesh::for_each_row(vertex, [&](const _vert& vert) {
      if (scanmesh::is_written(vert)) out.row(vert.point, " ", "\n");
    });
    scanmesh::for_each_row(face, [&](const _face& f) {
      if (!scanmesh::corners_finite(f)) return;
      out.text("3 ").row(f.vert[0]->index, f.vert[1]->index, f.vert[2]->index, "\n");
    });
  }
  scanmesh::number_by_record(vertex);
}

}  // namespace Mesh_M
