#include "smoothing/flat_adjacency.h"

#include "core/face_building.h"
#include "core/live_records.h"
#include "core/parallel.h"
#include "core/record_numbers.h"

namespace scanmesh {

namespace {

using Mesh_R::_face;
using Mesh_R::_vert;

// `length(vertex)` entries per vertex, written by a `Write` that each task makes for itself.
template <typename Length, typename MakeWrite>
FlatLists lists_of(Mesh_R::Vertex& vertices, int tasks, Length length, MakeWrite make_write) {
  const int count = vertices.get_vertnum();
  FlatLists lists;
  lists.start = RawArray<std::size_t>(static_cast<std::size_t>(count) + 1);
  std::size_t end = 0;
  for_each_in(vertices.records, 0, count, [&](int i, const _vert& vert) {
    lists.start[i] = end;
    end += static_cast<std::size_t>(length(vert));
  });
  lists.start[count] = end;
  lists.entries = RawArray<int32_t>(end);
  run_slices(count, tasks, [&](std::ptrdiff_t begin, std::ptrdiff_t finish) {
    auto write = make_write();
    for_each_in(vertices.records, static_cast<int>(begin), static_cast<int>(finish),
                [&](int i, const _vert& vert) { write(vert, &lists.entries[lists.start[i]]); });
  });
  return lists;
}

// value(record) of each record of a store.
template <typename Value, typename Record, typename MakeRead>
RawArray<Value> values_of(MemS::MemAllo<Record>& records, int tasks, MakeRead make_read) {
  RawArray<Value> values(static_cast<std::size_t>(records.size()));
  run_slices(records.size(), tasks, [&](std::ptrdiff_t begin, std::ptrdiff_t end) {
    auto read = make_read();
    for_each_in(records, static_cast<int>(begin), static_cast<int>(end),
                [&](int i, const Record& record) { values[i] = read(record); });
  });
  return values;
}

}  // namespace

FlatLists neighbours_of_vertices(Mesh_R::Vertex& vertices, int tasks) {
  return lists_of(
      vertices, tasks, [](const _vert& vert) { return vert.edge_num; },
      [&] {
        return [number = RecordNumbers<_vert>(vertices.records)](const _vert& vert,
                                                                 int32_t* out) mutable {
          for (int i = 0; i < vert.edge_num; ++i) out[i] = number(far_end(vert.edge[i], &vert));
        };
      });
}

FlatLists faces_of_vertices(Mesh_R::Vertex& vertices, Mesh_R::Face& faces, int tasks) {
  return lists_of(
      vertices, tasks, [](const _vert& vert) { return vert.face_num; },
      [&] {
        return [number = RecordNumbers<_face>(faces.records)](const _vert& vert,
                                                              int32_t* out) mutable {
          for (int i = 0; i < vert.face_num; ++i) out[i] = number(vert.face[i]);
        };
      });
}

RawArray<FaceCorners> corners_of_faces(Mesh_R::Vertex& vertices, Mesh_R::Face& faces, int tasks) {
  return values_of<FaceCorners>(faces.records, tasks, [&] {
    return [number = RecordNumbers<_vert>(vertices.records)](const _face& face) mutable {
      return FaceCorners{number(face.vert[0]), number(face.vert[1]), number(face.vert[2])};
    };
  });
}

RawArray<Vec3f> points_of(Mesh_R::Vertex& vertices, int tasks) {
  return values_of<Vec3f>(vertices.records, tasks,
                          [] { return [](const _vert& vert) { return vert.point; }; });
}

RawArray<Vec3f> normals_of(Mesh_R::Face& faces, int tasks) {
  return values_of<Vec3f>(faces.records, tasks,
                          [] { return [](const _face& face) { return face.vector; }; });
}

}  // namespace scanmesh
