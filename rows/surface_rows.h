/// Row kernels of the quartic surface.
#pragma once

#include <cstddef>

namespace qo {

/// The surface along one row: k0 + k1 x + k2 x^2 + k3 x^3 + k4 x^4.
struct row_quartic {
  float k0, k1, k2, k3, k4;
};

/// Columns whose powers stand side by side, so that all rows of a surface share them.
inline constexpr size_t surface_strip = 512;

/// x, x^2, x^3 and x^4 of a strip of columns.
struct column_powers {
  float first[surface_strip];
  float second[surface_strip];
  float third[surface_strip];
  float fourth[surface_strip];
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
  /// x = k * step + 1, x^2 = x x, x^3 = x x^2, x^4 = x^3 x.
  void (*fill_powers)(float step, size_t begin, size_t count, column_powers& powers);

  /// dst[r * stride + k] = (((k0 + k1 x) + k2 x^2) + k3 x^3) + k4 x^4 for r below `rows` and k
  /// below `count`, with the k's of quartics[r] and the powers of column k.
  void (*sample)(const row_quartic* quartics, size_t rows, const column_powers& powers,
                 size_t count, float* dst, size_t stride);
};

}  // namespace qo
