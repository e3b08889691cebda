#include "peers/hole_cases.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "support/random.h"

namespace peers {
namespace {

using demo::Vec3;
using Map = std::function<Vec3(double, double)>;
using Inside = std::function<bool(const Vec3&)>;

constexpr double pi = 3.14159265358979323846;
constexpr double row_height = 0.8660254037844386;
constexpr double jitter = 0.15;

struct Lattice {
  int columns = 0;
  int rows = 0;
  bool wrap_columns = false;
  bool wrap_rows = false;
};

// A triangular lattice with unit edges, its points shaken a little, mapped to space.
demo::Surface map_lattice(const Lattice& size, const Map& map) {
  demo::Random random(7);
  demo::Surface surface;
  const int width = size.columns + (size.wrap_columns ? 0 : 1);
  const int height = size.rows + (size.wrap_rows ? 0 : 1);
  for (int j = 0; j < height; ++j) {
    for (int i = 0; i < width; ++i) {
      const double u = i + 0.5 * (j % 2) + random.uniform(-jitter, jitter);
      const double v = j + random.uniform(-jitter, jitter);
      surface.points.push_back(map(u, v));
    }
  }
  const auto at = [&](int i, int j) { return (j % height) * width + i % width; };
  for (int j = 0; j < size.rows; ++j) {
    for (int i = 0; i < size.columns; ++i) {
      const int a = at(i, j);
      const int b = at(i + 1, j);
      const int c = at(i, j + 1);
      const int d = at(i + 1, j + 1);
      surface.faces.push_back(j % 2 == 0 ? demo::Corners{a, b, c} : demo::Corners{a, b, d});
      surface.faces.push_back(j % 2 == 0 ? demo::Corners{b, d, c} : demo::Corners{a, d, c});
    }
  }
  return surface;
}

void shake(demo::Surface& surface, const Noise& noise) {
  demo::Random random(noise.seed);
  for (Vec3& p : surface.points) {
    const Vec3 error{random.normal(), random.normal(), random.normal()};
    p = p + error * noise.size;
  }
}

// Takes out every face with a corner inside.
HoleCase cut(std::string name, demo::Surface surface, const Inside& inside, Implicit truth,
             const Noise& noise) {
  HoleCase result;
  result.name = std::move(name) + (noise.size > 0 ? ", noisy" : "");
  result.truth = std::move(truth);
  std::vector<char> touched(surface.points.size(), 0);
  std::vector<char> removed(surface.points.size(), 0);
  for (std::size_t v = 0; v < surface.points.size(); ++v) removed[v] = inside(surface.points[v]);
  std::vector<demo::Corners> kept;
  for (const demo::Corners& f : surface.faces) {
    const bool out = removed[f[0]] != 0 || removed[f[1]] != 0 || removed[f[2]] != 0;
    if (!out) kept.push_back(f);
    if (!out) continue;
    for (const int v : f) touched[v] = removed[v] == 0;
  }
  shake(surface, noise);
  const auto rim = std::find(touched.begin(), touched.end(), 1);
  result.rim_point = surface.points[static_cast<std::size_t>(rim - touched.begin())];
  surface.faces = std::move(kept);
  demo::drop_unused_points(surface);
  result.surface = std::move(surface);
  return result;
}

struct HeightField {
  const char* name;
  double (*height)(double, double);
};

constexpr HeightField height_fields[] = {
    {"saddle", [](double x, double y) { return 0.02 * (x * x - y * y); }},
    {"waves", [](double x, double y) { return std::sin(0.21 * x) * std::cos(0.17 * y); }},
    {"high waves",
     [](double x, double y) { return 2 * std::sin(0.15 * x + 0.5) * std::cos(0.12 * y + 0.3); }},
    {"dome", [](double x, double y) { return -0.02 * x * x - 0.01 * y * y; }},
    {"cubic",
     [](double x, double y) { return 0.002 * x * x * x - 0.003 * x * y * y + 0.01 * x * y; }},
};

std::string sized(const std::string& name, const char* shape, double size) {
  return name + ", " + shape + " " + std::to_string(static_cast<int>(size));
}

void add_height_field(const HeightField& field, const Noise& noise, std::vector<HoleCase>& cases) {
  constexpr int side = 60;
  const auto height = field.height;
  const auto surface = [height] {
    return map_lattice({side, side + 8, false, false}, [height](double u, double v) {
      const double x = u - 0.5 * side;
      const double y = (v - 0.5 * side) * row_height;
      return Vec3{x, y, height(x, y)};
    });
  };
  const Implicit truth = [height](const Vec3& p) { return p.z - height(p.x, p.y); };
  for (const double radius : {3.0, 6.0, 12.0}) {
    const Inside disc = [radius](const Vec3& p) { return std::hypot(p.x, p.y) < radius; };
    cases.push_back(cut(sized(field.name, "disc", radius), surface(), disc, truth, noise));
  }
  const Inside slot = [](const Vec3& p) { return std::fabs(p.x) < 15 && std::fabs(p.y) < 3; };
  cases.push_back(cut(std::string(field.name) + ", slot", surface(), slot, truth, noise));
}

void add_cylinder(const Noise& noise, std::vector<HoleCase>& cases) {
  constexpr int round = 60;
  constexpr double radius = round / (2 * pi);
  const auto surface = [] {
    return map_lattice({round, round, true, false}, [](double u, double v) {
      const double angle = u / radius;
      return Vec3{radius * std::cos(angle), radius * std::sin(angle), (v - 30) * row_height};
    });
  };
  const Implicit truth = [](const Vec3& p) { return std::hypot(p.x, p.y) - radius; };
  const auto across = [](const Vec3& p) { return std::atan2(p.y, p.x) * radius; };
  for (const double size : {3.0, 6.0, 10.0}) {
    const Inside disc = [=](const Vec3& p) { return std::hypot(across(p), p.z) < size; };
    cases.push_back(cut(sized("cylinder", "disc", size), surface(), disc, truth, noise));
  }
  const Inside around = [=](const Vec3& p) {
    return std::fabs(across(p)) < 17 && std::fabs(p.z) < 2;
  };
  const Inside along = [=](const Vec3& p) {
    return std::fabs(across(p)) < 2.5 && std::fabs(p.z) < 17;
  };
  cases.push_back(cut("cylinder, slot around", surface(), around, truth, noise));
  cases.push_back(cut("cylinder, slot along", surface(), along, truth, noise));
}

void add_torus(const Noise& noise, std::vector<HoleCase>& cases) {
  constexpr int tube_edges = 40;
  constexpr double tube = tube_edges * row_height / (2 * pi);
  constexpr double large = 16;
  constexpr int long_edges = static_cast<int>(2 * pi * large);
  const auto point = [](double along, double around) {
    const double out = large + tube * std::cos(around);
    return Vec3{out * std::cos(along), out * std::sin(along), tube * std::sin(around)};
  };
  const auto surface = [&] {
    return map_lattice({long_edges, tube_edges, true, true}, [&](double u, double v) {
      return point(u * 2 * pi / long_edges, v * 2 * pi / tube_edges);
    });
  };
  const Implicit truth = [](const Vec3& p) {
    return std::hypot(std::hypot(p.x, p.y) - large, p.z) - tube;
  };
  const std::pair<const char*, double> sides[] = {
      {"torus, outside", 0.0}, {"torus, top", 0.5 * pi}, {"torus, inside", pi}};
  for (const auto& [name, around] : sides) {
    const Vec3 centre = point(0, around);
    for (const double size : {3.0, 5.0, 8.0}) {
      const Inside disc = [=](const Vec3& p) { return demo::distance(p, centre) < size; };
      cases.push_back(cut(sized(name, "disc", size), surface(), disc, truth, noise));
    }
  }
}

// Equal-area map of the plane to the sphere, so that edges stay near 1.
void add_sphere(double radius, int side, const Noise& noise, std::vector<HoleCase>& cases) {
  const auto surface = [=] {
    const int rows = static_cast<int>(side * 1.15);
    return map_lattice({side, rows, false, false}, [=](double u, double v) {
      const double x = u - 0.5 * side;
      const double y = (v - 0.5 * rows) * row_height;
      const double away = std::hypot(x, y);
      const double angle = 2 * std::asin(std::min(0.995, away / (2 * radius)));
      const double stretch = away > 0 ? radius * std::sin(angle) / away : 1;
      return Vec3{x * stretch, y * stretch, radius * std::cos(angle)};
    });
  };
  const Implicit truth = [radius](const Vec3& p) { return demo::length(p) - radius; };
  for (const double degrees : {20.0, 45.0, 70.0, 90.0}) {
    if (radius < 10 && degrees > 80) continue;  // too little would be left around it
    const double level = radius * std::cos(degrees * pi / 180);
    const Inside cap = [level](const Vec3& p) { return p.z > level; };
    const std::string name = "sphere of radius " + std::to_string(static_cast<int>(radius));
    cases.push_back(cut(sized(name, "cap of", degrees) + "°", surface(), cap, truth, noise));
  }
}

Vec3 gradient(const Implicit& surface, const Vec3& p) {
  constexpr double step = 1e-5;
  const auto slope = [&](const Vec3& direction) {
    return (surface(p + direction * step) - surface(p - direction * step)) / (2 * step);
  };
  return {slope({1, 0, 0}), slope({0, 1, 0}), slope({0, 0, 1})};
}

}  // namespace

double signed_distance(const Implicit& surface, const Vec3& p) {
  return surface(p) / demo::length(gradient(surface, p));
}

Vec3 true_normal(const Implicit& surface, const Vec3& p) {
  return demo::unit(gradient(surface, p));
}

std::vector<HoleCase> hole_cases(const Noise& noise) {
  std::vector<HoleCase> cases;
  for (const HeightField& field : height_fields) add_height_field(field, noise, cases);
  add_cylinder(noise, cases);
  add_torus(noise, cases);
  add_sphere(8, 34, noise, cases);
  add_sphere(20, 84, noise, cases);
  return cases;
}

HoleCase round_strip(int ring_edges) {
  const double radius = ring_edges / (2 * pi);
  const double wave = 2 * pi / radius;
  const auto height = [=](double x, double y) {
    return 0.1 * radius * std::sin(wave * x) * std::cos(wave * y);
  };
  HoleCase result;
  result.name = std::to_string(ring_edges);
  result.truth = [height](const Vec3& p) { return p.z - height(p.x, p.y); };
  result.surface = map_lattice({ring_edges, 4, true, false}, [=](double u, double v) {
    const double out = radius + v * row_height;
    const double x = out * std::cos(u / radius);
    const double y = out * std::sin(u / radius);
    return Vec3{x, y, height(x, y)};
  });
  result.rim_point = result.surface.points.front();
  return result;
}

}  // namespace peers
