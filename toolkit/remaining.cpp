#include "toolkit/remaining.h"

#include "toolkit/contact.h"
#include "toolkit/topology.h"
#include "toolkit/validity.h"
#include "toolkit/vector_math.h"

namespace scanmesh {
namespace {

class Places {
 public:
  Places(const TriangleMesh& mesh, std::size_t most) : mesh_(mesh), most_(most) {}

  void add(const char* defect, std::int32_t face) {
    if (found_.size() >= most_) return;
    const Triangle& t = mesh_.triangles[static_cast<std::size_t>(face)];
    Point middle;
    for (const std::int32_t v : t) middle = middle + mesh_.points[static_cast<std::size_t>(v)];
    found_.push_back({defect, face, middle * (1.0 / 3)});
  }
  std::vector<Remaining> take() { return std::move(found_); }

 private:
  const TriangleMesh& mesh_;
  std::size_t most_;
  std::vector<Remaining> found_;
};

void add_edges(const TriangleMesh& mesh, Places& places) {
  const EdgeTable edges(mesh.triangles, mesh.points.size());
  for (std::size_t e = 0; e < edges.count(); ++e) {
    const std::int32_t side = edges.side(edges.begin(e));
    if (edges.valence(e) == 1) places.add("open_edges", side / 3);
    if (edges.valence(e) > 2) places.add("nonmanifold_edges", side / 3);
    if (edges.valence(e) == 2 && side_start(mesh.triangles, edges.side(edges.begin(e) + 1)) ==
                                     side_start(mesh.triangles, side)) {
      places.add("twisted_edges", side / 3);
    }
  }
}

}  // namespace

std::vector<Remaining> remaining_places(const TriangleMesh& mesh, const Health& health,
                                        std::size_t most) {
  Places places(mesh, most);
  add_edges(mesh, places);
  for (const std::int32_t f : copies_of_earlier(mesh.triangles, mesh.points.size())) {
    places.add("duplicate_faces", f);
  }
  for (std::size_t f = 0; f < mesh.triangles.size(); ++f) {
    const Triangle& t = mesh.triangles[f];
    if (finite_corners(mesh.points, t) && degenerate(mesh.points, t)) {
      places.add("degenerate_faces", static_cast<std::int32_t>(f));
    }
  }
  if (health.self_intersections > 0) {
    for (const Intersection& pair : find_self_intersections(mesh)) {
      places.add("self_intersections", pair.first);
    }
  }
  return places.take();
}

}  // namespace scanmesh
