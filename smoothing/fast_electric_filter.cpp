#include "smoothing/fast_electric_filter.h"

#include <cmath>

#include "core/parallel.h"
#include "smoothing/vertex_steps.h"

namespace scanmesh {

namespace {

using Mesh_R::_face;
using Mesh_R::_vert;
using Mesh_R::kStateDeleted;

// Limits of curvature were set with a full angle cut off here.
constexpr double kFullCircle = 6.283185306;
constexpr double kThird = 0.3333333333333333;

enum : int8_t { kLeftAlone = 0, kFollowsNormals = 1, kHighCurvature = -1 };

Vec3f third_of(const Vec3f& sum) {
  return scaled(sum, kThird);
}

}  // namespace

ElectricFilter::ElectricFilter(Mesh_M::Mesh& mesh, int level, float value, bool flag)
    : mesh_(mesh), taubin_only_(flag) {
  Filter_Levels(params_, level, value);
  if (flag) params_.normal_iterations = 0;
}

void ElectricFilter::run(int workers) {
  run(workers, [this](Lane& lane) { work(&lane.begin, Barrier{&lane.to_worker, &lane.to_main}); });
}

void ElectricFilter::run(int workers, const std::function<void(Lane&)>& work) {
  faces_ = std::make_unique<Shares>(mesh_.face.get_facenum(), workers);
  verts_ = std::make_unique<Shares>(mesh_.vertex.get_vertnum(), workers);
  normals_ = std::make_unique<NormalStage>(*faces_, nullptr, params_.normal_iterations);
  if (!taubin_only_) flat_.load_faces(mesh_.vertex, mesh_.face, workers);
  Progress progress(mesh_.process_step, params_.normal_iterations + params_.vertex_iterations + 1);
  {
    Lockstep lanes(workers, this);
    lanes.share(mesh_.face.get_facenum());
    lanes.start(work);
    for (int i = 0; i < params_.normal_iterations; ++i) {
      progress.next();
      lanes.cross(2);
    }
    lanes.cross([&] {
      normals_->kept.clear();
      loaded_ = load_vertices(workers);
      lanes.share(mesh_.vertex.get_vertnum());
    });
    for (int i = 0; i < params_.vertex_iterations; ++i) {
      progress.next();
      lanes.cross(4);
    }
    lanes.finish();
  }
  progress.next();
  refresh_normals();
}

bool ElectricFilter::load_vertices(int tasks) {
  neighbours_of_ = neighbours_of_vertices(mesh_.vertex, tasks);
  flat_.load_points(mesh_.vertex, tasks);
  classes_ = RawArray<int8_t>(flat_.points[0].size());
  run_slices(static_cast<std::ptrdiff_t>(flat_.corners.size()), tasks,
             [this](std::ptrdiff_t begin, std::ptrdiff_t end) {
               refresh_centroids(flat_, {static_cast<int>(begin), static_cast<int>(end)},
                                 flat_.points[0], third_of);
             });
  return true;
}

// A face's refresh reads its own corners and writes the face, so that faces go in parallel.
void ElectricFilter::refresh_normals() {
  parallel_over(mesh_.face.records, processor_count(), [this](_face& face) {
    if (face.state != kStateDeleted) mesh_.face.refresh_vector(&face);
  });
  mesh_.vertex.R_cal_vector();
}

void ElectricFilter::work(const int* begin, const Barrier& barrier) {
  Worker faces(*faces_, *begin);
  const int now = filter_normals(flat_, mesh_.face, faces, *normals_, barrier,
                                 [&](int f, const RawArray<Vec3f>& normals, Numbers around) {
                                   return new_normal(f, normals, around);
                                 });
  barrier.arrive();
  if (!loaded_) return;
  Worker verts(*verts_, *begin);
  move_vertices(faces, verts, flat_.normals[now], barrier);
}

// Neighbours weigh by how far their agreement exceeds the threshold.
Vec3f ElectricFilter::new_normal(int f, const RawArray<Vec3f>& normals, Numbers around) const {
  const Vec3f& own = normals[f];
  const float threshold = params_.normal_threshold;
  Vec3f sum{0, 0, 0};
  for (const int32_t g : around) {
    const auto agreement = static_cast<float>(dot_double(own, normals[g]));
    if (!(agreement > threshold)) continue;
    const float excess = agreement - threshold;
    sum = add(sum, scaled(normals[g], excess * excess));
  }
  const double size = length(sum);
  return size == 0 ? own : scaled(sum, 1.0 / size);
}

// Angle deficit per area. The vertex finds itself in a face by position.
double ElectricFilter::curvature(int v) const {
  const RawArray<Vec3f>& points = flat_.points[0];
  double angles = 0;
  double area = 0;
  for (const int32_t f : flat_.faces_of.of(v)) {
    const FaceCorners& corners = flat_.corners[f];
    std::size_t at = 0;
    while (at < 3 && !welds(points[corners[at]], points[v])) ++at;
    if (at == 3) return 0.0;
    const Vec3f a = sub(points[corners[(at + 1) % 3]], points[corners[at]]);
    const Vec3f b = sub(points[corners[(at + 2) % 3]], points[corners[at]]);
    // Not clamped: rounding beyond 1 gives NaN, and such a vertex follows the normals.
    angles += std::acos(dot_double(a, b) / (length(a) * length(b)));
    area += 0.5 * length(cross(a, b));
  }
  return area == 0 ? 0.0 : (kFullCircle - angles) / area;
}

void ElectricFilter::classify(Range verts) {
  const double limit = params_.curvature_limit;
  for_each_in(mesh_.vertex.records, verts.begin, verts.end, [&](int v, const _vert& vert) {
    const double c = taubin_only_ || vert.state == kStateDeleted ? 0.0 : curvature(v);
    const bool high = taubin_only_ || c < -limit || c > limit;
    classes_[v] = high ? kHighCurvature : kFollowsNormals;
    if (vert.state == kStateDeleted) classes_[v] = kLeftAlone;
  });
}

// Four barriers per iteration: either half-step is computed, and then made ready for the next. The
// classes are decided once for the whole call, before anything has moved.
void ElectricFilter::move_vertices(Worker& faces, Worker& verts, const RawArray<Vec3f>& normals,
                                   const Barrier& barrier) {
  int now = 0;
  for (int i = 0; i < params_.vertex_iterations; ++i) {
    for (const bool first : {true, false}) {
      verts.take_chunks([&](Range range, int) {
        if (i == 0 && first) classify(range);
        half_step(range, normals, now, first ? params_.lambda : params_.mu);
      });
      barrier.arrive();
      now = 1 - now;
      verts.take_chunks([&](Range range, int) {
        if (!first) write_points(mesh_.vertex, range, flat_.points[now]);
      });
      faces.take_chunks([&](Range range, int) {
        if (!taubin_only_) refresh_centroids(flat_, range, flat_.points[now], third_of);
      });
      barrier.arrive();
    }
  }
}

// A vertex that follows the normals does so in either half-step.
void ElectricFilter::half_step(Range verts, const RawArray<Vec3f>& normals, int now, double step) {
  const RawArray<Vec3f>& from = flat_.points[now];
  RawArray<Vec3f>& to = flat_.points[1 - now];
  for (int v = verts.begin; v < verts.end; ++v) {
    const Vec3f& point = from[v];
    to[v] = point;
    if (classes_[v] == kHighCurvature) {
      UniformStep move(point);
      for (const int32_t n : neighbours_of_.of(v)) move.pull(from[n]);
      to[v] = move.moved(step);
    } else if (classes_[v] == kFollowsNormals) {
      MeanPoint pull;
      for (const int32_t f : flat_.faces_of.of(v)) {
        pull.add(along(normals[f], sub(flat_.centroids[f], point)));
      }
      if (pull.count() > 0) to[v] = add(point, pull.mean());
    }
  }
}

}  // namespace scanmesh

namespace Mesh_M {

void Mesh::Fast_Eletric_Filter(int level, float value, bool flag) {
  scanmesh::ElectricFilter filter(*this, level, value, flag);
  filter.run(scanmesh::one_and_a_half_processors(), [=](scanmesh::Lane& lane) {
    func_Fast_Eletric_Filter(&lane.begin, &lane.end, &lane.to_worker, &lane.to_main, level, value,
                             flag);
  });
}

// The run has worked out the same preset, and knows where each range ends.
void Mesh::func_Fast_Eletric_Filter(int* begin, int*, Semap::Semaphore* toWorker,
                                    Semap::Semaphore* toMain, int, float, bool) {
  auto* const semaphore = static_cast<scanmesh::LaneSemaphore*>(toWorker);
  auto* const filter = static_cast<scanmesh::ElectricFilter*>(semaphore->run);
  filter->work(begin, scanmesh::Barrier{toWorker, toMain});
}

void Mesh::featureSharpening() {
  Fast_Eletric_Filter(5, 0.6F, false);
}

}  // namespace Mesh_M
