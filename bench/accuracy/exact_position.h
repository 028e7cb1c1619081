/// Where an output sample falls on the source when corners are aligned, without rounding.
#pragma once

#include <cstddef>

namespace accuracy {

/// Sample `index` of the source, and the share of the way to the next one: 0 at the last.
struct exact_position {
  size_t index;
  double share;
};

/// Output k of `out`, on `in` samples: k (in - 1) / (out - 1). An output side of at least 2.
[[nodiscard]] inline exact_position position_of(size_t k, size_t in, size_t out) {
  const size_t product = k * (in - 1);
  return {product / (out - 1),
          static_cast<double>(product % (out - 1)) / static_cast<double>(out - 1)};
}

}  // namespace accuracy
