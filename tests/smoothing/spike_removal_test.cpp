#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <utility>
#include <vector>

#include "scanmesh/curvature.h"
#include "tests/smoothing/plain_spikes.h"
#include "tests/support/invariants.h"
#include "tests/support/mesh_access.h"
#include "tests/support/plain_filters.h"
#include "tests/support/shapes.h"
#include "tests/support/snapshots.h"

namespace {

using namespace test_support;
using Mesh_M::MeshAccess;
using Mesh_R::_face;
using Mesh_R::_vert;

std::vector<std::array<int, 3>> triangles_of(Mesh_M::Mesh& mesh) {
  std::vector<std::array<int, 3>> triangles;
  for (int i = 0; i < mesh.face.get_facenum(); ++i) {
    const _face& f = *mesh.face[i];
    if (f.state == 3) continue;
    triangles.push_back({mesh.vertex.get_vert_no(f.vert[0]), mesh.vertex.get_vert_no(f.vert[1]),
                         mesh.vertex.get_vert_no(f.vert[2])});
  }
  return triangles;
}

// Every tenth vertex thrown off the surface, and pyramids with an apex of degree 3 on some faces.
Soup spiky(Soup soup, float height, uint64_t seed) {
  Random random(seed);
  for (std::size_t i = 7; i < soup.points.size(); i += 23) {
    soup.points[i].z += height * (1 + 0.3F * random.signed_unit());
  }
  const std::size_t faces = soup.triangles.size();
  for (std::size_t f = 11; f < faces; f += 17) {
    const auto [a, b, c] = soup.triangles[f];
    const auto at = [&](int i) { return soup.points[static_cast<std::size_t>(i)]; };
    Vec3f apex = divided(plus(plus(at(a), at(b)), at(c)), 3);
    apex.z += 0.6F * height;
    const int top = static_cast<int>(soup.points.size());
    soup.points.push_back(apex);
    soup.triangles[f] = {a, b, top};
    soup.triangles.push_back({b, c, top});
    soup.triangles.push_back({c, a, top});
  }
  return soup;
}

std::vector<_vert*> all_of(Mesh_M::Mesh& mesh) {
  std::vector<_vert*> verts;
  for (int i = 0; i < mesh.vertex.get_vertnum(); ++i) verts.push_back(mesh.vertex[i]);
  return verts;
}

TEST(SpikeRemoval, agrees_with_a_plain_reference_at_many_levels) {
  int removed = 0;
  int moved = 0;
  for (const int level : {-20, 0, 10, 50, 77, 100}) {
    for (const Soup& soup :
         {spiky(irregular_patch(16, 3), 1.5F, 1), spiky(noisy(sphere(3, 5), 0.05F, 4), 0.8F, 2)}) {
      const auto mesh = soup.mesh();
      const auto expected = soup.mesh();
      std::vector<_vert*> none;
      MeshAccess::remove_spikes(*mesh, level, none);
      PlainSpikes plain(*expected, level);
      plain.run({});
      removed += plain.removed;
      moved += plain.moved;
      EXPECT_TRUE(identical(snapshot(*mesh), snapshot(*expected))) << level;
      EXPECT_EQ(triangles_of(*mesh), triangles_of(*expected));
    }
  }
  EXPECT_GT(removed, 20);
  EXPECT_GT(moved, 500);
}

TEST(SpikeRemoval, list_starts_the_queue) {
  const Soup soup = spiky(irregular_patch(16, 3), 1.5F, 1);
  const auto mesh = soup.mesh();
  const auto expected = soup.mesh();
  std::vector<_vert*> verts;
  std::vector<_vert*> same;
  for (int i = 0; i < 200; i += 3) {
    verts.push_back(mesh->vertex[i]);
    same.push_back(expected->vertex[i]);
  }
  // Listed twice: the second entry takes the first one's mark back.
  verts.push_back(mesh->vertex[30]);
  same.push_back(expected->vertex[30]);
  MeshAccess::remove_spikes(*mesh, 60, verts);
  PlainSpikes plain(*expected, 60);
  plain.run(same);
  EXPECT_GT(plain.moved, 5);
  EXPECT_TRUE(identical(snapshot(*mesh), snapshot(*expected)));
  EXPECT_EQ(triangles_of(*mesh), triangles_of(*expected));
}

TEST(SpikeRemoval, public_forms_rebuild_the_mesh) {
  const Soup soup = spiky(irregular_patch(16, 3), 1.5F, 1);
  const auto mesh = soup.mesh();
  const auto expected = soup.mesh();
  const int vertices = mesh->vertex.get_vertnum();
  mesh->remove_spikes_new(70);
  EXPECT_TRUE(adjacency_holds(*mesh));
  PlainSpikes plain(*expected, 70);
  plain.run({});
  ASSERT_GT(plain.removed, 0);
  expected->refresh_point_index();
  int n = 0;
  int m = 0;
  float* const points = expected->getvert_poision(n);
  _face** faces = nullptr;
  int* const corners = expected->get_face_index(faces, m, 1);
  Mesh_M::Mesh rebuilt;
  rebuilt.rebuild(points, n, corners, m / 3);
  EXPECT_TRUE(identical(snapshot(*mesh), snapshot(rebuilt)));
  EXPECT_EQ(triangles_of(*mesh), triangles_of(rebuilt));
  EXPECT_LT(mesh->vertex.get_vertnum(), vertices);
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) EXPECT_EQ(mesh->vertex[i]->state, 8);
  delete[] points;
  delete[] corners;
  delete[] faces;

