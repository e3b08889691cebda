#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <vector>

#include "scanmesh/mesh.h"
#include "tests/support/invariants.h"
#include "tests/support/shapes.h"

namespace {

using namespace test_support;
using Mesh_M::Mesh;
using Mesh_R::_face;

void append(Soup& soup, const Soup& other, Vec3f offset) {
  const int first = static_cast<int>(soup.points.size());
  for (const Vec3f& p : other.points) {
    soup.points.push_back({p.x + offset.x, p.y + offset.y, p.z + offset.z});
  }
  for (const auto& t : other.triangles) {
    soup.triangles.push_back({t[0] + first, t[1] + first, t[2] + first});
  }
}

// A sheet of 2 n x n faces, with loose triangles beside it.
Soup sheet_and_debris(int n, int loose) {
  Soup soup = flat_grid(n, 1.0F);
  for (int i = 0; i < loose; ++i)
    append(soup, single_triangle(), {100.0F + 3.0F * static_cast<float>(i), 0, 0});
  return soup;
}

std::vector<_face*> open_manifold(Mesh& mesh) {
  _face** faces = nullptr;
  int n = -1;
  mesh.open_manifold(faces, n);
  std::vector<_face*> result(faces, faces + n);
  delete[] faces;
  return result;
}

std::vector<int> states(Mesh& mesh) {
  std::vector<int> result;
  for (int i = 0; i < mesh.face.get_facenum(); ++i) result.push_back(mesh.face[i]->state);
  return result;
}

// Shells by union of faces over edges with two faces, the plain way.
std::map<int, std::vector<_face*>> plain_shells(Mesh& mesh) {
  std::map<const _face*, int> label;
  for (int i = 0; i < mesh.face.get_facenum(); ++i) {
    if (mesh.face[i]->state != Mesh_R::kStateDeleted) label[mesh.face[i]] = i;
  }
  for (bool changed = true; changed;) {
    changed = false;
    for (int i = 0; i < mesh.edge.get_edgenum(); ++i) {
      const Mesh_R::_edge* const e = mesh.edge[i];
      if (e->state == Mesh_R::kStateDeleted || e->face_num != 2) continue;
      int& a = label[e->face[0]];
      int& b = label[e->face[1]];
      if (a == b) continue;
      a = b = std::min(a, b);
      changed = true;
    }
  }
  std::map<int, std::vector<_face*>> shells;
  for (int i = 0; i < mesh.face.get_facenum(); ++i) {
    if (label.count(mesh.face[i]) != 0) shells[label[mesh.face[i]]].push_back(mesh.face[i]);
  }
  return shells;
}

TEST(OpenManifold, finds_nothing_below_200_records) {
  const auto mesh = sheet_and_debris(9, 30).mesh();
  ASSERT_EQ(mesh->face.get_facenum(), 192);
  EXPECT_TRUE(open_manifold(*mesh).empty());
}

TEST(OpenManifold, finds_the_loose_triangle_beside_a_shell_of_a_thousand) {
  Soup soup = flat_grid(23, 1.0F);
  soup.triangles.resize(1000);
  append(soup, single_triangle(), {100, 0, 0});
  const auto mesh = soup.mesh();
  const std::vector<int> before = states(*mesh);
  const std::vector<_face*> found = open_manifold(*mesh);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0], mesh->face[1000]);
  EXPECT_EQ(states(*mesh), before);
}

TEST(OpenManifold, counts_deleted_records_for_the_threshold_and_keeps_their_state) {
  // 800 faces and a strip of 4: the threshold is 4 with all records, 5 with 200 loose ones more.
  Soup soup = flat_grid(20, 1.0F);
  Soup strip = flat_grid(2, 1.0F);
  strip.triangles.resize(4);
  append(soup, strip, {100, 0, 0});
  for (const int extra : {0, 200}) {
    Soup whole = soup;
    for (int i = 0; i < extra; ++i)
      append(whole, single_triangle(), {200.0F + 3.0F * static_cast<float>(i), 0, 0});
    const auto mesh = whole.mesh();
    for (int i = 804; i < mesh->face.get_facenum(); ++i) mesh->face.dele_face(mesh->face[i]);
    const std::vector<_face*> found = open_manifold(*mesh);
    EXPECT_EQ(found.size(), extra == 0 ? 0u : 4u);
    for (int i = 804; i < mesh->face.get_facenum(); ++i) {
      EXPECT_EQ(mesh->face[i]->state, Mesh_R::kStateDeleted);
    }
    EXPECT_TRUE(adjacency_holds(*mesh));
  }
}

