/// Tiles of samples: some taps of a group of columns, a register for each tap of all columns.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "rows/area_lanes.inl.h"
#include "rows/area_rows.h"
#include "rows/lanes.h"

namespace qo::QO_ROWS_NS {
namespace {

/// Taps of a column in a tile: 16 bytes, four words.
template <typename Sample>
constexpr size_t tile_taps = 16 / sizeof(Sample);

/// Some taps of a group of columns: a vector for each word, a lane for each column.
template <typename Sample>
struct tile {
  words<lanes> word[4];

  [[nodiscard]] inline __attribute__((always_inline)) floats<lanes> tap(size_t i) const {
    if constexpr (sizeof(Sample) == sizeof(float)) {
      return same_bits<floats<lanes>>(word[i]);
    } else {
      const words<lanes> sample = i % 2 == 0 ? word[i / 2] & 0xffff : word[i / 2] >> 16;
      return __builtin_convertvector(same_bits<vector_n<int32_t, lanes>>(sample), floats<lanes>);
    }
  }
};

/// The four words at start 0 and beside them, in a wider vector, those at starts 4, 8 and 12.
template <size_t Lanes, typename Sample>
[[nodiscard]] inline __attribute__((always_inline)) words<Lanes> load_quads(
    const Sample* row, const uint16_t* starts) {
  if constexpr (Lanes == 4) {
    return load_vector<words<4>>(row + starts[0]);
  } else if constexpr (Lanes == 8) {
    return __builtin_shufflevector(load_quads<4>(row, starts), load_quads<4>(row, starts + 4), 0, 1,
                                   2, 3, 4, 5, 6, 7);
  } else {
    return __builtin_shufflevector(load_quads<8>(row, starts), load_quads<8>(row, starts + 8), 0, 1,
                                   2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
  }
}

/// Tiles of columns anywhere: each column's own 16 bytes, transposed.
template <typename Sample>
class scattered_tiles {
 public:
  /// Whether all tiles up to the one at tap `last_tile` lie within `readable` samples of a row.
  [[nodiscard]] static bool hold(const area_columns& columns, size_t column, size_t last_tile,
                                 size_t readable) {
    return columns.starts[column + lanes - 1] + last_tile + tile_taps<Sample> <= readable;
  }

  scattered_tiles(const area_columns& columns, size_t column) : starts_(columns.starts + column) {}

  /// The taps from `row` on, of which the first `Taps` are looked at.
  template <size_t Taps>
  [[nodiscard]] inline __attribute__((always_inline)) tile<Sample> load(const Sample* row) const {
    const words<lanes> c0 = load_quads<lanes>(row, starts_);
    const words<lanes> c1 = load_quads<lanes>(row, starts_ + 1);
    const words<lanes> c2 = load_quads<lanes>(row, starts_ + 2);
    const words<lanes> c3 = load_quads<lanes>(row, starts_ + 3);
    const words<lanes> low_01 = pick<0, 4, 1, 5>(c0, c1);
    const words<lanes> low_23 = pick<0, 4, 1, 5>(c2, c3);
    tile<Sample> result;
    result.word[0] = pick<0, 1, 4, 5>(low_01, low_23);
    result.word[1] = pick<2, 3, 6, 7>(low_01, low_23);
    if constexpr (Taps * sizeof(Sample) > 8) {
      const words<lanes> high_01 = pick<2, 6, 3, 7>(c0, c1);
      const words<lanes> high_23 = pick<2, 6, 3, 7>(c2, c3);
      result.word[2] = pick<0, 1, 4, 5>(high_01, high_23);
      result.word[3] = pick<2, 3, 6, 7>(high_01, high_23);
    }
    return result;
  }

 private:
  const uint16_t* starts_;
};

#if defined(__AVX512VBMI__)

/// Tiles of columns close together, of four taps at most. A window of two registers holds all taps
/// of 16 columns of 16 bits, or of 8 columns of 32 bits, and is permuted.
template <typename Sample>
class window_tiles {
 public:
  /// Whether the windows hold the group's taps, and lie within `readable` samples of a row.
  [[nodiscard]] static bool hold(const area_columns& columns, size_t column, size_t readable) {
    const uint16_t* const starts = columns.starts + column;
    if (size_t{starts[is_narrow ? 0 : 8]} + window > readable) return false;
    if (is_narrow) return starts[15] - starts[0] + columns.taps <= window;
    return starts[7] - starts[0] + columns.taps <= window &&
           starts[15] - starts[8] + columns.taps <= window;
  }

  window_tiles(const area_columns& columns, size_t column) {
    const uint16_t* const starts = columns.starts + column;
    const __m512i at = _mm512_cvtepu16_epi32(load_vector<__m256i>(starts));
    const __m512i left_start = _mm512_set1_epi32(starts[0]);
    if constexpr (is_narrow) {
      // Words of two taps.
      const __m512i near = _mm512_sub_epi32(at, left_start);
      const __m512i far = _mm512_add_epi32(near, _mm512_set1_epi32(1));
      taps_[0] = _mm512_or_si512(near, _mm512_slli_epi32(far, 16));
    } else {
      // A tap of eight columns and the next one of the same; of the columns on the right the next
      // one comes first, so that halves meet across.
      const __m512i right_start = _mm512_set1_epi32(starts[8]);
      const __m512i left = _mm512_sub_epi32(_mm512_shuffle_i32x4(at, at, 0x44), left_start);
      const __m512i right = _mm512_sub_epi32(_mm512_shuffle_i32x4(at, at, 0xee), right_start);
      const __m512i one = _mm512_set1_epi32(1);
      taps_[0] = _mm512_mask_add_epi32(left, 0xff00, left, one);
      taps_[1] = _mm512_mask_add_epi32(right, 0x00ff, right, one);
    }
    left_ = starts[0];
    right_ = starts[8];
  }

  template <size_t Taps>
  [[nodiscard]] inline __attribute__((always_inline)) tile<Sample> load(const Sample* row) const {
    tile<Sample> result;
    const __m512i low = load_vector<__m512i>(row + left_);
    const __m512i high = load_vector<__m512i>(row + left_ + window / 2);
    if constexpr (is_narrow) {
#pragma GCC unroll 2
      for (size_t i = 0; i < (Taps + 1) / 2; ++i) {
        const __m512i on = _mm512_set1_epi16(static_cast<int16_t>(2 * i));
        const __m512i taps = _mm512_add_epi16(taps_[0], on);
        result.word[i] = same_bits<words<lanes>>(_mm512_permutex2var_epi16(low, taps, high));
      }
    } else {
      const __m512i right_low = load_vector<__m512i>(row + right_);
      const __m512i right_high = load_vector<__m512i>(row + right_ + window / 2);
#pragma GCC unroll 2
      for (size_t i = 0; i < Taps; i += 2) {
        const __m512i on = _mm512_set1_epi32(static_cast<int>(i));
        const __m512i left = _mm512_permutex2var_epi32(low, _mm512_add_epi32(taps_[0], on), high);
        const __m512i right =
            _mm512_permutex2var_epi32(right_low, _mm512_add_epi32(taps_[1], on), right_high);
        result.word[i] = same_bits<words<lanes>>(_mm512_mask_blend_epi32(0xff00, left, right));
        result.word[i + 1] = same_bits<words<lanes>>(_mm512_shuffle_i32x4(left, right, 0x4e));
      }
    }
    return result;
  }

 private:
  static constexpr bool is_narrow = sizeof(Sample) == 2;
  static constexpr size_t window = 2 * lanes_of<Sample>;

  __m512i taps_[2];
  size_t left_;   ///< where the window is, of 32 bits that of the eight columns on the left
  size_t right_;  ///< that of the eight on the right
};

#endif

}  // namespace
}  // namespace qo::QO_ROWS_NS
