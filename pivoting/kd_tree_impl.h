// The operations of KdT::KdTree.
#ifndef SCANMESH_PIVOTING_KD_TREE_IMPL_H
#define SCANMESH_PIVOTING_KD_TREE_IMPL_H

#include <cassert>
#include <utility>

#include "pivoting/kd_tree_build.h"
#include "pivoting/kd_tree_search.h"
#include "pivoting/nearest_set.h"

namespace KdT {

template <typename T, int D>
void KdTree<T, D>::build_tree(T* points, int count, Distance distance_hook,
                              AxisDistance axis_hook) {
  assert(points != nullptr && count > 0);
  free_tree();
  own_metrics_ = !distance_hook && !axis_hook;
  distance = distance_hook ? std::move(distance_hook) : Distance(&metric_distance);
  axis_distance = axis_hook ? std::move(axis_hook) : AxisDistance(&metric_axis_distance);
  if (points != nullptr && count > 0) Builder(*this, points, count).run(points);
}

template <typename T, int D>
int KdTree<T, D>::find_nearest(T& query, int k, T** results) {
  if (k < 1 || nodes_.empty()) return 0;
  const auto collect = [&](auto& best) {
    best.farthest_first([&](int i, int32_t number) { results[i] = &element(number); });
    return best.size();
  };
  if (own_metrics_ && k <= scanmesh::SmallNearestSet::kMost) {
    scanmesh::SmallNearestSet best(k);
    if (QuickSearch(*this, query).run(best)) return collect(best);
  }
  scanmesh::LargeNearestSet best(k);
  return PlainSearch(*this, query).run(best) ? collect(best) : -1;
}

template <typename T, int D>
void KdTree<T, D>::free_tree() {
  std::vector<Node>().swap(nodes_);
  std::vector<T>().swap(points_);
  for (std::vector<float>& along : along_) std::vector<float>().swap(along);
}

template <typename T, int D>
double KdTree<T, D>::metric_distance(T* a, T* b) {
  double sum = 0;
  for (int d = 0; d < D; ++d) sum += metric_axis_distance(a, b, d);
  return sum;
}

template <typename T, int D>
double KdTree<T, D>::metric_axis_distance(T* a, T* b, int dimension) {
  const float difference = (*a)[dimension] - (*b)[dimension];
  return difference * difference;
}

}  // namespace KdT

#endif  // SCANMESH_PIVOTING_KD_TREE_IMPL_H
