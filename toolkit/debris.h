// Components that are too small to be meant.
#ifndef SCANMESH_TOOLKIT_DEBRIS_H
#define SCANMESH_TOOLKIT_DEBRIS_H

#include <functional>

#include "toolkit/nesting.h"
#include "toolkit/work_mesh.h"

namespace scanmesh {

// What shells are measured by.
struct ShellTotals {
  double area = 0;     // of all
  double largest = 0;  // area of the largest
};

// Drops the shells that the choice names; the number of their triangles.
std::int64_t drop_shells(WorkMesh& mesh,
                         const std::function<bool(const Shell&, const ShellTotals&)>& unwanted);

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_DEBRIS_H
