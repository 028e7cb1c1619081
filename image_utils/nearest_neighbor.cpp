// image_nearest_neighbor_scale_uint32(), image_upscale_nearest_neighbor_uint16() and
// image_downscale_nearest_neighbor_int32(): whole samples are copied, none is blended.

#include "qo_cmc/image_utils.h"

#include <algorithm>
#include <cassert>
#include <cstddef>

#include "base/float_to_int.h"
#include "image_utils/clamped_samples.h"
#include "qo_cmc/status.h"

namespace qo {
namespace {

// Fixed point, 16 fractional bits. Formed in 64 bits: sides of 32768 and more do not fit 32.

[[nodiscard]] uint64_t left_aligned_step(uint64_t in_side, uint64_t out_side) {
  // Contract: the added 1 biases the mapping forward, by up to a whole sample at the far end.
  return (in_side << 16) / out_side + 1;
}

[[nodiscard]] uint64_t left_aligned_index(uint64_t out_index, uint64_t step) {
  return (out_index * step) >> 16;
}

// Far edge: an output sample takes the source sample in which its far edge lies.

[[nodiscard]] float far_edge_scale(uint16_t in_side, uint16_t out_side) {
  return static_cast<float>(in_side) / static_cast<float>(out_side);
}

/// `position` counts output samples from 1. The index is in_side, one past the last, where the
/// product is rounded up.
[[nodiscard]] uint16_t far_edge_index(uint32_t position, float scale) {
  assert(position >= 1);
  const float far_edge = static_cast<float>(position) * scale;
  const auto index = static_cast<uint16_t>(truncate_to_i32(far_edge));
  const bool at_boundary = static_cast<float>(index) == far_edge && index >= 1;
  return at_boundary ? static_cast<uint16_t>(index - 1) : index;
}

/// dst[i] = row[column_of(i)]
template <typename Sample, typename OutSample, typename ColumnOf>
void copy_columns(const clamped_samples<Sample>& row, ColumnOf column_of, OutSample* dst,
                  uint64_t width) {
  for (uint64_t i = 0; i < width; ++i) dst[i] = static_cast<OutSample>(row[column_of(i)]);
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
  [[nodiscard]] float scale_x() const { return far_edge_scale(in_width, out_width); }
  [[nodiscard]] float scale_y() const { return far_edge_scale(in_height, out_height); }
};

template <typename Sample, typename OutSample>
void copy_far_edge(const Sample* src, OutSample* dst, const far_edge_sizes& sizes) {
  const float scale_y = sizes.scale_y();
  const float scale_x = sizes.scale_x();
  const auto column_of = [scale_x](uint64_t i) {
    return far_edge_index(static_cast<uint32_t>(i) + 1, scale_x);
  };
  for (uint32_t y = 0; y < sizes.out_height; ++y) {
    const auto row = samples_from(src, sizes.source(), far_edge_index(y + 1, scale_y), 0);
    copy_columns(row, column_of, dst + size_t{y} * sizes.out_width, sizes.out_width);
  }
}

/// Indices from `before` + 1 to `last`; none when `last` is not above `before`.
struct index_span {
  uint32_t before;
  uint32_t last;
};

/// The largest sample of a block, at least 0.
[[nodiscard]] int32_t block_maximum(const int32_t* src, const plane_size& size,
                                    const index_span& rows, const index_span& columns) {
  int32_t maximum = 0;
  for (uint32_t row = rows.before + 1; row <= rows.last; ++row) {
    const auto samples = samples_from(src, size, row, 0);
    for (uint32_t column = columns.before + 1; column <= columns.last; ++column)
      maximum = std::max(maximum, samples[column]);
  }
  return maximum;
}

void take_block_maxima(const int32_t* src, uint32_t* dst, const far_edge_sizes& sizes) {
  const float scale_y = sizes.scale_y();
  const float scale_x = sizes.scale_x();
  const uint32_t last_row = sizes.in_height - 1u;
  // Contract: the blocks begin one past 0, so row 0 and column 0 of the source are in none.
  index_span rows{0, 0};
  for (uint32_t y = 0; y < sizes.out_height; ++y, rows.before = rows.last) {
    rows.last = std::min<uint32_t>(far_edge_index(y + 1, scale_y), last_row);
    uint32_t* const dst_row = dst + size_t{y} * sizes.out_width;
    index_span columns{0, 0};
    for (uint32_t x = 0; x < sizes.out_width; ++x, columns.before = columns.last) {
      columns.last = far_edge_index(x + 1, scale_x);
      dst_row[x] = static_cast<uint32_t>(block_maximum(src, sizes.source(), rows, columns));
    }
  }
}

}  // namespace
}  // namespace qo

uint32_t image_nearest_neighbor_scale_uint32(const uint32_t* src, int32_t in_w, int32_t in_h,
                                             uint32_t* dst, int32_t out_w, int32_t out_h) {
  if (in_w <= 0 || in_h <= 0 || out_w <= 0 || out_h <= 0) return QO_CMC_INVALID_SIZE;
  if (src == nullptr || dst == nullptr) return QO_CMC_INVALID_SIZE;

  const qo::plane_size source{static_cast<uint64_t>(in_w), static_cast<uint64_t>(in_h)};
  const auto width = static_cast<uint64_t>(out_w);
  const auto height = static_cast<uint64_t>(out_h);
  const uint64_t step_x = qo::left_aligned_step(source.width, width);
  const uint64_t step_y = qo::left_aligned_step(source.height, height);
  const auto column_of = [step_x](uint64_t i) { return qo::left_aligned_index(i, step_x); };
  for (uint64_t y = 0; y < height; ++y) {
    const auto row = qo::samples_from(src, source, qo::left_aligned_index(y, step_y), 0);
    qo::copy_columns(row, column_of, dst + y * width, width);
  }
  return QO_CMC_OK;
}

// Contract: despite the name any sizes from 2 on are accepted, also smaller outputs.
uint32_t image_upscale_nearest_neighbor_uint16(const uint16_t* src, uint16_t* dst, uint16_t in_w,
                                               uint16_t in_h, uint16_t out_w, uint16_t out_h) {
  const qo::far_edge_sizes sizes{in_w, in_h, out_w, out_h};
  if (!sizes.accepted()) return QO_CMC_INVALID_SIZE;
  if (src == nullptr || dst == nullptr) return QO_CMC_INVALID_SIZE;
  qo::copy_far_edge(src, dst, sizes);
  return QO_CMC_OK;
}

uint32_t image_downscale_nearest_neighbor_int32(const int32_t* src, uint32_t* dst, uint16_t in_w,
                                                uint16_t in_h, uint16_t out_w, uint16_t out_h,
                                                uint8_t use_max) {
  const qo::far_edge_sizes sizes{in_w, in_h, out_w, out_h};
  if (!sizes.accepted()) return QO_CMC_INVALID_SIZE;
  if (src == nullptr || dst == nullptr) return QO_CMC_INVALID_SIZE;
  if (use_max != 0)
    qo::take_block_maxima(src, dst, sizes);
  else
    qo::copy_far_edge(src, dst, sizes);
  return QO_CMC_OK;
}
