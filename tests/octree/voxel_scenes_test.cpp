// The field and its soup against the plain form of the rules, on scenes drawn by the hundred.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "octree/numbering.h"
#include "scanmesh/marching.h"
#include "tests/support/octree_access.h"

namespace {

using scanmesh::kCornerRing;
using scanmesh::kCornerSign;
using scanmesh::kReciprocity;
using scanmesh::kSlotOffset;
using std::vector;
using test_support::Floats;
using test_support::OctNode;
using test_support::Random;

constexpr std::size_t kOwn = 17;

struct ScenePoint {
  Floats point;
  Floats normal;
  float half;
};

struct Scene {
  Floats centre{};
  float half = 8;
  int levels = 0;
  float ordinary = 0.5F;
  vector<ScenePoint> points;
};

// Every cell around is found by a search, every corner by asking the eight cells around it.
class PlainField {
 public:
  explicit PlainField(Oct_tree_Tri& tree) : tree_(tree) {}

  void build() {
    const int count = tree_.leaves.count;
    rows_.resize(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) tree_.oct_search(tree_.leaves.data[i], row(i).data());
    for (int i = 0; i < count; ++i) add_distances(tree_.leaves.data[i], row(i));
    for (int i = 0; i < count; ++i) fill_slots(tree_.leaves.data[i], row(i));
    finish();
    for (int i = 0; i < tree_.voxels.count; ++i) link(tree_.voxels.data[i]);
  }

 private:
  using Row = std::array<OctNode*, 27>;

  Row& row(int i) { return rows_[static_cast<std::size_t>(i)]; }
  Floats centre_of(const OctNode* cell) const {
    Floats c;
    tree_.get_cor(c.data(), cell);
    return c;
  }
  static bool shares(OctNode* cell, const OctNode* voxel) {
    if (cell == nullptr) return false;
    if (cell->half > voxel->half) {
      cell->status = 3;
      return false;
    }
    return cell->flag == 1;
  }
  static OctNode* around(const Row& row, int corner, int j) {
    return row[kCornerRing.slot[corner][j]];
  }

  OctNode* make(const Row& row, int corner) {
    OctNode* const vertex = tree_.oct_allocate_node();
    vertex->index = -2;
    vertex->half = 0;
    vertex->data = tree_.counter_array + tree_.counter_used++;
    const Floats centre = centre_of(row[kOwn]);
    tree_.oct_calculate_voxel_locatioin(row[kOwn], static_cast<Mesh_Oct::OctTreeVoxel>(corner),
                                        vertex->coor, centre.data());
    for (int j = 0; j < 8; ++j) {
      OctNode* const cell = around(row, corner, j);
      if (!shares(cell, row[kOwn])) continue;
      cell->link[j] = vertex;
      vertex->link[j] = cell;
    }
    return vertex;
  }

  void add_distances(OctNode* voxel, const Row& row) {
    const auto* const n = static_cast<const float*>(voxel->data);
    const auto dot = [n](const float* p) {
      return static_cast<double>(n[0]) * p[0] + static_cast<double>(n[1]) * p[1] +
             static_cast<double>(n[2]) * p[2];
    };
    const auto d = static_cast<float>(-dot(voxel->coor));
    for (int corner = 0; corner < 8; ++corner) {
      OctNode* vertex = voxel->link[corner];
      if (vertex == nullptr) vertex = make(row, corner);
      vertex->half += static_cast<float>(dot(vertex->coor) + static_cast<double>(d));
      *static_cast<float*>(vertex->data) += 1;
    }
  }

  void fill_slots(OctNode* voxel, Row& row) {
    for (std::size_t s = 0; s < 27; ++s) {
      if (row[s] != nullptr) continue;
      Floats p = centre_of(voxel);
      for (std::size_t k = 0; k < 3; ++k) {
        p[k] += static_cast<float>(kSlotOffset[s][k]) * voxel->parent->half;
      }
      row[s] = OctreeAccess::insert_voxel(tree_, p.data(), voxel->data, voxel->half);
      for (std::size_t t = 0; t < 27; ++t) {
        const uint16_t seen = kReciprocity.slot[s][t];
        OctNode* const other = row[t];
        if (t == s || seen == 65535 || other == nullptr) continue;
        if (other->flag == 1 && other->index >= 0) rows_[std::size_t(other->index)][seen] = row[s];
      }
    }
  }

