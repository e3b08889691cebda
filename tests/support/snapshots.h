// What a filter may change, as values that compare bit for bit.
#ifndef SCANMESH_TESTS_SUPPORT_SNAPSHOTS_H
#define SCANMESH_TESTS_SUPPORT_SNAPSHOTS_H

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "scanmesh/mesh.h"

namespace test_support {

using Points = std::vector<MemS::Point3v<float>>;

inline Points points_of(Mesh_M::Mesh& mesh) {
  Points points;
  for (int i = 0; i < mesh.vertex.get_vertnum(); ++i) points.push_back(mesh.vertex[i]->point);
  return points;
}
inline Points vertex_normals_of(Mesh_M::Mesh& mesh) {
  Points normals;
  for (int i = 0; i < mesh.vertex.get_vertnum(); ++i) normals.push_back(mesh.vertex[i]->vector);
  return normals;
}
inline Points face_normals_of(Mesh_M::Mesh& mesh) {
  Points normals;
  for (int i = 0; i < mesh.face.get_facenum(); ++i) normals.push_back(mesh.face[i]->vector);
  return normals;
}
inline std::vector<int> vertex_states_of(Mesh_M::Mesh& mesh) {
  std::vector<int> states;
  for (int i = 0; i < mesh.vertex.get_vertnum(); ++i) states.push_back(mesh.vertex[i]->state);
  return states;
}

inline bool same_bits(const MemS::Point3v<float>& a, const MemS::Point3v<float>& b) {
  return std::memcmp(&a, &b, sizeof(a)) == 0;
}

// Bit for bit, NaN and the sign of zero included.
inline testing::AssertionResult identical(const Points& a, const Points& b) {
  if (a.size() != b.size()) return testing::AssertionFailure() << a.size() << " and " << b.size();
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (same_bits(a[i], b[i])) continue;
    return testing::AssertionFailure()
           << "at " << i << ": (" << a[i].x << ", " << a[i].y << ", " << a[i].z << ") and ("
           << b[i].x << ", " << b[i].y << ", " << b[i].z << ")";
  }
  return testing::AssertionSuccess();
}

// Everything a whole filter can change at once.
struct Snapshot {
  Points points;
  Points vertex_normals;
  Points face_normals;
  std::vector<int> states;
};
inline Snapshot snapshot(Mesh_M::Mesh& mesh) {
  return {points_of(mesh), vertex_normals_of(mesh), face_normals_of(mesh), vertex_states_of(mesh)};
}
inline testing::AssertionResult identical(const Snapshot& a, const Snapshot& b) {
  for (const auto& result :
       {identical(a.points, b.points), identical(a.vertex_normals, b.vertex_normals),
        identical(a.face_normals, b.face_normals)}) {
    if (!result) return result;
  }
  if (a.states != b.states) return testing::AssertionFailure() << "states differ";
  return testing::AssertionSuccess();
}

// Collects the reports of a mesh.
struct Reports {
  explicit Reports(Mesh_M::Mesh& mesh) {
    mesh.setProcessStepCallback([this](qv::alg::ProcessStepInfoType& info) {
      steps.push_back(info.step);
      counts.push_back(info.step_count);
      plain = plain && info.message.empty() && info.stage == 1 && info.stage_count == 1;
      return 0;
    });
  }
  std::vector<int> steps;
  std::vector<int> counts;
  bool plain = true;
};

}  // namespace test_support

#endif  // SCANMESH_TESTS_SUPPORT_SNAPSHOTS_H
