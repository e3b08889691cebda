// Ball pivoting once more, as plainly as it can be said: index lists, brute-force neighbours, one
// thread. Shares nothing with the library but the point type.
#ifndef SCANMESH_TESTS_PIVOTING_REFERENCE_PIVOTING_H
#define SCANMESH_TESTS_PIVOTING_REFERENCE_PIVOTING_H

#include <algorithm>
#include <array>
#include <cmath>
#include <deque>
#include <utility>
#include <vector>

#include "scanmesh/geometry.h"

namespace test_support {

class ReferencePivoting {
 public:
  using P = MemS::Point3v<float>;

  struct Vert {
    P point;
    P normal;
    int tag = 0;
    int state = 8;
    std::vector<int> edges;
    std::vector<int> faces;
  };
  struct Edge {
    int a;
    int b;
    std::vector<int> faces;
    bool dead = false;
    bool given_up = false;
  };
  struct Face {
    std::array<int, 3> v;
    std::array<int, 3> e;
    P normal;
    bool dead = false;
  };

  std::vector<Vert> verts;
  std::vector<Edge> edges;
  std::vector<Face> faces;
  std::vector<int> points;  // the vertices that neighbours are looked for among
  int k = 16;
  double radius_sq[5];
  double max_dist = 0;
  bool float_sums = false;  // how the tree adds up squared distances
  long attempts = 0;
  long rejections = 0;

  void init(double s) {
    const double r = 1.5 * s;
    set_radii({0.3 * r, 0.7 * r, r, 1.5 * r, 2 * r});
    max_dist = 4 * r;
  }
  void set_radii(const std::array<double, 5>& radii) {
    for (std::size_t i = 0; i < 5; ++i) radius_sq[i] = radii[i] * radii[i];
  }

  int add_vertex(const P& point, const P& normal, int tag = 0) {
    Vert v;
    v.point = point;
    v.normal = normal;
    v.tag = tag;
    verts.push_back(v);
    return static_cast<int>(verts.size()) - 1;
  }

  void build(const std::vector<P>& cloud, const std::vector<P>& normals) {
    for (std::size_t i = 0; i < cloud.size(); ++i)
      points.push_back(add_vertex(cloud[i], normals[i]));
    grow(0);
    delete_spurs(0);
    refresh(0);
  }

  void grow(std::size_t first) {
    for (std::size_t i = first; i < points.size(); ++i) {
      if (vert(points[i]).state != 8) continue;
      const int seed = find_seed(points[i]);
      if (seed < 0) continue;
      open_face(seed);
      while (!queue_.empty()) advance();
    }
  }

  // -1 when an edge has two faces or the triangle exists.
  int make(int a, int b, int c, const P& normal) {
    std::array<int, 3> e{};
    const int ends[3][2] = {{b, c}, {a, c}, {a, b}};
    for (std::size_t i = 0; i < 3; ++i) {
      e[i] = edge_between(ends[i][0], ends[i][1]);
      if (edge(e[i]).faces.size() >= 2) return -1;
    }
    for (const int f : edge(e[0]).faces) {
      const auto& v = face(f).v;
      if (std::count(v.begin(), v.end(), a) + std::count(v.begin(), v.end(), b) +
              std::count(v.begin(), v.end(), c) ==
          3) {
        return -1;
      }
    }
    const int made = static_cast<int>(faces.size());
    faces.push_back({{a, b, c}, e, normal});
    for (const int v : {a, b, c}) vert(v).faces.push_back(made);
    for (const int i : e) edge(i).faces.push_back(made);
    return made;
  }

  void mark_states(std::vector<int>& open) {
    for (const Edge& e : edges) {
      if (!e.dead && e.faces.size() == 2) vert(e.a).state = vert(e.b).state = 1;
    }
    for (std::size_t i = 0; i < edges.size(); ++i) {
      if (edges[i].dead || edges[i].faces.size() != 1) continue;
      vert(edges[i].a).state = vert(edges[i].b).state = 9;
      open.push_back(static_cast<int>(i));
    }
  }

