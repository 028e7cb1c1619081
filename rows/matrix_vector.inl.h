/// Matrix by vector. Lanes are rows: the matrix is transposed in registers on the way.
#pragma once

#include "rows/matrix_transpose.inl.h"

namespace qo::QO_ROWS_NS {
namespace {

/// The plain rule, and what has too few rows or columns.
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
/// `k` to the fourth, and the elements from `vectors` + `at` on. All is transposed in registers:
/// the products of one vector, which are formed where the rows stand, or, once for several vectors,
/// the matrix.
template <size_t Count>
inline __attribute__((always_inline)) void add_four(const uint8_t* matrix, ptrdiff_t row,
                                                    const float* const (&vectors)[Count], size_t at,
                                                    size_t k, tile_row (&sums)[Count]) {
  tile_row quads[4];
#pragma GCC unroll 4
  for (size_t r = 0; r < 4; ++r)
    quads[r] = load_quads<tile_row>(matrix + static_cast<ptrdiff_t>(r) * row, row);
  tile_row columns[4];
  if constexpr (Count == 1) {
    const auto factors = load_quads<tile_row>(reinterpret_cast<const uint8_t*>(vectors[0] + at), 0);
    transpose_quads(quads[0] * factors, quads[1] * factors, quads[2] * factors, quads[3] * factors,
                    columns);
#pragma GCC unroll 4
    for (size_t c = 0; c < 4; ++c)
      if (c >= k) sums[0] += columns[c];
  } else {
    transpose_quads(quads[0], quads[1], quads[2], quads[3], columns);
#pragma GCC unroll 4
    for (size_t c = 0; c < 4; ++c) {
      if (c < k) continue;
#pragma GCC unroll 4
      for (size_t n = 0; n < Count; ++n)
        sums[n] += columns[c] * load_vector<float>(vectors[n] + at + c);
    }
  }
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
  for (; inner - done >= 4; done += 4) {
#pragma GCC unroll 4
    for (size_t t = 0; t < Tiles; ++t) {
      add_four(rows[t], matrix.row, vectors, done, 0, sums[t]);
      rows[t] += float_bytes(4);
    }
  }
  // The last four are moved back; the columns that were seen already are left out.
  if (done < inner) {
    const size_t at = inner - 4;
#pragma GCC unroll 4
    for (size_t t = 0; t < Tiles; ++t)
      add_four(rows[t] - float_bytes(done - at), matrix.row, vectors, at, done - at, sums[t]);
  }
#pragma GCC unroll 4
  for (size_t t = 0; t < Tiles; ++t)
#pragma GCC unroll 4
    for (size_t n = 0; n < Count; ++n) store_vector(dst[n] + first[t], sums[t][n]);
}

/// Two tiles of rows side by side hide the latency of the additions; the last are moved back to be
/// whole.
template <size_t Count>
inline __attribute__((always_inline)) void multiply_vectors(const packed_rows& matrix,
                                                            const float* const (&vectors)[Count],
                                                            size_t rows, size_t inner,
                                                            float* const (&dst)[Count]) {
  if (rows < tile || inner < 4) {
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
