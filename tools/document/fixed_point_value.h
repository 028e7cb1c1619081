/// Floats that came from unsigned fixed point, back to it.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <optional>

namespace document {

/// An unsigned number with `fraction_bits` that becomes the float with these bits when it is
/// converted; none when there is no such number up to `most`. Of several, which a float of large
/// 16.16 numbers stands for, it is the largest that is exact, or `most`.
[[nodiscard]] inline std::optional<uint32_t> fixed_point_of(uint32_t float_bits,
                                                            unsigned fraction_bits, uint32_t most) {
  const float value = std::bit_cast<float>(float_bits);
  const double scaled = static_cast<double>(value) * static_cast<double>(1u << fraction_bits);
  // A float just above the largest number is what that one is rounded to.
  if (!(scaled >= 0.0 && scaled <= static_cast<double>(most) + 1.0)) return std::nullopt;
  const uint32_t fixed = scaled > static_cast<double>(most) ? most : static_cast<uint32_t>(scaled);
  const float back = static_cast<float>(fixed) / static_cast<float>(1u << fraction_bits);
  if (std::bit_cast<uint32_t>(back) != float_bits) return std::nullopt;
  return fixed;
}

}  // namespace document
