// Moving points: smoothing, denoising, spikes. Triangles stay as they are.
#ifndef SCANMESH_TOOLKIT_FILTERS_H
#define SCANMESH_TOOLKIT_FILTERS_H

#include <cstdint>

#include "scanmesh/toolkit/error.h"
#include "scanmesh/toolkit/export.h"
#include "scanmesh/toolkit/triangle_mesh.h"

namespace scanmesh {

/// The engine's filters.
enum class Filter {
  taubin,     // level: rounds, 1 and more; smooths everything, keeps the volume
  bilateral,  // level 0 to 3; keeps edges
  two_step,   // level 0 to 3; keeps edges, several rounds
  fast        // level 1 to 6; keeps features
};

struct SmoothOptions {
  Filter filter = Filter::taubin;
  int level = 10;
  Progress progress;
};
/// The mesh with other positions, in the same order; what isn't finite afterwards, and points
/// without triangles, stays where it was. Throws Error(invalid_argument) for a level out of range.
/// New positions have the precision of floats about the middle of the mesh's box: they are the
/// engine's. What it leaves alone keeps its doubles. Normals, where the mesh has them, follow. The
/// result doesn't depend on the mesh's unit. The engine hears Cancelled at the end of its call.
SCANMESH_TOOLKIT_API TriangleMesh smooth(const TriangleMesh& mesh,
                                         const SmoothOptions& options = {});

struct DenoiseOptions {
  /// 0 leaves the mesh, 1 takes out as much as the noise that is found allows.
  double strength = 0.5;
  /// Points move at most this far, mesh units; 0 for three times the noise that is found.
  double max_displacement = 0;
  Progress progress;
};
struct DenoiseResult {
  TriangleMesh mesh;
  double noise_before = 0;  // estimated, mesh units: spread of points along the normal
  double noise_after = 0;
  double largest_move = 0;   // mesh units
  double volume_change = 0;  // relative; 0 for an open mesh
};
/// Takes noise out and keeps edges sharp: normals are filtered with the help of the most even patch
/// around each face (Zhang, Deng, Zhang, Bouaziz, Liu 2015), then points follow (Sun, Rosin,
/// Martin, Langbein 2007). A shape that is curved throughout, on which that makes facets, is
/// smoothed evenly instead (Taubin 1995), until points have moved as far as the noise explains.
/// Points of open edges stay. The volume of a closed mesh is kept within 0.1 % as far as the limit
/// of displacement lets it; no face is turned over. A mesh without noise stays as it is, and so
/// does one whose roughness differs from place to place so much that it may be detail:
/// `noise_before` is 0 then. Uses all processors.
SCANMESH_TOOLKIT_API DenoiseResult denoise(const TriangleMesh& mesh,
                                           const DenoiseOptions& options = {});

/// Levels single spikes and pits. `level` 0 to 100, the more the more aggressive; throws
/// Error(invalid_argument) for others. Order and count are kept: a spike on three faces, which the
/// engine takes away, is moved like the others. Progress is told before and after the engine's
/// call.
SCANMESH_TOOLKIT_API TriangleMesh remove_spikes(const TriangleMesh& mesh, int level = 50,
                                                const Progress& progress = {});

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_FILTERS_H
