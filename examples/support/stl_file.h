// STL files as a caller of the library meets them: which kind is it, and does it read cleanly.
#ifndef SCANMESH_EXAMPLES_SUPPORT_STL_FILE_H
#define SCANMESH_EXAMPLES_SUPPORT_STL_FILE_H

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "support/surface.h"

namespace demo {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

enum class StlKind { binary, ascii, unknown };

/// Tells by size and content, never by the word "solid" alone: many programs begin binary files
/// with it. `unknown` for what can't be opened and what is neither.
StlKind stl_kind(const std::string& path);

/// The ASCII file as a temporary stream of bare lines, in lower case, without indentation and empty
/// lines, rewound: the library takes keywords only at the beginning of a line. Null on failure.
File plain_ascii_stl(const std::string& path);

/// Writes binary STL, with coordinates narrowed to float. False when the file can't be written.
bool write_stl(const std::string& path, const std::vector<Triangle>& triangles);

/// Reads the triangles of a binary STL file, as many as it has bytes for. False when there are
/// none.
bool read_stl(const std::string& path, std::vector<Triangle>& triangles);

}  // namespace demo

#endif  // SCANMESH_EXAMPLES_SUPPORT_STL_FILE_H
