#include "toolkit/patch_making.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <unordered_set>

#include "scanmesh/cavity_patcher.h"
#include "toolkit/contact.h"
#include "toolkit/vector_math.h"

namespace scanmesh {
namespace {

// Rows of triangles around a ring that its patch takes its tangents from: what the engine's own
// fills hand to the patch maker.
constexpr int kRegionRows = 4;

// Moves a ring to the origin and to about unit size by a power of two, so that thresholds mean the
// same in every unit.
class Frame {
 public:
  Frame(const std::vector<Point>& points, const std::vector<std::int32_t>& ring) {
    Point low = points[static_cast<std::size_t>(ring[0])];
    Point high = low;
    for (const std::int32_t v : ring) {
      const Point& p = points[static_cast<std::size_t>(v)];
      low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
      high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
    }
    origin_ = low;
    const double size = distance(low, high);
    if (size > 0 && std::isfinite(size)) exponent_ = 4 - std::ilogb(size);
  }

  Point inside(const Point& p) const {
    const Point moved = p - origin_;
    return {std::ldexp(moved.x, exponent_), std::ldexp(moved.y, exponent_),
            std::ldexp(moved.z, exponent_)};
  }
  Point outside(const Mesh_M::MyPoint3& p) const {
    return Point{std::ldexp(p.x, -exponent_), std::ldexp(p.y, -exponent_),
                 std::ldexp(p.z, -exponent_)} +
           origin_;
  }

 private:
  Point origin_;
  int exponent_ = 0;
};

void push(std::vector<double>& numbers, const Point& p) {
  numbers.insert(numbers.end(), {p.x, p.y, p.z});
}

// The triangles within some rows of the ring.
std::vector<std::int32_t> region_around(const LiveMesh& live,
                                        const std::vector<std::int32_t>& ring) {
  std::vector<std::int32_t> region;
  std::unordered_set<std::int32_t> seen;
  std::unordered_set<std::int32_t> reached(ring.begin(), ring.end());
  std::vector<std::int32_t> front(ring);
  for (int row = 0; row < kRegionRows; ++row) {
    std::vector<std::int32_t> next;
    for (const std::int32_t v : front) {
      live.for_each_at(v, [&](std::int32_t f, std::int32_t) {
        if (!seen.insert(f).second) return;
        region.push_back(f);
        for (const std::int32_t w : live.mesh().triangle(f)) {
          if (reached.insert(w).second) next.push_back(w);
        }
      });
    }
    front.swap(next);
  }
  std::sort(region.begin(), region.end());
  return region;
}

std::vector<double> region_numbers(const LiveMesh& live, const std::vector<std::int32_t>& ring,
                                   const Frame& frame) {
  std::vector<double> numbers;
  for (const std::int32_t f : region_around(live, ring)) {
    const Point a = frame.inside(live.mesh().corner(f, 0));
    const Point b = frame.inside(live.mesh().corner(f, 1));
    const Point c = frame.inside(live.mesh().corner(f, 2));
    push(numbers, unit(area_vector(a, b, c)));
    push(numbers, a);
    push(numbers, b);
    push(numbers, c);
  }
  return numbers;
}

Patch plain_patch(const std::vector<double>& line, const std::vector<std::int32_t>& ring) {
  Patch patch;
  std::vector<int> triples;
  patch.made = Mesh_M::CavityPatcher::fillHolePolyline(line, triples) == 0;
  const auto at = [&](std::size_t i) { return ring[static_cast<std::size_t>(triples[i])]; };
  for (std::size_t i = 0; i + 2 < triples.size(); i += 3) {
    patch.triangles.push_back({at(i), at(i + 1), at(i + 2)});
  }
  return patch;
}

using Side = std::pair<std::int32_t, std::int32_t>;

// The triangles of several patches, each of which counts its new points from `first_new` on.
std::vector<Triangle> numbered_together(const std::vector<Patch>& patches, std::size_t first_new) {
  std::vector<Triangle> triangles;
  std::int32_t shift = 0;
  for (const Patch& patch : patches) {
    for (Triangle t : patch.triangles) {
      for (std::int32_t& v : t) {
        if (v >= static_cast<std::int32_t>(first_new)) v += shift;
      }
      triangles.push_back(t);
    }
    shift += static_cast<std::int32_t>(patch.new_points.size());
  }
  return triangles;
}

// A patch as it would stand in the mesh: its new points appended for the time of the look.
class Trial {
 public:
  Trial(LiveMesh& live, const std::vector<Patch>& patches)
      : live_(live),
        points_(live.mesh().points),
        first_new_(points_.size()),
        triangles_(numbered_together(patches, first_new_)) {
    for (const Patch& patch : patches) {
      points_.insert(points_.end(), patch.new_points.begin(), patch.new_points.end());
    }
  }
  ~Trial() { points_.resize(first_new_); }
  Trial(const Trial&) = delete;
  Trial& operator=(const Trial&) = delete;

