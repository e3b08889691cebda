#include "toolkit/exact_point.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace scanmesh {
namespace {

namespace mp = boost::multiprecision;

// The quotient as a double, within a few units in its last place, however long both are.
double quotient(const Whole& a, const Whole& b) {
  if (a == 0) return 0;
  const int bits_a = static_cast<int>(mp::msb(mp::abs(a)));
  const int bits_b = static_cast<int>(mp::msb(b));
  const int shift_a = std::max(0, bits_a - 80);
  const int shift_b = std::max(0, bits_b - 80);
  const double high_a = static_cast<double>(Whole(a >> shift_a));
  const double high_b = static_cast<double>(Whole(b >> shift_b));
  return std::ldexp(high_a / high_b, shift_a - shift_b);
}

// A bound on the error of a flat determinant of coordinates that are off by a few units in their
// last place.
double turn_error(const ExactPoint& a, const ExactPoint& b, const ExactPoint& c,
                  const Flattening& flat) {
  double most = 0;
  for (const ExactPoint* p : {&a, &b, &c}) {
    for (const int k : {flat.u, flat.v}) {
      most = std::max(most, std::abs(p->near[static_cast<std::size_t>(k)]));
    }
  }
  double reach = 0;
  for (const int k : {flat.u, flat.v}) {
    const auto i = static_cast<std::size_t>(k);
    reach += std::abs(b.near[i] - a.near[i]) + std::abs(c.near[i] - a.near[i]);
  }
  const double unit = 0x1p-49 * most;
  return unit * (4 * reach + 8 * unit);
}

struct FlatVector {
  Whole u;
  Whole v;
  Whole w;  // a.w * b.w: the vector is (u, v) / w
};

FlatVector flat_vector(const ExactPoint& from, const ExactPoint& to, const Flattening& flat) {
  const auto u = static_cast<std::size_t>(flat.u);
  const auto v = static_cast<std::size_t>(flat.v);
  return {to.x[u] * from.w - from.x[u] * to.w, to.x[v] * from.w - from.x[v] * to.w, from.w * to.w};
}

}  // namespace

bool ExactPoint::operator<(const ExactPoint& other) const {
  for (std::size_t k = 0; k < 3; ++k) {
    if (x[k] != other.x[k]) return x[k] < other.x[k];
  }
  return w < other.w;
}

ExactPoint settled(std::array<Whole, 3> x, Whole w) {
  if (w < 0) {
    w = -w;
    for (Whole& value : x) value = -value;
  }
  if (w != 1) {
    const Whole common = mp::gcd(mp::gcd(x[0], x[1]), mp::gcd(x[2], w));
    if (common > 1) {
      for (Whole& value : x) value /= common;
      w /= common;
    }
  }
  ExactPoint point;
  for (std::size_t k = 0; k < 3; ++k) point.near[k] = quotient(x[k], w);
  point.x = std::move(x);
  point.w = std::move(w);
  return point;
}

ExactGrid::ExactGrid(const std::vector<Point>& points) {
  lowest_ = std::numeric_limits<int>::max();
  for (const Point& p : points) {
    for (const double value : {p.x, p.y, p.z}) {
      if (value == 0 || !std::isfinite(value)) continue;
      int exponent = 0;
      auto digits = static_cast<std::int64_t>(std::ldexp(std::frexp(value, &exponent), 53));
      exponent -= 53;
      while ((digits & 1) == 0) {
        digits /= 2;
        ++exponent;
      }
      lowest_ = std::min(lowest_, exponent);
    }
  }
  if (lowest_ == std::numeric_limits<int>::max()) lowest_ = 0;
}

Whole ExactGrid::whole(double value) const {
  if (value == 0) return 0;
  int exponent = 0;
  Whole digits = static_cast<std::int64_t>(std::ldexp(std::frexp(value, &exponent), 53));
  const int shift = exponent - 53 - lowest_;
  return shift >= 0 ? digits << shift : digits >> -shift;
}

