// The header of a PLY file, from bytes in memory.
#ifndef SCANMESH_FORMATS_PLY_HEADER_H
#define SCANMESH_FORMATS_PLY_HEADER_H

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <vector>

#include "scanmesh/ply_reader.h"

namespace scanmesh {

struct PlyHeader {
  ply_reader_writer::Options options;
  int32_t vertex_count = 0;
  int32_t face_count = 0;
  int32_t dimension = 0;  // properties x, y and z
  std::vector<ply_reader_writer::PLY_Base::Element> elements;
  // Where the data begin, counted from the first byte, and not always among the bytes; 0 until the
  // header is read to its end.
  std::size_t body = 0;
};

// What a check before a real read knows, and what the read itself does.
enum class PlyGrammar { kCheck, kRead };

// Reads the header at the beginning of the bytes; false, with a message, on any fault. `ran_out`
// says that more bytes behind these might change the result.
bool parse_ply_header(const char* begin, const char* end, PlyGrammar grammar, PlyHeader& header,
                      std::ostream& messages, bool& ran_out);

// Whether a file may begin with these bytes, as far as they go.
bool begins_as_ply(const char* begin, const char* end);

// Bytes of a value in a binary file; 0 for a type that isn't known.
std::size_t ply_type_size(ply_reader_writer::PLY_Base::ValueType type);
bool is_float_type(ply_reader_writer::PLY_Base::ValueType type);

}  // namespace scanmesh

#endif  // SCANMESH_FORMATS_PLY_HEADER_H
