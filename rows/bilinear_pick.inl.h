/// Every n-th sample of a row.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "rows/intrinsics.h"
#include "rows/lanes.h"

namespace qo::QO_ROWS_NS {
namespace {

/// What is left of a sample: ((s << 2F) + 2^(2F - 1)) >> 2F modulo 2^32.
[[nodiscard]] inline uint8_t picked(uint8_t sample) { return sample; }
[[nodiscard]] inline uint16_t picked(uint16_t sample) { return sample; }
[[nodiscard]] inline uint32_t picked(uint32_t sample) { return sample & 0xff; }

#if defined(__AVX2__)
/// Of `lanes` samples from `even` on the first, third, ..., and of those from `odd` on the second,
/// fourth, ...: with `odd` one sample before the end of the first vector, every second sample of
/// the two, the last of them the last that is read.
template <typename Element>
[[nodiscard]] inline vector<Element> every_second(const vector<Element>& even,
                                                  const vector<Element>& odd) {
#if defined(__AVX512VBMI__)
  constexpr size_t lanes = lanes_of<Element>;
  vector<Element> indices;
  for (size_t i = 0; i < lanes; ++i)
    indices[i] = static_cast<Element>(i < lanes / 2 ? 2 * i : 2 * i + 1);
  const auto low = load_vector<__m512i>(&even);
  const auto high = load_vector<__m512i>(&odd);
  const auto chosen = load_vector<__m512i>(&indices);
  __m512i both;
  if constexpr (sizeof(Element) == 1)
    both = _mm512_permutex2var_epi8(low, chosen, high);
  else if constexpr (sizeof(Element) == 2)
    both = _mm512_permutex2var_epi16(low, chosen, high);
  else
    both = _mm512_permutex2var_epi32(low, chosen, high);
  return load_vector<vector<Element>>(&both);
#else
  const auto low = load_vector<__m256i>(&even);
  const auto high = load_vector<__m256i>(&odd);
  __m256i both;
  if constexpr (sizeof(Element) == 1)
    both = _mm256_packus_epi16(_mm256_and_si256(low, _mm256_set1_epi16(0xff)),
                               _mm256_srli_epi16(high, 8));
  else if constexpr (sizeof(Element) == 2)
    both = _mm256_packus_epi32(_mm256_and_si256(low, _mm256_set1_epi32(0xffff)),
                               _mm256_srli_epi32(high, 16));
  else
    both = _mm256_castps_si256(
        _mm256_shuffle_ps(_mm256_castsi256_ps(low), _mm256_castsi256_ps(high), 0xd8));
  both = _mm256_permute4x64_epi64(both, 0xd8);
  return load_vector<vector<Element>>(&both);
#endif
}
#endif

template <typename Element>
void pick(const Element* __restrict row, size_t stride, Element* __restrict dst, size_t count) {
  size_t done = 0;
  if (stride == 1) {
    for (; done < count; ++done) dst[done] = picked(row[done]);
  } else if (stride == 2) {
#if defined(__AVX2__)
    constexpr size_t lanes = lanes_of<Element>;
    for (; count - done >= lanes; done += lanes) {
      const auto even = load_vector<vector<Element>>(row + 2 * done);
      const auto odd = load_vector<vector<Element>>(row + 2 * done + lanes - 1);
      auto both = every_second<Element>(even, odd);
      if constexpr (sizeof(Element) == 4) both &= 0xff;
      store_vector(dst + done, both);
    }
#else
    for (; done < count; ++done) dst[done] = picked(row[2 * done]);
#endif
  }
  for (; done < count; ++done) dst[done] = picked(row[done * stride]);
}

}  // namespace
}  // namespace qo::QO_ROWS_NS
