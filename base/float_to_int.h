/// The ways from a floating-point value to an integer.
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

/// A value whose low 16 bits are those of truncate_to_i32(value), for loops that keep no more: what
/// lies out of range is replaced before the conversion, not branched around it, and so becomes
/// vector code.
[[nodiscard]] constexpr uint32_t truncate_for_low_16(float value) {
  constexpr float limit = 2147483648.0f;
  // INT32_MIN ends in 16 zeros, so that 0 stands for what is too low, as for a NaN.
  const float inside = __builtin_fabsf(value) < limit ? value : 0.0f;
  // INT32_MAX ends in 16 ones.
  const uint32_t saturated = value >= limit ? UINT32_MAX : 0;
  return static_cast<uint32_t>(static_cast<int32_t>(inside)) | saturated;
}

}  // namespace qo
