#include "holes/wavefront.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

#include "tests/support/hole_shapes.h"
#include "tests/support/invariants.h"

namespace {

using namespace test_support;
using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;
using Mesh_R::HoleAccess;
using std::vector;

constexpr double kPi = 3.141592653589793;

TEST(PlaneFit, PlaneThroughTheOriginHasAUnitNormalAndNoConstant) {
  const double points[][3] = {{1, 1, 0}, {-1, 1, 0}, {-1, -1, 0}, {1, -1, 0}, {3, 2, 0}};
  double out[3];
  EXPECT_EQ(scanmesh::fit_hole_plane(points, 5, out), 0);
  EXPECT_NEAR(std::fabs(out[2]), 1.0, 1e-12);
  EXPECT_NEAR(out[0], 0, 1e-12);
}

TEST(PlaneFit, PlaneOffTheOriginIsScaledToAConstantOfOne) {
  const double points[][3] = {{1, 1, 4}, {-1, 1, 4}, {-1, -2, 4}, {1, -1, 4}, {5, 3, 4}};
  double out[3];
  EXPECT_EQ(scanmesh::fit_hole_plane(points, 5, out), 1);
  EXPECT_NEAR(out[0], 0, 1e-12);
  EXPECT_NEAR(out[1], 0, 1e-12);
  EXPECT_NEAR(out[2], -0.25, 1e-12);
}

TEST(PlaneFit, NoPointsGiveZero) {
  double out[3] = {7, 7, 7};
  EXPECT_EQ(scanmesh::fit_hole_plane(nullptr, 0, out), 0);
  EXPECT_EQ(scanmesh::fit_hole_plane(nullptr, -1, out), 0);
  EXPECT_EQ(out[0], 7);
}

TEST(PlaneFit, LeavesOutTheValueThatEqualsTheCount) {
  // Spread out so far that the count is the smallest value but one.
  const double points[][3] = {{9, 9, 1}, {-9, 9, -1}, {-9, -9, 1}, {9, -9, -1}};
  double out[3];
  // The spread along z is 4, the count as well: both are left out, and a wide direction wins. With
  // a little less along z, that direction does.
  scanmesh::fit_hole_plane(points, 4, out);
  EXPECT_NEAR(out[2], 0, 1e-9);
  const double flatter[][3] = {{9, 9, 0.9}, {-9, 9, -0.9}, {-9, -9, 0.9}, {9, -9, -0.9}};
  EXPECT_EQ(scanmesh::fit_hole_plane(flatter, 4, out), 0);
  EXPECT_NEAR(std::fabs(out[2]), 1, 1e-9);
}

TEST(PlaneFit, FollowsANoisyPlane) {
  Random random(5);
  vector<double> flat;
  for (int i = 0; i < 200; ++i) {
    const double x = 10 * random.signed_unit();
    const double y = 10 * random.signed_unit();
    const double noise = 0.01 * random.signed_unit();
    flat.insert(flat.end(), {x, y, 3 + 0.5 * x - 0.25 * y + noise});
  }
  double out[3];
  EXPECT_EQ(scanmesh::fit_hole_plane(reinterpret_cast<const double(*)[3]>(flat.data()), 200, out),
            1);
  // z - 0.5 x + 0.25 y - 3 = 0, divided by -3.
  EXPECT_NEAR(out[0], 0.5 / 3, 1e-3);
  EXPECT_NEAR(out[1], -0.25 / 3, 1e-3);
  EXPECT_NEAR(out[2], -1.0 / 3, 1e-3);
}

TEST(CornerAngle, IsClampedAndZeroForACoincidingPoint) {
  EXPECT_NEAR(scanmesh::corner_angle({0, 0, 0}, {1, 0, 0}, {0, 2, 0}), kPi / 2, 1e-15);
  EXPECT_EQ(scanmesh::corner_angle({1, 0, 0}, {1, 0, 0}, {0, 2, 0}), 0);
  EXPECT_FALSE(
      std::isnan(scanmesh::corner_angle({0, 0, 0}, {0.1F, 0.2F, 0.3F}, {0.2F, 0.4F, 0.6F})));
  EXPECT_NEAR(scanmesh::corner_angle({0, 0, 0}, {1, 0, 0}, {-3, 0, 0}), kPi, 1e-15);
}

TEST(SmallestValue, AgreesWithALinearSearchUnderChangesAndRemovals) {
  Random random(9);
  for (int n = 1; n < 40; ++n) {
    vector<double> plain;
    for (int i = 0; i < n; ++i) plain.push_back(random.below(6));
    scanmesh::SmallestValue values(plain);
    while (!plain.empty()) {
      ASSERT_EQ(values.size(), static_cast<int>(plain.size()));
      const auto least = std::min_element(plain.begin(), plain.end());  // the first of equals
      ASSERT_EQ(values.smallest(), static_cast<int>(least - plain.begin()));
      const auto at = static_cast<std::size_t>(random.below(static_cast<int>(plain.size())));
      plain[at] = random.below(6) - 2;
      values.set(static_cast<int>(at), plain[at]);
      ASSERT_EQ(values.at(static_cast<int>(at)), plain[at]);
      const auto gone = static_cast<std::size_t>(random.below(static_cast<int>(plain.size())));
      plain[gone] = plain.back();
      plain.pop_back();
      values.remove(static_cast<int>(gone));
    }
  }
}

// The rules of clipping with linear searches, on a ring of its own.
class PlainClipper {
 public:
  PlainClipper(Mesh_M::Mesh& mesh, const vector<_edge*>& edges) : mesh_(mesh), edges_(edges) {}

