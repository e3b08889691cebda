#include <CGAL/Orthogonal_k_neighbor_search.h>
#include <CGAL/Search_traits_3.h>
#include <CGAL/Simple_cartesian.h>

#include <memory>
#include <vector>

#include "peers/point_contestants.h"

namespace peers {

Contestant cgal_tree(const demo::PointSet& set) {
  using Kernel = CGAL::Simple_cartesian<double>;
  using Traits = CGAL::Search_traits_3<Kernel>;
  using Search = CGAL::Orthogonal_k_neighbor_search<Traits>;
  return {"CGAL", [&set]() -> Job {
            auto points = std::make_shared<std::vector<Kernel::Point_3>>();
            for (const demo::Vec3& p : set.points) points->emplace_back(p.x, p.y, p.z);
            return [points]() -> long long {
              Search::Tree tree(points->begin(), points->end());
              tree.build();
              long long neighbours = 0;
              for (const auto& query : *points) {
                const Search search(tree, query, kNeighbours);
                for (auto found = search.begin(); found != search.end(); ++found) ++neighbours;
              }
              return neighbours;
            };
          }};
}

}  // namespace peers
