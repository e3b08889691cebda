#include "scanmesh/cavity_patcher.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "tests/patching/test_shapes.h"

namespace {

using namespace shapes;

std::vector<MyPoint3> circle(int n, double radius, double wave = 0.0) {
  std::vector<MyPoint3> points;
  for (int i = 0; i < n; ++i) {
    const double t = 2.0 * pi * i / n;
    points.push_back({radius * std::cos(t), radius * std::sin(t), wave * std::cos(2.0 * t)});
  }
  return points;
}

// Radius of a circle of n unit edges.
double unit_edge_radius(int n) {
  return 0.5 / std::sin(pi / n);
}

Mesh wavy_field(int size) {
  const double row = std::sqrt(0.75);
  return lattice(size, size, false, false, 0.15, [=](double u, double v) {
    const double x = u - 0.5 * size;
    const double y = (v - 0.5 * size) * row;
    return MyPoint3{x, y, std::sin(0.21 * x) * std::cos(0.17 * y)};
  });
}

Hole wavy_disc(double radius) {
  Mesh mesh = wavy_field(static_cast<int>(2.5 * radius) + 14);
  round_to_float(mesh);
  return cut_around(mesh, [=](const MyPoint3& p) { return std::hypot(p.x, p.y) < radius; });
}

Hole reversed(Hole hole) {
  const int n = hole.ring_size();
  std::vector<double> ring;
  for (int i = n; i-- > 0;) {
    ring.insert(ring.end(), hole.ring.begin() + 3 * i, hole.ring.begin() + 3 * i + 3);
  }
  hole.ring = ring;
  return hole;
}

void expect_refused(const Hole& hole) {
  Patch patch;
  patch.vertices.resize(3);
  patch.faces.resize(3);
  patch.normals.resize(3);
  patch.ring_indices.resize(3);
  Mesh_M::CavityPatcher patcher;
  EXPECT_LT(patcher.fillHole2(hole.region, hole.ring, patch.vertices, patch.faces, patch.normals,
                              patch.ring_indices),
            0);
  EXPECT_TRUE(patch.vertices.empty());
  EXPECT_TRUE(patch.faces.empty());
  EXPECT_TRUE(patch.normals.empty());
  EXPECT_TRUE(patch.ring_indices.empty());
}

TEST(CavityPatcher, Boundary_is_exactly_the_ring) {
  for (const double radius : {0.9, 1.5, 3.0, 6.0, 12.0}) {
    const Hole hole = wavy_disc(radius);
    SCOPED_TRACE(radius);
    expect_sound(hole, fill(hole));
  }
}

TEST(CavityPatcher, Orientation_follows_the_ring_whichever_way_it_runs) {
  const Hole hole = wavy_disc(4.0);
  const Patch along = fill(hole);
  const Patch against = fill(reversed(hole));
  expect_sound(hole, along);
  expect_sound(reversed(hole), against);
  for (const MyPoint3& n : along.normals) EXPECT_GT(n.z, 0.5);
  for (const MyPoint3& n : against.normals) EXPECT_LT(n.z, -0.5);
}

TEST(CavityPatcher, Ring_without_surroundings_is_filled) {
  for (const int n : {3, 4, 5, 6, 7, 12, 40, 100}) {
    SCOPED_TRACE(n);
    const Hole hole = bare(circle(n, unit_edge_radius(n), 0.2));
    expect_sound(hole, fill(hole));
  }
}

TEST(CavityPatcher, Triangle_ring_gets_one_triangle) {
  const Hole hole = bare({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
  const Patch patch = fill(hole);
  expect_sound(hole, patch);
  ASSERT_EQ(patch.faces.size(), 1u);
  EXPECT_EQ(patch.normals[0].z, 1.0);
}

TEST(CavityPatcher, Square_ring_gets_two_triangles) {
  const Hole hole = bare({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}});
  const Patch patch = fill(hole);
  expect_sound(hole, patch);
  EXPECT_EQ(patch.faces.size(), 2u);
  EXPECT_DOUBLE_EQ(total_area(patch), 1.0);
}

TEST(CavityPatcher, Rings_that_cannot_be_filled_are_refused) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double infinity = std::numeric_limits<double>::infinity();
  const Hole good = bare({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}});
  expect_refused({});
  expect_refused(bare({{0, 0, 0}, {1, 0, 0}}));
  expect_refused(bare({{0, 0, 0}, {1, 0, 0}, {0, 0, 0}}));
  expect_refused(bare({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {1, 0, 0}}));
  expect_refused(bare({{0, 0, 0}, {1, 0, 0}, {-0.0, 0, 0}, {0, 1, 0}}));
  expect_refused(bare({{0, 0, 0}, {1, nan, 0}, {1, 1, 0}}));
  expect_refused(bare({{0, 0, 0}, {1, infinity, 0}, {1, 1, 0}}));
  Hole odd = good;
  odd.ring.pop_back();
  expect_refused(odd);
  Hole region = good;
  region.region.assign(11, 0.5);
  expect_refused(region);
  region.region.assign(12, 0.5);
  region.region[7] = nan;
  expect_refused(region);
}

