/// Taps of bilinear resizing by window: instead of gathering the taps of each output, the samples
/// around those of some neighbouring outputs are loaded and permuted.
///
/// The outputs that share a window are a unit. Its taps come as pairs s(k), s(k + 1). A unit of n
/// outputs has a window of 2n samples, which holds the taps up to a step of two samples; two
/// windows side by side hold them up to four. Beyond that the pairs are gathered.
///
///   AVX-512  a window is a register: of bytes for 32 outputs, of 16 bits 16, of 32 bits 8
///   AVX2     of bytes and 16 bits half a register: for 8 and 4 outputs; of 32 bits a whole: for 4
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "rows/bilinear_rows.h"
#include "rows/intrinsics.h"
#include "rows/lanes.h"
#include "rows/register_window.inl.h"

namespace qo::QO_ROWS_NS {
namespace {

inline constexpr size_t narrow_window_bytes = QO_VECTOR_BYTES == 64 ? 64 : 16;

template <typename Element>
constexpr size_t window_bytes = sizeof(Element) == 4 ? QO_VECTOR_BYTES : narrow_window_bytes;
template <typename Element>
constexpr size_t window_samples = window_bytes<Element> / sizeof(Element);
template <typename Element>
constexpr size_t unit_outputs = window_samples<Element> / 2;
/// Outputs of one register of values that are blended across.
template <typename Element>
constexpr size_t register_outputs = lanes_of<bilinear_value<Element>>;
template <typename Element>
constexpr size_t register_units = register_outputs<Element> / unit_outputs<Element>;

/// Registers of values that `count` outputs take. With AVX2 those of 8 and 16 bits go in twos.
template <typename Element>
[[nodiscard]] constexpr size_t registers_for(size_t count) {
  constexpr size_t together = sizeof(Element) != 4 && register_units<Element> == 2 ? 2 : 1;
  constexpr size_t outputs = together * register_outputs<Element>;
  return (count + outputs - 1) / outputs * together;
}

/// The unit in part `part` of register `index`. With AVX2 two registers are packed half by half:
/// for that to give outputs in their order they take their units alternately.
template <typename Element>
[[nodiscard]] constexpr size_t unit_at(size_t index, size_t part) {
  if constexpr (sizeof(Element) == 4 || register_units<Element> == 1)
    return index * register_units<Element> + part;
  else
    return index / 2 * 4 + 2 * part + index % 2;
}

/// A unit's n-th output. The words of 8-bit samples are unpacked into two registers of eight
/// outputs, which interlock again when their upper halves are taken.
template <typename Element>
[[nodiscard]] constexpr uint32_t output_at(uint32_t n) {
  if constexpr (sizeof(Element) == 1) return n / 8 * 8 + n % 4 * 2 + n / 4 % 2;
  return n;
}

/// The last sample at which windows may start: they back up from the end of what may be read.
template <typename Element>
[[nodiscard]] inline uint32_t last_start_of(const bilinear_columns<Element>& columns) {
  const auto covered = static_cast<uint32_t>(columns.windows * window_samples<Element>);
  return columns.walk.extent > covered ? columns.walk.extent - covered : 0;
}

/// Samples that the planned columns advance, a whole number where they repeat.
template <typename Element>
[[nodiscard]] inline uint32_t samples_planned(const bilinear_columns<Element>& columns) {
  return columns.walk.step * (bilinear_planned<Element> >> bilinear_fraction_bits<Element>);
}

/// The pattern and weights of a unit. `offset` is the position of its first output, counted from
/// the first sample of its window. A position on a sample takes all of that sample; what stands
/// beside it counts for nothing and may lie outside the window.
template <typename Element>
inline void plan_unit(uint32_t offset, uint32_t step, bool two_windows, uint8_t* pattern,
                      uint8_t* weights) {
  // Of narrow samples two windows hold 128 at most: there a position has 16 bits.
  using number = bilinear_value<Element>;
  using lanes = vector_n<number, unit_outputs<Element>>;
  constexpr uint32_t bits = bilinear_fraction_bits<Element>;
  lanes numbers;
  for (uint32_t i = 0; i < unit_outputs<Element>; ++i)
    numbers[i] = static_cast<number>(output_at<Element>(i));
  const lanes at = numbers * static_cast<number>(step) + static_cast<number>(offset);
  const lanes near = at >> bits;
  const lanes far_weight = at & static_cast<number>((1u << bits) - 1);
  lanes taps;
  lanes pair_of_weights;
  if constexpr (sizeof(Element) == 1) {
    // The weight 256 does not fit a byte: instead both taps are the same sample, each with 128.
    const lanes is_between = (far_weight + 255) >> 8;
    const lanes v = far_weight + ((1 - is_between) << 7);
    taps = near * 0x0101 + (is_between << 8);
    pair_of_weights = v * 255 + 256;  // 256 - v, and v above it
  } else if constexpr (sizeof(Element) == 2) {
    pair_of_weights = far_weight * 0xffff + 0x100;  // 256 - far_weight, and far_weight above it
#if defined(__AVX512VBMI__)
    taps = near * 0x00010001 + 0x00010000;
#else
    taps = near * 0x02020202 + 0x03020100;  // of bytes
#endif
  } else {
    taps = near;
    pair_of_weights = far_weight;
  }
#if !defined(__AVX512VBMI__)
  // Bit 7 empties a byte: with it set at 16 and more the pattern fits the first window, and turned
  // over the second.
  if constexpr (sizeof(Element) != 4) {
    constexpr auto sixteens = static_cast<number>(0x70707070);
    if (two_windows) taps += sixteens;
  }
#endif
  (void)two_windows;
  store_vector(pattern, taps);
  store_vector(weights, pair_of_weights);
}

template <typename Element>
void plan(const bilinear_walk& walk, bilinear_columns<Element>& columns) {
  constexpr uint32_t bits = bilinear_fraction_bits<Element>;
  constexpr size_t outputs = unit_outputs<Element>;
  constexpr size_t planned = bilinear_planned<Element>;
  columns.walk = walk;
  columns.windows = walk.step <= 2u << bits ? 1 : walk.step <= 4u << bits ? 2 : 0;
  const uint32_t last_start = last_start_of(columns);
  const bool repeat = walk.count > planned;
  const auto unit_step = static_cast<uint32_t>(outputs * walk.step);
  uint32_t farthest = 0;
  for (size_t i = 0; i < registers_for<Element>(repeat ? planned : walk.count); ++i)
    for (size_t part = 0; part < register_units<Element>; ++part) {
      const size_t slot = i * register_units<Element> + part;
      const uint32_t position =
          walk.first + static_cast<uint32_t>(unit_at<Element>(i, part)) * unit_step;
      const uint32_t cell = position >> bits;
      // Columns that repeat back up where they come to the end.
      const uint32_t start = repeat || cell < last_start ? cell : last_start;
      if (start > farthest) farthest = start;
      columns.starts[slot] = columns.windows == 0 ? position : start;
      plan_unit<Element>(position - (start << bits), walk.step, columns.windows == 2,
                         columns.patterns + slot * outputs * sizeof(bilinear_value<Element>),
                         columns.weights + slot * outputs * sizeof(bilinear_value<Element>));
    }
  columns.repeats_inside = UINT32_MAX;
  if (!repeat || columns.windows == 0) return;
  const uint32_t shift = samples_planned(columns);
  if (farthest > last_start)
    columns.repeats_inside = 0;
  else if (shift != 0)
    columns.repeats_inside = (last_start - farthest) / shift + 1;
}

template <typename Element>
[[nodiscard]] inline bool is_shorter_than_windows(const bilinear_columns<Element>& columns) {
  return columns.walk.extent < columns.windows * window_samples<Element>;
}

/// The planned columns at one of the places where they stand in a row.
struct repeated_columns {
  uint32_t shift;       ///< samples from where they stand first
  uint32_t last_start;  ///< of a window
};

/// Where the windows of a slot stand, and by how many samples they had to back up.
struct window_place {
  uint32_t start;
  uint32_t back;
};

/// Only windows that may have to back up count from the first sample of the row.
template <bool BackUp, typename Element>
[[nodiscard]] inline __attribute__((always_inline)) window_place window_at(
    const bilinear_columns<Element>& columns, const repeated_columns& place, size_t slot) {
  if constexpr (!BackUp) return {columns.starts[slot], 0};
  const uint32_t start = place.shift + columns.starts[slot];
  return start > place.last_start ? window_place{place.last_start, start - place.last_start}
                                  : window_place{start, 0};
}

/// What pairs_of_taps() takes for the row.
template <uint32_t Windows, bool BackUp, typename Element>
[[nodiscard]] inline __attribute__((always_inline)) const Element* row_at(
    const Element* row, const repeated_columns& place) {
  return Windows == 0 || BackUp ? row : row + place.shift;
}

/// Pairs of taps whose positions are gathered from.
template <typename Element>
[[nodiscard]] __attribute__((noinline)) whole_register gathered_pairs(
    const bilinear_columns<Element>& columns, const Element* row, const repeated_columns& place,
    size_t slot) {
  // Two units of narrow samples fill a register with AVX2, all else is one unit.
  constexpr size_t units = QO_VECTOR_BYTES / window_bytes<Element>;
  constexpr uint32_t bits = bilinear_fraction_bits<Element>;
  constexpr size_t outputs = unit_outputs<Element>;
  alignas(64) Element pairs[QO_VECTOR_BYTES / sizeof(Element)];
  for (size_t part = 0; part < units; ++part)
    for (uint32_t i = 0; i < outputs; ++i) {
      const uint32_t at = columns.starts[slot + part] + (place.shift << bits) +
                          output_at<Element>(i) * columns.walk.step;
      // After the last output positions may be anything.
      const uint32_t last = columns.walk.extent - 1;
      const uint32_t near = at >> bits < last ? at >> bits : last;
      const bool is_between = near < last && at << (32 - bits) != 0;
      const size_t first = 2 * part * outputs;
      constexpr bool split = sizeof(Element) == 4;
      pairs[first + (split ? i : 2 * i)] = row[near];
      pairs[first + (split ? i + outputs : 2 * i + 1)] = row[size_t{near} + is_between];
    }
  return load_vector<whole_register>(pairs);
}

/// A register of pairs of taps, those of the units from number `slot` on; of a unit of 32-bit
/// samples all near taps before all far ones.
template <uint32_t Windows, bool BackUp, typename Element>
[[nodiscard]] inline __attribute__((always_inline)) whole_register pairs_of_taps(
    const bilinear_columns<Element>& columns, const Element* row, const repeated_columns& place,
    size_t slot) {
  constexpr size_t pattern_bytes = unit_outputs<Element> * sizeof(bilinear_value<Element>);
  if constexpr (Windows == 0) {
    return gathered_pairs(columns, row, place, slot);
  } else {
    const uint8_t* const pattern = columns.patterns + slot * pattern_bytes;
    const window_place at = window_at<BackUp>(columns, place, slot);
    const Element* const window = row + at.start;
    if constexpr (sizeof(Element) == 4) {
      // The numbers of the near taps, then those one above them.
#if defined(__AVX512VBMI__)
      const __m512i near = _mm512_broadcast_i64x4(load_vector<__m256i>(pattern));
      const __m512i taps =
          _mm512_add_epi32(near, _mm512_setr_epi32(0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1));
#else
      const __m256i near = _mm256_broadcastsi128_si256(load_vector<__m128i>(pattern));
      const __m256i taps = _mm256_add_epi32(near, _mm256_setr_epi32(0, 0, 0, 0, 1, 1, 1, 1));
#endif
      return permuted_longs<Windows>(window, taps);
    } else {
      auto taps = load_vector<whole_register>(pattern);
#if defined(__AVX512VBMI__)
      if constexpr (BackUp && sizeof(Element) == 1)
        taps = _mm512_add_epi8(taps, _mm512_set1_epi8(static_cast<char>(at.back)));
      if constexpr (BackUp && sizeof(Element) == 2)
        taps = _mm512_add_epi16(taps, _mm512_set1_epi16(static_cast<short>(at.back)));
      const auto low = load_vector<__m512i>(window);
      __m512i high = low;
      if constexpr (Windows == 2) high = load_vector<__m512i>(window + window_samples<Element>);
      if constexpr (sizeof(Element) == 1)
        return Windows == 2 ? _mm512_permutex2var_epi8(low, taps, high)
                            : _mm512_permutexvar_epi8(taps, low);
      else
        return Windows == 2 ? _mm512_permutex2var_epi16(low, taps, high)
                            : _mm512_permutexvar_epi16(taps, low);
#else
      const window_place then = window_at<BackUp>(columns, place, slot + 1);
      const Element* const second = row + then.start;
      if constexpr (BackUp) {
        const auto bytes_back = [](const window_place& window_of_unit) {
          return _mm_set1_epi8(static_cast<char>(window_of_unit.back * sizeof(Element)));
        };
        taps = _mm256_add_epi8(taps, _mm256_set_m128i(bytes_back(then), bytes_back(at)));
      }
      const __m256i low = _mm256_shuffle_epi8(
          _mm256_set_m128i(load_vector<__m128i>(second), load_vector<__m128i>(window)), taps);
      if constexpr (Windows == 1) return low;
      const __m256i high = _mm256_shuffle_epi8(
          _mm256_set_m128i(load_vector<__m128i>(second + window_samples<Element>),
                           load_vector<__m128i>(window + window_samples<Element>)),
          _mm256_xor_si256(taps, _mm256_set1_epi8(-128)));
      return _mm256_or_si256(low, high);
#endif
    }
  }
}

}  // namespace
}  // namespace qo::QO_ROWS_NS
