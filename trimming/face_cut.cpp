#include "trimming/face_cut.h"

#include <algorithm>
#include <cmath>

#include "core/vector_math.h"

namespace scanmesh {

namespace {

// A fixed point nearer to an edge than this part of the triangle's height is left to the edge's own
// crossing: two triangles must not both take it for theirs.
constexpr double kInterior = 1e-7;
constexpr double kTinyWall = 0.0001;

// A point of the triangle, in space, in the plane, and as weights of the corners.
struct CutPoint {
  Vec3d at;
  Point2 flat;
  std::array<double, 3> weight;
};

double squared_distance(const Point2& a, const Point2& b) {
  return (a.x - b.x) * (a.x - b.x) + (a.y - b.y) * (a.y - b.y);
}

class FaceCutter {
 public:
  FaceCutter(const CurveFrame& frame, const PlaneCurve& curve, const std::array<Vec3f, 3>& corner,
             const Wall& wall, std::vector<CutTriangle>& out)
      : frame_(frame), curve_(curve), wall_(wall), out_(out) {
    for (std::size_t k = 0; k < 3; ++k) {
      corner_[k].at = widened(corner[k]);
      corner_[k].flat = frame.flat(corner_[k].at);
      corner_[k].weight = {0, 0, 0};
      corner_[k].weight[k] = 1;
    }
  }

  FaceFate cut() {
    for (const CutPoint& c : corner_) {
      if (!std::isfinite(c.flat.x) || !std::isfinite(c.flat.y)) return FaceFate::kKept;
    }
    std::array<int, 3> sign{};
    for (std::size_t k = 0; k < 3; ++k) sign[k] = curve_.sign(corner_[k].flat);
    const auto outside = std::count(sign.begin(), sign.end(), 1);
    const auto inside = std::count(sign.begin(), sign.end(), -1);
    const auto first = [&](int wanted) {
      return static_cast<std::size_t>(std::find(sign.begin(), sign.end(), wanted) - sign.begin());
    };
    if (outside == 0) return FaceFate::kReplaced;  // by nothing
    if (inside == 0) {
      if (outside == 1) wall_along_curve(first(1));
      return FaceFate::kKept;
    }
    if (outside == 2) return cut_one_inside(first(-1));
    return inside == 2 ? cut_one_outside(first(1)) : cut_at_corner(first(0), first(1), first(-1));
  }

 private:
  // On the edge between two corners, from the one outside: both triangles on an edge come to the
  // same point, to the bit. It is on the triangle's plane and on the axis's parallel through the
  // crossing, and stays finite when the triangle is seen edge-on.
  bool crossing(std::size_t outside, std::size_t inside, CutPoint& x) const {
    const CutPoint& p = corner_[outside];
    const CutPoint& q = corner_[inside];
    double t = 0;
    if (!curve_.crossing(p.flat, q.flat, t)) return false;
    x.at = p.at + (q.at - p.at) * t;
    x.flat = between(p.flat, q.flat, t);
    x.weight = {0, 0, 0};
    x.weight[outside] = 1 - t;
    x.weight[inside] = t;
    return true;
  }

  // One outside, one on the curve, one inside.
  FaceFate cut_at_corner(std::size_t on, std::size_t outside, std::size_t inside) {
    CutPoint x;
    if (!crossing(outside, inside, x)) return FaceFate::kKept;
    add(corner_[on], corner_[outside], x);
    add_wall({corner_[on], x}, corner_[inside].flat);
    return FaceFate::kReplaced;
  }

  // What is left around a corner outside sees the whole of the cut.
  FaceFate cut_one_outside(std::size_t a) {
    const std::size_t b = (a + 1) % 3;
    const std::size_t c = (a + 2) % 3;
    CutPoint x1;
    CutPoint x2;
    if (!crossing(a, b, x1) || !crossing(a, c, x2)) return FaceFate::kKept;
    const std::vector<CutPoint> chain = cut_chain(x1, x2, b, c);
    for (std::size_t i = 0; i + 1 < chain.size(); ++i) add(corner_[a], chain[i], chain[i + 1]);
    add_wall(chain, between(corner_[b].flat, corner_[c].flat, 0.5));
    return FaceFate::kReplaced;
  }

  FaceFate cut_one_inside(std::size_t c) {
    const std::size_t a = (c + 1) % 3;
    const std::size_t b = (c + 2) % 3;
    CutPoint x1;
    CutPoint x2;
    if (!crossing(a, c, x1) || !crossing(b, c, x2)) return FaceFate::kKept;
    const std::vector<CutPoint> chain = cut_chain(x1, x2, a, b);
    if (chain.size() == 2) {
      add_quad(corner_[a], corner_[b], x1, x2);
    } else {
      add_strip(corner_[a], corner_[b], chain, c);
    }
    add_wall(chain, corner_[c].flat);
    return FaceFate::kReplaced;
  }

  // The quad of two corners and the crossings on their edges, along its shorter diagonal.
  void add_quad(const CutPoint& a, const CutPoint& b, const CutPoint& x1, const CutPoint& x2) {
    if (squared_distance(a.flat, x2.flat) > squared_distance(b.flat, x1.flat)) {
      add(a, b, x1);
      add(b, x1, x2);
    } else {
      add(a, b, x2);
      add(a, x1, x2);
    }
  }

