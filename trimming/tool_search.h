// Finding the vertices within a tool, and gathering what hangs on them.
#ifndef SCANMESH_TRIMMING_TOOL_SEARCH_H
#define SCANMESH_TRIMMING_TOOL_SEARCH_H

#include <cmath>
#include <cstddef>
#include <future>
#include <vector>

#include "core/live_records.h"
#include "core/parallel.h"
#include "core/vector_math.h"
#include "scanmesh/mesh.h"

namespace scanmesh {

// A tool's plane, and what every search asks of a vertex: it must not face away from the tool, so
// that the far side of a thin plate stays, nor lie too far from the plane. Heights and distances
// are double; the side is judged in float, as the limit is.
class ToolPlane {
 public:
  explicit ToolPlane(const Mesh_R::_vert& tool)
      : centre(tool.point), axis(tool.vector), offset_(-dot_double(tool.vector, tool.point)) {}

  double height(const Vec3f& p) const { return std::fabs(dot_double(axis, p) + offset_); }
  bool faces(const Mesh_R::_vert& vert) const {
    return dot(vert.vector, axis) > kFacingAway && height(vert.point) <= kReach;
  }

  Vec3f centre;
  Vec3f axis;

 private:
  static constexpr float kFacingAway = -0.707F;
  static constexpr double kReach = 3.0;

  double offset_;
};

// A ball around the tool's centre, its surface included.
class RadiusTool {
 public:
  RadiusTool(const Mesh_R::_vert& tool, float radius)
      : plane_(tool), squared_(static_cast<double>(radius) * radius) {}
  bool holds(const Mesh_R::_vert& vert) const {
    const Vec3f away = sub(vert.point, plane_.centre);
    return dot_double(away, away) <= squared_ && plane_.faces(vert);
  }

 private:
  ToolPlane plane_;
  double squared_;
};

// A box around slots and rectangles. It reaches b along the direction and a across it, each with
// the margin: hosts choose their margins by this form.
class OvalTool {
 public:
  OvalTool(const Mesh_R::_vert& tool, float a, float b, float c, const float* dir, bool cut);
  bool holds(const Mesh_R::_vert& vert) const {
    const Vec3f away = sub(vert.point, plane_.centre);
    return length(away) <= ball_ && std::fabs(dot_double(away, along_)) <= reach_along_ &&
           std::fabs(dot_double(away, across_)) <= reach_across_ && plane_.faces(vert);
  }

 private:
  ToolPlane plane_;
  Vec3f along_;
  Vec3f across_;
  double ball_;
  double reach_along_;
  double reach_across_;
};

// The vertices of the records [first, last) that the tool holds, in order.
template <typename Tool>
std::vector<Mesh_R::_vert*> vertices_within(Mesh_R::Vertex& vertices, const Tool& tool, int first,
                                            int last) {
  std::vector<Mesh_R::_vert*> kept;
  for_each_in(vertices.records, first, last, [&](int, Mesh_R::_vert& vert) {
    if (vert.state != Mesh_R::kStateDeleted && tool.holds(vert)) kept.push_back(&vert);
  });
  return kept;
}

// Marks the vertices that have faces as searched and appends their faces to the mesh's selection,
// each once.
void select_around(Mesh_M::Mesh& mesh, const std::vector<Mesh_R::_vert*>& kept);

// Selects by all vertices, on 1.5 tasks per processor. The selection comes in the order in which
// one task would have met it.
template <typename Tool>
void select_within(Mesh_M::Mesh& mesh, const Tool& tool) {
  const int vertices = mesh.vertex.get_vertnum();
  const int runs = one_and_a_half_processors();
  std::vector<std::vector<Mesh_R::_vert*>> kept(static_cast<std::size_t>(runs));
  std::vector<std::future<void>> tasks;
  tasks.reserve(static_cast<std::size_t>(runs));
  for (int run = 0; run < runs; ++run) {
    tasks.push_back(std::async(std::launch::async, [&, run] {
      const auto [first, last] = slice(vertices, runs, run);
      kept[static_cast<std::size_t>(run)] =
          vertices_within(mesh.vertex, tool, static_cast<int>(first), static_cast<int>(last));
    }));
  }
  for (std::future<void>& task : tasks) task.get();
  for (const auto& run : kept) select_around(mesh, run);
}

// Empties the results of the last search; they keep their memory.
void clear_search(Mesh_M::Mesh& mesh);

// Takes back every mark that a search has left on its results.
void clear_marks(Mesh_M::Mesh& mesh);

}  // namespace scanmesh

#endif  // SCANMESH_TRIMMING_TOOL_SEARCH_H
