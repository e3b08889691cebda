#include <algorithm>
#include <cmath>
#include <memory>
#include <new>

#include "core/live_records.h"
#include "core/platform.h"
#include "core/vector_math.h"
#include "formats/binary_stream.h"
#include "formats/stl_parsing.h"
#include "scanmesh/mesh.h"

namespace {

// The comma is the full-width one. Zeros follow up to the 80 bytes of the header.
constexpr char kHeaderText[] = "Created by Marunsen\xEF\xBC\x8CSTL Format";
static_assert(sizeof(kHeaderText) <= scanmesh::kStlHeaderBytes, "the header holds the text");

struct CloseFile {
  void operator()(FILE* file) const { std::fclose(file); }
};

// Room for facets on their way into the file: a small one where there is no memory for a large one,
// so that a scan can still be saved.
class FacetBuffer {
 public:
  FacetBuffer() : large_(new (std::nothrow) unsigned char[kLargeBytes]()) {}

  unsigned char* data() { return large_ != nullptr ? large_.get() : small_; }
  std::size_t size() const { return large_ != nullptr ? kLargeBytes : sizeof(small_); }

 private:
  static constexpr std::size_t kLargeBytes = 4096 * scanmesh::kStlFacetBytes;

  std::unique_ptr<unsigned char[]> large_;
  unsigned char small_[20 * scanmesh::kStlFacetBytes] = {};
};

// A face that isn't finite is left out of count and facets alike, so that the count stays right.
bool is_written(const Mesh_R::_face& face) {
  return face.state != Mesh_R::kStateDeleted && scanmesh::finite(face.vector) &&
         scanmesh::finite(face.vert[0]->point) && scanmesh::finite(face.vert[1]->point) &&
         scanmesh::finite(face.vert[2]->point);
}

void store_point(const MemS::Point3v<float>& point, unsigned char* bytes) {
  scanmesh::store_f32(point.x, bytes);
  scanmesh::store_f32(point.y, bytes + 4);
  scanmesh::store_f32(point.z, bytes + 8);
}

// The attribute bytes behind the corners aren't touched.
void store_facet(const Mesh_R::_face& face, unsigned char* bytes) {
  store_point(face.vector, bytes);
  for (int i = 0; i < 3; ++i) store_point(face.vert[i]->point, bytes + 12 * (i + 1));
}

}  // namespace

namespace Mesh_R {

void Face::output(FILE* stream) {
  if (stream == nullptr) stream = std::fopen("tex.stl", "wb");
  if (stream == nullptr) return;
  // Closes it on every way out; what the disk refuses isn't reported to anybody.
  const std::unique_ptr<FILE, CloseFile> out(stream);
  int32_t count = 0;
  const int total = records.size();
#pragma omp parallel for reduction(+ : count)
  for (int i = 0; i < total; ++i) count += is_written(records[i]) ? 1 : 0;

  unsigned char head[scanmesh::kStlHeaderBytes + 4] = {};
  std::copy(std::begin(kHeaderText), std::end(kHeaderText), head);
  scanmesh::store_u32(static_cast<uint32_t>(count), head + scanmesh::kStlHeaderBytes);
  std::fwrite(head, 1, sizeof(head), stream);

  FacetBuffer buffer;
  std::size_t used = 0;
  scanmesh::for_each_in(records, 0, total, [&](int, const _face& face) {
    if (!is_written(face)) return;
    store_facet(face, buffer.data() + used);
    used += scanmesh::kStlFacetBytes;
    if (used < buffer.size()) return;
    std::fwrite(buffer.data(), 1, used, stream);
    used = 0;
  });
  std::fwrite(buffer.data(), 1, used, stream);
  std::fflush(stream);
}

}  // namespace Mesh_R

namespace Mesh_M {

void Mesh::output_STL(const char* path) {
  // Passed on unchecked: a path that can't be opened writes "tex.stl", so that a scan isn't lost.
  face.output(scanmesh::open_file(path, "wb"));
}

}  // namespace Mesh_M
