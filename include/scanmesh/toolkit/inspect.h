// What is wrong with a mesh, told exactly: on the stored coordinates, without tolerances.
#ifndef SCANMESH_TOOLKIT_INSPECT_H
#define SCANMESH_TOOLKIT_INSPECT_H

#include <cstdint>
#include <string>
#include <vector>

#include "scanmesh/toolkit/error.h"
#include "scanmesh/toolkit/export.h"
#include "scanmesh/toolkit/triangle_mesh.h"

namespace scanmesh {

/// How two triangles meet beyond the corners and edges that they share.
enum class Contact {
  none,
  cross,    // each has corners on both sides of the other: they pass through one another
  touch,    // they meet in points or along a line, without passing through
  overlap,  // they lie in one plane and share area
  doubled   // they have the same three corners
};

/// Two triangles that meet where they should not.
struct Intersection {
  std::int32_t first = 0;  // the smaller number of the two
  std::int32_t second = 0;
  Contact contact = Contact::none;

  bool operator==(const Intersection& other) const {
    return first == other.first && second == other.second && contact == other.contact;
  }
};

/// The state of a mesh in numbers.
struct Health {
  std::int64_t vertices = 0;  // points that triangles use
  std::int64_t faces = 0;
  std::int64_t components = 0;            // faces that hang together by edges
  std::int64_t open_edges = 0;            // with one face
  std::int64_t nonmanifold_edges = 0;     // with more than two faces
  std::int64_t twisted_edges = 0;         // two faces that run along it in the same direction
  std::int64_t nonmanifold_vertices = 0;  // whose faces don't hang together by edges at the vertex
  std::int64_t duplicate_faces = 0;       // with the corners of an earlier face, in any order
  std::int64_t degenerate_faces = 0;      // a corner twice, or exactly no area
  std::int64_t nonfinite_faces = 0;       // with a corner that isn't finite
  std::int64_t self_intersections = 0;    // pairs of faces; of good faces only
  std::int64_t inward_components = 0;     // closed ones whose inside is out, cavities counted right
  std::int64_t rings = 0;                 // closed walks of open edges
  std::int64_t genus = -1;                // handles, holes closed in mind; -1 where not manifold
  double volume = 0;                      // signed
  double area = 0;
  double mean_edge = 0;
  Box box;

  /// No open edge: every edge has two faces or more.
  bool closed() const { return faces > 0 && open_edges == 0; }
  /// Every edge has one or two faces, every vertex one fan of them.
  bool manifold() const {
    return nonmanifold_edges == 0 && nonmanifold_vertices == 0 && duplicate_faces == 0 &&
           degenerate_faces == 0 && nonfinite_faces == 0;
  }
  /// Neighbours agree on which side is out.
  bool oriented() const { return twisted_edges == 0; }
  /// Closed, manifold and oriented: what many programs mean by "watertight".
  bool watertight() const { return closed() && nonmanifold_edges == 0 && oriented(); }
  /// Watertight and manifold, outside out, and free of self-intersections.
  bool healthy() const {
    return watertight() && manifold() && inward_components == 0 && self_intersections == 0;
  }
  /// Healthy but for its openings.
  bool healthy_but_open() const {
    return faces > 0 && manifold() && oriented() && inward_components == 0 &&
           self_intersections == 0;
  }
};

struct InspectOptions {
  /// Judges the mesh as a file of floats has it: points rounded, equal ones joined.
  bool as_stored_in_floats = false;
  Progress progress;
};

/// Looks at everything that Health names. Points at the same position are different vertices, as
/// they are in the mesh: weld a soup first. Throws Error(invalid_mesh) for a triangle that names
/// a point that isn't there. Uses all processors.
SCANMESH_TOOLKIT_API Health inspect(const TriangleMesh& mesh, const InspectOptions& options = {});

/// A sentence: "healthy: closed, manifold, oriented, no self-intersections", or what is wrong.
SCANMESH_TOOLKIT_API std::string describe(const Health& health);

/// The health as a JSON object, the names as above.
SCANMESH_TOOLKIT_API std::string to_json(const Health& health);

/// All pairs of triangles that meet beyond what they share, by number. Degenerate triangles and
/// those that aren't finite are left out.
SCANMESH_TOOLKIT_API std::vector<Intersection> find_self_intersections(
    const TriangleMesh& mesh, const Progress& progress = {});

/// The closed walks along open edges, as positions in `points`, in the direction in which a patch
/// would run. A vertex that is met twice splits the walk.
SCANMESH_TOOLKIT_API std::vector<std::vector<std::int32_t>> find_rings(const TriangleMesh& mesh);

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_INSPECT_H
