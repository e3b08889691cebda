#include "scanmesh/cavity_patcher.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "patching/patch_fairing.h"
#include "patching/patch_mesh.h"
#include "patching/patch_refinement.h"
#include "patching/ring_triangulation.h"
#include "patching/surroundings.h"

namespace Mesh_M {
namespace {

constexpr int status_done = 0;
constexpr int status_refused = -1;

// Wanted edge length per distance from the ring, while the large shape is found.
constexpr double coarse_growth = 0.9;
constexpr int small_rounds = 2;
// Patches that come out smaller than this go without the coarse stage.
constexpr double least_dense_count = 40.0;
constexpr int coarse_rounds = 3;
constexpr int dense_rounds = 1;
// Times that a folded patch is faired again with more of the ring let go.
constexpr int most_attempts = 4;

// Triangles up to this length of normal have none; hosts expect the z axis for them.
constexpr double least_normal_length = 1e-16;

// (A - B) x (B - C), the form whose rounding the rest of the system uses.
MyPoint3 corner_normal(const MyPoint3& a, const MyPoint3& b, const MyPoint3& c) {
  const double ux = a.x - b.x;
  const double uy = a.y - b.y;
  const double uz = a.z - b.z;
  const double vx = b.x - c.x;
  const double vy = b.y - c.y;
  const double vz = b.z - c.z;
  const double x = uy * vz - uz * vy;
  const double y = uz * vx - ux * vz;
  const double z = ux * vy - uy * vx;
  const double length = std::sqrt(x * x + y * y + z * z);
  if (!(length > least_normal_length) || !std::isfinite(length)) return {0.0, 0.0, 1.0};
  return {x / length, y / length, z / length};
}

cavity::PatchMesh close_ring(const cavity::Surroundings& around) {
  std::vector<cavity::Point> ring(around.points.begin(), around.points.begin() + around.ring_size);
  std::vector<cavity::Triangle> triangles =
      cavity::triangulate_ring(ring, around.rim_normals, around.chords);
  return cavity::PatchMesh(std::move(ring), around.ring_size, std::move(triangles), around.chords);
}

void put_back(const std::vector<cavity::Point>& points, cavity::PatchMesh& patch) {
  for (int v = patch.ring_size(); v < patch.point_count(); ++v) patch.move_point(v, points[v]);
}

// Fairs the patch, and where it folds, again with less and less of the ring to hold on to. The
// result with the fewest folds stays.
void fair_without_folds(const cavity::Surroundings& around, const cavity::RimCurvature& rim,
                        cavity::Start start, int rounds, std::vector<double>& hold,
                        cavity::PatchMesh& patch) {
  const std::vector<cavity::Point> before = patch.points();
  cavity::fair_patch(around, rim, hold, start, rounds, patch);
  std::vector<int> folds = cavity::vertices_at_folds(patch);
  if (folds.empty()) return;
  std::size_t fewest = folds.size();
  std::vector<cavity::Point> best = patch.points();
  std::vector<double> looser = hold;
  for (int attempt = 0; attempt < most_attempts && !folds.empty(); ++attempt) {
    if (!cavity::let_go_near(folds, patch, looser)) break;
    put_back(before, patch);
    cavity::fair_patch(around, rim, looser, start, rounds, patch);
    folds = cavity::vertices_at_folds(patch);
    if (folds.size() >= fewest) continue;
    fewest = folds.size();
    best = patch.points();
    hold = looser;
  }
  put_back(best, patch);
}

// The large shape is found on a patch that is coarse away from the ring, where each round of
// fairing is cheap; the dense patch then starts from that shape and needs one more round.
void shape_patch(const cavity::Surroundings& around, cavity::PatchMesh& patch) {
  using cavity::Start;
  cavity::split_taken_chords(around, patch);
  cavity::EdgeLengths lengths(around, patch);
  const cavity::RimCurvature rim = cavity::measure_rim(around);
  std::vector<double> hold(static_cast<std::size_t>(around.ring_size), 1.0);
  if (lengths.dense_count() < least_dense_count) {
    cavity::refine_patch(patch, lengths);
    fair_without_folds(around, rim, Start::from_nothing, small_rounds, hold, patch);
    return;
  }
  lengths.set_growth(std::max(lengths.bounded_growth(), coarse_growth));
  cavity::refine_patch(patch, lengths);
  fair_without_folds(around, rim, Start::from_nothing, coarse_rounds, hold, patch);
  lengths.set_growth(lengths.bounded_growth());
  cavity::refine_patch(patch, lengths);
  fair_without_folds(around, rim, Start::from_shape, dense_rounds, hold, patch);
}

// Ring vertices are copied from the caller, since a trip through unit scale would round them.
void write_patch(const cavity::Surroundings& around, const cavity::PatchMesh& patch,
                 const std::vector<double>& ring_points, std::vector<MyPoint3>& vertices,
                 std::vector<MyFace>& faces, std::vector<MyPoint3>& face_normals,
                 std::vector<int>& ring_indices) {
  for (int v = 0; v < patch.point_count(); ++v) {
    if (patch.is_free(v)) {
      const cavity::Point p = around.to_mesh_units(patch.point(v));
      vertices.push_back({p.x(), p.y(), p.z()});
    } else {
      const double* p = ring_points.data() + 3 * static_cast<std::size_t>(v);
      vertices.push_back({p[0], p[1], p[2]});
      ring_indices.push_back(v);
    }
  }
  for (const cavity::Triangle& t : patch.triangles()) {
    faces.push_back({t[0], t[1], t[2]});
    face_normals.push_back(corner_normal(vertices[t[0]], vertices[t[1]], vertices[t[2]]));
  }
}

}  // namespace

int CavityPatcher::fillHole2(const std::vector<double>& regionFaces,
                             const std::vector<double>& ringPoints, std::vector<MyPoint3>& vertices,
                             std::vector<MyFace>& faces, std::vector<MyPoint3>& faceNormals,
                             std::vector<int>& ringIndices) {
  vertices.clear();
  faces.clear();
  faceNormals.clear();
  ringIndices.clear();
  cavity::Surroundings around;
  if (!cavity::read_surroundings(regionFaces, ringPoints, around)) return status_refused;
  cavity::PatchMesh patch = close_ring(around);
  shape_patch(around, patch);
  write_patch(around, patch, ringPoints, vertices, faces, faceNormals, ringIndices);
  return status_done;
}

int CavityPatcher::fillHolePolyline(const std::vector<double>& polyline,
                                    std::vector<int>& triangles) {
  triangles.clear();
  cavity::Surroundings around;
  if (!cavity::read_surroundings({}, polyline, around)) return status_refused;
  const cavity::PatchMesh patch = close_ring(around);
  for (const cavity::Triangle& t : patch.triangles())
    triangles.insert(triangles.end(), t.begin(), t.end());
  return status_done;
}

}  // namespace Mesh_M
