// What the region says about the curvature at the ring.
#ifndef SCANMESH_PATCHING_RIM_CURVATURE_H
#define SCANMESH_PATCHING_RIM_CURVATURE_H

#include <vector>

#include "patching/surroundings.h"

namespace cavity {

struct RimCurvature {
  std::vector<double> mean;  // per ring vertex; empty where the region has nothing to say
  double roughness = 0.0;    // what noise adds to the curvature of a vertex, root mean square
};

RimCurvature measure_rim(const Surroundings& around);

}  // namespace cavity

#endif  // SCANMESH_PATCHING_RIM_CURVATURE_H
