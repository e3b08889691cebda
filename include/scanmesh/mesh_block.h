// Groups of faces as flat arrays: copied out of a mesh, moved one by one, written, turned back.
#ifndef SCANMESH_MESH_BLOCK_H
#define SCANMESH_MESH_BLOCK_H

#include <cstdint>
#include <string>
#include <vector>

#include "scanmesh/export.h"
#include "scanmesh/stores.h"

namespace Mesh_M {

class Mesh;

/// Blocks of faces, one behind the other.
struct MeshBlockData {
  int32_t block_num = 0;
  std::vector<float> points;     // 3 per vertex, mesh units
  std::vector<float> vectors;    // 3 per vertex: normals, parallel to `points`
  std::vector<int> triangles;    // 3 vertex numbers per triangle, counted across all blocks
  std::vector<int> block_first;  // per block, the number of its first vertex
  std::vector<int> block_last;   // per block, of its last one, inclusive
};

/// A rigid motion: 4 x 4 by rows, rotation in the upper left, translation in the last column. A
/// negative last element means that the block stays where it is.
struct RTMatrix {
  double m[16];
};

/// Operations on block sets; it has no state. All run on the calling thread.
class SCANMESH_API MeshBlock {
 public:
  MeshBlock() = default;
  MeshBlock(const MeshBlock&) = default;
  MeshBlock(MeshBlock&&) = default;
  ~MeshBlock() = default;
  /// Both do nothing.
  MeshBlock& operator=(const MeshBlock& other);
  MeshBlock& operator=(MeshBlock&& other) noexcept;

  /// Copies groups of faces of the mesh. A vertex belongs to the first block that touches it, so a
  /// later block doesn't have all of its corners, and an empty one ends before it begins. `counts`
  /// is the caller's estimate of the vertices of each block and only reserves memory. The `index`
  /// of every vertex of the mesh, deleted ones included, is -1 or its number in `out` afterwards.
  /// Always 0.
  static int getMeshBlock(Mesh* mesh, const std::vector<std::vector<Mesh_R::_face*>>& blocks,
                          const std::vector<int>& counts, MeshBlockData& out);

  /// Adds one or two block sets (either may be null) to an empty mesh, after Mesh::inalize().
  /// Nothing is welded and `vectors` isn't used; vertex normals are computed, the orientation isn't
  /// repaired. A triangle that names a vertex that isn't there is left out. 0; -1 without a mesh;
  /// -2 without a set; -3 without a triangle.
  static int buildMeshFormMeshBlock(const MeshBlockData* first, const MeshBlockData* second,
                                    Mesh* mesh);

  /// Moves every block by its own matrix, in double precision. 0; -1, with nothing moved, when
  /// there isn't one matrix for each block.
  static int transformMeshBlock(MeshBlockData& data, const std::vector<RTMatrix>& matrices);

  /// Writes points and triangles of all blocks as little-endian binary PLY. Always 0; a path that
  /// can't be opened is a fault of the caller.
  static int outputPLYFormMeshBlock(const MeshBlockData& data, std::wstring path);
};

}  // namespace Mesh_M

#endif  // SCANMESH_MESH_BLOCK_H
