/// Row kernels of the quartic surface.
#pragma once

#include <cstddef>

namespace qo {

/// Columns whose powers stand side by side, so that all rows of a surface share them.
inline constexpr size_t surface_strip = 512;

/// x, x^2, x^3 and x^4 of a strip of columns.
struct column_powers {
  float first[surface_strip];
  float second[surface_strip];
  float third[surface_strip];
  float fourth[surface_strip];
};

/// Rows whose quartics stand side by side.
inline constexpr size_t quartic_rows = 64;

/// The surface along some rows: k0 + k1 x + k2 x^2 + k3 x^3 + k4 x^4. The last is the same in all.
struct row_quartics {
  float k0[quartic_rows];
  float k1[quartic_rows];
  float k2[quartic_rows];
  float k3[quartic_rows];
  float k4;
};

/// One factor of each of the fifteen monomials: what x gives, or what y gives, 1 where a monomial
/// has none of it.
struct monomial_factors {
  float of[16];  ///< the last one is not used
};

struct surface_rows {
  /// dst[c * stride + t] = columns[c].of[t] * row.of[t] for c below `count` and t below 15.
  void (*multiply_factors)(const monomial_factors* columns, const monomial_factors& row,
                           size_t count, float* dst, size_t stride);

  /// Powers of `count` columns, at most surface_strip, from the column `begin` on: column k has
  /// x = k * step + 1, x^2 = x x, x^3 = x x^2, x^4 = x^3 x. What comes after them in `powers` may
  /// change.
  void (*fill_powers)(float step, size_t begin, size_t count, column_powers& powers);

  /// Quartics of `count` rows, at most quartic_rows, from the row `begin` on, with y and its powers
  /// as for columns and the surface's coefficients c0 to c14:
  ///   k0 = (((c0 + c2 y) + c5 y^2) + c9 y^3) + c14 y^4,  k1 = ((c1 + c4 y) + c8 y^2) + c13 y^3,
  ///   k2 = (c3 + c7 y) + c12 y^2,  k3 = c6 + c11 y,  k4 = c10
  /// What comes after them in `quartics` may change.
  void (*fill_quartics)(const float* coefficients, float step, size_t begin, size_t count,
                        row_quartics& quartics);

  /// dst[r * stride + k] = (((k0 + k1 x) + k2 x^2) + k3 x^3) + k4 x^4 for r below `rows` and k
  /// below `count`, with the k's of row r and the powers of column k. dst overlaps neither.
  void (*sample)(const row_quartics& quartics, size_t rows, const column_powers& powers,
                 size_t count, float* dst, size_t stride);
};

}  // namespace qo
