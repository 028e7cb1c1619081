// lsc_polynomial_upscale_float(): fits a surface to each of four grids, with the factors of their
// common normal matrix, and samples it.

#include "qo_cmc/lsc.h"

#include <cstring>

#include "base/c_heap.h"
#include "lsc/quartic_surface.h"
#include "qo_cmc/status.h"
#include "rows/row_table.h"

namespace qo {
namespace {

/// Solves L y = right_side; L has an implied unit diagonal.
void substitute_forward(const float* lu, const float* right_side, float* y, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    float sum = 0.0f;
    for (size_t k = 0; k < i; ++k) sum += lu[i * count + k] * y[k];
    y[i] = right_side[i] - sum;
  }
}

/// Solves U coefficients = y. A zero on the diagonal shows as an infinity or a NaN.
void substitute_back(const float* lu, const float* y, float* coefficients, size_t count) {
  for (size_t i = count; i-- > 0;) {
    float sum = 0.0f;
    for (size_t k = i + 1; k < count; ++k) sum += lu[i * count + k] * coefficients[k];
    coefficients[i] = (y[i] - sum) / lu[i * count + i];
  }
}

}  // namespace
}  // namespace qo

uint32_t lsc_polynomial_upscale_float(const float* design_t, const float* lu,
                                      const int32_t* dst_index, const float* const source[4],
                                      float* const destination[4], uint16_t grid_width,
                                      uint16_t grid_height, uint16_t out_width, uint16_t out_height,
                                      uint16_t term_count) {
  // Contract: never read. The factorisation exchanges no rows, so there is nothing to undo.
  (void)dst_index;
  if (!qo::is_addressable_grid(grid_width, grid_height)) return QO_CMC_STEP_FAILED;
  if (out_width == 0 || out_height == 0) return QO_CMC_OK;
  if (design_t == nullptr || lu == nullptr || source == nullptr || destination == nullptr)
    return QO_CMC_STEP_FAILED;
  for (int channel = 0; channel < 4; ++channel)
    if (source[channel] == nullptr || destination[channel] == nullptr) return QO_CMC_STEP_FAILED;

  // The surface always reads 15 coefficients; those that a smaller count leaves out are 0.
  const size_t coefficient_count = term_count < qo::surface_terms ? qo::surface_terms : term_count;
  const qo::heap_array<float> right_sides(qo::c_new_array<float>(size_t{4} * term_count));
  const qo::heap_array<float> coefficients(qo::c_new_array<float>(coefficient_count));
  if (right_sides == nullptr || coefficients == nullptr) return QO_CMC_STEP_FAILED;

  // All four at once, because they share the matrix. A grid and a plane overlap nowhere, so that no
  // plane which is written before changes a grid.
  const size_t samples = size_t{grid_width} * grid_height;
  float* side_of[4];
  for (size_t channel = 0; channel < 4; ++channel)
    side_of[channel] = right_sides.get() + channel * term_count;
  qo::rows().matrix.multiply_four_vectors(
      {reinterpret_cast<const uint8_t*>(design_t), static_cast<ptrdiff_t>(samples * sizeof(float))},
      source, term_count, samples, side_of);
  for (size_t channel = 0; channel < 4; ++channel) {
    const qo::heap_array<float> y(qo::c_new_array<float>(term_count));
    if (y == nullptr) return QO_CMC_STEP_FAILED;
    // Contract: the factorisation's mark; the substitution's first step replaces it.
    memset(y.get(), term_count & 0xff, sizeof(float));
    qo::substitute_forward(lu, side_of[channel], y.get(), term_count);
    qo::substitute_back(lu, y.get(), coefficients.get(), term_count);
    do_polynomial_upscale(destination[channel], coefficients.get(), grid_width, grid_height,
                          out_width, out_height);
  }
  return QO_CMC_OK;
}
