// interpolate_gain_value(), create_extrapolated_buffer_for_bicubic_u16(), and the fill of the
// working copy that they share with the bicubic family.

#include "image_utils/extrapolated_buffer.h"

#include <algorithm>
#include <cassert>
#include <cstring>

#include "base/powers_of_two.h"
#include "qo_cmc/image_utils.h"
#include "rows/row_table.h"

namespace qo {
namespace {

/// Which side of the buffer a border cell lies on; the numbers are those of the interface.
enum class border : uint32_t {
  top = 0,
  bottom = 1,
  left = 2,
  right = 3,
  top_left = 4,
  top_right = 5,
  bottom_left = 6,
  bottom_right = 7,
};

/// The straight line through the two next cells inward, continued.
[[nodiscard]] float line_value(float near, float far) { return (near + near) - far; }

/// The mean of the vertical and the horizontal line, added up in this order.
[[nodiscard]] float corner_value(float vertical_line, float near, float far) {
  return ((vertical_line + (near + near)) - far) * 0.5f;
}

[[nodiscard]] float border_value(const float* cell, ptrdiff_t stride, border side) {
  const auto line = [cell](ptrdiff_t step) { return line_value(cell[step], cell[2 * step]); };
  const auto corner = [cell, line](ptrdiff_t vertical, ptrdiff_t horizontal) {
    return corner_value(line(vertical), cell[horizontal], cell[2 * horizontal]);
  };
  switch (side) {
    case border::top:
      return line(stride);
    case border::bottom:
      return line(-stride);
    case border::left:
      return line(1);
    case border::right:
      return line(-1);
    case border::top_left:
      return corner(stride, 1);
    case border::top_right:
      return corner(stride, -1);
    case border::bottom_left:
      return corner(-stride, 1);
    case border::bottom_right:
      return corner(-stride, -1);
  }
  return 0.0f;  // Contract: a mode that means nothing writes 0.
}

void load_samples(const uint8_t* src, size_t count, float /*factor*/, float* dst) {
  rows().floats.from_u8(src, count, dst);
}

void load_samples(const uint16_t* src, size_t count, float factor, float* dst) {
  rows().floats.from_u16(src, count, factor, dst);
}

void load_samples(const float* src, size_t count, float /*factor*/, float* dst) {
  memcpy(dst, src, count * sizeof(float));
}

/// The columns of a range that lie between the borders.
[[nodiscard]] column_range without_border(column_range columns, size_t width) {
  return {std::max<size_t>(columns.begin, 1), std::min(columns.end, width + 1)};
}

}  // namespace

source_plane<uint16_t> scaled_plane(const uint16_t* samples, uint16_t width, uint16_t height,
                                    int32_t shift) {
  return {samples, width, height, 1.0f / signed_power_of_two(static_cast<uint32_t>(shift))};
}

template <typename Sample>
void load_row(const source_plane<Sample>& plane, size_t source_row, column_range columns,
              float* row) {
  const size_t width = plane.width;
  const column_range inner = without_border(columns, width);
  const size_t count = inner.end - inner.begin;
  const Sample* const from = plane.samples + source_row * width + (inner.begin - 1);
  load_samples(from, count, plane.factor, row + inner.begin);
  if (width == 1) row[2] = 0.0f;  // read before it is written
  if (columns.begin == 0) row[0] = line_value(row[1], row[2]);
  if (columns.end > width + 1) row[width + 1] = line_value(row[width], row[width - 1]);
  if (columns.end > width + 2) row[width + 2] = line_value(row[width + 1], row[width]);
}

template <typename Sample>
void prefetch_row(const source_plane<Sample>& plane, size_t source_row, column_range columns) {
  const column_range inner = without_border(columns, plane.width);
  const Sample* const from = plane.samples + source_row * plane.width;
  constexpr size_t samples_per_line = 64 / sizeof(Sample);
  for (size_t column = inner.begin; column < inner.end; column += samples_per_line)
    __builtin_prefetch(from + (column - 1));
}

void continue_rows(const float* near, const float* far, uint16_t width, column_range columns,
                   float* row) {
  const size_t w = width;
  const column_range inner = without_border(columns, w);
  rows().floats.extrapolate(near + inner.begin, far + inner.begin, inner.end - inner.begin,
                            row + inner.begin);
  if (w == 1) row[2] = 0.0f;  // read before it is written
  const auto corner = [near, far, row](size_t column, ptrdiff_t step) {
    const float* const cell = row + column;
    row[column] = corner_value(line_value(near[column], far[column]), cell[step], cell[2 * step]);
  };
  if (columns.begin == 0) corner(0, 1);
  if (columns.end > w + 1) corner(w + 1, -1);
  if (columns.end > w + 2) corner(w + 2, -1);
}

void clear_row(column_range columns, float* row) {
  memset(row + columns.begin, 0, (columns.end - columns.begin) * sizeof(float));
}

template <typename Sample>
void fill_extrapolated_buffer(const source_plane<Sample>& plane, float* buffer) {
  assert(has_extrapolated_buffer(plane.width, plane.height));
  const size_t height = plane.height;
  const size_t stride = extrapolated_stride(plane.width);
  const column_range all = {0, stride};
  const auto row = [buffer, stride](size_t index) { return buffer + index * stride; };

  for (size_t index = 0; index < height; ++index) load_row(plane, index, all, row(index + 1));
  if (height == 1) clear_row(all, row(2));  // read before it is written
  continue_rows(row(1), row(2), plane.width, all, row(0));
  continue_rows(row(height), row(height - 1), plane.width, all, row(height + 1));
  continue_rows(row(height + 1), row(height), plane.width, all, row(height + 2));
}

template void load_row(const source_plane<uint8_t>&, size_t, column_range, float*);
template void load_row(const source_plane<uint16_t>&, size_t, column_range, float*);
template void load_row(const source_plane<float>&, size_t, column_range, float*);
template void prefetch_row(const source_plane<uint8_t>&, size_t, column_range);
template void prefetch_row(const source_plane<uint16_t>&, size_t, column_range);
template void prefetch_row(const source_plane<float>&, size_t, column_range);
template void fill_extrapolated_buffer(const source_plane<uint8_t>&, float*);
template void fill_extrapolated_buffer(const source_plane<uint16_t>&, float*);
template void fill_extrapolated_buffer(const source_plane<float>&, float*);

}  // namespace qo

void interpolate_gain_value(float* cell, uint16_t stride, uint32_t mode) {
  if (cell == nullptr) return;
  *cell = qo::border_value(cell, stride, qo::border{mode});
}

void create_extrapolated_buffer_for_bicubic_u16(const uint16_t* src, float* buffer, uint16_t w,
                                                uint16_t h) {
  if (!qo::has_extrapolated_buffer(w, h) || src == nullptr || buffer == nullptr) return;
  qo::fill_extrapolated_buffer(qo::source_plane<uint16_t>{src, w, h}, buffer);
}
