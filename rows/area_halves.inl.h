/// Area averages of two by two whole samples: even and odd samples are split, no weights are met.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "rows/area_lanes.inl.h"
#include "rows/area_rows.h"
#include "rows/lanes.h"

namespace qo::QO_ROWS_NS {
namespace {

/// Sums of 2 x 2 samples, in the order of the samples. Of 16 bits they are whole numbers below
/// 2^24, the same in any order.
template <size_t Lanes>
[[nodiscard]] inline __attribute__((always_inline)) floats<Lanes> sum_squares(
    const uint16_t* top, const uint16_t* bottom) {
  const auto a = load_vector<words<Lanes>>(top);
  const auto b = load_vector<words<Lanes>>(bottom);
  const words<Lanes> sum = ((a & 0xffff) + (a >> 16)) + ((b & 0xffff) + (b >> 16));
  return __builtin_convertvector(same_bits<vector_n<int32_t, Lanes>>(sum), floats<Lanes>);
}

/// A row's even and odd samples. Quads of lanes are taken each for itself, so that pairs of
/// outputs are not in order where a register has several.
template <size_t Lanes>
inline __attribute__((always_inline)) void split(const float* row, floats<Lanes>& even,
                                                 floats<Lanes>& odd) {
  const auto a = load_vector<floats<Lanes>>(row);
  if constexpr (Lanes == 1) {
    even = a;
    odd = load_vector<floats<1>>(row + 1);
  } else {
    const auto b = load_vector<floats<Lanes>>(row + Lanes);
    even = pick<0, 2, 4, 6>(a, b);
    odd = pick<1, 3, 5, 7>(a, b);
  }
}

template <size_t Lanes>
[[nodiscard]] inline __attribute__((always_inline)) floats<Lanes> sum_squares(const float* top,
                                                                              const float* bottom) {
  floats<Lanes> even[2];
  floats<Lanes> odd[2];
  split<Lanes>(top, even[0], odd[0]);
  split<Lanes>(bottom, even[1], odd[1]);
  return ((even[0] + odd[0]) + even[1]) + odd[1];
}

/// Outputs that are stored at once. With AVX2 two registers of 32 bits become one of 16, half by
/// half.
inline constexpr size_t block = lanes == 8 ? 16 : lanes;

template <typename Sample>
inline __attribute__((always_inline)) void halve_block(const Sample* top, const Sample* bottom,
                                                       const area_format& format, uint16_t* dst) {
  constexpr bool in_pairs = sizeof(Sample) == sizeof(float);
  const vector_n<int32_t, lanes> first = to_units<lanes>(sum_squares<lanes>(top, bottom), format);
#if defined(__AVX512VBMI__)
  // Of each 32 bits the lower half; pairs of samples are words.
  const __m256i samples = _mm512_cvtepi32_epi16(same_bits<__m512i>(first));
  const __m256i order = _mm256_setr_epi32(0, 2, 4, 6, 1, 3, 5, 7);
  store_vector(dst, in_pairs ? _mm256_permutevar8x32_epi32(samples, order) : samples);
#elif defined(__AVX2__)
  constexpr size_t taken = 2 * lanes;
  const vector_n<int32_t, lanes> second =
      to_units<lanes>(sum_squares<lanes>(top + taken, bottom + taken), format);
  const __m256i samples =
      _mm256_packus_epi32(same_bits<__m256i>(first & 0xffff), same_bits<__m256i>(second & 0xffff));
  store_vector(dst, in_pairs ? _mm256_permutevar8x32_epi32(
                                   samples, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7))
                             : _mm256_permute4x64_epi64(samples, 0xd8));
#else
  (void)in_pairs;
  store_vector(dst, __builtin_convertvector(first, vector_n<uint16_t, lanes>));
#endif
}

template <size_t Lanes, typename Sample>
inline __attribute__((always_inline)) void halve_few(const Sample* top, const Sample* bottom,
                                                     const area_format& format, uint16_t* dst) {
  store_vector(dst, to_fixed_point<Lanes>(sum_squares<Lanes>(top, bottom), format));
}

/// Brings samples near that a later block takes: the processor's own fetching stops where a row or
/// a page ends. Only a hint: an address outside the plane is not accessed.
template <typename Sample>
inline __attribute__((always_inline)) void fetch_ahead(const Sample* samples, size_t distance) {
  const uintptr_t from = reinterpret_cast<uintptr_t>(samples) + distance;
#pragma GCC unroll 4
  for (size_t at = 0; at < 2 * block * sizeof(Sample); at += 64)
    __builtin_prefetch(reinterpret_cast<const void*>(from + at));
}

template <typename Sample>
void halve(const Sample* top, const Sample* bottom, size_t count, const area_format& given,
           uint16_t* dst) {
  const area_format format = given;
  // The same place two rows on, where both rows are small enough to stay near.
  constexpr size_t most_ahead = 32 * 1024;
  const size_t two_rows = 2 * static_cast<size_t>(bottom - top) * sizeof(Sample);
  const size_t distance = two_rows < most_ahead ? two_rows : most_ahead;
  size_t i = 0;
  for (; count - i >= block; i += block) {
    fetch_ahead(top + 2 * i, distance);
    fetch_ahead(bottom + 2 * i, distance);
    halve_block(top + 2 * i, bottom + 2 * i, format, dst + i);
  }
  for (; count - i >= 4; i += 4) halve_few<4>(top + 2 * i, bottom + 2 * i, format, dst + i);
  for (; i < count; ++i) halve_few<1>(top + 2 * i, bottom + 2 * i, format, dst + i);
}

}  // namespace
}  // namespace qo::QO_ROWS_NS
