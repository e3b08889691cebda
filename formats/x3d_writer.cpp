// X3D 3.1. Hosts compare these bytes, and with them the blanks within the mark-up.
#include "core/platform.h"
#include "formats/live_rows.h"
#include "formats/text_output.h"

namespace Mesh_M {

namespace {

constexpr char kHeader[] =
    "< ? xml version = \"1.0\" encoding = \"UTF-8\" ? >\n"
    "<!DOCTYPE X3D PUBLIC \"ISO//Web3D//DTD X3D 3.1//EN\" "
    "\"http://www.web3d.org/specifications/x3d-3.1.dtd \">\n"
    "<X3D profile = \"Immersive\" xsd:noNamespaceSchemaLocation = "
    "\"http://www.web3d.org/specifications/x3d-3.1.xsd \" xmlns : xsd = "
    "\"http://www.w3.org/2001/XMLSchema-instance \" version = \"3.1\">\n"
    "<head>\n<meta content = \"xxx.x3d\" name = \"title\" / >\n"
    "<meta content = \"Generated from Korvanel X3D Exported\" name = \"description\" / >\n"
    "<meta content = \"Korvanel X3D Exported,\" name = \"generator\" / >\n< / head>\n"
    "<Scene>\n<Shape>\n"
    "<IndexedFaceSet solid=\"false\" normalPerVertex=\"false\" coordIndex=\"";
constexpr char kPoints[] = "\">\n<Coordinate point = \"";
constexpr char kNormals[] = "\" / >\n<Normal vector=\"";
constexpr char kClosing[] = "\"/>\n< / IndexedFaceSet>\n< / Shape>\n< / Scene>\n< / X3D>\n";

}  // namespace

void Mesh::output_X3D(const char* path) {
  {
    scanmesh::TextOutput out(scanmesh::open_file(path, "w"));
    scanmesh::number_live(vertex);
    out.text(kHeader);
    scanmesh::for_each_row(face, [&](const Mesh_R::_face& f) {
      out.row(f.vert[0]->index, f.vert[1]->index, f.vert[2]->index, " -1 ");
    });
    out.text(kPoints);
    scanmesh::for_each_row(vertex, [&](const Mesh_R::_vert& v) { out.row(v.point, " ", " "); });
    out.text(kNormals);
    scanmesh::for_each_row(face, [&](const Mesh_R::_face& f) { out.row(f.vector, " ", " "); });
    out.text(kClosing);
  }
  scanmesh::number_by_record(vertex);
}

}  // namespace Mesh_M
