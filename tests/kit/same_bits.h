/// The one comparison of results that are promised bit for bit.
#pragma once

#include <cstddef>
#include <cstring>

namespace kit {

/// Equal bits, or a NaN each: the sign and payload of a NaN are not defined.
template <typename Sample>
[[nodiscard]] bool same_bits(const Sample& a, const Sample& b) {
  return std::memcmp(&a, &b, sizeof a) == 0 || (a != a && b != b);
}

/// First index where the samples differ, or `count`.
template <typename Sample>
[[nodiscard]] size_t first_difference(const Sample* a, const Sample* b, size_t count) {
  size_t i = 0;
  while (i < count && same_bits(a[i], b[i])) ++i;
  return i;
}

}  // namespace kit
