// Running the octree pipeline on a scan, and looking at what it made.
#ifndef SCANMESH_EXAMPLES_RECONSTRUCTION_H
#define SCANMESH_EXAMPLES_RECONSTRUCTION_H

#include <cstddef>
#include <string>
#include <vector>

#include "support/sample_scanner.h"
#include "support/surface.h"

namespace demo {

/// A sample of the tree as it stands before triangulation.
struct TreeSample {
  Vec3 point;
  Vec3 normal;
  double half = 0;
  int tag = 0;  // 1: made across a marker's hole
};

struct Reconstruction {
  std::vector<TreeSample> samples;
  double insert_seconds = 0;
  double marker_seconds = 0;
  double triangulation_seconds = 0;  // the field and the facets
  double write_seconds = 0;
};

/// The whole sequence of calls: samples and markers into the tree, marker holes closed, the soup
/// written to `path` as binary STL. `half` is half of an ordinary cell's edge, `levels` says how
/// often the finest cells halve it.
Reconstruction reconstruct(const SampleScan& scan, double half, int levels,
                           const std::string& path);

/// The records of a file that the pipeline wrote. The count in its header stands below the number
/// of facets, so its size is what tells.
std::vector<Triangle> read_soup(const std::string& path);

}  // namespace demo

#endif  // SCANMESH_EXAMPLES_RECONSTRUCTION_H
