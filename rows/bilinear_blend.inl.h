/// Blending across and down, on pairs of taps.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "rows/bilinear_rows.h"
#include "rows/bilinear_window.inl.h"
#include "rows/intrinsics.h"
#include "rows/lanes.h"
#include "rows/register_window.inl.h"

namespace qo::QO_ROWS_NS {
namespace {

using words = vector<uint16_t>;
using longs = vector<uint32_t>;

/// A value that is known at compile time, as an argument.
template <bool Value>
struct known {
  static constexpr bool value = Value;
};

/// One register of a row that is blended across. Samples are taken as signed ones, the signs of
/// their top bits turned over: what lacks in the sum is the same everywhere, and comes back in
/// outputs(), like the half unit that is added here.
template <uint32_t Windows, bool BackUp>
[[nodiscard]] inline __attribute__((always_inline)) whole_register blended_register(
    const bilinear_columns<uint8_t>& columns, const uint8_t* row, const repeated_columns& place,
    size_t index) {
  const auto weights = load_vector<whole_register>(columns.weights + index * QO_VECTOR_BYTES);
  const whole_register pairs =
      pairs_of_taps<Windows, BackUp>(columns, row, place, index * register_units<uint8_t>) ^
      QO_ON_REGISTER(set1_epi8)(-128);
  // -128 * 256 ... 127 * 256 + 128 fits 16 bits.
  return QO_ON_REGISTER(add_epi16)(QO_ON_REGISTER(maddubs_epi16)(weights, pairs),
                                   QO_ON_REGISTER(set1_epi16)(128));
}

template <uint32_t Windows, bool BackUp>
[[nodiscard]] inline __attribute__((always_inline)) whole_register blended_register(
    const bilinear_columns<uint16_t>& columns, const uint16_t* row, const repeated_columns& place,
    size_t index) {
  const auto weights = load_vector<whole_register>(columns.weights + index * QO_VECTOR_BYTES);
  const whole_register pairs =
      pairs_of_taps<Windows, BackUp>(columns, row, place, index * register_units<uint16_t>) ^
      QO_ON_REGISTER(set1_epi16)(INT16_MIN);
  return QO_ON_REGISTER(add_epi32)(QO_ON_REGISTER(madd_epi16)(weights, pairs),
                                   QO_ON_REGISTER(set1_epi32)(32768 * 256 + 128));
}

template <uint32_t Windows, bool BackUp>
[[nodiscard]] inline __attribute__((always_inline)) whole_register blended_register(
    const bilinear_columns<uint32_t>& columns, const uint32_t* row, const repeated_columns& place,
    size_t index) {
  const auto far_weight = load_vector<longs>(columns.weights + index * QO_VECTOR_BYTES);
  const whole_register a = pairs_of_taps<Windows, BackUp>(columns, row, place, 2 * index);
  const whole_register b = pairs_of_taps<Windows, BackUp>(columns, row, place, 2 * index + 1);
  const auto near = bits_as<longs>(lower_halves(a, b));
  const auto far = bits_as<longs>(upper_halves(a, b));
  constexpr uint32_t half = uint32_t{1} << (wide_fraction_bits - 1);
  return bits_as<whole_register>((near << wide_fraction_bits) + (far - near) * far_weight + half);
}

/// The words of the sum of two rows: results less 128, in the order of the outputs.
[[nodiscard]] inline __attribute__((always_inline)) whole_register sum_words(
    whole_register upper, whole_register lower, whole_register weights) {
  const whole_register even =
      QO_ON_REGISTER(madd_epi16)(QO_ON_REGISTER(unpacklo_epi16)(upper, lower), weights);
  const whole_register odd =
      QO_ON_REGISTER(madd_epi16)(QO_ON_REGISTER(unpackhi_epi16)(upper, lower), weights);
#if defined(__AVX512VBMI__)
  return _mm512_mask_blend_epi16(0xaaaaaaaa, _mm512_srli_epi32(even, 16), odd);
#else
  return _mm256_blend_epi16(_mm256_srli_epi32(even, 16), odd, 0xaa);
#endif
}

/// The outputs of two registers of each row.
[[nodiscard]] inline __attribute__((always_inline)) whole_register outputs(
    const whole_register (&upper)[2], const whole_register (&lower)[2], uint32_t v1, uint8_t) {
  const whole_register weights =
      QO_ON_REGISTER(set1_epi32)(static_cast<int>((256 - v1) | v1 << 16));
  const whole_register first = sum_words(upper[0], lower[0], weights);
  const whole_register second = sum_words(upper[1], lower[1], weights);
#if defined(__AVX512VBMI__)
  vector<uint8_t> low_bytes;
  for (size_t i = 0; i < 64; ++i) low_bytes[i] = static_cast<uint8_t>(2 * i);
  const __m512i packed = _mm512_permutex2var_epi8(first, bits_as<__m512i>(low_bytes), second);
#else
  const __m256i packed = _mm256_packs_epi16(first, second);
#endif
  return packed ^ QO_ON_REGISTER(set1_epi8)(-128);
}

[[nodiscard]] inline __attribute__((always_inline)) longs sum_of_rows(const whole_register& upper,
                                                                      const whole_register& lower,
                                                                      uint32_t v1, uint32_t bits) {
  const auto above = bits_as<longs>(upper);
  const auto below = bits_as<longs>(lower);
  return (above << bits) + (below - above) * v1;
}

[[nodiscard]] inline __attribute__((always_inline)) whole_register outputs(
    const whole_register (&upper)[2], const whole_register (&lower)[2], uint32_t v1, uint16_t) {
  const longs first = sum_of_rows(upper[0], lower[0], v1, narrow_fraction_bits);
  const longs second = sum_of_rows(upper[1], lower[1], v1, narrow_fraction_bits);
#if defined(__AVX512VBMI__)
  words high_words;
  for (size_t i = 0; i < 32; ++i) high_words[i] = static_cast<uint16_t>(2 * i + 1);
  return _mm512_permutex2var_epi16(bits_as<__m512i>(first), bits_as<__m512i>(high_words),
                                   bits_as<__m512i>(second));
#else
  return _mm256_packus_epi32(bits_as<__m256i>(first >> 16), bits_as<__m256i>(second >> 16));
#endif
}

[[nodiscard]] inline __attribute__((always_inline)) whole_register outputs(
    const whole_register (&upper)[1], const whole_register (&lower)[1], uint32_t v1, uint32_t) {
  return bits_as<whole_register>(sum_of_rows(upper[0], lower[0], v1, wide_fraction_bits) >>
                                 (2 * wide_fraction_bits));
}

/// Blends `count` outputs down. `upper_at(i)` and `lower_at(i)` give the rows' registers.
template <typename Element, typename UpperAt, typename LowerAt>
inline __attribute__((always_inline)) void blend_registers(UpperAt upper_at, LowerAt lower_at,
                                                           uint32_t v1, Element* dst,
                                                           size_t count) {
  constexpr size_t group = lanes_of<Element>;
  constexpr size_t registers = group / register_outputs<Element>;
  size_t index = 0;
  for (; count >= group; count -= group, dst += group, index += registers) {
    whole_register upper[registers];
    whole_register lower[registers];
    for (size_t i = 0; i < registers; ++i) upper[i] = upper_at(index + i);
    for (size_t i = 0; i < registers; ++i) lower[i] = lower_at(index + i);
    store_vector(dst, outputs(upper, lower, v1, Element{}));
  }
  if (count == 0) return;
  whole_register upper[registers];
  whole_register lower[registers];
  for (size_t i = 0; i < registers; ++i) {
    // With AVX2 two registers share their outputs, with AVX-512 the second may have none.
    const size_t there = QO_VECTOR_BYTES == 64 && i * register_outputs<Element> >= count ? 0 : i;
    upper[i] = upper_at(index + there);
    lower[i] = lower_at(index + there);
  }
  store_part(reinterpret_cast<uint8_t*>(dst), outputs(upper, lower, v1, Element{}),
             count * sizeof(Element));
}

/// Goes through `count` outputs from number `first` on: calls work(done, place, index, count,
/// back_up) for every place where the planned columns stand, of which `count` outputs from register
/// `index` on are meant. `back_up` is a type: whether windows may have to back up.
template <uint32_t Windows, typename Element, typename Work>
inline __attribute__((always_inline)) void each_repeat(const bilinear_columns<Element>& columns,
                                                       size_t first, size_t count, Work work) {
  constexpr size_t planned = bilinear_planned<Element>;
  const uint32_t last_start = last_start_of(columns);
  size_t repeat = first / planned;
  size_t skipped = first % planned;
  for (size_t done = 0; done < count; ++repeat, skipped = 0) {
    const size_t left = count - done;
    const size_t here = left < planned - skipped ? left : planned - skipped;
    const repeated_columns place{static_cast<uint32_t>(repeat) * samples_planned(columns),
                                 last_start};
    const size_t index = skipped / register_outputs<Element>;
    if constexpr (Windows != 0 && sizeof(Element) != 4) {
      if (repeat < columns.repeats_inside)
        work(done, place, index, here, known<false>{});
      else
        work(done, place, index, here, known<true>{});
    } else {
      work(done, place, index, here, known<false>{});
    }
    done += here;
  }
}

template <uint32_t Windows, typename Element>
void across_by_window(const bilinear_columns<Element>& columns, const Element* row,
                      bilinear_row<Element>& blended) {
  const auto blend = [&](size_t done, const repeated_columns& place, size_t, size_t count,
                         auto back_up) __attribute__((always_inline)) {
    constexpr bool back = decltype(back_up)::value;
    const Element* const samples = row_at<Windows, back>(row, place);
    for (size_t i = 0; i < registers_for<Element>(count); ++i)
      store_vector(blended.values + done + i * register_outputs<Element>,
                   blended_register<Windows, back>(columns, samples, place, i));
  };
  each_repeat<Windows>(columns, 0, columns.walk.count, blend);
}

template <typename Element>
void across(const bilinear_columns<Element>& columns, const Element* row,
            bilinear_row<Element>& blended) {
  if (columns.windows == 0) return across_by_window<0>(columns, row, blended);
  const auto by_window = columns.windows == 1 ? across_by_window<1, Element>  //
                                              : across_by_window<2, Element>;
  if (!is_shorter_than_windows<Element>(columns)) return by_window(columns, row, blended);
  const filled_row<Element, 2 * window_samples<Element>> filled(row, columns.walk.extent);
  by_window(columns, filled.samples, blended);
}

template <typename Element>
void down(const bilinear_row<Element>& upper, const bilinear_row<Element>& lower, uint32_t v1,
          size_t first, size_t count, Element* dst) {
  const auto register_of = [first](const bilinear_row<Element>& row) {
    const bilinear_value<Element>* const values = row.values + first;
    return [values](size_t i) {
      return load_vector<whole_register>(values + i * register_outputs<Element>);
    };
  };
  blend_registers(register_of(upper), register_of(lower), v1, dst, count);
}

template <uint32_t Windows, typename Element>
void across_and_down_by_window(const bilinear_columns<Element>& columns, const Element* upper,
                               const Element* lower, uint32_t v1, size_t first, size_t count,
                               Element* dst) {
  const auto blend = [&](size_t done, const repeated_columns& place, size_t index, size_t here,
                         auto back_up) __attribute__((always_inline)) {
    constexpr bool back = decltype(back_up)::value;
    const auto register_of = [&columns, &place, index](const Element* row) {
      const Element* const samples = row_at<Windows, back>(row, place);
      return [&columns, &place, index, samples](size_t i) {
        return blended_register<Windows, back>(columns, samples, place, index + i);
      };
    };
    blend_registers(register_of(upper), register_of(lower), v1, dst + done, here);
  };
  each_repeat<Windows>(columns, first, count, blend);
}

template <typename Element>
void across_and_down(const bilinear_columns<Element>& columns, const Element* upper,
                     const Element* lower, uint32_t v1, size_t first, size_t count, Element* dst) {
  if (columns.windows == 0)
    return across_and_down_by_window<0>(columns, upper, lower, v1, first, count, dst);
  const auto by_window = columns.windows == 1 ? across_and_down_by_window<1, Element>
                                              : across_and_down_by_window<2, Element>;
  if (!is_shorter_than_windows<Element>(columns))
    return by_window(columns, upper, lower, v1, first, count, dst);
  const filled_row<Element, 2 * window_samples<Element>> filled_upper(upper, columns.walk.extent);
  const filled_row<Element, 2 * window_samples<Element>> filled_lower(lower, columns.walk.extent);
  by_window(columns, filled_upper.samples, filled_lower.samples, v1, first, count, dst);
}

}  // namespace
}  // namespace qo::QO_ROWS_NS
