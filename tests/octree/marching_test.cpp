#include "scanmesh/marching.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <memory>
#include <set>
#include <tuple>
#include <utility>
#include <vector>

#include "octree/cell_surface.h"
#include "octree/marching_tables.h"
#include "tests/support/octree_access.h"

namespace {

using scanmesh::kCornerSign;
using scanmesh::kEdgeCorners;
using scanmesh::Vec3f;
using std::vector;
using test_support::Floats;
using test_support::OctNode;
using test_support::Random;

// A pipeline that releases itself, and the normals of its samples.
class Pipeline {
 public:
  explicit Pipeline(float half = 8, float min_half = 1, int levels = 0) {
    Floats centre = {0, 0, 0};
    mc_.inalize(centre.data(), 1000, half, levels, min_half);
    mc_.inalize_mark();
  }
  ~Pipeline() {
    mc_.tree.oct_free();
    mc_.tree.free_mark();
    mc_.free_mem();
  }
  Pipeline(const Pipeline&) = delete;
  Pipeline& operator=(const Pipeline&) = delete;
  MC_Triangulation* operator->() { return &mc_; }

  OctNode* sample(Floats p, Floats normal = {0, 0, 1}, float half = 1) {
    normals_.push_back(std::make_unique<Floats>(normal));
    const int before = mc_.tree.leaves.count;
    mc_.insert_data(p.data(), normals_.back()->data(), half, 0);
    return mc_.tree.leaves.count > before ? mc_.tree.leaves.data[before] : nullptr;
  }
  vector<T_F> facets() const {
    vector<T_F> out;
    for (int b = 0; mc_.facet_blocks != nullptr && b <= mc_.facet_block; ++b) {
      const int count = b == mc_.facet_block ? mc_.facet_slot : 100000;
      for (int i = 0; i < count; ++i) out.push_back(mc_.facet_blocks[b][i]);
    }
    return out;
  }
  // The field, and a pool for facets, without triangulating yet.
  void prepare() {
    mc_.facet_blocks = new T_F*[1000]();
    mc_.tree.oct_build_voxel_Architecture();
  }

 private:
  MC_Triangulation mc_;
  vector<std::unique_ptr<Floats>> normals_;
};

Floats unit(double x, double y, double z) {
  const double length = std::sqrt(x * x + y * y + z * z);
  return {static_cast<float>(x / length), static_cast<float>(y / length),
          static_cast<float>(z / length)};
}

// A sphere of radius 5, densely and roughly sampled.
void sample_sphere(Pipeline& pipe, int n, float half, uint64_t seed, float noise,
                   bool upper_finer = false) {
  Random random(seed);
  for (int i = 0; i < n; ++i) {
    const double z = random.signed_unit();
    const double angle = 3.141592653589793 * random.signed_unit();
    const double r = std::sqrt(1 - z * z);
    const Floats normal = unit(r * std::cos(angle), r * std::sin(angle), z);
    const float radius = 5 + noise * random.signed_unit();
    pipe.sample({radius * normal[0], radius * normal[1], radius * normal[2]}, normal,
                upper_finer && normal[2] > 0 ? half / 4 : half);
  }
}

double radius_of(const Point3fv& p) {
  return std::sqrt(static_cast<double>(p.x) * p.x + static_cast<double>(p.y) * p.y +
                   static_cast<double>(p.z) * p.z);
}

// What the triangulation makes of the built tree, found by place instead of by links: cells by
// their centres, values by the places of the corners.
class PlainMarching {
 public:
  explicit PlainMarching(Oct_tree_Tri& tree) : tree_(tree) {
    for (const auto* list : {&tree.leaves, &tree.voxels}) {
      for (int i = 0; i < list->count; ++i) add(list->data[i]);
    }
  }

  vector<T_F> facets() const {
    vector<T_F> out;
    for (const auto* list : {&tree_.leaves, &tree_.voxels}) {
      for (int i = 0; i < list->count; ++i) march(list->data[i], out);
    }
    return out;
  }

 private:
  using Key = std::tuple<float, float, float>;

