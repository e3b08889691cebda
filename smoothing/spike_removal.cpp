// Levelling spikes and pits: a work queue of vertices, relaxed where that calms the curvature
// around.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <utility>
#include <vector>

#include "core/face_building.h"
#include "core/live_records.h"
#include "core/record_numbers.h"
#include "core/vector_math.h"
#include "scanmesh/curvature.h"
#include "scanmesh/mesh.h"

namespace Mesh_M {

namespace {

using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;
using Mesh_R::kStateDeleted;
using scanmesh::Vec3f;

constexpr int kHighestLevel = 100;
constexpr int16_t kFrozen = 10;
// The work ends when the queue has shrunk to this part of its first size, or after so many pops for
// each vertex that was on it.
constexpr double kQueueLeft = 0.001;
constexpr double kPopsPerVertex = 3;
constexpr double kLeastMean = 1e-8;

// (H, K) per vertex. A vertex that nobody has asked for before reads as (0, 0).
using Curvature = std::pair<double, double>;

struct Thresholds {
  explicit Thresholds(double level)
      : least_h(0.16 - 0.001 * level - 0.03),
        least_k(0.008 - 0.00004 * level - 0.002),
        gain(2.54 - 0.0044 * level - 1.05) {}
  double least_h;  // below either a vertex is flat
  double least_k;
  double gain;  // a move must better one measure by this factor
};

// Sum and extremes of one measure over a neighbourhood.
struct Spread {
  double sum;
  double largest;
  double smallest;

  explicit Spread(double first) : sum(first), largest(first), smallest(first) {}
  void add(double value) {
    sum += value;
    if (value > largest) largest = value;
    if (value < smallest) smallest = value;
  }
  // Without the extremes.
  double trimmed_mean(int count) const { return (sum - largest - smallest) / (count - 2); }
  double total(int count, double mean) const { return (count - 2) * mean + largest + smallest; }
  double range() const { return largest - smallest; }
};

struct Neighbourhood {
  Spread h;
  Spread k;  // of the magnitude
  int count = 1;

  explicit Neighbourhood(const Curvature& own) : h(own.first), k(std::fabs(own.second)) {}
  void add(const Curvature& other) {
    h.add(other.first);
    k.add(std::fabs(other.second));
    ++count;
  }
};

// Written out, so that a NaN stays one.
double at_least_tiny(double mean) {
  return mean < kLeastMean ? kLeastMean : mean;
}

// Whether one measure at least gets calmer by the factor.
bool calmer(const Neighbourhood& before, const Neighbourhood& after, double factor) {
  const int n = before.count;
  const double k_before = before.k.trimmed_mean(n);
  const double k_after = at_least_tiny(after.k.trimmed_mean(n));
  const double h_before = before.h.trimmed_mean(n);
  const double h_after = at_least_tiny(after.h.trimmed_mean(n));
  return k_before / k_after > factor || before.k.range() / after.k.range() > factor ||
         before.k.total(n, k_before) / after.k.total(n, k_after) > factor ||
         before.h.total(n, h_before) / after.h.total(n, h_after) > factor;
}

class SpikeRemover {
 public:
  SpikeRemover(Mesh& mesh, int level)
      : mesh_(mesh),
        thresholds_(level),
        number_(mesh.vertex.records),
        curvature_(static_cast<std::size_t>(mesh.vertex.get_vertnum())) {}

  void enqueue(_vert* vert) {
    if (vert->state == kStateDeleted || vert->state == kFrozen) return;
    scanmesh::flip_state(vert);
    measure(vert);
    queue_.push_back(vert);
  }

  void run() {
    first_size_ = queue_.size();
    const auto size = static_cast<double>(first_size_);
    while (!queue_.empty() && static_cast<double>(queue_.size()) >= size * kQueueLeft &&
           static_cast<double>(pops_) <= kPopsPerVertex * size) {
      _vert* const vert = queue_.front();
      queue_.pop_front();
      // A vertex that was removed while it stood here a second time stays removed.
      if (vert->state == kStateDeleted) continue;
      scanmesh::flip_state(vert);
      if (vert->state < 0) continue;  // it had been taken off already
      ++pops_;
      level_out(vert);
    }
  }

 private:
  bool early() const { return pops_ < first_size_; }

  Curvature& known(const _vert* vert) {
    return curvature_[static_cast<std::size_t>(number_(vert))];
  }
  void measure(_vert* vert) { known(vert) = GetHK(vert, true, false, false, nullptr, nullptr); }

  void push_if_idle(_vert* vert) {
    if (vert->state <= 0) return;
    scanmesh::flip_state(vert);
    queue_.push_back(vert);
  }

  void level_out(_vert* vert);
  Vec3f relaxed(const _vert* vert) const;
  bool worth_moving(_vert* vert, Vec3f place);
  void remove(_vert* vert);
  void move(_vert* vert, const Vec3f& place);

