// STL bytes to corners, without any mesh: what the file holds, not what it says of itself.
#ifndef SCANMESH_FORMATS_STL_PARSING_H
#define SCANMESH_FORMATS_STL_PARSING_H

#include <cstdint>
#include <cstdio>
#include <vector>

#include "scanmesh/geometry.h"

namespace scanmesh {

// Three corners per facet, in file order.
using FacetCorners = std::vector<MemS::Point3v<float>>;

constexpr std::size_t kStlHeaderBytes = 80;
constexpr std::size_t kStlFacetBytes = 50;

enum class StlHead { kFacets, kNoCount, kBadCount };

// Reads the count of a binary file, from byte 80 of the stream.
StlHead read_binary_stl_count(FILE* stream, int32_t& count);

// Reads up to `count` facets from the current position: as many as the stream holds whole. Memory
// follows what was read, not the count.
void read_binary_stl_facets(FILE* stream, int32_t count, FacetCorners& corners);

// Reads an ASCII file from the current position; false on any line that isn't what it should be.
bool read_ascii_stl_facets(FILE* stream, FacetCorners& corners);

}  // namespace scanmesh

#endif  // SCANMESH_FORMATS_STL_PARSING_H
