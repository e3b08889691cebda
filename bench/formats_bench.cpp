// Reading and writing mesh files.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "generated_surfaces.h"
#include "mesh_from_surface.h"
#include "scanmesh/mesh.h"
#include "scanmesh/mesh_block.h"
#include "scanmesh/ply_reader.h"
#include "support/stl_file.h"

namespace {

// A file in the directory for temporary files that is gone when the benchmark ends.
class Scratch {
 public:
  Scratch() {
    const char* const directory = std::getenv("TMPDIR");
    path_ = std::string(directory == nullptr ? "/tmp" : directory) + "/scanmesh_bench_" +
            std::to_string(getpid()) + ".stl";
  }
  ~Scratch() { std::remove(path_.c_str()); }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

void count_bytes(benchmark::State& state, long faces) {
  state.SetItemsProcessed(static_cast<long>(state.iterations()) * faces);
  state.SetBytesProcessed(static_cast<long>(state.iterations()) * (84 + 50 * faces));
}

void ReadBinaryStl(benchmark::State& state) {
  const Scratch scratch;
  if (!bench::write_wavy_grid(scratch.path(), static_cast<int>(state.range(0)))) {
    state.SkipWithError("can't write the input");
    return;
  }
  long faces = 0;
  for (auto step : state) {
    Mesh_M::Mesh mesh;
    if (mesh.input_data(std::fopen(scratch.path().c_str(), "rb")) != 0) {
      state.SkipWithError("can't read the input");
      break;
    }
    faces = mesh.face.real_num;
    mesh.inalize_mesh();
  }
  count_bytes(state, faces);
}
BENCHMARK(ReadBinaryStl)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

void ReadAsciiStl(benchmark::State& state) {
  const Scratch scratch;
  const auto triangles = demo::triangles_of(bench::wavy_grid(static_cast<int>(state.range(0))));
  {
    const demo::File file(std::fopen(scratch.path().c_str(), "wb"));
    if (!file) {
      state.SkipWithError("can't write the input");
      return;
    }
    std::fputs("solid grid\n", file.get());
    for (const demo::Triangle& t : triangles) {
      std::fputs("facet normal 0 0 1\nouter loop\n", file.get());
      for (const demo::Vec3& p : t)
        std::fprintf(file.get(), "vertex %.7g %.7g %.7g\n", p.x, p.y, p.z);
      std::fputs("endloop\nendfacet\n", file.get());
    }
    std::fputs("endsolid grid\n", file.get());
  }
  for (auto step : state) {
    Mesh_M::Mesh mesh;
    const demo::File file(std::fopen(scratch.path().c_str(), "rb"));
    if (!mesh.input_data_ASCII(file.get())) {
      state.SkipWithError("can't read the input");
      break;
    }
    mesh.inalize_mesh();
  }
  state.SetItemsProcessed(static_cast<long>(state.iterations()) *
                          static_cast<long>(triangles.size()));
}
BENCHMARK(ReadAsciiStl)->Arg(10000)->Unit(benchmark::kMillisecond);

void WriteBinaryStl(benchmark::State& state) {
  const Scratch scratch;
  const auto mesh = bench::mesh_from(bench::wavy_grid(static_cast<int>(state.range(0))));
  for (auto step : state) mesh->output_STL(scratch.path().c_str());
  count_bytes(state, mesh->face.real_num);
}
BENCHMARK(WriteBinaryStl)->Arg(100000)->Unit(benchmark::kMillisecond)->UseRealTime();

// The grid as PLY: ASCII as the library writes it, binary by way of a block.
void write_ply(const Scratch& scratch, int faces, bool binary) {
  const auto mesh = bench::mesh_from(bench::wavy_grid(faces));
  const std::wstring path(scratch.path().begin(), scratch.path().end());
  if (!binary) {
    mesh->output_PLY(path.c_str());
    return;
  }
  std::vector<std::vector<Mesh_R::_face*>> blocks(1);
  for (int i = 0; i < mesh->face.get_facenum(); ++i) blocks[0].push_back(mesh->face[i]);
  Mesh_M::MeshBlockData data;
  Mesh_M::MeshBlock::getMeshBlock(mesh.get(), blocks, {}, data);
  Mesh_M::MeshBlock::outputPLYFormMeshBlock(data, path);
}

// Into flat arrays.
void read_ply(benchmark::State& state, bool binary) {
  const Scratch scratch;
  write_ply(scratch, static_cast<int>(state.range(0)), binary);
  const std::wstring path(scratch.path().begin(), scratch.path().end());
  long faces = 0;
  for (auto step : state) {
    ply_reader_writer::PLY_Reader reader;
    ply_reader_writer::TriMeshData data;
    ply_reader_writer::Options options;
    if (!reader.read(path, data, options)) {
      state.SkipWithError("can't read the input");
      break;
    }
    faces = data.nb_face;
  }
  state.SetItemsProcessed(static_cast<long>(state.iterations()) * faces);
}
void ReadBinaryPly(benchmark::State& state) {
  read_ply(state, true);
}
void ReadAsciiPly(benchmark::State& state) {
  read_ply(state, false);
}
BENCHMARK(ReadBinaryPly)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(ReadAsciiPly)->Arg(100000)->Unit(benchmark::kMillisecond);

void LoadBinaryPly(benchmark::State& state) {
  const Scratch scratch;
  write_ply(scratch, static_cast<int>(state.range(0)), true);
  long faces = 0;
  for (auto step : state) {
    Mesh_M::Mesh mesh;
    if (mesh.input_ply_data(scratch.path().c_str()) != 0) {
      state.SkipWithError("can't read the input");
      break;
    }
    faces = mesh.face.real_num;
  }
  state.SetItemsProcessed(static_cast<long>(state.iterations()) * faces);
}
BENCHMARK(LoadBinaryPly)->Arg(100000)->Unit(benchmark::kMillisecond);

template <typename Write>
void write_text(benchmark::State& state, Write write) {
  const Scratch scratch;
  const auto mesh = bench::mesh_from(bench::wavy_grid(static_cast<int>(state.range(0))));
  const std::wstring path(scratch.path().begin(), scratch.path().end());
  for (auto step : state) write(*mesh, path);
  state.SetItemsProcessed(static_cast<long>(state.iterations()) * mesh->face.real_num);
}
void WriteObj(benchmark::State& state) {
  write_text(state, [](auto& mesh, const auto& path) { mesh.output_OBJ(path.c_str()); });
}
void WriteAsciiPly(benchmark::State& state) {
  write_text(state, [](auto& mesh, const auto& path) { mesh.output_PLY(path.c_str()); });
}
void WriteXyz(benchmark::State& state) {
  write_text(state, [](auto& mesh, const auto& path) {
    mesh.output_XYZ(std::filesystem::path(path).string().c_str());
  });
}
BENCHMARK(WriteObj)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(WriteAsciiPly)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(WriteXyz)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace
