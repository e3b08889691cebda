#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <utility>

#include "holes/ring_records.h"
#include "tests/support/hole_shapes.h"
#include "tests/support/invariants.h"

namespace {

using namespace test_support;
using Mesh_R::_edge;
using Mesh_R::_hole;
using Mesh_R::_vert;
using std::vector;

TEST(RingSplitting, FigureOfEightWhoseWalkClosesOnOneTriangleGivesTwoRings) {
  const auto mesh = figure_of_eight({0, 1, 2}).mesh();
  mesh->build_hole();
  EXPECT_EQ(ring_lengths(*mesh), (vector<int>{3, 3}));
}

TEST(RingSplitting, FigureOfEightWhoseWalkPassesTheJunctionTwiceIsCut) {
  const auto mesh = figure_of_eight({1, 2, 0}).mesh();
  mesh->build_hole();
  EXPECT_EQ(mesh->get_hole_num(), 3);
  EXPECT_EQ(ring_lengths(*mesh), (vector<int>{0, 3, 3}));
  int n = 7;
  EXPECT_EQ(mesh->get_hole_index(0, n), nullptr);
  EXPECT_EQ(n, 0);
  // The cut-off loop runs backwards from the junction; the remainder in walking order.
  EXPECT_EQ(edge_numbers(*mesh, mesh->hole[1]), (vector<int>{1, 2, 0}));
  EXPECT_EQ(edge_numbers(*mesh, mesh->hole[2]), (vector<int>{4, 3, 5}));
  EXPECT_TRUE(all_states_default(*mesh));
}

TEST(RingSplitting, EdgeTotalCountsWhatACutOffLoopTakesButItsFirstEdge) {
  const auto mesh = figure_of_eight({1, 2, 0}).mesh();
  mesh->build_hole();
  EXPECT_EQ(mesh->hole.edge_total, 6 + 2);
}

TEST(RingSplitting, RingWithoutJunctionStaysAsItIs) {
  const auto mesh = single_triangle().mesh();
  mesh->hole.inalize(10, 10);
  _hole* const ring = mesh->hole.gethole(mesh->edge[0]);
  vector<_edge*> scratch(3);
  mesh->hole.check_hole_split(scratch.data(), ring);
  EXPECT_EQ(mesh->hole[0], ring);
  EXPECT_EQ(mesh->get_hole_num(), 1);
  EXPECT_EQ(scratch, edges_of(ring));
  for (const _edge* edge : scratch) EXPECT_EQ(edge->state, 1);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(mesh->vertex[i]->state, 8);
}

TEST(RingSplitting, ResetsWhateverStateTheVerticesOfTheRingHad) {
  const auto mesh = single_triangle().mesh();
  mesh->vertex[1]->state = Mesh_R::kStateHighCurvature;
  mesh->build_hole();
  EXPECT_EQ(mesh->vertex[1]->state, 8);
}

// The rules written out with a queue that is searched and erased in place.
class PlainSplitter {
 public:
  PlainSplitter(Mesh_R::Hole& finder, _hole* ring) : finder_(finder), walked_(ring) {
    edges_ = edges_of(ring);
  }

  void run() {
    const int n = static_cast<int>(edges_.size());
    _vert* v = touches(edges_[1], edges_[0]->vert[0]) ? edges_[0]->vert[1] : edges_[0]->vert[0];
    for (int i = 0; i < n; ++i) {
      if (v->edge_num - v->face_num >= 2) visit(v, i);
      v->state = 1;
      _edge* const edge = at(i);
      v = edge->vert[0] == v ? edge->vert[1] : edge->vert[0];
    }
    if (walked_ == nullptr) {
      _hole* const rest = scanmesh::append_ring(finder_);
      for (_edge* edge : edges_) {
        if (edge->state != 2) rest->edges->allocate_mem() = edge;
      }
    }
    for (_edge* edge : edges_) {
      edge->state = 1;
      edge->vert[0]->state = edge->vert[1]->state = 8;
    }
  }

 private:
  struct Entry {
    _vert* vert;
    int count;
  };

  static bool touches(const _edge* edge, const _vert* v) {
    return edge->vert[0] == v || edge->vert[1] == v;
  }
  _edge* at(int i) { return edges_[static_cast<std::size_t>(i)]; }

