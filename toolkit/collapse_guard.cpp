#include "toolkit/collapse_guard.h"

#include <algorithm>
#include <cmath>

#include "toolkit/contact.h"
#include "toolkit/predicates.h"
#include "toolkit/vector_math.h"

namespace scanmesh {
namespace {

// The cosine of 80 degrees, squared.
constexpr double kLargestTurn = 0.0301536896;
// Thinner triangles, by height over length, look in no particular direction.
constexpr double kNeedle = 1e-7;

double longest_side_squared(const std::vector<Point>& points, const Triangle& t) {
  double longest = 0;
  for (std::size_t k = 0; k < 3; ++k) {
    const Point side =
        points[static_cast<std::size_t>(t[(k + 1) % 3])] - points[static_cast<std::size_t>(t[k])];
    longest = std::max(longest, dot(side, side));
  }
  return longest;
}

bool contains(const Triangle& t, std::int32_t v) {
  return t[0] == v || t[1] == v || t[2] == v;
}

double sum_of_sizes(const Point& p) {
  return std::abs(p.x) + std::abs(p.y) + std::abs(p.z);
}

}  // namespace

// Heights over a triangle's plane, times its area.
struct CollapseGuard::FacePlane {
  const Triangle& corners;
  Point origin;
  Point area;
  double error;  // of a height, by the size of what it is taken of

  FacePlane(const std::vector<Point>& points, const Triangle& t, const Point& area_vector_of_t)
      : corners(t), origin(points[static_cast<std::size_t>(t[0])]), area(area_vector_of_t) {
    // The area vector's own error goes by the products it is made of.
    const double reach = sum_of_sizes(points[static_cast<std::size_t>(t[1])] - origin) *
                         sum_of_sizes(points[static_cast<std::size_t>(t[2])] - origin);
    error = 0x1p-48 * (sum_of_sizes(area) + reach);
  }

