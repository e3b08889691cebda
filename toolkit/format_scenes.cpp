// VRML 2.0, X3D 3.1 and COLLADA 1.4.1: one shape each.
#include <string>

#include "toolkit/formatting.h"

namespace scanmesh {
namespace {

void put_points(ByteSink& sink, const std::vector<Point>& points, const char* between) {
  for (const Point& p : points) sink << p.x << " " << p.y << " " << p.z << between;
}

void put_indices(ByteSink& sink, const TriangleMesh& mesh, const char* end) {
  for (const Triangle& t : mesh.triangles) {
    sink << t[0] << " " << t[1] << " " << t[2] << end;
  }
}

void put_colors(ByteSink& sink, const TriangleMesh& mesh, const char* between) {
  for (const Color& c : mesh.colors) {
    for (std::size_t k = 0; k < 3; ++k) {
      sink << static_cast<float>(c[k]) / 255.0F << (k < 2 ? " " : between);
    }
  }
}

void put_source(ByteSink& sink, const char* id, const std::vector<Point>& values) {
  const auto count = static_cast<std::int64_t>(values.size());
  sink << "<source id=\"" << id << "\"><float_array id=\"" << id << "-array\" count=\"" << 3 * count
       << "\">";
  put_points(sink, values, " ");
  sink << "</float_array><technique_common><accessor source=\"#" << id << "-array\" count=\""
       << count
       << "\" stride=\"3\"><param name=\"X\" type=\"float\"/><param name=\"Y\" type=\"float\"/>"
          "<param name=\"Z\" type=\"float\"/></accessor></technique_common></source>\n";
}

}  // namespace

void format_wrl(ByteSink& sink, const TriangleMesh& mesh) {
  sink << "#VRML V2.0 utf8\nShape {\n appearance Appearance { material Material {} }\n"
          " geometry IndexedFaceSet {\n  coord Coordinate { point [\n";
  put_points(sink, mesh.points, ",\n");
  sink << "  ] }\n";
  if (!mesh.colors.empty()) {
    sink << "  color Color { color [\n";
    put_colors(sink, mesh, ",\n");
    sink << "  ] }\n";
  }
  sink << "  coordIndex [\n";
  put_indices(sink, mesh, " -1\n");
  sink << "  ]\n }\n}\n";
}

void format_x3d(ByteSink& sink, const TriangleMesh& mesh) {
  sink
      << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<X3D profile=\"Interchange\" version=\"3.1\">"
         "<Scene><Shape><Appearance><Material/></Appearance>\n<IndexedFaceSet coordIndex=\"";
  put_indices(sink, mesh, " -1 ");
  sink << "\">\n<Coordinate point=\"";
  put_points(sink, mesh.points, " ");
  sink << "\"/>\n";
  if (!mesh.colors.empty()) {
    sink << "<Color color=\"";
    put_colors(sink, mesh, " ");
    sink << "\"/>\n";
  }
  sink << "</IndexedFaceSet></Shape></Scene></X3D>\n";
}

void format_dae(ByteSink& sink, const TriangleMesh& mesh) {
  sink << "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
          "<COLLADA xmlns=\"http://www.collada.org/2005/11/COLLADASchema\" version=\"1.4.1\">\n"
          "<asset><contributor><authoring_tool>scanmesh</authoring_tool></contributor>"
          "<created>1970-01-01T00:00:00Z</created><modified>1970-01-01T00:00:00Z</modified></"
          "asset>\n"
          "<library_geometries><geometry id=\"mesh\"><mesh>\n";
  put_source(sink, "positions", mesh.points);
  put_source(sink, "normals", normals_of(mesh));
  sink << "<vertices id=\"vertices\"><input semantic=\"POSITION\" source=\"#positions\"/>"
          "<input semantic=\"NORMAL\" source=\"#normals\"/></vertices>\n<triangles count=\""
       << static_cast<std::int64_t>(mesh.triangles.size())
       << "\"><input semantic=\"VERTEX\" source=\"#vertices\" offset=\"0\"/><p>";
  put_indices(sink, mesh, " ");
  sink << "</p></triangles>\n</mesh></geometry></library_geometries>\n"
          "<library_visual_scenes><visual_scene id=\"scene\"><node><instance_geometry "
          "url=\"#mesh\"/>"
          "</node></visual_scene></library_visual_scenes>\n"
          "<scene><instance_visual_scene url=\"#scene\"/></scene>\n</COLLADA>\n";
}

}  // namespace scanmesh
