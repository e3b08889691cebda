// The constants of the filters.
#ifndef SCANMESH_SMOOTHING_FILTER_PARAMS_H
#define SCANMESH_SMOOTHING_FILTER_PARAMS_H

#include <cstdint>

namespace scanmesh {

struct Filter_Params {
  float curvature_limit = 0.008F;  // vertices beyond it, either way, count as high-curvature
  float normal_threshold = 0.5F;   // faces whose normals agree less have no weight
  float lambda = 0.5F;             // the positive step of a Taubin pair
  float mu = -0.53F;               // its negative step
  int32_t normal_iterations = 3;
  int32_t vertex_iterations = 5;
};

// Adjusts `params` to a preset of the normal filter. `value` picks among those of level 0; a level
// that there isn't changes nothing.
void Filter_Levels(Filter_Params& params, int level, float value);

}  // namespace scanmesh

#endif  // SCANMESH_SMOOTHING_FILTER_PARAMS_H