  std::int64_t faults(std::int64_t enough) {
    std::int64_t count = edge_faults();
    std::vector<std::int32_t> sound;
    for (std::size_t i = 0; i < triangles_.size() && count <= enough; ++i) {
      if (degenerate(points_, triangles_[i])) {
        ++count;
      } else {
        sound.push_back(static_cast<std::int32_t>(i));
        count += contacts_with_mesh(triangles_[i], enough - count);
      }
    }
    if (count > enough) return count;
    const BoxTree tree(points_, triangles_, std::move(sound));
    for (const BoxTree::NodePair& part : tree.parts(1)) {
      tree.for_each_pair(part, [&](std::int32_t i, std::int32_t j) {
        count += contact_of(points_, triangles_[static_cast<std::size_t>(i)],
                            triangles_[static_cast<std::size_t>(j)]) != Contact::none;
      });
    }
    return count;
  }

 private:
  // Edges that would have more than two triangles.
  std::int64_t edge_faults() const {
    std::map<Side, int> count;
    for (const Triangle& t : triangles_) {
      for (std::size_t k = 0; k < 3; ++k) {
        ++count[std::minmax(t[k], t[(k + 1) % 3])];
      }
    }
    std::int64_t faults = 0;
    for (const auto& [edge, own] : count) {
      const bool old = edge.second < static_cast<std::int32_t>(first_new_);
      faults += own + (old ? live_.edge_valence(edge.first, edge.second) : 0) > 2;
    }
    return faults;
  }

  std::int64_t contacts_with_mesh(const Triangle& t, std::int64_t enough) const {
    std::int64_t count = 0;
    live_.for_each_near(box_of(points_, t), [&](std::int32_t f) {
      const Triangle& other = live_.mesh().triangle(f);
      if (!degenerate(points_, other)) count += contact_of(points_, t, other) != Contact::none;
      return count <= enough;
    });
    return count;
  }

  LiveMesh& live_;
  std::vector<Point>& points_;
  std::size_t first_new_;
  std::vector<Triangle> triangles_;
};

}  // namespace

Point Ground::stored(const Point& p) const {
  return floats ? rounded_to_floats(p) : p;
}

Patch make_patch(const LiveMesh& live, const std::vector<std::int32_t>& ring, PatchKind kind,
                 const Ground& ground) {
  const std::vector<Point>& points = live.mesh().points;
  const Frame frame(points, ring);
  std::vector<double> line;
  for (const std::int32_t v : ring) push(line, frame.inside(points[static_cast<std::size_t>(v)]));
  if (kind == PatchKind::plain) return plain_patch(line, ring);

  std::vector<double> region;
  if (kind == PatchKind::continuing) region = region_numbers(live, ring, frame);
  std::vector<Mesh_M::MyPoint3> vertices;
  std::vector<Mesh_M::MyFace> faces;
  std::vector<Mesh_M::MyPoint3> normals;
  std::vector<int> indices;
  Patch patch;
  patch.made =
      Mesh_M::CavityPatcher().fillHole2(region, line, vertices, faces, normals, indices) == 0;
  if (!patch.made) return patch;
  for (std::size_t i = ring.size(); i < vertices.size(); ++i) {
    patch.new_points.push_back(ground.stored(frame.outside(vertices[i])));
  }
  const auto number = [&](int i) {
    const auto at = static_cast<std::size_t>(i);
    return at < ring.size() ? ring[at]
                            : static_cast<std::int32_t>(points.size() + at - ring.size());
  };
  for (const Mesh_M::MyFace& f : faces) {
    patch.triangles.push_back({number(f.a), number(f.b), number(f.c)});
  }
  return patch;
}

std::int64_t faults_of(LiveMesh& live, const std::vector<Patch>& patches, std::int64_t enough) {
  return Trial(live, patches).faults(enough);
}

std::vector<std::int32_t> take_patches(LiveMesh& live, const std::vector<Patch>& patches) {
  const std::size_t first_new = live.mesh().points.size();
  const std::vector<Triangle> triangles = numbered_together(patches, first_new);
  for (const Patch& patch : patches) {
    for (const Point& p : patch.new_points) live.add_point(p);
  }
  return live.add_triangles(triangles);
}

}  // namespace scanmesh
