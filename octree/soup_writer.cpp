// Writing the facets as binary STL.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "core/platform.h"
#include "scanmesh/marching.h"

namespace {

constexpr int kFacetBlock = 100000;
constexpr std::size_t kHeaderBytes = 80;
constexpr std::size_t kRecordBytes = 50;
constexpr char kHeader[] = "Created by Marunsen，STL Format";
static_assert(sizeof(kHeader) <= kHeaderBytes);

struct CloseFile {
  void operator()(FILE* file) const { std::fclose(file); }
};

// Without the integer part's sign of zero, as an integer would give it.
float rounded(float x) {
  return static_cast<float>((std::trunc(x * 1000.0 + 0.5) + 0.0) / 1000.0);
}

// The readers that hosts use take the file's size, not this number, for the number of facets.
int32_t header_count(int32_t slot, int32_t block) {
  return block == 0 ? slot - 1 : slot - (kFacetBlock + 1) + kFacetBlock * block;
}

}  // namespace

void MC_Triangulation::cut_off(float* point) {
  for (int k = 0; k < 3; ++k) point[k] = rounded(point[k]);
}

void MC_Triangulation::mc_output_data(const char* file) {
  const std::unique_ptr<FILE, CloseFile> out(
      scanmesh::open_file(file != nullptr ? file : "Testdif.stl", "wb"));
  // The facets are all that is left of the scan: they stay for another try.
  if (out == nullptr) return;
  char header[kHeaderBytes] = {};
  std::snprintf(header, sizeof(header), "%s", kHeader);
  std::fwrite(header, 1, sizeof(header), out.get());
  const int32_t count = header_count(facet_slot, facet_block);
  std::fwrite(&count, sizeof(count), 1, out.get());
  std::vector<char> records;
  for (int b = 0; facet_blocks != nullptr && b <= facet_block; ++b) {
    records.clear();
    const int facets = b == facet_block ? facet_slot : kFacetBlock;
    for (T_F* facet = facet_blocks[b]; facet != facet_blocks[b] + facets; ++facet) {
      if (std::isnan(facet->normal.x)) continue;
      for (Point3fv& vertex : facet->vertex) cut_off(&vertex.x);
      const std::size_t at = records.size();
      records.resize(at + kRecordBytes, 0);
      std::memcpy(records.data() + at, facet, sizeof(T_F));
    }
    if (!records.empty()) std::fwrite(records.data(), 1, records.size(), out.get());
  }
  std::fflush(out.get());
  free_mem();
}
