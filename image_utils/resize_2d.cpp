// resize_2d_array_uint32(), resize_2d_array_uint16(), resize_2d_array_uint8(), the two `_v1` with a
// step in the output, and crop_resize_2d_array_uint16(): bilinear resize of integer arrays in fixed
// point, corner-aligned.

#include "qo_cmc/image_utils.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstring>

#include "image_utils/clamped_samples.h"
#include "qo_cmc/status.h"
#include "rows/row_table.h"

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

/// Where an accumulator falls: `far_weight` fractions after sample `cell`, of which sample
/// `cell` + 1 gets as many and sample `cell` the rest of 1 << FractionBits.
struct cell_position {
  uint32_t cell;
  uint32_t far_weight;
};

template <uint32_t FractionBits>
[[nodiscard]] cell_position cell_position_of(uint32_t accumulator) {
  // Contract: by the rule an accumulator that falls on a sample belongs to the cell before it, with
  // the whole weight on the far side. Either way it takes that sample and none of another.
  return {accumulator >> FractionBits, accumulator & ((uint32_t{1} << FractionBits) - 1)};
}

struct output_layout {
  uint32_t width;
  uint32_t height;
  size_t step;  ///< elements from one sample of a row to the next

  [[nodiscard]] size_t row_start(uint64_t row) const { return row * width * step; }
};

template <typename Element>
[[nodiscard]] const bilinear_kernels<Element>& kernels_of();
template <>
const bilinear_kernels<uint8_t>& kernels_of() {
  return rows().bilinear.u8;
}
template <>
const bilinear_kernels<uint16_t>& kernels_of() {
  return rows().bilinear.u16;
}
template <>
const bilinear_kernels<uint32_t>& kernels_of() {
  return rows().bilinear.u32;
}

/// What is resized: rows of `pitch` samples, of which the first `extent` may be read.
template <typename Element>
struct source_rows {
  const Element* first;
  uint64_t pitch;
  uint32_t extent;

  [[nodiscard]] const Element* operator[](uint64_t row) const { return first + row * pitch; }
};

/// The two rows that are blended across last. A row stands in the place of its parity: of the two
/// rows around an output neither replaces the other.
template <typename Element>
class blended_rows {
 public:
  blended_rows(const bilinear_kernels<Element>& kernels, const bilinear_columns<Element>& columns,
               const source_rows<Element>& source)
      : kernels_(kernels), columns_(columns), source_(source) {}

  [[nodiscard]] const bilinear_row<Element>& at(uint64_t row) {
    const size_t place = row % 2;
    if (held_[place] != row) {
      kernels_.across(columns_, source_[row], rows_[place]);
      held_[place] = row;
    }
    return rows_[place];
  }

 private:
  static constexpr uint64_t none = UINT64_MAX;

  const bilinear_kernels<Element>& kernels_;
  const bilinear_columns<Element>& columns_;
  const source_rows<Element>& source_;
  uint64_t held_[2] = {none, none};
  bilinear_row<Element> rows_[2];
};

/// Writes `count` samples `step` elements apart; what lies between stays as it is.
template <typename Element>
void spread(const Element* dense, size_t count, Element* dst, size_t step) {
  // Samples are fetched a word at a time, the first in its low bits: of reads and writes of single
  // samples only the writes are left.
  constexpr size_t together = sizeof(uint64_t) / sizeof(Element);
  size_t i = 0;
  for (; count - i >= together; i += together) {
    uint64_t word;
    memcpy(&word, dense + i, sizeof word);
    for (size_t j = 0; j < together; ++j) {
      *dst = static_cast<Element>(word >> (8 * sizeof(Element) * j));
      dst += step;
    }
  }
  for (; i < count; ++i, dst += step) *dst = dense[i];
}

/// Some neighbouring output columns.
struct column_strip {
  uint32_t left;
  uint32_t width;
};

/// Memory is asked for so many output rows before it is used: about what it takes to answer.
constexpr uint32_t rows_ahead = 2;

template <typename Element>
void fetch(const Element* samples, size_t count) {
  constexpr size_t line = 64 / sizeof(Element);
  for (size_t i = 0; i < count; i += line) __builtin_prefetch(samples + i);
}

/// Asks for the strip's part of a later output row, `row` being that of row `number`. Where a row
/// takes several strips, the processor does not see by itself that a strip goes on a row further.
template <typename Element>
void fetch_outputs(const Element* row, const column_strip& strip, const output_layout& out,
                   uint32_t number) {
  if (strip.width == out.width || out.height - number <= rows_ahead) return;
  fetch(row + out.row_start(rows_ahead), strip.width * out.step);
}

