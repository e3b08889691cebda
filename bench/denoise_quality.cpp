// How close denoised meshes come to the truth: Gaussian noise along the vertex normals of meshes
// that are taken as true, then the toolkit's denoise and the engine's filters. Angles are between
// the normals of faces and those of the truth, weighted by area of the truth; distances are to the
// true surface and back, in percent of the mean edge.
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "scanmesh/toolkit/toolkit.h"
#include "support/console.h"

namespace {

using scanmesh::Point;
using scanmesh::TriangleMesh;

Point difference(const Point& a, const Point& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
Point cross(const Point& a, const Point& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
double dot(const Point& a, const Point& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

Point area_of(const TriangleMesh& mesh, const scanmesh::Triangle& t) {
  const Point& a = mesh.points[static_cast<std::size_t>(t[0])];
  return cross(difference(mesh.points[static_cast<std::size_t>(t[1])], a),
               difference(mesh.points[static_cast<std::size_t>(t[2])], a));
}

TriangleMesh with_noise(const TriangleMesh& truth, double deviation, unsigned seed) {
  std::vector<Point> normals(truth.points.size());
  for (const scanmesh::Triangle& t : truth.triangles) {
    const Point area = area_of(truth, t);
    for (const std::int32_t v : t) {
      Point& n = normals[static_cast<std::size_t>(v)];
      n = {n.x + area.x, n.y + area.y, n.z + area.z};
    }
  }
  std::mt19937 random(seed);
  std::normal_distribution<double> shake(0, deviation);
  TriangleMesh noisy = truth;
  for (std::size_t v = 0; v < noisy.points.size(); ++v) {
    const double size = std::sqrt(dot(normals[v], normals[v]));
    const double by = size > 0 ? shake(random) / size : 0;
    Point& p = noisy.points[v];
    p = {p.x + by * normals[v].x, p.y + by * normals[v].y, p.z + by * normals[v].z};
  }
  return noisy;
}

// Mean angle between the faces' normals, degrees.
double normal_error(const TriangleMesh& truth, const TriangleMesh& mesh) {
  double sum = 0;
  double count = 0;
  for (const scanmesh::Triangle& t : truth.triangles) {
    const Point a = area_of(truth, t);
    const Point b = area_of(mesh, t);
    const double sizes = std::sqrt(dot(a, a) * dot(b, b));
    if (!(sizes > 0)) continue;
    sum += std::acos(std::fmax(-1, std::fmin(1, dot(a, b) / sizes)));
    count += 1;
  }
  return sum / count * 180 / M_PI;
}

struct Way {
  const char* name;
  std::function<TriangleMesh(const TriangleMesh&)> run;
};

TriangleMesh filtered(const TriangleMesh& mesh, scanmesh::Filter filter, int level) {
  scanmesh::SmoothOptions options;
  options.filter = filter;
  options.level = level;
  return scanmesh::smooth(mesh, options);
}

std::vector<Way> ways(bool all) {
  std::vector<Way> list{
      {"denoise", [](const TriangleMesh& m) { return scanmesh::denoise(m).mesh; }}};
  if (!all) return list;
  list.push_back({"taubin 10",
                  [](const TriangleMesh& m) { return filtered(m, scanmesh::Filter::taubin, 10); }});
  list.push_back({"bilateral 3", [](const TriangleMesh& m) {
                    return filtered(m, scanmesh::Filter::bilateral, 3);
                  }});
  list.push_back({"two-step 2", [](const TriangleMesh& m) {
                    return filtered(m, scanmesh::Filter::two_step, 2);
                  }});
  list.push_back(
      {"fast 5", [](const TriangleMesh& m) { return filtered(m, scanmesh::Filter::fast, 5); }});
  return list;
}

void add_rows(demo::Table& table, const std::string& name, const TriangleMesh& truth, double share,
              bool all) {
  const double edge = scanmesh::inspect(truth).mean_edge;
  const TriangleMesh noisy = with_noise(truth, share * edge, 1);
  const double before = normal_error(truth, noisy);
  const double found = scanmesh::denoise(noisy, {0, 0, {}}).noise_before / edge;
  for (const Way& way : ways(all)) {
    const auto start = std::chrono::steady_clock::now();
    const TriangleMesh result = way.run(noisy);
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    const double off = scanmesh::compare(truth, result).mean / edge * 100;
    table.add({name, demo::number(share, 1), demo::number(found, 3), demo::number(before, 2),
               way.name, demo::number(normal_error(truth, result), 2), demo::number(off, 2),
               demo::number(took.count(), 2)});
  }
}

}  // namespace

int main(int argc, char** argv) {
  const bool all = argc > 1 && std::string(argv[1]) == "--all";
  if (argc < (all ? 3 : 2)) {
    std::fputs("usage: denoise_quality [--all] MESH...\n  --all: the engine's filters too\n",
               stderr);
    return 2;
  }
  demo::Table table({"mesh", "noise, edges", "found", "error before", "way", "error after",
                     "distance, % of an edge", "seconds"});
  for (int i = all ? 2 : 1; i < argc; ++i) {
    const std::string path = argv[i];
    const TriangleMesh truth = scanmesh::read_mesh(path);
    for (const double share : {0.0, 0.1, 0.2, 0.5}) {
      add_rows(table, path.substr(path.rfind('/') + 1), truth, share, all);
    }
  }
  std::printf("%s", table.text().c_str());
  return 0;
}
