#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>

#include "holes/patch_collapse.h"
#include "tests/support/hole_shapes.h"
#include "tests/support/invariants.h"

namespace {

using namespace test_support;
using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;
using Mesh_R::HoleAccess;
using std::vector;

// A ring that has been clipped, with its records protected as during a fill.
class Refinement : public testing::Test {
 protected:
  void use(const Soup& soup) {
    mesh = soup.mesh();
    mesh->build_hole();
    ring = edges_of(mesh->hole[shortest_ring(*mesh)]);
    first_vertex = mesh->vertex.get_vertnum();
    HoleAccess::clip(mesh->hole, ring);
    protect();
  }
  void protect() {
    for (_edge* edge : ring) {
      edge->state = -8;
      edge->vert[0]->state = edge->vert[1]->state = -8;
    }
  }
  void release() {
    for (_edge* edge : ring) {
      edge->state = 8;
      edge->vert[0]->state = edge->vert[1]->state = 8;
    }
  }
  int new_vertices() const { return mesh->vertex.get_vertnum() - first_vertex; }
  int live_added_faces() const {
    int live = 0;
    for (const _face* face : entries_of(mesh->hole.added_faces)) live += face->state != 3;
    return live;
  }

  std::unique_ptr<Mesh_M::Mesh> mesh;
  vector<_edge*> ring;
  int first_vertex = 0;
};

TEST_F(Refinement, TargetAboveAllEdgesRebuildsEachFace) {
  use(grid_with_hole(5, 2, 3));
  mesh->hole.edge_total = 0;  // stage one alone
  const auto before = entries_of(mesh->hole.added_faces);
  HoleAccess::split_edge(mesh->hole, 100.0);
  release();
  for (const _face* face : before) EXPECT_EQ(face->state, 3);
  EXPECT_EQ(new_vertices(), 0);
  EXPECT_EQ(live_added_faces(), 2);
  EXPECT_EQ(odd_edge_count(*mesh), 20);
  EXPECT_TRUE(adjacency_holds(*mesh));
  EXPECT_TRUE(all_states_default(*mesh));
}

TEST_F(Refinement, DiagonalIsDividedByWholeTargets) {
  // The diagonal of the unit cell has length 1.4142...
  const double diagonal = static_cast<double>(static_cast<float>(std::sqrt(2.0)));
  struct Case {
    double target;
    int points;
  };
  for (const Case& c : {Case{diagonal, 1}, Case{diagonal / 1.9, 1}, Case{diagonal / 2.01, 2},
                        Case{diagonal * 1.001, 0}}) {
    use(grid_with_hole(5, 2, 3));
    mesh->hole.edge_total = 0;
    HoleAccess::split_edge(mesh->hole, c.target);
    release();
    EXPECT_EQ(new_vertices(), c.points) << c.target;
    EXPECT_EQ(live_added_faces(), 2 + 2 * c.points);
    EXPECT_TRUE(adjacency_holds(*mesh));
    EXPECT_EQ(odd_edge_count(*mesh), 20);
  }
}

TEST_F(Refinement, PointsDivideTheEdgeEvenlyAndCarryBlendedNormals) {
  use(grid_with_hole(5, 2, 3));
  mesh->hole.edge_total = 0;
  _edge* const diagonal = mesh->hole.added_edges[0];
  diagonal->vert[0]->vector = {1, 0, 0};
  diagonal->vert[1]->vector = {0, 1, 0};
  const Vec3f a = diagonal->vert[0]->point;
  const Vec3f b = diagonal->vert[1]->point;
  HoleAccess::split_edge(mesh->hole, 1.0);
  release();
  ASSERT_EQ(new_vertices(), 1);
  const _vert* const middle = mesh->vertex[first_vertex];
  EXPECT_EQ(middle, mesh->hole.added_verts[0]);
  EXPECT_EQ(middle->point.x, (a.x + b.x) / 2);
  EXPECT_EQ(middle->point.y, (a.y + b.y) / 2);
  EXPECT_NEAR(middle->vector.x, std::sqrt(0.5), 1e-7);
  EXPECT_NEAR(middle->vector.y, std::sqrt(0.5), 1e-7);
}

TEST_F(Refinement, OpposedNormalsBlendToUp) {
  use(grid_with_hole(5, 2, 3));
  mesh->hole.edge_total = 0;
  _edge* const diagonal = mesh->hole.added_edges[0];
  diagonal->vert[0]->vector = {1, 0, 0};
  diagonal->vert[1]->vector = {-1, 0, 0};
  HoleAccess::split_edge(mesh->hole, 1.0);
  release();
  EXPECT_EQ(mesh->vertex[first_vertex]->vector.z, 1.0F);
}

TEST_F(Refinement, RingEdgesStayWhole) {
  use(annulus(12, 5, 9));
  mesh->hole.edge_total = 0;
  const vector<_edge*> before = ring;
  HoleAccess::split_edge(mesh->hole, 0.5);  // far below the ring's edges
  release();
  for (_edge* edge : before) {
    EXPECT_EQ(edge->state, 8);
    EXPECT_EQ(edge->face_num, 2);
    const float x = edge->vert[0]->point.x + edge->vert[1]->point.x;
    const float y = edge->vert[0]->point.y + edge->vert[1]->point.y;
    for (int i = first_vertex; i < mesh->vertex.get_vertnum(); ++i) {
      const Vec3f& p = mesh->vertex[i]->point;
      EXPECT_GT(std::fabs(p.x - x / 2) + std::fabs(p.y - y / 2), 1e-3);
    }
  }
  EXPECT_GT(new_vertices(), 10);
  EXPECT_TRUE(adjacency_holds(*mesh));
}

TEST_F(Refinement, PointsWithinToleranceAreShared) {
  // A cell of 0.0012: both diagonal parts lie 0.0006 off the corners, one point each; with 0.0009
  // the point of the one face is found again by the other, whichever way round its edge runs.
  for (const float size : {1.0F, 0.01F, 0.0011F}) {
    use(grid_with_hole(5, 2, 3, size));
    mesh->hole.edge_total = 0;
    HoleAccess::split_edge(mesh->hole, size * 1.2);
    release();
    EXPECT_EQ(new_vertices(), 1) << size;
    EXPECT_TRUE(adjacency_holds(*mesh));
  }
}

TEST_F(Refinement, UselessTargetsDivideNothing) {
  for (const double target : {0.0, -1.0, std::nan(""), HUGE_VAL, 1e-300}) {
    use(grid_with_hole(5, 2, 3));
    mesh->hole.edge_total = 0;
    HoleAccess::split_edge(mesh->hole, target);
    release();
    EXPECT_EQ(new_vertices(), 0) << target;
    EXPECT_TRUE(adjacency_holds(*mesh));
  }
}

// The clipping of a divided face, with entries nulled in place and all corners measured anew.
class PlainPolygon {
 public:
  PlainPolygon(Mesh_M::Mesh& mesh, vector<_vert*> verts) : mesh_(mesh), verts_(std::move(verts)) {}

