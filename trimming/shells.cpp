// Shells: faces that hang together across edges with exactly two faces.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "core/face_building.h"
#include "core/live_records.h"
#include "core/parallel.h"
#include "core/record_numbers.h"
#include "scanmesh/mesh.h"

namespace Mesh_M {

using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::kStateDeleted;

namespace {

constexpr double kSmallShare = 0.005;
constexpr std::size_t kLeastRoom = 2000;
constexpr std::size_t kClusterRoom = 20000;

// What counts as a small shell, from the number of face records, deleted ones included.
int small_threshold(int slots) {
  return static_cast<int>(slots * kSmallShare);
}

bool starts_shell(const _face& face) {
  return face.state > 0 && face.state != kStateDeleted;
}

// The shell of `seed`, breadth first; the visited carry a negative state. An edge with one face, or
// with three and more, joins nothing.
void flood(_face* seed, std::vector<_face*>& shell) {
  shell.clear();
  scanmesh::flip_state(seed);
  shell.push_back(seed);
  for (std::size_t i = 0; i < shell.size(); ++i) {
    for (const _edge* edge : shell[i]->edge) {
      if (edge->face_num != 2) continue;
      for (int k = 0; k < 2; ++k) {
        _face* const beyond = edge->face[k];
        if (!starts_shell(*beyond)) continue;
        scanmesh::flip_state(beyond);
        shell.push_back(beyond);
      }
    }
  }
}

// Calls visit(shell) for every shell of the mesh, in the order of their first faces.
template <typename Visit>
void for_each_shell(Mesh& mesh, Visit visit) {
  std::vector<_face*> shell;
  shell.reserve(static_cast<std::size_t>(mesh.face.get_facenum()));
  scanmesh::for_each_in(mesh.face.records, 0, mesh.face.get_facenum(), [&](int, _face& face) {
    if (!starts_shell(face)) return;
    flood(&face, shell);
    visit(shell);
  });
}

// Indices of faces in the caller's array; the last place of a face listed twice. A face that isn't
// in it has index 0.
class ArrayIndex {
 public:
  ArrayIndex(const MemS::MemAllo<_face>& records, _face** faces, int n)
      : number_(records), index_(static_cast<std::size_t>(records.size()), 0) {
    for (int i = 0; i < n; ++i) {
      if (faces[i] != nullptr) index_[static_cast<std::size_t>(number_(faces[i]))] = i;
    }
  }
  int of(const _face* face) { return index_[static_cast<std::size_t>(number_(face))]; }

 private:
  scanmesh::RecordNumbers<_face> number_;
  std::vector<int32_t> index_;
};

// A neighbour outside the array enters as index 0, so that the walk goes on from the array's first
// face, and it keeps its mark. Hosts rely on the clusters that come of it.
std::vector<int> flood_in_array(_face** faces, int seed, ArrayIndex& index) {
  std::vector<int> cluster{seed};
  scanmesh::flip_state(faces[seed]);
  for (std::size_t i = 0; i < cluster.size(); ++i) {
    const _face* const face = faces[cluster[i]];
    if (face == nullptr) continue;
    for (const _edge* edge : face->edge) {
      if (edge->face_num != 2) continue;
      for (int k = 0; k < 2; ++k) {
        _face* const beyond = edge->face[k];
        if (beyond->state < 1) continue;
        cluster.push_back(index.of(beyond));
        scanmesh::flip_state(beyond);
      }
    }
  }
  return cluster;
}

}  // namespace

void Mesh::open_manifold(_face**& faces, int& n) {
  const int slots = face.get_facenum();
  const auto threshold = static_cast<std::size_t>(small_threshold(slots));
  std::vector<_face*> small;
  for_each_shell(*this, [&](const std::vector<_face*>& shell) {
    if (shell.size() < threshold) small.insert(small.end(), shell.begin(), shell.end());
  });
  scanmesh::for_each_in(face.records, 0, slots, [](int, _face& record) {
    if (record.state < 0) scanmesh::flip_state(&record);
  });
  faces = new _face*[static_cast<std::size_t>(slots)];
  std::copy(small.begin(), small.end(), faces);
  n = static_cast<int>(small.size());
}

int Mesh::open_manifold_slider(std::vector<_face*>& faces, const int& limit) {
  const int threshold = std::min(limit, small_threshold(face.get_facenum()));
  faces.reserve(kLeastRoom);
  for_each_shell(*this, [&](const std::vector<_face*>& shell) {
    if (static_cast<std::ptrdiff_t>(shell.size()) < threshold) {
      faces.insert(faces.end(), shell.begin(), shell.end());
    }
  });
  faces.shrink_to_fit();
  // Without an exception for deleted faces, which end at -3: hosts undo it by a second call.
  scanmesh::parallel_over(face.records, scanmesh::processor_count(),
                          [](_face& record) { scanmesh::flip_state(&record); });
  return static_cast<int>(faces.size());
}

int Mesh::open_manifold_slider(_face** faces, const int& n, ClusterGroup<int>& groups) {
  ArrayIndex index(face.records, faces, n);
  groups.clusters.reserve(kClusterRoom);
  for (int i = 0; i < n; ++i) {
    if (faces[i] == nullptr || !starts_shell(*faces[i])) continue;
    groups.clusters.push_back(flood_in_array(faces, i, index));
  }
  groups.clusters.shrink_to_fit();
  groups.arrange();
  for (int i = 0; i < n; ++i) {
    if (faces[i] != nullptr && faces[i]->state < 0) scanmesh::flip_state(faces[i]);
  }
  return static_cast<int>(groups.clusters.size());
}

}  // namespace Mesh_M
