// lu_decomposition(): the left side of the surface fit's normal equations, and its factors.

#include "qo_cmc/lsc.h"

#include <cassert>

#include "base/c_heap.h"
#include "lsc/quartic_surface.h"
#include "qo_cmc/status.h"
#include "rows/row_table.h"

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

/// A monomial is one of these times one of those. A product with 1 is exact, so that each monomial
/// is rounded as often as its powers and their product are, and no more.
[[nodiscard]] monomial_factors factors_of_x(const coordinate_powers& x) {
  return {{1.0f, x.first, 1.0f, x.second, x.first, 1.0f, x.third, x.second, x.first, 1.0f, x.fourth,
           x.third, x.second, x.first, 1.0f, 0.0f}};
}
[[nodiscard]] monomial_factors factors_of_y(const coordinate_powers& y) {
  return {{1.0f, 1.0f, y.first, 1.0f, y.first, y.second, 1.0f, y.first, y.second, y.third, 1.0f,
           y.first, y.second, y.third, y.fourth, 0.0f}};
}

/// Samples count from 1 in both directions and follow one another row by row.
void fill_design(float* design, uint32_t width, uint32_t height, size_t term_count) {
  assert(term_count >= surface_terms);
  constexpr uint32_t strip = 64;
  monomial_factors columns[strip];
  for (uint32_t first = 0; first < width; first += strip) {
    const uint32_t count = width - first < strip ? width - first : strip;
    for (uint32_t c = 0; c < count; ++c)
      columns[c] = factors_of_x(coordinate_powers(uint64_t{first} + c + 1));
    for (uint32_t row = 0; row < height; ++row)
      rows().surface.multiply_factors(columns, factors_of_y(coordinate_powers(uint64_t{row} + 1)),
                                      count, design + (size_t{row} * width + first) * term_count,
                                      term_count);
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
                  element) != QO_CMC_OK ||
      mul_mm(design_t, samples * element, element, samples, terms, design, terms * element, element,
             terms, samples, normal.get(), terms * element, element) != QO_CMC_OK ||
      lu_decomposition_m(normal.get(), terms * element, element, dst_index, lu, terms * element,
                         element, terms) != QO_CMC_OK)
    return QO_CMC_STEP_FAILED;
  return QO_CMC_OK;
}
