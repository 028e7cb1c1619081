// lu_decomposition(): the left side of the surface fit's normal equations, and its factors.

#include "qo_cmc/lsc.h"

#include <cassert>

#include "base/c_heap.h"
#include "lsc/quartic_surface.h"
#include "qo_cmc/status.h"

namespace qo {
namespace {

/// The powers of a grid coordinate. Square and cube are exact integers that are rounded once.
struct coordinate_powers {
  explicit coordinate_powers(uint64_t coordinate)
      : first(static_cast<float>(coordinate)),
        second(static_cast<float>(coordinate * coordinate)),
        third(static_cast<float>(coordinate * coordinate * coordinate)),
        fourth(first * third) {}
  float first;
  float second;
  float third;
  float fourth;
};

/// One row of the design matrix: the monomials at one grid sample.
void write_monomials(const coordinate_powers& x, const coordinate_powers& y, float* row) {
  row[0] = 1.0f;
  row[1] = x.first;
  row[2] = y.first;
  row[3] = x.second;
  row[4] = x.first * y.first;
  row[5] = y.second;
  row[6] = x.third;
  row[7] = x.second * y.first;
  row[8] = x.first * y.second;
  row[9] = y.third;
  row[10] = x.fourth;
  row[11] = x.third * y.first;
  row[12] = x.second * y.second;
  row[13] = x.first * y.third;
  row[14] = y.fourth;
}

/// Samples count from 1 in both directions and follow one another row by row.
void fill_design(float* design, uint32_t width, uint32_t height, size_t term_count) {
  assert(term_count >= surface_terms);
  for (uint32_t y = 1; y <= height; ++y) {
    const coordinate_powers y_powers(y);
    for (uint32_t x = 1; x <= width; ++x, design += term_count)
      write_monomials(coordinate_powers(x), y_powers, design);
  }
}

}  // namespace
}  // namespace qo

uint32_t lu_decomposition(float* design, float* design_t, float* lu, int32_t* dst_index,
                          uint16_t width, uint16_t height, uint16_t term_count) {
  constexpr int32_t element = sizeof(float);
  if (term_count < qo::surface_terms) return QO_CMC_STEP_FAILED;
  const size_t normal_elements = size_t{term_count} * term_count;
  if (!qo::is_addressable_grid(width, height) || normal_elements * sizeof(float) > INT32_MAX)
    return QO_CMC_STEP_FAILED;
  if (design == nullptr || design_t == nullptr || lu == nullptr || dst_index == nullptr)
    return QO_CMC_STEP_FAILED;
  const qo::heap_array<float> normal(qo::c_new_array<float>(normal_elements));
  if (normal == nullptr) return QO_CMC_NO_MEMORY;

  qo::fill_design(design, width, height, term_count);
  const int32_t samples = static_cast<int32_t>(uint32_t{width} * height);
  const int32_t terms = term_count;
  if (transpose_m(design, terms * element, element, terms, samples, design_t, samples * element,
                  element) != QO_CMC_OK)
    return QO_CMC_STEP_FAILED;
  if (mul_mm(design_t, samples * element, element, samples, terms, design, terms * element, element,
             terms, samples, normal.get(), terms * element, element) != QO_CMC_OK)
    return QO_CMC_STEP_FAILED;
  if (lu_decomposition_m(normal.get(), terms * element, element, dst_index, lu, terms * element,
                         element, terms) != QO_CMC_OK)
    return QO_CMC_STEP_FAILED;
  return QO_CMC_OK;
}
