/// Unsigned fixed point to single precision. The scale is a power of two, so that the one rounding
/// is that of the integer's conversion.
#pragma once

#include <cstdint>

namespace qo {

[[nodiscard]] constexpr float from_8_8(uint16_t value) {
  return static_cast<float>(value) * 0x1p-8f;
}
[[nodiscard]] constexpr float from_16_16(uint32_t value) {
  return static_cast<float>(value) * 0x1p-16f;
}

}  // namespace qo
