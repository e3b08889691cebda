#include "generated_surfaces.h"

#include <algorithm>
#include <cmath>

#include "support/random.h"
#include "support/stl_file.h"

namespace bench {

demo::Surface wavy_grid(int faces) {
  const int side = std::max(2, static_cast<int>(std::lround(std::sqrt(faces / 2.0))));
  const auto points_per_row = static_cast<std::size_t>(side) + 1;
  demo::Random random(1);
  demo::Surface surface;
  surface.points.reserve(points_per_row * points_per_row);
  for (int y = 0; y <= side; ++y) {
    for (int x = 0; x <= side; ++x) {
      const double height = 4 * std::sin(x * 0.11) * std::cos(y * 0.07);
      surface.points.push_back({x + random.uniform(-0.2, 0.2), y + random.uniform(-0.2, 0.2),
                                height + random.uniform(-0.05, 0.05)});
    }
  }
  surface.faces.reserve(2 * static_cast<std::size_t>(side) * static_cast<std::size_t>(side));
  for (int y = 0; y < side; ++y) {
    for (int x = 0; x < side; ++x) {
      if (x % 32 == 16 && y % 32 == 16) continue;
      const int corner = y * (side + 1) + x;
      surface.faces.push_back({corner, corner + 1, corner + side + 2});
      surface.faces.push_back({corner, corner + side + 2, corner + side + 1});
    }
  }
  return surface;
}

bool write_wavy_grid(const std::string& path, int faces) {
  return demo::write_stl(path, demo::triangles_of(wavy_grid(faces)));
}

}  // namespace bench
