#include "toolkit/manifold_making.h"

#include <algorithm>
#include <cmath>

#include "toolkit/topology.h"
#include "toolkit/vector_math.h"

namespace scanmesh {
namespace {

// A triangle at an edge, seen along it.
struct Page {
  double angle;  // around the edge
  std::int32_t side;
  bool forward;  // runs from the edge's first vertex to its second: its outside is towards
                 // larger angles
};

std::vector<Page> pages_of(const WorkMesh& mesh, const EdgeTable& edges, std::size_t e) {
  const std::int32_t first = edges.side(edges.begin(e));
  const std::int32_t from = side_start(mesh.triangles, first);
  const Point& a = mesh.point(from);
  const Point axis = unit(mesh.point(side_end(mesh.triangles, first)) - a);
  Point x;
  std::vector<Page> pages;
  for (std::int32_t i = edges.begin(e); i < edges.end(e); ++i) {
    const std::int32_t side = edges.side(i);
    const Point& apex = mesh.corner(side / 3, static_cast<std::size_t>((side % 3 + 2) % 3));
    Point out = apex - a;
    out = out - axis * dot(out, axis);
    if (pages.empty()) x = unit(out);
    pages.push_back({std::atan2(dot(cross(axis, x), out), dot(x, out)), side,
                     side_start(mesh.triangles, side) == from});
  }
  std::sort(pages.begin(), pages.end(), [](const Page& p, const Page& q) {
    return p.angle != q.angle ? p.angle < q.angle : p.side < q.side;
  });
  return pages;
}

// Joins pages that hold material between them: going around, one whose inside lies ahead with the
// next, whose inside lies behind. Bodies that touch along an edge come apart that way. What is left
// are pages that all look the same way round; neighbours among them are joined too, and one of an
// odd number stays alone.
void pair_pages(std::vector<Page> pages, std::vector<std::int32_t>& partner) {
  const auto join = [&](std::size_t i, std::size_t j) {
    partner[static_cast<std::size_t>(pages[i].side)] = pages[j].side;
    partner[static_cast<std::size_t>(pages[j].side)] = pages[i].side;
    const std::size_t low = std::min(i, j);
    pages.erase(pages.begin() + static_cast<std::ptrdiff_t>(std::max(i, j)));
    pages.erase(pages.begin() + static_cast<std::ptrdiff_t>(low));
  };
  bool found = true;
  while (found && pages.size() >= 2) {
    found = false;
    for (std::size_t i = 0; i < pages.size() && !found; ++i) {
      const std::size_t j = (i + 1) % pages.size();
      if (pages[i].forward || !pages[j].forward) continue;
      join(i, j);
      found = true;
    }
  }
  while (pages.size() >= 2) join(0, 1);
}

std::vector<std::int32_t> partners(const WorkMesh& mesh, std::int64_t& junctions) {
  const EdgeTable edges(mesh.triangles, mesh.points.size());
  std::vector<std::int32_t> partner = opposite_sides(mesh.triangles, edges);
  for (std::size_t e = 0; e < edges.count(); ++e) {
    if (edges.valence(e) <= 2) continue;
    ++junctions;
    pair_pages(pages_of(mesh, edges, e), partner);
  }
  return partner;
}

// Turns triangles until partners run along their edge in opposite directions. Of each component the
// smaller part by area is turned. Where a way around ends turned over, the edge is cut.
class Turning {
 public:
  Turning(WorkMesh& mesh, std::vector<std::int32_t>& partner)
      : mesh_(mesh), partner_(partner), turned_(mesh.triangles.size(), -1) {}

  // The sides along which it cut.
  std::vector<std::int32_t> run(ManifoldChanges& changes) {
    for (std::int32_t f = 0; f < mesh_.size(); ++f) {
      if (turned_[static_cast<std::size_t>(f)] < 0) spread(f, changes);
    }
    cut_disagreements(changes);
    for (std::int32_t f = 0; f < mesh_.size(); ++f) {
      if (turned_[static_cast<std::size_t>(f)] == 1) turn(f);
    }
    return std::move(cut_);
  }

 private:
  bool disagree(std::int32_t side, std::int32_t other) const {
    const bool same_direction =
        side_start(mesh_.triangles, side) == side_start(mesh_.triangles, other);
    return same_direction != (turned_[static_cast<std::size_t>(side / 3)] !=
                              turned_[static_cast<std::size_t>(other / 3)]);
  }

