#include "toolkit/self_union.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

#include "toolkit/arrangement.h"
#include "toolkit/contact.h"
#include "toolkit/vector_math.h"

namespace scanmesh {
namespace {

// The pieces and the whole triangles, over vertices of the mesh and new ones.
struct Fine {
  std::vector<Triangle> triangles;
  std::vector<std::int32_t> parent;  // the triangle of the mesh that it is, or a piece of
};

// One of triangles with the same corners is enough.
void drop_copies(Fine& fine, std::size_t point_count) {
  const std::vector<std::int32_t> copies = copies_of_earlier(fine.triangles, point_count);
  auto copy = copies.begin();
  std::size_t kept = 0;
  for (std::size_t i = 0; i < fine.triangles.size(); ++i) {
    if (copy != copies.end() && *copy == static_cast<std::int32_t>(i)) {
      ++copy;
      continue;
    }
    fine.triangles[kept] = fine.triangles[i];
    fine.parent[kept++] = fine.parent[i];
  }
  fine.triangles.resize(kept);
  fine.parent.resize(kept);
}

// Winding numbers on both sides of a point in a triangle.
struct Winding {
  int front = 0;
  int back = 0;
};

class WindingField {
 public:
  WindingField(const WorkMesh& mesh, Arrangement& arrangement)
      : mesh_(mesh), arrangement_(arrangement) {
    std::vector<std::int32_t> items;
    for (std::int32_t f = 0; f < mesh.size(); ++f) {
      if (mesh.alive(f) && !degenerate(mesh.points, mesh.triangle(f))) items.push_back(f);
    }
    tree_ = BoxTree(mesh.points, mesh.triangles, std::move(items));
  }

  // At an exact point within triangle f, which no other triangle cuts there.
  Winding at(const ExactPoint& p, std::int32_t f) {
    const ExactTriangle& own = arrangement_.exact(f);
    const int axis = axis_of(own.flat);
    const Point near = arrangement_grid_point(p);
    int beyond = 0;
    int here = 0;
    tree_.descend([&](const FloatBox& box) { return may_meet(box, near, axis); },
                  [&](std::int32_t g) { count(p, g, axis, beyond, here); });
    const bool looks_along = own.plane.normal[static_cast<std::size_t>(axis)] > 0;
    return looks_along ? Winding{beyond, beyond + here} : Winding{beyond + here, beyond};
  }

 private:
  static int axis_of(const Flattening& flat) { return 3 - flat.u - flat.v; }
  static double coordinate(const Point& p, int axis) {
    return axis == 0 ? p.x : axis == 1 ? p.y : p.z;
  }
  Point arrangement_grid_point(const ExactPoint& p) const { return arrangement_.rounded(p); }

  // Boxes that the ray may meet; wider by more than the rounding of the point.
  static bool may_meet(const FloatBox& box, const Point& p, int axis) {
    for (int k = 0; k < 3; ++k) {
      const auto i = static_cast<std::size_t>(k);
      const double at = coordinate(p, k);
      const double slack = 1e-12 * std::abs(at);
      if (static_cast<double>(box.max[i]) < at - slack) return false;
      if (k != axis && static_cast<double>(box.min[i]) > at + slack) return false;
    }
    return true;
  }

  bool passes_above(const ExactPoint& p, std::int32_t a, std::int32_t b,
                    const Flattening& flat) const {
    const ExactPoint* low = &arrangement_.point(a);
    const ExactPoint* high = &arrangement_.point(b);
    int order = compare(*low, *high, flat.u);
    if (order == 0) order = compare(*low, *high, flat.v);
    if (order > 0) std::swap(low, high);
    if (compare(*low, p, flat.u) > 0 || compare(p, *high, flat.u) >= 0) return false;
    return turn(*low, *high, p, flat) < 0;
  }

  void count(const ExactPoint& p, std::int32_t g, int axis, int& beyond, int& here) {
    const ExactTriangle& t = arrangement_.exact(g);
    const int facing = sign_of(t.plane.normal[static_cast<std::size_t>(axis)]);
    if (facing == 0) return;
    const Flattening flat(axis);
    const auto& c = t.corners;
    if (passes_above(p, c[0], c[1], flat) ==
        (passes_above(p, c[1], c[2], flat) != passes_above(p, c[2], c[0], flat))) {
      return;
    }
    const int side = sign_of(t.plane.value(p));
    if (side == 0) {
      here += facing;
    } else if (side * facing < 0) {
      beyond += facing;
    }
  }

  const WorkMesh& mesh_;
  Arrangement& arrangement_;
  BoxTree tree_;
};

class SelfUnion {
 public:
  SelfUnion(WorkMesh& mesh, const Ground& ground)
      : mesh_(mesh), ground_(ground), arrangement_(mesh) {}

  UnionChanges run(const std::vector<Intersection>& pairs) {
    for (const Intersection& pair : pairs) arrangement_.meet(pair.first, pair.second);
    refine();
    const std::vector<std::int8_t> fate = decide();
    rebuild(fate);
    return changes_;
  }

