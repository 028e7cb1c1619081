/// Row kernels that turn samples into floats.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qo {

/// No destination overlaps a source; `count` may be 0.
struct float_rows {
  /// dst[i] = src[i].
  void (*from_u8)(const uint8_t* src, size_t count, float* dst);

  /// dst[i] = src[i] factor. A factor of 1 leaves the samples as they are.
  void (*from_u16)(const uint16_t* src, size_t count, float factor, float* dst);

  /// dst[i] = (near[i] + near[i]) - far[i]: the straight line from `far` through `near`, continued.
  void (*extrapolate)(const float* near, const float* far, size_t count, float* dst);

  /// gains[i] = raw[i] / divisor + 1, or with `mirrored` gains[count - 1 - i].
  void (*gains_from_u8)(const uint8_t* raw, size_t count, float divisor, bool mirrored,
                        float* gains);
  void (*gains_from_u16)(const uint16_t* raw, size_t count, float divisor, bool mirrored,
                         float* gains);
  void (*gains_from_float)(const float* raw, size_t count, float divisor, bool mirrored,
                           float* gains);
};

}  // namespace qo