  Key centre_of(const OctNode* cell) const {
    float c[3];
    tree_.get_cor(c, cell);
    return {c[0], c[1], c[2]};
  }
  static Key moved(const Key& key, float x, float y, float z) {
    return {std::get<0>(key) + x, std::get<1>(key) + y, std::get<2>(key) + z};
  }
  void add(const OctNode* cell) {
    const Key centre = centre_of(cell);
    cells_[centre] = cell;
    if (cell->index < 0) return;
    for (int k = 0; k < 8; ++k) values_[corner(cell, k)] = cell->link[k]->half;
  }
  Key corner(const OctNode* cell, int k) const {
    const float h = cell->half;
    return moved(centre_of(cell), h * kCornerSign[k][0], h * kCornerSign[k][1],
                 h * kCornerSign[k][2]);
  }
  const float* value(const OctNode* cell, int k) const {
    const auto found = values_.find(corner(cell, k));
    return found == values_.end() ? nullptr : &found->second;
  }

  int its_case(const OctNode* cell) const {
    OctNode copy;
    std::array<OctNode, 8> corners;
    for (int k = 0; k < 8; ++k) {
      const float* const v = value(cell, k);
      if (v == nullptr) continue;
      corners[static_cast<std::size_t>(k)].half = *v;
      copy.link[k] = &corners[static_cast<std::size_t>(k)];
    }
    return scanmesh::case_of(&copy).bits;
  }
  bool whole(const OctNode* cell, const int8_t* edges) const {
    for (int i = 0; i < 3; ++i) {
      for (const int k : kEdgeCorners[edges[i]]) {
        if (value(cell, k) == nullptr) return false;
      }
    }
    return true;
  }
  bool goes_on(const OctNode* cell, int axis, int sign) const {
    const float edge = 2 * cell->half * static_cast<float>(sign);
    const auto found = cells_.find(
        moved(centre_of(cell), axis == 0 ? edge : 0, axis == 1 ? edge : 0, axis == 2 ? edge : 0));
    if (found == cells_.end()) return false;
    const int8_t* const row = scanmesh::kTriangleTable[its_case(found->second)];
    for (int i = 0; row[i] >= 0; i += 3) {
      if (whole(found->second, row + i)) return true;
    }
    return false;
  }
  Point3fv vertex(const OctNode* cell, int edge) const {
    const int a = kEdgeCorners[edge][0];
    const int b = kEdgeCorners[edge][1];
    const Key p = corner(cell, a);
    const Key q = corner(cell, b);
    const double va = *value(cell, a);
    const double t = va / (va - *value(cell, b));
    const auto mix = [t](float from, float to) {
      return static_cast<float>(from + (static_cast<double>(to) - from) * t);
    };
    Point3fv out = {mix(std::get<0>(p), std::get<0>(q)), mix(std::get<1>(p), std::get<1>(q)),
                    mix(std::get<2>(p), std::get<2>(q))};
    if (cell->index < 0 || cell->status == 4) return out;
    for (int axis = 0; axis < 3; ++axis) {
      const int sign = kCornerSign[a][axis];
      if (sign == kCornerSign[b][axis] && goes_on(cell, axis, sign)) return out;
    }
    return {static_cast<float>((out.x + cell->coor[0]) * 0.5),
            static_cast<float>((out.y + cell->coor[1]) * 0.5),
            static_cast<float>((out.z + cell->coor[2]) * 0.5)};
  }
  void march(const OctNode* cell, vector<T_F>& out) const {
    const int8_t* const row = scanmesh::kTriangleTable[its_case(cell)];
    for (int i = 0; row[i] >= 0; i += 3) {
      if (!whole(cell, row + i)) continue;
      T_F f{{0, 0, 0}, {vertex(cell, row[i]), vertex(cell, row[i + 1]), vertex(cell, row[i + 2])}};
      const auto& v = f.vertex;
      const float ax = v[1].x - v[0].x, ay = v[1].y - v[0].y, az = v[1].z - v[0].z;
      const float bx = v[2].x - v[1].x, by = v[2].y - v[1].y, bz = v[2].z - v[1].z;
      const Floats n = unit(ay * bz - az * by, az * bx - ax * bz, ax * by - ay * bx);
      f.normal = {n[0], n[1], n[2]};
      const auto* const wanted = static_cast<const float*>(cell->data);
      if (n[0] * wanted[0] + n[1] * wanted[1] + n[2] * wanted[2] < 0) {
        f.normal = {-n[0], -n[1], -n[2]};
        std::swap(f.vertex[0], f.vertex[2]);
      }
      out.push_back(f);
    }
  }

