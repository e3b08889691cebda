// Points in the arrays that the reconstructors take, and free.
#ifndef SCANMESH_BENCH_POINT_ARRAYS_H
#define SCANMESH_BENCH_POINT_ARRAYS_H

#include <vector>

#include "scanmesh/mem_allo.h"
#include "support/vec3.h"

namespace bench {

inline MemS::MemAllo<float[3]> array_of(const std::vector<demo::Vec3>& vectors) {
  MemS::MemAllo<float[3]> array;
  array.inalize(100000, 1000);
  for (const demo::Vec3& v : vectors) {
    float(&slot)[3] = array.allocate_mem();
    for (int d = 0; d < 3; ++d) slot[d] = static_cast<float>(v[d]);
  }
  return array;
}

}  // namespace bench

#endif  // SCANMESH_BENCH_POINT_ARRAYS_H
