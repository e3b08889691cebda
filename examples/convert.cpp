// Converts a mesh file from any format that the library reads to any that it writes.
#include <cstdio>
#include <string>

#include "mesh_file.h"
#include "support/console.h"
#include "support/surface.h"

namespace {

int fail(const std::string& file, const std::string& reason) {
  std::fprintf(stderr, "convert: %s: %s\n", file.c_str(), reason.c_str());
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  const bool binary = argc == 4 && std::string(argv[3]) == "--binary";
  if (argc != 3 && !binary) {
    std::fputs(
        "usage: convert IN OUT [--binary]\n"
        "  IN        .stl (binary or ASCII) or .ply\n"
        "  OUT       .stl .ply .obj .wrl .x3d .dae or .xyz\n"
        "  --binary  write .ply in its binary form\n",
        stderr);
    return 2;
  }
  Mesh_M::Mesh mesh;
  std::string reason;
  const demo::Stopwatch reading;
  if (!demo::load_mesh(argv[1], mesh, reason)) return fail(argv[1], reason);
  const double read_seconds = reading.seconds();
  const demo::Stopwatch writing;
  const demo::PlyKind kind = binary ? demo::PlyKind::binary : demo::PlyKind::ascii;
  if (!demo::save_mesh(argv[2], mesh, kind, reason)) return fail(argv[2], reason);
  std::printf("%s vertices, %s faces; read in %s s, written in %s s\n",
              demo::count(mesh.vertex.get_vertnum()).c_str(),
              demo::count(mesh.face.get_real_facenum()).c_str(),
              demo::number(read_seconds, 3).c_str(), demo::number(writing.seconds(), 3).c_str());
  return 0;
}
