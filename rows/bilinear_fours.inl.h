/// Four outputs of the bilinear rule side by side: their taps are loaded one by one, the rest is
/// done in lanes. For instruction sets that load single lanes, take them out and multiply 32-bit
/// lanes at no great cost, as NEON does: half the instructions of the plain loop. SSE2 does none of
/// it. Included by bilinear_plain.inl.h, in which the rule stands.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "rows/bilinear_rows.h"
#include "rows/bilinear_rule.inl.h"
#include "rows/lanes.h"

namespace qo::QO_ROWS_NS {
namespace {

using four_numbers = vector_n<uint32_t, 4>;

/// What plain_column_at() gives, of four neighbouring outputs.
struct four_columns {
  four_numbers cells;
  four_numbers far_weights;
};

template <typename Element>
[[nodiscard]] inline __attribute__((always_inline)) four_columns four_columns_at(
    const bilinear_walk& walk, size_t i) {
  constexpr four_numbers numbers = {0, 1, 2, 3};
  const four_numbers positions =
      numbers * walk.step + (walk.first + static_cast<uint32_t>(i) * walk.step);
  // True is -1.
  const auto less_one = positions + reinterpret_cast<four_numbers>(positions != 0);
  const four_numbers cells = less_one >> bilinear_fraction_bits<Element>;
  return {cells, positions - (cells << bilinear_fraction_bits<Element>)};
}

template <typename Element>
[[nodiscard]] inline __attribute__((always_inline)) four_numbers blend_four_across(
    const Element* row, const four_columns& columns) {
  // A cell has no more than 32 - F bits.
  const four_numbers offsets = columns.cells * static_cast<uint32_t>(sizeof(Element));
  // Both taps at once, the near one in the low bits.
  using two_samples = vector_n<uint64_t, 2>;
  const auto pair_at = [&](size_t lane) __attribute__((always_inline)) {
    const auto* const from = reinterpret_cast<const uint8_t*>(row) + offsets[lane];
    if constexpr (sizeof(Element) == 4)
      return load_vector<uint64_t>(from);
    else
      return load_vector<bilinear_value<Element>>(from);
  };
  four_numbers near, far;
  if constexpr (sizeof(Element) == 4) {
    const auto first = same_bits<four_numbers>(two_samples{pair_at(0), pair_at(1)});
    const auto second = same_bits<four_numbers>(two_samples{pair_at(2), pair_at(3)});
    near = shuffled<0, 2, 4, 6>(first, second);
    far = shuffled<1, 3, 5, 7>(first, second);
  } else {
    const vector_n<bilinear_value<Element>, 4> pairs = {pair_at(0), pair_at(1), pair_at(2),
                                                        pair_at(3)};
    const auto numbers = __builtin_convertvector(pairs, four_numbers);
    constexpr uint32_t bits = 8 * sizeof(Element);
    near = numbers & ((1u << bits) - 1);
    far = numbers >> bits;
  }
  return blend<Element>(near, far, columns.far_weights) + rounding<Element>;
}

template <typename Element>
[[nodiscard]] inline __attribute__((always_inline)) four_numbers blend_four(
    const bilinear_walk& walk, const Element* upper, const Element* lower, uint32_t v1, size_t i) {
  const four_columns four = four_columns_at<Element>(walk, i);
  return blend<Element>(blend_four_across(upper, four), blend_four_across(lower, four), v1) >>
         (2 * bilinear_fraction_bits<Element>);
}

/// Eight numbers that fit what they are stored as.
template <typename Number>
inline __attribute__((always_inline)) void store_eight(const four_numbers& first,
                                                       const four_numbers& second, Number* dst) {
  if constexpr (sizeof(Number) == 4) {
    store_vector(dst, first);
    store_vector(dst + 4, second);
  } else {
    using words = vector_n<uint16_t, 8>;
    const words low_halves =
        shuffled<0, 2, 4, 6, 8, 10, 12, 14>(same_bits<words>(first), same_bits<words>(second));
    store_vector(dst, __builtin_convertvector(low_halves, vector_n<Number, 8>));
  }
}

}  // namespace
}  // namespace qo::QO_ROWS_NS
