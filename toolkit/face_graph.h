// Faces of a mesh as a filter of normals sees them: their measures, and who is around whom.
#ifndef SCANMESH_TOOLKIT_FACE_GRAPH_H
#define SCANMESH_TOOLKIT_FACE_GRAPH_H

#include <cstdint>
#include <vector>

#include "scanmesh/toolkit/triangle_mesh.h"
#include "toolkit/topology.h"

namespace scanmesh {

// Lists of numbers, one after the other.
class Lists {
 public:
  const std::int32_t* begin(std::size_t i) const { return items_.data() + first_[i]; }
  const std::int32_t* end(std::size_t i) const { return items_.data() + first_[i + 1]; }
  std::size_t count() const { return first_.size() - 1; }

  // Takes over what make(i) returns for each i below the count, in order; uses all processors.
  template <typename Make>
  void build(std::size_t count, Make make);

 private:
  std::vector<std::int64_t> first_{0};
  std::vector<std::int32_t> items_;
};

// Of each face, at the points given.
struct FaceMeasures {
  std::vector<Point> centroids;
  std::vector<Point> normals;  // zero for a face without area
  std::vector<double> areas;

  void update(const std::vector<Point>& points, const std::vector<Triangle>& triangles);
};

// Who is beside whom in triangles that are finite with three different corners.
struct FaceGraph {
  FaceGraph(const std::vector<Triangle>& triangles, std::size_t point_count);

  std::vector<std::int32_t> opposite;  // per side, as opposite_sides gives it
  VertexSides around;
  Lists rings;              // the face itself, then those that share a corner with it
  std::vector<bool> fixed;  // points of edges with other than two faces, or without any

  // Faces within `radius` of a face, by centroids, over chains of corners; the face itself first.
  Lists within(const std::vector<Triangle>& triangles, const std::vector<Point>& centroids,
               double radius) const;
  // The mean distance of the centroids of faces with a common edge.
  double mean_step(const std::vector<Point>& centroids) const;
};

template <typename Make>
void Lists::build(std::size_t count, Make make) {
  constexpr std::size_t kBlock = 4096;
  const auto blocks = static_cast<std::int64_t>((count + kBlock - 1) / kBlock);
  std::vector<std::vector<std::int32_t>> items(static_cast<std::size_t>(blocks));
  first_.assign(count + 1, 0);
#pragma omp parallel for schedule(dynamic)
  for (std::int64_t b = 0; b < blocks; ++b) {
    const std::size_t begin = static_cast<std::size_t>(b) * kBlock;
    const std::size_t end = begin + kBlock < count ? begin + kBlock : count;
    std::vector<std::int32_t>& out = items[static_cast<std::size_t>(b)];
    for (std::size_t i = begin; i < end; ++i) {
      const std::size_t before = out.size();
      make(static_cast<std::int32_t>(i), out);
      first_[i + 1] = static_cast<std::int64_t>(out.size() - before);
    }
  }
  for (std::size_t i = 0; i < count; ++i) first_[i + 1] += first_[i];
  items_.clear();
  items_.reserve(static_cast<std::size_t>(first_[count]));
  for (const auto& block : items) items_.insert(items_.end(), block.begin(), block.end());
}

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_FACE_GRAPH_H
