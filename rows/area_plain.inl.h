/// The rule of area averages, sample by sample, and where it has to run.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "rows/area_lanes.inl.h"
#include "rows/area_rows.h"
#include "rows/lanes.h"

namespace qo::QO_ROWS_NS {
namespace {

[[nodiscard]] inline float column_weight(const area_columns& columns, size_t column, uint32_t tap) {
  if (tap == 0) return columns.first_weights[column];
  return tap + 1u == columns.counts[column] ? columns.last_weights[column] : 1.0f;
}

template <typename Sample>
[[nodiscard]] inline float row_weight(const area_band<Sample>& band, uint32_t row) {
  if (row == 0) return band.first_weight;
  return row + 1 == band.count ? band.last_weight : 1.0f;
}

/// Samples from the band's first to the start of its row `row`.
template <typename Sample>
[[nodiscard]] inline size_t row_offset(const area_band<Sample>& band, uint32_t row) {
  return (row < band.last_row ? row : band.last_row) * band.row_step;
}

/// The rule itself, and what runs where a vector would read past the plane: adds to the sum what
/// the rows from `row` on give.
template <typename Sample>
[[nodiscard]] float add_row_by_row(float sum, const area_columns& columns,
                                   const area_band<Sample>& band, size_t column, uint32_t row) {
  for (; row < band.count; ++row) {
    const size_t start = row_offset(band, row) + columns.starts[column];
    for (uint32_t tap = 0; tap < columns.counts[column]; ++tap) {
      const size_t at = start + tap < band.readable ? start + tap : band.readable - 1;
      sum += column_weight(columns, column, tap) * row_weight(band, row) *
             static_cast<float>(band.first[at]);
    }
  }
  return sum;
}

/// The same for a group of columns. Rare, so it is kept out of the way.
template <typename Sample>
[[nodiscard]] __attribute__((noinline)) floats<lanes> add_plain_rows(floats<lanes> sums,
                                                                     const area_columns& columns,
                                                                     const area_band<Sample>& band,
                                                                     size_t column, uint32_t row) {
  const size_t left = columns.count - column;
  for (size_t i = 0; i < (left < lanes ? left : lanes); ++i)
    sums[i] = add_row_by_row(sums[i], columns, band, column + i, row);
  return sums;
}

/// Rows of a band in which so many samples from position 0 on are in the plane.
template <typename Sample>
[[nodiscard]] inline __attribute__((always_inline)) uint32_t rows_inside(
    const area_band<Sample>& band, size_t reach) {
  uint32_t rows = band.count;
  while (rows != 0 && row_offset(band, rows - 1) + reach > band.readable) --rows;
  return rows;
}

/// Whether no row of a band is one of those beyond the plane, and in all of them so many samples
/// from position 0 on are in the plane.
template <typename Sample>
[[nodiscard]] inline bool lies_inside(const area_band<Sample>& band, size_t reach) {
  const size_t last = band.count - 1;
  return last <= band.last_row && last * band.row_step + reach <= band.readable;
}

}  // namespace
}  // namespace qo::QO_ROWS_NS
