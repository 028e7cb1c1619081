// do_polynomial_upscale(): samples a quartic surface on a grid of another size.

#include "qo_cmc/lsc.h"

#include <cstddef>

#include "image_utils/corner_alignment.h"
#include "rows/row_table.h"

namespace qo {
namespace {

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

}  // namespace
}  // namespace qo

void do_polynomial_upscale(float* destination, const float* coefficients, uint16_t grid_width,
                           uint16_t grid_height, uint16_t out_width, uint16_t out_height) {
  if (out_width == 0 || out_height == 0) return;
  if (destination == nullptr || coefficients == nullptr) return;

  // An output side of 1 divides by zero: every coordinate is then 0 times an infinity or a NaN.
  const float step_x = qo::corner_aligned_step(grid_width, out_width);
  const float step_y = qo::corner_aligned_step(grid_height, out_height);
  const qo::surface_rows& kernels = qo::rows().surface;
  qo::column_powers powers;
  for (size_t first = 0; first < out_width; first += qo::surface_strip) {
    const size_t left = out_width - first;
    const size_t columns = left < qo::surface_strip ? left : qo::surface_strip;
    kernels.fill_powers(step_x, first, columns, powers);
    constexpr size_t row_group = 16;
    qo::row_quartic quartics[row_group];
    for (size_t row = 0; row < out_height; row += row_group) {
      const size_t rows = out_height - row < row_group ? out_height - row : row_group;
      for (size_t i = 0; i < rows; ++i)
        quartics[i] = qo::quartic_at(
            coefficients, static_cast<float>(static_cast<int32_t>(row + i)) * step_y + 1.0f);
      kernels.sample(quartics, rows, powers, columns, destination + row * out_width + first,
                     out_width);
    }
  }
}
