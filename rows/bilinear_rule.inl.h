/// The rule of bilinear resizing, for one output.
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
[[nodiscard]] inline plain_column plain_column_at(const bilinear_walk& walk, size_t i) {
  const uint32_t position = walk.first + static_cast<uint32_t>(i) * walk.step;
  // Contract: a position on a sample belongs to the cell before it, with the whole weight on the
  // far side, so that the last output reads nothing after the last sample.
  const uint32_t cell = (position - (position != 0 ? 1 : 0)) >> bilinear_fraction_bits<Element>;
  return {cell, position - (cell << bilinear_fraction_bits<Element>)};
}

/// a (2^F - weight) + b weight, modulo 2^32: of one output or, lane by lane, of several.
template <typename Element, typename Numbers, typename Weights>
[[nodiscard]] inline __attribute__((always_inline)) Numbers blend(const Numbers& a,
                                                                  const Numbers& b,
                                                                  const Weights& weight) {
  return (a << bilinear_fraction_bits<Element>)+(b - a) * weight;
}

template <typename Element>
[[nodiscard]] inline uint32_t blend_across(const Element* row, const plain_column& column) {
  return blend<Element, uint32_t>(row[column.cell], row[size_t{column.cell} + 1],
                                  column.far_weight) +
         rounding<Element>;
}

template <typename Element>
[[nodiscard]] inline Element blend_down(uint32_t upper, uint32_t lower, uint32_t v1) {
  return static_cast<Element>(blend<Element, uint32_t>(upper, lower, v1) >>
                              (2 * bilinear_fraction_bits<Element>));
}

}  // namespace
}  // namespace qo::QO_ROWS_NS