  void visit(_vert* v, int i) {
    const auto found = std::find_if(queue_.begin(), queue_.end(),
                                    [v](const Entry& entry) { return entry.vert == v; });
    if (found == queue_.end()) {
      int open = 0;
      for (int k = 0; k < v->edge_num; ++k) open += v->edge[k]->face_num == 1;
      queue_.push_back({v, open});
      return;
    }
    if (v->state != 1) return;
    if (walked_ != nullptr) scanmesh::destroy_ring(walked_);
    walked_ = nullptr;
    _hole* const ring = scanmesh::append_ring(finder_);
    vector<_edge*> taken = {at(i - 1)};
    at(i - 1)->state = 2;
    for (int j = i - 2; j >= 0; --j) {
      if (at(j)->state == 2) continue;
      at(j)->state = 2;
      taken.push_back(at(j));
      if (touches(at(j), v)) break;
    }
    for (_edge* edge : taken) ring->edges->allocate_mem() = edge;
    const _edge* const first = taken.front();
    const _edge* const last = taken.back();
    if (taken.size() > 2 && (touches(last, first->vert[0]) || touches(last, first->vert[1]))) {
      for (const _edge* edge : taken) lower(edge);
    } else {
      for (_edge* edge : taken) edge->state = 8;
    }
  }

  void lower(const _edge* edge) {
    for (auto entry = queue_.begin(); entry != queue_.end();) {
      if (touches(edge, entry->vert)) --entry->count;
      entry = entry->count <= 2 ? queue_.erase(entry) : entry + 1;
    }
  }

  Mesh_R::Hole& finder_;
  _hole* walked_;
  vector<_edge*> edges_;
  std::deque<Entry> queue_;
};

// Random triangles on few vertices of a grid: many of them meet at vertices only.
Soup junction_soup(int n, uint64_t seed) {
  Soup soup = flat_grid(n, 1);
  Random random(seed);
  vector<std::array<int, 3>> kept;
  for (const auto& t : soup.triangles) {
    if (random.below(5) < 2) continue;
    const int turn = random.below(3);
    std::array<int, 3> turned{};
    for (std::size_t k = 0; k < 3; ++k) turned[k] = t[(k + static_cast<std::size_t>(turn)) % 3];
    kept.push_back(turned);
  }
  for (std::size_t i = kept.size(); i > 1; --i) {
    std::swap(kept[i - 1], kept[static_cast<std::size_t>(random.below(static_cast<int>(i)))]);
  }
  soup.triangles = kept;
  return soup;
}

TEST(RingSplitting, AgreesWithThePlainFormOnMeshesFullOfJunctions) {
  int cut = 0;
  for (uint64_t seed = 0; seed < 60; ++seed) {
    const Soup soup = junction_soup(9, seed);
    const auto mesh = soup.mesh();
    const auto plain = soup.mesh();
    mesh->build_hole();
    plain->hole.inalize(10000, 100);
    for (int i = 0; i < plain->edge.get_edgenum(); ++i) {
      _edge* const edge = plain->edge[i];
      if (edge->face_num != 1 || edge->state == 1 || edge->state == 3) continue;
      _hole* const ring = plain->hole.gethole(edge);
      if (plain->hole.check_hole_reasonable(ring)) PlainSplitter(plain->hole, ring).run();
    }
    ASSERT_EQ(mesh->get_hole_num(), plain->get_hole_num()) << seed;
    for (int i = 0; i < mesh->get_hole_num(); ++i) {
      ASSERT_EQ(mesh->hole[i] == nullptr, plain->hole[i] == nullptr) << seed;
      cut += mesh->hole[i] == nullptr;
      if (mesh->hole[i] == nullptr) continue;
      ASSERT_EQ(edge_numbers(*mesh, mesh->hole[i]), edge_numbers(*plain, plain->hole[i])) << seed;
    }
    EXPECT_TRUE(all_states_default(*mesh));
    EXPECT_TRUE(adjacency_holds(*mesh));
  }
  EXPECT_GT(cut, 60);
}

// Triangles strung together at their vertices: the walk goes out along one side and comes back
// along the other, so that every junction closes a loop.
TEST(RingSplitting, LongStringOfTrianglesIsCutWithoutDelay) {
  Soup soup;
  const int n = 100000;
  soup.points.push_back({0, 0, 0});
  for (int i = 0; i < n; ++i) {
    const auto x = static_cast<float>(i);
    soup.points.insert(soup.points.end(), {{x + 0.5F, 1, 0}, {x + 1, 0, 0}});
    soup.triangles.push_back({2 * i, 2 * i + 2, 2 * i + 1});
  }
  const auto mesh = soup.mesh();
  mesh->build_hole();
  int edges = 0;
  for (const int length : ring_lengths(*mesh)) {
    EXPECT_TRUE(length == 0 || length == 3);
    edges += length;
  }
  EXPECT_EQ(edges, 3 * n);
  EXPECT_TRUE(all_states_default(*mesh));
}

}  // namespace
