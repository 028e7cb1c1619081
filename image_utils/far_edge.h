/// The mapping by which an output sample takes the source sample in which its far edge lies.
#pragma once

#include <cassert>
#include <cstdint>

#include "base/float_to_int.h"
#include "image_utils/clamped_samples.h"

namespace qo {

[[nodiscard]] inline float far_edge_scale(uint16_t in_side, uint16_t out_side) {
  return static_cast<float>(in_side) / static_cast<float>(out_side);
}

/// `position` counts output samples from 1. The index is in_side, one past the last, where the
/// product is rounded up. It never decreases.
[[nodiscard]] inline uint16_t far_edge_index(uint32_t position, float scale) {
  assert(position >= 1);
  // Without a branch: tables of indices are formed in vectors.
  const float far_edge = static_cast<float>(static_cast<int32_t>(position)) * scale;
  const uint32_t index = truncate_for_low_16(far_edge) & 0xffff;
  const bool at_boundary = static_cast<float>(static_cast<int32_t>(index)) == far_edge;
  const uint32_t back = (at_boundary ? 1u : 0u) & (index >= 1 ? 1u : 0u);
  return static_cast<uint16_t>(index - back);
}

struct far_edge_sizes {
  uint16_t in_width;
  uint16_t in_height;
  uint16_t out_width;
  uint16_t out_height;

  [[nodiscard]] bool accepted() const {
    return in_width >= 2 && in_height >= 2 && out_width >= 2 && out_height >= 2;
  }
  [[nodiscard]] plane_size source() const { return {in_width, in_height}; }
  [[nodiscard]] plane_size output() const { return {out_width, out_height}; }
  [[nodiscard]] float scale_x() const { return far_edge_scale(in_width, out_width); }
  [[nodiscard]] float scale_y() const { return far_edge_scale(in_height, out_height); }
};

}  // namespace qo
