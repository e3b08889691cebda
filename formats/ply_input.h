// From a file or a stream to header and body: what the reader's operations and the loading of a
// mesh have in common.
#ifndef SCANMESH_FORMATS_PLY_INPUT_H
#define SCANMESH_FORMATS_PLY_INPUT_H

#include <cstdio>
#include <iosfwd>
#include <string>

#include "formats/file_bytes.h"
#include "formats/ply_body.h"
#include "formats/ply_header.h"

namespace scanmesh {

// Reads what is left of the file; only its beginning when that isn't a PLY file's.
void read_ply_bytes(FILE* file, FileBytes& bytes);
void read_ply_bytes(std::istream& stream, FileBytes& bytes);

// Reads just enough for the header, and parses it.
bool read_ply_header(FILE* file, PlyGrammar grammar, PlyHeader& header, std::ostream& messages);
bool read_ply_header(std::istream& stream, PlyGrammar grammar, PlyHeader& header,
                     std::ostream& messages);

// A header that is parsed already, and the body behind it. The bytes begin with the header.
PlyBody read_ply_after_header(const PlyHeader& header, const FileBytes& bytes,
                              ply_reader_writer::TriMeshData& data, std::ostream& messages);

// A whole file, as a reader's `read` takes it: the check first, then header and body. Invalid faces
// aren't told yet. `name` is for the message of a null file.
PlyBody read_ply_file(StreamOwner file, const std::string& name, PlyHeader& header,
                      ply_reader_writer::TriMeshData& data, std::ostream& messages);

}  // namespace scanmesh

#endif  // SCANMESH_FORMATS_PLY_INPUT_H
