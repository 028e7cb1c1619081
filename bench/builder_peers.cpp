#include "bench/builder_peers.h"

namespace bench {

void fill_monomials(float* design, const image_size& grid) {
  for (size_t r = 1; r <= grid.height; ++r) {
    const auto y = static_cast<float>(r);
    const float y2 = y * y, y3 = y2 * y;
    for (size_t k = 1; k <= grid.width; ++k, design += 15) {
      const auto x = static_cast<float>(k);
      const float x2 = x * x, x3 = x2 * x;
      const float row[15] = {1,      x,  y,       x2,     x * y,   y2,     x3,     x2 * y,
                             x * y2, y3, x2 * x2, x3 * y, x2 * y2, x * y3, y2 * y2};
      for (size_t i = 0; i < 15; ++i) design[i] = row[i];
    }
  }
}

}  // namespace bench