  void spread(std::int32_t seed, ManifoldChanges& changes) {
    std::vector<std::int32_t> reached{seed};
    turned_[static_cast<std::size_t>(seed)] = 0;
    double area[2] = {0, 0};
    for (std::size_t i = 0; i < reached.size(); ++i) {
      const std::int32_t f = reached[i];
      const auto own = turned_[static_cast<std::size_t>(f)];
      area[own] += length(area_vector(mesh_.corner(f, 0), mesh_.corner(f, 1), mesh_.corner(f, 2)));
      for (std::int32_t side = 3 * f; side < 3 * f + 3; ++side) {
        const std::int32_t other = partner_[static_cast<std::size_t>(side)];
        if (other < 0 || turned_[static_cast<std::size_t>(other / 3)] >= 0) continue;
        const bool same_direction =
            side_start(mesh_.triangles, side) == side_start(mesh_.triangles, other);
        turned_[static_cast<std::size_t>(other / 3)] =
            static_cast<std::int8_t>(same_direction ? 1 - own : own);
        reached.push_back(other / 3);
      }
    }
    const int less = area[1] <= area[0] ? 1 : 0;
    for (const std::int32_t f : reached) {
      std::int8_t& own = turned_[static_cast<std::size_t>(f)];
      own = own == less ? 1 : 0;
      changes.turned_faces += own;
    }
  }

  void cut_disagreements(ManifoldChanges& changes) {
    for (std::size_t side = 0; side < partner_.size(); ++side) {
      const std::int32_t other = partner_[side];
      if (other < 0 || !disagree(static_cast<std::int32_t>(side), other)) continue;
      partner_[side] = kOpenSide;
      partner_[static_cast<std::size_t>(other)] = kOpenSide;
      ++changes.cut_edges;
      cut_.push_back(static_cast<std::int32_t>(side));
      cut_.push_back(other);
    }
  }

  // Corners 1 and 2 change places; sides 0 and 2 do, and what is partnered with them follows.
  void turn(std::int32_t f) {
    Triangle& t = mesh_.triangles[static_cast<std::size_t>(f)];
    std::swap(t[1], t[2]);
    const auto first = static_cast<std::size_t>(3 * f);
    std::swap(partner_[first], partner_[first + 2]);
    for (const std::size_t side : {first, first + 1, first + 2}) {
      const std::int32_t other = partner_[side];
      if (other >= 0) partner_[static_cast<std::size_t>(other)] = static_cast<std::int32_t>(side);
    }
    for (std::int32_t& side : cut_) {
      if (side / 3 == f && side % 3 != 1) side = 3 * f + 2 - side % 3;
    }
  }

  WorkMesh& mesh_;
  std::vector<std::int32_t>& partner_;
  std::vector<std::int8_t> turned_;  // -1 before it is reached
  std::vector<std::int32_t> cut_;
};

// Sets of corners that hang together at a vertex across partnered sides. A corner has the number of
// the side that starts there.
class Fans {
 public:
  Fans(const WorkMesh& mesh, const std::vector<std::int32_t>& partner,
       const std::vector<std::int32_t>& cut)
      : sets_(partner.size()), open_(partner.size(), 0) {
    for (std::int32_t side = 0; side < static_cast<std::int32_t>(partner.size()); ++side) {
      const std::int32_t other = partner[static_cast<std::size_t>(side)];
      const std::int32_t next = side / 3 * 3 + (side % 3 + 1) % 3;
      if (other < side && other >= 0) continue;
      if (other >= 0) {
        const std::int32_t other_next = other / 3 * 3 + (other % 3 + 1) % 3;
        const bool opposed = side_start(mesh.triangles, side) != side_start(mesh.triangles, other);
        sets_.join(side, opposed ? other_next : other);
        sets_.join(next, opposed ? other : other_next);
      }
    }
    for (std::int32_t side = 0; side < static_cast<std::int32_t>(partner.size()); ++side) {
      if (partner[static_cast<std::size_t>(side)] >= 0) continue;
      mark(side, kOpen);
      mark(side / 3 * 3 + (side % 3 + 1) % 3, kOpen);
    }
    for (const std::int32_t side : cut) {
      mark(side, kCut);
      mark(side / 3 * 3 + (side % 3 + 1) % 3, kCut);
    }
  }

  std::int32_t of(std::int32_t corner) { return sets_.find(corner); }
  // Open and not by a cut: what lies between such fans will be closed, and joins them.
  bool stays(std::int32_t fan) const { return open_[static_cast<std::size_t>(fan)] == kOpen; }

 private:
  static constexpr std::uint8_t kOpen = 1;
  static constexpr std::uint8_t kCut = 2;
  void mark(std::int32_t corner, std::uint8_t as) {
    open_[static_cast<std::size_t>(of(corner))] = as;
  }

