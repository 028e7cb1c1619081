/// The mapping that puts the first and last outputs on the first and last source samples.
#pragma once

#include <cstdint>

namespace qo {

/// Source samples from one output to the next, the sides subtracted as integers. An output side of
/// 1 divides by zero: that is for callers to exclude, or to answer for.
[[nodiscard]] constexpr float corner_aligned_step(int32_t in_side, int32_t out_side) {
  return static_cast<float>(in_side - 1) / static_cast<float>(out_side - 1);
}

}  // namespace qo
