#include "smoothing/filter_params.h"

namespace scanmesh {

namespace {

struct ByValue {
  float below;
  int32_t normal_iterations;
  int32_t vertex_iterations;
  float curvature_limit;
};

// Level 0. What is below no bound, NaN included, takes the last row.
constexpr ByValue kByValue[] = {
    {0.11F, 4, 4, 0.05F}, {0.41F, 3, 2, 0.05F}, {0.61F, 3, 1, 0.03F}, {0.81F, 2, 1, 0.01F}};
constexpr ByValue kBeyond = {0, 2, 1, 0.005F};

void set_by_value(Filter_Params& params, float value) {
  ByValue row = kBeyond;
  for (const ByValue& candidate : kByValue) {
    if (value < candidate.below) {
      row = candidate;
      break;
    }
  }
  params.normal_iterations = row.normal_iterations;
  params.vertex_iterations = row.vertex_iterations;
  params.curvature_limit = row.curvature_limit;
}

void set_iterations(Filter_Params& params, int32_t normal, int32_t vertex) {
  params.normal_iterations = normal;
  params.vertex_iterations = vertex;
}

void set_limits(Filter_Params& params, float curvature, float threshold) {
  params.curvature_limit = curvature;
  params.normal_threshold = threshold;
}

}  // namespace

void Filter_Levels(Filter_Params& params, int level, float value) {
  switch (level) {
    case 0:
      set_by_value(params, value);
      break;
    case 1:
      set_iterations(params, 3, 5);
      break;
    case 2:
      set_iterations(params, 5, 10);
      break;
    // Scans were tuned on levels 3 and 6 with a threshold of 0: every neighbour that doesn't face
    // the other way has a say.
    case 3:
      set_iterations(params, 5, 10);
      set_limits(params, 0.03F, 0.0F);
      break;
    // Levels 4 and 5 keep nearly every vertex on the normal-driven side.
    case 4:
      set_iterations(params, 10, 20);
      set_limits(params, 1000.0F, 0.9F);
      break;
    case 5:
      set_iterations(params, 30, 50);
      set_limits(params, 1000.0F, 0.8F);
      break;
    case 6:
      set_iterations(params, 10, 15);
      set_limits(params, 0.03F, 0.0F);
      break;
    default:
      break;
  }
}

}  // namespace scanmesh
