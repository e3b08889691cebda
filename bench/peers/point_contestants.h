// Who takes part in making meshes of points, and in finding neighbours.
#ifndef SCANMESH_BENCH_PEERS_POINT_CONTESTANTS_H
#define SCANMESH_BENCH_PEERS_POINT_CONTESTANTS_H

#include <array>
#include <string>
#include <vector>

#include "peers/comparison.h"
#include "support/point_set.h"

namespace peers {

/// The radii that the reconstructors take for points of spacing 1.
constexpr std::array<double, 5> kBallRadii{0.45, 1.05, 1.5, 2.25, 3};

// Ball pivoting over points of spacing 1; `result` receives the faces. `set` outlives the
// contestant.
Contestant scanmesh_ball(const demo::PointSet& set, demo::Surface* result);
Contestant scanmesh_x_ball(const demo::PointSet& set, demo::Surface* result);
Contestant open3d_ball(const demo::PointSet& set, demo::Surface* result);

// Building a tree, and finding the 16 nearest of every point. The "faces" are the neighbours.
Contestant scanmesh_tree(const demo::PointSet& set);
Contestant scanmesh_x_tree(const demo::PointSet& set);
Contestant open3d_tree(const demo::PointSet& set);
Contestant cgal_tree(const demo::PointSet& set);

/// Bytes per point that the trees take, once built.
double scanmesh_tree_bytes(const demo::PointSet& set);
double scanmesh_x_tree_bytes(const demo::PointSet& set);

constexpr int kNeighbours = 16;

}  // namespace peers

#endif  // SCANMESH_BENCH_PEERS_POINT_CONTESTANTS_H
