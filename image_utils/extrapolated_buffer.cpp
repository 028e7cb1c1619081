// interpolate_gain_value(), create_extrapolated_buffer_for_bicubic_u16(), and the fill of the
// working copy that they share with the bicubic family.

#include "image_utils/extrapolated_buffer.h"

#include <cassert>
#include <cstring>

#include "base/powers_of_two.h"
#include "qo_cmc/image_utils.h"

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

/// The straight line through the two cells at distances `step` and 2 `step`, continued to `cell`.
[[nodiscard]] float line_value(const float* cell, ptrdiff_t step) {
  const float near = cell[step];
  return (near + near) - cell[2 * step];
}

/// The mean of the vertical and the horizontal line, added up in this order.
[[nodiscard]] float corner_value(const float* cell, ptrdiff_t vertical, ptrdiff_t horizontal) {
  const float near = cell[horizontal];
  return ((line_value(cell, vertical) + (near + near)) - cell[2 * horizontal]) * 0.5f;
}

[[nodiscard]] float border_value(const float* cell, ptrdiff_t stride, border side) {
  switch (side) {
    case border::top:
      return line_value(cell, stride);
    case border::bottom:
      return line_value(cell, -stride);
    case border::left:
      return line_value(cell, 1);
    case border::right:
      return line_value(cell, -1);
    case border::top_left:
      return corner_value(cell, stride, 1);
    case border::top_right:
      return corner_value(cell, stride, -1);
    case border::bottom_left:
      return corner_value(cell, -stride, 1);
    case border::bottom_right:
      return corner_value(cell, -stride, -1);
  }
  return 0.0f;  // Contract: a mode that means nothing writes 0.
}

template <typename Sample>
void convert_row(const Sample* src, size_t width, float* dst) {
  for (size_t column = 0; column < width; ++column) dst[column] = static_cast<float>(src[column]);
}

void convert_row_scaled(const uint16_t* src, size_t width, float factor, float* dst) {
  for (size_t column = 0; column < width; ++column)
    dst[column] = static_cast<float>(src[column]) * factor;
}

/// The fill order, for every kind of source: `load_row(row, to)` stores the samples of one row.
/// Outer border cells and corners continue cells that were filled before them, so the order counts.
template <typename LoadRow>
void fill_in_order(float* buffer, uint16_t width, uint16_t height, const LoadRow load_row) {
  assert(has_extrapolated_buffer(width, height));
  const size_t w = width;
  const size_t h = height;
  const size_t stride = extrapolated_stride(width);
  const auto extrapolate = [buffer, stride](size_t row, size_t column, border side) {
    float* const cell = buffer + row * stride + column;
    *cell = border_value(cell, static_cast<ptrdiff_t>(stride), side);
  };

  if (w < 2 || h < 2) memset(buffer, 0, extrapolated_size(width, height) * sizeof(float));

  for (size_t row = 1; row <= h; ++row) {
    load_row(row - 1, buffer + row * stride + 1);
    extrapolate(row, 0, border::left);
    extrapolate(row, w + 1, border::right);
    extrapolate(row, w + 2, border::right);
  }

  for (size_t column = 1; column <= w; ++column) extrapolate(0, column, border::top);
  extrapolate(0, 0, border::top_left);
  extrapolate(0, w + 1, border::top_right);
  extrapolate(0, w + 2, border::top_right);

  for (size_t column = 1; column <= w; ++column) {
    extrapolate(h + 1, column, border::bottom);
    extrapolate(h + 2, column, border::bottom);
  }
  extrapolate(h + 1, 0, border::bottom_left);
  extrapolate(h + 2, 0, border::bottom_left);
  extrapolate(h + 1, w + 1, border::bottom_right);
  extrapolate(h + 1, w + 2, border::bottom_right);
  extrapolate(h + 2, w + 1, border::bottom_right);
  extrapolate(h + 2, w + 2, border::bottom_right);
}

template <typename Sample>
void fill_unscaled(const Sample* src, float* buffer, uint16_t width, uint16_t height) {
  fill_in_order(buffer, width, height,
                [src, width](size_t row, float* to) { convert_row(src + row * width, width, to); });
}

}  // namespace

void fill_extrapolated_buffer(const uint8_t* src, float* buffer, uint16_t width, uint16_t height) {
  fill_unscaled(src, buffer, width, height);
}

void fill_extrapolated_buffer(const uint16_t* src, float* buffer, uint16_t width, uint16_t height) {
  fill_unscaled(src, buffer, width, height);
}

void fill_extrapolated_buffer(const float* src, float* buffer, uint16_t width, uint16_t height) {
  fill_unscaled(src, buffer, width, height);
}

void create_scaled_extrapolated_buffer_u16(const uint16_t* src, float* buffer, uint16_t width,
                                           uint16_t height, int32_t shift) {
  // With a shift of 31 every sample changes its sign.
  const float factor = 1.0f / signed_power_of_two(static_cast<uint32_t>(shift));
  fill_in_order(buffer, width, height, [src, width, factor](size_t row, float* to) {
    convert_row_scaled(src + row * width, width, factor, to);
  });
}

}  // namespace qo

void interpolate_gain_value(float* cell, uint16_t stride, uint32_t mode) {
  if (cell == nullptr) return;
  *cell = qo::border_value(cell, stride, qo::border{mode});
}

void create_extrapolated_buffer_for_bicubic_u16(const uint16_t* src, float* buffer, uint16_t w,
                                                uint16_t h) {
  if (!qo::has_extrapolated_buffer(w, h) || src == nullptr || buffer == nullptr) return;
  qo::fill_extrapolated_buffer(src, buffer, w, h);
}
