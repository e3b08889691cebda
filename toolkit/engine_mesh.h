// A mesh of the toolkit as the engine has it, and back.
#ifndef SCANMESH_TOOLKIT_ENGINE_MESH_H
#define SCANMESH_TOOLKIT_ENGINE_MESH_H

#include <exception>
#include <string_view>
#include <thread>
#include <vector>

#include "scanmesh/mesh.h"
#include "scanmesh/toolkit/error.h"
#include "scanmesh/toolkit/triangle_mesh.h"
#include "toolkit/work_mesh.h"

namespace scanmesh {

// The engine computes in floats and knows lengths that are meant for a scan in millimetres: points
// closer than 0.0005 are one, limits of curvature and of a tool's reach are absolute. What goes in
// is moved to the middle of its box and scaled by the power of two that brings its spacing to 0.5
// to 1. Scaling by a power of two rounds nothing, so that the same shape in another unit gives the
// same numbers.
class EngineFrame {
 public:
  EngineFrame() = default;
  EngineFrame(const Box& box, double spacing);

  MemS::Point3v<float> inside(const Point& p) const;
  Point outside(const MemS::Point3v<float>& p) const;
  double length_inside(double length) const;
  double length_outside(double length) const;

 private:
  Point middle_;
  int exponent_ = 0;
};

// The mean length of the sides of triangles with finite corners; 0 where there is none.
double mean_side(const TriangleMesh& mesh);

// Triangles that the engine can take: finite, three different corners.
std::vector<Triangle> usable_triangles(const TriangleMesh& mesh);

// A copy of the points, those that aren't finite at 0, and of usable triangles in the engine's
// stores: record i is point i.
class EngineMesh {
 public:
  // `tags` one per point, or empty.
  EngineMesh(const TriangleMesh& mesh, const EngineFrame& frame,
             std::vector<unsigned char> tags = {});

  Mesh_M::Mesh& engine() { return engine_; }

  // The engine's positions in place of those that went in, or of the first of them. What
  // the engine left alone keeps its double coordinates; what it deleted, left without triangles or
  // made something that isn't finite stays where it was.
  void take_positions(std::vector<Point>& points);

  // After an operation that adds and deletes records: the live faces over the input's points, which
  // keep their coordinates even where the engine has made a new record at the place, and new ones.
  // Input faces that are left keep their winding: the engine turns them where it takes a sharp
  // place for a fold.
  WorkMesh work_mesh(const TriangleMesh& input);
  TriangleMesh result(const TriangleMesh& input);

 private:
  // Per record the input's point that stands there, or -1.
  std::vector<std::int32_t> points_of_records(std::size_t count);

  EngineFrame frame_;
  std::vector<float> points_;
  Mesh_M::Mesh engine_;
};

// Where a mesh carries normals: those of points next to one that has moved, from the faces.
void renew_normals(const TriangleMesh& before, TriangleMesh& after);

// Hands the engine's reports to a caller's progress. The engine doesn't listen to an answer, and an
// exception must not pass through its threads: both wait for finish().
class EngineWatch {
 public:
  EngineWatch(const Progress& progress, std::string_view step) : progress_(progress), step_(step) {}
  EngineWatch(const EngineWatch&) = delete;
  EngineWatch& operator=(const EngineWatch&) = delete;

  // Refers to this object.
  Mesh_M::ProcessStepCallback callback();
  // After the engine's call: throws Cancelled, or what the progress has thrown.
  void finish() const;

 private:
  void hear(const qv::alg::ProcessStepInfoType& info);

  const Progress& progress_;
  std::string_view step_;
  std::thread::id caller_ = std::this_thread::get_id();
  std::exception_ptr trouble_;
};

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_ENGINE_MESH_H
