/// The rule of bilinear resizing as plain loops: what every other set of kernels has to give.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "rows/bilinear_rows.h"
#include "rows/lanes.h"

namespace qo::QO_ROWS_NS {
namespace {

/// Where an output falls: between the samples `cell` and `cell` + 1.
struct plain_column {
  uint32_t cell;
  uint32_t far_weight;
};

/// Half of a unit of the result, which the weights of down() scale up: it sums to 2^(2F - 1).
template <typename Element>
constexpr uint32_t rounding = uint32_t{1} << (bilinear_fraction_bits<Element> - 1);

template <typename Element>
void plan(const bilinear_walk& walk, bilinear_columns<Element>& columns) {
  columns.walk = walk;
}

template <typename Element>
[[nodiscard]] inline plain_column plain_column_at(const bilinear_walk& walk, size_t i) {
  const uint32_t position = walk.first + static_cast<uint32_t>(i) * walk.step;
  // Contract: a position on a sample belongs to the cell before it, with the whole weight on the
  // far side, so that the last output reads nothing after the last sample.
  const uint32_t cell = (position - (position != 0 ? 1 : 0)) >> bilinear_fraction_bits<Element>;
  return {cell, position - (cell << bilinear_fraction_bits<Element>)};
}

/// a (2^F - weight) + b weight, modulo 2^32.
template <typename Element>
[[nodiscard]] inline uint32_t blend(uint32_t a, uint32_t b, uint32_t weight) {
  return (a << bilinear_fraction_bits<Element>)+(b - a) * weight;
}

template <typename Element>
[[nodiscard]] inline uint32_t blend_across(const Element* row, const plain_column& column) {
  return blend<Element>(row[column.cell], row[size_t{column.cell} + 1], column.far_weight) +
         rounding<Element>;
}

template <typename Element>
[[nodiscard]] inline Element blend_down(uint32_t upper, uint32_t lower, uint32_t v1) {
  return static_cast<Element>(blend<Element>(upper, lower, v1) >>
                              (2 * bilinear_fraction_bits<Element>));
}

template <typename Element>
void across(const bilinear_columns<Element>& columns, const Element* row,
            bilinear_row<Element>& blended) {
  // 255 * 256 + 128 and below fit the 16 bits that rows of 8-bit samples have.
  using value = bilinear_value<Element>;
  const bilinear_walk walk = columns.walk;  // nothing that is written changes it
  for (size_t i = 0; i < walk.count; ++i)
    blended.values[i] = static_cast<value>(blend_across(row, plain_column_at<Element>(walk, i)));
}

template <typename Element>
void down(const bilinear_row<Element>& upper, const bilinear_row<Element>& lower, uint32_t v1,
          size_t first, size_t count, Element* __restrict dst) {
  for (size_t i = 0; i < count; ++i)
    dst[i] = blend_down<Element>(upper.values[first + i], lower.values[first + i], v1);
}

template <typename Element>
void across_and_down(const bilinear_columns<Element>& columns, const Element* upper,
                     const Element* lower, uint32_t v1, size_t first, size_t count,
                     Element* __restrict dst) {
  const bilinear_walk walk = columns.walk;
  for (size_t i = 0; i < count; ++i) {
    const plain_column column = plain_column_at<Element>(walk, first + i);
    dst[i] = blend_down<Element>(blend_across(upper, column), blend_across(lower, column), v1);
  }
}

}  // namespace
}  // namespace qo::QO_ROWS_NS
