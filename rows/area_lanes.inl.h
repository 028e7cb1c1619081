/// What the area kernels share: lanes of outputs, and the way from their sums to samples.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "rows/area_rows.h"
#include "rows/lanes.h"

namespace qo::QO_ROWS_NS {
namespace {

inline constexpr size_t lanes = lanes_of<float>;

template <size_t Lanes>
using floats = vector_n<float, Lanes>;
template <size_t Lanes>
using words = vector_n<uint32_t, Lanes>;

/// The values whose low 16 bits are the samples.
template <size_t Lanes>
[[nodiscard]] inline __attribute__((always_inline)) vector_n<int32_t, Lanes> to_units(
    floats<Lanes> sum, const area_format& format) {
  return truncate_lanes_for_low_16<Lanes>(sum * format.factor + format.offset);
}

template <size_t Lanes>
[[nodiscard]] inline __attribute__((always_inline)) vector_n<uint16_t, Lanes> to_fixed_point(
    floats<Lanes> sum, const area_format& format) {
  return __builtin_convertvector(to_units<Lanes>(sum, format), vector_n<uint16_t, Lanes>);
}

/// Stores means, of which `left` are asked for.
inline __attribute__((always_inline)) void store_means(floats<lanes> sums,
                                                       const area_format& format, uint16_t* dst,
                                                       size_t left) {
  const vector_n<uint16_t, lanes> means = to_fixed_point<lanes>(sums, format);
  if (left >= lanes) return store_vector(dst, means);
#if defined(__AVX512VBMI__)
  _mm256_mask_storeu_epi16(dst, static_cast<__mmask16>((1u << left) - 1),
                           same_bits<__m256i>(means));
#else
  for (size_t i = 0; i < left; ++i) dst[i] = means[i];
#endif
}

/// Picks from two vectors within each quad of lanes; numbers from 4 on are those of b.
template <size_t A, size_t B, size_t C, size_t D, typename Words>
[[nodiscard]] inline __attribute__((always_inline)) Words pick(Words a, Words b) {
  constexpr size_t n = sizeof(Words) / 4;
#define QO_AT(i, quad) static_cast<int>((i) % 4 + 4 * (quad) + (i) / 4 * n)
#define QO_QUAD(quad) QO_AT(A, quad), QO_AT(B, quad), QO_AT(C, quad), QO_AT(D, quad)
  if constexpr (n == 4)
    return shuffled<QO_QUAD(0)>(a, b);
  else if constexpr (n == 8)
    return shuffled<QO_QUAD(0), QO_QUAD(1)>(a, b);
  else
    return shuffled<QO_QUAD(0), QO_QUAD(1), QO_QUAD(2), QO_QUAD(3)>(a, b);
#undef QO_QUAD
#undef QO_AT
}

}  // namespace
}  // namespace qo::QO_ROWS_NS
