// One validator: checks every rule between the records of a mesh, both ways.
#ifndef SCANMESH_TESTS_SUPPORT_INVARIANTS_H
#define SCANMESH_TESTS_SUPPORT_INVARIANTS_H

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <utility>

#include "scanmesh/mesh.h"

namespace test_support {

template <typename T>
long entries(T* const* list, int count, const T* wanted) {
  return list == nullptr ? 0 : std::count(list, list + count, wanted);
}

// What a mesh may hold without being broken, where what made it doesn't rule it out.
struct Allowances {
  // Files and index arrays can give a face a corner twice; what lists it then does so twice.
  bool repeated_corners = false;
  // A flip doesn't ask whether its two far corners have an edge already.
  bool parallel_edges = false;
};

class Validator {
 public:
  explicit Validator(Mesh_M::Mesh& mesh, Allowances allowed = {})
      : mesh_(mesh), allowed_(allowed) {}

  testing::AssertionResult check() {
    for (int i = 0; i < mesh_.vertex.get_vertnum(); ++i) check_vertex(*mesh_.vertex[i], i);
    for (int i = 0; i < mesh_.edge.get_edgenum(); ++i) check_edge(*mesh_.edge[i], i);
    int live = 0;
    for (int i = 0; i < mesh_.face.get_facenum(); ++i) {
      check_face(*mesh_.face[i], i);
      live += mesh_.face[i]->state != Mesh_R::kStateDeleted;
    }
    if (live != mesh_.face.real_num) fail("real_num is not the number of live faces", live);
    if (problem_.empty()) return testing::AssertionSuccess();
    return testing::AssertionFailure() << problem_;
  }

 private:
  void fail(const std::string& what, int i) {
    if (problem_.empty()) problem_ = what + " at " + std::to_string(i);
  }

  void check_vertex(const Mesh_R::_vert& v, int i) {
    if (v.state == Mesh_R::kStateDeleted) return;
    if (v.state < 0) fail("vertex with a visit mark", i);
    if (v.edge_num > v.edge_cap || v.face_num > v.face_cap) fail("list beyond its capacity", i);
    for (int k = 0; k < v.edge_num; ++k) {
      const Mesh_R::_edge& e = *v.edge[k];
      if (e.state == Mesh_R::kStateDeleted) fail("vertex lists a deleted edge", i);
      const auto ends = std::count(e.vert, e.vert + 2, &v);
      if (ends == 0) fail("vertex lists an edge that ends elsewhere", i);
      if (entries(v.edge, v.edge_num, &e) != ends) fail("vertex lists an edge twice", i);
    }
    for (int k = 0; k < v.face_num; ++k) {
      const Mesh_R::_face& f = *v.face[k];
      if (f.state == Mesh_R::kStateDeleted) fail("vertex lists a deleted face", i);
      const auto corners = std::count(f.vert, f.vert + 3, &v);
      if (corners == 0) fail("vertex lists a face without it", i);
      if (entries(v.face, v.face_num, &f) != corners) fail("vertex lists a face twice", i);
    }
  }

  void check_edge(const Mesh_R::_edge& e, int i) {
    if (e.state == Mesh_R::kStateDeleted) return;
    if (e.state < 0) fail("edge with a visit mark", i);
    if (e.face_num > e.face_cap) fail("edge's list beyond its capacity", i);
    const auto ends = std::minmax(e.vert[0], e.vert[1]);
    if (++pairs_[ends] > 1 && !allowed_.parallel_edges)
      fail("two edges between the same vertices", i);
    for (const Mesh_R::_vert* v : e.vert) {
      if (v->state == Mesh_R::kStateDeleted) fail("live edge of a deleted vertex", i);
      if (entries(v->edge, v->edge_num, &e) != std::count(e.vert, e.vert + 2, v))
        fail("edge missing at its end", i);
    }
    for (int k = 0; k < e.face_num; ++k) {
      const Mesh_R::_face& f = *e.face[k];
      if (f.state == Mesh_R::kStateDeleted) fail("edge lists a deleted face", i);
      if (std::count(f.edge, f.edge + 3, &e) == 0) fail("edge lists a face without it", i);
    }
  }

  void check_face(const Mesh_R::_face& f, int i) {
    if (f.state == Mesh_R::kStateDeleted) return;
    if (f.state < 0) fail("face with a visit mark", i);
    const bool repeats = f.vert[0] == f.vert[1] || f.vert[1] == f.vert[2] || f.vert[0] == f.vert[2];
    if (repeats && !allowed_.repeated_corners) fail("face with a corner twice", i);
    for (int k = 0; k < 3; ++k) {
      const Mesh_R::_vert* const v = f.vert[k];
      const Mesh_R::_edge* const e = f.edge[k];
      if (v->state == Mesh_R::kStateDeleted) fail("live face with a deleted corner", i);
      if (entries(v->face, v->face_num, &f) != std::count(f.vert, f.vert + 3, v))
        fail("face missing at its corner", i);
      if (e->state == Mesh_R::kStateDeleted) fail("live face with a deleted edge", i);
      if (entries(e->face, e->face_num, &f) != std::count(f.edge, f.edge + 3, e))
        fail("face missing at its edge", i);
      for (const Mesh_R::_vert* end : e->vert) {
        // For a corner with itself any edge of it was found.
        if (!repeats && std::count(f.vert, f.vert + 3, end) == 0) {
          fail("edge of a face ends elsewhere", i);
        }
      }
    }
  }

  Mesh_M::Mesh& mesh_;
  Allowances allowed_;
  std::map<std::pair<const Mesh_R::_vert*, const Mesh_R::_vert*>, int> pairs_;
  std::string problem_;
};

inline testing::AssertionResult adjacency_holds(Mesh_M::Mesh& mesh, Allowances allowed = {}) {
  return Validator(mesh, allowed).check();
}

}  // namespace test_support

#endif  // SCANMESH_TESTS_SUPPORT_INVARIANTS_H
