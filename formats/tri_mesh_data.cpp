#include <new>

#include "scanmesh/ply_reader.h"

namespace ply_reader_writer {

namespace {

// An array of the object: values unset, null when it isn't wanted.
template <typename T>
void make(T*& array, bool& has, int count, int width, bool wanted) {
  has = wanted;
  if (wanted) array = new T[static_cast<std::size_t>(count) * static_cast<std::size_t>(width)];
}

}  // namespace

TriMeshData::TriMeshData() = default;

TriMeshData::~TriMeshData() {
  free();
}

void TriMeshData::free() {
  const auto drop = [](auto*& array) {
    delete[] array;
    array = nullptr;
  };
  drop(xyz);
  drop(ijk);
  drop(rgba);
  drop(uv);
  drop(flags);
  drop(faceindex);
  drop(faceuv);
  drop(facergba);
  hasnormal = hascolor = hastexcoord = hasflags = hasfacetexcoord = hasfacecolor = false;
}

int TriMeshData::initData(int nvertex, int nface, bool normals, bool colors, bool texcoords,
                          bool with_flags, bool facetex, bool facecolor) {
  constexpr int kOutOfMemory = -2;
  free();
  nb_vertex = nvertex;
  nb_face = nface;
  if (nvertex < 0 || nface < 0) return kOutOfMemory;
  try {
    bool always = true;
    make(xyz, always, nvertex, 3, true);
    make(faceindex, always, nface, 3, true);
    make(ijk, hasnormal, nvertex, 3, normals);
    make(rgba, hascolor, nvertex, 4, colors);
    make(uv, hastexcoord, nvertex, 2, texcoords);
    make(flags, hasflags, nvertex, 1, with_flags);
    make(faceuv, hasfacetexcoord, nface, 6, facetex);
    make(facergba, hasfacecolor, nface, 4, facecolor);
  } catch (const std::bad_alloc&) {
    free();
    return kOutOfMemory;
  }
  return 0;
}

void TriMeshData::settexfilename(const std::wstring& name) {
  texfilename = name;
}

}  // namespace ply_reader_writer
