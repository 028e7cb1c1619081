/// The row arithmetic of the bicubic upscale: Catmull-Rom patches as polynomials, single precision.
///
/// Between four source samples the surface is a polynomial in the two fractions of the position,
///
///   sum over m, n of a[m][n] ty^m tx^n = sum over m of R_m ty^m
///   R_m = sum over n of a[m][n] tx^n
///
/// R_m depends only on the row of cells and on the output column. So one pass along a row of cells
/// leaves four rows of R, which serve every output row that falls into these cells.
#pragma once

#include <cstddef>

namespace qo {

/// Where an output sample falls on the source: in which cell, and how far after its first sample.
struct patch_position {
  size_t cell;
  float fraction;
};

/// Position `index` * `step`, not negative.
[[nodiscard]] patch_position patch_position_of(size_t index, float step);

/// One pass along a row of cells: for every output column x, at position x * `step`, the four R.
/// R_m of column x goes to rows[m * out_width + x]. `border_row` is the first of the four buffer
/// rows, `stride` floats apart, that this row of cells lies on.
void evaluate_patch_rows(const float* border_row, size_t stride, float step, size_t out_width,
                         float* rows);

/// One output row from the four rows of R: dst[x] = R_0 + R_1 ty + R_2 ty^2 + R_3 ty^3, clamped to
/// the range from -255 to 65535. A NaN becomes -255.
void evaluate_output_row(const float* rows, float ty, size_t out_width, float* dst);

}  // namespace qo
