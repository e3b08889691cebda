// Small rings are solved exactly. Larger ones are closed by ear clipping where their shadow is
// simple, else on every s-th vertex first, where each chord of the coarse ring then cuts off a
// short stretch that is solved in the same way. Both are bettered window by window with the exact
// solver.
#include "patching/ring_triangulation.h"

#include <map>

#include "patching/ear_clipping.h"
#include "patching/polygon_solver.h"
#include "patching/window_solver.h"

namespace cavity {
namespace {

// The cubic programme takes about 20 ms at this size.
constexpr int largest_exact_ring = 240;

struct Stretch {
  std::vector<int> polygon;     // ascending ring positions
  std::vector<Point> outsides;  // per polygon edge, the last from the end back to the start
};

// Every s-th vertex of a stretch, its first and last included.
Stretch thin_out(const Stretch& full) {
  const int size = static_cast<int>(full.polygon.size());
  const int pieces = largest_exact_ring - 1;
  Stretch coarse;
  for (int piece = 0; piece <= pieces; ++piece) {
    const auto at = static_cast<int>(static_cast<long long>(size - 1) * piece / pieces);
    coarse.polygon.push_back(full.polygon[at]);
    coarse.outsides.push_back(Point::Zero());
  }
  coarse.outsides.back() = full.outsides.back();
  return coarse;
}

// The triangle on each edge of the coarse polygon is what the stretch beyond it has to continue.
void push_cut_off_stretches(const Stretch& full, const Stretch& coarse,
                            const std::vector<Point>& ring, const Triangle* first,
                            const Triangle* last, std::vector<Stretch>& open) {
  std::map<std::array<int, 2>, Point> beyond;
  for (const Triangle* t = first; t != last; ++t) {
    const Point normal = normal_or_zero(ring[(*t)[0]], ring[(*t)[1]], ring[(*t)[2]]);
    for (int k = 0; k < 3; ++k) beyond[{(*t)[k], (*t)[next_corner(k)]}] = normal;
  }
  std::size_t from = 0;
  for (std::size_t piece = 0; piece + 1 < coarse.polygon.size(); ++piece) {
    const int a = coarse.polygon[piece];
    const int b = coarse.polygon[piece + 1];
    std::size_t to = from;
    while (full.polygon[to] != b) ++to;
    if (to - from > 1) {
      Stretch cut;
      cut.polygon.assign(full.polygon.begin() + static_cast<std::ptrdiff_t>(from),
                         full.polygon.begin() + static_cast<std::ptrdiff_t>(to) + 1);
      cut.outsides.assign(full.outsides.begin() + static_cast<std::ptrdiff_t>(from),
                          full.outsides.begin() + static_cast<std::ptrdiff_t>(to));
      cut.outsides.push_back(beyond[{a, b}]);
      open.push_back(std::move(cut));
    }
    from = to;
  }
}

// Closes any ring, but where it is ragged a chord may cut across its teeth.
std::vector<Triangle> solve_piecewise(const std::vector<Point>& ring,
                                      const std::vector<Point>& rim_normals,
                                      const ChordSet& chords) {
  std::vector<Triangle> triangles;
  triangles.reserve(ring.size() - 2);
  PolygonSolver solver(ring, chords);
  Stretch whole;
  for (std::size_t i = 0; i < ring.size(); ++i) whole.polygon.push_back(static_cast<int>(i));
  whole.outsides = rim_normals;
  std::vector<Stretch> open = {whole};
  while (!open.empty()) {
    const Stretch stretch = std::move(open.back());
    open.pop_back();
    if (static_cast<int>(stretch.polygon.size()) <= largest_exact_ring) {
      solver.solve(stretch.polygon, stretch.outsides, triangles);
      continue;
    }
    const std::size_t before = triangles.size();
    const Stretch coarse = thin_out(stretch);
    solver.solve(coarse.polygon, coarse.outsides, triangles);
    push_cut_off_stretches(stretch, coarse, ring, triangles.data() + before,
                           triangles.data() + triangles.size(), open);
  }
  return triangles;
}

}  // namespace

std::vector<Triangle> triangulate_ring(const std::vector<Point>& ring,
                                       const std::vector<Point>& rim_normals,
                                       const ChordSet& chords) {
  if (static_cast<int>(ring.size()) <= largest_exact_ring) {
    return solve_piecewise(ring, rim_normals, chords);
  }
  std::vector<Triangle> triangles = clip_ears(ring, chords);
  if (triangles.empty()) triangles = solve_piecewise(ring, rim_normals, chords);
  solve_windows(ring, rim_normals, chords, triangles);
  return triangles;
}

}  // namespace cavity
