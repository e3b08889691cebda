// Scaling the coordinates for the temperature at which a part was scanned.
#include "core/live_records.h"
#include "core/parallel.h"
#include "core/vector_math.h"
#include "scanmesh/mesh.h"

namespace Mesh_M {

using Mesh_R::_vert;

void Mesh::temperature_compensation_scaling(float factor, int axis) {
  scanmesh::run_slices(vertex.get_vertnum(), scanmesh::processor_count(),
                       [=](std::ptrdiff_t first, std::ptrdiff_t last) {
                         temperature_compensation_scaling_thread(
                             static_cast<int>(first), static_cast<int>(last), factor, axis);
                       });
}

void Mesh::temperature_compensation_scaling_thread(int first, int last, float factor, int axis) {
  scanmesh::for_each_in(vertex.records, first, last, [=](int, _vert& vert) {
    if (vert.state == Mesh_R::kStateDeleted) return;
    MemS::Point3v<float>& p = vert.point;
    if (axis == 0) p = scanmesh::scaled(p, factor);
    if (axis == 1) p.x *= factor;
    if (axis == 2) p.y *= factor;
    if (axis == 3) p.z *= factor;
  });
}

}  // namespace Mesh_M
