/// What the two builders of gain tables share: the record and its blocks, the gain of a raw value,
/// and where a mirrored sample lands.
#pragma once

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>

#include "base/c_heap.h"
#include "lsc/byte_range.h"
#include "qo_cmc/lsc.h"
#include "rows/row_table.h"

namespace qo {

/// Planes in one block, one for each colour channel.
inline constexpr size_t planes_per_block = 4;

/// Owner of a record and of every block it names.
using gain_tables_ptr =
    std::unique_ptr<computed_upscale_lsc_tables, deleter<deinit_computed_upscale_lsc_tables>>;

/// A record of `count` blocks that are still null, or null when there is no memory.
[[nodiscard]] gain_tables_ptr new_gain_tables(uint8_t count);

/// A block: four planes of `plane_samples` zeros, or null when there is no memory.
[[nodiscard]] heap_array<float> new_gain_block(size_t plane_samples);

/// Allocates block `index`, which is still null. Returns the block, which the record owns, or null
/// when there is no memory.
[[nodiscard]] float* add_gain_block(computed_upscale_lsc_tables& tables, uint8_t index,
                                    size_t plane_samples);

/// Whether every set has its four grids. A set count of 0 asks for nothing.
[[nodiscard]] bool has_all_grids(const calibration& module);

/// Whether the grids of a set with this many fraction bits hold u16 elements; otherwise u8.
[[nodiscard]] constexpr bool has_wide_elements(uint8_t fraction_bits) { return fraction_bits >= 9; }

/// How an orientation code mirrors a grid.
struct grid_mirror {
  bool known;  ///< false: the code means nothing, and no sample has a place
  bool left_right;
  bool top_bottom;
};

/// 0 as stored, 1 left to right, 2 top to bottom, 3 both.
[[nodiscard]] constexpr grid_mirror mirror_of(uint32_t orientation) {
  return {orientation <= 3, (orientation & 1) != 0, (orientation & 2) != 0};
}

/// The row kernel that turns raw values of one type into gains.
template <typename Raw>
[[nodiscard]] constexpr auto gains_kernel(const float_rows& kernels) {
  if constexpr (std::is_same_v<Raw, uint8_t>)
    return kernels.gains_from_u8;
  else if constexpr (std::is_same_v<Raw, uint16_t>)
    return kernels.gains_from_u16;
  else
    return kernels.gains_from_float;
}

/// Turns a grid of raw values (u8, u16 or float) into gains, raw / divisor + 1, each at its
/// mirrored place. Both grids hold height rows of width samples, dense row-major, and do not
/// overlap. An unknown orientation writes nothing.
template <typename Raw>
void place_gains(const Raw* raw, size_t width, size_t height, float divisor, uint32_t orientation,
                 float* gains) {
  assert(!overlap(bytes_of(gains, width * height), bytes_of(raw, width * height)));
  const grid_mirror mirror = mirror_of(orientation);
  if (!mirror.known) return;
  const auto convert_row = gains_kernel<Raw>(rows().floats);
  for (size_t row = 0; row < height; ++row)
    convert_row(raw + row * width, width, divisor, mirror.left_right,
                gains + (mirror.top_bottom ? height - 1 - row : row) * width);
}

}  // namespace qo
