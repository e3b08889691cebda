// Mesh blocks as binary PLY. Hosts compare these bytes.
#include "core/platform.h"
#include "formats/binary_stream.h"
#include "formats/text_output.h"
#include "scanmesh/mesh_block.h"

namespace Mesh_M {

namespace {

using scanmesh::TextOutput;

void write_word(uint32_t bits, TextOutput& out) {
  unsigned char bytes[4];
  scanmesh::store_u32(bits, bytes);
  out.text({reinterpret_cast<const char*>(bytes), sizeof(bytes)});
}

void write_points(const std::vector<float>& points, TextOutput& out) {
  for (const float value : points) {
    unsigned char bytes[4];
    scanmesh::store_f32(value, bytes);
    out.text({reinterpret_cast<const char*>(bytes), sizeof(bytes)});
  }
}

}  // namespace

int MeshBlock::outputPLYFormMeshBlock(const MeshBlockData& data, std::wstring path) {
  TextOutput out(scanmesh::open_file(path.c_str(), "wb"));
  const std::size_t triangles = data.triangles.size() / 3;
  out.text("ply\nformat binary_little_endian 1.0\nelement vertex ")
      .text(std::to_string(data.points.size() / 3))
      .text("\nproperty float x\nproperty float y\nproperty float z\nelement face ")
      .text(std::to_string(triangles))
      .text("\nproperty list uint8 int32 vertex_indices\nend_header\n");
  write_points(data.points, out);
  for (std::size_t i = 0; i < triangles; ++i) {
    out.text("\3");
    for (std::size_t k = 0; k < 3; ++k) {
      write_word(static_cast<uint32_t>(data.triangles[3 * i + k]), out);
    }
  }
  return 0;
}

}  // namespace Mesh_M
