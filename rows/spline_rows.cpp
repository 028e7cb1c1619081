// The Catmull-Rom spline in double precision, on as many columns as a register holds doubles.

// Four doubles take two registers of the base set. How functions would pass them is no matter: all
// are inlined.
#pragma GCC diagnostic ignored "-Wpsabi"

#include "rows/spline_rows.h"

#include "rows/intrinsics.h"
#include "rows/lanes.h"

namespace qo::QO_ROWS_NS {
namespace {

// At least the four that a turn of samples makes; where registers hold two doubles, compilers take
// two registers.
constexpr size_t lanes = QO_VECTOR_BYTES == 64 ? 8 : 4;
using doubles = vector_n<double, lanes>;
using floats_of_row = vector_n<float, lanes>;

static_assert(spline_room >= 2 * lanes);

[[nodiscard]] inline __attribute__((always_inline)) doubles widen(floats_of_row v) {
#if QO_VECTOR_BYTES == 64
  // GCC 12 makes two halves of the plain conversion. Here with a mask, because it warns of what the
  // form without leaves undefined.
  return _mm512_maskz_cvtps_pd(UINT8_MAX, v);
#elif QO_VECTOR_BYTES == 32
  return _mm256_cvtps_pd(v);
#else
  return __builtin_convertvector(v, doubles);
#endif
}

[[nodiscard]] inline __attribute__((always_inline)) floats_of_row narrow(doubles v) {
  return __builtin_convertvector(v, floats_of_row);
}

template <typename Values>
[[nodiscard]] inline __attribute__((always_inline)) Values square_term(Values p0, Values p1,
                                                                       Values p2, Values p3) {
  return ((2.0f * p0 - 5.0f * p1) + 4.0f * p2) - p3;
}

template <typename Values>
[[nodiscard]] inline __attribute__((always_inline)) Values cube_term(Values p0, Values p1_minus_p2,
                                                                     Values p3) {
  return (3.0f * p1_minus_p2 + p3) - p0;
}

/// A fraction as the spline takes it.
struct fraction {
  doubles t;
  doubles half;
};

[[nodiscard]] inline __attribute__((always_inline)) fraction fraction_of(doubles t) {
  return {t, t * 0.5};
}

[[nodiscard]] inline __attribute__((always_inline)) floats_of_row spline(doubles p1, doubles slope,
                                                                         doubles square,
                                                                         doubles cube,
                                                                         const fraction& at) {
  return narrow(p1 + at.half * (slope + at.t * (square + at.t * cube)));
}

/// Four neighbouring samples of each of `lanes` columns: lane x of p[c] is row[cells[x] + c].
struct taps {
  floats_of_row p[4];
};

[[nodiscard]] inline __attribute__((always_inline)) taps load_taps(const float* row,
                                                                   const uint32_t* cells) {
  // Four samples of a column lie side by side: they are loaded as one, then turned around.
#if QO_VECTOR_BYTES == 64
  const auto pair = [ row, cells ](size_t x) __attribute__((always_inline)) {
    return _mm256_insertf128_ps(_mm256_castps128_ps256(_mm_loadu_ps(row + cells[x])),
                                _mm_loadu_ps(row + cells[x + 4]), 1);
  };
  const __m256 x0 = pair(0);
  const __m256 x1 = pair(1);
  const __m256 x2 = pair(2);
  const __m256 x3 = pair(3);
  const __m256 low01 = _mm256_unpacklo_ps(x0, x1);   // p0 p0 p1 p1
  const __m256 high01 = _mm256_unpackhi_ps(x0, x1);  // p2 p2 p3 p3
  const __m256 low23 = _mm256_unpacklo_ps(x2, x3);
  const __m256 high23 = _mm256_unpackhi_ps(x2, x3);
  return {{_mm256_shuffle_ps(low01, low23, 0x44), _mm256_shuffle_ps(low01, low23, 0xee),
           _mm256_shuffle_ps(high01, high23, 0x44), _mm256_shuffle_ps(high01, high23, 0xee)}};
#else
  const floats_of_row x0 = load_vector<floats_of_row>(row + cells[0]);
  const floats_of_row x1 = load_vector<floats_of_row>(row + cells[1]);
  const floats_of_row x2 = load_vector<floats_of_row>(row + cells[2]);
  const floats_of_row x3 = load_vector<floats_of_row>(row + cells[3]);
  const floats_of_row low01 = shuffled<0, 4, 1, 5>(x0, x1);   // p0 p0 p1 p1
  const floats_of_row high01 = shuffled<2, 6, 3, 7>(x0, x1);  // p2 p2 p3 p3
  const floats_of_row low23 = shuffled<0, 4, 1, 5>(x2, x3);
  const floats_of_row high23 = shuffled<2, 6, 3, 7>(x2, x3);
  return {{shuffled<0, 1, 4, 5>(low01, low23), shuffled<2, 3, 6, 7>(low01, low23),
           shuffled<0, 1, 4, 5>(high01, high23), shuffled<2, 3, 6, 7>(high01, high23)}};
#endif
}

#if QO_VECTOR_BYTES > 16

/// Where columns stand closer than samples, all of them may lie in one window of eight samples.
/// `last_cell` is the last that has its four samples.
[[nodiscard]] inline __attribute__((always_inline)) bool share_a_window(const uint32_t* cells,
                                                                        uint32_t last_cell) {
  return cells[lanes - 1] - cells[0] <= 4 && cells[0] + 4 <= last_cell;
}

/// load_taps() of such columns, as permutations of the window.
[[nodiscard]] inline __attribute__((always_inline)) taps permute_taps(const float* row,
                                                                      const uint32_t* cells) {
  const __m256 window = _mm256_loadu_ps(row + cells[0]);
#if QO_VECTOR_BYTES == 64
  const __m256i all = load_vector<__m256i>(cells);
#else
  const __m256i all = _mm256_castsi128_si256(load_vector<__m128i>(cells));
#endif
  const __m256i index = _mm256_sub_epi32(all, _mm256_set1_epi32(static_cast<int32_t>(cells[0])));
  taps result;
  for (int c = 0; c < 4; ++c) {
    const __m256 p =
        _mm256_permutevar8x32_ps(window, _mm256_add_epi32(index, _mm256_set1_epi32(c)));
#if QO_VECTOR_BYTES == 64
    result.p[c] = p;
#else
    result.p[c] = _mm256_castps256_ps128(p);
#endif
  }
  return result;
}

#endif

/// Whether samples are such that all terms are exact in single precision: sums of less than 2^24.
enum class samples { any, integers };

template <samples Kind>
[[nodiscard]] inline __attribute__((always_inline)) floats_of_row along_lanes(const taps& from,
                                                                              floats_of_row t) {
  const floats_of_row* const p = from.p;
  if constexpr (Kind == samples::integers)
    return spline(widen(p[1]), widen(p[2] - p[0]), widen(square_term(p[0], p[1], p[2], p[3])),
                  widen(cube_term(p[0], p[1] - p[2], p[3])), fraction_of(widen(t)));
  const doubles p0 = widen(p[0]);
  const doubles p1 = widen(p[1]);
  const doubles p2 = widen(p[2]);
  const doubles p3 = widen(p[3]);
  // Deliberate: the two differences are rounded to single precision.
  return spline(p1, widen(p[2] - p[0]), square_term(p0, p1, p2, p3),
                cube_term(p0, widen(p[1] - p[2]), p3), fraction_of(widen(t)));
}

template <samples Kind>
void along(const float* row, const uint32_t* cells, const float* t, size_t count, float* dst) {
  size_t x = 0;
  for (; x + lanes <= count; x += lanes) {
    const floats_of_row t_lanes = load_vector<floats_of_row>(t + x);
#if QO_VECTOR_BYTES > 16
    if (share_a_window(cells + x, cells[count - 1])) {
      store_vector(dst + x, along_lanes<Kind>(permute_taps(row, cells + x), t_lanes));
      continue;
    }
#endif
    store_vector(dst + x, along_lanes<Kind>(load_taps(row, cells + x), t_lanes));
  }
  if (x == count) return;
  // The lanes beyond the last column repeat it.
  uint32_t last_cells[lanes];
  float last_t[lanes];
  for (size_t lane = 0; lane < lanes; ++lane) {
    const size_t column = x + lane < count ? x + lane : count - 1;
    last_cells[lane] = cells[column];
    last_t[lane] = t[column];
  }
  store_vector(dst + x,
               along_lanes<Kind>(load_taps(row, last_cells), load_vector<floats_of_row>(last_t)));
}

/// The value times 1024 as an integer whose low 16 bits count.
[[nodiscard]] inline __attribute__((always_inline)) vector_n<int32_t, lanes> fixed_point(
    floats_of_row value) {
  const floats_of_row product = value * 1024.0f;
#if QO_VECTOR_BYTES == 64
  // What is out of range, and a NaN, becomes INT32_MIN, whose low bits are 0 as they should be; but
  // for large values, where they are ones.
  const __m256i bits = _mm256_cvttps_epi32(product);
  const __mmask8 large = _mm256_cmp_ps_mask(product, _mm256_set1_ps(2147483648.0f), _CMP_GE_OQ);
  return reinterpret_cast<vector_n<int32_t, lanes>>(
      _mm256_mask_mov_epi32(bits, large, _mm256_set1_epi32(-1)));
#elif defined(__SSE2__)
  const __m128i bits = _mm_cvttps_epi32(product);  // as with wider registers, above
  const __m128 large = _mm_cmpge_ps(product, _mm_set1_ps(2147483648.0f));
  return reinterpret_cast<vector_n<int32_t, lanes>>(_mm_or_si128(bits, _mm_castps_si128(large)));
#else
  return truncate_lanes<lanes>(product);
#endif
}

/// Vectors of columns whose results are formed together: two fill a register of results. The base
/// set has none to spare for the terms of a second.
constexpr size_t sets = QO_VECTOR_BYTES == 16 ? 1 : 2;

/// The low 16 bits of the integers of all sets.
using results = vector_n<uint16_t, sets * lanes>;

[[nodiscard]] inline __attribute__((always_inline)) results low_halves(
    const vector_n<int32_t, lanes> (&of)[sets]) {
#if QO_VECTOR_BYTES > 16
  // The even 16-bit lanes of little-endian vectors.
  const results a = reinterpret_cast<results>(of[0]);
  const results b = reinterpret_cast<results>(of[1]);
#if QO_VECTOR_BYTES == 64
  return shuffled<0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30>(a, b);
#else
  return shuffled<0, 2, 4, 6, 8, 10, 12, 14>(a, b);
#endif
#elif defined(__SSE2__)
  // What fits 16 bits with its sign is packed without a loss.
  const __m128i extended = _mm_srai_epi32(_mm_slli_epi32(same_bits<__m128i>(of[0]), 16), 16);
  const __m128i packed = _mm_packs_epi32(extended, extended);
  return load_vector<results>(&packed);
#else
  return __builtin_convertvector(of[0], results);
#endif
}

/// What does not depend on t of the splines across four rows.
struct column_terms {
  doubles p1;
  doubles slope;
  doubles square;
  doubles cube;
};

[[nodiscard]] inline __attribute__((always_inline)) column_terms terms_at(const float* const p[4],
                                                                          size_t x) {
  const doubles p0 = widen(load_vector<floats_of_row>(p[0] + x));
  const doubles p1 = widen(load_vector<floats_of_row>(p[1] + x));
  const doubles p2 = widen(load_vector<floats_of_row>(p[2] + x));
  const doubles p3 = widen(load_vector<floats_of_row>(p[3] + x));
  return {p1, p2 - p0, square_term(p0, p1, p2, p3), cube_term(p0, p1 - p2, p3)};
}

[[nodiscard]] inline __attribute__((always_inline)) vector_n<int32_t, lanes> integers_at(
    const column_terms& of, const fraction& at) {
  return fixed_point(spline(of.p1, of.slope, of.square, of.cube, at));
}

void across(const float* const p[4], const float* t, size_t result_count, size_t count,
            uint16_t* dst, size_t stride) {
  // Once for all columns: GCC fills the lanes of a double register by way of memory.
  fraction heights[spline_results];
  for (size_t y = 0; y < result_count; ++y) {
    doubles in_all_lanes;
    for (size_t lane = 0; lane < lanes; ++lane) in_all_lanes[lane] = static_cast<double>(t[y]);
    heights[y] = fraction_of(in_all_lanes);
  }
  constexpr size_t step = sets * lanes;
  for (size_t x = 0; x < count; x += step) {
    column_terms terms[sets];
    for (size_t set = 0; set < sets; ++set) terms[set] = terms_at(p, x + set * lanes);
    uint16_t* to = dst + x;
    for (size_t y = 0; y < result_count; ++y, to += stride) {
      vector_n<int32_t, lanes> integers[sets];
      for (size_t set = 0; set < sets; ++set) integers[set] = integers_at(terms[set], heights[y]);
      const results row = low_halves(integers);
      if (x + step <= count) {
        store_vector(to, row);
      } else {
        for (size_t lane = 0; x + lane < count; ++lane) to[lane] = row[lane];
      }
    }
  }
}

}  // namespace

extern const spline_rows splines;
constinit const spline_rows splines = {along<samples::any>, along<samples::integers>, across};

}  // namespace qo::QO_ROWS_NS