TEST(OpenManifold, two_shells_on_an_edge_with_three_faces_stay_apart) {
  // A fin stands on the sheet: its edge joins neither side.
  Soup soup = flat_grid(20, 1.0F);
  const int a = 21 * 10 + 10;
  soup.points.push_back({10.5F, 10, 1});
  soup.triangles.push_back({a, a + 1, static_cast<int>(soup.points.size()) - 1});
  const auto mesh = soup.mesh();
  const std::vector<_face*> found = open_manifold(*mesh);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0], mesh->face[800]);
}

TEST(OpenManifold, agrees_with_plain_shells_in_order) {
  Soup soup = irregular_patch(30, 8);
  Random random(4);
  std::vector<std::array<int, 3>> kept;
  for (const auto& t : soup.triangles) {
    if (random.below(5) > 1) kept.push_back(t);
  }
  soup.triangles = kept;
  const auto mesh = soup.mesh();
  const int threshold = static_cast<int>(mesh->face.get_facenum() * 0.005);
  ASSERT_GT(threshold, 2);
  std::set<_face*> expected;
  std::vector<int> firsts;
  for (const auto& [first, shell] : plain_shells(*mesh)) {
    if (static_cast<int>(shell.size()) < threshold) {
      expected.insert(shell.begin(), shell.end());
      firsts.push_back(first);
    }
  }
  const std::vector<_face*> found = open_manifold(*mesh);
  EXPECT_EQ(std::set<_face*>(found.begin(), found.end()), expected);
  EXPECT_EQ(found.size(), expected.size());
  // Shells in the order of their first face, which comes first in each.
  std::vector<int> places;
  for (const int first : firsts) {
    places.push_back(
        static_cast<int>(std::find(found.begin(), found.end(), mesh->face[first]) - found.begin()));
  }
  EXPECT_TRUE(std::is_sorted(places.begin(), places.end()));

  std::vector<_face*> by_slider;
  EXPECT_EQ(mesh->open_manifold_slider(by_slider, 1000000), static_cast<int>(found.size()));
  EXPECT_EQ(by_slider, found);
}

TEST(OpenManifoldSlider, is_held_down_to_half_a_percent_and_by_the_limit) {
  Soup soup = flat_grid(23, 1.0F);
  soup.triangles.resize(1000);
  append(soup, single_triangle(), {100, 0, 0});
  Soup four = flat_grid(2, 1.0F);
  four.triangles.resize(4);
  append(soup, four, {200, 0, 0});
  const auto mesh = soup.mesh();  // 1005 records: the threshold is 5
  for (const auto& [limit, expected] : std::map<int, std::size_t>{
           {0, 0}, {1, 0}, {2, 1}, {4, 1}, {5, 5}, {6, 5}, {1000, 5}, {-3, 0}}) {
    std::vector<_face*> faces;
    EXPECT_EQ(mesh->open_manifold_slider(faces, limit), static_cast<int>(expected)) << limit;
    EXPECT_EQ(faces.size(), expected) << limit;
    EXPECT_EQ(faces.capacity(), expected);
    EXPECT_TRUE(adjacency_holds(*mesh));
  }
}

TEST(OpenManifoldSlider, leaves_deleted_records_at_minus_three_and_a_second_call_puts_them_back) {
  const auto mesh = sheet_and_debris(20, 2).mesh();
  mesh->face.dele_face(mesh->face[17]);
  std::vector<_face*> faces;
  mesh->open_manifold_slider(faces, 100);
  EXPECT_EQ(mesh->face[17]->state, -Mesh_R::kStateDeleted);
  EXPECT_EQ(mesh->face[16]->state, Mesh_R::kStateLive);
  mesh->open_manifold_slider(faces, 100);
  EXPECT_EQ(mesh->face[17]->state, Mesh_R::kStateDeleted);
}

