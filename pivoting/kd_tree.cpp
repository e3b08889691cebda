#include "pivoting/kd_tree_impl.h"
#include "scanmesh/ball_pivoting.h"

template class KdT::KdTree<BPA::Ball_Pivoting::T_node, 3>;
