// image_bicubic_upscale_uint8_to_float() and image_bicubic_upscale_uint16_to_float(): sizes,
// positions and memory. The arithmetic is in catmull_rom_patch.

#include "qo_cmc/image_utils.h"

#include "image_utils/catmull_rom_patch.h"
#include "image_utils/corner_alignment.h"
#include "image_utils/extrapolated_buffer.h"
#include "image_utils/plane_arrays.h"
#include "qo_cmc/status.h"

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

/// Samples the surface of one extrapolated plane; `rows` has room for four output rows.
void upscale_plane(const float* buffer, const upscale_size& size, float* rows, float* dst) {
  const size_t stride = extrapolated_stride(size.in_width);
  const size_t out_width = size.out_width;
  const float step_x = corner_aligned_step(size.in_width, size.out_width);
  const float step_y = corner_aligned_step(size.in_height, size.out_height);
  size_t rows_cell = SIZE_MAX;
  for (size_t y = 0; y < size.out_height; ++y) {
    const patch_position at = patch_position_of(y, step_y);
    if (at.cell != rows_cell) {
      rows_cell = at.cell;
      evaluate_patch_rows(buffer + rows_cell * stride, stride, step_x, out_width, rows);
    }
    evaluate_output_row(rows, at.fraction, out_width, dst + y * out_width);
  }
}

template <typename Sample>
[[nodiscard]] uint32_t upscale_planes(const Sample* const* src_planes, float* const* dst_planes,
                                      const upscale_size& size, uint16_t n_planes) {
  if (!is_upscale(size)) return QO_CMC_INVALID_SIZE;
  if (n_planes == 0) return QO_CMC_OK;
  if (has_null_plane(src_planes, dst_planes, n_planes)) return QO_CMC_INVALID_SIZE;

  const heap_array<float> rows(c_new_array<float>(size_t{4} * size.out_width));
  const heap_array<float> buffer = new_extrapolated_buffer(size.in_width, size.in_height);
  if (rows == nullptr || buffer == nullptr) return QO_CMC_NO_MEMORY;
  for (size_t plane = 0; plane < n_planes; ++plane) {
    fill_extrapolated_buffer(src_planes[plane], buffer.get(), size.in_width, size.in_height);
    upscale_plane(buffer.get(), size, rows.get(), dst_planes[plane]);
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
