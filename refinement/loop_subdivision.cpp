// One step of subdivision: C. Loop, "Smooth subdivision surfaces based on triangles", 1987, with
// vertices that stay.
#include <algorithm>
#include <atomic>
#include <cmath>
#include <future>
#include <limits>
#include <memory>
#include <new>
#include <vector>

#include "core/face_building.h"
#include "core/live_records.h"
#include "core/parallel.h"
#include "core/platform.h"
#include "core/progress.h"
#include "core/soup_building.h"
#include "core/vector_math.h"
#include "scanmesh/mesh.h"

namespace Mesh_M {

using fmx::stl_face;
using fmx::sub_mid;
using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;
using scanmesh::Vec3f;

namespace {

// As hosts know it; not the nearest number.
constexpr double kFullCircle = 6.2831852;
constexpr int kTrianglesPerFace = 4;
constexpr int kMostSteps = 45;
constexpr double kShareOfSteps = 0.9;
// Facets that a worker gathers before it takes the flag.
constexpr std::size_t kBatch = 256;
constexpr float kMebibyte = 1048576.0F;
constexpr double kHalf = 0.5;
constexpr double kEighth = 0.125;

struct Sum {
  double x = 0;
  double y = 0;
  double z = 0;
  void add(const Vec3f& p, double weight) {
    x += weight * p.x;
    y += weight * p.y;
    z += weight * p.z;
  }
  Vec3f point() const {
    return {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)};
  }
};

Vec3f middle(const Vec3f& a, const Vec3f& b) {
  return scanmesh::scaled(scanmesh::add(a, b), kHalf);
}

// The weight of a neighbour, by valence; small valences are looked up.
class LoopWeights {
 public:
  LoopWeights() {
    for (int n = 1; n < kKnown; ++n) known_[n] = weight(n);
  }
  double of(int n) const { return n < kKnown ? known_[n] : weight(n); }

