/// Row kernels of bicubic patches in single precision.
///
/// Between four samples of a 16-bit plane the Catmull-Rom surface is a polynomial in the two
/// fractions of the position,
///
///   sum over m, n of a[m][n] ty^m tx^n = sum over m of R_m ty^m
///   R_m = ((a[m][0] + a[m][1] tx) + a[m][2] tx^2) + a[m][3] tx^3
///
/// R_m depends on the row of cells and on the column alone: one pass along a row of cells serves
/// every output row that falls into it.
#pragma once

#include <cstddef>

namespace qo {

/// The most columns that one call of a kernel takes.
inline constexpr size_t patch_strip = 256;

/// R_m of column x is m[m][x].
struct patch_values {
  alignas(64) float m[4][patch_strip];
};

struct patch_rows {
  /// R_0 ... R_3 of `count` columns, at least 1. `rows` are the four rows of samples that the cells
  /// lie on; column x is at positions[x], whose integer part i, not negative, is its cell and whose
  /// fraction is tx: its samples are i ... i + 3 of each row. Positions rise by at most 1 from
  /// column to column, but for their rounding. Values from `count` on are left undefined.
  ///
  /// The samples are integers of magnitude 13 * 65535 at most, as a plane of 16-bit samples and its
  /// linear continuation hold, and none is -0.
  void (*along)(const float* const rows[4], const float* positions, size_t count,
                patch_values* values);

  /// dst[x] = ((R_0 + R_1 ty) + R_2 ty^2) + R_3 ty^3, clamped to -255 ... 65535; a NaN becomes
  /// -255.
  void (*across)(const patch_values* values, float ty, size_t count, float* dst);
};

}  // namespace qo
