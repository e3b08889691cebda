// The records that operations of Mesh_M::Mesh hand out and take back.
#ifndef SCANMESH_MESH_RECORDS_H
#define SCANMESH_MESH_RECORDS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <vector>

#include "scanmesh/geometry.h"
#include "scanmesh/stores.h"

namespace Mesh_M {

/// A copy of the whole mesh as index arrays. Made by Mesh::build_backup, used up by
/// Mesh::revoke_backup.
struct _backup {
  float* points = nullptr;  // 3 floats per live vertex
  int32_t point_count = 0;
  int32_t* triangles = nullptr;  // 3 vertex numbers per triangle
  int32_t triangle_count = 0;
};

/// A copy of some faces and their corners, made before they are deleted. Live from its making until
/// it is handed back, once; nobody may compact the stores meanwhile, for it names their records.
struct obj_triangle {
  int32_t vert_num = 0;             // distinct corners
  float* points = nullptr;          // 3 floats per corner
  float* vectors = nullptr;         // 3 floats per corner: vertex normals
  Mesh_R::_vert** verts = nullptr;  // the corner records
  int32_t face_num = 0;
  int32_t* index = nullptr;       // 3 numbers per face, into the corner arrays
  float* face_vectors = nullptr;  // 3 floats per face: face normals
};

}  // namespace Mesh_M

/// Faces in clusters, by their indices in an array of the caller's.
template <typename T>
class ClusterGroup {
 public:
  T total = 0;  // sum of all cluster sizes
  std::vector<std::vector<T>> clusters;
  std::vector<T> order;       // numbers of the clusters, largest first
  std::vector<T> cumulative;  // sizes added up in that order, one entry per cluster

  /// Computes the other fields from `clusters`. -1, with nothing changed, when there are none.
  int arrange() {
    if (clusters.empty()) return -1;
    order.resize(clusters.size());
    std::iota(order.begin(), order.end(), T{0});
    const auto size = [this](T i) { return clusters[static_cast<std::size_t>(i)].size(); };
    std::stable_sort(order.begin(), order.end(), [&](T a, T b) { return size(a) > size(b); });
    total = 0;
    cumulative.clear();
    for (const T i : order) {
      total += static_cast<T>(size(i));
      cumulative.push_back(total);
    }
    return 0;
  }
};

namespace fmx {

/// What flipping an edge touches: the edge a - b, the far corners c and d of its two faces, and the
/// faces beyond the quadrilateral.
struct edge_area {
  uint8_t invalid = 0;  // 1: the edge can't be flipped, and other fields may be null
  Mesh_R::_edge* edge = nullptr;
  Mesh_R::_vert* a = nullptr;
  Mesh_R::_vert* b = nullptr;
  Mesh_R::_vert* c = nullptr;  // of the first face
  Mesh_R::_vert* d = nullptr;  // of the second
  Mesh_R::_vert* p = nullptr;  // beyond d - a
  Mesh_R::_vert* q = nullptr;  // beyond d - b
  Mesh_R::_vert* r = nullptr;  // beyond c - a
  Mesh_R::_vert* s = nullptr;  // beyond c - b
  Mesh_R::_edge* ca = nullptr;
  Mesh_R::_edge* cb = nullptr;
  Mesh_R::_edge* db = nullptr;
  Mesh_R::_edge* da = nullptr;
  Mesh_R::_face* face0 = nullptr;
  Mesh_R::_face* face1 = nullptr;
  Mesh_R::_edge* ring[12] = {};  // of the faces beyond da, db, ca, cb, three each
};

/// A facet: unit normal, three corners.
struct stl_face {
  float vector[3];
  float corner[3][3];
};

/// A triangle soup. The caller frees `faces` with delete[].
struct sub_mid {
  int32_t face_count = 0;
  MemS::Bounding_Box box{0, 0, 0, 0, 0, 0};  // of all corners
  stl_face* faces = nullptr;
};

}  // namespace fmx

#endif  // SCANMESH_MESH_RECORDS_H
