// Bytes as a mesh file of any format: a mesh that can be inspected and written, or an error with a
// sentence.
#include <string_view>

#include "fuzz/input_bytes.h"
#include "scanmesh/toolkit/files.h"
#include "scanmesh/toolkit/inspect.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  try {
    const scanmesh::TriangleMesh mesh = scanmesh::parse_mesh(bytes, "input");
    // Every array is paid for by bytes of the file.
    fuzz::require(mesh.points.size() <= size && mesh.triangles.size() <= size,
                  "memory by the size");
    scanmesh::inspect(mesh);
    for (const auto format :
         {scanmesh::Format::ply, scanmesh::Format::glb, scanmesh::Format::dae}) {
      fuzz::require(!scanmesh::format_mesh(mesh, format).empty(), "a mesh that can be written");
    }
  } catch (const scanmesh::Error& error) {
    fuzz::require(error.what()[0] != 0, "an error that says something");
  }
  try {
    scanmesh::parse_points(bytes, "input");
  } catch (const scanmesh::Error&) {
  }
  return 0;
}
