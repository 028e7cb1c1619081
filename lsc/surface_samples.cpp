// do_polynomial_upscale(): samples a quartic surface on a grid of another size.

#include "qo_cmc/lsc.h"

#include <cstddef>

#include "image_utils/corner_alignment.h"

namespace qo {
namespace {

/// The surface along one row, as a quartic in x.
struct row_quartic {
  float k0, k1, k2, k3, k4;
};

/// Gathers the terms by power of x. What depends only on y is summed here, once for each row.
[[nodiscard]] row_quartic quartic_at(const float* c, float y) {
  const float y2 = y * y;
  const float y3 = y * y2;
  const float y4 = y3 * y;
  return {
      (((c[0] + c[2] * y) + c[5] * y2) + c[9] * y3) + c[14] * y4,
      ((c[1] + c[4] * y) + c[8] * y2) + c[13] * y3,
      (c[3] + c[7] * y) + c[12] * y2,
      c[6] + c[11] * y,
      c[10],
  };
}

/// The row's samples at x = 1, 1 + step, 1 + 2 step ...; no sample depends on another, so that a
/// compiler forms several side by side.
void sample_row(const row_quartic& row, float step, float* samples, int32_t width) {
  const row_quartic q = row;  // a copy that the stores below cannot alias
  for (int32_t column = 0; column < width; ++column) {
    const float x = static_cast<float>(column) * step + 1.0f;
    const float x2 = x * x;
    const float x3 = x * x2;
    const float x4 = x3 * x;
    samples[column] = (((q.k0 + q.k1 * x) + q.k2 * x2) + q.k3 * x3) + q.k4 * x4;
  }
}

}  // namespace
}  // namespace qo

void do_polynomial_upscale(float* destination, const float* coefficients, uint16_t grid_width,
                           uint16_t grid_height, uint16_t out_width, uint16_t out_height) {
  if (out_width == 0 || out_height == 0) return;
  if (destination == nullptr || coefficients == nullptr) return;

  // An output side of 1 divides by zero: every coordinate is then 0 times an infinity or a NaN.
  const float step_x = qo::corner_aligned_step(grid_width, out_width);
  const float step_y = qo::corner_aligned_step(grid_height, out_height);
  for (int32_t row = 0; row < out_height; ++row) {
    const float y = static_cast<float>(row) * step_y + 1.0f;
    qo::sample_row(qo::quartic_at(coefficients, y), step_x,
                   destination + ptrdiff_t{row} * out_width, out_width);
  }
}
