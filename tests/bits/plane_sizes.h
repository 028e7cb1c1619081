/// Sides of planes, before and after a routine.
#pragma once

#include <cstdint>
#include <vector>

#include "tests/bits/noise.h"

namespace bits {

struct plane_sizes {
  uint16_t in_w, in_h, out_w, out_h;

  size_t in() const { return size_t{in_w} * in_h; }
  size_t out() const { return size_t{out_w} * out_h; }
};

enum class ratio : uint8_t { any, larger, smaller };

/// Past two of the widest vectors of bytes.
inline constexpr uint16_t most_columns = 131;

/// Sizes with every output width up to most_columns, so that vectors end anywhere in a row; and
/// a few long rows and columns.
inline std::vector<plane_sizes> sizes_of(noise& random, ratio wanted) {
  std::vector<plane_sizes> sizes;
  const auto narrow = [](uint32_t side) { return static_cast<uint16_t>(side); };
  for (uint16_t w = wanted == ratio::smaller ? 3 : 2; w <= most_columns; ++w) {
    uint32_t h = random.from_to(3, 9);
    plane_sizes next = {0, 0, w, narrow(h)};
    switch (wanted) {
      case ratio::any:
        next.in_w = narrow(random.from_to(2, 2u * w));
        next.in_h = narrow(random.from_to(2, 20));
        break;
      case ratio::larger:
        next.in_w = narrow(random.from_to(2, w));
        next.in_h = narrow(random.from_to(2, h));
        break;
      case ratio::smaller:
        next.in_w = narrow(random.from_to(w + 1u, 4u * w));
        next.in_h = narrow(random.from_to(h + 1u, 4u * h));
        break;
    }
    sizes.push_back(next);
  }
  constexpr plane_sizes rising[] = {{257, 3, 1283, 5}, {3, 129, 5, 640}, {13, 9, 97, 65}};
  for (const plane_sizes& s : rising) {
    if (wanted != ratio::smaller) sizes.push_back(s);
    if (wanted != ratio::larger) sizes.push_back({s.out_w, s.out_h, s.in_w, s.in_h});
  }
  return sizes;
}

}  // namespace bits