 private:
  static constexpr int kKnown = 32;
  static double weight(int n) {
    const double inner = 0.375 + 0.25 * std::cos(kFullCircle / n);
    return (0.625 - inner * inner) / n;
  }
  double known_[kKnown] = {};
};

// The even point of a border vertex; a single border edge counts twice.
Vec3f border_point(const _vert& vert, const _edge* first, const _edge* second) {
  Sum sum;
  for (const _edge* edge : {first, second}) {
    for (const _vert* end : edge->vert) sum.add(end->point, kEighth);
  }
  sum.add(vert.point, kHalf);
  return sum.point();
}

Vec3f even_point(const _vert& vert, const LoopWeights& weights) {
  if (vert.state == Mesh_R::kStateHighCurvature) return vert.point;
  const _edge* open[2] = {nullptr, nullptr};
  Sum ends;
  for (int i = 0; i < vert.edge_num; ++i) {
    const _edge* const edge = vert.edge[i];
    if (edge->face_num != 2) {
      if (open[0] == nullptr) {
        open[0] = edge;
      } else if (open[1] == nullptr) {
        open[1] = edge;
      }
    }
    ends.add(edge->vert[0]->point, 1.0);
    ends.add(edge->vert[1]->point, 1.0);
  }
  if (open[0] != nullptr) {
    return border_point(vert, open[0], open[1] != nullptr ? open[1] : open[0]);
  }
  const int n = vert.edge_num;
  const double beta = weights.of(n);
  Sum sum;
  sum.add(vert.point, 1.0 - 2.0 * n * beta);
  return {static_cast<float>(sum.x + beta * ends.x), static_cast<float>(sum.y + beta * ends.y),
          static_cast<float>(sum.z + beta * ends.z)};
}

Vec3f odd_point(const _edge& edge) {
  const Vec3f& a = edge.vert[0]->point;
  const Vec3f& b = edge.vert[1]->point;
  if (edge.face_num < 2) return middle(a, b);
  Sum sum;
  for (int i = 0; i < 2; ++i) {
    for (const _vert* corner : edge.face[i]->vert) sum.add(corner->point, kEighth);
  }
  sum.add(a, kEighth);
  sum.add(b, kEighth);
  return sum.point();
}

// The face's edge between two corners, by coordinates: orientation repair exchanges corners without
// the edges.
const _edge* edge_between(const _face& face, const _vert& a, const _vert& b) {
  for (const _edge* edge : face.edge) {
    const Vec3f& p = edge->vert[0]->point;
    const Vec3f& q = edge->vert[1]->point;
    if ((scanmesh::welds(p, a.point) && scanmesh::welds(q, b.point)) ||
        (scanmesh::welds(p, b.point) && scanmesh::welds(q, a.point))) {
      return edge;
    }
  }
  return nullptr;
}

// The six points of a face: even ones 0 to 2, odd ones 3 to 5, of which 3 lies between 0 and 1.
struct SixPoints {
  Vec3f at[6];
};

// Numbers of SixPoints, three per triangle.
using Layout = int[kTrianglesPerFace][3];
constexpr Layout kDefault = {{0, 3, 5}, {3, 1, 4}, {5, 4, 2}, {3, 4, 5}};
// For faces whose corners all stay: the outline stays, and no new edge ends at an obtuse corner's
// opposite.
constexpr Layout kObtuseAt0 = {{0, 3, 4}, {3, 1, 4}, {5, 4, 2}, {0, 4, 5}};
constexpr Layout kObtuseAt1 = {{0, 3, 5}, {3, 1, 5}, {1, 4, 5}, {4, 2, 5}};
constexpr Layout kAcute = {{0, 3, 5}, {3, 1, 4}, {3, 4, 2}, {3, 2, 5}};

const Layout& frozen_layout(const SixPoints& p) {
  const Vec3f d01 = scanmesh::sub(p.at[1], p.at[0]);
  const Vec3f d02 = scanmesh::sub(p.at[2], p.at[0]);
  const Vec3f d12 = scanmesh::sub(p.at[2], p.at[1]);
  if (scanmesh::dot_double(d01, d02) < 0) return kObtuseAt0;
  if (scanmesh::dot_double(d01, d12) > 0) return kObtuseAt1;
  if (scanmesh::dot_double(d02, d12) > 0) return kAcute;
  return kDefault;
}

bool six_points(const _face& face, const LoopWeights& weights, SixPoints& p) {
  for (int j = 0; j < 3; ++j) {
    const _edge* const edge = edge_between(face, *face.vert[j], *face.vert[(j + 1) % 3]);
    if (edge == nullptr) return false;
    p.at[j] = even_point(*face.vert[j], weights);
    p.at[3 + j] = odd_point(*edge);
  }
  return true;
}

// Edges between frozen corners are halved. Returns the layout.
const Layout& keep_frozen(const _face& face, SixPoints& p) {
  const auto frozen = [&face](int j) {
    return face.vert[j % 3]->state == Mesh_R::kStateHighCurvature;
  };
  for (int j = 0; j < 3; ++j) {
    if (frozen(j) && frozen(j + 1)) p.at[3 + j] = middle(p.at[j], p.at[(j + 1) % 3]);
  }
  return frozen(0) && frozen(1) && frozen(2) ? frozen_layout(p) : kDefault;
}

void put(float (&out)[3], const Vec3f& p) {
  out[0] = p.x;
  out[1] = p.y;
  out[2] = p.z;
}

stl_face facet(const Vec3f& a, const Vec3f& b, const Vec3f& c) {
  stl_face out;
  put(out.vector, scanmesh::unit_normal(a, b, c));
  put(out.corner[0], a);
  put(out.corner[1], b);
  put(out.corner[2], c);
  return out;
}

constexpr float kInfinite = std::numeric_limits<float>::infinity();
constexpr MemS::Bounding_Box kEmptyBox = {-kInfinite, kInfinite,  -kInfinite,
                                          kInfinite,  -kInfinite, kInfinite};

void grow(MemS::Bounding_Box& box, const Vec3f& p) {
  box.max_x = std::max(box.max_x, p.x);
  box.min_x = std::min(box.min_x, p.x);
  box.max_y = std::max(box.max_y, p.y);
  box.min_y = std::min(box.min_y, p.y);
  box.max_z = std::max(box.max_z, p.z);
  box.min_z = std::min(box.min_z, p.z);
}

Vec3f corner_of(const stl_face& triangle, int i) {
  const float(&p)[3] = triangle.corner[i];
  return {p[0], p[1], p[2]};
}

bool is_finite(const stl_face& triangle) {
  return scanmesh::finite(corner_of(triangle, 0)) && scanmesh::finite(corner_of(triangle, 1)) &&
         scanmesh::finite(corner_of(triangle, 2));
}

// The soup's own box where it has bounds. A cube without any can't be halved down to a cell, so
// that the box of a wild soup is taken anew from what can be built of it.
MemS::Bounding_Box bounds_of(const sub_mid& soup) {
  const MemS::Bounding_Box& box = soup.box;
  if (scanmesh::finite({box.min_x, box.min_y, box.min_z}) &&
      scanmesh::finite({box.max_x, box.max_y, box.max_z})) {
    return box;
  }
  MemS::Bounding_Box all = kEmptyBox;
  for (int i = 0; i < soup.face_count; ++i) {
    if (!is_finite(soup.faces[i])) continue;
    for (int k = 0; k < 3; ++k) grow(all, corner_of(soup.faces[i], k));
  }
  return all.min_x <= all.max_x ? all : MemS::Bounding_Box{};
}

// Hands a worker's facets over to the shared array, and reports.
class SharedOutput {
 public:
  SharedOutput(stl_face* out, int* count, std::atomic_flag* flag,
               const ProcessStepCallback& callback, int slots)
      : out_(out), count_(count), flag_(flag), callback_(callback) {
    const int total = std::min(slots, kMostSteps);
    stride_ = total == 0 ? 1 : (slots - 1 + total) / total * kTrianglesPerFace;
    max_step_ = static_cast<int>(total / kShareOfSteps);
    batch_.reserve(kBatch);
  }