TEST(CavityPatcher, Polyline_refusals_leave_no_triangles) {
  std::vector<int> triangles = {1, 2, 3};
  EXPECT_LT(Mesh_M::CavityPatcher::fillHolePolyline({0, 0, 0, 1, 0, 0}, triangles), 0);
  EXPECT_TRUE(triangles.empty());
  triangles = {1, 2, 3};
  EXPECT_LT(
      Mesh_M::CavityPatcher::fillHolePolyline({0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 0, 0}, triangles), 0);
  EXPECT_TRUE(triangles.empty());
}

TEST(CavityPatcher, Polyline_is_closed_without_new_vertices) {
  for (const int n : {3, 4, 10, 240, 241, 301, 5000}) {
    SCOPED_TRACE(n);
    Hole hole = bare(circle(n, unit_edge_radius(n), 0.2));
    std::vector<int> triangles;
    ASSERT_EQ(Mesh_M::CavityPatcher::fillHolePolyline(hole.ring, triangles), 0);
    ASSERT_EQ(triangles.size(), 3u * (static_cast<std::size_t>(n) - 2));
    Patch patch;
    patch.status = 0;
    for (int i = 0; i < n; ++i) {
      patch.vertices.push_back({hole.ring[3 * i], hole.ring[3 * i + 1], hole.ring[3 * i + 2]});
      patch.ring_indices.push_back(i);
    }
    for (std::size_t i = 0; i < triangles.size(); i += 3) {
      patch.faces.push_back({triangles[i], triangles[i + 1], triangles[i + 2]});
      patch.normals.push_back(rule_normal(patch, patch.faces.back()));
    }
    expect_sound(hole, patch);
  }
}

// Two of the square's corners are joined behind the hole: that diagonal would be a third face's
// edge.
TEST(CavityPatcher, Chord_of_the_surroundings_is_not_used) {
  Mesh mesh;
  mesh.points = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {-1, -1, 0}};
  for (const bool both : {false, true}) {
    Hole hole = bare({mesh.points[0], mesh.points[1], mesh.points[2], mesh.points[3]});
    append_face(mesh, {0, 2, 4}, hole.region);
    if (both) append_face(mesh, {3, 1, 4}, hole.region);
    const Patch patch = fill(hole);
    expect_sound(hole, patch);
    EXPECT_EQ(patch.faces.size(), both ? 4u : 2u);
  }
}

TEST(CavityPatcher, Face_of_the_surroundings_is_not_repeated) {
  Mesh mesh;
  mesh.points = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
  Hole hole = bare(mesh.points);
  append_face(mesh, {0, 2, 1}, hole.region);
  const Patch patch = fill(hole);
  expect_sound(hole, patch);
  EXPECT_EQ(patch.faces.size(), 3u);
}

// A rim of teeth: each tooth is a region face on three consecutive ring vertices, whose base is the
// very chord that a small patch would want.
TEST(CavityPatcher, Ragged_rim_is_filled_without_its_own_teeth) {
  for (const int teeth : {3, 4, 5, 8, 20, 150}) {
    SCOPED_TRACE(teeth);
    Mesh mesh;
    const int n = 2 * teeth;
    for (int i = 0; i < n; ++i) {
      const double t = 2.0 * pi * i / n;
      const double radius = unit_edge_radius(n) * (i % 2 == 0 ? 1.0 : 0.8);
      mesh.points.push_back({radius * std::cos(t), radius * std::sin(t), 0.0});
    }
    Hole hole = bare(mesh.points);
    for (int i = 0; i < n; i += 2) {
      append_face(mesh, {(i + 2) % n, i + 1, i}, hole.region);
    }
    expect_sound(hole, fill(hole));
  }
}

