// Rounds of parting and untangling until nothing meets.
#ifndef SCANMESH_TOOLKIT_INTERSECTION_ROUNDS_H
#define SCANMESH_TOOLKIT_INTERSECTION_ROUNDS_H

#include <limits>

#include "scanmesh/toolkit/inspect.h"
#include "toolkit/patch_making.h"

namespace scanmesh {

// What passes through itself is parted along the line where it does, and what lies inside goes; the
// small places that rounding leaves of it, and open meshes, are cut out and filled anew. Both in
// turns, as long as that helps.
class IntersectionRounds {
 public:
  // `weld` in mesh units: what is joined after a cut.
  IntersectionRounds(WorkMesh& mesh, const Ground& ground, double weld)
      : mesh_(mesh), ground_(ground), weld_(weld) {}

  // Turns shells outward and works on what meets. Whether another round may help.
  bool round(const Progress& progress);
  // Turns shells outward, if the mesh was changed since the last round found nothing; the number
  // turned.
  std::int64_t turn(bool changed);

  std::int64_t pairs_at_first() const { return at_first_; }
  std::int64_t pairs_now() const { return now_; }
  std::int64_t inside_faces() const { return inside_faces_; }
  std::int64_t turned_shells() const { return turned_shells_; }

 private:
  std::vector<Intersection> pairs_that_meet();
  bool progresses(std::size_t pairs);
  bool part();
  bool closed() const;

  WorkMesh& mesh_;
  Ground ground_;
  double weld_;
  int round_ = 0;
  bool looked_ = false;
  std::size_t fewest_pairs_ = std::numeric_limits<std::size_t>::max();
  int rounds_without_ = 0;
  std::int64_t at_first_ = 0;
  std::int64_t now_ = 0;
  std::int64_t inside_faces_ = 0;
  std::int64_t turned_shells_ = 0;
};

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_INTERSECTION_ROUNDS_H
