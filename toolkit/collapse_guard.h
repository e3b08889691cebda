// What a collapse may not do to the shape: fold, flatten, cross.
#ifndef SCANMESH_TOOLKIT_COLLAPSE_GUARD_H
#define SCANMESH_TOOLKIT_COLLAPSE_GUARD_H

#include <cstdint>
#include <optional>
#include <vector>

#include "toolkit/collapse_boxes.h"
#include "toolkit/collapse_mesh.h"

namespace scanmesh {

class CollapseGuard {
 public:
  // Looks for contacts where it is told to.
  CollapseGuard(CollapseMesh& mesh, bool contacts);

  // Whether u and v may become one vertex at `at`: no triangle turns by more than 80 degrees or
  // loses its area, and no more pairs of triangles meet than before.
  bool admits(std::int32_t u, std::int32_t v, const Point& at, const EdgeStar& star);
  // After a collapse.
  void follow(const EdgeStar& star) {
    if (boxes_) boxes_->follow(star);
  }

 private:
  struct FacePlane;
  struct Moved {
    std::int32_t face;
    Triangle corners;
    Point area;
    FloatBox box;
  };

  bool turns_little(const Moved& moved) const;
  void gather_moved(std::int32_t u, std::int32_t v, const EdgeStar& star);
  bool seen_from_one_side(std::int32_t u, bool closed) const;
  int contacts_within() const;
  int contacts_around(std::int32_t u, std::int32_t v);
  int contacts_before(std::int32_t u, std::int32_t v, const EdgeStar& star);

  CollapseMesh& mesh_;
  std::optional<CollapseBoxes> boxes_;
  std::vector<Moved> moved_;
  std::vector<std::int32_t> near_;
};

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_COLLAPSE_GUARD_H
