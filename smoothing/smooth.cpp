#include "smoothing/smooth.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "smoothing/vertex_steps.h"

namespace Mesh_SF {

using Mesh_R::_face;
using Mesh_R::_vert;
using scanmesh::Barrier;
using scanmesh::FlatMesh;
using scanmesh::Lane;
using scanmesh::Numbers;
using scanmesh::Range;
using scanmesh::RawArray;
using scanmesh::Vec3f;
using scanmesh::Worker;

namespace {

// Faces nearer than this, in mesh units, have no say over a vertex.
constexpr double kTiny = 0.0001;
// Faces beyond this, in mesh units, have their pull bounded in the capped form.
constexpr double kFar = 0.3;
constexpr double kCorners = 3.0;

Vec3f centroid_of(const Vec3f& sum) {
  return {static_cast<float>(sum.x / kCorners), static_cast<float>(sum.y / kCorners),
          static_cast<float>(sum.z / kCorners)};
}

// The weighted mean of the normals around a face. One per worker, for its list of distances.
class BilateralNormal {
 public:
  BilateralNormal(const FlatMesh& mesh, const RawArray<double>& areas, float spatial_factor,
                  float sigma_s)
      : mesh_(mesh),
        areas_(areas),
        spatial_factor_(spatial_factor),
        sigma_s_squared_(sigma_s * sigma_s) {}

  Vec3f operator()(int f, const RawArray<Vec3f>& normals, Numbers around) {
    const double sigma_c = measure(f, around);
    const double sigma_c_squared = sigma_c * sigma_c;
    Vec3f sum{0, 0, 0};
    for (std::size_t i = 0; i < around.size(); ++i) {
      const int32_t g = around.first[i];
      const Vec3f difference = scanmesh::sub(normals[f], normals[g]);
      const double d = distances_[i];
      const double weight =
          areas_[g] *
          std::exp(scanmesh::dot_double(difference, difference) * -0.5 / sigma_s_squared_) *
          std::exp(d * -0.5 * d / sigma_c_squared);
      sum = scanmesh::add(sum, scanmesh::scaled(normals[g], weight));
    }
    const Vec3f unit = scanmesh::unit_or_zero(sum);
    return scanmesh::finite(unit) ? unit : normals[f];
  }

 private:
  // Notes the distances of the centroids; returns the spatial width.
  float measure(int f, Numbers around) {
    distances_.clear();
    double sum = 0;
    for (const int32_t g : around) {
      distances_.push_back(scanmesh::distance(mesh_.centroids[f], mesh_.centroids[g]));
      sum += distances_.back();
    }
    return static_cast<float>(sum / static_cast<double>(around.size()) * spatial_factor_);
  }

