// Samples as floats: mostly loops that compilers turn into vectors by themselves.

#include "rows/float_rows.h"

#include "rows/intrinsics.h"
#include "rows/lanes.h"

namespace qo::QO_ROWS_NS {
namespace {

#if defined(__AVX512VBMI__)

[[nodiscard]] inline __attribute__((always_inline)) vector<float> floats_at(const uint8_t* src) {
  const __m512i wide = _mm512_cvtepu8_epi32(load_vector<__m128i>(src));
  return same_bits<vector<float>>(_mm512_cvtepi32_ps(wide));
}
[[nodiscard]] inline __attribute__((always_inline)) vector<float> floats_at(const uint16_t* src) {
  const __m512i wide = _mm512_cvtepu16_epi32(load_vector<__m256i>(src));
  return same_bits<vector<float>>(_mm512_cvtepi32_ps(wide));
}

#elif defined(__AVX2__)

[[nodiscard]] inline __attribute__((always_inline)) vector<float> floats_at(const uint8_t* src) {
  const __m256i wide = _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(src)));
  return same_bits<vector<float>>(_mm256_cvtepi32_ps(wide));
}
[[nodiscard]] inline __attribute__((always_inline)) vector<float> floats_at(const uint16_t* src) {
  const __m256i wide = _mm256_cvtepu16_epi32(load_vector<__m128i>(src));
  return same_bits<vector<float>>(_mm256_cvtepi32_ps(wide));
}

#endif

// Short rows, as grids have, would be left to single samples by loops over registers of bytes.

void from_u8(const uint8_t* __restrict src, size_t count, float* __restrict dst) {
  size_t i = 0;
#if QO_VECTOR_BYTES > 16
  for (; i + lanes_of<float> <= count; i += lanes_of<float>)
    store_vector(dst + i, floats_at(src + i));
#endif
  for (; i < count; ++i) dst[i] = static_cast<float>(src[i]);
}

void from_u16(const uint16_t* __restrict src, size_t count, float factor, float* __restrict dst) {
  size_t i = 0;
#if QO_VECTOR_BYTES > 16
  for (; i + lanes_of<float> <= count; i += lanes_of<float>)
    store_vector(dst + i, floats_at(src + i) * factor);
#endif
  for (; i < count; ++i) dst[i] = static_cast<float>(src[i]) * factor;
}

void extrapolate(const float* __restrict near, const float* __restrict far, size_t count,
                 float* __restrict dst) {
  for (size_t i = 0; i < count; ++i) dst[i] = (near[i] + near[i]) - far[i];
}

/// Whether 1 / `value` is exact and not subnormal, so that it can be multiplied by: the product is
/// the quotient then, for both round the same number.
[[nodiscard]] bool has_exact_reciprocal(float value) {
  const uint32_t bits = load_vector<uint32_t>(&value);
  const uint32_t exponent = bits >> 23 & 0xff;
  return (bits & 0x7fffff) == 0 && exponent >= 1 && exponent <= 253;
}

template <typename Raw>
void gains_from(const Raw* __restrict raw, size_t count, float divisor, bool mirrored,
                float* __restrict gains) {
  if (has_exact_reciprocal(divisor)) {
    const float factor = 1.0f / divisor;
    if (mirrored)
      for (size_t i = 0; i < count; ++i)
        gains[count - 1 - i] = static_cast<float>(raw[i]) * factor + 1.0f;
    else
      for (size_t i = 0; i < count; ++i) gains[i] = static_cast<float>(raw[i]) * factor + 1.0f;
  } else {
    for (size_t i = 0; i < count; ++i)
      gains[mirrored ? count - 1 - i : i] = static_cast<float>(raw[i]) / divisor + 1.0f;
  }
}

}  // namespace

extern const float_rows floats;
constinit const float_rows floats = {
    from_u8, from_u16, extrapolate, gains_from<uint8_t>, gains_from<uint16_t>, gains_from<float>,
};

}  // namespace qo::QO_ROWS_NS
