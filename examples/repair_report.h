// What a repair did, in tables.
#ifndef SCANMESH_EXAMPLES_REPAIR_REPORT_H
#define SCANMESH_EXAMPLES_REPAIR_REPORT_H

#include <string>
#include <utility>
#include <vector>

#include "scanmesh/mesh.h"
#include "support/surface.h"

namespace demo {

/// The live elements of a mesh.
struct Elements {
  long long faces = 0;
  long long vertices = 0;
  long long rings = 0;
  long long open_edges = 0;
};

/// Finds the rings anew for it: hole lists made before are gone.
Elements count_elements(Mesh_M::Mesh& mesh);

struct Fill {
  int ring_edges = 0;
  std::vector<Triangle> faces;
  double seconds = 0;
};

struct RepairReport {
  Elements before;
  Elements filled;
  Elements after;
  int debris = 0;  // faces dropped
  std::vector<Fill> fills;
  std::vector<std::pair<std::string, double>> seconds;  // by step
  double peak_mib = 0;
};

/// To the standard output stream. With an empty `truth` nothing is measured against it.
void print_report(const RepairReport& report, const Surface& truth);

/// The counts and the steps as JSON. False when the path can't be written.
bool write_steps(const RepairReport& report, const std::string& path);

}  // namespace demo

#endif  // SCANMESH_EXAMPLES_REPAIR_REPORT_H