  const FlatMesh& mesh_;
  const RawArray<double>& areas_;
  double spatial_factor_;
  double sigma_s_squared_;  // rounded to float
  std::vector<double> distances_;
};

// A sum without length stays zero, and is stored so.
Vec3f thresholded_normal(int f, const RawArray<Vec3f>& normals, Numbers around, double threshold) {
  Vec3f sum{0, 0, 0};
  for (const int32_t g : around) {
    const double x = std::min(scanmesh::dot_double(normals[f], normals[g]), 1.0);
    if (!(x >= threshold)) continue;
    sum = scanmesh::add(sum, scanmesh::scaled(normals[g], (x - threshold) * (x - threshold)));
  }
  return scanmesh::unit_or_zero(sum);
}

// How a vertex is pulled towards the planes of its faces: the offset of each centroid, scaled by
// its distance, and projected on the face's normal.
Vec3f moved_vertex(const FlatMesh& mesh, const RawArray<Vec3f>& normals, const Vec3f& v,
                   Numbers faces, bool cap) {
  double sum = 0;
  double largest = 0;
  for (const int32_t f : faces) {
    const double d = scanmesh::distance(mesh.centroids[f], v);
    sum += d;
    largest = std::max(largest, d);
  }
  const double mean = sum / static_cast<double>(faces.size());
  if (largest < kTiny || mean < kTiny) return v;
  const bool bounded = cap && mean > kFar;
  scanmesh::MeanPoint pull;
  for (const int32_t f : faces) {
    const Vec3f e = scanmesh::sub(mesh.centroids[f], v);
    const double d = scanmesh::length(e);
    const double factor = bounded ? d / (largest / kFar) : std::exp(d * -0.5 * d / (mean * mean));
    pull.add(scanmesh::along(normals[f], scanmesh::scaled(e, factor)));
  }
  return scanmesh::add(v, pull.mean());
}

enum : uint8_t { kStays = 0, kMoves = 1, kDoomed = 2 };

bool may_move(const _vert& vert) {
  return vert.state != Mesh_R::kStateDeleted && vert.state != Mesh_R::kStateHighCurvature &&
         vert.edge_num != 0;
}

}  // namespace

Smooth::Smooth(Mesh_M::ProcessStepCallback callback, int workers)
    : callback_(std::move(callback)), workers_(workers) {}

void Smooth::load(Mesh_R::Face& faces, Mesh_R::Vertex& vertices) {
  flat_.load_faces(vertices, faces, workers_);
  flat_.load_points(vertices, workers_);
  counts_ = RawArray<uint8_t>(flat_.corners.size());
  scanmesh::run_slices(
      faces.get_facenum(), workers_, [&](std::ptrdiff_t first, std::ptrdiff_t last) {
        const Range range = {static_cast<int>(first), static_cast<int>(last)};
        scanmesh::refresh_centroids(flat_, range, flat_.points[0], centroid_of);
        scanmesh::for_each_in(faces.records, range.begin, range.end, [&](int f, const _face& face) {
          counts_[f] = face.state > 0 && face.state != Mesh_R::kStateDeleted ? 1 : 0;
        });
      });
  moves_ = RawArray<uint8_t>(flat_.points[0].size());
  scanmesh::for_each_in(vertices.records, 0, vertices.get_vertnum(), [&](int v, const _vert& vert) {
    moves_[v] = may_move(vert) ? kMoves : kStays;
  });
}

void Smooth::run(Mesh_R::Face& faces, Mesh_R::Vertex& vertices, int normal_iterations,
                 int vertex_iterations, scanmesh::Progress& progress, const LaneBody& body) {
  Semap::Semaphore gather;
  gather.signal();
  face_shares_ = std::make_unique<scanmesh::Shares>(faces.get_facenum(), workers_);
  vert_shares_ = std::make_unique<scanmesh::Shares>(vertices.get_vertnum(), workers_);
  normals_ = std::make_unique<scanmesh::NormalStage>(*face_shares_, &counts_, normal_iterations);
  scanmesh::Lockstep lanes(workers_);
  lanes.share(faces.get_facenum());
  lanes.start([&](Lane& lane) { body(lane, &gather); });
  for (int i = 0; i < normal_iterations; ++i) {
    progress.next();
    lanes.cross(2);
  }
  lanes.cross([&] {
    normals_->kept.clear();
    lanes.share(vertices.get_vertnum());
  });
  for (int i = 0; i < vertex_iterations; ++i) {
    progress.next();
    lanes.cross(2);
  }
  lanes.finish();
  // What stands is in the first array of each pair again.
  if (normal_iterations % 2 == 1) std::swap(flat_.normals[0], flat_.normals[1]);
  if (vertex_iterations % 2 == 1) std::swap(flat_.points[0], flat_.points[1]);
}

void Smooth::Smooth_Bilateral(Mesh_R::Face* faces, Mesh_R::Vertex* vertices, int normal_iterations,
                              int vertex_iterations, float spatial_factor, float sigma_s) {
  load(*faces, *vertices);
  areas_ = RawArray<double>(flat_.corners.size());
  scanmesh::run_slices(
      faces->get_facenum(), workers_, [&](std::ptrdiff_t begin, std::ptrdiff_t end) {
        for (auto f = static_cast<int>(begin); f < static_cast<int>(end); ++f) {
          const scanmesh::FaceCorners& c = flat_.corners[f];
          areas_[f] = scanmesh::length(scanmesh::corner_cross(
              flat_.points[0][c[0]], flat_.points[0][c[1]], flat_.points[0][c[2]]));
        }
      });
  scanmesh::Progress progress(callback_, normal_iterations + vertex_iterations);
  run(*faces, *vertices, normal_iterations, vertex_iterations, progress,
      [&](Lane& lane, Semap::Semaphore* gather) {
        Bilateral_Worker(faces, vertices, &lane.begin, &lane.end, &lane.to_worker, &lane.to_main,
                         gather, normal_iterations, vertex_iterations, spatial_factor, sigma_s);
      });
}

void Smooth::Smooth_Two_Step(Mesh_R::Face* faces, Mesh_R::Vertex* vertices, int rounds,
                             int normal_iterations, float cos_threshold, int vertex_iterations) {
  load(*faces, *vertices);
  scanmesh::Progress progress(callback_, rounds * (normal_iterations + vertex_iterations));
  for (int round = 0; round < rounds; ++round) {
    run(*faces, *vertices, normal_iterations, vertex_iterations, progress,
        [&](Lane& lane, Semap::Semaphore* gather) {
          Two_Step_Worker(faces, vertices, &lane.begin, &lane.end, &lane.to_worker, &lane.to_main,
                          gather, normal_iterations, cos_threshold, vertex_iterations);
        });
  }
}

void Smooth::Bilateral_Worker(Mesh_R::Face* faces, Mesh_R::Vertex* vertices, int* begin, int*,
                              Semap::Semaphore* toWorker, Semap::Semaphore* toMain,
                              Semap::Semaphore*, int, int vertex_iterations, float spatial_factor,
                              float sigma_s) {
  work(*faces, *vertices, begin, Barrier{toWorker, toMain}, vertex_iterations,
       VertexRule{false, true}, BilateralNormal(flat_, areas_, spatial_factor, sigma_s));
}

void Smooth::Two_Step_Worker(Mesh_R::Face* faces, Mesh_R::Vertex* vertices, int* begin, int*,
                             Semap::Semaphore* toWorker, Semap::Semaphore* toMain,
                             Semap::Semaphore*, int, float cos_threshold, int vertex_iterations) {
  work(*faces, *vertices, begin, Barrier{toWorker, toMain}, vertex_iterations,
       VertexRule{true, false},
       [cos_threshold](int f, const RawArray<Vec3f>& normals, Numbers around) {
         return thresholded_normal(f, normals, around, cos_threshold);
       });
}

template <typename NewNormal>
void Smooth::work(Mesh_R::Face& faces, Mesh_R::Vertex& vertices, const int* begin,
                  const Barrier& barrier, int vertex_iterations, VertexRule rule,
                  NewNormal new_normal) {
  Worker own_faces(*face_shares_, *begin);
  const int now =
      scanmesh::filter_normals(flat_, faces, own_faces, *normals_, barrier, std::move(new_normal));
  barrier.arrive();
  Worker own_verts(*vert_shares_, *begin);
  move_vertices(vertices, own_faces, own_verts, flat_.normals[now], vertex_iterations, barrier,
                rule);
}

// Two barriers per iteration: compute, write.
void Smooth::move_vertices(Mesh_R::Vertex& vertices, Worker& faces, Worker& verts,
                           const RawArray<Vec3f>& normals, int iterations, const Barrier& barrier,
                           VertexRule rule) {
  int now = 0;
  for (int i = 0; i < iterations; ++i) {
    verts.take_chunks([&](Range range, int) { compute_points(range, normals, now, rule); });
    barrier.arrive();
    now = 1 - now;
    verts.take_chunks([&](Range range, int) { write_points(vertices, range, now); });
    faces.take_chunks([&](Range range, int) {
      scanmesh::refresh_centroids(flat_, range, flat_.points[now], centroid_of);
    });
    barrier.arrive();
  }
}

// A deleted vertex stays where it was: the faces that still name it go on counting.
void Smooth::compute_points(Range range, const RawArray<Vec3f>& normals, int now, VertexRule rule) {
  const RawArray<Vec3f>& from = flat_.points[now];
  RawArray<Vec3f>& to = flat_.points[1 - now];
  for (int v = range.begin; v < range.end; ++v) {
    to[v] = from[v];
    if (moves_[v] == kStays) continue;
    const Vec3f place = moved_vertex(flat_, normals, from[v], flat_.faces_of.of(v), rule.cap);
    if (rule.deletes && !scanmesh::finite(place)) {
      moves_[v] = kDoomed;
    } else {
      to[v] = place;
    }
  }
}

void Smooth::write_points(Mesh_R::Vertex& vertices, Range range, int now) {
  scanmesh::write_points(vertices, range, flat_.points[now]);
  for (int v = range.begin; v < range.end; ++v) {
    if (moves_[v] != kDoomed) continue;
    vertices[v]->state = Mesh_R::kStateDeleted;
    moves_[v] = kStays;
  }
}

}  // namespace Mesh_SF
