// Places where a surface meets itself, cut out and filled anew.
#ifndef SCANMESH_TOOLKIT_UNTANGLING_H
#define SCANMESH_TOOLKIT_UNTANGLING_H

#include "scanmesh/toolkit/inspect.h"
#include "toolkit/patch_making.h"

namespace scanmesh {

struct UntangleChanges {
  std::int64_t pairs = 0;  // of triangles that meet
  std::int64_t left = 0;   // pairs of the places that couldn't be mended
  std::int64_t places = 0;
  std::int64_t mended = 0;  // places
};

// Mends place after place: points of different sheets that coincide are drawn apart; else the
// triangles that meet, and a growing number of rows around them, are cut out and the rings that are
// left are filled, and the first filling that meets nothing is taken. A place where none does stays
// as it was. `max_rows` bounds the growth.
UntangleChanges untangle(WorkMesh& mesh, const std::vector<Intersection>& pairs, int max_rows,
                         const Ground& ground, const Progress& progress);

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_UNTANGLING_H
