#include "toolkit/rings.h"

#include <algorithm>
#include <utility>

#include "toolkit/topology.h"

namespace scanmesh {
namespace {

constexpr std::int32_t kNone = -1;

std::int32_t next_in_triangle(std::int32_t side) {
  return side / 3 * 3 + (side % 3 + 1) % 3;
}

class RingWalker {
 public:
  RingWalker(const std::vector<Triangle>& triangles, const std::vector<std::int32_t>& opposite)
      : triangles_(triangles), opposite_(opposite), unused_(opposite.size(), 0) {
    std::int32_t last_vertex = -1;
    for (std::size_t i = 0; i < opposite.size(); ++i) {
      if (opposite[i] != kOpenSide) continue;
      const auto side = static_cast<std::int32_t>(i);
      open_.push_back(side);
      unused_[i] = 1;
      leaving_.emplace_back(side_start(triangles_, side), side);
      last_vertex =
          std::max({last_vertex, side_start(triangles_, side), side_end(triangles_, side)});
    }
    std::sort(leaving_.begin(), leaving_.end());
    place_.assign(static_cast<std::size_t>(last_vertex + 1), kNone);
  }

  std::vector<std::vector<std::int32_t>> walk() {
    for (const std::int32_t first : open_) {
      if (!unused_[static_cast<std::size_t>(first)]) continue;
      follow(first);
    }
    // A patch runs against the sides that it closes.
    for (auto& ring : rings_) std::reverse(ring.begin(), ring.end());
    return std::move(rings_);
  }

 private:
  // Walks from one open side on until the way is lost or closes. Where a vertex is met again, what
  // lies between is a ring of its own.
  void follow(std::int32_t side) {
    std::vector<std::int32_t> path;
    while (side != kNone) {
      unused_[static_cast<std::size_t>(side)] = 0;
      place(side_start(triangles_, side)) = static_cast<std::int32_t>(path.size());
      path.push_back(side_start(triangles_, side));
      const std::int32_t met = place(side_end(triangles_, side));
      if (met != kNone) {
        rings_.emplace_back(path.begin() + met, path.end());
        forget(path, static_cast<std::size_t>(met));
        if (path.empty()) return;
      }
      side = successor(side);
    }
    forget(path, 0);
  }

  void forget(std::vector<std::int32_t>& path, std::size_t from) {
    for (; path.size() > from; path.pop_back()) place(path.back()) = kNone;
  }

  // Where a vertex stands in the path that is walked.
  std::int32_t& place(std::int32_t vertex) { return place_[static_cast<std::size_t>(vertex)]; }
  bool unused(std::int32_t side) const { return unused_[static_cast<std::size_t>(side)] != 0; }

  // The open side on which the rim of the same fan goes on; any other unused one from that vertex
  // where turned neighbours or a junction hide it.
  std::int32_t successor(std::int32_t side) const {
    const std::int32_t vertex = side_end(triangles_, side);
    std::int32_t at = next_in_triangle(side);
    while (side_start(triangles_, at) == vertex) {
      const std::int32_t across = opposite_[static_cast<std::size_t>(at)];
      if (across == kOpenSide) {
        if (unused(at)) return at;
        break;
      }
      if (across < 0) break;
      at = next_in_triangle(across);
    }
    for (auto it = std::lower_bound(leaving_.begin(), leaving_.end(), std::make_pair(vertex, 0));
         it != leaving_.end() && it->first == vertex; ++it) {
      if (unused(it->second)) return it->second;
    }
    return kNone;
  }

  const std::vector<Triangle>& triangles_;
  const std::vector<std::int32_t>& opposite_;
  std::vector<std::int32_t> open_;
  std::vector<std::pair<std::int32_t, std::int32_t>> leaving_;  // vertex, open side from there
  std::vector<std::uint8_t> unused_;
  std::vector<std::int32_t> place_;
  std::vector<std::vector<std::int32_t>> rings_;
};

}  // namespace

std::vector<std::vector<std::int32_t>> walk_rings(const std::vector<Triangle>& triangles,
                                                  const std::vector<std::int32_t>& opposite) {
  return RingWalker(triangles, opposite).walk();
}

}  // namespace scanmesh