  // Whether what `other` doesn't share lies on one side, by more than rounding can hide: then they
  // meet nowhere else. Most neighbours are told apart by this.
  bool parts(const std::vector<Point>& points, const Triangle& other) const {
    bool above = false;
    bool below = false;
    for (const std::int32_t v : other) {
      if (contains(corners, v)) continue;
      const Point p = points[static_cast<std::size_t>(v)] - origin;
      const double height = dot(area, p);
      const double bound = error * sum_of_sizes(p);
      above |= !(height < -bound);
      below |= !(height > bound);
    }
    return above != below;
  }
};

CollapseGuard::CollapseGuard(CollapseMesh& mesh, bool contacts) : mesh_(mesh) {
  if (contacts) boxes_.emplace(mesh);
}

bool CollapseGuard::turns_little(const Moved& moved) const {
  const Point& before = mesh_.area(moved.face);
  const double old_size = dot(before, before);
  const double new_size = dot(moved.area, moved.area);
  const double length = longest_side_squared(mesh_.points, moved.corners);
  // Exactly no area is only asked where rounding may have hidden it.
  if (!(new_size > 1e-24 * length * length)) {
    if (mesh_.flat(moved.face)) return true;
    if (degenerate(mesh_.points, moved.corners)) return false;
  }
  const double turn = dot(before, moved.area);
  if (turn > 0 && turn * turn >= kLargestTurn * old_size * new_size) return true;
  const double old_length = longest_side_squared(mesh_.points, mesh_.triangle(moved.face));
  return old_size <= kNeedle * kNeedle * old_length * old_length;
}

// The vertex stands at its new place already, under the number u.
void CollapseGuard::gather_moved(std::int32_t u, std::int32_t v, const EdgeStar& star) {
  moved_.clear();
  for (const auto* faces : {&star.at_first, &star.at_second}) {
    for (const std::int32_t f : *faces) {
      Moved moved;
      moved.face = f;
      moved.corners = mesh_.moved_triangle(f, u, v, u);
      moved.area = area_vector(mesh_.point(moved.corners[0]), mesh_.point(moved.corners[1]),
                               mesh_.point(moved.corners[2]));
      moved_.push_back(moved);
    }
  }
}

bool CollapseGuard::admits(std::int32_t u, std::int32_t v, const Point& at, const EdgeStar& star) {
  Point& place = mesh_.points[static_cast<std::size_t>(u)];
  const Point before = place;
  place = at;
  gather_moved(u, v, star);
  bool good = std::all_of(moved_.begin(), moved_.end(),
                          [this](const Moved& moved) { return turns_little(moved); });
  if (good && boxes_) {
    const bool closed = !mesh_.border(u) && !mesh_.border(v);
    int contacts = seen_from_one_side(u, closed) ? 0 : contacts_within();
    contacts += contacts_around(u, v);
    if (contacts > 0) {
      place = before;
      good = contacts <= contacts_before(u, v, star);
    }
  }
  place = before;
  return good;
}

// Seen along the mean normal, every triangle turns the same way and the fan goes round once: then
// no two of them meet. Only where rounding can't matter.
bool CollapseGuard::seen_from_one_side(std::int32_t u, bool closed) const {
  if (!closed) return false;
  Point normal;
  for (const Moved& moved : moved_) normal = normal + moved.area;
  const double size = length(normal);
  int rounds = 0;
  const Point& centre = mesh_.point(u);
  const bool x_small =
      std::abs(normal.x) <= std::abs(normal.y) && std::abs(normal.x) <= std::abs(normal.z);
  const Point axis = cross(normal, x_small                                    ? Point{1, 0, 0}
                                   : std::abs(normal.y) <= std::abs(normal.z) ? Point{0, 1, 0}
                                                                              : Point{0, 0, 1});
  const Point across = cross(normal, axis);
  for (const Moved& moved : moved_) {
    if (!(dot(moved.area, normal) > 1e-3 * size * length(moved.area))) return false;
    const std::size_t k = moved.corners[0] == u ? 0 : moved.corners[1] == u ? 1 : 2;
    const Point a = mesh_.point(moved.corners[(k + 1) % 3]) - centre;
    const Point b = mesh_.point(moved.corners[(k + 2) % 3]) - centre;
    const double ya = dot(a, across);
    const double yb = dot(b, across);
    if ((ya < 0) == (yb < 0)) continue;
    if (!(ya < 0)) continue;  // of a fan that turns one way, each round has one such step
    ++rounds;
  }
  return rounds == 1;
}

// Pairs of triangles of the fan that meet beyond what they share.
int CollapseGuard::contacts_within() const {
  int contacts = 0;
  for (std::size_t i = 0; i < moved_.size(); ++i) {
    for (std::size_t j = 0; j < i && !mesh_.flat(moved_[i].face); ++j) {
      contacts += !mesh_.flat(moved_[j].face) &&
                  contact_of(mesh_.points, moved_[i].corners, moved_[j].corners) != Contact::none;
    }
  }
  return contacts;
}

// Pairs of a triangle of the fan and one that isn't at u or v.
int CollapseGuard::contacts_around(std::int32_t u, std::int32_t v) {
  FloatBox all;
  std::vector<FacePlane> planes;
  planes.reserve(moved_.size());
  for (Moved& moved : moved_) {
    moved.box = box_of(mesh_.points, moved.corners);
    all.add(moved.box);
    planes.emplace_back(mesh_.points, moved.corners, moved.area);
  }
  near_.clear();
  boxes_->for_each_meeting(all, [&](std::int32_t f) { near_.push_back(f); });
  int contacts = 0;
  for (const std::int32_t f : near_) {
    const Triangle& other = mesh_.triangle(f);
    if (contains(other, u) || contains(other, v) || mesh_.flat(f)) continue;
    const FloatBox& box = boxes_->box(f);
    const FacePlane plane(mesh_.points, other, mesh_.area(f));
    for (std::size_t i = 0; i < moved_.size(); ++i) {
      const Moved& moved = moved_[i];
      if (!CollapseBoxes::meet(moved.box, box) || mesh_.flat(moved.face)) continue;
      if (plane.parts(mesh_.points, moved.corners) || planes[i].parts(mesh_.points, other)) {
        continue;
      }
      contacts += contact_of(mesh_.points, moved.corners, other) != Contact::none;
    }
  }
  return contacts;
}

// Of an input that has contacts some may stay, but they don't get more.
int CollapseGuard::contacts_before(std::int32_t u, std::int32_t v, const EdgeStar& star) {
  moved_.clear();
  for (const auto* faces : {&star.shared, &star.at_first, &star.at_second}) {
    for (const std::int32_t f : *faces) moved_.push_back({f, mesh_.triangle(f), mesh_.area(f), {}});
  }
  return contacts_within() + contacts_around(u, v);
}

}  // namespace scanmesh
