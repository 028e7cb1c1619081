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

/// The most columns, and the most rows of results, that one call of a kernel takes.
inline constexpr size_t patch_strip = 512;
inline constexpr size_t patch_results = 16;

struct patch_rows {
  /// `result_count` rows of results, `stride` floats apart, each at least 1, of `count` columns, at
  /// least 1: dst[y * stride + x] = ((R_0 + R_1 ty) + R_2 ty^2) + R_3 ty^3, clamped to
  /// -255 ... 65535, ty being ty[y].
  ///
  /// `rows` are the four rows of samples that the cells lie on; column x is at positions[x], whose
  /// integer part i, not negative, is its cell and whose fraction is tx: its samples are i ... i +
  /// 3 of each row. Positions do not fall from column to column, and rise by at most 1 but for
  /// their rounding.
  ///
  /// The samples are integers of magnitude 13 * 65535 at most, as a plane of 16-bit samples and its
  /// linear continuation hold, and none is -0.
  void (*enlarge)(const float* const rows[4], const float* positions, size_t count, const float* ty,
                  size_t result_count, float* dst, size_t stride);
};

}  // namespace qo
