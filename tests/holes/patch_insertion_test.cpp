#include "holes/patch_insertion.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
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

void add_unless_there(vector<_face*>& list, _face* face) {
  if (std::find(list.rbegin(), list.rend(), face) == list.rend()) list.push_back(face);
}

vector<_face*> plain_faces_at(const vector<_vert*>& ring) {
  vector<_face*> faces;
  for (const _vert* v : ring) {
    for (int i = 0; i < v->face_num; ++i) add_unless_there(faces, v->face[i]);
  }
  return faces;
}

vector<_face*> plain_grow(vector<_face*> region, int rounds) {
  for (int round = 0; round < rounds; ++round) {
    const vector<_face*> frontier = region;
    region.clear();
    for (const _face* face : frontier) {
      for (const _vert* v : face->vert) {
        for (int i = 0; i < v->face_num; ++i) {
          const _face* const f = v->face[i];
          if (f->edge[0]->face_num == 1 && f->edge[1]->face_num == 1 && f->edge[2]->face_num == 1) {
            continue;
          }
          add_unless_there(region, v->face[i]);
        }
      }
    }
  }
  return region;
}

TEST(Region, AgreesWithABackwardLinearSearch) {
  for (uint64_t seed = 0; seed < 8; ++seed) {
    const auto mesh = irregular_patch(16, seed).mesh();
    mesh->build_hole();
    for (int i = 0; i < mesh->get_hole_num(); ++i) {
      if (mesh->hole[i] == nullptr) continue;
      vector<_vert*> ring;
      for (const _edge* edge : edges_of(mesh->hole[i])) ring.push_back(edge->vert[0]);
      const vector<_face*> seed_faces = scanmesh::faces_at(ring);
      ASSERT_EQ(seed_faces, plain_faces_at(ring));
      for (const int rounds : {0, 1, 4, 5}) {
        ASSERT_EQ(scanmesh::grow_region(seed_faces, rounds), plain_grow(seed_faces, rounds));
      }
    }
    EXPECT_TRUE(all_states_default(*mesh));
  }
}

TEST(Region, FaceThatHangsOnNothingIsLeftOutWhenGrowing) {
  const auto mesh = single_triangle().mesh();
  const vector<_vert*> ring = {mesh->vertex[0], mesh->vertex[1], mesh->vertex[2]};
  EXPECT_EQ(scanmesh::faces_at(ring).size(), 1U);
  EXPECT_TRUE(scanmesh::grow_region(scanmesh::faces_at(ring), 1).empty());
  EXPECT_TRUE(all_states_default(*mesh));
}

_vert* plain_match(const vector<_vert*>& ring, const Mesh_M::MyPoint3& p) {
  for (_vert* v : ring) {
    if (std::fabs(v->point.x - p.x) <= 0.001 && std::fabs(v->point.y - p.y) <= 0.001 &&
        std::fabs(v->point.z - p.z) <= 0.001) {
      return v;
    }
  }
  _vert* best = nullptr;
  double least = 0;
  for (_vert* v : ring) {
    const double dx = v->point.x - p.x;
    const double dy = v->point.y - p.y;
    const double dz = v->point.z - p.z;
    const double d = dx * dx + dy * dy + dz * dz;
    if (best == nullptr || d < least) {
      best = v;
      least = d;
    }
  }
  return best;
}

TEST(RingMatch, AgreesWithALinearSearchAtEveryScale) {
  Random random(3);
  for (const float scale : {0.0005F, 0.002F, 0.05F, 10.0F, 1e30F}) {
    vector<_vert> records(300);
    vector<_vert*> ring;
    for (_vert& v : records) {
      v.point = {scale * random.signed_unit(), scale * random.signed_unit(),
                 scale * random.signed_unit()};
      ring.push_back(&v);
    }
    const scanmesh::RingMatcher matcher(ring);
    for (int i = 0; i < 2000; ++i) {
      const Vec3f& near = ring[static_cast<std::size_t>(random.below(300))]->point;
      const Mesh_M::MyPoint3 p = {near.x + 0.0015 * random.signed_unit(),
                                  near.y + 0.0015 * random.signed_unit(),
                                  near.z + 0.0015 * random.signed_unit()};
      ASSERT_EQ(matcher.match(p), plain_match(ring, p));
    }
  }
}

