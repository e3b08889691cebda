// The relaxation of spikes once more, plainly: what the tests compare with.
#ifndef SCANMESH_TESTS_SMOOTHING_PLAIN_SPIKES_H
#define SCANMESH_TESTS_SMOOTHING_PLAIN_SPIKES_H

#include <cmath>
#include <cstddef>
#include <deque>
#include <unordered_map>
#include <utility>
#include <vector>

#include "scanmesh/curvature.h"
#include "scanmesh/mesh.h"
#include "tests/support/plain_filters.h"
#include "tests/support/shapes.h"

namespace test_support {

using Mesh_R::_face;
using Mesh_R::_vert;

// The relaxation as it reads, with a hash map, straight off the records.
class PlainSpikes {
 public:
  PlainSpikes(Mesh_M::Mesh& mesh, int level) : mesh_(mesh), level_(level) {}

  void run(std::vector<_vert*> verts) {
    for (int i = 0; i < mesh_.vertex.get_vertnum(); ++i) {
      short& state = mesh_.vertex[i]->state;
      if (state < 0) state = static_cast<short>(-state);
    }
    for (int i = 0; i < mesh_.edge.get_edgenum(); ++i) {
      const Mesh_R::_edge& e = *mesh_.edge[i];
      if (e.state != 3 && e.face_num != 2) e.vert[0]->state = e.vert[1]->state = 10;
    }
    if (verts.empty()) {
      for (int i = 0; i < mesh_.vertex.get_vertnum(); ++i) verts.push_back(mesh_.vertex[i]);
    }
    for (_vert* v : verts) {
      if (v->state == 3 || v->state == 10) continue;
      negate(v);
      update(v);
      queue_.push_back(v);
    }
    total_ = queue_.size();
    if (total_ == 0) return;
    while (!queue_.empty() && !(static_cast<double>(queue_.size()) < 0.001 * total()) &&
           !(static_cast<double>(pops) > 3 * total())) {
      _vert* const v = queue_.front();
      queue_.pop_front();
      if (v->state == 3) continue;
      negate(v);
      if (v->state < 0) continue;
      ++pops;
      visit(v);
    }
  }

  std::size_t pops = 0;
  int removed = 0;
  int moved = 0;

 private:
  double total() const { return static_cast<double>(total_); }
  static void negate(_vert* v) { v->state = static_cast<short>(-v->state); }
  void update(_vert* v) { map_[v] = GetHK(v, true, false, false, nullptr, nullptr); }

  struct Stats {
    double sum[2], max[2], min[2];
    void take(std::pair<double, double> hk, bool first) {
      const double values[2] = {hk.first, std::fabs(hk.second)};
      for (int i = 0; i < 2; ++i) {
        if (first) {
          sum[i] = max[i] = min[i] = values[i];
          continue;
        }
        sum[i] += values[i];
        if (values[i] > max[i]) max[i] = values[i];
        if (values[i] < min[i]) min[i] = values[i];
      }
    }
  };

  void visit(_vert* v) {
    const double l = level_;
    if (map_[v].first < 0.16 - 0.001 * l - 0.03) return;
    if (std::fabs(map_[v].second) < 0.008 - 0.00004 * l - 0.002) return;
    std::vector<_vert*> near;
    for (int i = 0; i < v->edge_num; ++i) {
      if (v->edge[i]->state != 3) near.push_back(const_cast<_vert*>(other_end(v->edge[i], v)));
    }
    Vec3f p = candidate(*v, near);
    if (!wanted(v, p, near)) return;
    if (v->edge_num == 3 && v->face_num == 3 && pops < total_ && !remove(v, near)) return;
    if (v->edge_num <= 3 && v->face_num <= 3 && pops <= total_) return;
    move(v, p);
  }

  Vec3f candidate(const _vert& v, const std::vector<_vert*>& near) const {
    Vec3f sum{0, 0, 0};
    double lengths = 0;
    for (const _vert* u : near) {
      const Vec3f e = minus(u->point, v.point);
      const double length = std::sqrt(wide_dot(e, e));
      sum = plus(sum, times(e, length));
      lengths += length;
    }
    return plus(v.point, times(divided(sum, lengths), pops < total_ ? 1.0 : 0.5));
  }

  bool wanted(_vert* v, Vec3f& p, const std::vector<_vert*>& near) {
    Stats before{};
    Stats after{};
    before.take(map_[v], true);
    after.take(GetHK(v, false, false, true, v, &p), true);
    int n = 1;
    for (_vert* u : near) {
      if (u->state == 10) continue;
      before.take(map_[u], false);
      after.take(GetHK(u, false, false, true, v, &p), false);
      ++n;
    }
    if (n <= 2) return false;
    const auto mean = [n](const Stats& s, int i) {
      return (s.sum[i] - s.max[i] - s.min[i]) / (n - 2);
    };
    const auto held = [&](int i) { return mean(after, i) < 1e-8 ? 1e-8 : mean(after, i); };
    const auto whole = [n](const Stats& s, int i, double m) {
      return (n - 2) * m + s.max[i] + s.min[i];
    };
    const double limit = 2.54 - 0.0044 * level_ - 1.05;
    return mean(before, 1) / held(1) > limit ||
           (before.max[1] - before.min[1]) / (after.max[1] - after.min[1]) > limit ||
           whole(before, 1, mean(before, 1)) / whole(after, 1, held(1)) > limit ||
           whole(before, 0, mean(before, 0)) / whole(after, 0, held(0)) > limit;
  }

  bool remove(_vert* v, const std::vector<_vert*>& near) {
    Vec3f normals{0, 0, 0};
    std::vector<_face*> faces(v->face, v->face + 3);
    for (_face* f : faces) normals = plus(normals, f->vector);
    for (_face* f : faces) mesh_.face.dele_face(f);
    _face* const face = mesh_.insert_face(near[0], near[1], near[2], normals);
    if (face == nullptr) return false;
    ++removed;
    mesh_.face.refresh_vector(face);
    const Vec3f& n = face->vector;
    if (n.x * normals.x + n.y * normals.y + n.z * normals.z < 0) {
      face->vector = {-n.x, -n.y, -n.z};
      std::swap(face->vert[0], face->vert[2]);
    }
    for (_vert* u : near) {
      mesh_.vertex.R_cal_vector(u);
      if (u->state != 3 && u->state != 10) update(u);
      if (u->state > 0 && u->state != 10) {
        negate(u);
        queue_.push_back(u);
      }
    }
    return true;
  }

  void move(_vert* v, const Vec3f& p) {
    ++moved;
    v->point = p;
    for (int i = 0; i < v->face_num; ++i) {
      if (v->face[i]->state != 3) mesh_.face.refresh_vector(v->face[i]);
    }
    mesh_.vertex.R_cal_vector(v);
    update(v);
    for (int i = 0; i < v->edge_num; ++i) {
      if (v->edge[i]->state == 3) continue;
      auto* const u = const_cast<_vert*>(other_end(v->edge[i], v));
      if (u->state == 10) continue;
      mesh_.vertex.R_cal_vector(u);
      update(u);
      if (u->state > 0) {
        negate(u);
        queue_.push_back(u);
      }
    }
  }

  Mesh_M::Mesh& mesh_;
  int level_;
  std::unordered_map<_vert*, std::pair<double, double>> map_;
  std::deque<_vert*> queue_;
  std::size_t total_ = 0;
};

}  // namespace test_support

#endif  // SCANMESH_TESTS_SMOOTHING_PLAIN_SPIKES_H
