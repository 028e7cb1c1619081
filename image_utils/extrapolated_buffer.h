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

/// A plane of samples, and the factor that each is multiplied by as it becomes a float. Floats are
/// taken as they are.
template <typename Sample>
struct source_plane {
  const Sample* samples;
  uint16_t width;
  uint16_t height;
  float factor = 1.0f;
};

/// A source of 16-bit samples that are multiplied by 1 / 2^shift. The power is the signed 32-bit
/// 1 << shift, the count modulo 32, so a count of 31 stands for -2^31 and changes the sign.
[[nodiscard]] source_plane<uint16_t> scaled_plane(const uint16_t* samples, uint16_t width,
                                                  uint16_t height, int32_t shift);

/// Columns of the buffer: from `begin` to before `end`.
struct column_range {
  size_t begin;
  size_t end;
};

/// Fills the buffer of a plane. The size satisfies has_extrapolated_buffer(). With a side of 1 the
/// border reads cells before they are written, which count as 0.
template <typename Sample>
void fill_extrapolated_buffer(const source_plane<Sample>& plane, float* buffer);

// The rows that the buffer consists of, for those who make only some of them. Of each row only the
// columns of a range are made: those of at least one neighbourhood, four columns.

/// Makes a buffer row of source row `source_row`, its border cells included.
template <typename Sample>
void load_row(const source_plane<Sample>& plane, size_t source_row, column_range columns,
              float* row);

/// Asks for the samples of a source row that is made later: rows of wide planes lie on pages of
/// their own, which processors do not run ahead to.
template <typename Sample>
void prefetch_row(const source_plane<Sample>& plane, size_t source_row, column_range columns);

/// Makes a buffer row above or below the source, from the next two rows inward.
void continue_rows(const float* near, const float* far, uint16_t width, column_range columns,
                   float* row);

/// Makes the row that a border reads before it is written.
void clear_row(column_range columns, float* row);

}  // namespace qo
