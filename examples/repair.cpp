// The toolkit's road: a mesh from a file, what is wrong with it, a healthy one into a file.
//   repair IN OUT
#include <cstdio>
#include <new>

#include "scanmesh/toolkit/toolkit.h"

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fputs("usage: repair IN OUT\n", stderr);
    return 2;
  }
  try {
    const scanmesh::TriangleMesh scan = scanmesh::read_mesh(argv[1]);
    const scanmesh::RepairResult result = scanmesh::repair(scan);
    scanmesh::write_mesh(result.mesh, argv[2]);
    std::printf("%s%.2f s\n%s\n", scanmesh::describe(result.report).c_str(), result.report.seconds,
                scanmesh::describe(result.report.after).c_str());
    return result.report.after.healthy() ? 0 : 1;
  } catch (const scanmesh::Error& error) {
    std::fprintf(stderr, "repair: %s\n", error.what());
    return 3;
  } catch (const std::bad_alloc&) {
    std::fputs("repair: out of memory\n", stderr);
    return 5;
  }
}
