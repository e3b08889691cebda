#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <memory>
#include <utility>
#include <vector>

#include "octree/cell_surface.h"
#include "octree/split_grid.h"
#include "scanmesh/marching.h"
#include "tests/support/octree_access.h"

namespace {

using scanmesh::SplitGrid;
using scanmesh::SplitWall;
using scanmesh::Vec3f;
using std::vector;
using test_support::Floats;
using test_support::OctNode;

// A wall of 9 x 9 points, one apart, over x and y from the origin.
class WallTest : public testing::Test {
 protected:
  static constexpr int kSize = 9;

  WallTest() {
    cell_.half = 4;
    cell_.data = normal_;
    for (int i = 0; i < kSize; ++i) {
      const auto at = static_cast<std::size_t>(i);
      grid_[at] = points_[at];
      used_[at] = flags_[at];
      for (bool& flag : flags_[at]) flag = true;  // as an earlier cell may leave them
    }
    wall_ = std::make_unique<SplitWall>(&cell_, centre_, kSize, 1.0F, grid_, used_);
  }

  vector<Floats> rim() {
    Point3fv* loop[5 * kSize];
    const int count = wall_->walk_rim(loop);
    vector<Floats> out;
    for (int i = 0; i < count; ++i) out.push_back({loop[i]->x, loop[i]->y, loop[i]->z});
    return out;
  }
  // The x coordinates of the stored points by place, where they are used.
  int used_count() const {
    int count = 0;
    for (const auto& row : flags_) {
      for (const bool flag : row) count += flag ? 1 : 0;
    }
    return count;
  }

