// Runs the forms of stitching.
#ifndef SCANMESH_TESTS_PIVOTING_STITCH_RUNS_H
#define SCANMESH_TESTS_PIVOTING_STITCH_RUNS_H

#include <gtest/gtest.h>

#include <string>

#include "scanmesh/ball_pivoting.h"
#include "scanmesh/mesh.h"
#include "scanmesh/x_ball_pivoting.h"

namespace test_support {

// What a stitching prints goes here.
class Captured {
 public:
  Captured() { testing::internal::CaptureStdout(); }
  ~Captured() {
    if (!taken_) testing::internal::GetCapturedStdout();
  }
  std::string text() {
    taken_ = true;
    return testing::internal::GetCapturedStdout();
  }

 private:
  bool taken_ = false;
};

// Runs the three forms; the mesh that holds the result.
inline Mesh_M::Mesh& stitched(int form, Mesh_M::Mesh& mesh, Mesh_M::Mesh& target) {
  const Captured output;
  if (form == 0) {
    BPA::Ball_Pivoting ball;
    ball.stitchMesh(mesh);
    ball.free();
    return mesh;
  }
  xbpa::XBallPivoting ball;
  if (form == 1) {
    ball.stitchMesh(mesh);
    return mesh;
  }
  ball.stitchMesh(mesh, target);
  return target;
}

}  // namespace test_support

#endif  // SCANMESH_TESTS_PIVOTING_STITCH_RUNS_H