/// Asks for the strip's part of the source rows of a later output row, where they do not follow
/// those of output row `number`. Long parts are left to the processor, whose own fetching ahead
/// then has the time to begin: asking for them took longer.
template <typename Element>
void fetch_sources(const source_rows<Element>& source, const axis_walk& walk_x,
                   const axis_walk& walk_y, const column_strip& strip, const output_layout& out,
                   uint32_t number) {
  constexpr uint32_t fraction_bits = bilinear_fraction_bits<Element>;
  constexpr size_t long_part = 2048 / sizeof(Element);
  const size_t count = ((strip.width - 1) * walk_x.step >> fraction_bits) + 1;
  if (out.height - number <= rows_ahead || count > long_part) return;
  const auto y =
      cell_position_of<fraction_bits>(walk_y.start + (number + rows_ahead) * walk_y.step);
  const uint32_t first = (walk_x.start + strip.left * walk_x.step) >> fraction_bits;
  fetch(source[y.cell] + first, count);
  if (y.far_weight != 0) fetch(source[uint64_t{y.cell} + 1] + first, count);
}

/// The outputs of a strip of columns.
template <typename Element>
void resize_strip(const source_rows<Element>& source, const axis_walk& walk_x,
                  const axis_walk& walk_y, const column_strip& strip, Element* dst,
                  const output_layout& out) {
  constexpr uint32_t fraction_bits = bilinear_fraction_bits<Element>;
  const bilinear_kernels<Element>& kernels = kernels_of<Element>();
  const uint32_t first = walk_x.start + strip.left * walk_x.step;
  bilinear_columns<Element> columns;
  kernels.plan({first, walk_x.step, strip.width, source.extent}, columns);
  blended_rows<Element> blended(kernels, columns, source);
  // From two rows to a step on no source row is used twice.
  const bool is_any_row_shared = walk_y.step < 2u << fraction_bits;
  Element dense[bilinear_strip];

  uint32_t accumulator = walk_y.start;
  for (uint32_t i = 0; i < out.height; ++i, accumulator += walk_y.step) {
    const cell_position y = cell_position_of<fraction_bits>(accumulator);
    const uint64_t lower_row = uint64_t{y.cell} + (y.far_weight != 0 ? 1 : 0);
    Element* const row = dst + out.row_start(i) + strip.left * out.step;
    Element* const target = out.step == 1 ? row : dense;
    fetch_outputs(row, strip, out, i);
    if (!is_any_row_shared) fetch_sources(source, walk_x, walk_y, strip, out, i);
    if (is_any_row_shared)
      kernels.down(blended.at(y.cell), blended.at(lower_row), y.far_weight, target, strip.width);
    else
      kernels.across_and_down(columns, source[y.cell], source[lower_row], y.far_weight, target);
    if (out.step != 1) spread(dense, strip.width, row, out.step);
  }
}

/// resize_strip() for outputs that all fall on samples, in columns and rows.
template <typename Element>
void pick_strip(const source_rows<Element>& source, const axis_walk& walk_x,
                const axis_walk& walk_y, const column_strip& strip, Element* dst,
                const output_layout& out) {
  constexpr uint32_t fraction_bits = bilinear_fraction_bits<Element>;
  const bilinear_kernels<Element>& kernels = kernels_of<Element>();
  const uint32_t first = (walk_x.start + strip.left * walk_x.step) >> fraction_bits;
  const size_t stride = walk_x.step >> fraction_bits;
  Element dense[bilinear_strip];

  uint32_t accumulator = walk_y.start;
  for (uint32_t i = 0; i < out.height; ++i, accumulator += walk_y.step) {
    const Element* const samples = source[accumulator >> fraction_bits] + first;
    Element* const row = dst + out.row_start(i) + strip.left * out.step;
    fetch_outputs(row, strip, out, i);
    if (walk_y.step > 1u << fraction_bits) fetch_sources(source, walk_x, walk_y, strip, out, i);
    kernels.pick(samples, stride, out.step == 1 ? row : dense, strip.width);
    if (out.step != 1) spread(dense, strip.width, row, out.step);
  }
}

template <uint32_t FractionBits>
[[nodiscard]] bool falls_on_samples(const axis_walk& walk) {
  return ((walk.start | walk.step) & ((uint32_t{1} << FractionBits) - 1)) == 0;
}

/// Resizes without a look at the end of the source: no accumulator wraps, or passes the last row or
/// sample source.extent - 1.
template <typename Element>
void resize_inside(const source_rows<Element>& source, const axis_walk& walk_x,
                   const axis_walk& walk_y, Element* dst, const output_layout& out) {
  constexpr uint32_t fraction_bits = bilinear_fraction_bits<Element>;
  const auto each_strip =
      falls_on_samples<fraction_bits>(walk_x) && falls_on_samples<fraction_bits>(walk_y)
          ? pick_strip<Element>
          : resize_strip<Element>;
  // As few strips as the stack allows, of the same width but the last.
  constexpr uint32_t unit = 64;
  const uint32_t strips = (out.width - 1) / uint32_t{bilinear_strip} + 1;
  const uint32_t width = ((out.width - 1) / strips / unit + 1) * unit;
  for (uint64_t left = 0; left < out.width; left += width) {
    const auto rest = static_cast<uint32_t>(out.width - left);
    each_strip(source, walk_x, walk_y, {static_cast<uint32_t>(left), std::min(width, rest)}, dst,
               out);
  }
}

// Contract: the unsigned sizes are tested as signed ones.
[[nodiscard]] bool is_above_one(uint32_t side) { return static_cast<int32_t>(side) > 1; }

