// Where defects are that a repair left.
#ifndef SCANMESH_TOOLKIT_REMAINING_H
#define SCANMESH_TOOLKIT_REMAINING_H

#include <vector>

#include "scanmesh/toolkit/repair.h"

namespace scanmesh {

// At most `most` places, by kind in the order of Health; each names a face and the middle of it.
std::vector<Remaining> remaining_places(const TriangleMesh& mesh, const Health& health,
                                        std::size_t most);

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_REMAINING_H
