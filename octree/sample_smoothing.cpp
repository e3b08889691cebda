#include "octree/sample_smoothing.h"

#include <cstddef>
#include <unordered_map>

namespace scanmesh {

namespace {

constexpr float kLeastAgreement = 0.9F;

// The neighbourhoods of a list, looked up once: positions change from round to round, the cells
// don't. A neighbour is an entry of the list, or stands where it is.
class Neighbourhoods {
 public:
  Neighbourhoods(Oct_tree_Tri& tree, OctNode* const* list, int count) : list_(list) {
    entry_of_.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
      positions_.push_back(list[i] != nullptr ? position_of(list[i]) : Vec3f{0, 0, 0});
      if (list[i] != nullptr) entry_of_.emplace(list[i], static_cast<std::size_t>(i));
    }
    first_term_.reserve(positions_.size() + 1);
    for (int i = 0; i < count; ++i) {
      first_term_.push_back(terms_.size());
      if (list[i] != nullptr) add_terms(tree, list[i]);
    }
    first_term_.push_back(terms_.size());
  }

  // All new positions are reckoned before the first is taken over.
  void smooth_once() {
    std::vector<Vec3f> next = positions_;
    for (std::size_t i = 0; i < positions_.size(); ++i) {
      if (list_[i] != nullptr) next[i] = mean_around(i);
    }
    positions_.swap(next);
  }

  std::vector<Vec3f> take() { return std::move(positions_); }

 private:
  static constexpr std::size_t kFixed = static_cast<std::size_t>(-1);

  // One term is the mean over `members` samples.
  struct Term {
    std::size_t first;
    std::size_t members;
  };
  struct Member {
    std::size_t entry;  // kFixed: it isn't on the list
    Vec3f position;
  };

  void add_terms(Oct_tree_Tri& tree, OctNode* leaf) {
    OctNode* around[kSlots];
    tree.oct_search(leaf, around);
    const Vec3f normal = normal_of(leaf);
    // The leaf itself stands in its own slot, and so counts twice.
    for (OctNode* const cell : around) {
      const std::size_t first = members_.size();
      visit_leaves(cell, [&](OctNode* sample) {
        if (dot(normal, normal_of(sample)) >= kLeastAgreement) add_member(sample);
        return true;
      });
      if (members_.size() > first) terms_.push_back({first, members_.size() - first});
    }
  }

  void add_member(const OctNode* sample) {
    const auto found = entry_of_.find(sample);
    members_.push_back({found == entry_of_.end() ? kFixed : found->second, position_of(sample)});
  }

  Vec3f mean_around(std::size_t i) const {
    double sum[3] = {positions_[i].x, positions_[i].y, positions_[i].z};
    const std::size_t terms = first_term_[i + 1] - first_term_[i];
    for (std::size_t t = first_term_[i]; t < first_term_[i + 1]; ++t) add_mean(terms_[t], sum);
    const auto count = static_cast<double>(terms + 1);
    return {static_cast<float>(sum[0] / count), static_cast<float>(sum[1] / count),
            static_cast<float>(sum[2] / count)};
  }

  void add_mean(const Term& term, double* sum) const {
    double of_term[3] = {0, 0, 0};
    for (std::size_t m = term.first; m < term.first + term.members; ++m) {
      const Member& member = members_[m];
      const Vec3f& p = member.entry == kFixed ? member.position : positions_[member.entry];
      of_term[0] += p.x;
      of_term[1] += p.y;
      of_term[2] += p.z;
    }
    for (int k = 0; k < 3; ++k) sum[k] += of_term[k] / static_cast<double>(term.members);
  }

  OctNode* const* list_;
  std::vector<Vec3f> positions_;
  std::unordered_map<const OctNode*, std::size_t> entry_of_;
  std::vector<std::size_t> first_term_;
  std::vector<Term> terms_;
  std::vector<Member> members_;
};

}  // namespace

std::vector<Vec3f> smoothed_positions(Oct_tree_Tri& tree, OctNode* const* list, int count,
                                      int iterations) {
  Neighbourhoods around(tree, list, count);
  for (int i = 0; i < iterations; ++i) around.smooth_once();
  return around.take();
}

}  // namespace scanmesh

void Oct_tree_Tri::oct_Laplacian_Smooth(Oct_tree_Triangulation** list, int count, int iterations) {
  const std::vector<scanmesh::Vec3f> positions =
      scanmesh::smoothed_positions(*this, list, count, iterations);
  for (int i = 0; i < count; ++i) {
    if (list[i] == nullptr) continue;
    const scanmesh::Vec3f& p = positions[static_cast<std::size_t>(i)];
    list[i]->coor[0] = p.x;
    list[i]->coor[1] = p.y;
    list[i]->coor[2] = p.z;
  }
}