TEST(OpenManifoldSlider, appends_to_what_it_is_given) {
  const auto mesh = sheet_and_debris(20, 2).mesh();
  std::vector<_face*> faces{mesh->face[3]};
  EXPECT_EQ(mesh->open_manifold_slider(faces, 100), 3);
  EXPECT_EQ(faces[0], mesh->face[3]);
}

TEST(OpenManifoldClusters, are_indices_into_the_array_largest_first) {
  const auto mesh = sheet_and_debris(4, 3).mesh();  // 32 faces, then three loose ones
  std::vector<_face*> given{mesh->face[33], nullptr};
  for (int i = 0; i < 32; ++i) given.push_back(mesh->face[i]);
  given.push_back(mesh->face[34]);
  mesh->face.dele_face(mesh->face[32]);
  given.push_back(mesh->face[32]);
  const std::vector<int> before = states(*mesh);
  ClusterGroup<int> groups;
  const int n = static_cast<int>(given.size());
  EXPECT_EQ(mesh->open_manifold_slider(given.data(), n, groups), 3);
  ASSERT_EQ(groups.clusters.size(), 3u);
  EXPECT_EQ(groups.clusters[0], std::vector<int>{0});
  EXPECT_EQ(groups.clusters[1].size(), 32u);
  EXPECT_EQ(groups.clusters[1].front(), 2);
  EXPECT_EQ(groups.clusters[2], std::vector<int>{34});
  EXPECT_EQ(groups.order, (std::vector<int>{1, 0, 2}));
  EXPECT_EQ(groups.cumulative, (std::vector<int>{32, 33, 34}));
  EXPECT_EQ(groups.total, 34);
  EXPECT_EQ(states(*mesh), before);
}

TEST(OpenManifoldClusters, a_neighbour_outside_the_array_counts_as_index_0_and_keeps_its_mark) {
  const Soup soup = sheet_and_debris(1, 1);  // two faces with a common edge, and a loose one
  const auto apart = soup.mesh();
  // The loose face comes first in the array, the second face of the sheet isn't in it.
  _face* given[] = {apart->face[2], apart->face[0]};
  ClusterGroup<int> groups;
  EXPECT_EQ(apart->open_manifold_slider(given, 2, groups), 2);
  EXPECT_EQ(groups.clusters[0], std::vector<int>{0});
  EXPECT_EQ(groups.clusters[1], (std::vector<int>{1, 0}));
  EXPECT_EQ(groups.total, 3);
  EXPECT_EQ(apart->face[0]->state, Mesh_R::kStateLive);
  EXPECT_EQ(apart->face[1]->state, -Mesh_R::kStateLive);
  EXPECT_EQ(apart->face[2]->state, Mesh_R::kStateLive);
}

TEST(OpenManifoldClusters, of_nothing_leave_the_sums_as_they_were) {
  const auto mesh = single_triangle().mesh();
  ClusterGroup<int> groups;
  groups.total = 7;
  EXPECT_EQ(groups.arrange(), -1);
  EXPECT_EQ(mesh->open_manifold_slider(nullptr, 0, groups), 0);
  EXPECT_EQ(groups.total, 7);
  EXPECT_TRUE(groups.order.empty());
}

TEST(OpenManifoldClusters, append_to_the_groups_given) {
  const auto mesh = single_triangle().mesh();
  ClusterGroup<int> groups;
  groups.clusters.push_back({4, 5, 6});
  _face* given[] = {mesh->face[0]};
  EXPECT_EQ(mesh->open_manifold_slider(given, 1, groups), 2);
  EXPECT_EQ(groups.total, 4);
  EXPECT_EQ(groups.cumulative, (std::vector<int>{3, 4}));
}

}  // namespace