  void run() {
    while (live() >= 3) {
      int best = -1;
      double best_dot = -10000.0;
      for (int c = 0; c < size(); ++c) {
        if (at(c) == nullptr) continue;
        int p = back(c);
        while (p != c && at(p) == at(c)) {
          at(p) = nullptr;
          p = back(c);
        }
        int n = forth(c);
        while (n != c && live() >= 3 && (at(n) == at(c) || at(n) == at(p))) {
          at(n) = nullptr;
          n = forth(c);
        }
        if (live() < 3) return;
        const double dot = corner(at(c), at(p), at(n));
        if (dot > best_dot) {
          best_dot = dot;
          best = c;
        }
      }
      if (best < 0) return;
      scanmesh::add_patch_face(mesh_.hole, at(best), at(back(best)), at(forth(best)));
      at(best) = nullptr;
    }
  }

 private:
  int size() const { return static_cast<int>(verts_.size()); }
  _vert*& at(int i) { return verts_[static_cast<std::size_t>(i)]; }
  int live() const {
    return static_cast<int>(
        std::count_if(verts_.begin(), verts_.end(), [](const _vert* v) { return v != nullptr; }));
  }
  int back(int c) {
    int i = c;
    do {
      i = i == 0 ? size() - 1 : i - 1;
    } while (at(i) == nullptr);
    return i;
  }
  int forth(int c) {
    int i = c;
    do {
      i = i + 1 == size() ? 0 : i + 1;
    } while (at(i) == nullptr);
    return i;
  }
  static Vec3f unit(const Vec3f& a, const Vec3f& b) {
    const Vec3f d{a.x - b.x, a.y - b.y, a.z - b.z};
    const double len = std::sqrt(static_cast<double>(d.x) * d.x + static_cast<double>(d.y) * d.y +
                                 static_cast<double>(d.z) * d.z);
    if (len == 0) return d;
    const double f = 1.0 / len;
    return {static_cast<float>(d.x * f), static_cast<float>(d.y * f), static_cast<float>(d.z * f)};
  }
  static double corner(const _vert* c, const _vert* p, const _vert* n) {
    const Vec3f u = unit(c->point, n->point);
    const Vec3f w = unit(c->point, p->point);
    return static_cast<double>(u.x) * w.x + static_cast<double>(u.y) * w.y +
           static_cast<double>(u.z) * w.z;
  }

