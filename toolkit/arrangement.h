// Cutting triangles along everything that they meet, without rounding.
#ifndef SCANMESH_TOOLKIT_ARRANGEMENT_H
#define SCANMESH_TOOLKIT_ARRANGEMENT_H

#include <map>
#include <memory>
#include <set>
#include <unordered_map>
#include <utility>
#include <vector>

#include "scanmesh/toolkit/inspect.h"
#include "toolkit/exact_point.h"
#include "toolkit/work_mesh.h"

namespace scanmesh {

// The corners of a triangle as exact points, and how it is laid flat.
struct ExactTriangle {
  std::array<std::int32_t, 3> corners;  // numbers of exact points; turn left as flattened
  Flattening flat;
  bool mirrored;  // corners 1 and 2 changed places for it
  ExactPlane plane;
};

// Takes the pairs of triangles that meet, and gives the pieces into which each of them falls. No
// two points of the mesh stand at the same place, and no triangle is degenerate.
class Arrangement {
 public:
  explicit Arrangement(const WorkMesh& mesh);

  void meet(std::int32_t f, std::int32_t g);
  // After all pairs: the triangles that fall into pieces, ascending.
  std::vector<std::int32_t> cut_triangles();
  // Pieces of one of them, as numbers of exact points, in the direction of the triangle.
  std::vector<std::array<std::int32_t, 3>> pieces(std::int32_t f);

  const ExactPoint& point(std::int32_t i) const { return points_[static_cast<std::size_t>(i)]; }
  std::int32_t point_count() const { return static_cast<std::int32_t>(points_.size()); }
  // The vertex of the mesh that an exact point is; -1 for a new one.
  std::int32_t vertex(std::int32_t i) const { return vertex_[static_cast<std::size_t>(i)]; }
  Point rounded(std::int32_t i) const { return rounded(point(i)); }
  Point rounded(const ExactPoint& p) const { return grid_.off_grid(p); }

  const ExactTriangle& exact(std::int32_t f);
  std::int32_t of_vertex(std::int32_t v);

 private:
  using Edge = std::pair<std::int32_t, std::int32_t>;
  struct Cuts {
    std::set<std::int32_t> points;
    std::set<Edge> segments;
  };

  std::int32_t number(const ExactPoint& p);
  bool within(std::int32_t point, const ExactTriangle& t) const;
  void mark(std::int32_t f, std::int32_t point);
  void cross_edges(std::int32_t f, std::int32_t g, std::vector<std::int32_t>& common);
  void meet_in_plane(std::int32_t f, std::int32_t g);
  void add_line(std::int32_t f, std::vector<std::int32_t> on_line);
  void cut_crossing_segments(std::int32_t f);
  std::vector<Edge> split_segments(std::int32_t f) const;
  bool on_segment(std::int32_t p, const Edge& segment, const Flattening& flat) const;
  void sort_along(std::vector<std::int32_t>& line) const;

  const WorkMesh& mesh_;
  ExactGrid grid_;
  std::vector<ExactPoint> points_;
  std::vector<std::int32_t> vertex_;
  std::map<ExactPoint, std::int32_t> numbers_;
  std::unordered_map<std::int32_t, std::int32_t> of_vertex_;
  std::unordered_map<std::int32_t, std::unique_ptr<ExactTriangle>> exact_;
  std::map<std::int32_t, Cuts> cuts_;
  std::map<Edge, std::set<std::int32_t>> on_edge_;  // by exact points, smaller number first
};

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_ARRANGEMENT_H
