/// Products of matrices. Lanes are columns of the result.
#pragma once

#include "rows/matrix_elements.inl.h"

namespace qo::QO_ROWS_NS {
namespace {

/// The plain rule, and what is narrower than a vector.
inline void multiply_plain(const matrix_view& left, const packed_rows& right,
                           const packed_result& dst, const product_size& size) {
  for (size_t i = 0; i < size.rows; ++i) {
    for (size_t j = 0; j < size.width; ++j) {
      float sum = 0.0f;
      for (size_t k = 0; k < size.inner; ++k)
        sum += element(left.base + static_cast<ptrdiff_t>(i) * left.row +
                       static_cast<ptrdiff_t>(k) * left.element) *
               element(right.base + static_cast<ptrdiff_t>(k) * right.row + float_bytes(j));
      store_vector(dst.base + static_cast<ptrdiff_t>(i) * dst.row + float_bytes(j), sum);
    }
  }
}

/// What a block does with the products: sums from 0, or takes them off what stands in dst.
enum class product_use { sum, subtract };

/// `Rows` rows of results, each `Vectors` vectors that start at the columns `at`: so many sums side
/// by side that the latency of an addition is hidden, and no more than there are registers.
template <product_use Use, size_t Lanes, size_t Rows, size_t Vectors>
inline __attribute__((always_inline)) void product_block(const matrix_view& left,
                                                         const packed_rows& right,
                                                         const packed_result& dst, size_t inner,
                                                         const ptrdiff_t (&at)[Vectors]) {
  using lanes = vector_n<float, Lanes>;
  lanes sums[Rows][Vectors] = {};
  if constexpr (Use == product_use::subtract) {
#pragma GCC unroll 8
    for (size_t r = 0; r < Rows; ++r)
#pragma GCC unroll 8
      for (size_t v = 0; v < Vectors; ++v)
        sums[r][v] = load_vector<lanes>(dst.base + static_cast<ptrdiff_t>(r) * dst.row + at[v]);
  }
  const uint8_t* factors = left.base;
  const uint8_t* terms = right.base;
#pragma GCC unroll 1
  for (size_t k = 0; k < inner; ++k, factors += left.element, terms += right.row) {
    lanes columns[Vectors];
#pragma GCC unroll 8
    for (size_t v = 0; v < Vectors; ++v) columns[v] = load_vector<lanes>(terms + at[v]);
#pragma GCC unroll 8
    for (size_t r = 0; r < Rows; ++r) {
      const float factor = element(factors + static_cast<ptrdiff_t>(r) * left.row);
#pragma GCC unroll 8
      for (size_t v = 0; v < Vectors; ++v) {
        if constexpr (Use == product_use::sum)
          sums[r][v] += factor * columns[v];
        else
          sums[r][v] -= factor * columns[v];
      }
    }
  }
#pragma GCC unroll 8
  for (size_t r = 0; r < Rows; ++r)
#pragma GCC unroll 8
    for (size_t v = 0; v < Vectors; ++v)
      store_vector(dst.base + static_cast<ptrdiff_t>(r) * dst.row + at[v], sums[r][v]);
}

inline constexpr size_t block_rows = 6;

/// All rows of some columns.
template <product_use Use, size_t Lanes, size_t Vectors>
inline void product_columns(const matrix_view& left, const packed_rows& right,
                            const packed_result& dst, const product_size& size,
                            const ptrdiff_t (&at)[Vectors]) {
  matrix_view from = left;
  packed_result to = dst;
  const auto advance = [&](size_t rows) {
    from.base += static_cast<ptrdiff_t>(rows) * left.row;
    to.base += static_cast<ptrdiff_t>(rows) * dst.row;
  };
  size_t rows = size.rows;
  for (; rows >= block_rows; rows -= block_rows, advance(block_rows))
    product_block<Use, Lanes, block_rows>(from, right, to, size.inner, at);
  if (rows >= 4) {
    product_block<Use, Lanes, 4>(from, right, to, size.inner, at);
    rows -= 4;
    advance(4);
  }
  if (rows == 3) product_block<Use, Lanes, 3>(from, right, to, size.inner, at);
  if (rows == 2) product_block<Use, Lanes, 2>(from, right, to, size.inner, at);
  if (rows == 1) product_block<Use, Lanes, 1>(from, right, to, size.inner, at);
}

/// All columns, at least `Lanes` of them. The last vector is moved back to be whole and forms some
/// sums a second time, all of them before any is stored.
template <size_t Lanes, size_t Vectors>
inline void multiply_lanes(const matrix_view& left, const packed_rows& right,
                           const packed_result& dst, const product_size& size) {
  size_t done = 0;
  for (; size.width - done >= Vectors * Lanes; done += Vectors * Lanes) {
    ptrdiff_t at[Vectors];
    for (size_t v = 0; v < Vectors; ++v) at[v] = float_bytes(done + v * Lanes);
    product_columns<product_use::sum, Lanes>(left, right, dst, size, at);
  }
  const ptrdiff_t last = float_bytes(size.width - Lanes);
  while (done < size.width) {
    if (size.width - done > Lanes) {
      const ptrdiff_t second = float_bytes(done + Lanes);
      const ptrdiff_t at[2] = {float_bytes(done), second < last ? second : last};
      product_columns<product_use::sum, Lanes>(left, right, dst, size, at);
      done += 2 * Lanes;
    } else {
      const ptrdiff_t at[1] = {last};
      product_columns<product_use::sum, Lanes>(left, right, dst, size, at);
      done += Lanes;
    }
  }
}

inline constexpr size_t widest_vectors = widest == 16 ? 4 : 2;

inline void multiply(const matrix_view& left, const packed_rows& right, const packed_result& dst,
                     const product_size& size) {
  if (size.width >= widest) return multiply_lanes<widest, widest_vectors>(left, right, dst, size);
  if constexpr (widest > 8)
    if (size.width >= 8) return multiply_lanes<8, 2>(left, right, dst, size);
  if constexpr (widest > 4)
    if (size.width >= 4) return multiply_lanes<4, 2>(left, right, dst, size);
  multiply_plain(left, right, dst, size);
}

}  // namespace
}  // namespace qo::QO_ROWS_NS
