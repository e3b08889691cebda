#include "support/point_set.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <limits>
#include <locale>
#include <sstream>
#include <unordered_map>
#include <unordered_set>

#include "support/stl_file.h"

namespace demo {
namespace {

using Cell = std::array<std::int64_t, 3>;

struct CellHash {
  std::size_t operator()(const Cell& cell) const {
    std::uint64_t hash = 0;
    for (const std::int64_t i : cell) {
      hash = (hash ^ static_cast<std::uint64_t>(i)) * 0x9E3779B97F4A7C15u;
      hash ^= hash >> 29;
    }
    return static_cast<std::size_t>(hash);
  }
};

// Points by the cube of a grid that they lie in.
class Grid {
 public:
  explicit Grid(double cell) : cell_(cell) {}

  void add(const Vec3& p, int number) { cells_[cell_of(p)].push_back(number); }

  // Calls visit(number) for the points of the cubes at most `reach` steps around that of p, those
  // of exactly `reach` steps only.
  template <typename Visit>
  void shell(const Vec3& p, std::int64_t reach, Visit visit) const {
    const Cell middle = cell_of(p);
    for (std::int64_t x = -reach; x <= reach; ++x) {
      for (std::int64_t y = -reach; y <= reach; ++y) {
        const bool on_side = std::abs(x) == reach || std::abs(y) == reach;
        for (std::int64_t z = -reach; z <= reach; z += on_side || reach == 0 ? 1 : 2 * reach) {
          const auto found = cells_.find({middle[0] + x, middle[1] + y, middle[2] + z});
          if (found == cells_.end()) continue;
          for (const int number : found->second) visit(number);
        }
      }
    }
  }
  double cell() const { return cell_; }

 private:
  Cell cell_of(const Vec3& p) const {
    Cell cell;
    for (std::size_t d = 0; d < 3; ++d) {
      cell[d] = static_cast<std::int64_t>(std::floor(p[static_cast<int>(d)] / cell_));
    }
    return cell;
  }

  double cell_;
  std::unordered_map<Cell, std::vector<int>, CellHash> cells_;
};

// About the spacing, from the surface of the bounding box.
double rough_spacing(const std::vector<Vec3>& points) {
  Vec3 low = points.front();
  Vec3 high = low;
  for (const Vec3& p : points) {
    low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
    high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
  }
  const Vec3 size = high - low;
  const double area = size.x * size.y + size.y * size.z + size.z * size.x;
  return std::sqrt(area / static_cast<double>(points.size()));
}

double mean_of_nearest(const Grid& grid, const PointSet& set, std::size_t number) {
  constexpr std::size_t kNeighbours = 6;
  const Vec3& p = set.points[number];
  std::vector<double> distances;
  // One shell more than it takes to find them: nearer ones may lie in the next.
  for (std::int64_t reach = 0, last = 64; reach <= last; ++reach) {
    grid.shell(p, reach, [&](int other) {
      if (static_cast<std::size_t>(other) != number) {
        distances.push_back(distance(p, set.points[static_cast<std::size_t>(other)]));
      }
    });
    if (distances.size() >= kNeighbours) last = std::min(last, reach + 1);
  }
  if (distances.size() < kNeighbours) return -1;
  std::partial_sort(distances.begin(), distances.begin() + kNeighbours, distances.end());
  double sum = 0;
  for (std::size_t i = 0; i < kNeighbours; ++i) sum += distances[i];
  return sum / kNeighbours;
}

struct PointHash {
  std::size_t operator()(const std::array<float, 3>& p) const {
    std::size_t hash = 0;
    for (const float c : p) hash = hash * 0x9E3779B97F4A7C15u + std::hash<float>()(c);
    return hash;
  }
};

}  // namespace

bool read_xyz(const std::string& path, PointSet& set, std::string& error) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return error = "can't be opened", false;
  set = {};
  // The library works in float, where points may meet that differ in the file.
  std::unordered_set<std::array<float, 3>, PointHash> seen;
  std::string line;
  for (long number = 1; std::getline(file, line); ++number) {
    std::istringstream words(line);
    words.imbue(std::locale::classic());
    if ((words >> std::ws).eof() || words.peek() == '#') continue;
    Vec3 p;
    Vec3 n;
    if (!(words >> p.x >> p.y >> p.z >> n.x >> n.y >> n.z)) {
      return error = "line " + std::to_string(number) + " has fewer than six numbers", false;
    }
    const auto narrow = [](double c) { return static_cast<float>(c); };
    if (!seen.insert({narrow(p.x), narrow(p.y), narrow(p.z)}).second) continue;
    set.points.push_back(p);
    set.normals.push_back(unit(n));
  }
  return true;
}

PointSet points_of(const Surface& surface) {
  return {surface.points, point_normals(surface)};
}

bool read_points(const std::string& path, PointSet& set, std::string& error) {
  const std::size_t dot = path.rfind('.');
  if (dot == std::string::npos || path.substr(dot) != ".stl") return read_xyz(path, set, error);
  std::vector<Triangle> triangles;
  if (!read_stl(path, triangles)) return error = "is no binary STL file", false;
  set = points_of(weld(triangles));
  return true;
}

double estimate_spacing(const PointSet& set) {
  constexpr std::size_t kSamples = 4000;
  if (set.points.size() < 7) return 0;
  Grid grid(std::max(2 * rough_spacing(set.points), std::numeric_limits<double>::min()));
  for (std::size_t i = 0; i < set.points.size(); ++i) grid.add(set.points[i], static_cast<int>(i));
  const std::size_t stride = std::max<std::size_t>(1, set.points.size() / kSamples);
  double sum = 0;
  int samples = 0;
  for (std::size_t i = 0; i < set.points.size(); i += stride) {
    const double mean = mean_of_nearest(grid, set, i);
    if (mean < 0) continue;
    sum += mean;
    ++samples;
  }
  return samples == 0 ? 0 : sum / samples;
}

PointSet thinned(const PointSet& set, double least) {
  PointSet kept;
  Grid grid(least);
  for (std::size_t i = 0; i < set.points.size(); ++i) {
    const Vec3& p = set.points[i];
    bool free = true;
    for (std::int64_t reach = 0; reach <= 1; ++reach) {
      grid.shell(p, reach, [&](int other) {
        free = free && distance(p, kept.points[static_cast<std::size_t>(other)]) >= least;
      });
    }
    if (!free) continue;
    grid.add(p, static_cast<int>(kept.points.size()));
    kept.points.push_back(p);
    kept.normals.push_back(set.normals[i]);
  }
  return kept;
}

void scale(PointSet& set, double factor) {
  for (Vec3& p : set.points) p = p * factor;
}

}  // namespace demo
