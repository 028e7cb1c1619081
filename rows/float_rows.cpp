// Samples as floats. Loops that compilers turn into vectors by themselves.

#include "rows/float_rows.h"

#include "rows/lanes.h"

namespace qo::QO_ROWS_NS {
namespace {

void from_u8(const uint8_t* __restrict src, size_t count, float* __restrict dst) {
  for (size_t i = 0; i < count; ++i) dst[i] = static_cast<float>(src[i]);
}

void from_u16(const uint16_t* __restrict src, size_t count, float factor, float* __restrict dst) {
  for (size_t i = 0; i < count; ++i) dst[i] = static_cast<float>(src[i]) * factor;
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
