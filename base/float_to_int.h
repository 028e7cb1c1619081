/// The one way from a floating-point value to an integer.
#pragma once

#include <cstdint>

namespace qo {

/// Truncates toward zero; a value out of range saturates and a NaN gives 0. A bare cast is
/// undefined there, and x86 and Arm answer it differently.
template <typename Float>
[[nodiscard]] constexpr int32_t truncate_to_i32(Float value) {
  constexpr Float limit = Float{2147483648};  // 2^31, exact in both formats
  if (value != value) return 0;
  if (value >= limit) return INT32_MAX;
  if (value <= -limit) return INT32_MIN;
  return static_cast<int32_t>(value);
}

}  // namespace qo