TEST(RingMatch, TakesTheFirstWithinToleranceBeforeANearerOne) {
  _vert a;
  _vert b;
  a.point = {0, 0, 0};
  b.point = {0.0005F, 0, 0};
  const vector<_vert*> ring = {&a, &b};
  const scanmesh::RingMatcher matcher(ring);
  EXPECT_EQ(matcher.match({0.0005, 0, 0}), &a);
  EXPECT_EQ(matcher.match({0.001, 0, 0}), &a);
  EXPECT_EQ(matcher.match({0.0011, 0, 0}), &b);
}

TEST(RingMatch, EquallyNearPlacesGoToTheEarlier) {
  _vert a;
  _vert b;
  a.point = {-1, 0, 0};
  b.point = {1, 0, 0};
  const vector<_vert*> ring = {&a, &b};
  EXPECT_EQ(scanmesh::RingMatcher(ring).match({0, 0, 0}), &a);
}

class Patch : public testing::Test {
 protected:
  void SetUp() override {
    mesh->build_hole();
    ring = edges_of(mesh->hole[0]);
    mesh->hole.Determine_fill_hole();
  }
  int fill(float mean = 1.0F) {
    return HoleAccess::patch(mesh->hole, ring.data(), static_cast<int>(ring.size()), mean, nullptr,
                             0);
  }

  std::unique_ptr<Mesh_M::Mesh> mesh = capped_sphere(4, 10.0F, 7.0F).mesh();
  vector<_edge*> ring;
};

TEST_F(Patch, NullEdgesGiveZero) {
  EXPECT_EQ(HoleAccess::patch(mesh->hole, nullptr, 5, 1.0F, nullptr, 0), 0);
}

TEST_F(Patch, FailureGivesMinusOneAndLeavesTheMesh) {
  const int faces = mesh->face.real_num;
  const int edges = mesh->edge.get_edgenum();
  EXPECT_EQ(HoleAccess::patch(mesh->hole, ring.data(), 2, 1.0F, nullptr, 0), -1);
  EXPECT_EQ(HoleAccess::patch(mesh->hole, ring.data(), 0, 1.0F, nullptr, 0), -1);
  EXPECT_EQ(mesh->face.real_num, faces);
  EXPECT_EQ(mesh->edge.get_edgenum(), edges);
  EXPECT_TRUE(all_states_default(*mesh));
}

TEST_F(Patch, NewVerticesCarryTheMarkOfAFill) {
  const int first = mesh->vertex.get_vertnum();
  EXPECT_GE(fill(), 0);
  ASSERT_GT(mesh->vertex.get_vertnum(), first);
  EXPECT_EQ(mesh->hole.added_verts.size(), mesh->vertex.get_vertnum() - first);
  for (int i = first; i < mesh->vertex.get_vertnum(); ++i) {
    const _vert* const v = mesh->vertex[i];
    EXPECT_EQ(v->flags, -65528);
    EXPECT_EQ(static_cast<uint32_t>(v->flags), 0xffff0008U);
    EXPECT_EQ(v->order, -1);
    EXPECT_FALSE(v->searched);
    EXPECT_FALSE(v->reached);
  }
}

TEST_F(Patch, CornersOfFacesAtTheRingAreFlagged) {
  const int first = mesh->vertex.get_vertnum();
  for (int i = 0; i < first; ++i) mesh->vertex[i]->flags = 5;
  vector<_vert*> ring_verts;
  for (const _edge* edge : ring) ring_verts.insert(ring_verts.end(), edge->vert, edge->vert + 2);
  std::set<const _vert*> expected;
  for (const _face* face : plain_faces_at(ring_verts)) expected.insert(face->vert, face->vert + 3);
  fill();
  for (int i = 0; i < first; ++i) {
    EXPECT_EQ(static_cast<uint32_t>(mesh->vertex[i]->flags),
              expected.count(mesh->vertex[i]) != 0 ? 0xffff0005U : 5U);
  }
}

TEST_F(Patch, RefusedPatchLeavesTheFlagsOnly) {
  mesh->vertex[mesh->vertex.get_vert_no(ring[0]->vert[0])]->flags = 0;
  HoleAccess::patch(mesh->hole, ring.data(), 2, 1.0F, nullptr, 0);
  EXPECT_EQ(static_cast<uint32_t>(ring[0]->vert[0]->flags), 0xffff0000U);
}

