// Values as they stand on the command line. All functions throw UsageError with a sentence.
#ifndef SCANMESH_CLI_VALUES_H
#define SCANMESH_CLI_VALUES_H

#include <cstdint>
#include <string>
#include <string_view>

#include "cli/session.h"

namespace scanmesh::cli {

// Mesh units, or a share of the box's diagonal: "5%".
struct Length {
  double value = 0;
  bool percent = false;

  double of(double diagonal) const { return percent ? value / 100 * diagonal : value; }
};

// Whole, decimal, and within the range.
std::int64_t parse_count(std::string_view text, std::int64_t least, std::int64_t most);
// Finite, in the C locale, and within the range.
double parse_number(std::string_view text, double least, double most);
// A number within 0 and 1, or a percentage.
double parse_share(std::string_view text);
// Above 0.
Length parse_length(std::string_view text);

}  // namespace scanmesh::cli

#endif  // SCANMESH_CLI_VALUES_H
