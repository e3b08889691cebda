#include "toolkit/untangling.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>
#include <unordered_set>

#include "toolkit/contact.h"
#include "toolkit/progress.h"
#include "toolkit/vector_math.h"

namespace scanmesh {
namespace {

using Faces = std::vector<std::int32_t>;

// What is cut out: triangles, and the directed walks along their rim in the direction in which
// their own sides run, which is the direction of a patch in their place.
struct Cut {
  Faces faces;
  std::vector<std::vector<std::int32_t>> rings;
  bool simple = true;               // no vertex is met twice along the rim
  std::vector<std::int32_t> knots;  // the vertices that are
};

class Region {
 public:
  Region(const LiveMesh& live, const Faces& seed) : live_(live) {
    for (const std::int32_t f : seed) add(f);
  }

  bool has(std::int32_t f) const { return inside_.count(f) != 0; }
  const Faces& faces() const { return faces_; }

  void add(std::int32_t f) {
    if (inside_.insert(f).second) faces_.push_back(f);
  }
  void add_around(std::int32_t v) {
    live_.for_each_at(v, [&](std::int32_t f, std::int32_t) { add(f); });
  }
  // All triangles that share a vertex with the region.
  void grow() {
    const Faces old = faces_;
    std::unordered_set<std::int32_t> seen;
    for (const std::int32_t f : old) {
      for (const std::int32_t v : live_.mesh().triangle(f)) {
        if (seen.insert(v).second) add_around(v);
      }
    }
  }

  Cut cut() const {
    Cut cut;
    cut.faces = faces_;
    std::unordered_map<std::int32_t, std::int32_t> next;
    for (const std::int32_t f : faces_) {
      const Triangle& t = live_.mesh().triangle(f);
      for (std::size_t k = 0; k < 3; ++k) {
        if (is_inner(t[k], t[(k + 1) % 3])) continue;
        if (!next.emplace(t[k], t[(k + 1) % 3]).second) {
          cut.simple = false;
          cut.knots.push_back(t[k]);
        }
      }
    }
    if (cut.simple) follow(next, cut);
    return cut;
  }

 private:
  bool is_inner(std::int32_t a, std::int32_t b) const {
    const Faces across = live_.with_side(b, a);
    return std::any_of(across.begin(), across.end(), [&](std::int32_t f) { return has(f); });
  }

  static void follow(std::unordered_map<std::int32_t, std::int32_t>& next, Cut& cut) {
    std::vector<std::int32_t> starts;
    for (const auto& [from, to] : next) starts.push_back(from);
    std::sort(starts.begin(), starts.end());
    for (const std::int32_t start : starts) {
      if (next.count(start) == 0) continue;
      std::vector<std::int32_t> ring;
      std::int32_t at = start;
      while (true) {
        const auto step = next.find(at);
        if (step == next.end()) break;
        ring.push_back(at);
        at = step->second;
        next.erase(step);
      }
      if (at != start || ring.size() < 3) cut.simple = false;
      cut.rings.push_back(std::move(ring));
    }
  }

  const LiveMesh& live_;
  std::unordered_set<std::int32_t> inside_;
  Faces faces_;
};

// Takes triangles out for a trial and puts them back.
class Removal {
 public:
  Removal(LiveMesh& live, const Faces& faces) : live_(live) {
    for (const std::int32_t f : faces) {
      taken_.emplace_back(f, live.mesh().triangle(f));
      live.kill(f);
    }
  }
  ~Removal() {
    for (const auto& [f, t] : taken_) live_.mesh().triangles[static_cast<std::size_t>(f)] = t;
  }
  Removal(const Removal&) = delete;
  Removal& operator=(const Removal&) = delete;

