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

/// Results less 128, in words, of two registers of sums that were unpacked from their order.
[[nodiscard]] inline __attribute__((always_inline)) whole_register high_words(whole_register even,
                                                                              whole_register odd) {
#if defined(__AVX512VBMI__)
  return _mm512_mask_blend_epi16(0xaaaaaaaa, _mm512_srli_epi32(even, 16), odd);
#else
  return _mm256_blend_epi16(_mm256_srli_epi32(even, 16), odd, 0xaa);
#endif
}

/// Two registers of each source row blended down: store(row, outputs) for every row of the part.
template <typename Store>
inline __attribute__((always_inline)) void blend_down(const whole_register (&upper)[2],
                                                      const whole_register (&lower)[2],
                                                      const bilinear_part<uint8_t>& part,
                                                      uint32_t rows, Store store) {
  whole_register pairs[2][2];
  for (size_t i = 0; i < 2; ++i) {
    pairs[i][0] = QO_ON_REGISTER(unpacklo_epi16)(upper[i], lower[i]);
    pairs[i][1] = QO_ON_REGISTER(unpackhi_epi16)(upper[i], lower[i]);
  }
  whole_register weights =
      QO_ON_REGISTER(set1_epi32)(static_cast<int>((256 - part.v1) | part.v1 << 16));
  const whole_register growth = QO_ON_REGISTER(set1_epi32)(static_cast<int>(part.v1_step * 0xffff));
  for (uint32_t row = 0; row < rows; ++row) {
    whole_register words_of[2];
    for (size_t i = 0; i < 2; ++i)
      words_of[i] = high_words(QO_ON_REGISTER(madd_epi16)(pairs[i][0], weights),
                               QO_ON_REGISTER(madd_epi16)(pairs[i][1], weights));
#if defined(__AVX512VBMI__)
    vector<uint8_t> low_bytes;
    for (size_t i = 0; i < 64; ++i) low_bytes[i] = static_cast<uint8_t>(2 * i);
    const __m512i packed =
        _mm512_permutex2var_epi8(words_of[0], bits_as<__m512i>(low_bytes), words_of[1]);
#else
    const __m256i packed = _mm256_packs_epi16(words_of[0], words_of[1]);
#endif
    store(row, packed ^ QO_ON_REGISTER(set1_epi8)(-128));
    weights = QO_ON_REGISTER(add_epi32)(weights, growth);
  }
}

[[nodiscard]] inline __attribute__((always_inline)) whole_register outputs(const longs (&sums)[2],
                                                                           uint16_t) {
#if defined(__AVX512VBMI__)
  words high_words;
  for (size_t i = 0; i < 32; ++i) high_words[i] = static_cast<uint16_t>(2 * i + 1);
  return _mm512_permutex2var_epi16(bits_as<__m512i>(sums[0]), bits_as<__m512i>(high_words),
                                   bits_as<__m512i>(sums[1]));
#else
  return _mm256_packus_epi32(bits_as<__m256i>(sums[0] >> 16), bits_as<__m256i>(sums[1] >> 16));
#endif
}

[[nodiscard]] inline __attribute__((always_inline)) whole_register outputs(const longs (&sums)[1],
                                                                           uint32_t) {
  return bits_as<whole_register>(sums[0] >> (2 * wide_fraction_bits));
}

/// The same of wider samples. From one row to the next each sum grows by the same.
template <typename Element, size_t Registers, typename Store>
inline __attribute__((always_inline)) void blend_down(const whole_register (&upper)[Registers],
                                                      const whole_register (&lower)[Registers],
                                                      const bilinear_part<Element>& part,
                                                      uint32_t rows, Store store) {
  longs sums[Registers];
  longs differences[Registers];
  for (size_t i = 0; i < Registers; ++i) {
    const auto above = bits_as<longs>(upper[i]);
    differences[i] = bits_as<longs>(lower[i]) - above;
    sums[i] = (above << bilinear_fraction_bits<Element>)+differences[i] * part.v1;
  }
  store(0, outputs(sums, Element{}));
  if (rows == 1) return;
  for (longs& difference : differences) difference *= part.v1_step;
  for (uint32_t row = 1; row < rows; ++row) {
    for (size_t i = 0; i < Registers; ++i) sums[i] += differences[i];
    store(row, outputs(sums, Element{}));
  }
}

