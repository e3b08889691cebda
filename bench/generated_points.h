// Clean samplings of surfaces of known shape, spacing about 1.
#ifndef SCANMESH_BENCH_GENERATED_POINTS_H
#define SCANMESH_BENCH_GENERATED_POINTS_H

#include "support/point_set.h"

namespace bench {

/// A spiral over a sphere.
demo::PointSet sphere_points(int count);

/// A torus whose tube is a third as thick as its ring, in rows whose number of points follows the
/// row's length.
demo::PointSet torus_points(int count);

/// An open field of gentle waves on an uneven grid; row by row, or in no order.
enum class Order { rows, shuffled };
demo::PointSet wavy_points(int count, Order order = Order::rows);

}  // namespace bench

#endif  // SCANMESH_BENCH_GENERATED_POINTS_H
