// The bytes behind a PLY header: the first chooses the form, the second the properties, and the
// third and fourth the counts.
#include "fuzz/loaded_ply.h"

namespace {

const char* const kForms[] = {"ascii", "binary_little_endian", "binary_big_endian"};
const char* const kVertices[] = {
    "property float x\nproperty float y\nproperty float z\n",
    "property double x\nproperty int16 y\nproperty uint8 z\nproperty float nx\nproperty float ny\n"
    "property float nz\n",
    "property float x\nproperty float y\nproperty float z\nproperty uchar red\nproperty uchar "
    "green\nproperty uchar blue\nproperty uchar alpha\nproperty float u\nproperty float v\n",
    "property list uchar short weights\nproperty float x\nproperty float y\nproperty float z\n"
    "property int flags\n",
};
const char* const kFaces[] = {
    "property list uchar int vertex_indices\n",
    "property list int uint vertex_indices\nproperty list uchar float texcoord\n",
    ("property uchar red\nproperty uchar green\nproperty uchar blue\n"
     "property list ushort short vertex_index\n"),
    "property list float double vertex_indices\n",
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  fuzz::InputBytes bytes(data, size);
  const int form = bytes.byte() % 3;
  const int properties = bytes.byte();
  const int vertices = bytes.byte() % 40;
  const int faces = bytes.byte() % 40;
  std::string file = std::string("ply\nformat ") + kForms[form] + " 1.0\n";
  file += "element vertex " + std::to_string(vertices) + "\n" + kVertices[properties % 4];
  if ((properties & 64) != 0) file += "element edge 2\nproperty list uchar int ends\n";
  file += "element face " + std::to_string(faces) + "\n" + kFaces[properties / 4 % 4];
  file += "end_header\n";
  while (!bytes.empty()) file += static_cast<char>(bytes.byte());
  fuzz::run_ply(file);
  return 0;
}
