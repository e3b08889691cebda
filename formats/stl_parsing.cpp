#include "formats/stl_parsing.h"

#include <algorithm>
#include <cstring>

#include "core/platform.h"
#include "core/text_number.h"
#include "formats/binary_stream.h"

namespace scanmesh {

namespace {

constexpr std::size_t kFacetsPerRead = 4096;
constexpr std::size_t kNormalBytes = 12;
// The attribute bytes say nothing: a last facet that lacks them is whole.
constexpr std::size_t kFacetFloatBytes = 48;
constexpr int kLineBytes = 1024;
// The shortest ASCII facet, to reserve by the size of the file.
constexpr int64_t kLeastAsciiFacetBytes = 60;
constexpr int64_t kMostFacetsReserved = 2500000;

void take_facet(const unsigned char* bytes, FacetCorners& corners) {
  for (int corner = 0; corner < 3; ++corner) {
    const unsigned char* const p = bytes + kNormalBytes + 12 * corner;
    corners.push_back({load_f32(p), load_f32(p + 4), load_f32(p + 8)});
  }
}

bool begins_with(const char* line, const char* word) {
  return std::strncmp(line, word, std::strlen(word)) == 0;
}

// One line at a time. Keywords stand at the very beginning of a line.
class AsciiLines {
 public:
  explicit AsciiLines(FILE* stream) : stream_(stream) {}

  bool next() { return std::fgets(line_, kLineBytes, stream_) != nullptr; }
  bool is(const char* word) const { return begins_with(line_, word); }
  bool next_is(const char* word) { return next() && is(word); }
  bool numbers_after(const char* word, float* out) const {
    return is(word) && parse_floats(line_ + std::strlen(word), out, 3);
  }
  char first() const { return line_[0]; }

 private:
  FILE* stream_;
  char line_[kLineBytes] = {};
};

bool read_ascii_facet(AsciiLines& lines, FacetCorners& corners) {
  float normal[3];
  if (!lines.numbers_after("facet normal", normal)) return false;
  if (!lines.next_is("outer loop")) return false;
  for (int corner = 0; corner < 3; ++corner) {
    float p[3];
    if (!lines.next() || !lines.numbers_after("vertex", p)) return false;
    corners.push_back({p[0], p[1], p[2]});
  }
  // "endface" on purpose: "endfacet" begins with it, and some writers leave the t out.
  return lines.next_is("endloop") && lines.next_is("endface");
}

}  // namespace

StlHead read_binary_stl_count(FILE* stream, int32_t& count) {
  unsigned char bytes[4];
  if (std::fseek(stream, static_cast<long>(kStlHeaderBytes), SEEK_SET) != 0) {
    return StlHead::kNoCount;
  }
  if (std::fread(bytes, 1, sizeof(bytes), stream) != sizeof(bytes)) return StlHead::kNoCount;
  count = load_i32(bytes);
  return count < 1 ? StlHead::kBadCount : StlHead::kFacets;
}

void read_binary_stl_facets(FILE* stream, int32_t count, FacetCorners& corners) {
  std::size_t left = static_cast<std::size_t>(count);
  const int64_t bytes = remaining_bytes(stream);
  if (bytes >= 0) {
    left = std::min(left, (static_cast<std::size_t>(bytes) + kStlFacetBytes - kFacetFloatBytes) /
                              kStlFacetBytes);
    corners.reserve(3 * left);
  }
  std::vector<unsigned char> buffer(kStlFacetBytes * std::min(left, kFacetsPerRead));
  while (left > 0) {
    const std::size_t wanted = kStlFacetBytes * std::min(left, kFacetsPerRead);
    const std::size_t got = std::fread(buffer.data(), 1, wanted, stream);
    const std::size_t whole = (got + kStlFacetBytes - kFacetFloatBytes) / kStlFacetBytes;
    for (std::size_t i = 0; i < whole; ++i) take_facet(buffer.data() + i * kStlFacetBytes, corners);
    if (got < wanted) return;
    left -= whole;
  }
}

bool read_ascii_stl_facets(FILE* stream, FacetCorners& corners) {
  const int64_t facets = remaining_bytes(stream) / kLeastAsciiFacetBytes;
  if (facets > 0)
    corners.reserve(3 * static_cast<std::size_t>(std::min(facets, kMostFacetsReserved)));
  AsciiLines lines(stream);
  if (!lines.next_is("solid")) return false;
  while (lines.next()) {
    if (lines.first() == 'e') return lines.is("endsolid");
    if (!read_ascii_facet(lines, corners)) return false;
  }
  return false;
}

}  // namespace scanmesh
