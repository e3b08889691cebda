#include "octree/sample_smoothing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "octree/sample_refit.h"
#include "tests/support/octree_access.h"

namespace {

using scanmesh::normal_of;
using scanmesh::Vec3f;
using std::vector;
using test_support::Floats;
using test_support::OctNode;
using test_support::Random;
using test_support::TestTree;

vector<OctNode*> leaves_of(TestTree& tree) {
  vector<OctNode*> out;
  for (int i = 0; i < tree->leaves.count; ++i) out.push_back(tree->leaves.data[i]);
  return out;
}

float agreement(const OctNode* a, const OctNode* b) {
  return scanmesh::dot(normal_of(a), normal_of(b));
}

// One round by the rules, straight from the tree.
void plain_round(TestTree& tree, const vector<OctNode*>& list) {
  vector<Floats> next;
  for (OctNode* leaf : list) {
    if (leaf == nullptr) {
      next.push_back({});
      continue;
    }
    double sum[3] = {leaf->coor[0], leaf->coor[1], leaf->coor[2]};
    int count = 1;
    OctNode* around[27];
    tree->oct_search(leaf, around);
    for (OctNode* cell : around) {
      if (cell == nullptr) continue;
      OctNode** below = new OctNode*[2000];
      int n = 0;
      tree->oct_Traversal(cell, below, n, true, nullptr);
      double mean[3] = {0, 0, 0};
      int members = 0;
      for (int i = 0; i < n; ++i) {
        if (agreement(leaf, below[i]) < 0.9F) continue;
        for (int k = 0; k < 3; ++k) mean[k] += below[i]->coor[k];
        ++members;
      }
      delete[] below;
      if (members == 0) continue;
      for (int k = 0; k < 3; ++k) sum[k] += mean[k] / members;
      ++count;
    }
    Floats p{};
    for (std::size_t k = 0; k < 3; ++k) p[k] = static_cast<float>(sum[k] / count);
    next.push_back(p);
  }
  for (std::size_t i = 0; i < list.size(); ++i) {
    if (list[i] != nullptr) std::copy_n(next[i].data(), 3, list[i]->coor);
  }
}

void fill_rough(TestTree& tree, uint64_t seed) {
  Random random(seed);
  for (const test_support::Sample& s : test_support::rough_sheet(3000, seed, 0.125F)) {
    const float tilt = 0.4F * random.signed_unit();
    tree.sample(s.point, s.half, 0, {tilt, 0.1F, std::sqrt(1 - tilt * tilt)});
  }
}

TEST(SampleSmoothing, moves_samples_as_the_plain_rounds_do) {
  for (const int rounds : {0, 1, 3}) {
    TestTree got(8, 0.5F, 2);
    TestTree expected(8, 0.5F, 2);
    fill_rough(got, 71);
    fill_rough(expected, 71);
    vector<OctNode*> list = leaves_of(got);
    vector<OctNode*> plain = leaves_of(expected);
    ASSERT_EQ(list.size(), plain.size());
    // Some are passed over, and stand still for their neighbours.
    for (std::size_t i = 0; i < list.size(); i += 7) list[i] = plain[i] = nullptr;
    got->oct_Laplacian_Smooth(list.data(), static_cast<int>(list.size()), rounds);
    for (int i = 0; i < rounds; ++i) plain_round(expected, plain);
    const vector<OctNode*> a = leaves_of(got);
    const vector<OctNode*> b = leaves_of(expected);
    for (std::size_t i = 0; i < a.size(); ++i) {
      for (int k = 0; k < 3; ++k) EXPECT_NEAR(a[i]->coor[k], b[i]->coor[k], 2e-6);
    }
  }
}

TEST(SampleSmoothing, counts_the_sample_itself_twice) {
  TestTree tree;
  OctNode* const leaf = tree.sample({1, 1, 0.5F});
  OctNode* const beside = tree.sample({3, 1, 1.5F});
  OctNode* list[1] = {leaf};
  tree->oct_Laplacian_Smooth(list, 1, 1);
  EXPECT_FLOAT_EQ(leaf->coor[2], (0.5F + 0.5F + 1.5F) / 3);
  EXPECT_EQ(beside->coor[2], 1.5F);
}

TEST(SampleSmoothing, neighbour_whose_normal_differs_adds_nothing) {
  TestTree tree;
  OctNode* const leaf = tree.sample({1, 1, 0.5F}, 1, 0, {0, 0, 1});
  tree.sample({3, 1, 1.5F}, 1, 0, {0.6F, 0, 0.8F});
  OctNode* list[1] = {leaf};
  tree->oct_Laplacian_Smooth(list, 1, 5);
  EXPECT_EQ(leaf->coor[2], 0.5F);
}

TEST(SampleSmoothing, finer_samples_of_a_cell_add_their_mean_as_one_term) {
  TestTree tree(8, 1, 1);
  OctNode* const leaf = tree.sample({1, 1, 0.5F});
  tree.sample({2.5F, 0.5F, 0.25F}, 0.5F);
  tree.sample({3.5F, 0.5F, 0.75F}, 0.5F);
  tree.sample({2.5F, 1.5F, 0.95F}, 0.5F, 0, {1, 0, 0});  // doesn't agree
  OctNode* list[1] = {leaf};
  tree->oct_Laplacian_Smooth(list, 1, 1);
  EXPECT_FLOAT_EQ(leaf->coor[0], (1 + 1 + 3.0F) / 3);
}

TEST(SampleSmoothing, thread_safe_form_leaves_the_tree_alone) {
  TestTree tree;
  OctNode* const leaf = tree.sample({1, 1, 0.5F});
  tree.sample({3, 1, 1.5F});
  OctNode* list[2] = {leaf, nullptr};
  const vector<Vec3f> positions = scanmesh::smoothed_positions(*tree, list, 2, 1);
  EXPECT_FLOAT_EQ(positions[0].z, 2.5F / 3);
  EXPECT_EQ(leaf->coor[2], 0.5F);
}

TEST(SampleRefit, sees_the_plane_of_the_samples_around) {
  TestTree tree;
  const float slope = 0.2F;
  for (float x = -3; x < 4; x += 2) {
    for (float y = -3; y < 4; y += 2) tree.sample({x + 0.3F, y, slope * (x + 0.3F) + 0.5F});
  }
  OctNode* const leaf = tree.search({1, 1, 1});
  ASSERT_NE(leaf, nullptr);
  const scanmesh::Refit refit = scanmesh::refit_sample(*tree, leaf, normal_of);
  const float length = std::sqrt(1 + slope * slope);
  EXPECT_NEAR(refit.normal.x, -slope / length, 1e-5);
  EXPECT_NEAR(refit.normal.y, 0, 1e-5);
  EXPECT_NEAR(refit.normal.z, 1 / length, 1e-5);
  // From the middle of the cell (1, 1, 1) along the normal onto the plane, not from the sample.
  EXPECT_NEAR(refit.position.z, slope * refit.position.x + 0.5F, 1e-5);
  const float off = (slope * 1 + 0.5F - 1) / length;
  EXPECT_NEAR(refit.position.x, 1 + off * refit.normal.x, 1e-5);
  EXPECT_NEAR(refit.position.y, 1, 1e-5);
}

TEST(SampleRefit, keeps_the_side_of_the_old_normal) {
  for (const float side : {1.0F, -1.0F}) {
    TestTree tree;
    for (float x = -3; x < 4; x += 2) {
      for (float y = -3; y < 4; y += 2) tree.sample({x, y, 0.5F}, 1, 0, {0.1F, 0.2F, side});
    }
    const scanmesh::Refit refit = scanmesh::refit_sample(*tree, tree.search({1, 1, 1}), normal_of);
    EXPECT_NEAR(refit.normal.z, side, 1e-5);
  }
}

TEST(SampleRefit, samples_that_face_away_or_lie_beyond_the_box_do_not_count) {
  TestTree tree(16);
  for (float x = -3; x < 4; x += 2) {
    for (float y = -3; y < 4; y += 2) tree.sample({x, y, 0.5F});
  }
  tree.sample({1, 1, 3}, 1, 0, {0, 0, -1});    // faces away
  tree.sample({1, 3, 6.5F}, 1, 0, {0, 0, 1});  // 5.5 above the cell's middle; the box reaches 5
  const scanmesh::Refit refit = scanmesh::refit_sample(*tree, tree.search({1, 1, 1}), normal_of);
  EXPECT_NEAR(refit.normal.z, 1, 1e-6);
  EXPECT_NEAR(refit.position.z, 0.5F, 1e-6);
  // On the wall of the box it counts.
  TestTree other(16);
  for (float x = -3; x < 4; x += 2) {
    for (float y = -3; y < 4; y += 2) other.sample({x, y, 0.5F});
  }
  other.sample({1, 3, 6}, 1, 0, {0, 0, 1});
  EXPECT_LT(scanmesh::refit_sample(*other, other.search({1, 1, 1}), normal_of).normal.z, 0.999F);
}

TEST(SampleRefit, leaf_below_the_root_has_no_grandparent_and_is_seen_all_the_same) {
  TestTree tree;
  OctNode* const leaf = tree.sample({1, 1, 1}, 8);
  const scanmesh::Refit refit = scanmesh::refit_sample(*tree, leaf, normal_of);
  EXPECT_NEAR(refit.normal.x * refit.normal.x + refit.normal.y * refit.normal.y +
                  refit.normal.z * refit.normal.z,
              1, 1e-5);
}

TEST(SampleRefit, without_any_sample_that_counts_keeps_normal_and_middle) {
  TestTree tree;
  OctNode* const leaf = tree.sample({1.5F, 1.5F, 1.5F}, 1, 0, {0, 0, 0});
  const scanmesh::Refit refit = scanmesh::refit_sample(*tree, leaf, normal_of);
  EXPECT_EQ(refit.normal.z, 0.0F);
  EXPECT_EQ(refit.position.x, 1.0F);
}

}  // namespace
