/// Four consecutive rows of a plane's extrapolated buffer (extrapolated_buffer.h), made when they
/// are asked for, so that no whole copy of the plane is kept.
#pragma once

#include <cstddef>
#include <cstdint>

#include "image_utils/extrapolated_buffer.h"

namespace qo {

/// A window of four rows. Moving on keeps the rows that both windows share.
template <typename Sample>
class extrapolated_rows {
 public:
  static constexpr size_t count = 4;

  /// Floats that `storage` must hold: never more than the whole buffer.
  [[nodiscard]] static constexpr size_t storage_size(uint16_t width) {
    return count * extrapolated_stride(width);
  }

  extrapolated_rows(const source_plane<Sample>& plane, float* storage)
      : plane_(plane), storage_(storage), columns_{0, extrapolated_stride(plane.width)} {}

  /// From now on only these columns of the buffer are made, at least four.
  void use_columns(column_range columns) {
    columns_ = columns;
    for (size_t& held : held_) held = SIZE_MAX;
  }

  /// Makes rows `first` to `first` + 3 available.
  void move_to(size_t first) {
    const size_t height = plane_.height;
    for (size_t row = first; row < first + count; ++row)
      if (row >= 1 && row <= height) hold(row);
    // What lies above and below continues rows of the same window, the upper ones first.
    if (first == 0) hold(0);
    for (size_t row = height + 1; row < first + count; ++row) hold(row);
  }

  /// Asks for what a later move_to() makes row `row` of.
  void prefetch(size_t row, column_range columns) const {
    if (row >= 1 && row <= plane_.height) prefetch_row(plane_, row - 1, columns);
  }

  /// Whether every border cell continues samples. A side of 1 has none to continue from, and reads
  /// cells that are still 0.
  [[nodiscard]] bool continues_linearly() const { return plane_.width > 1 && plane_.height > 1; }

  /// Row `row` of the buffer, which move_to() has made available. Columns count from the buffer's
  /// first; those outside the range in use are undefined.
  [[nodiscard]] const float* row(size_t row) const { return storage_ + row % count * stride(); }

 private:
  [[nodiscard]] size_t stride() const { return extrapolated_stride(plane_.width); }
  [[nodiscard]] float* row_at(size_t row) { return storage_ + row % count * stride(); }

  void hold(size_t row) {
    size_t& held = held_[row % count];
    if (held == row) return;
    held = row;
    if (row == 0) {
      if (plane_.height == 1) clear_row(columns_, row_at(2));  // it is not made yet
      continue_rows(row_at(1), row_at(2), plane_.width, columns_, row_at(0));
    } else if (row > plane_.height) {
      continue_rows(row_at(row - 1), row_at(row - 2), plane_.width, columns_, row_at(row));
    } else {
      load_row(plane_, row - 1, columns_, row_at(row));
    }
  }

  source_plane<Sample> plane_;
  float* storage_;
  column_range columns_;
  size_t held_[count] = {SIZE_MAX, SIZE_MAX, SIZE_MAX, SIZE_MAX};
};

}  // namespace qo
