/// Registers as wholes, whose samples are moved: windows of a row, and rows' ends.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "rows/intrinsics.h"
#include "rows/lanes.h"

/// An operation on registers that has one name for each set.
#if defined(__AVX512VBMI__)
#define QO_ON_REGISTER(operation) _mm512_##operation
#else
#define QO_ON_REGISTER(operation) _mm256_##operation
#endif

namespace qo::QO_ROWS_NS {
namespace {

#if defined(__AVX512VBMI__)
using whole_register = __m512i;
#else
using whole_register = __m256i;
#endif

template <typename To, typename From>
[[nodiscard]] inline __attribute__((always_inline)) To bits_as(const From& from) {
  return load_vector<To>(&from);
}

/// The 32-bit samples that `taps` numbers, in one register of samples or two from `window` on.
template <uint32_t Windows>
[[nodiscard]] inline __attribute__((always_inline)) whole_register permuted_longs(
    const void* window, whole_register taps) {
  const auto low = load_vector<whole_register>(window);
#if defined(__AVX512VBMI__)
  if constexpr (Windows == 1) return _mm512_permutexvar_epi32(taps, low);
  const auto high = load_vector<__m512i>(static_cast<const uint8_t*>(window) + sizeof low);
  return _mm512_permutex2var_epi32(low, taps, high);
#else
  const __m256i from_low = _mm256_permutevar8x32_epi32(low, taps);
  if constexpr (Windows == 1) return from_low;
  const auto high = load_vector<__m256i>(static_cast<const uint8_t*>(window) + sizeof low);
  const __m256i from_high = _mm256_permutevar8x32_epi32(high, taps);
  return _mm256_blendv_epi8(from_low, from_high, _mm256_cmpgt_epi32(taps, _mm256_set1_epi32(7)));
#endif
}

/// The lower halves of two registers, in one.
[[nodiscard]] inline __attribute__((always_inline)) whole_register lower_halves(
    const whole_register& a, const whole_register& b) {
#if defined(__AVX512VBMI__)
  return _mm512_shuffle_i64x2(a, b, 0x44);
#else
  return _mm256_permute2x128_si256(a, b, 0x20);
#endif
}

/// The upper halves of two registers, in one.
[[nodiscard]] inline __attribute__((always_inline)) whole_register upper_halves(
    const whole_register& a, const whole_register& b) {
#if defined(__AVX512VBMI__)
  return _mm512_shuffle_i64x2(a, b, 0xee);
#else
  return _mm256_permute2x128_si256(a, b, 0x31);
#endif
}

/// A row that is shorter than its windows, filled up to `Samples`, which take 128 bytes at most.
template <typename Element, size_t Samples>
struct filled_row {
  alignas(64) Element samples[Samples];

  inline filled_row(const Element* row, size_t count) {
#if defined(__AVX512VBMI__)
    constexpr size_t half = 64 / sizeof(Element);
    static_assert(Samples == 2 * half);
    const size_t bytes = count * sizeof(Element);
    const __mmask64 low = bytes >= 64 ? ~uint64_t{0} : (uint64_t{1} << bytes) - 1;
    store_vector(samples, _mm512_maskz_loadu_epi8(low, row));
    if (bytes <= 64) return;  // masks of nothing are slow where the page is not there
    store_vector(samples + half,
                 _mm512_maskz_loadu_epi8((uint64_t{1} << (bytes - 64)) - 1, row + half));
#else
    memset(samples, 0, sizeof samples);
    for (size_t i = 0; i < count; ++i) samples[i] = row[i];
#endif
  }
};

/// Writes the first `bytes` bytes, less than a register.
inline void store_part(uint8_t* to, whole_register from, size_t bytes) {
#if defined(__AVX512VBMI__)
  _mm512_mask_storeu_epi8(to, (uint64_t{1} << bytes) - 1, from);
#else
  __m128i rest = _mm256_castsi256_si128(from);
  if ((bytes & 16) != 0) {
    store_vector(to, rest);
    to += 16;
    rest = _mm256_extracti128_si256(from, 1);
  }
  if ((bytes & 8) != 0) {
    _mm_storeu_si64(to, rest);
    to += 8;
    rest = _mm_srli_si128(rest, 8);
  }
  auto word = static_cast<uint64_t>(_mm_cvtsi128_si64(rest));
  if ((bytes & 4) != 0) {
    store_vector(to, static_cast<uint32_t>(word));
    to += 4;
    word >>= 32;
  }
  if ((bytes & 2) != 0) {
    store_vector(to, static_cast<uint16_t>(word));
    to += 2;
    word >>= 16;
  }
  if ((bytes & 1) != 0) *to = static_cast<uint8_t>(word);
#endif
}

}  // namespace
}  // namespace qo::QO_ROWS_NS
