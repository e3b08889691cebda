#include "generated_points.h"

#include <cmath>
#include <utility>

#include "support/random.h"

namespace bench {
namespace {

constexpr double kPi = 3.14159265358979323846;

void add(demo::PointSet& set, const demo::Vec3& point, const demo::Vec3& normal) {
  set.points.push_back(point);
  set.normals.push_back(demo::unit(normal));
}

}  // namespace

demo::PointSet sphere_points(int count) {
  const double golden = kPi * (3 - std::sqrt(5.0));
  const double radius = std::sqrt(count / (4 * kPi));
  demo::PointSet set;
  for (int i = 0; i < count; ++i) {
    const double z = 1 - (2 * i + 1.0) / count;
    const double across = std::sqrt(1 - z * z);
    const demo::Vec3 p{across * std::cos(i * golden), across * std::sin(i * golden), z};
    add(set, p * radius, p);
  }
  return set;
}

demo::PointSet torus_points(int count) {
  const double tube = std::sqrt(count / (12 * kPi * kPi));
  const double ring = 3 * tube;
  const int rows = static_cast<int>(std::lround(2 * kPi * tube));
  demo::Random random(2);
  demo::PointSet set;
  for (int row = 0; row < rows; ++row) {
    const double phi = 2 * kPi * row / rows;
    const double reach = ring + tube * std::cos(phi);
    const int columns = static_cast<int>(std::lround(2 * kPi * reach));
    for (int column = 0; column < columns; ++column) {
      const double theta = 2 * kPi * (column + 0.5 * (row % 2)) / columns;
      const double f = phi + random.uniform(-0.15, 0.15) / tube;
      const double t = theta + random.uniform(-0.15, 0.15) / reach;
      const demo::Vec3 n{std::cos(f) * std::cos(t), std::cos(f) * std::sin(t), std::sin(f)};
      add(set, demo::Vec3{ring * std::cos(t), ring * std::sin(t), 0} + tube * n, n);
    }
  }
  return set;
}

demo::PointSet wavy_points(int count, Order order) {
  const int side = static_cast<int>(std::lround(std::sqrt(count)));
  demo::Random random(1);
  demo::PointSet set;
  for (int j = 0; j < side; ++j) {
    for (int i = 0; i < side; ++i) {
      const double x = i + random.uniform(-0.2, 0.2);
      const double y = j + random.uniform(-0.2, 0.2);
      const double height = 4 * std::sin(x * 0.11) * std::cos(y * 0.07);
      const double along_x = 0.44 * std::cos(x * 0.11) * std::cos(y * 0.07);
      const double along_y = -0.28 * std::sin(x * 0.11) * std::sin(y * 0.07);
      add(set, {x, y, height}, {-along_x, -along_y, 1});
    }
  }
  if (order == Order::rows) return set;
  for (std::size_t i = set.points.size(); i > 1; --i) {
    const std::size_t k = random.below(i);
    std::swap(set.points[i - 1], set.points[k]);
    std::swap(set.normals[i - 1], set.normals[k]);
  }
  return set;
}

}  // namespace bench