  void run() {
    make_ring();
    flatten();
    for (const _vert* v : ring_) angle_.push_back(opening(v));
    for (std::size_t i = 0; i < ring_.size(); ++i) {
      pos_to_ring_.push_back(i);
      ring_to_pos_.push_back(i);
    }
    for (const _edge* e : edges_) {
      for (_vert* v : e->vert) v->state = static_cast<int16_t>(std::abs(v->state));
    }
    while (clip_one()) {
    }
    for (const _edge* e : edges_) {
      for (_vert* v : e->vert) v->state = static_cast<int16_t>(-std::abs(v->state));
    }
    for (std::size_t i = 0; i < saved_.size(); ++i) {
      saved_[i]->point = places_[i];
      saved_[i]->state = static_cast<int16_t>(-saved_[i]->state);
    }
  }

 private:
  static _vert* far(const _edge* e, const _vert* v) {
    return e->vert[0] == v ? e->vert[1] : e->vert[0];
  }

  void make_ring() {
    const _edge* const first = edges_[0];
    const _edge* const second = edges_[1];
    _vert* v = first->vert[0];
    if (v == second->vert[0] || v == second->vert[1]) v = first->vert[1];
    for (const _edge* e : edges_) {
      ring_.push_back(v);
      v = far(e, v);
    }
  }

  void move(_vert* v, const double n[3], double d) {
    saved_.push_back(v);
    places_.push_back(v->point);
    v->state = static_cast<int16_t>(-v->state);
    const double t = n[0] * v->point.x + n[1] * v->point.y + n[2] * v->point.z + d;
    v->point = {static_cast<float>(v->point.x - t * n[0]),
                static_cast<float>(v->point.y - t * n[1]),
                static_cast<float>(v->point.z - t * n[2])};
  }

  void flatten() {
    vector<double> flat;
    for (const _vert* v : ring_) flat.insert(flat.end(), {v->point.x, v->point.y, v->point.z});
    double n[3];
    const int d = scanmesh::fit_hole_plane(reinterpret_cast<const double(*)[3]>(flat.data()),
                                           static_cast<int>(ring_.size()), n);
    for (_vert* v : ring_) {
      if (v->state < 0) continue;
      move(v, n, d);
      for (int i = 0; i < v->edge_num; ++i) {
        if (far(v->edge[i], v)->state >= 0) move(far(v->edge[i], v), n, d);
      }
    }
  }

