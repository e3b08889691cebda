// STL into a mesh: corners first, so that the octree's cube is known, then welding.
#include <algorithm>
#include <new>

#include "core/platform.h"
#include "core/soup_building.h"
#include "core/vector_math.h"
#include "formats/reading_failure.h"
#include "formats/stl_parsing.h"
#include "scanmesh/mesh.h"

namespace Mesh_M {

using scanmesh::FacetCorners;
using scanmesh::Vec3f;

namespace {

constexpr int kRead = 0;
constexpr int kNotEnoughMemory = -1;
constexpr int kNoFacetCount = -2;
constexpr int kBadFacetCount = -3;

struct Extent {
  Vec3f low{0, 0, 0};
  Vec3f high{0, 0, 0};
  bool empty = true;

  void include(const Vec3f& p) {
    if (empty) {
      low = high = p;
      empty = false;
      return;
    }
    low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
    high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
  }
  // Halved before the sum and the difference, so that wild coordinates don't overflow; that rounds
  // no differently.
  Vec3f middle() const {
    return {low.x * 0.5F + high.x * 0.5F, low.y * 0.5F + high.y * 0.5F,
            low.z * 0.5F + high.z * 0.5F};
  }
  float half() const {
    return std::max(
        {high.x * 0.5F - low.x * 0.5F, high.y * 0.5F - low.y * 0.5F, high.z * 0.5F - low.z * 0.5F});
  }
};

// A facet with a corner that isn't finite is dropped later, and has no say here either: the others
// load as they would without it.
Extent extent_of(const FacetCorners& corners) {
  Extent extent;
  for (std::size_t i = 0; i + 2 < corners.size(); i += 3) {
    const Vec3f* const facet = &corners[i];
    if (!scanmesh::finite(facet[0]) || !scanmesh::finite(facet[1]) || !scanmesh::finite(facet[2])) {
      continue;
    }
    for (int corner = 0; corner < 3; ++corner) extent.include(facet[corner]);
  }
  return extent;
}

void insert_facets(Mesh& mesh, FacetCorners& corners) {
  const Extent extent = extent_of(corners);
  mesh.center = extent.middle();
  mesh.inalize_oct(mesh.center, extent.half());
  mesh.face.real_num = 0;  // of what the mesh held before nothing is left
  // The normal of a file is never used: the mesh makes its own.
  scanmesh::Soup soup;
  soup.count = static_cast<int>(corners.size() / 3);
  if (soup.count > 0) soup.first = &corners.front().x;
  scanmesh::insert_soup(mesh, soup);
}

}  // namespace

int Mesh::input_data(FILE* stream) {
  if (!scanmesh::memory_suffices(scanmesh::memory_status())) return kNotEnoughMemory;
  // A host that passes on a failed open loses the call, not the process.
  if (stream == nullptr) return kNoFacetCount;
  int32_t count = 0;
  const scanmesh::StlHead head = scanmesh::read_binary_stl_count(stream, count);
  if (head == scanmesh::StlHead::kNoCount) return kNoFacetCount;
  if (head == scanmesh::StlHead::kBadCount) return kBadFacetCount;
  try {
    FacetCorners corners;
    scanmesh::read_binary_stl_facets(stream, count, corners);
    std::fclose(stream);
    insert_facets(*this, corners);
  } catch (const std::bad_alloc&) {
    scanmesh::free_after_failure(*this);
    return kNotEnoughMemory;
  }
  return kRead;
}

bool Mesh::input_data_ASCII(FILE* stream) {
  if (stream == nullptr) return false;
  if (!scanmesh::memory_suffices(scanmesh::memory_status())) return false;
  try {
    FacetCorners corners;
    if (!scanmesh::read_ascii_stl_facets(stream, corners)) return false;
    insert_facets(*this, corners);
  } catch (const std::bad_alloc&) {
    scanmesh::free_after_failure(*this);
    return false;
  }
  return true;
}

}  // namespace Mesh_M
