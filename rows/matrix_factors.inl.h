/// Triangular factors of a matrix that stands column by column. Lanes run down a column.
#pragma once

#include "rows/matrix_product.inl.h"

namespace qo::QO_ROWS_NS {
namespace {

/// `size` x `size` elements, column by column.
struct packed_columns {
  [[nodiscard]] float* at(size_t row, size_t column) const { return first + column * size + row; }
  float* first;
  size_t size;
};

/// Columns of a panel. An element right of a panel is loaded and stored once for each panel, not
/// once for each column; it still loses its products one by one, in order.
inline constexpr size_t panel = 16;
static_assert(panel % widest == 0);

/// The panel's part of a column. A smaller matrix leaves out the last elements: what is formed of
/// them means nothing and is not kept.
struct alignas(QO_VECTOR_BYTES) panel_column {
  float at[panel];
};

/// Copies 1 to `panel` elements.
inline __attribute__((always_inline)) void copy_part(const float* from, float* to, size_t count) {
  if (count == panel) {
    memcpy(to, from, sizeof(panel_column));
  } else if (count >= 8) {
    // Two halves that overlap.
    const auto first = load_vector<vector_n<float, 8>>(from);
    const auto last = load_vector<vector_n<float, 8>>(from + count - 8);
    store_vector(to, first);
    store_vector(to + count - 8, last);
  } else {
    for (size_t i = 0; i < count; ++i) to[i] = from[i];
  }
}

/// Which lanes of the vector that starts with element `first` come after element k.
[[nodiscard]] inline __attribute__((always_inline)) vector<int32_t> come_after(size_t k,
                                                                               size_t first) {
  vector<int32_t> elements;
  for (size_t lane = 0; lane < widest; ++lane) elements[lane] = static_cast<int32_t>(first + lane);
  return elements > static_cast<int32_t>(k);
}

/// Replaces the elements of `column` after its element k, which is in the vector that starts with
/// element `First`, by what `change` makes of them: of a vector, and of where it starts.
template <size_t First, typename Change>
inline __attribute__((always_inline)) void change_after(size_t k, float* column, Change change) {
  const auto own = load_vector<vector<float>>(column + First);
  store_vector(column + First, come_after(k, First) ? change(own, First) : own);
#pragma GCC unroll 4
  for (size_t i = First + widest; i < panel; i += widest)
    store_vector(column + i, change(load_vector<vector<float>>(column + i), i));
}

/// Divides `column` after its element k by that element.
template <size_t First>
inline __attribute__((always_inline)) void divide(size_t k, float* column) {
  const float pivot = column[k];
  change_after<First>(
      k, column, [=](const vector<float>& before, size_t) __attribute__((always_inline)) {
        return before / pivot;
      });
}

/// Takes off `column`, after its element k, that element times the same part of `lower`, the
/// column k of L.
template <size_t First>
inline __attribute__((always_inline)) void eliminate(const float* lower, size_t k, float* column) {
  const float upper = column[k];
  change_after<First>(
      k, column, [=](const vector<float>& before, size_t i) __attribute__((always_inline)) {
        return before - load_vector<vector<float>>(lower + i) * upper;
      });
}

/// Factorises the first `size` columns and rows of a panel's square: from column `First` on, those
/// before being done.
template <size_t First = 0>
inline void factorise_square(panel_column (&square)[panel], size_t size) {
  for (size_t k = First; k < First + widest && k + 1 < size; ++k) {
    divide<First>(k, square[k].at);
    for (size_t j = k + 1; j < size; ++j) eliminate<First>(square[k].at, k, square[j].at);
  }
  if constexpr (First + widest < panel) factorise_square<First + widest>(square, size);
}

/// U right of a panel's square, in `Count` columns side by side: each waits for its own last
/// element.
template <size_t Count, size_t First = 0>
inline void form_upper(const panel_column (&square)[panel], const packed_columns& rest) {
  for (size_t k = First; k < First + widest && k + 1 < panel; ++k)
#pragma GCC unroll 8
    for (size_t c = 0; c < Count; ++c) eliminate<First>(square[k].at, k, rest.at(0, c));
  if constexpr (First + widest < panel) form_upper<Count, First + widest>(square, rest);
}

/// Takes the products of L and U that belong to the columns from `first` on, `inner` of them, off
/// `count` columns from `column` on, in the rows from `row` to the last. In ascending order.
inline void subtract_products(const packed_columns& matrix, size_t first, size_t inner,
                              size_t column, size_t count, size_t row) {
  const ptrdiff_t step = float_bytes(matrix.size);
  const matrix_view upper = {reinterpret_cast<const uint8_t*>(matrix.at(first, column)), step,
                             float_bytes(1)};
  const packed_rows lower = {reinterpret_cast<const uint8_t*>(matrix.at(row, first)), step};
  const packed_result rest = {reinterpret_cast<uint8_t*>(matrix.at(row, column)), step};
  const size_t height = matrix.size - row;
  const product_size product = {count, inner, height};
  size_t done = 0;
  for (; height - done >= 2 * widest; done += 2 * widest) {
    const ptrdiff_t at[2] = {float_bytes(done), float_bytes(done + widest)};
    product_columns<product_use::subtract, widest>(upper, lower, rest, product, at);
  }
  // No vector is moved back to be whole: its elements would lose the products twice.
  if (height - done >= widest) {
    const ptrdiff_t at[1] = {float_bytes(done)};
    product_columns<product_use::subtract, widest>(upper, lower, rest, product, at);
    done += widest;
  }
  for (; height - done >= 4; done += 4) {
    const ptrdiff_t at[1] = {float_bytes(done)};
    product_columns<product_use::subtract, 4>(upper, lower, rest, product, at);
  }
  for (; done < height; ++done) {
    const ptrdiff_t at[1] = {float_bytes(done)};
    product_columns<product_use::subtract, 1>(upper, lower, rest, product, at);
  }
}

inline void factorise(float* columns, size_t size) {
  const packed_columns matrix = {columns, size};
  for (size_t first = 0; first < size; first += panel) {
    const size_t width = size - first < panel ? size - first : panel;
    const size_t end = first + width;
    panel_column square[panel] = {};
    for (size_t k = 0; k < width; ++k) copy_part(matrix.at(first, first + k), square[k].at, width);
    factorise_square(square, width);
    for (size_t k = 0; k < width; ++k) copy_part(square[k].at, matrix.at(first, first + k), width);
    if (end == size) return;

    // L below the square.
    for (size_t k = 0; k < panel; ++k) {
      float* const lower = columns + (first + k) * size;
      subtract_products(matrix, first, k, first + k, 1, end);
      const float pivot = lower[first + k];
      for (size_t i = end; i < size; ++i) lower[i] /= pivot;
    }
    // U right of the square.
    constexpr size_t together = 8;
    size_t column = end;
    for (; size - column >= together; column += together)
      form_upper<together>(square, {matrix.at(first, column), size});
    for (; column < size; ++column) form_upper<1>(square, {matrix.at(first, column), size});
    // What is left.
    subtract_products(matrix, first, panel, end, size - end, end);
  }
}

}  // namespace
}  // namespace qo::QO_ROWS_NS
