/// The surface that gains are fitted with: a quartic in two variables, its terms in the order
///   1, x, y, x^2, xy, y^2, x^3, x^2 y, x y^2, y^3, x^4, x^3 y, x^2 y^2, x y^3, y^4
#pragma once

#include <cstdint>

namespace qo {

inline constexpr uint16_t surface_terms = 15;

/// Strides and byte counts of the fit are signed 32-bit: what a grid row of the transposed design
/// matrix may have at most.
[[nodiscard]] constexpr bool is_addressable_grid(uint16_t width, uint16_t height) {
  return uint64_t{width} * height * sizeof(float) <= INT32_MAX;
}

}  // namespace qo