  float normal_[3] = {0.1F, 0.1F, 1};
  float centre_[3] = {4, 4, 0};
  OctNode cell_;
  Point3fv points_[kSize][kSize] = {};
  bool flags_[kSize][kSize] = {};
  Point3fv* grid_[kSize] = {};
  bool* used_[kSize] = {};
  std::unique_ptr<SplitWall> wall_;
};

TEST_F(WallTest, begins_empty) {
  EXPECT_EQ(used_count(), 0);
  EXPECT_TRUE(rim().empty());
}

TEST_F(WallTest, places_are_shifted_by_0_3_and_truncated) {
  wall_->put({2.65F, 0, 5});
  wall_->put({3.75F, 0, 5});
  wall_->put({-1.2F, 0, 5});  // -0.9 truncates to 0
  wall_->put({-1.4F, 1, 5});  // -1.1 is outside
  wall_->put({8.65F, 0, 5});
  wall_->put({8.75F, 1, 5});
  EXPECT_TRUE(flags_[2][0]);
  EXPECT_TRUE(flags_[4][0]);
  EXPECT_TRUE(flags_[0][0]);
  EXPECT_TRUE(flags_[8][0]);
  EXPECT_EQ(used_count(), 4);
  EXPECT_EQ(points_[2][0].z, 5.0F);
}

TEST_F(WallTest, wild_vertices_are_passed_over) {
  wall_->put({std::nanf(""), 1, 0});
  wall_->put({1e30F, 1, 0});
  wall_->put_if_free({-INFINITY, 1, 0});
  EXPECT_EQ(used_count(), 0);
}

TEST_F(WallTest, the_same_vertex_again_changes_nothing) {
  wall_->put({2, 3, 1});
  wall_->put({2.0004F, 3.0004F, 1.0004F});
  EXPECT_EQ(used_count(), 1);
  EXPECT_EQ(points_[2][3].x, 2.0F);
}

TEST_F(WallTest, the_closer_vertex_keeps_the_place_and_the_other_moves_on) {
  wall_->put({2.4F, 3, 1});
  wall_->put({2.1F, 3, 2});  // closer; the first is beyond it along x
  EXPECT_EQ(points_[2][3].z, 2.0F);
  ASSERT_TRUE(flags_[3][3]);
  EXPECT_EQ(points_[3][3].z, 1.0F);
  wall_->put({2, 2.8F, 3});  // farther, and below along y
  EXPECT_EQ(points_[2][3].z, 2.0F);
  ASSERT_TRUE(flags_[2][2]);
  EXPECT_EQ(points_[2][2].z, 3.0F);
}

TEST_F(WallTest, the_loser_overwrites_the_place_that_it_moves_to) {
  wall_->put({3, 3, 7});
  wall_->put({2, 3, 1});
  wall_->put({2.5F, 3, 2});
  EXPECT_EQ(points_[2][3].z, 1.0F);
  EXPECT_EQ(points_[3][3].z, 2.0F);
  EXPECT_EQ(used_count(), 2);
}

TEST_F(WallTest, the_loser_moves_along_b_on_a_tie_and_down_without_a_difference) {
  wall_->put({2, 3, 1});
  wall_->put({2.2F, 3.2F, 2});
  EXPECT_TRUE(flags_[2][4]);
  wall_->put({5, 5, 1});
  wall_->put({5, 5, 2});  // above the other: no difference on either axis
  EXPECT_TRUE(flags_[5][4]);
}

TEST_F(WallTest, a_loser_pushed_off_the_wall_is_lost) {
  wall_->put({8, 3, 1});
  wall_->put({8.5F, 3, 2});
  EXPECT_EQ(used_count(), 1);
}

TEST_F(WallTest, other_neighbours_take_free_places_only) {
  wall_->put_if_free({2, 3, 1});
  wall_->put_if_free({2, 3.1F, 2});
  EXPECT_EQ(points_[2][3].z, 1.0F);
  EXPECT_EQ(used_count(), 1);
}

TEST_F(WallTest, rim_runs_up_the_first_column_and_round_and_is_closed) {
  for (int i = 0; i < kSize; ++i) {
    for (int j = 0; j < kSize; ++j) {
      wall_->put({static_cast<float>(i), static_cast<float>(j), 0});
    }
  }
  const vector<Floats> points = rim();
  ASSERT_EQ(points.size(), 33U);
  EXPECT_EQ(points[0], (Floats{0, 0, 0}));
  EXPECT_EQ(points[8], (Floats{8, 0, 0}));
  EXPECT_EQ(points[16], (Floats{8, 8, 0}));
  EXPECT_EQ(points[24], (Floats{0, 8, 0}));
  EXPECT_EQ(points[31], (Floats{0, 1, 0}));
  EXPECT_EQ(points[32], points[0]);
}

TEST_F(WallTest, one_point_is_no_loop_and_two_are_run_forth_and_back) {
  wall_->put({0, 0, 0});
  EXPECT_EQ(rim().size(), 1U);
  wall_->put({8, 4, 0});
  EXPECT_EQ(rim().size(), 3U);
  wall_->put({4, 4, 0});  // inside, not on the rim
  EXPECT_EQ(rim().size(), 3U);
}

TEST(SplitWallAxes, the_steepest_axis_is_dropped) {
  const struct {
    Floats normal;
    int a;
    int b;
  } cases[] = {{{1, 0, 0}, 1, 2}, {{1, -1, 1}, 1, 2},    {{0, -1, 1}, 0, 2},
               {{0, 0, 1}, 0, 1}, {{0, 0.5F, -1}, 0, 1}, {{-2, 1, 1}, 1, 2}};
  for (const auto& c : cases) {
    Floats normal = c.normal;
    OctNode cell;
    cell.half = 1;
    cell.data = normal.data();
    const float centre[3] = {10, 20, 30};
    Point3fv points[9] = {};
    bool flags[9] = {};
    Point3fv* grid[3] = {points, points + 3, points + 6};
    bool* used[3] = {flags, flags + 3, flags + 6};
    SplitWall wall(&cell, centre, 3, 1, grid, used);
    float p[3] = {10, 20, 30};
    p[c.a] += 1;  // the last place along a, the middle along b
    wall.put({p[0], p[1], p[2]});
    EXPECT_TRUE(flags[3 * 2 + 1]);
    EXPECT_EQ(c.a == 0 ? points[7].x : points[7].y, p[c.a]);
  }
}

TEST(SplitGrid, has_the_points_along_the_wall_of_one_ordinary_cell) {
  for (const int levels : {0, 1, 2, 3}) {
    Oct_tree_Tri tree;
    tree.oct_set_min_HalfEdge(0.7F, levels);
    const SplitGrid grid(tree);
    EXPECT_EQ(grid.size(), (8 << levels) + 1);
    EXPECT_EQ(grid.step(), tree.fine_HalfEdge * 0.25F);
  }
  Oct_tree_Tri tree;
  tree.oct_set_min_HalfEdge(0, 1);
  EXPECT_FALSE(SplitGrid(tree).usable());
  tree.oct_set_min_HalfEdge(1, 25);
  EXPECT_FALSE(SplitGrid(tree).usable());
}

// A slanted plane sampled coarsely on one side of x = 0 and finely on the other.
class TwoResolutions {
 public:
  TwoResolutions(double slope_x, double slope_y, int levels) {
    Floats centre = {0, 0, 0};
    mc_.inalize(centre.data(), 20000, 8, levels, 0.5F);
    const float fine = 0.5F / static_cast<float>(1 << levels);
    for (float x = -6; x < 6; x += fine / 4) {
      for (float y = -6; y < 6; y += fine / 4) {
        const auto z = static_cast<float>(slope_x * x + slope_y * y + 0.13);
        Floats p = {x, y, z};
        mc_.insert_data(p.data(), normal_of(slope_x, slope_y), x < 0 ? 0.5F : fine, 0);
      }
    }
  }
  ~TwoResolutions() {
    mc_.tree.oct_free();
    mc_.free_mem();
  }
  TwoResolutions(const TwoResolutions&) = delete;
  TwoResolutions& operator=(const TwoResolutions&) = delete;
  MC_Triangulation* operator->() { return &mc_; }

