/// Scales a plane of gains so that its smallest gain is 1.
#pragma once

#include <cstddef>

namespace qo {

/// The running minimum from the first of `count` >= 1 values: m = m < v ? m : v.
///
/// Contract: a NaN replaces the minimum, and the value after it replaces the NaN, so the result is
/// the minimum of what follows the last NaN, and a NaN only when that stands last. The sign of a
/// zero is not defined.
[[nodiscard]] float running_minimum(const float* values, size_t count);

/// Divides `count` >= 1 values by their running minimum; a quotient that is not above 1, a NaN
/// included, becomes 1. Returns false, with the values untouched, when the minimum is not above 0.
[[nodiscard]] bool normalise_to_minimum(float* values, size_t count);

}  // namespace qo
