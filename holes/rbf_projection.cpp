#include "holes/rbf_projection.h"

#include <vector>

#include "core/dense_solver.h"
#include "core/messages.h"

namespace scanmesh {

namespace {

constexpr int kMostAnchors = 3000;
constexpr int kMostSteps = 50;

}  // namespace

void rbf_project_vert(RbfContext& context, const Vec3f* anchors, const Vec3f* offset_anchors,
                      int count, Vec3f* positions, int& n) {
  std::vector<Vec3f> points(anchors, anchors + count);
  points.insert(points.end(), offset_anchors, offset_anchors + count);
  context.points = points.data();
  rbf_solve(context, context.points, count, positions, n);
  context.points = nullptr;
}

void rbf_solve(RbfContext& context, const Vec3f* points, int count, Vec3f* positions, int& n) {
  if (count > kMostAnchors) {
    n = 0;
    return;
  }
  rbf_set_size(context, count);
  std::vector<double> weights = rbf_right_side(context);
  if (!solve_dense(rbf_matrix(context, points, RbfRounding::kFloat), weights)) {
    // Hosts' logs hold this line.
    print_message(Channel::output_flushed, "求逆失败\n");
    n = 0;
    return;
  }
  for (int i = 0; i < n; ++i) {
    positions[i] = rbf_settle(context, points, weights.data(), positions[i], kMostSteps);
  }
}

}  // namespace scanmesh
