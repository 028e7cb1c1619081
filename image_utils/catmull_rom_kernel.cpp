#include "image_utils/catmull_rom_kernel.h"

#include <cassert>
#include <cstddef>

#include "base/float_to_int.h"

namespace qo {
namespace {

/// The spline in double precision; the two differences are the caller's, who decides on theirs.
[[nodiscard]] float spline(double p0, double p1, double p2, double p3, double p2_minus_p0,
                           double p1_minus_p2, double t) {
  const double square = ((2 * p0 - 5 * p1) + 4 * p2) - p3;
  const double cube = (3 * p1_minus_p2 + p3) - p0;
  return static_cast<float>(p1 + (t / 2) * (p2_minus_p0 + t * (square + t * cube)));
}

/// Deliberate: along a row the two differences are rounded to single precision.
[[nodiscard]] float row_spline(const float p[4], float t) {
  const float p2_minus_p0 = p[2] - p[0];
  const float p1_minus_p2 = p[1] - p[2];
  return spline(p[0], p[1], p[2], p[3], p2_minus_p0, p1_minus_p2, t);
}

/// Through the row values they are not.
[[nodiscard]] float column_spline(const float p[4], float t) {
  const double p0 = p[0];
  const double p1 = p[1];
  const double p2 = p[2];
  return spline(p0, p1, p2, p[3], p2 - p0, p1 - p2, t);
}

}  // namespace

int32_t bicubic_kernel_4x4_p10(const float block[16], float fy, float fx) {
  assert(0 <= fy && fy < 1 && 0 <= fx && fx < 1);
  float rows[4];
  for (size_t row = 0; row < 4; ++row) rows[row] = row_spline(block + 4 * row, fx);
  // Deliberate: truncated, neither rounded nor clamped. Callers keep the low 16 bits.
  return truncate_to_i32(column_spline(rows, fy) * 1024.0f);
}

}  // namespace qo
