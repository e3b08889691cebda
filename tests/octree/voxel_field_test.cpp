#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <set>
#include <tuple>
#include <vector>

#include "tests/support/octree_access.h"

namespace {

using scanmesh::kCornerSign;
using scanmesh::kSlotOffset;
using std::vector;
using test_support::Floats;
using test_support::OctNode;
using test_support::Sample;
using test_support::TestTree;

// A place in the tree, exact: cubes are powers of two and centred at the origin.
using Key = std::tuple<float, float, float, float>;

Key cell_key(Oct_tree_Tri& tree, const OctNode* node) {
  float c[3];
  tree.get_cor(c, node);
  return {node->half, c[0], c[1], c[2]};
}

Key corner_key(Oct_tree_Tri& tree, const OctNode* node, int corner) {
  float c[3];
  tree.get_cor(c, node);
  const auto at = [&](int k) {
    return c[k] + static_cast<float>(kCornerSign[corner][k]) * node->half;
  };
  return {node->half, at(0), at(1), at(2)};
}

Floats slanted_normal(const Sample& s) {
  return {0.1F * s.point[0], -0.2F * s.point[1], 1 + 0.05F * s.point[2]};
}

void fill_slanted(TestTree& tree, const vector<Sample>& samples) {
  for (const Sample& s : samples) tree.sample(s.point, s.half, 0, slanted_normal(s));
}

vector<OctNode*> entries(const M_point_arry<OctNode**>& list) {
  vector<OctNode*> nodes;
  for (int i = 0; i < list.count; ++i) nodes.push_back(list.data[i]);
  return nodes;
}

// The value of each corner of each sample's cell: the mean over the samples of that size around it.
std::map<Key, float> plain_field(TestTree& tree) {
  struct Sum {
    float value = 0;
    float count = 0;
  };
  std::map<Key, Sum> sums;
  for (const OctNode* leaf : entries(tree->leaves)) {
    const auto* const n = static_cast<const float*>(leaf->data);
    const auto dot = [n](double x, double y, double z) {
      return static_cast<double>(n[0]) * x + static_cast<double>(n[1]) * y +
             static_cast<double>(n[2]) * z;
    };
    const auto d = static_cast<float>(-dot(leaf->coor[0], leaf->coor[1], leaf->coor[2]));
    for (int corner = 0; corner < 8; ++corner) {
      const Key key = corner_key(*tree, leaf, corner);
      Sum& sum = sums[key];
      sum.value += static_cast<float>(dot(std::get<1>(key), std::get<2>(key), std::get<3>(key)) +
                                      static_cast<double>(d));
      sum.count += 1;
    }
  }
  std::map<Key, float> field;
  for (const auto& [key, sum] : sums) {
    const float mean = sum.value / sum.count;
    field[key] = std::fabs(static_cast<double>(mean)) <= 0.0001 ? 0.0F : mean;
  }
  return field;
}

// The virtual voxels by the rules, on a second tree of the same samples: every chunk looks around
// first, then each sample in order fills its empty slots and tells the samples around it.
std::set<Key> plain_virtual_voxels(const vector<Sample>& samples, float min_half, int levels,
                                   int chunk) {
  TestTree tree(8, min_half, levels);
  fill_slanted(tree, samples);
  const vector<OctNode*> leaves = entries(tree->leaves);
  const auto offset_slot = [](int s, int t) {
    int d[3];
    for (int k = 0; k < 3; ++k) d[k] = kSlotOffset[s][k] - kSlotOffset[t][k];
    return scanmesh::slot_of_offset(d[0], d[1], d[2]);
  };
  for (int begin = 0; begin < tree->leaves.count; begin += chunk) {
    const int end = std::min(begin + chunk, tree->leaves.count);
    vector<std::array<OctNode*, 27>> rows(static_cast<std::size_t>(end - begin));
    for (int i = begin; i < end; ++i) {
      tree->oct_search(leaves[static_cast<std::size_t>(i)],
                       rows[static_cast<std::size_t>(i - begin)].data());
    }
    for (int i = begin; i < end; ++i) {
      OctNode* const leaf = leaves[static_cast<std::size_t>(i)];
      auto& row = rows[static_cast<std::size_t>(i - begin)];
      for (int s = 0; s < 27; ++s) {
        auto& cell = row[static_cast<std::size_t>(s)];
        if (cell != nullptr) continue;
        Floats p;
        tree->get_cor(p.data(), leaf);
        for (std::size_t k = 0; k < 3; ++k) p[k] += 2 * leaf->half * kSlotOffset[s][k];
        cell = OctreeAccess::insert_voxel(*tree, p.data(), leaf->data, leaf->half);
        for (int t = 0; t < 27; ++t) {
          OctNode* const other = row[static_cast<std::size_t>(t)];
          const int seen = offset_slot(s, t);
          if (t == s || other == nullptr || seen < 0) continue;
          if (other->flag != 1 || other->index < begin || other->index >= end) continue;
          rows[static_cast<std::size_t>(other->index - begin)][static_cast<std::size_t>(seen)] =
              cell;
        }
      }
    }
  }
  std::set<Key> keys;
  for (const OctNode* voxel : entries(tree->voxels)) keys.insert(cell_key(*tree, voxel));
  return keys;
}

void expect_field_of(TestTree& tree, const std::map<Key, float>& expected) {
  std::set<const OctNode*> vertices;
  for (const OctNode* leaf : entries(tree->leaves)) {
    for (int corner = 0; corner < 8; ++corner) {
      const OctNode* const vertex = leaf->link[corner];
      ASSERT_NE(vertex, nullptr);
      const Key key = corner_key(*tree, leaf, corner);
      EXPECT_EQ(vertex->half, expected.at(key));
      EXPECT_EQ(vertex->index, -2);
      EXPECT_EQ(vertex->flag, 0);
      EXPECT_EQ(vertex->parent, nullptr);
      EXPECT_EQ(vertex->coor[0], std::get<1>(key));
      EXPECT_EQ(vertex->coor[1], std::get<2>(key));
      EXPECT_EQ(vertex->coor[2], std::get<3>(key));
      EXPECT_EQ(vertex->link[corner], leaf);
      vertices.insert(vertex);
    }
  }
  EXPECT_EQ(vertices.size(), expected.size());  // corners are shared, never doubled
}

// Corners of a virtual voxel are those that samples of its size made, and no others.
void expect_links_of_virtual_voxels(TestTree& tree, const std::map<Key, float>& field) {
  for (const OctNode* voxel : entries(tree->voxels)) {
    for (int corner = 0; corner < 8; ++corner) {
      const OctNode* const vertex = voxel->link[corner];
      const auto found = field.find(corner_key(*tree, voxel, corner));
      ASSERT_EQ(vertex != nullptr, found != field.end());
      if (vertex == nullptr) continue;
      EXPECT_EQ(vertex->half, found->second);
      EXPECT_EQ(vertex->link[corner], voxel);
    }
  }
}

TEST(VoxelField, is_the_mean_over_the_samples_around_each_corner) {
  TestTree tree(8, 0.5F);
  const vector<Sample> samples = test_support::rough_sheet(2500, 21);
  fill_slanted(tree, samples);
  const std::map<Key, float> expected = plain_field(tree);
  tree->oct_build_voxel_Architecture();
  expect_field_of(tree, expected);
  expect_links_of_virtual_voxels(tree, expected);
}

TEST(VoxelField, has_a_virtual_voxel_in_every_empty_cell_around_a_sample) {
  TestTree tree(8, 0.5F);
  const vector<Sample> samples = test_support::rough_sheet(2500, 22);
  fill_slanted(tree, samples);
  std::set<Key> real;
  std::set<Key> around;
  for (const OctNode* leaf : entries(tree->leaves)) real.insert(cell_key(*tree, leaf));
  for (const auto& [half, x, y, z] : real) {
    for (const auto& offset : kSlotOffset) {
      const Key key{half, x + 2 * half * offset[0], y + 2 * half * offset[1],
                    z + 2 * half * offset[2]};
      if (real.count(key) == 0) around.insert(key);
    }
  }
  tree->oct_build_voxel_Architecture();
  std::set<Key> made;
  for (const OctNode* voxel : entries(tree->voxels)) {
    made.insert(cell_key(*tree, voxel));
    EXPECT_EQ(voxel->flag, 1);
    EXPECT_EQ(voxel->index, -1);
  }
  EXPECT_EQ(made.size(), static_cast<std::size_t>(tree->voxels.count));
  // The sheet ends within the cube, so none lies outside.
  EXPECT_EQ(made, around);
}

TEST(VoxelField, of_two_resolutions_keeps_them_apart) {
  for (const uint64_t seed : {31U, 32U, 33U}) {
    TestTree tree(8, 0.5F, 2);
    const vector<Sample> samples = test_support::rough_sheet(4000, seed, 0.125F);
    fill_slanted(tree, samples);
    const std::map<Key, float> expected = plain_field(tree);
    const std::set<Key> voxels = plain_virtual_voxels(samples, 0.5F, 2, 2000000);
    tree->oct_build_voxel_Architecture();
    expect_field_of(tree, expected);
    expect_links_of_virtual_voxels(tree, expected);
    std::set<Key> made;
    for (const OctNode* voxel : entries(tree->voxels)) made.insert(cell_key(*tree, voxel));
    EXPECT_EQ(made, voxels);
    int bordering = 0;
    for (const OctNode* leaf : entries(tree->leaves)) bordering += leaf->status == 3;
    EXPECT_GT(bordering, 5);
  }
}

TEST(VoxelField, is_the_same_for_every_number_of_workers) {
  const vector<Sample> samples = test_support::rough_sheet(4000, 41, 0.125F);
  vector<float> expected;
  for (const int workers : {1, 2, 7, 28, 100000}) {
    TestTree tree(8, 0.5F, 2);
    fill_slanted(tree, samples);
    OctreeAccess::build(*tree, workers, 2000000, 777);
    vector<float> values;
    for (const auto* list : {&tree->leaves, &tree->voxels}) {
      for (const OctNode* voxel : entries(*list)) {
        values.push_back(static_cast<float>(voxel->status));
        for (const OctNode* vertex : voxel->link) {
          values.push_back(vertex == nullptr ? -1000.0F : vertex->half);
        }
      }
    }
    if (expected.empty()) expected = values;
    EXPECT_EQ(values, expected) << workers;
  }
}

TEST(VoxelField, workers_are_four_per_processor) {
  EXPECT_EQ(scanmesh::field_workers(), 4 * scanmesh::processor_count());
}

TEST(VoxelField, in_several_chunks_takes_earlier_virtual_voxels_as_they_are) {
  const vector<Sample> samples = test_support::rough_sheet(2500, 51, 0.125F);
  TestTree tree(8, 0.5F, 2);
  fill_slanted(tree, samples);
  const std::map<Key, float> expected = plain_field(tree);
  const std::set<Key> voxels = plain_virtual_voxels(samples, 0.5F, 2, 300);
  OctreeAccess::build(*tree, 3, 300, 100);
  expect_field_of(tree, expected);
  expect_links_of_virtual_voxels(tree, expected);
  std::set<Key> made;
  for (const OctNode* voxel : entries(tree->voxels)) made.insert(cell_key(*tree, voxel));
  EXPECT_EQ(made, voxels);
}

// Everything that can be seen of a field: samples and virtual voxels in order, by place.
vector<float> picture(TestTree& tree) {
  vector<float> out;
  const auto add_cell = [&](const OctNode* cell) {
    float centre[3];
    tree->get_cor(centre, cell);
    out.insert(out.end(), centre, centre + 3);
    out.insert(out.end(), cell->coor, cell->coor + 3);
    out.insert(out.end(), {cell->half, static_cast<float>(cell->status)});
  };
  for (const auto* list : {&tree->leaves, &tree->voxels}) {
    for (const OctNode* cell : entries(*list)) {
      add_cell(cell);
      for (const OctNode* vertex : cell->link) {
        out.push_back(vertex == nullptr ? -1000.0F : vertex->half);
        if (vertex == nullptr) continue;
        for (const OctNode* around : vertex->link) {
          if (around == nullptr) {
            out.push_back(-2000);
          } else {
            add_cell(around);
          }
        }
      }
    }
  }
  out.push_back(static_cast<float>(tree->depth));
  return out;
}

TEST(VoxelField, by_walking_is_that_by_searching) {
  test_support::Random random(81);
  for (int round = 0; round < 40; ++round) {
    const int levels = round % 3;
    const float fine = levels == 0 ? 0 : 0.5F / static_cast<float>(1 << levels);
    vector<Sample> samples = test_support::rough_sheet(300 + 60 * round, random.next(), fine);
    // Some reach the walls of the cube, some lie anywhere.
    if (round % 4 == 1) {
      for (Sample& s : samples) {
        for (float& x : s.point) x *= 1.14F;
      }
    }
    for (int i = 0; i < 10 * (round % 5); ++i) {
      const auto x = [&] { return 7.9F * random.signed_unit(); };
      samples.push_back({{x(), x(), x()}, i % 2 == 0 || fine == 0 ? 0.5F : fine});
    }
    vector<Sample> markers;
    for (int i = 0; i < 3 * (round % 6); ++i) {
      const auto x = [&] { return 7.9F * random.signed_unit(); };
      markers.push_back({{x(), x(), 0.2F * x()}, i % 3 == 0 ? 1.0F : 0.5F});
    }
    const int chunk = round % 2 == 0 ? 2000000 : 50 + 30 * round;
    vector<float> pictures[2];
    for (const bool plainly : {true, false}) {
      TestTree tree(8, 0.5F, levels);
      for (const Sample& m : markers) tree.marker(m.point, m.half);
      fill_slanted(tree, samples);
      OctreeAccess::build(*tree, 2, chunk, 100, plainly);
      pictures[plainly ? 0 : 1] = picture(tree);
    }
    ASSERT_EQ(pictures[0], pictures[1]) << round;
  }
}

TEST(VoxelField, vertex_touched_by_one_sample_has_its_plane_distance) {
  TestTree tree;
  OctNode* const leaf = tree.sample({1.25F, 1.5F, 0.75F}, 1, 0, {0, 0, 1});
  tree->oct_build_voxel_Architecture();
  EXPECT_EQ(leaf->link[0]->half, 1.25F);   // - + +
  EXPECT_EQ(leaf->link[2]->half, -0.75F);  // - - -
}

TEST(VoxelField, vertex_touched_by_four_has_the_mean_of_four) {
  TestTree tree;
  OctNode* const leaf = tree.sample({1, 1, 0.5F});
  tree.sample({3, 1, 0.75F});
  tree.sample({1, 3, 1});
  tree.sample({3, 3, 1.25F});
  tree->oct_build_voxel_Architecture();
  const OctNode* const shared = leaf->link[4];  // + + +, at (2, 2, 2)
  EXPECT_EQ(shared->coor[0], 2.0F);
  EXPECT_EQ(shared->half, (1.5F + 1.25F + 1.0F + 0.75F) / 4);
}

TEST(VoxelField, normals_are_taken_as_they_stand) {
  TestTree tree;
  OctNode* const leaf = tree.sample({1, 1, 1}, 1, 0, {0, 0, 3});
  tree->oct_build_voxel_Architecture();
  EXPECT_EQ(leaf->link[0]->half, 3.0F);
}

TEST(VoxelField, mean_within_a_ten_thousandth_becomes_exactly_zero) {
  for (const auto& [height, expected] :
       {std::pair<float, float>{1.99995F, 0.0F}, std::pair<float, float>{1.99985F, 2 - 1.99985F}}) {
    TestTree tree;
    OctNode* const leaf = tree.sample({1, 1, height});
    tree->oct_build_voxel_Architecture();
    EXPECT_EQ(leaf->link[0]->half, expected);
  }
}

TEST(VoxelField, coarser_leaf_beside_a_voxel_gets_status_3_and_shares_no_corner) {
  TestTree tree(8, 1, 1);
  OctNode* const coarse = tree.sample({-1, 1, 1}, 1);
  OctNode* const fine = tree.sample({0.25F, 0.25F, 0.25F}, 0.5F);
  OctNode* const apart = tree.sample({-5, -5, -5}, 1);
  tree->oct_build_voxel_Architecture();
  EXPECT_EQ(coarse->status, 3);
  EXPECT_EQ(fine->status, 4);
  EXPECT_EQ(apart->status, -1);
  for (const OctNode* a : coarse->link) {
    for (const OctNode* b : fine->link) EXPECT_NE(a, b);
  }
  for (const OctNode* vertex : coarse->link) {
    for (const OctNode* cell : vertex->link) EXPECT_NE(cell, fine);
  }
}

TEST(VoxelField, slot_stays_empty_where_a_coarser_leaf_or_a_finer_subtree_is) {
  TestTree tree(8, 1, 1);
  OctNode* const coarse = tree.sample({-1, 1, 1}, 1);
  OctNode* const fine = tree.sample({0.25F, 0.25F, 0.25F}, 0.5F);
  tree->oct_build_voxel_Architecture();
  // The fine cell's neighbours over there lie in the coarse leaf's cell.
  EXPECT_EQ(tree.voxel({-0.5F, 0.5F, 0.5F}, 0.5F), nullptr);
  EXPECT_EQ(fine->parent->status, 6);
  // The coarse leaf's neighbour on this side is an interior node; no virtual voxel replaces it.
  EXPECT_EQ(tree.voxel({1, 1, 1}, 1), nullptr);
  EXPECT_EQ(tree.search({1, 1, 1}), fine->parent);
  OctNode* out[27];
  tree->oct_search(coarse, out);
  EXPECT_EQ(out[16], fine->parent);
}

TEST(VoxelField, children_of_an_ordinary_interior_cell_are_not_taken_for_corners) {
  TestTree tree(8, 0.5F, 1);
  tree.sample({-1, 1, 1}, 1);
  // Ordinary too, and smaller: the cell between has no status to tell it by.
  OctNode* const smaller = tree.sample({0.25F, 0.25F, 0.25F}, 0.5F);
  ASSERT_EQ(smaller->parent->status, -1);
  tree->oct_build_voxel_Architecture();
  for (const OctNode* child : smaller->parent->link) {
    EXPECT_TRUE(child == nullptr || child->parent == smaller->parent);
  }
}

TEST(VoxelField, unfilled_marker_is_no_cell) {
  TestTree tree;
  OctNode* const leaf = tree.sample({1, 1, 1});
  OctNode* const sibling = tree.marker({3, 1, 1});
  OctNode* const beyond = tree.marker({-1, 1, 1});
  tree->oct_build_voxel_Architecture();
  for (const OctNode* marker : {sibling, beyond}) {
    EXPECT_EQ(marker->status, 7);
    for (const OctNode* link : marker->link) EXPECT_EQ(link, nullptr);
  }
  for (const OctNode* vertex : leaf->link) {
    for (const OctNode* cell : vertex->link) {
      EXPECT_NE(cell, sibling);
      EXPECT_NE(cell, beyond);
    }
  }
  EXPECT_EQ(tree->voxels.count, 24);
}

TEST(VoxelField, virtual_voxels_never_make_corners) {
  TestTree tree;
  OctNode* const leaf = tree.sample({1, 1, 1});
  tree->oct_build_voxel_Architecture();
  EXPECT_EQ(tree->voxels.count, 26);
  EXPECT_EQ(tree->counter_used, 8);
  const OctNode* const beside = tree.search({3, 1, 1});
  EXPECT_EQ(beside->index, -1);
  EXPECT_EQ(beside->data, leaf->data);  // and so its normal
  EXPECT_EQ(beside->half, 1.0F);
  // Its lower x side is the sample's upper one.
  EXPECT_EQ(beside->link[0], leaf->link[4]);
  EXPECT_EQ(beside->link[4], nullptr);
  const OctNode* const diagonal = tree.search({3, 3, 3});
  int corners = 0;
  for (const OctNode* vertex : diagonal->link) corners += vertex != nullptr;
  EXPECT_EQ(corners, 1);
}

TEST(VoxelField, counters_are_gone_after_the_build_and_a_second_build_does_nothing) {
  TestTree tree;
  OctNode* const leaf = tree.sample({1, 1, 1.5F});
  tree->oct_build_voxel_Architecture();
  EXPECT_EQ(tree->counter_array, nullptr);
  const float value = leaf->link[0]->half;
  tree->oct_build_voxel_Architecture();
  EXPECT_EQ(leaf->link[0]->half, value);
  EXPECT_EQ(tree->voxels.count, 26);
}

TEST(VoxelField, more_vertices_than_announced_grow_the_counters) {
  const vector<Sample> samples = test_support::rough_sheet(2500, 61);
  for (const int announced : {0, 1, 100}) {
    TestTree tree(8, 0.5F, 0, {0, 0, 0}, announced);
    fill_slanted(tree, samples);
    const std::map<Key, float> expected = plain_field(tree);
    ASSERT_GT(static_cast<int>(expected.size()), 7 * announced);
    tree->oct_build_voxel_Architecture();
    EXPECT_GE(tree->counter_capacity, tree->counter_used);
    expect_field_of(tree, expected);
  }
}

TEST(VoxelField, of_an_empty_tree_is_empty) {
  TestTree tree;
  tree->oct_build_voxel_Architecture();
  EXPECT_EQ(tree->voxels.count, 0);
  EXPECT_EQ(tree->counter_array, nullptr);
}

}  // namespace
