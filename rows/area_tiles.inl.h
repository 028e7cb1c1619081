/// Tiles of samples: some taps of a group of columns, a register for each tap of all columns.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "rows/area_lanes.inl.h"
#include "rows/area_rows.h"
#include "rows/lanes.h"

namespace qo::QO_ROWS_NS {
namespace {

/// Taps of a column that a tile holds at most: 16 bytes.
template <typename Sample>
constexpr size_t tile_taps = 16 / sizeof(Sample);

/// Some taps of a group of columns: a vector for each tap, a lane for each column.
template <size_t Taps>
struct tile {
  floats<lanes> tap[Taps];
};

[[nodiscard]] inline __attribute__((always_inline)) floats<lanes> whole_numbers(
    words<lanes> samples) {
  return __builtin_convertvector(same_bits<vector_n<int32_t, lanes>>(samples), floats<lanes>);
}

/// The four words at start 0 and beside them, in a wider vector, those at starts 4, 8 and 12.
template <size_t Lanes, typename Sample>
[[nodiscard]] inline __attribute__((always_inline)) words<Lanes> load_quads(
    const Sample* row, const uint16_t* starts) {
  if constexpr (Lanes == 4) {
    return load_vector<words<4>>(row + starts[0]);
  } else if constexpr (Lanes == 8) {
    const auto low = load_quads<4>(row, starts);
    const auto high = load_quads<4>(row, starts + 4);
    return shuffled<0, 1, 2, 3, 4, 5, 6, 7>(low, high);
  } else {
    const auto low = load_quads<8>(row, starts);
    const auto high = load_quads<8>(row, starts + 8);
    return shuffled<0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15>(low, high);
  }
}

/// Tiles of columns anywhere: each column's own 16 bytes, transposed.
template <typename Sample>
class scattered_tiles {
 public:
  scattered_tiles() = default;
  scattered_tiles(const area_columns& columns, size_t column) : starts_(columns.starts + column) {}

  /// Samples of a row, from position 0 on, up to where a tile ends.
  [[nodiscard]] size_t reach() const { return starts_[lanes - 1] + tile_taps<Sample>; }
  [[nodiscard]] size_t start() const { return starts_[0]; }

  /// The first `Taps` taps from `row` on.
  template <size_t Taps>
  [[nodiscard]] inline __attribute__((always_inline)) tile<Taps> load(const Sample* row) const {
    const words<lanes> c0 = load_quads<lanes>(row, starts_);
    const words<lanes> c1 = load_quads<lanes>(row, starts_ + 1);
    const words<lanes> c2 = load_quads<lanes>(row, starts_ + 2);
    const words<lanes> c3 = load_quads<lanes>(row, starts_ + 3);
    const words<lanes> low_01 = pick<0, 4, 1, 5>(c0, c1);
    const words<lanes> low_23 = pick<0, 4, 1, 5>(c2, c3);
    const words<lanes> high_01 = pick<2, 6, 3, 7>(c0, c1);
    const words<lanes> high_23 = pick<2, 6, 3, 7>(c2, c3);
    const words<lanes> word[] = {pick<0, 1, 4, 5>(low_01, low_23), pick<2, 3, 6, 7>(low_01, low_23),
                                 pick<0, 1, 4, 5>(high_01, high_23),
                                 pick<2, 3, 6, 7>(high_01, high_23)};
    tile<Taps> taps;
#pragma GCC unroll 8
    for (size_t i = 0; i < Taps; ++i) {
      if constexpr (sizeof(Sample) == sizeof(float))
        taps.tap[i] = same_bits<floats<lanes>>(word[i]);
      else
        taps.tap[i] = whole_numbers(i % 2 == 0 ? word[i / 2] & 0xffff : word[i / 2] >> 16);
    }
    return taps;
  }

 private:
  const uint16_t* starts_;
};

#if defined(__AVX512VBMI__)

/// Registers that hold the taps of a group's columns where these are no more than two samples wide.
template <typename Sample>
inline constexpr size_t fewest_registers = sizeof(Sample) == sizeof(float) ? 2 : 1;

/// Tiles of columns close together: one window of a row, of some registers, holds all taps of the
/// group, and is permuted for each. The last register ends where the taps end, and nothing beyond
/// is read unless the row is shorter than a register.
template <typename Sample, size_t Taps, size_t Registers>
class window_tiles {
 public:
  /// Whether so wide a window holds the taps of each of some groups.
  [[nodiscard]] static bool hold(const area_columns& columns, size_t column, size_t groups) {
    for (const uint16_t* starts = columns.starts + column; groups != 0; --groups, starts += lanes)
      if (starts[lanes - 1] - starts[0] + Taps > Registers * width) return false;
    return true;
  }

