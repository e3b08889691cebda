#include <memory>

#include "peers/point_contestants.h"
#include "point_arrays.h"
#include "scanmesh/ball_pivoting.h"
#include "scanmesh/mesh.h"
#include "scanmesh/x_ball_pivoting.h"

namespace peers {
namespace {

demo::Surface surface_of(Mesh_R::Vertex& vertices, Mesh_R::Face& faces) {
  demo::Surface surface;
  for (int i = 0; i < vertices.get_vertnum(); ++i) {
    const auto& p = vertices[i]->point;
    surface.points.push_back({p.x, p.y, p.z});
  }
  for (int i = 0; i < faces.get_facenum(); ++i) {
    const Mesh_R::_face& face = *faces[i];
    if (face.state == Mesh_R::kStateDeleted) continue;
    surface.faces.push_back({vertices.get_vert_no(face.vert[0]), vertices.get_vert_no(face.vert[1]),
                             vertices.get_vert_no(face.vert[2])});
  }
  return surface;
}

struct BallRun {
  MemS::MemAllo<float[3]> points;
  MemS::MemAllo<float[3]> normals;
  BPA::Ball_Pivoting ball;
  demo::Surface* result;

  ~BallRun() {
    if (result != nullptr) *result = surface_of(ball.vert_store, ball.face_store);
    ball.free();
  }
};

struct XBallRun {
  MemS::MemAllo<float[3]> points;
  MemS::MemAllo<float[3]> normals;
  Mesh_M::Mesh mesh;
  xbpa::XBallPivoting ball;
  demo::Surface* result;

  ~XBallRun() {
    if (result != nullptr) *result = surface_of(mesh.vertex, mesh.face);
  }
};

}  // namespace

Contestant scanmesh_ball(const demo::PointSet& set, demo::Surface* result) {
  return {"scanmesh, Ball_Pivoting", [&set, result]() -> Job {
            auto run = std::make_shared<BallRun>();
            run->points = bench::array_of(set.points);
            run->normals = bench::array_of(set.normals);
            run->result = result;
            return [run, count = static_cast<int>(set.points.size())]() -> long long {
              run->ball.init(1);
              run->ball.build_mesh(run->points, run->normals, count);
              return run->ball.face_store.real_num;
            };
          }};
}

Contestant scanmesh_x_ball(const demo::PointSet& set, demo::Surface* result) {
  return {"scanmesh, XBallPivoting", [&set, result]() -> Job {
            auto run = std::make_shared<XBallRun>();
            run->points = bench::array_of(set.points);
            run->normals = bench::array_of(set.normals);
            run->result = result;
            return [run, count = static_cast<int>(set.points.size())]() -> long long {
              run->mesh.inalize();
              run->ball.setDataPointer(&run->mesh.face, &run->mesh.vertex, &run->mesh.edge);
              run->ball.init(1);
              run->ball.build_mesh(run->points, run->normals, count);
              return run->mesh.face.real_num;
            };
          }};
}

}  // namespace peers
