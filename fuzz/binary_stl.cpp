// Binary STL of any bytes: the codes, what happens to the stream, and the mesh that comes out.
#include "fuzz/loaded_mesh.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  FILE* const stream = fuzz::open_bytes(data, size);
  Mesh_M::Mesh mesh;
  const int code = mesh.input_data(stream);
  fuzz::require(code == 0 || code == -2 || code == -3, "a code of the reader");
  fuzz::require((code == -2) == (size < 84), "-2 for a file too short for a count, and only then");
  if (code != 0) {
    fuzz::require(mesh.vertex.records.block == nullptr, "a mesh untouched by what was refused");
    std::fclose(stream);
    return 0;
  }
  fuzz::require(mesh.face.real_num <= static_cast<int>((size - 84 + 2) / 50),
                "no more faces than the file holds");
  fuzz::check_loaded(mesh);
  return 0;
}