/// store_part() for several rows: with AVX2 its steps, inlined, would be chosen before the loop
/// over rows, in as many copies of it.
inline __attribute__((noinline)) void store_part_apart(uint8_t* to, whole_register from,
                                                       size_t bytes) {
  store_part(to, from, bytes);
}

template <typename Element>
[[nodiscard]] inline bilinear_part<Element> row_of(bilinear_part<Element> part, uint32_t row) {
  part.v1 += row * part.v1_step;
  part.dst += row * part.pitch;
  part.rows = 1;
  return part;
}

/// The outputs of one register of each output row, from number `index` of the source rows' on,
/// which `upper_at(i)` and `lower_at(i)` give.
template <typename Element, typename UpperAt, typename LowerAt, typename Store>
inline __attribute__((always_inline)) void blend_group(UpperAt upper_at, LowerAt lower_at,
                                                       size_t index, size_t count,
                                                       const bilinear_part<Element>& part,
                                                       uint32_t rows, Store store) {
  constexpr size_t registers = lanes_of<Element> / register_outputs<Element>;
  whole_register upper[registers];
  whole_register lower[registers];
  for (size_t i = 0; i < registers; ++i) {
    // With AVX2 two registers share their outputs, with AVX-512 the second may have none.
    const size_t there = QO_VECTOR_BYTES == 64 && i * register_outputs<Element> >= count ? 0 : i;
    upper[i] = upper_at(index + there);
    lower[i] = lower_at(index + there);
  }
  blend_down(upper, lower, part, rows, store);
}

/// Blends `count` outputs of a part down, those after the first `done`: whole registers but at the
/// end of the rows.
template <bool IsOneRow, bool IsEnd, typename Element, typename UpperAt, typename LowerAt>
inline __attribute__((always_inline)) void blend_rows(UpperAt upper_at, LowerAt lower_at,
                                                      const bilinear_part<Element>& whole,
                                                      size_t done, size_t count) {
  constexpr size_t group = lanes_of<Element>;
  constexpr size_t registers = group / register_outputs<Element>;
  const bilinear_part<Element> part = whole;  // nothing that is written changes it
  const uint32_t rows = IsOneRow ? 1 : part.rows;
  Element* dst = part.dst + done;
  size_t index = 0;
  for (; count >= group; count -= group, dst += group, index += registers)
    blend_group(upper_at, lower_at, index, group, part, rows,
                [&part, dst](size_t row, const whole_register& blended) {
                  store_vector(dst + row * part.pitch, blended);
                });
  if (!IsEnd || count == 0) return;
  blend_group(upper_at, lower_at, index, count, part, rows,
              [&part, dst, count](size_t row, const whole_register& blended) {
                auto* const to = reinterpret_cast<uint8_t*>(dst + row * part.pitch);
                if constexpr (IsOneRow || QO_VECTOR_BYTES == 64)
                  store_part(to, blended, count * sizeof(Element));
                else
                  store_part_apart(to, blended, count * sizeof(Element));
              });
}

/// Goes through `count` outputs from number `first` on: calls work(done, place, index, count,
/// is_end) for every place where the planned columns stand, of which `count` outputs from register
/// `index` on are meant. `is_end` is a type: whether windows may have to back up and, if
/// `InRegisters`, the last register may have less outputs.
template <uint32_t Windows, bool InRegisters, typename Element, typename Work>
inline __attribute__((always_inline)) void each_repeat(const bilinear_columns<Element>& columns,
                                                       size_t first, size_t count, Work work) {
  constexpr size_t planned = bilinear_planned<Element>;
  constexpr size_t group = lanes_of<Element>;
  const uint32_t last_start = last_start_of(columns);
  size_t repeat = first / planned;
  size_t skipped = first % planned;
  for (size_t done = 0; done < count;) {
    const size_t left = count - done;
    size_t here = left < planned - skipped ? left : planned - skipped;
    const repeated_columns place{static_cast<uint32_t>(repeat) * samples_planned(columns),
                                 last_start};
    const size_t index = skipped / register_outputs<Element>;
    const bool is_inside = repeat < columns.repeats_inside && (!InRegisters || here >= group);
    if (Windows != 0 && sizeof(Element) != 4 && is_inside) {
      if (InRegisters) here -= here % group;
      work(done, place, index, here, known<false>{});
    } else {
      work(done, place, index, here, known<true>{});
    }
    done += here;
    skipped += here;
    if (skipped == planned) ++repeat, skipped = 0;
  }
}

