// Tools and sheets for the tests of searches and trims.
#ifndef SCANMESH_TESTS_TRIMMING_TRIM_TOOLS_H
#define SCANMESH_TESTS_TRIMMING_TRIM_TOOLS_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "scanmesh/mesh.h"
#include "tests/support/shapes.h"

namespace test_support {

// A free-standing vertex: centre and axis.
inline Mesh_R::_vert tool_at(Vec3f centre, Vec3f axis = {0, 0, 1}) {
  Mesh_R::_vert tool;
  tool.point = centre;
  tool.vector = axis;
  return tool;
}

// A sheet of n x n cells around the origin, wavy by `height`, its points moved within the sheet.
inline Soup sheet(int n, float step, float height, float noise = 0, uint64_t seed = 7) {
  Soup soup = height_field(n, step, [](float, float) { return 0.0F; });
  Random random(seed);
  const float middle = 0.5F * static_cast<float>(n) * step;
  for (Vec3f& p : soup.points) {
    p.x += noise * random.signed_unit() - middle;
    p.y += noise * random.signed_unit() - middle;
    p.z = height * std::sin(0.3F * p.x) * std::cos(0.2F * p.y);
  }
  return soup;
}

// Counts of what every trim must leave clean, over all live records.
inline int marked_records(Mesh_M::Mesh& mesh) {
  int marked = 0;
  for (int i = 0; i < mesh.vertex.get_vertnum(); ++i) {
    const Mesh_R::_vert* const v = mesh.vertex[i];
    marked += v->searched || v->reached || v->order != -1;
  }
  for (int i = 0; i < mesh.face.get_facenum(); ++i) marked += mesh.face[i]->searched;
  return marked;
}

// The rings of open edges, each as its vertices; an edge that doesn't belong to a closed ring, or a
// vertex where more than two open edges meet, gives an empty entry.
inline std::vector<std::vector<const Mesh_R::_vert*>> open_rings(Mesh_M::Mesh& mesh) {
  const auto open = [](const Mesh_R::_edge* e) {
    return e->state != Mesh_R::kStateDeleted && e->face_num == 1;
  };
  std::vector<std::vector<const Mesh_R::_vert*>> rings;
  std::set<const Mesh_R::_edge*> walked;
  for (int i = 0; i < mesh.edge.get_edgenum(); ++i) {
    const Mesh_R::_edge* at = mesh.edge[i];
    if (!open(at) || walked.count(at) != 0) continue;
    std::vector<const Mesh_R::_vert*> ring;
    const Mesh_R::_vert* v = at->vert[0];
    bool clean = true;
    while (at != nullptr && walked.insert(at).second) {
      ring.push_back(v);
      v = at->vert[0] == v ? at->vert[1] : at->vert[0];
      const Mesh_R::_edge* next = nullptr;
      int count = 0;
      for (int k = 0; k < v->edge_num; ++k) {
        if (!open(v->edge[k])) continue;
        ++count;
        if (v->edge[k] != at) next = v->edge[k];
      }
      clean = clean && count == 2;
      at = next;
    }
    rings.push_back(clean && v == ring.front() ? ring : std::vector<const Mesh_R::_vert*>{});
  }
  return rings;
}

inline int crowded_edges(Mesh_M::Mesh& mesh) {
  int crowded = 0;
  for (int i = 0; i < mesh.edge.get_edgenum(); ++i) {
    const Mesh_R::_edge* const e = mesh.edge[i];
    crowded += e->state != Mesh_R::kStateDeleted && e->face_num > 2;
  }
  return crowded;
}

// What the call wrote to the standard output.
inline std::string output_of(const std::function<void()>& call) {
  testing::internal::CaptureStdout();
  call();
  return testing::internal::GetCapturedStdout();
}

}  // namespace test_support

#endif  // SCANMESH_TESTS_TRIMMING_TRIM_TOOLS_H
