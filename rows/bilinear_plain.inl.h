/// The rule of bilinear resizing as plain loops: what every other set of kernels has to give.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "rows/bilinear_rows.h"
#include "rows/bilinear_rule.inl.h"
#include "rows/lanes.h"

#if defined(__aarch64__)
#include "rows/bilinear_fours.inl.h"
#endif

namespace qo::QO_ROWS_NS {
namespace {

template <typename Element>
void plan(const bilinear_walk& walk, bilinear_columns<Element>& columns) {
  columns.walk = walk;
}

template <typename Element>
void across(const bilinear_columns<Element>& columns, const Element* row,
            bilinear_row<Element>& blended) {
  // 255 * 256 + 128 and below fit the 16 bits that rows of 8-bit samples have.
  using value = bilinear_value<Element>;
  const bilinear_walk walk = columns.walk;  // nothing that is written changes it
  size_t i = 0;
#if defined(__aarch64__)
  for (; walk.count - i >= 8; i += 8)
    store_eight(blend_four_across(row, four_columns_at<Element>(walk, i)),
                blend_four_across(row, four_columns_at<Element>(walk, i + 4)), blended.values + i);
#endif
  for (; i < walk.count; ++i)
    blended.values[i] = static_cast<value>(blend_across(row, plain_column_at<Element>(walk, i)));
}

template <typename Element>
__attribute__((noinline)) void blend_rows(const bilinear_value<Element>* upper,
                                          const bilinear_value<Element>* lower, uint32_t v1,
                                          size_t count, Element* __restrict dst) {
  for (size_t i = 0; i < count; ++i) dst[i] = blend_down<Element>(upper[i], lower[i], v1);
}

template <typename Element>
void down(const bilinear_row<Element>& upper, const bilinear_row<Element>& lower,
          const bilinear_part<Element>& part) {
  for (uint32_t row = 0; row < part.rows; ++row)
    blend_rows(upper.values + part.first, lower.values + part.first, part.v1 + row * part.v1_step,
               part.count, part.dst + row * part.pitch);
}

template <typename Element>
__attribute__((noinline)) void blend_once(const bilinear_walk walk, const Element* upper,
                                          const Element* lower, uint32_t v1, size_t first,
                                          size_t count, Element* __restrict dst) {
  size_t i = 0;
#if defined(__aarch64__)
  for (; count - i >= 8; i += 8)
    store_eight(blend_four(walk, upper, lower, v1, first + i),
                blend_four(walk, upper, lower, v1, first + i + 4), dst + i);
#endif
  // Before the last output of a walk that advances there is a sample after every cell.
  constexpr uint32_t one = uint32_t{1} << bilinear_fraction_bits<Element>;
  const size_t inside = walk.step == 0 ? 0 : walk.count - 1 - first;
  uint32_t position = walk.first + static_cast<uint32_t>(first + i) * walk.step;
  for (; i < count && i < inside; ++i, position += walk.step) {
    const plain_column column{position / one, position % one};
    dst[i] = blend_down<Element>(blend_across(upper, column), blend_across(lower, column), v1);
  }
  for (; i < count; ++i) {
    const plain_column column = plain_column_at<Element>(walk, first + i);
    dst[i] = blend_down<Element>(blend_across(upper, column), blend_across(lower, column), v1);
  }
}

template <typename Element>
void across_and_down(const bilinear_columns<Element>& columns, const Element* upper,
                     const Element* lower, const bilinear_part<Element>& part) {
  for (uint32_t row = 0; row < part.rows; ++row)
    blend_once(columns.walk, upper, lower, part.v1 + row * part.v1_step, part.first, part.count,
               part.dst + row * part.pitch);
}

}  // namespace
}  // namespace qo::QO_ROWS_NS
