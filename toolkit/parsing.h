// Parsers of bytes in memory. Nothing of a file is believed before it is held against its size: no
// count of a header makes an array larger than the bytes behind it could fill.
#ifndef SCANMESH_TOOLKIT_PARSING_H
#define SCANMESH_TOOLKIT_PARSING_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "scanmesh/toolkit/error.h"
#include "scanmesh/toolkit/triangle_mesh.h"

namespace scanmesh {

// What a parser throws: Error(cannot_read) once the file's name is in front.
class ParseError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

TriangleMesh parse_stl_binary(std::string_view bytes);
TriangleMesh parse_stl_text(std::string_view bytes);
TriangleMesh parse_ply(std::string_view bytes);
TriangleMesh parse_obj(std::string_view bytes);
TriangleMesh parse_off(std::string_view bytes);
TriangleMesh parse_xyz(std::string_view bytes);

// Whether the size fits the count of a binary STL file.
bool looks_like_stl_binary(std::string_view bytes);

// Adds a face of any number of corners as triangles: convex ones as a fan, others so that nothing
// folds. Fewer than three corners add nothing.
void add_polygon(TriangleMesh& mesh, const std::vector<std::int32_t>& corners);

// A number of a point of a mesh that has `count`; throws where it names none.
std::int32_t checked_index(std::int64_t index, std::size_t count, std::size_t face);

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_PARSING_H
