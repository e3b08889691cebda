// Cutting a flat list of triangles along a curve. It knows no mesh store.
#ifndef SCANMESH_TRIMMING_CURVE_TRIMMER_H
#define SCANMESH_TRIMMING_CURVE_TRIMMER_H

#include <mutex>
#include <vector>

#include "trimming/curve_shapes.h"

namespace qv {
namespace maac {
namespace xtirm_mesh {

// What takes the place of the faces that were cut.
struct ModifyFaceData {
  std::vector<float> corners;  // nine per new triangle
  std::vector<float> normals;  // three per new triangle
  std::vector<int> parents;    // per new triangle, the face that it came from
  std::vector<int> deleted;    // faces that are replaced, or simply gone
};

// Cuts with eight tasks each. The points are pointCount x 3, the normals faceCount x 3 floats, the
// triangles faceCount x 3 indices, all the caller's. Corners inside the curve, as seen along its
// axis, are cut away; a face that crosses it is replaced by its parts outside. Only corners decide:
// a curve that lies within one face leaves it whole. With `wall`, a wall hangs from the cut,
// `depth` along the axis. `out` is cleared and keeps its memory; it comes in the order of the
// faces, the triangles of a face together.
//
// 0; -1 for another shape than the name says, -2 for a wall of a depth that is negative or
// not finite, with `out` as it was. A curve that is too small cuts nothing.
class XTrimWithCurve {
 public:
  int trim_circle(FBase* shape, const float* points, const int& pointCount, const float* normals,
                  const int* triangles, const int& faceCount, ModifyFaceData& out, float depth,
                  bool wall);
  int trim_oval(FBase* shape, const float* points, const int& pointCount, const float* normals,
                const int* triangles, const int& faceCount, ModifyFaceData& out, float depth,
                bool wall);
  int trim_rectangle(FBase* shape, const float* points, const int& pointCount, const float* normals,
                     const int* triangles, const int& faceCount, ModifyFaceData& out, float depth,
                     bool wall);

 private:
  using Worker = void (XTrimWithCurve::*)(FBase*, int&, const float*, const int&, const float*,
                                          const int*, const int&, ModifyFaceData&, float, bool);

  int run(int kind, Worker worker, FBase* shape, const float* points, const int& pointCount,
          const float* normals, const int* triangles, const int& faceCount, ModifyFaceData& out,
          float depth, bool wall);
  template <typename Shape>
  void work(FBase* shape, int& cursor, const float* points, const int& pointCount,
            const float* normals, const int* triangles, const int& faceCount, ModifyFaceData& out,
            float depth, bool wall);

  std::mutex cursor_lock_;
  std::mutex out_lock_;
};

}  // namespace xtirm_mesh
}  // namespace maac
}  // namespace qv

#endif  // SCANMESH_TRIMMING_CURVE_TRIMMER_H