/// Windows of 32-bit samples are where they can be: their columns do not repeat.
template <typename Element, typename IsEnd>
constexpr bool may_back_up = sizeof(Element) != 4 && IsEnd::value;

template <uint32_t Windows, typename Element>
void across_by_window(const bilinear_columns<Element>& columns, const Element* row,
                      bilinear_row<Element>& blended) {
  const auto blend = [&](size_t done, const repeated_columns& place, size_t index, size_t count,
                         auto is_end) __attribute__((always_inline)) {
    constexpr bool back = may_back_up<Element, decltype(is_end)>;
    const Element* const samples = row_at<Windows, back>(row, place);
    for (size_t i = 0; i < registers_for<Element>(count); ++i)
      store_vector(blended.values + done + i * register_outputs<Element>,
                   blended_register<Windows, back>(columns, samples, place, index + i));
  };
  each_repeat<Windows, false>(columns, 0, columns.walk.count, blend);
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
void down(const bilinear_row<Element>& upper, const bilinear_row<Element>& lower,
          const bilinear_part<Element>& part) {
  const auto register_of = [&part](const bilinear_row<Element>& row) {
    const bilinear_value<Element>* const values = row.values + part.first;
    return [values](size_t i) {
      return load_vector<whole_register>(values + i * register_outputs<Element>);
    };
  };
  blend_rows<false, true>(register_of(upper), register_of(lower), part, 0, part.count);
}

/// Row by row, or all rows of the part together. A single row takes up to a tenth less time without
/// the loop over rows.
template <uint32_t Windows, bool IsRowByRow, typename Element>
void across_and_down_by_window(const bilinear_columns<Element>& columns, const Element* upper,
                               const Element* lower, const bilinear_part<Element>& part) {
  const auto blend = [&](size_t done, const repeated_columns& place, size_t index, size_t here,
                         auto is_end) __attribute__((always_inline)) {
    constexpr bool end = decltype(is_end)::value;
    constexpr bool back = may_back_up<Element, decltype(is_end)>;
    const auto register_of = [&columns, &place, index](const Element* row) {
      const Element* const samples = row_at<Windows, back>(row, place);
      return [&columns, &place, index, samples](size_t i) {
        return blended_register<Windows, back>(columns, samples, place, index + i);
      };
    };
    if constexpr (IsRowByRow)
      for (uint32_t row = 0; row < part.rows; ++row)
        blend_rows<true, end>(register_of(upper), register_of(lower), row_of(part, row), done,
                              here);
    else
      blend_rows<false, end>(register_of(upper), register_of(lower), part, done, here);
  };
  each_repeat<Windows, true>(columns, part.first, part.count, blend);
}

template <typename Element>
void across_and_down(const bilinear_columns<Element>& columns, const Element* upper,
                     const Element* lower, const bilinear_part<Element>& part) {
  if (columns.windows == 0) return across_and_down_by_window<0, true>(columns, upper, lower, part);
  // Wide rows of 16 bits are enlarged like this, all else that is hardly has several rows.
  constexpr bool is_row_by_row = sizeof(Element) != 2;
  const auto by_window = columns.windows == 2 ? across_and_down_by_window<2, true, Element>
                         : part.rows == 1     ? across_and_down_by_window<1, true, Element>
                                          : across_and_down_by_window<1, is_row_by_row, Element>;
  if (!is_shorter_than_windows<Element>(columns)) return by_window(columns, upper, lower, part);
  const filled_row<Element, 2 * window_samples<Element>> filled_upper(upper, columns.walk.extent);
  const filled_row<Element, 2 * window_samples<Element>> filled_lower(lower, columns.walk.extent);
  by_window(columns, filled_upper.samples, filled_lower.samples, part);
}

}  // namespace
}  // namespace qo::QO_ROWS_NS
