// ASCII STL of any bytes: taken or refused, and the mesh that comes out.
#include "fuzz/loaded_mesh.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  FILE* const stream = fuzz::open_bytes(data, size);
  Mesh_M::Mesh mesh;
  const bool read = mesh.input_data_ASCII(stream);
  std::fclose(stream);
  if (!read) {
    fuzz::require(mesh.vertex.records.block == nullptr, "a mesh untouched by what was refused");
    return 0;
  }
  fuzz::check_loaded(mesh);
  return 0;
}