 private:
  LiveMesh& live_;
  std::vector<std::pair<std::int32_t, Triangle>> taken_;
};

// The pairs that a set of triangles is part of.
std::int64_t contacts_of(const LiveMesh& live, const Faces& faces) {
  const WorkMesh& mesh = live.mesh();
  const std::unordered_set<std::int32_t> own(faces.begin(), faces.end());
  std::int64_t count = 0;
  for (const std::int32_t f : faces) {
    if (!mesh.alive(f) || degenerate(mesh.points, mesh.triangle(f))) continue;
    live.for_each_near(box_of(mesh.points, mesh.triangle(f)), [&](std::int32_t g) {
      if (g == f || (own.count(g) != 0 && g < f)) return true;
      if (degenerate(mesh.points, mesh.triangle(g))) return true;
      count += contact_of(mesh.points, mesh.triangle(f), mesh.triangle(g)) != Contact::none;
      return true;
    });
  }
  return count;
}

class Untangler {
 public:
  Untangler(WorkMesh& mesh, int max_rows, const Ground& ground)
      : live_(mesh), max_rows_(max_rows), ground_(ground) {}

  UntangleChanges run(const std::vector<Intersection>& pairs, const Progress& progress) {
    UntangleChanges changes;
    changes.pairs = static_cast<std::int64_t>(pairs.size());
    const std::vector<Faces> places = gather(pairs);
    changes.places = static_cast<std::int64_t>(places.size());
    for (std::size_t i = 0; i < places.size(); ++i) {
      report(progress, static_cast<double>(i) / static_cast<double>(places.size()),
             "self-intersections");
      const std::int64_t left = mend(places[i]);
      changes.mended += left == 0;
      changes.left += left;
    }
    live_.mesh().compact();
    return changes;
  }

 private:
  // Triangles that meet, and those that meet a neighbour of theirs, belong to one place.
  std::vector<Faces> gather(const std::vector<Intersection>& pairs) {
    std::unordered_map<std::int32_t, std::int32_t> number;
    Faces faces;
    for (const Intersection& pair : pairs) {
      for (const std::int32_t f : {pair.first, pair.second}) {
        if (number.emplace(f, static_cast<std::int32_t>(faces.size())).second) faces.push_back(f);
      }
    }
    DisjointSets sets(faces.size());
    for (const Intersection& pair : pairs) sets.join(number[pair.first], number[pair.second]);
    std::unordered_map<std::int32_t, std::int32_t> at_vertex;
    for (std::size_t i = 0; i < faces.size(); ++i) {
      for (const std::int32_t v : live_.mesh().triangle(faces[i])) {
        const auto [place, fresh] = at_vertex.emplace(v, static_cast<std::int32_t>(i));
        if (!fresh) sets.join(place->second, static_cast<std::int32_t>(i));
      }
    }
    std::vector<Faces> places(faces.size());
    for (std::size_t i = 0; i < faces.size(); ++i) {
      places[static_cast<std::size_t>(sets.find(static_cast<std::int32_t>(i)))].push_back(faces[i]);
    }
    places.erase(std::remove_if(places.begin(), places.end(),
                                [](const Faces& place) { return place.empty(); }),
                 places.end());
    return places;
  }

  // The number of pairs that are left.
  std::int64_t mend(const Faces& place) {
    Faces seed = still_meeting(place);
    if (seed.empty()) return 0;
    if (draw_apart(seed)) {
      seed = still_meeting(seed);
      if (seed.empty()) return 0;
    }
    const std::int64_t before = contacts_of(live_, seed);
    Filling best;
    best.faults = before;
    Region region(live_, seed);
    for (int rows = 0; rows <= max_rows_ && best.faults > 0; ++rows) {
      if (rows > 0) region.grow();
      if (region.faces().size() > kMostFaces + 40 * seed.size()) break;
      try_fillings(region, best);
    }
    if (best.faults == before) return before;
    for (const std::int32_t f : best.cut) live_.kill(f);
    take_patches(live_, best.patches);
    return best.faults;
  }

  // A region to cut out, and what would take its place.
  struct Filling {
    Faces cut;
    std::vector<Patch> patches;
    std::int64_t faults = 0;
  };

  Faces still_meeting(const Faces& place) const {
    Faces meeting;
    for (const std::int32_t f : place) {
      if (live_.mesh().alive(f) && contacts_of(live_, {f}) > 0) meeting.push_back(f);
    }
    return meeting;
  }

