// Discrete curvature at a vertex, and the singular value routine for small dense matrices.
#ifndef SCANMESH_CURVATURE_H
#define SCANMESH_CURVATURE_H

#include <utility>

#include "scanmesh/export.h"
#include "scanmesh/stores.h"

/// Mean and Gaussian curvature (H, K) of a vertex: a quarter of the sum of dihedral angle times
/// edge length, and the angle deficit, both over a third of the area around unless `raw`. H is
/// unsigned. With `replace` the answer is the one that would hold with the vertex `moved` at
/// `*moved_position`; otherwise the last two arguments aren't read. `stored_normals` takes the
/// faces' own normals.
SCANMESH_API std::pair<double, double> GetHK(Mesh_R::_vert* v, bool stored_normals, bool raw,
                                             bool replace, Mesh_R::_vert* moved,
                                             MemS::Point3v<float>* moved_position);

/// Decomposes `a` (rows x cols, row pointers) into U diag(w) V transposed; U replaces `a`, the
/// columns of `v` follow `w`, in no particular order. 0 on success. (Golub and Reinsch 1970.)
SCANMESH_API int Svd_Decompose(double** a, int rows, int cols, double* w, double** v);

#endif  // SCANMESH_CURVATURE_H