  void delete_spurs(std::size_t first) {
    for (std::size_t f = first; f < faces.size(); ++f) {
      if (faces[f].dead) continue;
      std::vector<int> open;
      for (const int e : faces[f].e) {
        if (edge(e).faces.size() == 1) open.push_back(e);
      }
      if (open.size() < 2) continue;
      const Edge& x = edge(open[0]);
      const Edge& y = edge(open[1]);
      const int shared = x.a == y.a || x.a == y.b ? x.a : x.b;
      if (vert(shared).faces.size() > 1) delete_face(static_cast<int>(f), -1);
    }
  }

  void refresh(std::size_t first) {
    for (std::size_t f = first; f < faces.size(); ++f) {
      if (!faces[f].dead) refresh_face(faces[f]);
    }
  }

  // `spared` stays available.
  void delete_face(int f, int spared) {
    faces[static_cast<std::size_t>(f)].dead = true;
    const Face gone = faces[static_cast<std::size_t>(f)];
    for (const int e : gone.e) {
      drop(edge(e).faces, f);
      if (edge(e).faces.empty()) delete_edge(e);
    }
    for (const int v : gone.v) {
      drop(vert(v).faces, f);
      if (!vert(v).faces.empty()) continue;
      if (v == spared) {
        vert(v).state = 8;
        continue;
      }
      vert(v).state = 3;
      const std::vector<int> left = vert(v).edges;
      for (const int e : left) delete_edge(e);
    }
  }

  Vert& vert(int i) { return verts[static_cast<std::size_t>(i)]; }
  Edge& edge(int i) { return edges[static_cast<std::size_t>(i)]; }
  Face& face(int i) { return faces[static_cast<std::size_t>(i)]; }