TEST(CavityPatcher, Every_chord_taken_still_gives_a_sound_patch) {
  for (const int n : {4, 5, 6, 9}) {
    SCOPED_TRACE(n);
    Mesh mesh;
    mesh.points = circle(n, unit_edge_radius(n));
    Hole hole = bare(mesh.points);
    for (int a = 0; a < n; ++a) {
      for (int b = a + 1; b < n; ++b) {
        for (int c = b + 1; c < n; ++c) append_face(mesh, {a, c, b}, hole.region);
      }
    }
    expect_sound(hole, fill(hole));
  }
}

TEST(CavityPatcher, Concave_planar_ring_is_covered_once) {
  std::vector<MyPoint3> star;
  for (int i = 0; i < 24; ++i) {
    const double t = 2.0 * pi * i / 24;
    const double radius = i % 2 == 0 ? 5.0 : 2.0;
    star.push_back({radius * std::cos(t), radius * std::sin(t), 1.0});
  }
  double area = 0.0;
  for (int i = 0; i < 24; ++i) {
    const MyPoint3& a = star[i];
    const MyPoint3& b = star[(i + 1) % 24];
    area += 0.5 * (a.x * b.y - a.y * b.x);
  }
  const Hole hole = bare(star);
  const Patch patch = fill(hole);
  expect_sound(hole, patch);
  EXPECT_NEAR(total_area(patch), area, 1e-9);
  for (const MyPoint3& n : patch.normals) EXPECT_NEAR(n.z, 1.0, 1e-9);
}

TEST(CavityPatcher, Straight_stretches_give_no_flat_triangles) {
  std::vector<MyPoint3> square;
  const std::vector<MyPoint3> corners = {{0, 0, 0}, {6, 0, 0}, {6, 6, 0}, {0, 6, 0}};
  for (int side = 0; side < 4; ++side) {
    const MyPoint3 a = corners[side];
    const MyPoint3 b = corners[(side + 1) % 4];
    for (int i = 0; i < 6; ++i) {
      square.push_back({a.x + (b.x - a.x) * i / 6.0, a.y + (b.y - a.y) * i / 6.0, 0.0});
    }
  }
  const Hole hole = bare(square);
  const Patch patch = fill(hole);
  expect_sound(hole, patch);
  for (const MyFace& f : patch.faces) {
    const MyPoint3 n = cross(minus(patch.vertices[f.a], patch.vertices[f.b]),
                             minus(patch.vertices[f.b], patch.vertices[f.c]));
    EXPECT_GT(norm(n), 0.05);
  }
}

TEST(CavityPatcher, Awkward_rings_are_closed) {
  std::vector<std::vector<MyPoint3>> rings;
  rings.push_back(circle(60, unit_edge_radius(60), 8.0));  // saddle
  std::vector<MyPoint3> helix;                             // three turns up, straight back down
  for (int i = 0; i < 90; ++i) {
    helix.push_back({3 * std::cos(0.2 * i), 3 * std::sin(0.2 * i), 0.05 * i});
  }
  for (int i = 1; i < 8; ++i) helix.push_back({4.5, -1.0, 4.5 - 0.56 * i});
  rings.push_back(helix);
  std::vector<MyPoint3> folded;  // a rectangle folded onto itself
  for (int i = 0; i < 20; ++i) folded.push_back({std::abs(i - 10.0), 0.0, i < 10 ? 0.01 : 0.0});
  for (int i = 19; i >= 0; --i) folded.push_back({std::abs(i - 10.0), 5.0, i < 10 ? 0.01 : 0.0});
  rings.push_back(folded);
  std::vector<MyPoint3> slit;  // out and back, almost closed
  for (int i = 0; i < 30; ++i) slit.push_back({1.0 * i, 0.002, 0.0});
  for (int i = 29; i >= 0; --i) slit.push_back({1.0 * i + 0.001, -0.002, 0.0});
  rings.push_back(slit);
  std::vector<MyPoint3> line;  // all on one straight line
  for (int i = 0; i < 12; ++i) line.push_back({static_cast<double>((i * 5) % 12), 0.0, 0.0});
  rings.push_back(line);
  for (std::size_t i = 0; i < rings.size(); ++i) {
    SCOPED_TRACE(i);
    const Hole hole = bare(rings[i]);
    expect_sound(hole, fill(hole));
    expect_sound(reversed(hole), fill(reversed(hole)));
  }
}

