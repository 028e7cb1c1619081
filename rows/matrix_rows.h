/// Row kernels of dense single-precision matrices.
///
/// Every sum has one accumulator and runs in ascending order; products and sums are rounded apart.
/// What a kernel writes overlaps nothing that it reads, but for factorise().
#pragma once

#include <cstddef>
#include <cstdint>

namespace qo {

/// Element (i, k) of a matrix stands at base + i * row + k * element, in bytes, at any alignment.
struct matrix_view {
  const uint8_t* base;
  ptrdiff_t row;
  ptrdiff_t element;
};

/// Rows of packed floats, `row` bytes apart.
struct packed_rows {
  const uint8_t* base;
  ptrdiff_t row;
};

/// The same, to be written.
struct packed_result {
  uint8_t* base;
  ptrdiff_t row;
};

struct product_size {
  size_t rows;
  size_t inner;
  size_t width;
};

struct matrix_rows {
  /// dst(i, j) = sum over k of left(i, k) right(k, j), from 0.
  void (*multiply)(const matrix_view& left, const packed_rows& right, const packed_result& dst,
                   const product_size& size);

  /// dst[i] = sum over k of matrix(i, k) vector[k], from 0, for i below `rows`. The vectors stand
  /// at any address too.
  void (*multiply_vector)(const packed_rows& matrix, const float* vector, size_t rows, size_t inner,
                          float* dst);

  /// The same for four vectors that share the matrix: dst[n][i] belongs to vectors[n].
  void (*multiply_four_vectors)(const packed_rows& matrix, const float* const vectors[4],
                                size_t rows, size_t inner, float* const dst[4]);

  /// dst(j, i) = src(i, j) for i below `height` and j below `width`.
  void (*transpose)(const packed_rows& src, const packed_result& dst, size_t width, size_t height);

  /// Doolittle's factorisation without pivoting of `size` x `size` elements, in place. The matrix
  /// stands column by column: element (i, j) at columns[j * size + i]. Afterwards L stands below
  /// the diagonal (its own diagonal is 1), U on and above it.
  void (*factorise)(float* columns, size_t size);
};

}  // namespace qo
