// Bringing the edges of a coarse patch near a length: dividing long ones, then collapsing short
// ones.
#include <vector>

#include "core/vector_math.h"
#include "holes/patch_collapse.h"
#include "holes/position_table.h"
#include "scanmesh/hole.h"

namespace Mesh_R {

namespace {

using scanmesh::Vec3f;

// Edges of more parts than this come from damaged coordinates.
constexpr double kDivisionLimit = 1e6;

// P (1 - t) + Q t, rounded to float once.
Vec3f blend(const Vec3f& p, const Vec3f& q, double t) {
  return {static_cast<float>(p.x * (1 - t) + q.x * t), static_cast<float>(p.y * (1 - t) + q.y * t),
          static_cast<float>(p.z * (1 - t) + q.z * t)};
}

// The vertices made on edges, by place: the two faces of an edge share them.
class DivisionPoints {
 public:
  explicit DivisionPoints(Hole& finder) : finder_(finder), table_(scanmesh::kWeldTolerance) {}

  _vert* at(const _vert* p, const _vert* q, double t) {
    Vec3f place = blend(p->point, q->point, t);
    const int found = table_.find(place.x, place.y, place.z, [&](int i) {
      return scanmesh::welds(place, made_[static_cast<std::size_t>(i)].place);
    });
    if (found >= 0) return made_[static_cast<std::size_t>(found)].vert;
    _vert* const vert = finder_.vert_store->insert_vert(place);
    vert->vector = scanmesh::normalized(blend(p->vector, q->vector, t), scanmesh::kTinyNormal);
    finder_.added_verts.allocate_mem() = vert;
    table_.insert(place.x, place.y, place.z, static_cast<int>(made_.size()));
    made_.push_back({place, vert});
    return vert;
  }

 private:
  struct Made {
    Vec3f place;
    _vert* vert;
  };

  Hole& finder_;
  scanmesh::PositionTable table_;
  std::vector<Made> made_;
};

// How many points divide the edge. Protected edges stay whole, and so does everything where lengths
// overflow or vanish.
int division_count(const _edge* edge, double target) {
  if (edge == nullptr || edge->state < 0 || !(target > 0)) return 0;
  const auto length =
      static_cast<float>(scanmesh::distance(edge->vert[0]->point, edge->vert[1]->point));
  if (!(length >= target)) return 0;
  const double count = length / target;
  return count < kDivisionLimit ? static_cast<int>(count) : 0;
}

std::vector<_vert*> divided_corners(Hole& finder, const _face* face, double target,
                                    DivisionPoints& points) {
  std::vector<_vert*> polygon;
  for (int i = 0; i < 3; ++i) {
    _vert* const p = face->vert[i];
    _vert* const q = face->vert[(i + 1) % 3];
    polygon.push_back(p);
    const int k = division_count(finder.vert_store->find_edge(p, q), target);
    for (int j = 1; j <= k; ++j) {
      polygon.push_back(points.at(p, q, static_cast<double>(j) / (k + 1)));
    }
  }
  return polygon;
}

// A closed polygon that loses entries. Live entries are linked in order.
class Polygon {
 public:
  explicit Polygon(std::vector<_vert*> verts) : corners_(verts.size()) {
    live_ = static_cast<int>(verts.size());
    for (int i = 0; i < live_; ++i) {
      corner(i).vert = verts[static_cast<std::size_t>(i)];
      corner(i).prev = i == 0 ? live_ - 1 : i - 1;
      corner(i).next = i + 1 == live_ ? 0 : i + 1;
    }
  }

  int live() const { return live_; }
  _vert* vert(int i) { return corner(i).vert; }
  int prev(int i) { return corner(i).prev; }
  int next(int i) { return corner(i).next; }

  void remove(int i) {
    const Corner& gone = corner(i);
    corner(gone.prev).next = gone.next;
    corner(gone.next).prev = gone.prev;
    if (i == first_) first_ = gone.next;
    --live_;
  }

  // The entry with the sharpest corner, the first of equals; -1 when fewer than three are left or
  // no corner can be told. Entries that repeat a neighbour go on the way.
  int sharpest() {
    int best = -1;
    double best_dot = -10000.0;
    int i = first_;
    do {
      drop_repeats(i);
      if (live_ < 3) return -1;
      const double dot = corner_dot(i);
      if (dot > best_dot) {
        best_dot = dot;
        best = i;
      }
      i = next(i);
    } while (i > first_);
    return best;
  }

 private:
  struct Corner {
    _vert* vert = nullptr;
    int prev = 0;
    int next = 0;
    int seen_prev = -1;  // the neighbours for which `dot` holds
    int seen_next = -1;
    double dot = 0;
  };

  Corner& corner(int i) { return corners_[static_cast<std::size_t>(i)]; }

  // Backwards what equals the entry, forwards what equals it or its predecessor.
  void drop_repeats(int i) {
    while (live_ >= 3 && vert(prev(i)) == vert(i)) remove(prev(i));
    while (live_ >= 3 && (vert(next(i)) == vert(i) || vert(next(i)) == vert(prev(i)))) {
      remove(next(i));
    }
  }

  double corner_dot(int i) {
    Corner& c = corner(i);
    if (c.seen_prev != c.prev || c.seen_next != c.next) {
      const Vec3f u = scanmesh::unit_or_zero(scanmesh::sub(c.vert->point, vert(c.next)->point));
      const Vec3f w = scanmesh::unit_or_zero(scanmesh::sub(c.vert->point, vert(c.prev)->point));
      c.dot = scanmesh::dot_double(u, w);
      c.seen_prev = c.prev;
      c.seen_next = c.next;
    }
    return c.dot;
  }

  std::vector<Corner> corners_;
  int live_ = 0;
  int first_ = 0;
};

void clip(Hole& finder, Polygon polygon) {
  while (polygon.live() >= 3) {
    const int i = polygon.sharpest();
    if (i < 0) return;
    _vert* const c = polygon.vert(i);
    _vert* const p = polygon.vert(polygon.prev(i));
    _vert* const n = polygon.vert(polygon.next(i));
    scanmesh::add_patch_face(finder, c, p, n);
    polygon.remove(i);
  }
}

}  // namespace

void Hole::split_edge(double target) {
  DivisionPoints points(*this);
  // Faces made here lie behind the snapshot's end, and aren't divided again.
  for (int i = 0, n = added_faces.size(); i < n; ++i) {
    _face* const face = added_faces[i];
    if (face->state == kStateDeleted) continue;
    Polygon polygon(divided_corners(*this, face, target, points));
    if (polygon.live() < 3) continue;
    face_store->dele_face(face);
    clip(*this, polygon);
  }
  scanmesh::collapse_short_edges(*this, target);
}

}  // namespace Mesh_R
