// The generated inputs of the benchmarks.
#ifndef SCANMESH_BENCH_GENERATED_SURFACES_H
#define SCANMESH_BENCH_GENERATED_SURFACES_H

#include <string>

#include "support/surface.h"

namespace bench {

/// A grid of about `faces` triangles over gentle waves, spacing 1 and a little noise, so that
/// neither the octree nor the orientation meets a special case. One cell in 1024 is a gap of two
/// faces.
demo::Surface wavy_grid(int faces);

/// The same as binary STL. False when the file can't be written.
bool write_wavy_grid(const std::string& path, int faces);

}  // namespace bench

#endif  // SCANMESH_BENCH_GENERATED_SURFACES_H
