// Openings as text: a line each, or a value on the command line.
#ifndef SCANMESH_CLI_OPENINGS_H
#define SCANMESH_CLI_OPENINGS_H

#include <string>
#include <string_view>
#include <vector>

#include "scanmesh/toolkit/building.h"

namespace scanmesh::cli {

// Lines of numbers after a word; what follows a # is a comment:
//   circle x y z nx ny nz radius [depth]
//   slot x y z nx ny nz dx dy dz half-length half-width [depth]
//   rectangle, as a slot
// Throws Error(cannot_read) that names the line.
std::vector<Opening> parse_openings(std::string_view text, const std::string& name);
std::vector<Opening> read_openings(const std::string& path);

// "x,y,z,nx,ny,nz,r". Throws UsageError.
Opening parse_circle(std::string_view text);

}  // namespace scanmesh::cli

#endif  // SCANMESH_CLI_OPENINGS_H