  vector<T_F> facets() {
    mc_.mc_triangulation();
    vector<T_F> out;
    for (int i = 0; i < mc_.facet_slot; ++i) out.push_back(mc_.facet_blocks[0][i]);
    return out;
  }

 private:
  float* normal_of(double slope_x, double slope_y) {
    const double length = std::sqrt(slope_x * slope_x + slope_y * slope_y + 1);
    normal_ = {static_cast<float>(-slope_x / length), static_cast<float>(-slope_y / length),
               static_cast<float>(1 / length)};
    return normal_.data();
  }

  MC_Triangulation mc_;
  Floats normal_{};
};

// How many facets lie over a point of the x-y plane.
int cover(const vector<T_F>& facets, float x, float y) {
  int count = 0;
  for (const T_F& f : facets) {
    int inside = 0;
    for (int k = 0; k < 3; ++k) {
      const Point3fv& p = f.vertex[k];
      const Point3fv& q = f.vertex[(k + 1) % 3];
      inside += (q.x - p.x) * (y - p.y) - (q.y - p.y) * (x - p.x) > 0;
    }
    count += inside == 3 ? 1 : 0;
  }
  return count;
}

double area_of(const T_F& f) {
  const Vec3f n = scanmesh::corner_cross(
      scanmesh::to_vec(f.vertex[0]), scanmesh::to_vec(f.vertex[1]), scanmesh::to_vec(f.vertex[2]));
  return scanmesh::length(n) / 2;
}

struct Coverage {
  int bare = 0;
  int once = 0;
  int more = 0;
};

// Around the seam.
Coverage coverage(const vector<T_F>& facets) {
  Coverage result;
  for (float x = -1.51F; x < 0.5F; x += 0.0237F) {
    for (float y = -4.01F; y < 4; y += 0.0317F) {
      const int count = cover(facets, x, y);
      ++(count == 0 ? result.bare : count == 1 ? result.once : result.more);
    }
  }
  return result;
}

TEST(MeshSplit, seam_is_covered_and_no_facet_is_flipped) {
  for (const int levels : {1, 2}) {
    for (const auto& [slope_x, slope_y] :
         {std::pair<double, double>{0.0, 0.0}, {0.0, 0.11}, {0.21, 0.11}}) {
      TwoResolutions scan(slope_x, slope_y, levels);
      const vector<T_F> facets = scan.facets();
      ASSERT_GT(facets.size(), 300U);
      for (const T_F& f : facets) {
        for (const Point3fv& p : f.vertex) {
          EXPECT_NEAR(p.z, slope_x * p.x + slope_y * p.y + 0.13, 0.01);
        }
        EXPECT_TRUE(area_of(f) < 1e-6 || f.normal.z > 0.9F);
      }
      const Coverage seam = coverage(facets);
      EXPECT_EQ(seam.bare, 0) << levels << " " << slope_x;
      // Where the surface passes from a coarse cell to the one above it, both fan the column.
      EXPECT_TRUE(slope_y != 0 || seam.more == 0);
    }
  }
}

TEST(MeshSplit, cell_whose_first_triangle_lacks_a_corner_yields_nothing) {
  TwoResolutions scan(0, 0, 1);
  scan->facet_blocks = new T_F*[1000]();
  scan->tree.oct_build_voxel_Architecture();
  OctNode* cell = nullptr;
  for (int i = 0; i < scan->tree.leaves.count && cell == nullptr; ++i) {
    OctNode* const leaf = scan->tree.leaves.data[i];
    if (leaf->status == 3) cell = leaf;
  }
  ASSERT_NE(cell, nullptr);
  SplitGrid room(scan->tree);
  const scanmesh::CellCase its_case = scanmesh::case_of(cell);
  scan->deal_mesh_Split(cell, its_case.bits, room.size(), room.step(), room.grid(), room.list(),
                        room.used(), room.loop());
  EXPECT_GT(scan->facet_slot, 0);
  scan->facet_slot = 0;
  cell->link[scanmesh::kEdgeCorners[its_case.row()[0]][0]] = nullptr;
  scan->deal_mesh_Split(cell, its_case.bits, room.size(), room.step(), room.grid(), room.list(),
                        room.used(), room.loop());
  EXPECT_EQ(scan->facet_slot, 0);
}

TEST(MeshSplit, lone_split_cell_without_a_rim_yields_nothing) {
  MC_Triangulation mc;
  Floats centre = {0, 0, 0};
  Floats normal = {0, 0, 1};
  mc.inalize(centre.data(), 10, 8, 1, 1);
  Floats p = {1, 1, 0.5F};
  mc.insert_data(p.data(), normal.data(), 1, 0);
  mc.tree.leaves.data[0]->status = 3;
  mc.mc_triangulation();
  // The virtual voxels around it share four corners, two of them below: they have no triangles.
  EXPECT_EQ(mc.facet_slot, 0);
  mc.free_mem();
}

TEST(MeshSplit, takes_no_more_fine_leaves_than_the_list_holds) {
  // One coarse cell beside a slab of 128 x 128 fine ones.
  MC_Triangulation mc;
  Floats centre = {0, 0, 0};
  Floats normal = {0, 0, 1};
  mc.inalize(centre.data(), 20000, 8, 7, 1);
  for (int i = 0; i < 128; ++i) {
    for (int j = 0; j < 128; ++j) {
      Floats p = {(static_cast<float>(i) + 0.5F) / 64, (static_cast<float>(j) + 0.5F) / 64, 0.505F};
      mc.insert_data(p.data(), normal.data(), 1.0F / 128, 0);
    }
  }
  Floats p = {-1, 1, 0.5F};
  mc.insert_data(p.data(), normal.data(), 1, 0);
  ASSERT_EQ(mc.tree.leaves.count, 128 * 128 + 1);
  mc.mc_triangulation();
  EXPECT_GT(mc.facet_slot + 100000 * mc.facet_block, 2 * 128 * 128);
  mc.free_mem();
}

TEST(MeshSplit, virtual_voxels_are_no_split_cells) {
  TwoResolutions scan(0, 0, 1);
  scan->facet_blocks = new T_F*[1000]();
  scan->tree.oct_build_voxel_Architecture();
  for (int i = 0; i < scan->tree.voxels.count; ++i) scan->tree.voxels.data[i]->status = 3;
  M_point_arry<OctNode**> voxels = scan->tree.voxels;
  int expected = 0;
  for (int i = 0; i < voxels.count; ++i) {
    scanmesh::for_each_triangle(voxels.data[i], scanmesh::case_of(voxels.data[i]),
                                [&](int, int, int) { ++expected; });
  }
  scan->deal_Tri(voxels);
  EXPECT_EQ(scan->facet_slot, expected);
}

}  // namespace
