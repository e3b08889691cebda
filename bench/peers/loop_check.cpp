// Whether one round of Loop subdivision of a closed mesh gives the points that OpenMesh gives.
//   peers_loop_check [FILE.stl]      a wavy ball without a file
#include <OpenMesh/Core/Mesh/TriMesh_ArrayKernelT.hh>
#include <OpenMesh/Tools/Subdivider/Uniform/LoopT.hh>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <vector>

#include "peers/comparison.h"
#include "scanmesh/mesh.h"

namespace {

using TriMesh = OpenMesh::TriMesh_ArrayKernelT<>;
using Point = std::array<double, 3>;

std::vector<Point> by_openmesh(const peers::IndexedMesh& source) {
  TriMesh mesh;
  std::vector<TriMesh::VertexHandle> handles;
  for (std::size_t i = 0; i + 2 < source.points.size(); i += 3) {
    handles.push_back(mesh.add_vertex(
        TriMesh::Point(source.points[i], source.points[i + 1], source.points[i + 2])));
  }
  for (std::size_t i = 0; i + 2 < source.corners.size(); i += 3) {
    mesh.add_face(handles[source.corners[i]], handles[source.corners[i + 1]],
                  handles[source.corners[i + 2]]);
  }
  OpenMesh::Subdivider::Uniform::LoopT<TriMesh> loop;
  loop.attach(mesh);
  loop(1);
  loop.detach();
  std::vector<Point> points;
  for (const auto v : mesh.vertices()) {
    const TriMesh::Point& p = mesh.point(v);
    points.push_back({p[0], p[1], p[2]});
  }
  return points;
}

std::vector<Point> by_scanmesh(const peers::IndexedMesh& source) {
  Mesh_M::Mesh mesh;
  std::vector<float> points(source.points);
  std::vector<int> corners(source.corners.begin(), source.corners.end());
  mesh.rebuild(points.data(), static_cast<int>(points.size() / 3), corners.data(),
               static_cast<int>(corners.size() / 3));
  fmx::sub_mid facets = mesh.Mesh_loop_subdividion_step1();
  Mesh_M::Mesh made;
  Mesh_M::Mesh* target = &made;
  mesh.Mesh_loop_subdividion_step2(target, facets);
  delete[] facets.faces;
  std::vector<Point> result;
  for (int i = 0; i < made.vertex.get_vertnum(); ++i) {
    const auto& p = made.vertex[i]->point;
    result.push_back({p.x, p.y, p.z});
  }
  return result;
}

// Farthest from a point of `from` to the nearest of `to`, which is sorted by x.
double farthest(const std::vector<Point>& from, const std::vector<Point>& to, double reach) {
  double worst = 0;
  for (const Point& p : from) {
    double best = 1e30;
    auto near = std::lower_bound(to.begin(), to.end(), Point{p[0] - reach, -1e30, -1e30});
    for (; near != to.end() && (*near)[0] <= p[0] + reach; ++near) {
      best = std::min(best, std::hypot((*near)[0] - p[0], (*near)[1] - p[1], (*near)[2] - p[2]));
    }
    worst = std::max(worst, best);
  }
  return worst;
}

peers::IndexedMesh wavy_ball() {
  peers::IndexedMesh mesh;
  const int rows = 40;
  const int columns = 48;  // OpenMesh knows its weights up to a valence of 50
  const auto put = [&mesh](double polar, double turn) {
    const double r = 50 + 4 * std::sin(5 * polar) * std::cos(3 * turn);
    mesh.points.push_back(static_cast<float>(r * std::sin(polar) * std::cos(turn)));
    mesh.points.push_back(static_cast<float>(r * std::sin(polar) * std::sin(turn)));
    mesh.points.push_back(static_cast<float>(r * std::cos(polar)));
  };
  const double pi = std::acos(-1.0);
  put(0, 0);
  for (int j = 1; j < rows; ++j) {
    for (int i = 0; i < columns; ++i) put(pi * j / rows, 2 * pi * i / columns);
  }
  put(pi, 0);
  const auto at = [=](int j, int i) {
    return static_cast<unsigned>(1 + (j - 1) * columns + i % columns);
  };
  const auto last = static_cast<unsigned>(1 + (rows - 1) * columns);
  for (int i = 0; i < columns; ++i) {
    mesh.corners.insert(mesh.corners.end(), {0U, at(1, i), at(1, i + 1)});
    mesh.corners.insert(mesh.corners.end(), {last, at(rows - 1, i + 1), at(rows - 1, i)});
    for (int j = 1; j + 1 < rows; ++j) {
      mesh.corners.insert(mesh.corners.end(), {at(j, i), at(j + 1, i), at(j + 1, i + 1)});
      mesh.corners.insert(mesh.corners.end(), {at(j, i), at(j + 1, i + 1), at(j, i + 1)});
    }
  }
  return mesh;
}

}  // namespace

int main(int argc, char** argv) {
  const peers::IndexedMesh source = argc > 1 ? peers::read_indexed(argv[1]) : wavy_ball();
  std::vector<Point> ours = by_scanmesh(source);
  std::vector<Point> theirs = by_openmesh(source);
  std::sort(ours.begin(), ours.end());
  std::sort(theirs.begin(), theirs.end());
  float low = 0;
  float high = 0;
  for (const float x : source.points) {
    low = std::min(low, x);
    high = std::max(high, x);
  }
  const double size = static_cast<double>(high) - low;
  const double reach = 1e-3 * size;
  const double worst = std::max(farthest(ours, theirs, reach), farthest(theirs, ours, reach));
  std::printf("%zu and %zu points; farthest apart %.2e of the size\n", ours.size(), theirs.size(),
              worst / size);
  return ours.size() == theirs.size() && worst < 1e-4 * size ? 0 : 1;
}
