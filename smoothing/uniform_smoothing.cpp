// Smoothing with uniform weights: the whole mesh, a list of vertices, cells of a chosen size.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "core/face_building.h"
#include "core/live_records.h"
#include "core/progress.h"
#include "core/record_numbers.h"
#include "scanmesh/mesh.h"
#include "smoothing/filter_params.h"
#include "smoothing/flat_adjacency.h"
#include "smoothing/vertex_steps.h"

namespace Mesh_M {

namespace {

using Mesh_R::_face;
using Mesh_R::_vert;
using Mesh_R::kStateDeleted;
using scanmesh::RawArray;
using scanmesh::Vec3f;

constexpr double kBandStep = 0.8;
constexpr int kBandRounds = 5;
constexpr double kEdgesOfAFace = 3.0;

using scanmesh::FloatLanes;

void uniform_pass(const scanmesh::FlatLists& neighbours, const RawArray<FloatLanes>& from,
                  RawArray<FloatLanes>& to, float step) {
  for (std::size_t i = 0; i < from.size(); ++i) {
    const scanmesh::Numbers around = neighbours.of(static_cast<int>(i));
    to[i] = scanmesh::uniform_step(from.data(), from[i], around.first, around.last, step);
  }
}

// The band smoother's vertices with their neighbours, each neighbour once.
struct Band {
  std::vector<_vert*> verts;
  std::vector<std::size_t> start = {0};
  std::vector<const _vert*> neighbours;
};

double mean_edge(const _face& face) {
  const Vec3f& a = face.vert[0]->point;
  const Vec3f& b = face.vert[1]->point;
  const Vec3f& c = face.vert[2]->point;
  return (scanmesh::distance(a, b) + scanmesh::distance(b, c) + scanmesh::distance(c, a)) /
         kEdgesOfAFace;
}

// Corners of the faces in the band, then their neighbours, each vertex once. All slots of the face
// store count: a deleted face selects its corners too.
std::vector<_vert*> band_vertices(Mesh& mesh, double low, double high) {
  scanmesh::RecordNumbers<_vert> number(mesh.vertex.records);
  std::vector<bool> taken(static_cast<std::size_t>(mesh.vertex.get_vertnum()));
  std::vector<_vert*> verts;
  const auto take = [&](_vert* vert) {
    const auto i = static_cast<std::size_t>(number(vert));
    if (!taken[i]) verts.push_back(vert);
    taken[i] = true;
  };
  scanmesh::for_each_in(mesh.face.records, 0, mesh.face.get_facenum(), [&](int, _face& face) {
    const double size = mean_edge(face);
    if (size > low && size < high) std::for_each(face.vert, face.vert + 3, take);
  });
  for (std::size_t i = 0, corners = verts.size(); i < corners; ++i) {
    const _vert* const vert = verts[i];
    for (int k = 0; k < vert->edge_num; ++k) take(scanmesh::far_end(vert->edge[k], vert));
  }
  return verts;
}

Band make_band(Mesh& mesh, double low, double high) {
  Band band;
  band.verts = band_vertices(mesh, low, high);
  scanmesh::RecordNumbers<_vert> number(mesh.vertex.records);
  std::vector<int> listed_by(static_cast<std::size_t>(mesh.vertex.get_vertnum()), -1);
  for (std::size_t i = 0; i < band.verts.size(); ++i) {
    const _vert* const vert = band.verts[i];
    for (int k = 0; k < vert->edge_num; ++k) {
      const _vert* const far = scanmesh::far_end(vert->edge[k], vert);
      int& last = listed_by[static_cast<std::size_t>(number(far))];
      if (last != static_cast<int>(i)) band.neighbours.push_back(far);
      last = static_cast<int>(i);
    }
    band.start.push_back(band.neighbours.size());
  }
  return band;
}

// v + 0.8 x mean(n - v), the mean by the reciprocal of the count.
Vec3f band_step(const Band& band, std::size_t i) {
  const Vec3f& v = band.verts[i]->point;
  Vec3f sum{0, 0, 0};
  for (std::size_t k = band.start[i]; k < band.start[i + 1]; ++k) {
    sum = scanmesh::add(sum, scanmesh::sub(band.neighbours[k]->point, v));
  }
  const auto count = static_cast<double>(band.start[i + 1] - band.start[i]);
  return scanmesh::add(v, scanmesh::scaled(scanmesh::scaled(sum, 1.0 / count), kBandStep));
}

}  // namespace

void Mesh::meshSmooth(int iterations) {
  const scanmesh::Filter_Params params;
  const scanmesh::FlatLists neighbours = scanmesh::neighbours_of_vertices(vertex, 1);
  RawArray<FloatLanes> points(static_cast<std::size_t>(vertex.get_vertnum()));
  RawArray<FloatLanes> halfway(points.size());
  scanmesh::for_each_in(vertex.records, 0, vertex.get_vertnum(), [&](int i, const _vert& vert) {
    points[i] = scanmesh::lanes_of(vert.point);
  });
  for (int i = 0; i < iterations; ++i) {
    uniform_pass(neighbours, points, halfway, params.lambda);
    uniform_pass(neighbours, halfway, points, params.mu);
  }
  scanmesh::for_each_in(vertex.records, 0, vertex.get_vertnum(),
                        [&](int i, _vert& vert) { vert.point = scanmesh::point_of(points[i]); });
}

void Mesh::laplace(std::vector<_vert*>& verts, int iterations, double lambda) {
  std::vector<Vec3f> moved(verts.size());
  for (int round = 0; round < iterations; ++round) {
    for (std::size_t i = 0; i < verts.size(); ++i) {
      const _vert& vert = *verts[i];
      scanmesh::UniformStep move(vert.point);
      for (int k = 0; k < vert.edge_num; ++k) {
        if (vert.edge[k]->state == kStateDeleted) continue;
        move.pull(scanmesh::far_end(vert.edge[k], &vert)->point);
      }
      moved[i] = move.moved(lambda);
    }
    for (std::size_t i = 0; i < verts.size(); ++i) verts[i]->point = moved[i];
  }
}

void Mesh::borderSmoothing(float size, int levels) {
  if (levels < 2) return;
  const float low = std::ldexp(static_cast<float>(levels) * size, -levels);
  const float high = (low + size) * 0.5F;
  const Band band = make_band(*this, low, high);
  std::vector<Vec3f> moved(band.verts.size());
  for (int round = 1; round <= kBandRounds; ++round) {
    scanmesh::report_step(process_step, round, kBandRounds);
    for (std::size_t i = 0; i < moved.size(); ++i) moved[i] = band_step(band, i);
    for (std::size_t i = 0; i < moved.size(); ++i) {
      if (!scanmesh::has_nan(moved[i])) band.verts[i]->point = moved[i];
    }
  }
}

}  // namespace Mesh_M

void Mesh_R::Vertex::Lap_filter(_vert* vert, MemS::Point3v<float>* out, bool self) {
  if (vert == nullptr || out == nullptr) return;
  const scanmesh::MeanPoint mean = scanmesh::mean_of_neighbours(*vert, self);
  if (mean.count() > 0) *out = mean.mean();
}
