// STL, PLY, OBJ, OFF, XYZ and binary glTF.
#include <algorithm>
#include <cmath>
#include <string>

#include "toolkit/formatting.h"
#include "toolkit/vector_math.h"

namespace scanmesh {
namespace {

ByteSink& operator<<(ByteSink& sink, const Point& p) {
  return sink << p.x << " " << p.y << " " << p.z;
}

Point stl_normal(const TriangleMesh& mesh, const Triangle& t) {
  return unit(area_vector(mesh.points[static_cast<std::size_t>(t[0])],
                          mesh.points[static_cast<std::size_t>(t[1])],
                          mesh.points[static_cast<std::size_t>(t[2])]));
}

void put_floats(ByteSink& sink, const Point& p) {
  sink.binary(static_cast<float>(p.x));
  sink.binary(static_cast<float>(p.y));
  sink.binary(static_cast<float>(p.z));
}

void format_stl_text(ByteSink& sink, const TriangleMesh& mesh) {
  sink << "solid scanmesh\n";
  for (const Triangle& t : mesh.triangles) {
    sink << "facet normal " << stl_normal(mesh, t) << "\n outer loop\n";
    for (const std::int32_t v : t) {
      const Point& p = mesh.points[static_cast<std::size_t>(v)];
      sink << "  vertex " << static_cast<float>(p.x) << " " << static_cast<float>(p.y) << " "
           << static_cast<float>(p.z) << "\n";
    }
    sink << " endloop\nendfacet\n";
  }
  sink << "endsolid scanmesh\n";
}

void ply_header(ByteSink& sink, const TriangleMesh& mesh, bool text, const char* number) {
  sink << "ply\nformat " << (text ? "ascii" : "binary_little_endian") << " 1.0\nelement vertex "
       << static_cast<std::int64_t>(mesh.points.size()) << "\n";
  for (const char* name : {"x", "y", "z"}) sink << "property " << number << " " << name << "\n";
  for (const char* name : {"nx", "ny", "nz"}) {
    if (!mesh.normals.empty()) sink << "property " << number << " " << name << "\n";
  }
  for (const char* name : {"red", "green", "blue", "alpha"}) {
    if (!mesh.colors.empty()) sink << "property uchar " << name << "\n";
  }
  sink << "element face " << static_cast<std::int64_t>(mesh.triangles.size())
       << "\nproperty list uchar int vertex_indices\nend_header\n";
}

void format_ply_text(ByteSink& sink, const TriangleMesh& mesh) {
  ply_header(sink, mesh, true, "double");
  for (std::size_t v = 0; v < mesh.points.size(); ++v) {
    sink << mesh.points[v];
    if (!mesh.normals.empty()) sink << " " << mesh.normals[v];
    if (!mesh.colors.empty()) {
      for (const std::uint8_t c : mesh.colors[v]) sink << " " << static_cast<std::int32_t>(c);
    }
    sink << "\n";
  }
  for (const Triangle& t : mesh.triangles)
    sink << "3 " << t[0] << " " << t[1] << " " << t[2] << "\n";
}

void put_ply_point(ByteSink& sink, const Point& p, bool doubles) {
  if (!doubles) return put_floats(sink, p);
  sink.binary(p.x);
  sink.binary(p.y);
  sink.binary(p.z);
}

Point corner_of_box(const TriangleMesh& mesh, bool lower) {
  Point corner;
  bool first = true;
  for (const Point& p : mesh.points) {
    const Point q = rounded_to_floats(p);
    const auto pick = [lower](double a, double b) {
      return lower ? std::min(a, b) : std::max(a, b);
    };
    corner = first ? q : Point{pick(corner.x, q.x), pick(corner.y, q.y), pick(corner.z, q.z)};
    first = false;
  }
  return corner;
}

std::string text_of(double value) {
  std::string text;
  ByteSink sink([&text](std::string_view bytes) { text += bytes; });
  sink << static_cast<float>(value);
  sink.flush();
  return text;
}

std::string json_corner(const Point& p) {
  return "[" + text_of(p.x) + "," + text_of(p.y) + "," + text_of(p.z) + "]";
}

std::string glb_json(const TriangleMesh& mesh, std::size_t bytes) {
  const std::string points = std::to_string(12 * mesh.points.size());
  const std::string count = std::to_string(mesh.points.size());
  const std::string indices = std::to_string(12 * mesh.triangles.size());
  const bool colored = !mesh.colors.empty();
  std::string json =
      "{\"asset\":{\"version\":\"2.0\",\"generator\":\"scanmesh\"},\"scene\":0,"
      "\"scenes\":[{\"nodes\":[0]}],\"nodes\":[{\"mesh\":0}],\"meshes\":[{\"primitives\":[{"
      "\"attributes\":{\"POSITION\":0";
  json += colored ? ",\"COLOR_0\":2" : "";
  json += "},\"indices\":1}]}],\"buffers\":[{\"byteLength\":" + std::to_string(bytes) +
          "}],\"bufferViews\":[{\"buffer\":0,\"byteLength\":" + points +
          ",\"target\":34962},{\"buffer\":0,\"byteOffset\":" + points +
          ",\"byteLength\":" + indices + ",\"target\":34963}";
  if (colored) {
    json += ",{\"buffer\":0,\"byteOffset\":" +
            std::to_string(12 * (mesh.points.size() + mesh.triangles.size())) +
            ",\"byteLength\":" + std::to_string(4 * mesh.points.size()) + ",\"target\":34962}";
  }
  json += "],\"accessors\":[{\"bufferView\":0,\"componentType\":5126,\"type\":\"VEC3\",\"count\":" +
          count + ",\"min\":" + json_corner(corner_of_box(mesh, true)) +
          ",\"max\":" + json_corner(corner_of_box(mesh, false)) +
          "},{\"bufferView\":1,\"componentType\":5125,\"type\":\"SCALAR\",\"count\":" +
          std::to_string(3 * mesh.triangles.size()) + "}";
  if (colored) {
    json +=
        ",{\"bufferView\":2,\"componentType\":5121,\"normalized\":true,\"type\":\"VEC4\","
        "\"count\":" +
        count + "}";
  }
  json += "]}";
  while (json.size() % 4 != 0) json += ' ';
  return json;
}

}  // namespace

std::vector<Point> normals_of(const TriangleMesh& mesh) {
  if (!mesh.normals.empty()) return mesh.normals;
  std::vector<Point> normals(mesh.points.size());
  for (const Triangle& t : mesh.triangles) {
    const Point n = stl_normal(mesh, t);
    for (std::size_t k = 0; k < 3; ++k) {
      const Point& at = mesh.points[static_cast<std::size_t>(t[k])];
      const Point u = unit(mesh.points[static_cast<std::size_t>(t[(k + 1) % 3])] - at);
      const Point v = unit(mesh.points[static_cast<std::size_t>(t[(k + 2) % 3])] - at);
      Point& sum = normals[static_cast<std::size_t>(t[k])];
      sum = sum + n * std::acos(std::clamp(dot(u, v), -1.0, 1.0));
    }
  }
  for (Point& n : normals) {
    n = unit(n);
    if (n == Point{}) n.z = 1;
  }
  return normals;
}

void format_stl(ByteSink& sink, const TriangleMesh& mesh, bool text) {
  if (text) return format_stl_text(sink, mesh);
  std::string header = "scanmesh";
  header.resize(80, ' ');
  sink << header;
  sink.binary(static_cast<std::uint32_t>(mesh.triangles.size()));
  for (const Triangle& t : mesh.triangles) {
    put_floats(sink, stl_normal(mesh, t));
    for (const std::int32_t v : t) put_floats(sink, mesh.points[static_cast<std::size_t>(v)]);
    sink.binary(std::uint16_t{0});
  }
}

void format_ply(ByteSink& sink, const TriangleMesh& mesh, bool text, bool doubles) {
  if (text) return format_ply_text(sink, mesh);
  ply_header(sink, mesh, false, doubles ? "double" : "float");
  for (std::size_t v = 0; v < mesh.points.size(); ++v) {
    put_ply_point(sink, mesh.points[v], doubles);
    if (!mesh.normals.empty()) put_ply_point(sink, mesh.normals[v], doubles);
    if (mesh.colors.empty()) continue;
    for (const std::uint8_t c : mesh.colors[v]) sink.binary(c);
  }
  for (const Triangle& t : mesh.triangles) {
    sink.binary(std::uint8_t{3});
    for (const std::int32_t v : t) sink.binary(v);
  }
}

void format_obj(ByteSink& sink, const TriangleMesh& mesh) {
  sink << "# scanmesh\n";
  for (std::size_t v = 0; v < mesh.points.size(); ++v) {
    sink << "v " << mesh.points[v];
    for (std::size_t c = 0; c < 3 && !mesh.colors.empty(); ++c) {
      sink << " " << static_cast<float>(mesh.colors[v][c]) / 255.0F;
    }
    sink << "\n";
  }
  for (const Point& n : mesh.normals) sink << "vn " << n << "\n";
  for (const Triangle& t : mesh.triangles) {
    sink << "f";
    for (const std::int32_t v : t) {
      sink << " " << v + 1;
      if (!mesh.normals.empty()) sink << "//" << v + 1;
    }
    sink << "\n";
  }
}

void format_off(ByteSink& sink, const TriangleMesh& mesh) {
  sink << (mesh.colors.empty() ? "OFF\n" : "COFF\n")
       << static_cast<std::int64_t>(mesh.points.size()) << " "
       << static_cast<std::int64_t>(mesh.triangles.size()) << " 0\n";
  for (std::size_t v = 0; v < mesh.points.size(); ++v) {
    sink << mesh.points[v];
    for (std::size_t c = 0; c < 4 && !mesh.colors.empty(); ++c) {
      sink << " " << static_cast<std::int32_t>(mesh.colors[v][c]);
    }
    sink << "\n";
  }
  for (const Triangle& t : mesh.triangles)
    sink << "3 " << t[0] << " " << t[1] << " " << t[2] << "\n";
}

void format_xyz(ByteSink& sink, const TriangleMesh& mesh) {
  const std::vector<Point> normals = normals_of(mesh);
  for (std::size_t v = 0; v < mesh.points.size(); ++v) {
    sink << mesh.points[v] << " " << normals[v] << "\n";
  }
}

// One buffer: positions, then indices, then colours.
void format_glb(ByteSink& sink, const TriangleMesh& mesh) {
  const std::size_t body =
      12 * (mesh.points.size() + mesh.triangles.size()) + 4 * mesh.colors.size();
  const std::string json = glb_json(mesh, body);
  constexpr std::uint32_t kMagic = 0x46546C67;
  constexpr std::uint32_t kJson = 0x4E4F534A;
  constexpr std::uint32_t kBinary = 0x004E4942;
  sink.binary(kMagic);
  sink.binary(std::uint32_t{2});
  sink.binary(static_cast<std::uint32_t>(28 + json.size() + body));
  sink.binary(static_cast<std::uint32_t>(json.size()));
  sink.binary(kJson);
  sink << json;
  sink.binary(static_cast<std::uint32_t>(body));
  sink.binary(kBinary);
  for (const Point& p : mesh.points) put_floats(sink, p);
  for (const Triangle& t : mesh.triangles) {
    for (const std::int32_t v : t) sink.binary(static_cast<std::uint32_t>(v));
  }
  for (const Color& color : mesh.colors) {
    for (const std::uint8_t c : color) sink.binary(c);
  }
}

}  // namespace scanmesh
