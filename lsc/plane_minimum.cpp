#include "lsc/plane_minimum.h"

#include <cassert>
#include <cstdint>

namespace qo {
namespace {

/// The rule itself.
[[nodiscard]] float minimum_in_order(const float* values, size_t count) {
  float minimum = values[0];
  for (size_t i = 1; i < count; ++i) minimum = minimum < values[i] ? minimum : values[i];
  return minimum;
}

}  // namespace

float running_minimum(const float* values, size_t count) {
  assert(count >= 1);
  constexpr size_t lanes = 32;
  if (count < lanes) return minimum_in_order(values, count);

  // Without a NaN the order does not matter, and several minima run side by side: so many that
  // GCC keeps the loop over them a loop, which it vectorises, instead of unrolling it first.
  float minima[lanes];
  uint32_t nans[lanes] = {};
  for (size_t lane = 0; lane < lanes; ++lane) minima[lane] = values[lane];
  size_t i = 0;
  for (; i + lanes <= count; i += lanes) {
    for (size_t lane = 0; lane < lanes; ++lane) {
      const float value = values[i + lane];
      minima[lane] = minima[lane] < value ? minima[lane] : value;
      nans[lane] |= value != value ? 1u : 0u;
    }
  }
  for (size_t lane = 0; lane < lanes; ++lane)
    if (nans[lane] != 0) return minimum_in_order(values, count);
  float minimum = minimum_in_order(minima, lanes);
  // One at a time, so that a NaN here keeps its place in the order.
  for (; i < count; ++i) minimum = minimum < values[i] ? minimum : values[i];
  return minimum;
}

bool normalise_to_minimum(float* values, size_t count) {
  const float minimum = running_minimum(values, count);
  if (!(minimum > 0.0f)) return false;  // a NaN is not above 0 either
  for (size_t i = 0; i < count; ++i) {
    const float quotient = values[i] / minimum;
    values[i] = quotient > 1.0f ? quotient : 1.0f;
  }
  return true;
}

}  // namespace qo