  Mesh& mesh_;
  Thresholds thresholds_;
  scanmesh::RecordNumbers<_vert> number_;
  std::vector<Curvature> curvature_;
  std::deque<_vert*> queue_;
  std::size_t first_size_ = 0;
  std::size_t pops_ = 0;
};

void SpikeRemover::level_out(_vert* vert) {
  const Curvature& own = known(vert);
  if (own.first < thresholds_.least_h || std::fabs(own.second) < thresholds_.least_k) return;
  const Vec3f place = relaxed(vert);
  if (!worth_moving(vert, place)) return;
  if (vert->edge_num == 3 && vert->face_num == 3 && early()) {
    remove(vert);
  } else if (vert->edge_num > 3 || vert->face_num > 3 || pops_ > first_size_) {
    move(vert, place);
  }
}

// The Laplacian step weighted by edge length; half of it once every vertex has had its turn.
Vec3f SpikeRemover::relaxed(const _vert* vert) const {
  Vec3f sum{0, 0, 0};
  double total = 0;
  for (int i = 0; i < vert->edge_num; ++i) {
    const _edge* const edge = vert->edge[i];
    if (edge->state == kStateDeleted) continue;
    const Vec3f offset = scanmesh::sub(scanmesh::far_end(edge, vert)->point, vert->point);
    const double size = scanmesh::length(offset);
    sum = scanmesh::add(sum, scanmesh::scaled(offset, size));
    total += size;
  }
  const Vec3f mean = {static_cast<float>(sum.x / total), static_cast<float>(sum.y / total),
                      static_cast<float>(sum.z / total)};
  return scanmesh::add(vert->point, scanmesh::scaled(mean, early() ? 1.0 : 0.5));
}

// Compares the curvature around as it is known with what it would be. Frozen vertices have no say.
bool SpikeRemover::worth_moving(_vert* vert, Vec3f place) {
  const auto moved = [&](_vert* at) { return GetHK(at, false, false, true, vert, &place); };
  Neighbourhood before(known(vert));
  Neighbourhood after(moved(vert));
  for (int i = 0; i < vert->edge_num; ++i) {
    if (vert->edge[i]->state == kStateDeleted) continue;
    _vert* const far = scanmesh::far_end(vert->edge[i], vert);
    if (far->state == kFrozen) continue;
    before.add(known(far));
    after.add(moved(far));
  }
  return before.count > 2 && calmer(before, after, thresholds_.gain);
}

// Replaces a vertex with three faces by the face over its neighbours. Insertion sets them live,
// whatever they were: frozen ones take part from here on, and one that was on the queue stands
// there twice. Where that face is there already, only the hole remains.
void SpikeRemover::remove(_vert* vert) {
  _vert* corners[3] = {};
  _face* faces[3] = {};
  Vec3f normals{0, 0, 0};
  for (int i = 0; i < 3; ++i) {
    corners[i] = scanmesh::far_end(vert->edge[i], vert);
    faces[i] = vert->face[i];
    normals = scanmesh::add(normals, faces[i]->vector);
  }
  for (_face* face : faces) mesh_.face.dele_face(face);
  _face* const face = mesh_.insert_face(corners[0], corners[1], corners[2], normals);
  if (face == nullptr) return;
  mesh_.face.refresh_vector(face);
  if (scanmesh::dot(face->vector, normals) < 0) {
    face->vector = scanmesh::negated(face->vector);
    std::swap(face->vert[0], face->vert[2]);
  }
  for (_vert* corner : corners) {
    mesh_.vertex.R_cal_vector(corner);
    measure(corner);
    push_if_idle(corner);
  }
}

void SpikeRemover::move(_vert* vert, const Vec3f& place) {
  vert->point = place;
  for (int i = 0; i < vert->face_num; ++i) {
    if (vert->face[i]->state != kStateDeleted) mesh_.face.refresh_vector(vert->face[i]);
  }
  mesh_.vertex.R_cal_vector(vert);
  measure(vert);
  for (int i = 0; i < vert->edge_num; ++i) {
    if (vert->edge[i]->state == kStateDeleted) continue;
    _vert* const far = scanmesh::far_end(vert->edge[i], vert);
    if (far->state == kFrozen) continue;
    mesh_.vertex.R_cal_vector(far);
    measure(far);
    push_if_idle(far);
  }
}

// The live vertices and faces as a new mesh: removed vertices go, and all derived data is new.
void rebuild_in_place(Mesh& mesh) {
  mesh.refresh_point_index();
  int point_count = 0;
  int corner_count = 0;
  _face** records = nullptr;
  const std::unique_ptr<float[]> points(mesh.getvert_poision(point_count));
  const std::unique_ptr<int[]> corners(mesh.get_face_index(records, corner_count, 1));
  delete[] records;
  // Rings and the last fill name records that are about to go.
  mesh.hole.free();
  mesh.free();
  mesh.rebuild(points.get(), point_count, corners.get(), corner_count / 3);
}

}  // namespace

void Mesh::remove_spikes_new(int level) {
  std::vector<_vert*> all;
  remove_spikes_new(level, all);
}

void Mesh::remove_spikes_new(int level, std::vector<_vert*>& verts) {
  if (level > kHighestLevel) return;
  remove_spikes_new_private(level, verts);
  rebuild_in_place(*this);
}

void Mesh::remove_spikes_new_private(int level, std::vector<_vert*>& verts) {
  scanmesh::for_each_in(vertex.records, 0, vertex.get_vertnum(), [](int, _vert& vert) {
    if (vert.state < 0) scanmesh::flip_state(&vert);
  });
  tabBorder(kFrozen);
  SpikeRemover remover(*this, level);
  if (verts.empty()) {
    scanmesh::for_each_in(vertex.records, 0, vertex.get_vertnum(),
                          [&](int, _vert& vert) { remover.enqueue(&vert); });
  } else {
    for (_vert* vert : verts) remover.enqueue(vert);
  }
  remover.run();
}

}  // namespace Mesh_M
