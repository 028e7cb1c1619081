// image_bicubic_upscale_uint8_to_float() and image_bicubic_upscale_uint16_to_float(): sizes,
// positions and memory. The arithmetic is in rows/patch_rows.

#include "qo_cmc/image_utils.h"

#include <algorithm>

#include "base/c_heap.h"
#include "image_utils/corner_alignment.h"
#include "image_utils/extrapolated_rows.h"
#include "image_utils/plane_arrays.h"
#include "qo_cmc/status.h"
#include "rows/row_table.h"

namespace qo {
namespace {

struct upscale_size {
  uint16_t in_width;
  uint16_t in_height;
  uint16_t out_width;
  uint16_t out_height;
};

[[nodiscard]] bool is_upscale(const upscale_size& size) {
  // A side of 1 has no second sample to extrapolate from, and no step when the output's is 1 too.
  if (size.in_width < 2 || size.in_height < 2) return false;
  if (!has_extrapolated_buffer(size.in_width, size.in_height)) return false;
  return size.in_width <= size.out_width && size.in_height <= size.out_height;
}

/// Where an output row falls on the source: in which row of cells, and how far below its first
/// samples.
struct patch_position {
  size_t cell;
  float fraction;
};

[[nodiscard]] patch_position patch_position_of(size_t index, float step) {
  const float position = static_cast<float>(static_cast<int32_t>(index)) * step;
  const auto cell = static_cast<int32_t>(position);  // below 65536, and not negative
  return {static_cast<size_t>(cell), position - static_cast<float>(cell)};
}

/// Output rows that all fall into the same row of cells, and how far below its first samples.
struct patch_band {
  size_t begin;
  size_t cell;
  size_t count;
  float fractions[patch_results];
};

[[nodiscard]] patch_band patch_band_at(size_t begin, size_t out_height, float step) {
  patch_band band = {begin, patch_position_of(begin, step).cell, 0, {}};
  while (begin + band.count < out_height && band.count < patch_results) {
    const patch_position at = patch_position_of(begin + band.count, step);
    if (at.cell != band.cell) break;
    band.fractions[band.count++] = at.fraction;
  }
  return band;
}

/// Samples the surface of the plane whose rows these are; `positions` are those of the output
/// columns.
template <typename Sample>
void upscale_plane(extrapolated_rows<Sample> rows, const upscale_size& size, const float* positions,
                   float* dst) {
  constexpr size_t rows_ahead = 3;
  const float step_y = corner_aligned_step(size.in_height, size.out_height);
  for (size_t y = 0; y < size.out_height;) {
    const patch_band band = patch_band_at(y, size.out_height, step_y);
    rows.move_to(band.cell);
    rows.prefetch(band.cell + rows.count + rows_ahead, {0, extrapolated_stride(size.in_width)});
    const float* const samples[4] = {rows.row(band.cell), rows.row(band.cell + 1),
                                     rows.row(band.cell + 2), rows.row(band.cell + 3)};
    for (size_t x = 0; x < size.out_width; x += patch_strip)
      qo::rows().patches.enlarge(samples, positions + x, std::min(patch_strip, size.out_width - x),
                                 band.fractions, band.count, dst + y * size.out_width + x,
                                 size.out_width);
    y += band.count;
  }
}

template <typename Sample>
[[nodiscard]] uint32_t upscale_planes(const Sample* const* src_planes, float* const* dst_planes,
                                      const upscale_size& size, uint16_t n_planes) {
  if (!is_upscale(size)) return QO_CMC_INVALID_SIZE;
  if (n_planes == 0) return QO_CMC_OK;
  if (has_null_plane(src_planes, dst_planes, n_planes)) return QO_CMC_INVALID_SIZE;

  const heap_array<float> positions(c_new_array<float>(size.out_width));
  const heap_array<float> storage(
      c_new_array<float>(extrapolated_rows<Sample>::storage_size(size.in_width)));
  if (positions == nullptr || storage == nullptr) return QO_CMC_NO_MEMORY;
  const float step_x = corner_aligned_step(size.in_width, size.out_width);
  for (size_t x = 0; x < size.out_width; ++x)
    positions[x] = static_cast<float>(static_cast<int32_t>(x)) * step_x;
  for (size_t plane = 0; plane < n_planes; ++plane) {
    const source_plane<Sample> src = {src_planes[plane], size.in_width, size.in_height};
    upscale_plane(extrapolated_rows<Sample>(src, storage.get()), size, positions.get(),
                  dst_planes[plane]);
  }
  return QO_CMC_OK;
}

}  // namespace
}  // namespace qo

uint32_t image_bicubic_upscale_uint8_to_float(const uint8_t* const* src_planes,
                                              float* const* dst_planes, uint16_t in_w,
                                              uint16_t in_h, uint16_t out_w, uint16_t out_h,
                                              uint16_t n_planes) {
  return qo::upscale_planes(src_planes, dst_planes, {in_w, in_h, out_w, out_h}, n_planes);
}

uint32_t image_bicubic_upscale_uint16_to_float(const uint16_t* const* src_planes,
                                               float* const* dst_planes, uint16_t in_w,
                                               uint16_t in_h, uint16_t out_w, uint16_t out_h,
                                               uint16_t n_planes) {
  return qo::upscale_planes(src_planes, dst_planes, {in_w, in_h, out_w, out_h}, n_planes);
}
