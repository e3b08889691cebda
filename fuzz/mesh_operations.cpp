// Sequences of operations as a host may call them, on small meshes; every rule between the records
// is checked after each.
//
// The first bytes choose a mesh, each further one an operation and the bytes behind it its
// arguments. What would be the caller's fault isn't done: rings are filled only as they were found,
// a fill is revoked only while its records stand, snapshots don't cross compaction.
#include <algorithm>
#include <array>
#include <memory>
#include <vector>

#include "core/vector_math.h"
#include "fuzz/chosen_soup.h"
#include "fuzz/loaded_mesh.h"
#include "scanmesh/mesh.h"
#include "tests/support/live_geometry.h"
#include "tests/support/shapes.h"

namespace {

using fuzz::InputBytes;
using fuzz::require;
using Mesh_M::Mesh;
using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;
using test_support::Vec3f;

constexpr int kMostOperations = 30;
constexpr int kMostFaces = 300;
constexpr float kHalfSpacing = 0.5F;

class Host {
 public:
  explicit Host(InputBytes& bytes)
      : bytes_(bytes), mesh_(test_support::welded(fuzz::chosen_soup(bytes))) {
    mesh_->setResolutionParam({1.0F, 0.5F, false});
    mesh_->inlin_inalize_mesh();
  }
  ~Host() {
    if (cut_ != nullptr) mesh_->Revoked_triangle(cut_);
    if (feature_ != nullptr) take_feature_back();
    if (backup_ != nullptr) mesh_->revoke_backup(backup_);
  }
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  void step() {
    using Operation = void (Host::*)();
    static constexpr std::array<Operation, 17> kOperations = {&Host::insert_by_corners,
                                                              &Host::insert_by_vertices,
                                                              &Host::delete_face,
                                                              &Host::delete_edge,
                                                              &Host::build_rings,
                                                              &Host::fill_ring,
                                                              &Host::revoke_fill,
                                                              &Host::fill_small_rings,
                                                              &Host::cut_out,
                                                              &Host::put_back,
                                                              &Host::remove_feature,
                                                              &Host::take_feature_back,
                                                              &Host::back_up,
                                                              &Host::collapse,
                                                              &Host::flip,
                                                              &Host::compact,
                                                              &Host::simplify};
    const std::size_t which = static_cast<std::size_t>(bytes_.byte()) % kOperations.size();
    // For whoever looks into a finding.
    if (std::getenv("SCANMESH_FUZZ_TRACE") != nullptr) std::fprintf(stderr, "%s\n", kNames[which]);
    (this->*kOperations[which])();
    fuzz::require_adjacency(*mesh_, kNames[which], flipped_);
  }

 private:
  static constexpr std::array<const char*, 17> kNames = {"adjacency after insert",
                                                         "adjacency after insert_face",
                                                         "adjacency after dele_face",
                                                         "adjacency after delete_edge",
                                                         "adjacency after build_hole",
                                                         "adjacency after fill_hole_No",
                                                         "adjacency after Revoked_fill_hole",
                                                         "adjacency after auto_fill_small_hole",
                                                         "adjacency after _dele_triangle",
                                                         "adjacency after Revoked_triangle",
                                                         "adjacency after remove_feature",
                                                         "adjacency after Revoked_removefeature",
                                                         "adjacency after backup",
                                                         "adjacency after collapse_short_edges",
                                                         "adjacency after flips",
                                                         "adjacency after going on",
                                                         "adjacency after Mesh_simplify"};

  bool full() const { return mesh_->face.real_num > kMostFaces; }
  // Rings that were found name edges that may go.
  void changed() {
    rings_found_ = false;
    fill_stands_ = false;
  }
  void deleted() {
    changed();
    vertices_deleted_ = true;
  }
  // Snapshots and the last fill name records that move or go.
  void drop_snapshots() {
    put_back();
    take_feature_back();
    mesh_->hole.Determine_fill_hole();
    fill_stands_ = false;
  }

  _face* any_face() {
    std::vector<_face*> faces = test_support::live_faces(*mesh_);
    if (faces.empty()) return nullptr;
    return faces[static_cast<std::size_t>(bytes_.below(static_cast<int>(faces.size())))];
  }
  _vert* any_vertex() {
    const int count = mesh_->vertex.get_vertnum();
    if (count == 0) return nullptr;
    _vert* const vert = mesh_->vertex[bytes_.below(count)];
    return vert->state == Mesh_R::kStateDeleted ? nullptr : vert;
  }
  // The faces around a vertex of some face, and the ones around those.
  std::vector<_face*> patch_of_faces() {
    std::vector<_face*> faces;
    const _face* const start = any_face();
    if (start == nullptr) return faces;
    const auto take = [&faces](_face* face) {
      if (std::find(faces.begin(), faces.end(), face) == faces.end()) faces.push_back(face);
    };
    const int rings = 1 + bytes_.byte() % 3;
    for (int i = 0; i < start->vert[0]->face_num; ++i) take(start->vert[0]->face[i]);
    for (int ring = 1; ring < rings; ++ring) {
      const std::vector<_face*> inner = faces;
      for (const _face* face : inner) {
        for (const _vert* vert : face->vert) {
          for (int i = 0; i < vert->face_num; ++i) take(vert->face[i]);
        }
      }
    }
    return faces;
  }