ExactPoint ExactGrid::on_grid(const Point& p) const {
  return settled({whole(p.x), whole(p.y), whole(p.z)}, 1);
}

Point ExactGrid::off_grid(const ExactPoint& p) const {
  return {std::ldexp(p.near[0], lowest_), std::ldexp(p.near[1], lowest_),
          std::ldexp(p.near[2], lowest_)};
}

ExactPlane::ExactPlane(const ExactPoint& a, const ExactPoint& b, const ExactPoint& c) {
  std::array<Whole, 3> p;
  std::array<Whole, 3> q;
  for (std::size_t k = 0; k < 3; ++k) {
    p[k] = b.x[k] - a.x[k];
    q[k] = c.x[k] - a.x[k];
  }
  for (std::size_t k = 0; k < 3; ++k) {
    normal[k] = p[(k + 1) % 3] * q[(k + 2) % 3] - p[(k + 2) % 3] * q[(k + 1) % 3];
  }
  offset = normal[0] * a.x[0] + normal[1] * a.x[1] + normal[2] * a.x[2];
}

Whole ExactPlane::value(const ExactPoint& p) const {
  return normal[0] * p.x[0] + normal[1] * p.x[1] + normal[2] * p.x[2] - offset * p.w;
}

ExactPoint zero_between(const ExactPoint& p, const ExactPoint& q, const Whole& u, const Whole& v) {
  std::array<Whole, 3> x;
  for (std::size_t k = 0; k < 3; ++k) x[k] = p.x[k] * v - q.x[k] * u;
  return settled(std::move(x), p.w * v - q.w * u);
}

Whole line_value(const ExactPoint& a, const ExactPoint& b, const ExactPoint& p,
                 const Flattening& flat) {
  const auto u = static_cast<std::size_t>(flat.u);
  const auto v = static_cast<std::size_t>(flat.v);
  return a.x[u] * (b.x[v] * p.w - p.x[v] * b.w) - a.x[v] * (b.x[u] * p.w - p.x[u] * b.w) +
         a.w * (b.x[u] * p.x[v] - b.x[v] * p.x[u]);
}

int turn(const ExactPoint& a, const ExactPoint& b, const ExactPoint& c, const Flattening& flat) {
  const auto u = static_cast<std::size_t>(flat.u);
  const auto v = static_cast<std::size_t>(flat.v);
  const double determinant = (b.near[u] - a.near[u]) * (c.near[v] - a.near[v]) -
                             (b.near[v] - a.near[v]) * (c.near[u] - a.near[u]);
  const double error = turn_error(a, b, c, flat);
  if (determinant > error) return 1;
  if (determinant < -error) return -1;
  return sign_of(line_value(a, b, c, flat));
}

int in_circle(const ExactPoint& a, const ExactPoint& b, const ExactPoint& c, const ExactPoint& d,
              const Flattening& flat) {
  const FlatVector p = flat_vector(d, a, flat);
  const FlatVector q = flat_vector(d, b, flat);
  const FlatVector r = flat_vector(d, c, flat);
  const Whole lift_p = p.u * p.u + p.v * p.v;
  const Whole lift_q = q.u * q.u + q.v * q.v;
  const Whole lift_r = r.u * r.u + r.v * r.v;
  const Whole qr = q.w * r.w * (q.u * r.v - q.v * r.u);
  const Whole rp = r.w * p.w * (r.u * p.v - r.v * p.u);
  const Whole pq = p.w * q.w * (p.u * q.v - p.v * q.u);
  return sign_of(lift_p * qr + lift_q * rp + lift_r * pq);
}

int compare(const ExactPoint& a, const ExactPoint& b, int axis) {
  const auto k = static_cast<std::size_t>(axis);
  const double difference = a.near[k] - b.near[k];
  const double error = 0x1p-48 * (std::abs(a.near[k]) + std::abs(b.near[k]));
  if (difference > error) return 1;
  if (difference < -error) return -1;
  return sign_of(a.x[k] * b.w - b.x[k] * a.w);
}

}  // namespace scanmesh
