// Reaches the private operations of the hole finder, and reads its lists.
#ifndef SCANMESH_TESTS_SUPPORT_HOLE_ACCESS_H
#define SCANMESH_TESTS_SUPPORT_HOLE_ACCESS_H

#include <set>
#include <vector>

#include "scanmesh/mesh.h"

namespace Mesh_R {

struct HoleAccess {
  static void fill_num(Hole& hole, float f, int number, int rings3) {
    hole.fill_Hole_Num(f, number, rings3);
  }
  static void clip(Hole& hole, std::vector<_edge*> edges, bool check_angle_sum = false) {
    hole.Minimum_angle_wavefront_method(edges.data(), static_cast<int>(edges.size()),
                                        check_angle_sum);
  }
  static void clip_null(Hole& hole, int n) {
    hole.Minimum_angle_wavefront_method(nullptr, n, false);
  }
  static int patch(Hole& hole, _edge** edges, int n, float mean, _vert** verts, int count) {
    return hole.MinmumAngleWaveFront(edges, n, mean, verts, count);
  }
  static void split_edge(Hole& hole, double target) { hole.split_edge(target); }
  static void vert_angle(Hole& hole, _vert* vert) { hole.calVertAngle(vert); }
  static double min_angle(Hole& hole, std::vector<_vert*>& list, int& index) {
    return hole.calMinAng(list, index);
  }
  static bool vert_distance(Hole& hole, const MemS::Point3v<float>& point,
                            const std::vector<_vert*>& list, double radius, int& index) {
    return hole.calVertDistance(point, 0, list, radius, index);
  }
  static MemS::Point3v<float> normal(Hole& hole, const MemS::Point3v<float>& a,
                                     const MemS::Point3v<float>& b) {
    return hole.calNormal(a, b);
  }
};

}  // namespace Mesh_R

namespace test_support {

template <typename T>
std::vector<T> entries_of(MemS::MemAllo<T>& list) {
  std::vector<T> out;
  for (int i = 0; i < list.size(); ++i) out.push_back(list[i]);
  return out;
}

inline std::vector<Mesh_R::_edge*> edges_of(const Mesh_R::_hole* ring) {
  return entries_of(*ring->edges);
}

// Numbers of the ring's edges in the store.
inline std::vector<int> edge_numbers(Mesh_M::Mesh& mesh, const Mesh_R::_hole* ring) {
  std::vector<int> out;
  for (Mesh_R::_edge* edge : edges_of(ring)) out.push_back(mesh.edge.get_edge_no(edge));
  return out;
}

// The lengths of all rings that are there, by cell; 0 for an empty cell.
inline std::vector<int> ring_lengths(Mesh_M::Mesh& mesh) {
  std::vector<int> out;
  for (int i = 0; i < mesh.get_hole_num(); ++i) {
    out.push_back(mesh.hole[i] == nullptr ? 0 : mesh.hole[i]->edges->size());
  }
  return out;
}

inline Mesh_R::_edge* edge_between(Mesh_M::Mesh& mesh, int a, int b) {
  return mesh.vertex.find_edge(mesh.vertex[a], mesh.vertex[b]);
}

// Whether every record that isn't deleted is back in its default state.
inline bool all_states_default(Mesh_M::Mesh& mesh) {
  const auto fine = [](int state) {
    return state == Mesh_R::kStateLive || state == Mesh_R::kStateDeleted;
  };
  bool all = true;
  for (int i = 0; i < mesh.vertex.get_vertnum(); ++i) all = all && fine(mesh.vertex[i]->state);
  for (int i = 0; i < mesh.edge.get_edgenum(); ++i) all = all && fine(mesh.edge[i]->state);
  for (int i = 0; i < mesh.face.get_facenum(); ++i) all = all && fine(mesh.face[i]->state);
  return all;
}

inline int open_edge_count(Mesh_M::Mesh& mesh) {
  int count = 0;
  for (int i = 0; i < mesh.edge.get_edgenum(); ++i) {
    count += mesh.edge[i]->face_num == 1 && mesh.edge[i]->state != Mesh_R::kStateDeleted;
  }
  return count;
}

inline int odd_edge_count(Mesh_M::Mesh& mesh) {
  int count = 0;
  for (int i = 0; i < mesh.edge.get_edgenum(); ++i) {
    count += mesh.edge[i]->face_num != 2 && mesh.edge[i]->state != Mesh_R::kStateDeleted;
  }
  return count;
}

}  // namespace test_support

#endif  // SCANMESH_TESTS_SUPPORT_HOLE_ACCESS_H