  window_tiles() = default;
  window_tiles(const area_columns& columns, size_t column) {
    const uint16_t* const starts = columns.starts + column;
    const size_t end = starts[lanes - 1] + Taps;
    const size_t last = end > width ? end - width : 0;
    const size_t first = starts[0] < last ? starts[0] : last;
    for (size_t i = 0; i + 1 < Registers; ++i) parts_[i] = first + i * width;
    parts_[Registers - 1] = last;
    const __m512i at = _mm512_cvtepu16_epi32(load_vector<__m256i>(starts));
    // Where the last register would stand if it followed the others.
    const __m512i follows = all(first + (Registers - 1) * width);
    const __m512i moved = all(first + (Registers - 1) * width - last);
#pragma GCC unroll 4
    for (size_t i = 0; i < Taps; ++i) {
      const __m512i tap = _mm512_add_epi32(at, all(i));
      in_last_[i] = _mm512_cmpge_epi32_mask(tap, follows);
      const __m512i place = _mm512_sub_epi32(tap, all(first));
      places_[i] = _mm512_mask_add_epi32(place, in_last_[i], place, moved);
    }
  }

  [[nodiscard]] size_t start() const { return parts_[0]; }
  [[nodiscard]] size_t reach() const {
    const size_t last = parts_[Registers - 1];
    const size_t before = parts_[Registers > 1 ? Registers - 2 : 0];
    return width + (last > before ? last : before);
  }

  template <size_t Taken>
  [[nodiscard]] inline __attribute__((always_inline)) tile<Taps> load(const Sample* row) const {
    static_assert(Taken == Taps);
    __m512i part[Registers];
#pragma GCC unroll 3
    for (size_t i = 0; i < Registers; ++i) {
      part[i] = load_vector<__m512i>(row + parts_[i]);
      // Each is loaded once, not once more for each tap.
      __asm__("" : "+v"(part[i]));
    }
    tile<Taps> taps;
#pragma GCC unroll 4
    for (size_t i = 0; i < Taps; ++i) {
      if constexpr (sizeof(Sample) == sizeof(float))
        taps.tap[i] = same_bits<floats<lanes>>(pick_words(part, i));
      else
        taps.tap[i] = whole_numbers(same_bits<words<lanes>>(pick_halves(part, i)));
    }
    return taps;
  }

 private:
  static constexpr size_t width = lanes_of<Sample>;

  [[nodiscard]] static inline __attribute__((always_inline)) __m512i all(size_t number) {
    return _mm512_set1_epi32(static_cast<int>(number));
  }

  [[nodiscard]] inline __attribute__((always_inline)) __m512i pick_words(const __m512i* part,
                                                                         size_t tap) const {
    static_assert(Registers == 2 || Registers == 3);
    const __m512i near = _mm512_permutex2var_epi32(part[0], places_[tap], part[1]);
    if constexpr (Registers == 2) return near;
    return _mm512_mask_permutexvar_epi32(near, in_last_[tap], places_[tap], part[Registers - 1]);
  }

  /// Samples of 16 bits as words.
  [[nodiscard]] inline __attribute__((always_inline)) __m512i pick_halves(const __m512i* part,
                                                                          size_t tap) const {
    static_assert(Registers == 1 || Registers == 2);
    constexpr __mmask32 lower = 0x55555555;
    if constexpr (Registers == 1)
      return _mm512_maskz_permutexvar_epi16(lower, places_[tap], part[0]);
    return _mm512_maskz_permutex2var_epi16(lower, part[0], places_[tap], part[Registers - 1]);
  }

  __m512i places_[Taps];     ///< of each tap in the window
  size_t parts_[Registers];  ///< where in a row each register of the window is
  __mmask16 in_last_[Taps];  ///< the columns whose tap is in the last register
};

#elif defined(__AVX2__)

/// Tiles of samples of 16 bits of columns close together: 16 bytes hold those of four columns.
template <size_t Taps>
class fourfold_tiles {
 public:
  /// Whether they do, in some groups.
  [[nodiscard]] static bool hold(const area_columns& columns, size_t column, size_t groups) {
    const uint16_t* four = columns.starts + column;
    for (size_t i = 0; i < 2 * groups; ++i, four += 4)
      if (four[3] - four[0] + Taps > 8) return false;
    return true;
  }

