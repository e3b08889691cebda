// The presets of the two denoisers.
#include <cmath>

#include "scanmesh/mesh.h"
#include "smoothing/smooth.h"

namespace Mesh_M {

namespace {

constexpr int kLevels = 4;

struct BilateralLevel {
  int normal_iterations;
  int vertex_iterations;
  float spatial_factor;
  float sigma_s;
};
constexpr BilateralLevel kBilateral[kLevels] = {
    {1, 3, 0.8F, 0.26105237F}, {1, 5, 1.0F, 0.26105237F}, {2, 6, 1.5F, 0.3F}, {3, 7, 2.0F, 0.3F}};

// 15 degrees; the third level alone looks as far as 30.
constexpr double kNarrow = 0.2617993877991494;
constexpr double kWide = 0.5235987755982988;

struct TwoStepLevel {
  int rounds;
  int normal_iterations;
  int vertex_iterations;
  double angle;
};
constexpr TwoStepLevel kTwoStep[kLevels] = {
    {2, 1, 2, kNarrow}, {3, 1, 3, kNarrow}, {5, 3, 5, kWide}, {7, 4, 7, kNarrow}};

bool exists(Mesh::smooth_level level) {
  return static_cast<int>(level) >= 0 && static_cast<int>(level) < kLevels;
}

}  // namespace

void Mesh::bilateralNormalde(smooth_level level) {
  if (!exists(level)) return;
  const BilateralLevel& preset = kBilateral[level];
  Mesh_SF::Smooth smooth(process_step);
  smooth.Smooth_Bilateral(&face, &vertex, preset.normal_iterations, preset.vertex_iterations,
                          preset.spatial_factor, preset.sigma_s);
}

void Mesh::Two_Step_Smooth(smooth_level level) {
  if (!exists(level)) return;
  const TwoStepLevel& preset = kTwoStep[level];
  Mesh_SF::Smooth smooth(process_step);
  smooth.Smooth_Two_Step(&face, &vertex, preset.rounds, preset.normal_iterations,
                         static_cast<float>(std::cos(preset.angle)), preset.vertex_iterations);
}

}  // namespace Mesh_M
