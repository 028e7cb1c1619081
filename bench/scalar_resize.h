/// The bilinear rules as the obvious loops over outputs.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "bench/image_task.h"

namespace bench::scalar {

/// Columns and rows cut off at the left and right, and at the top and bottom.
struct margins {
  uint32_t columns = 0;
  uint32_t rows = 0;
};

/// Positions stay inside the source: the sizes that are timed are chosen so.
template <uint32_t FractionBits, typename Sample>
void resize(const Sample* src, const image_size& in, const margins& cut, Sample* dst,
            const image_size& out, size_t dst_step) {
  constexpr uint32_t one = 1u << FractionBits;
  const auto in_w = static_cast<uint32_t>(in.width), in_h = static_cast<uint32_t>(in.height);
  const auto out_w = static_cast<uint32_t>(out.width), out_h = static_cast<uint32_t>(out.height);
  const uint32_t step_x = (in_w - 2 * cut.columns - 1) * one / (out_w - 1);
  const uint32_t step_y = (in_h - 2 * cut.rows - 1) * one / (out_h - 1);
  for (uint32_t y = 0; y < out_h; ++y) {
    const uint32_t at_y = (cut.rows + y) * step_y;
    const uint32_t row = at_y == 0 ? 0 : (at_y - 1) / one;
    const uint32_t v1 = at_y - row * one, v0 = one - v1;
    const Sample* const upper = src + size_t{row} * in_w;
    const Sample* const lower = upper + in_w;
    for (uint32_t x = 0; x < out_w; ++x) {
      const uint32_t at_x = (cut.columns + x) * step_x;
      const uint32_t column = at_x == 0 ? 0 : (at_x - 1) / one;
      const uint32_t u1 = at_x - column * one, u0 = one - u1;
      const uint32_t sum = (upper[column] * u0 + upper[column + 1] * u1) * v0 +
                           (lower[column] * u0 + lower[column + 1] * u1) * v1 + one * (one / 2);
      dst[(size_t{y} * out_w + x) * dst_step] = static_cast<Sample>(sum >> (2 * FractionBits));
    }
  }
}

inline void resize_float(const float* src, const image_size& in, float* dst,
                         const image_size& out) {
  const float step_x = float(in.width - 1) / float(out.width - 1);
  const float step_y = float(in.height - 1) / float(out.height - 1);
  for (uint32_t y = 0; y < out.height; ++y) {
    const float at_y = float(y) * step_y;
    const auto r0 = static_cast<uint32_t>(at_y);
    const uint32_t r1 = std::min(r0 + 1, uint32_t(in.height) - 1);
    const float fy = at_y - float(r0);
    const float* const upper = src + r0 * in.width;
    const float* const lower = src + r1 * in.width;
    for (uint32_t x = 0; x < out.width; ++x) {
      const float at_x = float(x) * step_x;
      const auto c0 = static_cast<uint32_t>(at_x);
      const uint32_t c1 = std::min(c0 + 1, uint32_t(in.width) - 1);
      const float fx = at_x - float(c0);
      dst[y * out.width + x] =
          fx * lower[c1] * fy +
          (upper[c1] * fx * (1 - fy) + upper[c0] * (1 - fx) * (1 - fy) + (1 - fx) * lower[c0] * fy);
    }
  }
}

}  // namespace bench::scalar
