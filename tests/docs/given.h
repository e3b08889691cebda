// What the code blocks of the documentation find in place: "<!-- given: scan -->" before a block
// puts GIVEN_scan in front of it.
#ifndef SCANMESH_TESTS_DOCS_GIVEN_H
#define SCANMESH_TESTS_DOCS_GIVEN_H

#include <cstdio>
#include <memory>
#include <vector>

#include "scanmesh/scanmesh.h"

namespace docs {

// A sphere with a hole, loaded from "scan.stl" of the working directory; normals are there.
void load_scan(Mesh_M::Mesh& mesh);

// Oriented samples of a sphere, in the two forms that the reconstructors take.
struct Samples {
  Samples();
  std::vector<float> points;
  std::vector<float> normals;
  int count = 0;
  MemS::MemAllo<float[3]> point_array() const { return array_of(points); }
  MemS::MemAllo<float[3]> normal_array() const { return array_of(normals); }

 private:
  static MemS::MemAllo<float[3]> array_of(const std::vector<float>& values);
};

}  // namespace docs

#define GIVEN_scan   \
  Mesh_M::Mesh mesh; \
  docs::load_scan(mesh);

#define GIVEN_selection                                                 \
  std::vector<Mesh_R::_face*> selection = {mesh.face[0], mesh.face[1]}; \
  const int selected = 2;

#define GIVEN_point_arrays                                  \
  const docs::Samples samples;                              \
  MemS::MemAllo<float[3]> points = samples.point_array();   \
  MemS::MemAllo<float[3]> normals = samples.normal_array(); \
  const int count = samples.count;                          \
  const float spacing = 0.6F;

#define GIVEN_samples                                   \
  docs::Samples samples;                                \
  float* const sample_points = samples.points.data();   \
  float* const sample_normals = samples.normals.data(); \
  const int count = samples.count;                      \
  const float half = 0.4F;

#endif  // SCANMESH_TESTS_DOCS_GIVEN_H