  Mesh_M::Mesh& mesh_;
  vector<_vert*> verts_;
};

// Divides like stage one, over plain polygons.
void plain_stage_one(Mesh_M::Mesh& mesh, double target) {
  vector<std::pair<Vec3f, _vert*>> made;
  const auto snapshot = entries_of(mesh.hole.added_faces);
  for (_face* face : snapshot) {
    vector<_vert*> polygon;
    for (int i = 0; i < 3; ++i) {
      _vert* const p = face->vert[i];
      _vert* const q = face->vert[(i + 1) % 3];
      polygon.push_back(p);
      const _edge* const edge = mesh.vertex.find_edge(p, q);
      if (edge->state < 0) continue;
      const float dx = p->point.x - q->point.x;
      const float dy = p->point.y - q->point.y;
      const float dz = p->point.z - q->point.z;
      const auto l =
          static_cast<float>(std::sqrt(static_cast<double>(dx) * dx + static_cast<double>(dy) * dy +
                                       static_cast<double>(dz) * dz));
      if (l < target) continue;
      const int k = static_cast<int>(l / target);
      for (int j = 1; j <= k; ++j) {
        const double t = static_cast<double>(j) / (k + 1);
        Vec3f place{static_cast<float>(p->point.x * (1 - t) + q->point.x * t),
                    static_cast<float>(p->point.y * (1 - t) + q->point.y * t),
                    static_cast<float>(p->point.z * (1 - t) + q->point.z * t)};
        _vert* vert = nullptr;
        for (const auto& entry : made) {
          if (std::fabs(entry.first.x - place.x) < 0.0005 &&
              std::fabs(entry.first.y - place.y) < 0.0005 &&
              std::fabs(entry.first.z - place.z) < 0.0005) {
            vert = entry.second;
            break;
          }
        }
        if (vert == nullptr) {
          vert = mesh.vertex.insert_vert(place);
          made.emplace_back(place, vert);
        }
        polygon.push_back(vert);
      }
    }
    mesh.face.dele_face(face);
    PlainPolygon(mesh, polygon).run();
  }
}

TEST_F(Refinement, StageOneAgreesWithThePlainForm) {
  for (uint64_t seed = 0; seed < 12; ++seed) {
    const Soup soup = noisy(annulus(15, 6, 9), 0.8F, seed);
    for (const double target : {0.4, 0.9, 1.7}) {
      use(soup);
      mesh->hole.edge_total = 0;
      HoleAccess::split_edge(mesh->hole, target);
      const auto fast = std::move(mesh);
      use(soup);
      plain_stage_one(*mesh, target);
      ASSERT_EQ(fast->face.get_facenum(), mesh->face.get_facenum());
      ASSERT_EQ(fast->vertex.get_vertnum(), mesh->vertex.get_vertnum());
      for (int i = 0; i < mesh->face.get_facenum(); ++i) {
        ASSERT_EQ(fast->face[i]->state, mesh->face[i]->state);
        for (int k = 0; k < 3; ++k) {
          ASSERT_EQ(fast->vertex.get_vert_no(fast->face[i]->vert[k]),
                    mesh->vertex.get_vert_no(mesh->face[i]->vert[k]))
              << seed << " face " << i;
        }
      }
    }
  }
}

TEST_F(Refinement, StageTwoNeverTakesARingVertexAway) {
  for (uint64_t seed = 0; seed < 10; ++seed) {
    use(noisy(annulus(20, 6, 9), 0.7F, seed));
    mesh->hole.edge_total = 1000;
    HoleAccess::split_edge(mesh->hole, 1.2);
    release();
    for (const _edge* edge : ring) {
      EXPECT_EQ(edge->state, 8);
      EXPECT_EQ(edge->vert[0]->state, 8);
      EXPECT_EQ(edge->face_num, 2);
    }
    EXPECT_TRUE(adjacency_holds(*mesh));
    EXPECT_TRUE(all_states_default(*mesh));
  }
}

}  // namespace
