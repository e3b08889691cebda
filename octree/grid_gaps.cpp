#include "octree/grid_gaps.h"

#include <cmath>
#include <cstddef>

namespace scanmesh {

namespace {

float component(const Vec3f& p, int axis) {
  return axis == 0 ? p.x : axis == 1 ? p.y : p.z;
}

class Cells {
 public:
  explicit Cells(const GapGrid& grid)
      : grid_(grid),
        cells_(static_cast<std::size_t>(grid.size) * side(), {0, 0, 0}),
        used_(cells_.size(), 0) {}

  // A later point replaces an earlier one.
  void drop(const Vec3f& p) {
    const int row = index_of(component(p, grid_.a) - component(grid_.origin, grid_.a));
    const int column = index_of(component(p, grid_.b) - component(grid_.origin, grid_.b));
    if (row >= 0 && column >= 0 && !std::isnan(p.x)) set(at(row, column), p);
  }

  // Walks a row or a column and bridges its gaps.
  template <typename Keep>
  void bridge(bool is_row, int line, Keep keep) {
    const auto cell = [&](int i) { return is_row ? at(line, i) : at(i, line); };
    int last = -1;
    for (int i = 0; i < grid_.size; ++i) {
      if (used_[cell(i)] == 0) continue;
      if (last >= 0 && i - last > 1) {
        const Vec3f from = cells_[cell(last)];
        const Vec3f way = sub(cells_[cell(i)], from);
        for (int k = last + 1; k < i; ++k) {
          const float t = static_cast<float>(k - last) / static_cast<float>(i - last);
          keep(cell(k), Vec3f{from.x + t * way.x, from.y + t * way.y, from.z + t * way.z});
        }
      }
      last = i;
    }
  }

  void set(std::size_t cell, const Vec3f& p) {
    cells_[cell] = p;
    used_[cell] = 1;
  }

 private:
  std::size_t side() const { return static_cast<std::size_t>(grid_.size); }
  std::size_t at(int row, int column) const {
    return static_cast<std::size_t>(row) * side() + static_cast<std::size_t>(column);
  }
  // -1 off the grid. Truncation takes what lies a little below the grid onto its edge.
  int index_of(float offset) const {
    const float at = offset / grid_.step;
    return at > -1 && at < static_cast<float>(grid_.size) ? static_cast<int>(at) : -1;
  }

  const GapGrid& grid_;
  std::vector<Vec3f> cells_;
  std::vector<unsigned char> used_;
};

}  // namespace

std::vector<Vec3f> grid_gap_seeds(const GapGrid& grid, const std::vector<Vec3f>& points,
                                  const Vec3f& marker, float radius) {
  std::vector<Vec3f> seeds;
  if (!(grid.step > 0) || grid.size < 1) return seeds;
  Cells cells(grid);
  for (const Vec3f& p : points) cells.drop(p);
  const double reach = static_cast<double>(radius) * radius;
  const auto near = [&](const Vec3f& p) {
    const Vec3f way = sub(p, marker);
    return dot_double(way, way) <= reach;
  };
  for (int row = 0; row < grid.size; ++row) {
    cells.bridge(true, row, [&](std::size_t cell, const Vec3f& p) {
      if (!near(p)) return;
      seeds.push_back(p);
      cells.set(cell, p);
    });
  }
  for (int column = 0; column < grid.size; ++column) {
    cells.bridge(false, column, [&](std::size_t, const Vec3f& p) {
      if (near(p)) seeds.push_back(p);
    });
  }
  return seeds;
}

}  // namespace scanmesh
