// Which rings are closed: the options that `repair` and `fill` have in common.
#ifndef SCANMESH_CLI_RING_LIMITS_H
#define SCANMESH_CLI_RING_LIMITS_H

#include <cstdint>

#include "cli/command.h"

namespace scanmesh::cli {

// A value of 0 is no limit.
struct RingLimits {
  std::int64_t edges = 0;
  Length length;
  Length diameter;

  bool any() const { return edges > 0 || length.value > 0 || diameter.value > 0; }

  void add_to(Command& command) {
    command.length("--longest-ring", length, "Rings up to this length are filled (default: all)");
    command.length("--widest-ring", diameter, "Rings up to this width are filled (default: all)");
    command.count("--ring-edges", edges, 1, kAnyCount,
                  "Rings of up to so many edges are filled (default: all)");
  }

  // Into the toolkit's options, which have the same names in both places.
  template <typename ToolkitOptions>
  void put_into(ToolkitOptions& options, double diagonal) const {
    if (edges > 0) options.max_ring_edges = edges;
    if (length.value > 0) options.max_ring_length = length.of(diagonal);
    if (diameter.value > 0) options.max_ring_diameter = diameter.of(diagonal);
  }
};

}  // namespace scanmesh::cli

#endif  // SCANMESH_CLI_RING_LIMITS_H
