#include "octree/marker_filling.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "core/platform.h"
#include "octree/marker_surface.h"
#include "scanmesh/marching.h"
#include "tests/support/octree_sheet.h"

namespace {

using scanmesh::MarkerFilling;
using scanmesh::Vec3f;
using std::vector;
using test_support::Floats;
using test_support::OctNode;
using test_support::Random;
using test_support::Sheet;

// Entries know their places, and the tree holds just these leaves.
void expect_consistent(Sheet& sheet) {
  const vector<OctNode*> leaves = sheet.leaves();
  for (std::size_t i = 0; i < leaves.size(); ++i) {
    EXPECT_EQ(leaves[i]->index, static_cast<int>(i));
    EXPECT_EQ(leaves[i]->flag, 1);
    EXPECT_EQ(leaves[i]->parent->link[scanmesh::octant_in_parent(leaves[i])], leaves[i]);
  }
  OctNode** list = new OctNode*[leaves.size() + 1];
  int count = 0;
  sheet.tree().oct_Traversal(sheet.tree().node_blocks[0], list, count, true, nullptr);
  EXPECT_EQ(static_cast<std::size_t>(count), leaves.size());
  delete[] list;
}

TEST(MarkerFilling, of_no_markers_does_nothing) {
  Sheet sheet;
  sheet.ring(0, 3, 1000);
  const float before = sheet.leaves()[3]->coor[0];
  sheet.tree().Fill_marker();
  EXPECT_EQ(sheet.leaves()[3]->coor[0], before);
}

TEST(MarkerFilling, needs_121_samples_around) {
  for (const int around : {120, 121}) {
    Sheet sheet;
    sheet.marker(0.1, 0.1, 0.1, 1.5F);
    sheet.ring(1.5, 6, around);
    ASSERT_EQ(sheet.tree().leaves.count, around);
    sheet.tree().Fill_marker();
    EXPECT_EQ(sheet.new_samples().empty(), around == 120);
    expect_consistent(sheet);
  }
}

TEST(MarkerFilling, needs_81_samples_that_agree) {
  for (const int agreeing : {80, 81}) {
    Sheet sheet;
    sheet.marker(0.1, 0.1, 0.1, 1.5F);
    sheet.ring(1.5, 6, agreeing);
    // The rest is there, but too far above the marker's plane.
    for (int i = 0; i < 60; ++i) sheet.sample(-7 + 0.5 * (i % 20), -7 + 0.5 * (i / 20), 6.1);
    ASSERT_EQ(sheet.tree().leaves.count, agreeing + 60);
    sheet.tree().Fill_marker();
    EXPECT_EQ(sheet.new_samples().empty(), agreeing == 80);
  }
}

TEST(MarkerFilling, needs_a_cell_of_sufficient_size_above) {
  // Radius 6 wants a half edge of 6 + 1 + 2.5.
  for (const float root : {8.0F, 16.0F}) {
    Sheet sheet(root);
    sheet.marker(0.1, 0.1, 0.1, 6);
    sheet.ring(6, 7.9, 1000);
    sheet.tree().Fill_marker();
    EXPECT_EQ(sheet.new_samples().empty(), root == 8.0F);
  }
}

TEST(MarkerFilling, hole_in_a_curved_sheet_is_closed_on_the_surface) {
  const auto height = [](double x, double y) { return 0.1 + 0.02 * x * x - 0.015 * y * y; };
  Sheet sheet;
  sheet.marker(0.1, 0.1, 0.1, 2);
  sheet.ring(2, 8, 10000, height);
  const int before = sheet.tree().leaves.count;
  sheet.tree().Fill_marker();
  const vector<OctNode*> added = sheet.new_samples();
  // One for each one and a half cells either way, within the circle.
  EXPECT_GT(added.size(), 15U);
  const int taken = sheet.tree().marker_nodes[0]->flag;
  EXPECT_EQ(sheet.tree().leaves.count, before + taken + static_cast<int>(added.size()));
  for (const OctNode* leaf : added) {
    EXPECT_NEAR(leaf->coor[2], height(leaf->coor[0], leaf->coor[1]), 0.05);
    EXPECT_LT(std::hypot(leaf->coor[0] - 0.1, leaf->coor[1] - 0.1), 2.1);
    EXPECT_EQ(leaf->half, 0.25F);
    const auto* const n = static_cast<const float*>(leaf->data);
    EXPECT_GT(n[2], 0.98F);
    EXPECT_NEAR(n[0] * n[0] + n[1] * n[1] + n[2] * n[2], 1, 1e-5);
  }
  expect_consistent(sheet);
}

TEST(MarkerFilling, new_samples_have_normals_of_their_own) {
  Sheet sheet;
  sheet.marker(0.1, 0.1, 0.1, 2);
  sheet.ring(2, 8, 10000);
  sheet.tree().Fill_marker();
  const vector<OctNode*> added = sheet.new_samples();
  ASSERT_FALSE(added.empty());
  EXPECT_EQ(sheet.tree().fill_normals.size(),
            static_cast<int>(added.size()) + (sheet.tree().marker_nodes[0]->flag == 1 ? 1 : 0) -
                (sheet.tree().marker_nodes[0]->tag == 1 ? 1 : 0));
  vector<const void*> normals;
  for (const OctNode* leaf : added) normals.push_back(leaf->data);
  std::sort(normals.begin(), normals.end());
  EXPECT_EQ(std::unique(normals.begin(), normals.end()), normals.end());
}

TEST(MarkerFilling, seed_that_lands_on_the_marker_takes_its_node_over) {
  // Where one of the seeds about the middle comes to lie, the marker itself is put.
  Sheet trial;
  trial.marker(0.1, 0.1, 0.1, 2);
  trial.ring(2, 8, 10000);
  scanmesh::MarkerSurface surface(trial.tree());
  Vec3f place{9, 9, 9};
  for (const Vec3f& p : surface.close(trial.tree().marker_nodes[0], 2).seeds) {
    if (std::hypot(p.x, p.y) < std::hypot(place.x, place.y)) place = p;
  }
  Sheet sheet;
  sheet.marker(place.x, place.y, place.z, 2);
  OctNode* const node = sheet.tree().marker_nodes[0];
  sheet.ring(2, 8, 10000);
  const int before = sheet.tree().leaves.count;
  sheet.tree().Fill_marker();
  ASSERT_EQ(node->flag, 1);
  EXPECT_GE(node->index, before);
  EXPECT_EQ(sheet.leaves()[static_cast<std::size_t>(node->index)], node);
  EXPECT_EQ(node->status, -1);
  EXPECT_EQ(node->tag, 0);  // the marker's, not the seed's
  EXPECT_NEAR(node->coor[2], 0.1F, 0.01);
}

TEST(MarkerFilling, marker_that_no_seed_reached_stays_and_is_passed_over) {
  Sheet sheet;
  // Its cell lies between the places of the seeds.
  sheet.marker(-0.4, -0.4, 0.1, 1.5F);
  OctNode* const node = sheet.tree().marker_nodes[0];
  sheet.ring(1.9, 8, 10000);
  sheet.tree().Fill_marker();
  EXPECT_FALSE(sheet.new_samples().empty());
  ASSERT_EQ(node->flag, 0);
  EXPECT_EQ(node->status, 7);
  EXPECT_EQ(sheet.tree().oct_search(node->coor), nullptr);
  expect_consistent(sheet);
}

TEST(MarkerFilling, seed_in_an_occupied_cell_is_dropped) {
  Sheet plain;
  plain.marker(0.1, 0.1, 0.1, 2);
  plain.ring(2, 8, 10000);
  plain.tree().Fill_marker();
  const vector<OctNode*> added = plain.new_samples();
  ASSERT_FALSE(added.empty());
  Floats place{};
  std::copy_n(added[0]->coor, 3, place.data());
  // The same again, with a sample where a seed came to lie.
  Sheet sheet;
  sheet.marker(0.1, 0.1, 0.1, 2);
  sheet.ring(2, 8, 10000);
  sheet.sample(place[0], place[1], place[2], {0, 0, 1}, 0.25F, 7);
  sheet.tree().Fill_marker();
  const OctNode* const there = sheet.tree().oct_search(place.data());
  ASSERT_NE(there, nullptr);
  EXPECT_EQ(there->tag, 7);
}

TEST(MarkerFilling, normals_in_the_callers_array_are_overwritten) {
  Sheet sheet;
  sheet.marker(0.1, 0.1, 0.1, 2);
  for (double x = -7.75; x < 8; x += 0.5) {
    for (double y = -7.75; y < 8; y += 0.5) {
      if (std::hypot(x, y) > 2) sheet.sample(x, y, 0.1 + 0.1 * x, {0.05F, 0, 0.998F});
    }
  }
  sheet.tree().Fill_marker();
  const float length = std::sqrt(1.01F);
  int changed = 0;
  for (std::size_t i = 1; i < 900; ++i) {
    const Floats& n = sheet.normal(i);
    if (n[0] == 0.05F) continue;
    ++changed;
    EXPECT_NEAR(n[0], -0.1F / length, 0.02);
    EXPECT_NEAR(n[2], 1 / length, 0.02);
  }
  // Those within reach of the marker: 2 + 1 + 16 x 0.25.
  EXPECT_GT(changed, 400);
  EXPECT_LT(changed, 700);
}

TEST(MarkerFilling, samples_around_go_to_the_middle_of_their_cells_and_onto_the_plane) {
  Sheet sheet;
  sheet.marker(0.1, 0.1, 0.1, 2);
  Random random(3);
  for (double x = -7.75; x < 8; x += 0.5) {
    for (double y = -7.75; y < 8; y += 0.5) {
      if (std::hypot(x, y) <= 2.3) continue;
      sheet.sample(x + 0.2 * random.signed_unit(), y + 0.2 * random.signed_unit(), 0.15);
    }
  }
  const int before = sheet.tree().leaves.count;
  sheet.tree().Fill_marker();
  int regular = 0;
  for (const OctNode* leaf : sheet.leaves()) {
    if (std::hypot(leaf->coor[0], leaf->coor[1]) > 6 || leaf->tag == 1) continue;
    if (leaf == sheet.tree().marker_nodes[0]) continue;
    float centre[3];
    sheet.tree().get_cor(centre, leaf);
    EXPECT_NEAR(leaf->coor[0], centre[0], 0.02);
    EXPECT_NEAR(leaf->coor[1], centre[1], 0.02);
    EXPECT_NEAR(leaf->coor[2], 0.15, 0.02);
    ++regular;
  }
  EXPECT_GT(regular, 200);
  EXPECT_EQ(sheet.tree().leaves.count - static_cast<int>(sheet.new_samples().size()) -
                (sheet.tree().marker_nodes[0]->flag == 1 ? 1 : 0),
            before);
  expect_consistent(sheet);
}

TEST(MarkerFilling, sample_kept_by_two_markers_is_replaced_once) {
  Sheet sheet;
  sheet.marker(-2, 0.1, 0.1, 1.2F);
  sheet.marker(2, 0.1, 0.1, 1.2F);
  int samples = 0;
  for (double x = -7.75; x < 8; x += 0.5) {
    for (double y = -7.75; y < 8; y += 0.5) {
      if (std::hypot(x + 2, y) <= 1.2 || std::hypot(x - 2, y) <= 1.2) continue;
      sheet.sample(x, y, 0.1);
      ++samples;
    }
  }
  sheet.tree().Fill_marker();
  expect_consistent(sheet);
  int old = 0;
  for (const OctNode* leaf : sheet.leaves()) old += leaf->tag == 0;
  int taken = 0;
  for (int i = 0; i < 2; ++i) taken += sheet.tree().marker_nodes[i]->flag == 1;
  EXPECT_EQ(old, samples + taken);
  EXPECT_GT(sheet.new_samples().size(), 8U);
}

TEST(MarkerFilling, the_same_marker_twice_fills_once) {
  Sheet once;
  Sheet twice;
  for (Sheet* sheet : {&once, &twice}) {
    sheet->marker(0.1, 0.1, 0.1, 2);
    if (sheet == &twice) sheet->marker(0.1, 0.1, 0.1, 2);
    sheet->ring(2, 8, 10000);
    sheet->tree().Fill_marker();
  }
  EXPECT_EQ(twice.tree().marker_nodes.size(), 1);
  EXPECT_EQ(once.new_samples().size(), twice.new_samples().size());
}

// Markers far from one another, so that none sees what another's worker does.
vector<float> filled_field(int workers) {
  Sheet sheet(64);
  for (int i = 0; i < 5; ++i) sheet.marker(-40 + 20 * i, 0.1, 0.1, 1.5F);
  Random random(12);
  for (double x = -49.75; x < 50; x += 0.5) {
    for (double y = -7.75; y < 8; y += 0.5) {
      const double along = std::fmod(x + 50, 20.0) - 10;
      if (std::hypot(along, y) <= 1.5) continue;
      sheet.sample(x, y, 0.15 + 0.05 * random.signed_unit());
    }
  }
  MarkerFilling(sheet.tree()).run(workers);
  vector<float> values;
  for (const OctNode* leaf : sheet.leaves()) {
    values.insert(values.end(), leaf->coor, leaf->coor + 3);
    const Vec3f n = scanmesh::normal_of(leaf);
    values.insert(values.end(), {n.x, n.y, n.z, static_cast<float>(leaf->tag)});
  }
  EXPECT_GT(sheet.new_samples().size(), 40U);
  return values;
}

TEST(MarkerFilling, is_the_same_for_every_number_of_workers) {
  const vector<float> expected = filled_field(1);
  for (const int workers : {2, 3, 7, 64}) EXPECT_EQ(filled_field(workers), expected);
}

TEST(MarkerFilling, near_markers_give_the_same_every_time) {
  const auto fill_once = [] {
    Sheet sheet;
    for (int i = 0; i < 4; ++i) sheet.marker(-4.5 + 3 * i, 0.1, 0.1, 1);
    for (double x = -7.75; x < 8; x += 0.5) {
      for (double y = -7.75; y < 8; y += 0.5) {
        bool hole = false;
        for (int i = 0; i < 4; ++i) hole = hole || std::hypot(x + 4.5 - 3 * i, y) <= 1;
        if (!hole) sheet.sample(x, y, 0.12 + 0.01 * x);
      }
    }
    MarkerFilling(sheet.tree()).run(4);
    vector<float> values;
    for (const OctNode* leaf : sheet.leaves()) {
      values.insert(values.end(), leaf->coor, leaf->coor + 3);
      values.push_back(static_cast<const float*>(leaf->data)[0]);
    }
    return values;
  };
  const vector<float> expected = fill_once();
  for (int i = 0; i < 5; ++i) EXPECT_EQ(fill_once(), expected);
}

TEST(MarkerFilling, workers_are_two_per_processor_and_one_up_to_64) {
  EXPECT_EQ(scanmesh::marker_workers(), std::min(2 * scanmesh::processor_count() + 1, 64));
}

vector<std::pair<int, int>> reports_of(int markers) {
  Sheet sheet(64);
  for (int i = 0; i < markers; ++i) sheet.marker(-50 + 4 * i, 0.1, 0.1, 1);
  vector<std::pair<int, int>> reports;
  sheet.tree().setProcessStepCallback([&reports](qv::alg::ProcessStepInfoType& info) {
    EXPECT_TRUE(info.message.empty());
    EXPECT_EQ(info.stage, 1);
    EXPECT_EQ(info.stage_count, 1);
    reports.push_back({info.step, info.step_count});
    return -1;  // nobody listens
  });
  sheet.tree().Fill_marker();
  sheet.tree().setProcessStepCallback(nullptr);
  return reports;
}

TEST(MarkerProgress, is_at_most_five_steps) {
  using Reports = vector<std::pair<int, int>>;
  EXPECT_EQ(reports_of(6), (Reports{{1, 5}, {2, 5}, {3, 5}}));
  EXPECT_EQ(reports_of(12), (Reports{{1, 5}, {2, 5}, {3, 5}, {4, 5}}));
  EXPECT_EQ(reports_of(25), (Reports{{1, 5}, {2, 5}, {3, 5}, {4, 5}, {5, 5}}));
}

TEST(MarkerProgress, with_few_markers_runs_one_ahead) {
  using Reports = vector<std::pair<int, int>>;
  EXPECT_EQ(reports_of(1), (Reports{{2, 1}}));
  EXPECT_EQ(reports_of(3), (Reports{{2, 3}, {3, 3}, {4, 3}}));
  EXPECT_EQ(reports_of(5), (Reports{{2, 5}, {3, 5}, {4, 5}, {5, 5}, {6, 5}}));
}

TEST(MarkerProgress, goes_through_one_callback_for_all_trees) {
  Sheet sheet(64);
  sheet.marker(0, 0, 0, 1);
  int reports = 0;
  MC_Triangulation other;
  other.setProcessStepCallback([&reports](qv::alg::ProcessStepInfoType&) { return ++reports; });
  sheet.tree().Fill_marker();
  EXPECT_EQ(reports, 1);
  other.setProcessStepCallback(nullptr);
  sheet.tree().Fill_marker();
  EXPECT_EQ(reports, 1);
}

}  // namespace