/// The members that resize the whole array. None of their taps leaves it.
template <typename Element>
[[nodiscard]] uint32_t resize_whole(const Element* src, uint32_t in_w, int32_t in_h, Element* dst,
                                    uint32_t out_w, uint32_t out_h, int32_t dst_step) {
  const auto in_height = static_cast<uint32_t>(in_h);
  if (!is_above_one(in_w) || !is_above_one(in_height)) return QO_CMC_INVALID_SIZE;
  if (!is_above_one(out_w) || !is_above_one(out_h)) return QO_CMC_INVALID_SIZE;
  if (dst_step <= 0) return QO_CMC_INVALID_SIZE;
  if (src == nullptr || dst == nullptr) return QO_CMC_INVALID_SIZE;

  constexpr uint32_t fraction_bits = bilinear_fraction_bits<Element>;
  resize_inside<Element>({src, in_w, in_w}, walk_axis<fraction_bits>(in_w, out_w, 0),
                         walk_axis<fraction_bits>(in_height, out_h, 0), dst,
                         {out_w, out_h, static_cast<size_t>(dst_step)});
  return QO_CMC_OK;
}

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
                    const axis_walk& walk_y, uint32_t top, uint16_t* dst,
                    const output_layout& out) {
  constexpr uint32_t one = 1u << narrow_fraction_bits;
  constexpr uint32_t half = one * one / 2;
  for (uint32_t i = top; i < out.height; ++i) {
    const auto y = cell_position_of<narrow_fraction_bits>(walk_y.start + i * walk_y.step);
    const uint64_t row = y.cell;
    const clamped_samples<uint16_t> upper(src, plane, row * plane.width);
    const clamped_samples<uint16_t> lower(src, plane, (row + 1) * plane.width);
    uint32_t accumulator = walk_x.start;
    for (uint32_t j = 0; j < out.width; ++j, accumulator += walk_x.step) {
      const auto x = cell_position_of<narrow_fraction_bits>(accumulator);
      const uint64_t far_column = uint64_t{x.cell} + 1;
      const uint32_t u0 = one - x.far_weight;
      const uint32_t above = upper[x.cell] * u0 + upper[far_column] * x.far_weight;
      const uint32_t below = lower[x.cell] * u0 + lower[far_column] * x.far_weight;
      const uint32_t sum = above * (one - y.far_weight) + below * y.far_weight + half;
      dst[out.row_start(i) + j] = static_cast<uint16_t>(sum >> (2 * narrow_fraction_bits));
    }
  }
}

}  // namespace
}  // namespace qo

uint32_t resize_2d_array_uint32(const uint32_t* src, uint32_t in_w, int32_t in_h, uint32_t* dst,
                                uint32_t out_w, uint32_t out_h) {
  return qo::resize_whole(src, in_w, in_h, dst, out_w, out_h, 1);
}

uint32_t resize_2d_array_uint16(const uint16_t* src, uint32_t in_w, int32_t in_h, uint16_t* dst,
                                uint32_t out_w, uint32_t out_h) {
  return qo::resize_whole(src, in_w, in_h, dst, out_w, out_h, 1);
}

uint32_t resize_2d_array_uint8(const uint8_t* src, uint32_t in_w, int32_t in_h, uint8_t* dst,
                               uint32_t out_w, uint32_t out_h) {
  return qo::resize_whole(src, in_w, in_h, dst, out_w, out_h, 1);
}

uint32_t resize_2d_array_uint16_v1(const uint16_t* src, uint32_t in_w, int32_t in_h, uint16_t* dst,
                                   uint32_t out_w, uint32_t out_h, int32_t dst_step) {
  return qo::resize_whole(src, in_w, in_h, dst, out_w, out_h, dst_step);
}

uint32_t resize_2d_array_uint8_v1(const uint8_t* src, uint32_t in_w, int32_t in_h, uint8_t* dst,
                                  uint32_t out_w, uint32_t out_h, int32_t dst_step) {
  return qo::resize_whole(src, in_w, in_h, dst, out_w, out_h, dst_step);
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

  const qo::plane_size plane{in_w, in_h};
  const qo::output_layout out{out_w, out_h, 1};
  const auto walk_x = qo::walk_axis<fraction_bits>(region_width, out_w, left);
  const auto walk_y = qo::walk_axis<fraction_bits>(region_height, out_h, top);
  uint32_t inside = 0;
  uint64_t last_x = 0;
  uint64_t last_y = 0;
  if (qo::find_last(walk_x, left, out_w, last_x) && qo::find_last(walk_y, top, out_h, last_y)) {
    const uint64_t extent = qo::samples_up_to(last_x);
    inside = qo::count_rows_inside(plane, extent, walk_y, out_h);
    qo::resize_inside<uint16_t>({src, in_w, static_cast<uint32_t>(extent)}, walk_x, walk_y, dst,
                                {out_w, inside, 1});
  }
  qo::resize_clamped(src, plane, walk_x, walk_y, inside, dst, out);
  return QO_CMC_OK;
}