  double opening(const _vert* v) {
    double sum = 0;
    for (int i = 0; i < v->face_num; ++i) {
      vector<const _vert*> others;
      for (const _vert* corner : v->face[i]->vert) {
        if (corner != v) others.push_back(corner);
      }
      sum += scanmesh::corner_angle(v->point, others.front()->point, others.back()->point);
    }
    return sum >= 6.283185307179586 ? 0 : 6.283185307179586 - sum;
  }

  bool find(const _vert* v, std::size_t& at) {
    for (std::size_t i = 0; i < ring_.size(); ++i) {
      if (ring_[i] == v) {
        at = i;
        return true;
      }
    }
    return false;
  }

  static bool usable(const _edge* e) {
    return e->face_num == 1 && e->vert[0]->state > 0 && e->vert[1]->state > 0;
  }

  bool clip_one() {
    std::size_t least = 0;
    for (std::size_t i = 1; i < angle_.size(); ++i) {
      if (angle_[i] < angle_[least]) least = i;
    }
    _vert* const v = ring_[pos_to_ring_[least]];
    for (int i = 0; i < v->edge_num; ++i) {
      if (!usable(v->edge[i])) continue;
      int j = i + 1;
      while (j < v->edge_num && !usable(v->edge[j])) ++j;
      if (j == v->edge_num) return false;
      _vert* const a = far(v->edge[i], v);
      _vert* const b = far(v->edge[j], v);
      std::size_t at_a = 0;
      std::size_t at_b = 0;
      if (!find(a, at_a) || !find(b, at_b)) continue;
      return make(v, least, v->edge[i], v->edge[j], at_a, at_b);
    }
    return false;
  }

  bool make(_vert* v, std::size_t place, _edge* e1, _edge* e2, std::size_t at_a, std::size_t at_b) {
    _vert* const a = ring_[at_a];
    _vert* const b = ring_[at_b];
    _edge* closing = nullptr;
    mesh_.hole.get_edge(closing, a, b);
    _vert* const corners[3] = {a, v, b};
    _edge* const sides[3] = {e1, e2, closing};
    Vec3f zero{0, 0, 0};
    _face* const face = mesh_.face.insert_face(corners, sides, zero);
    mesh_.vertex.insert_face(face);
    mesh_.edge.insert_face(face);
    mesh_.hole.added_faces.allocate_mem() = face;
    if (angle_.size() == 3) return false;
    angle_[ring_to_pos_[at_a]] -= scanmesh::corner_angle(a->point, v->point, b->point);
    angle_[ring_to_pos_[at_b]] -= scanmesh::corner_angle(b->point, v->point, a->point);
    angle_[place] = angle_.back();
    pos_to_ring_[place] = pos_to_ring_.back();
    ring_to_pos_[pos_to_ring_[place]] = place;
    angle_.pop_back();
    pos_to_ring_.pop_back();
    return true;
  }

  Mesh_M::Mesh& mesh_;
  vector<_edge*> edges_;
  vector<_vert*> ring_;
  vector<double> angle_;
  vector<std::size_t> pos_to_ring_;
  vector<std::size_t> ring_to_pos_;
  vector<_vert*> saved_;
  vector<Vec3f> places_;
};

vector<std::array<int, 3>> added_triples(Mesh_M::Mesh& mesh) {
  vector<std::array<int, 3>> out;
  for (const _face* face : entries_of(mesh.hole.added_faces)) {
    out.push_back({mesh.vertex.get_vert_no(face->vert[0]), mesh.vertex.get_vert_no(face->vert[1]),
                   mesh.vertex.get_vert_no(face->vert[2])});
  }
  return out;
}

TEST(Clipping, AgreesWithThePlainFormOnIrregularRings) {
  int faces = 0;
  for (uint64_t seed = 0; seed < 25; ++seed) {
    const auto mesh = irregular_patch(13, seed).mesh();
    const auto plain = irregular_patch(13, seed).mesh();
    mesh->build_hole();
    plain->build_hole();
    for (int i = 0; i < mesh->get_hole_num(); ++i) {
      if (mesh->hole[i] == nullptr || mesh->hole[i]->edges->size() < 3) continue;
      HoleAccess::clip(mesh->hole, edges_of(mesh->hole[i]));
      PlainClipper(*plain, edges_of(plain->hole[i])).run();
      ASSERT_EQ(added_triples(*mesh), added_triples(*plain)) << seed << " ring " << i;
      ASSERT_TRUE(all_states_default(*mesh)) << seed;
    }
    faces += mesh->hole.added_faces.size();
    for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) {
      ASSERT_EQ(mesh->vertex[i]->point.z, plain->vertex[i]->point.z);
    }
    EXPECT_TRUE(adjacency_holds(*mesh));
  }
  EXPECT_GT(faces, 500);
}

