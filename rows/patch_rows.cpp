// Bicubic patches in single precision.
//
// The coefficients a[m][n] are sums of sixteen products: of samples, which are integers below 2^20,
// with basis[m][r] basis[n][c], which are multiples of 1/4. Every product and every partial sum, in
// the order of the sum as in the factorisation below, is a multiple of 1/4 below 2^22 in magnitude,
// counted in quarters below 2^24: all are exact. So the sum may be split, first over the rows, then
// along them, and factors of two may stand with the powers of the fractions instead. No step makes
// a -0 of operands that are none, as the plain sum makes none.

#include "rows/patch_rows.h"

#include "rows/intrinsics.h"
#include "rows/lanes.h"

namespace qo::QO_ROWS_NS {
namespace {

/// Coefficients of the polynomial in t through p1 and p2 with the spline's slopes there. All but
/// the first are doubled: of integers they are integers.
template <typename Value>
struct cubic {
  Value c0;
  Value c1;
  Value c2;
  Value c3;
};

/// (0 1 0 0), (-1 0 1 0), (2 -5 4 -1) and (-1 3 -3 1) times p0 ... p3. Exact for the samples of a
/// patch, so the order of operations is free.
template <typename Value>
[[nodiscard]] inline __attribute__((always_inline)) cubic<Value> cubic_through(Value p0, Value p1,
                                                                               Value p2, Value p3) {
  const Value rise = (p2 - p1) * 2.0f;
  const Value slope = p2 - p0;
  const Value bend = rise - slope;
  const Value c3 = ((p3 - p1) - rise) - bend;
  return {p1, slope, bend - c3, c3};
}

/// Half of a fraction, of its square and of its cube: what doubled coefficients are multiplied by.
template <typename Value>
struct half_powers {
  Value t;
  Value t2;
  Value t3;
};

template <typename Value>
[[nodiscard]] inline __attribute__((always_inline)) half_powers<Value> half_powers_of(Value t) {
  const Value half = t * 0.5f;
  const Value half_square = half * t;
  return {half, half_square, half_square * t};
}

/// The rounded value: this order is the contract. Factors of two change no rounding.
template <typename Value>
[[nodiscard]] inline __attribute__((always_inline)) Value value_at(const cubic<Value>& of,
                                                                   const half_powers<Value>& at) {
  return ((of.c0 + of.c1 * at.t) + of.c2 * at.t2) + of.c3 * at.t3;
}

using floats = vector<float>;
constexpr size_t lanes = lanes_of<float>;

/// Cells of one strip: positions rise by 1 or less, but for one or two cells by rounding; three
/// columns more belong to the last cell, and a vector may begin at any of them.
constexpr size_t strip_cells = patch_strip + 8;
constexpr size_t row_room = strip_cells + lanes;

/// To -255 ... 65535; a NaN becomes -255.
[[nodiscard]] inline __attribute__((always_inline)) floats clamp(floats value) {
  const floats low = floats{} - 255.0f;
  const floats high = floats{} + 65535.0f;
#if QO_VECTOR_BYTES == 64
  return _mm512_min_ps(_mm512_max_ps(value, low), high);
#elif QO_VECTOR_BYTES == 32
  return _mm256_min_ps(_mm256_max_ps(value, low), high);
#elif defined(__SSE2__)
  return _mm_min_ps(_mm_max_ps(value, low), high);
#else
  const floats raised = value > low ? value : low;
  return raised < high ? raised : high;
#endif
}

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
inline void combine_rows(const float* const rows[4], size_t first, size_t count,
                         combined_rows& result) {
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

#if QO_VECTOR_BYTES > 16

/// One column after whole vectors of them, as grids that are enlarged by a whole factor have.
inline void enlarge_column(const combined_rows& combined, size_t first, float position,
                           const half_powers<floats>* heights, size_t result_count, float* dst,
                           size_t stride) {
  const auto cell = static_cast<int32_t>(position);
  const half_powers<float> t = half_powers_of(position - static_cast<float>(cell));
  const auto along = [&](size_t m) __attribute__((always_inline)) {
    const float* const p = combined.m[m] + (static_cast<size_t>(cell) - first);
    return floats{} + value_at(cubic_through(p[0], p[1], p[2], p[3]), t);
  };
  const cubic<floats> r = {along(0), along(1), along(2), along(3)};
  for (size_t y = 0; y < result_count; ++y, dst += stride) *dst = clamp(value_at(r, heights[y]))[0];
}

/// a[m][0] ... a[m][3] of as many cells as there are lanes, from the combined columns of theirs.
[[nodiscard]] inline __attribute__((always_inline)) cubic<floats> patches_at(
    const combined_rows& combined, size_t m, size_t cell) {
  const float* const column = combined.m[m] + cell;
  return cubic_through(load_vector<floats>(column), load_vector<floats>(column + 1),
                       load_vector<floats>(column + 2), load_vector<floats>(column + 3));
}

using indices = vector<int32_t>;

#endif

#if QO_VECTOR_BYTES == 64

/// Lane x of the result is lane `index[x]` of `window`.
[[nodiscard]] inline __attribute__((always_inline)) floats permute(floats window, indices index) {
  return _mm512_permutexvar_ps(same_bits<__m512i>(index), window);
}

[[nodiscard]] inline __attribute__((always_inline)) cubic<floats> permute(const cubic<floats>& of,
                                                                          indices index) {
  return {permute(of.c0, index), permute(of.c1, index), permute(of.c2, index),
          permute(of.c3, index)};
}

/// The patches of a window of cells stay in registers for all columns that lie in it.
void enlarge_strip(const combined_rows& combined, size_t first, const float* positions,
                   size_t count, const half_powers<floats>* heights, size_t result_count,
                   float* dst, size_t stride) {
  size_t x = 0;
  while (x < count) {
    const size_t begin = static_cast<uint32_t>(static_cast<int32_t>(positions[x]));
    cubic<floats> a[4];
    for (size_t m = 0; m < 4; ++m) a[m] = patches_at(combined, m, begin - first);
    for (size_t turn = 0; x < count; ++turn) {
      const auto present =
          static_cast<__mmask16>(x + lanes <= count ? UINT16_MAX : (1u << (count - x)) - 1);
      const floats at = _mm512_maskz_loadu_ps(present, positions + x);
      const indices cells = __builtin_convertvector(at, indices);
      const indices index = cells - static_cast<int32_t>(begin);
      const __mmask16 inside = _mm512_mask_cmplt_epu32_mask(
          present, same_bits<__m512i>(index), _mm512_set1_epi32(static_cast<int32_t>(lanes)));
      // A window that serves only a few more columns is left for one that serves them all.
      constexpr __mmask16 half = (1u << (lanes / 2)) - 1;
      if (turn != 0 && inside != present && (inside & half) != half) break;
      const half_powers<floats> t = half_powers_of(at - __builtin_convertvector(cells, floats));
      const cubic<floats> r = {value_at(permute(a[0], index), t), value_at(permute(a[1], index), t),
                               value_at(permute(a[2], index), t),
                               value_at(permute(a[3], index), t)};
      float* to = dst + x;
      if (inside == UINT16_MAX) {
        for (size_t y = 0; y < result_count; ++y, to += stride)
          store_vector(to, clamp(value_at(r, heights[y])));
        x += lanes;
      } else {
        for (size_t y = 0; y < result_count; ++y, to += stride)
          _mm512_mask_storeu_ps(to, inside, clamp(value_at(r, heights[y])));
        x += static_cast<size_t>(__builtin_popcount(inside));
        if (inside != present) break;
      }
    }
  }
}

#elif QO_VECTOR_BYTES == 32

/// Columns whose patches are kept at a time: few enough to stay in the nearest cache.
constexpr size_t chunk = 256;

/// The coefficients of every cell of a chunk. The first of each polynomial are columns as they are.
struct cell_patches {
  const combined_rows* combined;
  size_t first;  ///< column of the chunk's first cell
  alignas(64) float c1[4][chunk + 2 * lanes];
  alignas(64) float c2[4][chunk + 2 * lanes];
  alignas(64) float c3[4][chunk + 2 * lanes];

  [[nodiscard]] const float* c0(size_t m) const { return combined->m[m] + first + 1; }
};

/// The patches of `count` cells, whose combined columns begin at `first`.
inline void make_patches(const combined_rows& combined, size_t first, size_t count,
                         cell_patches& patches) {
  patches.combined = &combined;
  patches.first = first;
  for (size_t m = 0; m < 4; ++m) {
    for (size_t cell = 0; cell < count; cell += lanes) {
      const cubic<floats> of = patches_at(combined, m, first + cell);
      store_vector(patches.c1[m] + cell, of.c1);
      store_vector(patches.c2[m] + cell, of.c2);
      store_vector(patches.c3[m] + cell, of.c3);
    }
  }
}

/// Lane x of the result is lane `index[x]` of the vector at `window`.
[[nodiscard]] inline __attribute__((always_inline)) floats permute(const float* window,
                                                                   indices index) {
  return _mm256_permutevar8x32_ps(load_vector<floats>(window), same_bits<__m256i>(index));
}

/// R_0 ... R_3 of as many columns as there are lanes: a window of patches, which begins at the
/// first column's cell, permuted. What the window holds beyond the last cell is not chosen.
[[nodiscard]] inline __attribute__((always_inline)) cubic<floats> along_lanes(
    const cell_patches& patches, size_t first, floats positions) {
  const indices cells = __builtin_convertvector(positions, indices);
  const half_powers<floats> t = half_powers_of(positions - __builtin_convertvector(cells, floats));
  const indices index = cells - cells[0];
  const size_t begin = static_cast<uint32_t>(cells[0]) - first;
  const auto along = [&](size_t m) __attribute__((always_inline)) {
    return value_at(
        cubic<floats>{permute(patches.c0(m) + begin, index), permute(patches.c1[m] + begin, index),
                      permute(patches.c2[m] + begin, index), permute(patches.c3[m] + begin, index)},
        t);
  };
  return {along(0), along(1), along(2), along(3)};
}

/// Fewer columns than there are lanes. The lanes beyond the last column repeat it.
void enlarge_few(const cell_patches& patches, size_t first, const float* positions, size_t count,
                 const half_powers<floats>* heights, size_t result_count, float* dst,
                 size_t stride) {
  float repeated[lanes];
  for (size_t lane = 0; lane < lanes; ++lane)
    repeated[lane] = positions[lane < count ? lane : count - 1];
  const cubic<floats> r = along_lanes(patches, first, load_vector<floats>(repeated));
  for (size_t y = 0; y < result_count; ++y, dst += stride) {
    const floats results = clamp(value_at(r, heights[y]));
    for (size_t lane = 0; lane < count; ++lane) dst[lane] = results[lane];
  }
}

void enlarge_chunk(const combined_rows& combined, size_t first, const float* positions,
                   size_t count, const half_powers<floats>* heights, size_t result_count,
                   float* dst, size_t stride) {
  const auto first_cell = static_cast<size_t>(static_cast<int32_t>(positions[0]));
  const auto last_cell = static_cast<size_t>(static_cast<int32_t>(positions[count - 1]));
  cell_patches patches;
  make_patches(combined, first_cell - first, last_cell + 1 - first_cell, patches);
  const auto few = [&](size_t x, size_t width) {
    enlarge_few(patches, first_cell, positions + x, width, heights, result_count, dst + x, stride);
  };
  size_t x = 0;
  for (; x + lanes <= count; x += lanes) {
    const float* const at = positions + x;
    const int32_t cells_between = static_cast<int32_t>(at[lanes - 1]) - static_cast<int32_t>(at[0]);
    if (cells_between >= static_cast<int32_t>(lanes)) [[unlikely]] {
      few(x, lanes / 2);  // rounding skipped a cell
      few(x + lanes / 2, lanes / 2);
      continue;
    }
    const cubic<floats> r = along_lanes(patches, first_cell, load_vector<floats>(at));
    float* to = dst + x;
    for (size_t y = 0; y < result_count; ++y, to += stride)
      store_vector(to, clamp(value_at(r, heights[y])));
  }
  if (x < count) few(x, count - x);
}

void enlarge_strip(const combined_rows& combined, size_t first, const float* positions,
                   size_t count, const half_powers<floats>* heights, size_t result_count,
                   float* dst, size_t stride) {
  for (size_t x = 0; x < count; x += chunk)
    enlarge_chunk(combined, first, positions + x, count - x < chunk ? count - x : chunk, heights,
                  result_count, dst + x, stride);
}

#else

static_assert(lanes == 4);

/// Rows become columns.
inline __attribute__((always_inline)) void transpose(floats (&v)[4]) {
  const floats low01 = shuffled<0, 4, 1, 5>(v[0], v[1]);
  const floats high01 = shuffled<2, 6, 3, 7>(v[0], v[1]);
  const floats low23 = shuffled<0, 4, 1, 5>(v[2], v[3]);
  const floats high23 = shuffled<2, 6, 3, 7>(v[2], v[3]);
  v[0] = shuffled<0, 1, 4, 5>(low01, low23);
  v[1] = shuffled<2, 3, 6, 7>(low01, low23);
  v[2] = shuffled<0, 1, 4, 5>(high01, high23);
  v[3] = shuffled<2, 3, 6, 7>(high01, high23);
}

/// One column after the other, lane m being of the coefficients of ty^m: no permutation by a
/// variable index is needed.
void enlarge_strip(const combined_rows& combined, size_t first, const float* positions,
                   size_t count, const half_powers<floats>* heights, size_t result_count,
                   float* dst, size_t stride) {
  const size_t cells = static_cast<size_t>(static_cast<int32_t>(positions[count - 1])) + 1 - first;
  floats turned[row_room];
  for (size_t column = 0; column < cells + 3; column += lanes) {
    floats of[4];
    for (size_t m = 0; m < 4; ++m) of[m] = load_vector<floats>(combined.m[m] + column);
    transpose(of);
    for (size_t c = 0; c < 4; ++c) turned[column + c] = of[c];
  }
  int32_t cell = -1;
  cubic<floats> patch = {};
  for (size_t x = 0; x < count; x += lanes) {
    floats r[4];
    for (size_t lane = 0; lane < 4; ++lane) {
      // The lanes beyond the last column repeat it.
      const float position = positions[x + lane < count ? x + lane : count - 1];
      const auto i = static_cast<int32_t>(position);
      const float t = position - static_cast<float>(i);
      if (i != cell) {
        cell = i;
        const floats* const p = turned + (static_cast<size_t>(i) - first);
        patch = cubic_through(p[0], p[1], p[2], p[3]);
      }
      r[lane] = value_at(patch, half_powers_of(floats{} + t));
    }
    transpose(r);
    float* to = dst + x;
    for (size_t y = 0; y < result_count; ++y, to += stride) {
      const floats results = clamp(value_at(cubic<floats>{r[0], r[1], r[2], r[3]}, heights[y]));
      if (x + lanes <= count) {
        store_vector(to, results);
      } else {
        for (size_t lane = 0; x + lane < count; ++lane) to[lane] = results[lane];
      }
    }
  }
}

#endif

/// Not inlined: compilers would unroll the loop to its bound.
__attribute__((noinline)) void spread_heights(const float* ty, size_t count,
                                              half_powers<floats>* heights) {
  for (size_t y = 0; y < count; ++y) heights[y] = half_powers_of(floats{} + ty[y]);
}

void enlarge(const float* const rows[4], const float* positions, size_t count, const float* ty,
             size_t result_count, float* dst, size_t stride) {
  const auto first = static_cast<size_t>(static_cast<int32_t>(positions[0]));
  const auto last = static_cast<size_t>(static_cast<int32_t>(positions[count - 1]));
  combined_rows combined;
  combine_rows(rows, first, last + 4 - first, combined);
  half_powers<floats> heights[patch_results];
  spread_heights(ty, result_count, heights);
#if QO_VECTOR_BYTES > 16
  if (count % lanes == 1) {
    --count;
    enlarge_column(combined, first, positions[count], heights, result_count, dst + count, stride);
    if (count == 0) return;
  }
#endif
  enlarge_strip(combined, first, positions, count, heights, result_count, dst, stride);
}

}  // namespace

extern const patch_rows patches;
constinit const patch_rows patches = {enlarge};

}  // namespace qo::QO_ROWS_NS