  void add(const stl_face& triangle) {
    batch_.push_back(triangle);
    if (batch_.size() == kBatch) flush();
  }

  void flush() {
    while (flag_->test_and_set(std::memory_order_acquire)) std::this_thread::yield();
    const int first = *count_;
    const int end = first + static_cast<int>(batch_.size());
    *count_ = end;
    flag_->clear(std::memory_order_release);
    std::copy(batch_.begin(), batch_.end(), out_ + first);
    batch_.clear();
    for (int kept = first + 1; kept <= end; ++kept) {
      if (kept % stride_ == 1) scanmesh::report_step(callback_, kept / stride_ + 1, max_step_);
    }
  }

 private:
  stl_face* const out_;
  int* const count_;
  std::atomic_flag* const flag_;
  const ProcessStepCallback& callback_;
  int stride_ = 1;
  int max_step_ = 0;
  std::vector<stl_face> batch_;
};

// Boxes of workers that wrote nothing are empty and don't count.
MemS::Bounding_Box merged(const std::vector<MemS::Bounding_Box>& boxes, const stl_face& first) {
  MemS::Bounding_Box all = kEmptyBox;
  grow(all, {first.corner[0][0], first.corner[0][1], first.corner[0][2]});
  for (const MemS::Bounding_Box& box : boxes) {
    if (!(box.min_x <= box.max_x)) continue;
    grow(all, {box.max_x, box.max_y, box.max_z});
    grow(all, {box.min_x, box.min_y, box.min_z});
  }
  return all;
}

void build(Mesh& target, const sub_mid& soup) {
  const MemS::Bounding_Box box = bounds_of(soup);
  const Vec3f low = scanmesh::scaled({box.min_x, box.min_y, box.min_z}, kHalf);
  const Vec3f high = scanmesh::scaled({box.max_x, box.max_y, box.max_z}, kHalf);
  // Halved before the sum and the difference, which may be out of a float's reach.
  target.center = scanmesh::add(high, low);
  const Vec3f half = scanmesh::sub(high, low);
  target.inalize_oct(target.center, std::max({half.x, half.y, half.z}));
  static_assert(sizeof(stl_face) % sizeof(float) == 0, "facets follow one another float by float");
  scanmesh::Soup triangles;
  triangles.count = soup.face_count;
  triangles.stride = sizeof(stl_face) / sizeof(float);
  if (soup.face_count > 0) triangles.first = soup.faces[0].corner[0];
  scanmesh::insert_soup(target, triangles);
  target.inalize_mesh();
}

}  // namespace

