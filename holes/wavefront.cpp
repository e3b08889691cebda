// Clipping a ring, smallest opening angle first, over a flattened copy of its surroundings.
#include "holes/wavefront.h"

#include <unordered_map>

#include "core/face_building.h"
#include "holes/ring_records.h"
#include "scanmesh/hole.h"

namespace Mesh_R {

namespace {

using scanmesh::corner_angle;
using scanmesh::far_end;
using scanmesh::flip_state;
using scanmesh::Vec3f;

constexpr double kPi = 3.141592653589793;

// Moves the ring and its neighbours along the plane's normal, remembering where they were. The
// normal isn't of unit length, so this is no orthogonal projection, and a ring vertex that an
// earlier one has reached doesn't pass on to its own neighbours; patches are shaped by both.
class Flattening {
 public:
  explicit Flattening(const std::vector<_vert*>& ring) {
    std::vector<double> points;
    for (const _vert* vert : ring) {
      points.insert(points.end(), {vert->point.x, vert->point.y, vert->point.z});
    }
    const int n = static_cast<int>(ring.size());
    d_ = scanmesh::fit_hole_plane(reinterpret_cast<const double(*)[3]>(points.data()), n, normal_);
    for (_vert* vert : ring) {
      if (vert->state < 0) continue;
      flatten(vert);
      for (int i = 0; i < vert->edge_num; ++i) {
        _vert* const far = far_end(vert->edge[i], vert);
        if (far->state >= 0) flatten(far);
      }
    }
  }

  // Saved vertices must carry a negative state.
  void restore() {
    for (const Saved& saved : saved_) {
      saved.vert->point = saved.point;
      flip_state(saved.vert);
    }
  }

 private:
  struct Saved {
    _vert* vert;
    Vec3f point;
  };

  void flatten(_vert* vert) {
    saved_.push_back({vert, vert->point});
    flip_state(vert);
    const double x = vert->point.x;
    const double y = vert->point.y;
    const double z = vert->point.z;
    const double t = normal_[0] * x + normal_[1] * y + normal_[2] * z + d_;
    vert->point = {static_cast<float>(x - t * normal_[0]), static_cast<float>(y - t * normal_[1]),
                   static_cast<float>(z - t * normal_[2])};
  }

  double normal_[3] = {0, 0, 0};
  double d_ = 0;
  std::vector<Saved> saved_;
};

struct Pair {
  _edge* first = nullptr;
  _edge* second = nullptr;
  _vert* a = nullptr;
  _vert* b = nullptr;
};

class Clipper {
 public:
  Clipper(Hole& finder, const std::vector<_vert*>& ring, const std::vector<double>& angles)
      : finder_(finder), ring_(ring), angles_(angles) {
    for (std::size_t i = 0; i < ring.size(); ++i) {
      pos_to_ring_.push_back(static_cast<int>(i));
      ring_to_pos_.push_back(static_cast<int>(i));
      number_.emplace(ring[i], static_cast<int>(i));  // the first of equals stays
    }
  }

  void run() {
    while (angles_.size() >= 3) {
      const int place = angles_.smallest();
      _vert* const vert = ring_at(place);
      const Pair pair = find_pair(vert);
      if (pair.second == nullptr) return;
      clip(pair, vert);
      if (angles_.size() == 3) return;
      narrow(pair.a, corner_angle(pair.a->point, vert->point, pair.b->point));
      narrow(pair.b, corner_angle(pair.b->point, vert->point, pair.a->point));
      remove(place);
    }
  }

 private:
  _vert* ring_at(int place) const {
    return ring_[static_cast<std::size_t>(pos_to_ring_[static_cast<std::size_t>(place)])];
  }

  static bool usable(const _edge* edge) {
    return edge->face_num == 1 && edge->vert[0] != edge->vert[1] && edge->vert[0]->state > 0 &&
           edge->vert[1]->state > 0;
  }

