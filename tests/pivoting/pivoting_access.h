// Reaches the private operations of the reconstructors, and compares their meshes.
#ifndef SCANMESH_TESTS_PIVOTING_PIVOTING_ACCESS_H
#define SCANMESH_TESTS_PIVOTING_PIVOTING_ACCESS_H

#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "pivoting/ball_pivoting_traits.h"
#include "pivoting/x_ball_pivoting_traits.h"
#include "scanmesh/ball_pivoting.h"
#include "scanmesh/mesh.h"
#include "tests/pivoting/point_clouds.h"
#include "tests/pivoting/reference_pivoting.h"

namespace BPA {

struct BallPivotingAccess {
  static constexpr int kRadii = Ball_Pivoting::radsize;
  static bool find_seed(Ball_Pivoting& self, BallPivotingTraits::Node& node, Mesh_R::_face*& out) {
    return self.FindSeed(&node, out);
  }
  static bool find_place(Ball_Pivoting& self, Mesh_R::_edge* edge, Mesh_R::_vert*& out,
                         MemS::Point3v<float>& normal) {
    return self.FindPlace(edge, out, normal);
  }
  template <typename... Arguments>
  static void find_places(Ball_Pivoting& self, Arguments... arguments) {
    self._FindPlace(arguments...);
  }
  static bool find_sphere(Ball_Pivoting& self, Mesh_R::_vert* p, Mesh_R::_vert* a, Mesh_R::_vert* b,
                          scanmesh::Ball& ball) {
    return self.FindSphere(p, a, b, ball.centre, ball.normal, ball.r_sq, ball.circ_sq);
  }
  static bool check(Ball_Pivoting& self, Mesh_R::_edge* edge) { return self.CheckEdge(edge); }
  static bool check(Ball_Pivoting& self, Mesh_R::_edge* edge, Mesh_R::_vert* vert) {
    return self.CheckEdge(edge, vert);
  }
  static Mesh_R::_face* insert_face(Ball_Pivoting& self, Mesh_R::_vert* a, Mesh_R::_vert* b,
                                    Mesh_R::_vert* c, MemS::Point3v<float> normal) {
    return self.insert_face(a, b, c, normal);
  }
};

}  // namespace BPA

namespace xbpa {

struct XBallPivotingAccess {
  static bool find_seed(XBallPivoting& self, XPointNode& node, Mesh_R::_face*& out, int task) {
    return self.FindSeed(&node, out, task);
  }
  static bool find_place(XBallPivoting& self, Mesh_R::_edge* edge, Mesh_R::_vert*& out,
                         MemS::Point3v<float>& normal, int task) {
    return self.FindPlace(edge, out, normal, task);
  }
  template <typename... Arguments>
  static void find_places(XBallPivoting& self, Arguments... arguments) {
    self._FindPlace(arguments...);
  }
  static bool find_sphere(XBallPivoting& self, Mesh_R::_vert* p, Mesh_R::_vert* a, Mesh_R::_vert* b,
                          scanmesh::Ball& ball) {
    return self.FindSphere(p, a, b, ball.centre, ball.normal, ball.r_sq, ball.circ_sq);
  }
  static bool check(XBallPivoting& self, Mesh_R::_edge* edge) { return self.CheckEdge(edge); }
  static bool check(XBallPivoting& self, Mesh_R::_edge* edge, Mesh_R::_vert* vert) {
    return self.CheckEdge(edge, vert);
  }
  static Mesh_R::_face* insert_face(XBallPivoting& self, Mesh_R::_vert* a, Mesh_R::_vert* b,
                                    Mesh_R::_vert* c, MemS::Point3v<float> normal) {
    return self.insert_face(a, b, c, normal);
  }
};

}  // namespace xbpa

namespace test_support {

// A live face: its corners by number, and its normal.
struct PlainFace {
  std::array<int, 3> corners;
  std::array<float, 3> normal;
  bool operator==(const PlainFace& other) const {
    return corners == other.corners && normal == other.normal;
  }
};

inline void PrintTo(const PlainFace& face, std::ostream* out) {
  *out << face.corners[0] << "-" << face.corners[1] << "-" << face.corners[2];
}

inline std::vector<PlainFace> faces_of(Mesh_R::Face& faces, Mesh_R::Vertex& vertices) {
  std::vector<PlainFace> out;
  for (int i = 0; i < faces.get_facenum(); ++i) {
    const Mesh_R::_face& f = *faces[i];
    if (f.state == Mesh_R::kStateDeleted) continue;
    out.push_back({{vertices.get_vert_no(f.vert[0]), vertices.get_vert_no(f.vert[1]),
                    vertices.get_vert_no(f.vert[2])},
                   {f.vector.x, f.vector.y, f.vector.z}});
  }
  return out;
}

inline std::vector<PlainFace> faces_of(const ReferencePivoting& reference) {
  std::vector<PlainFace> out;
  for (const auto& f : reference.faces) {
    if (!f.dead) out.push_back({f.v, {f.normal.x, f.normal.y, f.normal.z}});
  }
  return out;
}

// Stores as a mesh, for the validator, which wants one. Gives them back when it goes.
class BorrowedMesh {
 public:
  BorrowedMesh(Mesh_R::Vertex& vertices, Mesh_R::Edge& edges, Mesh_R::Face& faces) {
    mesh.vertex = vertices;
    mesh.edge = edges;
    mesh.face = faces;
  }
  ~BorrowedMesh() {
    mesh.vertex = {};
    mesh.edge = {};
    mesh.face = {};
  }
  BorrowedMesh(const BorrowedMesh&) = delete;

  Mesh_M::Mesh mesh;
};

// The states of all vertices, and of the live edges.
inline std::vector<int> vertex_states(Mesh_R::Vertex& vertices) {
  std::vector<int> out;
  for (int i = 0; i < vertices.get_vertnum(); ++i) out.push_back(vertices[i]->state);
  return out;
}

inline std::vector<int> vertex_states(const ReferencePivoting& reference) {
  std::vector<int> out;
  for (const auto& v : reference.verts) out.push_back(v.state);
  return out;
}

}  // namespace test_support

#endif  // SCANMESH_TESTS_PIVOTING_PIVOTING_ACCESS_H
