// image_nearest_neighbor_scale_uint32(), image_upscale_nearest_neighbor_uint16() and
// image_downscale_nearest_neighbor_int32(): whole samples are copied, none is blended.

#include <algorithm>
#include <cstddef>

#include "image_utils/block_maximum.h"
#include "image_utils/clamped_samples.h"
#include "image_utils/far_edge.h"
#include "qo_cmc/image_utils.h"
#include "qo_cmc/status.h"
#include "rows/row_table.h"

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

[[nodiscard]] copy_columns<uint16_t>* kernel_for(const uint16_t* columns, size_t count) {
  return rows().nearest.choose_u16(columns, count);
}

[[nodiscard]] copy_columns<uint32_t>* kernel_for(const uint32_t* columns, size_t count) {
  return rows().nearest.choose_u32(columns, count);
}

/// indices[i] = indices_from(first)(i) for i < count, and on to a multiple of 8: in groups of a
/// fixed size, which become vectors, of counters of 32 bits.
template <typename Index, typename IndicesFrom>
void list_indices(IndicesFrom indices_from, uint64_t first, size_t count, Index* indices) {
  constexpr uint32_t group = 8;
  const auto index_at = indices_from(first);
  for (uint32_t i = 0; i < count; i += group)
    for (uint32_t j = 0; j < group; ++j, ++indices) *indices = static_cast<Index>(index_at(i + j));
}

/// Columns [left, left + count) of all rows.
template <typename Sample, typename RowsFrom>
void copy_strip(const Sample* src, const plane_size& source, Sample* dst, const plane_size& output,
                RowsFrom rows_from, uint64_t left, const Sample* columns, size_t count) {
  copy_columns<Sample>* const copy = kernel_for(columns, count);
  constexpr size_t most_rows = 127;
  for (uint64_t top = 0; top < output.height; top += most_rows) {
    const size_t height = std::min<uint64_t>(most_rows, output.height - top);
    // And of the row after these, which will be read next. Past the last row of all there is none:
    // of tall sources its index would start over at 0.
    const size_t listed = std::min<uint64_t>(height + 1, output.height - top);
    uint32_t indices[most_rows + 1];
    list_indices(rows_from, top, listed, indices);
    const auto start_of = [&](size_t y) {
      return std::min<uint64_t>(indices[std::min(y, listed - 1)], source.height - 1) * source.width;
    };
    for (size_t y = 0; y < height;) {
      const uint64_t start = start_of(y);
      size_t after = y + 1;
      while (after < height && start_of(after) == start) ++after;
      Sample* const row = dst + (top + y) * output.width + left;
      copy({src, source.width * source.height, start, start_of(after)}, columns, row, count);
      rows().nearest.repeat(row, output.width * sizeof *row, after - y - 1, count * sizeof *row);
      y = after;
    }
  }
}

/// dst(y, x) = src(rows_from(0)(y), columns_from(0)(x)), where a row past the last is the last.
/// Neither ever decreases, and every column fits a Sample.
template <typename Sample, typename RowsFrom, typename ColumnsFrom>
void copy_samples(const Sample* src, const plane_size& source, Sample* dst,
                  const plane_size& output, RowsFrom rows_from, ColumnsFrom columns_from) {
  constexpr size_t strip_width = 4096;
  Sample columns[strip_width];
  for (uint64_t left = 0; left < output.width; left += strip_width) {
    const size_t count = std::min<uint64_t>(strip_width, output.width - left);
    list_indices(columns_from, left, count, columns);
    copy_strip(src, source, dst, output, rows_from, left, columns, count);
  }
}

template <typename Sample>
void copy_far_edge(const Sample* src, Sample* dst, const far_edge_sizes& sizes) {
  const auto indices_from = [](float scale) {
    return [scale](uint64_t first) {
      const uint32_t position = static_cast<uint32_t>(first) + 1;
      return [=](uint32_t i) { return far_edge_index(position + i, scale); };
    };
  };
  copy_samples(src, sizes.source(), dst, sizes.output(), indices_from(sizes.scale_y()),
               indices_from(sizes.scale_x()));
}

}  // namespace
}  // namespace qo

uint32_t image_nearest_neighbor_scale_uint32(const uint32_t* src, int32_t in_w, int32_t in_h,
                                             uint32_t* dst, int32_t out_w, int32_t out_h) {
  if (in_w <= 0 || in_h <= 0 || out_w <= 0 || out_h <= 0) return QO_CMC_INVALID_SIZE;
  if (src == nullptr || dst == nullptr) return QO_CMC_INVALID_SIZE;

  const qo::plane_size source{static_cast<uint64_t>(in_w), static_cast<uint64_t>(in_h)};
  const qo::plane_size output{static_cast<uint64_t>(out_w), static_cast<uint64_t>(out_h)};
  const auto indices_from = [](uint64_t step) {
    return [step](uint64_t first) {
      return [=](uint32_t i) { return qo::left_aligned_index(first + i, step); };
    };
  };
  qo::copy_samples(src, source, dst, output,
                   indices_from(qo::left_aligned_step(source.height, output.height)),
                   indices_from(qo::left_aligned_step(source.width, output.width)));
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
    qo::copy_far_edge(reinterpret_cast<const uint32_t*>(src), dst, sizes);
  return QO_CMC_OK;
}