void Mesh::Mesh_loop_subdividion_thread(stl_face* out, int* count, std::atomic_flag* flag,
                                        int first, int last, MemS::Bounding_Box* box) {
  const LoopWeights weights;
  SharedOutput output(out, count, flag, process_step, face.get_facenum());
  MemS::Bounding_Box own = kEmptyBox;
  scanmesh::for_each_in(face.records, first, last, [&](int, const _face& source) {
    SixPoints p;
    if (source.state == Mesh_R::kStateDeleted || !six_points(source, weights, p)) return;
    const Layout& layout = keep_frozen(source, p);
    const bool whole = std::all_of(std::begin(p.at), std::end(p.at), scanmesh::finite);
    if (whole) {
      for (const Vec3f& point : p.at) grow(own, point);
    }
    for (const auto& t : layout) {
      const stl_face triangle = facet(p.at[t[0]], p.at[t[1]], p.at[t[2]]);
      // No mesh takes one that isn't finite, and its corners would leave the box without bounds.
      if (!whole && !is_finite(triangle)) continue;
      for (int k = 0; k < 3 && !whole; ++k) grow(own, p.at[t[k]]);
      output.add(triangle);
    }
  });
  output.flush();
  *box = own;
}

sub_mid Mesh::Mesh_loop_subdividion_step1() {
  const int slots = face.get_facenum();
  if (!scanmesh::memory_suffices(scanmesh::memory_status()) || slots < 1) return {};
  if (slots > std::numeric_limits<int>::max() / kTrianglesPerFace) return {};
  try {
    const auto room = static_cast<std::size_t>(slots) * kTrianglesPerFace;
    std::unique_ptr<stl_face[]> faces(new stl_face[room]);
    const int workers = scanmesh::processor_count();
    std::vector<MemS::Bounding_Box> boxes(static_cast<std::size_t>(workers), kEmptyBox);
    int count = 0;
    std::atomic_flag flag = ATOMIC_FLAG_INIT;
    std::vector<std::future<void>> tasks;
    for (int i = 0; i < workers; ++i) {
      const auto range = scanmesh::slice(slots, workers, i);
      tasks.push_back(std::async(std::launch::async, [&, i, range] {
        Mesh_loop_subdividion_thread(faces.get(), &count, &flag, static_cast<int>(range.first),
                                     static_cast<int>(range.second),
                                     &boxes[static_cast<std::size_t>(i)]);
      }));
    }
    for (std::future<void>& task : tasks) task.get();
    sub_mid soup;
    soup.face_count = count;
    if (count > 0) soup.box = merged(boxes, faces[0]);
    soup.faces = faces.release();
    return soup;
  } catch (const std::exception&) {
    return {};
  }
}

int Mesh::Mesh_loop_subdividion_step2(Mesh*& target, sub_mid& soup) {
  const scanmesh::MemoryStatus status = scanmesh::memory_status();
  if (!scanmesh::memory_suffices(status)) return -1;
  const float needed = static_cast<float>(soup.face_count) / 10000.0F * 5.0F;
  if (needed > static_cast<float>(status.page_free) / kMebibyte) return -2;
  if (soup.faces == nullptr) return -3;
  try {
    build(*target, soup);
  } catch (...) {
    return -4;
  }
  return 0;
}

int Mesh::Mesh_loop_subdividion_step3(Mesh*& target, sub_mid& soup) {
  build(*target, soup);
  return 0;
}

}  // namespace Mesh_M
