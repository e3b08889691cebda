#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "tests/support/invariants.h"
#include "tests/support/plain_filters.h"
#include "tests/support/shapes.h"
#include "tests/support/snapshots.h"

namespace {

using namespace test_support;
using Mesh_M::Mesh;
using Mesh_R::_vert;

struct Sanding {
  explicit Sanding(Mesh& sanded) : mesh(sanded) { mesh.refresh_point_index(); }
  void run(int id, int level, int slot = 0, int method = 0) {
    ids = {id};
    mesh.sandpaper(static_cast<Mesh::_sandpaper_method>(method),
                   static_cast<Mesh::smooth_level>(level), ids, slot, result, done);
  }
  Mesh& mesh;
  std::vector<int> ids;
  std::vector<std::pair<float[3], float[3]>> result;
  std::vector<bool> done;
};

TEST(Sandpaper, repeats_the_mean_with_itself_once_more_than_the_level) {
  for (int level = 0; level < 4; ++level) {
    const auto mesh = irregular_patch(8, 3).mesh();
    const auto plain = irregular_patch(8, 3).mesh();
    Sanding sanding(*mesh);
    sanding.run(40, level);
    _vert* const v = plain->vertex[40];
    for (int i = 0; i <= level; ++i) {
      Vec3f sum = v->point;
      for (int k = 0; k < v->edge_num; ++k) sum = plus(sum, other_end(v->edge[k], v)->point);
      v->point = divided(sum, v->edge_num + 1);
    }
    for (int k = 0; k < v->face_num; ++k) plain->face.refresh_vector(v->face[k]);
    plain->vertex.R_cal_vector(v);
    EXPECT_TRUE(identical(snapshot(*mesh), snapshot(*plain)));
    EXPECT_TRUE(adjacency_holds(*mesh));
    ASSERT_EQ(sanding.result.size(), 1U);
    EXPECT_EQ(sanding.result[0].first[2], v->point.z);
    EXPECT_EQ(sanding.result[0].second[0], v->vector.x);
  }
}

TEST(Sandpaper, second_call_with_the_same_id_changes_nothing) {
  const auto mesh = irregular_patch(8, 3).mesh();
  Sanding sanding(*mesh);
  sanding.run(40, 1);
  const Snapshot once = snapshot(*mesh);
  sanding.run(40, 1);
  EXPECT_TRUE(identical(snapshot(*mesh), once));
  sanding.run(41, 1);
  EXPECT_FALSE(identical(snapshot(*mesh), once));
  EXPECT_EQ(sanding.done.size(), static_cast<std::size_t>(mesh->vertex.get_vertnum()));
}

TEST(Sandpaper, other_methods_only_note_the_id) {
  const auto mesh = irregular_patch(8, 3).mesh();
  Sanding sanding(*mesh);
  const Snapshot before = snapshot(*mesh);
  sanding.run(40, 1, 0, 1);
  EXPECT_TRUE(sanding.done[40]);
  EXPECT_TRUE(sanding.result.empty());
  sanding.run(40, 1);
  EXPECT_TRUE(identical(snapshot(*mesh), before));
}

TEST(Sandpaper, writes_to_the_first_entry_whatever_the_slot) {
  const auto mesh = irregular_patch(8, 3).mesh();
  Sanding sanding(*mesh);
  sanding.run(40, 0, 3);
  EXPECT_EQ(sanding.result.size(), 4U);
  EXPECT_EQ(sanding.result[0].first[0], mesh->vertex[40]->point.x);
  sanding.run(41, 0, 4);  // not fewer than slot
  EXPECT_EQ(sanding.result.size(), 4U);
  EXPECT_EQ(sanding.result[0].first[0], mesh->vertex[41]->point.x);
}

TEST(Sandpaper, goes_by_index_among_live_vertices) {
  const auto mesh = irregular_patch(8, 3).mesh();
  mesh->vertex[10]->state = Mesh_R::kStateDeleted;
  Sanding sanding(*mesh);
  const Points before = points_of(*mesh);
  sanding.run(39, 0);
  EXPECT_FALSE(same_bits(mesh->vertex[40]->point, before[40]));
  EXPECT_TRUE(same_bits(mesh->vertex[39]->point, before[39]));
}

TEST(Sandpaper, id_without_a_vertex_changes_nothing) {
  const auto mesh = irregular_patch(8, 3).mesh();
  Sanding sanding(*mesh);
  const Snapshot before = snapshot(*mesh);
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) mesh->vertex[i]->index = -1;
  sanding.run(40, 0);
  EXPECT_TRUE(sanding.done[40]);
  sanding.run(100000, 0);
  sanding.run(-5, 0);
  EXPECT_TRUE(identical(snapshot(*mesh), before));
  EXPECT_TRUE(sanding.result.empty());
}

#if defined(NDEBUG)  // asserted otherwise
TEST(Sandpaper, no_id_changes_nothing) {
  const auto mesh = irregular_patch(8, 3).mesh();
  const Snapshot before = snapshot(*mesh);
  std::vector<int> none;
  std::vector<std::pair<float[3], float[3]>> result;
  std::vector<bool> done;
  mesh->sandpaper(Mesh_M::Mesh::sandpaper_average, Mesh_M::Mesh::smooth_strong, none, 0, result,
                  done);
  EXPECT_TRUE(identical(snapshot(*mesh), before));
  EXPECT_TRUE(result.empty());
}
#endif

TEST(Sandpaper, deleted_edges_do_not_pull) {
  const auto mesh = flat_grid(2, 1).mesh();
  Sanding sanding(*mesh);
  _vert* const v = mesh->vertex[4];
  v->point.z = 1;
  for (int i = 0; i < v->edge_num; ++i) v->edge[i]->state = Mesh_R::kStateDeleted;
  sanding.run(4, 2);
  EXPECT_EQ(v->point.z, 1.0F);
}

}  // namespace
