/// Powers of two as a 32-bit shift makes them, the exponent modulo 32. The two readings of the
/// shifted bit differ at 2^31 and nowhere else.
#pragma once

#include <cstdint>

namespace qo {

/// 2^exponent as an unsigned number.
[[nodiscard]] constexpr float unsigned_power_of_two(uint32_t exponent) {
  return static_cast<float>(uint32_t{1} << (exponent % 32));
}

/// 2^exponent as a signed number. Deliberate: 2^31 is the negative one that the shift makes.
[[nodiscard]] constexpr float signed_power_of_two(uint32_t exponent) {
  return static_cast<float>(static_cast<int32_t>(uint32_t{1} << (exponent % 32)));
}

}  // namespace qo