  DisjointSets sets_;
  std::vector<std::uint8_t> open_;
};

// The vertex keeps its open fans, or the first other one; each other closed or cut fan gets a copy.
void split_fans(WorkMesh& mesh, const std::vector<std::int32_t>& partner,
                const std::vector<std::int32_t>& cut, ManifoldChanges& changes) {
  Fans fans(mesh, partner, cut);
  std::vector<std::int32_t> vertex_of_fan(partner.size(), -1);
  std::vector<std::uint8_t> taken(mesh.points.size(), 0);
  const auto corners = static_cast<std::int32_t>(partner.size());
  for (std::int32_t corner = 0; corner < corners; ++corner) {
    const std::int32_t v = side_start(mesh.triangles, corner);
    if (fans.stays(fans.of(corner))) taken[static_cast<std::size_t>(v)] = 1;
  }
  for (std::int32_t corner = 0; corner < corners; ++corner) {
    const std::int32_t v = side_start(mesh.triangles, corner);
    const std::int32_t fan = fans.of(corner);
    std::int32_t& vertex = vertex_of_fan[static_cast<std::size_t>(fan)];
    if (vertex < 0) {
      vertex = v;
      if (!fans.stays(fan)) {
        if (taken[static_cast<std::size_t>(v)] != 0) {
          vertex = mesh.add_point(mesh.point(v), mesh.point_from[static_cast<std::size_t>(v)]);
          ++changes.split_vertices;
        } else {
          taken[static_cast<std::size_t>(v)] = 1;
        }
      }
    }
    mesh.triangles[static_cast<std::size_t>(corner / 3)][static_cast<std::size_t>(corner % 3)] =
        vertex;
  }
}

// Junctions whose pages hang together at both ends keep both vertices in common: each pair of
// partners gets a vertex of its own in the middle of the edge, drawn a little towards its
// triangles. Returns whether any was left.
bool split_edges_in_common(WorkMesh& mesh, const std::vector<std::int32_t>& partner) {
  const EdgeTable edges(mesh.triangles, mesh.points.size());
  std::vector<std::int32_t> split;  // one side of each pair
  for (std::size_t e = 0; e < edges.count(); ++e) {
    if (edges.valence(e) <= 2) continue;
    for (std::int32_t i = edges.begin(e); i < edges.end(e); ++i) {
      const std::int32_t side = edges.side(i);
      if (partner[static_cast<std::size_t>(side)] < side) split.push_back(side);
    }
  }
  for (const std::int32_t side : split) {
    const std::int32_t other = partner[static_cast<std::size_t>(side)];
    const auto apex = [&](std::int32_t s) {
      return mesh.corner(s / 3, static_cast<std::size_t>((s % 3 + 2) % 3));
    };
    if (!mesh.alive(side / 3) || (other >= 0 && !mesh.alive(other / 3))) continue;
    const Point middle = (mesh.point(side_start(mesh.triangles, side)) +
                          mesh.point(side_end(mesh.triangles, side))) *
                         0.5;
    const Point inwards =
        other >= 0 ? (apex(side) + apex(other)) * 0.5 - middle : apex(side) - middle;
    const std::int32_t m = mesh.add_point(rounded_to_floats(middle + inwards * 0.01));
    for (const std::int32_t s : {side, other}) {
      if (s < 0) continue;
      Triangle t = mesh.triangle(s / 3);
      const std::int32_t from = mesh.triangle_from[static_cast<std::size_t>(s / 3)];
      const auto k = static_cast<std::size_t>(s % 3);
      mesh.kill(s / 3);
      Triangle first = t;
      first[(k + 1) % 3] = m;
      Triangle second = t;
      second[k] = m;
      mesh.add_triangle(first, from);
      mesh.add_triangle(second, from);
    }
  }
  mesh.compact();
  return !split.empty();
}

}  // namespace

ManifoldChanges make_manifold(WorkMesh& mesh) {
  ManifoldChanges changes;
  // Splitting an edge in common leaves others for the next look where triangles have two of them.
  for (int round = 0; round < 4; ++round) {
    std::int64_t junctions = 0;
    std::vector<std::int32_t> partner = partners(mesh, junctions);
    if (round == 0) changes.junction_edges = junctions;
    const std::vector<std::int32_t> cut = Turning(mesh, partner).run(changes);
    split_fans(mesh, partner, cut, changes);
    if (junctions == 0 || !split_edges_in_common(mesh, partner)) break;
  }
  return changes;
}

ManifoldChanges agree(WorkMesh& mesh) {
  ManifoldChanges changes;
  std::vector<std::int32_t> partner = partners(mesh, changes.junction_edges);
  const std::vector<std::int32_t> cut = Turning(mesh, partner).run(changes);
  if (!cut.empty()) split_fans(mesh, partner, cut, changes);
  return changes;
}

}  // namespace scanmesh