  // Cuts the region out for a trial and keeps the filling in `best` where it has fewer faults.
  void try_fillings(Region& region, Filling& best) {
    Cut cut = region.cut();
    for (int tries = 0; !cut.simple && !cut.knots.empty() && tries < 4; ++tries) {
      for (const std::int32_t v : cut.knots) region.add_around(v);
      cut = region.cut();
    }
    if (!cut.simple || cut.rings.empty()) return;
    const Removal removal(live_, cut.faces);
    for (const PatchKind kind : {PatchKind::continuing, PatchKind::flat, PatchKind::plain}) {
      std::vector<Patch> patches;
      for (const auto& ring : cut.rings) {
        patches.push_back(make_patch(live_, ring, kind, ground_));
        if (!patches.back().made) break;
      }
      if (!patches.back().made) continue;
      const std::int64_t faults = faults_of(live_, patches, best.faults - 1);
      if (faults < best.faults) best = {cut.faces, std::move(patches), faults};
      if (best.faults == 0) return;
    }
  }

  // Copies of one vertex, and vertices that stand at one place for another reason, move into their
  // own sheet by a hair. Whether any did.
  bool draw_apart(const Faces& seed) {
    std::unordered_map<std::int32_t, bool> vertices;
    for (const std::int32_t f : seed) {
      for (const std::int32_t v : live_.mesh().triangle(f)) vertices.emplace(v, false);
    }
    std::vector<std::int32_t> sorted;
    for (const auto& entry : vertices) sorted.push_back(entry.first);
    const auto& points = live_.mesh().points;
    std::sort(sorted.begin(), sorted.end(), [&](std::int32_t a, std::int32_t b) {
      const Point& p = points[static_cast<std::size_t>(a)];
      const Point& q = points[static_cast<std::size_t>(b)];
      return std::tie(p.x, p.y, p.z, a) < std::tie(q.x, q.y, q.z, b);
    });
    std::vector<std::int32_t> coinciding;
    for (std::size_t i = 0; i < sorted.size(); ++i) {
      const bool before =
          i > 0 && live_.mesh().point(sorted[i - 1]) == live_.mesh().point(sorted[i]);
      const bool after = i + 1 < sorted.size() &&
                         live_.mesh().point(sorted[i + 1]) == live_.mesh().point(sorted[i]);
      if (before || after) coinciding.push_back(sorted[i]);
    }
    for (const std::int32_t v : coinciding) draw_in(v);
    return !coinciding.empty();
  }

  void draw_in(std::int32_t v) {
    Point normal;
    double shortest = ground_.diagonal;
    const Point& at = live_.mesh().point(v);
    Point middle;
    int count = 0;
    live_.for_each_at(v, [&](std::int32_t f, std::int32_t k) {
      const WorkMesh& mesh = live_.mesh();
      const Point& next = mesh.corner(f, static_cast<std::size_t>((k + 1) % 3));
      const Point& last = mesh.corner(f, static_cast<std::size_t>((k + 2) % 3));
      normal = normal + area_vector(at, next, last);
      middle = middle + unit(next - at);
      ++count;
      shortest = std::min(shortest, distance(at, next));
    });
    if (count == 0) return;
    // Inwards along the normal, and where the fan is a cone, towards its opening.
    Point inwards = unit(normal) * -1.0 + middle * (1.0 / count);
    if (dot(inwards, normal) > 0) inwards = unit(normal) * -1.0;
    const double step =
        std::max(3e-6 * ground_.diagonal, std::min(0.02 * shortest, 1e-4 * ground_.diagonal));
    live_.move_point(v, ground_.stored(at + unit(inwards) * step));
  }

  static constexpr std::size_t kMostFaces = 2000;

  LiveMesh live_;
  int max_rows_;
  Ground ground_;
};

}  // namespace

UntangleChanges untangle(WorkMesh& mesh, const std::vector<Intersection>& pairs, int max_rows,
                         const Ground& ground, const Progress& progress) {
  if (pairs.empty()) return {};
  return Untangler(mesh, max_rows, ground).run(pairs, progress);
}

}  // namespace scanmesh