class Clipped : public testing::Test {
 protected:
  void use(const Soup& soup) {
    mesh = soup.mesh();
    mesh->build_hole();
    ring = shortest_ring(*mesh);
    for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) before.push_back(mesh->vertex[i]->point);
  }
  void expect_restored() {
    for (std::size_t i = 0; i < before.size(); ++i) {
      const Vec3f& p = mesh->vertex[static_cast<int>(i)]->point;
      EXPECT_TRUE(p.x == before[i].x && p.y == before[i].y && p.z == before[i].z);
    }
    EXPECT_TRUE(all_states_default(*mesh));
  }

  std::unique_ptr<Mesh_M::Mesh> mesh;
  int ring = -1;
  vector<Vec3f> before;
};

TEST_F(Clipped, RingOfThreeGetsOneFace) {
  use(annulus(3, 1, 3));
  HoleAccess::clip(mesh->hole, edges_of(mesh->hole[ring]));
  ASSERT_EQ(mesh->hole.added_faces.size(), 1);
  EXPECT_EQ(mesh->hole.added_edges.size(), 0);
  const _face* const face = mesh->hole.added_faces[0];
  EXPECT_EQ(face->state, 8);
  EXPECT_EQ(face->vector.z, 0);
  for (const _edge* edge : face->edge) EXPECT_EQ(edge->face_num, 2);
  expect_restored();
}

TEST_F(Clipped, SquareGetsTwoFacesCutAtTheFirstSmallestAngle) {
  use(grid_with_hole(5, 2, 3));
  const auto edges = edges_of(mesh->hole[ring]);
  // All angles are equal, so that the first ring vertex is clipped and its neighbours are joined.
  const _vert* const clipped =
      edges[0]->vert[0] == edges[1]->vert[0] || edges[0]->vert[0] == edges[1]->vert[1]
          ? edges[0]->vert[1]
          : edges[0]->vert[0];
  HoleAccess::clip(mesh->hole, edges);
  ASSERT_EQ(mesh->hole.added_faces.size(), 2);
  ASSERT_EQ(mesh->hole.added_edges.size(), 1);
  EXPECT_EQ(mesh->hole.added_faces[0]->vert[1], clipped);
  EXPECT_FALSE(mesh->hole.added_edges[0]->vert[0] == clipped ||
               mesh->hole.added_edges[0]->vert[1] == clipped);
  EXPECT_EQ(mesh->hole.added_faces[0]->edge[2], mesh->hole.added_edges[0]);
  EXPECT_EQ(mesh->face.real_num, 50);
  expect_restored();
  EXPECT_TRUE(adjacency_holds(*mesh));
}

TEST_F(Clipped, SharpestCornerGoesFirst) {
  Soup soup = annulus(6, 2, 5);
  soup.points[4] = {-1.2F, 6.0F, 0};  // a spike of the inner rim
  soup.points[5] = {-1.5F, 9.0F, 0};
  use(soup);
  HoleAccess::clip(mesh->hole, edges_of(mesh->hole[ring]));
  ASSERT_EQ(mesh->hole.added_faces.size(), 4);
  EXPECT_EQ(mesh->hole.added_faces[0]->vert[1], mesh->vertex[4]);
  expect_restored();
}