  const auto listed = soup.mesh();
  std::vector<_vert*> all;
  for (int i = 0; i < vertices; ++i) all.push_back(listed->vertex[i]);
  listed->remove_spikes_new(70, all);
  EXPECT_TRUE(identical(snapshot(*listed), snapshot(*mesh)));
}

TEST(SpikeRemoval, above_a_hundred_nothing_happens) {
  const auto mesh = spiky(irregular_patch(10, 3), 1.5F, 1).mesh();
  const Snapshot before = snapshot(*mesh);
  const _vert* const first = mesh->vertex[0];
  mesh->remove_spikes_new(101);
  std::vector<_vert*> verts = {mesh->vertex[50]};
  mesh->remove_spikes_new(101, verts);
  EXPECT_EQ(mesh->vertex[0], first);
  EXPECT_TRUE(identical(snapshot(*mesh), before));
}

TEST(SpikeRemoval, a_hundred_is_the_highest_level) {
  for (const bool listed : {false, true}) {
    const auto mesh = spiky(irregular_patch(10, 3), 1.5F, 1).mesh();
    const Points before = points_of(*mesh);
    mesh->vertex[30]->tag = 0x20;
    std::vector<_vert*> verts = all_of(*mesh);
    if (listed) {
      mesh->remove_spikes_new(100, verts);
    } else {
      mesh->remove_spikes_new(100);
    }
    EXPECT_FALSE(identical(points_of(*mesh), before));
    EXPECT_EQ(mesh->vertex[30]->tag, 0);
  }
}

TEST(SpikeRemoval, ends_of_edges_with_three_faces_stay) {
  // Pointed sheets over one rim.
  const auto mesh = three_sheets(4).mesh();
  const auto expected = three_sheets(4).mesh();
  std::vector<_vert*> none;
  MeshAccess::remove_spikes(*mesh, 100, none);
  PlainSpikes plain(*expected, 100);
  plain.run({});
  EXPECT_GT(plain.pops, 0U);
  EXPECT_LE(plain.pops, 12U);
  EXPECT_TRUE(identical(snapshot(*mesh), snapshot(*expected)));
  const Soup soup = three_sheets(4);
  for (int i = 0; i < 8; ++i) {
    EXPECT_TRUE(same_bits(mesh->vertex[i]->point, soup.points[static_cast<std::size_t>(i)]));
    EXPECT_EQ(mesh->vertex[i]->state, 10);
  }
}

TEST(SpikeRemoval, the_rebuild_frees_the_rings_whose_edges_go) {
  const auto mesh = irregular_patch(10, 4).mesh();
  mesh->build_hole();
  ASSERT_GT(mesh->get_hole_num(), 0);
  mesh->remove_spikes_new(50);
  EXPECT_EQ(mesh->get_hole_num(), 0);
  EXPECT_EQ(mesh->hole.holes.block, nullptr);
}

