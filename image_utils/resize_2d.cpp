// resize_2d_array_uint32(), resize_2d_array_uint16(), resize_2d_array_uint8(), the two `_v1` with a
// step in the output, and crop_resize_2d_array_uint16(): bilinear resize of integer arrays in fixed
// point, corner-aligned.

#include "qo_cmc/image_utils.h"

#include <cassert>
#include <cstddef>

#include "image_utils/clamped_samples.h"
#include "qo_cmc/status.h"

namespace qo {
namespace {

/// A walk over one axis of the source: accumulators start, start + step, start + 2 step, ..., in
/// fixed point and modulo 2^32.
struct axis_walk {
  uint32_t start;
  uint32_t step;
};

/// From a region of `in_side` samples to `out_side` of them, both at least 2. Without a margin no
/// accumulator passes (in_side - 1) << FractionBits, also where that wraps.
template <uint32_t FractionBits>
[[nodiscard]] axis_walk walk_axis(uint32_t in_side, uint32_t out_side, uint32_t margin) {
  assert(in_side >= 2 && out_side >= 2);
  const uint32_t step = ((in_side - 1) << FractionBits) / (out_side - 1);
  // Contract: the margin is scaled by the step, so the region that is sampled starts at
  // margin * step, not at margin << FractionBits.
  return {margin * step, step};
}

/// Where an accumulator falls: between samples `cell` and `cell` + 1, whose weights sum to
/// 1 << FractionBits.
struct cell_position {
  uint32_t cell;
  uint32_t near_weight;
  uint32_t far_weight;
};

template <uint32_t FractionBits>
[[nodiscard]] cell_position cell_position_of(uint32_t accumulator) {
  // Contract: an accumulator that falls on a sample belongs to the cell before it, with the whole
  // weight on the far side, so that the last output reads nothing after the last sample.
  const uint32_t cell = accumulator != 0 ? (accumulator - 1) >> FractionBits : 0;
  return {cell, ((cell + 1) << FractionBits) - accumulator, accumulator - (cell << FractionBits)};
}

/// One output row, `dst_step` elements from one sample to the next, from the two source rows around
/// it.
/// Contract: everything is formed modulo 2^32. 8- and 16-bit samples with 8 fractional bits just
/// fit (65535 * 65536 + 32768); larger samples, or more bits, wrap.
template <uint32_t FractionBits, typename Row, typename Element>
void blend_rows(const Row& upper, const Row& lower, const cell_position& y, const axis_walk& walk,
                Element* dst, uint32_t out_width, size_t dst_step) {
  constexpr uint32_t half = uint32_t{1} << (2 * FractionBits - 1);
  uint32_t accumulator = walk.start;
  for (uint32_t i = 0; i < out_width; ++i, accumulator += walk.step) {
    const cell_position x = cell_position_of<FractionBits>(accumulator);
    const uint64_t far_column = uint64_t{x.cell} + 1;
    const uint32_t above = upper[x.cell] * x.near_weight + upper[far_column] * x.far_weight;
    const uint32_t below = lower[x.cell] * x.near_weight + lower[far_column] * x.far_weight;
    const uint32_t sum = above * y.near_weight + below * y.far_weight + half;
    dst[i * dst_step] = static_cast<Element>(sum >> (2 * FractionBits));
  }
}

struct output_layout {
  uint32_t width;
  uint32_t height;
  size_t step;  ///< elements from one sample of a row to the next
};

/// `row_at(r)` gives source row r as something that is indexed by column.
template <uint32_t FractionBits, typename RowAt, typename Element>
void blend_all_rows(RowAt row_at, const axis_walk& walk_x, const axis_walk& walk_y, Element* dst,
                    const output_layout& out) {
  uint32_t accumulator = walk_y.start;
  for (uint32_t i = 0; i < out.height; ++i, accumulator += walk_y.step) {
    const cell_position y = cell_position_of<FractionBits>(accumulator);
    blend_rows<FractionBits>(row_at(y.cell), row_at(uint64_t{y.cell} + 1), y, walk_x,
                             dst + size_t{i} * out.width * out.step, out.width, out.step);
  }
}

// Contract: the unsigned sizes are tested as signed ones.
[[nodiscard]] bool is_above_one(uint32_t side) { return static_cast<int32_t>(side) > 1; }

/// The members that resize the whole array. None of their taps leaves it.
template <typename Element, uint32_t FractionBits>
[[nodiscard]] uint32_t resize_whole(const Element* src, uint32_t in_w, int32_t in_h, Element* dst,
                                    uint32_t out_w, uint32_t out_h, int32_t dst_step) {
  const auto in_height = static_cast<uint32_t>(in_h);
  if (!is_above_one(in_w) || !is_above_one(in_height)) return QO_CMC_INVALID_SIZE;
  if (!is_above_one(out_w) || !is_above_one(out_h)) return QO_CMC_INVALID_SIZE;
  if (dst_step <= 0) return QO_CMC_INVALID_SIZE;
  if (src == nullptr || dst == nullptr) return QO_CMC_INVALID_SIZE;

  const auto row_at = [src, in_w](uint64_t row) { return src + row * in_w; };
  blend_all_rows<FractionBits>(row_at, walk_axis<FractionBits>(in_w, out_w, 0),
                               walk_axis<FractionBits>(in_height, out_h, 0), dst,
                               {out_w, out_h, static_cast<size_t>(dst_step)});
  return QO_CMC_OK;
}

constexpr uint32_t narrow_fraction_bits = 8;  // the most with which 16-bit samples do not wrap
// Contract: 12 bits make samples of 256 and more wrap.
constexpr uint32_t wide_fraction_bits = 12;

}  // namespace
}  // namespace qo

