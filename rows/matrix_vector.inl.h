/// Matrix by vector. Lanes are rows: the matrix is transposed in registers on the way.
#pragma once

#include "rows/matrix_transpose.inl.h"

namespace qo::QO_ROWS_NS {
namespace {

/// The plain rule, and what has too few rows or columns for a tile.
inline void multiply_vector_plain(const packed_rows& matrix, const float* vector, size_t rows,
                                  size_t inner, float* dst) {
  for (size_t i = 0; i < rows; ++i) {
    const uint8_t* const row = matrix.base + static_cast<ptrdiff_t>(i) * matrix.row;
    float sum = 0.0f;
    for (size_t k = 0; k < inner; ++k)
      sum += element(row + float_bytes(k)) * load_vector<float>(vector + k);
    store_vector(dst + i, sum);
  }
}

/// Adds to the sums of a tile of rows, which starts at `matrix`, the products with its columns from
/// `k` to the last, and the elements from `vectors` + `at` on. The tile is transposed in registers.
template <size_t Count>
inline __attribute__((always_inline)) void add_tile(const uint8_t* matrix, ptrdiff_t row,
                                                    const float* const (&vectors)[Count], size_t at,
                                                    size_t k, tile_row (&sums)[Count]) {
  tile_row columns[tile];
  load_columns(matrix, row, columns);
#pragma GCC unroll 8
  for (; k < tile; ++k)
#pragma GCC unroll 4
    for (size_t n = 0; n < Count; ++n)
      sums[n] += columns[k] * load_vector<float>(vectors[n] + at + k);
}

/// The results of `Tiles` tiles of rows, from the rows `first` on, for `Count` vectors.
template <size_t Tiles, size_t Count>
inline __attribute__((always_inline)) void multiply_tiles(const packed_rows& matrix,
                                                          const float* const (&vectors)[Count],
                                                          const size_t (&first)[Tiles],
                                                          size_t inner,
                                                          float* const (&dst)[Count]) {
  const uint8_t* rows[Tiles];
  for (size_t t = 0; t < Tiles; ++t)
    rows[t] = matrix.base + static_cast<ptrdiff_t>(first[t]) * matrix.row;
  tile_row sums[Tiles][Count] = {};
  size_t done = 0;
  for (; inner - done >= tile; done += tile) {
#pragma GCC unroll 4
    for (size_t t = 0; t < Tiles; ++t)
      add_tile(rows[t] + float_bytes(done), matrix.row, vectors, done, 0, sums[t]);
  }
  // The last tile is moved back to be whole; the columns that it has seen already are left out.
  if (done < inner) {
    const size_t at = inner - tile;
#pragma GCC unroll 4
    for (size_t t = 0; t < Tiles; ++t)
      add_tile(rows[t] + float_bytes(at), matrix.row, vectors, at, done - at, sums[t]);
  }
#pragma GCC unroll 4
  for (size_t t = 0; t < Tiles; ++t)
#pragma GCC unroll 4
    for (size_t n = 0; n < Count; ++n) store_vector(dst[n] + first[t], sums[t][n]);
}

/// Two tiles of rows side by side hide the latency of the additions; the last are moved back to be
/// whole.
template <size_t Count>
inline void multiply_vectors(const packed_rows& matrix, const float* const (&vectors)[Count],
                             size_t rows, size_t inner, float* const (&dst)[Count]) {
  if (rows < tile || inner < tile) {
    for (size_t n = 0; n < Count; ++n)
      multiply_vector_plain(matrix, vectors[n], rows, inner, dst[n]);
    return;
  }
  const size_t last = rows - tile;
  for (size_t row = 0; row < rows; row += 2 * tile) {
    if (rows - row > tile) {
      const size_t first[2] = {row, row + tile < last ? row + tile : last};
      multiply_tiles(matrix, vectors, first, inner, dst);
    } else {
      const size_t first[1] = {last};
      multiply_tiles(matrix, vectors, first, inner, dst);
    }
  }
}

inline void multiply_vector(const packed_rows& matrix, const float* vector, size_t rows,
                            size_t inner, float* dst) {
  const float* const vectors[1] = {vector};
  float* const results[1] = {dst};
  multiply_vectors(matrix, vectors, rows, inner, results);
}

inline void multiply_four_vectors(const packed_rows& matrix, const float* const vectors[4],
                                  size_t rows, size_t inner, float* const dst[4]) {
  const float* const four[4] = {vectors[0], vectors[1], vectors[2], vectors[3]};
  float* const results[4] = {dst[0], dst[1], dst[2], dst[3]};
  multiply_vectors(matrix, four, rows, inner, results);
}

}  // namespace
}  // namespace qo::QO_ROWS_NS
