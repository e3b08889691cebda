// The trees aren't exported: this file is linked with their sources.
#include <memory>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

#include "peers/point_contestants.h"
#include "pivoting/kd_tree_impl.h"
#include "pivoting/search_index.h"
#include "scanmesh/ball_pivoting.h"

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

// What the process has allocated; 0 where the library of C doesn't tell. Resident memory won't do:
// memory that was released before is handed out again unseen.
double allocated_bytes() {
#if defined(__GLIBC__)
  const struct mallinfo2 info = mallinfo2();
  return static_cast<double>(info.uordblks) + static_cast<double>(info.hblkhd);
#else
  return 0;
#endif
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
  const double before = allocated_bytes();
  Tree tree;
  tree.build_tree(input.nodes.data(), static_cast<int>(input.nodes.size()), {}, {});
  return (allocated_bytes() - before) / static_cast<double>(set.points.size());
}

double scanmesh_x_tree_bytes(const demo::PointSet& set) {
  Records input(set);
  const double before = allocated_bytes();
  flann_kdtree::KdTreeX_Static tree;
  tree.rebuild(input.x_nodes.data(), input.x_nodes.size());
  return (allocated_bytes() - before) / static_cast<double>(set.points.size());
}

}  // namespace peers