  void finish() {
    vector<OctNode*> done;
    for (int i = 0; i < tree_.leaves.count; ++i) {
      for (OctNode* vertex : tree_.leaves.data[i]->link) {
        if (vertex->flag != 0) continue;
        vertex->flag = 1;
        vertex->half /= *static_cast<float*>(vertex->data);
        if (std::fabs(static_cast<double>(vertex->half)) <= 0.0001) vertex->half = 0;
        done.push_back(vertex);
      }
    }
    for (OctNode* vertex : done) vertex->flag = 0;
    std::free(tree_.counter_array);
    tree_.counter_array = nullptr;
  }

  void link(OctNode* voxel) {
    Row row;
    tree_.oct_search(voxel, row.data());
    for (int corner = 0; corner < 8; ++corner) {
      if (voxel->link[corner] != nullptr) continue;
      OctNode* vertex = nullptr;
      for (int j = 0; j < 8 && vertex == nullptr; ++j) {
        OctNode* const cell = around(row, corner, j);
        if (shares(cell, voxel)) vertex = cell->link[j];
        if (vertex != nullptr) vertex->link[j] = cell;
      }
      for (int j = 0; j < 8 && vertex != nullptr; ++j) {
        OctNode* const cell = around(row, corner, j);
        if (!shares(cell, voxel) || cell->link[j] != nullptr) continue;
        cell->link[j] = vertex;
        vertex->link[j] = cell;
      }
      voxel->link[corner] = vertex;
    }
  }

  Oct_tree_Tri& tree_;
  vector<Row> rows_;
};

// What a run leaves: statuses and corner values of all voxels, then the soup.
struct Outcome {
  vector<float> field;
  vector<float> soup;
  int facets = 0;
  int vertices_below_interior_nodes = 0;
};

void add_field(const M_point_arry<OctNode**>& list, vector<float>& out) {
  for (int i = 0; i < list.count; ++i) {
    const OctNode* const cell = list.data[i];
    out.insert(out.end(), {cell->coor[0], cell->coor[1], cell->coor[2], cell->half,
                           static_cast<float>(cell->status)});
    for (const OctNode* vertex : cell->link) {
      out.push_back(vertex == nullptr ? -1000 : vertex->half);
      if (vertex != nullptr) out.insert(out.end(), vertex->coor, vertex->coor + 3);
    }
  }
}

int vertices_below(const OctNode* node) {
  int count = 0;
  for (const OctNode* child : node->link) {
    if (child == nullptr) continue;
    if (child->index == -2) {
      ++count;
    } else if (child->flag == 0) {
      count += vertices_below(child);
    }
  }
  return count;
}

Outcome run(const Scene& scene, bool plainly) {
  MC_Triangulation mc;
  Floats centre = scene.centre;
  mc.inalize(centre.data(), 10000, scene.half, scene.levels, scene.ordinary);
  vector<ScenePoint> points = scene.points;
  for (ScenePoint& p : points) mc.insert_data(p.point.data(), p.normal.data(), p.half, 0);
  if (plainly) {
    PlainField(mc.tree).build();
  } else {
    mc.tree.oct_build_voxel_Architecture();
  }
  Outcome out;
  add_field(mc.tree.leaves, out.field);
  add_field(mc.tree.voxels, out.field);
  out.vertices_below_interior_nodes = vertices_below(mc.tree.node_blocks[0]);
  mc.mc_triangulation();  // the field stands already
  out.facets = mc.facet_slot;
  EXPECT_EQ(mc.facet_block, 0);
  for (int i = 0; i < mc.facet_slot; ++i) {
    const auto* const numbers = reinterpret_cast<const float*>(&mc.facet_blocks[0][i]);
    out.soup.insert(out.soup.end(), numbers, numbers + 12);
  }
  mc.free_mem();
  return out;
}

bool same_bits(const vector<float>& a, const vector<float>& b) {
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0;
}

enum class Shape { kSheet, kCap, kPatches };
enum class Order { kFineFirst, kFineLast, kMixed };

// Half edges of a scene's samples: fine ones in a region with a ragged edge, the finest within it.
class Sizes {
 public:
  Sizes(Random& random, const Scene& scene, int sizes)
      : scene_(scene), sizes_(sizes), random_(random) {
    for (float& x : way_) x = random.signed_unit();
    ragged_ = 0.5F * (1 + random.signed_unit());
  }
  float of(const Floats& from_centre) {
    float at = ragged_ * random_.signed_unit();
    for (std::size_t k = 0; k < 3; ++k) at += way_[k] * from_centre[k] / scene_.half * 4;
    const float fine = scene_.ordinary / static_cast<float>(1 << scene_.levels);
    if (sizes_ == 1 || at < 0) return scene_.ordinary;
    return sizes_ == 3 && at < 0.7F ? scene_.ordinary / 2 : fine;
  }

