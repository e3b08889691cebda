// Turning faces that look the other way than the vertices around them.
#include <gtest/gtest.h>

#include <cstdint>
#include <utility>
#include <vector>

#include "scanmesh/mesh.h"
#include "tests/support/invariants.h"
#include "tests/support/shapes.h"

namespace {

using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;
using test_support::adjacency_holds;
using test_support::Vec3f;

TEST(CheckVector, turns_one_flipped_face_of_a_closed_mesh) {
  auto mesh = test_support::sphere(2, 10).mesh();
  _face* const f = mesh->face[17];
  const std::vector<_edge*> edges(f->edge, f->edge + 3);
  _vert* const first = f->vert[0];
  _vert* const second = f->vert[1];
  std::swap(f->vert[0], f->vert[1]);
  f->vector = {-f->vector.x, -f->vector.y, -f->vector.z};
  mesh->inlin_inalize_mesh();
  EXPECT_EQ(f->vert[0], first);
  EXPECT_EQ(f->vert[1], second);
  EXPECT_EQ(std::vector<_edge*>(f->edge, f->edge + 3), edges);
  for (int i = 0; i < mesh->face.get_facenum(); ++i) {
    const _face& face = *mesh->face[i];
    EXPECT_EQ(face.state, 8);
    const Vec3f& p = face.vert[0]->point;
    EXPECT_GT(p.x * face.vector.x + p.y * face.vector.y + p.z * face.vector.z, 0);
  }
  EXPECT_TRUE(adjacency_holds(*mesh));
}

// The rule as it is told, face by face and round by round, without the short cut for a clean mesh.
void plain_check_vector(Mesh_M::Mesh& mesh, int rounds = 6) {
  const auto away = [](const _face& f) {
    const Vec3f& a = f.vert[0]->vector;
    const Vec3f& b = f.vert[1]->vector;
    const Vec3f& c = f.vert[2]->vector;
    const Vec3f sum{a.x + b.x + c.x, a.y + b.y + c.y, a.z + b.z + c.z};
    return sum.x * f.vector.x + sum.y * f.vector.y + sum.z * f.vector.z < 0;
  };
  const auto flip = [&](_face& f) {
    f.vector = {-f.vector.x, -f.vector.y, -f.vector.z};
    std::swap(f.vert[0], f.vert[1]);
    for (_vert* v : f.vert) {
      if (v->state == 3) continue;
      mesh.vertex.R_cal_vector(v);
      for (int k = 0; k < v->face_num; ++k) {
        if (v->face[k]->state > 0) v->face[k]->state = static_cast<int16_t>(-v->face[k]->state);
      }
    }
  };
  for (int i = 0; i < mesh.face.get_facenum(); ++i) {
    _face& f = *mesh.face[i];
    if (f.state != 3 && away(f)) flip(f);
  }
  for (int round = 0; round < rounds; ++round) {
    for (int i = 0; i < mesh.face.get_facenum(); ++i) {
      _face& f = *mesh.face[i];
      if (f.state >= 1) continue;
      if (away(f)) {
        flip(f);
      } else {
        f.state = static_cast<int16_t>(-f.state);
      }
    }
  }
  for (int i = 0; i < mesh.face.get_facenum(); ++i) {
    _face& f = *mesh.face[i];
    if (f.state < 0) f.state = static_cast<int16_t>(-f.state);
  }
}

// Which way the faces look.
std::vector<float> turned(Mesh_M::Mesh& mesh) {
  std::vector<float> z;
  for (int i = 0; i < mesh.face.get_facenum(); ++i) z.push_back(mesh.face[i]->vector.z);
  return z;
}

TEST(CheckVector, ends_after_six_rounds_of_repair) {
  const auto scrambled = [](uint64_t seed) {
    auto mesh = test_support::irregular_patch(24, seed).mesh();
    test_support::Random random(seed + 100);
    for (int i = 0; i < mesh->face.get_facenum(); ++i) {
      if (random.below(100) >= 47) continue;
      _face& f = *mesh->face[i];
      std::swap(f.vert[0], f.vert[1]);
      f.vector = {-f.vector.x, -f.vector.y, -f.vector.z};
    }
    mesh->vertex.R_cal_vector();
    return mesh;
  };
  int one_less = 0;
  int one_more = 0;
  for (uint64_t seed = 0; seed < 40; ++seed) {
    const auto ours = scrambled(seed);
    ours->face.check_vector();
    std::vector<float> plain[3];
    for (int i = 0; i < 3; ++i) {
      const auto mesh = scrambled(seed);
      plain_check_vector(*mesh, 5 + i);
      plain[i] = turned(*mesh);
    }
    EXPECT_EQ(turned(*ours), plain[1]) << seed;
    one_less += plain[0] != plain[1] ? 1 : 0;
    one_more += plain[2] != plain[1] ? 1 : 0;
  }
  EXPECT_GT(one_less, 0);
  EXPECT_GT(one_more, 0);
}

TEST(CheckVector, equals_the_plain_rounds_on_a_scrambled_mesh) {
  const auto scrambled = [] {
    auto mesh = test_support::irregular_patch(24, 5).mesh();
    test_support::Random random(9);
    for (int i = 0; i < mesh->face.get_facenum(); ++i) {
      if (random.below(3) != 0) continue;
      _face& f = *mesh->face[i];
      std::swap(f.vert[0], f.vert[1]);
      f.vector = {-f.vector.x, -f.vector.y, -f.vector.z};
    }
    mesh->vertex.R_cal_vector();
    return mesh;
  };
  auto ours = scrambled();
  auto plain = scrambled();
  ours->face.check_vector();
  plain_check_vector(*plain);
  ASSERT_EQ(ours->face.get_facenum(), plain->face.get_facenum());
  for (int i = 0; i < ours->face.get_facenum(); ++i) {
    const _face& f = *ours->face[i];
    const _face& g = *plain->face[i];
    EXPECT_EQ(f.state, g.state);
    EXPECT_EQ(f.vector.z, g.vector.z);
    for (int k = 0; k < 3; ++k) {
      EXPECT_EQ(ours->vertex.get_vert_no(f.vert[k]), plain->vertex.get_vert_no(g.vert[k]));
    }
  }
}

}  // namespace
