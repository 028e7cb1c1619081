/// Bilinear resize in fixed point of what lies inside an array, corner-aligned.
#pragma once

#include <cassert>
#include <cstddef>
#include <cstdint>

#include "image_utils/output_plane.h"

namespace qo {

/// A walk over one axis of the source: accumulators start, start + step, start + 2 step, ..., in
/// fixed point and modulo 2^32.
struct axis_walk {
  uint32_t start;
  uint32_t step;
};

/// From a region of `in_side` samples to `out_side` of them, both at least 2. Without a margin no
/// accumulator passes (in_side - 1) << FractionBits, also where that wraps.
template <uint32_t FractionBits>
[[nodiscard]] inline axis_walk walk_axis(uint32_t in_side, uint32_t out_side, uint32_t margin) {
  assert(in_side >= 2 && out_side >= 2);
  const uint32_t step = ((in_side - 1) << FractionBits) / (out_side - 1);
  // Contract: the margin is scaled by the step, so the region that is sampled starts at
  // margin * step, not at margin << FractionBits.
  return {margin * step, step};
}

/// Where an accumulator falls: `far_weight` fractions after sample `cell`, of which sample
/// `cell` + 1 gets as many and sample `cell` the rest of 1 << FractionBits.
struct cell_position {
  uint32_t cell;
  uint32_t far_weight;
};

template <uint32_t FractionBits>
[[nodiscard]] inline cell_position cell_position_of(uint32_t accumulator) {
  // Contract: by the rule an accumulator that falls on a sample belongs to the cell before it, with
  // the whole weight on the far side. Either way it takes that sample and none of another.
  return {accumulator >> FractionBits, accumulator & ((uint32_t{1} << FractionBits) - 1)};
}

/// What is resized: rows of `pitch` samples, of which the first `extent` may be read.
template <typename Element>
struct source_rows {
  const Element* first;
  uint64_t pitch;
  uint32_t extent;

  [[nodiscard]] const Element* operator[](uint64_t row) const { return first + row * pitch; }
};

/// Resizes uint8_t, uint16_t or uint32_t without a look at the end of the source: no accumulator
/// wraps, or passes the last row or sample source.extent - 1.
template <typename Element>
void resize_inside(const source_rows<Element>& source, const axis_walk& walk_x,
                   const axis_walk& walk_y, output_plane<Element>& out);

}  // namespace qo