TEST(CavityPatcher, Large_rings_are_closed) {
  for (const int n : {240, 241, 300, 301, 1000}) {
    SCOPED_TRACE(n);
    const Hole hole = bare(circle(n, unit_edge_radius(n), 0.1 * unit_edge_radius(n)));
    expect_sound(hole, fill(hole));
  }
}

// Once round a drum, and back a little higher: no direction shows the ring without crossings.
TEST(CavityPatcher, Long_band_round_a_drum_is_closed) {
  Random random(11);
  std::vector<MyPoint3> band;
  const int half = 2500;
  for (int i = 0; i < 2 * half; ++i) {
    const bool up = i < half;
    const double a = 5.9 * (up ? i : 2 * half - 1 - i) / half;
    const double radius = half / 5.9 + 0.2 * random.uniform();
    band.push_back(
        {radius * std::cos(a), radius * std::sin(a), (up ? -2.0 : 2.0) + 0.3 * random.uniform()});
  }
  const Hole hole = bare(band);
  const Patch patch = fill(hole);
  expect_sound(hole, patch);
  // Over the drum's side, not across its inside.
  EXPECT_LT(total_area(patch), 1.1 * 4.0 * half);
}

// Rings through clouds of points, with region faces at random between ring and elsewhere.
TEST(CavityPatcher, Random_rings_and_regions_give_sound_patches) {
  for (std::uint64_t seed = 0; seed < 400; ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed);
    const auto pick = [&](int n) { return static_cast<int>((random.uniform() + 1) * 0.4999 * n); };
    Mesh mesh;
    const int n = 3 + pick(seed % 10 == 0 ? 120 : 20);
    const double height = seed % 3 == 0 ? 0.0 : 2.0;
    for (int i = 0; i < n + 10; ++i) {
      const double grain = seed % 4 == 0 ? 1.0 : 0.001;  // coarse: collinear and coplanar points
      const auto coordinate = [&](double reach) {
        return std::round(reach * random.uniform() / grain) * grain + (i * 1e-7);
      };
      mesh.points.push_back({coordinate(5), coordinate(5), coordinate(height)});
    }
    Hole hole = bare({mesh.points.begin(), mesh.points.begin() + n});
    for (int f = pick(3 * n); f > 0; --f) {
      append_face(mesh, {pick(n + 10), pick(n + 10), pick(n)}, hole.region);
    }
    expect_sound(hole, fill(hole));
    if (HasFatalFailure()) return;
  }
}

TEST(CavityPatcher, Extreme_coordinates_do_no_harm) {
  int filled = 0;
  for (const double scale : {1e-200, 1e-30, 1e30, 1e150, 1e300}) {
    SCOPED_TRACE(scale);
    Hole hole = wavy_disc(3.0);
    for (double& v : hole.ring) v *= scale;
    Hole far = hole;  // the region elsewhere, at another size
    for (double& v : hole.region) v *= scale;
    for (const Hole& h : {hole, far, bare(circle(30, scale))}) {
      const Patch patch = fill(h);
      if (patch.status < 0) {
        EXPECT_TRUE(patch.vertices.empty() && patch.faces.empty());
        continue;
      }
      ++filled;
      EXPECT_GE(patch.faces.size() + 2, static_cast<std::size_t>(h.ring_size()));
      for (const MyPoint3& p : patch.vertices) {
        EXPECT_TRUE(std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z));
      }
      for (const MyPoint3& n : patch.normals) EXPECT_NEAR(norm(n), 1.0, 1e-9);
    }
  }
  EXPECT_EQ(filled, 15);
}

