// From oriented points to a mesh, on stores of the caller.
#ifndef SCANMESH_X_BALL_PIVOTING_H
#define SCANMESH_X_BALL_PIVOTING_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

#include "scanmesh/export.h"
#include "scanmesh/geometry.h"
#include "scanmesh/mem_allo.h"
#include "scanmesh/static_kd_tree.h"
#include "scanmesh/stores.h"

namespace Mesh_M {
class Mesh;
}

namespace xbpa {

/// The ball pivoting of BPA::Ball_Pivoting, with the same geometry, on stores that belong to
/// someone else and with an index that gives the nearest point first. Stitching works in place or
/// from one mesh into another and has radii of its own for seams. Timing goes to the standard
/// output stream; there is no progress callback.
///
/// Sequence: construct, setDataPointer, init, build_mesh; or stitchMesh alone. Threads as there.
class SCANMESH_API XBallPivoting {
 public:
  using XNode = XPointNode;

  static const int radsize = 5;

  int32_t nn_count = 16;  // neighbours looked at
  double radius[5] = {};  // of the balls, ascending, mesh units
  double radius_sq[5] = {};
  double base_radius = 0;
  double cos_20;
  double cos_120;
  double cos_75;  // least cosine between normals that belong together
  double max_dist = 0;
  Mesh_R::Face* face_store = nullptr;  // not owned, as the two others
  Mesh_R::Vertex* vert_store = nullptr;
  Mesh_R::Edge* edge_store = nullptr;
  std::vector<XNode> nodes;
  flann_kdtree::KdTreeX_Static tree;  // over `nodes`, until the next rebuild
  std::deque<Mesh_R::_edge*> front;
  std::vector<std::vector<XNode*>> task_nodes;  // buffers of each task
  std::vector<std::vector<std::size_t>> task_indices;
  std::vector<std::vector<float>> task_dists;

  XBallPivoting();
  ~XBallPivoting();
  /// A copy works on the same stores, with points and an index of its own.
  XBallPivoting(const XBallPivoting& other);
  XBallPivoting& operator=(const XBallPivoting& other);
  // What is moved from gets an empty index, which takes memory.
  // NOLINTBEGIN(performance-noexcept-move-constructor)
  XBallPivoting(XBallPivoting&& other);
  XBallPivoting& operator=(XBallPivoting&& other);
  // NOLINTEND(performance-noexcept-move-constructor)

  /// The stores to build in. They must be set up, and outlive the calls.
  void setDataPointer(Mesh_R::Face* faces, Mesh_R::Vertex* vertices, Mesh_R::Edge* edges);

  /// Derives the radii from the spacing of the points, mesh units. The stores aren't touched.
  void init(float spacing);

  /// Reconstructs from `count` points and their unit normals. Both arrays are freed, in any case.
  void build_mesh(MemS::MemAllo<float[3]>& points, MemS::MemAllo<float[3]>& normals, int count);

  /// Closes the seams of a mesh sampled at two resolutions, in place; nothing happens unless
  /// `mesh.resolution` is enabled. Of the faces next to a boundary those go that have tag bit 0x80
  /// at a corner. Faces that stay keep their records, and all vertices their tags. Leaves the
  /// stores set to the mesh's.
  void stitchMesh(Mesh_M::Mesh& mesh);

  /// The same, with the result built in `target`; `source` is freed. Leaves the stores set to the
  /// target's, in any case.
  void stitchMesh(Mesh_M::Mesh& source, Mesh_M::Mesh& target);

  /// Normal and three corners of each face, in the order of the table; `count` counts faces. The
  /// caller frees with delete[].
  void get_data(MemS::Point3v<float>*& data, int& count);

  /// Does nothing: the stores belong to someone else. It stands for hosts that call it.
  void output();
  /// The same.
  void free();

 private:
  friend struct XBallPivotingTraits;
  friend struct XBallPivotingAccess;  // tests of the private operations

  bool FindSeed(XNode* node, Mesh_R::_face*& out, int task);
  bool FindPlace(Mesh_R::_edge* edge, Mesh_R::_vert*& out, MemS::Point3v<float>& normal, int task);
  // NOLINTNEXTLINE(bugprone-reserved-identifier): the name that it has always had
  void _FindPlace(std::vector<Mesh_R::_edge*>* edges, const int* start, const int* end,
                  std::vector<Mesh_R::_vert*>* results, std::vector<MemS::Point3v<float>>* normals,
                  int task);
  bool FindSphere(Mesh_R::_vert* p, Mesh_R::_vert* a, Mesh_R::_vert* b,
                  MemS::Point3v<float>& centre, MemS::Point3v<float>& normal, double& r_sq,
                  double& circ_sq);
  bool CheckEdge(Mesh_R::_edge* edge);
  bool CheckEdge(Mesh_R::_edge* edge, Mesh_R::_vert* vert);
  Mesh_R::_face* insert_face(Mesh_R::_vert* a, Mesh_R::_vert* b, Mesh_R::_vert* c,
                             MemS::Point3v<float>& normal);
};

}  // namespace xbpa

#endif  // SCANMESH_X_BALL_PIVOTING_H