TEST(SpikeRemoval, rebuild_happens_even_if_nothing_moved) {
  const auto mesh = flat_grid(4, 1).mesh();
  mesh->vertex[12]->tag = 0x20;
  mesh->vertex[12]->state = Mesh_R::kStateHighCurvature;
  mesh->remove_spikes_new(50);
  EXPECT_EQ(mesh->vertex[12]->tag, 0);
  EXPECT_EQ(mesh->vertex[12]->state, 8);
  EXPECT_EQ(mesh->vertex.get_vertnum(), 25);
  EXPECT_EQ(mesh->face.get_facenum(), 32);
  EXPECT_TRUE(adjacency_holds(*mesh));
}

TEST(SpikeRemoval, takes_a_mesh_without_anything) {
  Mesh_M::Mesh mesh;
  mesh.remove_spikes_new(50);
  EXPECT_EQ(mesh.vertex.get_vertnum(), 0);
  EXPECT_EQ(mesh.face.get_facenum(), 0);
  // Set up by the rebuild.
  Vec3f point{1, 2, 3};
  mesh.vertex.insert_vert(point);
  mesh.remove_spikes_new(50);
  EXPECT_EQ(mesh.vertex.get_vertnum(), 1);
}

TEST(SpikeRemoval, boundary_vertices_never_move) {
  const Soup soup = spiky(irregular_patch(12, 9), 1.5F, 2);
  const auto mesh = soup.mesh();
  std::set<int> border;
  for (int i = 0; i < mesh->edge.get_edgenum(); ++i) {
    if (mesh->edge[i]->face_num == 2) continue;
    for (const _vert* v : mesh->edge[i]->vert) {
      border.insert(mesh->vertex.get_vert_no(const_cast<_vert*>(v)));
    }
  }
  // None of them beside a pyramid, whose removal would set them live.
  const Points before = points_of(*mesh);
  std::vector<_vert*> none;
  MeshAccess::remove_spikes(*mesh, 100, none);
  int frozen = 0;
  for (const int i : border) {
    if (mesh->vertex[i]->state != 10) continue;
    ++frozen;
    EXPECT_TRUE(same_bits(mesh->vertex[i]->point, before[static_cast<std::size_t>(i)]));
  }
  EXPECT_GT(frozen, 20);
}

TEST(SpikeRemoval, single_spike_goes_and_the_plane_stays) {
  Soup soup = flat_grid(8, 1);
  soup.points[40].z = 2;
  const auto mesh = soup.mesh();
  mesh->remove_spikes_new(50);
  ASSERT_EQ(mesh->vertex.get_vertnum(), 81);
  EXPECT_LT(std::fabs(mesh->vertex[40]->point.z), 0.3);
  for (int i = 0; i < 81; ++i) {
    EXPECT_LT(std::fabs(mesh->vertex[i]->point.z), 0.5) << i;
    if (std::abs(i % 9 - 4) > 2 || std::abs(i / 9 - 4) > 2) {
      EXPECT_EQ(mesh->vertex[i]->point.z, 0) << i;
    }
  }
}

// A ring of `spokes` points around an apex of height `h`, the ring inside a flat grid of fans, so
// that nothing near the apex is on the border.
Soup cone(int spokes, float h) {
  Soup soup{{{0, 0, h}}, {}};
  const auto ring = [&](float radius) {
    for (int i = 0; i < spokes; ++i) {
      const double t = 6.283185307179586 * i / spokes;
      soup.points.push_back(
          {static_cast<float>(radius * std::cos(t)), static_cast<float>(radius * std::sin(t)), 0});
    }
  };
  ring(1);
  ring(2);
  for (int i = 0; i < spokes; ++i) {
    const int next = (i + 1) % spokes;
    soup.triangles.push_back({0, 1 + i, 1 + next});
    soup.triangles.push_back({1 + i, 1 + spokes + i, 1 + spokes + next});
    soup.triangles.push_back({1 + i, 1 + spokes + next, 1 + next});
  }
  return soup;
}

TEST(SpikeRemoval, vertex_of_degree_three_is_removed_while_it_is_early) {
  const auto mesh = cone(3, 1.5F).mesh();
  mesh->remove_spikes_new(50);
  EXPECT_EQ(mesh->vertex.get_vertnum(), 6);
  EXPECT_EQ(mesh->face.get_facenum(), 7);
  EXPECT_TRUE(adjacency_holds(*mesh));
  for (int i = 0; i < mesh->face.get_facenum(); ++i) {
    EXPECT_GT(mesh->face[i]->vector.z, 0) << i;
  }
}