  static _edge* next_usable(const _vert* vert, int& i) {
    for (; i < vert->edge_num; ++i) {
      if (usable(vert->edge[i])) return vert->edge[i++];
    }
    return nullptr;
  }

  // Two open edges of the vertex, one after the other in its list, that both lead to the ring. No
  // pair is left when a first edge has no second.
  Pair find_pair(const _vert* vert) const {
    int i = 0;
    _edge* first = next_usable(vert, i);
    while (first != nullptr) {
      int after = i;
      _edge* const second = next_usable(vert, after);
      if (second == nullptr) break;
      _vert* const a = far_end(first, vert);
      _vert* const b = far_end(second, vert);
      if (a != b && number_.count(a) != 0 && number_.count(b) != 0) return {first, second, a, b};
      first = next_usable(vert, i);
    }
    return {};
  }

  void clip(const Pair& pair, _vert* vert) {
    _edge* closing = nullptr;
    finder_.get_edge(closing, pair.a, pair.b);
    _vert* const corners[3] = {pair.a, vert, pair.b};
    // AB, BC, AC, not opposite the corners: hosts read the records of this fill in this order.
    _edge* const edges[3] = {pair.first, pair.second, closing};
    Vec3f normal = {0, 0, 0};
    _face* const face = finder_.face_store->insert_face(corners, edges, normal);
    face->state = kStateLive;
    finder_.added_faces.allocate_mem() = face;
    scanmesh::link_face(*finder_.vert_store, *finder_.edge_store, face);
  }

  // Takes a corner off the opening angle; no clamping, so that it may go negative.
  void narrow(_vert* vert, double corner) {
    const int place = ring_to_pos_[static_cast<std::size_t>(number_.at(vert))];
    if (place >= 0) angles_.set(place, angles_.at(place) - corner);
  }

  void remove(int place) {
    const int last = angles_.size() - 1;
    ring_to_pos_[static_cast<std::size_t>(pos_to_ring_[static_cast<std::size_t>(place)])] = -1;
    if (place != last) {
      const int moved = pos_to_ring_[static_cast<std::size_t>(last)];
      pos_to_ring_[static_cast<std::size_t>(place)] = moved;
      ring_to_pos_[static_cast<std::size_t>(moved)] = place;
    }
    angles_.remove(place);
  }

  Hole& finder_;
  const std::vector<_vert*>& ring_;
  scanmesh::SmallestValue angles_;  // by live position
  std::vector<int> pos_to_ring_;
  std::vector<int> ring_to_pos_;  // -1 once clipped
  std::unordered_map<const _vert*, int> number_;
};

// Calls set(end) for both ends of every edge.
template <typename Set>
void for_ends(_edge** edges, int n, Set set) {
  for (int i = 0; i < n; ++i) {
    set(edges[i]->vert[0]);
    set(edges[i]->vert[1]);
  }
}

void make_positive(_vert* vert) {
  if (vert->state < 0) flip_state(vert);
}

void make_negative(_vert* vert) {
  if (vert->state > 0) flip_state(vert);
}

}  // namespace

void Hole::Minimum_angle_wavefront_method(_edge** edges, int n, bool checkAngleSum) {
  if (edges == nullptr || n < 3) return;
  const std::vector<_vert*> ring = scanmesh::ring_vertices(edges, n);
  Flattening flat(ring);
  std::vector<double> angles;
  double sum = 0;
  for (const _vert* vert : ring) {
    angles.push_back(scanmesh::opening_angle(vert));
    sum += angles.back();
  }
  if (!checkAngleSum || !(sum > n * kPi)) {
    for_ends(edges, n, make_positive);
    Clipper(*this, ring, angles).run();
    for_ends(edges, n, make_negative);
  }
  flat.restore();
  // The far end of an open chain was never flattened: it must not keep the mark.
  for_ends(edges, n, make_positive);
}

}  // namespace Mesh_R
