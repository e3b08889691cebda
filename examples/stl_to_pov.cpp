// Writes a binary STL file as a mesh for the POV-Ray renderer, with smooth normals, or flat.
#include <cstdio>
#include <string>
#include <vector>

#include "support/stl_file.h"
#include "support/surface.h"

namespace {

// POV-Ray's coordinates are left-handed: the z axis is turned round.
void write_vectors(std::FILE* out, const char* name, const std::vector<demo::Vec3>& vectors) {
  std::fprintf(out, "  %s { %zu", name, vectors.size());
  for (const demo::Vec3& v : vectors) std::fprintf(out, ",\n    <%.6g,%.6g,%.6g>", v.x, v.y, -v.z);
  std::fputs(" }\n", out);
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<demo::Triangle> triangles;
  const bool flat = argc == 5 && std::string(argv[4]) == "flat";
  if ((argc != 4 && !flat) || !demo::read_stl(argv[1], triangles)) {
    std::fprintf(stderr, "usage: %s SCAN.stl OUT.inc NAME [flat]\n", argv[0]);
    return 2;
  }
  const demo::File out(std::fopen(argv[2], "wb"));
  if (!out) {
    std::fprintf(stderr, "stl_to_pov: %s: can't be written\n", argv[2]);
    return 1;
  }
  const demo::Surface surface = demo::weld(triangles);
  std::fprintf(out.get(), "#declare %s = mesh2 {\n", argv[3]);
  write_vectors(out.get(), "vertex_vectors", surface.points);
  if (!flat) write_vectors(out.get(), "normal_vectors", demo::point_normals(surface));
  std::fprintf(out.get(), "  face_indices { %zu", surface.faces.size());
  for (const demo::Corners& f : surface.faces) {
    std::fprintf(out.get(), ",\n    <%d,%d,%d>", f[0], f[1], f[2]);
  }
  std::fputs(" }\n}\n", out.get());
  return 0;
}