TEST(SpikeRemoval, vertex_of_degree_three_that_comes_last_stays) {
  // Alone on the queue the first pop is the last of the round: neither removed nor moved.
  const auto mesh = cone(3, 1.5F).mesh();
  const Points before = points_of(*mesh);
  std::vector<_vert*> verts = {mesh->vertex[0]};
  MeshAccess::remove_spikes(*mesh, 50, verts);
  EXPECT_TRUE(identical(points_of(*mesh), before));
  EXPECT_EQ(mesh->vertex[0]->face_num, 3);
}

TEST(SpikeRemoval, listed_vertex_outside_the_map_counts_as_flat) {
  // Only the apex has been measured; its ring reads (0, 0). A pit in a bent ring is judged by it.
  Soup soup = cone(6, 1.0F);
  const auto mesh = soup.mesh();
  const auto expected = soup.mesh();
  std::vector<_vert*> verts = {mesh->vertex[0]};
  MeshAccess::remove_spikes(*mesh, 0, verts);
  PlainSpikes plain(*expected, 0);
  plain.run({expected->vertex[0]});
  EXPECT_TRUE(identical(snapshot(*mesh), snapshot(*expected)));
  const auto whole = soup.mesh();
  std::vector<_vert*> none;
  MeshAccess::remove_spikes(*whole, 0, none);
  EXPECT_FALSE(identical(points_of(*whole), points_of(*mesh)));
}

TEST(SpikeRemoval, two_counting_neighbours_leave_the_middle_value) {
  // Six spokes, four of the ring frozen by a third sheet: n is 3.
  const Soup soup = cone(6, 1.0F);
  const auto prepare = [](Mesh_M::Mesh& mesh) {
    for (const int i : {2, 4}) {
      Vec3f a{3.0F * static_cast<float>(i), 9, 9};
      _vert* const fin = mesh.vertex.insert_vert(a);
      Vec3f normal{0, 0, 1};
      mesh.insert_face(mesh.vertex[i], mesh.vertex[i + 1], fin, normal);
    }
  };
  const auto mesh = soup.mesh();
  const auto expected = soup.mesh();
  prepare(*mesh);
  prepare(*expected);
  std::vector<_vert*> none;
  MeshAccess::remove_spikes(*mesh, 30, none);
  PlainSpikes(*expected, 30).run({});
  EXPECT_TRUE(identical(snapshot(*mesh), snapshot(*expected)));
  int counting = 0;
  for (int i = 1; i <= 6; ++i) counting += std::abs(mesh->vertex[i]->state) != 10;
  EXPECT_EQ(counting, 2);
}

TEST(SpikeRemoval, gates_open_with_the_level) {
  // The smallest height of a flat cone that each level answers to falls as the level rises.
  const auto least = [](int level) {
    for (int step = 1; step < 400; ++step) {
      const float h = 0.005F * static_cast<float>(step);
      const auto mesh = cone(6, h).mesh();
      std::vector<_vert*> verts = {mesh->vertex[0], mesh->vertex[1]};
      MeshAccess::remove_spikes(*mesh, level, verts);
      if (mesh->vertex[0]->point.z != h) return step;
    }
    return 400;
  };
  EXPECT_GT(least(0), least(50));
  EXPECT_GT(least(50), least(100));
  // H of such a cone against the gates themselves: 0.13 at level 0, 0.03 at level 100.
  const auto h_at = [](int step) {
    const auto mesh = cone(6, 0.005F * static_cast<float>(step)).mesh();
    return GetHK(mesh->vertex[0], true, false, false, nullptr, nullptr).first;
  };
  EXPECT_GE(h_at(least(0)), 0.13);
  EXPECT_GE(h_at(least(100)), 0.03);
}

TEST(SpikeRemoval, deleted_vertices_go_with_the_rebuild) {
  const auto mesh = irregular_patch(10, 6).mesh();
  for (const int i : {20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31, 32}) {
    mesh->face.dele_face(mesh->face[i]);
  }
  const int before = mesh->vertex.get_vertnum();
  int dead = 0;
  for (int i = 0; i < before; ++i) dead += mesh->vertex[i]->state == 3;
  mesh->remove_spikes_new(0);
  EXPECT_LE(mesh->vertex.get_vertnum(), before - dead);
  EXPECT_TRUE(adjacency_holds(*mesh));
}

}  // namespace
