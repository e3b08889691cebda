// VRML 2.0. Hosts compare these bytes, and with them the closing block that stands there twice.
#include "core/platform.h"
#include "formats/live_rows.h"
#include "formats/text_output.h"

namespace Mesh_M {

namespace {

constexpr char kHeader[] =
    "#VRML V2.0 utf8\n\n"
    "# Korvanel\n\n"
    "NavigationInfo{\ntype[\"EXAMINE\", \"ANY\"]\n}\n\tTransform{\n\tscale 1 1 1\n"
    "\ttranslation 0 0 0\n\tchildren\n\t[\n\t\tShape\n\t{\n\tgeometry IndexedFaceSet\n\t{\n"
    "\tcreaseAngle .5\n\tsolid FALSE\n\tcoord Coordinate\n\t{\n\tpoint\n\t[\n";
constexpr char kMiddle[] = "]\n}\ncoordIndex\n[\n";
constexpr char kClosing[] =
    "]\n}\nappearance Appearance\n{\nmaterial Material\n{\nambientIntensity 0.2\n"
    "diffuseColor 0.9 0.9 0.9\nspecularColor .1 .1 .1\nshininess .5\n}\n}\n}\n ]\n}\n";

}  // namespace

void Mesh::output_WRL(const char* path) {
  {
    scanmesh::TextOutput out(scanmesh::open_file(path, "w"));
    scanmesh::number_live(vertex);
    out.text(kHeader);
    scanmesh::for_each_row(vertex, [&](const Mesh_R::_vert& v) { out.row(v.point, ", ", ",\n"); });
    out.text(kMiddle);
    scanmesh::for_each_row(face, [&](const Mesh_R::_face& f) {
      out.row(f.vert[0]->index, f.vert[1]->index, f.vert[2]->index, " -1\n");
    });
    out.text(kClosing).text(kClosing);
  }
  scanmesh::number_by_record(vertex);
}

}  // namespace Mesh_M
