// Bicubic patches in single precision.
//
// The coefficients a[m][n] are sums of sixteen products: of samples, which are integers below 2^20,
// with basis[m][r] basis[n][c], which are multiples of 1/4. Every product and every partial sum, in
// the order of the sum as in the factorisation below, is a multiple of 1/4 below 2^22 in magnitude,
// counted in quarters below 2^24: all are exact. So the sum may be split, first over the rows, then
// along them. No step makes a -0 of operands that are none, as the plain sum makes none.

#include "rows/patch_rows.h"

#include "rows/lanes.h"

#if defined(__AVX2__)
#include <immintrin.h>
#endif

namespace qo::QO_ROWS_NS {
namespace {

/// Coefficients of the polynomial in t through p1 and p2 with the spline's slopes there.
template <typename Value>
struct cubic {
  Value c0;
  Value c1;
  Value c2;
  Value c3;
};

/// The basis times p0 ... p3: (0 1 0 0), (-1/2 0 1/2 0), (1 -5/2 2 -1/2), (-1/2 3/2 -3/2 1/2).
/// Exact for the samples of a patch, so the order of operations is free.
template <typename Value>
[[nodiscard]] inline __attribute__((always_inline)) cubic<Value> cubic_through(Value p0, Value p1,
                                                                               Value p2, Value p3) {
  const Value slope1 = (p2 - p0) * 0.5f;
  const Value slope2 = (p3 - p1) * 0.5f;
  const Value rise = p2 - p1;
  const Value c3 = (slope1 + slope2) - (rise + rise);
  return {p1, slope1, (rise - slope1) - c3, c3};
}

/// The rounded value: this order is the contract.
template <typename Value>
[[nodiscard]] inline __attribute__((always_inline)) Value value_at(const cubic<Value>& of, Value t,
                                                                   Value t2, Value t3) {
  return ((of.c0 + of.c1 * t) + of.c2 * t2) + of.c3 * t3;
}

using floats = vector<float>;
constexpr size_t lanes = lanes_of<float>;

/// Cells of one strip: positions rise by 1 or less, but for one or two cells by rounding; three
/// columns more belong to the last cell, and a vector may begin at any of them.
constexpr size_t strip_cells = patch_strip + 8;
constexpr size_t row_room = strip_cells + lanes;

/// The four rows of samples, combined column by column to the coefficients of ty^m.
struct combined_rows {
  alignas(64) float m[4][row_room];
};

inline __attribute__((always_inline)) void combine_columns(const float* const rows[4], size_t first,
                                                           size_t column, combined_rows& result) {
  const cubic<floats> of = cubic_through(
      load_vector<floats>(rows[0] + first + column), load_vector<floats>(rows[1] + first + column),
      load_vector<floats>(rows[2] + first + column), load_vector<floats>(rows[3] + first + column));
  store_vector(result.m[0] + column, of.c0);
  store_vector(result.m[1] + column, of.c1);
  store_vector(result.m[2] + column, of.c2);
  store_vector(result.m[3] + column, of.c3);
}

/// Combines columns `first` to `first` + `count` - 1; one vector of zeros follows.
void combine_rows(const float* const rows[4], size_t first, size_t count, combined_rows& result) {
  size_t c = 0;
  if (count >= lanes) {
    for (; c + lanes <= count; c += lanes) combine_columns(rows, first, c, result);
    if (c < count) combine_columns(rows, first, count - lanes, result);  // some columns again
  } else {
    for (; c < count; ++c) {
      const cubic<float> of = cubic_through(rows[0][first + c], rows[1][first + c],
                                            rows[2][first + c], rows[3][first + c]);
      result.m[0][c] = of.c0;
      result.m[1][c] = of.c1;
      result.m[2][c] = of.c2;
      result.m[3][c] = of.c3;
    }
  }
  for (float(&row)[row_room] : result.m) store_vector(row + count, floats{});
}

/// The coefficients a[m][n] of every cell of a strip.
struct cell_patches {
  alignas(64) float a[4][4][row_room];
};

/// The patches of `count` cells, from the combined columns of theirs.
void make_patches(const combined_rows& combined, size_t count, cell_patches& patches) {
  for (size_t m = 0; m < 4; ++m) {
    for (size_t cell = 0; cell < count; cell += lanes) {
      const float* const column = combined.m[m] + cell;
      const cubic<floats> of =
          cubic_through(load_vector<floats>(column), load_vector<floats>(column + 1),
                        load_vector<floats>(column + 2), load_vector<floats>(column + 3));
      store_vector(patches.a[m][0] + cell, of.c0);
      store_vector(patches.a[m][1] + cell, of.c1);
      store_vector(patches.a[m][2] + cell, of.c2);
      store_vector(patches.a[m][3] + cell, of.c3);
    }
  }
}

#if QO_VECTOR_BYTES > 16

/// Lane x of the result is lane `index[x]` of the vector at `window`.
[[nodiscard]] inline __attribute__((always_inline)) floats permute(const float* window,
                                                                   vector<int32_t> index) {
#if QO_VECTOR_BYTES == 64
  // With a mask, because GCC 12 warns of what the plain form leaves undefined.
  return _mm512_maskz_permutexvar_ps(UINT16_MAX, reinterpret_cast<__m512i>(index),
                                     load_vector<floats>(window));
#else
  return _mm256_permutevar8x32_ps(load_vector<floats>(window), reinterpret_cast<__m256i>(index));
#endif
}

/// R_m of as many columns as there are lanes, at `positions`: a window of patches, which begins at
/// the first column's cell, permuted. What the window holds beyond the last cell is not chosen.
inline __attribute__((always_inline)) void along_lanes(const cell_patches& patches, size_t first,
                                                       floats positions, size_t x,
                                                       patch_values* values) {
  using indices = vector<int32_t>;
  const indices cells = __builtin_convertvector(positions, indices);
  const floats t = positions - __builtin_convertvector(cells, floats);
  const floats t2 = t * t;
  const floats t3 = t2 * t;
  const indices index = cells - cells[0];
  const size_t begin = static_cast<size_t>(cells[0]) - first;
  if (cells[lanes - 1] - cells[0] < static_cast<int32_t>(lanes)) [[likely]] {
    for (size_t m = 0; m < 4; ++m) {
      const auto& a = patches.a[m];
      const cubic<floats> of = {permute(a[0] + begin, index), permute(a[1] + begin, index),
                                permute(a[2] + begin, index), permute(a[3] + begin, index)};
      store_vector(values->m[m] + x, value_at(of, t, t2, t3));
    }
    return;
  }
  for (size_t lane = 0; lane < lanes; ++lane) {
    const size_t cell = static_cast<size_t>(cells[lane]) - first;
    for (size_t m = 0; m < 4; ++m) {
      const auto& a = patches.a[m];
      values->m[m][x + lane] =
          value_at(cubic<float>{a[0][cell], a[1][cell], a[2][cell], a[3][cell]}, t[lane], t2[lane],
                   t3[lane]);
    }
  }
}

#else

/// R_0 ... R_3 of a few columns, lane m being R_m, one column after the other: no permutation by a
/// variable index is needed.
inline __attribute__((always_inline)) void along_lanes(const cell_patches& patches, size_t first,
                                                       floats positions, size_t x,
                                                       patch_values* values) {
  static_assert(lanes == 4);
  floats columns[4];
  for (size_t lane = 0; lane < 4; ++lane) {
    const size_t cell = static_cast<size_t>(positions[lane]);
    const floats t = floats{} + (positions[lane] - static_cast<float>(cell));
    const floats t2 = t * t;
    const auto coefficients =
        [&patches, at = cell - first ](size_t n) __attribute__((always_inline)) {
      return floats{patches.a[0][n][at], patches.a[1][n][at], patches.a[2][n][at],
                    patches.a[3][n][at]};
    };
    columns[lane] =
        value_at(cubic<floats>{coefficients(0), coefficients(1), coefficients(2), coefficients(3)},
                 t, t2, t2 * t);
  }
  for (size_t m = 0; m < 4; ++m)
    store_vector(values->m[m] + x,
                 floats{columns[0][m], columns[1][m], columns[2][m], columns[3][m]});
}

#endif

void along(const float* const rows[4], const float* positions, size_t count, patch_values* values) {
  const size_t first = static_cast<size_t>(positions[0]);
  const size_t last = static_cast<size_t>(positions[count - 1]);
  combined_rows combined;
  combine_rows(rows, first, last + 4 - first, combined);
  cell_patches patches;
  make_patches(combined, last + 1 - first, patches);
  size_t x = 0;
  for (; x + lanes <= count; x += lanes)
    along_lanes(patches, first, load_vector<floats>(positions + x), x, values);
  if (x == count) return;
  // The lanes beyond the last column repeat it.
  float repeated[lanes];
  for (size_t lane = 0; lane < lanes; ++lane)
    repeated[lane] = positions[x + lane < count ? x + lane : count - 1];
  along_lanes(patches, first, load_vector<floats>(repeated), x, values);
}

void across(const patch_values* values, float ty, size_t count, float* __restrict dst) {
  const float* const r0 = values->m[0];
  const float* const r1 = values->m[1];
  const float* const r2 = values->m[2];
  const float* const r3 = values->m[3];
  const float ty2 = ty * ty;
  const float ty3 = ty2 * ty;
  for (size_t x = 0; x < count; ++x) {
    const float value = ((r0[x] + r1[x] * ty) + r2[x] * ty2) + r3[x] * ty3;
    // Each comparison fails for a NaN, which thereby ends at the lower bound.
    const float raised = value > -255.0f ? value : -255.0f;
    dst[x] = raised < 65535.0f ? raised : 65535.0f;
  }
}

}  // namespace

extern const patch_rows patches;
constinit const patch_rows patches = {along, across};

}  // namespace qo::QO_ROWS_NS
