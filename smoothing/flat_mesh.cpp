#include "smoothing/flat_mesh.h"

namespace scanmesh {

void FlatMesh::load_faces(Mesh_R::Vertex& vertices, Mesh_R::Face& faces, int tasks) {
  corners = corners_of_faces(vertices, faces, tasks);
  faces_of = faces_of_vertices(vertices, faces, tasks);
  normals[0] = normals_of(faces, tasks);
  normals[1] = RawArray<Vec3f>(normals[0].size());
}

void FlatMesh::load_points(Mesh_R::Vertex& vertices, int tasks) {
  points[0] = points_of(vertices, tasks);
  points[1] = RawArray<Vec3f>(points[0].size());
  centroids = RawArray<Vec3f>(corners.size());
}

NeighbourFinder::NeighbourFinder(const FlatMesh& mesh, const RawArray<uint8_t>* counts)
    : mesh_(mesh), counts_(counts), taken_((mesh.corners.size() + 63) / 64) {}

bool NeighbourFinder::collect(Range faces, ChunkNeighbourhoods& out) {
  // Twelve faces around the corners of a face of a regular mesh, and the face itself.
  constexpr std::size_t kUsual = 13;
  constexpr std::size_t kMost = 4 * kUsual;  // on average
  const auto count = static_cast<std::size_t>(faces.end - faces.begin);
  out.start.clear();
  out.entries.clear();
  out.start.reserve(count + 1);
  out.entries.reserve(count * kUsual);
  out.start.push_back(0);
  for (int f = faces.begin; f < faces.end; ++f) {
    append(f, out.entries);
    out.start.push_back(out.entries.size());
    if (out.entries.size() > count * kMost) {
      out = {};
      return false;
    }
  }
  return true;
}

Numbers NeighbourFinder::alone(int face) {
  alone_.clear();
  append(face, alone_);
  return {alone_.data(), alone_.data() + alone_.size()};
}

void NeighbourFinder::append(int face, std::vector<int32_t>& out) {
  const std::size_t first = out.size();
  for (const int32_t corner : mesh_.corners[face]) {
    for (const int32_t f : mesh_.faces_of.of(corner)) {
      uint64_t& word = taken_[static_cast<std::size_t>(f) / 64];
      const uint64_t bit = uint64_t{1} << (static_cast<unsigned>(f) % 64);
      if ((word & bit) != 0 || (counts_ != nullptr && (*counts_)[f] == 0)) continue;
      word |= bit;
      out.push_back(f);
    }
  }
  for (std::size_t i = first; i < out.size(); ++i) {
    taken_[static_cast<std::size_t>(out[i]) / 64] = 0;
  }
}

}  // namespace scanmesh