  fourfold_tiles() = default;
  fourfold_tiles(const area_columns& columns, size_t column) : starts_(columns.starts + column) {
    const __m256i starts = _mm256_cvtepu16_epi32(load_vector<__m128i>(starts_));
    const __m256i first_of_four = _mm256_shuffle_epi32(starts, 0);
    __m256i samples = _mm256_sub_epi32(starts, first_of_four);
    for (size_t i = 0; i < Taps; ++i) {
      // Of a lane the lower two bytes are those of a sample, the others 0.
      places_[i] = _mm256_add_epi32(_mm256_mullo_epi32(samples, _mm256_set1_epi32(0x0202)),
                                    _mm256_set1_epi32(static_cast<int>(0x80800100)));
      samples = _mm256_add_epi32(samples, _mm256_set1_epi32(1));
    }
  }

  [[nodiscard]] size_t start() const { return starts_[0]; }
  [[nodiscard]] size_t reach() const { return starts_[4] + size_t{8}; }

  template <size_t Taken>
  [[nodiscard]] inline __attribute__((always_inline)) tile<Taps> load(const uint16_t* row) const {
    static_assert(Taken == Taps);
    const __m256i samples =
        _mm256_inserti128_si256(_mm256_castsi128_si256(load_vector<__m128i>(row + starts_[0])),
                                load_vector<__m128i>(row + starts_[4]), 1);
    tile<Taps> taps;
#pragma GCC unroll 3
    for (size_t i = 0; i < Taps; ++i)
      taps.tap[i] =
          whole_numbers(same_bits<words<lanes>>(_mm256_shuffle_epi8(samples, places_[i])));
    return taps;
  }

 private:
  __m256i places_[Taps];
  const uint16_t* starts_;
};

/// Tiles of samples of 16 bits, of four taps at most: 16 bytes hold those of two columns, the
/// second of which starts where the first ends at the latest.
class paired_tiles {
 public:
  paired_tiles() = default;
  paired_tiles(const area_columns& columns, size_t column) : starts_(columns.starts + column) {
    const auto places_of = [](int left, int right) {
      const __m256i samples = _mm256_setr_epi32(0, left, 1, left + 1, 0, right, 1, right + 1);
      // Of a lane the lower two bytes are those of a sample, the others 0.
      return _mm256_add_epi32(_mm256_mullo_epi32(samples, _mm256_set1_epi32(0x0202)),
                              _mm256_set1_epi32(static_cast<int>(0x80800100)));
    };
    near_ = places_of(starts_[1] - starts_[0], starts_[5] - starts_[4]);
    far_ = places_of(starts_[3] - starts_[2], starts_[7] - starts_[6]);
  }

  [[nodiscard]] size_t start() const { return starts_[0]; }
  [[nodiscard]] size_t reach() const { return starts_[6] + size_t{8}; }

  template <size_t Taps>
  [[nodiscard]] inline __attribute__((always_inline)) tile<Taps> load(const uint16_t* row) const {
    const auto pairs_at = [&](size_t column) __attribute__((always_inline)) {
      return _mm256_inserti128_si256(
          _mm256_castsi128_si256(load_vector<__m128i>(row + starts_[column])),
          load_vector<__m128i>(row + starts_[column + 4]), 1);
    };
    const __m256i near = pairs_at(0);
    const __m256i far = pairs_at(2);
    tile<Taps> taps;
#pragma GCC unroll 2
    for (size_t i = 0; i < Taps; i += 2) {
      const __m256i on = _mm256_set1_epi32(static_cast<int>(0x0202 * i));
      const __m256i two_near = _mm256_shuffle_epi8(near, _mm256_add_epi32(near_, on));
      const __m256i two_far = _mm256_shuffle_epi8(far, _mm256_add_epi32(far_, on));
      const auto put = [&](size_t tap, __m256i samples) __attribute__((always_inline)) {
        taps.tap[tap] = whole_numbers(same_bits<words<lanes>>(samples));
      };
      put(i, _mm256_unpacklo_epi64(two_near, two_far));
      if (i + 1 < Taps) put(i + 1, _mm256_unpackhi_epi64(two_near, two_far));
    }
    return taps;
  }

 private:
  __m256i near_;  ///< places of taps 0 and 1 of columns 0 and 1, and of 4 and 5
  __m256i far_;   ///< of columns 2 and 3, and of 6 and 7
  const uint16_t* starts_;
};

#endif

/// Tiles of columns anywhere, the best that there are.
template <typename Sample>
struct any_tiles_of {
  using type = scattered_tiles<Sample>;
};

#if defined(__AVX2__) && !defined(__AVX512VBMI__)
template <>
struct any_tiles_of<uint16_t> {
  using type = paired_tiles;
};
#endif

template <typename Sample>
using any_tiles = typename any_tiles_of<Sample>::type;

}  // namespace
}  // namespace qo::QO_ROWS_NS
