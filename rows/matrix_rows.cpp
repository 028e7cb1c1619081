// Products, transposes and factors of matrices. Lanes are results, never terms of a sum.

#include "rows/matrix_rows.h"

#include <utility>

#include "rows/lanes.h"

namespace qo::QO_ROWS_NS {
namespace {

[[nodiscard]] inline __attribute__((always_inline)) float element(const uint8_t* address) {
  return load_vector<float>(address);
}

[[nodiscard]] constexpr ptrdiff_t float_bytes(size_t count) {
  return static_cast<ptrdiff_t>(count * sizeof(float));
}

// ---------------------------------------------------------------------------------------- product

/// The plain rule, and what is narrower than a vector.
void multiply_plain(const matrix_view& left, const packed_rows& right, const packed_result& dst,
                    const product_size& size) {
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

constexpr size_t block_rows = 6;

/// All rows of some columns.
template <product_use Use, size_t Lanes, size_t Vectors>
void product_columns(const matrix_view& left, const packed_rows& right, const packed_result& dst,
                     const product_size& size, const ptrdiff_t (&at)[Vectors]) {
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
void multiply_lanes(const matrix_view& left, const packed_rows& right, const packed_result& dst,
                    const product_size& size) {
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

constexpr size_t widest = lanes_of<float>;
constexpr size_t widest_vectors = widest == 16 ? 4 : 2;

void multiply(const matrix_view& left, const packed_rows& right, const packed_result& dst,
              const product_size& size) {
  if (size.width >= widest) return multiply_lanes<widest, widest_vectors>(left, right, dst, size);
  if constexpr (widest > 8)
    if (size.width >= 8) return multiply_lanes<8, 2>(left, right, dst, size);
  if constexpr (widest > 4)
    if (size.width >= 4) return multiply_lanes<4, 2>(left, right, dst, size);
  multiply_plain(left, right, dst, size);
}

// -------------------------------------------------------------------------------------- transpose

/// Rows that are transposed at once: as many as two quads of a 256-bit register, or one.
constexpr size_t tile = widest < 8 ? widest : 8;
using tile_row = vector_n<float, tile>;
using quad = vector_n<float, 4>;

/// Lanes of two vectors, by a constant rule: Rule(i) below `tile` names a lane of `a`, from `tile`
/// on one of `b`.
template <auto Rule, size_t... I>
[[nodiscard]] inline __attribute__((always_inline)) tile_row pick(tile_row a, tile_row b,
                                                                  std::index_sequence<I...>) {
  return __builtin_shufflevector(a, b, static_cast<int>(Rule(I))...);
}

template <auto Rule>
[[nodiscard]] inline __attribute__((always_inline)) tile_row pick(tile_row a, tile_row b) {
  return pick<Rule>(a, b, std::make_index_sequence<tile>());
}

// Within each quad: the low or high halves of both interleaved, and the low or high pairs of both.
constexpr size_t low_halves(size_t i) { return i / 4 * 4 + i % 4 / 2 + (i % 2) * tile; }
constexpr size_t high_halves(size_t i) { return low_halves(i) + 2; }
constexpr size_t low_pairs(size_t i) { return i / 4 * 4 + i % 2 + (i % 4 / 2) * tile; }
constexpr size_t high_pairs(size_t i) { return low_pairs(i) + 2; }

/// Four floats at `base`, and beside them, in a wider vector, those four rows on.
template <typename Row>
[[nodiscard]] inline __attribute__((always_inline)) Row load_quads(const uint8_t* base,
                                                                   ptrdiff_t row) {
  const quad upper = load_vector<quad>(base);
  if constexpr (sizeof(Row) == sizeof(quad)) {
    return upper;
  } else {
    const quad lower = load_vector<quad>(base + 4 * row);
    return __builtin_shufflevector(upper, lower, 0, 1, 2, 3, 4, 5, 6, 7);
  }
}

/// Columns [0, tile) of the tile rows at `base`, each as a vector.
inline __attribute__((always_inline)) void load_columns(const uint8_t* base, ptrdiff_t row,
                                                        tile_row (&columns)[tile]) {
#pragma GCC unroll 2
  for (size_t q = 0; q < tile / 4; ++q) {
    const uint8_t* const from = base + float_bytes(4 * q);
    const tile_row r0 = load_quads<tile_row>(from, row);
    const tile_row r1 = load_quads<tile_row>(from + row, row);
    const tile_row r2 = load_quads<tile_row>(from + 2 * row, row);
    const tile_row r3 = load_quads<tile_row>(from + 3 * row, row);
    const tile_row low_01 = pick<low_halves>(r0, r1);
    const tile_row low_23 = pick<low_halves>(r2, r3);
    const tile_row high_01 = pick<high_halves>(r0, r1);
    const tile_row high_23 = pick<high_halves>(r2, r3);
    columns[4 * q] = pick<low_pairs>(low_01, low_23);
    columns[4 * q + 1] = pick<high_pairs>(low_01, low_23);
    columns[4 * q + 2] = pick<low_pairs>(high_01, high_23);
    columns[4 * q + 3] = pick<high_pairs>(high_01, high_23);
  }
}

/// The plain rule, and what is smaller than a tile.
void transpose_plain(const packed_rows& src, const packed_result& dst, size_t width,
                     size_t height) {
  for (size_t i = 0; i < height; ++i)
    for (size_t j = 0; j < width; ++j)
      store_vector(dst.base + static_cast<ptrdiff_t>(j) * dst.row + float_bytes(i),
                   element(src.base + static_cast<ptrdiff_t>(i) * src.row + float_bytes(j)));
}

/// One tile: `src` and `dst` point at its first elements.
inline __attribute__((always_inline)) void transpose_tile(const uint8_t* src, ptrdiff_t src_row,
                                                          uint8_t* dst, ptrdiff_t dst_row) {
  tile_row columns[tile];
  load_columns(src, src_row, columns);
#pragma GCC unroll 8
  for (size_t c = 0; c < tile; ++c)
    store_vector(dst + static_cast<ptrdiff_t>(c) * dst_row, columns[c]);
}

void transpose(const packed_rows& src, const packed_result& dst, size_t width, size_t height) {
  if (width < tile || height < tile) return transpose_plain(src, dst, width, height);
  // A cache line of the result is filled before the next is begun: two tiles, one below the other,
  // and then down. The last tiles in both directions are moved back to be whole.
  for (size_t column = 0; column < width; column += tile) {
    const size_t j = column < width - tile ? column : width - tile;
    const uint8_t* const from = src.base + float_bytes(j);
    uint8_t* const to = dst.base + static_cast<ptrdiff_t>(j) * dst.row;
    for (size_t row = 0; row < height; row += tile) {
      const size_t i = row < height - tile ? row : height - tile;
      transpose_tile(from + static_cast<ptrdiff_t>(i) * src.row, src.row, to + float_bytes(i),
                     dst.row);
    }
  }
}

// ------------------------------------------------------------------------------- matrix by vector

/// The plain rule, and what has too few rows or columns for a tile.
void multiply_vector_plain(const packed_rows& matrix, const float* vector, size_t rows,
                           size_t inner, float* dst) {
  for (size_t i = 0; i < rows; ++i) {
    const uint8_t* const row = matrix.base + static_cast<ptrdiff_t>(i) * matrix.row;
    float sum = 0.0f;
    for (size_t k = 0; k < inner; ++k) sum += element(row + float_bytes(k)) * vector[k];
    dst[i] = sum;
  }
}

/// The results of `Tiles` tiles of rows, from the rows `first` on, for `Count` vectors. Lanes are
/// rows: each tile of the matrix is transposed in registers, and its columns follow in order.
template <size_t Tiles, size_t Count>
inline __attribute__((always_inline)) void multiply_tiles(const packed_rows& matrix,
                                                          const float* const (&vectors)[Count],
                                                          const size_t (&first)[Tiles],
                                                          size_t inner,
                                                          float* const (&dst)[Count]) {
  tile_row sums[Tiles][Count] = {};
  for (size_t done = 0; done < inner; done += tile) {
    // The last tile is moved back to be whole; the columns that it has seen already are left out.
    const size_t at = done < inner - tile ? done : inner - tile;
    const size_t seen = done - at;
    tile_row columns[Tiles][tile];
#pragma GCC unroll 4
    for (size_t t = 0; t < Tiles; ++t)
      load_columns(matrix.base + static_cast<ptrdiff_t>(first[t]) * matrix.row + float_bytes(at),
                   matrix.row, columns[t]);
    if (seen == 0) [[likely]] {
#pragma GCC unroll 8
      for (size_t k = 0; k < tile; ++k)
#pragma GCC unroll 4
        for (size_t n = 0; n < Count; ++n)
#pragma GCC unroll 4
          for (size_t t = 0; t < Tiles; ++t) sums[t][n] += columns[t][k] * vectors[n][at + k];
    } else {
      for (size_t k = seen; k < tile; ++k)
        for (size_t n = 0; n < Count; ++n)
          for (size_t t = 0; t < Tiles; ++t) sums[t][n] += columns[t][k] * vectors[n][at + k];
    }
  }
  for (size_t t = 0; t < Tiles; ++t)
    for (size_t n = 0; n < Count; ++n) store_vector(dst[n] + first[t], sums[t][n]);
}

template <size_t Count>
void multiply_vectors(const packed_rows& matrix, const float* const (&vectors)[Count], size_t rows,
                      size_t inner, float* const (&dst)[Count]) {
  if (rows < tile || inner < tile) {
    for (size_t n = 0; n < Count; ++n)
      multiply_vector_plain(matrix, vectors[n], rows, inner, dst[n]);
    return;
  }
  // Two tiles side by side hide the latency of the additions; the last are moved back to be whole.
  const size_t last = rows - tile;
  for (size_t row = 0; row < rows; row += 2 * tile) {
    if (rows - row > tile) {
      const size_t first[2] = {row < last ? row : last, row + tile < last ? row + tile : last};
      multiply_tiles(matrix, vectors, first, inner, dst);
    } else {
      const size_t first[1] = {last};
      multiply_tiles(matrix, vectors, first, inner, dst);
    }
  }
}

void multiply_vector(const packed_rows& matrix, const float* vector, size_t rows, size_t inner,
                     float* dst) {
  const float* const vectors[1] = {vector};
  float* const results[1] = {dst};
  multiply_vectors(matrix, vectors, rows, inner, results);
}

void multiply_four_vectors(const packed_rows& matrix, const float* const vectors[4], size_t rows,
                           size_t inner, float* const dst[4]) {
  const float* const four[4] = {vectors[0], vectors[1], vectors[2], vectors[3]};
  float* const results[4] = {dst[0], dst[1], dst[2], dst[3]};
  multiply_vectors(matrix, four, rows, inner, results);
}

// ---------------------------------------------------------------------------------------- factors

/// Column by column of a panel: divides what is left of its column by the pivot, and takes the
/// products off the panel's later columns. `first` to `end` are the panel's columns.
void factorise_panel(float* columns, size_t size, size_t first, size_t end) {
  for (size_t k = first; k < end; ++k) {
    float* const lower = columns + k * size;
    const float pivot = lower[k];
    for (size_t i = k + 1; i < size; ++i) lower[i] /= pivot;
    for (size_t j = k + 1; j < end; ++j) {
      float* const column = columns + j * size;
      const float upper = column[k];
      for (size_t i = k + 1; i < size; ++i) column[i] -= lower[i] * upper;
    }
  }
}

/// The rows of U that a panel gives to the columns behind it.
void substitute_panel(float* columns, size_t size, size_t first, size_t end) {
  for (size_t j = end; j < size; ++j) {
    float* const column = columns + j * size;
    for (size_t k = first; k + 1 < end; ++k) {
      const float* const lower = columns + k * size;
      const float upper = column[k];
      for (size_t i = k + 1; i < end; ++i) column[i] -= lower[i] * upper;
    }
  }
}

/// Takes the products of a panel's L and U off everything right of it and below, the panel's
/// columns in ascending order.
void subtract_panel(float* columns, size_t size, size_t first, size_t end) {
  const size_t left = size - end;
  // Column by column of the rest; lanes run down a column. At least one vector long.
  const matrix_view upper = {reinterpret_cast<const uint8_t*>(columns + end * size + first),
                             float_bytes(size), float_bytes(1)};
  const packed_rows lower = {reinterpret_cast<const uint8_t*>(columns + first * size + end),
                             float_bytes(size)};
  const packed_result rest = {reinterpret_cast<uint8_t*>(columns + end * size + end),
                              float_bytes(size)};
  const product_size product = {left, end - first, left};
  size_t done = 0;
  constexpr size_t step = 2 * widest;
  for (; left - done >= step; done += step) {
    const ptrdiff_t at[2] = {float_bytes(done), float_bytes(done + widest)};
    product_columns<product_use::subtract, widest>(upper, lower, rest, product, at);
  }
  for (; left - done >= 4; done += 4) {
    const ptrdiff_t at[1] = {float_bytes(done)};
    product_columns<product_use::subtract, 4>(upper, lower, rest, product, at);
  }
  for (; done < left; ++done) {
    const ptrdiff_t at[1] = {float_bytes(done)};
    product_columns<product_use::subtract, 1>(upper, lower, rest, product, at);
  }
}

void factorise(float* columns, size_t size) {
  // In panels of a few columns: an element right of a panel is loaded and stored once for each
  // panel, not once for each column. Every element still loses its products one by one, in order.
  constexpr size_t panel = 16;
  for (size_t first = 0; first < size; first += panel) {
    const size_t end = size - first < panel ? size : first + panel;
    factorise_panel(columns, size, first, end);
    if (end == size) return;
    substitute_panel(columns, size, first, end);
    subtract_panel(columns, size, first, end);
  }
}

}  // namespace

extern const matrix_rows matrix;
constinit const matrix_rows matrix = {multiply, multiply_vector, multiply_four_vectors, transpose,
                                      factorise};

}  // namespace qo::QO_ROWS_NS