TEST_F(Patch, FacesAreListedAndEdgesAreNot) {
  const int first = mesh->face.get_facenum();
  fill();
  ASSERT_GT(mesh->face.get_facenum(), first);
  EXPECT_EQ(mesh->hole.added_faces.size(), mesh->face.get_facenum() - first);
  EXPECT_EQ(mesh->hole.added_edges.size(), 0);
  for (int i = first; i < mesh->face.get_facenum(); ++i) {
    const _face* const face = mesh->face[i];
    EXPECT_EQ(mesh->hole.added_faces[i - first], face);
    const auto at = [face](int k) { return face->vert[k]; };
    EXPECT_EQ(face->edge[0], mesh->vertex.find_edge(at(0), at(1)));
    EXPECT_EQ(face->edge[1], mesh->vertex.find_edge(at(0), at(2)));
    EXPECT_EQ(face->edge[2], mesh->vertex.find_edge(at(1), at(2)));
  }
  EXPECT_TRUE(adjacency_holds(*mesh));
  EXPECT_EQ(odd_edge_count(*mesh), 0);
}

TEST_F(Patch, RingVerticesKeepTheNormalOfTheLastFaceThatTouchedThem) {
  const int first = mesh->face.get_facenum();
  fill();
  for (const _edge* edge : ring) {
    const _vert* const v = edge->vert[0];
    const _face* last = nullptr;
    for (int i = first; i < mesh->face.get_facenum(); ++i) {
      const _face* const face = mesh->face[i];
      if (std::count(face->vert, face->vert + 3, v) != 0) last = face;
    }
    ASSERT_NE(last, nullptr);
    EXPECT_EQ(v->vector.x, last->vector.x);
    EXPECT_EQ(v->vector.y, last->vector.y);
    EXPECT_EQ(v->vector.z, last->vector.z);
  }
}

TEST_F(Patch, FacesTheSameWayAsItsSurroundings) {
  const int first = mesh->face.get_facenum();
  fill();
  ASSERT_GT(mesh->face.get_facenum(), first);
  for (int i = first; i < mesh->face.get_facenum(); ++i) {
    const _face* const face = mesh->face[i];
    // The corner order, not only the normal, runs counter-clockwise seen from outside.
    const Vec3f& a = face->vert[0]->point;
    const Vec3f& b = face->vert[1]->point;
    const Vec3f& c = face->vert[2]->point;
    const double nz =
        static_cast<double>(a.x - b.x) * (b.y - c.y) - static_cast<double>(a.y - b.y) * (b.x - c.x);
    EXPECT_GT(nz, 0);
  }
}

TEST_F(Patch, ReversedRingGivesTheSameSide) {
  std::reverse(ring.begin(), ring.end());
  const int first = mesh->face.get_facenum();
  fill();
  ASSERT_GT(mesh->face.get_facenum(), first);
  for (int i = first; i < mesh->face.get_facenum(); ++i) {
    EXPECT_GT(mesh->face[i]->vector.z, 0);
  }
}

TEST_F(Patch, GivenVerticesReplaceTheRing) {
  vector<_vert*> part;
  _vert* v = ring[0]->vert[0];
  if (v == ring[1]->vert[0] || v == ring[1]->vert[1]) v = ring[0]->vert[1];
  for (std::size_t i = 0; i < 5; ++i) {
    part.push_back(v);
    v = ring[i]->vert[0] == v ? ring[i]->vert[1] : ring[i]->vert[0];
  }
  const int faces = mesh->face.real_num;
  const int result = HoleAccess::patch(mesh->hole, ring.data(), static_cast<int>(ring.size()), 1.0F,
                                       part.data(), 5);
  EXPECT_GE(result, 0);
  EXPECT_GT(mesh->face.real_num, faces);
  for (const _face* face : entries_of(mesh->hole.added_faces)) {
    for (_vert* corner : face->vert) {
      const bool known = std::count(part.begin(), part.end(), corner) != 0;
      const auto added = entries_of(mesh->hole.added_verts);
      EXPECT_TRUE(known || std::count(added.begin(), added.end(), corner) != 0);
    }
  }
}

}  // namespace
