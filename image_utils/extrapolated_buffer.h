/// The working copy of a plane that the bicubic family samples: floats with a border that continues
/// the plane linearly, so that every cell has its whole 4 x 4 neighbourhood.
///
///              1 column     width       2 columns
///            +----------+-------------+-----------+
///     1 row  |  corner  |     top     |  corners  |
///            +----------+-------------+-----------+
///   height   |   left   | the samples |   right   |
///            +----------+-------------+-----------+
///     2 rows |  corners |   bottom    |  corners  |
///            +----------+-------------+-----------+
///
/// Deliberate: the border is asymmetric. A neighbourhood begins one sample before its cell and ends
/// two after it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/c_heap.h"

namespace qo {

/// Samples that both borders of a row, or of a column, add together.
inline constexpr size_t extrapolated_margin = 3;

/// Floats from one row of the buffer to the next.
[[nodiscard]] constexpr size_t extrapolated_stride(uint16_t width) {
  return width + extrapolated_margin;
}

/// Floats in the whole buffer.
[[nodiscard]] constexpr size_t extrapolated_size(uint16_t width, uint16_t height) {
  return extrapolated_stride(width) * (height + extrapolated_margin);
}

/// Whether a plane of this size can have a buffer: it has samples, and the buffer's sides still are
/// 16-bit numbers.
[[nodiscard]] constexpr bool has_extrapolated_buffer(uint16_t width, uint16_t height) {
  constexpr uint16_t end = UINT16_MAX - extrapolated_margin + 1;
  return width != 0 && width < end && height != 0 && height < end;
}

/// An empty buffer for a plane, or null when there is no memory.
[[nodiscard]] inline heap_array<float> new_extrapolated_buffer(uint16_t width, uint16_t height) {
  return heap_array<float>(c_new_array<float>(extrapolated_size(width, height)));
}

/// Fills the buffer of a plane. The size satisfies has_extrapolated_buffer(). With a side of 1 the
/// border reads cells before they are written; the buffer is cleared first then.
void fill_extrapolated_buffer(const uint8_t* src, float* buffer, uint16_t width, uint16_t height);
void fill_extrapolated_buffer(const uint16_t* src, float* buffer, uint16_t width, uint16_t height);
void fill_extrapolated_buffer(const float* src, float* buffer, uint16_t width, uint16_t height);

/// The same with every sample multiplied by 1 / 2^shift. The power is the signed 32-bit 1 << shift,
/// the count modulo 32, so a count of 31 stands for -2^31.
void create_scaled_extrapolated_buffer_u16(const uint16_t* src, float* buffer, uint16_t width,
                                           uint16_t height, int32_t shift);

}  // namespace qo
