// crop_resize_2d_array_uint16(): bilinear resize of a region of an array in fixed point.

#include "qo_cmc/image_utils.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "image_utils/clamped_samples.h"
#include "image_utils/output_plane.h"
#include "image_utils/resize_inside.h"
#include "qo_cmc/status.h"
#include "rows/bilinear_rows.h"

namespace qo {
namespace {

/// Whether no accumulator of `out_side` from margin * step on wraps; then `last` is the last one.
[[nodiscard]] bool find_last(const axis_walk& walk, uint32_t margin, uint32_t out_side,
                             uint64_t& last) {
  const uint64_t steps = uint64_t{margin} + out_side - 1;
  return !__builtin_mul_overflow(steps, uint64_t{walk.step}, &last) && last <= UINT32_MAX;
}

/// Samples that outputs up to the accumulator `last` are formed from, counted from the first on.
[[nodiscard]] uint64_t samples_up_to(uint64_t last) {
  constexpr uint64_t one = uint64_t{1} << narrow_fraction_bits;
  // At 0 the second sample counts for nothing, but is still read.
  return (std::max(last, uint64_t{1}) + one - 1) / one + 1;
}

/// How many of the first output rows need no source sample after the plane.
[[nodiscard]] uint32_t count_rows_inside(const plane_size& plane, uint64_t extent,
                                         const axis_walk& walk_y, uint32_t out_height) {
  const uint64_t samples = plane.width * plane.height;
  if (extent > samples) return 0;
  const uint64_t farthest = (samples - extent) / plane.width << narrow_fraction_bits;
  if (walk_y.start > farthest) return 0;
  if (walk_y.step == 0) return out_height;
  return static_cast<uint32_t>(
      std::min(uint64_t{out_height}, (farthest - walk_y.start) / walk_y.step + 1));
}

/// The rule sample by sample, for output rows from `top` on whose taps may lie anywhere.
/// Contract: the scaled origin can point past the array. The rows are addressed linearly: a row
/// past the last is not the last row but the last sample.
void resize_clamped(const uint16_t* src, const plane_size& plane, const axis_walk& walk_x,
                    const axis_walk& walk_y, uint32_t top, uint16_t* dst, uint32_t out_width,
                    uint32_t out_height) {
  constexpr uint32_t one = 1u << narrow_fraction_bits;
  constexpr uint32_t half = one * one / 2;
  for (uint32_t i = top; i < out_height; ++i) {
    const auto y = cell_position_of<narrow_fraction_bits>(walk_y.start + i * walk_y.step);
    const uint64_t row = y.cell;
    const clamped_samples<uint16_t> upper(src, plane, row * plane.width);
    const clamped_samples<uint16_t> lower(src, plane, (row + 1) * plane.width);
    uint32_t accumulator = walk_x.start;
    for (uint32_t j = 0; j < out_width; ++j, accumulator += walk_x.step) {
      const auto x = cell_position_of<narrow_fraction_bits>(accumulator);
      const uint64_t far_column = uint64_t{x.cell} + 1;
      const uint32_t u0 = one - x.far_weight;
      const uint32_t above = upper[x.cell] * u0 + upper[far_column] * x.far_weight;
      const uint32_t below = lower[x.cell] * u0 + lower[far_column] * x.far_weight;
      const uint32_t sum = above * (one - y.far_weight) + below * y.far_weight + half;
      dst[uint64_t{i} * out_width + j] = static_cast<uint16_t>(sum >> (2 * narrow_fraction_bits));
    }
  }
}

}  // namespace
}  // namespace qo

uint32_t crop_resize_2d_array_uint16(const uint16_t* src, uint32_t in_w, uint32_t in_h,
                                     struct size_pair_i32 crop_origin,
                                     struct size_pair_i32 crop_end, uint16_t* dst, uint32_t out_w,
                                     uint32_t out_h) {
  constexpr uint32_t fraction_bits = qo::narrow_fraction_bits;
  const auto left = static_cast<uint32_t>(crop_origin.x);
  const auto top = static_cast<uint32_t>(crop_origin.y);
  // Contract: modulo 2^32. Margins larger than the array make a large region, not a refusal.
  const uint32_t region_width = in_w - (left + static_cast<uint32_t>(crop_end.x));
  const uint32_t region_height = in_h - (top + static_cast<uint32_t>(crop_end.y));
  if (region_width < 2 || region_height < 2) return QO_CMC_INVALID_SIZE;
  if (out_w < 2 || out_h < 2) return QO_CMC_INVALID_SIZE;
  if (in_w == 0 || in_h == 0) return QO_CMC_INVALID_SIZE;  // no sample to clamp to
  if (src == nullptr || dst == nullptr) return QO_CMC_INVALID_SIZE;

  const qo::plane_size plane{in_w, in_h};
  const auto walk_x = qo::walk_axis<fraction_bits>(region_width, out_w, left);
  const auto walk_y = qo::walk_axis<fraction_bits>(region_height, out_h, top);
  uint32_t inside = 0;
  uint64_t last_x = 0;
  uint64_t last_y = 0;
  if (qo::find_last(walk_x, left, out_w, last_x) && qo::find_last(walk_y, top, out_h, last_y)) {
    const uint64_t extent = qo::samples_up_to(last_x);
    inside = qo::count_rows_inside(plane, extent, walk_y, out_h);
    qo::output_plane<uint16_t> out(dst, out_w, inside, 1, uint64_t{region_width} * region_height);
    qo::resize_inside<uint16_t>({src, in_w, static_cast<uint32_t>(extent)}, walk_x, walk_y, out);
  }
  qo::resize_clamped(src, plane, walk_x, walk_y, inside, dst, out_w, out_h);
  return QO_CMC_OK;
}
