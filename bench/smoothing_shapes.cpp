#include "smoothing_shapes.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <tuple>
#include <utility>

#include "support/random.h"

namespace bench {

namespace {

using demo::Surface;
using demo::Vec3;

// The part's upper side over its length, both in units of the length: a plateau, a ramp, a plateau,
// and a hollow.
double height(double x) {
  if (x < 0.25) return 0.28;
  if (x < 0.5) return 0.28 + 0.22 * (x - 0.25) / 0.25;
  if (x < 0.6) return 0.5;
  const double t = (x - 0.6) / 0.4;  // a quarter of an ellipse, edge-on at its start
  return 0.5 - 0.24 * std::sqrt(std::max(0.0, 1 - (1 - t) * (1 - t)));
}

// A box of grid cells becomes the part: the top follows the height, the front bulges.
Vec3 shaped(double x, double y, double z) {
  const double bulge = 0.06 * std::sin(3.141592653589793 * x) * (z > 0.5 ? (z - 0.5) / 0.5 : 0.0);
  return {x, y * height(x), 0.4 * z + bulge};
}

// The surface of a grid of nx x ny x nz cells, welded along its edges.
class BoxGrid {
 public:
  BoxGrid(int nx, int ny, int nz) : n_{nx, ny, nz} {
    for (int axis = 0; axis < 3; ++axis) {
      for (const int side : {0, 1}) add_side(axis, side);
    }
  }
  Surface surface;

 private:
  void add_side(int axis, int side) {
    const int u = (axis + 1) % 3;
    const int v = (axis + 2) % 3;
    for (int j = 0; j < n_[v]; ++j) {
      for (int i = 0; i < n_[u]; ++i) {
        const auto at = [&](int di, int dj) {
          int cell[3];
          cell[axis] = side * n_[axis];
          cell[u] = i + di;
          cell[v] = j + dj;
          return number(cell);
        };
        add_cell(at(0, 0), at(1, 0), at(1, 1), at(0, 1), side == 1, (i + j) % 2 == 0);
      }
    }
  }

  void add_cell(int a, int b, int c, int d, bool outward, bool rising) {
    if (!outward) std::swap(b, d);
    if (rising) {
      surface.faces.push_back({a, b, c});
      surface.faces.push_back({a, c, d});
    } else {
      surface.faces.push_back({b, c, d});
      surface.faces.push_back({b, d, a});
    }
  }

  int number(const int (&cell)[3]) {
    const auto key = std::make_tuple(cell[0], cell[1], cell[2]);
    const auto [place, fresh] = numbers_.emplace(key, static_cast<int>(surface.points.size()));
    if (fresh) {
      surface.points.push_back(shaped(static_cast<double>(cell[0]) / n_[0],
                                      static_cast<double>(cell[1]) / n_[1],
                                      static_cast<double>(cell[2]) / n_[2]));
    }
    return place->second;
  }

  int n_[3];
  std::map<std::tuple<int, int, int>, int> numbers_;
};

// The points that lie on no open edge.
std::vector<bool> inner_points(const Surface& surface) {
  std::map<std::pair<int, int>, int> faces_on;
  for (const demo::Corners& f : surface.faces) {
    for (std::size_t k = 0; k < 3; ++k) {
      const int a = f[k];
      const int b = f[(k + 1) % 3];
      ++faces_on[{std::min(a, b), std::max(a, b)}];
    }
  }
  std::vector<bool> inner(surface.points.size(), true);
  for (const auto& [ends, faces] : faces_on) {
    if (faces == 2) continue;
    inner[static_cast<std::size_t>(ends.first)] = false;
    inner[static_cast<std::size_t>(ends.second)] = false;
  }
  return inner;
}

}  // namespace

void scale_to_unit_edge(Surface& surface) {
  const double factor = 1 / demo::mean_edge_length(surface);
  for (Vec3& p : surface.points) p = p * factor;
}

Surface milled_part(int cells) {
  // Multiples of 20, so that the creases fall on grid lines.
  const int nx = std::max(1, cells / 20) * 20;
  Surface surface = BoxGrid(nx, nx * 2 / 5, nx * 2 / 5).surface;
  scale_to_unit_edge(surface);
  return surface;
}

Surface round_ball(int depth) {
  Surface ball{{{1, 0, 0}, {-1, 0, 0}, {0, 1, 0}, {0, -1, 0}, {0, 0, 1}, {0, 0, -1}},
               {{{0, 2, 4}},
                {{2, 1, 4}},
                {{1, 3, 4}},
                {{3, 0, 4}},
                {{2, 0, 5}},
                {{1, 2, 5}},
                {{3, 1, 5}},
                {{0, 3, 5}}}};
  for (int i = 0; i < depth; ++i) {
    demo::split_faces(ball, 1);
    for (Vec3& p : ball.points) p = demo::unit(p);
  }
  scale_to_unit_edge(ball);
  return ball;
}

Surface with_noise(const Surface& surface, double deviation, std::uint64_t seed) {
  demo::Random random(seed);
  const std::vector<Vec3> normals = demo::point_normals(surface);
  Surface noisy = surface;
  for (std::size_t i = 0; i < noisy.points.size(); ++i) {
    noisy.points[i] = noisy.points[i] + normals[i] * (deviation * random.normal());
  }
  return noisy;
}

Surface with_spikes(const Surface& surface, int count, std::uint64_t seed,
                    std::vector<int>& planted) {
  const double edge = demo::mean_edge_length(surface);
  const double apart = 10 * edge;
  demo::Random random(seed);
  const std::vector<bool> inner = inner_points(surface);
  const std::vector<Vec3> normals = demo::point_normals(surface);
  Surface spiky = surface;
  for (int tries = 0; static_cast<int>(planted.size()) < count && tries < 100 * count; ++tries) {
    const auto i = random.below(surface.points.size());
    const auto near = [&](int other) {
      return demo::distance(surface.points[i], surface.points[static_cast<std::size_t>(other)]) <
             apart;
    };
    if (!inner[i] || std::any_of(planted.begin(), planted.end(), near)) continue;
    const double way = random.below(2) == 0 ? edge : -edge;
    spiky.points[i] = spiky.points[i] + normals[i] * (way * random.uniform(2, 4));
    planted.push_back(static_cast<int>(i));
  }
  return spiky;
}

}  // namespace bench