 private:
  // New exact points become vertices with numbers beyond those of the mesh.
  void refine() {
    const std::vector<std::int32_t> cut = arrangement_.cut_triangles();
    changes_.cut = static_cast<std::int64_t>(cut.size());
    std::vector<bool> is_cut(mesh_.triangles.size(), false);
    for (const std::int32_t f : cut) is_cut[static_cast<std::size_t>(f)] = true;
    for (std::int32_t f = 0; f < mesh_.size(); ++f) {
      if (is_cut[static_cast<std::size_t>(f)]) continue;
      fine_.triangles.push_back(mesh_.triangle(f));
      fine_.parent.push_back(f);
    }
    for (const std::int32_t f : cut) {
      for (const auto& piece : arrangement_.pieces(f)) {
        fine_.triangles.push_back({vertex_of(piece[0]), vertex_of(piece[1]), vertex_of(piece[2])});
        fine_.parent.push_back(f);
      }
    }
    drop_copies(fine_, mesh_.points.size() + new_points_.size());
  }

  std::int32_t vertex_of(std::int32_t exact) {
    const std::int32_t v = arrangement_.vertex(exact);
    if (v >= 0) return v;
    const auto [at, fresh] = new_vertex_.emplace(
        exact, static_cast<std::int32_t>(mesh_.points.size() + new_points_.size()));
    if (fresh) new_points_.push_back(exact);
    return at->second;
  }

  ExactPoint exact_of(std::int32_t vertex) {
    const auto old = static_cast<std::int32_t>(mesh_.points.size());
    if (vertex >= old) {
      return arrangement_.point(new_points_[static_cast<std::size_t>(vertex - old)]);
    }
    return arrangement_.point(arrangement_.of_vertex(vertex));
  }

  Point near(std::int32_t vertex) {
    const auto old = static_cast<std::int32_t>(mesh_.points.size());
    return vertex < old ? mesh_.point(vertex)
                        : arrangement_.rounded(new_points_[static_cast<std::size_t>(vertex - old)]);
  }

  ExactPoint middle_of(const Triangle& t) {
    const ExactPoint a = exact_of(t[0]);
    const ExactPoint b = exact_of(t[1]);
    const ExactPoint c = exact_of(t[2]);
    std::array<Whole, 3> x;
    for (std::size_t k = 0; k < 3; ++k) {
      x[k] = a.x[k] * b.w * c.w + b.x[k] * a.w * c.w + c.x[k] * a.w * b.w;
    }
    return settled(std::move(x), a.w * b.w * c.w * 3);
  }

  // Per fine triangle: 1 it stays, -1 it stays turned over, 0 it goes. Triangles that hang together
  // across edges of two share their fate; the largest of them is asked.
  std::vector<std::int8_t> decide() {
    const EdgeTable edges(fine_.triangles, mesh_.points.size() + new_points_.size());
    DisjointSets patches(fine_.triangles.size());
    for (std::size_t e = 0; e < edges.count(); ++e) {
      if (edges.valence(e) != 2) continue;
      patches.join(edges.side(edges.begin(e)) / 3, edges.side(edges.begin(e) + 1) / 3);
    }
    std::unordered_map<std::int32_t, std::pair<double, std::int32_t>> largest;
    for (std::size_t i = 0; i < fine_.triangles.size(); ++i) {
      const Triangle& t = fine_.triangles[i];
      const double area = length(area_vector(near(t[0]), near(t[1]), near(t[2])));
      auto& best =
          largest.emplace(patches.find(static_cast<std::int32_t>(i)), std::make_pair(-1.0, -1))
              .first->second;
      if (area > best.first) best = {area, static_cast<std::int32_t>(i)};
    }
    WindingField field(mesh_, arrangement_);
    std::unordered_map<std::int32_t, std::int8_t> fate;
    for (const auto& [patch, best] : largest) {
      const auto i = static_cast<std::size_t>(best.second);
      const Winding winding = field.at(middle_of(fine_.triangles[i]), fine_.parent[i]);
      const bool front = winding.front >= 1;
      const bool back = winding.back >= 1;
      fate[patch] = front == back ? std::int8_t{0} : back ? std::int8_t{1} : std::int8_t{-1};
    }
    std::vector<std::int8_t> fates(fine_.triangles.size());
    for (std::size_t i = 0; i < fates.size(); ++i) {
      fates[i] = fate[patches.find(static_cast<std::int32_t>(i))];
    }
    return fates;
  }

  void rebuild(const std::vector<std::int8_t>& fate) {
    std::vector<std::int32_t> origin;
    std::vector<Triangle> triangles;
    for (std::size_t i = 0; i < fate.size(); ++i) {
      if (fate[i] == 0) {
        ++changes_.inside;
        continue;
      }
      Triangle t = fine_.triangles[i];
      if (fate[i] < 0) std::swap(t[1], t[2]);
      triangles.push_back(t);
      origin.push_back(mesh_.triangle_from[static_cast<std::size_t>(fine_.parent[i])]);
    }
    for (const std::int32_t exact : new_points_) {
      mesh_.add_point(ground_.stored(arrangement_.rounded(exact)));
    }
    mesh_.triangles = std::move(triangles);
    mesh_.triangle_from = std::move(origin);
  }

  WorkMesh& mesh_;
  Ground ground_;
  Arrangement arrangement_;
  Fine fine_;
  std::vector<std::int32_t> new_points_;  // exact numbers
  std::unordered_map<std::int32_t, std::int32_t> new_vertex_;
  UnionChanges changes_;
};

}  // namespace

UnionChanges unite(WorkMesh& mesh, const std::vector<Intersection>& pairs, const Ground& ground) {
  return SelfUnion(mesh, ground).run(pairs);
}

}  // namespace scanmesh