  // The octree that welds remembers vertices that were deleted since: it serves while a mesh is
  // made.
  void insert_by_corners() {
    if (vertices_deleted_ || full()) return;
    const auto corner = [this] {
      const auto at = [this] { return static_cast<float>(bytes_.byte() % 16) * 0.5F - 4.0F; };
      const float x = at();
      const float y = at();
      return Vec3f{x, y, at()};
    };
    Vec3f a = corner();
    Vec3f b = corner();
    Vec3f c = corner();
    Vec3f normal{0, 0, 0};
    mesh_->insert(a, b, c, normal);
    changed();
  }
  void insert_by_vertices() {
    _vert* const a = any_vertex();
    _vert* const b = any_vertex();
    _vert* const c = any_vertex();
    if (a == nullptr || b == nullptr || c == nullptr || full()) return;
    if (a == b || b == c || a == c) return;
    Vec3f normal = scanmesh::unit_normal(a->point, b->point, c->point);
    mesh_->insert_face(a, b, c, normal);
    changed();
  }
  void delete_face() {
    mesh_->face.dele_face(any_face());
    deleted();
  }
  void delete_edge() {
    const _face* const face = any_face();
    if (face == nullptr) return;
    mesh_->edge.delete_edge(face->edge[bytes_.byte() % 3], &mesh_->face);
    deleted();
  }
  void build_rings() {
    mesh_->destroy_hole();
    fill_stands_ = false;
    mesh_->build_hole();
    filled_.clear();
    rings_found_ = true;
  }
  void fill_ring() {
    if (!rings_found_ || full()) return;
    std::vector<int> rings;
    for (int i = 0; i < mesh_->get_hole_num(); ++i) {
      const bool filled = std::find(filled_.begin(), filled_.end(), i) != filled_.end();
      if (mesh_->hole[i] != nullptr && !filled) rings.push_back(i);
    }
    if (rings.empty()) return;
    const int ring = rings[static_cast<std::size_t>(bytes_.below(static_cast<int>(rings.size())))];
    mesh_->fill_hole_No(ring, kHalfSpacing);
    int floats = 0;
    const std::unique_ptr<float[]> added(mesh_->return_add_face_data(floats));
    require(added == nullptr || floats % 12 == 0, "added faces of 12 floats each");
    filled_.push_back(ring);
    vertices_deleted_ = true;
    fill_stands_ = true;
  }
  void revoke_fill() {
    if (!fill_stands_) return;
    mesh_->Revoked_fill_hole();
    filled_.pop_back();
    fill_stands_ = false;
  }
  void fill_small_rings() {
    if (full()) return;
    drop_snapshots();
    mesh_->destroy_hole();
    mesh_->auto_fill_small_hole(3 + bytes_.byte() % 20);
    deleted();
  }
  void cut_out() {
    put_back();
    std::vector<_face*> faces = patch_of_faces();
    const int count = static_cast<int>(faces.size());
    if (count == 0) return;
    cut_ = mesh_->storage_delFace(faces.data(), count);
    mesh_->_dele_triangle(faces.data(), count);
    deleted();
  }
  void put_back() {
    if (cut_ == nullptr) return;
    mesh_->Revoked_triangle(cut_);
    cut_ = nullptr;
    deleted();
  }
  void remove_feature() {
    if (full()) return;
    drop_snapshots();
    std::vector<_face*> faces = patch_of_faces();
    feature_ = mesh_->remove_feature(faces.data(), static_cast<int>(faces.size()), added_,
                                     added_count_, kHalfSpacing);
    deleted();
  }
  void take_feature_back() {
    if (feature_ == nullptr) return;
    mesh_->Revoked_removefeature(feature_, added_, added_count_);
    feature_ = nullptr;
    delete[] added_;
    added_ = nullptr;
    added_count_ = 0;
    deleted();
  }
  // Takes a backup, or goes back to the one that was taken.
  void back_up() {
    drop_snapshots();
    if (backup_ == nullptr) {
      mesh_->build_backup(backup_);
      return;
    }
    mesh_->revoke_backup(backup_);
    backup_ = nullptr;
    deleted();
  }
  void collapse() {
    drop_snapshots();
    mesh_->setResolutionParam(
        {4.0F * bytes_.fraction(), bytes_.fraction(), bytes_.byte() % 2 == 0});
    mesh_->collapse_short_edges();
    deleted();
  }
  void flip() {
    drop_snapshots();
    mesh_->Mesh_Optimization();
    flipped_ = true;
    deleted();
  }
  // A last step before a mesh is read out: the stores mustn't grow after it. To go on, a host makes
  // a new mesh of what it has read.
  void compact() {
    drop_snapshots();
    mesh_->destroy_hole();
    mesh_->sort_out_mem();
    fuzz::require_adjacency(*mesh_, "adjacency after sort_out_mem", flipped_);
    Mesh_M::_backup* copy = nullptr;
    mesh_->build_backup(copy);
    mesh_->revoke_backup(copy);
    deleted();
  }
  void simplify() {
    drop_snapshots();
    mesh_->destroy_hole();
    mesh_->Mesh_simplify(bytes_.below(kMostFaces), true);
    deleted();
  }

  InputBytes& bytes_;
  std::unique_ptr<Mesh> mesh_;
  bool flipped_ = false;           // two edges may have the same ends now
  bool rings_found_ = false;       // as the mesh stands
  std::vector<int> filled_;        // rings that are closed, the last one last
  bool fill_stands_ = false;       // the last fill can be revoked
  bool vertices_deleted_ = false;  // the octree may name deleted vertices
  Mesh_M::obj_triangle* cut_ = nullptr;
  Mesh_M::obj_triangle* feature_ = nullptr;
  _face** added_ = nullptr;
  int added_count_ = 0;
  Mesh_M::_backup* backup_ = nullptr;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  InputBytes bytes(data, size);
  Host host(bytes);
  for (int i = 0; i < kMostOperations && !bytes.empty(); ++i) host.step();
  return 0;
}
