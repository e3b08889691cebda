// Scale attribute per vertex and its interpolation: P. Liepa, "Filling holes in meshes", SGP 2003.
// Splits with flips and tangential relaxation in place of centroid insertion: M. Botsch, L.
// Kobbelt, "A remeshing approach to multiresolution modeling", SGP 2004.
#include "patching/patch_refinement.h"

#include <cmath>
#include <utility>

namespace cavity {
namespace {

// An edge is too long at this multiple of the wanted length: from 4/3 on, the halves are nearer to
// it than the whole. Between ring vertices a little more, so that a square of wanted edges stays
// two triangles.
constexpr double split_ratio = 4.0 / 3.0;
constexpr double ring_split_ratio = 1.45;
constexpr int most_split_passes = 40;

// The region may ask for this much more or less than the ring's own edges.
constexpr double least_region_say = 0.75;
constexpr double most_region_say = 1.3;

// Interior points up to which the density of the ring is kept all over; beyond, edges grow with the
// distance from the ring so that the cost stays bounded.
constexpr double dense_points = 12000.0;
constexpr double points_per_ring_edge = 6.0;

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
      const bool on_ring = !patch.is_free(a) && !patch.is_free(b);
      if (excess > (on_ring ? ring_split_ratio : split_ratio))
        found.push_back({excess, f, k, a, b});
    }
  }
  std::sort(found.begin(), found.end(), is_sooner);
  return found;
}

// The faces that were made or changed, each once.
std::vector<int> split_long_edges(PatchMesh& patch, EdgeLengths& lengths) {
  const std::vector<LongEdge> edges = find_long_edges(patch, lengths);
  std::vector<int> changed;
  std::vector<char> listed(static_cast<std::size_t>(patch.triangle_count()), 0);
  for (const LongEdge& e : edges) {
    // An earlier split may have re-used the face.
    if (patch.triangle(e.face)[next_corner(e.corner)] != e.a ||
        patch.triangle(e.face)[previous_corner(e.corner)] != e.b) {
      continue;
    }
    const Point middle = 0.5 * (patch.point(e.a) + patch.point(e.b));
    lengths.add_midpoint(e.a, e.b, (patch.point(e.a) - patch.point(e.b)).norm());
    const int beyond = patch.neighbour(e.face, e.corner);
    patch.split_edge(e.face, e.corner, middle);
    listed.resize(static_cast<std::size_t>(patch.triangle_count()), 0);
    for (const int f : {e.face, beyond, patch.triangle_count() - 2, patch.triangle_count() - 1}) {
      if (listed[f] == 0) changed.push_back(f);
      listed[f] = 1;
    }
  }
  return changed;
}

// Whether the angles at a and d, which face the edge b - c, add up to more than a straight one.
bool fails_delaunay(const Point& a, const Point& b, const Point& c, const Point& d) {
  const Point ab = b - a;
  const Point ac = c - a;
  const Point db = b - d;
  const Point dc = c - d;
  const double cosine_a = ab.dot(ac);
  const double cosine_d = db.dot(dc);
  if (cosine_a >= 0.0 && cosine_d >= 0.0) return false;
  const double sine_a = ab.cross(ac).norm();
  const double sine_d = db.cross(dc).norm();
  const double tolerance = 1e-6 * (sine_a * sine_d + 1e-12);
  return cosine_a * sine_d + cosine_d * sine_a < -tolerance;
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
  const Point& a = patch.point(patch.triangle(f)[k]);
  const Point& b = patch.point(patch.triangle(f)[next_corner(k)]);
  const Point& c = patch.point(patch.triangle(f)[previous_corner(k)]);
  const Point& d = patch.point(patch.opposite_corner(f, k));
  return fails_delaunay(a, b, c, d) && keeps_shape(a, b, c, d);
}

}  // namespace

EdgeLengths::EdgeLengths(const Surroundings& around, const PatchMesh& patch)
    : ring_size_(around.ring_size) {
  read_ring(around);
  distance_.assign(carried_.size(), 0.0);
  for (int v = ring_size_; v < patch.point_count(); ++v) {
    carried_.push_back(1.0);
    distance_.push_back(1.0);
  }
  measure(patch);
}

