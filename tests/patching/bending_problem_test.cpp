#include "patching/bending_problem.h"

#include <gtest/gtest.h>

#include <Eigen/Dense>
#include <cmath>
#include <map>

#include "patching/harmonic_spread.h"
#include "patching/rim_curvature.h"
#include "tests/patching/test_shapes.h"

namespace {

using cavity::JoinedSurface;
using cavity::Laplacian;
using cavity::Neighbourhoods;
using cavity::Point;
using cavity::Triangle;
using cavity::Weights;
using Mesh_M::MyPoint3;

double bowl(double x, double y) {
  return 0.04 * x * x - 0.02 * y * y + 0.1 * x;
}

// A jittered hexagon of lattice points: the innermost rows are the free vertices, then a row that
// is the ring, then a row of the region.
JoinedSurface surface_with_patch(int rows) {
  shapes::Random random(3);
  std::map<std::array<int, 2>, Point> lattice;
  const auto distance = [](int q, int r) {
    return std::max({std::abs(q), std::abs(r), std::abs(q + r)});
  };
  for (int q = -rows - 2; q <= rows + 2; ++q) {
    for (int r = -rows - 2; r <= rows + 2; ++r) {
      if (distance(q, r) > rows + 2) continue;
      const double x = q + 0.5 * r + 0.15 * random.uniform();
      const double y = std::sqrt(0.75) * r + 0.15 * random.uniform();
      lattice[{q, r}] = {x, y, bowl(x, y) + 0.05 * random.normal()};
    }
  }
  JoinedSurface surface;
  std::map<std::array<int, 2>, int> number;
  const auto take = [&](int least, int most) {
    for (const auto& [place, point] : lattice) {
      const int d = distance(place[0], place[1]);
      if (d < least || d > most) continue;
      number[place] = surface.size();
      surface.points.push_back(point);
    }
  };
  take(rows + 1, rows + 1);
  surface.ring_size = surface.size();
  take(0, rows);
  surface.patch_size = surface.size();
  take(rows + 2, rows + 2);
  for (const auto& [place, v] : number) {
    const auto [q, r] = place;
    const std::array<std::array<int, 2>, 3> corners[] = {{{{q, r}, {q + 1, r}, {q, r + 1}}},
                                                         {{{q, r}, {q, r + 1}, {q - 1, r + 1}}}};
    for (const auto& c : corners) {
      if (number.count(c[1]) == 0 || number.count(c[2]) == 0) continue;
      surface.faces.push_back({v, number.at(c[1]), number.at(c[2])});
    }
  }
  return surface;
}

TEST(Neighbourhoods, are_those_of_the_faces) {
  const JoinedSurface surface = surface_with_patch(4);
  const Neighbourhoods near(surface, surface.patch_size);
  std::map<int, std::set<int>> plain;
  for (const Triangle& t : surface.faces) {
    for (int k = 0; k < 3; ++k) {
      plain[t[k]].insert(t[(k + 1) % 3]);
      plain[t[k]].insert(t[(k + 2) % 3]);
    }
  }
  for (int v = 0; v < surface.patch_size; ++v) {
    std::set<int> found;
    for (int s = near.begin(v); s < near.end(v); ++s) {
      found.insert(near.to(s));
      const int back = near.reverse(s);
      if (near.to(s) >= surface.patch_size) {
        EXPECT_EQ(back, -1);
      } else {
        EXPECT_EQ(near.to(back), v);
        EXPECT_TRUE(back >= near.begin(near.to(s)) && back < near.end(near.to(s)));
      }
    }
    EXPECT_EQ(found, plain[v]);
    EXPECT_EQ(static_cast<int>(found.size()), near.end(v) - near.begin(v));
    EXPECT_TRUE(near.is_closed(v));
  }
}

TEST(Neighbourhoods, tell_a_vertex_on_a_border) {
  const JoinedSurface surface = surface_with_patch(2);
  const Neighbourhoods near(surface, surface.size());
  for (int v = 0; v < surface.size(); ++v) EXPECT_EQ(near.is_closed(v), v < surface.patch_size);
}

// The same weights, written down per pair of vertices.
Eigen::MatrixXd plain_rows(const JoinedSurface& surface, double ring_weight) {
  Eigen::MatrixXd weights = Eigen::MatrixXd::Zero(surface.size(), surface.size());
  Eigen::VectorXd area = Eigen::VectorXd::Zero(surface.size());
  for (const Triangle& t : surface.faces) {
    for (int k = 0; k < 3; ++k) {
      const int a = t[(k + 1) % 3];
      const int b = t[(k + 2) % 3];
      const Point u = surface.points[a] - surface.points[t[k]];
      const Point w = surface.points[b] - surface.points[t[k]];
      const double half = 0.5 * u.dot(w) / u.cross(w).norm();
      weights(a, b) += half;
      weights(b, a) += half;
      area[t[k]] += u.cross(w).norm() / 6.0;
    }
  }
  Eigen::MatrixXd rows = Eigen::MatrixXd::Zero(surface.patch_size, surface.size());
  for (int v = 0; v < surface.patch_size; ++v) {
    const double scale = (v < surface.ring_size ? ring_weight : 1.0) / std::sqrt(area[v]);
    for (int other = 0; other < surface.size(); ++other) {
      if (weights(v, other) == 0.0) continue;
      const double w = scale * std::clamp(weights(v, other), 0.02, 20.0);
      rows(v, other) += w;
      rows(v, v) -= w;
    }
  }
  return rows;
}

TEST(BendingProblem, agrees_with_dense_least_squares) {
  const JoinedSurface surface = surface_with_patch(4);
  const Neighbourhoods near(surface, surface.patch_size);
  cavity::BendingProblem problem(surface, near);
  Laplacian laplacian;
  weigh(surface, near, Weights::cotangent, laplacian);
  shapes::Random random(11);
  for (const double ring_weight : {1.0, 1.6}) {
    std::vector<Point> target;
    Eigen::MatrixXd right(surface.patch_size, 3);
    const Eigen::MatrixXd rows = plain_rows(surface, ring_weight);
    Eigen::MatrixXd fixed = Eigen::MatrixXd::Zero(surface.size(), 3);
    for (int v = 0; v < surface.size(); ++v) {
      if (!surface.is_free(v)) fixed.row(v) = surface.points[v].transpose();
    }
    for (int v = 0; v < surface.patch_size; ++v) {
      target.emplace_back(random.uniform(), random.uniform(), random.uniform());
      const double weight = v < surface.ring_size ? ring_weight : 1.0;
      right.row(v) = weight * std::sqrt(laplacian.area[v]) * target[v].transpose();
    }
    right -= rows * fixed;
    const Eigen::MatrixXd columns = rows.middleCols(surface.ring_size, surface.free_count());
    const Eigen::MatrixXd plain = columns.colPivHouseholderQr().solve(right);
    ASSERT_TRUE(problem.set_up(
        laplacian, std::vector<double>(static_cast<std::size_t>(surface.ring_size), ring_weight)));
    const std::vector<Point> found = problem.solve(target);
    ASSERT_EQ(static_cast<int>(found.size()), surface.free_count());
    for (int i = 0; i < surface.free_count(); ++i) {
      EXPECT_LT((found[i] - plain.row(i).transpose()).norm(), 1e-8) << i;
    }
  }
}

TEST(BendingProblem, leaves_a_plane_in_its_place) {
  JoinedSurface surface = surface_with_patch(3);
  for (Point& p : surface.points) p.z() = 0.3 * p.x() - 0.2 * p.y();
  const Neighbourhoods near(surface, surface.patch_size);
  cavity::BendingProblem problem(surface, near);
  Laplacian laplacian;
  weigh(surface, near, Weights::cotangent, laplacian);
  ASSERT_TRUE(problem.set_up(
      laplacian, std::vector<double>(static_cast<std::size_t>(surface.ring_size), 1.0)));
  const std::vector<Point> found = problem.solve({});
  for (int i = 0; i < surface.free_count(); ++i) {
    EXPECT_LT((found[i] - surface.points[surface.ring_size + i]).norm(), 1e-9);
  }
}

TEST(HarmonicSpread, of_a_constant_is_that_constant) {
  const JoinedSurface surface = surface_with_patch(5);
  const Neighbourhoods near(surface, surface.patch_size);
  Laplacian laplacian;
  weigh(surface, near, Weights::cotangent, laplacian);
  const std::vector<double> constant(static_cast<std::size_t>(surface.ring_size), -2.5);
  for (const double value : spread_from_ring(surface, near, laplacian, constant)) {
    EXPECT_NEAR(value, -2.5, 1e-6);
  }
}

TEST(HarmonicSpread, stays_within_the_values_beyond_the_ring_and_follows_them) {
  JoinedSurface surface = surface_with_patch(6);
  for (Point& p : surface.points) p.z() = 0;
  const Neighbourhoods near(surface, surface.patch_size);
  Laplacian laplacian;
  weigh(surface, near, Weights::cotangent, laplacian);
  std::vector<double> slope;
  double most = 0;
  for (int i = 0; i < surface.ring_size; ++i) {
    slope.push_back(surface.points[i].x());
    most = std::max(most, std::abs(slope.back()));
  }
  const std::vector<double> values = spread_from_ring(surface, near, laplacian, slope);
  ASSERT_EQ(static_cast<int>(values.size()), surface.patch_size);
  for (int v = 0; v < surface.patch_size; ++v) {
    EXPECT_LE(std::abs(values[v]), most);
    // Held beyond the ring, the slope comes in a little flatter than it is.
    const double x = surface.points[v].x();
    EXPECT_NEAR(values[v], 0.86 * x, 0.08 * most) << x;
  }
}

TEST(RimCurvature, of_a_sphere_is_its_own_and_a_plane_has_none) {
  for (const double radius : {10.0, 1e9}) {
    const shapes::Mesh cap = shapes::lattice(20, 22, false, false, 0.1, [&](double u, double v) {
      const double x = u - 10;
      const double y = std::sqrt(0.75) * (v - 11);
      const double reach = std::hypot(x, y);
      const double scale = reach > 0 ? radius * std::sin(reach / radius) / reach : 1.0;
      return MyPoint3{scale * x, scale * y, radius * (std::cos(reach / radius) - 1.0)};
    });
    const shapes::Hole hole =
        shapes::cut_around(cap, [](const MyPoint3& p) { return std::hypot(p.x, p.y) < 4.0; });
    cavity::Surroundings around;
    ASSERT_TRUE(cavity::read_surroundings(hole.region, hole.ring, around));
    const cavity::RimCurvature rim = cavity::measure_rim(around);
    ASSERT_EQ(static_cast<int>(rim.mean.size()), hole.ring_size());
    for (const double mean : rim.mean) {
      EXPECT_NEAR(std::abs(mean), 2.0 * around.scale / radius, 0.1 / radius + 1e-6);
    }
  }
}

TEST(RimCurvature, is_silent_without_a_region) {
  cavity::Surroundings around;
  ASSERT_TRUE(cavity::read_surroundings({}, {0, 0, 0, 1, 0, 0, 0, 1, 0}, around));
  EXPECT_TRUE(cavity::measure_rim(around).mean.empty());
}

}  // namespace
