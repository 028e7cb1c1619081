// bicubic_resize_32f_to_u16p10() and bicubic_resize_u16_to_u16(): sizes, positions and memory. The
// arithmetic is in rows/spline_rows.

#include "qo_cmc/image_utils.h"

#include <algorithm>
#include <cassert>
#include <type_traits>

#include "base/c_heap.h"
#include "base/float_to_int.h"
#include "image_utils/extrapolated_rows.h"
#include "qo_cmc/status.h"
#include "rows/row_table.h"

namespace qo {
namespace {

/// Heights first, as these two functions take them.
struct resize_size {
  uint16_t in_height;
  uint16_t in_width;
  uint16_t out_height;
  uint16_t out_width;
};

/// Where an output sample falls on the source: between which sample and the next, and how far.
struct spline_position {
  size_t sample;
  float fraction;
};

/// Corner-aligned: index / (out_side - 1) * (in_side - 1), divided first. An output of one sample
/// takes the first.
[[nodiscard]] spline_position spline_position_of(size_t index, uint16_t in_side,
                                                 uint16_t out_side) {
  assert(in_side >= 1 && index < out_side);
  if (out_side == 1) return {0, 0.0f};
  const float position = static_cast<float>(index) / static_cast<float>(out_side - 1) *
                         static_cast<float>(in_side - 1);
  const int32_t sample = truncate_to_i32(position);  // the floor, for nothing is negative
  return {static_cast<size_t>(sample), position - static_cast<float>(sample)};
}

/// Columns that are worked on together: their tables and the values of four rows stand on the
/// stack.
struct column_strip {
  size_t begin;
  size_t count;
  uint32_t cells[spline_strip];  ///< first of a column's four samples, as column of the buffer
  float fractions[spline_strip];

  /// Columns of the buffer that `part` columns from the strip's `first` on take samples of.
  [[nodiscard]] column_range source_columns(size_t first, size_t part) const {
    return {cells[first], cells[first + part - 1] + 4u};
  }
};

void place_strip(size_t begin, const resize_size& size, column_strip& strip) {
  strip.begin = begin;
  strip.count = std::min(spline_strip, size.out_width - begin);
  for (size_t x = 0; x < strip.count; ++x) {
    const spline_position at = spline_position_of(begin + x, size.in_width, size.out_width);
    strip.cells[x] = static_cast<uint32_t>(at.sample);
    strip.fractions[x] = at.fraction;
  }
}

/// The values of the splines along four consecutive rows. Moving on keeps the rows that both
/// windows share.
struct spline_window {
  alignas(64) float values[4][spline_strip + spline_room];
  size_t held[4] = {SIZE_MAX, SIZE_MAX, SIZE_MAX, SIZE_MAX};

  /// Later rows are asked for while values are formed, a few lines at a time: processors keep track
  /// of two dozen lines that are on their way, and wait for one when asked for more.
  static constexpr size_t part_columns = 64;
  static constexpr size_t rows_ahead = 3;

  template <typename Sample>
  void move_to(size_t first, extrapolated_rows<Sample>& source, const column_strip& strip) {
    source.move_to(first);
    for (size_t row = first; row < first + 4; ++row) {
      if (held[row % 4] == row) continue;
      held[row % 4] = row;
      // Of integers continued linearly all terms are exact; a side of 1 is continued otherwise.
      const bool integers = std::is_same_v<Sample, uint16_t> && source.continues_linearly();
      const auto along = integers ? rows().splines.along_integers : rows().splines.along;
      for (size_t x = 0; x < strip.count; x += part_columns) {
        const size_t count = std::min(part_columns, strip.count - x);
        source.prefetch(row + rows_ahead, strip.source_columns(x, count));
        along(source.row(row), strip.cells + x, strip.fractions + x, count, values[row % 4] + x);
      }
    }
  }

  [[nodiscard]] const float* row(size_t row) const { return values[row % 4]; }
};

template <typename Sample>
void resize_strip(extrapolated_rows<Sample>& source, const column_strip& strip,
                  const resize_size& size, uint16_t* dst) {
  spline_window window;
  size_t row = 0;
  while (row < size.out_height) {
    // Output rows between the same source rows are formed together.
    float fractions[spline_results];
    size_t count = 0;
    size_t first = 0;
    while (row + count < size.out_height && count < spline_results) {
      const spline_position at = spline_position_of(row + count, size.in_height, size.out_height);
      if (count != 0 && at.sample != first) break;
      first = at.sample;
      fractions[count++] = at.fraction;
    }
    window.move_to(first, source, strip);
    const float* const values[4] = {window.row(first), window.row(first + 1), window.row(first + 2),
                                    window.row(first + 3)};
    rows().splines.across(values, fractions, count, strip.count,
                          dst + row * size.out_width + strip.begin, size.out_width);
    row += count;
  }
}

/// Both members. Contract: the low 16 bits are stored; what the spline leaves below 0 or above
/// 65535 wraps.
template <typename Sample>
[[nodiscard]] uint32_t resize_plane(const source_plane<Sample>& src, uint16_t* dst,
                                    const resize_size& size) {
  if (!has_extrapolated_buffer(size.in_width, size.in_height)) return QO_CMC_INVALID_SIZE;
  if (size.out_height == 0 || size.out_width == 0) return QO_CMC_OK;
  if (src.samples == nullptr || dst == nullptr) return QO_CMC_INVALID_SIZE;

  const heap_array<float> storage(
      c_new_array<float>(extrapolated_rows<Sample>::storage_size(size.in_width)));
  if (storage == nullptr) return QO_CMC_NO_MEMORY;
  extrapolated_rows<Sample> source(src, storage.get());
  for (size_t column = 0; column < size.out_width; column += spline_strip) {
    column_strip strip;
    place_strip(column, size, strip);
    source.use_columns(strip.source_columns(0, strip.count));
    resize_strip(source, strip, size, dst);
  }
  return QO_CMC_OK;
}

}  // namespace
}  // namespace qo

uint32_t bicubic_resize_32f_to_u16p10(const float* src, uint16_t in_h, uint16_t in_w, uint16_t* dst,
                                      uint16_t out_h, uint16_t out_w) {
  return qo::resize_plane(qo::source_plane<float>{src, in_w, in_h}, dst,
                          {in_h, in_w, out_h, out_w});
}

uint32_t bicubic_resize_u16_to_u16(const uint16_t* src, uint16_t in_h, uint16_t in_w,
                                   uint16_t in_frac_bits, uint16_t* dst, uint16_t out_h,
                                   uint16_t out_w) {
  // Deliberate: only this member refuses an output of one row or column.
  if (out_h == 1 || out_w == 1) return QO_CMC_INVALID_SIZE;
  return qo::resize_plane(qo::scaled_plane(src, in_w, in_h, in_frac_bits), dst,
                          {in_h, in_w, out_h, out_w});
}
