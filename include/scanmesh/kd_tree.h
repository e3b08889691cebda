// The k-d tree that a BPA::Ball_Pivoting holds.
#ifndef SCANMESH_KD_TREE_H
#define SCANMESH_KD_TREE_H

#include <cstdint>
#include <functional>
#include <vector>

namespace KdT {

/// Median-split tree with one point in every node (Bentley 1975). T is a copyable element that
/// gives its coordinate in dimension 0 to D - 1, a float, by operator[].
///
/// Nodes, elements and their coordinates lie in arrays of the same order. Built by one thread; a
/// built tree may be searched by many at once.
template <typename T, int D>
class KdTree {
 public:
  using Distance = std::function<double(T*, T*)>;
  using AxisDistance = std::function<double(T*, T*, int)>;

  int32_t bin_count = 1000;    // bins of the histogram that narrows a median search down
  Distance distance;           // squared distance
  AxisDistance axis_distance;  // squared distance along one dimension

  /// Builds the tree over copies of `count` elements; what it held before is gone. An empty hook
  /// stands for metric_distance, or metric_axis_distance. Without elements the tree is empty.
  void build_tree(T* points, int count, Distance distance_hook, AxisDistance axis_hook);

  /// The `k` elements nearest to the query, farthest first, as pointers to the tree's own elements;
  /// elements at equal distance come in any order. `results` has room for k. Returns their number,
  /// or -1 when the way down to the query is longer than 1000 nodes, with `results` as it was.
  /// After the way down 10000 further nodes are looked at, at most; beyond that the result is
  /// approximate.
  int find_nearest(T& query, int k, T** results);

  /// Releases the nodes.
  void free_tree();

  /// Differences and squares in float, their sum in double.
  static double metric_distance(T* a, T* b);
  /// Difference and square in float.
  static double metric_axis_distance(T* a, T* b, int dimension);

  /// A node. Its subtree is the stretch of `size` nodes that begins with it: the left child
  /// follows directly, the right one behind the left subtree.
  struct Node {
    float at;           // coordinate of its point on split_dim
    int32_t split_dim;  // 0 in a leaf
    float min_val;      // over the subtree, its own point included, on split_dim
    float max_val;
    int32_t size;
    int32_t right;        // number of the right child, 0 for none
    uint16_t crossed[D];  // see crossed_nodes() below
  };
  int node_count() const { return static_cast<int>(nodes_.size()); }
  const Node& node(int number) const { return nodes_[static_cast<std::size_t>(number)]; }
  /// Numbers of the children, 0 where there is none.
  int left(int number) const {
    const Node& n = node(number);
    return n.size > 1 && n.right != number + 1 ? number + 1 : 0;
  }
  int right(int number) const { return node(number).right; }
  T& element(int number) { return points_[static_cast<std::size_t>(number)]; }

  /// How many nodes of a subtree a search can meet that doesn't go beyond any node that splits on
  /// `dimension`; up to 65535.
  int crossed_nodes(int number, int dimension) const { return node(number).crossed[dimension]; }

 private:
  class Builder;
  class Search;
  class PlainSearch;
  class QuickSearch;

  std::vector<Node> nodes_;
  std::vector<T> points_;
  std::vector<float> along_[D];  // coordinates of the points, and some room behind them
  bool own_metrics_ = true;
};

}  // namespace KdT

#endif  // SCANMESH_KD_TREE_H
