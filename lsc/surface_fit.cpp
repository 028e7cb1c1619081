// lsc_polynomial_upscale_float(): fits a surface to each of four grids, with the factors of their
// common normal matrix, and samples it.

#include "qo_cmc/lsc.h"

#include <cstring>

#include "base/c_heap.h"
#include "lsc/quartic_surface.h"
#include "qo_cmc/status.h"

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
  const qo::heap_array<float> right_side(qo::c_new_array<float>(term_count));
  const qo::heap_array<float> coefficients(qo::c_new_array<float>(coefficient_count));
  if (right_side == nullptr || coefficients == nullptr) return QO_CMC_STEP_FAILED;

  constexpr int32_t element = sizeof(float);
  const int32_t samples = static_cast<int32_t>(uint32_t{grid_width} * grid_height);
  for (int channel = 0; channel < 4; ++channel) {
    if (mul_mv(design_t, samples * element, element, samples, term_count, source[channel], element,
               samples, right_side.get(), element) != QO_CMC_OK)
      return QO_CMC_STEP_FAILED;
    const qo::heap_array<float> y(qo::c_new_array<float>(term_count));
    if (y == nullptr) return QO_CMC_STEP_FAILED;
    // Contract: the factorisation's mark; the substitution's first step replaces it.
    memset(y.get(), term_count & 0xff, sizeof(float));
    qo::substitute_forward(lu, right_side.get(), y.get(), term_count);
    qo::substitute_back(lu, y.get(), coefficients.get(), term_count);
    do_polynomial_upscale(destination[channel], coefficients.get(), grid_width, grid_height,
                          out_width, out_height);
  }
  return QO_CMC_OK;
}