  Oct_tree_Tri& tree_;
  std::map<Key, const OctNode*> cells_;
  std::map<Key, float> values_;
};

void expect_same(const vector<T_F>& got, const vector<T_F>& expected) {
  ASSERT_EQ(got.size(), expected.size());
  for (std::size_t i = 0; i < got.size(); ++i) {
    for (std::size_t k = 0; k < 3; ++k) {
      EXPECT_EQ(got[i].vertex[k].x, expected[i].vertex[k].x);
      EXPECT_EQ(got[i].vertex[k].y, expected[i].vertex[k].y);
      EXPECT_EQ(got[i].vertex[k].z, expected[i].vertex[k].z);
    }
    if (std::isnan(expected[i].normal.x)) {
      EXPECT_TRUE(std::isnan(got[i].normal.x));
      continue;
    }
    EXPECT_NEAR(got[i].normal.x, expected[i].normal.x, 1e-4);
    EXPECT_NEAR(got[i].normal.y, expected[i].normal.y, 1e-4);
    EXPECT_NEAR(got[i].normal.z, expected[i].normal.z, 1e-4);
  }
}

TEST(Marching, makes_the_facets_that_the_plain_march_makes) {
  // From a dense sphere to a torn one, with open rims everywhere.
  for (const int n : {20000, 900, 300}) {
    Pipeline pipe(8, 0.5F);
    sample_sphere(pipe, n, 0.5F, 9, 0.1F);
    pipe.prepare();
    const vector<T_F> expected = PlainMarching(pipe->tree).facets();
    pipe->deal_Tri(pipe->tree.leaves);
    pipe->deal_Tri(pipe->tree.voxels);
    ASSERT_GT(expected.size(), 50U);
    expect_same(pipe.facets(), expected);
  }
}

// Where the surface dips through a wall by one corner, the cell beyond lacks the corners to close
// it.
TEST(Marching, dense_sphere_faces_outwards_with_hardly_a_gap) {
  Pipeline pipe(8, 0.25F);
  sample_sphere(pipe, 60000, 0.25F, 10, 0.0F);
  pipe->mc_triangulation();
  EXPECT_EQ(pipe->tree.node_blocks, nullptr);  // the tree is gone, the facets remain
  const vector<T_F> facets = pipe.facets();
  ASSERT_GT(facets.size(), 2000U);
  std::map<std::pair<Floats, Floats>, int> sides;
  for (const T_F& f : facets) {
    double inward = 0;
    for (std::size_t k = 0; k < 3; ++k) {
      const Point3fv& p = f.vertex[k];
      const Point3fv& q = f.vertex[(k + 1) % 3];
      EXPECT_NEAR(radius_of(p), 5, 0.05);
      // Two cells may reckon the same point from the two ends of an edge.
      const auto place = [](const Point3fv& v) {
        return Floats{std::round(v.x * 1e4F), std::round(v.y * 1e4F), std::round(v.z * 1e4F)};
      };
      const Floats a = place(p);
      const Floats b = place(q);
      ++sides[{a, b}];
      --sides[{b, a}];
      inward += p.x * f.normal.x + p.y * f.normal.y + p.z * f.normal.z;
    }
    EXPECT_GT(inward, 0);
  }
  std::size_t open = 0;
  for (const auto& entry : sides) open += entry.second != 0 ? 1U : 0U;
  EXPECT_LT(open, sides.size() / 100);
}

TEST(Marching, flat_sheet_ends_at_its_samples) {
  Pipeline pipe;
  for (float x = -3; x < 4; x += 2) {
    for (float y = -3; y < 4; y += 2) pipe.sample({x, y, 0.25F});
  }
  pipe->mc_triangulation();
  float least = 0;
  float most = 0;
  const vector<T_F> facets = pipe.facets();
  ASSERT_GE(facets.size(), 32U);  // two at each of 16 samples
  for (const T_F& f : facets) {
    for (const Point3fv& p : f.vertex) {
      EXPECT_EQ(p.z, 0.25F);
      least = std::min(least, p.x);
      most = std::max(most, p.x);
    }
  }
  // The rim of the cells at 4 is drawn half way to the samples at 3, but for the corners of the
  // sheet, where the surface still goes on along the rim.
  EXPECT_EQ(most, 4.0F);
  EXPECT_EQ(least, -4.0F);
}

TEST(Marching, vertex_with_both_faces_open_is_drawn_to_the_midpoint) {
  Pipeline pipe;
  OctNode* const lone = pipe.sample({1.25F, 1, 0.5F});
  pipe.prepare();
  pipe->deal_Tri(pipe->tree.leaves);
  const vector<T_F> facets = pipe.facets();
  ASSERT_EQ(facets.size(), 2U);
  std::set<Floats> points;
  for (const T_F& f : facets) {
    for (const Point3fv& p : f.vertex) points.insert({p.x, p.y, p.z});
  }
  // The corners of the cell's cut at (0 or 2, 0 or 2, 0.5), each half way to the sample.
  EXPECT_EQ(
      points,
      (std::set<Floats>{
          {0.625F, 0.5F, 0.5F}, {0.625F, 1.5F, 0.5F}, {1.625F, 0.5F, 0.5F}, {1.625F, 1.5F, 0.5F}}));
  EXPECT_EQ(lone->status, -1);
}

TEST(Marching, fine_samples_are_not_drawn) {
  Pipeline pipe(8, 1, 1);
  pipe.sample({0.6F, 0.5F, 0.25F}, {0, 0, 1}, 0.5F);
  pipe->mc_triangulation();
  const vector<T_F> facets = pipe.facets();
  ASSERT_EQ(facets.size(), 2U);
  for (const T_F& f : facets) {
    for (const Point3fv& p : f.vertex) EXPECT_TRUE(p.x == 0 || p.x == 1);
  }
}

TEST(Marching, virtual_voxels_vertices_are_never_drawn) {
  // Two sheets of samples with a gap of one cell, which virtual voxels bridge.
  Pipeline pipe;
  for (float x = -7; x < 8; x += 2) {
    for (float y = -7; y < 8; y += 2) {
      if (x != 1) pipe.sample({x, y, 0.25F});
    }
  }
  pipe.prepare();
  pipe->deal_Tri(pipe->tree.voxels);
  const vector<T_F> facets = pipe.facets();
  ASSERT_GE(facets.size(), 16U);
  for (const T_F& f : facets) {
    for (const Point3fv& p : f.vertex) {
      EXPECT_EQ(std::fmod(p.x, 2.0F), 0.0F);
      EXPECT_EQ(std::fmod(p.y, 2.0F), 0.0F);
    }
  }
}

TEST(Marching, existing_neighbour_without_surface_counts_as_open) {
  Pipeline pipe;
  pipe.sample({1, 1, 0.5F});
  // Its cell is there, but the surface passes above it.
  OctNode* const beside = pipe.sample({3, 1, 1}, {1, 0, 0});
  pipe.prepare();
  for (OctNode* vertex : beside->link) {
    if (vertex->coor[0] > 3) vertex->half = 1;
  }
  for (OctNode* vertex : beside->link) {
    if (vertex->coor[0] < 3) vertex->half = vertex->coor[2] > 1 ? 1.0F : 0.5F;
  }
  // All corners of the neighbour are above, so it has no triangle.
  ASSERT_EQ(scanmesh::case_of(beside).bits, 255);
  const scanmesh::FaceNeighbours faces(pipe->tree.leaves.data[0]);
  EXPECT_EQ(faces.of[3], nullptr);
}

TEST(Marching, single_triangles_are_added_as_the_list_adds_them) {
  Pipeline pipe;
  OctNode* const cell = pipe.sample({1.25F, 1, 0.5F});
  pipe.prepare();
  pipe->deal_Tri(pipe->tree.leaves);
  const vector<T_F> expected = pipe.facets();
  ASSERT_EQ(expected.size(), 2U);
  pipe->facet_slot = 0;
  const int8_t* const row = scanmesh::case_of(cell).row();
  EXPECT_EQ(pipe->mc_add_triangle(row[0], row[1], row[2], cell), 0);
  EXPECT_EQ(pipe->mc_add_triangle(row[3], row[4], row[5], cell), 0);
  expect_same(pipe.facets(), expected);
}

TEST(Marching, whole_row_is_added_as_the_list_adds_it) {
  Pipeline pipe(8, 0.5F);
  sample_sphere(pipe, 900, 0.5F, 9, 0.1F);
  pipe.prepare();
  pipe->deal_Tri(pipe->tree.leaves);
  const vector<T_F> expected = pipe.facets();
  ASSERT_GT(expected.size(), 500U);
  pipe->facet_slot = 0;
  for (int i = 0; i < pipe->tree.leaves.count; ++i) {
    OctNode* const cell = pipe->tree.leaves.data[i];
    pipe->mc_add_triangle_with_4_RealVoxel(scanmesh::case_of(cell).bits, cell);
  }
  expect_same(pipe.facets(), expected);
}

TEST(Marching, triangle_into_a_given_facet_is_neither_drawn_nor_turned) {
  Pipeline pipe;
  OctNode* const cell = pipe.sample({1.25F, 1, 0.5F});
  pipe.prepare();
  const int8_t* const row = scanmesh::case_of(cell).row();
  T_F facet{{7, 7, 7}, {}};
  EXPECT_EQ(pipe->mc_add_triangle(row[0], row[1], row[2], cell, &facet), 0);
  EXPECT_EQ(facet.normal.x, 7.0F);
  for (int k = 0; k < 3; ++k) {
    const Vec3f cut = scanmesh::cut_of_edge(cell, row[k]);
    EXPECT_EQ(facet.vertex[k].x, cut.x);
    EXPECT_EQ(facet.vertex[k].y, cut.y);
  }
  EXPECT_EQ(pipe->facet_slot, 0);
}

TEST(Marching, triangle_with_a_missing_corner_is_refused) {
  Pipeline pipe;
  OctNode* const cell = pipe.sample({1.25F, 1, 0.5F});
  pipe.prepare();
  const int8_t* const row = scanmesh::case_of(cell).row();
  cell->link[kEdgeCorners[row[1]][0]] = nullptr;
  T_F facet{};
  EXPECT_EQ(pipe->mc_add_triangle(row[0], row[1], row[2], cell), -1);
  EXPECT_EQ(pipe->mc_add_triangle(row[0], row[1], row[2], cell, &facet), -1);
  EXPECT_EQ(pipe->facet_slot, 0);
}

TEST(Marching, facet_of_given_points_needs_all_three) {
  Pipeline pipe;
  OctNode* const cell = pipe.sample({1, 1, 1}, {0, 0, -1});
  pipe.prepare();
  Point3fv a{0, 0, 0};
  Point3fv b{1, 0, 0};
  Point3fv c{0, 1, 0};
  pipe->mc_add_triangle(&a, &b, static_cast<Point3fv*>(nullptr), cell);
  EXPECT_EQ(pipe->facet_slot, 0);
  pipe->mc_add_triangle(&a, &b, &c, cell);
  ASSERT_EQ(pipe->facet_slot, 1);
  EXPECT_EQ(pipe.facets()[0].normal.z, -1.0F);
  EXPECT_EQ(pipe.facets()[0].vertex[0].y, 1.0F);
}

TEST(FacetPool, goes_on_to_the_next_block_and_ends_with_the_table) {
  MC_Triangulation mc;
  mc.facet_blocks = new T_F*[1000]();
  T_F* const first = mc.allocate_mem();
  EXPECT_EQ(first, mc.facet_blocks[0]);
  mc.facet_slot = 99999;
  EXPECT_EQ(mc.allocate_mem(), mc.facet_blocks[0] + 99999);
  EXPECT_EQ(mc.facet_block, 0);
  EXPECT_EQ(mc.facet_slot, 100000);
  EXPECT_EQ(mc.allocate_mem(), mc.facet_blocks[1]);
  EXPECT_EQ(mc.facet_slot, 1);
  mc.facet_block = 999;
  mc.facet_slot = 100000;
  EXPECT_EQ(mc.allocate_mem(), nullptr);
  mc.free_mem();
  EXPECT_EQ(mc.facet_blocks, nullptr);
  EXPECT_EQ(mc.facet_slot, 0);
}

TEST(FacetPool, second_triangulation_after_a_new_start_replaces_the_facets) {
  Pipeline pipe;
  pipe.sample({1, 1, 0.5F});
  pipe->mc_triangulation();
  EXPECT_EQ(pipe->facet_slot, 2);
  Floats centre = {0, 0, 0};
  pipe->inalize(centre.data(), 10, 8, 0, 1);
  pipe.sample({-1, 1, 0.5F});
  pipe.sample({1, -5, 0.5F});
  pipe->mc_triangulation();
  EXPECT_EQ(pipe->facet_slot, 4);
}

}  // namespace
