#include "toolkit/topology.h"

#include <algorithm>
#include <numeric>

namespace scanmesh {
namespace {

bool has_corner_twice(const Triangle& t) {
  return t[0] == t[1] || t[1] == t[2] || t[2] == t[0];
}

// Calls use(side, lower corner, higher corner) for every side that belongs to an edge.
template <typename Use>
void for_each_side(const std::vector<Triangle>& triangles, Use use) {
  for (std::size_t f = 0; f < triangles.size(); ++f) {
    const Triangle& t = triangles[f];
    if (has_corner_twice(t)) continue;
    for (std::size_t k = 0; k < 3; ++k) {
      const std::int32_t a = t[k];
      const std::int32_t b = t[(k + 1) % 3];
      use(static_cast<std::int32_t>(3 * f + k), std::min(a, b), std::max(a, b));
    }
  }
}

}  // namespace

// Buckets by the lower corner, each sorted by the higher one: linear but for hubs.
EdgeTable::EdgeTable(const std::vector<Triangle>& triangles, std::size_t point_count) {
  std::vector<std::int32_t> start(point_count + 1, 0);
  for_each_side(triangles, [&](std::int32_t, std::int32_t low, std::int32_t) {
    ++start[static_cast<std::size_t>(low) + 1];
  });
  std::partial_sum(start.begin(), start.end(), start.begin());
  struct Entry {
    std::int32_t high;
    std::int32_t side;
    bool operator<(const Entry& other) const {
      return high < other.high || (high == other.high && side < other.side);
    }
  };
  std::vector<Entry> entries(static_cast<std::size_t>(start.back()));
  std::vector<std::int32_t> next(start.begin(), start.end() - 1);
  for_each_side(triangles, [&](std::int32_t side, std::int32_t low, std::int32_t high) {
    entries[static_cast<std::size_t>(next[static_cast<std::size_t>(low)]++)] = {high, side};
  });
  const auto buckets = static_cast<std::int64_t>(point_count);
#pragma omp parallel for schedule(static, 4096) if (buckets > 65536)
  for (std::int64_t v = 0; v < buckets; ++v) {
    std::sort(entries.begin() + start[static_cast<std::size_t>(v)],
              entries.begin() + start[static_cast<std::size_t>(v) + 1]);
  }
  sides_.reserve(entries.size());
  first_.reserve(entries.size() / 2 + 2);
  for (std::size_t v = 0; v < point_count; ++v) {
    std::int32_t high = -1;
    for (std::int32_t i = start[v]; i < start[v + 1]; ++i) {
      const Entry& entry = entries[static_cast<std::size_t>(i)];
      if (entry.high != high) first_.push_back(i);
      high = entry.high;
      sides_.push_back(entry.side);
    }
  }
  first_.push_back(static_cast<std::int32_t>(sides_.size()));
}

std::vector<std::int32_t> opposite_sides(const std::vector<Triangle>& triangles,
                                         const EdgeTable& edges) {
  std::vector<std::int32_t> opposite(3 * triangles.size(), kNoSide);
  const auto set = [&](std::int32_t side, std::int32_t to) {
    opposite[static_cast<std::size_t>(side)] = to;
  };
  for (std::size_t e = 0; e < edges.count(); ++e) {
    const std::int32_t begin = edges.begin(e);
    if (edges.valence(e) == 2) {
      set(edges.side(begin), edges.side(begin + 1));
      set(edges.side(begin + 1), edges.side(begin));
      continue;
    }
    const std::int32_t mark = edges.valence(e) == 1 ? kOpenSide : kJunctionSide;
    for (std::int32_t i = begin; i < edges.end(e); ++i) set(edges.side(i), mark);
  }
  return opposite;
}

// Buckets by the lowest corner, as for edges.
std::vector<std::int32_t> copies_of_earlier(const std::vector<Triangle>& triangles,
                                            std::size_t point_count) {
  std::vector<std::int32_t> start(point_count + 1, 0);
  for (const Triangle& t : triangles) {
    ++start[static_cast<std::size_t>(std::min({t[0], t[1], t[2]})) + 1];
  }
  std::partial_sum(start.begin(), start.end(), start.begin());
  struct Entry {
    std::int32_t middle;
    std::int32_t high;
    std::int32_t number;
    bool same(const Entry& other) const { return middle == other.middle && high == other.high; }
    bool operator<(const Entry& other) const {
      return middle != other.middle ? middle < other.middle
             : high != other.high   ? high < other.high
                                    : number < other.number;
    }
  };
  std::vector<Entry> entries(triangles.size());
  std::vector<std::int32_t> next(start.begin(), start.end() - 1);
  for (std::size_t f = 0; f < triangles.size(); ++f) {
    Triangle t = triangles[f];
    std::sort(t.begin(), t.end());
    entries[static_cast<std::size_t>(next[static_cast<std::size_t>(t[0])]++)] = {
        t[1], t[2], static_cast<std::int32_t>(f)};
  }
  std::vector<std::int32_t> copies;
  for (std::size_t v = 0; v < point_count; ++v) {
    const auto begin = entries.begin() + start[v];
    const auto end = entries.begin() + start[v + 1];
    std::sort(begin, end);
    for (auto it = begin; it != end; ++it) {
      if (it != begin && it->same(*(it - 1))) copies.push_back(it->number);
    }
  }
  std::sort(copies.begin(), copies.end());
  return copies;
}

DisjointSets::DisjointSets(std::size_t count) : parent_(count) {
  std::iota(parent_.begin(), parent_.end(), 0);
}

std::int32_t DisjointSets::find(std::int32_t i) {
  while (parent_[static_cast<std::size_t>(i)] != i) {
    std::int32_t& up = parent_[static_cast<std::size_t>(i)];
    up = parent_[static_cast<std::size_t>(up)];
    i = up;
  }
  return i;
}

// The smaller root stays: what a set is called doesn't depend on the order of joining.
void DisjointSets::join(std::int32_t a, std::int32_t b) {
  a = find(a);
  b = find(b);
  if (a == b) return;
  parent_[static_cast<std::size_t>(std::max(a, b))] = std::min(a, b);
}

Components components_by_edges(const std::vector<Triangle>& triangles, const EdgeTable& edges) {
  DisjointSets sets(triangles.size());
  for (std::size_t e = 0; e < edges.count(); ++e) {
    for (std::int32_t i = edges.begin(e) + 1; i < edges.end(e); ++i) {
      sets.join(edges.side(i) / 3, edges.side(i - 1) / 3);
    }
  }
  Components components;
  components.of_triangle.resize(triangles.size());
  for (std::size_t f = 0; f < triangles.size(); ++f) {
    const std::int32_t root = sets.find(static_cast<std::int32_t>(f));
    components.of_triangle[f] = root == static_cast<std::int32_t>(f)
                                    ? components.count++
                                    : components.of_triangle[static_cast<std::size_t>(root)];
  }
  return components;
}

VertexSides::VertexSides(const std::vector<Triangle>& triangles, std::size_t point_count)
    : first_(point_count + 1, 0), sides_(3 * triangles.size()) {
  for (const Triangle& t : triangles) {
    for (const std::int32_t v : t) ++first_[static_cast<std::size_t>(v) + 1];
  }
  std::partial_sum(first_.begin(), first_.end(), first_.begin());
  std::vector<std::int32_t> next(first_.begin(), first_.end() - 1);
  std::int32_t side = 0;
  for (const Triangle& t : triangles) {
    for (const std::int32_t v : t) {
      sides_[static_cast<std::size_t>(next[static_cast<std::size_t>(v)]++)] = side++;
    }
  }
}

}  // namespace scanmesh
