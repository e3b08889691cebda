#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <set>
#include <utility>

#include "scanmesh/toolkit/inspect.h"
#include "scanmesh/toolkit/resolution.h"
#include "tests/support/damage.h"

namespace scanmesh {
namespace {

using test_support::Damage;
using test_support::Damager;
using test_support::grid_cube;
using test_support::noisy_torus;

using Edge = std::pair<std::int32_t, std::int32_t>;

struct Reference {
  std::map<Edge, std::vector<std::int32_t>> across;  // per edge the corners opposite to it
  std::map<std::int32_t, std::set<std::int32_t>> around;

  explicit Reference(const TriangleMesh& mesh) {
    for (const Triangle& t : mesh.triangles) {
      for (std::size_t k = 0; k < 3; ++k) {
        const std::int32_t a = t[k];
        const std::int32_t b = t[(k + 1) % 3];
        across[std::minmax(a, b)].push_back(t[(k + 2) % 3]);
        around[a].insert(b);
        around[b].insert(a);
      }
    }
  }

  Point edge_point(const TriangleMesh& mesh, const Edge& edge) const {
    const auto& corners = across.at(edge);
    if (corners.size() != 2) return mean(mesh, {{edge.first, 0.5}, {edge.second, 0.5}});
    return mean(mesh, {{edge.first, 3.0 / 8},
                       {edge.second, 3.0 / 8},
                       {corners[0], 1.0 / 8},
                       {corners[1], 1.0 / 8}});
  }
  Point vertex_point(const TriangleMesh& mesh, std::int32_t v) const {
    const auto found = around.find(v);
    if (found == around.end()) return mesh.points[static_cast<std::size_t>(v)];
    std::vector<std::int32_t> creases;
    for (const std::int32_t x : found->second) {
      if (across.at(std::minmax(v, x)).size() != 2) creases.push_back(x);
    }
    if (creases.size() == 2)
      return mean(mesh, {{v, 0.75}, {creases[0], 0.125}, {creases[1], 0.125}});
    if (!creases.empty()) return mesh.points[static_cast<std::size_t>(v)];
    const auto n = static_cast<double>(found->second.size());
    const double beta = (5.0 / 8 - std::pow(3.0 / 8 + std::cos(2 * M_PI / n) / 4, 2)) / n;
    std::vector<std::pair<std::int32_t, double>> weights{{v, 1 - n * beta}};
    for (const std::int32_t x : found->second) weights.emplace_back(x, beta);
    return mean(mesh, weights);
  }
  static Point mean(const TriangleMesh& mesh,
                    const std::vector<std::pair<std::int32_t, double>>& weights) {
    Point sum;
    for (const auto& [v, weight] : weights) {
      const Point& p = mesh.points[static_cast<std::size_t>(v)];
      sum = {sum.x + weight * p.x, sum.y + weight * p.y, sum.z + weight * p.z};
    }
    return sum;
  }
};

void expect_near(const Point& a, const Point& b) {
  EXPECT_NEAR(a.x, b.x, 1e-14);
  EXPECT_NEAR(a.y, b.y, 1e-14);
  EXPECT_NEAR(a.z, b.z, 1e-14);
}

void expect_as_reference(const TriangleMesh& mesh) {
  const TriangleMesh result = subdivide(mesh);
  const Reference reference(mesh);
  ASSERT_EQ(result.points.size(), mesh.points.size() + reference.across.size());
  ASSERT_EQ(result.triangles.size(), 4 * mesh.triangles.size());
  for (std::size_t v = 0; v < mesh.points.size(); ++v) {
    expect_near(result.points[v], reference.vertex_point(mesh, static_cast<std::int32_t>(v)));
  }
  // Edges are numbered by their lower end, then by their higher one.
  std::map<Edge, std::int32_t> middle;
  auto number = static_cast<std::int32_t>(mesh.points.size());
  for (const auto& [edge, corners] : reference.across) {
    expect_near(result.points[static_cast<std::size_t>(number)], reference.edge_point(mesh, edge));
    middle[edge] = number++;
  }
  for (std::size_t f = 0; f < mesh.triangles.size(); ++f) {
    const auto [a, b, c] = mesh.triangles[f];
    const std::int32_t ab = middle[std::minmax(a, b)];
    const std::int32_t bc = middle[std::minmax(b, c)];
    const std::int32_t ca = middle[std::minmax(c, a)];
    EXPECT_EQ(result.triangles[4 * f], (Triangle{a, ab, ca}));
    EXPECT_EQ(result.triangles[4 * f + 1], (Triangle{b, bc, ab}));
    EXPECT_EQ(result.triangles[4 * f + 2], (Triangle{c, ca, bc}));
    EXPECT_EQ(result.triangles[4 * f + 3], (Triangle{ab, bc, ca}));
  }
}

TEST(Subdivide, an_irregular_mesh_comes_out_as_the_plain_rules_say) {
  TriangleMesh mesh = noisy_torus(13, 7, 5, 0.05);
  expect_as_reference(mesh);
  Damager(mesh, 3).apply(Damage::t_junctions);
  Damager(mesh, 4).apply(Damage::holes);
  expect_as_reference(mesh);
  Damager(mesh, 5).apply(Damage::book);
  Damager(mesh, 6).apply(Damage::bowtie);
  mesh.points.push_back({5, 5, 5});  // of no triangle
  expect_as_reference(mesh);
}

// Loop 1987: the limit of a vertex of valence n is its place times 1 - n w and its neighbours'
// times w, where w = 1 / (n + 3 / (8 beta)).
TEST(Subdivide, points_go_to_their_limits) {
  TriangleMesh mesh = noisy_torus(12, 6, 5, 0.05);
  for (const std::int32_t v : {0, 17, 40}) {
    const Reference reference(mesh);
    const auto& around = reference.around.at(v);
    const auto n = static_cast<double>(around.size());
    const double beta = (5.0 / 8 - std::pow(3.0 / 8 + std::cos(2 * M_PI / n) / 4, 2)) / n;
    const double w = 1 / (n + 3 / (8 * beta));
    std::vector<std::pair<std::int32_t, double>> weights{{v, 1 - n * w}};
    for (const std::int32_t x : around) weights.emplace_back(x, w);
    const Point limit = Reference::mean(mesh, weights);
    const TriangleMesh fine = subdivide(mesh, 7);
    const Point& at = fine.points[static_cast<std::size_t>(v)];
    EXPECT_NEAR(at.x, limit.x, 1e-4);
    EXPECT_NEAR(at.y, limit.y, 1e-4);
    EXPECT_NEAR(at.z, limit.z, 1e-4);
  }
}

TEST(Subdivide, steps_are_repeated_calls) {
  const TriangleMesh mesh = noisy_torus(12, 6, 5, 0.05);
  EXPECT_EQ(subdivide(mesh, 3), subdivide(subdivide(subdivide(mesh))));
  EXPECT_EQ(subdivide(mesh, 2), subdivide(mesh, 2));
}

TEST(Subdivide, a_closed_body_stays_closed_and_an_open_one_open) {
  const Health torus = inspect(subdivide(noisy_torus(12, 6, 5), 2));
  EXPECT_TRUE(torus.healthy());
  EXPECT_EQ(torus.genus, 1);
  TriangleMesh open = grid_cube(3);
  open.triangles.pop_back();
  const Health health = inspect(subdivide(open, 2));
  EXPECT_EQ(health.open_edges, 12);
  EXPECT_EQ(health.rings, 1);
}

TEST(Subdivide, colours_and_normals_follow) {
  TriangleMesh mesh = grid_cube(2);
  for (const Point& p : mesh.points) {
    mesh.colors.push_back({static_cast<std::uint8_t>(std::lround(100 + 100 * p.x)), 9, 0, 255});
    mesh.normals.push_back({0, 1, 0});
  }
  const TriangleMesh fine = subdivide(mesh);
  ASSERT_EQ(fine.colors.size(), fine.points.size());
  for (std::size_t v = 0; v < fine.points.size(); ++v) {
    EXPECT_NEAR(fine.colors[v][0], 100 + 100 * fine.points[v].x, 0.501);
    EXPECT_EQ(fine.colors[v][1], 9);
    EXPECT_EQ(fine.normals[v], (Point{0, 1, 0}));
  }
}

TEST(Subdivide, refuses_steps_out_of_range_and_results_beyond_numbers) {
  const auto refused = [](const TriangleMesh& mesh, int steps) {
    try {
      subdivide(mesh, steps);
    } catch (const Error& error) {
      return error.code() == ErrorCode::invalid_argument;
    }
    return false;
  };
  EXPECT_TRUE(refused(grid_cube(1), 0));
  EXPECT_TRUE(refused(grid_cube(1), 9));
  EXPECT_TRUE(refused(noisy_torus(200, 50, 1), 8));
}

TEST(Subdivide, stops_when_told_to) {
  EXPECT_THROW(subdivide(grid_cube(1), 1, [](double, std::string_view) { return false; }),
               Cancelled);
}

}  // namespace
}  // namespace scanmesh
