#include "smoothing/filter_params.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using scanmesh::Filter_Levels;
using scanmesh::Filter_Params;

Filter_Params preset(int level, float value = 0) {
  Filter_Params params;
  Filter_Levels(params, level, value);
  return params;
}

void expect(const Filter_Params& params, int normal, int vertex, float curvature, float threshold) {
  EXPECT_EQ(params.normal_iterations, normal);
  EXPECT_EQ(params.vertex_iterations, vertex);
  EXPECT_EQ(params.curvature_limit, curvature);
  EXPECT_EQ(params.normal_threshold, threshold);
  EXPECT_EQ(params.lambda, 0.5F);
  EXPECT_EQ(params.mu, -0.53F);
}

TEST(FilterParams, defaults_are_the_constants_of_the_whole_mesh_filters) {
  expect(Filter_Params(), 3, 5, 0.008F, 0.5F);
}

TEST(FilterParams, levels_one_to_six_follow_the_table) {
  expect(preset(1), 3, 5, 0.008F, 0.5F);
  expect(preset(2), 5, 10, 0.008F, 0.5F);
  expect(preset(3), 5, 10, 0.03F, 0.0F);
  expect(preset(4), 10, 20, 1000.0F, 0.9F);
  expect(preset(5), 30, 50, 1000.0F, 0.8F);
  expect(preset(6), 10, 15, 0.03F, 0.0F);
}

TEST(FilterParams, value_counts_at_level_zero_only) {
  for (int level = 1; level <= 6; ++level) {
    EXPECT_EQ(preset(level, 0.05F).vertex_iterations, preset(level, 0.9F).vertex_iterations);
  }
}

TEST(FilterParams, level_zero_picks_by_value) {
  expect(preset(0, -1), 4, 4, 0.05F, 0.5F);
  expect(preset(0, 0.1F), 4, 4, 0.05F, 0.5F);
  expect(preset(0, 0.3F), 3, 2, 0.05F, 0.5F);
  expect(preset(0, 0.5F), 3, 1, 0.03F, 0.5F);
  expect(preset(0, 0.7F), 2, 1, 0.01F, 0.5F);
  expect(preset(0, 2), 2, 1, 0.005F, 0.5F);
  expect(preset(0, NAN), 2, 1, 0.005F, 0.5F);
}

TEST(FilterParams, bounds_of_level_zero_are_floats) {
  expect(preset(0, std::nextafter(0.11F, 0.0F)), 4, 4, 0.05F, 0.5F);
  expect(preset(0, 0.11F), 3, 2, 0.05F, 0.5F);
  expect(preset(0, 0.41F), 3, 1, 0.03F, 0.5F);
  expect(preset(0, 0.61F), 2, 1, 0.01F, 0.5F);
  expect(preset(0, 0.81F), 2, 1, 0.005F, 0.5F);
  expect(preset(0, std::nextafter(0.81F, 0.0F)), 2, 1, 0.01F, 0.5F);
}

TEST(FilterParams, other_levels_keep_the_defaults) {
  for (const int level : {7, 100, -1}) expect(preset(level, 0.05F), 3, 5, 0.008F, 0.5F);
}

TEST(FilterParams, fields_that_a_level_does_not_name_are_left) {
  Filter_Params params;
  params.lambda = 0.25F;
  params.curvature_limit = 7;
  params.normal_threshold = 0.75F;
  Filter_Levels(params, 2, 0);
  EXPECT_EQ(params.lambda, 0.25F);
  EXPECT_EQ(params.curvature_limit, 7);
  EXPECT_EQ(params.normal_threshold, 0.75F);
  EXPECT_EQ(params.normal_iterations, 5);
}

}  // namespace
