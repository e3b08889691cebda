// Openings of any size at any place of small meshes, also of such as no scanner makes; every rule
// between the records is checked after each, and that nothing is written that isn't a number.
#include <cmath>
#include <memory>
#include <vector>

#include "fuzz/chosen_soup.h"
#include "fuzz/loaded_mesh.h"
#include "scanmesh/mesh.h"

namespace {

using fuzz::InputBytes;
using fuzz::require;
using Mesh_R::_vert;
using Floats = std::vector<float>;

constexpr int kMostOpenings = 8;
constexpr int kMostFaces = 4000;

Floats direction(InputBytes& bytes) {
  const float x = static_cast<float>(bytes.byte() % 16) - 8;
  const float y = static_cast<float>(bytes.byte() % 16) - 8;
  const float z = static_cast<float>(bytes.byte() % 16) - 7.5F;
  const float length = std::sqrt(x * x + y * y + z * z);
  return {x / length, y / length, z / length};
}

// At a vertex along its normal, near it, or anywhere.
void choose_place(Mesh_M::Mesh& mesh, InputBytes& bytes, Floats& centre, Floats& normal) {
  const int way = bytes.byte() % 3;
  const auto offset = [&bytes] { return static_cast<float>(bytes.byte()) / 32 - 4; };
  centre = {0, 0, 0};
  normal = direction(bytes);
  const int count = mesh.vertex.get_vertnum();
  if (way < 2 && count > 0) {
    const _vert* const vert = mesh.vertex[bytes.below(count)];
    centre = {vert->point.x, vert->point.y, vert->point.z};
    if (vert->state != Mesh_R::kStateDeleted) {
      normal = {vert->vector.x, vert->vector.y, vert->vector.z};
    }
  }
  if (way == 0) return;
  for (float& coordinate : centre) coordinate += way == 1 ? 0.1F * offset() : offset();
}

void open_once(Mesh_M::Mesh& mesh, InputBytes& bytes) {
  Floats centre;
  Floats normal;
  choose_place(mesh, bytes, centre, normal);
  const auto size = [&bytes] { return Floats{static_cast<float>(bytes.byte()) / 40}; };
  const int kind = bytes.byte() % 4;
  const bool wall = bytes.byte() % 2 == 1;
  const float depth = static_cast<float>(bytes.byte()) / 32 - 0.5F;
  const Floats a = size();
  const Floats b = size();
  const Floats c = {a[0] + size()[0]};
  constexpr float kSpacing = 0.6F;
  const Floats dir = direction(bytes);
  switch (kind) {
    case 0: {
      _vert tool;
      tool.point = {centre[0], centre[1], centre[2]};
      tool.vector = {normal[0], normal[1], normal[2]};
      mesh.trimWithCircle(a[0], kSpacing, &tool);
      break;
    }
    case 1:
      mesh.trimWithCircle(a, c, kSpacing, centre, normal, depth, wall);
      break;
    case 2:
      mesh.trimWithOval(a, b, c, kSpacing, centre, normal, dir, depth, wall);
      break;
    default:
      mesh.trimWithRectangle(a, b, c, kSpacing, centre, normal, dir, depth, wall);
  }
}

void require_numbers(Mesh_M::Mesh& mesh) {
  for (int i = 0, n = mesh.vertex.get_vertnum(); i < n; ++i) {
    const _vert& v = *mesh.vertex[i];
    if (v.state == Mesh_R::kStateDeleted) continue;
    require(std::isfinite(v.point.x + v.point.y + v.point.z), "positions that are numbers");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  InputBytes bytes(data, size);
  const auto mesh = test_support::welded(fuzz::chosen_soup(bytes));
  mesh->setResolutionParam({1.0F, 0.5F, false});
  mesh->inlin_inalize_mesh();
  for (int i = 0; i < kMostOpenings && !bytes.empty(); ++i) {
    if (mesh->face.real_num > kMostFaces) break;
    open_once(*mesh, bytes);
    fuzz::require_adjacency(*mesh, "adjacency after an opening");
    require_numbers(*mesh);
  }
  mesh->build_hole();
  mesh->destroy_hole();
  return 0;
}
