// The surface that a sequence of operations starts from.
#ifndef SCANMESH_FUZZ_CHOSEN_SOUP_H
#define SCANMESH_FUZZ_CHOSEN_SOUP_H

#include <cstdint>

#include "fuzz/input_bytes.h"
#include "tests/support/shapes.h"

namespace fuzz {

// Few points on a coarse grid: edges of many faces, faces twice, repeated corners.
inline test_support::Soup random_soup(InputBytes& bytes) {
  test_support::Soup soup;
  const int points = 4 + bytes.byte() % 12;
  for (int i = 0; i < points; ++i) {
    const int place = bytes.byte();
    soup.points.push_back({static_cast<float>(place % 4), static_cast<float>(place / 4 % 4),
                           static_cast<float>(place / 16 % 4)});
  }
  for (int i = 0, n = 2 + bytes.byte() % 24; i < n; ++i) {
    soup.triangles.push_back({bytes.byte() % points, bytes.byte() % points, bytes.byte() % points});
  }
  return soup;
}

inline test_support::Soup chosen_soup(InputBytes& bytes) {
  switch (bytes.byte() % 5) {
    case 0:
      return test_support::tetrahedron();
    case 1:
      return test_support::sphere(1 + bytes.byte() % 2, 4);
    case 2:
      return test_support::flat_grid(1 + bytes.byte() % 8, 1);
    case 3: {
      const int cells = 3 + bytes.byte() % 8;
      return test_support::irregular_patch(cells, static_cast<uint64_t>(bytes.byte()));
    }
    default:
      return random_soup(bytes);
  }
}

}  // namespace fuzz

#endif  // SCANMESH_FUZZ_CHOSEN_SOUP_H
