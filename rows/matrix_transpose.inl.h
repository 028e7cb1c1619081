/// Transposes, in tiles that registers hold.
#pragma once

#include "rows/matrix_elements.inl.h"

namespace qo::QO_ROWS_NS {
namespace {

using quad = vector_n<float, 4>;
using two_quads = vector_n<float, 8>;

/// Rows that are transposed at once: as many as two quads of a 256-bit register, or one.
inline constexpr size_t tile = widest < 8 ? 4 : 8;
using tile_row = vector_n<float, tile>;

// Of each quad of `a` and of `b`, interleaved: the lower or upper two floats one by one, and the
// lower or upper pair as a whole.

inline __attribute__((always_inline)) quad lower_floats(quad a, quad b) {
  return shuffled<0, 4, 1, 5>(a, b);
}
inline __attribute__((always_inline)) quad upper_floats(quad a, quad b) {
  return shuffled<2, 6, 3, 7>(a, b);
}
inline __attribute__((always_inline)) quad lower_pairs(quad a, quad b) {
  return shuffled<0, 1, 4, 5>(a, b);
}
inline __attribute__((always_inline)) quad upper_pairs(quad a, quad b) {
  return shuffled<2, 3, 6, 7>(a, b);
}

inline __attribute__((always_inline)) two_quads lower_floats(two_quads a, two_quads b) {
  return shuffled<0, 8, 1, 9, 4, 12, 5, 13>(a, b);
}
inline __attribute__((always_inline)) two_quads upper_floats(two_quads a, two_quads b) {
  return shuffled<2, 10, 3, 11, 6, 14, 7, 15>(a, b);
}
inline __attribute__((always_inline)) two_quads lower_pairs(two_quads a, two_quads b) {
  return shuffled<0, 1, 8, 9, 4, 5, 12, 13>(a, b);
}
inline __attribute__((always_inline)) two_quads upper_pairs(two_quads a, two_quads b) {
  return shuffled<2, 3, 10, 11, 6, 7, 14, 15>(a, b);
}

/// Four floats at `base`, and beside them, in a wider vector, those four rows on.
template <typename Row>
[[nodiscard]] inline __attribute__((always_inline)) Row load_quads(const uint8_t* base,
                                                                   ptrdiff_t row) {
  const quad upper = load_vector<quad>(base);
  if constexpr (sizeof(Row) == sizeof(quad)) {
    return upper;
  } else {
#if defined(__AVX2__)
    // From memory an insertion is no shuffle, which is what a transpose waits for.
    const auto lower = load_vector<__m128>(base + 4 * row);
    return same_bits<Row>(
        _mm256_insertf128_ps(_mm256_castps128_ps256(same_bits<__m128>(upper)), lower, 1));
#else
    const quad lower = load_vector<quad>(base + 4 * row);
    return shuffled<0, 1, 2, 3, 4, 5, 6, 7>(upper, lower);
#endif
  }
}

/// Four columns, each as a vector, of the quads of rows 0, 1, 2 and 3.
inline __attribute__((always_inline)) void transpose_quads(tile_row r0, tile_row r1, tile_row r2,
                                                           tile_row r3, tile_row* columns) {
  const tile_row lower_01 = lower_floats(r0, r1);
  const tile_row lower_23 = lower_floats(r2, r3);
  const tile_row upper_01 = upper_floats(r0, r1);
  const tile_row upper_23 = upper_floats(r2, r3);
  columns[0] = lower_pairs(lower_01, lower_23);
  columns[1] = upper_pairs(lower_01, lower_23);
  columns[2] = lower_pairs(upper_01, upper_23);
  columns[3] = upper_pairs(upper_01, upper_23);
}

/// Columns [0, tile) of the tile rows at `base`, each as a vector.
inline __attribute__((always_inline)) void load_columns(const uint8_t* base, ptrdiff_t row,
                                                        tile_row (&columns)[tile]) {
#pragma GCC unroll 2
  for (size_t q = 0; q < tile; q += 4) {
    const uint8_t* const from = base + float_bytes(q);
    transpose_quads(load_quads<tile_row>(from, row), load_quads<tile_row>(from + row, row),
                    load_quads<tile_row>(from + 2 * row, row),
                    load_quads<tile_row>(from + 3 * row, row), columns + q);
  }
}

/// The plain rule, and what is smaller than a tile.
inline void transpose_plain(const packed_rows& src, const packed_result& dst, size_t width,
                            size_t height) {
  for (size_t i = 0; i < height; ++i)
    for (size_t j = 0; j < width; ++j)
      store_vector(dst.base + static_cast<ptrdiff_t>(j) * dst.row + float_bytes(i),
                   element(src.base + static_cast<ptrdiff_t>(i) * src.row + float_bytes(j)));
}

/// Tiles down `height` rows, at least one. The last one is moved back to be whole.
inline __attribute__((always_inline)) void transpose_tiles(const uint8_t* src, ptrdiff_t src_row,
                                                           uint8_t* dst, ptrdiff_t dst_row,
                                                           size_t height) {
  const auto transpose_at = [=](size_t row) {
    tile_row columns[tile];
    load_columns(src + static_cast<ptrdiff_t>(row) * src_row, src_row, columns);
#pragma GCC unroll 8
    for (size_t c = 0; c < tile; ++c)
      store_vector(dst + static_cast<ptrdiff_t>(c) * dst_row + float_bytes(row), columns[c]);
  };
  for (size_t row = 0; row + tile < height; row += tile) transpose_at(row);
  transpose_at(height - tile);
}

inline void transpose(const packed_rows& src, const packed_result& dst, size_t width,
                      size_t height) {
  if (width < tile || height < tile) return transpose_plain(src, dst, width, height);
  // Down the source, so that a cache line of the result is filled before the next is begun; and not
  // far, so that lines of the source are still near when their other half is read.
  constexpr size_t reach = 32;
  for (size_t row = 0; row < height; row += reach) {
    // Too few rows for a tile, at the end, start earlier.
    const size_t first = height - row < tile ? height - tile : row;
    const size_t rows = height - first < reach ? height - first : reach;
    for (size_t column = 0; column < width; column += tile) {
      const size_t j = column < width - tile ? column : width - tile;
      transpose_tiles(src.base + static_cast<ptrdiff_t>(first) * src.row + float_bytes(j), src.row,
                      dst.base + static_cast<ptrdiff_t>(j) * dst.row + float_bytes(first), dst.row,
                      rows);
    }
  }
}

}  // namespace
}  // namespace qo::QO_ROWS_NS
