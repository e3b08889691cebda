// The body of a PLY file, from bytes in memory into flat arrays.
#ifndef SCANMESH_FORMATS_PLY_BODY_H
#define SCANMESH_FORMATS_PLY_BODY_H

#include <cstdint>
#include <iosfwd>

#include "formats/ply_header.h"
#include "scanmesh/ply_reader.h"

namespace scanmesh {

struct PlyBody {
  bool complete = false;
  int64_t invalid = 0;         // lists of a wrong length
  const char* stop = nullptr;  // behind the last byte that was read
  bool out_of_memory = false;  // for the arrays
};

// Reads the body that begins at `begin`. Arrays are made by the header's counts, after these were
// held against what the bytes can hold. What is missing in the file is zero in the arrays. Faults
// are told, but for invalid faces.
PlyBody read_ply_body(const PlyHeader& header, const char* begin, const char* end,
                      ply_reader_writer::TriMeshData& data, std::ostream& messages);

// Tells of invalid faces, if there are any.
void tell_invalid_faces(int64_t invalid, int32_t added, std::ostream& messages);

}  // namespace scanmesh

#endif  // SCANMESH_FORMATS_PLY_BODY_H
