/// Row kernels of gain planes and of the tables that they correct.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qo {

struct gain_rows {
  /// target[i] = low 16 bits of trunc(source[i] * gains[i]), truncated toward zero to a signed
  /// 32-bit value that saturates; a NaN gives 0. All three at any alignment. The target is the
  /// source itself, or shares no byte with it, and none with the gains.
  void (*scale)(const uint16_t* source, const float* gains, uint16_t* target, size_t count);

  /// Both planes become (a[i] + b[i]) * 0.5. They share no byte.
  void (*average)(float* a, float* b, size_t count);

  /// The running minimum m = m < v ? m : v from the first value on; `count` is at least 1.
  float (*minimum)(const float* values, size_t count);

  /// values[i] = max(values[i] / divisor, 1), and 1 for a NaN.
  void (*normalise)(float* values, float divisor, size_t count);
};

}  // namespace qo