TEST(CavityPatcher, Same_input_gives_the_same_bits) {
  const Hole hole = wavy_disc(6.0);
  const Patch first = fill(hole);
  const Patch second = fill(hole);
  ASSERT_GT(first.vertices.size(), 60U);
  ASSERT_GT(first.faces.size(), 120U);
  ASSERT_EQ(first.vertices.size(), second.vertices.size());
  for (std::size_t i = 0; i < first.vertices.size(); ++i) {
    EXPECT_EQ(first.vertices[i].x, second.vertices[i].x);
    EXPECT_EQ(first.vertices[i].y, second.vertices[i].y);
    EXPECT_EQ(first.vertices[i].z, second.vertices[i].z);
  }
  ASSERT_EQ(first.faces.size(), second.faces.size());
  for (std::size_t i = 0; i < first.faces.size(); ++i) {
    EXPECT_EQ(first.faces[i].a, second.faces[i].a);
    EXPECT_EQ(first.faces[i].b, second.faces[i].b);
    EXPECT_EQ(first.faces[i].c, second.faces[i].c);
  }
}

TEST(CavityPatcher, Size_and_place_of_the_ring_do_not_matter) {
  for (const double scale : {1e-6, 1.0, 1e6}) {
    Hole hole = wavy_disc(4.0);
    for (double& v : hole.ring) v = v * scale + 10.0 * scale;
    for (double& v : hole.region) v = v * scale + 10.0 * scale;
    const Patch patch = fill(hole);
    SCOPED_TRACE(scale);
    expect_sound(hole, patch);
    EXPECT_GT(patch.vertices.size(), 60u);
  }
}

// The open end of a tube with the outline of a lens. Walls that lean outwards by `lean` (radians
// from upright) send their tangents apart, and at the sharp tips against each other.
Hole lens_tube(double length, double width, double lean) {
  const int n = 2 * static_cast<int>(length);
  const int rows = 6;
  Mesh mesh;
  for (int row = 0; row < rows; ++row) {
    for (int i = 0; i < n; ++i) {
      const double t = 2 * pi * i / n;
      const double across = std::sin(t) * std::abs(std::sin(t));
      const double in = -row * std::sin(lean);
      const double side = 0.5 * width * across;
      mesh.points.push_back({(0.5 * length + in) * std::cos(t), side + in * across,
                             -row * std::cos(lean) + 0.05 * std::sin(3 * t)});
    }
  }
  Hole hole = bare({mesh.points.begin(), mesh.points.begin() + n});
  for (int row = 0; row + 1 < rows; ++row) {
    for (int i = 0; i < n; ++i) {
      const int next = (i + 1) % n;
      append_face(mesh, {row * n + next, row * n + i, (row + 1) * n + i}, hole.region);
      append_face(mesh, {row * n + next, (row + 1) * n + i, (row + 1) * n + next}, hole.region);
    }
  }
  return hole;
}

int folds(const Patch& patch) {
  std::map<std::pair<int, int>, std::size_t> face_on;
  for (std::size_t i = 0; i < patch.faces.size(); ++i) {
    const MyFace& f = patch.faces[i];
    face_on[{f.a, f.b}] = face_on[{f.b, f.c}] = face_on[{f.c, f.a}] = i;
  }
  int count = 0;
  for (const auto& [edge, face] : face_on) {
    const auto other = face_on.find({edge.second, edge.first});
    if (edge.first > edge.second || other == face_on.end()) continue;
    count += dot(patch.normals[face], patch.normals[other->second]) < 0.0;
  }
  return count;
}

TEST(CavityPatcher, A_slot_whose_tangents_disagree_is_closed_without_folds) {
  for (const double length : {20.0, 30.0, 40.0}) {
    for (const double width : {1.5, 3.0, 5.0, 8.0}) {
      for (const double lean : {-1.5, -1.0, -0.5, 0.8, 1.3, 1.6, 2.0, 2.5}) {
        SCOPED_TRACE(testing::Message() << length << " x " << width << ", lean " << lean);
        const Hole hole = lens_tube(length, width, lean);
        const Patch patch = fill(hole);
        expect_sound(hole, patch);
        EXPECT_EQ(folds(patch), 0);
      }
    }
  }
}

}  // namespace