uint32_t resize_2d_array_uint32(const uint32_t* src, uint32_t in_w, int32_t in_h, uint32_t* dst,
                                uint32_t out_w, uint32_t out_h) {
  return qo::resize_whole<uint32_t, qo::wide_fraction_bits>(src, in_w, in_h, dst, out_w, out_h, 1);
}

uint32_t resize_2d_array_uint16(const uint16_t* src, uint32_t in_w, int32_t in_h, uint16_t* dst,
                                uint32_t out_w, uint32_t out_h) {
  return qo::resize_whole<uint16_t, qo::narrow_fraction_bits>(src, in_w, in_h, dst, out_w, out_h,
                                                              1);
}

uint32_t resize_2d_array_uint8(const uint8_t* src, uint32_t in_w, int32_t in_h, uint8_t* dst,
                               uint32_t out_w, uint32_t out_h) {
  return qo::resize_whole<uint8_t, qo::narrow_fraction_bits>(src, in_w, in_h, dst, out_w, out_h, 1);
}

uint32_t resize_2d_array_uint16_v1(const uint16_t* src, uint32_t in_w, int32_t in_h, uint16_t* dst,
                                   uint32_t out_w, uint32_t out_h, int32_t dst_step) {
  return qo::resize_whole<uint16_t, qo::narrow_fraction_bits>(src, in_w, in_h, dst, out_w, out_h,
                                                              dst_step);
}

uint32_t resize_2d_array_uint8_v1(const uint8_t* src, uint32_t in_w, int32_t in_h, uint8_t* dst,
                                  uint32_t out_w, uint32_t out_h, int32_t dst_step) {
  return qo::resize_whole<uint8_t, qo::narrow_fraction_bits>(src, in_w, in_h, dst, out_w, out_h,
                                                             dst_step);
}

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

  // The scaled origin can point past the array. The rows are addressed linearly: a row past the
  // last is not the last row but the last sample.
  const qo::plane_size source{in_w, in_h};
  const auto row_at = [src, &source](uint64_t row) {
    return qo::clamped_samples<uint16_t>(src, source, row * source.width);
  };
  qo::blend_all_rows<fraction_bits>(row_at, qo::walk_axis<fraction_bits>(region_width, out_w, left),
                                    qo::walk_axis<fraction_bits>(region_height, out_h, top), dst,
                                    {out_w, out_h, 1});
  return QO_CMC_OK;
}