  // What is cut away is convex. The point of its rim that comes nearest to the edge a - b sees both
  // ends of it; `a` sees the rim before that point, `b` the rim behind it.
  void add_strip(const CutPoint& a, const CutPoint& b, const std::vector<CutPoint>& chain,
                 std::size_t apex) {
    std::size_t top = 0;
    for (std::size_t i = 1; i < chain.size(); ++i) {
      if (chain[i].weight[apex] < chain[top].weight[apex]) top = i;
    }
    for (std::size_t i = 0; i < top; ++i) add(a, chain[i], chain[i + 1]);
    add(a, b, chain[top]);
    for (std::size_t i = top; i + 1 < chain.size(); ++i) add(b, chain[i], chain[i + 1]);
  }

  // From one crossing to the other through the fixed points that the triangle holds, in order as
  // seen from the corner that isn't `from` or `to`.
  std::vector<CutPoint> cut_chain(const CutPoint& x1, const CutPoint& x2, std::size_t from,
                                  std::size_t to) const {
    std::vector<CutPoint> chain{x1};
    for (const Point2& fixed : curve_.fixed_points()) {
      CutPoint k;
      if (holds(fixed, k)) chain.push_back(k);
    }
    const auto part = [&](const CutPoint& k) {
      return k.weight[to] / (k.weight[from] + k.weight[to]);
    };
    std::sort(chain.begin() + 1, chain.end(),
              [&](const CutPoint& a, const CutPoint& b) { return part(a) < part(b); });
    chain.push_back(x2);
    return chain;
  }

  // Whether the point lies within the triangle, as seen along the axis. A triangle seen edge-on
  // holds none.
  bool holds(const Point2& fixed, CutPoint& k) const {
    if (!corner_weights(corner_[0].flat, corner_[1].flat, corner_[2].flat, fixed, k.weight)) {
      return false;
    }
    if (!(*std::min_element(k.weight.begin(), k.weight.end()) > kInterior)) return false;
    k.flat = fixed;
    k.at = corner_[0].at * k.weight[0] + corner_[1].at * k.weight[1] + corner_[2].at * k.weight[2];
    return true;
  }

  void add(const CutPoint& a, const CutPoint& b, const CutPoint& c) {
    out_.push_back({{narrowed(a.at), narrowed(b.at), narrowed(c.at)}, false, {0, 0, 0}});
  }

  // The face that is left has its edge on the curve: whatever lies beyond is cut away, so that the
  // wall hangs here.
  void wall_along_curve(std::size_t outside) {
    const CutPoint& b = corner_[(outside + 1) % 3];
    const CutPoint& c = corner_[(outside + 2) % 3];
    add_wall({b, c}, {0, 0});
  }

  void add_wall(const std::vector<CutPoint>& chain, const Point2& cut_away) {
    if (!wall_.wanted) return;
    const Vec3d down = frame_.n * wall_.depth;
    for (std::size_t i = 0; i + 1 < chain.size(); ++i) {
      const Vec3f towards = narrowed(frame_.in_space(inwards(chain[i], chain[i + 1], cut_away)));
      const Vec3f x1 = narrowed(chain[i].at);
      const Vec3f x2 = narrowed(chain[i + 1].at);
      const Vec3f low1 = narrowed(chain[i].at - down);
      const Vec3f low2 = narrowed(chain[i + 1].at - down);
      add_wall_triangle({x1, x2, low2}, towards);
      add_wall_triangle({x1, low2, low1}, towards);
    }
  }

  void add_wall_triangle(const std::array<Vec3f, 3>& corner, const Vec3f& towards) {
    const Vec3f across = cross(sub(corner[1], corner[0]), sub(corner[2], corner[0]));
    Vec3f normal = towards;
    if (!(length(across) < kTinyWall)) {
      normal = unit_or_zero(across);
      if (dot(normal, towards) < 0) normal = negated(normal);
    }
    out_.push_back({corner, true, normal});
  }

  // The unit direction into the opening. A circle's wall looks to the axis; others look across the
  // cut, to the side that is cut away.
  Point2 inwards(const CutPoint& x1, const CutPoint& x2, const Point2& cut_away) const {
    Point2 d{-x1.flat.x, -x1.flat.y};
    if (!curve_.is_circle()) {
      const Point2 across{x1.flat.y - x2.flat.y, x2.flat.x - x1.flat.x};
      const double side = across.x * (cut_away.x - x1.flat.x) + across.y * (cut_away.y - x1.flat.y);
      if (side != 0) d = side > 0 ? across : Point2{-across.x, -across.y};
    }
    const double size = std::hypot(d.x, d.y);
    return size > 0 ? Point2{d.x / size, d.y / size} : Point2{1, 0};
  }

  const CurveFrame& frame_;
  const PlaneCurve& curve_;
  const Wall& wall_;
  std::vector<CutTriangle>& out_;
  std::array<CutPoint, 3> corner_;
};

}  // namespace

FaceFate cut_face(const CurveFrame& frame, const PlaneCurve& curve,
                  const std::array<Vec3f, 3>& corner, const Wall& wall,
                  std::vector<CutTriangle>& out) {
  return FaceCutter(frame, curve, corner, wall, out).cut();
}

}  // namespace scanmesh
