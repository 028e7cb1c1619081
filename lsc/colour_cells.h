/// Colour-filter arrangements: which colour sits on which site of the sensor's repeating cell.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qo {

/// G1 and G2 are the greens, C1 and C2 the other two colours; `no` is a site without a gain plane.
enum class colour : uint8_t { G1, C1, C2, G2, no };

inline constexpr size_t colour_count = 4;

namespace cells {

using enum colour;

// clang-format off

/// Codes 0 to 3: cells of 2 x 2 sites.
inline constexpr colour two_by_two[4][2][2] = {
    {{G2, C2},    // 0
     {C1, G1}},
    {{C2, G2},    // 1
     {G1, C1}},
    {{C1, G1},    // 2
     {G2, C2}},
    {{G1, C1},    // 3
     {C2, G2}},
};

/// Codes 256 to 263: cells of 4 x 4 sites.
inline constexpr uint32_t first_four_by_four_code = 256;
inline constexpr colour four_by_four[8][4][4] = {
    {{C1, G2, C2, G2},    // 256
     {G1, no, G1, no},
     {C2, G2, C1, G2},
     {G1, no, G1, no}},
    {{G2, C2, G2, C1},    // 257
     {no, G1, no, G1},
     {G2, C1, G2, C2},
     {no, G1, no, G1}},
    {{C2, G2, C1, G2},    // 258
     {G1, no, G1, no},
     {C1, G2, C2, G2},
     {G1, no, G1, no}},
    {{G2, C1, G2, C2},    // 259
     {no, G1, no, G1},
     {G2, C2, G2, C1},
     {no, G1, no, G1}},
    {{G1, no, G1, no},    // 260
     {C2, G2, C1, G2},
     {G1, no, G1, no},
     {C1, G2, C2, G2}},
    {{no, G1, no, G1},    // 261
     {G2, C1, G2, C2},
     {no, G1, no, G1},
     {G2, C2, G2, C1}},
    {{G1, no, G1, no},    // 262
     {C1, G2, C2, G2},
     {G1, no, G1, no},
     {C2, G2, C1, G2}},
    {{no, G1, no, G1},    // 263
     {G2, C2, G2, C1},
     {no, G1, no, G1},
     {G2, C1, G2, C2}},
};

// clang-format on

}  // namespace cells

/// A cell of side x side sites; side 0 when there is none.
struct colour_cell {
  size_t side;
  const colour* sites;  ///< row by row

  [[nodiscard]] constexpr colour at(size_t row, size_t column) const {
    return sites[row * side + column];
  }
};

/// The sensor's cell, or one of side 0 for a code that names none.
[[nodiscard]] constexpr colour_cell find_colour_cell(uint32_t cfa_layout) {
  if (cfa_layout < 4) return {2, cells::two_by_two[cfa_layout][0]};
  const uint32_t large = cfa_layout - cells::first_four_by_four_code;  // wraps below 256
  if (large < 8) return {4, cells::four_by_four[large][0]};
  return {0, nullptr};
}

/// Where a gain table holds each colour's plane.
struct plane_numbers {
  bool known;
  uint8_t of[colour_count];
};

/// A gain table's planes are the sites of the 2 x 2 cell `plane_order`, row by row.
[[nodiscard]] constexpr plane_numbers find_plane_numbers(uint32_t plane_order) {
  plane_numbers planes = {};
  if (plane_order >= 4) return planes;
  planes.known = true;
  for (uint8_t row = 0; row < 2; ++row)
    for (uint8_t column = 0; column < 2; ++column)
      planes.of[static_cast<size_t>(cells::two_by_two[plane_order][row][column])] =
          static_cast<uint8_t>(2 * row + column);
  return planes;
}

/// Whether the colours of every order stand on four different planes of a table, so that no plane
/// is averaged with itself or counts for two.
[[nodiscard]] constexpr bool planes_are_distinct() {
  for (uint32_t order = 0; order < 4; ++order) {
    uint32_t seen = 0;
    for (const uint8_t plane : find_plane_numbers(order).of) seen |= 1u << plane;
    if (seen != 0xf) return false;
  }
  return true;
}
static_assert(planes_are_distinct());

}  // namespace qo
