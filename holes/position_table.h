// Looking up the first of a growing list of points that lies within a tolerance of a place.
#ifndef SCANMESH_HOLES_POSITION_TABLE_H
#define SCANMESH_HOLES_POSITION_TABLE_H

#include <cmath>
#include <cstddef>
#include <functional>
#include <unordered_map>
#include <vector>

namespace scanmesh {

// Points are entered with numbers that rise. find() gives the smallest number whose point satisfies
// the caller's own test, as a linear search would, for tests that accept nothing farther than the
// tolerance on any axis.
class PositionTable {
 public:
  explicit PositionTable(double tolerance) : reach_(2 * tolerance), cell_(8 * tolerance) {}

  void insert(double x, double y, double z, int number) {
    cells_[{index_of(x), index_of(y), index_of(z)}].push_back(number);
  }

  // -1 when there is none.
  template <typename Accepts>
  int find(double x, double y, double z, Accepts accepts) const {
    int best = -1;
    for_axis(x, [&](double cx) {
      for_axis(y, [&](double cy) {
        for_axis(z, [&](double cz) { search({cx, cy, cz}, accepts, best); });
      });
    });
    return best;
  }

 private:
  // Cell numbers stay doubles: coordinates of a damaged file don't fit an integer.
  struct Cell {
    double x, y, z;
    bool operator==(const Cell& other) const {
      return x == other.x && y == other.y && z == other.z;
    }
  };
  struct Hash {
    std::size_t operator()(const Cell& cell) const {
      const std::hash<double> hash;
      return (hash(cell.x) * 31 + hash(cell.y)) * 31 + hash(cell.z);
    }
  };

  double index_of(double value) const { return std::floor(value / cell_); }

  template <typename Visit>
  void for_axis(double value, Visit visit) const {
    const double low = index_of(value - reach_);
    const double high = index_of(value + reach_);
    visit(low);
    if (high != low) visit(high);
  }

  template <typename Accepts>
  void search(const Cell& cell, const Accepts& accepts, int& best) const {
    const auto found = cells_.find(cell);
    if (found == cells_.end()) return;
    for (int number : found->second) {
      if (best >= 0 && number >= best) return;
      if (accepts(number)) {
        best = number;
        return;
      }
    }
  }

  double reach_;
  double cell_;
  std::unordered_map<Cell, std::vector<int>, Hash> cells_;
};

}  // namespace scanmesh

#endif  // SCANMESH_HOLES_POSITION_TABLE_H
