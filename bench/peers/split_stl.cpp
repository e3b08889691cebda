// Splits every face of a binary STL file in 16: a larger scan of the same shape.
#include <cstdio>
#include <vector>

#include "support/stl_file.h"
#include "support/surface.h"

int main(int argc, char** argv) {
  std::vector<demo::Triangle> triangles;
  if (argc != 3 || !demo::read_stl(argv[1], triangles)) {
    std::fprintf(stderr, "usage: %s SCAN.stl OUT.stl\n", argv[0]);
    return 2;
  }
  demo::Surface surface = demo::weld(triangles);
  demo::split_faces(surface, 2);
  return demo::write_stl(argv[2], demo::triangles_of(surface)) ? 0 : 1;
}
