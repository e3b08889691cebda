// From oriented points to a mesh, on stores of its own.
#ifndef SCANMESH_BALL_PIVOTING_H
#define SCANMESH_BALL_PIVOTING_H

#include <cstdint>
#include <deque>
#include <vector>

#include "scanmesh/export.h"
#include "scanmesh/geometry.h"
#include "scanmesh/kd_tree.h"
#include "scanmesh/mem_allo.h"
#include "scanmesh/process_step.h"
#include "scanmesh/stores.h"

namespace Mesh_M {
class Mesh;
}
namespace Semap {
class Semaphore;
}

namespace BPA {

/// Ball pivoting (Bernardini, Mittleman, Rushmeier, Silva, Taubin 1999) with three settled changes:
/// the ball's radius is the smallest of five that reaches the triangle at hand; the front advances
/// in batches, each searched by threads against a frozen mesh and committed in queue order; the
/// candidate nearest to the edge's midpoint wins, not the one of least pivot angle. The result is
/// the same on every machine.
///
/// Sequence: construct, init, build_mesh or stitchMesh, read out, free. Points are expected to be
/// at least 17, finite and free of exact duplicates; others lead to fewer faces. Each call starts
/// as many threads as there are processors and four more, and joins them. One thread of the
/// application at a time. Copies share the stores' blocks: free only one of them.
class SCANMESH_API Ball_Pivoting {
 public:
  /// An element of the tree: a vertex record.
  class T_node {
   public:
    uint8_t own = 0;  // 1: the record goes with this element
    Mesh_R::_vert* vert = nullptr;

    T_node() = default;
    explicit T_node(Mesh_R::_vert* record) : vert(record) {}
    T_node(const T_node& other) { copy(other); }
    T_node& operator=(const T_node& other) {
      if (this != &other) {
        release();
        copy(other);
      }
      return *this;
    }
    ~T_node() { release(); }

    /// x, y or z of the vertex. Without a vertex it makes one of its own, not yet at any place.
    float operator[](int dimension) {
      if (vert == nullptr) {
        vert = new Mesh_R::_vert;
        vert->point = {0, 0, 0};
        own = 1;
      }
      return dimension == 0 ? vert->point.x : dimension == 1 ? vert->point.y : vert->point.z;
    }

   private:
    void release() {
      if (own != 0) delete vert;
    }
    // Two elements never own one record.
    void copy(const T_node& other) {
      own = other.own;
      vert = other.own != 0 ? new Mesh_R::_vert(*other.vert) : other.vert;
    }
  };

  int32_t nn_count = 16;  // neighbours looked at
  double radius[5] = {};  // of the balls, ascending, mesh units
  double radius_sq[5] = {};
  double base_radius = 0;
  double cos_20;
  double cos_120;
  double cos_75;        // least cosine between normals that belong together
  double max_dist = 0;  // limit of a neighbourhood, mesh units
  Mesh_R::Face face_store;
  Mesh_R::Vertex vert_store;
  Mesh_R::Edge edge_store;
  KdT::KdTree<T_node, 3> tree;
  std::deque<Mesh_R::_edge*> front;
  Mesh_M::ProcessStepCallback process_step;

  Ball_Pivoting();

  /// Sets the stores up and derives the radii from the spacing of the points, mesh units.
  void init(float spacing);

  /// Reconstructs from `count` points and their unit normals. Both arrays are freed, in any case.
  /// Vertices are numbered as the points; a point without a face stays a vertex of state 8, and
  /// get_data ignores it.
  void build_mesh(MemS::MemAllo<float[3]>& points, MemS::MemAllo<float[3]>& normals, int count);

  /// Closes the seams of a mesh sampled at two resolutions: `mesh.resolution` tells both, and
  /// nothing happens unless it is enabled. Faces next to any boundary go, boundary edges with tag
  /// bit 0x80 at an end and bit 0x20 at none get further samples at a ratio of about 4 or 8, and
  /// balls roll over the points that are free then. The mesh is rebuilt: numbers change, tags are
  /// cleared, rings and the last fill are forgotten. The stores hold a copy of the result until
  /// free().
  void stitchMesh(Mesh_M::Mesh& mesh);

  /// Normal and three corners of each face, in the order of the table; `count` counts faces. The
  /// caller frees with delete[].
  void get_data(MemS::Point3v<float>*& data, int& count);

  /// Writes "tex.stl" in the working directory.
  void output();

  /// Releases the stores.
  void free();

  /// Told of the progress of build_mesh, on the caller's thread; its answer is ignored.
  void setProcessStepCallback(Mesh_M::ProcessStepCallback callback);

 private:
  friend struct BallPivotingTraits;
  friend struct BallPivotingAccess;  // tests of the private operations

  static const int radsize = 5;

  bool FindSeed(T_node* node, Mesh_R::_face*& out);
  bool FindPlace(Mesh_R::_edge* edge, Mesh_R::_vert*& out, MemS::Point3v<float>& normal);
  // NOLINTNEXTLINE(bugprone-reserved-identifier): the name that it has always had
  void _FindPlace(std::vector<Mesh_R::_edge*>* edges, const int* start, const int* end,
                  std::vector<Mesh_R::_vert*>* results, Semap::Semaphore* ready,
                  Semap::Semaphore* go_on, std::vector<MemS::Point3v<float>>* normals);
  bool FindSphere(Mesh_R::_vert* p, Mesh_R::_vert* a, Mesh_R::_vert* b,
                  MemS::Point3v<float>& centre, MemS::Point3v<float>& normal, double& r_sq,
                  double& circ_sq);
  bool CheckEdge(Mesh_R::_edge* edge);
  bool CheckEdge(Mesh_R::_edge* edge, Mesh_R::_vert* vert);
  Mesh_R::_face* insert_face(Mesh_R::_vert* a, Mesh_R::_vert* b, Mesh_R::_vert* c,
                             MemS::Point3v<float>& normal);
};

}  // namespace BPA

#endif  // SCANMESH_BALL_PIVOTING_H
