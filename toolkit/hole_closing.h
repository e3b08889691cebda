// Closing rings with patches that fit.
#ifndef SCANMESH_TOOLKIT_HOLE_CLOSING_H
#define SCANMESH_TOOLKIT_HOLE_CLOSING_H

#include <functional>

#include "scanmesh/toolkit/error.h"
#include "toolkit/patch_making.h"

namespace scanmesh {

struct HoleChanges {
  std::int64_t rings = 0;
  std::int64_t closed = 0;
  std::int64_t crossing = 0;  // closed, though the patch meets something; to be untangled
  std::int64_t refused = 0;   // the ring bounds nothing: no patch, or none without folding back
};

// Says whether a ring is to be closed.
using RingChoice = std::function<bool(const WorkMesh&, const std::vector<std::int32_t>&)>;

// Hears what became of a ring: `refusal` is null where it was closed.
using RingTold =
    std::function<void(const WorkMesh&, const std::vector<std::int32_t>&, const char* refusal)>;

// Closes the rings that are chosen. Each gets the first kind of patch that meets nothing; where all
// kinds do, the one with the fewest faults, if `crossing` allows it.
HoleChanges close_rings(WorkMesh& mesh, const RingChoice& chosen, bool crossing,
                        const Ground& ground, const RingTold& tell, const Progress& progress);

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_HOLE_CLOSING_H
