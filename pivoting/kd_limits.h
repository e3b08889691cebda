// The numbers of KdT::KdTree.
#ifndef SCANMESH_PIVOTING_KD_LIMITS_H
#define SCANMESH_PIVOTING_KD_LIMITS_H

namespace KdT {

namespace kd_limits {
constexpr int kHistogramFrom = 129;    // points from which on a histogram pays
constexpr int kCountedUpTo = 8;        // points up to which counting beats sorting
constexpr int kLongestDescent = 1000;  // nodes
constexpr int kMostPops = 10000;
constexpr int kBlock = 16;  // nodes of a subtree that is searched as a whole
}  // namespace kd_limits

}  // namespace KdT

#endif  // SCANMESH_PIVOTING_KD_LIMITS_H
