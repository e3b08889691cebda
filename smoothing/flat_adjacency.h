// The adjacency of a mesh as flat arrays of record numbers. A filter goes through it many times
// while the connectivity stands still; chasing the records' pointers each time would cost several
// times as much. Entries keep the order of the records' lists, so sums come out the same.
#ifndef SCANMESH_SMOOTHING_FLAT_ADJACENCY_H
#define SCANMESH_SMOOTHING_FLAT_ADJACENCY_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "core/vector_math.h"
#include "scanmesh/stores.h"
#include "smoothing/raw_array.h"

namespace scanmesh {

// A stretch of numbers, for range loops.
struct Numbers {
  const int32_t* first;
  const int32_t* last;
  const int32_t* begin() const { return first; }
  const int32_t* end() const { return last; }
  std::size_t size() const { return static_cast<std::size_t>(last - first); }
};

// One list per record, one after the other.
struct FlatLists {
  RawArray<std::size_t> start;  // one more than there are lists
  RawArray<int32_t> entries;

  Numbers of(int i) const { return {entries.data() + start[i], entries.data() + start[i + 1]}; }
};

using FaceCorners = std::array<int32_t, 3>;

// The far ends of all edges of each vertex, deleted edges too. All of these run `tasks` tasks.
FlatLists neighbours_of_vertices(Mesh_R::Vertex& vertices, int tasks);
FlatLists faces_of_vertices(Mesh_R::Vertex& vertices, Mesh_R::Face& faces, int tasks);
// Corners that aren't in the vertex store, as those of deleted faces may be, read as the first.
RawArray<FaceCorners> corners_of_faces(Mesh_R::Vertex& vertices, Mesh_R::Face& faces, int tasks);
RawArray<Vec3f> points_of(Mesh_R::Vertex& vertices, int tasks);
RawArray<Vec3f> normals_of(Mesh_R::Face& faces, int tasks);

}  // namespace scanmesh

#endif  // SCANMESH_SMOOTHING_FLAT_ADJACENCY_H
