// The trees aren't exported: this file is linked with their sources.
#include <memory>

#include "peers/point_contestants.h"
#include "pivoting/kd_tree_impl.h"
#include "pivoting/search_index.h"
#include "scanmesh/ball_pivoting.h"
#include "support/console.h"

namespace peers {
namespace {

using Node = BPA::Ball_Pivoting::T_node;
using Tree = KdT::KdTree<Node, 3>;

struct Records {
  std::vector<Mesh_R::_vert> records;
  std::vector<Node> nodes;
  std::vector<xbpa::XPointNode> x_nodes;

  explicit Records(const demo::PointSet& set) : records(set.points.size()) {
    for (std::size_t i = 0; i < records.size(); ++i) {
      const demo::Vec3& p = set.points[i];
      records[i].point = {static_cast<float>(p.x), static_cast<float>(p.y),
                          static_cast<float>(p.z)};
      nodes.emplace_back(&records[i]);
      x_nodes.push_back({&records[i], 0});
    }
  }
};

double bytes_per_point(double before_mib, const demo::PointSet& set) {
  constexpr double kMebibyte = 1024.0 * 1024.0;
  return (demo::resident_memory_mib() - before_mib) * kMebibyte /
         static_cast<double>(set.points.size());
}

}  // namespace

Contestant scanmesh_tree(const demo::PointSet& set) {
  return {"scanmesh, KdTree", [&set]() -> Job {
            auto input = std::make_shared<Records>(set);
            return [input]() -> long long {
              Tree tree;
              tree.build_tree(input->nodes.data(), static_cast<int>(input->nodes.size()), {}, {});
              Node* found[kNeighbours];
              long long neighbours = 0;
              for (Node& query : input->nodes) {
                neighbours += tree.find_nearest(query, kNeighbours, found);
              }
              return neighbours;
            };
          }};
}

Contestant scanmesh_x_tree(const demo::PointSet& set) {
  return {"scanmesh, KdTreeX_Static", [&set]() -> Job {
            auto input = std::make_shared<Records>(set);
            return [input]() -> long long {
              flann_kdtree::KdTreeX_Static tree;
              tree.rebuild(input->x_nodes.data(), input->x_nodes.size());
              std::vector<std::size_t> indices;
              std::vector<float> distances;
              long long neighbours = 0;
              for (const xbpa::XPointNode& query : input->x_nodes) {
                neighbours +=
                    static_cast<long long>(tree.knnSearch(query, kNeighbours, indices, distances));
              }
              return neighbours;
            };
          }};
}

double scanmesh_tree_bytes(const demo::PointSet& set) {
  Records input(set);
  const double before = demo::resident_memory_mib();
  Tree tree;
  tree.build_tree(input.nodes.data(), static_cast<int>(input.nodes.size()), {}, {});
  return bytes_per_point(before, set);
}

double scanmesh_x_tree_bytes(const demo::PointSet& set) {
  Records input(set);
  const double before = demo::resident_memory_mib();
  flann_kdtree::KdTreeX_Static tree;
  tree.rebuild(input.x_nodes.data(), input.x_nodes.size());
  return bytes_per_point(before, set);
}

}  // namespace peers
