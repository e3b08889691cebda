// Adaptive signs after Shewchuk 1997: doubles with a bound on their error first, and where they
// can't tell, sums of doubles that lose nothing ("expansions").
#include "toolkit/predicates.h"

#include <array>
#include <cmath>

namespace scanmesh {
namespace {

// Half a unit in the last place of 1: the relative error of one rounding.
constexpr double kEpsilon = 0x1p-53;
// Bounds of the rounding errors of the two determinants, relative to the sum of their terms'
// magnitudes.
constexpr double kBound2d = (3 + 16 * kEpsilon) * kEpsilon;
constexpr double kBound3d = (7 + 56 * kEpsilon) * kEpsilon;

struct Split {
  double high;
  double low;
};

// high + low = a + b, a - b, a * b, without error.
Split exact_sum(double a, double b) {
  const double sum = a + b;
  const double from_b = sum - a;
  return {sum, (a - (sum - from_b)) + (b - from_b)};
}
Split exact_difference(double a, double b) {
  return exact_sum(a, -b);
}
Split exact_product(double a, double b) {
  const double product = a * b;
  return {product, std::fma(a, b, -product)};
}

// A sum of doubles without overlapping bits, smallest first, zeros left out: its sign is that of
// the last one. N bounds the count.
template <int N>
class Expansion {
 public:
  Expansion() = default;
  explicit Expansion(const Split& split) {
    add(split.low);
    add(split.high);
  }

  void add(double value) {
    int kept = 0;
    for (int i = 0; i < count_; ++i) {
      const Split sum = exact_sum(value, terms_[static_cast<std::size_t>(i)]);
      value = sum.high;
      if (sum.low != 0) terms_[static_cast<std::size_t>(kept++)] = sum.low;
    }
    if (value != 0) terms_[static_cast<std::size_t>(kept++)] = value;
    count_ = kept;
  }

  // Adds sign * x * y.
  template <int A, int B>
  void add_product(const Expansion<A>& x, const Expansion<B>& y, double sign) {
    for (int i = 0; i < x.count(); ++i) {
      for (int j = 0; j < y.count(); ++j) {
        const Split product = exact_product(sign * x[i], y[j]);
        add(product.low);
        add(product.high);
      }
    }
  }

  int count() const { return count_; }
  double operator[](int i) const { return terms_[static_cast<std::size_t>(i)]; }
  int sign() const {
    if (count_ == 0) return 0;
    return terms_[static_cast<std::size_t>(count_ - 1)] > 0 ? 1 : -1;
  }

 private:
  std::array<double, N> terms_;
  int count_ = 0;
};

using Difference = Expansion<2>;

struct ExactVector {
  Difference x;
  Difference y;
  Difference z;
};

ExactVector exact_vector(const Point& from, const Point& to) {
  return {Difference(exact_difference(to.x, from.x)), Difference(exact_difference(to.y, from.y)),
          Difference(exact_difference(to.z, from.z))};
}

// a * d - b * c.
Expansion<16> exact_minor(const Difference& a, const Difference& b, const Difference& c,
                          const Difference& d) {
  Expansion<16> minor;
  minor.add_product(a, d, 1);
  minor.add_product(b, c, -1);
  return minor;
}

int exact_orient3d(const Point& a, const Point& b, const Point& c, const Point& d) {
  const ExactVector u = exact_vector(a, b);
  const ExactVector v = exact_vector(a, c);
  const ExactVector w = exact_vector(a, d);
  Expansion<192> sum;
  sum.add_product(exact_minor(u.y, u.z, v.y, v.z), w.x, 1);
  sum.add_product(exact_minor(u.z, u.x, v.z, v.x), w.y, 1);
  sum.add_product(exact_minor(u.x, u.y, v.x, v.y), w.z, 1);
  return sum.sign();
}

struct Flat {
  double x;
  double y;
};

Flat flat(const Point& p, Plane plane) {
  if (plane == Plane::yz) return {p.y, p.z};
  if (plane == Plane::zx) return {p.z, p.x};
  return {p.x, p.y};
}

int exact_orient2d(const Flat& a, const Flat& b, const Flat& c) {
  return exact_minor(Difference(exact_difference(b.x, a.x)), Difference(exact_difference(b.y, a.y)),
                     Difference(exact_difference(c.x, a.x)), Difference(exact_difference(c.y, a.y)))
      .sign();
}

int sign_of(double value) {
  return value > 0 ? 1 : value < 0 ? -1 : 0;
}

}  // namespace

int orient3d(const Point& a, const Point& b, const Point& c, const Point& d) {
  const double ux = b.x - a.x, uy = b.y - a.y, uz = b.z - a.z;
  const double vx = c.x - a.x, vy = c.y - a.y, vz = c.z - a.z;
  const double wx = d.x - a.x, wy = d.y - a.y, wz = d.z - a.z;
  const double yz = uy * vz, zy = uz * vy, zx = uz * vx, xz = ux * vz, xy = ux * vy, yx = uy * vx;
  const double determinant = (yz - zy) * wx + (zx - xz) * wy + (xy - yx) * wz;
  const double magnitude = (std::abs(yz) + std::abs(zy)) * std::abs(wx) +
                           (std::abs(zx) + std::abs(xz)) * std::abs(wy) +
                           (std::abs(xy) + std::abs(yx)) * std::abs(wz);
  if (std::abs(determinant) > kBound3d * magnitude) return sign_of(determinant);
  if (magnitude == 0) return 0;  // a factor of each product is exactly 0
  return exact_orient3d(a, b, c, d);
}

int orient2d(const Point& a, const Point& b, const Point& c, Plane plane) {
  const Flat p = flat(a, plane);
  const Flat q = flat(b, plane);
  const Flat r = flat(c, plane);
  const double left = (q.x - p.x) * (r.y - p.y);
  const double right = (q.y - p.y) * (r.x - p.x);
  const double determinant = left - right;
  if (std::abs(determinant) > kBound2d * (std::abs(left) + std::abs(right))) {
    return sign_of(determinant);
  }
  if (left == 0 && right == 0) return 0;
  return exact_orient2d(p, q, r);
}

bool collinear(const Point& a, const Point& b, const Point& c) {
  return orient2d(a, b, c, Plane::xy) == 0 && orient2d(a, b, c, Plane::yz) == 0 &&
         orient2d(a, b, c, Plane::zx) == 0;
}

Plane widest_projection(const Point& a, const Point& b, const Point& c) {
  const double ux = b.x - a.x, uy = b.y - a.y, uz = b.z - a.z;
  const double vx = c.x - a.x, vy = c.y - a.y, vz = c.z - a.z;
  const double nx = std::abs(uy * vz - uz * vy);
  const double ny = std::abs(uz * vx - ux * vz);
  const double nz = std::abs(ux * vy - uy * vx);
  const Plane widest = nx >= ny && nx >= nz ? Plane::yz : ny >= nz ? Plane::zx : Plane::xy;
  if (orient2d(a, b, c, widest) != 0) return widest;
  // A needle so thin that rounding hid which way it looks.
  for (const Plane plane : {Plane::yz, Plane::zx, Plane::xy}) {
    if (orient2d(a, b, c, plane) != 0) return plane;
  }
  return widest;
}

}  // namespace scanmesh
