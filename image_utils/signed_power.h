/// Powers of two as the 16-bit routines form them.
#pragma once

#include <cstdint>

namespace qo {

/// 2^exponent, the exponent modulo 32. Deliberate: the power is a signed 32-bit number, so that
/// 2^31 is the negative one that a shift makes.
[[nodiscard]] constexpr float signed_power_of_two(uint32_t exponent) {
  return static_cast<float>(static_cast<int32_t>(uint32_t{1} << (exponent % 32)));
}

}  // namespace qo