 private:
  const Scene& scene_;
  int sizes_;
  Random& random_;
  Floats way_{};
  float ragged_ = 0;
};

ScenePoint sheet_point(Random& random, float reach) {
  const float x = reach * random.signed_unit();
  const float y = reach * random.signed_unit();
  const float z = 1.5F * std::sin(0.7F * x) * std::cos(0.4F * y) + 0.1F * random.signed_unit();
  return {{x, y, z}, {0.1F * x, -0.2F * y, 1}, 0};
}

ScenePoint cap_point(Random& random, float reach) {
  const float u = random.signed_unit();
  const float v = random.signed_unit();
  const float w = 0.4F + 0.3F * random.signed_unit();
  const float length = std::sqrt(u * u + v * v + w * w);
  const Floats n = {u / length, v / length, w / length};
  const float radius = 0.6F * reach * (1 + 0.01F * random.signed_unit());
  return {{radius * n[0], radius * n[1], radius * n[2]}, n, 0};
}

// Small sheets here and there, along the three axes.
ScenePoint patch_point(Random& random, float reach, int patch) {
  const auto axis = static_cast<std::size_t>(patch % 3);
  Random place(static_cast<uint64_t>(patch) + 1);
  Floats p{};
  for (std::size_t k = 0; k < 3; ++k) {
    p[k] = 0.7F * reach * place.signed_unit();
    p[k] += (k == axis ? 0.1F : 0.3F * reach) * random.signed_unit();
  }
  Floats n = {0, 0, 0};
  n[axis] = patch % 2 == 0 ? 1.0F : -1.0F;
  return {p, n, 0};
}

void arrange(Scene& scene, Order order) {
  if (order == Order::kMixed) return;
  std::stable_sort(scene.points.begin(), scene.points.end(),
                   [order](const ScenePoint& a, const ScenePoint& b) {
                     return order == Order::kFineFirst ? a.half < b.half : a.half > b.half;
                   });
}

Scene draw(Random& random, int round) {
  constexpr float kHalves[] = {8, 7.3F, 5.77F, 10.1F, 9};
  constexpr Shape kShapes[] = {Shape::kSheet, Shape::kCap, Shape::kPatches};
  constexpr Order kOrders[] = {Order::kFineFirst, Order::kFineLast, Order::kMixed};
  Scene scene;
  scene.half = kHalves[round % 5];
  const int sizes = 1 + round % 3;
  scene.levels = sizes == 1 ? 0 : sizes == 3 ? 2 : 1 + round % 2;
  scene.ordinary = round % 7 < 4 ? 0.5F : 0.6F;
  if (round % 4 == 1) scene.centre = {3.1F, -11.7F, 0.3F};
  const Shape shape = kShapes[random.next() % 3];
  // Beyond its walls the cube takes samples into the cells there.
  const float reach = scene.half * (round % 6 == 5 ? 1.15F : 0.9F);
  Sizes size(random, scene, sizes);
  const int count = 150 + static_cast<int>(random.next() % 500);
  for (int i = 0; i < count; ++i) {
    ScenePoint p = shape == Shape::kSheet ? sheet_point(random, reach)
                   : shape == Shape::kCap ? cap_point(random, reach)
                                          : patch_point(random, reach, i % 4);
    p.half = size.of(p.point);
    for (std::size_t k = 0; k < 3; ++k) {
      if (round % 6 == 4 && random.next() % 8 == 0) {
        p.point[k] = p.point[k] < 0 ? -scene.half : scene.half;
      }
      p.point[k] += scene.centre[k];
    }
    scene.points.push_back(p);
  }
  arrange(scene, kOrders[random.next() % 3]);
  return scene;
}

TEST(VoxelScenes, walking_gives_the_soup_of_the_plain_form_bit_for_bit) {
  Random random(7);
  int facets = 0;
  for (int round = 0; round < 600; ++round) {
    const Scene scene = draw(random, round);
    const Outcome plain = run(scene, true);
    const Outcome walked = run(scene, false);
    EXPECT_TRUE(same_bits(plain.field, walked.field)) << round;
    EXPECT_TRUE(same_bits(plain.soup, walked.soup))
        << round << ": " << plain.facets << " and " << walked.facets << " facets";
    EXPECT_EQ(walked.vertices_below_interior_nodes, 0) << round;
    EXPECT_GT(plain.facets, 0) << round;
    facets += plain.facets;
  }
  EXPECT_GT(facets, 100000);
}

}  // namespace