 private:
  static P minus(const P& a, const P& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
  static double dot(const P& a, const P& b) {
    return static_cast<double>(a.x) * b.x + static_cast<double>(a.y) * b.y +
           static_cast<double>(a.z) * b.z;
  }
  static double length(const P& a) { return std::sqrt(dot(a, a)); }
  static P cross(const P& a, const P& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
  }
  static void drop(std::vector<int>& list, int entry) {
    const auto at = std::find(list.begin(), list.end(), entry);
    if (at == list.end()) return;
    *at = list.back();
    list.pop_back();
  }
  static double cos75() { return std::cos(75 * 3.14159265358979323846 / 180); }

  void delete_edge(int e) {
    edge(e).dead = true;
    drop(vert(edge(e).a).edges, e);
    drop(vert(edge(e).b).edges, e);
  }

  int edge_between(int a, int b) {
    for (const int e : vert(a).edges) {
      if (edge(e).a == b || edge(e).b == b) return e;
    }
    edges.push_back({a, b, {}});
    const int made = static_cast<int>(edges.size()) - 1;
    vert(a).edges.push_back(made);
    vert(b).edges.push_back(made);
    return made;
  }

  // The n nearest, farthest first.
  std::vector<int> nearest(const P& query, int n) {
    std::vector<std::pair<double, int>> all;
    for (const int i : points) {
      const P d = minus(query, vert(i).point);
      const float x = d.x * d.x;
      const float y = d.y * d.y;
      const float z = d.z * d.z;
      const float narrow = x + y + z;
      all.emplace_back(float_sums ? narrow : static_cast<double>(x) + y + z, i);
    }
    const auto wanted = std::min(all.size(), static_cast<std::size_t>(n));
    std::partial_sort(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(wanted), all.end());
    std::vector<int> out;
    for (std::size_t i = wanted; i-- > 0;) out.push_back(all[i].second);
    return out;
  }

  struct Sphere {
    P centre;
    P normal;
    double r_sq;
    double circ_sq;
  };

  bool sphere(int p, int a, int b, Sphere& s) {
    const P u = minus(vert(a).point, vert(p).point);
    const P v = minus(vert(b).point, vert(p).point);
    if (length(u) > max_dist || length(v) > max_dist) return false;
    P n = cross(u, v);
    if (0.001 * length(u) * length(v) > length(n)) return false;
    const double scale = 1.0 / length(n);
    n = {static_cast<float>(n.x * scale), static_cast<float>(n.y * scale),
         static_cast<float>(n.z * scale)};
    const double c = dot(vert(p).normal, n);
    if (std::fabs(c) < cos75()) return false;
    if (c < 0) n = {-n.x, -n.y, -n.z};
    const double uu = dot(u, u);
    const double vv = dot(v, v);
    const double w = dot(u, v);
    const double d = 2 * (uu * vv - w * w);
    const double cu = (uu * vv - vv * w) / d;
    const double cv = (uu * vv - uu * w) / d;
    const double x = cu * u.x + cv * v.x;
    const double y = cu * u.y + cv * v.y;
    const double z = cu * u.z + cv * v.z;
    s.circ_sq = x * x + y * y + z * z;
    s.r_sq = radius_sq[0];
    if (s.circ_sq > s.r_sq) {
      const double* larger =
          std::find_if(radius_sq, radius_sq + 5, [&](double r) { return r > s.circ_sq; });
      if (larger == radius_sq + 5) return false;
      s.r_sq = *larger;
    }
    const double h = std::sqrt(s.r_sq - s.circ_sq);
    const P& o = vert(p).point;
    s.centre = {static_cast<float>(o.x + x + n.x * h), static_cast<float>(o.y + y + n.y * h),
                static_cast<float>(o.z + z + n.z * h)};
    s.normal = n;
    return true;
  }

  bool empty(const Sphere& s, const std::vector<int>& table, double tolerance,
             const std::vector<int>& without) {
    for (const int i : table) {
      if (std::find(without.begin(), without.end(), i) != without.end()) continue;
      const P d = minus(vert(i).point, s.centre);
      if (dot(d, d) < s.r_sq - tolerance) return false;
    }
    return true;
  }

  int find_seed(int p) {
    std::vector<int> table = nearest(vert(p).point, k + 1);
    if (static_cast<int>(table.size()) < k + 1) return -1;
    table.pop_back();
    int limit = -1;
    for (int i = k - 1; i >= 0; --i) {
      const Vert& v = vert(table[static_cast<std::size_t>(i)]);
      if (v.state == 1) continue;
      if (length(minus(v.point, vert(p).point)) > max_dist) {
        limit = i;
        break;
      }
    }
    for (int i = k - 1; i > limit; --i) {
      const int q = table[static_cast<std::size_t>(i)];
      if (vert(q).state == 1 || dot(vert(p).normal, vert(q).normal) < 0) continue;
      for (int j = i - 1; j > limit; --j) {
        const int r = table[static_cast<std::size_t>(j)];
        if (vert(r).state == 1 || dot(vert(q).normal, vert(r).normal) < 0) continue;
        if (length(minus(vert(q).point, vert(r).point)) > max_dist) continue;
        Sphere s;
        if (!sphere(p, q, r, s) || !empty(s, table, 0.00001, {q, r})) continue;
        const int made = make(p, q, r, s.normal);
        if (made >= 0) return made;
      }
    }
    return -1;
  }

  int far_corner(int f, const Edge& e) {
    for (const int v : face(f).v) {
      if (v != e.a && v != e.b) return v;
    }
    return -1;
  }

  bool same_side(const Edge& e, int v, int w) {
    const P d = minus(vert(e.b).point, vert(e.a).point);
    return dot(cross(d, minus(vert(v).point, vert(e.b).point)),
               cross(d, minus(vert(w).point, vert(e.b).point))) > 0;
  }

  bool stays(const Edge& e) {
    if (e.faces.size() < 2) return true;
    if (e.faces.size() > 2) return false;
    if (dot(face(e.faces[0]).normal, face(e.faces[1]).normal) < cos75()) return false;
    return !same_side(e, far_corner(e.faces[0], e), far_corner(e.faces[1], e));
  }

  int find_place(int number, P& normal) {
    const Edge& e = edge(number);
    const P& a = vert(e.a).point;
    const P& b = vert(e.b).point;
    const P middle{static_cast<float>((double(a.x) + b.x) * 0.5),
                   static_cast<float>((double(a.y) + b.y) * 0.5),
                   static_cast<float>((double(a.z) + b.z) * 0.5)};
    const std::vector<int> table = nearest(middle, k);
    const int opposite = far_corner(e.faces[0], e);
    for (std::size_t i = table.size(); i-- > 0;) {
      const int v = table[i];
      if (vert(v).state == 1 || v == e.a || v == e.b || v == opposite) continue;
      const P off = minus(vert(v).point, middle);
      if (dot(off, off) > max_dist * max_dist) return -1;
      if (dot(vert(e.a).normal, vert(v).normal) < 0 || same_side(e, opposite, v)) continue;
      Sphere s;
      if (!sphere(v, e.a, e.b, s)) continue;
      if (dot(s.normal, face(e.faces[0]).normal) < cos75()) continue;
      if (!empty(s, table, 0.01, {v, e.a, e.b}) || s.circ_sq >= 1e12) continue;
      normal = s.normal;
      return v;
    }
    return -1;
  }

  void mark_front(const Edge& e) { vert(e.a).state = vert(e.b).state = 9; }

  void open_face(int f) {
    const Face made = face(f);
    for (const int v : made.v) vert(v).state = 1;
    for (const int e : made.e) {
      if (edge(e).faces.size() != 1) continue;
      mark_front(edge(e));
      queue_.push_back(e);
    }
  }

  void advance() {
    const std::vector<int> batch(queue_.begin(), queue_.end());
    queue_.clear();
    std::vector<int> results(batch.size(), -1);
    std::vector<P> normals(batch.size());
    for (std::size_t i = 0; i < batch.size(); ++i) {
      if (edge(batch[i]).faces.size() != 1) continue;
      results[i] = find_place(batch[i], normals[i]);
      if (results[i] < 0) edge(batch[i]).given_up = true;
    }
    for (std::size_t i = 0; i < batch.size(); ++i) commit(batch[i], results[i], normals[i]);
  }

  void commit(int e, int v, const P& normal) {
    if (v < 0 || edge(e).faces.size() != 1) return;
    const int made = make(v, edge(e).a, edge(e).b, normal);
    ++attempts;
    if (made < 0) return;
    for (const int side : face(made).e) {
      if (side == e || stays(edge(side))) continue;
      delete_face(made, v);
      ++rejections;
      return;
    }
    open_face(made);
    const Face f = face(made);
    for (const int corner : f.v) {
      if (vert(corner).state != 1) continue;
      for (const int side : vert(corner).edges) {
        if (edge(side).faces.size() == 1) mark_front(edge(side));
      }
    }
  }

  void refresh_face(Face& f) {
    const P& a = vert(f.v[0]).point;
    const P& b = vert(f.v[1]).point;
    const P& c = vert(f.v[2]).point;
    P n = cross(minus(a, b), minus(b, c));
    if (n.x == 0 && n.y == 0 && n.z == 0) {
      f.normal = vert(f.v[1]).normal;
      return;
    }
    const double scale = 1.0 / length(n);
    n = {static_cast<float>(n.x * scale), static_cast<float>(n.y * scale),
         static_cast<float>(n.z * scale)};
    P sum{0, 0, 0};
    for (const int v : f.v) {
      const P& m = vert(v).normal;
      sum = {sum.x + m.x, sum.y + m.y, sum.z + m.z};
    }
    if (n.x * sum.x + n.y * sum.y + n.z * sum.z < 0) {
      n = {-n.x, -n.y, -n.z};
      std::swap(f.v[0], f.v[2]);
    }
    f.normal = n;
  }

  std::deque<int> queue_;
};

}  // namespace test_support

#endif  // SCANMESH_TESTS_PIVOTING_REFERENCE_PIVOTING_H
