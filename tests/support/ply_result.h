// What the PLY reader makes of bytes.
#ifndef SCANMESH_TESTS_SUPPORT_PLY_RESULT_H
#define SCANMESH_TESTS_SUPPORT_PLY_RESULT_H

#include <sstream>
#include <string>
#include <vector>

#include "scanmesh/ply_reader.h"
#include "tests/support/messages.h"
#include "tests/support/ply_files.h"

namespace test_support {

struct PlyResult {
  bool sound = false;
  int options = 0;
  std::string messages;
  ply_reader_writer::TriMeshData data;

  std::vector<float> xyz() const { return {data.xyz, data.xyz + 3 * data.nb_vertex}; }
  std::vector<float> rgba() const { return {data.rgba, data.rgba + 4 * data.nb_vertex}; }
  std::vector<int> corners() const { return {data.faceindex, data.faceindex + 3 * data.nb_face}; }
  std::vector<float> texture() const { return {data.faceuv, data.faceuv + 6 * data.nb_face}; }
};

inline void read_ply(const std::string& bytes, PlyResult& result) {
  std::istringstream stream(bytes);
  ply_reader_writer::Options options;
  ply_reader_writer::PLY_Reader reader;
  const Messages messages;
  result.sound = reader.read(stream, result.data, options);
  result.messages = messages.text();
  result.options = options;
}

inline std::string triangle_rows(PlyForm form) {
  PlyBodyText body(form);
  body.all({0.F, 0.F, 0.F}).end_row().all({1.5F, 0.F, 0.F}).end_row();
  body.all({0.F, -2.25F, 1e-3F}).end_row().list({0, 1, 2}).end_row();
  return body.bytes();
}

}  // namespace test_support

#endif  // SCANMESH_TESTS_SUPPORT_PLY_RESULT_H