// Ring edges rule, the region has a say: a hole cut by a fine tool out of a coarse mesh should fade
// into it, but not by much at the rim itself.
void EdgeLengths::read_ring(const Surroundings& around) {
  const int n = around.ring_size;
  std::vector<double> sum(static_cast<std::size_t>(n), 0.0);
  std::vector<int> count(static_cast<std::size_t>(n), 0);
  for (const Triangle& t : around.faces) {
    for (int k = 0; k < 3; ++k) {
      const double length = (around.points[t[k]] - around.points[t[next_corner(k)]]).norm();
      for (const int v : {t[k], t[next_corner(k)]}) {
        if (v >= n) continue;
        sum[v] += length;
        ++count[v];
      }
    }
  }
  std::vector<double> wanted(static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i) {
    const double before = (around.points[i] - around.points[(i + n - 1) % n]).norm();
    const double after = (around.points[i] - around.points[(i + 1) % n]).norm();
    const double own = 0.5 * (before + after);
    const double region = count[i] > 0 ? sum[i] / count[i] : own;
    wanted[i] = std::clamp(region, least_region_say * own, most_region_say * own);
  }
  for (int i = 0; i < n; ++i) {
    carried_.push_back(0.5 * wanted[i] + 0.25 * (wanted[(i + n - 1) % n] + wanted[(i + 1) % n]));
  }
}

void EdgeLengths::measure(const PatchMesh& patch) {
  double mean = 0.0;
  for (const double length : carried_) mean += length / static_cast<double>(carried_.size());
  double area = 0.0;
  for (const Triangle& t : patch.triangles()) {
    area += 0.5 * area_vector(patch.point(t[0]), patch.point(t[1]), patch.point(t[2])).norm();
  }
  dense_count_ = 1.15 * area / (mean * mean);
  // Growth g leaves about 1.15 n / g points in a wide hole.
  const double allowed = std::max(dense_points, points_per_ring_edge * ring_size_);
  if (dense_count_ > allowed) bounded_growth_ = 1.15 * ring_size_ / allowed;
}

void EdgeLengths::add_midpoint(int a, int b, double length) {
  carried_.push_back(0.5 * (carried_[a] + carried_[b]));
  distance_.push_back(0.5 * (distance_[a] + distance_[b] + length));
}

void EdgeLengths::settle(const PatchMesh& patch) {
  std::vector<double> sum(carried_.size(), 0.0);
  std::vector<int> count(carried_.size(), 0);
  for (const Triangle& t : patch.triangles()) {
    for (int k = 0; k < 3; ++k) {
      const int a = t[k];
      const int b = t[next_corner(k)];
      const double length = (patch.point(a) - patch.point(b)).norm();
      if (patch.is_free(a)) distance_[a] = std::min(distance_[a], distance_[b] + length);
      if (patch.is_free(b)) distance_[b] = std::min(distance_[b], distance_[a] + length);
      sum[a] += carried_[b];
      ++count[a];
    }
  }
  for (int v = ring_size_; v < patch.point_count(); ++v) carried_[v] = sum[v] / count[v];
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

void flip_to_delaunay(PatchMesh& patch, std::vector<int> open) {
  std::vector<char> queued(static_cast<std::size_t>(patch.triangle_count()), 0);
  for (const int f : open) queued[f] = 1;
  // The test isn't a strict order on a curved patch; the budget ends what would go round.
  long budget = 20L * patch.triangle_count();
  while (!open.empty() && budget > 0) {
    const int f = open.back();
    open.pop_back();
    queued[f] = 0;
    for (int k = 0; k < 3; ++k) {
      const int g = patch.neighbour(f, k);
      // An edge of two faces that wait is looked at with the second.
      if (g < 0 || queued[g] != 0) continue;
      if (!wants_flip(patch, f, k) || !patch.flip(f, k)) continue;
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

void flip_to_delaunay(PatchMesh& patch) {
  std::vector<int> all(static_cast<std::size_t>(patch.triangle_count()));
  for (std::size_t i = 0; i < all.size(); ++i) all[i] = static_cast<int>(all.size() - 1 - i);
  flip_to_delaunay(patch, std::move(all));
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
    std::vector<int> changed = split_long_edges(patch, lengths);
    if (changed.empty()) break;
    // All other edges passed before, and are as they were.
    flip_to_delaunay(patch, std::move(changed));
  }
  for (int round = 0; round < 2; ++round) {
    even_out(patch, 1);
    flip_to_delaunay(patch);
  }
}

}  // namespace cavity
