// Scale attribute per vertex and its interpolation: P. Liepa, "Filling holes in meshes", SGP 2003.
// Splits with flips and tangential relaxation in place of centroid insertion: M. Botsch, L.
// Kobbelt, "A remeshing approach to multiresolution modeling", SGP 2004.
#include "patching/patch_refinement.h"

#include <cmath>

namespace cavity {
namespace {

// An edge is too long at this multiple of the wanted length: above the diagonal of a square of
// wanted edges, so that such a square stays two triangles.
constexpr double split_ratio = 1.45;
constexpr int most_split_passes = 40;

// The region may ask for this much more or less than the ring's own edges.
constexpr double least_region_say = 0.75;
constexpr double most_region_say = 1.3;

// Interior points up to which the density of the ring is kept all over; beyond, edges grow with the
// distance from the ring so that the cost stays bounded.
constexpr double dense_points = 24000.0;
constexpr double points_per_ring_edge = 8.0;

struct LongEdge {
  double excess;
  int face;
  int corner;
  int a;
  int b;
};

bool is_sooner(const LongEdge& x, const LongEdge& y) {
  if (x.excess != y.excess) return x.excess > y.excess;
  return std::array<int, 2>{x.face, x.corner} < std::array<int, 2>{y.face, y.corner};
}

std::vector<LongEdge> find_long_edges(const PatchMesh& patch, const EdgeLengths& lengths) {
  std::vector<LongEdge> found;
  for (int f = 0; f < patch.triangle_count(); ++f) {
    for (int k = 0; k < 3; ++k) {
      if (patch.neighbour(f, k) < f) continue;  // each edge once, ring edges never
      const int a = patch.triangle(f)[next_corner(k)];
      const int b = patch.triangle(f)[previous_corner(k)];
      const double length = (patch.point(a) - patch.point(b)).norm();
      const double excess = length / lengths.of_edge(a, b);
      if (excess > split_ratio) found.push_back({excess, f, k, a, b});
    }
  }
  std::sort(found.begin(), found.end(), is_sooner);
  return found;
}

bool split_long_edges(PatchMesh& patch, EdgeLengths& lengths) {
  const std::vector<LongEdge> edges = find_long_edges(patch, lengths);
  for (const LongEdge& e : edges) {
    // An earlier split may have re-used the face.
    if (patch.triangle(e.face)[next_corner(e.corner)] != e.a ||
        patch.triangle(e.face)[previous_corner(e.corner)] != e.b) {
      continue;
    }
    const Point middle = 0.5 * (patch.point(e.a) + patch.point(e.b));
    lengths.add_midpoint(e.a, e.b, (patch.point(e.a) - patch.point(e.b)).norm());
    patch.split_edge(e.face, e.corner, middle);
  }
  return !edges.empty();
}

double cotangent(const Point& apex, const Point& a, const Point& b) {
  const Point u = a - apex;
  const Point v = b - apex;
  return u.dot(v) / std::max(u.cross(v).norm(), 1e-12);
}

// The flip must not fold the patch or sharpen a crease.
bool keeps_shape(const Point& a, const Point& b, const Point& c, const Point& d) {
  const Point before_1 = normal_or_zero(a, b, c);
  const Point before_2 = normal_or_zero(b, d, c);
  const Point after_1 = normal_or_zero(a, b, d);
  const Point after_2 = normal_or_zero(a, d, c);
  if (after_1.isZero(0.0) || after_2.isZero(0.0)) return false;
  if (before_1.isZero(0.0) || before_2.isZero(0.0)) return after_1.dot(after_2) > 0.0;
  const double bend = after_1.dot(after_2);
  const Point mean = before_1 + before_2;
  if (after_1.dot(mean) <= 0.0 || after_2.dot(mean) <= 0.0) return false;
  return bend > 0.7 || bend >= before_1.dot(before_2);
}

bool wants_flip(const PatchMesh& patch, int f, int k) {
  if (patch.neighbour(f, k) < 0) return false;
  const Point& a = patch.point(patch.triangle(f)[k]);
  const Point& b = patch.point(patch.triangle(f)[next_corner(k)]);
  const Point& c = patch.point(patch.triangle(f)[previous_corner(k)]);
  const Point& d = patch.point(patch.opposite_corner(f, k));
  if (!(cotangent(a, b, c) + cotangent(d, b, c) < -1e-6)) return false;
  return keeps_shape(a, b, c, d);
}

}  // namespace

EdgeLengths::EdgeLengths(const Surroundings& around, const PatchMesh& patch) {
  const int n = around.ring_size;
  std::vector<double> sum(static_cast<std::size_t>(n), 0.0);
  std::vector<int> count(static_cast<std::size_t>(n), 0);
  for (const Triangle& t : around.faces) {
    for (int k = 0; k < 3; ++k) {
      const int a = t[k];
      const int b = t[next_corner(k)];
      const double length = (around.points[a] - around.points[b]).norm();
      for (const int v : {a, b}) {
        if (v >= n) continue;
        sum[v] += length;
        ++count[v];
      }
    }
  }
  wanted_.resize(static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i) {
    const double before = (around.points[i] - around.points[(i + n - 1) % n]).norm();
    const double after = (around.points[i] - around.points[(i + 1) % n]).norm();
    const double own = 0.5 * (before + after);
    const double region = count[i] > 0 ? sum[i] / count[i] : own;
    wanted_[i] = std::clamp(region, least_region_say * own, most_region_say * own);
  }
  std::vector<double> smooth = wanted_;
  for (int i = 0; i < n; ++i) {
    smooth[i] = 0.5 * wanted_[i] + 0.25 * (wanted_[(i + n - 1) % n] + wanted_[(i + 1) % n]);
  }
  wanted_ = smooth;
  for (int v = n; v < patch.point_count(); ++v) wanted_.push_back(1.0);

  double area = 0.0;
  for (const Triangle& t : patch.triangles()) {
    area += 0.5 * area_vector(patch.point(t[0]), patch.point(t[1]), patch.point(t[2])).norm();
  }
  // Growth g leaves about 1.15 n / g points in a wide hole.
  const double allowed = std::max(dense_points, points_per_ring_edge * n);
  if (1.15 * area > allowed) growth_ = 1.15 * n / allowed;
}

void EdgeLengths::add_midpoint(int a, int b, double length) {
  wanted_.push_back(of_edge(a, b) + 0.5 * growth_ * length);
}

void EdgeLengths::settle(const PatchMesh& patch) {
  if (growth_ == 0.0) return;
  for (const Triangle& t : patch.triangles()) {
    for (int k = 0; k < 3; ++k) {
      const int a = t[k];
      const int b = t[next_corner(k)];
      const double more = growth_ * (patch.point(a) - patch.point(b)).norm();
      if (patch.is_free(a)) wanted_[a] = std::min(wanted_[a], wanted_[b] + more);
      if (patch.is_free(b)) wanted_[b] = std::min(wanted_[b], wanted_[a] + more);
    }
  }
}

void split_taken_chords(const Surroundings& around, PatchMesh& patch) {
  if (around.ring_is_a_face && patch.point_count() == 3) {
    patch.split_triangle(0, (patch.point(0) + patch.point(1) + patch.point(2)) / 3.0);
  }
  // The faces that a split appends have no edge between two ring vertices but the one they took
  // over.
  for (int f = 0; f < patch.triangle_count(); ++f) {
    for (int k = 0; k < 3; ++k) {
      const int a = patch.triangle(f)[next_corner(k)];
      const int b = patch.triangle(f)[previous_corner(k)];
      if (patch.is_free(a) || patch.is_free(b) || patch.neighbour(f, k) < 0) continue;
      if (!around.chords.contains(a, b)) continue;
      patch.split_edge(f, k, 0.5 * (patch.point(a) + patch.point(b)));
      k = -1;
    }
  }
}

void flip_to_delaunay(PatchMesh& patch) {
  std::vector<int> open(static_cast<std::size_t>(patch.triangle_count()));
  std::vector<char> queued(open.size(), 1);
  for (std::size_t i = 0; i < open.size(); ++i) open[i] = static_cast<int>(open.size() - 1 - i);
  // The test isn't a strict order on a curved patch; the budget ends what would go round.
  long budget = 20L * patch.triangle_count();
  while (!open.empty() && budget > 0) {
    const int f = open.back();
    open.pop_back();
    queued[f] = 0;
    for (int k = 0; k < 3; ++k) {
      if (!wants_flip(patch, f, k)) continue;
      const int g = patch.neighbour(f, k);
      if (!patch.flip(f, k)) continue;
      --budget;
      for (const int h : {f, g}) {
        if (queued[h] != 0) continue;
        queued[h] = 1;
        open.push_back(h);
      }
      break;
    }
  }
}

void even_out(PatchMesh& patch, int rounds) {
  std::vector<int> faces;
  for (int round = 0; round < rounds; ++round) {
    for (int v = patch.ring_size(); v < patch.point_count(); ++v) {
      patch.faces_of(v, faces);
      Point target = Point::Zero();
      Point normal = Point::Zero();
      double weight = 0.0;
      for (const int f : faces) {
        const Triangle& t = patch.triangle(f);
        const Point area = area_vector(patch.point(t[0]), patch.point(t[1]), patch.point(t[2]));
        const double size = area.norm();
        target += size * (patch.point(t[0]) + patch.point(t[1]) + patch.point(t[2])) / 3.0;
        weight += size;
        normal += area;
      }
      if (!(weight > 0.0) || !(normal.norm() > 1e-3 * weight)) continue;
      normal.normalize();
      const Point old = patch.point(v);
      Point move = target / weight - old;
      move -= normal * normal.dot(move);
      patch.move_point(v, old + move);
      const bool folds = std::any_of(faces.begin(), faces.end(), [&](int f) {
        const Triangle& t = patch.triangle(f);
        return !(area_vector(patch.point(t[0]), patch.point(t[1]), patch.point(t[2])).dot(normal) >
                 0.0);
      });
      if (folds) patch.move_point(v, old);
    }
  }
}

void refine_patch(PatchMesh& patch, EdgeLengths& lengths) {
  flip_to_delaunay(patch);
  for (int pass = 0; pass < most_split_passes; ++pass) {
    lengths.settle(patch);
    if (!split_long_edges(patch, lengths)) break;
    flip_to_delaunay(patch);
  }
  for (int round = 0; round < 3; ++round) {
    even_out(patch, 2);
    flip_to_delaunay(patch);
  }
}

}  // namespace cavity
