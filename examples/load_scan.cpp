#include "load_scan.h"

#include <cmath>
#include <cstdio>

#include "support/stl_file.h"

namespace demo {

bool load_scan(const std::string& path, Mesh_M::Mesh& mesh) {
  switch (stl_kind(path)) {
    case StlKind::binary: {
      File file(std::fopen(path.c_str(), "rb"));
      if (!file || mesh.input_data(file.get()) != 0) return false;
      static_cast<void>(file.release());  // a reader that succeeds has closed it
      return true;
    }
    case StlKind::ascii: {
      const File file = plain_ascii_stl(path);
      return file && mesh.input_data_ASCII(file.get());
    }
    default:
      return false;
  }
}

bool save_scan(const std::string& path, Mesh_M::Mesh& mesh) {
  if (!File(std::fopen(path.c_str(), "wb"))) return false;
  mesh.output_STL(path.c_str());
  return true;
}

double mean_edge_length(Mesh_M::Mesh& mesh) {
  double sum = 0;
  long long count = 0;
  for (int i = 0; i < mesh.edge.get_edgenum(); ++i) {
    const Mesh_R::_edge& edge = *mesh.edge[i];
    if (edge.state == Mesh_R::kStateDeleted) continue;
    const MemS::Point3v<float>& a = edge.vert[0]->point;
    const MemS::Point3v<float>& b = edge.vert[1]->point;
    sum += std::hypot(double{a.x} - b.x, double{a.y} - b.y, double{a.z} - b.z);
    ++count;
  }
  return count == 0 ? 0 : sum / static_cast<double>(count);
}

void drop(Mesh_M::obj_triangle* record) {
  delete[] record->points;
  delete[] record->vectors;
  delete[] record->verts;
  delete[] record->index;
  delete[] record->face_vectors;
  delete record;
}

}  // namespace demo
