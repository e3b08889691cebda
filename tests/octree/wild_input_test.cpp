// Whatever comes in, memory stays sound: sanitizers watch.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <limits>
#include <vector>

#include "scanmesh/marching.h"
#include "tests/support/files.h"
#include "tests/support/shapes.h"

namespace {

using test_support::Random;

class WildInput {
 public:
  explicit WildInput(uint64_t seed) : random_(seed) {}

  // Mostly a sheet; now and then anything that a float can be.
  float coordinate(int axis) {
    switch (random_.below(60)) {
      case 0:
        return std::nanf("");
      case 1:
        return std::numeric_limits<float>::infinity();
      case 2:
        return -1e30F;
      case 3:
        return 8 * random_.signed_unit();
      default:
        return axis < 2 ? 7 * random_.signed_unit() : 0.3F * random_.signed_unit();
    }
  }
  std::array<float, 3> point() { return {coordinate(0), coordinate(1), coordinate(2)}; }
  std::array<float, 3> normal() {
    switch (random_.below(40)) {
      case 0:
        return {0, 0, 0};
      case 1:
        return {std::nanf(""), 0, 1};
      case 2:
        return {1e30F, 1e30F, 0};
      case 3:
        return {0, 0, -1};
      default:
        return {0.1F * random_.signed_unit(), 0.1F * random_.signed_unit(), 1};
    }
  }
  float half() {
    const float halves[] = {0.5F, 0.5F, 0.5F, 0.25F, 0.125F, 0.3F, 1, 3, 20};
    return halves[random_.below(9)];
  }
  int below(int n) { return random_.below(n); }

 private:
  Random random_;
};

void run_wildly(uint64_t seed) {
  WildInput wild(seed);
  const int samples = 200 + wild.below(3000);
  const int markers = wild.below(12);
  std::vector<std::array<float, 3>> normals;
  normals.reserve(static_cast<std::size_t>(samples + markers));
  MC_Triangulation mc;
  float centre[3] = {0.1F, 0.2F, 0.3F};
  mc.inalize(centre, wild.below(2) == 0 ? 0 : samples, 8, wild.below(4), 0.5F);
  mc.inalize_mark();
  for (int i = 0; i < samples + markers; ++i) {
    std::array<float, 3> p = wild.point();
    normals.push_back(wild.normal());
    if (wild.below(samples + markers) < markers) {
      mc.insert_marker(p.data(), normals.back().data(), wild.half(),
                       static_cast<float>(1 + wild.below(3)));
    } else {
      mc.insert_data(p.data(), normals.back().data(), wild.half(), i);
    }
  }
  mc.Fill_marker();
  EXPECT_LE(mc.tree.leaves.count, mc.tree.leaves.capacity);
  for (int i = 0; i < mc.tree.leaves.count; ++i) {
    const Oct_tree_Triangulation* const leaf = mc.tree.leaves.data[i];
    EXPECT_TRUE(leaf == nullptr || leaf->index == i);
  }
  mc.mc_triangulation();
  const std::string path = test_support::temp_path("wild.stl");
  mc.mc_output_data(path.c_str());
  const std::string bytes = test_support::bytes_of_file(path);
  std::remove(path.c_str());
  EXPECT_EQ((bytes.size() - 84) % 50, 0U);
  mc.tree.free_mark();
}

TEST(WildInput, passes_through_the_whole_sequence) {
  for (uint64_t seed = 0; seed < 60; ++seed) run_wildly(seed);
}

TEST(WildInput, sequence_without_samples_writes_an_empty_soup) {
  MC_Triangulation mc;
  float centre[3] = {0, 0, 0};
  mc.inalize(centre, 0, 8, 2, 1);
  mc.inalize_mark();
  mc.insert_marker(centre, nullptr, 0.5F, 2);
  mc.Fill_marker();
  mc.mc_triangulation();
  const std::string path = test_support::temp_path("empty.stl");
  mc.mc_output_data(path.c_str());
  EXPECT_EQ(test_support::bytes_of_file(path).size(), 84U);
  std::remove(path.c_str());
  mc.tree.free_mark();
}

}  // namespace
