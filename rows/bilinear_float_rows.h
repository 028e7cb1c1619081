/// Row kernels of bilinear resizing in single precision.
///
/// The rule for one output, the products from left to right:
///
///   dst = fx s11 fy + ((s01 fx gy + s00 gx gy) + gx s10 fy),  gx = 1 - fx,  gy = 1 - fy
///   s00, s01 = samples c0 and c1 of the upper source row;  s10, s11 = those of the lower one
///   X = float(number) step,  c0 = trunc(X),  fx = X - c0,  c1 = min(c0 + 1, last)
///
/// The two products by gx and fx belong to a source row, however many output rows it has a part in.
/// More may not be formed in advance: a sum would round differently.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qo {

/// Outputs of a row that are blended together: a multiple of what any register holds. No power of
/// two: rows a page apart would compete for the same lines of the nearest cache.
inline constexpr size_t bilinear_float_strip = 960;

/// The outputs numbered `first` and following of a row, `count` of them. No number reaches 65536,
/// nor does a position.
struct bilinear_float_walk {
  uint32_t first;
  uint32_t count;
  uint32_t extent;  ///< samples of a source row
  float step;
};

/// What a set of kernels has worked out about a walk. Only the set that filled it reads it.
struct bilinear_float_columns {
  alignas(64) uint16_t taps[2 * bilinear_float_strip];  ///< rows have less than 65536 samples
  alignas(64) float fractions[bilinear_float_strip];
  alignas(64) uint16_t starts[bilinear_float_strip / 4];
  bilinear_float_walk walk;
  uint32_t windows;  ///< windows of the source row around the taps of neighbouring outputs
};

/// The products of a source row: sample c0 by gx, and sample c1 by fx.
struct bilinear_float_row {
  alignas(64) float near[bilinear_float_strip];
  alignas(64) float far[bilinear_float_strip];
};

/// Part of some output rows that lie between the same two source rows.
struct bilinear_float_part {
  size_t first;     ///< output of the walk that each begins with: a multiple of any register's
  size_t count;     ///< outputs of each, at least 1
  size_t rows;      ///< at least 1
  const float* fy;  ///< of each row
  float* dst;
  size_t pitch;  ///< from one to the next in `dst`
};

/// Nothing overlaps.
struct bilinear_float_rows {
  /// Works out the columns of a strip.
  void (*plan)(const bilinear_float_walk& walk, bilinear_float_columns& columns);

  /// The products of a source row, reading row[0 ... extent - 1].
  void (*across)(const bilinear_float_columns& columns, const float* row,
                 bilinear_float_row& products);

  /// Output rows from the products of two source rows, which may be the same.
  void (*down)(const bilinear_float_row& upper, const bilinear_float_row& lower,
               const bilinear_float_part& part);

  /// across() of two source rows and down() at once.
  void (*across_and_down)(const bilinear_float_columns& columns, const float* upper,
                          const float* lower, const bilinear_float_part& part);

  /// Whether forming products takes hardly more time than storing them and loading them again.
  bool is_across_fast;
};

}  // namespace qo