TEST_F(Clipped, NullEdgesAndShortRingsAreLeftAlone) {
  use(grid_with_hole(5, 2, 3));
  HoleAccess::clip_null(mesh->hole, 5);
  auto edges = edges_of(mesh->hole[ring]);
  edges.resize(2);
  HoleAccess::clip(mesh->hole, edges);
  EXPECT_EQ(mesh->hole.added_faces.size(), 0);
  expect_restored();
}

TEST_F(Clipped, AngleSumTestRefusesAndLeavesNoMark) {
  // Seen from the surroundings a single triangle's rim is wide open: 3 x 300 degrees.
  use(single_triangle());
  HoleAccess::clip(mesh->hole, edges_of(mesh->hole[0]), true);
  EXPECT_EQ(mesh->hole.added_faces.size(), 0);
  expect_restored();
  HoleAccess::clip(mesh->hole, edges_of(mesh->hole[0]), false);
  EXPECT_EQ(mesh->hole.added_faces.size(), 1);
}

TEST_F(Clipped, AngleSumTestAcceptsAConvexHole) {
  use(grid_with_hole(5, 2, 3));
  HoleAccess::clip(mesh->hole, edges_of(mesh->hole[ring]), true);
  EXPECT_EQ(mesh->hole.added_faces.size(), 2);
}

TEST_F(Clipped, StopsAtAVertexWithFewerThanTwoUsableEdges) {
  use(grid_with_hole(5, 2, 3));
  const auto edges = edges_of(mesh->hole[ring]);
  // A second wing on one ring edge closes it for clipping: its ends have one usable edge each.
  Vec3f place{2.5F, 2.5F, 3};
  _vert* const tip = mesh->vertex.insert_vert(place);
  Vec3f normal{0, 0, 1};
  mesh->insert_face(edges[0]->vert[0], edges[0]->vert[1], tip, normal);
  const int faces = mesh->face.real_num;
  HoleAccess::clip(mesh->hole, edges);
  EXPECT_LT(mesh->face.real_num - faces, 2);
  EXPECT_TRUE(all_states_default(*mesh));
  EXPECT_TRUE(adjacency_holds(*mesh));
}

TEST_F(Clipped, OpenChainLeavesNoMark) {
  use(grid_with_hole(7, 2, 5));
  auto edges = edges_of(mesh->hole[ring]);
  edges.resize(7);
  HoleAccess::clip(mesh->hole, edges);
  EXPECT_TRUE(all_states_default(*mesh));
}

TEST(Flattening, IsNotOrthogonalSoThatFarPlanesDistortAngles) {
  // Two rings of one shape, one far from the origin. Orthogonal flattening would see the same
  // angles in both; the division by the plane's constant makes the move of the far one negligible.
  Soup near = noisy(annulus(24, 5, 9), 1.5F, 11);
  Soup far = near;
  for (Vec3f& p : near.points) p.z += 1.0F;
  for (Vec3f& p : far.points) p.z += 512.0F;
  const auto a = near.mesh();
  const auto b = far.mesh();
  a->build_hole();
  b->build_hole();
  HoleAccess::clip(a->hole, edges_of(a->hole[shortest_ring(*a)]));
  HoleAccess::clip(b->hole, edges_of(b->hole[shortest_ring(*b)]));
  EXPECT_NE(added_triples(*a), added_triples(*b));
}

TEST(Clipping, LargeRingTakesNoQuadraticTime) {
  const auto mesh = annulus(60000, 1000, 1001).mesh();
  mesh->build_hole();
  const int ring = shortest_ring(*mesh);
  HoleAccess::clip(mesh->hole, edges_of(mesh->hole[ring]));
  EXPECT_EQ(mesh->hole.added_faces.size(), 60000 - 2);
}

}  // namespace
