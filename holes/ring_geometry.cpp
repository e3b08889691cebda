#include <algorithm>
#include <cmath>
#include <limits>

#include "holes/wavefront.h"
#include "scanmesh/curvature.h"

namespace scanmesh {

namespace {

constexpr double kFullCircle = 6.283185307179586;
constexpr double kSameAsCount = 1e-10;
constexpr double kThroughOrigin = 1e-30;

struct Matrix4 {
  double entry[4][4] = {};
  double* row[4] = {entry[0], entry[1], entry[2], entry[3]};
};

// The column of the least singular value. The value that equals the point count belongs to the
// constant term, not to a direction.
int least_column(const double w[4], int n) {
  int best = -1;
  for (const bool skip_count : {true, false}) {
    for (int k = 0; k < 4; ++k) {
      if (skip_count && std::fabs(w[k] - n) <= kSameAsCount) continue;
      if (best < 0 || w[k] <= w[best]) best = k;
    }
    if (best >= 0) break;
  }
  return best < 0 ? 0 : best;
}

}  // namespace

int fit_hole_plane(const double (*points)[3], int n, double out[3]) {
  if (n <= 0) return 0;
  double center[3] = {0, 0, 0};
  for (int i = 0; i < n; ++i) {
    for (int k = 0; k < 3; ++k) center[k] += points[i][k];
  }
  for (double& value : center) value /= n;
  Matrix4 a;
  for (int i = 0; i < n; ++i) {
    const double q[4] = {points[i][0] - center[0], points[i][1] - center[1],
                         points[i][2] - center[2], 1.0};
    for (int r = 0; r < 4; ++r) {
      for (int c = 0; c < 4; ++c) a.entry[r][c] += q[r] * q[c];
    }
  }
  Matrix4 v;
  double w[4] = {0, 0, 0, 0};
  Svd_Decompose(a.row, 4, 4, w, v.row);
  const int column = least_column(w, n);
  const double e[3] = {v.entry[0][column], v.entry[1][column], v.entry[2][column]};
  const double h = v.entry[3][column] - (e[0] * center[0] + e[1] * center[1] + e[2] * center[2]);
  const bool off_origin = std::fabs(h) > kThroughOrigin;
  for (int k = 0; k < 3; ++k) out[k] = off_origin ? e[k] / h : e[k];
  return off_origin ? 1 : 0;
}

double corner_angle(const Vec3f& apex, const Vec3f& p, const Vec3f& q) {
  const Vec3f u = sub(p, apex);
  const Vec3f w = sub(q, apex);
  const double lengths = length(u) * length(w);
  if (lengths == 0) return 0;
  return std::acos(std::clamp(dot_double(u, w) / lengths, -1.0, 1.0));
}

double opening_angle(const Mesh_R::_vert* vert) {
  double sum = 0;
  for (int i = 0; i < vert->face_num; ++i) {
    const Mesh_R::_vert* first = nullptr;
    const Mesh_R::_vert* last = nullptr;
    for (const Mesh_R::_vert* corner : vert->face[i]->vert) {
      if (corner == vert) continue;
      if (first == nullptr) first = corner;
      last = corner;
    }
    if (first != nullptr) sum += corner_angle(vert->point, first->point, last->point);
  }
  return sum >= kFullCircle ? 0 : kFullCircle - sum;
}

SmallestValue::SmallestValue(const std::vector<double>& values)
    : leaves_(1), size_(static_cast<int>(values.size())) {
  while (leaves_ < values.size()) leaves_ *= 2;
  tree_.assign(2 * leaves_, {std::numeric_limits<double>::infinity(), -1});
  for (std::size_t i = 0; i < values.size(); ++i) {
    tree_[leaves_ + i] = {values[i], static_cast<int>(i)};
  }
  for (std::size_t node = leaves_ - 1; node > 0; --node) pull_up(node);
}

int SmallestValue::smallest() const {
  return tree_[1].place;
}

void SmallestValue::pull_up(std::size_t node) {
  const Entry& left = tree_[2 * node];
  const Entry& right = tree_[2 * node + 1];
  const bool take_right = left.place < 0 || (right.place >= 0 && right.value < left.value);
  tree_[node] = take_right ? right : left;
}

void SmallestValue::set(int i, double value) {
  std::size_t node = leaves_ + static_cast<std::size_t>(i);
  tree_[node] = {value, i};
  while ((node /= 2) > 0) pull_up(node);
}

void SmallestValue::remove(int i) {
  const int last = --size_;
  const double moved = at(last);
  std::size_t node = leaves_ + static_cast<std::size_t>(last);
  tree_[node].place = -1;
  while ((node /= 2) > 0) pull_up(node);
  if (i != last) set(i, moved);
}

}  // namespace scanmesh
