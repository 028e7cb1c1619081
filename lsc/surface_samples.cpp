// do_polynomial_upscale(): samples a quartic surface on a grid of another size.

#include "qo_cmc/lsc.h"

#include <algorithm>
#include <cstddef>

#include "image_utils/corner_alignment.h"
#include "rows/row_table.h"

void do_polynomial_upscale(float* destination, const float* coefficients, uint16_t grid_width,
                           uint16_t grid_height, uint16_t out_width, uint16_t out_height) {
  if (out_width == 0 || out_height == 0) return;
  if (destination == nullptr || coefficients == nullptr) return;

  // An output side of 1 divides by zero: every coordinate is then 0 times an infinity or a NaN.
  const float step_x = qo::corner_aligned_step(grid_width, out_width);
  const float step_y = qo::corner_aligned_step(grid_height, out_height);
  const qo::surface_rows& kernels = qo::rows().surface;
  qo::column_powers powers;
  qo::row_quartics quartics;
  for (size_t first = 0; first < out_width; first += qo::surface_strip) {
    const size_t columns = std::min(out_width - first, qo::surface_strip);
    kernels.fill_powers(step_x, first, columns, powers);
    for (size_t row = 0; row < out_height; row += qo::quartic_rows) {
      const size_t rows = std::min(out_height - row, qo::quartic_rows);
      kernels.fill_quartics(coefficients, step_y, row, rows, quartics);
      kernels.sample(quartics, rows, powers, columns, destination + row * out_width + first,
                     out_width);
    }
  }
}
