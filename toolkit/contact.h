// How two triangles meet, told by signs alone.
#ifndef SCANMESH_TOOLKIT_CONTACT_H
#define SCANMESH_TOOLKIT_CONTACT_H

#include <vector>

#include "scanmesh/toolkit/inspect.h"

namespace scanmesh {

// How two triangles meet beyond the corners and edges that they share by number. Neither may be
// degenerate.
Contact contact_of(const std::vector<Point>& points, const Triangle& s, const Triangle& t);

// A corner twice, or exactly no area.
bool degenerate(const std::vector<Point>& points, const Triangle& t);

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_CONTACT_H
